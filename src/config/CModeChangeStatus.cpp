#include "config/CModeChangeStatus.h"

#include "common/IniHelpers.h"
#include "common/PathHelpers.h"
#include "config/DataFile.h"

namespace {

constexpr const wchar_t* kCurrentModeStatus = L"CurrentModeStatus";
constexpr const wchar_t* kNormalEnvironment = L"NormalEnvironment";

}  // namespace

CModeChangeStatus::CModeChangeStatus() {
  if (!DataFile::GetPath(L"ModeChange.Status.ini", &statusPath)) {
    const DWORD error = ::GetLastError();
    trace.WriteUInt(L"CModeChangeStatus::CModeChangeStatus", 60, error);
  }
}

bool CModeChangeStatus::GetCurrentModeStatus(const wchar_t* mode, UINT* status) const {
  if (mode == nullptr || status == nullptr) {
    return trace.Write(L"CModeChangeStatus::GetCurrentModeStatus", 88);
  }
  *status = Common::FileExists(statusPath)
                ? static_cast<UINT>(Common::ReadIniInt(statusPath, kCurrentModeStatus, mode, 0))
                : 0;
  return true;
}

bool CModeChangeStatus::SaveCurrentModeStatus(const wchar_t* mode, std::int32_t status) const {
  if (mode == nullptr) return trace.Write(L"CModeChangeStatus::SaveCurrentModeStatus", 121);
  if (!Common::FileExists(statusPath) && !CreateStatusFile()) {
    return trace.Write(L"CModeChangeStatus::SaveCurrentModeStatus", 127);
  }
  return DataFile::WriteInt(statusPath, kCurrentModeStatus, mode, status, trace,
                            {.pathAndError = {L"CModeChangeStatus::SaveCurrentModeStatus", 138},
                             .value = {L"CModeChangeStatus::SaveCurrentModeStatus", 139}});
}

bool CModeChangeStatus::GetNormalEnvironmentSetting(const wchar_t* item,
                                                    std::int32_t* value) const {
  if (item == nullptr || value == nullptr) {
    return trace.Write(L"CModeChangeStatus::GetNormalEnvironmentSetting", 175);
  }
  if (!Common::FileExists(statusPath)) {
    return trace.Write(L"CModeChangeStatus::GetNormalEnvironmentSetting", 181, statusPath.c_str());
  }
  *value = Common::ReadIniInt(statusPath, kNormalEnvironment, item, kNothingSaved);
  return true;
}

bool CModeChangeStatus::SaveNormalEnvironmentSetting(const wchar_t* item,
                                                     std::int32_t value) const {
  if (item == nullptr) return trace.Write(L"CModeChangeStatus::SaveNormalEnvironmentSetting", 205);
  if (!Common::FileExists(statusPath) && !CreateStatusFile()) {
    return trace.Write(L"CModeChangeStatus::SaveNormalEnvironmentSetting", 211);
  }
  return DataFile::WriteInt(
      statusPath, kNormalEnvironment, item, value, trace,
      {.pathAndError = {L"CModeChangeStatus::SaveNormalEnvironmentSetting", 222},
       .value = {L"CModeChangeStatus::SaveNormalEnvironmentSetting", 223}});
}

bool CModeChangeStatus::CreateStatusFile() const {
  return DataFile::Create(statusPath, trace,
                          {.noSecurityDescriptor = {L"CModeChangeStatus::CreateStatusFile", 260},
                           .noFolder = {L"CModeChangeStatus::CreateStatusFile", 278},
                           .noFile = {L"CModeChangeStatus::CreateStatusFile", 295}});
}
