#include "ModeLibrary.h"

#include <array>

#include "CommandError.h"

namespace {

// Far longer than any name that fits on a screen.
constexpr UINT kTextLength = 1024;

std::wstring GetOwnFolder() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) {
      throw CommandError{
          L"The folder of this program can't be told: " + DescribeError(::GetLastError()) + L".",
          L"Start it from another folder."};
    }
    if (length < path.size()) return path.substr(0, path.find_last_of(L'\\', length));
    path.resize(path.size() * 2);
  }
}

/// By its full path: a DLL of the same name in another folder is never taken.
HMODULE LoadBesideProgram(const wchar_t* fileName) {
  const std::wstring folder = GetOwnFolder();
  const std::wstring path = folder + L"\\" + fileName;
  if (::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
    throw CommandError{
        std::wstring(fileName) + L" was not found. Looked for it in " + folder + L".",
        L"Put this program into the folder of the library that it is to use.",
        CommandError::Cause::kLibraryMissing, path};
  }
  HMODULE module = ::LoadLibraryW(path.c_str());
  if (module == nullptr) {
    throw CommandError{path + L" can't be loaded: " + DescribeError(::GetLastError()) + L".",
                       L"It has to be the library for x64 and undamaged; install it anew.",
                       CommandError::Cause::kLibraryDamaged, path};
  }
  return module;
}

void Require(BOOL succeeded, CommandError::Cause cause, const std::wstring& problem,
             const std::wstring& remedy) {
  if (succeeded == FALSE) throw CommandError{problem, remedy, cause, GetOwnFolder()};
}

void RequireAnswer(BOOL succeeded, const std::wstring& question) {
  Require(succeeded, CommandError::Cause::kAnswer, L"ModeChange.dll can't tell " + question + L".",
          L"Check that ModeChange.Config.ini, ModeChange.DefaultSettings.ini and "
          L"ModeChange.Resource.ini are there and complete.");
}

}  // namespace

ModeLibrary::ModeLibrary() : module(LoadBesideProgram(L"ModeChange.dll")) {
  Find("VeltoModeChange_CreateHandle", &createHandle);
  Find("VeltoModeChange_DeleteHandle", &deleteHandle);
  Find("VeltoModeChange_GetModeCount", &getModeCount);
  Find("VeltoModeChange_SelectMode", &selectMode);
  Find("VeltoModeChange_GetStringInformation", &getString);
  Find("VeltoModeChange_GetINT32Information", &getNumber);
  Find("VeltoModeChange_RequestToSetINT32Information", &requestToSetNumber);
  Find("VeltoModeChange_ShowSettingsDialog", &showSettingsDialog);
  Require(createHandle(&handle), CommandError::Cause::kConfiguration,
          L"ModeChange.dll can't read its configuration.",
          L"Look at ModeChange.Config.ini and ModeChange.UsableModeList.ini in " + GetOwnFolder() +
              L": they have to be there, with at least one mode in each list.");
}

ModeLibrary::~ModeLibrary() {
  deleteHandle(handle);
}

UINT ModeLibrary::GetModeCount() const {
  UINT count = 0;
  RequireAnswer(getModeCount(handle, &count), L"how many modes there are");
  return count;
}

void ModeLibrary::SelectMode(UINT index) const {
  RequireAnswer(selectMode(handle, index), L"about mode " + std::to_wstring(index));
}

std::wstring ModeLibrary::GetText(UINT identifier, UINT subIndex) const {
  std::array<wchar_t, kTextLength> text{};
  UINT length = kTextLength;
  RequireAnswer(getString(handle, identifier, subIndex, &length, text.data()),
                L"text " + std::to_wstring(identifier) + L" of a mode");
  return text.data();
}

INT32 ModeLibrary::GetNumber(UINT identifier) const {
  INT32 value = 0;
  RequireAnswer(getNumber(handle, identifier, 0, &value),
                L"number " + std::to_wstring(identifier) + L" of a mode");
  return value;
}

void ModeLibrary::RequestStatus(INT32 status, HWND window, UINT message) const {
  Require(requestToSetNumber(handle, VELTO_MODE_REQUEST_STATUS, 0, status, window, message),
          CommandError::Cause::kRequest, L"ModeChange.dll could not begin to switch the mode.",
          L"Check that ModeChange.DefaultSettings.ini is there. Where no windows can be shown, "
          L"try --no-confirm.");
}

void ModeLibrary::ShowSettings(HWND parent) const {
  Require(showSettingsDialog(handle, parent), CommandError::Cause::kSettings,
          L"The settings dialog failed.",
          L"Check that ModeChange.Config.ini and ModeChange.Resource.ini are complete, and that "
          L"windows can be shown.");
}

template <class Function>
void ModeLibrary::Find(const char* name, Function* function) const {
  void* const address = reinterpret_cast<void*>(::GetProcAddress(module.get(), name));
  if (address == nullptr) {
    const std::string text(name);
    throw CommandError{L"The ModeChange.dll beside this program lacks the function " +
                           std::wstring(text.begin(), text.end()) + L".",
                       L"It is damaged, or another library of the same name; install it anew.",
                       CommandError::Cause::kLibraryDamaged, GetOwnFolder() + L"\\ModeChange.dll"};
  }
  *function = reinterpret_cast<Function>(address);
}
