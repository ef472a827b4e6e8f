#pragma once

#include <string>

/// The folder in which the library keeps the user's settings and the modes' statuses. The library
/// makes only its last level, so on a new machine a host has to.
namespace DataFolder {

/// Where it is, or belongs. Throws a CommandError where the system has no such place.
[[nodiscard]] std::wstring GetPath();

/// Makes the levels that are missing below the per-machine application data, with the access that
/// the library gives its files. Throws a CommandError.
void Make();

/// The same below a folder of the caller's choice.
void MakeBelow(const std::wstring& applicationData);

}  // namespace DataFolder
