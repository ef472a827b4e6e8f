#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "languages/LanguageFixture.h"

namespace {

using ::testing::ElementsAre;

constexpr SampleLanguage kGerman{L"de-DE"};

/// The controls that misfits begin with.
std::set<int> ControlsOf(const std::set<std::string>& misfits) {
  std::set<int> controls;
  for (const std::string& misfit : misfits) controls.insert(std::stoi(misfit));
  return controls;
}

class FitTest : public LanguageTest {
 protected:
  void ExpectFit() {
    TextMeter settings = NewMeter();
    TextMeter confirmation = NewMeter();
    TextMeter progress = NewMeter();
    MeasureSettings(&settings);
    MeasureConfirmations(&confirmation);
    MeasureProgress(&progress);
    for (const TextMeter* dialog : {&settings, &confirmation, &progress}) {
      for (const std::string& misfit : dialog->Misfits()) ADD_FAILURE() << misfit;
    }
    // Every control that ever has a text had one.
    EXPECT_THAT(
        settings.Controls(),
        ElementsAre(IDC_TITLE_TEXT, IDC_OK_BUTTON, IDC_CANCEL_BUTTON, IDC_APPLY_BUTTON,
                    IDC_RESTORE_DEFAULTS_BUTTON, IDC_AUTO_ON_OFF, IDC_SETTING_ITEM, IDC_FIRST_VALUE,
                    IDC_SECOND_VALUE, IDC_GROUP_TITLE, IDC_VALUE_COMBO, IDC_GREYED_VALUE,
                    IDC_MODE_SELECTION, IDC_LOCKED_ITEM_NAME, IDC_LOCKED_VALUE_MEMO,
                    IDC_SHOW_ANNOUNCEMENT, IDC_SLIDER_DOWN_LABEL, IDC_SLIDER_UP_LABEL));
    EXPECT_THAT(confirmation.Controls(),
                ElementsAre(IDC_TITLE_TEXT, IDC_OK_BUTTON, IDC_CANCEL_BUTTON,
                            IDC_ANNOUNCE_DESCRIPTION, IDC_ANNOUNCE_DETAIL, IDC_ANNOUNCE_NOT_SHOW));
    EXPECT_THAT(progress.Controls(), ElementsAre(IDC_PROGRESS_TEXT));
  }
};

// --- That a misfit is found -------------------------------------------------------------------

TEST_F(FitTest, FindsTextsThatAreTooWide) {
  Speak(kGerman);
  const std::wstring wide = L"Dieser Text ist viel breiter als sein Platz";
  const std::wstring wider = wide + L", und auch viel breiter als der breiteste Platz, den es gibt";
  const std::wstring settings = L"ModeSettingsDialog";
  SetSampleText(kGerman, settings, L"DialogTitle", wider + wider);
  SetSampleText(kGerman, settings, L"OKButton", wide);
  SetSampleText(kGerman, settings, L"RestoreDefaultSettingsButton", wide);
  SetSampleText(kGerman, settings, L"AutoONOFFSetting", wider + wide);
  SetSampleText(kGerman, settings, L"ShowAnnounceModeIsChangedDialog", wider + wide);
  SetSampleText(kGerman, settings, L"SliderDown", wide);
  SetSampleText(kGerman, L"Mode", L"WirelessOff", wide);
  SetSampleText(kGerman, L"SettingGroup", L"Input", wider + wider);
  SetSampleText(kGerman, L"SettingItem", L"KeyboardRepeatDelay_Name", wide);
  SetSampleText(kGerman, L"SettingItem", L"VisualEffects_Value0", wide);
  SetSampleText(kGerman, L"SettingItem", L"VisualEffects_Value1", wide);
  SetSampleText(kGerman, L"SettingItem", L"ScreenSaver_Value2", wider);
  TextMeter meter = NewMeter();
  MeasureSettings(&meter);
  EXPECT_THAT(
      ControlsOf(meter.Misfits()),
      ElementsAre(IDC_TITLE_TEXT, IDC_OK_BUTTON, IDC_RESTORE_DEFAULTS_BUTTON, IDC_AUTO_ON_OFF,
                  IDC_SETTING_ITEM, IDC_FIRST_VALUE, IDC_SECOND_VALUE, IDC_GROUP_TITLE,
                  IDC_VALUE_COMBO, IDC_GREYED_VALUE, IDC_MODE_SELECTION, IDC_LOCKED_ITEM_NAME,
                  IDC_LOCKED_VALUE_MEMO, IDC_SHOW_ANNOUNCEMENT, IDC_SLIDER_DOWN_LABEL));
}

TEST_F(FitTest, FindsTextsWithTooManyLines) {
  Speak(kGerman);
  const std::wstring dialog = L"AnnounceModeIsChangedDialog";
  SetSampleText(kGerman, dialog, L"Description", L"Eins\\nzwei\\ndrei");
  std::wstring sentence;
  for (int word = 0; word < 40; ++word) sentence += L"Meldung ";
  SetSampleText(kGerman, dialog, L"NotShowThisDialog", sentence);
  SetSampleText(kGerman, L"UpdatePcEnvironmentDialog", L"Processing", L"1\\n2\\n3\\n4");
  std::wstring lines;
  for (int line = 0; line < 20; ++line) lines += L"Zeile\\n";
  SetSampleText(kGerman, dialog, L"DetailInformation_ModeStatus0", lines);
  TextMeter confirmation = NewMeter();
  MeasureConfirmations(&confirmation);
  EXPECT_THAT(ControlsOf(confirmation.Misfits()),
              ElementsAre(IDC_ANNOUNCE_DESCRIPTION, IDC_ANNOUNCE_DETAIL, IDC_ANNOUNCE_NOT_SHOW));
  TextMeter progress = NewMeter();
  MeasureProgress(&progress);
  EXPECT_THAT(ControlsOf(progress.Misfits()), ElementsAre(IDC_PROGRESS_TEXT));
}

TEST_F(FitTest, FindsFontsThatAreTooLarge) {
  Speak(kGerman);
  SetSampleText(kGerman, L"FontSize_ModeSetingsDialog", L"ButtonsSize", L"20");
  SetSampleText(kGerman, L"FontSize_ModeSetingsDialog", L"SliderUpDownSize", L"0x18");
  TextMeter meter = NewMeter();
  MeasureSettings(&meter);
  EXPECT_THAT(ControlsOf(meter.Misfits()),
              ElementsAre(IDC_OK_BUTTON, IDC_CANCEL_BUTTON, IDC_APPLY_BUTTON, IDC_SLIDER_DOWN_LABEL,
                          IDC_SLIDER_UP_LABEL));
}

// --- All languages -------------------------------------------------------------------------------

class EveryLanguage : public FitTest, public ::testing::WithParamInterface<SampleLanguage> {};

TEST_P(EveryLanguage, FitsIntoTheDialogs) {
  Speak(GetParam());
  ExpectFit();
}

std::string NameOf(const ::testing::TestParamInfo<SampleLanguage>& info) {
  std::string name = Text::ToUtf8(info.param.locale);
  std::ranges::replace(name, '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(FitTest, EveryLanguage, ::testing::ValuesIn(kSampleLanguages), NameOf);

class EastAsianLanguage : public EveryLanguage {};

TEST_P(EastAsianLanguage, FitsIntoTheSmallerDialogsOfItsWindows) {
  Speak(GetParam(), DialogUnits::kEastAsian);
  ExpectFit();
}

std::vector<SampleLanguage> EastAsianLanguages() {
  std::vector<SampleLanguage> found;
  std::ranges::copy_if(kSampleLanguages, std::back_inserter(found), [](const auto& language) {
    return language.script == SampleLanguage::Script::kEastAsian;
  });
  return found;
}

INSTANTIATE_TEST_SUITE_P(FitTest, EastAsianLanguage, ::testing::ValuesIn(EastAsianLanguages()),
                         NameOf);

}  // namespace
