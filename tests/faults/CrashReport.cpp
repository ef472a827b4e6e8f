#include "faults/CrashReport.h"

#include <windows.h>

#include <csignal>
#include <cstdio>
#include <sstream>
#include <string>

#include "support/StackTrace.h"

namespace {

void Write(const std::string& text) {
  DWORD written = 0;
  ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()),
              &written, nullptr);
}

/// Of the calling thread, taken by another one while it waits.
void WriteStack(const char* headline) {
  HANDLE current = nullptr;
  ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(), &current, 0,
                    FALSE, DUPLICATE_SAME_ACCESS);
  Write(std::string(headline) + " at\n");
  HANDLE helper = ::CreateThread(
      nullptr, 0,
      [](void* thread) -> DWORD {
        Write(StackTrace::Of(thread).Describe());
        return 0;
      },
      current, 0, nullptr);
  ::WaitForSingleObject(helper, 5000);
}

LONG WINAPI OnException(EXCEPTION_POINTERS* exception) {
  std::ostringstream headline;
  headline << "exception 0x" << std::hex << exception->ExceptionRecord->ExceptionCode;
  WriteStack(headline.str().c_str());
  ::TerminateProcess(::GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

void OnAbort(int /*signal*/) {
  WriteStack("abort");
  ::TerminateProcess(::GetCurrentProcess(), 3);
}

}  // namespace

void ReportCrashes() {
  ::SetUnhandledExceptionFilter(OnException);
  std::signal(SIGABRT, OnAbort);
}
