#include <map>

#include "unit/changemode/ChangeModeWindowFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const wchar_t* kClass = L"ChangeModeWindow";

/// The library's memory that was taken and not given back since this object was made.
class MemoryBalance {
 public:
  explicit MemoryBalance(Interposition& interposition) {
    for (const char* take : {"malloc", "calloc"}) {
      if (!interposition.Imports(take)) continue;
      interposition.Observe(take, [this](const Call& call) {
        if (call.result != 0) held[call.result] = call.arguments.at(0);
      });
    }
    interposition.Observe("free", [this](const Call& call) { held.erase(call.arguments.at(0)); });
  }
  [[nodiscard]] std::vector<std::uint64_t> HeldSizes() const {
    std::vector<std::uint64_t> sizes;
    for (const auto& [address, size] : held) sizes.push_back(size);
    return sizes;
  }
  void Clear() { held.clear(); }

 private:
  std::map<std::uint64_t, std::uint64_t> held;
};

class ChangeModeWindowCreationTest : public ChangeModeWindowTest {
 protected:
  /// The class is the process's: an earlier test may have registered it.
  void ForgetClass() const { ::UnregisterClassW(kClass, library.Module()); }
};

// --- Class and window ----------------------------------------------------------------------------

TEST_F(ChangeModeWindowCreationTest, RegistersItsClass) {
  WriteConfig({L"Screen"});
  ForgetClass();
  std::vector<WNDCLASSEXW> classes;
  std::vector<std::wstring> names;
  interposition.Observe("RegisterClassExW", [&](const Call& call) {
    const auto* registered = reinterpret_cast<const WNDCLASSEXW*>(call.arguments.at(0));
    classes.push_back(*registered);
    names.emplace_back(registered->lpszClassName);
  });

  window = MakeWindow();

  EXPECT_NE(window, nullptr);
  ASSERT_EQ(classes.size(), 1U);
  const WNDCLASSEXW& made = classes.front();
  EXPECT_EQ(names.front(), kClass);
  EXPECT_EQ(made.cbSize, sizeof(WNDCLASSEXW));
  EXPECT_EQ(made.style, static_cast<UINT>(CS_HREDRAW | CS_VREDRAW));
  EXPECT_NE(made.lpfnWndProc, nullptr);
  EXPECT_EQ(made.cbClsExtra, 0);
  EXPECT_EQ(made.cbWndExtra, 0);
  EXPECT_EQ(made.hInstance, library.Module());
  EXPECT_EQ(made.hIcon, nullptr);
  EXPECT_EQ(made.hCursor, ::LoadCursorW(nullptr, IDC_ARROW));
  EXPECT_EQ(reinterpret_cast<LONG_PTR>(made.hbrBackground), LONG_PTR{COLOR_WINDOW + 1});
  EXPECT_EQ(made.lpszMenuName, nullptr);
  EXPECT_EQ(made.hIconSm, nullptr);
}

TEST_F(ChangeModeWindowCreationTest, GoesOnWithAClassThatIsRegisteredAlready) {
  WriteConfig({L"Screen"});
  window = MakeWindow();
  interposition.ClearCalls();

  const HWND second = MakeWindow();

  const Call registration = interposition.CallsOf("RegisterClassExW").at(0);
  EXPECT_EQ(registration.result, 0U);
  EXPECT_EQ(registration.lastError, DWORD{ERROR_CLASS_ALREADY_EXISTS});
  EXPECT_NE(second, nullptr);
  EXPECT_NE(second, window);
  ::DestroyWindow(second);
}

TEST_F(ChangeModeWindowCreationTest, MakesNoWindowWithoutItsClass) {
  WriteConfig({L"Screen"});
  interposition.Fail("RegisterClassExW", {.lastError = ERROR_NOT_ENOUGH_MEMORY});

  EXPECT_EQ(MakeWindow(), nullptr);

  EXPECT_EQ(traces.Take(), (Traces{{L"ChangeModeWindow::CreateMyWindow", 143, L"8"}}));
  EXPECT_EQ(interposition.Count("CreateWindowExW"), 0U);
}

TEST_F(ChangeModeWindowCreationTest, MakesAHiddenWindowOfItsOwn) {
  WriteConfig({L"Screen"});

  window = MakeWindow();

  const Call creation = interposition.CallsOf("CreateWindowExW").at(0);
  EXPECT_EQ(reinterpret_cast<HWND>(creation.result), window);
  EXPECT_EQ(creation.arguments.at(0), 0U) << "extended style";
  EXPECT_STREQ(creation.Text(1), kClass);
  EXPECT_NE(creation.arguments.at(2), 0U);
  EXPECT_STREQ(creation.Text(2), L"") << "title";
  EXPECT_EQ(static_cast<DWORD>(creation.arguments.at(3)), DWORD{WS_OVERLAPPEDWINDOW});
  EXPECT_EQ(static_cast<int>(creation.arguments.at(4)), CW_USEDEFAULT) << "x";
  EXPECT_EQ(static_cast<int>(creation.arguments.at(5)), 0) << "y";
  EXPECT_EQ(static_cast<int>(creation.arguments.at(6)), CW_USEDEFAULT) << "width";
  EXPECT_EQ(static_cast<int>(creation.arguments.at(7)), 0) << "height";
  EXPECT_EQ(creation.arguments.at(8), 0U) << "parent";
  EXPECT_EQ(creation.arguments.at(9), 0U) << "menu";
  EXPECT_EQ(reinterpret_cast<HMODULE>(creation.arguments.at(10)), library.Module());
  EXPECT_EQ(creation.arguments.at(11), 0U) << "parameter";

  EXPECT_EQ(::IsWindowVisible(window), FALSE);
  EXPECT_EQ(::GetAncestor(window, GA_PARENT), ::GetDesktopWindow());
  EXPECT_EQ(::GetWindow(window, GW_OWNER), nullptr);
  EXPECT_EQ(::GetWindowThreadProcessId(window, nullptr), ::GetCurrentThreadId());
}

TEST_F(ChangeModeWindowCreationTest, TracesNothingWhenWindowsMakesNoWindow) {
  WriteConfig({L"Screen"});
  interposition.Fail("CreateWindowExW", {});

  EXPECT_EQ(MakeWindow(), nullptr);

  EXPECT_EQ(traces.Take(), Traces());
}

// --- The record ----------------------------------------------------------------------------------

TEST_F(ChangeModeWindowCreationTest, LetsRequestersWithFewerRightsIn) {
  WriteConfig({L"Screen"});

  window = MakeWindow();

  const std::vector<Call> calls = interposition.CallsOf("ChangeWindowMessageFilterEx");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(reinterpret_cast<HWND>(calls[0].arguments.at(0)), window);
  EXPECT_EQ(calls[0].arguments.at(1), UINT{WM_COPYDATA});
  EXPECT_EQ(calls[0].arguments.at(2), DWORD{MSGFLT_ALLOW});
  EXPECT_EQ(calls[0].arguments.at(3), 0U);
}

TEST_F(ChangeModeWindowCreationTest, WorksWhereTheFilterCannotBeChanged) {
  interposition.Fail("ChangeWindowMessageFilterEx", {.onwards = true});
  MakeMachine({L"Screen"});

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
}

TEST_F(ChangeModeWindowCreationTest, KnowsTheItemsInTheirOrder) {
  WriteConfig({L"Screen", L"Keys", L"Battery"});

  window = MakeWindow();

  ASSERT_NE(window, nullptr);
  EXPECT_THAT(Record()->settingItemNames, ElementsAre(L"Screen", L"Keys", L"Battery"));
  EXPECT_EQ(DescribeRecord(), kIdle);
}

TEST_F(ChangeModeWindowCreationTest, ReadsTheItemsOnlyOnce) {
  MakeMachine({L"Screen", L"Keys"});
  SetValue(L"Eco", L"Screen", 1);
  SetValue(L"Eco", L"Keys", 1);
  const std::filesystem::path config = sandbox.LibraryFolder() / L"ModeChange.Config.ini";
  ::WritePrivateProfileStringW(L"SettingItemList", nullptr, nullptr, config.c_str());

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));

  EXPECT_THAT(Engine(L"Screen").requested, ElementsAre(1));
  EXPECT_THAT(Engine(L"Keys").requested, ElementsAre(1));
}

TEST_F(ChangeModeWindowCreationTest, MakesAWindowForAMachineWithoutItems) {
  WriteConfig({});

  window = MakeWindow();

  ASSERT_NE(window, nullptr);
  EXPECT_THAT(Record()->settingItemNames, IsEmpty());
}

TEST_F(ChangeModeWindowCreationTest, FailsWhereTheItemsCannotBeRead) {
  EXPECT_EQ(MakeWindow(), nullptr);

  const std::wstring path = sandbox.LibraryFolder().wstring() + L"\\ModeChange.Config.ini";
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeConfig::DoesConfigFileExist", 282, path},
                                   {L"CModeChangeConfig::GetAllSettingItemList", 147},
                                   In(L"OnCreate", 253)}));
}

TEST_F(ChangeModeWindowCreationTest, FailsWhereTheRecordCannotBeKept) {
  WriteConfig({L"Screen"});
  interposition.Replace("SetWindowLongPtrW", [](HWND, int, LONG_PTR) -> LONG_PTR {
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
  });

  EXPECT_EQ(MakeWindow(), nullptr);

  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCreate", 244)}));
}

TEST_F(ChangeModeWindowCreationTest, GivesItsMemoryBackWhenCreationFails) {
  EXPECT_EQ(MakeWindow(), nullptr);  // what is made once per process comes first
  MemoryBalance memory(interposition);

  EXPECT_EQ(MakeWindow(), nullptr);
  EXPECT_THAT(memory.HeldSizes(), IsEmpty());

  WriteConfig({L"Screen", L"Keys"});
  memory.Clear();
  interposition.Replace("SetWindowLongPtrW", [](HWND, int, LONG_PTR) -> LONG_PTR { return 0; });
  EXPECT_EQ(MakeWindow(), nullptr);
  EXPECT_THAT(memory.HeldSizes(), IsEmpty());
  static_cast<void>(traces.Take());
}

TEST_F(ChangeModeWindowCreationTest, FailsCleanlyWhereverMemoryRunsOut) {
  WriteConfig({L"Screen", L"Keys"});
  // What is made once per process, for windows and for exceptions, comes first.
  ::DestroyWindow(MakeWindow());
  interposition.Fail("malloc", {.nth = 1});
  EXPECT_EQ(MakeWindow(), nullptr);
  MemoryBalance memory(interposition);

  std::uint32_t failures = 0;
  for (bool hit = true; hit;) {
    SCOPED_TRACE(testing::Message() << "allocation " << failures + 1 << " fails");
    interposition.ClearCalls();
    interposition.Fail("malloc", {.nth = failures + 1});
    const HWND made = MakeWindow();
    hit = interposition.Count("malloc") > failures;
    if (hit) {
      ++failures;
      EXPECT_EQ(made, nullptr);
    } else {
      EXPECT_NE(made, nullptr);
    }
    if (made != nullptr) ::DestroyWindow(made);
    EXPECT_THAT(memory.HeldSizes(), IsEmpty());
    if (HasFailure()) break;
  }
  EXPECT_GE(failures, 5U) << "the record, its list and the names of two items";
  static_cast<void>(traces.Take());
}

// --- The end -------------------------------------------------------------------------------------

TEST_F(ChangeModeWindowCreationTest, ClosesWhenItIsSentClose) {
  WriteConfig({L"Screen"});
  window = MakeWindow();

  EXPECT_EQ(::SendMessageW(window, WM_CLOSE, 0, 0), 0);

  EXPECT_EQ(::IsWindow(window), FALSE);
}

TEST_F(ChangeModeWindowCreationTest, ClosesWhenItIsPostedClose) {
  WriteConfig({L"Screen"});
  window = MakeWindow();
  ::PostMessageW(window, WM_CLOSE, 0, 0);
  EXPECT_NE(::IsWindow(window), FALSE);

  PumpAll();

  EXPECT_EQ(::IsWindow(window), FALSE);
}

TEST_F(ChangeModeWindowCreationTest, ClosesAtOnceWhereWindowsTakesNoMessage) {
  WriteConfig({L"Screen"});
  window = MakeWindow();
  ChangeModeWindow::CloseMyWindow(window);
  EXPECT_NE(::IsWindow(window), FALSE) << "later";
  PumpAll();
  EXPECT_EQ(::IsWindow(window), FALSE);

  window = MakeWindow();
  interposition.Fail("PostMessageW", {});
  ChangeModeWindow::CloseMyWindow(window);
  EXPECT_EQ(::IsWindow(window), FALSE);
}

TEST_F(ChangeModeWindowCreationTest, FreesTheRecordWhenItIsDestroyed) {
  WriteConfig({L"Screen", L"Keys"});
  ::DestroyWindow(MakeWindow());  // what is made once per process
  MemoryBalance memory(interposition);
  const HWND made = MakeWindow();
  EXPECT_THAT(memory.HeldSizes(), testing::Contains(sizeof(ChangeModeWindowData)));
  interposition.ClearCalls();

  ::DestroyWindow(made);

  EXPECT_THAT(memory.HeldSizes(), IsEmpty());
  const std::vector<Call> calls = interposition.CallsOf("SetWindowLongPtrW");
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(static_cast<int>(calls.front().arguments.at(1)), GWLP_USERDATA);
  EXPECT_EQ(calls.front().arguments.at(2), 0U);
}

TEST_F(ChangeModeWindowCreationTest, DoesNotTouchTheRecordAgainAfterItsEnd) {
  WriteConfig({L"Screen"});
  window = MakeWindow();

  // The message alone: the window is still there and has to stand further ones.
  EXPECT_EQ(::SendMessageW(window, WM_DESTROY, 0, 0), 0);

  EXPECT_EQ(Record(), nullptr);
}

TEST_F(ChangeModeWindowCreationTest, UnloadsTheEngineThatIsAtWorkWhenItIsDestroyed) {
  MakeMachine({L"Screen"});
  SetValue(L"Eco", L"Screen", 1);
  Engine(L"Screen").completion = ScriptedEngine::Completion::kNever;
  Request(L"Eco", kOn);
  PumpAll();
  ASSERT_EQ(Engine(L"Screen").openHandles, 1);
  ASSERT_THAT(handles.Held(), testing::SizeIs(1));

  ::DestroyWindow(window);

  EXPECT_EQ(Engine(L"Screen").openHandles, 0);
  EXPECT_EQ(log.back(), "Screen.DeleteHandle");
  EXPECT_THAT(handles.Held(), IsEmpty());
  PumpAll();
  EXPECT_THAT(requester.Take(), IsEmpty());
}

TEST_F(ChangeModeWindowCreationTest, AnswersOtherMessagesAsWindowsDoes) {
  WriteConfig({L"Screen"});
  window = MakeWindow();

  EXPECT_EQ(::SendMessageW(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"a title")), TRUE);
  wchar_t text[20]{};
  EXPECT_EQ(::SendMessageW(window, WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text)), 7);
  EXPECT_STREQ(text, L"a title");
  EXPECT_EQ(::SendMessageW(window, WM_CHANGEMODE_COMPLETIONNOTICE + 1, 1, 0), 0);
}

}  // namespace
