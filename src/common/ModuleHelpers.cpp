#include "common/ModuleHelpers.h"

#include <array>
#include <limits>

#include "common/CUniqueHandle.h"
#include "common/PathHelpers.h"
#include "trace/TraceLog.h"

namespace Common {

HMODULE GetMyModuleHandle() {
  HMODULE module = nullptr;
  if (::GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<const wchar_t*>(&GetMyModuleHandle), &module) == FALSE) {
    const DWORD error = ::GetLastError();
    TraceLog().WriteUInt(L"Common::GetMyModuleHandle", 63, error);
    return nullptr;
  }
  return module;
}

DWORD GetMyFileSize(const wchar_t* path) {
  const CUniqueFile file(::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) {
    TraceLog().Write(L"Common::GetMyFileSize", 91);
    return 0;
  }
  LARGE_INTEGER size{};
  if (::GetFileSizeEx(file.Get(), &size) == FALSE) {
    TraceLog().Write(L"Common::GetMyFileSize", 105);
    return 0;
  }
  if (size.QuadPart > std::numeric_limits<DWORD>::max()) {
    const TraceLog trace;
    trace.Write(L"Common::GetMyFileSize", 117);
    trace.Write(L"Common::GetMyFileSize", 118);
    return 0;
  }
  return static_cast<DWORD>(size.QuadPart);
}

bool GetModuleFolder(HMODULE module, CWideString* folder) {
  if (module == nullptr) {
    ::SetLastError(ERROR_INVALID_HANDLE);
    return false;
  }
  std::array<wchar_t, MAX_PATH + 1> path{};
  const DWORD length = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
  if (length == 0) return false;
  const CWideString found = length < path.size() ? RemoveFileSpec(path.data()) : CWideString();
  if (found.empty()) {
    ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return false;
  }
  *folder = found;
  return true;
}

}  // namespace Common
