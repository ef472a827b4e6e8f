#pragma once

#include <windows.h>

#include <string>

/// What the icon says for some seconds.
struct Balloon {
  std::wstring title = {};
  std::wstring text = {};
  DWORD kind = 0;  // NIIF_INFO, NIIF_WARNING or NIIF_ERROR
};
