#pragma once

#include <map>
#include <string>

#include "support/ChildProcess.h"

/// Starts this test program again for one of its tests. A test that does so plays two roles; the
/// variables tell it which one.
[[nodiscard]] ChildProcess::Result RunTestAgain(const std::string& test,
                                                std::map<std::wstring, std::wstring> variables);
