#pragma once

#include <windows.h>

#include <cstdint>

#include "common/CWideString.h"
#include "trace/TraceLog.h"

/// Keeps the machine's state in "ModeChange.Status.ini", in the per-machine data folder: which mode
/// is ON, and the value that each setting item had before a mode changed it (its normal
/// environment).
///
/// Every operation goes to the file at once, returns true on success, and on failure traces,
/// returns false and leaves its outputs as they were. The first save makes the file and the last
/// level of its folder; the maker's folder above it must be there.
///
/// The file is made empty, hence in the ANSI code page: names outside that page do not survive in
/// it as keys.
class CModeChangeStatus {
 public:
  /// What GetNormalEnvironmentSetting gives for an item with nothing saved.
  static constexpr std::int32_t kNothingSaved = -1;

  CModeChangeStatus();

  /// The number that is stored for the mode; 0 (OFF) when there is no file or no entry.
  bool GetCurrentModeStatus(const wchar_t* mode, UINT* status) const;
  bool SaveCurrentModeStatus(const wchar_t* mode, std::int32_t status) const;

  /// kNothingSaved for an item without an entry; a missing file is a failure.
  bool GetNormalEnvironmentSetting(const wchar_t* item, std::int32_t* value) const;
  bool SaveNormalEnvironmentSetting(const wchar_t* item, std::int32_t value) const;

  /// Makes the folder and an empty file that every user of the machine may write; true at once
  /// where the file is there.
  bool CreateStatusFile() const;

 private:
  CWideString statusPath;
  TraceLog trace;
};
