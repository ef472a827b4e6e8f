#include "FailureEvent.h"

#include <cstring>
#include <optional>

#include "JsonObject.h"

namespace ModeTrace {

namespace {

/// Reads items from the front of a payload. They need not lie at even addresses.
class PayloadReader {
 public:
  explicit PayloadReader(std::string_view payload) : rest(payload) {}

  /// None where there is no terminator.
  std::optional<std::wstring> ReadText() {
    std::wstring text;
    for (;;) {
      wchar_t character = 0;
      if (!Read(&character)) return std::nullopt;
      if (character == L'\0') return text;
      text += character;
    }
  }
  std::optional<std::uint32_t> ReadNumber() {
    std::uint32_t number = 0;
    if (!Read(&number)) return std::nullopt;
    return number;
  }
  [[nodiscard]] std::size_t BytesLeft() const noexcept { return rest.size(); }

 private:
  template <class Item>
  bool Read(Item* item) {
    if (rest.size() < sizeof(Item)) return false;
    std::memcpy(item, rest.data(), sizeof(Item));
    rest.remove_prefix(sizeof(Item));
    return true;
  }

  std::string_view rest;
};

std::wstring Printable(const std::wstring& text) {
  constexpr wchar_t kDelete = 0x7F;
  std::wstring printable;
  for (const wchar_t character : text) {
    const bool isControl = character < L' ' || character == kDelete;
    printable += isControl ? L"<" + std::to_wstring(static_cast<unsigned>(character)) + L">"
                           : std::wstring(1, character);
  }
  return printable;
}

}  // namespace

std::variant<FailureEvent, DecodeError> DecodePayload(std::string_view payload) {
  PayloadReader reader(payload);
  const std::optional<std::wstring> module = reader.ReadText();
  if (!module) return DecodeError{L"it ends within the first item, the module's name"};
  const std::optional<std::wstring> function = reader.ReadText();
  if (!function) return DecodeError{L"it ends within the second item, the function's name"};
  const std::optional<std::uint32_t> line = reader.ReadNumber();
  if (!line) return DecodeError{L"it ends within the third item, the number"};
  const std::optional<std::wstring> message = reader.ReadText();
  if (!message) return DecodeError{L"it ends within the fourth item, the message"};
  if (reader.BytesLeft() != 0) {
    return DecodeError{std::to_wstring(reader.BytesLeft()) + L" bytes follow the fourth item"};
  }
  return FailureEvent{*module, *function, *line, *message};
}

std::wstring FormatEvent(const FailureEvent& event) {
  return Printable(event.module) + L"  " + Printable(event.function) + L" " +
         std::to_wstring(event.line) + L": " + Printable(event.message);
}

std::wstring FormatEventAsJson(const FailureEvent& event, const std::wstring& time,
                               std::uint32_t process) {
  JsonObject object;
  if (!time.empty()) object.AddText(L"time", time).AddNumber(L"process", process);
  return object.AddText(L"module", event.module)
      .AddText(L"function", event.function)
      .AddNumber(L"line", event.line)
      .AddText(L"message", event.message)
      .Text();
}

}  // namespace ModeTrace
