#include "ChangeOutcome.h"

#include <shellapi.h>
#include <velto/mode_change.h>

#include "StringIds.h"

bool WentWell(const Change& change) {
  return change.result == WPARAM{VELTO_MODE_CHANGE_COMPLETED};
}

Balloon DescribeOutcome(const Change& change, const Texts& texts) {
  const bool on = change.wanted == VELTO_MODE_STATUS_ON;
  const auto describe = [&](UINT id, DWORD kind) {
    const std::wstring result = change.result ? std::to_wstring(*change.result) : L"";
    return Balloon{change.mode, texts.Format(id, {change.mode, result}), kind};
  };
  if (!change.result) return describe(IDS_NO_ANSWER, NIIF_ERROR);
  switch (*change.result) {
    case VELTO_MODE_CHANGE_COMPLETED:
      // The library reports a cancelled change as completed. The status tells them apart, as this
      // program asks for the one that the mode did not have.
      if (change.statusAfter != change.wanted) return describe(IDS_CANCELLED, NIIF_INFO);
      return describe(on ? IDS_DONE_ON : IDS_DONE_OFF, NIIF_INFO);
    case VELTO_MODE_CHANGE_ENGINE_RESULT_2:
    case VELTO_MODE_CHANGE_ENGINE_RESULT_3:
      return describe(on ? IDS_ENGINE_RESULT_ON : IDS_ENGINE_RESULT_OFF, NIIF_WARNING);
    default:
      return describe(on ? IDS_FAILED_ON : IDS_FAILED_OFF, NIIF_ERROR);
  }
}

std::wstring DescribeProgress(const Change& change, const Texts& texts) {
  return texts.Format(change.wanted == VELTO_MODE_STATUS_ON ? IDS_TURNING_ON : IDS_TURNING_OFF,
                      {change.mode});
}
