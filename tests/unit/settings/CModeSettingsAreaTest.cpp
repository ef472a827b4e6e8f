#include "settings/CModeSettingsArea.h"

#include <commctrl.h>

#include <functional>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "settings/ModeSettingsMessages.h"
#include "system/SettingsFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const wchar_t* kNone = L"No Additional Information";

/// A message that the frame got.
struct FrameMessage {
  UINT message = 0;
  WPARAM wParam = 0;
  LPARAM lParam = 0;

  friend bool operator==(const FrameMessage&, const FrameMessage&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const FrameMessage& posted) {
    return stream << "message 0x" << std::hex << posted.message << std::dec << " (" << posted.wParam
                  << ", " << posted.lParam << ")";
  }
};

constexpr FrameMessage kError{0x83E9, 100, 0};
constexpr FrameMessage kChanged{0x83EA, 0, 0};
constexpr FrameMessage kUnchanged{0x83EB, 0, 0};

/// A window that stands for the frame: it keeps the messages that it gets.
class FakeFrame {
 public:
  FakeFrame() {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = WindowProc;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kClass;
    ::RegisterClassW(&windowClass);
    window = ::CreateWindowExW(WS_EX_CONTROLPARENT, kClass, L"Frame", WS_POPUP | WS_VISIBLE, 0, 0,
                               800, 700, nullptr, nullptr, windowClass.hInstance, nullptr);
    ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  }
  ~FakeFrame() { Leave(); }
  FakeFrame(const FakeFrame&) = delete;
  FakeFrame& operator=(const FakeFrame&) = delete;

  [[nodiscard]] HWND Window() const noexcept { return window; }
  void Leave() {
    if (window != nullptr) ::DestroyWindow(std::exchange(window, nullptr));
  }
  [[nodiscard]] std::vector<FrameMessage> Take() { return std::exchange(messages, {}); }
  [[nodiscard]] int Wheels() const noexcept { return wheels; }

 private:
  static constexpr const wchar_t* kClass = L"ModeSettingsAreaTestFrame";

  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* frame = reinterpret_cast<FakeFrame*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (frame != nullptr && message >= WM_APP && message < 0xC000) {
      // Posted, so that it arrives when the sender is done.
      EXPECT_EQ(::InSendMessage(), FALSE);
      frame->messages.push_back({message, wParam, lParam});
      return 0;
    }
    if (frame != nullptr && message == WM_MOUSEWHEEL) ++frame->wheels;
    return ::DefWindowProcW(window, message, wParam, lParam);
  }

  HWND window = nullptr;
  std::vector<FrameMessage> messages;
  int wheels = 0;
};

/// The real area with its real list, in a frame that only listens.
class CModeSettingsAreaTest : public SettingsTest {
 protected:
  ~CModeSettingsAreaTest() override {
    if (area.has_value() && area->Window() != nullptr) Close();
  }

  void Open(const wchar_t* mode = L"Quiet") {
    area.emplace(mode);
    ASSERT_TRUE(area->Create(IDD_MODE_SETTINGS_AREA, frame.Window()));
    ::ShowWindow(Area(), SW_SHOW);
  }
  /// An area whose initialisation failed with these traces of its own.
  void ExpectNoStart(const Traces& expected, const wchar_t* mode = L"Quiet") {
    Open(mode);
    EXPECT_THAT(Posted(), ElementsAre(kError));
    EXPECT_EQ(TakeTracesOf(L"CModeSettingsArea::"), expected);
  }
  void Close() {
    ::SendMessageW(Area(), WM_CLOSE, 0, 0);
    EXPECT_EQ(area->Window(), nullptr);
  }
  [[nodiscard]] HWND Area() const { return area->Window(); }
  [[nodiscard]] HWND List() const { return ListOf(Area()); }
  [[nodiscard]] HWND Line(const std::wstring& name) const { return LineIn(List(), name); }
  [[nodiscard]] HWND Control(int id) const { return ::GetDlgItem(Area(), id); }
  void ChooseMode(int index) const { SettingsTest::ChooseMode(Area(), index); }
  [[nodiscard]] int ChosenMode() const { return SettingsTest::ChosenMode(Area()); }
  [[nodiscard]] bool ShowsAutoONOFF() const { return IsVisibleItself(Control(IDC_AUTO_ON_OFF)); }
  /// What was posted to the frame since the last time.
  std::vector<FrameMessage> Posted() {
    PumpAll();
    return frame.Take();
  }
  Traces OwnTraces() { return TakeTracesOf(L"CModeSettingsArea::"); }
  static Trace InArea(const wchar_t* function, std::uint32_t line,
                      const std::wstring& message = kNone) {
    return {L"CModeSettingsArea::" + std::wstring(function), line, message};
  }

  /// From now on the combo box gives this answer to a message.
  void AnswerCombo(UINT message, LRESULT answer) {
    comboAnswer = {message, answer};
    interposition.Replace(
        "SendDlgItemMessageW",
        [this](HWND dialog, int control, UINT sent, WPARAM wParam, LPARAM lParam) -> LRESULT {
          if (onCombo && control == IDC_MODE_SELECTION) onCombo(sent);
          if (control == IDC_MODE_SELECTION && sent == comboAnswer.first) return comboAnswer.second;
          return ::SendDlgItemMessageW(dialog, control, sent, wParam, lParam);
        });
  }
  /// Does something right before the combo box gets a message.
  void WhenComboGets(UINT message, std::function<void()> act) {
    onCombo = [message, act = std::move(act)](UINT sent) {
      if (sent == message) act();
    };
    AnswerCombo(WM_NULL, 0);
  }
  /// The machine can use neither item: the list is empty and asks nobody for values.
  void MakeItemsUnusable() {
    for (const wchar_t* item : {L"Lamp", L"Fan"}) Engine(item).supported = 0;
  }
  /// From now on the library can't write these keys of INI files.
  void RefuseToWrite(std::wstring key) {
    interposition.Replace(
        "WritePrivateProfileStringW",
        [key = std::move(key)](const wchar_t* section, const wchar_t* writtenKey,
                               const wchar_t* value, const wchar_t* file) -> BOOL {
          if (writtenKey != nullptr && key == writtenKey) {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
          }
          return ::WritePrivateProfileStringW(section, writtenKey, value, file);
        });
  }

  FakeFrame frame;
  std::optional<CModeSettingsArea> area;
  std::pair<UINT, LRESULT> comboAnswer;
  std::function<void(UINT)> onCombo;
};

// --- How it looks --------------------------------------------------------------------------------

TEST_F(CModeSettingsAreaTest, TheControlsAreThoseOfTheTemplate) {
  Open(L"Dock");
  EXPECT_TRUE(HasStyle(Area(), WS_CHILD | DS_CONTROL | DS_FIXEDSYS));
  EXPECT_NE(::GetWindowLongW(Area(), GWL_EXSTYLE) & WS_EX_CONTROLPARENT, 0);
  ExpectClientSize(Area(), 398, 322);
  ExpectControls(
      Area(),
      {{IDC_MODE_SELECTION, L"ComboBoxEx32", {20, 10, 156, kItsOwn}, WS_TABSTOP},
       {IDC_RESTORE_DEFAULTS_BUTTON, L"Button", {266, 10, 109, 20}, WS_TABSTOP},
       {IDC_AUTO_ON_OFF, L"Button", {20, 30, 354, 17}, BS_AUTOCHECKBOX | WS_TABSTOP},
       {IDC_LIST_FRAME, L"Static", {20, 48, 355, 237}, SS_BLACKFRAME},
       {IDC_SHOW_ANNOUNCEMENT, L"Button", {20, 296, 355, 24}, BS_AUTOCHECKBOX | WS_TABSTOP}});
  EXPECT_THAT(Posted(), IsEmpty());
}

TEST_F(CModeSettingsAreaTest, IsNotVisibleAtFirst) {
  area.emplace(L"Quiet");
  ASSERT_TRUE(area->Create(IDD_MODE_SETTINGS_AREA, frame.Window()));
  EXPECT_FALSE(IsVisibleItself(Area()));
  EXPECT_TRUE(IsVisibleItself(List())) << "It shows with the area.";
}

TEST_F(CModeSettingsAreaTest, TextsComeFromTheFile) {
  Open();
  EXPECT_EQ(TextOf(Control(IDC_RESTORE_DEFAULTS_BUTTON)), L"Restore &Defaults");
  EXPECT_EQ(TextOf(Control(IDC_AUTO_ON_OFF)), L"&Turn this mode on and off automatically");
  EXPECT_EQ(TextOf(Control(IDC_SHOW_ANNOUNCEMENT)), L"&Show a confirmation");
}

TEST_F(CModeSettingsAreaTest, EachControlHasItsFont) {
  Open();
  EXPECT_EQ(FontSizeOf(Control(IDC_MODE_SELECTION)), 9);
  EXPECT_EQ(FontSizeOf(Control(IDC_RESTORE_DEFAULTS_BUTTON)), 7);
  EXPECT_EQ(FontSizeOf(Control(IDC_AUTO_ON_OFF)), 10);
  EXPECT_EQ(FontSizeOf(Control(IDC_SHOW_ANNOUNCEMENT)), 8);
}

TEST_F(CModeSettingsAreaTest, OffersTheModesInTheirOrder) {
  Open(L"Eco");
  const HWND combo = Control(IDC_MODE_SELECTION);
  ASSERT_EQ(::SendMessageW(combo, CB_GETCOUNT, 0, 0), 5);
  const wchar_t* names[] = {L"Normal mode", L"Cradle mode", L"Custom mode", L"Eco mode",
                            L"Flight mode"};
  for (WPARAM item = 0; item < 5; ++item) {
    wchar_t text[64]{};
    COMBOBOXEXITEMW read{};
    read.mask = CBEIF_TEXT | CBEIF_LPARAM;
    read.iItem = static_cast<INT_PTR>(item);
    read.pszText = text;
    read.cchTextMax = 64;
    ::SendMessageW(combo, CBEM_GETITEMW, 0, reinterpret_cast<LPARAM>(&read));
    EXPECT_STREQ(read.pszText, names[item]);
    EXPECT_EQ(read.lParam, static_cast<LPARAM>(item));
  }
  EXPECT_EQ(ChosenMode(), 3);
}

TEST_F(CModeSettingsAreaTest, ModesAreItemsByTheirDataNotByTheirPlace) {
  Open(L"Quiet");
  const HWND combo = Control(IDC_MODE_SELECTION);
  // As if the control had sorted them: Eco's item in Quiet's place, and the other way.
  ::SendMessageW(combo, CB_SETITEMDATA, 0, 3);
  ::SendMessageW(combo, CB_SETITEMDATA, 3, 0);
  SetDefault(L"Eco", L"Lamp", 1);
  SettingsTest::ChooseMode(Area(), 0);
  EXPECT_EQ(Shown(Line(L"Lamp")), L"bright");
  // Going back with changes finds the item of the mode, wherever it is.
  Choose(Line(L"Lamp"), 0);
  robot.Then("box", DialogRobot::AnyMessageBox(), DialogRobot::Dismiss);
  ChooseMode(1);
  EXPECT_EQ(ChosenMode(), 0);
}

TEST_F(CModeSettingsAreaTest, RegistersItsControlsFirst) {
  Open();
  ASSERT_FALSE(registeredControls.empty());
  EXPECT_EQ(registeredControls.front(), static_cast<DWORD>(ICC_USEREX_CLASSES));
}

TEST_F(CModeSettingsAreaTest, TheListLiesInItsFrameAndLeavesALineAround) {
  Open();
  const RECT around = PlaceIn(Area(), Control(IDC_LIST_FRAME));
  const RECT list = PlaceIn(Area(), List());
  EXPECT_EQ(list.left, around.left + 1);
  EXPECT_EQ(list.top, around.top + 1);
  EXPECT_EQ(list.right, around.right - 1);
  EXPECT_EQ(list.bottom, around.bottom - 1);
  EXPECT_TRUE(IsVisibleItself(Control(IDC_LIST_FRAME)));
}

TEST_F(CModeSettingsAreaTest, TheAnnouncementComesRightAfterTheList) {
  Open();
  EXPECT_EQ(::GetWindow(List(), GW_HWNDNEXT), Control(IDC_SHOW_ANNOUNCEMENT));
}

TEST_F(CModeSettingsAreaTest, TheKeyboardGoesFromTopToBottom) {
  SetSaved(L"Dock", L"Lamp", 1);
  SetSaved(L"Dock", L"Fan", 1);
  Open(L"Dock");
  std::vector<int> order;
  HWND control = nullptr;
  for (int stops = 0; stops < 20; ++stops) {
    control = ::GetNextDlgTabItem(Area(), control, FALSE);
    const int id = ::GetDlgCtrlID(control);
    if (!order.empty() && id == order.front()) break;
    order.push_back(id);
  }
  // A radio pair is one stop, at the button that is chosen.
  EXPECT_THAT(order, ElementsAre(IDC_MODE_SELECTION, IDC_RESTORE_DEFAULTS_BUTTON, IDC_AUTO_ON_OFF,
                                 IDC_SETTING_ITEM, IDC_SECOND_VALUE, IDC_SETTING_ITEM,
                                 IDC_SECOND_VALUE, IDC_SHOW_ANNOUNCEMENT));
}

TEST_F(CModeSettingsAreaTest, EveryColorIsThatOfWindows) {
  interposition.Replace("GetSysColor", [](int index) -> DWORD {
    return index == COLOR_WINDOW       ? RGB(10, 20, 30)
           : index == COLOR_WINDOWTEXT ? RGB(40, 50, 60)
                                       : ::GetSysColor(index);
  });
  Open();
  const HDC dc = ::GetDC(Area());
  for (const UINT message :
       std::initializer_list<UINT>{WM_CTLCOLORBTN, WM_CTLCOLORDLG, WM_CTLCOLORSTATIC}) {
    ::SetBkMode(dc, OPAQUE);
    ::SetTextColor(dc, RGB(1, 2, 3));
    const HBRUSH brush = AskForBrush(Area(), message, Control(IDC_SHOW_ANNOUNCEMENT), dc);
    LOGBRUSH look{};
    ASSERT_NE(::GetObjectW(brush, sizeof(look), &look), 0);
    EXPECT_EQ(look.lbColor, static_cast<COLORREF>(RGB(10, 20, 30)));
    EXPECT_EQ(::GetBkMode(dc), TRANSPARENT);
    EXPECT_EQ(::GetTextColor(dc), static_cast<COLORREF>(RGB(40, 50, 60)));
  }
  interposition.Fail("CreateSolidBrush", {.lastError = 1158});
  LOGBRUSH look{};
  ::GetObjectW(AskForBrush(Area(), WM_CTLCOLORDLG, Area(), dc), sizeof(look), &look);
  EXPECT_NE(look.lbColor, static_cast<COLORREF>(RGB(10, 20, 30))) << "Left to Windows.";
  ExpectTraces({{L"CUIDesigner::GetDialogBackBrush", 176, L"1158"}});
  ::ReleaseDC(Area(), dc);
}

// --- Its start -----------------------------------------------------------------------------------

TEST_F(CModeSettingsAreaTest, TheStartModeIsFoundInAnyCase) {
  SetDefault(L"Eco", L"Lamp", 1);
  Open(L"eCO");
  EXPECT_THAT(Posted(), IsEmpty());
  EXPECT_EQ(ChosenMode(), 3);
  EXPECT_EQ(Shown(Line(L"Lamp")), L"bright");
}

TEST_F(CModeSettingsAreaTest, NeedsTheListOfModes) {
  sandbox.Remove(L"ModeChange.Config.ini");
  ExpectNoStart({InArea(L"LoadModeInformation", 541), InArea(L"OnInitDialog", 182)});
  EXPECT_EQ(List(), nullptr);
}

TEST_F(CModeSettingsAreaTest, NeedsAMode) {
  WriteUsableModes({L"Unknown"});
  ExpectNoStart({InArea(L"GetModeIndex", 731), InArea(L"OnInitDialog", 205, L"Quiet")});
}

TEST_F(CModeSettingsAreaTest, NeedsAStartModeThatThereIs) {
  ExpectNoStart({InArea(L"OnInitDialog", 205, L"Nowhere")}, L"Nowhere");
  EXPECT_EQ(List(), nullptr);
}

TEST_F(CModeSettingsAreaTest, WithoutAModeNothingIsSavedNorRestored) {
  ExpectNoStart({InArea(L"OnInitDialog", 205, L"Nowhere")}, L"Nowhere");
  EXPECT_EQ(area->SaveSettings(), -1);
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Settings.ini")));
  EXPECT_EQ(TakeTracesOf(L"CMode"), (Traces{{L"CModeChangeStatus::GetCurrentModeStatus", 88},
                                            InArea(L"SaveSettings", 82)}));

  Click(Area(), IDC_RESTORE_DEFAULTS_BUTTON);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnButtonRestoreDafaultSettings", 468, L"")}));
}

TEST_F(CModeSettingsAreaTest, NeedsItsList) {
  interposition.Replace("CreateDialogParamW",
                        [](HINSTANCE module, const wchar_t* name, HWND parent, DLGPROC proc,
                           LPARAM parameter) -> HWND {
                          if (name == MAKEINTRESOURCEW(IDD_SETTING_ITEM_LIST)) {
                            ::SetLastError(1158);
                            return nullptr;
                          }
                          return ::CreateDialogParamW(module, name, parent, proc, parameter);
                        });
  ExpectNoStart({InArea(L"CreateModeSettingItemList", 570, L"1158"), InArea(L"OnInitDialog", 216)});
}

TEST_F(CModeSettingsAreaTest, NeedsItsListInPlace) {
  interposition.Replace(
      "MoveWindow", [this](HWND window, int x, int y, int width, int height, BOOL repaint) -> BOOL {
        if (::GetParent(window) == Area()) {
          ::SetLastError(1400);
          return FALSE;
        }
        return ::MoveWindow(window, x, y, width, height, repaint);
      });
  ExpectNoStart({InArea(L"CreateModeSettingItemList", 591, L"1400"), InArea(L"OnInitDialog", 216)});
}

TEST_F(CModeSettingsAreaTest, NeedsAListThatCanShowTheMode) {
  RemoveDefaults();
  ExpectNoStart({InArea(L"CreateModeSettingItemList", 597), InArea(L"OnInitDialog", 216)});
}

TEST_F(CModeSettingsAreaTest, AListThatFailedIsReportedOn) {
  Engine(L"Lamp").failing = {"GetDeviceCount"};
  Open();
  EXPECT_THAT(Posted(), ElementsAre(kError)) << "From the list, through the area.";
  EXPECT_THAT(OwnTraces(), IsEmpty());
  EXPECT_NE(TakeTracesOf(L"").size(), 1U);
}

TEST_F(CModeSettingsAreaTest, DoesWithoutItsOrder) {
  interposition.Replace(
      "SetWindowPos",
      [this](HWND window, HWND after, int x, int y, int width, int height, UINT flags) -> BOOL {
        if (window == Control(IDC_SHOW_ANNOUNCEMENT)) {
          ::SetLastError(1400);
          return FALSE;
        }
        return ::SetWindowPos(window, after, x, y, width, height, flags);
      });
  Open();
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnInitDialog", 229, L"1400")}));
  EXPECT_THAT(Posted(), IsEmpty());
  EXPECT_EQ(ChosenMode(), 0);
}

TEST_F(CModeSettingsAreaTest, NeedsToKnowHowManyModesThereAre) {
  AnswerCombo(CB_GETCOUNT, CB_ERR);
  ExpectNoStart({InArea(L"SelectMode", 771), InArea(L"OnInitDialog", 235)});
}

TEST_F(CModeSettingsAreaTest, NeedsItemsThatSayWhichModeTheyAre) {
  AnswerCombo(CB_GETITEMDATA, CB_ERR);
  ExpectNoStart({InArea(L"SelectMode", 780, L"0, 5"), InArea(L"OnInitDialog", 235)});
}

TEST_F(CModeSettingsAreaTest, NeedsTheTypeOfTheMode) {
  WhenComboGets(CB_SETCURSEL, [this] { sandbox.Remove(L"ModeChange.Config.ini"); });
  ExpectNoStart({InArea(L"AdjustControlForSelectedMode", 812, L"Quiet"), InArea(L"SelectMode", 794),
                 InArea(L"OnInitDialog", 235)});
}

TEST_F(CModeSettingsAreaTest, NeedsTheSwitchOfACradleMode) {
  WhenComboGets(CB_SETCURSEL, [this] { RemoveDefaults(); });
  ExpectNoStart({InArea(L"AdjustControlForSelectedMode", 828, L"Dock"), InArea(L"SelectMode", 794),
                 InArea(L"OnInitDialog", 235)},
                L"Dock");
}

TEST_F(CModeSettingsAreaTest, NeedsTheValuesOfTheMode) {
  WhenComboGets(CB_SETCURSEL, [this] { RemoveDefaults(); });
  ExpectNoStart({InArea(L"AdjustControlForSelectedMode", 845, L"Quiet"), InArea(L"SelectMode", 794),
                 InArea(L"OnInitDialog", 235)});
}

TEST_F(CModeSettingsAreaTest, NeedsTheAnnouncementSetting) {
  MakeItemsUnusable();
  RemoveDefaults();
  ExpectNoStart({InArea(L"OnInitDialog", 248)});
}

TEST_F(CModeSettingsAreaTest, RunningOutOfMemoryAtTheStartIsReported) {
  area.emplace(L"Quiet");
  interposition.Replace("GetUserDefaultLocaleName",
                        [](wchar_t*, int) -> int { throw std::bad_alloc(); });
  EXPECT_TRUE(area->Create(IDD_MODE_SETTINGS_AREA, frame.Window()));
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnHandlerFailed", 84)}));
}

TEST_F(CModeSettingsAreaTest, AMachineWithoutUsableItemsHasAnEmptyList) {
  MakeItemsUnusable();
  Open();
  EXPECT_THAT(Posted(), IsEmpty());
  EXPECT_NE(List(), nullptr);
  EXPECT_EQ(::GetWindow(List(), GW_CHILD), nullptr);
  ChooseMode(3);
  EXPECT_THAT(Posted(), ElementsAre(kUnchanged));
  EXPECT_EQ(area->SaveSettings(), 1);
}

// --- Auto ON/OFF and the announcement ------------------------------------------------------------

TEST_F(CModeSettingsAreaTest, OnlyTheCradleModeHasAutoONOFF) {
  Open(L"Quiet");
  for (const int mode : {0, 1, 2, 3, 4, 1}) {
    SCOPED_TRACE(mode);
    ChooseMode(mode);
    EXPECT_EQ(ShowsAutoONOFF(), mode == 1);
    EXPECT_EQ(::IsWindowEnabled(Control(IDC_AUTO_ON_OFF)) != FALSE, mode == 1);
  }
}

TEST_F(CModeSettingsAreaTest, AutoONOFFIsTheUsersOrElseTheDefault) {
  SetDefault(L"Dock", L"AutoONOFF", 1);
  Open(L"Dock");
  EXPECT_TRUE(IsChecked(Area(), IDC_AUTO_ON_OFF));
  Close();

  SetSaved(L"Dock", L"Lamp", -1);
  Open(L"Dock");
  EXPECT_FALSE(IsChecked(Area(), IDC_AUTO_ON_OFF)) << "The user's section counts as a whole.";
  Close();

  SetSaved(L"Dock", L"AutoONOFF", 1);
  Open(L"Dock");
  EXPECT_TRUE(IsChecked(Area(), IDC_AUTO_ON_OFF));
}

TEST_F(CModeSettingsAreaTest, ShowsWhetherChangesAreAnnounced) {
  Open();
  EXPECT_FALSE(IsChecked(Area(), IDC_SHOW_ANNOUNCEMENT));
  Close();
  WriteDefaults(true);
  Open();
  EXPECT_TRUE(IsChecked(Area(), IDC_SHOW_ANNOUNCEMENT));
}

// --- What it tells the frame ---------------------------------------------------------------------

TEST_F(CModeSettingsAreaTest, TellsTheFrameOfEachChange) {
  Open(L"Dock");
  EXPECT_THAT(Posted(), IsEmpty()) << "Nothing was changed yet.";
  Click(Area(), IDC_AUTO_ON_OFF);
  EXPECT_THAT(Posted(), ElementsAre(kChanged));
  Click(Area(), IDC_SHOW_ANNOUNCEMENT);
  EXPECT_THAT(Posted(), ElementsAre(kChanged));
  ::SendMessageW(Area(), WM_COMMAND, MAKEWPARAM(IDC_AUTO_ON_OFF, BN_SETFOCUS), 0);
  EXPECT_THAT(Posted(), ElementsAre(kChanged)) << "Any notification counts.";
  Click(Line(L"Lamp"), IDC_SETTING_ITEM);
  EXPECT_THAT(Posted(), ElementsAre(kChanged));
  ::SendMessageW(Area(), WM_MODESETTINGS_CHANGED, 5, 6);
  EXPECT_THAT(Posted(), ElementsAre(kChanged)) << "Passed on without arguments.";
}

TEST_F(CModeSettingsAreaTest, PassesErrorsOnAsTheyAre) {
  Open();
  EXPECT_EQ(::SendMessageW(Area(), WM_MODESETTINGS_ERROR, 77, 88), 0);
  EXPECT_THAT(Posted(), ElementsAre(FrameMessage{WM_MODESETTINGS_ERROR, 77, 88}));
}

TEST_F(CModeSettingsAreaTest, OtherCommandsAreNotItsOwn) {
  Open();
  for (const UINT notification :
       std::initializer_list<UINT>{CBN_DROPDOWN, CBN_CLOSEUP, CBN_SETFOCUS}) {
    ::SendMessageW(Area(), WM_COMMAND, MAKEWPARAM(IDC_MODE_SELECTION, notification), 0);
  }
  ::SendMessageW(Area(), WM_COMMAND, IDOK, 0);
  ::SendMessageW(Area(), WM_COMMAND, IDCANCEL, 0);
  EXPECT_THAT(Posted(), IsEmpty());
  EXPECT_NE(Area(), nullptr);
}

// --- Another mode --------------------------------------------------------------------------------

TEST_F(CModeSettingsAreaTest, ShowsAnotherModeWhenNothingIsUnsaved) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetDefault(L"Eco", L"Fan", 0);
  Open();
  EXPECT_EQ(Shown(Line(L"Lamp")), L"left alone");
  ChooseMode(3);
  EXPECT_THAT(Posted(), ElementsAre(kUnchanged));
  EXPECT_EQ(ChosenMode(), 3);
  EXPECT_EQ(Shown(Line(L"Lamp")), L"bright");
  EXPECT_EQ(Shown(Line(L"Fan")), L"slow");
  EXPECT_THAT(Boxes(), IsEmpty());
}

TEST_F(CModeSettingsAreaTest, TheSameModeAgainIsNothing) {
  Open(L"Eco");
  Choose(Line(L"Lamp"), 1);
  PumpAll();
  static_cast<void>(frame.Take());
  log.clear();
  ChooseMode(3);
  EXPECT_THAT(Posted(), IsEmpty());
  EXPECT_THAT(Boxes(), IsEmpty());
  EXPECT_EQ(Shown(Line(L"Lamp")), L"bright");
}

TEST_F(CModeSettingsAreaTest, AModeWithUnsavedValuesIsNotLeft) {
  Open();
  Choose(Line(L"Lamp"), 1);
  static_cast<void>(Posted());
  robot.Then("box", DialogRobot::AnyMessageBox(), [this](HWND box) {
    EXPECT_EQ(ChosenMode(), 0) << "It is back before the user is told.";
    EXPECT_EQ(::GetWindow(box, GW_OWNER), frame.Window());
    DialogRobot::Dismiss(box);
  });
  ChooseMode(3);
  EXPECT_THAT(Boxes(), ElementsAre(L"Not saved.\r\nApply first. | Mode Change | 48"));
  EXPECT_EQ(ChosenMode(), 0);
  EXPECT_EQ(Shown(Line(L"Lamp")), L"bright");
  EXPECT_THAT(Posted(), IsEmpty());
}

TEST_F(CModeSettingsAreaTest, AModeWithAnUnsavedSwitchIsNotLeft) {
  Open(L"Dock");
  Click(Area(), IDC_AUTO_ON_OFF);
  static_cast<void>(Posted());
  robot.Then("box", DialogRobot::AnyMessageBox(), DialogRobot::Dismiss);
  ChooseMode(3);
  EXPECT_THAT(Boxes(), SizeIs(1));
  EXPECT_EQ(ChosenMode(), 1);
  EXPECT_TRUE(IsChecked(Area(), IDC_AUTO_ON_OFF));

  // Back as it was, it can be left.
  Click(Area(), IDC_AUTO_ON_OFF);
  static_cast<void>(Posted());
  ChooseMode(3);
  EXPECT_EQ(ChosenMode(), 3);
  EXPECT_THAT(Posted(), ElementsAre(kUnchanged));
  EXPECT_THAT(Boxes(), SizeIs(1));
}

TEST_F(CModeSettingsAreaTest, ASwitchThatIsHiddenDoesNotCount) {
  Open(L"Quiet");
  ::SendMessageW(Control(IDC_AUTO_ON_OFF), BM_SETCHECK, BST_CHECKED, 0);
  ChooseMode(3);
  EXPECT_THAT(Boxes(), IsEmpty());
  EXPECT_EQ(ChosenMode(), 3);
}

TEST_F(CModeSettingsAreaTest, AnUnsavedAnnouncementDoesNotKeepTheUser) {
  Open();
  Click(Area(), IDC_SHOW_ANNOUNCEMENT);
  EXPECT_THAT(Posted(), ElementsAre(kChanged));
  ChooseMode(3);
  EXPECT_EQ(ChosenMode(), 3);
  EXPECT_THAT(Boxes(), IsEmpty());
  EXPECT_THAT(Posted(), IsEmpty()) << "There still is something to save.";
  EXPECT_TRUE(IsChecked(Area(), IDC_SHOW_ANNOUNCEMENT));
}

TEST_F(CModeSettingsAreaTest, AComboWithoutASelectionIsAFailure) {
  Open();
  ChooseMode(-1);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnComboMode", 351)}));
}

TEST_F(CModeSettingsAreaTest, AnItemWithoutAModeIsAFailure) {
  Open();
  AnswerCombo(CB_GETITEMDATA, CB_ERR);
  ChooseMode(3);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnComboMode", 361, L"3")}));
}

TEST_F(CModeSettingsAreaTest, AnItemOfAModeThatThereIsNotIsAFailure) {
  Open();
  ::SendMessageW(Control(IDC_MODE_SELECTION), CB_SETITEMDATA, 3, 5);
  ChooseMode(3);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"AdjustControlForSelectedMode", 812, L""),
                                 InArea(L"OnComboMode", 429, L"5")}));
}

TEST_F(CModeSettingsAreaTest, AListThatCannotSayWhatChangedIsAFailure) {
  Open();
  RemoveDefaults();
  ChooseMode(3);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(),
            (Traces{InArea(L"IsSelectedModeSettingsChanged", 930), InArea(L"OnComboMode", 378)}));
  EXPECT_EQ(ChosenMode(), 3) << "Nobody knows what to go back to: the dialog ends.";
}

TEST_F(CModeSettingsAreaTest, ASwitchThatCannotBeReadIsAFailure) {
  Open(L"Dock");
  RemoveDefaults();
  ChooseMode(3);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(),
            (Traces{InArea(L"IsSelectedModeSettingsChanged", 916), InArea(L"OnComboMode", 378)}));
}

TEST_F(CModeSettingsAreaTest, GoingBackNeedsReadableItems) {
  Open(L"Eco");
  Choose(Line(L"Lamp"), 1);
  static_cast<void>(Posted());
  ::SendMessageW(Control(IDC_MODE_SELECTION), CB_SETITEMDATA, 1, CB_ERR);
  ChooseMode(4);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnComboMode", 397, L"1")}));
  EXPECT_THAT(Boxes(), IsEmpty());
}

TEST_F(CModeSettingsAreaTest, GoingBackNeedsTheItems) {
  Open();
  Choose(Line(L"Lamp"), 1);
  static_cast<void>(Posted());
  AnswerCombo(CB_GETCOUNT, CB_ERR);
  ChooseMode(4);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnComboMode", 397, L"-1")}));
}

TEST_F(CModeSettingsAreaTest, AWarningThatDoesNotComeUpIsAFailure) {
  Open();
  Choose(Line(L"Lamp"), 1);
  static_cast<void>(Posted());
  interposition.Fail("MessageBoxW", {});
  ChooseMode(3);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnComboMode", 415)}));
}

TEST_F(CModeSettingsAreaTest, AnotherModeThatCannotBeShownIsAFailure) {
  SetSaved(L"Quiet", L"Lamp", -1);
  Open();
  // The mode that is shown is the user's own, so only the other one needs the defaults.
  RemoveDefaults();
  Engine(L"Lamp").failing.clear();
  ChooseMode(3);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"AdjustControlForSelectedMode", 845, L"Eco"),
                                 InArea(L"OnComboMode", 429, L"3")}));
}

TEST_F(CModeSettingsAreaTest, AnAnnouncementSettingThatCannotBeReadIsAFailure) {
  MakeItemsUnusable();
  Open();
  RemoveDefaults();
  ChooseMode(3);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(),
            (Traces{InArea(L"IsCommonSettingsChanged", 877), InArea(L"OnComboMode", 440)}));
}

TEST_F(CModeSettingsAreaTest, RunningOutOfMemoryIsReported) {
  Open();
  interposition.Replace("SHGetSpecialFolderPathW",
                        [](HWND, wchar_t*, int, BOOL) -> BOOL { throw std::bad_alloc(); });
  ChooseMode(3);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnHandlerFailed", 84)}));
}

// --- Defaults ------------------------------------------------------------------------------------

TEST_F(CModeSettingsAreaTest, RestoresTheDefaultsOfTheMode) {
  SetDefault(L"Dock", L"AutoONOFF", 1);
  SetDefault(L"Dock", L"Lamp", 1);
  SetSaved(L"Dock", L"Lamp", 0);
  SetSaved(L"Dock", L"Fan", 1);
  Open(L"Dock");
  EXPECT_FALSE(IsChecked(Area(), IDC_AUTO_ON_OFF));
  EXPECT_EQ(Shown(Line(L"Lamp")), L"dark");
  Click(Area(), IDC_SHOW_ANNOUNCEMENT);
  static_cast<void>(Posted());

  Click(Area(), IDC_RESTORE_DEFAULTS_BUTTON);
  EXPECT_THAT(Posted(), ElementsAre(kChanged));
  EXPECT_TRUE(IsChecked(Area(), IDC_AUTO_ON_OFF));
  EXPECT_EQ(Shown(Line(L"Lamp")), L"bright");
  EXPECT_EQ(Shown(Line(L"Fan")), L"left alone");
  EXPECT_TRUE(IsChecked(Area(), IDC_SHOW_ANNOUNCEMENT)) << "It is no setting of the mode.";
  EXPECT_EQ(Saved(L"Dock", L"Lamp"), L"0") << "Nothing is saved yet.";
}

TEST_F(CModeSettingsAreaTest, RestoringNeedsTheDefaultsFile) {
  Open();
  RemoveDefaults();
  Click(Area(), IDC_RESTORE_DEFAULTS_BUTTON);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnButtonRestoreDafaultSettings", 468, L"Quiet")}));
}

TEST_F(CModeSettingsAreaTest, RestoringNeedsTheList) {
  Open();
  // The switch's value is read, and then the file is gone.
  bool isRemoved = false;
  interposition.Observe("GetPrivateProfileIntW", [&](const Call& call) {
    if (isRemoved || std::wstring(call.Text(1)) != L"AutoONOFF") return;
    isRemoved = true;
    RemoveDefaults();
  });
  Click(Area(), IDC_RESTORE_DEFAULTS_BUTTON);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"OnButtonRestoreDafaultSettings", 481)}));
}

// --- Saving --------------------------------------------------------------------------------------

TEST_F(CModeSettingsAreaTest, SavesTheModeThatIsShown) {
  Open(L"Eco");
  Choose(Line(L"Lamp"), 1);
  Click(Area(), IDC_SHOW_ANNOUNCEMENT);
  EXPECT_EQ(area->SaveSettings(), 1);
  EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"1");
  EXPECT_EQ(Saved(L"Eco", L"Fan"), L"-1");
  EXPECT_EQ(Saved(L"Eco", L"AutoONOFF"), L"0");
  EXPECT_EQ(Saved(L"Common", L"ShowAnnounceModeIsChangedDialog"), L"1");
  EXPECT_EQ(Saved(L"Quiet", L"Lamp"), L"none");
  EXPECT_THAT(ModalTemplates(), IsEmpty()) << "The mode is OFF.";
  EXPECT_THAT(Boxes(), IsEmpty());
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Status.ini")));
}

TEST_F(CModeSettingsAreaTest, SavesTheSwitchOfTheCradleModeOnly) {
  Open(L"Dock");
  Click(Area(), IDC_AUTO_ON_OFF);
  EXPECT_EQ(area->SaveSettings(), 1);
  EXPECT_EQ(Saved(L"Dock", L"AutoONOFF"), L"1");
  ChooseMode(3);
  EXPECT_TRUE(IsChecked(Area(), IDC_AUTO_ON_OFF)) << "Hidden, it keeps its mark.";
  EXPECT_EQ(area->SaveSettings(), 1);
  EXPECT_EQ(Saved(L"Eco", L"AutoONOFF"), L"0");
}

TEST_F(CModeSettingsAreaTest, SavesTheSwitchAlsoWhereWindowsDoesNotFindIt) {
  Open(L"Dock");
  Click(Area(), IDC_AUTO_ON_OFF);
  interposition.Fail("GetDlgItem", {.onwards = true});
  EXPECT_EQ(area->SaveSettings(), 1);
  interposition.StopFailing();
  EXPECT_EQ(Saved(L"Dock", L"AutoONOFF"), L"1");
}

TEST_F(CModeSettingsAreaTest, TellsTheUserWhichItemsHaveNoValue) {
  Open();
  Click(Line(L"Lamp"), IDC_SETTING_ITEM);
  Click(Line(L"Fan"), IDC_SETTING_ITEM);
  // Neither of the two values.
  for (const wchar_t* item : {L"Lamp", L"Fan"}) {
    for (const int value : {IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
      ::SendDlgItemMessageW(Line(item), value, BM_SETCHECK, BST_UNCHECKED, 0);
    }
  }
  SetStatus(L"Quiet", 1);
  robot.Then("box", DialogRobot::AnyMessageBox(), [this](HWND box) {
    EXPECT_EQ(::GetWindow(box, GW_OWNER), frame.Window());
    DialogRobot::Dismiss(box);
  });
  EXPECT_EQ(area->SaveSettings(), 0);
  EXPECT_THAT(Boxes(), ElementsAre(L"No value:\r\nLamp\r\nFan\r\nSelect one. | Mode Change | 48"));
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Settings.ini")));
  EXPECT_THAT(ModalTemplates(), IsEmpty()) << "Devices stay as they are.";
  EXPECT_EQ(Status(L"Quiet"), L"1");
}

TEST_F(CModeSettingsAreaTest, TellsTheUserOfAnItemWithoutAName) {
  Open();
  const HWND lamp = Line(L"Lamp");
  Click(lamp, IDC_SETTING_ITEM);
  for (const int value : {IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
    ::SendDlgItemMessageW(lamp, value, BM_SETCHECK, BST_UNCHECKED, 0);
  }
  SetText(L"SettingItem", L"Lamp_Name", L"");
  robot.Then("box", DialogRobot::AnyMessageBox(), [](HWND box) { DialogRobot::Dismiss(box); });
  EXPECT_EQ(area->SaveSettings(), 0);
  EXPECT_THAT(Boxes(), ElementsAre(L"No value:\r\n\r\nSelect one. | Mode Change | 48"));
}

TEST_F(CModeSettingsAreaTest, AUserWhoCannotBeToldIsAFailure) {
  Open();
  Click(Line(L"Lamp"), IDC_SETTING_ITEM);
  for (const int value : {IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
    ::SendDlgItemMessageW(Line(L"Lamp"), value, BM_SETCHECK, BST_UNCHECKED, 0);
  }
  interposition.Fail("MessageBoxW", {});
  EXPECT_EQ(area->SaveSettings(), -1);
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"SaveSettings", 69)}));
}

TEST_F(CModeSettingsAreaTest, NamesThatCannotBeReadAreAFailure) {
  Open();
  Click(Line(L"Lamp"), IDC_SETTING_ITEM);
  for (const int value : {IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
    ::SendDlgItemMessageW(Line(L"Lamp"), value, BM_SETCHECK, BST_UNCHECKED, 0);
  }
  Engine(L"Lamp").failing = {"GetStringInformation(0, 0)"};
  EXPECT_EQ(area->SaveSettings(), -1);
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"SaveSettings", 58)}));
  EXPECT_THAT(Boxes(), IsEmpty());
}

TEST_F(CModeSettingsAreaTest, AModeThatIsOnIsLeftAndEnteredAgain) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetStatus(L"Eco", 1);
  ::WritePrivateProfileStringW(L"NormalEnvironment", L"Lamp", L"0",
                               sandbox.DataFile(L"ModeChange.Status.ini").c_str());
  Engine(L"Lamp").current = 1;
  Engine(L"Fan").current = 0;
  Open(L"Eco");
  Choose(Line(L"Fan"), 1);

  std::vector<std::wstring> progress;
  HWND first = nullptr;
  const auto look = [&](HWND dialog) {
    EXPECT_EQ(::GetWindow(dialog, GW_OWNER), frame.Window());
    EXPECT_EQ(::IsWindowEnabled(frame.Window()), FALSE);
    progress.push_back(L"status " + Status(L"Eco") + L", saved " + Saved(L"Eco", L"Fan"));
  };
  robot.Then("off", DialogRobot::DialogWith(IDC_PROGRESS_BAR), [&](HWND dialog) {
    first = dialog;
    look(dialog);
  });
  robot.Then(
      "on",
      [&first] {
        const HWND dialog = DialogRobot::FindDialogWith(IDC_PROGRESS_BAR);
        return dialog != first ? dialog : nullptr;
      },
      look);
  EXPECT_EQ(area->SaveSettings(), 1);
  EXPECT_THAT(ModalTemplates(), ElementsAre(106, 106));
  EXPECT_THAT(progress, ElementsAre(L"status 1, saved none", L"status 0, saved 1"));
  EXPECT_THAT(Engine(L"Lamp").requested, ElementsAre(0, 1));
  EXPECT_THAT(Engine(L"Fan").requested, ElementsAre(1));
  EXPECT_EQ(Status(L"Eco"), L"1");
  EXPECT_EQ(Engine(L"Lamp").current, 1);
  EXPECT_EQ(Engine(L"Fan").current, 1);
}

TEST_F(CModeSettingsAreaTest, AnotherModeThatIsOnDoesNotMatter) {
  SetStatus(L"Dock", 1);
  SetStatus(L"Eco", 2);
  Open(L"Eco");
  EXPECT_EQ(area->SaveSettings(), 1);
  EXPECT_THAT(ModalTemplates(), IsEmpty());
}

TEST_F(CModeSettingsAreaTest, AModeThatCannotBeLeftIsNotSaved) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetStatus(L"Eco", 1);
  ::WritePrivateProfileStringW(L"NormalEnvironment", L"Lamp", L"0",
                               sandbox.DataFile(L"ModeChange.Status.ini").c_str());
  Engine(L"Lamp").result = 3;
  Open(L"Eco");
  EXPECT_EQ(area->SaveSettings(), -2);
  EXPECT_EQ(OwnTraces(),
            (Traces{InArea(L"SaveSettings", 99, L"Eco"), InArea(L"SaveSettings", 101, L"12")}));
  EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"none");
  EXPECT_THAT(ModalTemplates(), ElementsAre(106));
}

TEST_F(CModeSettingsAreaTest, AModeThatCannotBeEnteredAgainIsSavedAllTheSame) {
  SetStatus(L"Eco", 1);
  Open(L"Eco");
  Choose(Line(L"Lamp"), 1);
  Engine(L"Lamp").result = 2;
  EXPECT_EQ(area->SaveSettings(), -2);
  EXPECT_EQ(OwnTraces(),
            (Traces{InArea(L"SaveSettings", 159, L"Eco"), InArea(L"SaveSettings", 161, L"12")}));
  EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"1");
  EXPECT_EQ(Status(L"Eco"), L"0");
  EXPECT_THAT(ModalTemplates(), ElementsAre(106, 106));
}

TEST_F(CModeSettingsAreaTest, AProgressDialogThatNeverComesUpIsAFailure) {
  SetStatus(L"Eco", 1);
  Open(L"Eco");
  interposition.Fail("DialogBoxParamW", {});
  EXPECT_EQ(area->SaveSettings(), -2);
  EXPECT_EQ(OwnTraces(),
            (Traces{InArea(L"SaveSettings", 99, L"Eco"), InArea(L"SaveSettings", 101, L"-1")}));
}

TEST_F(CModeSettingsAreaTest, AnAnnouncementSettingThatCannotBeSavedIsAFailure) {
  Open(L"Eco");
  RefuseToWrite(L"ShowAnnounceModeIsChangedDialog");
  EXPECT_EQ(area->SaveSettings(), -1);
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"SaveSettings", 112)}));
}

TEST_F(CModeSettingsAreaTest, ASwitchThatCannotBeSavedIsAFailure) {
  Open(L"Dock");
  RefuseToWrite(L"AutoONOFF");
  EXPECT_EQ(area->SaveSettings(), -1);
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"SaveSettings", 135)}));
  Close();

  Open(L"Eco");
  EXPECT_EQ(area->SaveSettings(), -1);
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"SaveSettings", 124)}));
}

TEST_F(CModeSettingsAreaTest, ValuesThatCannotBeSavedAreAFailureAndTheModeStaysOff) {
  SetStatus(L"Eco", 1);
  Open(L"Eco");
  RefuseToWrite(L"Fan");
  // What is normal is written under the same name: leaving the mode has nothing to write.
  EXPECT_EQ(area->SaveSettings(), -1);
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"SaveSettings", 144)}));
  EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"-1");
  EXPECT_EQ(Status(L"Eco"), L"0");
  EXPECT_THAT(ModalTemplates(), ElementsAre(106));
}

TEST_F(CModeSettingsAreaTest, AFrameThatGoesWhileTheModeIsLeftSavesNothing) {
  SetStatus(L"Eco", 1);
  Open(L"Eco");
  robot.Then("progress", DialogRobot::DialogWith(IDC_PROGRESS_BAR),
             [this](HWND) { frame.Leave(); });
  EXPECT_NE(area->SaveSettings(), 1);
  PumpAll();
  static_cast<void>(traces.Take());
  EXPECT_EQ(Saved(L"Eco", L"AutoONOFF"), L"none");
  EXPECT_EQ(ChangeModeWindow(), nullptr);
}

TEST_F(CModeSettingsAreaTest, AFrameThatGoesWhileTheUserIsWarnedIsNotTold) {
  Open();
  Choose(Line(L"Lamp"), 1);
  robot.Then("box", DialogRobot::AnyMessageBox(), [this](HWND) { frame.Leave(); });
  const HWND window = Area();
  ChooseMode(3);
  EXPECT_EQ(::IsWindow(window), FALSE);
  static_cast<void>(traces.Take());
}

// --- The wheel -----------------------------------------------------------------------------------

TEST_F(CModeSettingsAreaTest, GivesTheWheelToTheListOnceAndKeepsIt) {
  Open();
  ::SetFocus(Control(IDC_SHOW_ANNOUNCEMENT));
  const WPARAM wheel = MAKEWPARAM(MK_CONTROL, static_cast<WORD>(-120));
  interposition.ClearCalls();
  EXPECT_EQ(::SendMessageW(Area(), WM_MOUSEWHEEL, wheel, 0x00070005), 0);
  int forwarded = 0;
  for (const Call& call : interposition.CallsOf("SendMessageW")) {
    if (call.arguments.at(1) != WM_MOUSEWHEEL) continue;
    ++forwarded;
    EXPECT_EQ(reinterpret_cast<HWND>(call.arguments.at(0)), List());
    EXPECT_EQ(call.arguments.at(2), wheel);
    EXPECT_EQ(call.arguments.at(3), 0x00070005U);
  }
  // The list leaves it alone, and Windows gives it back to the area.
  EXPECT_EQ(forwarded, 1);
  EXPECT_EQ(frame.Wheels(), 0);

  ::SendMessageW(Area(), WM_MOUSEWHEEL, wheel, 0);
  EXPECT_EQ(frame.Wheels(), 0) << "The guard is free again.";
}

// --- Its end -------------------------------------------------------------------------------------

TEST_F(CModeSettingsAreaTest, ClosesItsListFirst) {
  Open();
  const HWND window = Area();
  const HWND list = List();
  interposition.ClearCalls();
  ::SendMessageW(window, WM_CLOSE, 0, 0);
  EXPECT_EQ(::IsWindow(window), FALSE);
  EXPECT_EQ(::IsWindow(list), FALSE);
  const std::vector<Call> sent = interposition.CallsOf("SendMessageW");
  ASSERT_FALSE(sent.empty());
  EXPECT_EQ(reinterpret_cast<HWND>(sent.front().arguments.at(0)), list);
  EXPECT_EQ(sent.front().arguments.at(1), static_cast<std::uint64_t>(WM_CLOSE));
  EXPECT_EQ(Engine(L"Lamp").openHandles, 0);
  EXPECT_EQ(interposition.Count("FreeLibrary"), 2U);
  EXPECT_EQ(area->SaveSettings(), -1) << "There is nothing left to save.";
  EXPECT_EQ(OwnTraces(), (Traces{InArea(L"SaveSettings", 82)}));
}

}  // namespace
