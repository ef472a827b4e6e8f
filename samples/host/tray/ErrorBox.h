#pragma once

#include <windows.h>

#include <string>

#include "CommandError.h"
#include "Texts.h"

/// What went wrong, in sentences for a user: what happened, and what to do now.
[[nodiscard]] std::wstring DescribeForUser(const CommandError& error, const Texts& texts);

/// Shows a text until the user closes it. `icon` is MB_ICONERROR or the like.
void ShowBox(HWND owner, const std::wstring& text, UINT icon, const Texts& texts);
