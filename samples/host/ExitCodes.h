#pragma once

/// What the program returns. 2 and 3 are the results of a device engine, as the library tells them.
constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;
constexpr int kExitWrongUsage = 64;
