#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

#include "EngineAnswers.h"

/// Asks engines in a process of its own for each: one that crashes, hangs or ends its process is a
/// finding, and not the end of the check.
class EngineProcess final : public EngineSource {
 public:
  static constexpr DWORD kPatienceInMilliseconds = 20000;
  /// The argument that makes the program ask the engine that the next one names.
  static constexpr const wchar_t* kArgument = L"--ask-engine";

  /// `program` is this program's own file.
  explicit EngineProcess(std::filesystem::path program,
                         DWORD patienceInMilliseconds = kPatienceInMilliseconds)
      : program(std::move(program)), patience(patienceInMilliseconds) {}

  [[nodiscard]] EngineAnswers Ask(const std::filesystem::path& engine) override;

  /// What the program does when it is started so.
  static void Answer(const std::filesystem::path& engine);

 private:
  std::filesystem::path program;
  DWORD patience;
};
