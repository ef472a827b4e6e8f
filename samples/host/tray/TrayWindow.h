#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

#include "CommandError.h"

/// What a TrayWindow tells. All calls come from its thread's message loop, or from the loop of a
/// dialog or a menu that is open.
class TrayEvents {
 public:
  virtual void OnMenuWanted(POINT place) = 0;
  /// The program was started again.
  virtual void OnStartedAgain() = 0;
  /// The library told the result of the change that was begun last.
  virtual void OnResult(WPARAM result) = 0;
  /// The time that StartPatience gave is over.
  virtual void OnPatienceOver() = 0;
  /// The files of the library changed.
  virtual void OnFilesChanged() = 0;
  virtual void OnTaskbarCreated() = 0;
  /// Another program asks this one to end.
  virtual void OnCloseWanted() = 0;
  /// The user is about to log off; whether that is all right now.
  [[nodiscard]] virtual bool OnSessionEndAsked() = 0;
  /// Whether the session ends in fact. After that, this process is ended at any moment.
  virtual void OnSessionEnd(bool ends) = 0;
  /// One of the above threw.
  virtual void OnError(const CommandError& error) = 0;
  virtual void OnOutOfMemory() = 0;

 protected:
  ~TrayEvents() = default;
};

/// The hidden window behind the icon: it is told of clicks, of a new taskbar, of the end of the
/// session and of the results of changes, and owns the library's dialogs. So it is a top-level
/// window: a message-only window is not told of a new taskbar, and can't own a dialog.
class TrayWindow {
 public:
  static constexpr UINT kIconMessage = WM_APP;
  static constexpr UINT kFilesChangedMessage = WM_APP + 1;

  /// Throws a CommandError when there is no window to be had. `listener` has to outlive it, and is
  /// not called before Listen.
  explicit TrayWindow(TrayEvents& listener);
  ~TrayWindow() = default;
  TrayWindow(const TrayWindow&) = delete;
  TrayWindow& operator=(const TrayWindow&) = delete;

  [[nodiscard]] HWND Get() const noexcept { return window.get(); }

  void Listen();

  /// The message with which the library is to tell the result of a change that is about to begin.
  /// It is another one each time: the result of a change that was given up may still come.
  [[nodiscard]] UINT BeginChange() noexcept;

  void StartPatience(UINT seconds) const;
  void EndPatience() const;

  /// Has the program that runs already say that it is there; false where none is found.
  [[nodiscard]] static bool TellFirstInstance();

 private:
  struct WindowDeleter {
    void operator()(HWND owned) const noexcept { ::DestroyWindow(owned); }
  };

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam);
  void HandleIcon(UINT event, POINT place);

  TrayEvents& events;
  UINT taskbarCreatedMessage;
  UINT startedAgainMessage;
  UINT resultMessage;
  std::unique_ptr<std::remove_pointer_t<HWND>, WindowDeleter> window;
};
