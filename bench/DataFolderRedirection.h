#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

/// Lets a module find the folder of application data in another place; Windows is asked all the
/// same. One at a time.
class DataFolderRedirection {
 public:
  /// Throws std::runtime_error for a module that never asks.
  DataFolderRedirection(HMODULE module, const std::filesystem::path& applicationData);
  ~DataFolderRedirection();
  DataFolderRedirection(const DataFolderRedirection&) = delete;
  DataFolderRedirection& operator=(const DataFolderRedirection&) = delete;

 private:
  static BOOL WINAPI Answer(HWND window, wchar_t* path, int folder, BOOL create);
  void Set(void* function) const;

  static inline std::wstring answer;
  void** slot = nullptr;
  void* original = nullptr;
};
