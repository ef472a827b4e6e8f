#include "config/DataFile.h"

#include <windows.h>
// windows.h first: the others need its types.
#include <sddl.h>
#include <shlobj.h>

#include <functional>
#include <limits>
#include <memory>
#include <ostream>
#include <sstream>

#include "config/CModeChangeSettings.h"
#include "config/CModeChangeStatus.h"
#include "unit/config/DataFileFixture.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

// What every user may do with folder and file.
constexpr const char* kOpenToAllUsers =
    "24 bytes, handle not inherited\n"
    "control 0x4, no owner, no group, no SACL\n"
    "entry type 0, flags 3, mask 0xE0000000, S-1-5-18\n"
    "entry type 0, flags 3, mask 0xE0000000, S-1-5-32-544\n"
    "entry type 0, flags 3, mask 0xE0000000, S-1-5-32-545\n";

struct LocalMemory {
  void operator()(void* memory) const { ::LocalFree(memory); }
};

std::string DescribeEntry(ACL* list, DWORD index) {
  void* found = nullptr;
  ::GetAce(list, index, &found);
  // Entries that allow and that deny are alike up to their type.
  auto* entry = static_cast<ACCESS_ALLOWED_ACE*>(found);
  wchar_t* identifier = nullptr;
  ::ConvertSidToStringSidW(&entry->SidStart, &identifier);
  const std::unique_ptr<wchar_t, LocalMemory> owner(identifier);

  std::ostringstream text;
  text << "entry type " << int{entry->Header.AceType} << ", flags " << int{entry->Header.AceFlags}
       << ", mask 0x" << std::hex << std::uppercase << entry->Mask << ", "
       << Text::ToUtf8(identifier) << '\n';
  return text.str();
}

/// All that the attributes say, with an access list's entries in their order.
std::string Describe(const SECURITY_ATTRIBUTES* attributes) {
  if (attributes == nullptr) return "none";
  std::ostringstream text;
  text << attributes->nLength << " bytes, handle "
       << (attributes->bInheritHandle == FALSE ? "not " : "") << "inherited\n";

  void* const descriptor = attributes->lpSecurityDescriptor;
  if (::IsValidSecurityDescriptor(descriptor) == FALSE) return text.str() + "invalid descriptor";
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  ::GetSecurityDescriptorControl(descriptor, &control, &revision);
  BOOL isDefaulted = FALSE;
  void* owner = nullptr;
  ::GetSecurityDescriptorOwner(descriptor, &owner, &isDefaulted);
  void* group = nullptr;
  ::GetSecurityDescriptorGroup(descriptor, &group, &isDefaulted);
  BOOL hasSystemList = FALSE;
  ACL* systemList = nullptr;
  ::GetSecurityDescriptorSacl(descriptor, &hasSystemList, &systemList, &isDefaulted);
  // Whether it lies in one piece says nothing about what it allows.
  text << "control 0x" << std::hex << (control & ~SE_SELF_RELATIVE) << std::dec << ", "
       << (owner == nullptr ? "no" : "an") << " owner, " << (group == nullptr ? "no" : "a")
       << " group, " << (hasSystemList == FALSE ? "no" : "a") << " SACL\n";

  BOOL hasList = FALSE;
  ACL* list = nullptr;
  ::GetSecurityDescriptorDacl(descriptor, &hasList, &list, &isDefaulted);
  if (list == nullptr) return text.str() + "no DACL";
  for (DWORD i = 0; i < list->AceCount; ++i) text << DescribeEntry(list, i);
  return text.str();
}

class DataFileTest : public DataFileFixture {};

TEST_F(DataFileTest, AFileLiesInTheDataFolder) {
  CWideString path;
  EXPECT_TRUE(DataFile::GetPath(L"ModeChange.Status.ini", &path));
  EXPECT_EQ(path.c_str(), sandbox.DataFile(L"ModeChange.Status.ini").wstring());
}

TEST_F(DataFileTest, AskingForThePathOnlyAsksForTheFolderAndMakesNothing) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kAbsent);
  CWideString path;
  EXPECT_TRUE(DataFile::GetPath(L"ModeChange.Status.ini", &path));

  EXPECT_THAT(Functions(), ElementsAre("SHGetSpecialFolderPathW", "PathAppendW", "PathAppendW"));
  const Call call = interposition.CallsOf("SHGetSpecialFolderPathW").front();
  EXPECT_EQ(call.arguments.at(0), 0U) << "no window asks";
  EXPECT_EQ(static_cast<int>(call.arguments.at(2)), CSIDL_COMMON_APPDATA);
  EXPECT_EQ(static_cast<BOOL>(call.arguments.at(3)), FALSE) << "the folder is not to be made";
  EXPECT_TRUE(fs::is_empty(sandbox.LibraryFolder() / L"ProgramData"));
}

TEST_F(DataFileTest, ThereIsNoPathWhenTheSystemNamesNoFolder) {
  interposition.Fail("SHGetSpecialFolderPathW", {.lastError = ERROR_NO_SUCH_USER});
  CWideString path = L"untouched";
  EXPECT_FALSE(DataFile::GetPath(L"ModeChange.Status.ini", &path));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_NO_SUCH_USER});
  EXPECT_EQ(path, CWideString(L"untouched"));
}

TEST_F(DataFileTest, APathThatFitsIntoTheLimitIsWhole) {
  // "\Brivane\Kestrola\File.ini" is 26 characters; 259 and the terminator fit.
  const std::wstring folder = FolderOfLength(233);
  NameApplicationDataFolder(folder);
  CWideString path;
  EXPECT_TRUE(DataFile::GetPath(L"File.ini", &path));
  EXPECT_EQ(path.c_str(), folder + L"\\Brivane\\Kestrola\\File.ini");
  EXPECT_EQ(path.length(), 259U);
}

TEST_F(DataFileTest, APathBeyondTheLimitIsAFailureWhereverItGetsTooLong) {
  for (const std::size_t length : {
           std::size_t{234},  // by the last character of the file's name
           std::size_t{242},  // by all of the file's name
           std::size_t{243},  // by our folder's name
           std::size_t{259},  // by any name
       }) {
    SCOPED_TRACE(length);
    NameApplicationDataFolder(FolderOfLength(length));
    CWideString path = L"untouched";
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(DataFile::GetPath(L"File.ini", &path));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
    EXPECT_EQ(path, CWideString(L"untouched"));
  }
}

class DataFileWriteTest : public DataFileFixture {
 protected:
  DataFileWriteTest() { traces.LeaveOutOfCoverage(); }

  static constexpr const wchar_t* kFile = L"File.ini";

  bool WriteInt(const CWideString& path, const wchar_t* section, const wchar_t* key,
                std::int32_t value) const {
    return DataFile::WriteInt(path, section, key, value, trace,
                              {.pathAndError = {L"Test::Write", 1}, .value = {L"Test::Write", 2}});
  }
  bool WriteInt(std::int32_t value) const {
    return WriteInt(sandbox.DataFile(kFile).c_str(), L"Section", L"Key", value);
  }

  TraceLog trace;
};

TEST_F(DataFileWriteTest, AnyNumberIsWrittenInDecimal) {
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  const std::pair<std::int32_t, std::string> rows[] = {
      {0, "0"},
      {1, "1"},
      {-1, "-1"},
      {1000, "1000"},
      {kLeast, "-2147483648"},
      {kMost, "2147483647"},
  };
  for (const auto& [value, text] : rows) {
    SCOPED_TRACE(text);
    sandbox.SetDataFolder(Sandbox::DataFolder::kPresent);
    EXPECT_TRUE(WriteInt(value));
    EXPECT_EQ(sandbox.Read(sandbox.DataFile(kFile)), "[Section]\r\nKey=" + text + "\r\n");
  }
}

TEST_F(DataFileWriteTest, AWriteIsOneCall) {
  interposition.ClearCalls();
  EXPECT_TRUE(WriteInt(7));
  ASSERT_THAT(Functions(), ElementsAre("WritePrivateProfileStringW"));
  const Call call = interposition.AllCalls().front();
  EXPECT_STREQ(call.Text(0), L"Section");
  EXPECT_STREQ(call.Text(1), L"Key");
  EXPECT_STREQ(call.Text(2), L"7");
  EXPECT_EQ(call.Text(3), sandbox.DataFile(kFile).wstring());
}

TEST_F(DataFileWriteTest, AWriteReplacesTheOldValueAndNothingElse) {
  const fs::path file = sandbox.DataFile(kFile);
  sandbox.Write(file, "[Other]\r\nKey=1\r\n[Section]\r\nBefore=2\r\nKey=3\r\nAfter=4\r\n");
  EXPECT_TRUE(WriteInt(-5));
  EXPECT_EQ(sandbox.IniValue(file, L"Other", L"Key"), L"1");
  EXPECT_EQ(sandbox.IniValue(file, L"Section", L"Before"), L"2");
  EXPECT_EQ(sandbox.IniValue(file, L"Section", L"Key"), L"-5");
  EXPECT_EQ(sandbox.IniValue(file, L"Section", L"After"), L"4");
}

TEST_F(DataFileWriteTest, AFailedWriteTracesPathAndErrorAndThenTheValue) {
  interposition.Fail("WritePrivateProfileStringW", {.lastError = ERROR_DISK_FULL});
  EXPECT_FALSE(WriteInt(-5));
  EXPECT_EQ(traces.Take(),
            (Traces{{L"Test::Write", 1, PathAndError(sandbox.DataFile(kFile), ERROR_DISK_FULL)},
                    {L"Test::Write", 2, L"-5"}}));
}

TEST_F(DataFileWriteTest, AnErrorIsShownUnsigned) {
  interposition.Fail("WritePrivateProfileStringW", {.lastError = 0xFFFFFFFF});
  EXPECT_FALSE(WriteInt(1));
  EXPECT_EQ(traces.Take(),
            (Traces{{L"Test::Write", 1, sandbox.DataFile(kFile).wstring() + L", 4294967295"},
                    {L"Test::Write", 2, L"1"}}));
}

TEST_F(DataFileWriteTest, AFileThatAnotherProgramHoldsStaysAsItIs) {
  const fs::path file = sandbox.DataFile(kFile);
  sandbox.Write(file, "[Section]\r\nKey=3\r\n");
  HANDLE held = ::CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_FALSE(WriteInt(7));
  ::CloseHandle(held);
  EXPECT_EQ(traces.Take(), (Traces{{L"Test::Write", 1, PathAndError(file, ERROR_SHARING_VIOLATION)},
                                   {L"Test::Write", 2, L"7"}}));
  EXPECT_EQ(sandbox.Read(file), "[Section]\r\nKey=3\r\n");
}

TEST_F(DataFileWriteTest, WithoutAPathNothingIsWrittenIntoTheWindowsFolder) {
  interposition.ClearCalls();
  EXPECT_FALSE(WriteInt(CWideString(), L"Section", L"Key", 7));
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
  EXPECT_EQ(traces.Take(), (Traces{{L"Test::Write", 1, L", 3"}, {L"Test::Write", 2, L"7"}}));
}

/// Who makes a data file; both do it in the same way.
struct Maker {
  const char* name;
  const wchar_t* file;
  std::function<bool()> make;
  TracePoint noSecurityDescriptor;
  TracePoint noFolder;
  TracePoint noFile;

  friend std::ostream& operator<<(std::ostream& stream, const Maker& maker) {
    return stream << maker.name;
  }
};

class DataFileCreationTest : public DataFileFixture, public ::testing::WithParamInterface<Maker> {
 protected:
  [[nodiscard]] fs::path File() const { return sandbox.DataFile(GetParam().file); }
  [[nodiscard]] static bool Make() { return GetParam().make(); }
  [[nodiscard]] static Trace Failed(const TracePoint& point, const std::wstring& message) {
    return {point.function, point.line, message};
  }

  /// Keeps what folder and file are made with, read while Windows makes them.
  void WatchSecurity() {
    interposition.Replace("CreateDirectoryW",
                          [this](const wchar_t* path, SECURITY_ATTRIBUTES* security) {
                            folderSecurity = Describe(security);
                            return ::CreateDirectoryW(path, security);
                          });
    interposition.Replace("CreateFileW", [this](const wchar_t* path, DWORD access, DWORD sharing,
                                                SECURITY_ATTRIBUTES* security, DWORD disposition,
                                                DWORD flags, HANDLE templateFile) {
      fileSecurity = Describe(security);
      return ::CreateFileW(path, access, sharing, security, disposition, flags, templateFile);
    });
  }

  std::string folderSecurity = "no folder made";
  std::string fileSecurity = "no file made";
};

INSTANTIATE_TEST_SUITE_P(
    , DataFileCreationTest,
    ::testing::Values(Maker{.name = "Status",
                            .file = L"ModeChange.Status.ini",
                            .make = [] { return CModeChangeStatus().CreateStatusFile(); },
                            .noSecurityDescriptor = {L"CModeChangeStatus::CreateStatusFile", 260},
                            .noFolder = {L"CModeChangeStatus::CreateStatusFile", 278},
                            .noFile = {L"CModeChangeStatus::CreateStatusFile", 295}},
                      Maker{
                          .name = "Settings",
                          .file = L"ModeChange.Settings.ini",
                          .make = [] { return CModeChangeSettings().CreateSettingFile(); },
                          .noSecurityDescriptor = {L"CModeChangeSettings::CreateSettingFile", 590},
                          .noFolder = {L"CModeChangeSettings::CreateSettingFile", 608},
                          .noFile = {L"CModeChangeSettings::CreateSettingFile", 625}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(DataFileCreationTest, MakesTheFolderAndAnEmptyFileThatAllUsersMayWrite) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  WatchSecurity();
  EXPECT_TRUE(Make());
  EXPECT_EQ(folderSecurity, kOpenToAllUsers);
  EXPECT_EQ(fileSecurity, kOpenToAllUsers);
  EXPECT_TRUE(fs::is_directory(sandbox.DataFolderPath()));
  EXPECT_EQ(sandbox.Read(File()), "");
}

TEST_P(DataFileCreationTest, OpensTheFileAsANewOneAndClosesIt) {
  EXPECT_TRUE(Make());

  ASSERT_EQ(interposition.Count("CreateFileW"), 1U);
  const Call call = interposition.CallsOf("CreateFileW").front();
  EXPECT_EQ(call.Text(0), File().wstring());
  EXPECT_EQ(static_cast<DWORD>(call.arguments.at(1)), GENERIC_READ | GENERIC_WRITE);
  EXPECT_EQ(static_cast<DWORD>(call.arguments.at(2)), DWORD{FILE_SHARE_READ});
  EXPECT_EQ(static_cast<DWORD>(call.arguments.at(4)), DWORD{CREATE_NEW});
  EXPECT_EQ(static_cast<DWORD>(call.arguments.at(5)), DWORD{FILE_ATTRIBUTE_NORMAL});
  EXPECT_EQ(call.arguments.at(6), 0U) << "no file is a template";
  ASSERT_EQ(interposition.Count("CloseHandle"), 1U);
  EXPECT_EQ(interposition.CallsOf("CloseHandle").front().arguments.at(0), call.result);
}

TEST_P(DataFileCreationTest, LeavesAFolderAsItIsAndGivesItsNewFileTheSameAccess) {
  WatchSecurity();
  EXPECT_TRUE(Make());
  EXPECT_EQ(folderSecurity, "no folder made");
  EXPECT_EQ(fileSecurity, kOpenToAllUsers);
  EXPECT_EQ(sandbox.Read(File()), "");
}

TEST_P(DataFileCreationTest, LeavesAFileAsItIs) {
  sandbox.Write(File(), "[Section]\r\nKey=3\r\n");
  EXPECT_TRUE(Make());
  EXPECT_EQ(interposition.Count("CreateFileW"), 0U);
  EXPECT_EQ(sandbox.Read(File()), "[Section]\r\nKey=3\r\n");
}

TEST_P(DataFileCreationTest, DoesNotMakeTheMakersFolder) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kAbsent);
  EXPECT_FALSE(Make());
  EXPECT_EQ(traces.Take(),
            (Traces{Failed(GetParam().noFolder,
                           PathAndError(sandbox.DataFolderPath(), ERROR_PATH_NOT_FOUND))}));
  EXPECT_EQ(interposition.Count("CreateFileW"), 0U);
  EXPECT_TRUE(fs::is_empty(sandbox.LibraryFolder() / L"ProgramData")) << "nothing was made";
}

TEST_P(DataFileCreationTest, FailsWhereAFileStandsInTheFoldersPlace) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  sandbox.Write(sandbox.DataFolderPath(), "in the way");
  EXPECT_FALSE(Make());
  EXPECT_EQ(traces.Take(),
            (Traces{Failed(GetParam().noFolder,
                           PathAndError(sandbox.DataFolderPath(), ERROR_ALREADY_EXISTS))}));
  EXPECT_EQ(sandbox.Read(sandbox.DataFolderPath()), "in the way");
}

TEST_P(DataFileCreationTest, FailsWhereADirectoryStandsInTheFilesPlace) {
  sandbox.MakeFolder(File());
  EXPECT_FALSE(Make());
  const std::vector<Call> attempts = interposition.CallsOf("CreateFileW");
  ASSERT_EQ(attempts.size(), 1U);
  EXPECT_EQ(traces.Take(),
            (Traces{Failed(GetParam().noFile, PathAndError(File(), attempts.front().lastError))}));
  EXPECT_TRUE(fs::is_directory(File()));
}

TEST_P(DataFileCreationTest, DoesNotTouchAFileThatAnotherProgramMadeMeanwhile) {
  // Between the question whether the file is there and its creation.
  interposition.Observe("GetFileAttributesW", [this](const Call& call) {
    if (call.Text(0) == File().wstring()) sandbox.Write(File(), "[Other]\r\nKey=1\r\n");
  });
  EXPECT_FALSE(Make());
  EXPECT_EQ(traces.Take(),
            (Traces{Failed(GetParam().noFile, PathAndError(File(), ERROR_FILE_EXISTS))}));
  EXPECT_EQ(sandbox.Read(File()), "[Other]\r\nKey=1\r\n");
}

TEST_P(DataFileCreationTest, MakesNothingWithoutASecurityDescriptor) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  interposition.Fail("ConvertStringSecurityDescriptorToSecurityDescriptorW",
                     {.lastError = ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_FALSE(Make());
  EXPECT_EQ(traces.Take(), (Traces{Failed(GetParam().noSecurityDescriptor,
                                          PathAndError(File(), ERROR_NOT_ENOUGH_MEMORY))}));
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFolderPath()));
}

TEST_P(DataFileCreationTest, FailsWhereTheFolderMayNotBeMade) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  interposition.Fail("CreateDirectoryW", {.lastError = ERROR_ACCESS_DENIED});
  EXPECT_FALSE(Make());
  EXPECT_EQ(traces.Take(),
            (Traces{Failed(GetParam().noFolder,
                           PathAndError(sandbox.DataFolderPath(), ERROR_ACCESS_DENIED))}));
  EXPECT_EQ(interposition.Count("CreateFileW"), 0U);
}

TEST_P(DataFileCreationTest, FailsWhereTheFileMayNotBeMade) {
  interposition.Fail("CreateFileW", {.lastError = ERROR_DISK_FULL});
  EXPECT_FALSE(Make());
  EXPECT_EQ(traces.Take(),
            (Traces{Failed(GetParam().noFile, PathAndError(File(), ERROR_DISK_FULL))}));
  EXPECT_FALSE(sandbox.Exists(File()));
}

TEST_F(DataFileTest, MakingAFileAsksInThisOrder) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  const TraceLog trace;
  interposition.ClearCalls();
  EXPECT_TRUE(DataFile::Create(sandbox.DataFile(L"File.ini").c_str(), trace,
                               {.noSecurityDescriptor = {L"Test::Create", 1},
                                .noFolder = {L"Test::Create", 2},
                                .noFile = {L"Test::Create", 3}}));
  EXPECT_THAT(Functions(),
              ElementsAre("ConvertStringSecurityDescriptorToSecurityDescriptorW",
                          "PathRemoveFileSpecW", "GetFileAttributesW", "CreateDirectoryW",
                          "GetFileAttributesW", "CreateFileW", "CloseHandle", "LocalFree"));
}

}  // namespace
