#include "resources/ControlIds.h"
#include "settings/LockSettingItemRequest.h"
#include "unit/settings/SettingItemListFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

/// One line of the list locks others.
class CModeSettingItemListLockTest : public SettingItemListTest {
 protected:
  CModeSettingItemListLockTest() { groups = {{L"Screen", {L"A", L"B"}}, {L"Power", {L"C", L"D"}}}; }
  /// Shows a mode in which every item is "zero".
  void OpenAtZero() {
    for (const wchar_t* item : {L"A", L"B", L"C", L"D"}) SetDefault(L"Eco", item, 0);
    OpenMachine();
    ASSERT_TRUE(list->SelectMode(L"Eco"));
    interposition.ClearCalls();
  }
  struct Sent {
    HWND sender = nullptr;
    ULONG_PTR kind = 1;
    DWORD size = 64;
  };
  LRESULT Request(const LockSettingItemRequest& request, const Sent& sent) const {
    COPYDATASTRUCT data{sent.kind, sent.size, const_cast<LockSettingItemRequest*>(&request)};
    return Send(WM_COPYDATA, reinterpret_cast<WPARAM>(sent.sender),
                reinterpret_cast<LPARAM>(&data));
  }
  [[nodiscard]] Sent From(const std::wstring& item) const { return {.sender = LineOf(item)}; }
  static LockSettingItemRequest Lock(const std::vector<CWideString>& names,
                                     const std::vector<std::uint32_t>& values) {
    return {.lock = true,
            .lockingItemName = L"A",
            .lockedItemNames = names,
            .lockedItemValues = values};
  }
  [[nodiscard]] std::vector<std::string> AllShown() const {
    return {Shown(L"A"), Shown(L"B"), Shown(L"C"), Shown(L"D")};
  }
};

// --- From one row to another ---------------------------------------------------------------------

TEST_F(CModeSettingItemListLockTest, ChoosingTheLockValueLocksAtOnce) {
  AddLockRule(L"A", 1, {{L"B", 1}, {L"D", -1}});
  OpenAtZero();
  EXPECT_THAT(AllShown(), ElementsAre("zero", "zero", "zero", "zero"));
  Click(L"A", IDC_SECOND_VALUE);
  EXPECT_THAT(AllShown(),
              ElementsAre("one", "locked: one(by A)", "zero", "locked: do nothing(by A)"));
  Click(L"A", IDC_FIRST_VALUE);
  EXPECT_THAT(AllShown(), ElementsAre("zero", "one", "zero", "left alone"))
      << "Items that are released keep the value.";
}

TEST_F(CModeSettingItemListLockTest, LocksBeforeTheLineGoesOn) {
  AddLockRule(L"A", 1, {{L"B", 1}});
  OpenAtZero();
  std::string shownWhenSent;
  interposition.Observe("SendMessageW", [&](const Call& call) {
    if (call.arguments[1] == WM_COPYDATA) shownWhenSent = Shown(L"B");
  });
  Click(L"A", IDC_SECOND_VALUE);
  EXPECT_EQ(shownWhenSent, "locked: one(by A)");
}

TEST_F(CModeSettingItemListLockTest, SendsItselfTheMessageThatLocks) {
  AddLockRule(L"A", 1, {{L"B", 1}});
  OpenAtZero();
  Click(L"A", IDC_SECOND_VALUE);
  std::vector<std::vector<std::uint64_t>> sent;
  for (const Call& call : interposition.CallsOf("SendMessageW")) {
    if (call.arguments[1] == WM_MODESETTINGS_LOCKSETTINGITEM) sent.push_back(call.arguments);
  }
  EXPECT_THAT(sent,
              ElementsAre(ElementsAre(reinterpret_cast<std::uint64_t>(List()), 0x844CU, 0U, 0U)));
}

TEST_F(CModeSettingItemListLockTest, FindsItemsWhateverTheirCase) {
  AddLockRule(L"A", 1, {{L"b", 1}});
  OpenAtZero();
  Click(L"A", IDC_SECOND_VALUE);
  EXPECT_EQ(Shown(L"B"), "locked: one(by A)");
}

TEST_F(CModeSettingItemListLockTest, PassesOverItemsThatAreNotInTheList) {
  AddLockRule(L"A", 1, {{L"Unknown", 1}, {L"B", 1}, {L"", 1}});
  OpenAtZero();
  Click(L"A", IDC_SECOND_VALUE);
  EXPECT_EQ(Shown(L"B"), "locked: one(by A)");
  EXPECT_THAT(Posted(), Not(::testing::Contains(kError)));
}

TEST_F(CModeSettingItemListLockTest, PassesOverItemsThatTheMachineCannotUse) {
  AddLockRule(L"A", 1, {{L"B", 1}, {L"C", 1}});
  SetDefault(L"Eco", L"A", 0);
  MakeMachine();
  Engine(L"B").devices = 0;
  Open();
  ASSERT_TRUE(list->SelectMode(L"Eco"));
  Click(L"A", IDC_SECOND_VALUE);
  EXPECT_EQ(Shown(L"C"), "locked: one(by A)");
}

TEST_F(CModeSettingItemListLockTest, LocksTheFirstLineOfANameThatOccursTwice) {
  groups = {{L"Screen", {L"A", L"B"}}, {L"Power", {L"B"}}};
  AddLockRule(L"A", 1, {{L"B", 1}});
  SetDefault(L"Eco", L"A", 0);
  SetDefault(L"Eco", L"B", 0);
  OpenMachine();
  ASSERT_TRUE(list->SelectMode(L"Eco"));
  Click(L"A", IDC_SECOND_VALUE);
  const auto isLocked = [this](std::size_t line) {
    return HasVisibleBit(::GetDlgItem(Lines().at(line), IDC_LOCKED_VALUE_MEMO));
  };
  EXPECT_TRUE(isLocked(1));
  EXPECT_FALSE(isLocked(2));
}

TEST_F(CModeSettingItemListLockTest, ALineMayLockItself) {
  AddLockRule(L"A", 1, {{L"A", 1}});
  OpenAtZero();
  Click(L"A", IDC_SECOND_VALUE);
  EXPECT_EQ(Shown(L"A"), "locked: one(by A)");
}

TEST_F(CModeSettingItemListLockTest, ALockedLineLocksNobody) {
  AddLockRule(L"A", 1, {{L"B", 1}});
  AddLockRule(L"B", 1, {{L"C", 1}});
  OpenAtZero();
  Click(L"A", IDC_SECOND_VALUE);
  EXPECT_THAT(AllShown(), ElementsAre("one", "locked: one(by A)", "zero", "zero"));
}

TEST_F(CModeSettingItemListLockTest, ReportsALineThatCannotBeLocked) {
  // The value 5 is none of B's.
  AddLockRule(L"A", 1, {{L"B", 5}, {L"C", 1}});
  OpenAtZero();
  Click(L"A", IDC_SECOND_VALUE);
  EXPECT_THAT(Posted(), ElementsAre(kError, kChanged));
  EXPECT_EQ(Shown(L"C"), "zero") << "The request ends there.";
  ExpectListTraces({In(L"OnLockSettingItem", 149)});
}

TEST_F(CModeSettingItemListLockTest, ReportsMemoryThatRunsOut) {
  AddLockRule(L"A", 1, {{L"B", 1}});
  OpenAtZero();
  const auto original = interposition.Original<decltype(&::SendMessageW)>("SendMessageW");
  interposition.Replace("SendMessageW",
                        [this, original](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
                          if (message == WM_COPYDATA) interposition.Fail("malloc", {});
                          const LRESULT result = original(window, message, wParam, lParam);
                          interposition.StopFailing();
                          return result;
                        });
  Click(L"A", IDC_SECOND_VALUE);
  ExpectListTraces({In(L"OnHandlerFailed", 84)});
  EXPECT_THAT(Posted(), ElementsAre(kError, kChanged));
  EXPECT_EQ(Shown(L"B"), "zero");
}

// --- Requests of all sorts -----------------------------------------------------------------------

TEST_F(CModeSettingItemListLockTest, TakesARequestOfALine) {
  OpenAtZero();
  EXPECT_EQ(Request(Lock({L"B", L"C"}, {1, 0}), From(L"D")), 0);
  EXPECT_THAT(AllShown(), ElementsAre("zero", "locked: one(by A)", "locked: zero(by A)", "zero"));
  LockSettingItemRequest release = Lock({L"B", L"C"}, {1, 0});
  release.lock = false;
  EXPECT_EQ(Request(release, From(L"D")), 0);
  EXPECT_THAT(AllShown(), ElementsAre("zero", "one", "zero", "zero"));
  EXPECT_THAT(Posted(), IsEmpty());
}

TEST_F(CModeSettingItemListLockTest, CopiesTheRequest) {
  OpenAtZero();
  {
    const LockSettingItemRequest request = Lock({L"B"}, {1});
    Request(request, From(L"A"));
    EXPECT_EQ(request.lockedItemNames.size(), 1U);
    EXPECT_STREQ(request.lockedItemNames[0].c_str(), L"B");
  }
  EXPECT_EQ(Shown(L"B"), "locked: one(by A)");
}

TEST_F(CModeSettingItemListLockTest, IgnoresWhatIsNoRequestOfALine) {
  OpenAtZero();
  const LockSettingItemRequest request = Lock({L"B"}, {1});
  const HWND line = LineOf(L"A");
  const HWND none = nullptr;
  struct Case {
    const char* what;
    Sent sent;
  };
  const Case cases[] = {
      {"of another kind", {.sender = line, .kind = 0}},
      {"of another kind", {.sender = line, .kind = 2}},
      {"too short", {.sender = line, .size = 63}},
      {"too long", {.sender = line, .size = 65}},
      {"empty", {.sender = line, .size = 0}},
      {"from nobody", {.sender = none}},
      {"from the parent", {.sender = parent.Window()}},
      {"from the list", {.sender = List()}},
      {"from a group title", {.sender = Titles()[0]}},
      {"from a control of a line", {.sender = ::GetDlgItem(line, IDC_SETTING_ITEM)}},
      {"from the desktop", {.sender = ::GetDesktopWindow()}},
  };
  for (const Case& ignored : cases) {
    SCOPED_TRACE(ignored.what);
    EXPECT_EQ(Request(request, ignored.sent), 0);
    EXPECT_EQ(Shown(L"B"), "zero");
  }
  EXPECT_EQ(Send(WM_COPYDATA, reinterpret_cast<WPARAM>(line), 0), 0) << "no record at all";
  COPYDATASTRUCT noData{LockSettingItemRequest::kCopyDataId, 64, nullptr};
  EXPECT_EQ(Send(WM_COPYDATA, reinterpret_cast<WPARAM>(line), reinterpret_cast<LPARAM>(&noData)),
            0);
  EXPECT_EQ(interposition.Count("SendMessageW"), 0U);
  EXPECT_THAT(Posted(), IsEmpty());
}

TEST_F(CModeSettingItemListLockTest, IgnoresALineOfAnotherList) {
  OpenAtZero();
  CModeSettingItemList second;
  ASSERT_TRUE(second.Create(IDD_SETTING_ITEM_LIST, parent.Window()));
  HWND foreign = ::GetWindow(second.Window(), GW_CHILD);
  while (::GetDlgItem(foreign, IDC_SETTING_ITEM) == nullptr) {
    foreign = ::GetWindow(foreign, GW_HWNDNEXT);
  }
  EXPECT_EQ(Request(Lock({L"B"}, {1}), {.sender = foreign}), 0);
  EXPECT_EQ(Shown(L"B"), "zero");
}

/// Sends messages from another thread while this one handles them, as another process does it.
class CModeSettingItemListForeignThreadTest : public CModeSettingItemListLockTest {
 protected:
  struct Job {
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    LRESULT result = -1;
  };
  static void SendFromElsewhere(Job* job) {
    const HANDLE thread = ::CreateThread(
        nullptr, 0,
        [](void* argument) -> DWORD {
          auto* sent = static_cast<Job*>(argument);
          sent->result = ::SendMessageW(sent->window, sent->message, sent->wParam, sent->lParam);
          return 0;
        },
        job, 0, nullptr);
    while (::MsgWaitForMultipleObjects(1, &thread, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) {
      PumpAll();
    }
    ::CloseHandle(thread);
    PumpAll();
  }
};

TEST_F(CModeSettingItemListForeignThreadTest, IgnoresARequestFromAnotherThread) {
  OpenAtZero();
  LockSettingItemRequest request = Lock({L"B"}, {1});
  COPYDATASTRUCT data{LockSettingItemRequest::kCopyDataId, sizeof(request), &request};
  Job job{List(), WM_COPYDATA, reinterpret_cast<WPARAM>(LineOf(L"A")),
          reinterpret_cast<LPARAM>(&data)};
  SendFromElsewhere(&job);
  EXPECT_EQ(job.result, 0);
  EXPECT_EQ(Shown(L"B"), "zero") << "Its pointers may mean nothing here.";
}

TEST_F(CModeSettingItemListForeignThreadTest, LocksWhereAnotherThreadPressesTheButton) {
  AddLockRule(L"A", 1, {{L"B", 1}});
  OpenAtZero();
  Job job{Control(L"A", IDC_SECOND_VALUE), BM_CLICK, 0, 0};
  SendFromElsewhere(&job);
  EXPECT_EQ(Shown(L"A"), "one");
  EXPECT_EQ(Shown(L"B"), "locked: one(by A)") << "As a screen reader does it for its user.";
}

// --- The queue -----------------------------------------------------------------------------------

TEST_F(CModeSettingItemListLockTest, ReportsAnEmptyQueue) {
  OpenAtZero();
  EXPECT_EQ(Send(WM_MODESETTINGS_LOCKSETTINGITEM, 0, 0), 0);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnLockSettingItem", 137)}));
}

TEST_F(CModeSettingItemListLockTest, LeavesNoRequestBehind) {
  AddLockRule(L"A", 1, {{L"B", 1}});
  OpenAtZero();
  Click(L"A", IDC_SECOND_VALUE);
  static_cast<void>(Posted());
  Send(WM_MODESETTINGS_LOCKSETTINGITEM, 0, 0);
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnLockSettingItem", 137)}));
}

TEST_F(CModeSettingItemListLockTest, TakesARequestWhileAnotherIsApplied) {
  OpenAtZero();
  // When B gets its memo, a request for D comes in between.
  bool isNested = false;
  interposition.Observe("SetDlgItemTextW", [&](const Call& call) {
    if (call.arguments[1] != IDC_LOCKED_VALUE_MEMO || std::exchange(isNested, true)) return;
    Request(Lock({L"D", L"C"}, {1, 1}), From(L"C"));
    EXPECT_EQ(Shown(L"D"), "locked: one(by A)") << "It is applied before its sender goes on.";
  });
  Request(Lock({L"B", L"C"}, {1, 0}), From(L"A"));
  EXPECT_TRUE(isNested);
  EXPECT_THAT(AllShown(),
              ElementsAre("zero", "locked: one(by A)", "locked: zero(by A)", "locked: one(by A)"))
      << "The rest of the outer request comes last.";
  EXPECT_THAT(Posted(), IsEmpty());
}

TEST_F(CModeSettingItemListLockTest, AppliesRequestsInTheirOrder) {
  OpenAtZero();
  // What sends itself the second message finds the first request still queued: it is applied first.
  const auto original = interposition.Original<decltype(&::SendMessageW)>("SendMessageW");
  std::vector<std::string> shown;
  bool isHeld = false;
  interposition.Replace(
      "SendMessageW",
      [&, original](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (message == WM_MODESETTINGS_LOCKSETTINGITEM && !std::exchange(isHeld, true)) {
          Request(Lock({L"B"}, {0}), From(L"C"));
          shown.push_back(Shown(L"B"));
        }
        const LRESULT result = original(window, message, wParam, lParam);
        if (message == WM_MODESETTINGS_LOCKSETTINGITEM) shown.push_back(Shown(L"B"));
        return result;
      });
  Request(Lock({L"B"}, {1}), From(L"A"));
  EXPECT_THAT(shown, ElementsAre("locked: one(by A)", "locked: one(by A)", "locked: zero(by A)"));
}

}  // namespace
