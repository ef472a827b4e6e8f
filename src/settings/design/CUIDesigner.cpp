#include "settings/design/CUIDesigner.h"

#include "config/CModeChangeResource.h"
#include "settings/design/ScreenDpi.h"

namespace {

constexpr COLORREF kTitleGrey = RGB(220, 220, 220);
constexpr COLORREF kGroupTitleGrey = RGB(77, 77, 77);
constexpr COLORREF kGroupTitleWhite = RGB(255, 255, 255);
constexpr COLORREF kOddLineGrey = RGB(242, 242, 242);

constexpr int kPointsPerInch = 72;

// The sizes that Windows 7 and later take, whatever headers this is built with.
static_assert(sizeof(NONCLIENTMETRICSW) == 504);
static_assert(sizeof(HIGHCONTRASTW) == 16);

CUniqueFont CreateFontOfSize(LOGFONTW font, std::int32_t points) noexcept {
  font.lfHeight = -::MulDiv(points, ScreenDpi::Get(), kPointsPerInch);
  return CUniqueFont(::CreateFontIndirectW(&font));
}

}  // namespace

CUIDesigner::CUIDesigner() {
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof(metrics);
  if (::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0) == FALSE) {
    const DWORD error = ::GetLastError();
    trace.WriteUInt(L"CUIDesigner::CUIDesigner", 52, error);
    return;
  }
  CModeChangeResource resource;
  for (UINT index = 0; index < modeSettingsDialogFonts.size(); ++index) {
    std::int32_t points = 0;
    resource.GetFontSizeInModeSettingsDialog(index, &points);
    modeSettingsDialogFonts[index] = CreateFontOfSize(metrics.lfMessageFont, points);
    if (!modeSettingsDialogFonts[index]) {
      const DWORD error = ::GetLastError();
      trace.WriteUInt(L"CUIDesigner::CUIDesigner", 76, error);
    }
  }
  std::int32_t points = 0;
  resource.GetFontSizeInUpdatePcEnvironmentDialog(0, &points);
  updatePcEnvironmentDialogFont = CreateFontOfSize(metrics.lfMessageFont, points);
  if (!updatePcEnvironmentDialogFont) {
    const DWORD error = ::GetLastError();
    trace.WriteUInt(L"CUIDesigner::CUIDesigner", 96, error);
  }
  for (UINT index = 0; index < announceDialogFonts.size(); ++index) {
    points = 0;
    resource.GetFontSizeAnnounceModeIsChangedDialog(index, &points);
    announceDialogFonts[index] = CreateFontOfSize(metrics.lfMessageFont, points);
    if (!announceDialogFonts[index]) {
      const DWORD error = ::GetLastError();
      trace.WriteUInt(L"CUIDesigner::CUIDesigner", 116, error);
    }
  }
}

CUIDesigner::~CUIDesigner() = default;

HBRUSH CUIDesigner::GetDialogBackBrush() {
  return Renew(&dialogBackBrush, ::GetSysColor(COLOR_WINDOW),
               {L"CUIDesigner::GetDialogBackBrush", 176});
}

HBRUSH CUIDesigner::GetTitleBackBrush() {
  return Renew(&titleBackBrush, GreyUnlessHighContrast(kTitleGrey),
               {L"CUIDesigner::GetTitleBackBrush", 214});
}

HBRUSH CUIDesigner::GetSettingItemListGroupTitleBackBrush() {
  return Renew(&groupTitleBackBrush, GreyUnlessHighContrast(kGroupTitleGrey),
               {L"CUIDesigner::GetSettingItemListGroupTitleBackBrush", 253});
}

HBRUSH CUIDesigner::GetSettingItemListLineBackBrush(UINT lineNumber) {
  if (lineNumber % 2 != 0) {
    return Renew(&oddLineBackBrush, GreyUnlessHighContrast(kOddLineGrey),
                 {L"CUIDesigner::GetSettingItemListLineBackBrush", 293});
  }
  return Renew(&evenLineBackBrush, ::GetSysColor(COLOR_WINDOW),
               {L"CUIDesigner::GetSettingItemListLineBackBrush", 315});
}

COLORREF CUIDesigner::GetSettingItemListGroupTitleTextColor() noexcept {
  return IsHighContrastOn() ? ::GetSysColor(COLOR_WINDOWTEXT) : kGroupTitleWhite;
}

bool CUIDesigner::IsHighContrastOn() noexcept {
  HIGHCONTRASTW highContrast{};
  highContrast.cbSize = sizeof(highContrast);
  return ::SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof(highContrast), &highContrast, 0) !=
             FALSE &&
         (highContrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

HBRUSH CUIDesigner::Renew(CUniqueBrush* brush, COLORREF color, const TracePoint& failure) const {
  *brush = {};
  *brush = CUniqueBrush(::CreateSolidBrush(color));
  if (!*brush) {
    const DWORD error = ::GetLastError();
    trace.WriteUInt(failure.function, failure.line, error);
  }
  return brush->Get();
}

COLORREF CUIDesigner::GreyUnlessHighContrast(COLORREF grey) noexcept {
  return IsHighContrastOn() ? ::GetSysColor(COLOR_WINDOW) : grey;
}
