#include "devices/CDeviceEngineHelper.h"

#include <algorithm>
#include <cwchar>
#include <functional>
#include <iterator>
#include <optional>
#include <string>

#include "support/CurrentFolder.h"
#include "support/ModeChangeTest.h"
#include "support/PeImage.h"
#include "support/ScriptedEngine.h"
#include "unit/devices/ExportOverrides.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int32_t kUntouched = 4711;

/// An engine "Lamp", and a helper for it that has not been asked anything.
class CDeviceEngineHelperTest : public ModeChangeTest {
 protected:
  CDeviceEngineHelperTest() { helper.emplace(path.c_str()); }

  std::wstring MakeEnginePath() {
    sandbox.MakeFolder(L"Engines");
    return sandbox.LibraryFolder().wstring() + L"\\Engines\\Lamp.dll";
  }
  /// Gives back what the library keeps on purpose, by the library's own import.
  void FreeAsTheLibrary(HMODULE module) const {
    for (const PeImage::Import& import : PeImage(library.Module()).Imports()) {
      if (import.function != "FreeLibrary") continue;
      const auto* slot = reinterpret_cast<const char*>(library.Module()) + import.slot;
      (*reinterpret_cast<const decltype(&::FreeLibrary)*>(slot))(module);
    }
  }
  /// Adds the loading and unloading of DLLs to the log of engine calls.
  void LogModules() {
    interposition.Observe("LoadLibraryW", [this](const Call&) { log.push_back("LoadLibrary"); });
    interposition.Observe("FreeLibrary", [this](const Call&) { log.push_back("FreeLibrary"); });
  }

  std::wstring path = MakeEnginePath();
  EngineLog log;
  ScriptedEngine engine{path, &log};
  ExportOverrides exports{interposition};
  std::optional<CDeviceEngineHelper> helper;
};

/// One forwarding operation, and what it traces where the engine can't be opened.
struct Operation {
  const char* name;
  std::function<bool(CDeviceEngineHelper&)> run;
  Trace notOpened;
  std::string call;
  Traces refused;
};

const HWND kWindow = reinterpret_cast<HWND>(0x12340);

std::vector<Operation> AllOperations() {
  return {
      {.name = "GetDeviceCount",
       .run =
           [](CDeviceEngineHelper& helper) {
             UINT count = kUntouched;
             const bool good = helper.GetDeviceCount(&count);
             EXPECT_EQ(count == kUntouched, !good);
             return good;
           },
       .notOpened = {L"CDeviceEngineHelper::GetDeviceCount", 80},
       .call = "GetDeviceCount",
       .refused = {{L"CDeviceEngineHelper::GetDeviceCount", 87}}},
      {.name = "SelectDevice",
       .run = [](CDeviceEngineHelper& helper) { return helper.SelectDevice(); },
       .notOpened = {L"CDeviceEngineHelper::SelectDevice", 111},
       .call = "SelectDevice(0)",
       .refused = {{L"CDeviceEngineHelper::SelectDevice", 117, L"0"}}},
      {.name = "GetStringInformation",
       .run =
           [](CDeviceEngineHelper& helper) {
             CWideString text = L"untouched";
             const bool good = helper.GetStringInformation(1, 3, &text);
             EXPECT_EQ(text == L"untouched", !good) << Text::ToUtf8(text.c_str());
             return good;
           },
       .notOpened = {L"CDeviceEngineHelper::GetStringInformation", 153},
       .call = "GetStringInformation(1, 3)",
       .refused = {{L"CDeviceEngineHelper::GetStringInformation", 162, L"1, 3"}}},
      {.name = "GetINT32INformation",
       .run =
           [](CDeviceEngineHelper& helper) {
             std::int32_t value = kUntouched;
             const bool good = helper.GetINT32INformation(2, 5, &value);
             EXPECT_EQ(value == kUntouched, !good);
             return good;
           },
       .notOpened = {L"CDeviceEngineHelper::GetINT32INformation", 200},
       .call = "GetINT32Information(2, 5)",
       .refused = {{L"CDeviceEngineHelper::GetINT32INformation", 206, L"2, 5"}}},
      {.name = "RequestToSetINT32Information",
       .run =
           [](CDeviceEngineHelper& helper) {
             return helper.RequestToSetINT32Information(-7, kWindow);
           },
       .notOpened = {L"CDeviceEngineHelper::RequestToSetINT32Information", 238},
       .call = "RequestToSetINT32Information(0, 0) = -7",
       .refused = {{L"CDeviceEngineHelper::RequestToSetINT32Information", 245, L"0, 0"},
                   {L"CDeviceEngineHelper::RequestToSetINT32Information", 247, L"-7"}}},
  };
}

// --- Opening and closing -------------------------------------------------------------------------

TEST_F(CDeviceEngineHelperTest, LoadsFromAFullPathOnly) {
  // A path that is not full would be looked for in the current folder, and in others.
  const CurrentFolder current(sandbox.LibraryFolder());
  const std::wstring drive = sandbox.LibraryFolder().root_name().wstring();
  const std::wstring paths[] = {L"",
                                L"Lamp.dll",
                                L"Engines\\Lamp.dll",
                                L".\\Engines\\Lamp.dll",
                                drive + L"Engines\\Lamp.dll",
                                path.substr(drive.size())};
  for (const std::wstring& notFull : paths) {
    SCOPED_TRACE(Text::ToUtf8(notFull));
    helper.emplace(notFull.c_str());
    EXPECT_FALSE(helper->SelectDevice());
    EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::Initialize", 313,
                                      notFull + L", " + std::to_wstring(ERROR_BAD_PATHNAME)},
                                     {L"CDeviceEngineHelper::SelectDevice", 111}}));
  }
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(CDeviceEngineHelperTest, AFolderIsNoEngine) {
  // Windows adds ".dll" to a name without an ending: the folder's name could be that of a DLL.
  const std::wstring folder = sandbox.LibraryFolder().wstring() + L"\\Engines\\Folder";
  sandbox.MakeFolder(folder);
  ScriptedEngine besideIt(folder + L".dll", &log);
  helper.emplace(folder.c_str());
  EXPECT_FALSE(helper->SelectDevice());
  EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::Initialize", 313,
                                    folder + L", " + std::to_wstring(ERROR_MOD_NOT_FOUND)},
                                   {L"CDeviceEngineHelper::SelectDevice", 111}}));
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(CDeviceEngineHelperTest, LoadsNothingUntilItIsAsked) {
  LogModules();
  helper.reset();
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(CDeviceEngineHelperTest, OpensTheEngineOnceForWhateverIsAskedFirst) {
  engine.completion = ScriptedEngine::Completion::kNever;
  LogModules();
  for (const Operation& operation : AllOperations()) {
    SCOPED_TRACE(operation.name);
    log.clear();
    helper.emplace(path.c_str());
    EXPECT_TRUE(operation.run(*helper));
    EXPECT_TRUE(operation.run(*helper));
    helper.reset();
    EXPECT_THAT(log, ElementsAre("LoadLibrary", "Lamp.CreateHandle", "Lamp." + operation.call,
                                 "Lamp." + operation.call, "Lamp.DeleteHandle", "FreeLibrary"));
    EXPECT_EQ(engine.openHandles, 0);
  }
}

TEST_F(CDeviceEngineHelperTest, LoadsTheEngineByItsFullPathAndResolvesItsFunctionsInOrder) {
  EXPECT_TRUE(helper->SelectDevice());
  ASSERT_THAT(interposition.CallsOf("LoadLibraryW"), SizeIs(1));
  EXPECT_EQ(interposition.CallsOf("LoadLibraryW").front().Text(0), path);
  std::vector<std::wstring> names;
  for (const Call& call : interposition.CallsOf("GetProcAddress")) names.emplace_back(call.Text(1));
  EXPECT_THAT(names,
              ElementsAre(L"VeltoDeviceEngine_CreateHandle", L"VeltoDeviceEngine_DeleteHandle",
                          L"VeltoDeviceEngine_GetDeviceCount", L"VeltoDeviceEngine_SelectDevice",
                          L"VeltoDeviceEngine_GetStringInformation",
                          L"VeltoDeviceEngine_GetINT32Information",
                          L"VeltoDeviceEngine_RequestToSetINT32Information",
                          L"VeltoDeviceEngine_RequestToNotifyChangeDeviceStatus"));
}

TEST_F(CDeviceEngineHelperTest, IgnoresHowTheEngineAnswersToBeingClosed) {
  engine.failing = {"DeleteHandle"};
  EXPECT_TRUE(helper->SelectDevice());
  helper.reset();
  EXPECT_EQ(log.back(), "Lamp.DeleteHandle");
}

TEST_F(CDeviceEngineHelperTest, EachHelperHasAHandleOfItsOwn) {
  CDeviceEngineHelper other(path.c_str());
  EXPECT_TRUE(helper->SelectDevice());
  EXPECT_TRUE(other.SelectDevice());
  EXPECT_EQ(engine.openHandles, 2);
  helper.reset();
  EXPECT_EQ(engine.openHandles, 1);
  EXPECT_TRUE(other.SelectDevice());
}

// --- Engines that can't be opened ----------------------------------------------------------------

TEST_F(CDeviceEngineHelperTest, TracesAPathThatDoesNotLoadEachTimeItIsTried) {
  const std::wstring absent = sandbox.LibraryFolder().wstring() + L"\\Engines\\Absent.dll";
  helper.emplace(absent.c_str());
  const Trace notLoaded{L"CDeviceEngineHelper::Initialize", 313, absent + L", 126"};
  for (const Operation& operation : AllOperations()) {
    SCOPED_TRACE(operation.name);
    for (int attempt = 0; attempt < 2; ++attempt) {
      EXPECT_FALSE(operation.run(*helper));
      EXPECT_EQ(traces.Take(), (Traces{notLoaded, operation.notOpened}));
    }
  }
  helper.reset();
  EXPECT_EQ(interposition.Count("FreeLibrary"), 0U);
}

TEST_F(CDeviceEngineHelperTest, TracesTheErrorOfLoading) {
  interposition.Fail("LoadLibraryW", {.lastError = ERROR_BAD_EXE_FORMAT});
  EXPECT_FALSE(helper->SelectDevice());
  EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::Initialize", 313, path + L", 193"},
                                   {L"CDeviceEngineHelper::SelectDevice", 111}}));
}

TEST_F(CDeviceEngineHelperTest, TakesNoEngineThatLacksAFunction) {
  struct Row {
    const char* missing;
    std::uint32_t line;
  };
  const Row rows[] = {{"VeltoDeviceEngine_CreateHandle", 324},
                      {"VeltoDeviceEngine_DeleteHandle", 334},
                      {"VeltoDeviceEngine_GetDeviceCount", 344},
                      {"VeltoDeviceEngine_SelectDevice", 354},
                      {"VeltoDeviceEngine_GetStringInformation", 364},
                      {"VeltoDeviceEngine_GetINT32Information", 374},
                      {"VeltoDeviceEngine_RequestToSetINT32Information", 384}};
  std::size_t resolvedBefore = 0;
  for (const Row& row : rows) {
    ++resolvedBefore;
    for (const Operation& operation : AllOperations()) {
      SCOPED_TRACE(testing::Message() << row.missing << ", " << operation.name);
      exports.Restore();
      exports.Hide(row.missing);
      interposition.ClearCalls();
      helper.emplace(path.c_str());
      EXPECT_FALSE(operation.run(*helper));
      EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::Initialize", row.line, L"127"},
                                       operation.notOpened}));
      EXPECT_EQ(interposition.Count("GetProcAddress"), resolvedBefore) << "The first one ends it.";
      helper.reset();
      EXPECT_EQ(interposition.Count("FreeLibrary"), 1U);
    }
  }
  EXPECT_THAT(log, IsEmpty()) << "The engine is unusable as a whole.";
}

TEST_F(CDeviceEngineHelperTest, NeedsNoNotificationsOfTheEngineAndNeverAsksForThem) {
  static bool asked;
  asked = false;
  exports.Set(
      "VeltoDeviceEngine_RequestToNotifyChangeDeviceStatus", +[](void*, HWND, UINT) {
        asked = true;
        return TRUE;
      });
  for (const bool present : {true, false}) {
    SCOPED_TRACE(present ? "present" : "absent");
    if (!present) exports.Hide("VeltoDeviceEngine_RequestToNotifyChangeDeviceStatus");
    helper.emplace(path.c_str());
    for (const Operation& operation : AllOperations()) {
      EXPECT_TRUE(operation.run(*helper)) << operation.name;
    }
    helper.reset();
  }
  EXPECT_FALSE(asked);
}

TEST_F(CDeviceEngineHelperTest, CountsANullHandleAsAFailure) {
  engine.nullHandle = true;
  for (const Operation& operation : AllOperations()) {
    SCOPED_TRACE(operation.name);
    helper.emplace(path.c_str());
    EXPECT_FALSE(operation.run(*helper));
    EXPECT_EQ(traces.Take(),
              (Traces{{L"CDeviceEngineHelper::Initialize", 401}, operation.notOpened}));
  }
  helper.reset();
  EXPECT_THAT(log, testing::Each("Lamp.CreateHandle"));
}

TEST_F(CDeviceEngineHelperTest, NeverDeletesTheHandleOfAFailedCreation) {
  // The fake engine stores a handle although it fails.
  engine.failing = {"CreateHandle"};
  EXPECT_FALSE(helper->SelectDevice());
  EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::Initialize", 401},
                                   {L"CDeviceEngineHelper::SelectDevice", 111}}));
  helper.reset();
  EXPECT_THAT(log, ElementsAre("Lamp.CreateHandle"));
}

TEST_F(CDeviceEngineHelperTest, FreesTheEngineOnceAfterOneFailedAttempt) {
  engine.nullHandle = true;
  EXPECT_FALSE(helper->SelectDevice());
  EXPECT_THAT(handles.Held(), SizeIs(1)) << "An engine that failed to open stays loaded.";
  helper.reset();
  EXPECT_THAT(handles.Held(), IsEmpty());
  EXPECT_THAT(traces.Take(), SizeIs(2));
}

TEST_F(CDeviceEngineHelperTest, TriesAgainAndKeepsTheReferencesOfFailedAttempts) {
  LogModules();
  engine.failing = {"CreateHandle"};
  EXPECT_FALSE(helper->SelectDevice());
  EXPECT_FALSE(helper->SelectDevice());
  EXPECT_THAT(traces.Take(), SizeIs(4));
  engine.failing.clear();
  EXPECT_TRUE(helper->SelectDevice());
  EXPECT_TRUE(helper->SelectDevice());
  helper.reset();

  EXPECT_THAT(log,
              ElementsAre("LoadLibrary", "Lamp.CreateHandle", "LoadLibrary", "Lamp.CreateHandle",
                          "LoadLibrary", "Lamp.CreateHandle", "Lamp.SelectDevice(0)",
                          "Lamp.SelectDevice(0)", "Lamp.DeleteHandle", "FreeLibrary"));
  ASSERT_THAT(handles.Held(), SizeIs(2));
  for (int kept = 0; kept < 2; ++kept) FreeAsTheLibrary(::GetModuleHandleW(path.c_str()));
}

TEST_F(CDeviceEngineHelperTest, OpensAnEngineThatAppearsLater) {
  const std::wstring later = sandbox.LibraryFolder().wstring() + L"\\Engines\\Later.dll";
  helper.emplace(later.c_str());
  EXPECT_FALSE(helper->SelectDevice());
  EXPECT_THAT(traces.Take(), SizeIs(2));

  ScriptedEngine installed(later, &log);
  EXPECT_TRUE(helper->SelectDevice());
  helper.reset();
  EXPECT_THAT(log,
              ElementsAre("Later.CreateHandle", "Later.SelectDevice(0)", "Later.DeleteHandle"));
}

TEST_F(CDeviceEngineHelperTest, KeepsAnEngineFromAFailedAttemptWhereTheNextOneDoesNotLoadIt) {
  engine.nullHandle = true;
  EXPECT_FALSE(helper->SelectDevice());
  interposition.Fail("LoadLibraryW", {});
  EXPECT_FALSE(helper->SelectDevice());
  EXPECT_THAT(handles.Held(), SizeIs(1));
  helper.reset();
  EXPECT_EQ(interposition.Count("FreeLibrary"), 1U);
  EXPECT_THAT(traces.Take(), SizeIs(4));
}

// --- Forwarding ----------------------------------------------------------------------------------

TEST_F(CDeviceEngineHelperTest, TracesWhatTheEngineRefuses) {
  for (const Operation& operation : AllOperations()) {
    SCOPED_TRACE(operation.name);
    engine.failing = {operation.call};
    log.clear();
    helper.emplace(path.c_str());
    EXPECT_FALSE(operation.run(*helper));
    EXPECT_EQ(traces.Take(), operation.refused);
    // It stays open.
    engine.failing.clear();
    EXPECT_TRUE(operation.run(*helper));
    EXPECT_THAT(
        log, ElementsAre("Lamp.CreateHandle", "Lamp." + operation.call, "Lamp." + operation.call));
    helper.reset();
  }
}

TEST_F(CDeviceEngineHelperTest, NeedsSomewhereToPutAnAnswer) {
  EXPECT_FALSE(helper->GetDeviceCount(nullptr));
  EXPECT_FALSE(helper->GetStringInformation(0, 0, nullptr));
  EXPECT_FALSE(helper->GetINT32INformation(0, 0, nullptr));
  EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::GetDeviceCount", 75},
                                   {L"CDeviceEngineHelper::GetStringInformation", 147},
                                   {L"CDeviceEngineHelper::GetINT32INformation", 194}}));
  helper.reset();
  EXPECT_THAT(log, IsEmpty()) << "The engine is not even loaded.";
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
}

TEST_F(CDeviceEngineHelperTest, TellsTheNumberOfDevices) {
  for (const UINT devices : {0U, 1U, 2U, 0xFFFFFFFFU}) {
    engine.devices = devices;
    UINT count = kUntouched;
    EXPECT_TRUE(helper->GetDeviceCount(&count));
    EXPECT_EQ(count, devices);
  }
}

TEST_F(CDeviceEngineHelperTest, CountsNoDeviceWhereTheEngineWritesNone) {
  exports.Set(
      "VeltoDeviceEngine_GetDeviceCount", +[](void*, UINT*) { return TRUE; });
  UINT count = kUntouched;
  EXPECT_TRUE(helper->GetDeviceCount(&count));
  EXPECT_EQ(count, 0U);
}

TEST_F(CDeviceEngineHelperTest, LeavesOutputsAloneWhereAFailingEngineWrites) {
  exports.Set(
      "VeltoDeviceEngine_GetDeviceCount", +[](void*, UINT* count) {
        *count = 9;
        return FALSE;
      });
  exports.Set(
      "VeltoDeviceEngine_GetINT32Information", +[](void*, UINT, UINT, INT32* value) {
        *value = 9;
        return FALSE;
      });
  exports.Set(
      "VeltoDeviceEngine_GetStringInformation", +[](void*, UINT, UINT, UINT*, WCHAR* buffer) {
        *buffer = L'9';
        return FALSE;
      });
  UINT count = kUntouched;
  std::int32_t value = kUntouched;
  CWideString text = L"untouched";
  EXPECT_FALSE(helper->GetDeviceCount(&count));
  EXPECT_FALSE(helper->GetINT32INformation(3, 0, &value));
  EXPECT_FALSE(helper->GetStringInformation(0, 0, &text));
  EXPECT_EQ(count, static_cast<UINT>(kUntouched));
  EXPECT_EQ(value, kUntouched);
  EXPECT_EQ(text, L"untouched");
  EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::GetDeviceCount", 87},
                                   {L"CDeviceEngineHelper::GetINT32INformation", 206, L"3, 0"},
                                   {L"CDeviceEngineHelper::GetStringInformation", 162, L"0, 0"}}));
}

TEST_F(CDeviceEngineHelperTest, TellsNumbersAsTheyAre) {
  for (const INT32 number : {0, 1, -1, 2147483647, -2147483647 - 1}) {
    engine.current = number;
    std::int32_t value = kUntouched;
    EXPECT_TRUE(helper->GetINT32INformation(VELTO_ENGINE_INT32_CURRENT_VALUE, 0, &value));
    EXPECT_EQ(value, number);
  }
}

TEST_F(CDeviceEngineHelperTest, LeavesThePresetWhereTheEngineWritesNoNumber) {
  exports.Set(
      "VeltoDeviceEngine_GetINT32Information", +[](void*, UINT, UINT, INT32*) { return TRUE; });
  std::int32_t value = kUntouched;
  EXPECT_TRUE(helper->GetINT32INformation(0, 0, &value));
  EXPECT_EQ(value, kUntouched);
}

TEST_F(CDeviceEngineHelperTest, TracesIdentifiersAsUnsignedNumbers) {
  engine.failing = {"GetINT32Information(4294967295, 2147483648)",
                    "GetStringInformation(4294967295, 2147483648)"};
  std::int32_t value = 0;
  CWideString text;
  EXPECT_FALSE(helper->GetINT32INformation(0xFFFFFFFF, 0x80000000, &value));
  EXPECT_FALSE(helper->GetStringInformation(0xFFFFFFFF, 0x80000000, &text));
  EXPECT_EQ(
      traces.Take(),
      (Traces{{L"CDeviceEngineHelper::GetINT32INformation", 206, L"4294967295, 2147483648"},
              {L"CDeviceEngineHelper::GetStringInformation", 162, L"4294967295, 2147483648"}}));
}

TEST_F(CDeviceEngineHelperTest, TellsTextsOfUpTo255Characters) {
  for (const std::size_t length : {0U, 1U, 254U, 255U}) {
    engine.itemKey = std::wstring(length, L'\u00e4');
    CWideString text = L"before";
    EXPECT_TRUE(helper->GetStringInformation(VELTO_ENGINE_STRING_ITEM_KEY, 0, &text));
    EXPECT_EQ(text, engine.itemKey.c_str());
    EXPECT_EQ(text.length(), length);
  }
}

TEST_F(CDeviceEngineHelperTest, CutsATextThatFillsTheBufferWithoutATerminator) {
  exports.Set(
      "VeltoDeviceEngine_GetStringInformation",
      +[](void*, UINT, UINT, UINT* length, WCHAR* buffer) {
        std::wmemset(buffer, L'x', *length);
        return TRUE;
      });
  CWideString text;
  EXPECT_TRUE(helper->GetStringInformation(0, 0, &text));
  EXPECT_EQ(text, std::wstring(255, L'x').c_str());
}

TEST_F(CDeviceEngineHelperTest, GivesAnEmptyBufferOf256Characters) {
  static UINT offered;
  static bool isEmpty;
  exports.Set(
      "VeltoDeviceEngine_GetStringInformation",
      +[](void*, UINT, UINT, UINT* length, WCHAR* buffer) {
        offered = *length;
        isEmpty = std::count(buffer, buffer + 256, L'\0') == 256;
        std::wmemcpy(buffer, L"Ab", 2);
        return TRUE;
      });
  for (int attempt = 0; attempt < 2; ++attempt) {
    offered = 0;
    isEmpty = false;
    CWideString text;
    EXPECT_TRUE(helper->GetStringInformation(0, 0, &text));
    EXPECT_EQ(offered, 256U);
    EXPECT_TRUE(isEmpty);
    EXPECT_EQ(text, L"Ab");
  }
}

TEST_F(CDeviceEngineHelperTest, IgnoresTheLengthThatTheEngineReturns) {
  static UINT returned;
  exports.Set(
      "VeltoDeviceEngine_GetStringInformation",
      +[](void*, UINT, UINT, UINT* length, WCHAR* buffer) {
        std::wmemcpy(buffer, L"Item\0more", 10);
        *length = returned;
        return TRUE;
      });
  for (const UINT length : {0U, 2U, 5U, 0xFFFFFFFFU}) {
    returned = length;
    CWideString text;
    EXPECT_TRUE(helper->GetStringInformation(0, 0, &text));
    EXPECT_EQ(text, L"Item") << "returned length " << length;
  }
}

TEST_F(CDeviceEngineHelperTest, RequestsAValueWithTheCompletionNotice) {
  engine.completion = ScriptedEngine::Completion::kNever;
  for (const std::int32_t value : {0, 3, -1}) {
    log.clear();
    engine.window = nullptr;
    engine.message = 0;
    EXPECT_TRUE(helper->RequestToSetINT32Information(value, kWindow));
    EXPECT_EQ(log.back(), "Lamp.RequestToSetINT32Information(0, 0) = " + std::to_string(value));
    EXPECT_EQ(engine.window, kWindow);
    EXPECT_EQ(engine.message, 0x8002U);
  }
}

}  // namespace
