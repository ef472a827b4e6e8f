#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <type_traits>

/// Tells a window whenever a file of a folder was written, as another program switched a mode: the
/// library itself does not tell. Costs nothing while nothing happens, unlike asking again and
/// again.
class FilesWatch {
 public:
  /// Posts `notification` to `owner`. Watches nothing where there is no such folder.
  FilesWatch(const std::wstring& folder, HWND owner, UINT notification);
  ~FilesWatch();
  FilesWatch(const FilesWatch&) = delete;
  FilesWatch& operator=(const FilesWatch&) = delete;

 private:
  struct ChangeDeleter {
    void operator()(HANDLE owned) const noexcept { ::FindCloseChangeNotification(owned); }
  };

  static void CALLBACK OnChange(void* watch, BOOLEAN timedOut);

  HWND window;
  UINT message;
  std::unique_ptr<std::remove_pointer_t<HANDLE>, ChangeDeleter> change;
  HANDLE wait = nullptr;
};
