#include "Texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "StringIds.h"
#include "support/ModeChangeTest.h"

namespace {

constexpr LANGID kEnglish = 0x0409;

constexpr UINT kIds[] = {IDS_APPLICATION,
                         IDS_MODE_STATUS,
                         IDS_NO_MODE_ON,
                         IDS_TURNING_ON,
                         IDS_TURNING_OFF,
                         IDS_MENU_SETTINGS,
                         IDS_MENU_EXIT,
                         IDS_DONE_ON,
                         IDS_DONE_OFF,
                         IDS_CANCELLED,
                         IDS_FAILED_ON,
                         IDS_FAILED_OFF,
                         IDS_ENGINE_RESULT_ON,
                         IDS_ENGINE_RESULT_OFF,
                         IDS_NO_ANSWER,
                         IDS_ERROR_LIBRARY_MISSING,
                         IDS_ERROR_LIBRARY_DAMAGED,
                         IDS_ERROR_CONFIGURATION,
                         IDS_ERROR_ANSWER,
                         IDS_ERROR_REQUEST,
                         IDS_ERROR_SETTINGS,
                         IDS_ERROR_DATA_FOLDER,
                         IDS_ERROR_MEMORY,
                         IDS_ALREADY_RUNNING,
                         IDS_SESSION_WAITS};

HINSTANCE Module() {
  return ::GetModuleHandleW(L"ModetrayInternals.dll");
}

std::vector<LANGID> Languages() {
  std::vector<LANGID> languages;
  ::EnumResourceLanguagesW(
      Module(), RT_STRING, MAKEINTRESOURCEW(1),
      [](HMODULE, const wchar_t*, const wchar_t*, WORD language, LONG_PTR found) -> BOOL {
        reinterpret_cast<std::vector<LANGID>*>(found)->push_back(language);
        return TRUE;
      },
      reinterpret_cast<LONG_PTR>(&languages));
  return languages;
}

/// The digits that follow a percent sign, in their order.
std::wstring InsertsOf(const std::wstring& text) {
  std::wstring inserts;
  for (std::size_t index = 0; index + 1 < text.size(); ++index) {
    if (text[index] == L'%') inserts += text[index + 1];
  }
  std::sort(inserts.begin(), inserts.end());
  return inserts;
}

std::wstring ExitIn(LANGID user) {
  return Texts(Module(), user).Get(IDS_MENU_EXIT);
}

}  // namespace

TEST(TextsTest, AreCompleteInEveryLanguage) {
  const Texts english(Module(), kEnglish);
  EXPECT_GE(Languages().size(), 4U);
  for (const LANGID language : Languages()) {
    const Texts texts(Module(), language);
    EXPECT_EQ(texts.GetLanguage(), language);
    for (const UINT id : kIds) {
      EXPECT_FALSE(texts.Get(id).empty()) << std::hex << language << ' ' << std::dec << id;
      EXPECT_EQ(InsertsOf(texts.Get(id)), InsertsOf(english.Get(id)))
          << std::hex << language << ' ' << std::dec << id;
    }
  }
}

TEST(TextsTest, OfTheMenuHaveAccessKeysOfTheirOwn) {
  for (const LANGID language : Languages()) {
    const Texts texts(Module(), language);
    std::wstring keys;
    for (const UINT id : std::initializer_list<UINT>{IDS_MENU_SETTINGS, IDS_MENU_EXIT}) {
      const std::wstring text = texts.Get(id);
      ASSERT_EQ(std::count(text.begin(), text.end(), L'&'), 1) << std::hex << language;
      ASSERT_LT(text.find(L'&') + 1, text.size());
      keys += static_cast<wchar_t>(::towlower(text[text.find(L'&') + 1]));
    }
    EXPECT_NE(keys[0], keys[1]) << std::hex << language;
    EXPECT_EQ(keys.find_first_of(L"123456789"), std::wstring::npos) << "belong to the modes";
  }
}

TEST(TextsTest, FitIntoTheirFields) {
  // Of NOTIFYICONDATAW, without the terminator.
  constexpr std::size_t kTip = 127;
  constexpr std::size_t kBalloon = 255;
  const std::wstring longName(50, L'M');
  for (const LANGID language : Languages()) {
    const Texts texts(Module(), language);
    for (const UINT id : kIds) {
      const std::size_t length = texts.Format(id, {longName, L"3"}).size();
      if (id < IDS_MENU_SETTINGS) {
        EXPECT_LE(length, kTip) << std::hex << language << ' ' << std::dec << id;
      }
      if (id >= IDS_DONE_ON && id <= IDS_NO_ANSWER) {
        EXPECT_LE(length, kBalloon) << std::hex << language << ' ' << std::dec << id;
      }
    }
  }
}

TEST(TextsTest, ExistInTheLanguagesOfTheSampleConfiguration) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(SAMPLE_CONFIG_FOLDER)) {
    if (!entry.is_directory()) continue;
    const std::wstring name = entry.path().filename().wstring();
    const auto language = LANGIDFROMLCID(::LocaleNameToLCID(name.c_str(), 0));
    EXPECT_EQ(Texts(Module(), language).GetLanguage(), language) << entry.path();
    ++count;
  }
  EXPECT_GE(count, 4);
}

TEST(TextsTest, AreChosenByRegionThenByLanguageThenEnglish) {
  EXPECT_EQ(ExitIn(0x0407), L"&Beenden");  // Germany
  EXPECT_EQ(ExitIn(0x0C07), L"&Beenden");  // Austria
  EXPECT_EQ(ExitIn(0x0416), L"Sai&r");     // Brazil
  EXPECT_EQ(ExitIn(0x0816), L"S&air");     // Portugal
  EXPECT_EQ(ExitIn(0x0404), L"結束(&X)");  // Taiwan
  EXPECT_EQ(ExitIn(0x0804), L"退出(&X)");  // China
  EXPECT_EQ(ExitIn(0x0809), L"E&xit");     // United Kingdom
  EXPECT_EQ(ExitIn(0x0441), L"E&xit");     // Swahili, which there are no texts in
  EXPECT_EQ(ExitIn(LANG_NEUTRAL), L"E&xit");
}

TEST(TextsTest, TakeInserts) {
  const Texts texts(Module(), kEnglish);
  EXPECT_EQ(texts.Format(IDS_MODE_STATUS, {L"Eco %2 100%", L"On"}), L"Eco %2 100%: On");
  EXPECT_EQ(texts.Format(IDS_MODE_STATUS, {L"Eco"}), L"Eco: %2");
  EXPECT_EQ(texts.Get(4711), L"");
}

namespace {

class TextsEachLocaleTest : public ModeChangeTest {};

}  // namespace

TEST_F(TextsEachLocaleTest, FollowTheUsersRegion) {
  const std::wstring locale = Sandbox::UserLocale();
  const std::wstring expected = locale == L"de-AT" || locale == L"de-DE" ? L"&Beenden"
                                : locale == L"ja-JP"                     ? L"終了(&X)"
                                                                         : L"E&xit";
  EXPECT_EQ(Texts(Module()).Get(IDS_MENU_EXIT), expected);
}
