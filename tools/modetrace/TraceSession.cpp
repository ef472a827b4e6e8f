#include "TraceSession.h"

#include <utility>

#include "CommandError.h"

namespace ModeTrace {

namespace {

constexpr ULONG kClockOfCounter = 1;  // what times are taken from: the performance counter
constexpr ULONG kFlushInSeconds = 1;  // how long an event may lie before it is seen
constexpr ULONGLONG kAllKeywords = 0;

std::wstring RemedyFor(ULONG error) {
  switch (error) {
    case ERROR_ACCESS_DENIED:
      return L"Start it as an administrator, or have the user put into the group Performance Log "
             L"Users.";
    case ERROR_NO_SYSTEM_RESOURCES:
      return L"All sessions of the system are in use. \"logman query -ets\" lists them; stop one "
             L"that nobody needs.";
    default:
      return L"Record the events with the system's own tools, on a Windows that traces events; "
             L"docs/troubleshooting.md says how.";
  }
}

[[noreturn]] void ThrowError(const wchar_t* problem, ULONG error) {
  throw CommandError{std::wstring(problem) + L": " + DescribeError(error) + L".", RemedyFor(error)};
}

/// Closes what reads a session.
class Reader {
 public:
  explicit Reader(EVENT_TRACE_LOGFILEW* source) : handle(::OpenTraceW(source)) {
    if (handle == INVALID_PROCESSTRACE_HANDLE) {
      ThrowError(L"The trace session can't be read", ::GetLastError());
    }
  }
  ~Reader() { ::CloseTrace(handle); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  TRACEHANDLE* Get() noexcept { return &handle; }

 private:
  TRACEHANDLE handle;
};

}  // namespace

TraceSession::Properties::Properties(const std::wstring& name)
    : memory(sizeof(EVENT_TRACE_PROPERTIES) + (name.size() + 1) * sizeof(wchar_t)) {
  EVENT_TRACE_PROPERTIES* const properties = Get();
  properties->Wnode.BufferSize = static_cast<ULONG>(memory.size());
  properties->Wnode.Flags = WNODE_FLAG_TRACED_GUID;
  properties->Wnode.ClientContext = kClockOfCounter;
  properties->LogFileMode = EVENT_TRACE_REAL_TIME_MODE;
  properties->FlushTimer = kFlushInSeconds;
  // The system copies the name there itself.
  properties->LoggerNameOffset = sizeof(EVENT_TRACE_PROPERTIES);
}

EVENT_TRACE_PROPERTIES* TraceSession::Properties::Get() noexcept {
  return reinterpret_cast<EVENT_TRACE_PROPERTIES*>(memory.data());
}

TraceSession::TraceSession(std::wstring sessionName, const GUID& provider)
    : name(std::move(sessionName)) {
  ULONG error = Start();
  if (error == ERROR_ALREADY_EXISTS) {
    // Left by a program that was ended, as sessions outlive their programs.
    Stop();
    error = Start();
  }
  if (error != ERROR_SUCCESS) ThrowError(L"No trace session can be started", error);
  error = ::EnableTraceEx2(session, &provider, EVENT_CONTROL_CODE_ENABLE_PROVIDER,
                           TRACE_LEVEL_VERBOSE, kAllKeywords, kAllKeywords, 0, nullptr);
  if (error != ERROR_SUCCESS) {
    Stop();
    ThrowError(L"The library's events can't be asked for", error);
  }
}

TraceSession::~TraceSession() {
  Stop();
}

ULONG TraceSession::Start() {
  Properties properties(name);
  return ::StartTraceW(&session, name.c_str(), properties.Get());
}

void TraceSession::Stop() noexcept {
  // By name: that also finds a session that another program left. It may be gone already.
  Properties properties(name);
  ::ControlTraceW(0, name.c_str(), properties.Get(), EVENT_TRACE_CONTROL_STOP);
}

void TraceSession::Process(const Listener& listener) {
  EVENT_TRACE_LOGFILEW source{};
  source.LoggerName = name.data();
  source.ProcessTraceMode = PROCESS_TRACE_MODE_REAL_TIME | PROCESS_TRACE_MODE_EVENT_RECORD;
  source.EventRecordCallback = OnEvent;
  // Only read there.
  source.Context = const_cast<Listener*>(&listener);
  Reader reader(&source);
  const ULONG error = ::ProcessTrace(reader.Get(), 1, nullptr, nullptr);
  // Cancelled is what some versions answer when the session is stopped.
  if (error != ERROR_SUCCESS && error != ERROR_CANCELLED) {
    ThrowError(L"The trace session can't be read", error);
  }
}

void WINAPI TraceSession::OnEvent(EVENT_RECORD* event) {
  (*static_cast<const Listener*>(event->UserContext))(*event);
}

}  // namespace ModeTrace
