#include "DataFolder.h"

#include <windows.h>
// windows.h first: the others need its types.
#include <sddl.h>
#include <shlobj.h>

#include <array>
#include <memory>

#include "CommandError.h"

namespace DataFolder {

namespace {

// The maker's folder and the product's.
constexpr const wchar_t* kLevels[] = {L"\\Brivane", L"\\Kestrola"};

// Local System, Administrators and Users may read, write and execute, and files and folders inherit
// that: the modes belong to the machine, whoever uses it.
constexpr const wchar_t* kAccess =
    L"D:(A;OICI;GRGWGX;;;SY)(A;OICI;GRGWGX;;;BA)(A;OICI;GRGWGX;;;BU)";

struct LocalMemoryDeleter {
  void operator()(void* memory) const noexcept { ::LocalFree(memory); }
};

[[noreturn]] void Fail(const std::wstring& folder) {
  throw CommandError{
      L"The folder " + folder + L" can't be made: " + DescribeError(::GetLastError()) + L".",
      L"The library keeps its files there. Run the command once as an administrator.",
      CommandError::Cause::kDataFolder, folder};
}

bool FolderExists(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::wstring GetApplicationData() {
  std::array<wchar_t, MAX_PATH> applicationData{};
  if (::SHGetSpecialFolderPathW(nullptr, applicationData.data(), CSIDL_COMMON_APPDATA, FALSE) ==
      FALSE) {
    throw CommandError{L"This system has no folder for application data.",
                       L"The library keeps its files there; repair the system."};
  }
  return applicationData.data();
}

}  // namespace

std::wstring GetPath() {
  std::wstring path = GetApplicationData();
  for (const wchar_t* const level : kLevels) path += level;
  return path;
}

void Make() {
  MakeBelow(GetApplicationData());
}

void MakeBelow(const std::wstring& applicationData) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (::ConvertStringSecurityDescriptorToSecurityDescriptorW(kAccess, SDDL_REVISION_1, &descriptor,
                                                             nullptr) == FALSE) {
    Fail(applicationData + kLevels[0]);
  }
  const std::unique_ptr<void, LocalMemoryDeleter> owner(descriptor);
  SECURITY_ATTRIBUTES attributes = {sizeof(attributes), descriptor, FALSE};

  std::wstring folder = applicationData;
  for (const wchar_t* const level : kLevels) {
    folder += level;
    if (!FolderExists(folder) && ::CreateDirectoryW(folder.c_str(), &attributes) == FALSE) {
      Fail(folder);
    }
  }
}

}  // namespace DataFolder
