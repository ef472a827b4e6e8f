#pragma once

#include <string>

/// A process that changes a mode and dies of it.
namespace MortalHost {

/// How the process ends; with 0 only where the system ends it.
constexpr int kCompleted = 75;
constexpr int kDidNotComplete = 76;
constexpr int kDied = 77;

/// What makes a run of this program such a process: "--die OPERATION POINT".
constexpr const wchar_t* kOption = L"--die";

/// Runs an operation, "on", "off" or "over", and ends the process without a warning at its n-th
/// point: where a call of an engine or of the driver begins, right after a device or the lamp was
/// set, right before and right after a folder or a file is made or a file is written. Point 0 never
/// comes.
///
/// Prints what was done, a line each: "made the file", "wrote [NormalEnvironment] Screen=3",
/// "set Screen=1".
[[nodiscard]] int Run(const std::wstring& operation, unsigned long point);

}  // namespace MortalHost
