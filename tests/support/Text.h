#pragma once

#include <string>
#include <string_view>

/// Conversions for what the tests print and keep; the library has none of its own.
namespace Text {

[[nodiscard]] std::string ToUtf8(std::wstring_view text);
/// Through a Windows code page: CP_UTF8, CP_ACP.
[[nodiscard]] std::string ToCodePage(std::wstring_view text, unsigned codePage);
[[nodiscard]] std::wstring FromUtf8(std::string_view text);

/// UTF-8 with backslashes doubled and control characters as "\n", "\t" or "\u0007".
[[nodiscard]] std::string Escape(std::wstring_view text);

}  // namespace Text
