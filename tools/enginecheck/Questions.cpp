#include "Questions.h"

#include <algorithm>
#include <array>

namespace EngineCheck {

namespace {

constexpr wchar_t kUnwritten = 0xCDCD;
constexpr std::size_t kCharactersBehind = 64;

const std::wstring kArea = L"Outputs";

}  // namespace

Questions::Questions(Engine& engine, const Journal& journal)
    : engine(engine),
      written(journal, kArea, L"written"),
      untouched(journal, kArea, L"untouched"),
      bounds(journal, kArea, L"bounds") {}

std::optional<UINT> Questions::GetDeviceCount() {
  return AskForNumber<UINT>(L"GetDeviceCount",
                            [this](UINT* count) { return engine.GetDeviceCount(count); });
}

std::optional<INT32> Questions::GetNumber(UINT identifier, UINT subIndex) {
  return AskForNumber<INT32>(
      NumberName(identifier) + L", sub-index " + std::to_wstring(subIndex),
      [&](INT32* value) { return engine.GetINT32Information(identifier, subIndex, value); });
}

template <class Number, class Ask>
std::optional<Number> Questions::AskForNumber(const std::wstring& question, Ask ask) {
  constexpr auto kFirst = static_cast<Number>(0x5AFE1234);
  constexpr auto kSecond = static_cast<Number>(0x12345AFE);
  Number answer = kFirst;
  if (ask(&answer) == FALSE) {
    if (answer != kFirst) {
      untouched.Fail(question + L" failed and wrote " + std::to_wstring(answer) + L".",
                     L"Write the output only when the call succeeds: the library may use what is "
                     L"in it.");
    }
    return std::nullopt;
  }
  if (answer != kFirst) return answer;
  answer = kSecond;
  if (ask(&answer) == FALSE) return std::nullopt;
  if (answer != kSecond) return answer;
  written.Fail(question + L" succeeded without writing an answer.",
               L"Write the answer before you return success, or fail: the library goes on with "
               L"whatever it had there before.");
  return std::nullopt;
}

std::optional<TextAnswer> Questions::GetText(UINT identifier, UINT subIndex, UINT length) {
  const std::wstring question =
      StringName(identifier) + L", sub-index " + std::to_wstring(subIndex);
  std::array<wchar_t, VELTO_ENGINE_STRING_LENGTH + kCharactersBehind> buffer{};
  buffer.fill(kUnwritten);
  UINT used = length;
  const BOOL result = engine.GetStringInformation(identifier, subIndex, &used, buffer.data());

  const auto isWritten = [](wchar_t character) { return character != kUnwritten; };
  auto* const end = buffer.begin() + length;
  if (std::any_of(end, buffer.end(), isWritten)) {
    bounds.Fail(
        question + L" wrote behind the buffer of " + std::to_wstring(length) + L" characters.",
        L"Write no more than `length` characters with the terminator: what lies behind is "
        L"somebody else's.");
  }
  if (result == FALSE) {
    if (used != length || std::any_of(buffer.begin(), end, isWritten)) {
      untouched.Fail(question + L" failed and wrote into the buffer or its length.",
                     L"Write the outputs only when the call succeeds.");
    }
    return std::nullopt;
  }
  auto* const terminator = std::find(buffer.begin(), end, L'\0');
  return TextAnswer{terminator != end, std::wstring(buffer.begin(), terminator), used};
}

void Questions::Finish() {
  written.Finish(L"Every success wrote its answer.");
  untouched.Finish(L"Every failure left its outputs alone.");
  bounds.Finish(L"No text went beyond its buffer.");
}

}  // namespace EngineCheck
