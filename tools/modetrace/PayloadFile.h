#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ModeTrace {

/// A payload as it stands in a file.
struct FilePayload {
  std::size_t line = 0;  // where it begins, counted from 1
  bool isHex = false;    // whether it is an even number of hexadecimal digits
  std::string bytes;
};

/// Finds the payloads in a text: what tracerpt and wevtutil write as XML, in the elements
/// EventPayload and BinaryEventData, or else a payload on each line. Blanks between the digits and
/// lines that begin with '#' do not count. The text may be UTF-8 or, with a byte-order mark,
/// UTF-16.
[[nodiscard]] std::vector<FilePayload> FindPayloads(std::string_view file);

}  // namespace ModeTrace
