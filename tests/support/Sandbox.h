#pragma once

#include <windows.h>

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/IniFile.h"
#include "support/Interposition.h"
#include "support/RegistrySandbox.h"

/// The world that the library finds in one test: files beside it, the per-machine data folder, the
/// registry, the user's locale.
///
/// The test program runs as a copy in a fresh folder of its own (see Supervisor), so the library's
/// own folder is the sandbox. Relative paths are relative to it.
class Sandbox {
 public:
  enum class DataFolder {
    kPresent,      // "ProgramData\Brivane\Kestrola", all there
    kMakerOnly,    // the maker's folder is there, its last level is not
    kAbsent,       // neither is
    kUnavailable,  // the system can't say where application data belongs
  };

  /// The data folder is present and empty, the registry empty, the locale the user's own.
  /// `interposition` has to outlive this object.
  explicit Sandbox(Interposition& interposition);
  ~Sandbox();
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  /// The folder that the library is in, without a backslash at its end.
  [[nodiscard]] const std::filesystem::path& LibraryFolder() const noexcept { return folder; }
  /// Where the library keeps its own files, whether or not the folder is there.
  [[nodiscard]] std::filesystem::path DataFolderPath() const;
  [[nodiscard]] std::filesystem::path DataFile(std::wstring_view name) const;

  /// Writes a file, over an older one if need be, and makes the folders that it needs.
  void Write(const std::filesystem::path& path, const IniFile& content);
  void Write(const std::filesystem::path& path, std::string_view bytes);
  void MakeFolder(const std::filesystem::path& path);
  /// Removes a file, or a folder with all that is in it.
  void Remove(const std::filesystem::path& path);
  /// Makes the data folder anew: what was in it is lost.
  void SetDataFolder(DataFolder state);

  /// What the library is told. Locales that the system knows are better tested for real: see the
  /// suites named "...EachLocale".
  void SetUserLocale(std::wstring_view locale);

  [[nodiscard]] bool Exists(const std::filesystem::path& path) const;
  /// The whole file; throws std::runtime_error where there is none.
  [[nodiscard]] std::string Read(const std::filesystem::path& path) const;
  /// A value as Windows reads it, without the library; none where file, section or key are absent.
  [[nodiscard]] std::optional<std::wstring> IniValue(const std::filesystem::path& path,
                                                     const wchar_t* section,
                                                     const wchar_t* key) const;

  /// What the library, or the test past this class, has left beside the library.
  [[nodiscard]] std::vector<std::wstring> Strays() const;

  /// Facts of the system that tests run on, found without the library.
  [[nodiscard]] static bool IsWindows8OrLater();
  [[nodiscard]] static std::wstring UserLocale();

 private:
  [[nodiscard]] std::filesystem::path Resolve(const std::filesystem::path& path) const;
  [[nodiscard]] std::set<std::wstring> Entries() const;
  /// Remembers the first level of a path as the test's own.
  void Own(const std::filesystem::path& path);
  BOOL AnswerApplicationDataPath(wchar_t* path) const;

  Interposition& interposition;
  RegistrySandbox registry;
  std::filesystem::path folder;
  std::set<std::wstring> entriesBefore;
  std::set<std::wstring> ownEntries;
  DataFolder dataFolder = DataFolder::kAbsent;
};
