#include "NotificationIcon.h"

#include <algorithm>
#include <utility>

namespace {

constexpr UINT kId = 1;

/// Copies what fits, and no half of a surrogate pair.
template <std::size_t size>
void CopyText(const std::wstring& text, wchar_t (&field)[size]) {
  std::size_t length = std::min(text.size(), size - 1);
  if (length < text.size() && length > 0 && IS_HIGH_SURROGATE(text[length - 1])) --length;
  field[text.copy(field, length)] = L'\0';
}

}  // namespace

NotificationIcon::NotificationIcon(HWND owner, UINT eventMessage) noexcept
    : window(owner), message(eventMessage) {}

NotificationIcon::~NotificationIcon() {
  NOTIFYICONDATAW data = MakeData(0);
  if (isAdded) ::Shell_NotifyIconW(NIM_DELETE, &data);
}

void NotificationIcon::Show(UniqueIcon picture, const std::wstring& tip) {
  // The taskbar makes a copy of the picture, but has none before the next call.
  const UniqueIcon former = std::move(shown);
  shown = std::move(picture);
  shownTip = tip;
  Add();
}

void NotificationIcon::AddAgain() {
  isAdded = false;
  Add();
}

void NotificationIcon::ShowBalloon(const Balloon& balloon) const {
  NOTIFYICONDATAW data = MakeData(NIF_INFO);
  // Not while the user gives a presentation, or has asked for quiet.
  data.dwInfoFlags = balloon.kind | NIIF_RESPECT_QUIET_TIME;
  CopyText(balloon.title, data.szInfoTitle);
  CopyText(balloon.text, data.szInfo);
  ::Shell_NotifyIconW(NIM_MODIFY, &data);
}

POINT NotificationIcon::GetPlace() const {
  NOTIFYICONIDENTIFIER identifier = {};
  identifier.cbSize = sizeof(identifier);
  identifier.hWnd = window;
  identifier.uID = kId;
  RECT place = {};
  if (SUCCEEDED(::Shell_NotifyIconGetRect(&identifier, &place)) && ::IsRectEmpty(&place) == FALSE) {
    return {(place.left + place.right) / 2, (place.top + place.bottom) / 2};
  }
  POINT pointer = {};
  ::GetCursorPos(&pointer);
  return pointer;
}

NOTIFYICONDATAW NotificationIcon::MakeData(UINT flags) const noexcept {
  NOTIFYICONDATAW data = {};
  data.cbSize = sizeof(data);
  data.hWnd = window;
  data.uID = kId;
  data.uFlags = flags;
  return data;
}

// A taskbar that is not there yet, as when the user has just logged on, is no error: once it is, it
// says so, and AddAgain is called.
void NotificationIcon::Add() {
  NOTIFYICONDATAW data = MakeData(NIF_MESSAGE | NIF_ICON | NIF_TIP | NIF_SHOWTIP);
  data.uCallbackMessage = message;
  data.hIcon = shown.get();
  CopyText(shownTip, data.szTip);
  if (isAdded) {
    ::Shell_NotifyIconW(NIM_MODIFY, &data);
    return;
  }
  // A taskbar that was busy may have added the icon and failed all the same.
  isAdded = ::Shell_NotifyIconW(NIM_ADD, &data) != FALSE ||
            ::Shell_NotifyIconW(NIM_MODIFY, &data) != FALSE;
  data.uVersion = NOTIFYICON_VERSION_4;
  if (isAdded) ::Shell_NotifyIconW(NIM_SETVERSION, &data);
}
