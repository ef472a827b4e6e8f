#include "EngineQuestions.h"

#include <windows.h>

#include "CommandError.h"
#include "common/CUniqueHandle.h"
#include "devices/CDeviceEngineHelper.h"
#include "devices/IsSettingItemUsableInThisPC.h"

namespace {

// What every engine has to export.
constexpr const char* kExports[] = {
    "VeltoDeviceEngine_CreateHandle",
    "VeltoDeviceEngine_DeleteHandle",
    "VeltoDeviceEngine_GetDeviceCount",
    "VeltoDeviceEngine_SelectDevice",
    "VeltoDeviceEngine_GetStringInformation",
    "VeltoDeviceEngine_GetINT32Information",
    "VeltoDeviceEngine_RequestToSetINT32Information",
};

// More would not fit on any slider; an engine that claims them is out of its mind.
constexpr INT32 kMostValues = 10000;

// Nothing that an engine prints begins so.
constexpr std::wstring_view kLineStart = L"\x1Fmodecheck ";
constexpr std::wstring_view kProblem = L"problem ";
constexpr std::wstring_view kDetails = L"details ";
constexpr std::wstring_view kUsable = L"usable ";
constexpr std::wstring_view kAvailable = L"available ";
constexpr std::wstring_view kItemKey = L"item ";
constexpr std::wstring_view kValueKey = L"value ";
constexpr std::wstring_view kEnd = L"end";

EngineAnswers Fail(std::wstring details) {
  return {.problem = EngineAnswers::Problem::kFails, .details = std::move(details)};
}

std::wstring FindMissingExports(HMODULE module) {
  std::wstring missing;
  for (const char* const name : kExports) {
    if (::GetProcAddress(module, name) != nullptr) continue;
    const std::string_view narrow = name;
    missing += (missing.empty() ? L"" : L", ") + std::wstring(narrow.begin(), narrow.end());
  }
  return missing;
}

std::wstring GetText(CDeviceEngineHelper& engine, UINT identifier, UINT subIndex) {
  CWideString text;
  // An engine need not name what its machine lacks.
  if (!engine.GetStringInformation(identifier, subIndex, &text)) return {};
  return text.c_str();
}

EngineAnswers Ask(CDeviceEngineHelper& engine) {
  EngineAnswers answers;
  UINT devices = 0;
  if (!engine.GetDeviceCount(&devices)) {
    return Fail(
        L"it can't be opened (VeltoDeviceEngine_CreateHandle), or does not count its "
        L"devices (VeltoDeviceEngine_GetDeviceCount).");
  }
  if (!IsSettingItemUsableInThisPC(&engine, &answers.isUsable)) {
    return Fail(
        L"it does not say whether its item is usable (VeltoDeviceEngine_SelectDevice, "
        L"numbers SUPPORTED, VALUE_COUNT, VALUE_AVAILABLE).");
  }
  INT32 count = 0;
  // Without a device there may be nothing to say.
  if (!engine.GetINT32INformation(VELTO_ENGINE_INT32_VALUE_COUNT, 0, &count)) {
    return devices == 0 ? answers : Fail(L"it does not say how many values it has (VALUE_COUNT).");
  }
  if (count < 0 || count > kMostValues) {
    return Fail(L"it claims " + std::to_wstring(count) + L" values (VALUE_COUNT).");
  }
  answers.itemKey = GetText(engine, VELTO_ENGINE_STRING_ITEM_KEY, 0);
  if (answers.isUsable && answers.itemKey.empty()) {
    return Fail(L"it has no key for its item's name (string ITEM_KEY).");
  }
  for (INT32 value = 0; value < count; ++value) {
    const auto index = static_cast<UINT>(value);
    INT32 available = 1;
    const bool isAvailable =
        engine.GetINT32INformation(VELTO_ENGINE_INT32_VALUE_AVAILABLE, index, &available) &&
        available == 1;
    answers.available.push_back(isAvailable);
    answers.valueKeys.push_back(GetText(engine, VELTO_ENGINE_STRING_VALUE_KEY, index));
    if (answers.isUsable && isAvailable && answers.valueKeys.back().empty()) {
      return Fail(L"it has no key for the name of value " + std::to_wstring(value) +
                  L" (string VALUE_KEY).");
    }
  }
  return answers;
}

void WriteLine(std::wstring* text, std::wstring_view name, const std::wstring& value) {
  *text += kLineStart;
  *text += name;
  *text += value;
  *text += L'\n';
}

}  // namespace

EngineAnswers AskEngine(const std::filesystem::path& engine) {
  const CUniqueModule module(::LoadLibraryW(engine.c_str()));
  if (!module) {
    const DWORD error = ::GetLastError();
    return {.problem = EngineAnswers::Problem::kNotLoaded,
            .details = DescribeError(error) +
                       (error == ERROR_MOD_NOT_FOUND
                            ? L". A DLL that it needs is missing, and is not looked for beside it."
                            : L". Build it as a DLL for x64 that needs none but Windows' own.")};
  }
  const std::wstring missing = FindMissingExports(module.Get());
  if (!missing.empty()) {
    return {.problem = EngineAnswers::Problem::kExportMissing,
            .details = missing + L", so the library does not use it. Export them undecorated."};
  }
  CDeviceEngineHelper helper(engine.c_str());
  return Ask(helper);
}

std::wstring WriteAnswers(const EngineAnswers& answers) {
  std::wstring text;
  WriteLine(&text, kProblem, std::to_wstring(static_cast<int>(answers.problem)));
  WriteLine(&text, kDetails, answers.details);
  WriteLine(&text, kUsable, answers.isUsable ? L"1" : L"0");
  WriteLine(&text, kItemKey, answers.itemKey);
  for (std::size_t i = 0; i < answers.available.size(); ++i) {
    WriteLine(&text, kAvailable, answers.available[i] ? L"1" : L"0");
    WriteLine(&text, kValueKey, answers.valueKeys[i]);
  }
  WriteLine(&text, kEnd, L"");
  return text;
}

bool ReadAnswers(std::wstring_view text, EngineAnswers* answers) {
  EngineAnswers read;
  while (!text.empty()) {
    const std::size_t length = text.find(L'\n');
    std::wstring_view line = text.substr(0, length);
    text.remove_prefix(length == std::wstring_view::npos ? text.size() : length + 1);
    // Whatever the engine printed, a line of ours may follow on the same line.
    const std::size_t start = line.find(kLineStart);
    if (start == std::wstring_view::npos) continue;
    line.remove_prefix(start + kLineStart.size());
    const auto value = [&line](std::wstring_view name) {
      return std::wstring(line.substr(name.size()));
    };
    if (line.starts_with(kProblem)) {
      read.problem = static_cast<EngineAnswers::Problem>(value(kProblem).at(0) - L'0');
    } else if (line.starts_with(kDetails)) {
      read.details = value(kDetails);
    } else if (line.starts_with(kUsable)) {
      read.isUsable = value(kUsable) == L"1";
    } else if (line.starts_with(kItemKey)) {
      read.itemKey = value(kItemKey);
    } else if (line.starts_with(kAvailable)) {
      read.available.push_back(value(kAvailable) == L"1");
    } else if (line.starts_with(kValueKey)) {
      read.valueKeys.push_back(value(kValueKey));
    } else if (line == kEnd) {
      read.valueKeys.resize(read.available.size());
      *answers = std::move(read);
      return true;
    }
  }
  return false;
}
