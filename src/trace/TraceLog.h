#pragma once

#include <windows.h>
// windows.h first: evntprov.h needs its types.
#include <evntprov.h>

#include <cstdint>

/// Names one failure point: the function that fails and the number of the point within it.
///
/// Support staff look both up, so a number stays with its point when lines of code move.
struct TracePoint {
  const wchar_t* function;
  std::uint32_t line;
};

/// One registration of the library's trace provider, and the one event that is written through it.
///
/// Tracing never changes what the library does: where the registration or a write fails, nothing
/// is written and nobody is told. Every write returns false, which is what a failing function
/// returns next, so that a failure point is one line:
///
///     if (index >= modes.size()) return trace.WriteUInt(L"CModeChange::SelectMode", 148, index);
///
/// The formatting writes may throw std::bad_alloc; nothing else here throws. A TraceLog belongs to
/// one object and is not shared between threads.
class TraceLog {
 public:
  /// The message of a failure that has no number or name to show.
  static constexpr const wchar_t* kNoAdditionalInformation = L"No Additional Information";

  TraceLog() noexcept;
  ~TraceLog();
  TraceLog(const TraceLog&) = delete;
  TraceLog& operator=(const TraceLog&) = delete;

  bool Write(const wchar_t* function, std::uint32_t line,
             const wchar_t* message = kNoAdditionalInformation) const noexcept;
  bool WriteUInt(const wchar_t* function, std::uint32_t line, std::uint32_t value) const;
  bool WriteInt(const wchar_t* function, std::uint32_t line, std::int32_t value) const;
  bool WriteUIntPair(const wchar_t* function, std::uint32_t line, std::uint32_t first,
                     std::uint32_t second) const;
  bool WriteTextUInt(const wchar_t* function, std::uint32_t line, const wchar_t* text,
                     std::uint32_t value) const;

 private:
  REGHANDLE registration = 0;
};
