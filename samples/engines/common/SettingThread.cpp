#include "SettingThread.h"

#include <velto/device_engine.h>

#include "GetCurrentValue.h"

bool SettingThread::Start(INT32 value, HWND window, UINT message) noexcept {
  if (busy.exchange(true)) return false;
  newValue = value;
  notificationWindow = window;
  notificationMessage = message;
  if (::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<const wchar_t*>(&SettingThread::Run),
                           &module) != FALSE) {
    HANDLE thread = ::CreateThread(nullptr, 0, Run, this, 0, nullptr);
    if (thread != nullptr) {
      ::CloseHandle(thread);
      return true;
    }
    ::FreeLibrary(module);
  }
  busy = false;
  return false;
}

DWORD WINAPI SettingThread::Run(void* self) noexcept {
  // Frees the DLL and ends the thread in one call: no code of the DLL runs afterwards.
  ::FreeLibraryAndExitThread(static_cast<SettingThread*>(self)->SetAndReport(), 0);
}

/// The thread's reference to the DLL is returned: `module` may belong to the next request by then.
HMODULE SettingThread::SetAndReport() noexcept {
  INT32 valueNow = 0;
  const bool done = kEngine.set(newValue) && GetCurrentValue(&valueNow) && valueNow == newValue;

  HMODULE ownModule = module;
  HWND window = notificationWindow;
  const UINT message = notificationMessage;
  // Free before the news is out: who hears it may ask for the next value at once.
  busy = false;
  // A window that is gone by now has nobody behind it who waits.
  ::PostMessageW(window, message, done ? VELTO_ENGINE_RESULT_DONE : VELTO_ENGINE_RESULT_FAILED, 0);
  return ownModule;
}
