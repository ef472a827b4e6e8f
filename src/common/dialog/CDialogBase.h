#pragma once

#include <windows.h>

#include <memory>

/// A dialog that is made from one of the library's templates and handled by an object.
///
/// A small binding stands between the window and the object. So it does not
/// matter which of the two goes first: a handler may destroy its own window, or run a modal loop
/// in which somebody else does, and an object may be destroyed before its window. After a call
/// that can do that, Window() is null.
///
/// Nothing is thrown into Windows: what a handler throws ends in OnHandlerFailed.
class CDialogBase {
 public:
  CDialogBase(const CDialogBase&) = delete;
  CDialogBase& operator=(const CDialogBase&) = delete;

  /// Runs the dialog until EndDialog. False, with the last error set, when it never came up.
  [[nodiscard]] bool RunModal(WORD templateId, HWND owner);

  /// Makes the dialog as a window of its own or as a child, as its template says. False, with the
  /// last error set, when it could not be made.
  [[nodiscard]] bool Create(WORD templateId, HWND parent);

  /// Null before WM_INITDIALOG and after WM_NCDESTROY.
  [[nodiscard]] HWND Window() const noexcept { return window; }

 protected:
  /// `commonControlClasses`: the ICC_... bits of the common controls that the template has. They
  /// are registered right before each dialog is made.
  explicit CDialogBase(DWORD commonControlClasses = 0) noexcept
      : commonControlClasses(commonControlClasses) {}
  ~CDialogBase();

  /// Handles a message, from WM_INITDIALOG on, and returns what a dialog procedure returns.
  virtual INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) = 0;

  /// A handler ran out of memory, or failed in another way that it did not report itself.
  virtual void OnHandlerFailed(UINT message) noexcept = 0;

  /// For OnMessage to return: the message is handled, with this result.
  [[nodiscard]] INT_PTR Handled(LRESULT result = 0) const noexcept;

  /// Sends the dialog its WM_CLOSE: when the handlers that run now have returned or, where Windows
  /// takes no message, at once. A dialog that nobody else closes must not depend on a message.
  void CloseLater() const noexcept;
  /// Ends a modal dialog. The window may be gone when this returns.
  void EndModal(INT_PTR result) const noexcept;

  /// Gives a control its font; without one it keeps the template's.
  void SetControlFont(int control, HFONT font) const noexcept;
  /// For OnMessage to return for a WM_CTLCOLOR... message: text in the system's colour for windows
  /// over the brush; default painting without one.
  [[nodiscard]] static INT_PTR ControlColor(HDC dc, HBRUSH background) noexcept;

 private:
  class Binding;

  [[nodiscard]] std::shared_ptr<Binding> CreateBinding() noexcept;
  void RegisterCommonControls() const noexcept;
  static INT_PTR CALLBACK DialogProc(HWND window, UINT message, WPARAM wParam,
                                     LPARAM lParam) noexcept;

  DWORD commonControlClasses;
  Binding* binding = nullptr;
  HWND window = nullptr;
};
