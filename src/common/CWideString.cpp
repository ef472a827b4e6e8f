#include "common/CWideString.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <new>
#include <string>
#include <utility>

struct CWideString::Header {
  std::size_t references;
  std::size_t length;
  std::size_t capacity;  // in characters, without the terminator
};

namespace {

// What every empty string points at; no other string does.
constexpr wchar_t kEmptyText[1] = {L'\0'};

}  // namespace

CWideString::CWideString() noexcept : text(kEmptyText) {}

CWideString::CWideString(const wchar_t* text)
    : CWideString(text, text != nullptr ? std::wcslen(text) : 0) {}

CWideString::CWideString(const wchar_t* text, std::size_t length) : CWideString() {
  Append(text, length);
}

CWideString::CWideString(const CWideString& other) noexcept : text(other.text) {
  if (text != kEmptyText) ++header()->references;
}

CWideString::CWideString(CWideString&& other) noexcept
    : text(std::exchange(other.text, kEmptyText)) {}

CWideString& CWideString::operator=(const CWideString& other) noexcept {
  CWideString copy(other);
  std::swap(text, copy.text);
  return *this;
}

CWideString& CWideString::operator=(CWideString&& other) noexcept {
  CWideString taken(std::move(other));
  std::swap(text, taken.text);
  return *this;
}

CWideString::~CWideString() {
  Release();
}

CWideString CWideString::FromInt(std::int32_t value) {
  return CWideString(std::to_wstring(value).c_str());
}

CWideString CWideString::FromUInt(std::uint32_t value) {
  return CWideString(std::to_wstring(value).c_str());
}

std::size_t CWideString::length() const noexcept {
  return text == kEmptyText ? 0 : header()->length;
}

CWideString& CWideString::operator+=(const CWideString& more) {
  Append(more.text, more.length());
  return *this;
}

void CWideString::ReplaceAll(const CWideString& what, const CWideString& with) {
  if (what.empty()) return;
  const wchar_t* rest = text;
  const wchar_t* found = std::wcsstr(rest, what.text);
  if (found == nullptr) return;

  CWideString result;
  for (; found != nullptr; found = std::wcsstr(rest, what.text)) {
    result.Append(rest, static_cast<std::size_t>(found - rest));
    result += with;
    rest = found + what.length();
  }
  result.Append(rest, std::wcslen(rest));
  *this = std::move(result);
}

bool CWideString::EqualsIgnoringCase(const CWideString& other) const noexcept {
  return text == other.text || ::_wcsicmp(text, other.text) == 0;
}

CWideString::Header* CWideString::header() const noexcept {
  return reinterpret_cast<Header*>(const_cast<wchar_t*>(text)) - 1;
}

bool CWideString::Equals(const CWideString& other) const noexcept {
  return text == other.text ||
         (length() == other.length() && std::wmemcmp(text, other.text, length()) == 0);
}

void CWideString::Append(const wchar_t* more, std::size_t count) {
  if (count == 0) return;
  const std::size_t oldLength = length();
  const bool hasRoom =
      text != kEmptyText && header()->references == 1 && header()->capacity - oldLength >= count;
  if (hasRoom) {
    std::wmemmove(const_cast<wchar_t*>(text) + oldLength, more, count);
  } else {
    constexpr std::size_t kMostCharacters =
        (std::numeric_limits<std::ptrdiff_t>::max() - sizeof(Header)) / sizeof(wchar_t) - 1;
    if (count > kMostCharacters - oldLength) throw std::bad_alloc();
    // A string that grows a second time is likely to grow on: doubling keeps appending linear.
    const std::size_t needed = oldLength + count;
    const std::size_t capacity =
        oldLength == 0 ? needed : std::max(needed, std::min(2 * oldLength, kMostCharacters));
    void* memory = ::operator new(sizeof(Header) + (capacity + 1) * sizeof(wchar_t));
    auto* newHeader = new (memory) Header{1, needed, capacity};
    auto* newText = reinterpret_cast<wchar_t*>(newHeader + 1);
    std::wmemcpy(newText, text, oldLength);
    std::wmemcpy(newText + oldLength, more, count);
    // Only now: `more` may be a part of the text that is let go here.
    Release();
    text = newText;
  }
  header()->length = oldLength + count;
  const_cast<wchar_t*>(text)[oldLength + count] = L'\0';
}

void CWideString::Release() noexcept {
  if (text == kEmptyText) return;
  if (--header()->references == 0) ::operator delete(header());
  text = kEmptyText;
}
