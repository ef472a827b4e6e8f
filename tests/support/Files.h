#pragma once

#include <filesystem>

/// What the test program does with files on its own behalf.
namespace Files {

/// This program's own file.
[[nodiscard]] std::filesystem::path ProgramPath();

/// Removes a file, or a folder with all that is in it, read-only or not. Where another program
/// holds a file for a moment it tries again until a deadline. False when something is left.
bool RemoveTree(const std::filesystem::path& path);

}  // namespace Files
