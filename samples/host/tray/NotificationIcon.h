#pragma once

#include <windows.h>
// windows.h first: the other needs its types.
#include <shellapi.h>

#include <string>

#include "Balloon.h"
#include "StatusPicture.h"

/// The icon in the notification area, there as long as this object lives.
class NotificationIcon {
 public:
  /// `eventMessage` is what `owner` is sent for events of the icon, as NOTIFYICON_VERSION_4 has it.
  NotificationIcon(HWND owner, UINT eventMessage) noexcept;
  ~NotificationIcon();
  NotificationIcon(const NotificationIcon&) = delete;
  NotificationIcon& operator=(const NotificationIcon&) = delete;

  /// Shows this picture, and this text when the mouse pointer rests on it.
  void Show(UniqueIcon picture, const std::wstring& tip);

  /// Adds the icon anew: a taskbar that has just been created knows nothing of it.
  void AddAgain();

  void ShowBalloon(const Balloon& balloon) const;

  /// Where the icon is; where the mouse pointer is when that can't be told.
  [[nodiscard]] POINT GetPlace() const;

 private:
  [[nodiscard]] NOTIFYICONDATAW MakeData(UINT flags) const noexcept;
  void Add();

  HWND window;
  UINT message;
  UniqueIcon shown;
  std::wstring shownTip;
  bool isAdded = false;
};
