#pragma once

#include <windows.h>

namespace EngineCheck {

/// Has this process write a crash into the journal's pipe, and end. Windows shows nothing then.
void ReportCrashes(HANDLE pipe) noexcept;

}  // namespace EngineCheck
