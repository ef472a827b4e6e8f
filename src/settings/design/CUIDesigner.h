#pragma once

#include <windows.h>

#include <array>
#include <cstdint>

#include "common/CUniqueHandle.h"
#include "trace/TraceLog.h"

/// The look of a dialog: fonts in the sizes that the texts' file asks for, and a small palette of
/// greys that gives way to the system's colours in high contrast.
///
/// The designer owns what it hands out. A font or brush that could not be made is null, which means
/// the dialog's own font and default painting.
class CUIDesigner {
 public:
  // Indices of the fonts of each dialog, by what they are for.
  enum ModeSettingsDialogFont : std::size_t {
    kModeSettingsTitleFont,
    kModeSelectionFont,
    kRestoreDefaultSettingsFont,
    kAutoONOFFFont,
    kGroupTitleFont,
    kSettingItemNameFont,
    kSettingItemValueFont,
    kSliderLabelFont,
    kShowAnnouncementFont,
    kModeSettingsButtonFont,
    kModeSettingsDialogFontCount,
  };
  enum AnnounceDialogFont : std::size_t {
    kAnnounceTitleFont,
    kDescriptionFont,
    kDetailInformationFont,
    kNotShowThisDialogFont,
    kAnnounceButtonFont,
    kAnnounceDialogFontCount,
  };

  /// Makes all fonts.
  CUIDesigner();
  ~CUIDesigner();
  CUIDesigner(const CUIDesigner&) = delete;
  CUIDesigner& operator=(const CUIDesigner&) = delete;

  [[nodiscard]] HFONT GetModeSettingsDialogFont(ModeSettingsDialogFont font) const noexcept {
    return modeSettingsDialogFonts.at(font).Get();
  }
  [[nodiscard]] HFONT GetUpdatePcEnvironmentDialogFont() const noexcept {
    return updatePcEnvironmentDialogFont.Get();
  }
  [[nodiscard]] HFONT GetAnnounceDialogFont(AnnounceDialogFont font) const noexcept {
    return announceDialogFonts.at(font).Get();
  }

  // Each call makes the brush anew, from the colours of that moment, and deletes the one that it
  // made last time: a switch of high contrast shows at the next repaint.
  HBRUSH GetDialogBackBrush();
  HBRUSH GetTitleBackBrush();
  HBRUSH GetSettingItemListGroupTitleBackBrush();
  HBRUSH GetSettingItemListLineBackBrush(UINT lineNumber);

  [[nodiscard]] static COLORREF GetSettingItemListGroupTitleTextColor() noexcept;
  [[nodiscard]] static bool IsHighContrastOn() noexcept;

 private:
  HBRUSH Renew(CUniqueBrush* brush, COLORREF color, const TracePoint& failure) const;
  [[nodiscard]] static COLORREF GreyUnlessHighContrast(COLORREF grey) noexcept;

  CUniqueBrush dialogBackBrush;
  CUniqueBrush titleBackBrush;
  CUniqueBrush groupTitleBackBrush;
  CUniqueBrush oddLineBackBrush;
  CUniqueBrush evenLineBackBrush;
  std::array<CUniqueFont, kModeSettingsDialogFontCount> modeSettingsDialogFonts;
  CUniqueFont updatePcEnvironmentDialogFont;
  std::array<CUniqueFont, kAnnounceDialogFontCount> announceDialogFonts;
  TraceLog trace;
};
