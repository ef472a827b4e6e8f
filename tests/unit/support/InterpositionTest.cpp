#include "support/Interposition.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <stdexcept>

#include "support/Files.h"
#include "support/PeImage.h"
#include "unit/support/InterpositionTarget.h"

namespace {

using ::testing::ElementsAre;
namespace Target = InterpositionTarget;

constexpr const wchar_t* kMissing = L"Z:\\no such folder\\no such file";
constexpr DWORD kSomeError = 4711;

int CompareNumbers(const void* left, const void* right) {
  return *static_cast<const int*>(left) - *static_cast<const int*>(right);
}

std::vector<std::string> FunctionsOf(const std::vector<Call>& calls) {
  std::vector<std::string> functions;
  for (const Call& call : calls) functions.push_back(call.function);
  return functions;
}

/// What the module's address table holds.
std::vector<void*> ReadSlots(HMODULE module) {
  std::vector<void*> slots;
  for (const PeImage::Import& import : PeImage(module).Imports()) {
    slots.push_back(*reinterpret_cast<void**>(reinterpret_cast<char*>(module) + import.slot));
  }
  return slots;
}

class InterpositionTest : public ::testing::Test {
 protected:
  Interposition interposition{Target::Module()};
};

TEST_F(InterpositionTest, CountsTheModulesCallsOnly) {
  Target::CallGetFileAttributes(kMissing);
  Target::CallGetFileAttributes(kMissing);
  ::GetFileAttributesW(kMissing);
  EXPECT_EQ(2U, interposition.Count("GetFileAttributesW"));
  EXPECT_EQ(0U, interposition.Count("CreateFileW"));
}

TEST_F(InterpositionTest, RecordsWhatACallWasGivenAndGaveBack) {
  const std::wstring program = Files::ProgramPath().wstring();
  HANDLE file = Target::CallCreateFile(program.c_str());
  ASSERT_NE(INVALID_HANDLE_VALUE, file);
  Target::CallCloseHandle(file);

  const std::vector<Call> calls = interposition.CallsOf("CreateFileW");
  ASSERT_EQ(1U, calls.size());
  const Call& call = calls.front();
  EXPECT_STRCASEEQ("kernel32.dll", call.module.c_str());
  EXPECT_EQ(program, call.Text(0));
  EXPECT_EQ(GENERIC_READ, call.arguments[1] & 0xFFFFFFFF);
  EXPECT_EQ(FILE_SHARE_READ, call.arguments[2] & 0xFFFFFFFF);
  EXPECT_EQ(OPEN_EXISTING, call.arguments[4] & 0xFFFFFFFF);
  EXPECT_EQ(FILE_ATTRIBUTE_NORMAL, call.arguments[5] & 0xFFFFFFFF);
  EXPECT_EQ(reinterpret_cast<std::uint64_t>(file), call.result);
  EXPECT_TRUE(call.returned);
  EXPECT_TRUE(call.original);
}

TEST_F(InterpositionTest, CopiesTextsWhenTheyArePassed) {
  std::array<wchar_t, 8> path = {L'Z', L':', L'\\', L'o', L'l', L'd'};
  Target::CallGetFileAttributes(path.data());
  path[3] = L'X';
  Target::CallGetModuleHandleA("no such module");
  Target::CallGetModuleHandleA(nullptr);

  EXPECT_STREQ(L"Z:\\old", interposition.CallsOf("GetFileAttributesW").front().Text(0));
  const std::vector<Call> calls = interposition.CallsOf("GetModuleHandleA");
  ASSERT_EQ(2U, calls.size());
  EXPECT_STREQ(L"no such module", calls[0].Text(0));
  EXPECT_STREQ(L"", calls[1].Text(0));
}

TEST_F(InterpositionTest, RecordsInTheOrderOfTheCalls) {
  Target::CallGetFileAttributes(kMissing);
  Target::CallCreateFile(kMissing);
  Target::CallGetFileAttributes(kMissing);
  EXPECT_THAT(FunctionsOf(interposition.AllCalls()),
              ElementsAre("GetFileAttributesW", "CreateFileW", "GetFileAttributesW"));

  interposition.ClearCalls();
  EXPECT_TRUE(interposition.AllCalls().empty());
  EXPECT_EQ(0U, interposition.Count("CreateFileW"));
}

TEST_F(InterpositionTest, CountsWithoutRecording) {
  interposition.SetRecording(false);
  Target::CallGetFileAttributes(kMissing);
  EXPECT_EQ(1U, interposition.Count("GetFileAttributesW"));
  EXPECT_TRUE(interposition.AllCalls().empty());
}

TEST_F(InterpositionTest, CountsTheRuntimesCallsWithoutRecording) {
  Target::CallFree(Target::CallMalloc(100));
  EXPECT_EQ(1U, interposition.Count("malloc"));
  EXPECT_EQ(1U, interposition.Count("free"));
  EXPECT_TRUE(interposition.AllCalls().empty());
}

TEST_F(InterpositionTest, PassesTwelveArguments) {
  HWND window = Target::CallCreateWindowEx(L"Title", 11, 22, 133, 44);
  ASSERT_NE(nullptr, window);
  RECT place{};
  ::GetWindowRect(window, &place);
  EXPECT_EQ(11, place.left);
  EXPECT_EQ(22, place.top);
  EXPECT_EQ(11 + 133, place.right);
  EXPECT_EQ(22 + 44, place.bottom);
  EXPECT_EQ(Target::Module(),
            reinterpret_cast<HMODULE>(::GetWindowLongPtrW(window, GWLP_HINSTANCE)));
  ::DestroyWindow(window);

  const std::vector<Call> calls = interposition.CallsOf("CreateWindowExW");
  ASSERT_EQ(1U, calls.size());
  const Call& call = calls.front();
  ASSERT_EQ(12U, call.arguments.size());
  EXPECT_EQ(WS_EX_TOOLWINDOW, call.arguments[0] & 0xFFFFFFFF);
  EXPECT_STREQ(L"STATIC", call.Text(1));
  EXPECT_STREQ(L"Title", call.Text(2));
  EXPECT_EQ(WS_POPUP, call.arguments[3] & 0xFFFFFFFF);
  EXPECT_EQ(11U, call.arguments[4] & 0xFFFFFFFF);
  EXPECT_EQ(44U, call.arguments[7] & 0xFFFFFFFF);
  EXPECT_EQ(reinterpret_cast<std::uint64_t>(Target::Module()), call.arguments[10]);
  EXPECT_EQ(0U, call.arguments[11]);
  EXPECT_EQ(reinterpret_cast<std::uint64_t>(window), call.result);
}

TEST_F(InterpositionTest, PassesFloatingPointNumbers) {
  EXPECT_EQ(::_jn(2, 1.5), Target::CallBessel(2, 1.5));
  EXPECT_GT(Target::CallBessel(2, 1.5), 0.2);
  EXPECT_EQ(2U, interposition.Count("_jn"));
}

TEST_F(InterpositionTest, FailsTheNthCallOnce) {
  const std::wstring program = Files::ProgramPath().wstring();
  interposition.Fail("GetFileAttributesW", {.nth = 2});
  EXPECT_NE(INVALID_FILE_ATTRIBUTES, Target::CallGetFileAttributes(program.c_str()));
  EXPECT_EQ(INVALID_FILE_ATTRIBUTES, Target::CallGetFileAttributes(program.c_str()));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, ::GetLastError());
  EXPECT_NE(INVALID_FILE_ATTRIBUTES, Target::CallGetFileAttributes(program.c_str()));

  const std::vector<Call> calls = interposition.CallsOf("GetFileAttributesW");
  ASSERT_EQ(3U, calls.size());
  EXPECT_TRUE(calls[0].original);
  EXPECT_FALSE(calls[1].original);
  EXPECT_EQ(INVALID_FILE_ATTRIBUTES, calls[1].result);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, calls[1].lastError);
}

TEST_F(InterpositionTest, FailsFromTheNthCallOnwards) {
  const std::wstring program = Files::ProgramPath().wstring();
  interposition.Fail("GetFileAttributesW", {.nth = 2, .onwards = true});
  EXPECT_NE(INVALID_FILE_ATTRIBUTES, Target::CallGetFileAttributes(program.c_str()));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, Target::CallGetFileAttributes(program.c_str()));
  }
}

TEST_F(InterpositionTest, CountsFromWhenTheFailureIsSetUp) {
  const std::wstring program = Files::ProgramPath().wstring();
  Target::CallGetFileAttributes(program.c_str());
  interposition.Fail("GetFileAttributesW", {.nth = 1});
  EXPECT_EQ(INVALID_FILE_ATTRIBUTES, Target::CallGetFileAttributes(program.c_str()));
}

TEST_F(InterpositionTest, FailsWithAChosenResultAndError) {
  interposition.Fail("CreateFileW", {.result = 0x1234, .lastError = kSomeError});
  EXPECT_EQ(reinterpret_cast<HANDLE>(0x1234), Target::CallCreateFile(kMissing));
  EXPECT_EQ(kSomeError, ::GetLastError());
}

TEST_F(InterpositionTest, FailsTheRuntimesAllocation) {
  interposition.Fail("malloc", {.nth = 1});
  EXPECT_EQ(nullptr, Target::CallMalloc(100));
  void* memory = Target::CallMalloc(100);
  EXPECT_NE(nullptr, memory);
  Target::CallFree(memory);
}

TEST_F(InterpositionTest, FailsAnyFallibleCall) {
  const std::wstring program = Files::ProgramPath().wstring();
  interposition.FailAny({.nth = 3, .onwards = true});
  EXPECT_NE(INVALID_FILE_ATTRIBUTES, Target::CallGetFileAttributes(program.c_str()));
  HANDLE file = Target::CallCreateFile(program.c_str());
  EXPECT_NE(INVALID_HANDLE_VALUE, file);
  // It can't fail, so it does not count.
  Target::CallCloseHandle(file);
  EXPECT_EQ(2U, interposition.FallibleCallCount());

  EXPECT_EQ(nullptr, Target::CallMalloc(100));
  EXPECT_EQ(INVALID_HANDLE_VALUE, Target::CallCreateFile(program.c_str()));
  EXPECT_EQ(ERROR_ACCESS_DENIED, ::GetLastError());
  EXPECT_EQ(4U, interposition.FallibleCallCount());
}

TEST_F(InterpositionTest, KeepsTheLastError) {
  // Set by the function itself.
  Target::CallGetFileAttributes(kMissing);
  const DWORD error = ::GetLastError();
  EXPECT_TRUE(error == ERROR_PATH_NOT_FOUND || error == ERROR_FILE_NOT_FOUND) << error;
  EXPECT_EQ(error, interposition.CallsOf("GetFileAttributesW").front().lastError);
  // Set and read through thunks.
  Target::CallSetLastError(kSomeError);
  EXPECT_EQ(kSomeError, ::GetLastError());
  EXPECT_EQ(kSomeError, Target::CallGetLastError());
  // Not touched by a function that does not touch it, nor by a failure that does not.
  ::SetLastError(kSomeError);
  Target::CallFree(nullptr);
  EXPECT_EQ(kSomeError, ::GetLastError());
  interposition.Fail("GetFileAttributesW", {.lastError = ERROR_SUCCESS});
  Target::CallGetFileAttributes(kMissing);
  EXPECT_EQ(kSomeError, ::GetLastError());
}

TEST_F(InterpositionTest, ReplacesAFunction) {
  std::vector<std::wstring> asked;
  interposition.Replace("GetFileAttributesW", [&asked](const wchar_t* path) -> DWORD {
    asked.emplace_back(path);
    ::SetLastError(kSomeError);
    return FILE_ATTRIBUTE_DIRECTORY;
  });
  EXPECT_EQ(static_cast<DWORD>(FILE_ATTRIBUTE_DIRECTORY), Target::CallGetFileAttributes(kMissing));
  EXPECT_EQ(kSomeError, ::GetLastError());
  EXPECT_THAT(asked, ElementsAre(kMissing));
  const std::vector<Call> calls = interposition.CallsOf("GetFileAttributesW");
  ASSERT_EQ(1U, calls.size());
  EXPECT_FALSE(calls.front().original);
  EXPECT_EQ(kSomeError, calls.front().lastError);
}

TEST_F(InterpositionTest, HandsOutTheOriginal) {
  const auto original =
      interposition.Original<decltype(&::GetFileAttributesW)>("GetFileAttributesW");
  const std::wstring program = Files::ProgramPath().wstring();
  interposition.Replace("GetFileAttributesW",
                        [&](const wchar_t*) { return original(program.c_str()); });
  EXPECT_EQ(::GetFileAttributesW(program.c_str()), Target::CallGetFileAttributes(kMissing));
  EXPECT_EQ(1U, interposition.Count("GetFileAttributesW"));
}

TEST_F(InterpositionTest, FailureComesBeforeReplacement) {
  interposition.Replace("GetFileAttributesW", [](const wchar_t*) -> DWORD { return 5; });
  interposition.Fail("GetFileAttributesW", {.nth = 2});
  EXPECT_EQ(5U, Target::CallGetFileAttributes(kMissing));
  EXPECT_EQ(INVALID_FILE_ATTRIBUTES, Target::CallGetFileAttributes(kMissing));
}

TEST_F(InterpositionTest, LetsExceptionsOfAReplacementThrough) {
  interposition.Replace("CreateFileW", [](const wchar_t*) -> HANDLE {
    throw std::out_of_range("thrown by the replacement");
  });
  EXPECT_THROW(Target::CallCreateFile(kMissing), std::out_of_range);
  const std::vector<Call> calls = interposition.CallsOf("CreateFileW");
  ASSERT_EQ(1U, calls.size());
  EXPECT_FALSE(calls.front().returned);
}

TEST_F(InterpositionTest, LetsExceptionsOfTheOriginalThrough) {
  std::array<int, 3> numbers = {3, 1, 2};
  EXPECT_THROW(Target::CallSort(numbers.data(), numbers.size(),
                                [](const void*, const void*) -> int {
                                  throw std::out_of_range("thrown from below the thunk");
                                }),
               std::out_of_range);
  Target::CallSort(numbers.data(), numbers.size(), &CompareNumbers);
  EXPECT_THAT(numbers, ElementsAre(1, 2, 3));
  EXPECT_EQ(2U, interposition.Count("qsort"));
}

TEST_F(InterpositionTest, RecordsCallsWithinCalls) {
  interposition.Replace("CreateFileW", [](const wchar_t* path) -> HANDLE {
    Target::CallGetFileAttributes(path);
    return INVALID_HANDLE_VALUE;
  });
  Target::CallCreateFile(kMissing);
  EXPECT_THAT(FunctionsOf(interposition.AllCalls()),
              ElementsAre("CreateFileW", "GetFileAttributesW"));
  for (const Call& call : interposition.AllCalls()) EXPECT_TRUE(call.returned) << call.function;
}

TEST_F(InterpositionTest, ForgetsACallThatIsClearedWhileItRuns) {
  interposition.Replace("CreateFileW", [this](const wchar_t* path) -> HANDLE {
    interposition.ClearCalls();
    Target::CallGetFileAttributes(path);
    return INVALID_HANDLE_VALUE;
  });
  Target::CallCreateFile(kMissing);
  EXPECT_THAT(FunctionsOf(interposition.AllCalls()), ElementsAre("GetFileAttributesW"));
  EXPECT_EQ(INVALID_FILE_ATTRIBUTES, interposition.AllCalls().front().result);
}

TEST_F(InterpositionTest, TellsObserversWhenACallIsOver) {
  interposition.SetRecording(false);
  std::vector<Call> observed;
  interposition.Observe("GetFileAttributesW", [&](const Call& call) { observed.push_back(call); });
  Target::CallGetFileAttributes(kMissing);
  interposition.Fail("GetFileAttributesW", {.result = 99});
  Target::CallGetFileAttributes(kMissing);
  ASSERT_EQ(2U, observed.size());
  EXPECT_EQ(INVALID_FILE_ATTRIBUTES, observed[0].result);
  EXPECT_STREQ(kMissing, observed[0].Text(0));
  EXPECT_EQ(99U, observed[1].result);
}

TEST_F(InterpositionTest, NamesTheLastFunction) {
  EXPECT_STREQ("none", interposition.LastFunction());
  Target::CallCreateFile(kMissing);
  Target::CallFree(nullptr);
  EXPECT_STREQ("CreateFileW", interposition.LastFunction());
}

TEST_F(InterpositionTest, ResetsAll) {
  bool isObserved = false;
  interposition.Fail("GetFileAttributesW", {.onwards = true});
  interposition.FailAny({.onwards = true});
  interposition.Replace("CreateFileW", [] { return 1; });
  interposition.Observe("CreateFileW", [&isObserved](const Call&) { isObserved = true; });
  interposition.Reset();

  const std::wstring program = Files::ProgramPath().wstring();
  EXPECT_NE(INVALID_FILE_ATTRIBUTES, Target::CallGetFileAttributes(program.c_str()));
  EXPECT_EQ(INVALID_HANDLE_VALUE, Target::CallCreateFile(kMissing));
  EXPECT_FALSE(isObserved);
  EXPECT_EQ(1U, interposition.Count("GetFileAttributesW"));
}

TEST_F(InterpositionTest, RejectsWhatCannotHappen) {
  EXPECT_THROW(interposition.Fail("RegDeleteTreeW", {}), std::invalid_argument);
  EXPECT_THROW(interposition.Replace("RegDeleteTreeW", [] { return 0; }), std::invalid_argument);
  EXPECT_THROW(interposition.Observe("RegDeleteTreeW", [](const Call&) {}), std::invalid_argument);
  // It is imported, but has no result that would mean failure.
  EXPECT_THROW(interposition.Fail("CloseHandle", {}), std::invalid_argument);
  EXPECT_NO_THROW(interposition.Fail("CloseHandle", {.result = 0}));
  EXPECT_TRUE(interposition.Imports("CloseHandle"));
  EXPECT_FALSE(interposition.CanFail("CloseHandle"));
  EXPECT_TRUE(interposition.CanFail("CreateFileW"));
  EXPECT_FALSE(interposition.Imports("RegDeleteTreeW"));
}

TEST_F(InterpositionTest, CountsCallsOfSeveralThreads) {
  constexpr std::uint32_t kCalls = 2000;
  interposition.Fail("GetFileAttributesW", {.nth = kCalls});
  std::atomic<std::uint32_t> found = 0;
  interposition.Replace("GetFileAttributesW", [](const wchar_t*) -> DWORD { return 0; });
  const auto work = [](void* count) -> DWORD {
    for (std::uint32_t i = 0; i < kCalls; ++i) {
      if (Target::CallGetFileAttributes(kMissing) == 0) {
        ++*static_cast<std::atomic<std::uint32_t>*>(count);
      }
    }
    return 0;
  };
  std::array<HANDLE, 4> threads{};
  for (HANDLE& thread : threads) thread = ::CreateThread(nullptr, 0, work, &found, 0, nullptr);
  ::WaitForMultipleObjects(static_cast<DWORD>(threads.size()), threads.data(), TRUE, INFINITE);
  for (HANDLE thread : threads) ::CloseHandle(thread);

  EXPECT_EQ(threads.size() * kCalls, interposition.Count("GetFileAttributesW"));
  EXPECT_EQ(threads.size() * kCalls, interposition.CallsOf("GetFileAttributesW").size());
  EXPECT_EQ(threads.size() * kCalls - 1, found) << "One call fails.";
}

TEST(InterpositionLifeTest, RestoresTheAddressTable) {
  const std::vector<void*> before = ReadSlots(Target::Module());
  {
    const Interposition interposition(Target::Module());
    EXPECT_NE(before, ReadSlots(Target::Module()));
  }
  EXPECT_EQ(before, ReadSlots(Target::Module()));
}

TEST(InterpositionLifeTest, LeavesDataAlone) {
  // The runtime's variables are imported as data; a thunk in their place would break the module.
  const std::vector<void*> before = ReadSlots(Target::Module());
  const std::vector<PeImage::Import> imports = PeImage(Target::Module()).Imports();
  const Interposition interposition(Target::Module());
  const std::vector<void*> during = ReadSlots(Target::Module());
  std::size_t changed = 0;
  for (std::size_t i = 0; i < imports.size(); ++i) {
    const bool isChanged = before[i] != during[i];
    EXPECT_EQ(isChanged, interposition.Imports(imports[i].function)) << imports[i].function;
    if (isChanged) ++changed;
  }
  EXPECT_GT(changed, 10U);
}

TEST(InterpositionLifeTest, MayBeMadeAgainAndAgain) {
  // Many more thunks in all than there are at a time.
  for (std::uint32_t i = 0; i < 100; ++i) {
    Interposition interposition(Target::Module());
    interposition.Fail("GetFileAttributesW", {.result = i});
    EXPECT_EQ(i, Target::CallGetFileAttributes(kMissing));
  }
}

TEST(InterpositionLifeTest, OfTwoTheLaterOneComesFirst) {
  const Interposition outer(Target::Module());
  {
    Interposition inner(Target::Module());
    Target::CallGetFileAttributes(kMissing);
    EXPECT_EQ(1U, inner.Count("GetFileAttributesW"));
    inner.Fail("GetFileAttributesW", {});
    Target::CallGetFileAttributes(kMissing);
  }
  Target::CallGetFileAttributes(kMissing);
  EXPECT_EQ(2U, outer.Count("GetFileAttributesW"));
}

TEST(ImportedFunctionsTest, KnowAllThatTheLibraryImportsFromWindows) {
  std::size_t known = 0;
  for (const PeImage::Import& import :
       PeImage(Files::ProgramPath().parent_path() / L"ModeChange.dll").Imports()) {
    if (IsRuntimeModule(import.module)) continue;
    EXPECT_NE(nullptr, FindImportedFunction(import.function)) << import.function;
    ++known;
  }
  EXPECT_GT(known, 20U);
}

TEST(ImportedFunctionsTest, KnowNothingElse) {
  EXPECT_EQ(nullptr, FindImportedFunction("NoSuchFunction"));
  EXPECT_EQ(nullptr, FindImportedFunction(""));
  EXPECT_TRUE(IsRuntimeModule("MSVCRT.dll"));
  EXPECT_FALSE(IsRuntimeModule("KERNEL32.dll"));
}

}  // namespace
