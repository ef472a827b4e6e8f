#pragma once

#include "config/CModeChangeConfig.h"
#include "config/CModeChangeSettings.h"
#include "config/CModeChangeStatus.h"

/// The readers of one change. They answer from the files as these are at that moment, so the only
/// thing that is kept is where the files are: asking Windows for that again for each item would
/// take longer than all else that the library adds to an item.
struct ChangeModeReaders {
  CModeChangeConfig config = {};
  CModeChangeSettings settings = {};
  CModeChangeStatus statuses = {};
};
