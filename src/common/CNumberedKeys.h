#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/CIniStringReader.h"
#include "common/CWideString.h"

/// Walks through a numbered list of an INI section: "Mode0", "Mode1", ... "Mode"(count - 1).
///
///     CNumberedKeys keys(reader, L"ModeList", L"Mode", count);
///     while (keys.Next()) Use(keys.Index(), keys.Value());
///
/// A count may be any number, so a file that claims two thousand million modes must not keep its
/// reader busy for hours: above kMostKeysTried only those keys are visited that the section has,
/// in the order of their numbers. The others would only have given empty values.
class CNumberedKeys {
 public:
  static constexpr std::int32_t kMostKeysTried = 1000;

  /// The reader must outlive this object.
  CNumberedKeys(CIniStringReader& reader, const wchar_t* section, const wchar_t* keyName,
                std::int32_t count);

  /// Goes on to the next key, if there is one, and reads its value.
  [[nodiscard]] bool Next();

  [[nodiscard]] std::int32_t Index() const noexcept { return index; }
  /// Empty when the key is not there.
  [[nodiscard]] const CWideString& Value() const noexcept { return value; }

 private:
  [[nodiscard]] bool MoveToNextIndex() noexcept;

  CIniStringReader& reader;
  const wchar_t* section;
  const wchar_t* keyName;
  std::int32_t count;
  std::vector<std::int32_t> presentIndices;  // used for a count above kMostKeysTried
  std::size_t position = 0;                  // in presentIndices
  std::int32_t index = -1;
  CWideString value;
};
