#pragma once

#include <array>
#include <string>
#include <string_view>

enum class Severity { kWarning, kError };

/// What can be wrong with a configuration. The order is that of the table of all rules.
enum class Rule {
  // Files
  kFileMissing,
  kFileUnreadable,
  kEncoding,
  kTextWithoutMark,
  kLocaleFolder,
  kLocaleFallback,
  // Lines
  kMalformedLine,
  kKeyOutsideSection,
  kDuplicateSection,
  kDuplicateKey,
  kUnknownSection,
  kUnknownKey,
  kNotANumber,
  kFlagValue,
  kTrailingComment,
  // Lists and names
  kCountTooSmall,
  kListGap,
  kListNumber,
  kListDuplicate,
  kNameShared,
  kNameCharacters,
  kNameNotAscii,
  // Modes, groups and items
  kNoModes,
  kNoItems,
  kModeNotDefined,
  kModeTypeAmbiguous,
  kStatusIconMissing,
  kItemNotListed,
  kItemInNoGroup,
  kItemInTwoGroups,
  kGroupEmpty,
  // Lock rules
  kLockValueMissing,
  kLockCountMissing,
  kLockedNameMissing,
  kLockedValueMissing,
  kLockedItemUnknown,
  kLockedNameCase,
  kLockItself,
  kLockOrder,
  // Engines
  kEnginePathMissing,
  kEngineNotFound,
  kEngineNotLoaded,
  kEngineExportMissing,
  kEngineFails,
  kEngineTooFewValues,
  // Values
  kDefaultsMissing,
  kDefaultMissing,
  kValueNotOffered,
  kValueNotAvailable,
  kDefaultAgainstLock,
  kAutoOnOff,
  // Texts and sizes
  kTextMissing,
  kPlaceholderUnknown,
  kPlaceholderMissing,
  kLineBreak,
  kAccessKeyMisplaced,
  kAccessKeyRepeated,
  kQuoteUnpaired,
  kSpaceLost,
  kFontSize,
  kFontSizeUnusual,
  // Files of the library
  kSettingMissing,
  kStatusValue,
  kStatusTwoModesOn,
  kCount
};

struct RuleText {
  Rule rule;
  const wchar_t* name;
  Severity severity;
  const wchar_t* meaning;
  const wchar_t* remedy;
};

constexpr std::size_t kRuleCount = static_cast<std::size_t>(Rule::kCount);

/// All rules, in the order of the enumeration.
extern const std::array<RuleText, kRuleCount> kRules;

[[nodiscard]] const RuleText& GetRuleText(Rule rule) noexcept;
/// Null for a name that no rule has.
[[nodiscard]] const RuleText* FindRule(std::wstring_view name) noexcept;
[[nodiscard]] const wchar_t* GetName(Severity severity) noexcept;

/// The table of all rules, in Markdown.
[[nodiscard]] std::wstring FormatRules();
