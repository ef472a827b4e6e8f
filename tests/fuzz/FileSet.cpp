#include "fuzz/FileSet.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;

/// The lines of a sound file without those that say nothing to the library.
Damage::Lines ReadSoundFile(const fs::path& name) {
  std::ifstream stream(fs::path(SAMPLE_CONFIG_FOLDER) / name, std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(stream), {});
  std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
  std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));

  constexpr const wchar_t* kMarkAndLineEnds = L"\uFEFF\r\n";
  Damage::Lines lines;
  std::size_t end = 0;
  for (;;) {
    const std::size_t begin = text.find_first_not_of(kMarkAndLineEnds, end);
    if (begin == std::wstring::npos) return lines;
    end = std::min(text.find_first_of(kMarkAndLineEnds, begin), text.size());
    if (text[begin] != L';') lines.push_back(text.substr(begin, end - begin));
  }
}

/// The sample's lock rules lock one item each; a failure in the midst of a list takes more.
Damage::Lines GetConfig() {
  Damage::Lines config;
  for (const std::wstring& line : ReadSoundFile(L"ModeChange.Config.ini")) {
    if (line == L"LockedOtherSettingItemCount=1") {
      const Damage::Lines more = {
          L"LockedOtherSettingItemCount=3",  L"LockedOtherSettingItem1=PointerSpeed",
          L"LockedOtherSettingItemValue1=9", L"LockedOtherSettingItem2=KeyboardRepeatDelay",
          L"LockedOtherSettingItemValue2=1",
      };
      config.insert(config.end(), more.begin(), more.end());
    } else {
      config.push_back(line);
    }
  }
  return config;
}

Damage::Lines GetUserSettings() {
  return {L"[Common]",
          L"ShowAnnounceModeIsChangedDialog=0",
          L"[Eco]",
          L"PowerScheme=2",
          L"VisualEffects=-1",
          L"AutoONOFF=1",
          L"[Cradle]",
          L"AutoONOFF=0",
          L"[Custom]"};
}

Damage::Lines GetStatus() {
  return {L"[CurrentModeStatus]", L"Normal=0",        L"Eco=1",          L"[NormalEnvironment]",
          L"PowerScheme=1",       L"VisualEffects=0", L"PointerSpeed=-1"};
}

}  // namespace

FileSet::FileSet(Sandbox& sandbox)
    : sandbox(sandbox),
      files{
          {L"ModeChange.Config.ini", GetConfig()},
          {L"ModeChange.UsableModeList.ini", ReadSoundFile(L"ModeChange.UsableModeList.ini")},
          {L"ModeChange.DefaultSettings.ini", ReadSoundFile(L"ModeChange.DefaultSettings.ini")},
          {L"en-US/ModeChange.Resource.ini", ReadSoundFile(L"en-US/ModeChange.Resource.ini")},
          {sandbox.DataFile(L"ModeChange.Settings.ini"), GetUserSettings(), true},
          {sandbox.DataFile(L"ModeChange.Status.ini"), GetStatus(), true},
      } {}

std::size_t FileSet::Write(const Damage& damage, std::size_t othersOneIn, Random& random,
                           std::uint64_t seed) {
  const std::size_t damagedFile = random.Below(files.size());
  std::size_t mostBytes = 0;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const bool isDamaged = i == damagedFile || random.OneIn(othersOneIn);
    const std::string bytes = (isDamaged ? damage : Damage()).Apply(random, files[i].lines);
    WriteFile(files[i], bytes, seed);
    mostBytes = std::max(mostBytes, bytes.size());
  }
  return mostBytes;
}

void FileSet::WriteFile(File& file, const std::string& bytes, std::uint64_t seed) {
  if (const wchar_t* kept = ::_wgetenv(L"VELTO_FUZZ_FILES"); kept != nullptr) {
    std::ofstream(fs::path(kept) / file.path.filename(), std::ios::binary) << bytes;
  }
  if (!file.isLibrarysOwn && !file.onDisk.empty() && file.onDisk == bytes) return;
  sandbox.Write(file.path, bytes);
  file.onDisk = bytes;
  // Wine reads a file anew at each call while the file is younger than two seconds, and later
  // only when its time is another.
  const auto age = std::chrono::hours(24) - std::chrono::seconds(2 * (seed % 10'000));
  fs::last_write_time(sandbox.LibraryFolder() / file.path, fs::file_time_type::clock::now() - age);
}
