#include "common/dialog/CDialogBase.h"

// windows.h comes with the header above, before commctrl.h, which needs it.
#include <commctrl.h>

#include <new>

#include "common/ModuleHelpers.h"

/// What a window keeps instead of the object itself. It lives as long as anybody counts on it: its
/// creator until the dialog is made, the window, and every handler that runs.
class CDialogBase::Binding : public std::enable_shared_from_this<Binding> {
 public:
  explicit Binding(CDialogBase* dialog) noexcept : dialog(dialog) {}

  /// The object; null once it is gone or its window is.
  [[nodiscard]] CDialogBase* Dialog() const noexcept { return dialog; }
  [[nodiscard]] bool WasAttached() const noexcept { return wasAttached; }

  void Attach(HWND dialogWindow) noexcept {
    keptByWindow = weak_from_this().lock();
    wasAttached = true;
    dialog->binding = this;
    dialog->window = dialogWindow;
  }
  void DetachObject() noexcept {
    if (dialog == nullptr) return;
    dialog->binding = nullptr;
    dialog->window = nullptr;
    dialog = nullptr;
  }
  void DetachWindow() noexcept { keptByWindow.reset(); }

 private:
  CDialogBase* dialog;
  bool wasAttached = false;
  std::shared_ptr<Binding> keptByWindow;
};

CDialogBase::~CDialogBase() {
  if (binding == nullptr) return;
  const HWND orphan = window;
  binding->DetachObject();
  ::DestroyWindow(orphan);
}

std::shared_ptr<CDialogBase::Binding> CDialogBase::CreateBinding() noexcept {
  try {
    return std::make_shared<Binding>(this);
  } catch (const std::bad_alloc&) {
    ::SetLastError(ERROR_OUTOFMEMORY);
    return nullptr;
  }
}

void CDialogBase::RegisterCommonControls() const noexcept {
  if (commonControlClasses == 0) return;
  const INITCOMMONCONTROLSEX classes{sizeof(classes), commonControlClasses};
  // Where a class is missing the dialog can't be made, and that is what gets reported.
  ::InitCommonControlsEx(&classes);
}

bool CDialogBase::RunModal(WORD templateId, HWND owner) {
  const std::shared_ptr<Binding> created = CreateBinding();
  if (created == nullptr) return false;
  RegisterCommonControls();
  ::DialogBoxParamW(Common::GetMyModuleHandle(), MAKEINTRESOURCEW(templateId), owner, DialogProc,
                    reinterpret_cast<LPARAM>(created.get()));
  return created->WasAttached();
}

bool CDialogBase::Create(WORD templateId, HWND parent) {
  const std::shared_ptr<Binding> created = CreateBinding();
  if (created == nullptr) return false;
  RegisterCommonControls();
  return ::CreateDialogParamW(Common::GetMyModuleHandle(), MAKEINTRESOURCEW(templateId), parent,
                              DialogProc, reinterpret_cast<LPARAM>(created.get())) != nullptr;
}

INT_PTR CDialogBase::Handled(LRESULT result) const noexcept {
  if (window != nullptr) ::SetWindowLongPtrW(window, DWLP_MSGRESULT, result);
  return TRUE;
}

void CDialogBase::CloseLater() const noexcept {
  if (window == nullptr || ::PostMessageW(window, WM_CLOSE, 0, 0) != FALSE) return;
  ::SendMessageW(window, WM_CLOSE, 0, 0);
}

void CDialogBase::EndModal(INT_PTR result) const noexcept {
  if (::EndDialog(window, result) != FALSE) return;
  // Its modal loop ends with the window, but only EndDialog lets the owner be used again.
  const HWND owner = ::GetWindow(window, GW_OWNER);
  if (owner != nullptr) ::EnableWindow(owner, TRUE);
  ::DestroyWindow(window);
}

void CDialogBase::SetControlFont(int control, HFONT font) const noexcept {
  if (font == nullptr) return;
  ::SendDlgItemMessageW(window, control, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
}

INT_PTR CDialogBase::ControlColor(HDC dc, HBRUSH background) noexcept {
  ::SetBkMode(dc, TRANSPARENT);
  ::SetTextColor(dc, ::GetSysColor(COLOR_WINDOWTEXT));
  return reinterpret_cast<INT_PTR>(background);
}

INT_PTR CALLBACK CDialogBase::DialogProc(HWND window, UINT message, WPARAM wParam,
                                         LPARAM lParam) noexcept {
  if (message == WM_INITDIALOG) {
    // Anybody may send another one, with anything in it.
    if (::GetWindowLongPtrW(window, DWLP_USER) != 0) return FALSE;
    ::SetWindowLongPtrW(window, DWLP_USER, lParam);
    reinterpret_cast<Binding*>(lParam)->Attach(window);
  }
  auto* kept = reinterpret_cast<Binding*>(::GetWindowLongPtrW(window, DWLP_USER));
  // Some messages come before WM_INITDIALOG.
  if (kept == nullptr) return FALSE;

  const std::shared_ptr<Binding> bound = kept->weak_from_this().lock();
  INT_PTR result = FALSE;
  if (bound->Dialog() != nullptr) {
    try {
      result = bound->Dialog()->OnMessage(message, wParam, lParam);
    } catch (...) {
      if (bound->Dialog() != nullptr) bound->Dialog()->OnHandlerFailed(message);
      result = TRUE;
    }
  }
  if (message == WM_NCDESTROY) {
    ::SetWindowLongPtrW(window, DWLP_USER, 0);
    bound->DetachObject();
    bound->DetachWindow();
  }
  return result;
}
