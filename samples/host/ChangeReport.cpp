#include "ChangeReport.h"

#include <velto/mode_change.h>

#include "ExitCodes.h"
#include "ModeTexts.h"

namespace {

ChangeReport ReportCompleted(const Change& change) {
  const std::wstring now = change.mode + L" is " + GetStatusWord(change.statusAfter);
  if (change.statusAfter != change.wanted) return {kExitFailed, L"Cancelled: " + now + L"."};
  if (change.statusBefore == change.wanted && change.couldBeCancelled) {
    return {kExitDone, now +
                           L", as it was before; if the user was asked and cancelled, "
                           L"nothing was done."};
  }
  return {kExitDone, now + L"."};
}

}  // namespace

ChangeReport ReportChange(const Change& change) {
  const std::wstring attempt = L"switch " + change.mode + L" " + GetStatusWord(change.wanted);
  const std::wstring partly = L" Devices that were set by then keep their new values.";
  if (!change.result) {
    return {kExitFailed,
            L"Gave up waiting to " + attempt + L": a device does not answer." + partly};
  }
  switch (*change.result) {
    case VELTO_MODE_CHANGE_COMPLETED:
      return ReportCompleted(change);
    case VELTO_MODE_CHANGE_ENGINE_RESULT_2:
    case VELTO_MODE_CHANGE_ENGINE_RESULT_3:
      return {static_cast<int>(*change.result),
              L"A device's engine ended the attempt to " + attempt + L" with its own result " +
                  std::to_wstring(*change.result) + L"; its maker knows what that means." + partly};
    default:
      return {kExitFailed, L"Failed to " + attempt +
                               L": a device could not be set, or the status could not be saved." +
                               partly};
  }
}
