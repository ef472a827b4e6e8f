#include "settings/design/CUIDesigner.h"

#include <cwchar>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "settings/design/ScreenDpi.h"
#include "support/ModeChangeTest.h"

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const wchar_t* kSettings = L"FontSize_ModeSetingsDialog";
constexpr const wchar_t* kProgress = L"FontSize_UpdatePcEnvironmentDialog";
constexpr const wchar_t* kAnnouncement = L"FontSize_AnnounceModeIsChangedDialog";

constexpr COLORREF kWindowColor = RGB(10, 20, 30);
constexpr COLORREF kWindowTextColor = RGB(40, 50, 60);

/// A font by where the designer hands it out and where its size is.
struct Font {
  const wchar_t* section;
  const wchar_t* key;
  std::function<HFONT(const CUIDesigner&)> get;
  std::uint32_t failureLine;
};

std::vector<Font> AllFonts() {
  const auto settings = [](CUIDesigner::ModeSettingsDialogFont font, const wchar_t* key) {
    return Font{
        kSettings, key,
        [font](const CUIDesigner& designer) { return designer.GetModeSettingsDialogFont(font); },
        76};
  };
  const auto announcement = [](CUIDesigner::AnnounceDialogFont font, const wchar_t* key) {
    return Font{
        kAnnouncement, key,
        [font](const CUIDesigner& designer) { return designer.GetAnnounceDialogFont(font); }, 116};
  };
  return {
      settings(CUIDesigner::kModeSettingsTitleFont, L"DialogTitleSize"),
      settings(CUIDesigner::kModeSelectionFont, L"ModeSelectionSize"),
      settings(CUIDesigner::kRestoreDefaultSettingsFont, L"RestoreDefaultSettingsSize"),
      settings(CUIDesigner::kAutoONOFFFont, L"AutoONOFFSize"),
      settings(CUIDesigner::kGroupTitleFont, L"SettingItemListGroupTitleSize"),
      settings(CUIDesigner::kSettingItemNameFont, L"SettingItemListSettingItemNameSize"),
      settings(CUIDesigner::kSettingItemValueFont, L"SettingItemListSettingItemValueSize"),
      settings(CUIDesigner::kSliderLabelFont, L"SliderUpDownSize"),
      settings(CUIDesigner::kShowAnnouncementFont, L"ShowAnnounceModeIsChangedDialogSize"),
      settings(CUIDesigner::kModeSettingsButtonFont, L"ButtonsSize"),
      {kProgress, L"ProcessingSize",
       [](const CUIDesigner& designer) { return designer.GetUpdatePcEnvironmentDialogFont(); }, 96},
      announcement(CUIDesigner::kAnnounceTitleFont, L"DialogTitleSize"),
      announcement(CUIDesigner::kDescriptionFont, L"DescriptionSize"),
      announcement(CUIDesigner::kDetailInformationFont, L"DetailInformationSize"),
      announcement(CUIDesigner::kNotShowThisDialogFont, L"NotShowThisDialogSize"),
      announcement(CUIDesigner::kAnnounceButtonFont, L"ButtonsSize"),
  };
}

/// One of the brushes that the designer hands out.
struct Brush {
  const char* name;
  std::function<HBRUSH(CUIDesigner&)> get;
  COLORREF color;
  COLORREF highContrastColor;
  Trace failed;
};

std::vector<Brush> AllBrushes() {
  return {
      {"dialog",
       [](CUIDesigner& designer) { return designer.GetDialogBackBrush(); },
       kWindowColor,
       kWindowColor,
       {L"CUIDesigner::GetDialogBackBrush", 176, L"1158"}},
      {"title",
       [](CUIDesigner& designer) { return designer.GetTitleBackBrush(); },
       0xDCDCDC,
       kWindowColor,
       {L"CUIDesigner::GetTitleBackBrush", 214, L"1158"}},
      {"group title",
       [](CUIDesigner& designer) { return designer.GetSettingItemListGroupTitleBackBrush(); },
       0x4D4D4D,
       kWindowColor,
       {L"CUIDesigner::GetSettingItemListGroupTitleBackBrush", 253, L"1158"}},
      {"odd line",
       [](CUIDesigner& designer) { return designer.GetSettingItemListLineBackBrush(1); },
       0xF2F2F2,
       kWindowColor,
       {L"CUIDesigner::GetSettingItemListLineBackBrush", 293, L"1158"}},
      {"even line",
       [](CUIDesigner& designer) { return designer.GetSettingItemListLineBackBrush(2); },
       kWindowColor,
       kWindowColor,
       {L"CUIDesigner::GetSettingItemListLineBackBrush", 315, L"1158"}},
  };
}

COLORREF ColorOf(HBRUSH brush) {
  LOGBRUSH description{};
  EXPECT_NE(::GetObjectW(brush, sizeof(description), &description), 0);
  EXPECT_EQ(description.lbStyle, static_cast<UINT>(BS_SOLID));
  return description.lbColor;
}

LOGFONTW Describe(HFONT font) {
  LOGFONTW description{};
  EXPECT_NE(::GetObjectW(font, sizeof(description), &description), 0);
  return description;
}

class CUIDesignerTest : public ModeChangeTest {
 protected:
  enum class HighContrast { kOff, kOn, kUnknown };

  CUIDesignerTest() {
    sandbox.SetUserLocale(L"en-US");
    WriteSizes([](std::size_t) { return 9; });
    const auto systemColor = interposition.Original<decltype(&::GetSysColor)>("GetSysColor");
    interposition.Replace("GetSysColor", [systemColor](int index) {
      if (index == COLOR_WINDOW) return kWindowColor;
      if (index == COLOR_WINDOWTEXT) return kWindowTextColor;
      return systemColor(index);
    });
    const auto ask =
        interposition.Original<decltype(&::SystemParametersInfoW)>("SystemParametersInfoW");
    interposition.Replace("SystemParametersInfoW",
                          [this, ask](UINT action, UINT size, void* data, UINT change) {
                            if (action == SPI_GETHIGHCONTRAST) {
                              return AnswerHighContrast(size, static_cast<HIGHCONTRASTW*>(data));
                            }
                            const BOOL good = ask(action, size, data, change);
                            if (action == SPI_GETNONCLIENTMETRICS && prepareMetrics) {
                              prepareMetrics(*static_cast<NONCLIENTMETRICSW*>(data));
                            }
                            return good;
                          });
  }
  ~CUIDesignerTest() override { ScreenDpi::Set(screenDpi); }

  /// The sizes of all fonts, by their places in AllFonts.
  void WriteSizes(const std::function<int(std::size_t)>& sizeOf) {
    IniFile texts;
    const std::vector<Font> fonts = AllFonts();
    const wchar_t* section = L"";
    for (std::size_t i = 0; i < fonts.size(); ++i) {
      if (std::wcscmp(section, fonts[i].section) != 0) texts.Section(fonts[i].section);
      section = fonts[i].section;
      texts.Key(fonts[i].key, sizeOf(i));
    }
    sandbox.Write(L"en-US\\ModeChange.Resource.ini", texts);
  }
  [[nodiscard]] static std::vector<LONG> Heights(const CUIDesigner& designer) {
    std::vector<LONG> heights;
    for (const Font& font : AllFonts()) heights.push_back(Describe(font.get(designer)).lfHeight);
    return heights;
  }
  /// The handles that the library gave to DeleteObject since the calls were cleared.
  [[nodiscard]] std::vector<HGDIOBJ> Deleted() const {
    std::vector<HGDIOBJ> deleted;
    for (const Call& call : interposition.CallsOf("DeleteObject")) {
      deleted.push_back(reinterpret_cast<HGDIOBJ>(call.arguments[0]));
    }
    return deleted;
  }

  HighContrast highContrast = HighContrast::kOff;
  DWORD otherFlags = 0;
  std::function<void(NONCLIENTMETRICSW&)> prepareMetrics;

 private:
  BOOL AnswerHighContrast(UINT size, HIGHCONTRASTW* answer) const {
    EXPECT_EQ(size, 16U);
    EXPECT_EQ(answer->cbSize, 16U);
    answer->dwFlags = otherFlags;
    if (highContrast != HighContrast::kOff) answer->dwFlags |= HCF_HIGHCONTRASTON;
    return highContrast == HighContrast::kUnknown ? FALSE : TRUE;
  }

  std::int32_t screenDpi = ScreenDpi::Get();
};

// --- Fonts ---------------------------------------------------------------------------------------

TEST_F(CUIDesignerTest, KnowsTheScreensResolutionFromTheStart) {
  HDC screen = ::GetDC(nullptr);
  EXPECT_EQ(ScreenDpi::Get(), ::GetDeviceCaps(screen, LOGPIXELSY));
  EXPECT_GT(ScreenDpi::Get(), 0);
  ::ReleaseDC(nullptr, screen);
}

TEST_F(CUIDesignerTest, MakesFontsInPointsOfTheScreen) {
  struct Row {
    int points;
    int dpi;
    LONG height;
  };
  const Row rows[] = {{9, 96, -12},  {9, 144, -18}, {9, 120, -15}, {10, 96, -13},
                      {11, 96, -15}, {72, 96, -96}, {1, 96, -1},   {9, 192, -24},
                      {9, 72, -9},   {0, 96, 0},    {9, 0, 0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.points << " points at " << row.dpi << " dpi");
    WriteSizes([&row](std::size_t) { return row.points; });
    ScreenDpi::Set(row.dpi);
    const CUIDesigner designer;
    EXPECT_THAT(Heights(designer), AllOf(SizeIs(16), Each(row.height)));
  }
}

TEST_F(CUIDesignerTest, MakesEachFontInItsOwnSize) {
  ScreenDpi::Set(72);
  WriteSizes([](std::size_t font) { return 10 + static_cast<int>(font); });
  const CUIDesigner designer;
  EXPECT_THAT(Heights(designer), ElementsAre(-10, -11, -12, -13, -14, -15, -16, -17, -18, -19, -20,
                                             -21, -22, -23, -24, -25));
}

TEST_F(CUIDesignerTest, NumbersTheFontsAsTheDialogsExpect) {
  EXPECT_EQ(CUIDesigner::kGroupTitleFont, 4);
  EXPECT_EQ(CUIDesigner::kSettingItemNameFont, 5);
  EXPECT_EQ(CUIDesigner::kSettingItemValueFont, 6);
  EXPECT_EQ(CUIDesigner::kSliderLabelFont, 7);
  EXPECT_EQ(CUIDesigner::kModeSettingsDialogFontCount, 10);
  EXPECT_EQ(CUIDesigner::kAnnounceDialogFontCount, 5);
}

TEST_F(CUIDesignerTest, MakesFontsOfDefaultHeightWithoutSizes) {
  sandbox.Write(L"en-US\\ModeChange.Resource.ini", IniFile().Section(kSettings));
  const CUIDesigner designer;
  EXPECT_THAT(Heights(designer), AllOf(SizeIs(16), Each(0)));
}

TEST_F(CUIDesignerTest, MakesFontsOfDefaultHeightWithoutAFile) {
  sandbox.Remove(L"en-US\\ModeChange.Resource.ini");
  const CUIDesigner designer;
  EXPECT_THAT(Heights(designer), AllOf(SizeIs(16), Each(0)));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeResource::CModeChangeResource", 72}}));
}

TEST_F(CUIDesignerTest, TakesTheSystemsMessageFont) {
  prepareMetrics = [](NONCLIENTMETRICSW& metrics) {
    EXPECT_EQ(metrics.cbSize, 504U);
    for (LOGFONTW* other : {&metrics.lfCaptionFont, &metrics.lfSmCaptionFont, &metrics.lfMenuFont,
                            &metrics.lfStatusFont}) {
      std::wcscpy(other->lfFaceName, L"Other");
    }
    metrics.lfMessageFont = {};
    metrics.lfMessageFont.lfHeight = -99;
    metrics.lfMessageFont.lfWeight = 700;
    metrics.lfMessageFont.lfItalic = TRUE;
    metrics.lfMessageFont.lfCharSet = SHIFTJIS_CHARSET;
    std::wcscpy(metrics.lfMessageFont.lfFaceName, L"Message");
  };
  ScreenDpi::Set(96);
  const CUIDesigner designer;
  for (const Font& font : AllFonts()) {
    const LOGFONTW made = Describe(font.get(designer));
    EXPECT_STREQ(made.lfFaceName, L"Message");
    EXPECT_EQ(made.lfHeight, -12);
    EXPECT_EQ(made.lfWeight, 700);
    EXPECT_EQ(made.lfItalic, TRUE);
    EXPECT_EQ(made.lfCharSet, SHIFTJIS_CHARSET);
  }
  const Call asked = interposition.CallsOf("SystemParametersInfoW").front();
  EXPECT_EQ(asked.arguments[0], static_cast<std::uint64_t>(SPI_GETNONCLIENTMETRICS));
  EXPECT_EQ(asked.arguments[1], 504U);
  EXPECT_EQ(asked.arguments[3], 0U);
}

TEST_F(CUIDesignerTest, HasNoFontsWithoutTheSystemsFont) {
  interposition.Fail("SystemParametersInfoW", {.lastError = ERROR_OUT_OF_STRUCTURES});
  CUIDesigner designer;
  EXPECT_EQ(traces.Take(), (Traces{{L"CUIDesigner::CUIDesigner", 52, L"84"}}));
  for (const Font& font : AllFonts()) EXPECT_EQ(font.get(designer), nullptr);
  EXPECT_EQ(interposition.Count("CreateFontIndirectW"), 0U);
  EXPECT_EQ(ColorOf(designer.GetTitleBackBrush()), 0xDCDCDCU) << "Brushes need no fonts.";
}

TEST_F(CUIDesignerTest, LacksOnlyTheFontThatCannotBeMade) {
  const std::vector<Font> fonts = AllFonts();
  for (std::size_t failing = 0; failing < fonts.size(); ++failing) {
    SCOPED_TRACE(testing::Message() << "font " << failing);
    interposition.Fail("CreateFontIndirectW", {.nth = static_cast<std::uint32_t>(failing + 1),
                                               .lastError = ERROR_NO_MORE_USER_HANDLES});
    const CUIDesigner designer;
    EXPECT_EQ(traces.Take(),
              (Traces{{L"CUIDesigner::CUIDesigner", fonts[failing].failureLine, L"1158"}}));
    for (std::size_t i = 0; i < fonts.size(); ++i) {
      EXPECT_EQ(fonts[i].get(designer) == nullptr, i == failing) << "font " << i;
    }
  }
}

TEST_F(CUIDesignerTest, TracesEveryFontThatCannotBeMade) {
  interposition.Fail("CreateFontIndirectW", {.onwards = true, .lastError = 8});
  const CUIDesigner designer;
  Traces expected;
  for (const Font& font : AllFonts()) {
    expected.push_back({L"CUIDesigner::CUIDesigner", font.failureLine, L"8"});
  }
  EXPECT_EQ(traces.Take(), expected);
}

// --- Brushes -------------------------------------------------------------------------------------

TEST_F(CUIDesignerTest, PaintsInGreys) {
  CUIDesigner designer;
  for (const Brush& brush : AllBrushes()) {
    SCOPED_TRACE(brush.name);
    EXPECT_EQ(ColorOf(brush.get(designer)), brush.color);
  }
  EXPECT_EQ(designer.GetSettingItemListGroupTitleTextColor(), 0xFFFFFFU);
  EXPECT_FALSE(designer.IsHighContrastOn());
}

TEST_F(CUIDesignerTest, PaintsInTheSystemsColorsWithHighContrast) {
  highContrast = HighContrast::kOn;
  CUIDesigner designer;
  for (const Brush& brush : AllBrushes()) {
    SCOPED_TRACE(brush.name);
    EXPECT_EQ(ColorOf(brush.get(designer)), brush.highContrastColor);
  }
  EXPECT_EQ(designer.GetSettingItemListGroupTitleTextColor(), kWindowTextColor);
  EXPECT_TRUE(designer.IsHighContrastOn());
}

TEST_F(CUIDesignerTest, PaintsInGreysWhereHighContrastIsUnknown) {
  highContrast = HighContrast::kUnknown;
  CUIDesigner designer;
  for (const Brush& brush : AllBrushes()) {
    SCOPED_TRACE(brush.name);
    EXPECT_EQ(ColorOf(brush.get(designer)), brush.color);
  }
  EXPECT_EQ(designer.GetSettingItemListGroupTitleTextColor(), 0xFFFFFFU);
  EXPECT_FALSE(designer.IsHighContrastOn());
}

TEST_F(CUIDesignerTest, KnowsHighContrastByItsOwnFlag) {
  const CUIDesigner designer;
  otherFlags = HCF_AVAILABLE | HCF_HOTKEYACTIVE;
  EXPECT_FALSE(designer.IsHighContrastOn());
  highContrast = HighContrast::kOn;
  EXPECT_TRUE(designer.IsHighContrastOn());
}

TEST_F(CUIDesignerTest, FollowsASwitchOfHighContrast) {
  CUIDesigner designer;
  for (const Brush& brush : AllBrushes()) {
    SCOPED_TRACE(brush.name);
    for (int round = 0; round < 2; ++round) {
      highContrast = HighContrast::kOff;
      EXPECT_EQ(ColorOf(brush.get(designer)), brush.color);
      highContrast = HighContrast::kOn;
      EXPECT_EQ(ColorOf(brush.get(designer)), brush.highContrastColor);
    }
  }
}

TEST_F(CUIDesignerTest, TellsLinesApartByTheirNumbers) {
  CUIDesigner designer;
  for (const UINT odd : {1U, 3U, 255U, 0xFFFFFFFFU}) {
    EXPECT_EQ(ColorOf(designer.GetSettingItemListLineBackBrush(odd)), 0xF2F2F2U) << odd;
  }
  for (const UINT even : {0U, 2U, 256U, 0xFFFFFFFEU}) {
    EXPECT_EQ(ColorOf(designer.GetSettingItemListLineBackBrush(even)), kWindowColor) << even;
  }
}

TEST_F(CUIDesignerTest, RenewsABrushAndDeletesTheOneBefore) {
  CUIDesigner designer;
  for (const Brush& brush : AllBrushes()) {
    SCOPED_TRACE(brush.name);
    interposition.ClearCalls();
    const HBRUSH first = brush.get(designer);
    EXPECT_THAT(Deleted(), IsEmpty()) << "Each kind has a brush of its own.";
    EXPECT_NE(brush.get(designer), nullptr);
    EXPECT_THAT(Deleted(), ElementsAre(first));
    EXPECT_EQ(interposition.Count("CreateSolidBrush"), 2U);
  }
}

TEST_F(CUIDesignerTest, DeletesAllItsFontsAndBrushes) {
  std::optional<CUIDesigner> designer(std::in_place);
  EXPECT_THAT(handles.Held(), SizeIs(16));
  for (int repaint = 0; repaint < 100; ++repaint) {
    for (const Brush& brush : AllBrushes()) EXPECT_NE(brush.get(*designer), nullptr);
  }
  EXPECT_THAT(handles.Held(), SizeIs(16 + 5));
  designer.reset();
  EXPECT_THAT(handles.Held(), IsEmpty());
}

TEST_F(CUIDesignerTest, TracesABrushThatCannotBeMade) {
  CUIDesigner designer;
  for (const Brush& brush : AllBrushes()) {
    SCOPED_TRACE(brush.name);
    const HBRUSH before = brush.get(designer);
    interposition.ClearCalls();
    interposition.Fail("CreateSolidBrush", {.lastError = ERROR_NO_MORE_USER_HANDLES});
    EXPECT_EQ(brush.get(designer), nullptr);
    EXPECT_EQ(traces.Take(), (Traces{brush.failed}));
    EXPECT_THAT(Deleted(), ElementsAre(before));

    EXPECT_EQ(ColorOf(brush.get(designer)), brush.color);
    EXPECT_THAT(Deleted(), ElementsAre(before)) << "Once.";
  }
}

}  // namespace
