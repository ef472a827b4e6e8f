#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace ModeTrace {

/// The provider that the library writes its events through.
constexpr GUID kProvider = {
    0xF1AF8352, 0x32C6, 0x4439, {0x9A, 0xE9, 0x34, 0x8E, 0x23, 0x2D, 0xFA, 0x35}};
/// The only event that it writes.
constexpr USHORT kEventId = 1;

/// What an event of the library says: which failure there was.
struct FailureEvent {
  std::wstring module;
  std::wstring function;
  std::uint32_t line = 0;  // the number of the failure point within the function
  std::wstring message;

  friend bool operator==(const FailureEvent&, const FailureEvent&) = default;
};

/// Why a payload is none of the library's.
struct DecodeError {
  std::wstring problem;
};

/// Takes an event's payload apart: two texts with their terminators, a 32-bit number, and one more
/// text, one directly after the other.
[[nodiscard]] std::variant<FailureEvent, DecodeError> DecodePayload(std::string_view payload);

/// "ModeChange.dll  CModeChange::SelectMode 148: 7"; what is no character is shown as a number.
[[nodiscard]] std::wstring FormatEvent(const FailureEvent& event);
/// One line.
[[nodiscard]] std::wstring FormatEventAsJson(const FailureEvent& event, const std::wstring& time,
                                             std::uint32_t process);

}  // namespace ModeTrace
