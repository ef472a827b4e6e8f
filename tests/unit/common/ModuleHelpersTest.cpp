#include "common/ModuleHelpers.h"

#include <cwchar>
#include <string>

#include "support/ModeChangeTest.h"

namespace {

constexpr const wchar_t* kFile = L"Measured.ini";

class ModuleHelpersTest : public ModeChangeTest {
 protected:
  [[nodiscard]] std::wstring PathOf(const wchar_t* name) const {
    return (sandbox.LibraryFolder() / name).wstring();
  }

  [[nodiscard]] DWORD SizeOf(const wchar_t* name) const {
    return Common::GetMyFileSize(PathOf(name).c_str());
  }

  void SetMeasuredSize(LONGLONG size) {
    interposition.Replace("GetFileSizeEx", [size](HANDLE, LARGE_INTEGER* answer) {
      answer->QuadPart = size;
      return TRUE;
    });
  }

  /// The library is told that it was loaded from this path, cut as Windows cuts it.
  void SetModulePath(const std::wstring& path) {
    interposition.Replace("GetModuleFileNameW", [path](HMODULE, wchar_t* buffer, DWORD size) {
      const std::size_t length = path.copy(buffer, size - 1);
      buffer[length] = L'\0';
      if (length == path.size()) return static_cast<DWORD>(length);
      ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
      return size;
    });
  }
};

const Trace kNotOpened = {L"Common::GetMyFileSize", 91};

TEST_F(ModuleHelpersTest, FindsTheLibraryAndNotTheProgramThatLoadedIt) {
  EXPECT_EQ(Common::GetMyModuleHandle(), library.Module());
  EXPECT_NE(Common::GetMyModuleHandle(), ::GetModuleHandleW(nullptr));
}

TEST_F(ModuleHelpersTest, LooksForItselfByAddressWithoutHoldingTheLibrary) {
  (void)Common::GetMyModuleHandle();
  ASSERT_EQ(interposition.AllCalls().size(), 1U);
  const Call call = interposition.AllCalls().front();
  EXPECT_EQ(call.function, "GetModuleHandleExW");
  constexpr std::uint64_t kByAddressAndUncounted = 6;
  EXPECT_EQ(call.arguments[0], kByAddressAndUncounted);
}

TEST_F(ModuleHelpersTest, TracesTheErrorWhenTheLibraryIsNotFound) {
  for (const DWORD error : {DWORD{ERROR_MOD_NOT_FOUND}, DWORD{ERROR_NOT_ENOUGH_MEMORY}}) {
    interposition.Fail("GetModuleHandleExW", {.lastError = error});
    EXPECT_EQ(Common::GetMyModuleHandle(), nullptr);
    EXPECT_EQ(traces.Take(), (Traces{{L"Common::GetMyModuleHandle", 63, std::to_wstring(error)}}));
  }
}

TEST_F(ModuleHelpersTest, RegistersATraceOnlyToReportAFailure) {
  sandbox.Write(kFile, "1234");
  EXPECT_NE(Common::GetMyModuleHandle(), nullptr);
  EXPECT_EQ(SizeOf(kFile), 4U);
  EXPECT_EQ(traces.Registrations().size(), 0U);

  EXPECT_EQ(SizeOf(L"Missing.ini"), 0U);
  EXPECT_EQ(traces.Registrations().size(), 1U);
  EXPECT_EQ(traces.Take(), Traces{kNotOpened});
}

TEST_F(ModuleHelpersTest, TellsTheSizeOfAFileInBytes) {
  for (const std::size_t size : {1U, 2U, 1000U, 100'000U}) {
    sandbox.Write(kFile, std::string(size, 'x'));
    EXPECT_EQ(SizeOf(kFile), size);
  }
}

TEST_F(ModuleHelpersTest, AnEmptyFileHasSizeZeroAndIsNoFailure) {
  sandbox.Write(kFile, "");
  EXPECT_EQ(SizeOf(kFile), 0U);
}

TEST_F(ModuleHelpersTest, OpensTheFileForReadingNextToOtherReaders) {
  sandbox.Write(kFile, "1234");
  (void)SizeOf(kFile);
  const std::vector<Call> opened = interposition.CallsOf("CreateFileW");
  ASSERT_EQ(opened.size(), 1U);
  EXPECT_EQ(opened[0].Text(0), PathOf(kFile));
  EXPECT_EQ(opened[0].arguments[1], std::uint64_t{GENERIC_READ});
  EXPECT_EQ(opened[0].arguments[2], std::uint64_t{FILE_SHARE_READ});
  EXPECT_EQ(opened[0].arguments[3], 0U);  // no security attributes
  EXPECT_EQ(static_cast<DWORD>(opened[0].arguments[4]), DWORD{OPEN_EXISTING});
  EXPECT_EQ(static_cast<DWORD>(opened[0].arguments[5]), DWORD{FILE_ATTRIBUTE_NORMAL});
}

TEST_F(ModuleHelpersTest, TakesThreeCallsOfWindowsToMeasureAFile) {
  sandbox.Write(kFile, "1234");
  (void)SizeOf(kFile);
  std::vector<std::string> functions;
  for (const Call& call : interposition.AllCalls()) functions.push_back(call.function);
  EXPECT_THAT(functions, ::testing::ElementsAre("CreateFileW", "GetFileSizeEx", "CloseHandle"));
}

TEST_F(ModuleHelpersTest, WhatCannotBeOpenedHasSizeZeroAndIsTraced) {
  sandbox.MakeFolder(L"Folder.ini");
  EXPECT_EQ(SizeOf(L"Missing.ini"), 0U);
  EXPECT_EQ(traces.Take(), Traces{kNotOpened}) << "a file that is not there";
  EXPECT_EQ(SizeOf(L"Folder.ini"), 0U);
  EXPECT_EQ(traces.Take(), Traces{kNotOpened}) << "a folder";
  EXPECT_EQ(Common::GetMyFileSize(L""), 0U);
  EXPECT_EQ(traces.Take(), Traces{kNotOpened}) << "an empty path";
  EXPECT_EQ(Common::GetMyFileSize(nullptr), 0U);
  EXPECT_EQ(traces.Take(), Traces{kNotOpened}) << "no path";
}

TEST_F(ModuleHelpersTest, AFileThatSomebodyWritesCannotBeOpened) {
  sandbox.Write(kFile, "1234");
  HANDLE writer = ::CreateFileW(PathOf(kFile).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(writer, INVALID_HANDLE_VALUE);
  EXPECT_EQ(SizeOf(kFile), 0U);
  ::CloseHandle(writer);
  EXPECT_EQ(traces.Take(), Traces{kNotOpened});
}

TEST_F(ModuleHelpersTest, AFileThatCannotBeMeasuredIsTracedAndClosed) {
  sandbox.Write(kFile, "1234");
  interposition.Fail("GetFileSizeEx", {});
  EXPECT_EQ(SizeOf(kFile), 0U);
  EXPECT_EQ(traces.Take(), (Traces{{L"Common::GetMyFileSize", 105}}));
  EXPECT_EQ(interposition.Count("CloseHandle"), 1U);
}

TEST_F(ModuleHelpersTest, MeasuresUpTo4GiBMinus1) {
  sandbox.Write(kFile, "1234");
  SetMeasuredSize(0xFFFF'FFFF);
  EXPECT_EQ(SizeOf(kFile), 0xFFFF'FFFFU);
}

TEST_F(ModuleHelpersTest, ALargerFileHasSizeZeroAndIsTracedTwice) {
  sandbox.Write(kFile, "1234");
  for (const LONGLONG size : {0x1'0000'0000LL, 0x1'0000'0004LL, 0x7FFF'FFFF'FFFF'FFFFLL}) {
    SetMeasuredSize(size);
    EXPECT_EQ(SizeOf(kFile), 0U) << size;
    EXPECT_EQ(traces.Take(),
              (Traces{{L"Common::GetMyFileSize", 117}, {L"Common::GetMyFileSize", 118}}))
        << size;
  }
}

TEST_F(ModuleHelpersTest, TellsTheFolderOfAModule) {
  CWideString folder;
  ASSERT_TRUE(Common::GetModuleFolder(library.Module(), &folder));
  EXPECT_EQ(folder, sandbox.LibraryFolder().c_str());
  const std::vector<Call> calls = interposition.CallsOf("GetModuleFileNameW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].arguments[2], 261U);
}

TEST_F(ModuleHelpersTest, NoModuleHasNoFolderRatherThanThatOfTheProgram) {
  CWideString folder = L"untouched";
  EXPECT_FALSE(Common::GetModuleFolder(nullptr, &folder));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(folder, L"untouched");
}

TEST_F(ModuleHelpersTest, KeepsTheErrorWhenTheModulesPathCannotBeHad) {
  interposition.Fail("GetModuleFileNameW", {.lastError = ERROR_NOT_ENOUGH_MEMORY});
  CWideString folder = L"untouched";
  EXPECT_FALSE(Common::GetModuleFolder(library.Module(), &folder));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_EQ(folder, L"untouched");
}

TEST_F(ModuleHelpersTest, AModulesPathOf260CharactersOrMoreHasNoFolder) {
  const std::wstring longestPath = L"C:\\" + std::wstring(250, L'f') + L"\\m.dll";
  ASSERT_EQ(longestPath.size(), 259U);
  CWideString folder;
  SetModulePath(longestPath);
  EXPECT_TRUE(Common::GetModuleFolder(library.Module(), &folder));
  EXPECT_EQ(folder, (L"C:\\" + std::wstring(250, L'f')).c_str());

  for (const std::size_t more : {1U, 2U, 100U}) {
    SetModulePath(longestPath + std::wstring(more, L'l'));
    folder = L"untouched";
    EXPECT_FALSE(Common::GetModuleFolder(library.Module(), &folder)) << more;
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE}) << more;
    EXPECT_EQ(folder, L"untouched") << more;
  }
}

TEST_F(ModuleHelpersTest, APathWithoutAFolderHasNoFolder) {
  SetModulePath(L"ModeChange.dll");
  CWideString folder = L"untouched";
  EXPECT_FALSE(Common::GetModuleFolder(library.Module(), &folder));
  EXPECT_EQ(folder, L"untouched");
}

}  // namespace
