#include "settings/CModeSettingItemListGroupTitle.h"

#include "resources/ControlIds.h"
#include "settings/design/ScreenDpi.h"
#include "unit/settings/SettingItemListFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr COLORREF kWindowColor = RGB(10, 20, 30);
constexpr COLORREF kWindowTextColor = RGB(40, 50, 60);
constexpr COLORREF kBand = RGB(77, 77, 77);
constexpr COLORREF kWhite = RGB(255, 255, 255);

/// A group's title by itself, on a plain parent instead of the list.
class CModeSettingItemListGroupTitleTest : public SettingItemListTest {
 protected:
  struct Colors {
    COLORREF back = 0;
    COLORREF text = 0;
    friend bool operator==(const Colors&, const Colors&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Colors& colors) {
      return stream << std::hex << colors.back << ", text " << colors.text << std::dec;
    }
  };

  CModeSettingItemListGroupTitleTest() {
    AddGroup(L"Screen", {});
    MakeMachine();
    const auto systemColor = interposition.Original<decltype(&::GetSysColor)>("GetSysColor");
    interposition.Replace("GetSysColor", [systemColor](int index) {
      if (index == COLOR_WINDOW) return kWindowColor;
      if (index == COLOR_WINDOWTEXT) return kWindowTextColor;
      return systemColor(index);
    });
    const auto ask =
        interposition.Original<decltype(&::SystemParametersInfoW)>("SystemParametersInfoW");
    interposition.Replace("SystemParametersInfoW",
                          [this, ask](UINT action, UINT size, void* data, UINT change) -> BOOL {
                            if (action != SPI_GETHIGHCONTRAST) {
                              return ask(action, size, data, change);
                            }
                            static_cast<HIGHCONTRASTW*>(data)->dwFlags =
                                highContrast ? HCF_HIGHCONTRASTON : 0;
                            return TRUE;
                          });
  }
  ~CModeSettingItemListGroupTitleTest() override { title.reset(); }

  void Make(const wchar_t* group = L"Screen") {
    title.emplace(group);
    ASSERT_TRUE(title->Create(IDD_SETTING_ITEM_LIST_GROUP_TITLE, parent.Window()));
  }
  [[nodiscard]] HWND Control(int id) const { return ::GetDlgItem(title->Window(), id); }
  /// How a control or, for id 0, the title itself is painted.
  [[nodiscard]] Colors ColorsOf(int id) const {
    const HWND window = id == 0 ? title->Window() : Control(id);
    const HDC dc = ::GetDC(window);
    ::SetBkMode(dc, OPAQUE);
    ::SetTextColor(dc, RGB(1, 2, 3));
    const auto brush = reinterpret_cast<HBRUSH>(
        ::SendMessageW(title->Window(), id == 0 ? WM_CTLCOLORDLG : WM_CTLCOLORSTATIC,
                       reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(window)));
    EXPECT_EQ(::GetBkMode(dc), TRANSPARENT);
    LOGBRUSH description{};
    EXPECT_NE(::GetObjectW(brush, sizeof(description), &description), 0);
    const Colors colors{description.lbColor, ::GetTextColor(dc)};
    ::ReleaseDC(window, dc);
    return colors;
  }

  bool highContrast = false;
  std::optional<CModeSettingItemListGroupTitle> title;
};

TEST_F(CModeSettingItemListGroupTitleTest, ShowsTheGroupsName) {
  Make();
  EXPECT_EQ(TextOf(Control(IDC_GROUP_TITLE)), L"the Screen");
  EXPECT_EQ(TextOf(Control(IDC_GROUP_TITLE_BACKGROUND)), L"");
  EXPECT_THAT(Posted(), IsEmpty());
}

TEST_F(CModeSettingItemListGroupTitleTest, IsEmptyForAGroupWithoutAName) {
  Make(L"Unknown");
  EXPECT_EQ(TextOf(Control(IDC_GROUP_TITLE)), L"");
  EXPECT_THAT(Posted(), IsEmpty());
}

TEST_F(CModeSettingItemListGroupTitleTest, IsMadeFromItsTemplate) {
  Make();
  RECT units = {0, 0, 362, 19};
  ::MapDialogRect(title->Window(), &units);
  RECT client{};
  ::GetClientRect(title->Window(), &client);
  EXPECT_EQ(client.right, units.right);
  EXPECT_EQ(client.bottom, units.bottom);
  units = {6, 0, 355, 18};
  ::MapDialogRect(title->Window(), &units);
  const RECT text = Place(Control(IDC_GROUP_TITLE));
  EXPECT_EQ(text.left, units.left);
  EXPECT_EQ(text.top, 0);
  EXPECT_EQ(text.right - text.left, units.right);
  EXPECT_EQ(text.bottom, units.bottom);
  EXPECT_NE(::GetWindowLongW(Control(IDC_GROUP_TITLE), GWL_STYLE) & SS_CENTERIMAGE, 0);
  EXPECT_EQ(::GetWindowLongW(title->Window(), GWL_STYLE) & WS_VISIBLE, 0) << "Not yet.";
}

TEST_F(CModeSettingItemListGroupTitleTest, ItsBackgroundCoversAllOfIt) {
  Make();
  RECT client{};
  ::GetClientRect(title->Window(), &client);
  const RECT place = Place(Control(IDC_GROUP_TITLE_BACKGROUND));
  EXPECT_EQ(place.left, 0);
  EXPECT_EQ(place.top, 0);
  EXPECT_EQ(place.right, client.right);
  EXPECT_EQ(place.bottom, client.bottom);
}

TEST_F(CModeSettingItemListGroupTitleTest, HasTheFontOfGroupTitles) {
  Make();
  const auto fontOf = [this](int id) {
    LOGFONTW font{};
    ::GetObjectW(reinterpret_cast<HFONT>(::SendMessageW(Control(id), WM_GETFONT, 0, 0)),
                 sizeof(font), &font);
    return font.lfHeight;
  };
  EXPECT_EQ(fontOf(IDC_GROUP_TITLE), -::MulDiv(11, ScreenDpi::Get(), 72));
  EXPECT_NE(fontOf(IDC_GROUP_TITLE_BACKGROUND), fontOf(IDC_GROUP_TITLE));
}

TEST_F(CModeSettingItemListGroupTitleTest, KeepsTheTemplatesFontWithoutOne) {
  Make();
  const LRESULT templateFont =
      ::SendMessageW(Control(IDC_GROUP_TITLE_BACKGROUND), WM_GETFONT, 0, 0);
  LOGFONTW expected{};
  ::GetObjectW(reinterpret_cast<HFONT>(templateFont), sizeof(expected), &expected);
  title.reset();
  interposition.Fail("CreateFontIndirectW", {.onwards = true});
  Make();
  static_cast<void>(traces.Take());
  LOGFONTW font{};
  ::GetObjectW(reinterpret_cast<HFONT>(::SendMessageW(Control(IDC_GROUP_TITLE), WM_GETFONT, 0, 0)),
               sizeof(font), &font);
  EXPECT_EQ(font.lfHeight, expected.lfHeight);
  EXPECT_STREQ(font.lfFaceName, expected.lfFaceName);
}

TEST_F(CModeSettingItemListGroupTitleTest, IsWhiteOnADarkBand) {
  Make();
  EXPECT_EQ(ColorsOf(0), (Colors{kBand, kWindowTextColor}));
  EXPECT_EQ(ColorsOf(IDC_GROUP_TITLE), (Colors{kBand, kWhite}));
  EXPECT_EQ(ColorsOf(IDC_GROUP_TITLE_BACKGROUND).back, kBand);
}

TEST_F(CModeSettingItemListGroupTitleTest, HasTheSystemsColorsInHighContrast) {
  highContrast = true;
  Make();
  EXPECT_EQ(ColorsOf(0), (Colors{kWindowColor, kWindowTextColor}));
  EXPECT_EQ(ColorsOf(IDC_GROUP_TITLE), (Colors{kWindowColor, kWindowTextColor}));
  EXPECT_EQ(ColorsOf(IDC_GROUP_TITLE_BACKGROUND).back, kWindowColor);
}

TEST_F(CModeSettingItemListGroupTitleTest, FollowsASwitchOfHighContrast) {
  Make();
  for (int round = 0; round < 2; ++round) {
    highContrast = false;
    EXPECT_EQ(ColorsOf(IDC_GROUP_TITLE), (Colors{kBand, kWhite}));
    highContrast = true;
    EXPECT_EQ(ColorsOf(IDC_GROUP_TITLE), (Colors{kWindowColor, kWindowTextColor}));
  }
}

TEST_F(CModeSettingItemListGroupTitleTest, GoesWithClose) {
  Make();
  const HWND window = title->Window();
  ::SendMessageW(window, WM_CLOSE, 0, 0);
  EXPECT_EQ(::IsWindow(window), FALSE);
  EXPECT_EQ(title->Window(), nullptr);
}

TEST_F(CModeSettingItemListGroupTitleTest, LeavesOtherMessagesAlone) {
  Make();
  EXPECT_EQ(::SendMessageW(title->Window(), WM_APP + 5, 0, 0), 0);
  EXPECT_EQ(::SendMessageW(title->Window(), WM_COMMAND, IDCANCEL, 0), 0);
  EXPECT_NE(title->Window(), nullptr);
}

TEST_F(CModeSettingItemListGroupTitleTest, TellsItsParentWhenMemoryRunsOut) {
  title.emplace(L"Screen");
  interposition.Observe("MoveWindow", [this](const Call&) { interposition.Fail("malloc", {}); });
  ASSERT_TRUE(title->Create(IDD_SETTING_ITEM_LIST_GROUP_TITLE, parent.Window()));
  interposition.StopFailing();
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeSettingItemListGroupTitle::OnHandlerFailed", 31}}));
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_NE(title->Window(), nullptr);
}

}  // namespace
