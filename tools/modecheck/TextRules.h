#pragma once

#include <span>
#include <string>
#include <vector>

#include "Configuration.h"

/// What the library asks of one text of ModeChange.Resource.ini.
struct TextRule {
  enum class Kind {
    kPlain,    // shown as it is
    kLines,    // \n ends a line
    kControl,  // a button or check box: & marks the access key
  };

  std::wstring section;
  std::wstring key;
  Kind kind = Kind::kPlain;
  /// What is replaced in the text.
  std::vector<std::wstring> placeholders = {};
  /// How many of these, from the first, the text can't do without.
  std::size_t requiredPlaceholders = 0;
  bool isRequired = true;
  bool isLockNote = false;  // follows the value's name without a space between
};

struct FontSizes {
  const wchar_t* section;
  std::span<const wchar_t* const> keys;
};

/// The texts of modes, groups and dialogs; not those of section "SettingItem", which engines name.
[[nodiscard]] std::vector<TextRule> GetTextRules(const Configuration& configuration);

[[nodiscard]] std::span<const FontSizes> GetFontSizes() noexcept;
