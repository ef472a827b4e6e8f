#include "config/CModeChangeStatus.h"

#include <limits>
#include <optional>
#include <ostream>
#include <utility>

#include "unit/config/DataFileFixture.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

class CModeChangeStatusTest : public DataFileFixture {
 protected:
  [[nodiscard]] fs::path File() const { return sandbox.DataFile(L"ModeChange.Status.ini"); }

  /// The answers of a reader made for this one question; none for a failure, which has to leave
  /// the output alone.
  static std::optional<UINT> GetStatus(const wchar_t* mode) {
    constexpr UINT kUntouched = 4711;
    UINT status = kUntouched;
    if (CModeChangeStatus().GetCurrentModeStatus(mode, &status)) return status;
    EXPECT_EQ(status, kUntouched);
    return std::nullopt;
  }
  static std::optional<std::int32_t> GetNormal(const wchar_t* item) {
    constexpr std::int32_t kUntouched = 4711;
    std::int32_t value = kUntouched;
    if (CModeChangeStatus().GetNormalEnvironmentSetting(item, &value)) return value;
    EXPECT_EQ(value, kUntouched);
    return std::nullopt;
  }
  static bool SaveStatus(const wchar_t* mode, std::int32_t status) {
    return CModeChangeStatus().SaveCurrentModeStatus(mode, status);
  }
  static bool SaveNormal(const wchar_t* item, std::int32_t value) {
    return CModeChangeStatus().SaveNormalEnvironmentSetting(item, value);
  }
};

TEST_F(CModeChangeStatusTest, AReaderOnlyFindsItsPath) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kAbsent);
  { const CModeChangeStatus status; }
  EXPECT_THAT(Functions(), ElementsAre("EventRegister", "SHGetSpecialFolderPathW", "PathAppendW",
                                       "PathAppendW", "EventUnregister"));
  EXPECT_TRUE(fs::is_empty(sandbox.LibraryFolder() / L"ProgramData"));
}

TEST_F(CModeChangeStatusTest, AReaderHasOneTraceRegistrationWhileItLives) {
  {
    const CModeChangeStatus status;
    EXPECT_EQ(traces.OpenRegistrations(), 1U);
    EXPECT_FALSE(status.SaveCurrentModeStatus(nullptr, 1));
    EXPECT_EQ(traces.Registrations().size(), 1U);
    EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::SaveCurrentModeStatus", 121}}));
  }
  EXPECT_EQ(traces.OpenRegistrations(), 0U);
}

TEST_F(CModeChangeStatusTest, TracesWhyTheSystemNamesNoFolder) {
  interposition.Fail("SHGetSpecialFolderPathW", {.lastError = ERROR_NO_SUCH_USER});
  { const CModeChangeStatus status; }
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::CModeChangeStatus", 60, L"1317"}}));
}

TEST_F(CModeChangeStatusTest, TracesThatThePathWouldBeTooLong) {
  for (const std::uint32_t nthJoin : {1U, 2U}) {
    SCOPED_TRACE(nthJoin);
    interposition.Fail("PathAppendW", {.nth = nthJoin});
    { const CModeChangeStatus status; }
    EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::CModeChangeStatus", 60, L"206"}}));
  }
  NameApplicationDataFolder(FolderOfLength(250));
  { const CModeChangeStatus status; }
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::CModeChangeStatus", 60, L"206"}}));
}

TEST_F(CModeChangeStatusTest, WithoutAFolderNothingIsReadOrWrittenElsewhere) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kUnavailable);
  const CModeChangeStatus reader;
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::CModeChangeStatus", 60, L"2"}}));

  UINT status = 4711;
  EXPECT_TRUE(reader.GetCurrentModeStatus(L"Eco", &status)) << "no file: the mode is OFF";
  EXPECT_EQ(status, 0U);
  std::int32_t value = 4711;
  EXPECT_FALSE(reader.GetNormalEnvironmentSetting(L"Brightness", &value));
  EXPECT_EQ(value, 4711);
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::GetNormalEnvironmentSetting", 181, L""}}));

  const Trace noFolder = {L"CModeChangeStatus::CreateStatusFile", 278, L", 3"};
  EXPECT_FALSE(reader.CreateStatusFile());
  EXPECT_EQ(traces.Take(), (Traces{noFolder}));
  EXPECT_FALSE(reader.SaveCurrentModeStatus(L"Eco", 1));
  EXPECT_EQ(traces.Take(), (Traces{noFolder, {L"CModeChangeStatus::SaveCurrentModeStatus", 127}}));
  EXPECT_FALSE(reader.SaveNormalEnvironmentSetting(L"Brightness", 1));
  EXPECT_EQ(traces.Take(),
            (Traces{noFolder, {L"CModeChangeStatus::SaveNormalEnvironmentSetting", 211}}));

  // Given a name without a path, these would look in the Windows folder.
  EXPECT_EQ(interposition.Count("GetPrivateProfileIntW"), 0U);
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
  EXPECT_EQ(interposition.Count("CreateFileW"), 0U);
}

TEST_F(CModeChangeStatusTest, EveryModeIsOffWhileNothingWasSaved) {
  EXPECT_EQ(GetStatus(L"Eco"), 0U);
  EXPECT_FALSE(sandbox.Exists(File())) << "reading makes no file";

  sandbox.Write(File(), IniFile().Section(L"CurrentModeStatus").Key(L"Normal", 1));
  EXPECT_EQ(GetStatus(L"Eco"), 0U);
  sandbox.Write(File(), IniFile().Section(L"NormalEnvironment").Key(L"Eco", 1));
  EXPECT_EQ(GetStatus(L"Eco"), 0U);
}

TEST_F(CModeChangeStatusTest, GivesTheNumberThatIsStoredForTheMode) {
  sandbox.Write(File(), IniFile()
                            .Section(L"CurrentModeStatus")
                            .Key(L"Normal", 0)
                            .Key(L"Eco", 1)
                            .Key(L"Cradle", 7)
                            .Key(L"Custom", -1)
                            .Key(L"Wireless Off", kMost));
  EXPECT_EQ(GetStatus(L"Normal"), 0U);
  EXPECT_EQ(GetStatus(L"Eco"), 1U);
  EXPECT_EQ(GetStatus(L"Cradle"), 7U);
  EXPECT_EQ(GetStatus(L"Custom"), 0xFFFFFFFFU);
  EXPECT_EQ(GetStatus(L"Wireless Off"), 0x7FFFFFFFU);
  EXPECT_EQ(GetStatus(L"eCO"), 1U) << "names compare without case";
}

TEST_F(CModeChangeStatusTest, EveryAnswerReflectsTheFileAsItIs) {
  const CModeChangeStatus reader;
  for (const UINT stored : {1U, 0U, 1U}) {
    sandbox.Write(File(), IniFile().Section(L"CurrentModeStatus").Key(L"Eco", stored));
    UINT status = 4711;
    EXPECT_TRUE(reader.GetCurrentModeStatus(L"Eco", &status));
    EXPECT_EQ(status, stored);
  }
}

TEST_F(CModeChangeStatusTest, ADirectoryNamedLikeTheFileHoldsNothing) {
  sandbox.MakeFolder(File());
  EXPECT_EQ(GetStatus(L"Eco"), 0U);
  EXPECT_EQ(GetNormal(L"Brightness"), std::nullopt);
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeStatus::GetNormalEnvironmentSetting", 181, File().wstring()}}));
  EXPECT_EQ(interposition.Count("GetPrivateProfileIntW"), 0U);
}

TEST_F(CModeChangeStatusTest, ReadingAStatusIsTwoCalls) {
  sandbox.Write(File(), IniFile().Section(L"CurrentModeStatus").Key(L"Eco", 1));
  const CModeChangeStatus reader;
  interposition.ClearCalls();
  UINT status = 0;
  EXPECT_TRUE(reader.GetCurrentModeStatus(L"Eco", &status));
  ASSERT_THAT(Functions(), ElementsAre("GetFileAttributesW", "GetPrivateProfileIntW"));
  const Call call = interposition.AllCalls().back();
  EXPECT_STREQ(call.Text(0), L"CurrentModeStatus");
  EXPECT_STREQ(call.Text(1), L"Eco");
  EXPECT_EQ(static_cast<int>(call.arguments.at(2)), 0);
  EXPECT_EQ(call.Text(3), File().wstring());
}

TEST_F(CModeChangeStatusTest, ReadingTheStatusOfAMachineWithoutFileIsOneCall) {
  const CModeChangeStatus reader;
  interposition.ClearCalls();
  UINT status = 0;
  EXPECT_TRUE(reader.GetCurrentModeStatus(L"Eco", &status));
  EXPECT_THAT(Functions(), ElementsAre("GetFileAttributesW"));
}

TEST_F(CModeChangeStatusTest, AnItemThatWasNeverSavedHasNoNormalValue) {
  sandbox.Write(File(), IniFile().Section(L"NormalEnvironment").Key(L"Wireless", 1));
  EXPECT_EQ(GetNormal(L"Brightness"), CModeChangeStatus::kNothingSaved);
  sandbox.Write(File(), IniFile().Section(L"CurrentModeStatus").Key(L"Brightness", 1));
  EXPECT_EQ(GetNormal(L"Brightness"), -1);
  sandbox.Write(File(), "");
  EXPECT_EQ(GetNormal(L"Brightness"), -1);
}

TEST_F(CModeChangeStatusTest, GivesTheNormalValueThatIsStoredForTheItem) {
  sandbox.Write(File(), IniFile()
                            .Section(L"NormalEnvironment")
                            .Key(L"Brightness", 7)
                            .Key(L"Wireless", 0)
                            .Key(L"Least", kLeast)
                            .Key(L"Most", kMost));
  EXPECT_EQ(GetNormal(L"Brightness"), 7);
  EXPECT_EQ(GetNormal(L"Wireless"), 0);
  EXPECT_EQ(GetNormal(L"Least"), kLeast);
  EXPECT_EQ(GetNormal(L"Most"), kMost);
  EXPECT_EQ(GetNormal(L"brightness"), 7) << "names compare without case";
}

TEST_F(CModeChangeStatusTest, AMissingFileFailsTheQuestionForANormalValue) {
  EXPECT_EQ(GetNormal(L"Brightness"), std::nullopt);
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeStatus::GetNormalEnvironmentSetting", 181, File().wstring()}}));
  EXPECT_FALSE(sandbox.Exists(File())) << "reading makes no file";
}

TEST_F(CModeChangeStatusTest, ReadingANormalValueIsTwoCalls) {
  sandbox.Write(File(), IniFile().Section(L"NormalEnvironment").Key(L"Brightness", 1));
  const CModeChangeStatus reader;
  interposition.ClearCalls();
  std::int32_t value = 0;
  EXPECT_TRUE(reader.GetNormalEnvironmentSetting(L"Brightness", &value));
  ASSERT_THAT(Functions(), ElementsAre("GetFileAttributesW", "GetPrivateProfileIntW"));
  const Call call = interposition.AllCalls().back();
  EXPECT_STREQ(call.Text(0), L"NormalEnvironment");
  EXPECT_STREQ(call.Text(1), L"Brightness");
  EXPECT_EQ(static_cast<int>(call.arguments.at(2)), -1);
  EXPECT_EQ(call.Text(3), File().wstring());
}

TEST_F(CModeChangeStatusTest, NullArgumentsOfQuestionsFailBeforeAnyCall) {
  sandbox.Write(File(), IniFile()
                            .Section(L"CurrentModeStatus")
                            .Key(L"Eco", 1)
                            .Section(L"NormalEnvironment")
                            .Key(L"Brightness", 1));
  const Traces noStatus = {{L"CModeChangeStatus::GetCurrentModeStatus", 88}};
  EXPECT_EQ(GetStatus(nullptr), std::nullopt);
  EXPECT_EQ(traces.Take(), noStatus);
  EXPECT_FALSE(CModeChangeStatus().GetCurrentModeStatus(L"Eco", nullptr));
  EXPECT_EQ(traces.Take(), noStatus);

  const Traces noNormalValue = {{L"CModeChangeStatus::GetNormalEnvironmentSetting", 175}};
  EXPECT_EQ(GetNormal(nullptr), std::nullopt);
  EXPECT_EQ(traces.Take(), noNormalValue);
  EXPECT_FALSE(CModeChangeStatus().GetNormalEnvironmentSetting(L"Brightness", nullptr));
  EXPECT_EQ(traces.Take(), noNormalValue);

  EXPECT_EQ(interposition.Count("GetFileAttributesW"), 0U);
}

TEST_F(CModeChangeStatusTest, AModeChangeIsRememberedAndUndone) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  EXPECT_TRUE(SaveNormal(L"Brightness", 7));
  EXPECT_TRUE(SaveStatus(L"Normal", 0));
  EXPECT_TRUE(SaveStatus(L"Eco", 1));
  EXPECT_EQ(GetStatus(L"Normal"), 0U);
  EXPECT_EQ(GetStatus(L"Eco"), 1U);
  EXPECT_EQ(GetNormal(L"Brightness"), 7);

  EXPECT_TRUE(SaveNormal(L"Brightness", -1));
  EXPECT_TRUE(SaveStatus(L"Eco", 0));
  EXPECT_TRUE(SaveStatus(L"Normal", 1));
  EXPECT_EQ(GetStatus(L"Normal"), 1U);
  EXPECT_EQ(GetStatus(L"Eco"), 0U);
  EXPECT_EQ(GetNormal(L"Brightness"), CModeChangeStatus::kNothingSaved);
}

/// One of the two operations that save; both do it in the same way.
struct SaveOperation {
  const char* name;
  bool (CModeChangeStatus::*save)(const wchar_t* name, std::int32_t value) const;
  const wchar_t* section;
  const wchar_t* function;
  std::uint32_t nullName;
  std::uint32_t noFile;
  std::uint32_t notWritten;
  std::uint32_t notWrittenValue;

  friend std::ostream& operator<<(std::ostream& stream, const SaveOperation& operation) {
    return stream << operation.name;
  }
};

class CModeChangeStatusSaveTest : public CModeChangeStatusTest,
                                  public ::testing::WithParamInterface<SaveOperation> {
 protected:
  static bool Save(const wchar_t* name, std::int32_t value) {
    return (CModeChangeStatus().*GetParam().save)(name, value);
  }
  [[nodiscard]] static Trace Traced(std::uint32_t line) { return {GetParam().function, line}; }
  [[nodiscard]] static Trace Traced(std::uint32_t line, const std::wstring& message) {
    return {GetParam().function, line, message};
  }
  /// The whole file when there is but this one line in the section.
  [[nodiscard]] static std::string FileWith(const std::string& line) {
    return std::string("[") + Text::ToUtf8(GetParam().section) + "]\r\n" + line + "\r\n";
  }
};

INSTANTIATE_TEST_SUITE_P(
    , CModeChangeStatusSaveTest,
    ::testing::Values(SaveOperation{.name = "CurrentModeStatus",
                                    .save = &CModeChangeStatus::SaveCurrentModeStatus,
                                    .section = L"CurrentModeStatus",
                                    .function = L"CModeChangeStatus::SaveCurrentModeStatus",
                                    .nullName = 121,
                                    .noFile = 127,
                                    .notWritten = 138,
                                    .notWrittenValue = 139},
                      SaveOperation{.name = "NormalEnvironment",
                                    .save = &CModeChangeStatus::SaveNormalEnvironmentSetting,
                                    .section = L"NormalEnvironment",
                                    .function = L"CModeChangeStatus::SaveNormalEnvironmentSetting",
                                    .nullName = 205,
                                    .noFile = 211,
                                    .notWritten = 222,
                                    .notWrittenValue = 223}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(CModeChangeStatusSaveTest, TheFirstSaveMakesFolderAndEmptyFileAndThenWrites) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  std::string contentWhenClosed = "never closed";
  interposition.Observe("CloseHandle",
                        [&](const Call&) { contentWhenClosed = sandbox.Read(File()); });

  EXPECT_TRUE(Save(L"Eco", 1));

  EXPECT_EQ(contentWhenClosed, "");
  EXPECT_EQ(sandbox.Read(File()), FileWith("Eco=1"));
  EXPECT_EQ(interposition.Count("CreateDirectoryW"), 1U);
  EXPECT_EQ(interposition.Count("CreateFileW"), 1U);
}

TEST_P(CModeChangeStatusSaveTest, TheNextSaveOnlyWrites) {
  sandbox.Write(File(), FileWith("Eco=1"));
  const CModeChangeStatus status;
  interposition.ClearCalls();
  EXPECT_TRUE((status.*GetParam().save)(L"Eco", 0));
  ASSERT_THAT(Functions(), ElementsAre("GetFileAttributesW", "WritePrivateProfileStringW"));
  const Call call = interposition.AllCalls().back();
  EXPECT_STREQ(call.Text(0), GetParam().section);
  EXPECT_STREQ(call.Text(1), L"Eco");
  EXPECT_STREQ(call.Text(2), L"0");
  EXPECT_EQ(call.Text(3), File().wstring());
  EXPECT_EQ(sandbox.Read(File()), FileWith("Eco=0"));
}

TEST_P(CModeChangeStatusSaveTest, AnyNumberIsSaved) {
  const std::pair<std::int32_t, std::string> rows[] = {
      {0, "0"}, {1, "1"}, {-1, "-1"}, {kLeast, "-2147483648"}, {kMost, "2147483647"}};
  for (const auto& [value, text] : rows) {
    SCOPED_TRACE(text);
    EXPECT_TRUE(Save(L"Eco", value));
    EXPECT_EQ(sandbox.Read(File()), FileWith("Eco=" + text));
  }
}

TEST_P(CModeChangeStatusSaveTest, KeepsWhatElseIsInTheFile) {
  sandbox.Write(File(), IniFile()
                            .Section(L"CurrentModeStatus")
                            .Key(L"Normal", 1)
                            .Section(L"NormalEnvironment")
                            .Key(L"Wireless", 5));
  EXPECT_TRUE(Save(L"Eco", 2));
  EXPECT_EQ(sandbox.IniValue(File(), L"CurrentModeStatus", L"Normal"), L"1");
  EXPECT_EQ(sandbox.IniValue(File(), L"NormalEnvironment", L"Wireless"), L"5");
  EXPECT_EQ(sandbox.IniValue(File(), GetParam().section, L"Eco"), L"2");
}

TEST_P(CModeChangeStatusSaveTest, ANullNameFailsBeforeAnyCall) {
  EXPECT_FALSE(Save(nullptr, 1));
  EXPECT_EQ(traces.Take(), (Traces{Traced(GetParam().nullName)}));
  EXPECT_EQ(interposition.Count("GetFileAttributesW"), 0U);
  EXPECT_FALSE(sandbox.Exists(File()));
}

TEST_P(CModeChangeStatusSaveTest, WithoutTheMakersFolderNothingIsWritten) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kAbsent);
  EXPECT_FALSE(Save(L"Eco", 1));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::CreateStatusFile", 278,
                                    PathAndError(sandbox.DataFolderPath(), ERROR_PATH_NOT_FOUND)},
                                   Traced(GetParam().noFile)}));
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
  EXPECT_TRUE(fs::is_empty(sandbox.LibraryFolder() / L"ProgramData"));
}

TEST_P(CModeChangeStatusSaveTest, ADirectoryNamedLikeTheFileFailsAtTheFile) {
  sandbox.MakeFolder(File());
  EXPECT_FALSE(Save(L"Eco", 1));
  const std::vector<Call> attempts = interposition.CallsOf("CreateFileW");
  ASSERT_EQ(attempts.size(), 1U);
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::CreateStatusFile", 295,
                                    PathAndError(File(), attempts.front().lastError)},
                                   Traced(GetParam().noFile)}));
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
}

TEST_P(CModeChangeStatusSaveTest, WithoutASecurityDescriptorNothingIsWritten) {
  interposition.Fail("ConvertStringSecurityDescriptorToSecurityDescriptorW",
                     {.lastError = ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_FALSE(Save(L"Eco", 1));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::CreateStatusFile", 260,
                                    PathAndError(File(), ERROR_NOT_ENOUGH_MEMORY)},
                                   Traced(GetParam().noFile)}));
  EXPECT_FALSE(sandbox.Exists(File()));
}

TEST_P(CModeChangeStatusSaveTest, AFailedWriteTracesTheErrorAndThenTheValue) {
  interposition.Fail("WritePrivateProfileStringW", {.lastError = ERROR_DISK_FULL});
  EXPECT_FALSE(Save(L"Eco", -5));
  EXPECT_EQ(traces.Take(),
            (Traces{Traced(GetParam().notWritten, PathAndError(File(), ERROR_DISK_FULL)),
                    Traced(GetParam().notWrittenValue, L"-5")}));
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 1U) << "nothing is tried again";
  EXPECT_EQ(sandbox.Read(File()), "") << "the file that was made for it stays";
}

// The file is made empty, which Windows takes for text in the ANSI code page.
TEST_P(CModeChangeStatusSaveTest, AKeyOutsideTheCodePageDoesNotSurviveInAFileThatWeMade) {
  EXPECT_TRUE(Save(L"\u00D6ko", 1));
  EXPECT_EQ(sandbox.Read(File()), FileWith("\xD6ko=1")) << "of the code page 1252";
  EXPECT_EQ(sandbox.IniValue(File(), GetParam().section, L"\u00D6ko"), L"1");

  EXPECT_TRUE(Save(L"\u30A8\u30B3", 1));
  EXPECT_EQ(sandbox.IniValue(File(), GetParam().section, L"\u30A8\u30B3"), std::nullopt);
  EXPECT_EQ(GetStatus(L"\u30A8\u30B3"), 0U);
  EXPECT_EQ(GetNormal(L"\u30A8\u30B3"), CModeChangeStatus::kNothingSaved);
}

TEST_P(CModeChangeStatusSaveTest, AnyKeySurvivesInAFileWithAByteOrderMark) {
  sandbox.Write(File(), IniFile().In(IniFile::Encoding::kUtf16));
  EXPECT_TRUE(Save(L"\u30A8\u30B3", 1));
  EXPECT_EQ(sandbox.IniValue(File(), GetParam().section, L"\u30A8\u30B3"), L"1");
}

}  // namespace
