#include "config/DataFile.h"

#include <windows.h>
// windows.h first: the others need its types.
#include <sddl.h>
#include <shlobj.h>

#include <array>

#include "common/CUniqueHandle.h"
#include "common/IniHelpers.h"
#include "common/PathHelpers.h"

namespace DataFile {

namespace {

constexpr const wchar_t* kFolder = L"Brivane\\Kestrola";

// One entry each for Local System, Administrators and Users: allowed to read, write and execute,
// inherited by files and folders.
constexpr const wchar_t* kAccess =
    L"D:(A;OICI;GRGWGX;;;SY)(A;OICI;GRGWGX;;;BA)(A;OICI;GRGWGX;;;BU)";

bool Fail(const TraceLog& trace, const TracePoint& point, const CWideString& path) {
  const DWORD error = ::GetLastError();
  return trace.WriteTextUInt(point.function, point.line, path.c_str(), error);
}

}  // namespace

bool GetPath(const wchar_t* fileName, CWideString* path) {
  std::array<wchar_t, MAX_PATH> commonAppData{};
  if (::SHGetSpecialFolderPathW(nullptr, commonAppData.data(), CSIDL_COMMON_APPDATA, FALSE) ==
      FALSE) {
    return false;
  }
  CWideString folder;
  return Common::JoinPath(commonAppData.data(), kFolder, &folder) &&
         Common::JoinPath(folder, fileName, path);
}

bool Create(const CWideString& path, const TraceLog& trace, const CreateTracePoints& points) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (::ConvertStringSecurityDescriptorToSecurityDescriptorW(kAccess, SDDL_REVISION_1, &descriptor,
                                                             nullptr) == FALSE) {
    return Fail(trace, points.noSecurityDescriptor, path);
  }
  const CUniqueLocalMemory descriptorOwner(descriptor);
  SECURITY_ATTRIBUTES attributes = {sizeof(attributes), descriptor, FALSE};

  const CWideString folder = Common::RemoveFileSpec(path);
  if (!Common::FolderExists(folder) && ::CreateDirectoryW(folder.c_str(), &attributes) == FALSE) {
    return Fail(trace, points.noFolder, folder);
  }
  if (Common::FileExists(path)) return true;
  const CUniqueFile file(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                       &attributes, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  return file ? true : Fail(trace, points.noFile, path);
}

bool WriteInt(const CWideString& path, const wchar_t* section, const wchar_t* key,
              std::int32_t value, const TraceLog& trace, const WriteTracePoints& points) {
  if (Common::WriteIniInt(path, section, key, value)) return true;
  Fail(trace, points.pathAndError, path);
  return trace.WriteInt(points.value.function, points.value.line, value);
}

}  // namespace DataFile
