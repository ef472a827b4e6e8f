#pragma once

#include <windows.h>

/// The numbers that SystemParametersInfo keeps. Windows takes some of them in its second argument
/// and some in the pointer behind it; what is not used should be 0, unless an engine says why not.
namespace SystemParameter {

[[nodiscard]] bool Get(UINT action, UINT* value) noexcept;

/// Also writes the user's profile and tells all windows.
[[nodiscard]] bool Set(UINT action, UINT uiParam, UINT pvParam) noexcept;

}  // namespace SystemParameter
