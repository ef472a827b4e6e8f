#include "FilesWatch.h"

FilesWatch::FilesWatch(const std::wstring& folder, HWND owner, UINT notification)
    : window(owner), message(notification) {
  HANDLE found = ::FindFirstChangeNotificationW(
      folder.c_str(), FALSE, FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE);
  if (found == INVALID_HANDLE_VALUE) return;
  change.reset(found);
  ::RegisterWaitForSingleObject(&wait, found, OnChange, this, INFINITE, WT_EXECUTEINWAITTHREAD);
}

FilesWatch::~FilesWatch() {
  // Waits for a call that is on its way: after this, nobody uses the object any more.
  if (wait != nullptr) ::UnregisterWaitEx(wait, INVALID_HANDLE_VALUE);
}

// On a thread of the system's. The library answers on the window's thread only, so this one does
// nothing but post.
void CALLBACK FilesWatch::OnChange(void* watch, BOOLEAN /*timedOut*/) {
  const auto* const self = static_cast<FilesWatch*>(watch);
  ::PostMessageW(self->window, self->message, 0, 0);
  ::FindNextChangeNotification(self->change.get());
}
