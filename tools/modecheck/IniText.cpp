#include "IniText.h"

#include <windows.h>

#include <algorithm>

#include "CommandError.h"
#include "common/CUniqueHandle.h"

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kUtf16BigEndianMark = "\xFE\xFF";

std::wstring FromCodePage(std::string_view bytes, UINT codePage, DWORD flags) {
  const int size = static_cast<int>(bytes.size());
  const int length = ::MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(length), L'\0');
  ::MultiByteToWideChar(codePage, flags, bytes.data(), size, text.data(), length);
  return text;
}

std::wstring FromUtf16(std::string_view bytes, bool isBigEndian) {
  std::wstring text(bytes.size() / 2, L'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto first = static_cast<unsigned char>(bytes[2 * i]);
    const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
    text[i] = static_cast<wchar_t>(isBigEndian ? first << 8 | second : second << 8 | first);
  }
  return text;
}

/// Text of another form has no zero bytes; in UTF-16 each ASCII character has one.
bool LooksLikeUtf16(std::string_view bytes) {
  return bytes.size() >= 2 && bytes[0] != '\0' && bytes[1] == '\0';
}

}  // namespace

IniText IniText::Decode(std::string_view bytes) {
  if (bytes.starts_with(kUtf16Mark) || bytes.starts_with(kUtf16BigEndianMark)) {
    const bool isBigEndian = bytes.starts_with(kUtf16BigEndianMark);
    return {.form = isBigEndian ? Form::kUtf16BigEndian : Form::kUtf16,
            .text = FromUtf16(bytes.substr(kUtf16Mark.size()), isBigEndian),
            .hasHalfCharacter = bytes.size() % 2 != 0};
  }
  if (bytes.starts_with(kUtf8Mark)) {
    return {.form = Form::kUtf8Mark,
            .text = FromCodePage(bytes.substr(kUtf8Mark.size()), CP_UTF8, 0)};
  }
  if (LooksLikeUtf16(bytes)) {
    return {.form = Form::kUtf16WithoutMark,
            .text = FromUtf16(bytes, false),
            .hasHalfCharacter = bytes.size() % 2 != 0};
  }
  // Editors that write no mark mostly write UTF-8; what is not valid UTF-8 is of a code page.
  std::wstring text = FromCodePage(bytes, CP_UTF8, MB_ERR_INVALID_CHARS);
  if (text.empty()) text = FromCodePage(bytes, CP_ACP, 0);
  return {.form = Form::kAnsi, .text = std::move(text)};
}

FileBytes FileBytes::Read(const std::filesystem::path& path) {
  const CUniqueFile file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  LARGE_INTEGER size{};
  if (!file || ::GetFileSizeEx(file.Get(), &size) == FALSE) {
    return {.problem = L"can't be read: " + DescribeError(::GetLastError())};
  }
  if (static_cast<std::uintmax_t>(size.QuadPart) > kMostBytes) {
    return {.problem = L"has " + std::to_wstring(size.QuadPart) + L" bytes, more than the " +
                       std::to_wstring(kMostBytes) + L" that are checked"};
  }
  FileBytes read{.bytes = std::string(static_cast<std::size_t>(size.QuadPart), '\0')};
  DWORD count = 0;
  if (::ReadFile(file.Get(), read.bytes.data(), static_cast<DWORD>(read.bytes.size()), &count,
                 nullptr) == FALSE) {
    return {.problem = L"can't be read: " + DescribeError(::GetLastError())};
  }
  read.bytes.resize(count);
  return read;
}
