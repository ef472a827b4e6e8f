#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "common/CUniqueHandle.h"

/// A program that this one starts and waits for. It ends with this object, and with this process
/// however that ends.
class ChildProcess {
 public:
  struct Options {
    std::filesystem::path program;
    std::wstring commandLine;  // with the program's name in front
    std::filesystem::path workingFolder = {};
    /// What differs from this process' environment; an empty value removes the variable.
    std::map<std::wstring, std::wstring> variables = {};
    /// Where its input comes from; null for where this process' input comes from.
    HANDLE input = nullptr;
    /// Where its output goes; null for where this process' output goes.
    HANDLE output = nullptr;
  };

  /// Throws std::system_error where it can't be started.
  explicit ChildProcess(const Options& options);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Its exit code, or none when it still runs after that time.
  [[nodiscard]] std::optional<std::uint32_t> Wait(std::uint32_t milliseconds) const;

  struct Result {
    std::uint32_t exitCode;
    std::string output;
  };
  /// Runs a program to its end and returns all that it printed.
  [[nodiscard]] static Result Run(Options options);

 private:
  struct HandleTraits {
    using Type = HANDLE;
    static Type None() noexcept { return nullptr; }
    static void Close(Type handle) noexcept { ::CloseHandle(handle); }
  };

  CUniqueHandle<HandleTraits> job;
  CUniqueHandle<HandleTraits> process;
};
