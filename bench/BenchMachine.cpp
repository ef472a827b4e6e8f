#include "BenchMachine.h"

#include <windows.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "support/Files.h"
#include "support/IniFile.h"

namespace fs = std::filesystem;

namespace {

constexpr const wchar_t* kLocale = L"en-US";
constexpr std::size_t kItemsPerGroup = 16;

std::wstring GetItem(std::size_t index) {
  return L"Item" + std::to_wstring(index);
}

void Write(const fs::path& path, const std::string& bytes) {
  std::FILE* file = ::_wfopen(path.c_str(), L"wb");
  if (file == nullptr) throw std::runtime_error("can't write a file");
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
}

}  // namespace

BenchMachine::BenchMachine(fs::path folder, const fs::path& engine, std::size_t itemCount)
    : folder(std::move(folder)), itemCount(itemCount) {
  WriteConfiguration();
  CopyEngines(engine);
  IniFile status;
  status.In(IniFile::Encoding::kAnsi).Section(L"NormalEnvironment");
  for (std::size_t i = 0; i < itemCount; ++i) status.Key(GetItem(i), -1);
  initialStatus = status.Section(L"CurrentModeStatus").Key(L"Bench", 0).Bytes();
  fs::create_directories(StatusFile().parent_path());
}

BenchMachine::~BenchMachine() {
  Files::RemoveTree(folder / L"Engines");
  Files::RemoveTree(ApplicationData());
  Files::RemoveTree(folder / kLocale);
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() == L".ini") Files::RemoveTree(entry.path());
  }
}

void BenchMachine::AddSettings(const fs::path& texts) const {
  const fs::path config = folder / L"ModeChange.Config.ini";
  const fs::path copied = folder / kLocale / texts.filename();
  fs::create_directories(copied.parent_path());
  fs::copy_file(texts, copied);
  const auto write = [](const fs::path& file, const std::wstring& section, const std::wstring& key,
                        const std::wstring& value) {
    ::WritePrivateProfileStringW(section.c_str(), key.c_str(), value.c_str(), file.c_str());
  };
  write(copied, L"Mode", L"Bench", L"Bench mode");
  const std::size_t groups = (itemCount + kItemsPerGroup - 1) / kItemsPerGroup;
  write(config, L"SettingGroupList", L"SettingGroupCount", std::to_wstring(groups));
  for (std::size_t group = 0; group < groups; ++group) {
    const std::wstring name = L"Group" + std::to_wstring(group);
    write(config, L"SettingGroupList", L"Setting" + name, name);
    write(config, name, L"SettingItemCount", std::to_wstring(kItemsPerGroup));
    write(copied, L"SettingGroup", name, name);
  }
  for (std::size_t i = 0; i < itemCount; ++i) {
    write(config, L"Group" + std::to_wstring(i / kItemsPerGroup),
          L"SettingItem" + std::to_wstring(i % kItemsPerGroup), GetItem(i));
  }
  AgeFiles();
}

void BenchMachine::ResetStatus() const {
  Write(StatusFile(), initialStatus);
}

std::string BenchMachine::ReadStatus() const {
  std::ifstream file(StatusFile(), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void BenchMachine::WriteConfiguration() const {
  const auto count = static_cast<std::int64_t>(itemCount);
  IniFile config;
  config.Section(L"ModeList").Key(L"ModeCount", 1).Key(L"Mode0", L"Bench");
  config.Section(L"SettingItemList").Key(L"SettingItemCount", count);
  for (std::size_t i = 0; i < itemCount; ++i) {
    config.Key(L"SettingItem" + std::to_wstring(i), GetItem(i));
  }
  IniFile defaults;
  defaults.Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", 0);
  defaults.Section(L"Bench_Win8OrLater");
  for (std::size_t i = 0; i < itemCount; ++i) {
    config.Section(GetItem(i)).Key(L"EnginePath", L"Engines\\" + GetItem(i) + L".dll");
    defaults.Key(GetItem(i), 1);
  }
  Write(folder / L"ModeChange.Config.ini", config.Bytes());
  Write(folder / L"ModeChange.DefaultSettings.ini", defaults.Bytes());
  Write(folder / L"ModeChange.UsableModeList.ini",
        IniFile().Section(L"UsableModeList").Key(L"ModeCount", 1).Key(L"Mode0", L"Bench").Bytes());
  AgeFiles();
}

/// Wine keeps what it read of a file only once the file is two seconds old, as a maker's files are.
void BenchMachine::AgeFiles() const {
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().extension() != L".ini") continue;
    fs::last_write_time(entry.path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
  }
}

void BenchMachine::CopyEngines(const fs::path& engine) const {
  fs::create_directories(folder / L"Engines");
  for (std::size_t i = 0; i < itemCount; ++i) {
    fs::copy_file(engine, folder / L"Engines" / (GetItem(i) + L".dll"));
  }
}

fs::path BenchMachine::StatusFile() const {
  return ApplicationData() / L"Brivane" / L"Kestrola" / L"ModeChange.Status.ini";
}
