#include "ModeTexts.h"

#include <algorithm>
#include <iterator>

#include "CommandLine.h"
#include "JsonObject.h"

namespace {

// In the order of the VELTO_MODE_TYPE_... constants.
constexpr const wchar_t* kTypeNames[] = {L"cradle", L"ordinary", L"custom", L"eco",
                                         L"wireless-off"};

std::wstring GetTypeName(INT32 type) {
  const bool isKnown = type >= 0 && static_cast<std::size_t>(type) < std::size(kTypeNames);
  return isKnown ? kTypeNames[type] : std::to_wstring(type);
}

bool EqualIgnoringCase(const std::wstring& left, const std::wstring& right) {
  return ::CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

std::wstring AlignLeft(std::size_t width, std::wstring text) {
  text.resize(std::max(width, text.size()), L' ');
  return text;
}

std::wstring AlignRight(std::size_t width, const std::wstring& text) {
  return std::wstring(width - std::min(width, text.size()), L' ') + text;
}

std::wstring GetYesOrNo(bool value) {
  return value ? L"yes" : L"no";
}

}  // namespace

const Mode& FindMode(const std::vector<Mode>& modes, const std::wstring& nameOrNumber) {
  const auto isCalledSo = [&](const Mode& mode) {
    return EqualIgnoringCase(mode.name, nameOrNumber);
  };
  const auto named = std::find_if(modes.begin(), modes.end(), isCalledSo);
  if (named != modes.end()) {
    if (std::none_of(std::next(named), modes.end(), isCalledSo)) return *named;
    throw UsageError{L"more than one mode is called " + nameOrNumber + L": give its number\n" +
                     FormatModes(modes)};
  }
  const auto numbered = std::find_if(modes.begin(), modes.end(), [&](const Mode& mode) {
    return std::to_wstring(mode.index) == nameOrNumber;
  });
  if (numbered != modes.end()) return *numbered;
  throw UsageError{L"there is no mode " + nameOrNumber + L"\n" + FormatModes(modes)};
}

std::wstring GetStatusWord(INT32 status) {
  if (status == VELTO_MODE_STATUS_OFF) return L"OFF";
  if (status == VELTO_MODE_STATUS_ON) return L"ON";
  // Somebody wrote it into the status file by hand.
  return std::to_wstring(status);
}

std::wstring FormatModes(const std::vector<Mode>& modes) {
  if (modes.empty()) return L"This machine offers no modes.";
  // Names come last: how wide they are on the screen is hard to tell in some languages.
  std::wstring table = L"No.  Status  Type          Name";
  for (const Mode& mode : modes) {
    table += L"\n" + AlignRight(3, std::to_wstring(mode.index)) + L"  " +
             AlignLeft(8, GetStatusWord(mode.status)) + AlignLeft(14, GetTypeName(mode.type)) +
             mode.name;
  }
  return table;
}

std::wstring FormatModesAsJson(const std::vector<Mode>& modes) {
  std::wstring array;
  for (const Mode& mode : modes) {
    array += (array.empty() ? L"[\n  " : L",\n  ") + FormatModeAsJson(mode);
  }
  return modes.empty() ? L"[]" : array + L"\n]";
}

std::wstring FormatMode(const Mode& mode) {
  std::wstring text = L"Name              " + mode.name;
  text += L"\nNumber            " + std::to_wstring(mode.index);
  text += L"\nType              " + GetTypeName(mode.type);
  text += L"\nStatus            " + GetStatusWord(mode.status);
  text += L"\nStatus name       " + mode.statusName;
  text += L"\nStatus icon       " + mode.statusIconKey;
  text += L"\nSettings changed  " + GetYesOrNo(mode.settingsChanged);
  text += L"\nAuto ON/OFF       " + GetYesOrNo(mode.autoOnOff);
  return text;
}

std::wstring FormatModeAsJson(const Mode& mode) {
  return JsonObject()
      .AddNumber(L"index", mode.index)
      .AddText(L"name", mode.name)
      .AddText(L"type", GetTypeName(mode.type))
      .AddNumber(L"status", mode.status)
      .AddText(L"statusName", mode.statusName)
      .AddText(L"statusIconKey", mode.statusIconKey)
      .AddFlag(L"settingsChanged", mode.settingsChanged)
      .AddFlag(L"autoOnOff", mode.autoOnOff)
      .Text();
}
