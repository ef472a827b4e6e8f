#include "trace/TraceLog.h"

#include <cstring>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>

#include "config/CModeChangeStatus.h"
#include "support/ModeChangeTest.h"

namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::uint32_t kMaxUInt = std::numeric_limits<std::uint32_t>::max();
constexpr std::int32_t kMinInt = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMaxInt = std::numeric_limits<std::int32_t>::max();

static_assert(!std::is_copy_constructible_v<TraceLog>);
static_assert(!std::is_copy_assignable_v<TraceLog>);
static_assert(std::is_nothrow_default_constructible_v<TraceLog>);
static_assert(std::is_nothrow_destructible_v<TraceLog>);
static_assert(noexcept(std::declval<const TraceLog&>().Write(L"", 0)));

/// A text item's bytes: UTF-16 with its terminator.
std::string BytesOf(const std::wstring& text) {
  return {reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(wchar_t)};
}

class TraceLogTest : public ModeChangeTest {
 protected:
  TraceLogTest() { traces.LeaveOutOfCoverage(); }

  /// The module name in the next event.
  std::wstring TraceModule() {
    TraceLog().Write(L"A::B", 1);
    EXPECT_EQ(traces.Take(), (Traces{{L"A::B", 1}}));
    return traces.Events().back().Module();
  }

  /// From here on the library believes that it was loaded from there.
  void SetModulePath(const std::wstring& modulePath) {
    interposition.Replace("GetModuleFileNameW", [modulePath](HMODULE, wchar_t* path, DWORD size) {
      // As Windows does it: what does not fit is cut, and terminated.
      const std::size_t length = modulePath.copy(path, size - 1);
      path[length] = L'\0';
      return modulePath.size() < size ? static_cast<DWORD>(length) : size;
    });
  }
};

TEST_F(TraceLogTest, RegistersOneProviderWithoutCallback) {
  const TraceLog trace;
  ASSERT_THAT(traces.Registrations(), SizeIs(1));
  const TraceCapture::Registration& registration = traces.Registrations().front();
  constexpr GUID kProvider = {
      0xF1AF8352, 0x32C6, 0x4439, {0x9A, 0xE9, 0x34, 0x8E, 0x23, 0x2D, 0xFA, 0x35}};
  EXPECT_TRUE(::IsEqualGUID(kProvider, registration.provider));
  EXPECT_FALSE(registration.hasCallback);
  EXPECT_FALSE(registration.hasContext);
}

TEST_F(TraceLogTest, RegistersOnceHoweverMuchIsWritten) {
  {
    const TraceLog trace;
    for (std::uint32_t line = 1; line <= 3; ++line) trace.Write(L"A::B", line);
    EXPECT_EQ(1U, traces.OpenRegistrations());
    EXPECT_EQ(0U, interposition.Count("EventUnregister"));
  }
  EXPECT_EQ(1U, interposition.Count("EventRegister"));
  EXPECT_EQ(1U, interposition.Count("EventUnregister"));
  EXPECT_EQ(traces.Take(), (Traces{{L"A::B", 1}, {L"A::B", 2}, {L"A::B", 3}}));
}

TEST_F(TraceLogTest, EachObjectHasItsOwnRegistration) {
  const TraceLog first;
  const TraceLog second;
  const CModeChangeStatus owner;
  EXPECT_EQ(3U, traces.OpenRegistrations());
  EXPECT_EQ(3U, interposition.Count("EventRegister"));
}

TEST_F(TraceLogTest, WritesTheOneEvent) {
  TraceLog().Write(L"A::B", 1);
  ASSERT_EQ(traces.Take(), (Traces{{L"A::B", 1}}));
  const EVENT_DESCRIPTOR& descriptor = traces.Events().front().descriptor;
  EXPECT_EQ(1, descriptor.Id);
  EXPECT_EQ(0, descriptor.Version);
  EXPECT_EQ(16, descriptor.Channel);
  EXPECT_EQ(4, descriptor.Level);
  EXPECT_EQ(0, descriptor.Opcode);
  EXPECT_EQ(0, descriptor.Task);
  EXPECT_EQ(0x8000000000000000U, descriptor.Keyword);
}

TEST_F(TraceLogTest, WritesFourItemsWithTheirTerminators) {
  TraceLog().Write(L"CModeChange::SelectMode", 0x01020304, L"\u65E5\u672C");
  ASSERT_EQ(traces.Take(), (Traces{{L"CModeChange::SelectMode", 0x01020304, L"\u65E5\u672C"}}));
  const std::vector<TraceEvent::Item>& items = traces.Events().front().items;
  ASSERT_THAT(items, SizeIs(4));
  EXPECT_EQ(BytesOf(L"ModeChange.dll"), items[0].bytes);
  EXPECT_EQ(BytesOf(L"CModeChange::SelectMode"), items[1].bytes);
  EXPECT_EQ(std::string("\x04\x03\x02\x01"), items[2].bytes);
  EXPECT_EQ(BytesOf(L"\u65E5\u672C"), items[3].bytes);
  EXPECT_EQ(std::tuple(30U, 48U, 4U, 6U), std::tuple(items[0].bytes.size(), items[1].bytes.size(),
                                                     items[2].bytes.size(), items[3].bytes.size()));
  for (const TraceEvent::Item& item : items) EXPECT_EQ(0U, item.reserved);
}

TEST_F(TraceLogTest, EmptyTextsAreItemsToo) {
  TraceLog().Write(L"", 0, L"");
  EXPECT_EQ(traces.Take(), (Traces{{L"", 0, L""}}));
  const std::vector<TraceEvent::Item>& items = traces.Events().front().items;
  EXPECT_EQ(2U, items[1].bytes.size());
  EXPECT_EQ(2U, items[3].bytes.size());
}

TEST_F(TraceLogTest, WritesLongTextsWhole) {
  const std::wstring path(5000, L'x');
  TraceLog().Write(L"A::B", 1, path.c_str());
  TraceLog().WriteTextUInt(L"A::B", 2, path.c_str(), kMaxUInt);
  EXPECT_EQ(traces.Take(), (Traces{{L"A::B", 1, path}, {L"A::B", 2, path + L", 4294967295"}}));
}

TEST_F(TraceLogTest, HasAMessageForWantOfABetterOne) {
  TraceLog().Write(L"A::B", kMaxUInt);
  EXPECT_EQ(traces.Take(), (Traces{{L"A::B", kMaxUInt, L"No Additional Information"}}));
}

TEST_F(TraceLogTest, FormatsNumbersAndTexts) {
  const TraceLog trace;
  trace.WriteUInt(L"A::B", 1, 0);
  trace.WriteUInt(L"A::B", 2, kMaxUInt);
  trace.WriteInt(L"A::B", 3, kMinInt);
  trace.WriteInt(L"A::B", 4, -1);
  trace.WriteInt(L"A::B", 5, kMaxInt);
  trace.WriteUIntPair(L"A::B", 6, kMaxUInt, 0);
  trace.WriteUIntPair(L"A::B", 7, 1, kMaxUInt);
  trace.WriteTextUInt(L"A::B", 8, L"C:\\100%s", 2);
  trace.WriteTextUInt(L"A::B", 9, L"", kMaxUInt);
  trace.WriteTextUInt(L"A::B", 10, nullptr, 0);
  EXPECT_EQ(traces.Take(), (Traces{{L"A::B", 1, L"0"},
                                   {L"A::B", 2, L"4294967295"},
                                   {L"A::B", 3, L"-2147483648"},
                                   {L"A::B", 4, L"-1"},
                                   {L"A::B", 5, L"2147483647"},
                                   {L"A::B", 6, L"4294967295, 0"},
                                   {L"A::B", 7, L"1, 4294967295"},
                                   {L"A::B", 8, L"C:\\100%s, 2"},
                                   {L"A::B", 9, L", 4294967295"},
                                   {L"A::B", 10, L"(null), 0"}}));
}

TEST_F(TraceLogTest, AnswersFalseForItsCaller) {
  const TraceLog trace;
  EXPECT_FALSE(trace.Write(L"A::B", 1));
  EXPECT_FALSE(trace.WriteUInt(L"A::B", 2, 1));
  EXPECT_FALSE(trace.WriteInt(L"A::B", 3, 1));
  EXPECT_FALSE(trace.WriteUIntPair(L"A::B", 4, 1, 1));
  EXPECT_FALSE(trace.WriteTextUInt(L"A::B", 5, L"text", 1));
  EXPECT_THAT(traces.Take(), SizeIs(5));
}

TEST_F(TraceLogTest, WritesNothingWithoutFunctionOrMessage) {
  const TraceLog trace;
  EXPECT_FALSE(trace.Write(nullptr, 1));
  EXPECT_FALSE(trace.Write(L"A::B", 1, nullptr));
  EXPECT_FALSE(trace.WriteUInt(nullptr, 1, 1));
  EXPECT_FALSE(trace.WriteTextUInt(nullptr, 1, L"text", 1));
  EXPECT_EQ(0U, interposition.Count("EventWrite"));
}

TEST_F(TraceLogTest, IsSilentWhereRegistrationIsRefused) {
  traces.AnswerRegistrations(ERROR_ACCESS_DENIED);
  {
    const TraceLog trace;
    EXPECT_FALSE(trace.Write(L"A::B", 1));
    EXPECT_FALSE(trace.WriteUIntPair(L"A::B", 2, 1, 1));
  }
  EXPECT_EQ(1U, interposition.Count("EventRegister"));
  EXPECT_EQ(0U, interposition.Count("EventWrite"));
  EXPECT_EQ(0U, interposition.Count("EventUnregister"));
}

TEST_F(TraceLogTest, RefusedRegistrationChangesNothingElse) {
  traces.AnswerRegistrations(ERROR_NOT_ENOUGH_MEMORY);
  const CModeChangeStatus status;
  UINT value = 4711;
  EXPECT_FALSE(status.GetCurrentModeStatus(nullptr, &value));
  EXPECT_EQ(4711U, value);
  EXPECT_TRUE(status.GetCurrentModeStatus(L"Eco", &value));
  EXPECT_EQ(0U, value);
  EXPECT_THAT(traces.Events(), IsEmpty());
}

TEST_F(TraceLogTest, IgnoresAFailedWrite) {
  traces.AnswerWrites(ERROR_ARITHMETIC_OVERFLOW);
  const TraceLog trace;
  EXPECT_FALSE(trace.Write(L"A::B", 1));
  EXPECT_FALSE(trace.Write(L"A::B", 2));
  EXPECT_EQ(traces.Take(), (Traces{{L"A::B", 1}, {L"A::B", 2}}));
}

TEST_F(TraceLogTest, NamesTheFileOfTheLibrary) {
  EXPECT_EQ(L"ModeChange.dll", TraceModule());
  const std::vector<Call> calls = interposition.CallsOf("GetModuleHandleExW");
  ASSERT_THAT(calls, SizeIs(1));
  EXPECT_EQ(6U, calls.front().arguments[0] & kMaxUInt) << "From an address, without a reference.";
  const std::vector<Call> paths = interposition.CallsOf("GetModuleFileNameW");
  ASSERT_THAT(paths, SizeIs(1));
  EXPECT_EQ(library.Module(), reinterpret_cast<HMODULE>(paths.front().arguments[0]));
  EXPECT_EQ(261U, paths.front().arguments[2] & kMaxUInt);
}

TEST_F(TraceLogTest, NamesWhatFollowsTheLastBackslash) {
  SetModulePath(L"C:\\Program Files\\Velto\\Other.dll");
  EXPECT_EQ(L"Other.dll", TraceModule());
  SetModulePath(L"\\x");
  EXPECT_EQ(L"x", TraceModule());
}

TEST_F(TraceLogTest, IsUnknownWithoutAModule) {
  interposition.Fail("GetModuleHandleExW", {});
  EXPECT_EQ(L"Unknown", TraceModule());
  EXPECT_EQ(0U, interposition.Count("GetModuleFileNameW"));
}

TEST_F(TraceLogTest, IsUnknownWithoutAPath) {
  interposition.Fail("GetModuleFileNameW", {});
  EXPECT_EQ(L"Unknown", TraceModule());
}

TEST_F(TraceLogTest, IsUnknownWithoutABackslash) {
  SetModulePath(L"ModeChange.dll");
  EXPECT_EQ(L"Unknown", TraceModule());
}

TEST_F(TraceLogTest, IsUnknownWithNothingAfterTheBackslash) {
  SetModulePath(L"C:\\Program Files\\");
  EXPECT_EQ(L"Unknown", TraceModule());
  EXPECT_EQ(16U, traces.Events().back().items.front().bytes.size());
}

TEST_F(TraceLogTest, TakesWhatFitsOfAnOverlongPath) {
  SetModulePath(L"C:\\" + std::wstring(300, L'x'));
  EXPECT_EQ(std::wstring(257, L'x'), TraceModule());
  // Older systems fill the buffer without a terminator.
  interposition.Replace("GetModuleFileNameW", [](HMODULE, wchar_t* path, DWORD size) {
    for (DWORD i = 0; i < size; ++i) path[i] = i == 2 ? L'\\' : L'x';
    return size;
  });
  EXPECT_EQ(std::wstring(257, L'x'), TraceModule());
}

TEST_F(TraceLogTest, LooksForItsNameAtEveryWrite) {
  const TraceLog trace;
  SetModulePath(L"C:\\First.dll");
  trace.Write(L"A::B", 1);
  SetModulePath(L"C:\\Second.dll");
  trace.Write(L"A::B", 2);
  EXPECT_THAT(traces.Take(), SizeIs(2));
  EXPECT_EQ(L"First.dll", traces.Events().front().Module());
  EXPECT_EQ(L"Second.dll", traces.Events().back().Module());
  EXPECT_EQ(2U, interposition.Count("GetModuleHandleExW"));
}

}  // namespace
