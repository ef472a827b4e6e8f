#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/ModeChangeTest.h"

/// The base of the tests that deal with the files that the library writes.
class DataFileFixture : public ModeChangeTest {
 protected:
  DataFileFixture() {
    // Tests of one process have files of the same paths, and the profile functions may give an
    // empty one the encoding of an earlier one.
    for (const wchar_t* name :
         {L"ModeChange.Status.ini", L"ModeChange.Settings.ini", L"File.ini"}) {
      const std::filesystem::path file = sandbox.DataFile(name);
      sandbox.Write(file, "[Section]\r\nKey=1\r\n");
      EXPECT_EQ(sandbox.IniValue(file, L"Section", L"Key"), L"1");
      sandbox.Remove(file);
    }
  }

  /// The Windows functions that the library called, in their order.
  [[nodiscard]] std::vector<std::string> Functions() const {
    std::vector<std::string> functions;
    for (const Call& call : interposition.AllCalls()) functions.push_back(call.function);
    return functions;
  }

  /// The message of a trace that names a path and an error.
  [[nodiscard]] static std::wstring PathAndError(const std::filesystem::path& path, DWORD error) {
    return path.wstring() + L", " + std::to_wstring(error);
  }

  /// Windows says that application data belongs there, whether or not that folder exists.
  void NameApplicationDataFolder(const std::wstring& folder) {
    interposition.Replace("SHGetSpecialFolderPathW", [folder](HWND, wchar_t* path, int, BOOL) {
      path[folder.copy(path, folder.size())] = L'\0';
      return TRUE;
    });
  }

  /// A name of a folder that is as long as asked for.
  [[nodiscard]] static std::wstring FolderOfLength(std::size_t length) {
    const std::wstring drive = L"C:\\";
    return drive + std::wstring(length - drive.size(), L'x');
  }
};
