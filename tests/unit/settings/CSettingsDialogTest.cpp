#include "settings/CSettingsDialog.h"

#include <cwchar>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "settings/ModeSettingsMessages.h"
#include "system/SettingsFixture.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const wchar_t* kUnknownError = L"Something\r\nunexpected. | Mode Change | 16";
constexpr const wchar_t* kSavingError = L"Could not be saved.\r\nTry again. | Mode Change | 16";
constexpr const wchar_t* kUpdatingError = L"Could not be\r\napplied. | Mode Change | 16";

/// Runs the real frame, with all that is in it, and works with it from inside its modal loop.
class CSettingsDialogTest : public SettingsTest {
 protected:
  /// A step of the user, once the dialog stands and can be reached.
  void Then(std::function<void()> act) {
    robot.Then(
        "settings dialog",
        [] {
          const HWND frame = Frame();
          return ::IsWindowEnabled(frame) != FALSE ? frame : nullptr;
        },
        [act = std::move(act)](HWND) { act(); });
  }
  /// The same, for a step that depends on where the keyboard is.
  void ThenWithKeyboard(std::function<void()> act) {
    robot.Then("settings dialog with keyboard", HasKeyboard, std::move(act));
  }
  void ThenPress(int button) {
    Then([button] { Press(button); });
  }
  /// A message box comes; `act` sees it, and it is dismissed.
  void ThenBox(std::function<void()> act = [] {}) {
    robot.Then("message box", DialogRobot::AnyMessageBox(), [act = std::move(act)](HWND box) {
      // One that comes at the start comes before its frame is shown.
      if (Frame() != nullptr) {
        EXPECT_EQ(::GetWindow(box, GW_OWNER), Frame());
      }
      act();
      DialogRobot::Dismiss(box);
    });
  }
  /// Runs the dialog; `act` is called when it stands, and has to end it. Gives the end code.
  std::int32_t RunAnd(std::function<void()> act, const wchar_t* mode = L"Quiet") {
    Then(std::move(act));
    return Run(mode);
  }
  std::int32_t Run(const wchar_t* mode = L"Quiet") {
    CSettingsDialog dialog(mode);
    EXPECT_TRUE(dialog.RunModal(IDD_SETTINGS, hostWindow));
    EXPECT_EQ(dialog.Window(), nullptr);
    return dialog.EndCode();
  }
  static void Press(int button) { Click(Frame(), button); }
  [[nodiscard]] static HWND Control(int id) { return ::GetDlgItem(Frame(), id); }
  Traces OwnTraces() { return TakeTracesOf(L"CSettingsDialog::"); }
  static Trace InFrame(const wchar_t* function, std::uint32_t line,
                       const std::wstring& message = L"No Additional Information") {
    return {L"CSettingsDialog::" + std::wstring(function), line, message};
  }
  /// Nothing can be saved from now on.
  void RefuseToSave() { interposition.Fail("WritePrivateProfileStringW", {.onwards = true}); }
  static LRESULT Wheel(int delta) {
    return ::SendMessageW(Frame(), WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(delta)), 0);
  }
};

// --- How it looks --------------------------------------------------------------------------------

TEST_F(CSettingsDialogTest, TheControlsAreThoseOfTheTemplate) {
  RunAnd([this] {
    const HWND frame = Frame();
    EXPECT_TRUE(HasStyle(frame, WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_FIXEDSYS));
    ExpectClientSize(frame, 397, 389);
    ExpectControls(frame,
                   {{IDC_TITLE_BAND, L"Static", {0, 0, 397, 31}, WS_VISIBLE},
                    {IDC_TITLE_TEXT, L"Static", {7, 0, 355, 30}, WS_VISIBLE | SS_CENTERIMAGE},
                    {IDC_OK_BUTTON, L"Button", {162, 361, 66, 20}, WS_VISIBLE | WS_TABSTOP},
                    {IDC_CANCEL_BUTTON, L"Button", {240, 361, 66, 20}, WS_VISIBLE | WS_TABSTOP},
                    {IDC_APPLY_BUTTON, L"Button", {319, 361, 66, 20}, WS_VISIBLE | WS_TABSTOP},
                    {IDC_AREA_PLACEHOLDER, L"Static", {0, 32, 397, 320}, 0, WS_VISIBLE}});
    EXPECT_EQ(::GetWindow(frame, GW_OWNER), hostWindow);
    Press(IDC_CANCEL_BUTTON);
  });
}

TEST_F(CSettingsDialogTest, TextsComeFromTheFile) {
  RunAnd([] {
    EXPECT_EQ(TextOf(Frame()), L"Mode Change");
    EXPECT_EQ(TextOf(Control(IDC_TITLE_BAND)), L"");
    EXPECT_EQ(TextOf(Control(IDC_TITLE_TEXT)), L"Mode Settings");
    EXPECT_EQ(TextOf(Control(IDC_OK_BUTTON)), L"OK");
    EXPECT_EQ(TextOf(Control(IDC_CANCEL_BUTTON)), L"Cancel");
    EXPECT_EQ(TextOf(Control(IDC_APPLY_BUTTON)), L"&Apply");
    Press(IDC_CANCEL_BUTTON);
  });
}

TEST_F(CSettingsDialogTest, EachControlHasItsFont) {
  RunAnd([] {
    EXPECT_EQ(FontSizeOf(Control(IDC_TITLE_TEXT)), 12);
    for (const int button : {IDC_OK_BUTTON, IDC_CANCEL_BUTTON, IDC_APPLY_BUTTON}) {
      EXPECT_EQ(FontSizeOf(Control(button)), 11);
    }
    Press(IDC_CANCEL_BUTTON);
  });
}

TEST_F(CSettingsDialogTest, TheAreaLiesExactlyOnItsPlaceholder) {
  RunAnd([] {
    const RECT placeholder = PlaceIn(Frame(), Control(IDC_AREA_PLACEHOLDER));
    const RECT area = PlaceIn(Frame(), Area());
    EXPECT_TRUE(::EqualRect(&area, &placeholder));
    EXPECT_NE(::IsWindowVisible(Area()), FALSE);
    Press(IDC_CANCEL_BUTTON);
  });
}

TEST_F(CSettingsDialogTest, TheKeyboardGoesFromTopToBottom) {
  SetSaved(L"Dock", L"Lamp", 1);
  SetSaved(L"Dock", L"Fan", 1);
  RunAnd(
      [] {
        Click(Area(), IDC_SHOW_ANNOUNCEMENT);
        PumpAll();
        std::vector<int> order;
        HWND control = nullptr;
        for (int stops = 0; stops < 20; ++stops) {
          control = ::GetNextDlgTabItem(Frame(), control, FALSE);
          const int id = ::GetDlgCtrlID(control);
          if (!order.empty() && id == order.front()) break;
          order.push_back(id);
        }
        EXPECT_THAT(order, ElementsAre(IDC_MODE_SELECTION, IDC_RESTORE_DEFAULTS_BUTTON,
                                       IDC_AUTO_ON_OFF, IDC_SETTING_ITEM, IDC_SECOND_VALUE,
                                       IDC_SETTING_ITEM, IDC_SECOND_VALUE, IDC_SHOW_ANNOUNCEMENT,
                                       IDC_OK_BUTTON, IDC_CANCEL_BUTTON, IDC_APPLY_BUTTON));
        Press(IDC_CANCEL_BUTTON);
      },
      L"Dock");
}

TEST_F(CSettingsDialogTest, TheModeHasTheFocusAtFirst) {
  ThenWithKeyboard([] {
    const HWND combo = ::GetDlgItem(Area(), IDC_MODE_SELECTION);
    const HWND focus = ::GetFocus();
    EXPECT_TRUE(focus == combo || ::IsChild(combo, focus) != FALSE);
    Press(IDC_CANCEL_BUTTON);
  });
  Run();
}

TEST_F(CSettingsDialogTest, ColorsOfTheTitleAndTheRest) {
  bool highContrast = false;
  interposition.Replace("SystemParametersInfoW",
                        [&highContrast](UINT action, UINT size, void* data, UINT flags) -> BOOL {
                          if (action != SPI_GETHIGHCONTRAST) {
                            return ::SystemParametersInfoW(action, size, data, flags);
                          }
                          static_cast<HIGHCONTRASTW*>(data)->dwFlags =
                              highContrast ? HCF_HIGHCONTRASTON : 0;
                          return TRUE;
                        });
  interposition.Replace("GetSysColor", [](int index) -> DWORD {
    return index == COLOR_WINDOW       ? RGB(10, 20, 30)
           : index == COLOR_WINDOWTEXT ? RGB(40, 50, 60)
                                       : ::GetSysColor(index);
  });
  RunAnd([&] {
    const HDC dc = ::GetDC(Frame());
    const auto colorOf = [dc](UINT message, HWND control) {
      ::SetBkMode(dc, OPAQUE);
      ::SetTextColor(dc, RGB(1, 2, 3));
      LOGBRUSH look{};
      ::GetObjectW(AskForBrush(Frame(), message, control, dc), sizeof(look), &look);
      EXPECT_EQ(::GetBkMode(dc), TRANSPARENT);
      EXPECT_EQ(::GetTextColor(dc), static_cast<COLORREF>(RGB(40, 50, 60)));
      return look.lbColor;
    };
    constexpr COLORREF kWindow = RGB(10, 20, 30);
    for (const bool isOn : {false, true, false}) {
      // Switched while the dialog stands: it shows with the next painting.
      highContrast = isOn;
      const COLORREF title = isOn ? kWindow : RGB(220, 220, 220);
      EXPECT_EQ(colorOf(WM_CTLCOLORSTATIC, Control(IDC_TITLE_BAND)), title);
      EXPECT_EQ(colorOf(WM_CTLCOLORSTATIC, Control(IDC_TITLE_TEXT)), title);
      EXPECT_EQ(colorOf(WM_CTLCOLORSTATIC, Control(IDC_AREA_PLACEHOLDER)), kWindow);
      EXPECT_EQ(colorOf(WM_CTLCOLORBTN, Control(IDC_OK_BUTTON)), kWindow);
      EXPECT_EQ(colorOf(WM_CTLCOLORDLG, Frame()), kWindow);
    }
    ::ReleaseDC(Frame(), dc);
    Press(IDC_CANCEL_BUTTON);
  });
}

TEST_F(CSettingsDialogTest, ABrushThatCannotBeMadeIsTraced) {
  RunAnd([this] {
    interposition.Fail("CreateSolidBrush", {.lastError = 1158});
    const HDC dc = ::GetDC(Frame());
    static_cast<void>(AskForBrush(Frame(), WM_CTLCOLORDLG, Frame(), dc));
    ::ReleaseDC(Frame(), dc);
    ExpectTraces({{L"CUIDesigner::GetDialogBackBrush", 176, L"1158"}});
    Press(IDC_CANCEL_BUTTON);
  });
}

// --- Ends ----------------------------------------------------------------------------------------

TEST_F(CSettingsDialogTest, CancelRightAfterTheStart) {
  EXPECT_EQ(RunAnd([] {
              EXPECT_FALSE(CanApply());
              Press(IDC_CANCEL_BUTTON);
              EXPECT_NE(Frame(), nullptr) << "The close is posted.";
            }),
            10);
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Settings.ini")));
}

TEST_F(CSettingsDialogTest, CancelDropsChanges) {
  EXPECT_EQ(RunAnd([] {
              Choose(Line(L"Lamp"), 1);
              Press(IDC_CANCEL_BUTTON);
            }),
            10);
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Settings.ini")));
}

TEST_F(CSettingsDialogTest, TheCloseBoxIsLikeCancel) {
  EXPECT_EQ(RunAnd([] {
              Choose(Line(L"Lamp"), 1);
              ::PostMessageW(Frame(), WM_SYSCOMMAND, SC_CLOSE, 0);
            }),
            10);
  EXPECT_EQ(Saved(L"Quiet", L"Lamp"), L"none");
}

TEST_F(CSettingsDialogTest, OKSavesAndCloses) {
  EXPECT_EQ(RunAnd([] {
              Choose(Line(L"Lamp"), 1);
              Press(IDC_OK_BUTTON);
            }),
            10);
  EXPECT_EQ(Saved(L"Quiet", L"Lamp"), L"1");
  EXPECT_THAT(Boxes(), IsEmpty());
}

TEST_F(CSettingsDialogTest, ItClosesWhereWindowsTakesNoMessage) {
  EXPECT_EQ(RunAnd([this] {
              interposition.Fail("PostMessageW", {.onwards = true});
              Press(IDC_OK_BUTTON);
            }),
            10);
}

TEST_F(CSettingsDialogTest, ItEndsWhereWindowsDoesNotEndIt) {
  interposition.Fail("EndDialog", {.onwards = true});
  EXPECT_EQ(RunAnd([] { Press(IDC_CANCEL_BUTTON); }), 10);
  EXPECT_NE(::IsWindowEnabled(hostWindow), FALSE);
}

TEST_F(CSettingsDialogTest, ItEndsWhereWindowsNeitherEndsItNorNamesItsOwner) {
  interposition.Fail("EndDialog", {.onwards = true});
  interposition.Fail("GetWindow", {.onwards = true});
  EXPECT_EQ(RunAnd([] { Press(IDC_CANCEL_BUTTON); }), 10);
  EXPECT_EQ(Frame(), nullptr);
}

TEST_F(CSettingsDialogTest, EnterAndEscDoNothing) {
  EXPECT_EQ(RunAnd([] {
              ::SendMessageW(Frame(), WM_COMMAND, IDOK, 0);
              ::SendMessageW(Frame(), WM_COMMAND, IDCANCEL, 0);
              PumpAll();
              EXPECT_NE(Frame(), nullptr);
              Press(IDC_CANCEL_BUTTON);
            }),
            10);
  EXPECT_EQ(Saved(L"Quiet", L"AutoONOFF"), L"none");
}

TEST_F(CSettingsDialogTest, EscAsAKeyDoesNothing) {
  ThenWithKeyboard([] { ::PostMessageW(::GetFocus(), WM_KEYDOWN, VK_ESCAPE, 0x00010001); });
  ThenPress(IDC_CANCEL_BUTTON);
  EXPECT_EQ(Run(), 10);
}

TEST_F(CSettingsDialogTest, OKThatCannotSaveTellsTheUserAndCloses) {
  Then([this] {
    RefuseToSave();
    Press(IDC_OK_BUTTON);
  });
  ThenBox();
  EXPECT_EQ(Run(), 11);
  EXPECT_THAT(Boxes(), ElementsAre(kSavingError));
  EXPECT_THAT(OwnTraces(), IsEmpty());
}

TEST_F(CSettingsDialogTest, OKThatCannotSwitchTheModeTellsTheUserAndCloses) {
  SetStatus(L"Eco", 1);
  Engine(L"Lamp").result = 2;
  Then([] {
    Choose(Line(L"Lamp"), 1);
    Press(IDC_OK_BUTTON);
  });
  ThenBox();
  EXPECT_EQ(Run(L"Eco"), 12);
  EXPECT_THAT(Boxes(), ElementsAre(kUpdatingError));
  EXPECT_THAT(ModalTemplates(), ElementsAre(101, 106, 106));
  EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"1");
  EXPECT_THAT(OwnTraces(), IsEmpty());
}

TEST_F(CSettingsDialogTest, OKThatIsRefusedStaysOpen) {
  for (const int button : {IDC_OK_BUTTON, IDC_APPLY_BUTTON}) {
    Then([button] {
      const HWND line = Line(L"Lamp");
      Click(line, IDC_SETTING_ITEM);
      for (const int value : {IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
        ::SendDlgItemMessageW(line, value, BM_SETCHECK, BST_UNCHECKED, 0);
      }
      PumpAll();
      Press(button);
    });
    ThenBox();
    Then([] {
      EXPECT_TRUE(CanApply());
      Press(IDC_CANCEL_BUTTON);
    });
    EXPECT_EQ(Run(), 10);
  }
  EXPECT_THAT(Boxes(), SizeIs(2));
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Settings.ini")));
}

// --- Apply ---------------------------------------------------------------------------------------

TEST_F(CSettingsDialogTest, ApplyCanBePressedWhileThereAreChanges) {
  RunAnd([] {
    EXPECT_FALSE(CanApply());
    Choose(Line(L"Lamp"), 1);
    EXPECT_FALSE(CanApply()) << "Changes are posted.";
    PumpAll();
    EXPECT_TRUE(CanApply());
    ::SendMessageW(Frame(), WM_MODESETTINGS_UNCHANGED, 0, 0);
    EXPECT_FALSE(CanApply());
    ::SendMessageW(Frame(), WM_MODESETTINGS_CHANGED, 0, 0);
    EXPECT_TRUE(CanApply());
    Press(IDC_APPLY_BUTTON);
    EXPECT_FALSE(CanApply());
    Click(Area(), IDC_RESTORE_DEFAULTS_BUTTON);
    PumpAll();
    EXPECT_TRUE(CanApply());
    Press(IDC_CANCEL_BUTTON);
  });
}

TEST_F(CSettingsDialogTest, AnotherModeHasNoChangesUnlessTheyAreCommon) {
  RunAnd([] {
    Click(Line(L"Lamp"), IDC_SETTING_ITEM);
    Click(Line(L"Lamp"), IDC_SETTING_ITEM);
    PumpAll();
    EXPECT_TRUE(CanApply()) << "Clicked, whatever came of it.";
    ChooseMode(Area(), 3);
    PumpAll();
    EXPECT_FALSE(CanApply());

    Click(Area(), IDC_SHOW_ANNOUNCEMENT);
    PumpAll();
    ChooseMode(Area(), 4);
    PumpAll();
    EXPECT_EQ(ChosenMode(Area()), 4);
    EXPECT_TRUE(CanApply());
    Press(IDC_CANCEL_BUTTON);
  });
}

TEST_F(CSettingsDialogTest, ApplySavesAndStays) {
  EXPECT_EQ(RunAnd([this] {
              Choose(Line(L"Lamp"), 1);
              PumpAll();
              Press(IDC_APPLY_BUTTON);
              EXPECT_NE(Frame(), nullptr);
              EXPECT_EQ(Saved(L"Quiet", L"Lamp"), L"1");
              Choose(Line(L"Lamp"), 0);
              Press(IDC_CANCEL_BUTTON);
            }),
            10);
  EXPECT_EQ(Saved(L"Quiet", L"Lamp"), L"1") << "What was applied stays, what came later does not.";
}

TEST_F(CSettingsDialogTest, TheFocusLeavesApplyBeforeItIsDisabled) {
  ThenWithKeyboard([] {
    Choose(Line(L"Lamp"), 1);
    PumpAll();
    ::SetFocus(Control(IDC_APPLY_BUTTON));
    Press(IDC_APPLY_BUTTON);
    EXPECT_FALSE(CanApply());
    EXPECT_EQ(::GetFocus(), Control(IDC_OK_BUTTON));
    // Elsewhere it stays where it is.
    ::SetFocus(Control(IDC_CANCEL_BUTTON));
    ::SendMessageW(Frame(), WM_MODESETTINGS_UNCHANGED, 0, 0);
    EXPECT_EQ(::GetFocus(), Control(IDC_CANCEL_BUTTON));
    Press(IDC_CANCEL_BUTTON);
  });
  Run();
}

TEST_F(CSettingsDialogTest, ApplyThatFailsStaysOpenAndIsForgottenByAGoodOK) {
  Then([this] {
    Choose(Line(L"Lamp"), 1);
    PumpAll();
    RefuseToSave();
    Press(IDC_APPLY_BUTTON);
  });
  ThenBox();
  Then([this] {
    EXPECT_TRUE(CanApply());
    interposition.StopFailing();
    Press(IDC_OK_BUTTON);
  });
  EXPECT_EQ(Run(), 10);
  EXPECT_THAT(Boxes(), ElementsAre(kSavingError));
  EXPECT_EQ(Saved(L"Quiet", L"Lamp"), L"1");
  EXPECT_THAT(OwnTraces(), IsEmpty());
}

TEST_F(CSettingsDialogTest, CancelKeepsTheCodeOfAnApplyThatFailed) {
  Then([this] {
    RefuseToSave();
    ::SendMessageW(Frame(), WM_MODESETTINGS_CHANGED, 0, 0);
    Press(IDC_APPLY_BUTTON);
  });
  ThenBox();
  ThenPress(IDC_CANCEL_BUTTON);
  EXPECT_EQ(Run(), 11);
  EXPECT_THAT(OwnTraces(), IsEmpty());
}

TEST_F(CSettingsDialogTest, ApplyThatCannotSwitchTheModeStaysOpen) {
  SetStatus(L"Eco", 1);
  Engine(L"Lamp").result = 0;
  Then([] {
    Choose(Line(L"Lamp"), 1);
    PumpAll();
    Press(IDC_APPLY_BUTTON);
  });
  ThenBox();
  Then([] {
    EXPECT_TRUE(CanApply());
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_EQ(Run(L"Eco"), 12);
  EXPECT_THAT(Boxes(), ElementsAre(kUpdatingError));
  EXPECT_THAT(OwnTraces(), IsEmpty());
}

TEST_F(CSettingsDialogTest, AnErrorThatCannotBeShownIsTraced) {
  Then([this] {
    RefuseToSave();
    ::SendMessageW(Frame(), WM_MODESETTINGS_CHANGED, 0, 0);
    interposition.Fail("MessageBoxW", {});
    Press(IDC_APPLY_BUTTON);
    EXPECT_NE(Frame(), nullptr);
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_EQ(Run(), 11);
  EXPECT_EQ(OwnTraces(), (Traces{InFrame(L"SaveSettings", 468)}));

  SetStatus(L"Eco", 1);
  interposition.StopFailing();
  interposition.Fail("DialogBoxParamW", {.nth = 2});
  interposition.Fail("MessageBoxW", {});
  ThenPress(IDC_OK_BUTTON);
  EXPECT_EQ(Run(L"Eco"), 12);
  EXPECT_EQ(OwnTraces(), (Traces{InFrame(L"SaveSettings", 477)}));
}

// --- Errors --------------------------------------------------------------------------------------

TEST_F(CSettingsDialogTest, AChildsErrorIsShownAndEndsTheDialog) {
  Then([] { ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 100, 0); });
  ThenBox();
  EXPECT_EQ(Run(), 100);
  EXPECT_THAT(Boxes(), ElementsAre(kUnknownError));
}

TEST_F(CSettingsDialogTest, TheCodeIsTheChilds) {
  Then([] { ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 4711, 0); });
  ThenBox();
  EXPECT_EQ(Run(), 4711);
}

TEST_F(CSettingsDialogTest, ALinesErrorComesThroughToTheFrame) {
  Then([] { ::PostMessageW(List(), WM_MODESETTINGS_ERROR, 100, 0); });
  ThenBox();
  EXPECT_EQ(Run(), 100);
  EXPECT_THAT(Boxes(), ElementsAre(kUnknownError));
}

TEST_F(CSettingsDialogTest, OneBoxAtATime) {
  Then([] {
    ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 100, 0);
    ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 101, 0);
  });
  ThenBox([] {
    ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 102, 0);
    PumpAll();
  });
  EXPECT_EQ(Run(), 102);
  EXPECT_THAT(Boxes(), ElementsAre(kUnknownError));
}

TEST_F(CSettingsDialogTest, ADialogThatIsClosingShowsNoMore) {
  EXPECT_EQ(RunAnd([] {
              Press(IDC_CANCEL_BUTTON);
              ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 103, 0);
              ::SendMessageW(Frame(), WM_MODESETTINGS_ERROR, 104, 0);
              Press(IDC_OK_BUTTON);
            }),
            104);
  EXPECT_THAT(Boxes(), IsEmpty());
  EXPECT_EQ(Saved(L"Quiet", L"AutoONOFF"), L"none") << "It saves no more, either.";
}

TEST_F(CSettingsDialogTest, AnUnknownErrorThatCannotBeShownEndsTheDialogAllTheSame) {
  EXPECT_EQ(RunAnd([this] {
              interposition.Fail("MessageBoxW", {});
              ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 100, 0);
            }),
            100);
  EXPECT_EQ(OwnTraces(), (Traces{InFrame(L"OnErrorOccured", 96)}));
}

TEST_F(CSettingsDialogTest, AnErrorDuringASaveEndsTheDialogAfterIt) {
  SetStatus(L"Eco", 1);
  ThenPress(IDC_OK_BUTTON);
  robot.Then("progress", DialogRobot::DialogWith(IDC_PROGRESS_BAR),
             [](HWND) { ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 100, 0); });
  robot.Then("box", DialogRobot::AnyMessageBox(), DialogRobot::Dismiss);
  EXPECT_EQ(Run(L"Eco"), 100);
  EXPECT_THAT(Boxes(), ElementsAre(kUnknownError));
  EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"-1") << "What was begun is brought to its end.";
  EXPECT_EQ(Status(L"Eco"), L"1");
}

TEST_F(CSettingsDialogTest, AnErrorWhileASaveThatFailedIsToldEndsTheDialog) {
  Then([this] {
    RefuseToSave();
    ::SendMessageW(Frame(), WM_MODESETTINGS_CHANGED, 0, 0);
    Press(IDC_APPLY_BUTTON);
  });
  ThenBox([] {
    ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 100, 0);
    PumpAll();
  });
  EXPECT_EQ(Run(), 100);
  EXPECT_THAT(Boxes(), ElementsAre(kSavingError));
  EXPECT_THAT(OwnTraces(), IsEmpty());
}

TEST_F(CSettingsDialogTest, ClosingWaitsForTheEndOfASave) {
  SetStatus(L"Eco", 1);
  for (const int button : {IDC_OK_BUTTON, IDC_APPLY_BUTTON}) {
    Then([button] {
      Choose(Line(L"Lamp"), button == IDC_OK_BUTTON ? 1 : 0);
      PumpAll();
      Press(button);
    });
    robot.Then("progress", DialogRobot::DialogWith(IDC_PROGRESS_BAR), [](HWND) {
      const HWND frame = Frame();
      const HWND area = AreaOf(frame);
      ::SendMessageW(frame, WM_CLOSE, 0, 0);
      EXPECT_NE(::IsWindow(area), FALSE) << "It is needed for what is to be saved.";
      // Nor does another press begin a second save.
      ::SendMessageW(frame, WM_COMMAND, IDC_OK_BUTTON, 0);
      ::SendMessageW(frame, WM_COMMAND, IDC_APPLY_BUTTON, 0);
    });
    EXPECT_EQ(Run(L"Eco"), 10);
    EXPECT_EQ(Saved(L"Eco", L"Lamp"), button == IDC_OK_BUTTON ? L"1" : L"0");
    EXPECT_EQ(Status(L"Eco"), L"1");
  }
  EXPECT_THAT(ModalTemplates(), ElementsAre(101, 106, 106, 101, 106, 106));
}

TEST_F(CSettingsDialogTest, ClosingWhileTheUserIsWarnedWaitsForTheBox) {
  Then([] {
    const HWND line = Line(L"Lamp");
    Click(line, IDC_SETTING_ITEM);
    for (const int value : {IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
      ::SendDlgItemMessageW(line, value, BM_SETCHECK, BST_UNCHECKED, 0);
    }
    Press(IDC_OK_BUTTON);
  });
  ThenBox([] {
    ::SendMessageW(Frame(), WM_CLOSE, 0, 0);
    EXPECT_NE(Area(), nullptr);
  });
  EXPECT_EQ(Run(), 10);
}

TEST_F(CSettingsDialogTest, ClosingWhileAnErrorIsShownWaitsForTheBox) {
  Then([] { ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 100, 0); });
  ThenBox([] {
    ::SendMessageW(Frame(), WM_CLOSE, 0, 0);
    EXPECT_NE(Area(), nullptr);
  });
  EXPECT_EQ(Run(), 100);
}

TEST_F(CSettingsDialogTest, AnOwnerThatGoesTakesTheDialogAlong) {
  const HWND owner = ::CreateWindowExW(0, L"Static", L"Owner", WS_POPUP, 0, 0, 10, 10, nullptr,
                                       nullptr, nullptr, nullptr);
  SetStatus(L"Eco", 1);
  ThenPress(IDC_OK_BUTTON);
  robot.Then("progress", DialogRobot::DialogWith(IDC_PROGRESS_BAR),
             [owner](HWND) { ::DestroyWindow(owner); });
  CSettingsDialog dialog(L"Eco");
  EXPECT_TRUE(dialog.RunModal(IDD_SETTINGS, owner));
  EXPECT_EQ(dialog.Window(), nullptr);
  PumpAll();
  EXPECT_EQ(ChangeModeWindow(), nullptr);
  EXPECT_THAT(Boxes(), IsEmpty()) << "There is nobody left to tell.";
  EXPECT_EQ(Saved(L"Eco", L"AutoONOFF"), L"none");
  static_cast<void>(traces.Take());
}

// --- Its start -----------------------------------------------------------------------------------

TEST_F(CSettingsDialogTest, NeedsItsArea) {
  interposition.Fail("CreateDialogParamW", {.lastError = 1158});
  EXPECT_EQ(Run(), 100);
  ExpectTraces({InFrame(L"CreateModeSettingsArea", 413, L"1158"), InFrame(L"OnInitDialog", 62)});
  EXPECT_THAT(Boxes(), IsEmpty());
}

TEST_F(CSettingsDialogTest, NeedsItsAreaInPlace) {
  interposition.Replace("MoveWindow",
                        [](HWND window, int x, int y, int width, int height, BOOL repaint) -> BOOL {
                          if (::GetDlgItem(window, IDC_MODE_SELECTION) != nullptr) {
                            ::SetLastError(1400);
                            return FALSE;
                          }
                          return ::MoveWindow(window, x, y, width, height, repaint);
                        });
  EXPECT_EQ(Run(), 100);
  ExpectTraces({InFrame(L"CreateModeSettingsArea", 428, L"1400"), InFrame(L"OnInitDialog", 62)});
}

TEST_F(CSettingsDialogTest, AnAreaThatCannotStartEndsTheDialog) {
  ThenBox();
  EXPECT_EQ(Run(L"Nowhere"), 100);
  ExpectTraces({{L"CModeSettingsArea::OnInitDialog", 205, L"Nowhere"}});
  EXPECT_THAT(Boxes(), ElementsAre(kUnknownError));
}

TEST_F(CSettingsDialogTest, NothingHasToBeUsable) {
  for (const wchar_t* item : {L"Lamp", L"Fan"}) Engine(item).supported = 0;
  EXPECT_EQ(RunAnd([] {
              EXPECT_EQ(::GetWindow(List(), GW_CHILD), nullptr);
              ::SendMessageW(List(), WM_VSCROLL, SB_LINEDOWN, 0);
              Wheel(-120);
              Press(IDC_OK_BUTTON);
            }),
            10);
  static_cast<void>(OwnTraces());
  EXPECT_EQ(Saved(L"Quiet", L"AutoONOFF"), L"0");
}

TEST_F(CSettingsDialogTest, ADialogThatNeverComesUpLeavesItsEndCode) {
  CSettingsDialog dialog(L"Quiet");
  interposition.Fail("DialogBoxParamW", {});
  EXPECT_FALSE(dialog.RunModal(IDD_SETTINGS, hostWindow));
  EXPECT_EQ(dialog.EndCode(), 10);
  interposition.Fail("malloc", {});
  EXPECT_FALSE(dialog.RunModal(IDD_SETTINGS, hostWindow));
  EXPECT_EQ(::GetLastError(), 14U);
  EXPECT_EQ(dialog.EndCode(), 10);
}

// --- Running out of memory -----------------------------------------------------------------------

TEST_F(CSettingsDialogTest, WithoutMemoryAtTheStartItEnds) {
  CSettingsDialog dialog(L"Quiet");
  interposition.Replace("SetWindowTextW",
                        [](HWND, const wchar_t*) -> BOOL { throw std::bad_alloc(); });
  EXPECT_TRUE(dialog.RunModal(IDD_SETTINGS, hostWindow));
  EXPECT_EQ(dialog.EndCode(), 100);
  EXPECT_THAT(Boxes(), IsEmpty());
  EXPECT_EQ(OwnTraces(), (Traces{InFrame(L"OnHandlerFailed", 84)}));
}

TEST_F(CSettingsDialogTest, WithoutMemoryForASaveTheUserIsTold) {
  Then([this] {
    interposition.Replace("SHGetSpecialFolderPathW",
                          [](HWND, wchar_t*, int, BOOL) -> BOOL { throw std::bad_alloc(); });
    Press(IDC_OK_BUTTON);
  });
  ThenBox();
  EXPECT_EQ(Run(), 100);
  EXPECT_THAT(Boxes(), ElementsAre(kUnknownError));
  EXPECT_EQ(OwnTraces(), (Traces{InFrame(L"OnHandlerFailed", 84)}));
}

TEST_F(CSettingsDialogTest, WithoutMemoryForTheBoxItEnds) {
  EXPECT_EQ(RunAnd([this] {
              interposition.Replace("MessageBoxW",
                                    [](HWND, const wchar_t*, const wchar_t*, UINT) -> int {
                                      throw std::bad_alloc();
                                    });
              ::PostMessageW(Frame(), WM_MODESETTINGS_ERROR, 5, 0);
            }),
            100);
  EXPECT_EQ(OwnTraces(), (Traces{InFrame(L"OnHandlerFailed", 84)}));
}

// --- The wheel -----------------------------------------------------------------------------------

TEST_F(CSettingsDialogTest, TheWheelGoesToTheAreaAndIsTraced) {
  ThenWithKeyboard([this] {
    ::SetFocus(Control(IDC_OK_BUTTON));
    interposition.ClearCalls();
    const WPARAM wheel = MAKEWPARAM(MK_SHIFT, static_cast<WORD>(-120));
    EXPECT_EQ(::SendMessageW(Frame(), WM_MOUSEWHEEL, wheel, 0x00080009), 0);
    int toArea = 0;
    for (const Call& call : interposition.CallsOf("SendMessageW")) {
      if (reinterpret_cast<HWND>(call.arguments.at(0)) != Area()) continue;
      ++toArea;
      EXPECT_EQ(call.arguments.at(1), static_cast<std::uint64_t>(WM_MOUSEWHEEL));
      EXPECT_EQ(call.arguments.at(2), wheel);
      EXPECT_EQ(call.arguments.at(3), 0x00080009U);
    }
    EXPECT_EQ(toArea, 1);
    ExpectTraces({InFrame(L"OnMouseWheel", 273, L"Button")});
    // The guard is free again.
    Wheel(-120);
    ExpectTraces({InFrame(L"OnMouseWheel", 273, L"Button")});
    Press(IDC_CANCEL_BUTTON);
  });
  Run();
}

TEST_F(CSettingsDialogTest, TheWheelOverARowScrollsTheList) {
  RunAnd([this] {
    const HWND item = ::GetDlgItem(Line(L"Lamp"), IDC_SETTING_ITEM);
    interposition.Replace("GetFocus", [item]() -> HWND { return item; });
    interposition.ClearCalls();
    Wheel(-120);
    std::vector<std::uint64_t> scrolls;
    for (const Call& call : interposition.CallsOf("SendMessageW")) {
      if (call.arguments.at(1) == WM_VSCROLL) scrolls.push_back(call.arguments.at(2));
    }
    EXPECT_THAT(scrolls, ElementsAre(static_cast<std::uint64_t>(SB_PAGEDOWN)));
    ExpectTraces({InFrame(L"OnMouseWheel", 273, L"Button")});
    Press(IDC_CANCEL_BUTTON);
  });
}

TEST_F(CSettingsDialogTest, WhatComesBackIsHandledAndNotTraced) {
  ThenWithKeyboard([this] {
    ::SetFocus(Control(IDC_OK_BUTTON));
    // An area that leaves the wheel to Windows, which gives it to the frame again.
    int fromArea = 0;
    interposition.Replace(
        "SendMessageW",
        [&fromArea](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
          if (message == WM_MOUSEWHEEL && window == Area()) {
            ++fromArea;
            return ::SendMessageW(Frame(), message, wParam, lParam);
          }
          return ::SendMessageW(window, message, wParam, lParam);
        });
    EXPECT_EQ(Wheel(-120), 0);
    EXPECT_EQ(fromArea, 1);
    ExpectTraces({InFrame(L"OnMouseWheel", 273, L"Button")});
    Press(IDC_CANCEL_BUTTON);
  });
  Run();
}

TEST_F(CSettingsDialogTest, ControlsThatUseTheWheelKeepIt) {
  Engine(L"Fan").values = 6;
  SetSaved(L"Quiet", L"Fan", 2);
  RunAnd([this] {
    const HWND combo = ::GetDlgItem(Area(), IDC_MODE_SELECTION);
    const HWND inner = ::FindWindowExW(combo, nullptr, L"ComboBox", nullptr);
    const HWND slider = ::GetDlgItem(Line(L"Fan"), IDC_VALUE_SLIDER);
    for (const HWND control : {combo, inner, slider}) {
      // Windows may move the focus into a combo box, so the library is told where it is.
      interposition.Replace("GetFocus", [control]() -> HWND { return control; });
      interposition.ClearCalls();
      EXPECT_EQ(Wheel(-120), 0);
      for (const Call& call : interposition.CallsOf("SendMessageW")) {
        EXPECT_NE(call.arguments.at(1), static_cast<std::uint64_t>(WM_MOUSEWHEEL));
      }
      ExpectTraces({InFrame(L"OnMouseWheel", 273, ClassOf(control))});
    }
    Press(IDC_CANCEL_BUTTON);
  });
}

TEST_F(CSettingsDialogTest, ClassNamesCompareInAnyCase) {
  ThenWithKeyboard([this] {
    ::SetFocus(Control(IDC_OK_BUTTON));
    for (const wchar_t* name : {L"COMBOBOX", L"combobox", L"COMBOBOXEX32", L"MSCTLS_TRACKBAR32"}) {
      interposition.Replace("GetClassNameW", [name](HWND, wchar_t* buffer, int size) -> int {
        EXPECT_EQ(size, 256);
        return static_cast<int>(std::wcslen(std::wcscpy(buffer, name)));
      });
      interposition.ClearCalls();
      Wheel(120);
      EXPECT_EQ(interposition.Count("SendMessageW"), 0U);
      ExpectTraces({InFrame(L"OnMouseWheel", 273, name)});
    }
    Press(IDC_CANCEL_BUTTON);
  });
  Run();
}

TEST_F(CSettingsDialogTest, TheWheelGoesToTheAreaWhereTheFocusHasNoClassName) {
  ThenWithKeyboard([this] {
    ::SetFocus(Control(IDC_OK_BUTTON));
    interposition.Fail("GetClassNameW", {});
    interposition.ClearCalls();
    EXPECT_EQ(Wheel(-120), 0);
    EXPECT_THAT(
        interposition.CallsOf("SendMessageW"),
        Contains(Field(&Call::arguments, ElementsAre(reinterpret_cast<std::uint64_t>(Area()),
                                                     WM_MOUSEWHEEL, ::testing::_, ::testing::_))));
    ExpectTraces({InFrame(L"OnMouseWheel", 273, L"")});
    Press(IDC_CANCEL_BUTTON);
  });
  Run();
}

TEST_F(CSettingsDialogTest, WithoutAFocusTheWheelIsLeftAlone) {
  RunAnd([this] {
    interposition.Replace("GetFocus", []() -> HWND { return nullptr; });
    interposition.ClearCalls();
    for (int turn = 0; turn < 2; ++turn) {
      Wheel(-120);
      ExpectTraces({InFrame(L"OnMouseWheel", 265)});
    }
    EXPECT_EQ(interposition.Count("SendMessageW"), 0U);
    Press(IDC_CANCEL_BUTTON);
  });
}

TEST_F(CSettingsDialogTest, TheGuardIsFreeAfterAFailure) {
  Then([this] {
    interposition.Replace("GetFocus", []() -> HWND { throw std::bad_alloc(); });
    ::SendMessageW(Frame(), WM_MOUSEWHEEL, MAKEWPARAM(0, 120), 0);
    interposition.Replace("GetFocus", []() -> HWND { return nullptr; });
    Wheel(-120);
    ExpectTraces({InFrame(L"OnHandlerFailed", 84), InFrame(L"OnMouseWheel", 265)});
  });
  ThenBox();
  EXPECT_EQ(Run(), 100);
}

// --- What it takes and gives back ----------------------------------------------------------------

TEST_F(CSettingsDialogTest, GivesEverythingBack) {
  SetStatus(L"Eco", 1);
  for (int round = 0; round < 3; ++round) {
    interposition.ClearCalls();
    Then([] {
      Choose(Line(L"Lamp"), 1);
      ::RedrawWindow(Frame(), nullptr, nullptr,
                     RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
      ChooseMode(Area(), 0);
    });
    ThenBox();
    ThenPress(IDC_CANCEL_BUTTON);
    EXPECT_EQ(Run(L"Eco"), 10);
    EXPECT_THAT(handles.Held(), IsEmpty());
    EXPECT_THAT(handles.ReleasedUnheld(), IsEmpty());
    EXPECT_EQ(traces.OpenRegistrations(), 0U);
    EXPECT_EQ(interposition.Count("LoadLibraryW"), interposition.Count("FreeLibrary"));
    EXPECT_GT(interposition.Count("LoadLibraryW"), 0U);
    EXPECT_GT(interposition.Count("CreateSolidBrush"), 0U);
    EXPECT_EQ(Frame(), nullptr);
    EXPECT_EQ(Engine(L"Lamp").openHandles, 0);
  }
}

TEST_F(CSettingsDialogTest, ClosesItsAreaBeforeItEnds) {
  RunAnd([this] {
    interposition.ClearCalls();
    const HWND area = Area();
    interposition.Observe("EndDialog", [area](const Call&) { EXPECT_EQ(::IsWindow(area), FALSE); });
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_EQ(interposition.Count("EndDialog"), 1U);
}

}  // namespace
