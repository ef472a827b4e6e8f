#include <malloc.h>

#include <cstdio>
#include <cstring>
#include <deque>

#include "settings/ModeSettingsMessages.h"
#include "system/SettingsFixture.h"

namespace {

using ::testing::Each;
using ::testing::IsEmpty;

/// Engines that call back into the library, close windows and handle messages while they are asked.
/// Mode Eco sets Lamp and Fan to 1; Lamp is the engine that does it.
///
/// Memory that the library gives back is spoiled and not given out again for long, so that a use
/// of it does not go unnoticed.
class ReentrantEnginesTest : public SettingsTest {
 protected:
  ReentrantEnginesTest() {
    SetDefault(L"Eco", L"Lamp", 1);
    SetDefault(L"Eco", L"Fan", 1);
    interposition.SetRecording(false);
    SpoilFreedMemory();
    // A crash is to fail the test at once.
    ::SetUnhandledExceptionFilter([](EXCEPTION_POINTERS* crash) -> LONG {
      std::fprintf(stderr, "crashed at %p\n", crash->ExceptionRecord->ExceptionAddress);
      ::TerminateProcess(::GetCurrentProcess(), kCrashed);
      return EXCEPTION_EXECUTE_HANDLER;
    });
    watchdog.SetPatience(100);
  }
  ~ReentrantEnginesTest() override {
    if (handle != nullptr) Close();
    interposition.Replace("free", original);
    for (void* block : spoiled) original(block);
  }
  /// As on a new machine, with a handle on Eco.
  void StartAnew(bool announce) {
    if (handle != nullptr) Close();
    sandbox.Remove(sandbox.DataFile(L"ModeChange.Status.ini"));
    sandbox.Remove(sandbox.DataFile(L"ModeChange.Settings.ini"));
    WriteDefaults(announce);
    for (const wchar_t* item : {L"Lamp", L"Fan"}) {
      Engine(item).current = 0;
      Engine(item).requested.clear();
    }
    Engine(L"Lamp").onCall = nullptr;
    log.clear();
    results.clear();
    Open();
    ASSERT_TRUE(selectMode(handle, kEco));
  }
  /// Has the n-th call of Lamp do something, once. `wasCalled` says whether it came to that.
  void AtCall(std::size_t nth, std::function<void()> act) {
    wasCalled = false;
    Engine(L"Lamp").onCall = [this, nth, count = std::size_t{0},
                              act = std::move(act)](const std::string&) mutable {
      if (++count != nth) return;
      wasCalled = true;
      const auto run = act;  // may set another one
      run();
    };
  }
  [[nodiscard]] std::size_t CallsOfLamp() const {
    return static_cast<std::size_t>(std::count_if(
        log.begin(), log.end(), [](const std::string& line) { return line.starts_with("Lamp."); }));
  }
  void ExpectAllClosed() {
    PumpAll();
    for (const wchar_t* item : {L"Lamp", L"Fan"}) {
      EXPECT_EQ(Engine(item).openHandles, 0) << Text::ToUtf8(item);
    }
    EXPECT_THAT(handles.Held(), IsEmpty());
    EXPECT_EQ(FindFrame(), nullptr);
  }
  /// Whether a mode can still be switched on and off, after all that was.
  void ExpectWorks() {
    static_cast<void>(traces.Take());
    StartAnew(false);
    for (const INT32 status : {1, 0}) {
      EXPECT_TRUE(Request(status));
      EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
      EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), status);
    }
    Close();
    EXPECT_EQ(ChangeModeWindow(), nullptr);
    ExpectAllClosed();
  }
  void DeleteHandleInUse() {
    EXPECT_TRUE(deleteHandle(handle));
    handle = nullptr;
  }
  /// Every export that only asks, and those that make and delete another handle.
  void AskEverything() {
    UINT count = 0;
    EXPECT_TRUE(getModeCount(handle, &count));
    EXPECT_EQ(count, kModeCount);
    EXPECT_TRUE(selectMode(handle, kDock));
    EXPECT_EQ(GetString(VELTO_MODE_STRING_NAME), L"Cradle mode");
    EXPECT_EQ(GetNumber(VELTO_MODE_INT32_TYPE), VELTO_MODE_TYPE_CRADLE);
    EXPECT_EQ(GetNumber(VELTO_MODE_INT32_AUTO_ON_OFF), 0);
    EXPECT_TRUE(selectMode(handle, kEco));
    VELTO_MODE_CHANGE_HANDLE another = nullptr;
    EXPECT_TRUE(createHandle(&another));
    EXPECT_TRUE(deleteHandle(another));
    EXPECT_TRUE(deleteHandle(nullptr));
  }
  /// The settings dialog of this thread, seen or not.
  [[nodiscard]] static HWND FindFrame() {
    HWND found = nullptr;
    ::EnumThreadWindows(
        ::GetCurrentThreadId(),
        [](HWND window, LPARAM result) -> BOOL {
          if (::GetDlgItem(window, IDC_APPLY_BUTTON) == nullptr) return TRUE;
          *reinterpret_cast<HWND*>(result) = window;
          return FALSE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
  }
  BOOL ShowAndCancelSettings(HWND parent) {
    const UINT_PTR timer = ::SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR, DWORD) {
      const HWND frame = FindFrame();
      if (frame != nullptr && ::IsWindowVisible(frame) != FALSE) {
        ::PostMessageW(frame, WM_CLOSE, 0, 0);
      }
      const HWND messageBox = DialogRobot::FindMessageBox();
      if (messageBox != nullptr) DialogRobot::Dismiss(messageBox);
    });
    const BOOL answer = showSettingsDialog(handle, parent);
    ::KillTimer(nullptr, timer);
    return answer;
  }
  [[nodiscard]] static HWND MakeOwner() {
    return ::CreateWindowExW(0, L"STATIC", L"Owner", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr,
                             nullptr, nullptr, nullptr);
  }

  /// From one call to the next where each costs two dialogs; no factor of an engine's round.
  static constexpr std::size_t kLongWays = 5;

  bool wasCalled = false;

 private:
  static constexpr std::size_t kBlocksKept = 20'000;
  static constexpr UINT kCrashed = 94;

  void SpoilFreedMemory() {
    original = interposition.Original<void (*)(void*)>("free");
    interposition.Replace("free", [this](void* block) {
      if (block == nullptr) return;
      std::memset(block, 0xDD, ::_msize(block));
      spoiled.push_back(block);
      if (spoiled.size() <= kBlocksKept) return;
      original(spoiled.front());
      spoiled.pop_front();
    });
  }

  void (*original)(void*) = nullptr;
  std::deque<void*> spoiled;
};

// --- In a confirmed change -----------------------------------------------------------------------

class ReentrantEnginesInChangeTest : public ReentrantEnginesTest {
 protected:
  // Lamp's in a change, with two values.
  static constexpr std::size_t kCallsBeforeRequest = 19;

  void PressOKWhenAsked() {
    robot.Then("confirmation", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL),
               [](HWND dialog) { Click(dialog, IDC_OK_BUTTON); });
  }
  /// Switches Eco on, confirmation and all, once for each call of Lamp, which then does something.
  /// `check` is told what the request answered.
  void AtEachCall(const std::function<void()>& act, const std::function<void(BOOL)>& check,
                  std::size_t stride = 1) {
    for (std::size_t nth = 1;; nth += stride) {
      SCOPED_TRACE(testing::Message() << "in call " << nth);
      StartAnew(true);
      AtCall(nth, act);
      PressOKWhenAsked();
      const BOOL answer = Request(1);
      PumpAll();
      if (!wasCalled) {
        EXPECT_GT(nth, 25U) << "both in the confirmation and in the change";
        EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
        break;
      }
      check(answer);
      ExpectAllClosed();
      if (HasFailure()) break;
    }
    ExpectWorks();
  }
};

TEST_F(ReentrantEnginesInChangeTest, MayAskTheLibraryAnything) {
  StartAnew(true);
  PressOKWhenAsked();
  ASSERT_TRUE(Request(1));
  ASSERT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  const EngineLog undisturbed = log;
  AtEachCall([this] { AskEverything(); },
             [&](BOOL answer) {
               EXPECT_TRUE(answer);
               EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
               EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 1);
               EXPECT_EQ(log, undisturbed);
             });
}

TEST_F(ReentrantEnginesInChangeTest, MayHandleMessages) {
  AtEachCall([] { PumpAll(); },
             [&](BOOL answer) {
               EXPECT_TRUE(answer);
               EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
               EXPECT_THAT(Engine(L"Lamp").requested, ::testing::ElementsAre(1));
             });
}

TEST_F(ReentrantEnginesInChangeTest, MayRequestAnotherChange) {
  AtEachCall(
      [this] {
        WriteDefaults(false);
        EXPECT_TRUE(selectMode(handle, kDock));
        EXPECT_TRUE(Request(1));
      },
      [&](BOOL answer) {
        EXPECT_TRUE(answer);
        // In the confirmation it comes before the change that is being confirmed, else in its
        // place.
        EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
        EXPECT_THAT(results, Each(VELTO_MODE_CHANGE_COMPLETED));
        EXPECT_LE(results.size(), 1U);
        static_cast<void>(traces.Take());
      });
}

/// The request fails where the handle was deleted before the change was handed on.
class ReentrantEnginesThatDeleteTest : public ReentrantEnginesInChangeTest {
 protected:
  void DeleteAtEachCall(const std::function<void()>& afterwards) {
    std::size_t failed = 0;
    AtEachCall(
        [&] {
          DeleteHandleInUse();
          afterwards();
        },
        [&](BOOL answer) {
          EXPECT_THAT(results, IsEmpty()) << "the change is dropped";
          EXPECT_EQ(ChangeModeWindow(), nullptr);
          if (answer == FALSE) ++failed;
          EXPECT_EQ(traces.Take(),
                    answer == FALSE
                        ? (Traces{{L"CModeChange::RequestToChangeMode", 924},
                                  {L"VeltoModeChange_RequestToSetINT32Information", 339, L"0, 0"},
                                  {L"VeltoModeChange_RequestToSetINT32Information", 341, L"1"}})
                        : Traces());
        });
    EXPECT_EQ(failed, kCallsInConfirmation);
  }

  // Lamp's, with two values.
  static constexpr std::size_t kCallsInConfirmation = 10;
};

TEST_F(ReentrantEnginesThatDeleteTest, MayDeleteTheHandle) {
  DeleteAtEachCall([] {});
}

TEST_F(ReentrantEnginesThatDeleteTest, MayDeleteTheHandleAndHandleMessages) {
  DeleteAtEachCall([] { PumpAll(); });
}

TEST_F(ReentrantEnginesInChangeTest, MayShowTheSettingsDialog) {
  AtEachCall([this] { EXPECT_TRUE(ShowAndCancelSettings(hostWindow)); },
             [&](BOOL answer) {
               EXPECT_TRUE(answer);
               EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
             },
             kLongWays);
}

TEST_F(ReentrantEnginesInChangeTest, ARequestInACallKeepsWhatIsRememberedOfTheDevice) {
  // Both modes set Lamp, and no mode was on: what Lamp had before either of them has to survive.
  SetDefault(L"Dock", L"Lamp", 1);
  for (std::size_t nth = 1; nth <= kCallsBeforeRequest; ++nth) {
    SCOPED_TRACE(testing::Message() << "in call " << nth);
    StartAnew(false);
    AtCall(nth, [this] {
      EXPECT_TRUE(selectMode(handle, kDock));
      EXPECT_TRUE(Request(1));
    });
    EXPECT_TRUE(Request(1));
    EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
    PumpAll();
    EXPECT_THAT(results, IsEmpty());
    EXPECT_THAT(Engine(L"Lamp").requested, ::testing::ElementsAre(1));
    EXPECT_TRUE(Request(0));
    EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
    EXPECT_EQ(Engine(L"Lamp").current, 0);
    ExpectAllClosed();
  }
}

// --- In the settings dialog ----------------------------------------------------------------------

class ReentrantEnginesInSettingsTest : public ReentrantEnginesTest {
 protected:
  /// Opens the settings dialog once for each call of Lamp, which then does something. A dialog
  /// that comes up nevertheless is cancelled.
  void AtEachCall(const std::function<void()>& act, const std::function<void(BOOL)>& check,
                  std::size_t stride = 1) {
    for (std::size_t nth = 1;; nth += stride) {
      SCOPED_TRACE(testing::Message() << "in call " << nth);
      StartAnew(false);
      owner = MakeOwner();
      AtCall(nth, act);
      const BOOL answer = ShowAndCancelSettings(owner);
      ::DestroyWindow(owner);
      PumpAll();
      if (!wasCalled) {
        EXPECT_GT(nth, 15U) << "both in the list and in its row";
        EXPECT_TRUE(answer);
        break;
      }
      check(answer);
      ExpectAllClosed();
      if (HasFailure()) break;
    }
    ExpectWorks();
  }

  HWND owner = nullptr;
};

TEST_F(ReentrantEnginesInSettingsTest, MayAskTheLibraryAnything) {
  AtEachCall([this] { AskEverything(); }, [](BOOL answer) { EXPECT_TRUE(answer); });
}

TEST_F(ReentrantEnginesInSettingsTest, MayHandleMessages) {
  AtEachCall([] { PumpAll(); }, [](BOOL answer) { EXPECT_TRUE(answer); });
}

TEST_F(ReentrantEnginesInSettingsTest, MayChangeAModeMeanwhile) {
  AtEachCall(
      [this] {
        EXPECT_TRUE(Request(1));
        EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
      },
      [&](BOOL answer) {
        EXPECT_TRUE(answer);
        EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 1);
      });
}

TEST_F(ReentrantEnginesInSettingsTest, MayDeleteTheHandle) {
  AtEachCall(
      [this] {
        DeleteHandleInUse();
        PumpAll();
      },
      [&](BOOL answer) {
        EXPECT_TRUE(answer) << "the dialog does not need it any more";
        EXPECT_EQ(ChangeModeWindow(), nullptr);
      });
}

TEST_F(ReentrantEnginesInSettingsTest, MayShowAnotherSettingsDialog) {
  AtEachCall([this] { EXPECT_TRUE(ShowAndCancelSettings(hostWindow)); },
             [](BOOL answer) { EXPECT_TRUE(answer); }, kLongWays);
}

TEST_F(ReentrantEnginesInSettingsTest, MayCloseTheDialogThatIsBeingMade) {
  AtEachCall(
      [] {
        ::PostMessageW(FindFrame(), WM_CLOSE, 0, 0);
        PumpAll();
      },
      [](BOOL answer) { EXPECT_TRUE(answer); });
}

TEST_F(ReentrantEnginesInSettingsTest, MaySendTheDialogThatIsBeingMadeItsCloseCommand) {
  AtEachCall([] { ::SendMessageW(FindFrame(), WM_CLOSE, 0, 0); },
             [](BOOL answer) { EXPECT_TRUE(answer); });
}

TEST_F(ReentrantEnginesInSettingsTest, MayPressAnyButtonOfTheDialogThatIsBeingMade) {
  for (const int button : {IDC_OK_BUTTON, IDC_APPLY_BUTTON, IDC_CANCEL_BUTTON}) {
    SCOPED_TRACE(button);
    AtEachCall(
        [button] { ::SendMessageW(FindFrame(), WM_COMMAND, static_cast<WPARAM>(button), 0); },
        [&](BOOL answer) {
          EXPECT_TRUE(answer);
          EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Settings.ini")))
              << "nothing is saved before there is anything to save";
        });
  }
}

TEST_F(ReentrantEnginesInSettingsTest, MayDestroyTheOwner) {
  AtEachCall([this] { ::DestroyWindow(owner); },
             [this](BOOL) { static_cast<void>(traces.Take()); });
}

TEST_F(ReentrantEnginesInSettingsTest, MayHandleMessagesAfterAnErrorWasReported) {
  AtEachCall(
      [] {
        ::PostMessageW(FindFrame(), WM_MODESETTINGS_ERROR, 100, 0);
        PumpAll();
      },
      [this](BOOL answer) {
        EXPECT_FALSE(answer);
        EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::ShowSettingsDialog", 468, L"100"},
                                         {L"VeltoModeChange_ShowSettingsDialog", 382}}));
      });
}

}  // namespace
