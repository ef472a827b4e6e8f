#pragma once

/// From now on a crash or an abort of this process says on the standard error where it happened.
void ReportCrashes();
