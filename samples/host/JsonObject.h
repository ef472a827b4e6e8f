#pragma once

#include <string>
#include <string_view>

/// One flat JSON object, its members in the order in which they are added.
class JsonObject {
 public:
  JsonObject& AddText(std::wstring_view name, std::wstring_view value);
  JsonObject& AddNumber(std::wstring_view name, long long value);
  JsonObject& AddFlag(std::wstring_view name, bool value);

  [[nodiscard]] std::wstring Text() const { return L"{" + members + L"}"; }

  /// A JSON string. Half a surrogate pair, which UTF-8 can't hold, is written as an escape.
  [[nodiscard]] static std::wstring Quote(std::wstring_view text);

 private:
  JsonObject& Add(std::wstring_view name, std::wstring_view value);

  std::wstring members;
};
