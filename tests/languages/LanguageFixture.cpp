#include "languages/LanguageFixture.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>

namespace {

constexpr int kSpare = 105;
constexpr int kSpareOfNarrowLetters = 110;
constexpr const wchar_t* kWesternFont = L"Liberation Sans";
constexpr const wchar_t* kEastAsianFont = L"WenQuanYi Micro Hei";
// Chosen for the units that they give, 6 x 13 pixels as on a western Windows, and 5 x 10.
const DialogFont kWesternDialogFont{kEastAsianFont, 8};
const DialogFont kEastAsianDialogFont{kWesternFont, 7};
constexpr UINT kShortTime = 10;          // milliseconds
constexpr std::uint32_t kPatience = 90;  // seconds: a test opens a dozen dialogs

struct SampleItem {
  const wchar_t* name;
  int valueCount;
};
constexpr SampleItem kItems[] = {
    {L"PowerScheme", 3},   {L"VisualEffects", 2},       {L"ScreenSaver", 3},
    {L"PointerSpeed", 20}, {L"KeyboardRepeatDelay", 4},
};

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

bool HasFont(const std::wstring& face) {
  const HDC screen = ::GetDC(nullptr);
  bool found = false;
  LOGFONTW font{};
  font.lfCharSet = DEFAULT_CHARSET;
  font.lfFaceName[face.copy(font.lfFaceName, LF_FACESIZE - 1)] = L'\0';
  ::EnumFontFamiliesExW(
      screen, &font,
      [](const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM result) {
        *reinterpret_cast<bool*>(result) = true;
        return 0;
      },
      reinterpret_cast<LPARAM>(&found), 0);
  ::ReleaseDC(nullptr, screen);
  return found;
}

}  // namespace

LanguageTest::LanguageTest() {
  watchdog.SetPatience(kPatience);
  CopySample();
  for (const SampleItem& item : kItems) {
    const std::wstring name = item.name;
    const auto path = sandbox.LibraryFolder() / L"Engines" / (name + L".dll");
    auto& engine = sampleEngines.emplace_back(std::make_unique<ScriptedEngine>(path, &log));
    engine->itemKey = name + L"_Name";
    engine->valueKeyPrefix = name + L"_Value";
    engine->values = item.valueCount;
  }
  ReplaceFontsAndTimes();
}

LanguageTest::~LanguageTest() {
  if (handle != nullptr) Close();
}

void LanguageTest::CopySample() {
  const std::filesystem::path sample = std::filesystem::absolute(SAMPLE_CONFIG_FOLDER);
  for (const auto& entry : std::filesystem::recursive_directory_iterator(sample)) {
    if (!entry.is_regular_file()) continue;
    sandbox.Write(entry.path().lexically_relative(sample), ReadAll(entry.path()));
  }
}

void LanguageTest::ReplaceFontsAndTimes() {
  interposition.Replace(
      "SystemParametersInfoW", [this](UINT action, UINT size, void* data, UINT change) {
        const BOOL result = ::SystemParametersInfoW(action, size, data, change);
        if (action == SPI_GETNONCLIENTMETRICS && result != FALSE) {
          LOGFONTW& font = static_cast<NONCLIENTMETRICSW*>(data)->lfMessageFont;
          font.lfCharSet = DEFAULT_CHARSET;
          font.lfFaceName[messageFont.copy(font.lfFaceName, LF_FACESIZE - 1)] = L'\0';
        }
        return result;
      });
  interposition.Replace("DialogBoxParamW", [this](HINSTANCE module, const wchar_t* name, HWND owner,
                                                  DLGPROC procedure, LPARAM parameter) {
    const std::vector<WORD> copy = dialogFont.ApplyTo(module, name);
    return ::DialogBoxIndirectParamW(module, reinterpret_cast<const DLGTEMPLATE*>(copy.data()),
                                     owner, procedure, parameter);
  });
  interposition.Replace(
      "CreateDialogParamW", [this](HINSTANCE module, const wchar_t* name, HWND owner,
                                   DLGPROC procedure, LPARAM parameter) {
        const std::vector<WORD> copy = dialogFont.ApplyTo(module, name);
        return ::CreateDialogIndirectParamW(
            module, reinterpret_cast<const DLGTEMPLATE*>(copy.data()), owner, procedure, parameter);
      });
  // The progress dialog stands until it was measured, and then no longer than it has to.
  interposition.Replace("SetTimer", [this](HWND window, UINT_PTR id, UINT, TIMERPROC procedure) {
    progressTimer = id;
    return wasProgressMeasured ? ::SetTimer(window, id, kShortTime, procedure) : id;
  });
}

void LanguageTest::Speak(const SampleLanguage& language, DialogUnits units) {
  const bool isWestern = units == DialogUnits::kWestern;
  using Script = SampleLanguage::Script;
  messageFont = language.script == Script::kLatinOrGreek ? kWesternFont : kEastAsianFont;
  widthWithSpare = language.script == Script::kCyrillic ? kSpareOfNarrowLetters : kSpare;
  dialogFont = isWestern ? kWesternDialogFont : kEastAsianDialogFont;
  expectedUnits = isWestern ? SIZE{6, 13} : SIZE{5, 10};
  ASSERT_TRUE(HasFont(messageFont)) << Text::ToUtf8(messageFont);
  ASSERT_TRUE(HasFont(dialogFont.face)) << Text::ToUtf8(dialogFont.face);
  sandbox.SetUserLocale(language.locale);
  spoken = std::make_unique<ResourceText>(language);
}

void LanguageTest::SetSampleText(const SampleLanguage& language, const std::wstring& section,
                                 const std::wstring& key, const std::wstring& value) {
  const auto file = sandbox.LibraryFolder() / language.locale / L"ModeChange.Resource.ini";
  ASSERT_TRUE(
      ::WritePrivateProfileStringW(section.c_str(), key.c_str(), value.c_str(), file.c_str()));
}

void LanguageTest::ExpectUnits(HWND dialog) const {
  RECT units = {0, 0, 4, 8};
  ::MapDialogRect(dialog, &units);
  EXPECT_EQ(units.right, expectedUnits.cx);
  EXPECT_EQ(units.bottom, expectedUnits.cy);
}

// --- The settings dialog -------------------------------------------------------------------------

void LanguageTest::MeasureSettings(TextMeter* meter) {
  Open();
  ASSERT_TRUE(selectMode(handle, kNormalMode));
  robot.Then("settings", DialogRobot::DialogWith(IDC_APPLY_BUTTON), [this, meter](HWND dialog) {
    ExpectUnits(dialog);
    const HWND area = AreaOf(dialog);
    for (UINT mode = 0; mode < kSampleModeCount; ++mode) {
      ChooseMode(area, static_cast<int>(mode));
      EXPECT_EQ(ChosenMode(area), static_cast<int>(mode));
      meter->MeasureAll(dialog);
      MeasureRows(area, meter);
    }
    MeasureMemos(area, *spoken, meter);
    Click(dialog, IDC_CANCEL_BUTTON);
  });
  EXPECT_TRUE(showSettingsDialog(handle, hostWindow));
  Close();
}

void LanguageTest::MeasureRows(HWND area, TextMeter* meter) {
  const HWND list = ListOf(area);
  for (HWND row = nullptr; (row = ::FindWindowExW(list, row, L"#32770", nullptr)) != nullptr;) {
    const HWND box = ::GetDlgItem(row, IDC_SETTING_ITEM);
    if (box == nullptr || ::IsWindowVisible(box) == FALSE) continue;
    Click(row, IDC_SETTING_ITEM);
    meter->MeasureAll(row);
    Click(row, IDC_SETTING_ITEM);
  }
}

void LanguageTest::MeasureMemos(HWND area, const ResourceText& texts, TextMeter* meter) {
  // Every row has these controls, in the same place.
  const HWND row = LineIn(ListOf(area), texts.Get(L"SettingItem", L"VisualEffects_Name"));
  if (row == nullptr) {
    ADD_FAILURE() << "no row of visual effects";
    return;
  }
  const HWND memo = ::GetDlgItem(row, IDC_LOCKED_VALUE_MEMO);
  const HWND name = ::GetDlgItem(row, IDC_LOCKED_ITEM_NAME);
  const std::wstring doNothing = texts.Get(L"Common", L"SettingItemStatus_DoNothing");
  const std::wstring fixed = texts.Get(L"ModeSettingsDialog", L"LockedSettingItemMemo");
  meter->Measure(memo, doNothing + fixed);
  for (const SampleItem& item : kItems) {
    const std::wstring key = item.name;
    meter->Measure(name, texts.Get(L"SettingItem", key + L"_Name"));
    for (int value = 0; value < item.valueCount; ++value) {
      meter->Measure(memo,
                     texts.Get(L"SettingItem", key + L"_Value" + std::to_wstring(value)) + fixed);
    }
    // What an item holds is off.
    const std::wstring byItem = texts.Get(L"ModeSettingsDialog", L"LockedSettingItemMemo_By" + key);
    for (const wchar_t* off : {L"VisualEffects_Value0", L"ScreenSaver_Value0"}) {
      meter->Measure(memo, texts.Get(L"SettingItem", off) + byItem);
    }
  }
}

// --- The question to the user --------------------------------------------------------------------

void LanguageTest::MeasureConfirmations(TextMeter* meter) {
  Open();
  for (UINT mode = 0; mode < kSampleModeCount; ++mode) MeasureConfirmation(mode, 1, meter);
  SetStatus(L"Cradle", 1);  // with nothing to go back to
  MeasureConfirmation(kCradleMode, 0, meter);
  for (const bool withLastValues : {false, true}) {
    SetCradleModeOn(withLastValues);
    MeasureConfirmation(kCradleMode, 0, meter);
  }
  Close();
}

void LanguageTest::MeasureConfirmation(UINT mode, INT32 status, TextMeter* meter) {
  ASSERT_TRUE(selectMode(handle, mode));
  robot.Then("confirmation", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL),
             [this, meter](HWND dialog) {
               ExpectUnits(dialog);
               meter->MeasureAll(dialog);
               Click(dialog, IDC_CANCEL_BUTTON);
             });
  EXPECT_TRUE(Request(status));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

void LanguageTest::SetCradleModeOn(bool withLastValues) {
  SetStatus(L"Cradle", 1);
  const std::wstring file = sandbox.DataFile(L"ModeChange.Status.ini").wstring();
  for (const SampleItem& item : kItems) {
    const int value = withLastValues ? item.valueCount - 1 : 0;
    ::WritePrivateProfileStringW(L"NormalEnvironment", item.name, std::to_wstring(value).c_str(),
                                 file.c_str());
  }
}

// --- What stands while devices change ------------------------------------------------------------

void LanguageTest::MeasureProgress(TextMeter* meter) {
  Open();
  ASSERT_TRUE(selectMode(handle, kCradleMode));
  SetCradleModeOn(false);
  robot.Then("settings", DialogRobot::DialogWith(IDC_APPLY_BUTTON), [](HWND dialog) {
    ::PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDC_OK_BUTTON, BN_CLICKED),
                   reinterpret_cast<LPARAM>(::GetDlgItem(dialog, IDC_OK_BUTTON)));
  });
  // Once while the mode goes off, and once while it goes on again.
  robot.Then("progress", DialogRobot::DialogWith(IDC_PROGRESS_BAR), [this, meter](HWND dialog) {
    ExpectUnits(dialog);
    meter->MeasureAll(dialog);
    wasProgressMeasured = true;
    ::PostMessageW(dialog, WM_TIMER, progressTimer, 0);
  });
  EXPECT_TRUE(showSettingsDialog(handle, hostWindow));
  Close();
}
