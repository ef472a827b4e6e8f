#pragma once

#include <windows.h>
// windows.h first: evntprov.h needs its types.
#include <evntprov.h>

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "support/Interposition.h"

/// What a trace event says about a failure.
struct Trace {
  std::wstring function;
  std::uint32_t line = 0;
  std::wstring message = L"No Additional Information";

  friend bool operator==(const Trace&, const Trace&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const Trace& trace);
};
using Traces = std::vector<Trace>;

/// One event as it was handed to Windows.
struct TraceEvent {
  struct Item {
    std::string bytes;
    std::uint32_t reserved = 0;
  };

  GUID provider{};  // of the registration that it was written through
  EVENT_DESCRIPTOR descriptor{};
  std::vector<Item> items;

  /// The text items without their terminators.
  [[nodiscard]] std::wstring Module() const { return TextOf(0); }
  [[nodiscard]] Trace Decoded() const;

 private:
  [[nodiscard]] std::wstring TextOf(std::size_t item) const;
};

/// Takes the library's trace events instead of Windows.
///
///     EXPECT_FALSE(config.GetModeType(nullptr, &type));
///     EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeConfig::GetModeType", 133}}));
///
/// Tracing spoils the last error, as it may: who needs it has to read it before.
///
/// Each event is also added to a file of this process in the folder that the environment variable
/// VELTO_OBSERVED_TRACES names, if it does, as "function<TAB>line<TAB>message" in UTF-8: what the
/// tests have observed of the library's failure points.
class TraceCapture {
 public:
  struct Registration {
    GUID provider{};
    bool hasCallback = false;
    bool hasContext = false;
  };

  /// `interposition` has to outlive this object.
  explicit TraceCapture(Interposition& interposition);
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  /// The traces since the last Take.
  [[nodiscard]] Traces Take();
  /// All events, taken or not.
  [[nodiscard]] const std::vector<TraceEvent>& Events() const noexcept { return events; }

  /// Forgets what there was, taken or not: millions of events would take too much memory. What is
  /// open stays open.
  void Forget() noexcept;

  /// All registrations that there were, and how many of them are left.
  [[nodiscard]] const std::vector<Registration>& Registrations() const noexcept {
    return registrations;
  }
  [[nodiscard]] std::size_t OpenRegistrations() const noexcept { return open.size(); }
  /// Writes and unregistrations that did not name an open registration.
  [[nodiscard]] std::size_t Misuses() const noexcept { return misuses; }

  /// For events that the test makes itself: they are no failure points of the library.
  void LeaveOutOfCoverage() noexcept { isCoverage = false; }

  /// What Windows answers from now on; ERROR_SUCCESS accepts again. Events are captured even where
  /// their write is answered with an error.
  void AnswerRegistrations(ULONG error) noexcept { registrationAnswer = error; }
  void AnswerWrites(ULONG error) noexcept { writeAnswer = error; }

 private:
  ULONG Register(const GUID* provider, const void* callback, const void* context,
                 REGHANDLE* registration);
  ULONG Unregister(REGHANDLE registration);
  ULONG Write(REGHANDLE registration, const EVENT_DESCRIPTOR* descriptor, ULONG itemCount,
              const EVENT_DATA_DESCRIPTOR* items);

  std::vector<TraceEvent> events;
  std::size_t takenEvents = 0;
  std::vector<Registration> registrations;
  REGHANDLE lastRegistration = 0;
  std::map<REGHANDLE, GUID> open;
  std::size_t misuses = 0;
  bool isCoverage = true;
  ULONG registrationAnswer = ERROR_SUCCESS;
  ULONG writeAnswer = ERROR_SUCCESS;
};
