#include "CommandError.h"

#include <array>

std::wstring DescribeError(DWORD error) {
  std::array<wchar_t, 512> text{};
  DWORD length =
      ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                       0, text.data(), static_cast<DWORD>(text.size()), nullptr);
  // The system ends its texts with a full stop and a new line.
  while (length > 0 && (text[length - 1] <= L' ' || text[length - 1] == L'.')) --length;
  const std::wstring number = L"error " + std::to_wstring(error);
  return length == 0 ? number : std::wstring(text.data(), length) + L" (" + number + L")";
}
