#include <algorithm>
#include <cwctype>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "languages/LanguageFixture.h"

namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr SampleLanguage kEnglish{L"en-US"};

class TextsTest : public ::testing::Test {
 protected:
  const ResourceText english{kEnglish};

  static void ForEachLanguage(const std::function<void(const ResourceText& texts)>& check) {
    for (const SampleLanguage& language : kSampleLanguages) {
      SCOPED_TRACE(Text::ToUtf8(language.locale));
      check(ResourceText(language));
    }
  }
};

using Places = std::vector<std::pair<std::wstring, std::wstring>>;

Places PlacesOf(const ResourceText& texts) {
  Places places;
  for (const ResourceText::Entry& entry : texts.Entries()) {
    places.emplace_back(entry.section, entry.key);
  }
  return places;
}

/// Everything between two percent signs.
std::multiset<std::wstring> PlaceholdersOf(const std::wstring& text) {
  std::multiset<std::wstring> found;
  for (std::size_t at = text.find(L'%'); at != std::wstring::npos; at = text.find(L'%', at)) {
    const std::size_t end = text.find(L'%', at + 1);
    if (end == std::wstring::npos) return {L"a lone percent sign"};
    found.insert(text.substr(at, end + 1 - at));
    at = end + 1;
  }
  return found;
}

/// A button's text as the user reads it.
std::wstring WithoutAccessKey(std::wstring text) {
  const std::size_t brackets = text.find(L"(&");
  if (brackets != std::wstring::npos) text.erase(brackets);
  std::erase(text, L'&');
  return text;
}

enum class Letters { kNone, kLatin, kGreek, kCyrillic };

Letters LettersOf(wchar_t character) {
  if (std::iswalpha(character) == 0) return Letters::kNone;
  if (character < 0x370) return Letters::kLatin;
  if (character < 0x400) return Letters::kGreek;
  return character < 0x530 ? Letters::kCyrillic : Letters::kNone;
}

/// Words with letters that only look as if they belonged together.
std::vector<std::wstring> MixedWords(const std::wstring& text) {
  std::vector<std::wstring> mixed;
  std::wstring word;
  std::set<Letters> letters;
  for (const wchar_t character : text + L' ') {
    if (std::iswalpha(character) != 0) {
      word += character;
      letters.insert(LettersOf(character));
      continue;
    }
    if (letters.size() > 1 && !letters.contains(Letters::kNone)) mixed.push_back(word);
    word.clear();
    letters.clear();
  }
  return mixed;
}

std::wstring WithRealLineEnds(std::wstring text) {
  for (std::size_t at = 0; (at = text.find(L"\\n", at)) != std::wstring::npos;) {
    text.replace(at, 2, L"\n");
  }
  return text;
}

TEST(MixedWordsTest, AreFound) {
  EXPECT_THAT(MixedWords(L"\u0421\u043C\u0435\u043D\u0430 OK"), IsEmpty());
  EXPECT_EQ(MixedWords(L"OK \u0421\u043Ce\u043D\u0430!"),
            (std::vector<std::wstring>{L"\u0421\u043Ce\u043D\u0430"}));
}

TEST_F(TextsTest, HasTheKeysOfEnglishInTheirOrderOnceEach) {
  ForEachLanguage([this](const ResourceText& texts) {
    const Places places = PlacesOf(texts);
    EXPECT_EQ(places, PlacesOf(english));
    EXPECT_THAT(texts.BrokenLines(), IsEmpty());
    std::set<std::wstring> seen;  // as Windows compares names
    for (const auto& [section, key] : places) {
      std::wstring place = section + L"/" + key;
      std::ranges::transform(place, place.begin(), [](wchar_t c) { return std::towlower(c); });
      EXPECT_TRUE(seen.insert(place).second) << "twice: " << Text::ToUtf8(place);
    }
  });
}

TEST_F(TextsTest, HasTheCommentsOfEnglishUnderItsOwnName) {
  std::set<std::wstring> names;
  ForEachLanguage([this, &names](const ResourceText& texts) {
    ASSERT_EQ(texts.Comments().size(), english.Comments().size());
    for (std::size_t line = 1; line < english.Comments().size(); ++line) {
      EXPECT_EQ(texts.Comments()[line], english.Comments()[line]);
    }
    names.insert(texts.Comments().front());
  });
  EXPECT_THAT(names, SizeIs(std::size(kSampleLanguages)));
}

TEST_F(TextsTest, HasThePlaceholdersOfEnglish) {
  ForEachLanguage([this](const ResourceText& texts) {
    for (const auto& [section, key, value] : english.Entries()) {
      EXPECT_EQ(PlaceholdersOf(texts.Get(section, key)), PlaceholdersOf(value))
          << Text::ToUtf8(key);
    }
  });
}

TEST_F(TextsTest, CallsButtonsAndItemsByTheirNames) {
  ForEachLanguage([](const ResourceText& texts) {
    const std::wstring dialog = L"ModeSettingsDialog";
    const std::wstring changed = texts.Get(dialog, L"Message_OnChangeMode_SettingsIsChanged");
    for (const wchar_t* button : {L"ApplyButton", L"CancelButton"}) {
      EXPECT_THAT(changed, HasSubstr(WithoutAccessKey(texts.Get(dialog, button))));
    }
    for (const wchar_t* item : {L"PowerScheme", L"VisualEffects", L"ScreenSaver", L"PointerSpeed",
                                L"KeyboardRepeatDelay"}) {
      EXPECT_THAT(texts.Get(dialog, std::wstring(L"LockedSettingItemMemo_By") + item),
                  HasSubstr(texts.Get(L"SettingItem", std::wstring(item) + L"_Name")));
    }
    const std::wstring announcement = L"AnnounceModeIsChangedDialog";
    EXPECT_THAT(texts.Get(announcement, L"Description"),
                HasSubstr(texts.Get(announcement, L"OKButton")));
    for (const wchar_t* button : {L"OKButton", L"CancelButton"}) {
      EXPECT_EQ(texts.Get(announcement, button), texts.Get(dialog, button));
    }
  });
}

TEST_F(TextsTest, IsWellSet) {
  ForEachLanguage([](const ResourceText& texts) {
    for (const auto& [section, key, value] : texts.Entries()) {
      SCOPED_TRACE(Text::ToUtf8(key) + "=" + Text::ToUtf8(value));
      EXPECT_NE(value, L"");
      EXPECT_EQ(value.find_first_of(L"\"'\t"), std::wstring::npos) << "typewriter's marks";
      EXPECT_EQ(value.find(L"  "), std::wstring::npos) << "two spaces";
      const bool isMemo = key.starts_with(L"LockedSettingItemMemo");
      EXPECT_FALSE(!isMemo && value.starts_with(L' ')) << "a space before";
      EXPECT_FALSE(value.ends_with(L' ')) << "a space behind";
      EXPECT_THAT(MixedWords(WithRealLineEnds(value)), IsEmpty());
      const bool isSentence = key.starts_with(L"Error_") || key.starts_with(L"Message_") ||
                              key == L"Processing" || key == L"Description";
      if (isSentence) {
        EXPECT_TRUE(value.ends_with(L'.') || value.ends_with(L'\u3002')) << "no full stop";
      }
    }
  });
}

// --- Whom a language serves ----------------------------------------------------------------------

class UserLocaleTest : public LanguageTest {
 protected:
  /// What the first mode is called for this user.
  std::wstring ModeNameFor(const wchar_t* locale) {
    sandbox.SetUserLocale(locale);
    Open();
    EXPECT_TRUE(selectMode(handle, kNormalMode));
    const std::wstring name = GetString(VELTO_MODE_STRING_NAME).value_or(L"none");
    Close();
    return name;
  }
  static std::wstring ModeNameIn(const wchar_t* folder) {
    return ResourceText({folder}).Get(L"Mode", L"Normal");
  }
};

TEST_F(UserLocaleTest, EachFolderServesItsOwnLocale) {
  for (const SampleLanguage& language : kSampleLanguages) {
    EXPECT_EQ(ModeNameFor(language.locale), ModeNameIn(language.locale));
  }
}

TEST_F(UserLocaleTest, AFolderServesOtherRegionsOfItsLanguage) {
  const std::pair<const wchar_t*, const wchar_t*> users[] = {
      {L"de-AT", L"de-DE"}, {L"de-CH", L"de-DE"}, {L"fr-CA", L"fr-FR"}, {L"es-MX", L"es-ES"},
      {L"nl-BE", L"nl-NL"}, {L"sv-FI", L"sv-SE"}, {L"ro-MD", L"ro-RO"}, {L"en-GB", L"en-US"},
  };
  for (const auto& [locale, folder] : users) EXPECT_EQ(ModeNameFor(locale), ModeNameIn(folder));
}

TEST_F(UserLocaleTest, EitherFolderServesRegionsOfALanguageWithTwo) {
  EXPECT_THAT(ModeNameFor(L"pt-AO"), AnyOf(ModeNameIn(L"pt-PT"), ModeNameIn(L"pt-BR")));
  EXPECT_THAT(ModeNameFor(L"zh-HK"), AnyOf(ModeNameIn(L"zh-CN"), ModeNameIn(L"zh-TW")));
}

TEST_F(UserLocaleTest, EnglishServesOtherLanguages) {
  for (const wchar_t* locale : {L"nn-NO", L"sr-Latn-RS", L"ca-ES", L"eo"}) {
    EXPECT_EQ(ModeNameFor(locale), ModeNameIn(L"en-US"));
  }
}

}  // namespace
