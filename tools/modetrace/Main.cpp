#include <windows.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <vector>

#include "CommandError.h"
#include "FailureEvent.h"
#include "Options.h"
#include "PayloadFile.h"
#include "TextOutput.h"
#include "TraceSession.h"
#include "common/CUniqueHandle.h"

namespace ModeTrace {

namespace {

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;
constexpr int kExitWrongUsage = 64;

struct KernelObjectTraits {
  using Type = HANDLE;
  static Type None() noexcept { return nullptr; }
  static void Close(Type handle) noexcept { ::CloseHandle(handle); }
};
using KernelObject = CUniqueHandle<KernelObjectTraits>;

/// Set when the user has seen enough. The handler may run at any time, so it is never closed.
HANDLE stopEvent = nullptr;

BOOL WINAPI OnControl(DWORD control) {
  ::SetEvent(stopEvent);
  // Windows ends the program when this returns; the session has to be stopped first.
  if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT) ::Sleep(INFINITE);
  return TRUE;
}

/// Stops a session when the user wants it, or the time is over.
class Stopper {
 public:
  Stopper(TraceSession& session, UINT seconds)
      : session(session), milliseconds(seconds == 0 ? INFINITE : seconds * 1000) {
    stopEvent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    thread = KernelObject(::CreateThread(nullptr, 0, Run, this, 0, nullptr));
    if (stopEvent == nullptr || !thread) {
      throw CommandError{L"There is no thread to be had: " + DescribeError(::GetLastError()) + L".",
                         L"Close other programs and try again."};
    }
    ::SetConsoleCtrlHandler(OnControl, TRUE);
  }
  ~Stopper() {
    ::SetEvent(stopEvent);
    ::WaitForSingleObject(thread.Get(), INFINITE);
  }
  Stopper(const Stopper&) = delete;
  Stopper& operator=(const Stopper&) = delete;

 private:
  static DWORD WINAPI Run(void* argument) {
    auto* const self = static_cast<Stopper*>(argument);
    ::WaitForSingleObject(stopEvent, self->milliseconds);
    self->session.Stop();
    return 0;
  }

  TraceSession& session;
  DWORD milliseconds;
  KernelObject thread;
};

/// "2026-11-21 18:20:31.123", in local time.
std::wstring FormatTime(const LARGE_INTEGER& timeStamp) {
  const FILETIME universal = {timeStamp.LowPart, static_cast<DWORD>(timeStamp.HighPart)};
  FILETIME local{};
  SYSTEMTIME time{};
  ::FileTimeToLocalFileTime(&universal, &local);
  ::FileTimeToSystemTime(&local, &time);
  std::array<wchar_t, 32> text{};
  std::swprintf(text.data(), text.size(), L"%04u-%02u-%02u %02u:%02u:%02u.%03u", time.wYear,
                time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
  return text.data();
}

void Show(const EVENT_RECORD& record, bool json, TextOutput& output) {
  const EVENT_HEADER& header = record.EventHeader;
  if (::IsEqualGUID(header.ProviderId, kProvider) == FALSE ||
      header.EventDescriptor.Id != kEventId) {
    return;
  }
  const std::wstring time = FormatTime(header.TimeStamp);
  const auto decoded =
      DecodePayload({static_cast<const char*>(record.UserData), record.UserDataLength});
  if (const auto* const event = std::get_if<FailureEvent>(&decoded)) {
    output.WriteLine(json ? FormatEventAsJson(*event, time, header.ProcessId)
                          : time + L"  " + std::to_wstring(header.ProcessId) + L"  " +
                                FormatEvent(*event));
  } else if (!json) {
    output.WriteLine(time + L"  " + std::to_wstring(header.ProcessId) +
                     L"  an event that is not readable: " + std::get<DecodeError>(decoded).problem);
  }
}

int Watch(const Options& options, TextOutput& output, TextOutput& errors) {
  TraceSession session(L"VeltoModeTrace", kProvider);
  const Stopper stopper(session, options.seconds);
  if (!options.json) errors.WriteLine(L"Waiting for events; Ctrl+C ends it.");
  session.Process([&](const EVENT_RECORD& record) { Show(record, options.json, output); });
  return kExitDone;
}

std::string ReadFile(const std::wstring& path) {
  std::ifstream file(std::filesystem::path(path), std::ios::binary);
  if (!file) throw UsageError{L"the file " + path + L" can't be read"};
  return {std::istreambuf_iterator<char>(file), {}};
}

int Decode(const Options& options, TextOutput& output, TextOutput& errors) {
  const std::vector<FilePayload> payloads = FindPayloads(ReadFile(options.file));
  int exitCode = kExitDone;
  const auto complain = [&](const FilePayload& payload, const std::wstring& problem) {
    errors.WriteLine(options.file + L":" + std::to_wstring(payload.line) +
                     L": no event of the library: " + problem);
    exitCode = kExitFailed;
  };
  for (const FilePayload& payload : payloads) {
    if (!payload.isHex) {
      complain(payload, L"not an even number of hexadecimal digits");
      continue;
    }
    const auto decoded = DecodePayload(payload.bytes);
    if (const auto* const event = std::get_if<FailureEvent>(&decoded)) {
      output.WriteLine(options.json ? FormatEventAsJson(*event, L"", 0) : FormatEvent(*event));
    } else {
      complain(payload, std::get<DecodeError>(decoded).problem);
    }
  }
  if (payloads.empty()) {
    throw CommandError{options.file + L" holds no events.",
                       L"Give it XML that tracerpt wrote, or payloads as hexadecimal digits, one "
                       L"on each line."};
  }
  return exitCode;
}

int Run(const Options& options, TextOutput& output, TextOutput& errors) {
  switch (options.command) {
    case Command::kHelp:
      output.WriteLine(kHelpText);
      return kExitDone;
    case Command::kVersion:
      output.WriteLine(L"modetrace " MODETRACE_VERSION);
      return kExitDone;
    case Command::kWatch:
      return Watch(options, output, errors);
    case Command::kDecode:
      return Decode(options, output, errors);
  }
  return kExitFailed;
}

}  // namespace

}  // namespace ModeTrace

int wmain(int count, wchar_t** arguments) {
  TextOutput output(STD_OUTPUT_HANDLE);
  TextOutput errors(STD_ERROR_HANDLE);
  try {
    return ModeTrace::Run(ModeTrace::ParseOptions({arguments + 1, arguments + count}), output,
                          errors);
  } catch (const ModeTrace::UsageError& error) {
    errors.WriteLine(L"modetrace: " + error.problem);
    errors.WriteLine(L"Try: modetrace --help");
    return ModeTrace::kExitWrongUsage;
  } catch (const CommandError& error) {
    errors.WriteLine(L"modetrace: " + error.problem);
    errors.WriteLine(error.remedy);
    return ModeTrace::kExitFailed;
  } catch (const std::bad_alloc&) {
    errors.WriteLine(L"modetrace: out of memory");
    return ModeTrace::kExitFailed;
  }
}
