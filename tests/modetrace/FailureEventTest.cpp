#include "FailureEvent.h"

#include <random>

#include "Options.h"
#include "PayloadFile.h"
#include "config/CModeChangeConfig.h"
#include "config/CModeChangeStatus.h"
#include "support/ModeChangeTest.h"

using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace ModeTrace {

namespace {

/// As the system hands an event's items on: one directly after the other.
std::string PayloadOf(const TraceEvent& event) {
  std::string payload;
  for (const TraceEvent::Item& item : event.items) payload += item.bytes;
  return payload;
}

std::string Utf16(std::wstring_view text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

const FailureEvent kEvent = {L"ModeChange.dll", L"CModeChange::SelectMode", 148, L"7"};
const std::string kPayload = Utf16({L"ModeChange.dll\0CModeChange::SelectMode\0", 39}) +
                             std::string("\x94\0\0\0", 4) + Utf16({L"7\0", 2});

}  // namespace

class FailureEventTest : public ModeChangeTest {
 protected:
  /// Events of the library: without numbers, with a path, with a path and a number.
  const std::vector<TraceEvent>& CaptureEvents() {
    sandbox.Write(L"ModeChange.UsableModeList.ini", IniFile());
    UINT type = 0;
    std::int32_t value = 0;
    EXPECT_FALSE(CModeChangeConfig().GetModeType(nullptr, &type));
    EXPECT_FALSE(CModeChangeConfig().GetModeType(L"\x7bc0\x96fb", &type));
    EXPECT_FALSE(CModeChangeStatus().GetNormalEnvironmentSetting(L"Item", &value));
    EXPECT_THAT(traces.Take(), SizeIs(4));
    return traces.Events();
  }
};

TEST_F(FailureEventTest, SaysWhatTheLibraryWrote) {
  for (const TraceEvent& event : CaptureEvents()) {
    EXPECT_EQ(::IsEqualGUID(event.provider, kProvider), TRUE);
    EXPECT_EQ(event.descriptor.Id, kEventId);
    const auto decoded = DecodePayload(PayloadOf(event));
    ASSERT_TRUE(std::holds_alternative<FailureEvent>(decoded));
    const Trace trace = event.Decoded();
    EXPECT_EQ(std::get<FailureEvent>(decoded),
              (FailureEvent{event.Module(), trace.function, trace.line, trace.message}));
  }
}

TEST_F(FailureEventTest, RefusesEveryCutOfWhatTheLibraryWrote) {
  for (const TraceEvent& event : CaptureEvents()) {
    const std::string payload = PayloadOf(event);
    for (std::size_t size = 0; size < payload.size(); ++size) {
      EXPECT_TRUE(std::holds_alternative<DecodeError>(DecodePayload(payload.substr(0, size))))
          << size << " of " << payload.size();
    }
    for (const std::size_t more : std::initializer_list<std::size_t>{1, 2, 100}) {
      const auto decoded = DecodePayload(payload + std::string(more, '\0'));
      ASSERT_TRUE(std::holds_alternative<DecodeError>(decoded)) << more;
      EXPECT_EQ(std::get<DecodeError>(decoded).problem,
                std::to_wstring(more) + L" bytes follow the fourth item");
    }
  }
}

TEST(PayloadTest, IsTakenApart) {
  const auto decoded = DecodePayload(kPayload);
  ASSERT_TRUE(std::holds_alternative<FailureEvent>(decoded));
  EXPECT_EQ(std::get<FailureEvent>(decoded), kEvent);
}

TEST(PayloadTest, NamesTheItemInWhichItEnds) {
  const auto problem = [](std::size_t size) {
    return std::get<DecodeError>(DecodePayload(kPayload.substr(0, size))).problem;
  };
  EXPECT_EQ(problem(0), L"it ends within the first item, the module's name");
  EXPECT_EQ(problem(29), L"it ends within the first item, the module's name");
  EXPECT_EQ(problem(30), L"it ends within the second item, the function's name");
  EXPECT_EQ(problem(78), L"it ends within the third item, the number");
  EXPECT_EQ(problem(81), L"it ends within the third item, the number");
  EXPECT_EQ(problem(82), L"it ends within the fourth item, the message");
  EXPECT_EQ(problem(kPayload.size() - 1), L"it ends within the fourth item, the message");
}

TEST(PayloadTest, MayBeGarbage) {
  std::mt19937 random(1);
  std::size_t refused = 0;
  constexpr std::size_t kPayloads = 2000;
  for (std::size_t i = 0; i < kPayloads; ++i) {
    std::string payload(random() % 200, '\0');
    for (char& byte : payload) byte = static_cast<char>(random() % 3 == 0 ? 0 : random());
    const auto decoded = DecodePayload(payload);
    if (const auto* const event = std::get_if<FailureEvent>(&decoded)) {
      // What is taken apart is all of it.
      const std::size_t characters =
          event->module.size() + event->function.size() + event->message.size() + 3;
      EXPECT_EQ(characters * sizeof(wchar_t) + sizeof(event->line), payload.size());
      EXPECT_FALSE(FormatEvent(*event).empty());
    } else {
      ++refused;
    }
  }
  EXPECT_GT(refused, kPayloads / 2);
}

TEST(PayloadTest, IsShownOnOneLine) {
  EXPECT_EQ(FormatEvent(kEvent), L"ModeChange.dll  CModeChange::SelectMode 148: 7");
  EXPECT_EQ(FormatEvent({L"a\nb", L"c", 1, L"\x7f"}), L"a<10>b  c 1: <127>");
  EXPECT_EQ(FormatEventAsJson(kEvent, L"", 0),
            L"{\"module\": \"ModeChange.dll\", \"function\": \"CModeChange::SelectMode\", "
            L"\"line\": 148, \"message\": \"7\"}");
  EXPECT_EQ(FormatEventAsJson({L"a", L"b", 1, L"c"}, L"now", 5),
            L"{\"time\": \"now\", \"process\": 5, \"module\": \"a\", \"function\": \"b\", "
            L"\"line\": 1, \"message\": \"c\"}");
}

TEST(PayloadFileTest, HoldsAPayloadOnEachLine) {
  const std::vector<FilePayload> payloads = FindPayloads("# of today\r\n\r\n41 00 fF\r\n4\nxy\n00");
  ASSERT_THAT(payloads, SizeIs(4));
  EXPECT_EQ(payloads[0].line, 3U);
  EXPECT_TRUE(payloads[0].isHex);
  EXPECT_EQ(payloads[0].bytes, std::string("A\0\xff", 3));
  EXPECT_FALSE(payloads[1].isHex);
  EXPECT_FALSE(payloads[2].isHex);
  EXPECT_EQ(payloads[2].line, 5U);
  EXPECT_EQ(payloads[3].bytes, std::string(1, '\0'));
}

TEST(PayloadFileTest, MayBeXmlOfTheSystemsTools) {
  const std::string xml =
      "<?xml version=\"1.0\"?>\n<Events><Event><ProcessingErrorData><EventPayload>4100\n"
      "42</EventPayload></ProcessingErrorData></Event>\n"
      "<Event><BinaryEventData>43</BinaryEventData><EventPayload/></Event><EventPayload>";
  std::string utf16 = "\xFF\xFE";
  for (const char character : xml) utf16 += {character, '\0'};
  for (const std::string& file : {xml, "\xEF\xBB\xBF" + xml, utf16}) {
    const std::vector<FilePayload> payloads = FindPayloads(file);
    ASSERT_THAT(payloads, SizeIs(2));
    EXPECT_EQ(payloads[0].bytes, std::string("A\0B", 3));
    EXPECT_EQ(payloads[0].line, 2U);
    EXPECT_EQ(payloads[1].bytes, "C");
    EXPECT_EQ(payloads[1].line, 4U);
  }
}

TEST(PayloadFileTest, MayBeEmpty) {
  EXPECT_THAT(FindPayloads(""), IsEmpty());
  EXPECT_THAT(FindPayloads("\xFF\xFE"), IsEmpty());
  EXPECT_THAT(FindPayloads("\n \n# nothing"), IsEmpty());
  EXPECT_THAT(FindPayloads("<Events/>"), IsEmpty());
}

TEST(ModetraceOptionsTest, AreReadInAnyOrder) {
  EXPECT_EQ(ParseOptions({}).command, Command::kWatch);
  const Options watching = ParseOptions({L"--seconds", L"5", L"--json"});
  EXPECT_EQ(watching.seconds, 5U);
  EXPECT_TRUE(watching.json);
  const Options decoding = ParseOptions({L"--json", L"--decode", L"a.xml"});
  EXPECT_EQ(decoding.command, Command::kDecode);
  EXPECT_EQ(decoding.file, L"a.xml");
  EXPECT_EQ(ParseOptions({L"--version"}).command, Command::kVersion);
  EXPECT_EQ(ParseOptions({L"--decode", L"a", L"--help"}).command, Command::kHelp);
  using Arguments = std::vector<std::wstring_view>;
  for (const Arguments& wrong :
       {Arguments{L"a.xml"}, Arguments{L"--decode"}, Arguments{L"--seconds"},
        Arguments{L"--seconds", L"0"}, Arguments{L"--seconds", L"1h"},
        Arguments{L"--seconds", L"604801"}, Arguments{L"--seconds", L"1", L"--decode", L"a"}}) {
    EXPECT_THROW(static_cast<void>(ParseOptions(wrong)), UsageError) << wrong.size();
  }
}

}  // namespace ModeTrace
