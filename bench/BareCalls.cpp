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

}  // namespace

BareCalls::BareCalls(const std::vector<Call>& recorded) {
  GiveBufferRoomFor(MAX_PATH + 1);
  steps.reserve(recorded.size());
  for (const Call& call : recorded) steps.push_back(MakeStep(call));
}

std::function<void()> BareCalls::MakeStep(const Call& call) {
  const auto number32 = [&call](std::size_t index) {
    return static_cast<DWORD>(call.arguments.at(index));
  };
  const auto text = [&call](std::size_t index) { return TextArgument(call, index); };
  const auto pointer = [&call](std::size_t index) {
    return reinterpret_cast<void*>(call.arguments.at(index));
  };

  if (call.function == "GetFileAttributesW") {
    return [path = text(0)] { ::GetFileAttributesW(path.Get()); };
  }
  if (call.function == "CreateFileW") {
    return [this, path = text(0), access = number32(1), share = number32(2), creation = number32(4),
            flags = number32(5)] {
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
  if (call.function == "GetPrivateProfileIntW") {
    return [section = text(0), key = text(1), absent = number32(2), path = text(3)] {
      ::GetPrivateProfileIntW(section.Get(), key.Get(), static_cast<INT>(absent), path.Get());
    };
  }
  if (call.function == "GetPrivateProfileStringW") {
    GiveBufferRoomFor(number32(4));
    return [this, section = text(0), key = text(1), absent = text(2), size = number32(4),
            path = text(5)] {
      ::GetPrivateProfileStringW(section.Get(), key.Get(), absent.Get(), buffer.data(), size,
                                 path.Get());
    };
  }
  if (call.function == "GetPrivateProfileSectionW") {
    GiveBufferRoomFor(number32(2));
    return [this, section = text(0), size = number32(2), path = text(3)] {
      ::GetPrivateProfileSectionW(section.Get(), buffer.data(), size, path.Get());
    };
  }
  if (call.function == "StrToIntExW") {
    return [this, digits = text(0), flags = number32(1)] {
      ::StrToIntExW(digits.Get(), static_cast<STIF_FLAGS>(flags), &number);
    };
  }
  if (call.function == "EventRegister") {
    return [this, provider = static_cast<const GUID*>(pointer(0))] {
      ::EventRegister(provider, nullptr, nullptr, &registration);
    };
  }
  if (call.function == "EventUnregister") {
    return [this] { ::EventUnregister(registration); };
  }
  if (call.function == "GetModuleHandleExW") {
    return [this, flags = number32(0), address = static_cast<const wchar_t*>(pointer(1))] {
      ::GetModuleHandleExW(flags, address, &module);
    };
  }
  if (call.function == "GetModuleFileNameW") {
    GiveBufferRoomFor(number32(2));
    return [this, size = number32(2)] { ::GetModuleFileNameW(module, buffer.data(), size); };
  }
  if (call.function == "PathRemoveFileSpecW") {
    return [this, path = text(0)] {
      std::wcscpy(buffer.data(), path.Get());
      ::PathRemoveFileSpecW(buffer.data());
    };
  }
  if (call.function == "PathAppendW") {
    return [this, path = text(0), more = text(1)] {
      std::wcscpy(buffer.data(), path.Get());
      ::PathAppendW(buffer.data(), more.Get());
    };
  }
  if (call.function == "SHGetSpecialFolderPathW") {
    return [this, folder = number32(2), create = number32(3)] {
      ::SHGetSpecialFolderPathW(nullptr, buffer.data(), static_cast<int>(folder),
                                static_cast<BOOL>(create));
    };
  }
  if (call.function == "GetUserDefaultLocaleName") {
    return [this, size = number32(1)] {
      ::GetUserDefaultLocaleName(buffer.data(), static_cast<int>(size));
    };
  }
  if (call.function == "FindFirstFileW") {
    return [this, pattern = text(0)] { find = ::FindFirstFileW(pattern.Get(), &entry); };
  }
  if (call.function == "FindNextFileW") {
    return [this] { ::FindNextFileW(find, &entry); };
  }
  if (call.function == "FindClose") {
    return [this] { ::FindClose(find); };
  }
  if (call.function == "VerSetConditionMask") {
    return [mask = call.arguments.at(0), type = number32(1), condition = number32(2)] {
      static_cast<void>(::VerSetConditionMask(mask, type, static_cast<BYTE>(condition)));
    };
  }
  if (call.function == "VerifyVersionInfoW") {
    return [compared = number32(1), conditions = call.arguments.at(2)] {
      OSVERSIONINFOEXW version{};
      version.dwOSVersionInfoSize = sizeof(version);
      version.dwMajorVersion = 6;
      version.dwMinorVersion = 2;
      ::VerifyVersionInfoW(&version, compared, conditions);
    };
  }
  throw std::invalid_argument("the benchmark can't repeat " + call.function);
}

void BareCalls::GiveBufferRoomFor(std::size_t characters) {
  buffer.resize(std::max(buffer.size(), characters));
}
