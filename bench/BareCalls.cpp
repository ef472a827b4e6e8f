#include "BareCalls.h"

// windows.h first (through BareCalls.h): the others need its types.
#include <shlobj.h>
#include <shlwapi.h>

#include <algorithm>
#include <cwchar>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

constexpr UINT kAwaited = WM_APP;

/// A text argument of a call, which may be null.
class TextArgument {
 public:
  TextArgument(const Call& call, std::size_t index) {
    if (call.arguments.at(index) != 0) text = call.texts.at(index);
  }
  [[nodiscard]] const wchar_t* Get() const { return text.has_value() ? text->c_str() : nullptr; }

 private:
  std::optional<std::wstring> text;
};

DWORD Number(const Call& call, std::size_t index) {
  return static_cast<DWORD>(call.arguments.at(index));
}

void* Pointer(const Call& call, std::size_t index) {
  return reinterpret_cast<void*>(call.arguments.at(index));
}

}  // namespace

BareCalls::BareCalls(const std::vector<Call>& recorded, HWND messageWindow)
    : messageWindow(messageWindow) {
  GiveBufferRoomFor(MAX_PATH + 1);
  steps.reserve(recorded.size());
  for (const Call& call : recorded) steps.push_back(MakeStep(call));
}

BareCalls::Step BareCalls::MakeStep(const Call& call) {
  for (const auto make :
       {&BareCalls::MakeFileStep, &BareCalls::MakeIniStep, &BareCalls::MakePathStep,
        &BareCalls::MakeModuleStep, &BareCalls::MakeSystemStep, &BareCalls::MakeRegistryStep,
        &BareCalls::MakeWindowStep, &BareCalls::MakeEngineStep}) {
    Step step = (this->*make)(call);
    if (step) return step;
  }
  throw std::invalid_argument("the benchmark can't repeat " + call.function);
}

BareCalls::Step BareCalls::MakeFileStep(const Call& call) {
  if (call.function == "GetFileAttributesW") {
    return [path = TextArgument(call, 0)] { ::GetFileAttributesW(path.Get()); };
  }
  if (call.function == "CreateFileW") {
    return [this, path = TextArgument(call, 0), access = Number(call, 1), share = Number(call, 2),
            creation = Number(call, 4), flags = Number(call, 5)] {
      file = ::CreateFileW(path.Get(), access, share, nullptr, creation, flags, nullptr);
    };
  }
  if (call.function == "GetFileSizeEx") {
    return [this] {
      LARGE_INTEGER size{};
      ::GetFileSizeEx(file, &size);
    };
  }
  if (call.function == "CloseHandle") {
    return [this] { ::CloseHandle(file); };
  }
  if (call.function == "FindFirstFileW") {
    return
        [this, pattern = TextArgument(call, 0)] { find = ::FindFirstFileW(pattern.Get(), &entry); };
  }
  if (call.function == "FindNextFileW") {
    return [this] { ::FindNextFileW(find, &entry); };
  }
  if (call.function == "FindClose") {
    return [this] { ::FindClose(find); };
  }
  return {};
}

BareCalls::Step BareCalls::MakeIniStep(const Call& call) {
  if (call.function == "GetPrivateProfileIntW") {
    return [section = TextArgument(call, 0), name = TextArgument(call, 1), absent = Number(call, 2),
            path = TextArgument(call, 3)] {
      ::GetPrivateProfileIntW(section.Get(), name.Get(), static_cast<INT>(absent), path.Get());
    };
  }
  if (call.function == "GetPrivateProfileStringW") {
    GiveBufferRoomFor(Number(call, 4));
    return [this, section = TextArgument(call, 0), name = TextArgument(call, 1),
            absent = TextArgument(call, 2), size = Number(call, 4), path = TextArgument(call, 5)] {
      ::GetPrivateProfileStringW(section.Get(), name.Get(), absent.Get(), buffer.data(), size,
                                 path.Get());
    };
  }
  if (call.function == "GetPrivateProfileSectionW") {
    GiveBufferRoomFor(Number(call, 2));
    return [this, section = TextArgument(call, 0), size = Number(call, 2),
            path = TextArgument(call, 3)] {
      ::GetPrivateProfileSectionW(section.Get(), buffer.data(), size, path.Get());
    };
  }
  if (call.function == "WritePrivateProfileStringW") {
    return [section = TextArgument(call, 0), name = TextArgument(call, 1),
            value = TextArgument(call, 2), path = TextArgument(call, 3)] {
      ::WritePrivateProfileStringW(section.Get(), name.Get(), value.Get(), path.Get());
    };
  }
  return {};
}

BareCalls::Step BareCalls::MakePathStep(const Call& call) {
  if (call.function == "PathRemoveFileSpecW") {
    return [this, path = TextArgument(call, 0)] {
      std::wcscpy(buffer.data(), path.Get());
      ::PathRemoveFileSpecW(buffer.data());
    };
  }
  if (call.function == "PathAppendW") {
    return [this, path = TextArgument(call, 0), more = TextArgument(call, 1)] {
      std::wcscpy(buffer.data(), path.Get());
      ::PathAppendW(buffer.data(), more.Get());
    };
  }
  if (call.function == "SHGetSpecialFolderPathW") {
    return [this, folder = Number(call, 2), create = Number(call, 3)] {
      ::SHGetSpecialFolderPathW(nullptr, buffer.data(), static_cast<int>(folder),
                                static_cast<BOOL>(create));
    };
  }
  return {};
}

BareCalls::Step BareCalls::MakeModuleStep(const Call& call) {
  if (call.function == "GetModuleHandleExW") {
    return
        [this, flags = Number(call, 0), address = static_cast<const wchar_t*>(Pointer(call, 1))] {
          ::GetModuleHandleExW(flags, address, &module);
        };
  }
  if (call.function == "GetModuleFileNameW") {
    GiveBufferRoomFor(Number(call, 2));
    return [this, size = Number(call, 2)] { ::GetModuleFileNameW(module, buffer.data(), size); };
  }
  if (call.function == "LoadLibraryW") {
    return [this, path = TextArgument(call, 0)] { loaded = ::LoadLibraryW(path.Get()); };
  }
  if (call.function == "FreeLibrary") {
    return [this] { ::FreeLibrary(loaded); };
  }
  if (call.function == "GetProcAddress") {
    const std::wstring& text = call.texts.at(1);
    const std::string name(text.begin(), text.end());
    return [this, name, slot = engine.SlotOf(name)] {
      const FARPROC found = ::GetProcAddress(loaded, name.c_str());
      if (slot != nullptr) *slot = reinterpret_cast<void*>(found);
    };
  }
  return {};
}

BareCalls::Step BareCalls::MakeSystemStep(const Call& call) {
  if (call.function == "StrToIntExW") {
    return [this, digits = TextArgument(call, 0), flags = Number(call, 1)] {
      ::StrToIntExW(digits.Get(), static_cast<STIF_FLAGS>(flags), &number);
    };
  }
  if (call.function == "EventRegister") {
    return [this, provider = static_cast<const GUID*>(Pointer(call, 0))] {
      ::EventRegister(provider, nullptr, nullptr, &registration);
    };
  }
  if (call.function == "EventUnregister") {
    return [this] { ::EventUnregister(registration); };
  }
  if (call.function == "GetUserDefaultLocaleName") {
    return [this, size = Number(call, 1)] {
      ::GetUserDefaultLocaleName(buffer.data(), static_cast<int>(size));
    };
  }
  if (call.function == "VerSetConditionMask") {
    return [mask = call.arguments.at(0), type = Number(call, 1), condition = Number(call, 2)] {
      static_cast<void>(::VerSetConditionMask(mask, type, static_cast<BYTE>(condition)));
    };
  }
  if (call.function == "VerifyVersionInfoW") {
    return [compared = Number(call, 1), conditions = call.arguments.at(2)] {
      OSVERSIONINFOEXW version{};
      version.dwOSVersionInfoSize = sizeof(version);
      version.dwMajorVersion = 6;
      version.dwMinorVersion = 2;
      ::VerifyVersionInfoW(&version, compared, conditions);
    };
  }
  if (call.function == "ReadProcessMemory") {
    GiveBufferRoomFor(call.arguments.at(3));
    return [this, size = call.arguments.at(3)] {
      ::ReadProcessMemory(::GetCurrentProcess(), buffer.data(), buffer.data(), size, nullptr);
    };
  }
  return {};
}

BareCalls::Step BareCalls::MakeRegistryStep(const Call& call) {
  if (call.function == "RegOpenKeyExW") {
    return [this, parent = static_cast<HKEY>(Pointer(call, 0)), path = TextArgument(call, 1),
            access = Number(call, 3)] { ::RegOpenKeyExW(parent, path.Get(), 0, access, &key); };
  }
  if (call.function == "RegQueryValueExW") {
    return [this, name = TextArgument(call, 1)] {
      DWORD size = MAX_PATH;
      ::RegQueryValueExW(key, name.Get(), nullptr, nullptr, reinterpret_cast<BYTE*>(buffer.data()),
                         &size);
    };
  }
  if (call.function == "RegDeleteValueW") {
    return [this, name = TextArgument(call, 1)] { ::RegDeleteValueW(key, name.Get()); };
  }
  if (call.function == "RegCloseKey") {
    return [this] { ::RegCloseKey(key); };
  }
  return {};
}

BareCalls::Step BareCalls::MakeWindowStep(const Call& call) {
  if (call.function == "PostMessageW") {
    return [this] {
      ::PostMessageW(messageWindow, kAwaited, 0, 0);
      AwaitMessage();
    };
  }
  if (call.function == "SendMessageW") {
    return [this] { ::SendMessageW(messageWindow, WM_NULL, 0, 0); };
  }
  if (call.function == "GetWindowLongPtrW") {
    return [this] { ::GetWindowLongPtrW(messageWindow, GWLP_USERDATA); };
  }
  return {};
}

BareCalls::Step BareCalls::MakeEngineStep(const Call& call) {
  if (call.function == "VeltoDeviceEngine_CreateHandle") {
    return [this] { engine.createHandle(&engineHandle); };
  }
  if (call.function == "VeltoDeviceEngine_DeleteHandle") {
    return [this] { engine.deleteHandle(engineHandle); };
  }
  if (call.function == "VeltoDeviceEngine_GetDeviceCount") {
    return [this] {
      UINT count = 0;
      engine.getDeviceCount(engineHandle, &count);
    };
  }
  if (call.function == "VeltoDeviceEngine_SelectDevice") {
    return [this, index = Number(call, 0)] { engine.selectDevice(engineHandle, index); };
  }
  if (call.function == "VeltoDeviceEngine_GetINT32Information") {
    return [this, identifier = Number(call, 0), subIndex = Number(call, 1)] {
      INT32 value = 0;
      engine.getINT32Information(engineHandle, identifier, subIndex, &value);
    };
  }
  if (call.function == "VeltoDeviceEngine_RequestToSetINT32Information") {
    return [this, identifier = Number(call, 0), subIndex = Number(call, 1),
            value = static_cast<INT32>(Number(call, 2))] {
      engine.requestToSetINT32Information(engineHandle, identifier, subIndex, value, messageWindow,
                                          kAwaited);
      AwaitMessage();
    };
  }
  return {};
}

void BareCalls::GiveBufferRoomFor(std::size_t characters) {
  buffer.resize(std::max(buffer.size(), characters));
}

void BareCalls::AwaitMessage() const {
  MSG message{};
  do {
    ::GetMessageW(&message, nullptr, 0, 0);
    ::DispatchMessageW(&message);
  } while (message.hwnd != messageWindow || message.message != kAwaited);
}
