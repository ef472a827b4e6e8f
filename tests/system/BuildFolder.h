#pragma once

#include <filesystem>
#include <stdexcept>

#include "support/Files.h"

/// Where the build puts what it makes for use. Tests run in a folder of their own somewhere below
/// the build folder.
[[nodiscard]] inline std::filesystem::path BuiltProgramsFolder() {
  const std::filesystem::path program = Files::ProgramPath();
  for (std::filesystem::path folder = program.parent_path(); folder != folder.parent_path();
       folder = folder.parent_path()) {
    if (std::filesystem::is_directory(folder / L"bin" / L"Engines")) return folder / L"bin";
  }
  throw std::runtime_error("no bin\\Engines above " + program.string());
}
