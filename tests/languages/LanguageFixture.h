#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "languages/DialogFont.h"
#include "languages/ResourceText.h"
#include "languages/SampleLanguages.h"
#include "languages/TextMeter.h"
#include "system/SettingsFixture.h"

/// The sample notebook in the user's language: the real files and the product's real dialogs, with
/// scripted engines, so that every setting item works on this machine.
///
/// The fonts of Windows' interface are not to be had here, and which others a machine has differs.
/// So fonts of Debian stand for them: one with the widths of Arial, which those of Windows' message
/// font resemble, and one for East Asia, whose letters fill the square that they fill there at
/// most. Cyrillic takes the second one, too, with more to spare as its letters are narrow: for some
/// pairs of Cyrillic letters of the first, Wine reads its table of distances where nothing is, and
/// dies.
class LanguageTest : public SettingsTest {
 protected:
  /// Dialogs have their units from the system's old font for dialogs: that of a western Windows,
  /// and the smaller one of a Windows for East Asia, in which there is less room.
  enum class DialogUnits { kWestern, kEastAsian };
  enum SampleMode : UINT { kNormalMode, kEcoMode, kCradleMode, kCustomMode, kWirelessOffMode };
  static constexpr UINT kSampleModeCount = 5;

  LanguageTest();
  ~LanguageTest() override;

  void Speak(const SampleLanguage& language, DialogUnits units = DialogUnits::kWestern);
  /// Instead of a text or a font size of the language.
  void SetSampleText(const SampleLanguage& language, const std::wstring& section,
                     const std::wstring& key, const std::wstring& value);

  /// For the language that is spoken.
  [[nodiscard]] TextMeter NewMeter() const { return TextMeter(widthWithSpare); }

  // Each opens its dialog in every state that has other texts, and closes it again.

  void MeasureSettings(TextMeter* meter);
  void MeasureConfirmations(TextMeter* meter);
  void MeasureProgress(TextMeter* meter);

 private:
  void CopySample();
  void ReplaceFontsAndTimes();
  void ExpectUnits(HWND dialog) const;
  void MeasureConfirmation(UINT mode, INT32 status, TextMeter* meter);
  /// As a change to ON would have left it, with these values to go back to.
  void SetCradleModeOn(bool withLastValues);
  /// Each list and slider in both states of its check box.
  static void MeasureRows(HWND area, TextMeter* meter);
  /// What a row says that this mode, or another item, holds at a value.
  static void MeasureMemos(HWND area, const ResourceText& texts, TextMeter* meter);

  std::vector<std::unique_ptr<ScriptedEngine>> sampleEngines;
  std::wstring messageFont;
  int widthWithSpare = 0;
  DialogFont dialogFont;
  SIZE expectedUnits{};
  std::unique_ptr<ResourceText> spoken;
  UINT_PTR progressTimer = 0;
  bool wasProgressMeasured = false;
};
