#pragma once

#include <string>
#include <string_view>
#include <vector>

/// One JSON object, its members in the order in which they are added.
class JsonObject {
 public:
  JsonObject& AddText(std::wstring_view name, std::wstring_view value);
  JsonObject& AddNumber(std::wstring_view name, long long value);
  JsonObject& AddFlag(std::wstring_view name, bool value);
  JsonObject& AddObject(std::wstring_view name, const JsonObject& object);
  /// A list of objects, one a line.
  JsonObject& AddList(std::wstring_view name, const std::vector<JsonObject>& list);

  [[nodiscard]] std::wstring Text() const { return L"{" + members + L"}"; }

  /// A JSON string. Half a surrogate pair, which UTF-8 can't hold, is written as an escape.
  [[nodiscard]] static std::wstring Quote(std::wstring_view text);

 private:
  JsonObject& Add(std::wstring_view name, std::wstring_view value);

  std::wstring members;
};
