#pragma once

/// Runs a test program as a copy of itself in a fresh folder.
///
/// The library looks for its files in its own folder, and tests of one program run side by side:
/// each process needs a library folder of its own. So the program that CTest starts is only the
/// supervisor. It makes the folder, "sandboxes\<process>-<number>" two levels above its own, with
/// copies of itself and of the DLLs beside it, starts the copy with the same arguments, and removes
/// the folder. It fails when the tests fail, hang or leave a file behind.
///
/// VELTO_SUPERVISOR_SECONDS sets its patience.
namespace Supervisor {

/// Names the copy's folder, in the copy.
constexpr const wchar_t* kFolderVariable = L"VELTO_SANDBOX";

/// True in the copy.
[[nodiscard]] bool IsSupervised();

/// Exit codes besides those of the supervised program.
constexpr int kCannotStart = 90;
constexpr int kTimeOut = 91;
constexpr int kFilesLeft = 92;

/// Returns the program's exit code.
[[nodiscard]] int Run();

}  // namespace Supervisor
