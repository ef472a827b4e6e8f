#pragma once

#include <windows.h>

#include <vector>

/// Stands for the library's window: keeps the completion messages that an engine posts.
class CompletionWindow {
 public:
  CompletionWindow()
      : window(::CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr,
                                 nullptr, nullptr)) {}
  ~CompletionWindow() { ::DestroyWindow(window); }
  CompletionWindow(const CompletionWindow&) = delete;
  CompletionWindow& operator=(const CompletionWindow&) = delete;

  [[nodiscard]] HWND Get() const noexcept { return window; }

  /// Pumps messages until there are so many with this number, and returns all of them.
  std::vector<MSG> WaitFor(UINT message, std::size_t count) {
    constexpr ULONGLONG kPatienceInMilliseconds = 10'000;
    const ULONGLONG deadline = ::GetTickCount64() + kPatienceInMilliseconds;
    for (;;) {
      for (MSG next; ::PeekMessageW(&next, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
        if (next.hwnd == window && next.message == message) received.push_back(next);
        ::DispatchMessageW(&next);
      }
      const ULONGLONG now = ::GetTickCount64();
      if (received.size() >= count || now >= deadline) return received;
      ::MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(deadline - now),
                                  QS_ALLINPUT);
    }
  }

 private:
  HWND window;
  std::vector<MSG> received;
};
