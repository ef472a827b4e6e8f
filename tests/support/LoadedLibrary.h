#pragma once

#include <windows.h>

/// The ModeChange.dll beside the test program, kept loaded while this object lives.
class LoadedLibrary {
 public:
  LoadedLibrary();
  ~LoadedLibrary();
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  [[nodiscard]] HMODULE Module() const noexcept { return module; }

 private:
  HMODULE module;
};
