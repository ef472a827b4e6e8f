#include "support/Sandbox.h"

#include <array>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "support/Files.h"
#include "support/Supervisor.h"
#include "support/Text.h"

namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kApplicationData = L"ProgramData";
constexpr const wchar_t* kMakerFolder = L"ProgramData\\Brivane";
constexpr const wchar_t* kOwnFolder = L"ProgramData\\Brivane\\Kestrola";

}  // namespace

Sandbox::Sandbox(Interposition& interposition)
    : interposition(interposition), folder(Files::ProgramPath().parent_path()) {
  if (!Supervisor::IsSupervised()) {
    throw std::runtime_error("tests write beside their program and need a copy of it for that");
  }
  entriesBefore = Entries();
  SetDataFolder(DataFolder::kPresent);
  if (interposition.Imports("SHGetSpecialFolderPathW")) {
    interposition.Replace("SHGetSpecialFolderPathW", [this](HWND, wchar_t* path, int, BOOL) {
      return AnswerApplicationDataPath(path);
    });
  }
}

Sandbox::~Sandbox() {
  for (const std::wstring& entry : ownEntries) Files::RemoveTree(folder / entry);
}

fs::path Sandbox::DataFolderPath() const {
  return Resolve(kOwnFolder);
}

fs::path Sandbox::DataFile(std::wstring_view name) const {
  return DataFolderPath() / name;
}

void Sandbox::Write(const fs::path& path, const IniFile& content) {
  Write(path, content.Bytes());
}

void Sandbox::Write(const fs::path& path, std::string_view bytes) {
  const fs::path file = Resolve(path);
  MakeFolder(file.parent_path());
  Own(file);
  std::ofstream stream(file, std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (!stream) throw std::runtime_error("can't write " + Text::ToUtf8(file.wstring()));
}

void Sandbox::MakeFolder(const fs::path& path) {
  const fs::path made = Resolve(path);
  if (made == folder) return;
  Own(made);
  fs::create_directories(made);
}

void Sandbox::Remove(const fs::path& path) {
  Files::RemoveTree(Resolve(path));
}

void Sandbox::SetDataFolder(DataFolder state) {
  Remove(kApplicationData);
  dataFolder = state;
  if (state == DataFolder::kPresent) {
    MakeFolder(kOwnFolder);
  } else if (state == DataFolder::kMakerOnly) {
    MakeFolder(kMakerFolder);
  } else {
    MakeFolder(kApplicationData);
  }
}

void Sandbox::SetUserLocale(std::wstring_view locale) {
  interposition.Replace("GetUserDefaultLocaleName",
                        [locale = std::wstring(locale)](wchar_t* name, int size) {
                          if (locale.size() >= static_cast<std::size_t>(size)) {
                            ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
                            return 0;
                          }
                          name[locale.copy(name, locale.size())] = L'\0';
                          return static_cast<int>(locale.size()) + 1;
                        });
}

bool Sandbox::Exists(const fs::path& path) const {
  return fs::exists(Resolve(path));
}

std::string Sandbox::Read(const fs::path& path) const {
  std::ifstream stream(Resolve(path), std::ios::binary);
  if (!stream) throw std::runtime_error("can't read " + Text::ToUtf8(Resolve(path).wstring()));
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::optional<std::wstring> Sandbox::IniValue(const fs::path& path, const wchar_t* section,
                                              const wchar_t* key) const {
  const auto read = [&](const wchar_t* absent) {
    std::array<wchar_t, 4096> value{};
    ::GetPrivateProfileStringW(section, key, absent, value.data(), static_cast<DWORD>(value.size()),
                               Resolve(path).c_str());
    return std::wstring(value.data());
  };
  // Only an absent value can be both.
  const std::wstring value = read(L"absent");
  if (value == L"absent" && read(L"still absent") == L"still absent") return std::nullopt;
  return value;
}

std::vector<std::wstring> Sandbox::Strays() const {
  std::vector<std::wstring> strays;
  for (const std::wstring& entry : Entries()) {
    if (!entriesBefore.contains(entry) && !ownEntries.contains(entry)) strays.push_back(entry);
  }
  return strays;
}

bool Sandbox::IsWindows8OrLater() {
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof(version);
  // Unlike the documented functions it does not depend on the program's manifest.
  using RtlGetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
  const auto getVersion = reinterpret_cast<RtlGetVersion>(
      reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
  getVersion(&version);
  return version.dwMajorVersion > 6 || (version.dwMajorVersion == 6 && version.dwMinorVersion >= 2);
}

std::wstring Sandbox::UserLocale() {
  std::array<wchar_t, LOCALE_NAME_MAX_LENGTH> name{};
  ::GetUserDefaultLocaleName(name.data(), static_cast<int>(name.size()));
  return name.data();
}

fs::path Sandbox::Resolve(const fs::path& path) const {
  return folder / path;
}

std::set<std::wstring> Sandbox::Entries() const {
  std::set<std::wstring> entries;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    entries.insert(entry.path().filename().wstring());
  }
  return entries;
}

void Sandbox::Own(const fs::path& path) {
  const fs::path relative = path.lexically_relative(folder);
  if (relative.empty() || *relative.begin() == L"..") {
    throw std::invalid_argument("a path outside of the sandbox: " + Text::ToUtf8(path.wstring()));
  }
  ownEntries.insert(relative.begin()->wstring());
}

BOOL Sandbox::AnswerApplicationDataPath(wchar_t* path) const {
  const std::wstring found = Resolve(kApplicationData).wstring();
  if (dataFolder == DataFolder::kUnavailable || found.size() >= MAX_PATH) {
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
  }
  path[found.copy(path, found.size())] = L'\0';
  return TRUE;
}
