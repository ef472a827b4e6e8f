#pragma once

#include <windows.h>

#include <initializer_list>
#include <string>

/// The program's own texts, in one language of its resources.
///
/// The language follows the user's region, as that of the library's texts does: both stand in the
/// same menu. Windows itself would take the language of its own user interface.
class Texts {
 public:
  /// Texts of this module, for the user of this process.
  explicit Texts(HINSTANCE module);
  Texts(HINSTANCE module, LANGID user);

  /// The text of an IDS_... number; empty where there is none.
  [[nodiscard]] std::wstring Get(UINT id) const;

  /// The text with %1, %2 and so on replaced.
  [[nodiscard]] std::wstring Format(UINT id, std::initializer_list<std::wstring> inserts) const;

  /// The language that was chosen.
  [[nodiscard]] LANGID GetLanguage() const noexcept { return language; }

 private:
  HINSTANCE instance;
  LANGID language;
};
