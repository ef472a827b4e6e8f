#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "common/CWideString.h"
#include "trace/TraceLog.h"

/// Reads which modes, setting groups and setting items there are, which engine carries out each
/// item and which values of one item lock others: "ModeChange.Config.ini" and
/// "ModeChange.UsableModeList.ini", both beside the library and never written by it.
///
/// Every operation reads the files anew, returns true on success, and on failure traces, returns
/// false and leaves its outputs as they were. Lists are appended to.
class CModeChangeConfig {
 public:
  /// What GetModeType answers. The exported interface numbers its types differently.
  enum ModeType : UINT {
    kCradleMode = 0,
    kCustomMode = 1,
    kEcoMode = 2,
    kWirelessOffMode = 3,
    kNormalMode = 4,
  };

  CModeChangeConfig();

  /// An absent key is an empty text.
  bool GetModeStatusIconKeyName(UINT status, CWideString* iconKeyName) const;

  /// Every mode that is defined. No mode at all is a failure.
  bool GetAllModeList(std::vector<CWideString>* modes) const;
  /// The defined modes that this machine offers, in its order and spelling. An empty list file is
  /// a failure; a list of unknown modes is not.
  bool GetUsableModeList(std::vector<CWideString>* modes) const;
  bool GetModeType(const wchar_t* mode, UINT* type) const;

  bool GetAllSettingItemList(std::vector<CWideString>* items) const;
  bool GetSettingGroupList(std::vector<CWideString>* groups) const;
  /// The group's items in its order and spelling; those that are no setting items are left out.
  bool GetSettingItemListInSettingGroup(const wchar_t* group,
                                        std::vector<CWideString>* items) const;

  /// Full path of the item's engine; the library's folder where the item names none.
  bool GetSettingItemEnginePath(const wchar_t* item, CWideString* enginePath) const;

  /// The lock rule of an item: while it has the value `lockValue`, each item of `lockedItems` is
  /// held at the value of `lockedValues` at the same place. The lists are replaced.
  ///
  /// An item without a locking value has no lock: true, with `hasLock` false. A locking value
  /// without locked items is a mistake in the file: false, with `hasLock` false and no trace.
  bool DoesSettingItemaHaveValueLockOtherSettingItem(const wchar_t* item, bool* hasLock,
                                                     std::int32_t* lockValue,
                                                     std::vector<CWideString>* lockedItems,
                                                     std::vector<std::int32_t>* lockedValues) const;

  /// Whether a mode change may drive the wireless lamp on a system before Windows 8; false where
  /// the file does not say so.
  [[nodiscard]] bool EnableToChangeWirelessLEDStatusInWin7() const noexcept;

  /// True when both files are there.
  [[nodiscard]] bool DoesConfigFileExist() const;

 private:
  /// A list that may be missing: what it is called in the file and where its failures are traced.
  struct OptionalList {
    const wchar_t* section;
    const wchar_t* countKey;
    const wchar_t* nameKey;
    TracePoint nullOutput;
    TracePoint noConfigFile;
    TracePoint emptyConfigFile;
  };

  bool GetList(const OptionalList& list, std::vector<CWideString>* names) const;

  CWideString configPath;
  CWideString usableModeListPath;
  TraceLog trace;
};
