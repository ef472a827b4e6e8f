#include <cwchar>
#include <fstream>

#include "resources/ControlIds.h"
#include "system/HostFixture.h"

namespace {

/// Shows the real dialog for a request and acts on it from inside its modal loop.
class AnnouncementTest : public HostTest {
 protected:
  static constexpr COLORREF kGrey = RGB(220, 220, 220);

  AnnouncementTest() { WriteDefaults(true); }

  void OpenOn(UINT mode) {
    Open();
    ASSERT_TRUE(selectMode(handle, mode));
  }

  /// Requests a status; when the dialog stands and waits for messages, `act` runs once.
  BOOL RequestAnd(INT32 status, std::function<void()> act) {
    action = std::move(act);
    const UINT_PTR timer = ::SetTimer(hostWindow, 1, 10, nullptr);
    current = this;
    const HHOOK hook =
        ::SetWindowsHookExW(WH_GETMESSAGE, OnMessage, nullptr, ::GetCurrentThreadId());
    const BOOL result = Request(status);
    ::UnhookWindowsHookEx(hook);
    ::KillTimer(hostWindow, timer);
    current = nullptr;
    EXPECT_FALSE(action) << "the dialog never stood";
    action = nullptr;
    return result;
  }
  BOOL RequestAndPress(INT32 status, int button) {
    return RequestAnd(status, [this, button] { Press(button); });
  }

  [[nodiscard]] HWND Control(int id) const { return ::GetDlgItem(dialog, id); }
  void Press(int button) const { ::SendMessageW(Control(button), BM_CLICK, 0, 0); }
  [[nodiscard]] static std::wstring TextOf(HWND window) {
    std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
    ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    text.pop_back();
    return text;
  }
  [[nodiscard]] std::wstring Text(int id) const { return TextOf(Control(id)); }
  /// The detail text of a request that the user then cancels.
  std::wstring DetailOf(INT32 status) {
    std::wstring text;
    EXPECT_TRUE(RequestAnd(status, [this, &text] {
      text = Text(IDC_ANNOUNCE_DETAIL);
      Press(IDC_CANCEL_BUTTON);
    }));
    EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
    return text;
  }
  void ExpectFailure(INT32 status, const Traces& inner) {
    EXPECT_FALSE(Request(status));
    Traces expected = inner;
    expected.push_back({L"CAnnounceModeIsChangedDialog::OnInitDialog", 59});
    expected.push_back({L"CModeChange::RequestToChangeMode", 913, L"100"});
    expected.push_back({L"VeltoModeChange_RequestToSetINT32Information", 339, L"0, 0"});
    expected.push_back(
        {L"VeltoModeChange_RequestToSetINT32Information", 341, std::to_wstring(status)});
    EXPECT_EQ(traces.Take(), expected);
    PumpAll();
    EXPECT_TRUE(results.empty());
  }
  static Trace InSetControlText(std::uint32_t line,
                                const wchar_t* message = L"No Additional Information") {
    return {L"CAnnounceModeIsChangedDialog::SetControlText", line, message};
  }
  [[nodiscard]] std::wstring InFolder(const wchar_t* file) const {
    return (sandbox.LibraryFolder() / file).wstring();
  }
  void SwitchOnWithoutAsking() {
    WriteDefaults(false);
    ASSERT_TRUE(Request(1));
    ASSERT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
    WriteDefaults(true);
  }

  HWND dialog = nullptr;

 private:
  static LRESULT CALLBACK OnMessage(int code, WPARAM wParam, LPARAM lParam) {
    if (code == HC_ACTION && current != nullptr && current->action) {
      current->dialog = FindDialog();
      if (current->dialog != nullptr && ::IsWindowVisible(current->dialog) != FALSE) {
        const auto act = std::move(current->action);
        current->action = nullptr;
        act();
      }
    }
    return ::CallNextHookEx(nullptr, code, wParam, lParam);
  }
  static HWND FindDialog() {
    HWND found = nullptr;
    ::EnumThreadWindows(
        ::GetCurrentThreadId(),
        [](HWND window, LPARAM result) -> BOOL {
          if (::GetDlgItem(window, IDC_ANNOUNCE_DETAIL) == nullptr) return TRUE;
          *reinterpret_cast<HWND*>(result) = window;
          return FALSE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
  }

  static inline AnnouncementTest* current = nullptr;
  std::function<void()> action;
};

TEST_F(AnnouncementTest, TheControlsAreThoseOfTheTemplate) {
  OpenOn(kEco);
  RequestAnd(1, [this] {
    struct Expected {
      int id;
      const wchar_t* className;
      RECT units;  // left, top, width, height
      LONG style;  // bits that have to be set
    };
    const Expected controls[] = {
        {IDC_TITLE_BAND, L"Static", {0, 0, 363, 30}, 0},
        {IDC_TITLE_TEXT, L"Static", {9, 0, 354, 30}, SS_CENTERIMAGE},
        {IDC_ANNOUNCE_DESCRIPTION, L"Static", {19, 41, 324, 19}, 0},
        {IDC_ANNOUNCE_DETAIL, L"Edit", {19, 64, 323, 134}, ES_MULTILINE | ES_READONLY | WS_VSCROLL},
        {IDC_ANNOUNCE_NOT_SHOW, L"Button", {20, 206, 323, 26}, BS_AUTOCHECKBOX | WS_TABSTOP},
        {IDC_OK_BUTTON, L"Button", {209, 240, 66, 20}, WS_TABSTOP},
        {IDC_CANCEL_BUTTON, L"Button", {286, 240, 66, 20}, WS_TABSTOP},
    };
    for (const Expected& expected : controls) {
      SCOPED_TRACE(expected.id);
      const HWND control = Control(expected.id);
      ASSERT_NE(control, nullptr);
      wchar_t className[32]{};
      ::GetClassNameW(control, className, 32);
      EXPECT_STRCASEEQ(Text::ToUtf8(className).c_str(), Text::ToUtf8(expected.className).c_str());
      // The system converts place and size each by itself.
      RECT place = {expected.units.left, expected.units.top, 0, 0};
      RECT size = {0, 0, expected.units.right, expected.units.bottom};
      ::MapDialogRect(dialog, &place);
      ::MapDialogRect(dialog, &size);
      RECT actual{};
      ::GetWindowRect(control, &actual);
      ::MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&actual), 2);
      EXPECT_EQ(actual.left, place.left);
      EXPECT_EQ(actual.top, place.top);
      EXPECT_EQ(actual.right - actual.left, size.right);
      EXPECT_EQ(actual.bottom - actual.top, size.bottom);
      EXPECT_EQ(::GetWindowLongW(control, GWL_STYLE) & expected.style, expected.style);
    }
    EXPECT_EQ(::GetWindowLongW(Control(IDC_ANNOUNCE_DETAIL), GWL_STYLE) & WS_TABSTOP, 0);
    const auto style = static_cast<DWORD>(::GetWindowLongW(dialog, GWL_STYLE));
    EXPECT_EQ(style & (WS_POPUP | WS_CAPTION | DS_MODALFRAME),
              WS_POPUP | WS_CAPTION | DS_MODALFRAME);
    EXPECT_EQ(style & WS_SYSMENU, 0U);
    RECT client = {0, 0, 363, 268};
    ::MapDialogRect(dialog, &client);
    RECT actual{};
    ::GetClientRect(dialog, &actual);
    EXPECT_EQ(actual.right, client.right);
    EXPECT_EQ(actual.bottom, client.bottom);
    EXPECT_EQ(::GetWindow(dialog, GW_OWNER), hostWindow);
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(AnnouncementTest, EveryTextComesFromTheFile) {
  OpenOn(kEco);
  RequestAnd(1, [this] {
    EXPECT_EQ(TextOf(dialog), L"Mode Change");
    EXPECT_EQ(Text(IDC_TITLE_BAND), L"");
    EXPECT_EQ(Text(IDC_TITLE_TEXT), L"Mode Change");
    EXPECT_EQ(Text(IDC_ANNOUNCE_DESCRIPTION), L"Settings will change.\r\nGo on?");
    EXPECT_EQ(Text(IDC_ANNOUNCE_NOT_SHOW), L"Do not show this again");
    EXPECT_EQ(Text(IDC_OK_BUTTON), L"OK");
    EXPECT_EQ(Text(IDC_CANCEL_BUTTON), L"Cancel");
    EXPECT_EQ(::SendMessageW(Control(IDC_ANNOUNCE_NOT_SHOW), BM_GETCHECK, 0, 0), BST_UNCHECKED);
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(AnnouncementTest, EachControlHasItsFont) {
  OpenOn(kEco);
  RequestAnd(1, [this] {
    const HDC screen = ::GetDC(nullptr);
    const int dpi = ::GetDeviceCaps(screen, LOGPIXELSY);
    ::ReleaseDC(nullptr, screen);
    const std::pair<int, int> points[] = {{IDC_TITLE_TEXT, 12},      {IDC_ANNOUNCE_DESCRIPTION, 9},
                                          {IDC_ANNOUNCE_DETAIL, 10}, {IDC_ANNOUNCE_NOT_SHOW, 8},
                                          {IDC_OK_BUTTON, 11},       {IDC_CANCEL_BUTTON, 11}};
    for (const auto& [id, size] : points) {
      LOGFONTW font{};
      ::GetObjectW(reinterpret_cast<HFONT>(::SendMessageW(Control(id), WM_GETFONT, 0, 0)),
                   sizeof(font), &font);
      EXPECT_EQ(font.lfHeight, -::MulDiv(size, dpi, 72)) << "control " << id;
    }
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(AnnouncementTest, WithoutFontsControlsKeepTheTemplates) {
  OpenOn(kEco);
  interposition.Fail("SystemParametersInfoW", {.nth = 1, .lastError = ERROR_INVALID_PARAMETER});
  RequestAnd(1, [this] {
    for (const int id : {IDC_TITLE_TEXT, IDC_ANNOUNCE_DESCRIPTION, IDC_ANNOUNCE_DETAIL,
                         IDC_ANNOUNCE_NOT_SHOW, IDC_OK_BUTTON, IDC_CANCEL_BUTTON}) {
      EXPECT_EQ(::SendMessageW(Control(id), WM_GETFONT, 0, 0),
                ::SendMessageW(dialog, WM_GETFONT, 0, 0))
          << "control " << id;
    }
    EXPECT_NE(::SendMessageW(dialog, WM_GETFONT, 0, 0), 0);
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(traces.Take(), (Traces{{L"CUIDesigner::CUIDesigner", 52, L"87"}}));
}

TEST_F(AnnouncementTest, ColoursFollowTheDesign) {
  OpenOn(kEco);
  RequestAnd(1, [this] {
    const HDC dc = ::GetDC(dialog);
    const auto colour = [&](UINT message, HWND control) {
      ::SetBkMode(dc, OPAQUE);
      ::SetTextColor(dc, RGB(1, 2, 3));
      const auto brush = reinterpret_cast<HBRUSH>(::SendMessageW(
          dialog, message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(control)));
      EXPECT_EQ(::GetBkMode(dc), TRANSPARENT);
      EXPECT_EQ(::GetTextColor(dc), ::GetSysColor(COLOR_WINDOWTEXT));
      LOGBRUSH description{};
      ::GetObjectW(brush, sizeof(description), &description);
      return description.lbColor;
    };
    const COLORREF window = ::GetSysColor(COLOR_WINDOW);
    EXPECT_EQ(colour(WM_CTLCOLORSTATIC, Control(IDC_TITLE_BAND)), kGrey);
    EXPECT_EQ(colour(WM_CTLCOLORSTATIC, Control(IDC_TITLE_TEXT)), kGrey);
    EXPECT_EQ(colour(WM_CTLCOLORSTATIC, Control(IDC_ANNOUNCE_DESCRIPTION)), window);
    EXPECT_EQ(colour(WM_CTLCOLORSTATIC, Control(IDC_ANNOUNCE_DETAIL)), window);
    EXPECT_EQ(colour(WM_CTLCOLORBTN, Control(IDC_OK_BUTTON)), window);
    EXPECT_EQ(colour(WM_CTLCOLORDLG, dialog), window);
    ::ReleaseDC(dialog, dc);
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(AnnouncementTest, ABrushThatCannotBeMadeIsTracedAndPaintingIsTheDefault) {
  OpenOn(kEco);
  RequestAnd(1, [this] {
    const HDC dc = ::GetDC(dialog);
    interposition.Fail("CreateSolidBrush", {.nth = 1, .lastError = ERROR_NOT_ENOUGH_MEMORY});
    // Answered with no brush, the message takes its default.
    EXPECT_EQ(reinterpret_cast<HBRUSH>(::SendMessageW(dialog, WM_CTLCOLORDLG,
                                                      reinterpret_cast<WPARAM>(dc),
                                                      reinterpret_cast<LPARAM>(dialog))),
              ::GetSysColorBrush(COLOR_3DFACE));
    EXPECT_EQ(traces.Take(), (Traces{{L"CUIDesigner::GetDialogBackBrush", 176, L"8"}}));
    ::ReleaseDC(dialog, dc);
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(AnnouncementTest, OnListsTheModesValues) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetDefault(L"Eco", L"Fan", 0);
  OpenOn(kEco);
  EXPECT_EQ(DetailOf(1), L"Eco mode goes on, Eco mode.\r\n- Lamp: bright\r\n- Fan: slow");
}

TEST_F(AnnouncementTest, TheUsersValuesComeBeforeTheDefaults) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetDefault(L"Eco", L"Fan", 0);
  sandbox.Write(sandbox.DataFile(L"ModeChange.Settings.ini"),
                IniFile().Section(L"Eco").Key(L"Fan", 1));
  OpenOn(kEco);
  EXPECT_EQ(DetailOf(1), L"Eco mode goes on, Eco mode.\r\n- Fan: fast");
}

TEST_F(AnnouncementTest, OffListsTheNormalEnvironment) {
  SetDefault(L"Eco", L"Lamp", 1);
  Engine(L"Lamp").current = 0;
  OpenOn(kEco);
  SwitchOnWithoutAsking();
  EXPECT_EQ(DetailOf(0), L"Eco mode goes off.\r\n- Lamp: dark");
}

TEST_F(AnnouncementTest, ItemsThatAreNotUsableAreLeftOut) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetDefault(L"Eco", L"Fan", 0);
  Engine(L"Lamp").available[0] = 0;
  OpenOn(kEco);
  EXPECT_EQ(DetailOf(1), L"Eco mode goes on, Eco mode.\r\n- Fan: slow") << "one value is no choice";
}

TEST_F(AnnouncementTest, NothingToChangeHasATextOfItsOwn) {
  OpenOn(kEco);
  EXPECT_EQ(DetailOf(1), L"Eco mode goes on, Eco mode.\r\nEco mode changes\r\nnothing.");
  EXPECT_TRUE(log.empty()) << "no engine is asked about an item that stays";
}

TEST_F(AnnouncementTest, AMachineWithoutItemsShowsTheNoChangeText) {
  sandbox.Write(L"ModeChange.Config.ini",
                IniFile().Section(L"ModeList").Key(L"ModeCount", 1).Key(L"Mode0", L"Eco"));
  WriteUsableModes({L"Eco"});
  OpenOn(0);
  EXPECT_EQ(DetailOf(1), L"Eco mode goes on, Eco mode.\r\nEco mode changes\r\nnothing.");
}

TEST_F(AnnouncementTest, AModesNameMayBringLineBreaksIntoTheNoChangeText) {
  SetText(L"Mode", L"Eco", L"Eco\\nmode");
  OpenOn(kEco);
  EXPECT_EQ(DetailOf(1), L"Eco\\nmode goes on, Eco\\nmode.\r\nEco\r\nmode changes\r\nnothing.");
}

TEST_F(AnnouncementTest, ADetailTextWithoutThePlaceholderStaysAsItIs) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetText(L"AnnounceModeIsChangedDialog", L"DetailInformation_ModeStatus1", L"Just on. %mode%");
  OpenOn(kEco);
  EXPECT_EQ(DetailOf(1), L"Just on. %mode%");
}

TEST_F(AnnouncementTest, LineBreaksAreStrippedFromBothEndsOfTheList) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetText(L"AnnounceModeIsChangedDialog", L"DetailInformation_ChangedSettingItem",
          L"\\n%SETTINGITEM%,%SETTINGITEM%\\n");
  OpenOn(kEco);
  EXPECT_EQ(DetailOf(1), L"Eco mode goes on, Eco mode.\r\nLamp,Lamp");
}

TEST_F(AnnouncementTest, AListOfEmptyLinesIsNotTheNoChangeText) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetText(L"AnnounceModeIsChangedDialog", L"DetailInformation_ChangedSettingItem", L"");
  OpenOn(kEco);
  EXPECT_EQ(DetailOf(1), L"Eco mode goes on, Eco mode.\r\n");
}

TEST_F(AnnouncementTest, OKGoesOnAndLeavesTheSettingAlone) {
  OpenOn(kEco);
  EXPECT_TRUE(RequestAndPress(1, IDC_OK_BUTTON));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 1);
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Settings.ini")));
}

TEST_F(AnnouncementTest, OKWithTheBoxCheckedTurnsTheDialogOff) {
  OpenOn(kEco);
  EXPECT_TRUE(RequestAnd(1, [this] {
    Press(IDC_ANNOUNCE_NOT_SHOW);
    Press(IDC_OK_BUTTON);
    EXPECT_EQ(sandbox.IniValue(sandbox.DataFile(L"ModeChange.Settings.ini"), L"Common",
                               L"ShowAnnounceModeIsChangedDialog"),
              L"0")
        << "before the change goes ahead";
    EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Status.ini")));
  }));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_TRUE(Request(0)) << "no dialog any more";
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(AnnouncementTest, AChoiceThatCannotBeSavedFailsTheRequest) {
  OpenOn(kEco);
  interposition.Fail("WritePrivateProfileStringW", {.nth = 1, .lastError = ERROR_DISK_FULL});
  EXPECT_FALSE(RequestAnd(1, [this] {
    Press(IDC_ANNOUNCE_NOT_SHOW);
    Press(IDC_OK_BUTTON);
  }));
  const std::wstring file = sandbox.DataFile(L"ModeChange.Settings.ini").wstring();
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeSettings::SaveAnnounceModeIsChangedDialogDisplaySetting", 180,
                     file + L", 112"},
                    {L"CModeChange::RequestToChangeMode", 913, L"100"},
                    {L"VeltoModeChange_RequestToSetINT32Information", 339, L"0, 0"},
                    {L"VeltoModeChange_RequestToSetINT32Information", 341, L"1"}}));
  PumpAll();
  EXPECT_TRUE(results.empty());
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Status.ini")));
}

TEST_F(AnnouncementTest, WithoutMemoryForAChoiceTheRequestFails) {
  OpenOn(kEco);
  EXPECT_FALSE(RequestAnd(1, [this] {
    Press(IDC_ANNOUNCE_NOT_SHOW);
    interposition.Replace("SHGetSpecialFolderPathW",
                          [](HWND, wchar_t*, int, BOOL) -> BOOL { throw std::bad_alloc(); });
    Press(IDC_OK_BUTTON);
  }));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::RequestToChangeMode", 913, L"100"},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 339, L"0, 0"},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 341, L"1"}}));
  PumpAll();
  EXPECT_TRUE(results.empty());
}

TEST_F(AnnouncementTest, WithoutMemoryForItsTextsTheRequestFails) {
  OpenOn(kEco);
  interposition.Replace("SetWindowTextW",
                        [](HWND, const wchar_t*) -> BOOL { throw std::bad_alloc(); });
  EXPECT_FALSE(Request(1));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::RequestToChangeMode", 913, L"100"},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 339, L"0, 0"},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 341, L"1"}}));
  PumpAll();
  EXPECT_TRUE(results.empty());
}

TEST_F(AnnouncementTest, CancelChangesNothingAndLooksLikeACompletedChange) {
  SetDefault(L"Eco", L"Lamp", 1);
  OpenOn(kEco);
  interposition.Observe(
      "SendMessageW", [](const Call& call) { EXPECT_NE(call.arguments.at(1), UINT{WM_COPYDATA}); });
  EXPECT_TRUE(RequestAnd(1, [this] {
    Press(IDC_ANNOUNCE_NOT_SHOW);
    Press(IDC_CANCEL_BUTTON);
  }));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 0);
  EXPECT_TRUE(Engine(L"Lamp").requested.empty());
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Settings.ini")));
}

TEST_F(AnnouncementTest, CancelWorksWhereWindowsTakesNoMessage) {
  OpenOn(kEco);
  EXPECT_TRUE(RequestAnd(1, [this] {
    interposition.Fail("PostMessageW", {.onwards = true});
    Press(IDC_CANCEL_BUTTON);
  }));
  EXPECT_THAT(results, testing::ElementsAre(VELTO_MODE_CHANGE_COMPLETED));
}

TEST_F(AnnouncementTest, ItEndsWhereWindowsDoesNotEndIt) {
  SetDefault(L"Eco", L"Lamp", 1);
  OpenOn(kEco);
  interposition.Fail("EndDialog", {.onwards = true});
  EXPECT_TRUE(RequestAnd(1, [this] { Press(IDC_OK_BUTTON); }));
  EXPECT_NE(::IsWindowEnabled(hostWindow), FALSE);
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(AnnouncementTest, CancelTellsANullWindowNothing) {
  OpenOn(kEco);
  const HWND host = hostWindow;
  hostWindow = nullptr;
  EXPECT_TRUE(RequestAndPress(1, IDC_CANCEL_BUTTON));
  hostWindow = host;
  PumpAll();
  EXPECT_TRUE(results.empty());
}

TEST_F(AnnouncementTest, EnterAndEscDoNotEndIt) {
  OpenOn(kEco);
  EXPECT_TRUE(RequestAnd(1, [this] {
    for (const int focus : {IDC_ANNOUNCE_NOT_SHOW, IDC_ANNOUNCE_DETAIL}) {
      for (const WPARAM key : {WPARAM{VK_RETURN}, WPARAM{VK_ESCAPE}}) {
        ::SetFocus(Control(focus));
        MSG press = {Control(focus), WM_KEYDOWN, key, 1, 0, {}};
        if (::IsDialogMessageW(dialog, &press) == FALSE) ::DispatchMessageW(&press);
        for (MSG message; ::PeekMessageW(&message, dialog, 0, 0, PM_REMOVE) != FALSE;) {
          EXPECT_NE(message.message, UINT{WM_CLOSE}) << "focus " << focus << ", key " << key;
          ::DispatchMessageW(&message);
        }
        EXPECT_TRUE(::IsWindow(dialog)) << "focus " << focus << ", key " << key;
        EXPECT_TRUE(::IsWindowVisible(dialog)) << "focus " << focus << ", key " << key;
      }
    }
    for (const WPARAM command : {WPARAM{IDOK}, WPARAM{IDCANCEL}}) {
      ::SendMessageW(dialog, WM_COMMAND, command, 0);
      EXPECT_TRUE(::IsWindowVisible(dialog));
    }
    Press(IDC_OK_BUTTON);
  }));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 1) << "OK had the last word";
}

TEST_F(AnnouncementTest, TheSystemsCloseCommandIsCancel) {
  OpenOn(kEco);
  EXPECT_TRUE(RequestAnd(1, [this] { ::SendMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); }));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 0);
}

TEST_F(AnnouncementTest, AConfigurationThatGoesAwayIsAFailure) {
  OpenOn(kEco);
  interposition.Observe("DialogBoxParamW", [](const Call&) {});
  sandbox.Remove(L"ModeChange.Config.ini");
  const std::wstring path = InFolder(L"ModeChange.Config.ini");
  ExpectFailure(1, {{L"CModeChangeConfig::DoesConfigFileExist", 282, path},
                    {L"CModeChangeConfig::GetAllSettingItemList", 147},
                    InSetControlText(257)});
}

TEST_F(AnnouncementTest, AnEnginePathThatCannotBeHadIsAFailure) {
  OpenOn(kEco);
  // The configuration goes away once its list of items is read.
  interposition.Observe("GetPrivateProfileStringW", [this](const Call& call) {
    if (std::wstring_view(call.Text(1)) == L"SettingItem1")
      sandbox.Remove(L"ModeChange.Config.ini");
  });
  const std::wstring path = InFolder(L"ModeChange.Config.ini");
  ExpectFailure(1, {{L"CModeChangeConfig::DoesConfigFileExist", 282, path},
                    {L"CModeChangeConfig::GetSettingItemEnginePath", 210},
                    InSetControlText(276, L"Lamp")});
}

TEST_F(AnnouncementTest, ValuesThatCannotBeReadAreAFailure) {
  OpenOn(kEco);
  interposition.Observe("GetPrivateProfileIntW", [this](const Call& call) {
    if (std::wstring_view(call.Text(1)) == L"SettingItemCount") {
      sandbox.Remove(L"ModeChange.DefaultSettings.ini");
    }
  });
  const std::wstring path = InFolder(L"ModeChange.DefaultSettings.ini");
  ExpectFailure(1, {{L"CModeChangeSettings::GetDefaultSettingItemValue", 211, path},
                    {L"CModeChangeSettings::GetSettingItemValue", 305},
                    InSetControlText(289, L"Eco")});
}

TEST_F(AnnouncementTest, OffWithoutAStatusFileIsAFailure) {
  OpenOn(kEco);
  const std::wstring path = sandbox.DataFile(L"ModeChange.Status.ini").wstring();
  ExpectFailure(
      0, {{L"CModeChangeStatus::GetNormalEnvironmentSetting", 181, path}, InSetControlText(301)});
}

TEST_F(AnnouncementTest, AnEngineThatCannotSayWhetherItIsUsableIsAFailure) {
  SetDefault(L"Eco", L"Lamp", 1);
  Engine(L"Lamp").failing = {"GetDeviceCount"};
  OpenOn(kEco);
  ExpectFailure(1, {{L"CDeviceEngineHelper::GetDeviceCount", 87},
                    {L"IsSettingItemUsableInThisPC", 36},
                    InSetControlText(316, L"Lamp")});
}

TEST_F(AnnouncementTest, AnItemWithoutAKeyIsAFailure) {
  SetDefault(L"Eco", L"Lamp", 1);
  Engine(L"Lamp").failing = {"GetStringInformation(0, 0)"};
  OpenOn(kEco);
  ExpectFailure(
      1, {{L"CDeviceEngineHelper::GetStringInformation", 162, L"0, 0"}, InSetControlText(331)});
}

TEST_F(AnnouncementTest, AValueWithoutAKeyIsAFailure) {
  SetDefault(L"Eco", L"Lamp", 1);
  Engine(L"Lamp").failing = {"GetStringInformation(1, 1)"};
  OpenOn(kEco);
  ExpectFailure(
      1, {{L"CDeviceEngineHelper::GetStringInformation", 162, L"1, 1"}, InSetControlText(349)});
}

TEST_F(AnnouncementTest, MissingTextsAreEmptyTexts) {
  SetDefault(L"Eco", L"Lamp", 1);
  sandbox.Write(L"en-US\\ModeChange.Resource.ini", IniFile().Section(L"Nothing"));
  OpenOn(kEco);
  RequestAnd(1, [this] {
    EXPECT_EQ(TextOf(dialog), L"");
    EXPECT_EQ(Text(IDC_ANNOUNCE_DETAIL), L"");
    EXPECT_EQ(Text(IDC_OK_BUTTON), L"");
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(AnnouncementTest, EnginesAreGoneWhenTheUserDecides) {
  SetDefault(L"Eco", L"Lamp", 1);
  OpenOn(kEco);
  EXPECT_TRUE(RequestAnd(1, [this] {
    EXPECT_EQ(Engine(L"Lamp").openHandles, 0);
    EXPECT_EQ(interposition.Count("LoadLibraryW"), interposition.Count("FreeLibrary"));
    Press(IDC_CANCEL_BUTTON);
  }));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

}  // namespace
