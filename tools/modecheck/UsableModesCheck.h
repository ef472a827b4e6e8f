#pragma once

#include "Configuration.h"
#include "IniFileCheck.h"

/// Checks ModeChange.UsableModeList.ini against the modes that are defined.
void CheckUsableModes(const IniFileCheck& file, const Configuration& configuration);
