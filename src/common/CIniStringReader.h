#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "common/CWideString.h"

/// Reads string values of one INI file into one buffer that no value of the file outgrows.
class CIniStringReader {
 public:
  /// `capacity` is the buffer's size in characters: the file's size in bytes (GetMyFileSize).
  CIniStringReader(CWideString path, DWORD capacity);

  /// The key's value; an empty text when the file, the section or the key is not there.
  [[nodiscard]] CWideString Read(const wchar_t* section, const wchar_t* key);

  /// The key names of a section, in the file's order.
  [[nodiscard]] std::vector<CWideString> ReadKeyNames(const wchar_t* section);

 private:
  template <class Query>
  [[nodiscard]] std::vector<CWideString> ReadList(Query query) const;

  CWideString path;
  DWORD capacity;
  std::unique_ptr<wchar_t[]> buffer;
};
