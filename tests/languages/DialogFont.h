#pragma once

#include <windows.h>

#include <string>
#include <vector>

/// A font of a dialog template, which gives the dialog its units.
struct DialogFont {
  std::wstring face;
  WORD points = 0;

  /// A template of a module as if it had been written with this font.
  [[nodiscard]] std::vector<WORD> ApplyTo(HMODULE module, const wchar_t* templateName) const;
};
