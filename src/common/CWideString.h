#pragma once

#include <cstddef>
#include <cstdint>

/// UTF-16 text, terminated by NUL and shared by reference count.
///
/// The object is one pointer (8 bytes) to the text, so records that carry strings have a fixed
/// size and lists of strings are copied without copying text. A copy shares the text until one of
/// the two is changed. c_str() stays valid until this object is changed or destroyed.
///
/// Not for sharing between threads: the reference count is a plain integer. Operations that need
/// memory throw std::bad_alloc when there is none and leave the string as it was.
class CWideString {
 public:
  CWideString() noexcept;
  /// Takes the text up to its terminator; a null pointer counts as empty text.
  CWideString(const wchar_t* text);  // NOLINT(google-explicit-constructor): texts are literals
  CWideString(const wchar_t* text, std::size_t length);
  CWideString(const CWideString& other) noexcept;
  CWideString(CWideString&& other) noexcept;
  CWideString& operator=(const CWideString& other) noexcept;
  CWideString& operator=(CWideString&& other) noexcept;
  ~CWideString();

  /// The number in decimal, without padding.
  [[nodiscard]] static CWideString FromInt(std::int32_t value);
  [[nodiscard]] static CWideString FromUInt(std::uint32_t value);

  [[nodiscard]] const wchar_t* c_str() const noexcept { return text; }
  /// In characters (UTF-16 code units), without the terminator.
  [[nodiscard]] std::size_t length() const noexcept;
  [[nodiscard]] bool empty() const noexcept { return length() == 0; }

  CWideString& operator+=(const CWideString& more);
  friend CWideString operator+(CWideString left, const CWideString& right) {
    left += right;
    return left;
  }

  /// Replaces every occurrence of `what`, from left to right; an empty `what` replaces nothing.
  void ReplaceAll(const CWideString& what, const CWideString& with);

  friend bool operator==(const CWideString& left, const CWideString& right) noexcept {
    return left.Equals(right);
  }
  /// Compares as file and mode names compare: by `_wcsicmp`.
  [[nodiscard]] bool EqualsIgnoringCase(const CWideString& other) const noexcept;

 private:
  struct Header;

  [[nodiscard]] Header* header() const noexcept;
  [[nodiscard]] bool Equals(const CWideString& other) const noexcept;
  void Append(const wchar_t* more, std::size_t count);
  void Release() noexcept;

  // Points at the text; a Header lies right before it, except before the shared empty text.
  const wchar_t* text;
};

static_assert(sizeof(CWideString) == sizeof(void*));
