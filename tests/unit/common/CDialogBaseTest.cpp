#include "common/dialog/CDialogBase.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>
#include <vector>

#include "common/CWideString.h"
#include "resources/ControlIds.h"
#include "support/ModeChangeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr WORD kTemplate = IDD_ANNOUNCE_MODE_IS_CHANGED;
constexpr WORD kNoTemplate = 999;
constexpr UINT kFirst = WM_APP + 100;
constexpr UINT kSecond = WM_APP + 101;

/// What happened to a dialog; it outlives the dialog.
struct History {
  std::vector<UINT> messages;  // all of them
  std::vector<UINT> failed;
  bool isDestroyed = false;

  [[nodiscard]] bool Has(UINT message) const {
    return std::find(messages.begin(), messages.end(), message) != messages.end();
  }
};

/// A dialog that does what a test says and answers FALSE to everything else.
class TestDialog final : public CDialogBase {
 public:
  using Handler = std::function<INT_PTR(UINT message, WPARAM wParam, LPARAM lParam)>;

  explicit TestDialog(History* history) : history(history) {}
  ~TestDialog() { history->isDestroyed = true; }

  using CDialogBase::CloseLater;
  using CDialogBase::Handled;

  Handler handler;
  std::function<void()> onFailed;

 private:
  INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
    EXPECT_FALSE(history->isDestroyed);
    history->messages.push_back(message);
    // A copy: the handler may destroy this object.
    const Handler run = handler;
    return run ? run(message, wParam, lParam) : FALSE;
  }
  void OnHandlerFailed(UINT message) noexcept override {
    history->failed.push_back(message);
    const std::function<void()> run = onFailed;
    if (run) run();
  }

  History* history;
};

class CDialogBaseTest : public ModeChangeTest {
 protected:
  /// Makes the dialog as a window of its own and takes messages for one of its handlers.
  HWND Create() {
    EXPECT_TRUE(dialog->Create(kTemplate, nullptr));
    EXPECT_NE(dialog->Window(), nullptr);
    return dialog->Window();
  }
  void On(UINT handled, std::function<INT_PTR()> run) {
    dialog->handler = [handled, run = std::move(run)](UINT message, WPARAM, LPARAM) {
      return message == handled ? run() : FALSE;
    };
  }
  /// A modal dialog that does something in its loop and ends then.
  void InTheModalLoop(std::function<void()> run) {
    dialog->handler = [this, run = std::move(run)](UINT message, WPARAM, LPARAM) -> INT_PTR {
      if (message == WM_INITDIALOG) ::PostMessageW(dialog->Window(), kFirst, 0, 0);
      if (message == kFirst) {
        run();
        ::EndDialog(dialog->Window(), 7);
      }
      return FALSE;
    };
  }

  History history;
  std::optional<TestDialog> dialog{std::in_place, &history};
};

// --- Attaching and detaching ---------------------------------------------------------------------

TEST_F(CDialogBaseTest, HasNoWindowAtFirst) {
  EXPECT_EQ(dialog->Window(), nullptr);
  dialog.reset();
  EXPECT_EQ(interposition.Count("DestroyWindow"), 0U);
}

TEST_F(CDialogBaseTest, IsNotToldToCloseWithoutAWindow) {
  dialog->CloseLater();
  EXPECT_EQ(interposition.Count("PostMessageW") + interposition.Count("SendMessageW"), 0U);
}

TEST_F(CDialogBaseTest, RunsAModalDialogUntilItEnds) {
  HWND window = nullptr;
  InTheModalLoop([&] { window = dialog->Window(); });
  EXPECT_TRUE(dialog->RunModal(kTemplate, nullptr));
  EXPECT_NE(window, nullptr);
  EXPECT_EQ(::IsWindow(window), FALSE);
  EXPECT_EQ(dialog->Window(), nullptr);
}

TEST_F(CDialogBaseTest, HandlesMessagesFromTheFirstOneToTheLast) {
  std::vector<bool> hadWindow;
  dialog->handler = [&](UINT message, WPARAM, LPARAM) {
    if (message == WM_INITDIALOG || message == WM_NCDESTROY) {
      hadWindow.push_back(dialog->Window() != nullptr);
    }
    return FALSE;
  };
  ::DestroyWindow(Create());
  ASSERT_FALSE(history.messages.empty());
  EXPECT_EQ(history.messages.front(), static_cast<UINT>(WM_INITDIALOG));
  EXPECT_EQ(history.messages.back(), static_cast<UINT>(WM_NCDESTROY));
  EXPECT_THAT(hadWindow, ElementsAre(true, true));
  EXPECT_EQ(dialog->Window(), nullptr);
}

TEST_F(CDialogBaseTest, PassesArgumentsOn) {
  std::vector<std::uint64_t> arguments;
  dialog->handler = [&](UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kFirst) arguments = {wParam, static_cast<std::uint64_t>(lParam)};
    return FALSE;
  };
  ::SendMessageW(Create(), kFirst, 0x123456789ABCDEF0, -1);
  EXPECT_THAT(arguments, ElementsAre(0x123456789ABCDEF0U, ~std::uint64_t{0}));
}

TEST_F(CDialogBaseTest, AnswersWithTheResultOfAHandledMessage) {
  On(kFirst, [this] { return dialog->Handled(0x123456789); });
  const HWND window = Create();
  EXPECT_EQ(::SendMessageW(window, kFirst, 0, 0), 0x123456789);
  EXPECT_EQ(::SendMessageW(window, kSecond, 0, 0), 0) << "Not handled.";
  On(kFirst, [this] { return dialog->Handled(); });
  EXPECT_EQ(::SendMessageW(window, kFirst, 0, 0), 0);
}

TEST_F(CDialogBaseTest, LeavesTheRestToWindows) {
  const HWND window = Create();
  ::SetWindowTextW(window, L"Left to Windows");
  wchar_t text[32] = {};
  ::GetWindowTextW(window, text, 32);
  EXPECT_STREQ(text, L"Left to Windows");
  EXPECT_TRUE(history.Has(WM_SETTEXT));
}

TEST_F(CDialogBaseTest, CanBeUsedAgain) {
  InTheModalLoop([] {});
  EXPECT_TRUE(dialog->RunModal(kTemplate, nullptr));
  EXPECT_TRUE(dialog->RunModal(kTemplate, nullptr));
  dialog->handler = nullptr;
  for (int round = 0; round < 2; ++round) {
    const HWND window = Create();
    ::DestroyWindow(window);
    EXPECT_EQ(dialog->Window(), nullptr);
  }
}

TEST_F(CDialogBaseTest, GivesItsMemoryBack) {
  for (int round = 0; round < 3; ++round) {
    interposition.ClearCalls();
    ::DestroyWindow(Create());
    EXPECT_GT(interposition.Count("malloc"), 0U);
    EXPECT_EQ(interposition.Count("malloc"), interposition.Count("free"));
  }
  interposition.ClearCalls();
  EXPECT_FALSE(dialog->Create(kNoTemplate, nullptr));
  EXPECT_EQ(interposition.Count("malloc"), interposition.Count("free"));
}

TEST_F(CDialogBaseTest, MayEndBeforeItIsShown) {
  On(WM_INITDIALOG, [this] {
    ::EndDialog(dialog->Window(), 0);
    return TRUE;
  });
  EXPECT_TRUE(dialog->RunModal(kTemplate, nullptr)) << "It did come up.";
  EXPECT_EQ(dialog->Window(), nullptr);
}

// --- Who goes first ------------------------------------------------------------------------------

TEST_F(CDialogBaseTest, AHandlerMayDestroyItsWindow) {
  HWND inside = nullptr;
  const HWND window = Create();
  On(kFirst, [&] {
    ::DestroyWindow(dialog->Window());
    inside = dialog->Window();
    return dialog->Handled(1);
  });
  ::SendMessageW(window, kFirst, 0, 0);
  EXPECT_EQ(inside, nullptr) << "Known at once.";
  EXPECT_EQ(::IsWindow(window), FALSE);
  EXPECT_EQ(history.messages.back(), static_cast<UINT>(WM_NCDESTROY));
}

TEST_F(CDialogBaseTest, AHandlerMayDestroyItsWindowWhileTheDialogIsMade) {
  On(WM_INITDIALOG, [this] {
    ::DestroyWindow(dialog->Window());
    return TRUE;
  });
  // Systems differ in whether they call that made; Window() tells.
  static_cast<void>(dialog->Create(kTemplate, nullptr));
  EXPECT_EQ(dialog->Window(), nullptr);
  EXPECT_EQ(history.messages.back(), static_cast<UINT>(WM_NCDESTROY));
}

TEST_F(CDialogBaseTest, AHandlerMayDestroyItsObject) {
  const HWND window = Create();
  On(kFirst, [this] {
    dialog.reset();
    return TRUE;
  });
  ::SendMessageW(window, kFirst, 0, 0);
  EXPECT_TRUE(history.isDestroyed);
  EXPECT_EQ(::IsWindow(window), FALSE) << "The window goes with the object.";
}

TEST_F(CDialogBaseTest, AHandlerMayDestroyItsObjectWhileTheDialogIsMade) {
  TestDialog& made = *dialog;
  HWND window = nullptr;
  On(WM_INITDIALOG, [&] {
    window = dialog->Window();
    dialog.reset();
    return TRUE;
  });
  static_cast<void>(made.Create(kTemplate, nullptr));
  EXPECT_TRUE(history.isDestroyed);
  EXPECT_NE(window, nullptr);
  EXPECT_EQ(::IsWindow(window), FALSE);
}

TEST_F(CDialogBaseTest, AnObjectTakesItsWindowAlongAndHearsNoMore) {
  const HWND window = Create();
  history.messages.clear();
  dialog.reset();
  EXPECT_EQ(::IsWindow(window), FALSE);
  EXPECT_THAT(history.messages, IsEmpty()) << "Half an object must not handle messages.";
}

TEST_F(CDialogBaseTest, AnObjectMayGoInsideItsModalLoop) {
  TestDialog& run = *dialog;
  On(WM_INITDIALOG, [this] {
    ::PostMessageW(dialog->Window(), kFirst, 0, 0);
    dialog->handler = [this](UINT message, WPARAM, LPARAM) {
      if (message == kFirst) dialog.reset();
      return FALSE;
    };
    return TRUE;
  });
  EXPECT_TRUE(run.RunModal(kTemplate, nullptr));
  EXPECT_TRUE(history.isDestroyed);
}

TEST_F(CDialogBaseTest, AHandlerMayRunAnotherDialog) {
  const HWND window = Create();
  History innerHistory;
  TestDialog inner(&innerHistory);
  std::vector<LRESULT> answers;
  inner.handler = [&](UINT message, WPARAM, LPARAM) -> INT_PTR {
    if (message == WM_INITDIALOG) ::PostMessageW(inner.Window(), kSecond, 0, 0);
    if (message == kSecond) {
      // The outer dialog works while its handler runs.
      answers.push_back(::SendMessageW(window, kSecond, 0, 0));
      ::EndDialog(inner.Window(), 0);
    }
    return FALSE;
  };
  dialog->handler = [&](UINT message, WPARAM, LPARAM) -> INT_PTR {
    if (message == kSecond) return dialog->Handled(2);
    if (message != kFirst) return FALSE;
    EXPECT_TRUE(inner.RunModal(kTemplate, nullptr));
    return dialog->Handled(1);
  };
  EXPECT_EQ(::SendMessageW(window, kFirst, 0, 0), 1);
  EXPECT_THAT(answers, ElementsAre(2));
  EXPECT_EQ(dialog->Window(), window);
}

TEST_F(CDialogBaseTest, ItsObjectMayGoWhileAHandlerRunsAnotherDialog) {
  const HWND window = Create();
  History innerHistory;
  TestDialog inner(&innerHistory);
  inner.handler = [&](UINT message, WPARAM, LPARAM) -> INT_PTR {
    if (message == WM_INITDIALOG) ::PostMessageW(inner.Window(), kSecond, 0, 0);
    if (message == kSecond) {
      dialog.reset();
      ::EndDialog(inner.Window(), 0);
    }
    return FALSE;
  };
  On(kFirst, [&] {
    EXPECT_TRUE(inner.RunModal(kTemplate, nullptr));
    return TRUE;
  });
  ::SendMessageW(window, kFirst, 0, 0);
  EXPECT_TRUE(history.isDestroyed);
  EXPECT_EQ(::IsWindow(window), FALSE);
}

TEST_F(CDialogBaseTest, ItsWindowMayGoWhileAHandlerRunsAnotherDialog) {
  const HWND window = Create();
  History innerHistory;
  TestDialog inner(&innerHistory);
  inner.handler = [&](UINT message, WPARAM, LPARAM) -> INT_PTR {
    if (message == WM_INITDIALOG) ::PostMessageW(inner.Window(), kSecond, 0, 0);
    if (message == kSecond) {
      ::DestroyWindow(window);
      ::EndDialog(inner.Window(), 0);
    }
    return FALSE;
  };
  On(kFirst, [&] {
    EXPECT_TRUE(inner.RunModal(kTemplate, nullptr));
    EXPECT_EQ(dialog->Window(), nullptr);
    return dialog->Handled(1);
  });
  ::SendMessageW(window, kFirst, 0, 0);
  EXPECT_FALSE(history.isDestroyed);
}

TEST_F(CDialogBaseTest, IsMadeOnce) {
  const HWND window = Create();
  history.messages.clear();
  // Anybody may send this message, with anything in it.
  for (const LPARAM parameter : {LPARAM{0}, LPARAM{1}, reinterpret_cast<LPARAM>(&history)}) {
    EXPECT_EQ(::SendMessageW(window, WM_INITDIALOG, 0, parameter), FALSE);
  }
  EXPECT_THAT(history.messages, IsEmpty());
  ::SendMessageW(window, kFirst, 0, 0);
  EXPECT_THAT(history.messages, ElementsAre(kFirst)) << "The dialog goes on.";
}

// --- Handlers that fail --------------------------------------------------------------------------

TEST_F(CDialogBaseTest, ReportsAHandlerThatRunsOutOfMemory) {
  const HWND window = Create();
  On(kFirst, [this] {
    interposition.Fail("malloc", {});
    const CWideString text(L"does not fit");
    return text.empty() ? FALSE : TRUE;
  });
  ::SendMessageW(window, kFirst, 0, 0);
  EXPECT_THAT(history.failed, ElementsAre(kFirst));
  EXPECT_EQ(dialog->Window(), window) << "The dialog goes on.";
  ::SendMessageW(window, kSecond, 0, 0);
  EXPECT_EQ(history.messages.back(), kSecond);
  EXPECT_THAT(history.failed, ElementsAre(kFirst));
}

TEST_F(CDialogBaseTest, ReportsAnyExceptionAndTakesTheMessageAsHandled) {
  const HWND window = Create();
  ::SetWindowTextW(window, L"Before");
  On(WM_SETTEXT, []() -> INT_PTR { throw std::out_of_range("a list"); });
  ::SetWindowTextW(window, L"After");
  EXPECT_THAT(history.failed, ElementsAre(static_cast<UINT>(WM_SETTEXT)));
  dialog->handler = nullptr;
  wchar_t text[16] = {};
  ::GetWindowTextW(window, text, 16);
  EXPECT_STREQ(text, L"Before") << "Windows does not do what was to be handled.";
}

TEST_F(CDialogBaseTest, ReportsAFailureWhileTheDialogIsMade) {
  On(WM_INITDIALOG, []() -> INT_PTR { throw std::bad_alloc(); });
  dialog->onFailed = [this] { ::EndDialog(dialog->Window(), 0); };
  EXPECT_TRUE(dialog->RunModal(kTemplate, nullptr));
  EXPECT_THAT(history.failed, ElementsAre(static_cast<UINT>(WM_INITDIALOG)));
}

TEST_F(CDialogBaseTest, TellsNobodyOfAFailureWhereTheObjectIsGone) {
  const HWND window = Create();
  On(kFirst, [this]() -> INT_PTR {
    dialog.reset();
    throw std::bad_alloc();
  });
  ::SendMessageW(window, kFirst, 0, 0);
  EXPECT_THAT(history.failed, IsEmpty());
}

TEST_F(CDialogBaseTest, TellsNobodyOfAFailureWhereTheWindowIsGone) {
  const HWND window = Create();
  On(kFirst, [this]() -> INT_PTR {
    ::DestroyWindow(dialog->Window());
    throw std::bad_alloc();
  });
  ::SendMessageW(window, kFirst, 0, 0);
  EXPECT_THAT(history.failed, IsEmpty());
  EXPECT_EQ(dialog->Window(), nullptr);
}

TEST_F(CDialogBaseTest, DetachesAlsoWhereTheLastHandlerFails) {
  On(WM_NCDESTROY, []() -> INT_PTR { throw std::bad_alloc(); });
  ::DestroyWindow(Create());
  EXPECT_THAT(history.failed, ElementsAre(static_cast<UINT>(WM_NCDESTROY)));
  EXPECT_EQ(dialog->Window(), nullptr);
}

TEST_F(CDialogBaseTest, AFailureMayDestroyTheObject) {
  const HWND window = Create();
  On(kFirst, []() -> INT_PTR { throw std::bad_alloc(); });
  dialog->onFailed = [this] { dialog.reset(); };
  ::SendMessageW(window, kFirst, 0, 0);
  EXPECT_TRUE(history.isDestroyed);
  EXPECT_EQ(::IsWindow(window), FALSE);
}

// --- Dialogs that don't come up ------------------------------------------------------------------

TEST_F(CDialogBaseTest, ShowsNothingWithoutMemoryForTheBinding) {
  interposition.Fail("malloc", {});
  ::SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(dialog->RunModal(kTemplate, nullptr));
  EXPECT_EQ(::GetLastError(), 14U);

  interposition.Fail("malloc", {});
  ::SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(dialog->Create(kTemplate, nullptr));
  EXPECT_EQ(::GetLastError(), 14U);

  EXPECT_EQ(interposition.Count("DialogBoxParamW"), 0U);
  EXPECT_EQ(interposition.Count("CreateDialogParamW"), 0U);
  EXPECT_THAT(history.messages, IsEmpty());
  EXPECT_NE(Create(), nullptr) << "With memory it works again.";
}

TEST_F(CDialogBaseTest, FailsWithoutATemplate) {
  ::SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(dialog->RunModal(kNoTemplate, nullptr));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_RESOURCE_NAME_NOT_FOUND));
  ::SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(dialog->Create(kNoTemplate, nullptr));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_RESOURCE_NAME_NOT_FOUND));
  EXPECT_THAT(history.messages, IsEmpty());
  EXPECT_EQ(dialog->Window(), nullptr);
}

TEST_F(CDialogBaseTest, FailsWithAnOwnerThatIsGone) {
  History ownerHistory;
  TestDialog owner(&ownerHistory);
  ASSERT_TRUE(owner.Create(kTemplate, nullptr));
  const HWND gone = owner.Window();
  ::DestroyWindow(gone);

  ::SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(dialog->RunModal(kTemplate, gone));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
  ::SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(dialog->Create(kTemplate, gone));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
  EXPECT_THAT(history.messages, IsEmpty());
}

TEST_F(CDialogBaseTest, TakesTemplatesFromTheLibrary) {
  ::DestroyWindow(Create());
  InTheModalLoop([] {});
  EXPECT_TRUE(dialog->RunModal(kTemplate, nullptr));
  for (const char* function : {"CreateDialogParamW", "DialogBoxParamW"}) {
    const Call call = interposition.CallsOf(function).front();
    EXPECT_EQ(reinterpret_cast<HMODULE>(call.arguments[0]), library.Module()) << function;
    EXPECT_EQ(call.arguments[1], kTemplate) << function;
  }
}

}  // namespace
