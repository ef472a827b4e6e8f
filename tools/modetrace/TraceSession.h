#pragma once

#include <windows.h>
// windows.h first: the others need its types. initguid.h is left to who needs the system's own
// GUIDs.
#include <evntcons.h>
#include <evntrace.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace ModeTrace {

/// A real-time session of the system's event tracing that takes one provider's events.
class TraceSession {
 public:
  using Listener = std::function<void(const EVENT_RECORD&)>;

  /// Throws a CommandError where the system gives no session, or this user may have none.
  TraceSession(std::wstring name, const GUID& provider);
  /// Stops the session: it would go on without this program.
  ~TraceSession();
  TraceSession(const TraceSession&) = delete;
  TraceSession& operator=(const TraceSession&) = delete;

  /// Tells `listener` each event, until the session is stopped. Throws a CommandError.
  void Process(const Listener& listener);
  /// May be called on any thread.
  void Stop() noexcept;

 private:
  /// What the system wants to know of a session, with room for the name behind it.
  class Properties {
   public:
    explicit Properties(const std::wstring& name);
    [[nodiscard]] EVENT_TRACE_PROPERTIES* Get() noexcept;

   private:
    std::vector<std::byte> memory;
  };

  [[nodiscard]] ULONG Start();
  static void WINAPI OnEvent(EVENT_RECORD* event);

  std::wstring name;
  TRACEHANDLE session = 0;
};

}  // namespace ModeTrace
