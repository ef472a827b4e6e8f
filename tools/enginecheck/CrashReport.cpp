#include "CrashReport.h"

#include <strsafe.h>

#include <array>

#include "Journal.h"

namespace EngineCheck {

namespace {

constexpr DWORD kCppExceptionOfMicrosoft = 0xE06D7363;
constexpr DWORD kCppExceptionOfGcc = 0x20474343;
constexpr std::size_t kFieldLength = 300;

HANDLE journalPipe = nullptr;

const wchar_t* Describe(DWORD code) {
  switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
      return L"Access violation";
    case EXCEPTION_STACK_OVERFLOW:
      return L"Stack overflow";
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
      return L"Division by zero";
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
      return L"Illegal instruction";
    case EXCEPTION_BREAKPOINT:
      return L"Breakpoint or failed assertion";
    case kCppExceptionOfMicrosoft:
    case kCppExceptionOfGcc:
      return L"A C++ exception left the engine";
    default:
      return L"Exception";
  }
}

void DescribePlace(const void* address, std::array<wchar_t, kFieldLength>& place) {
  HMODULE module = nullptr;
  std::array<wchar_t, MAX_PATH + 1> path{};
  if (::GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          static_cast<const wchar_t*>(address), &module) == FALSE ||
      ::GetModuleFileNameW(module, path.data(), MAX_PATH) == 0) {
    ::StringCchCopyW(place.data(), place.size(), L"where no DLL is (any more)");
    return;
  }
  const wchar_t* name = path.data();
  for (const wchar_t* position = name; *position != L'\0'; ++position) {
    if (*position == L'\\') name = position + 1;
  }
  const auto offset = reinterpret_cast<ULONG_PTR>(address) - reinterpret_cast<ULONG_PTR>(module);
  ::StringCchPrintfW(place.data(), place.size(), L"in %s at offset 0x%Ix", name, offset);
}

/// The heap may be what came to harm, so nothing here takes memory from it.
void WriteRecord(const wchar_t* what, const wchar_t* place) {
  struct {
    RecordKind kind = RecordKind::kCrash;
    DWORD length = 0;
    std::array<wchar_t, 2 * kFieldLength> fields{};
  } record;
  std::size_t size = 0;
  for (const wchar_t* text : {what, place}) {
    for (; *text != L'\0' && size + 2 < record.fields.size(); ++text) record.fields[size++] = *text;
    ++size;
  }
  record.length = static_cast<DWORD>(size * sizeof(wchar_t));
  DWORD written = 0;
  ::WriteFile(journalPipe, &record, 2 * sizeof(DWORD) + record.length, &written, nullptr);
}

LONG WINAPI WriteCrash(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD& exception = *pointers->ExceptionRecord;
  std::array<wchar_t, kFieldLength> what{};
  std::array<wchar_t, kFieldLength> place{};
  ::StringCchPrintfW(what.data(), what.size(), L"%s (exception 0x%08lX)",
                     Describe(exception.ExceptionCode), exception.ExceptionCode);
  DescribePlace(exception.ExceptionAddress, place);
  WriteRecord(what.data(), place.data());
  ::TerminateProcess(::GetCurrentProcess(), exception.ExceptionCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

void ReportCrashes(HANDLE pipe) noexcept {
  journalPipe = pipe;
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  // So that there is room for the report of an overflow of the stack.
  ULONG reserve = 0x8000;
  ::SetThreadStackGuarantee(&reserve);
  ::SetUnhandledExceptionFilter(WriteCrash);
}

}  // namespace EngineCheck
