#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// Which input is being tried, for whoever has to repeat it.
namespace CurrentInput {

/// A number in the environment, or none.
[[nodiscard]] std::optional<std::uint64_t> GetNumber(const wchar_t* variable);

/// The command, a line for the shell, that repeats the input that is tried from now on. A crash
/// says it and ends the process at once: Wine would start a debugger, and wait for it.
void Begin(const std::string& command);

}  // namespace CurrentInput
