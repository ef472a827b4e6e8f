#include "support/ScriptedEngine.h"

#include <cwchar>
#include <filesystem>
#include <stdexcept>

namespace {

std::filesystem::path FolderOfThisProgram() {
  wchar_t path[MAX_PATH]{};
  ::GetModuleFileNameW(nullptr, path, MAX_PATH);
  return std::filesystem::path(path).parent_path();
}

std::string WithNumbers(const char* call, UINT first, UINT second) {
  return std::string(call) + "(" + std::to_string(first) + ", " + std::to_string(second) + ")";
}

}  // namespace

ScriptedEngine::ScriptedEngine(const std::wstring& path, EngineLog* log)
    : name(std::filesystem::path(path).stem().string()), path(path), log(log) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::filesystem::copy_file(FolderOfThisProgram() / L"FakeEngine.dll", path);
  module = ::LoadLibraryW(path.c_str());
  if (module == nullptr) throw std::runtime_error("the fake engine does not load");
  const auto attach = reinterpret_cast<AttachEngineBehaviour>(
      reinterpret_cast<void*>(::GetProcAddress(module, "FakeEngine_Attach")));
  attach(this);
}

ScriptedEngine::~ScriptedEngine() {
  const auto attach = reinterpret_cast<AttachEngineBehaviour>(
      reinterpret_cast<void*>(::GetProcAddress(module, "FakeEngine_Attach")));
  attach(nullptr);
  ::FreeLibrary(module);
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

void ScriptedEngine::Complete() const {
  ::PostMessageW(window, message, result, 0);
}

BOOL ScriptedEngine::CreateHandle(void** handle) {
  const bool good = Record("CreateHandle");
  if (!nullHandle) *handle = this;
  if (good && !nullHandle) ++openHandles;
  return good;
}

BOOL ScriptedEngine::DeleteHandle(void* handle) {
  --openHandles;
  return Record(handle == this ? "DeleteHandle" : "DeleteHandle of a handle that is not its own");
}

BOOL ScriptedEngine::GetDeviceCount(void* /*handle*/, UINT* count) {
  if (!Record("GetDeviceCount")) return FALSE;
  *count = devices;
  return TRUE;
}

BOOL ScriptedEngine::SelectDevice(void* /*handle*/, UINT index) {
  return Record("SelectDevice(" + std::to_string(index) + ")");
}

BOOL ScriptedEngine::GetStringInformation(void* /*handle*/, UINT identifier, UINT subIndex,
                                          UINT* length, WCHAR* buffer) {
  if (!Record(WithNumbers("GetStringInformation", identifier, subIndex))) return FALSE;
  if (writeText) {
    writeText(identifier, subIndex, length, buffer);
    return TRUE;
  }
  const std::wstring text = identifier == 0 ? itemKey : valueKeyPrefix + std::to_wstring(subIndex);
  if (text.size() + 1 > *length) return FALSE;
  std::wmemcpy(buffer, text.c_str(), text.size() + 1);
  *length = static_cast<UINT>(text.size() + 1);
  return TRUE;
}

BOOL ScriptedEngine::GetINT32Information(void* /*handle*/, UINT identifier, UINT subIndex,
                                         INT32* value) {
  if (!Record(WithNumbers("GetINT32Information", identifier, subIndex))) return FALSE;
  switch (identifier) {
    case 0:
      *value = supported;
      return TRUE;
    case 1:
      *value = values;
      return TRUE;
    case 2: {
      const auto answer = available.find(subIndex);
      *value = answer != available.end() ? answer->second : 1;
      return TRUE;
    }
    case 3:
      *value = current;
      return TRUE;
    case 4:
      *value = busy;
      return TRUE;
    default:
      return FALSE;
  }
}

BOOL ScriptedEngine::RequestToSetINT32Information(void* /*handle*/, UINT identifier, UINT subIndex,
                                                  INT32 value, HWND notificationWindow,
                                                  UINT notificationMessage) {
  if (!Record(WithNumbers("RequestToSetINT32Information", identifier, subIndex) + " = " +
              std::to_string(value))) {
    return FALSE;
  }
  requested.push_back(value);
  if (setsCurrent) current = value;
  window = notificationWindow;
  message = notificationMessage;
  if (completion == Completion::kAtOnce || completion == Completion::kTwice) Complete();
  if (completion == Completion::kTwice) Complete();
  return TRUE;
}

bool ScriptedEngine::Record(const std::string& call) {
  log->push_back(name + "." + call);
  if (onCall) onCall(log->back());
  return !failing.contains(call);
}
