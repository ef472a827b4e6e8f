#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "system/SettingsFixture.h"

namespace {

using ::testing::IsEmpty;

/// What the library took from the C runtime's heap and has not given back.
class MemoryBalance {
 public:
  explicit MemoryBalance(Interposition& interposition) {
    const auto take = interposition.Original<decltype(&std::malloc)>("malloc");
    interposition.Replace("malloc", [this, take](std::size_t size) {
      void* const block = take(size);
      Keep(block, size);
      return block;
    });
    const auto takeCleared = interposition.Original<decltype(&std::calloc)>("calloc");
    interposition.Replace("calloc", [this, takeCleared](std::size_t count, std::size_t size) {
      void* const block = takeCleared(count, size);
      Keep(block, count * size);
      return block;
    });
    const auto resize = interposition.Original<decltype(&std::realloc)>("realloc");
    interposition.Replace("realloc", [this, resize](void* old, std::size_t size) {
      sizes.erase(old);
      void* const block = resize(old, size);
      Keep(block, size);
      return block;
    });
    const auto give = interposition.Original<decltype(&std::free)>("free");
    interposition.Replace("free", [this, give](void* block) {
      sizes.erase(block);
      give(block);
      return 0;
    });
  }

  [[nodiscard]] std::size_t Blocks() const noexcept { return sizes.size(); }
  [[nodiscard]] std::size_t Bytes() const noexcept {
    std::size_t sum = 0;
    for (const auto& [block, size] : sizes) sum += size;
    return sum;
  }
  [[nodiscard]] std::size_t TakenEver() const noexcept { return takenEver; }

 private:
  void Keep(void* block, std::size_t size) {
    if (block == nullptr) return;
    sizes[block] = size;
    ++takenEver;
  }

  std::map<void*, std::size_t> sizes;
  std::size_t takenEver = 0;
};

/// The settings dialog of machines of any size, opened and closed again and again.
///
/// An item is of the kind that its number says: a pair of radio buttons, a list of three values, a
/// slider. Item 0 holds item 1.
class SettingsDialogBalanceTest : public SettingsTest {
 protected:
  SettingsDialogBalanceTest() : memory(interposition) {
    watchdog.SetPatience(110);
    // Millions of calls: what was taken and given back is counted as it happens.
    interposition.SetRecording(false);
    for (const Kind& kind : kKinds) {
      const auto path = sandbox.LibraryFolder() / L"Engines" / (std::wstring(kind.name) + L".dll");
      kindEngines.push_back(std::make_unique<ScriptedEngine>(path.wstring(), &log));
      ScriptedEngine& engine = *kindEngines.back();
      engine.values = kind.values;
      engine.itemKey = std::wstring(kind.name) + L"_Name";
      engine.valueKeyPrefix = std::wstring(kind.name) + L"_Value";
      SetText(L"SettingItem", engine.itemKey, kind.name);
      for (int value = 0; value < kind.values; ++value) {
        const std::wstring number = std::to_wstring(value);
        SetText(L"SettingItem", engine.valueKeyPrefix + number, L"value " + number);
      }
    }
    SetText(L"ModeSettingsDialog", L"LockedSettingItemMemo_ByItem0", L" (by item 0)");
    ObserveWindows();
    interposition.Observe("DeleteObject", [this](const Call& call) {
      if (call.result == FALSE) ++failedDeletions;
    });
    interposition.Observe("LoadIconW", [this](const Call& call) { icons.insert(call.result); });
    interposition.Observe("SetPropW", [this](const Call& call) { properties += call.result; });
    interposition.Observe("RemovePropW", [this](const Call& call) {
      if (call.result != 0) --properties;
    });
  }
  /// While there is still somebody to count what the handle gives back.
  ~SettingsDialogBalanceTest() override {
    if (handle != nullptr) Close();
  }

  void MakeMachine(int groups, int itemsPerGroup) {
    IniFile config;
    config.Section(L"ModeList").Key(L"ModeCount", 2).Key(L"Mode0", L"Quiet").Key(L"Mode1", L"Dock");
    config.Section(L"Dock").Key(L"IsCradleMode", 1);
    const int items = groups * itemsPerGroup;
    config.Section(L"SettingItemList").Key(L"SettingItemCount", items);
    for (int item = 0; item < items; ++item) config.Key(Numbered(L"SettingItem", item), Item(item));
    config.Section(L"SettingGroupList").Key(L"SettingGroupCount", groups);
    for (int group = 0; group < groups; ++group) {
      config.Key(Numbered(L"SettingGroup", group), Numbered(L"Group", group));
      SetText(L"SettingGroup", Numbered(L"Group", group), Numbered(L"Group ", group));
    }
    for (int group = 0; group < groups; ++group) {
      config.Section(Numbered(L"Group", group)).Key(L"SettingItemCount", itemsPerGroup);
      for (int i = 0; i < itemsPerGroup; ++i) {
        config.Key(Numbered(L"SettingItem", i), Item(group * itemsPerGroup + i));
      }
    }
    for (int item = 0; item < items; ++item) {
      const std::wstring engine = kKinds[static_cast<std::size_t>(item) % std::size(kKinds)].name;
      config.Section(Item(item)).Key(L"EnginePath", L"Engines\\" + engine + L".dll");
      if (item != 0) continue;
      config.Key(L"SettingItemValueToLockOtherSettingItem", 1)
          .Key(L"LockedOtherSettingItemCount", 1)
          .Key(L"LockedOtherSettingItem0", Item(1))
          .Key(L"LockedOtherSettingItemValue0", 2);
    }
    sandbox.Write(L"ModeChange.Config.ini", config);
  }

  /// Opens a handle and the dialog of a small machine: the first time takes what stays for good.
  void WarmUp() {
    MakeMachine(1, 3);
    SetDefault(L"Dock", Item(0), 0);
    SetDefault(L"Dock", Item(1), 1);
    SetDefault(L"Dock", Item(2), 3);
    Open();
    ASSERT_TRUE(selectMode(handle, kDock));
    ShowAnd([] { Click(Frame(), IDC_OK_BUTTON); });
    made.clear();
    interposition.ClearCalls();
    before = Now();
    takenBefore = memory.TakenEver();
  }

  /// Shows the dialog; `act` is the user's part and ends it.
  void ShowAnd(std::function<void()> act) {
    robot.Then(
        "settings dialog",
        [] {
          const HWND frame = Frame();
          return ::IsWindowEnabled(frame) != FALSE ? frame : nullptr;
        },
        [act = std::move(act)](HWND) { act(); });
    EXPECT_TRUE(showSettingsDialog(handle, hostWindow));
    PumpAll();
    log.clear();
  }

  [[nodiscard]] static std::vector<HWND> Lines() {
    std::vector<HWND> lines;
    for (HWND row = ::GetWindow(List(), GW_CHILD); row != nullptr;
         row = ::GetWindow(row, GW_HWNDNEXT)) {
      if (::GetDlgItem(row, IDC_SETTING_ITEM) != nullptr) lines.push_back(row);
    }
    return lines;
  }

  /// Fifty dialogs, each of which leaves everything as it was before the first.
  void ShowAgainAndAgain(const std::function<void()>& act) {
    constexpr std::uint64_t kRounds = 50;
    ASSERT_NO_FATAL_FAILURE(WarmUp());
    for (std::uint64_t round = 0; round < kRounds; ++round) {
      SCOPED_TRACE(round);
      ShowAnd(act);
      ExpectAllGone();
      ASSERT_EQ(Now(), before);
    }
    // That all this was counted at all: each of the seven dialogs has sixteen fonts.
    EXPECT_EQ(interposition.Count("CreateFontIndirectW"), kRounds * 16 * 7);
    EXPECT_EQ(interposition.Count("LoadLibraryW"), kRounds * 3);
    EXPECT_GE(interposition.Count("CreateSolidBrush"), kRounds * 7);
    EXPECT_GE(interposition.Count("EventRegister"), kRounds * 7);
    EXPECT_EQ(interposition.Count("SetWindowsHookExW"), kRounds);
    EXPECT_GE(memory.TakenEver() - takenBefore, kRounds * 100);
  }

  // --- What has to be in balance

  /// All that can be counted, as it is between two dialogs.
  struct Balance {
    std::size_t blocks;
    std::size_t bytes;
    std::size_t registrations;
    std::size_t windows;
    std::uint64_t openDialogs;
    std::uint64_t loadedModules;
    std::uint64_t properties;
    std::uint64_t hooks;
    std::uint64_t objects;
    int engineHandles;

    friend bool operator==(const Balance&, const Balance&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Balance& balance) {
      return stream << balance.blocks << " blocks of " << balance.bytes << " bytes, "
                    << balance.registrations << " event registrations, " << balance.windows
                    << " windows, " << balance.openDialogs << " dialogs, " << balance.loadedModules
                    << " modules, " << balance.properties << " properties, " << balance.hooks
                    << " hooks, " << balance.objects << " fonts and brushes, "
                    << balance.engineHandles << " engine handles";
    }
  };
  [[nodiscard]] Balance Now() const {
    Balance balance{.blocks = memory.Blocks(),
                    .bytes = memory.Bytes(),
                    .registrations = traces.OpenRegistrations(),
                    .windows = CountWindows(),
                    .openDialogs = interposition.Count("CreateDialogParamW") +
                                   Difference("CreateWindowExW", "DestroyWindow"),
                    .loadedModules = Difference("LoadLibraryW", "FreeLibrary"),
                    .properties = properties,
                    .hooks = Difference("SetWindowsHookExW", "UnhookWindowsHookEx"),
                    .objects = interposition.Count("CreateFontIndirectW") +
                               interposition.Count("CreateSolidBrush") -
                               interposition.Count("DeleteObject"),
                    .engineHandles = 0};
    for (const auto& engine : kindEngines) balance.engineHandles += engine->openHandles;
    return balance;
  }
  /// What the counts can't tell: that it is gone, and that it was taken at all.
  void ExpectAllGone() {
    EXPECT_THAT(handles.Held(), IsEmpty());
    EXPECT_THAT(handles.ReleasedUnheld(), IsEmpty());
    EXPECT_EQ(failedDeletions, 0);
    const auto left = std::count_if(made.begin(), made.end(),
                                    [](HWND window) { return ::IsWindow(window) != FALSE; });
    EXPECT_EQ(left, 0) << "windows of " << made.size();
    made.clear();
  }

  MemoryBalance memory;
  Balance before{};  // after the warm-up
  std::size_t takenBefore = 0;
  std::vector<std::unique_ptr<ScriptedEngine>> kindEngines;
  std::set<std::uint64_t> icons;  // that the library loaded
  std::vector<HWND> made;         // dialogs and windows of the library's, since the last look

 private:
  struct Kind {
    const wchar_t* name;
    int values;
  };
  static constexpr Kind kKinds[] = {{L"Pair", 2}, {L"Choice", 3}, {L"Range", 5}};

  static std::wstring Numbered(const wchar_t* name, int number) {
    return name + std::to_wstring(number);
  }
  static std::wstring Item(int number) { return Numbered(L"Item", number); }

  void ObserveWindows() {
    for (const char* function : {"CreateDialogParamW", "CreateWindowExW"}) {
      interposition.Observe(function, [this](const Call& call) {
        if (call.result != 0) made.push_back(reinterpret_cast<HWND>(call.result));
      });
    }
  }
  [[nodiscard]] std::uint64_t Difference(const char* take, const char* release) const {
    return interposition.Count(take) - interposition.Count(release);
  }
  /// All of this thread, such as the lists of combo boxes, which are no children.
  [[nodiscard]] static std::size_t CountWindows() {
    std::size_t count = 0;
    ::EnumThreadWindows(
        ::GetCurrentThreadId(),
        [](HWND top, LPARAM result) -> BOOL {
          const auto countOne = [](HWND, LPARAM counter) -> BOOL {
            ++*reinterpret_cast<std::size_t*>(counter);
            return TRUE;
          };
          ::EnumChildWindows(top, countOne, result);
          return countOne(top, result);
        },
        reinterpret_cast<LPARAM>(&count));
    return count;
  }

  std::uint64_t properties = 0;
  int failedDeletions = 0;
};

TEST_F(SettingsDialogBalanceTest, ManyRowsAreMadeScrolledAndGivenBack) {
  constexpr int kGroups = 8;
  constexpr int kItemsPerGroup = 16;
  ASSERT_NO_FATAL_FAILURE(WarmUp());
  MakeMachine(kGroups, kItemsPerGroup);
  ShowAnd([] {
    const std::vector<HWND> lines = Lines();
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(kGroups * kItemsPerGroup));
    RECT view{};
    ::GetClientRect(List(), &view);
    EXPECT_GT(PlaceIn(List(), lines.back()).top, view.bottom);

    int steps = 0;
    for (int position = -1; position != ::GetScrollPos(List(), SB_VERT); ++steps) {
      position = ::GetScrollPos(List(), SB_VERT);
      ::SendMessageW(List(), WM_VSCROLL, SB_PAGEDOWN, 0);
    }
    EXPECT_EQ(PlaceIn(List(), lines.back()).bottom, view.bottom);
    EXPECT_GT(steps, kGroups * (kItemsPerGroup - 2)) << "A step is a row.";
    ::UpdateWindow(List());
    Click(Frame(), IDC_CANCEL_BUTTON);
  });
  // The area, the list and its rows; the frame is ended, not destroyed.
  EXPECT_EQ(interposition.Count("CreateDialogParamW"), 2U + kGroups * (1U + kItemsPerGroup));
  EXPECT_EQ(made.size(), interposition.Count("CreateDialogParamW"));
  ExpectAllGone();
  EXPECT_EQ(Now(), before);
}

TEST_F(SettingsDialogBalanceTest, FiftyCancelledDialogsGiveBackAllThatTheyTake) {
  ShowAgainAndAgain([] {
    const std::vector<HWND> lines = Lines();
    Choose(lines.at(0), 1);
    EXPECT_TRUE(IsVisibleItself(::GetDlgItem(lines.at(1), IDC_LOCKED_VALUE_MEMO)));
    Choose(lines.at(0), 0);
    Click(Frame(), IDC_CANCEL_BUTTON);
  });
}

TEST_F(SettingsDialogBalanceTest, FiftySavedDialogsGiveBackAllThatTheyTake) {
  ShowAgainAndAgain([] {
    Choose(Lines().at(0), 1);
    Click(Frame(), IDC_OK_BUTTON);
  });
  EXPECT_EQ(Saved(L"Dock", L"Item1"), L"2") << "Item 0 held it there.";
}

TEST_F(SettingsDialogBalanceTest, FiftyAppliedAndClosedDialogsGiveBackAllThatTheyTake) {
  ShowAgainAndAgain([] {
    Click(Area(), IDC_RESTORE_DEFAULTS_BUTTON);
    Click(Frame(), IDC_APPLY_BUTTON);
    ::PostMessageW(Frame(), WM_SYSCOMMAND, SC_CLOSE, 0);
  });
  EXPECT_EQ(Saved(L"Dock", L"Item2"), L"3");
}

TEST_F(SettingsDialogBalanceTest, FiftyDialogsThatShowAllModesGiveBackAllThatTheyTake) {
  ShowAgainAndAgain([] {
    ChooseMode(Area(), kQuiet);
    ChooseMode(Area(), kDock);
    Click(Frame(), IDC_CANCEL_BUTTON);
  });
}

TEST_F(SettingsDialogBalanceTest, ProgressDialogsShareOneIcon) {
  constexpr unsigned kRounds = 2;
  ASSERT_NO_FATAL_FAILURE(WarmUp());
  ASSERT_TRUE(Request(1));
  ASSERT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  interposition.ClearCalls();
  Balance afterFirst{};
  for (unsigned round = 0; round < kRounds; ++round) {
    SCOPED_TRACE(round);
    ShowAnd([] { Click(Frame(), IDC_OK_BUTTON); });
    ExpectAllGone();
    if (round == 0) afterFirst = Now();
  }
  EXPECT_EQ(Now(), afterFirst);
  // Off and on again, and a large and a small icon for each of the two would be four.
  EXPECT_EQ(interposition.Count("LoadIconW"), kRounds * 2);
  EXPECT_EQ(icons.size(), 1U) << "Windows keeps one, and frees it with the module.";
  EXPECT_EQ(interposition.Count("DestroyIcon"), 0U);
  EXPECT_EQ(interposition.Count("SetTimer"), kRounds * 2);
  EXPECT_EQ(interposition.Count("KillTimer"), kRounds * 2);
}

}  // namespace
