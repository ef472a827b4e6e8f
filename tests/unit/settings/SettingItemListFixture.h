#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "settings/CModeSettingItemList.h"
#include "settings/ModeSettingsMessages.h"
#include "support/ModeChangeTest.h"
#include "support/ScriptedEngine.h"

/// A message that the list's parent got.
struct ParentMessage {
  UINT message = 0;
  WPARAM wParam = 0;
  LPARAM lParam = 0;

  friend bool operator==(const ParentMessage&, const ParentMessage&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const ParentMessage& message);
};

/// A window that stands for the list's parent: it keeps the messages that it gets.
class ListParent {
 public:
  ListParent();
  ~ListParent();
  ListParent(const ListParent&) = delete;
  ListParent& operator=(const ListParent&) = delete;

  [[nodiscard]] HWND Window() const noexcept { return window; }
  /// Another control of the parent, which can have the focus.
  [[nodiscard]] HWND Other() const noexcept { return other; }
  /// The private messages that were posted since the last Take.
  [[nodiscard]] std::vector<ParentMessage> Take();
  /// The wheel messages that the list did not handle.
  [[nodiscard]] int Wheels() const noexcept { return wheels; }

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  HWND window = nullptr;
  HWND other = nullptr;
  std::vector<ParentMessage> messages;
  int wheels = 0;
};

/// A machine with setting groups, an engine for each setting item, and the real list with its real
/// lines under a plain parent.
///
/// Items have the two values "zero" and "one" unless a test says otherwise. Names are shown with
/// "the " before them. Modes are whatever a test names; the defaults of every Windows are the same.
class SettingItemListTest : public ModeChangeTest {
 protected:
  using Locks = std::vector<std::pair<std::wstring, int>>;

  static constexpr ParentMessage kError{WM_MODESETTINGS_ERROR, 100, 0};
  static constexpr ParentMessage kChanged{WM_MODESETTINGS_CHANGED, 0, 0};

  SettingItemListTest();
  ~SettingItemListTest() override;

  // --- The machine, to be described before the list is made

  void AddGroup(const std::wstring& group, const std::vector<std::wstring>& items);
  /// An item with this value holds others at values.
  void AddLockRule(const std::wstring& item, int value, Locks locks);
  /// Writes the configuration and the texts, and makes an engine for each item.
  void MakeMachine();
  /// As MakeMachine, with one engine for all items.
  void MakeMachineWithOneEngine();
  void WriteConfig();
  ScriptedEngine& Engine(const std::wstring& item) { return *engines.at(item); }
  [[nodiscard]] std::wstring EnginePath(const std::wstring& item) const;
  void SetDefault(const std::wstring& mode, const std::wstring& item, int value);
  /// The maker forbids to edit these items in the mode.
  void SetLockedByMode(const std::wstring& mode, const std::vector<std::wstring>& items);
  void SetSaved(const std::wstring& mode, const std::wstring& item, int value);
  [[nodiscard]] std::optional<std::wstring> Saved(const std::wstring& mode,
                                                  const std::wstring& item) const;

  // --- The list

  /// Makes the list's dialog and shows it. It begins with no messages and no calls.
  void Open();
  /// MakeMachine, then Open.
  void OpenMachine();
  void Close();
  [[nodiscard]] HWND List() const { return list->Window(); }
  LRESULT Send(UINT message, WPARAM wParam, LPARAM lParam) const {
    return ::SendMessageW(List(), message, wParam, lParam);
  }
  /// What the list posted to its parent since the last time.
  std::vector<ParentMessage> Posted();

  // --- The rows, from top to bottom

  [[nodiscard]] std::vector<HWND> Rows() const;
  [[nodiscard]] std::vector<HWND> Titles() const;
  [[nodiscard]] std::vector<HWND> Lines() const;
  [[nodiscard]] HWND LineOf(const std::wstring& item) const;
  [[nodiscard]] HWND Control(const std::wstring& item, int id) const;
  /// What a line of two or three values shows: "zero", "one", "nothing chosen", "left alone", and
  /// for a locked one "locked: " and its memo.
  [[nodiscard]] std::string Shown(const std::wstring& item) const;
  /// A user's click, with all that follows from it.
  void Click(const std::wstring& item, int id) const;
  [[nodiscard]] static RECT Place(HWND row);
  [[nodiscard]] static std::wstring TextOf(HWND window);
  [[nodiscard]] static bool HasVisibleBit(HWND window) {
    return (::GetWindowLongW(window, GWL_STYLE) & WS_VISIBLE) != 0;
  }

  static void PumpAll();
  static Trace In(const wchar_t* function, std::uint32_t line,
                  std::wstring message = TraceLog::kNoAdditionalInformation) {
    return {L"CModeSettingItemList::" + std::wstring(function), line, std::move(message)};
  }
  /// Takes the traces and says whether the list's own among them are these. Lines and readers
  /// trace what they like.
  void ExpectListTraces(const Traces& expected);

  EngineLog log;
  std::map<std::wstring, std::unique_ptr<ScriptedEngine>> engines;
  std::vector<std::pair<std::wstring, std::vector<std::wstring>>> groups;
  std::map<std::wstring, std::pair<int, Locks>> lockRules;
  bool hasOneEngine = false;
  ListParent parent;
  std::optional<CModeSettingItemList> list;

 private:
  [[nodiscard]] std::vector<std::wstring> Items() const;
  void WriteTexts();
};
