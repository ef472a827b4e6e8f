#include "MessageLoop.h"

#include <windows.h>

void RunMessageLoop() {
  MSG message;
  while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
  }
}
