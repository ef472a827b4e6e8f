#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "common/CWideString.h"
#include "trace/TraceLog.h"

/// What a host's handle stands for: the machine's modes, the one that is selected, and the hidden
/// window that carries out changes.
///
/// Every question is put to the readers anew, so an answer is what the files say at that moment;
/// only the list of modes is kept. Every operation returns true on success, and on failure traces,
/// returns false and leaves its output as it was. Everything runs on the thread that made the
/// object.
class CModeChange {
 public:
  static constexpr UINT kStatusCount = 2;

  CModeChange() noexcept = default;
  ~CModeChange();
  CModeChange(const CModeChange&) = delete;
  CModeChange& operator=(const CModeChange&) = delete;

  /// Keeps an object through a call that handles messages: its handle may be deleted meanwhile.
  class CCall {
   public:
    explicit CCall(CModeChange& object) noexcept;
    ~CCall();
    CCall(const CCall&) = delete;
    CCall& operator=(const CCall&) = delete;

   private:
    CModeChange& object;
  };

  /// Deletes the object, or leaves that to the call that runs. Its window closes itself when the
  /// thread next handles messages.
  static void Delete(CModeChange* object) noexcept;

  /// Reads the modes, makes the window and pins the library. To be called once, first.
  bool Initiallize();

  bool GetModeCount(UINT* count) const;
  bool SelectMode(UINT index);
  bool GetStringInformation(UINT identifier, UINT subIndex, CWideString* text) const;
  bool GetINT32Information(UINT identifier, UINT subIndex, std::int32_t* value) const;
  bool RequestToSetINT32Information(UINT identifier, UINT subIndex, std::int32_t value, HWND window,
                                    UINT message) const;
  /// Throws std::out_of_range when there is no mode at all.
  bool ShowSettingsDialog(HWND parent) const;

  bool GetModeDisplayName(UINT modeIndex, CWideString* name) const;
  bool GetStatusDisplayName(UINT status, CWideString* name) const;
  bool GetStatusIconKeyName(UINT status, CWideString* keyName) const;
  bool GetModeType(UINT modeIndex, std::int32_t* type) const;
  static bool GetStatusCout(std::int32_t* count) noexcept;
  bool GetCurrentStatus(UINT modeIndex, std::int32_t* status) const;
  bool IsSettingsChanged(UINT modeIndex, std::int32_t* changed) const;
  bool IsAutoONOFFEnabled(UINT modeIndex, std::int32_t* enabled) const;

  /// Asks the user, unless that is turned off, and hands the change to the window.
  bool RequestToChangeMode(UINT modeIndex, UINT status, HWND window, UINT message) const;

 private:
  struct Mode {
    CWideString keyName;
    UINT typeCode;
  };
  static_assert(sizeof(Mode) == 16);

  bool LoadModeInformation();
  bool PinDLL() const;
  void CloseWindow() noexcept;

  std::vector<Mode> modes;
  bool modeSelected = false;
  UINT selectedIndex = 0;
  HWND changeModeWindow = nullptr;
  TraceLog trace;
  UINT callCount = 0;
  bool isDeleted = false;
};
