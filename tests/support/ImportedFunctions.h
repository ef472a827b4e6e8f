#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string_view>

/// What the tests know about a function that the library imports.
struct ImportedFunction {
  std::string_view name;
  /// A letter per argument: 'w' wide text, 'a' byte text, 'u' number, 'p' anything else. Texts are
  /// copied when a call is recorded.
  std::string_view signature;

  enum class Kind {
    kWindows,  // a call that the library makes
    kRuntime,  // a call of the language's runtime or of its kind: counted, but not recorded
    kFixed,    // can't be interposed: looks at its caller's stack frame
  };
  Kind kind = Kind::kWindows;

  /// What the function returns when it fails; none for a function that can't. Functions that give
  /// back what was given are of that kind: forcing them to fail would be the test's leak.
  std::optional<std::uint64_t> failingResult;
  /// The last error of such a failure, for example; ERROR_SUCCESS where it is not set.
  DWORD lastError = ERROR_SUCCESS;
};

/// Null for a function that the table lacks. It has all that the library imports from Windows, but
/// only those of the C runtime that can fail.
[[nodiscard]] const ImportedFunction* FindImportedFunction(std::string_view name) noexcept;

/// True for the DLL of the C runtime.
[[nodiscard]] bool IsRuntimeModule(std::string_view module) noexcept;
