#include "death/MortalHost.h"

#include <windows.h>

#include "death/Host.h"
#include "support/Files.h"
#include "support/Interposition.h"
#include "support/LoadedLibrary.h"
#include "support/Text.h"

namespace MortalHost {

namespace {

/// Past all buffers, which die with the process.
void Print(const std::string& line) {
  const std::string text = line + "\n";
  DWORD written = 0;
  ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()),
              &written, nullptr);
}

class Fate {
 public:
  explicit Fate(unsigned long point) : point(point) {}
  void Pass() {
    if (++passed == point) ::TerminateProcess(::GetCurrentProcess(), kDied);
  }

 private:
  unsigned long point;
  unsigned long passed = 0;
};

void LiveInSandbox(Interposition& interposition) {
  interposition.SetRecording(false);
  interposition.Replace("SHGetSpecialFolderPathW", [](HWND, wchar_t* path, int, BOOL) -> BOOL {
    const std::wstring found = (Files::ProgramPath().parent_path() / L"ProgramData").wstring();
    path[found.copy(path, MAX_PATH - 1)] = L'\0';
    return TRUE;
  });
}

/// The first change on a machine makes the folder and the file that it writes.
void DieAtCreations(Interposition& interposition, Fate& fate) {
  const auto makeFolder = interposition.Original<decltype(&::CreateDirectoryW)>("CreateDirectoryW");
  interposition.Replace(
      "CreateDirectoryW",
      [makeFolder, &fate](const wchar_t* path, SECURITY_ATTRIBUTES* attributes) -> BOOL {
        fate.Pass();
        const BOOL made = makeFolder(path, attributes);
        Print("made the folder");
        fate.Pass();
        return made;
      });
  const auto open = interposition.Original<decltype(&::CreateFileW)>("CreateFileW");
  interposition.Replace(
      "CreateFileW",
      [open, &fate](const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* attributes,
                    DWORD disposition, DWORD flags, HANDLE model) -> HANDLE {
        const bool isNew = disposition == CREATE_NEW;
        if (isNew) fate.Pass();
        const HANDLE file = open(path, access, share, attributes, disposition, flags, model);
        if (isNew) {
          Print("made the file");
          fate.Pass();
        }
        return file;
      });
}

void DieAtWrites(Interposition& interposition, Fate& fate) {
  const auto write =
      interposition.Original<decltype(&::WritePrivateProfileStringW)>("WritePrivateProfileStringW");
  interposition.Replace("WritePrivateProfileStringW",
                        [write, &fate](const wchar_t* section, const wchar_t* key,
                                       const wchar_t* value, const wchar_t* path) -> BOOL {
                          fate.Pass();
                          const BOOL written = write(section, key, value, path);
                          Print("wrote [" + Text::ToUtf8(section) + "] " + Text::ToUtf8(key) + "=" +
                                Text::ToUtf8(value));
                          fate.Pass();
                          return written;
                        });
}

}  // namespace

int Run(const std::wstring& operation, unsigned long point) {
  const LoadedLibrary library;
  Interposition interposition(library.Module());
  Fate fate(point);
  LiveInSandbox(interposition);
  DieAtCreations(interposition, fate);
  DieAtWrites(interposition, fate);
  EcoLamp::Install(interposition, Host::DriverPath());
  Host host(library.Module());
  const auto onCall = [&fate](const std::string&) { fate.Pass(); };
  const auto onSet = [&fate](const std::string& change) {
    Print("set " + change);
    fate.Pass();
  };
  host.ForEachDevice([&](Device& device) {
    device.onCall = onCall;
    device.onSet = onSet;
  });
  host.Lamp().onCall = onCall;
  host.Lamp().onSet = onSet;
  const auto told = host.Change(operation == L"over" ? Host::kDock : Host::kEco,
                                operation == L"off" ? VELTO_MODE_STATUS_OFF : VELTO_MODE_STATUS_ON);
  return told == VELTO_MODE_CHANGE_COMPLETED ? kCompleted : kDidNotComplete;
}

}  // namespace MortalHost
