#pragma once

#include <windows.h>

#include <cstdint>

#include "common/CWideString.h"

/// Reads one INI file that is looked for by the user's locale, in sub-folders of the library's own
/// folder. Nothing here traces: the callers know what was asked for.
class CIniMgr {
 public:
  CIniMgr() noexcept = default;
  virtual ~CIniMgr();
  CIniMgr(const CIniMgr&) = delete;
  CIniMgr& operator=(const CIniMgr&) = delete;

  /// Looks for the file and remembers where it is; false, with the path unchanged, if nowhere.
  [[nodiscard]] virtual bool Initialize(HMODULE newModule, const wchar_t* fileName);

  /// The key's value as a number: decimal or "0x" hexadecimal, from at most 15 characters; the
  /// leading digits where the text goes on after them; 0 for no value and for other text.
  [[nodiscard]] virtual std::int32_t GetIniInt(const wchar_t* section, const wchar_t* key);

  /// Copies the key's value into `buffer`, which is cleared first; a missing file, section or key
  /// gives an empty text. Returns the number of characters copied, without the terminator.
  virtual DWORD GetIniString(const wchar_t* section, const wchar_t* key, wchar_t* buffer,
                             DWORD sizeInChars);

  /// Full path of the file; empty until one was found.
  [[nodiscard]] const CWideString& Path() const noexcept { return path; }

 protected:
  /// The search, from the user's own locale to the library's folder itself:
  /// "ja-JP", any "ja-*", "en-US", the folder. False, with `fullPath` untouched, if nowhere.
  [[nodiscard]] bool FindLocaleFilePath(const wchar_t* fileName, CWideString* fullPath) const;

  CWideString path;
  HMODULE module = nullptr;
};
