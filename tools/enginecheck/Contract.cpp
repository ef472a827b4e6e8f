#include "Contract.h"

#include <algorithm>
#include <initializer_list>
#include <optional>

#include "CommandError.h"
#include "Names.h"

namespace EngineCheck {

namespace {

constexpr UINT kManyDevices = 1000;
constexpr INT32 kManyValues = 1000;
constexpr UINT kFirstDevice = 0;
constexpr UINT kLargest = 0xFFFFFFFF;
constexpr INT32 kYes = 1;
constexpr std::size_t kFewestValues = 2;

const std::wstring kLoading = L"Loading";
const std::wstring kUsability = L"Usability";
const std::wstring kState = L"State";
const std::wstring kRefusals = L"Refusals";

std::wstring AdviceForLoadError(DWORD error) {
  switch (error) {
    case ERROR_BAD_EXE_FORMAT:
      return L"Build the engine as a DLL for x64: the library is one, and loads no other.";
    case ERROR_MOD_NOT_FOUND:
      return L"A DLL that the engine needs is missing. Link it statically, or ship it beside the "
             L"host's program: the library's and the engine's folders are not searched.";
    case ERROR_PROC_NOT_FOUND:
      return L"A DLL that the engine needs lacks a function. Ship the version that it was built "
             L"for.";
    case ERROR_DLL_INIT_FAILED:
      return L"DllMain returned FALSE, or failed. Do there only what always works, and find out in "
             L"CreateHandle or SUPPORTED whether the device can be used.";
    default:
      return L"Try to load the DLL in a program of your own, with this error in mind.";
  }
}

}  // namespace

Contract::Contract(Engine& engine, CallLog& calls) : engine(engine), journal(calls.GetJournal()) {}

bool Contract::Open() {
  return CheckLoading() && CheckFunctions() && CheckHandle();
}

bool Contract::CheckLoading() {
  Check check(journal, kLoading, L"loads");
  const DWORD error = engine.Load();
  if (error != ERROR_SUCCESS) {
    check.Fail(L"The DLL does not load: " + DescribeError(error) + L".", AdviceForLoadError(error));
  }
  check.Finish(L"The DLL loads.");
  return !check.HasFailed();
}

bool Contract::CheckFunctions() {
  Check check(journal, kLoading, L"exports");
  for (const std::wstring& name : engine.FindFunctions()) {
    check.Fail(name + L" is not exported.",
               L"Export it undecorated, by a .def file or extern \"C\": without it the library "
               L"can't use the engine at all.");
  }
  check.Finish(L"All seven functions are exported.");
  if (check.HasFailed()) return false;

  Check optional(journal, kLoading, L"optional-export");
  optional.Note(engine.HasOptionalFunction()
                    ? L"VeltoDeviceEngine_RequestToNotifyChangeDeviceStatus is exported: it is "
                      L"optional, and this version of the library does not call it."
                    : L"VeltoDeviceEngine_RequestToNotifyChangeDeviceStatus is not exported: it is "
                      L"optional.");
  return true;
}

bool Contract::CheckHandle() {
  Check check(journal, kLoading, L"handle");
  if (engine.CreateHandle() == FALSE) {
    check.Fail(L"CreateHandle failed.",
               L"Succeed also where the device is missing, and answer a device count of 0: a "
               L"failure here makes each change of a mode fail.");
  } else if (engine.Handle() == nullptr) {
    check.Fail(L"CreateHandle succeeded with a null handle.",
               L"Write a handle that is not null, such as an object's address: null counts as a "
               L"failure.");
  }
  check.Finish(L"CreateHandle gives a handle.");
  return !check.HasFailed();
}

Device Contract::Ask() {
  Device device;
  Questions questions(engine, journal);
  if (CheckDevices(questions, device) && CheckSupport(questions) &&
      CheckValueCount(questions, device)) {
    CheckValues(questions, device);
    if (device.isUsable) {
      CheckNames(questions, device);
      CheckState(questions, device);
    }
    CheckRefusals(questions, device);
  }
  questions.Finish();
  return device;
}

void Contract::SayNotUsable(const std::wstring& reason) {
  Check check(journal, kUsability, L"usable");
  check.Note(L"Not usable here: " + reason,
             L"That is no fault. To have the rest checked, run this on a machine that has the "
             L"device.");
}

bool Contract::CheckDevices(Questions& questions, Device& device) {
  Check check(journal, kUsability, L"devices");
  const std::optional<UINT> count = questions.GetDeviceCount();
  if (!count) {
    check.Fail(L"GetDeviceCount gave no answer.",
               L"Answer 0 where there is no device: a failure makes the change of a mode fail.");
    return false;
  }
  device.count = *count;
  if (*count == 0) {
    SayNotUsable(L"there is no device of this kind on this machine.");
    return false;
  }
  if (*count > kManyDevices) {
    check.Warn(L"GetDeviceCount answered " + std::to_wstring(*count) + L".",
               L"Check that the output is written as a UINT: no machine has so many devices.");
  }
  if (engine.SelectDevice(kFirstDevice) == FALSE) {
    check.Fail(L"SelectDevice (0) failed though there is a device.",
               L"Accept device 0 whenever the device count is not 0: it is the only one that the "
               L"library uses.");
  }
  check.Finish(L"There is a device, and the first one can be selected.");
  return !check.HasFailed();
}

bool Contract::CheckSupport(Questions& questions) {
  Check check(journal, kUsability, L"supported");
  const std::optional<INT32> supported = questions.GetNumber(VELTO_ENGINE_INT32_SUPPORTED, 0);
  if (!supported) {
    check.Fail(L"SUPPORTED gave no answer.",
               L"Answer 0 where the item is not supported: a failure makes the change of a mode "
               L"fail.");
    return false;
  }
  if (*supported != 0 && *supported != kYes) {
    check.Fail(L"SUPPORTED is " + std::to_wstring(*supported) + L".",
               L"Answer 1 or 0: the library takes all but 1 as not supported.");
    return false;
  }
  if (*supported == 0) {
    SayNotUsable(L"the engine says that the item is not supported on this machine.");
    return false;
  }
  check.Finish(L"The item is supported.");
  return true;
}

bool Contract::CheckValueCount(Questions& questions, Device& device) {
  Check check(journal, kUsability, L"value-count");
  const std::optional<INT32> count = questions.GetNumber(VELTO_ENGINE_INT32_VALUE_COUNT, 0);
  if (!count) {
    check.Fail(L"VALUE_COUNT gave no answer.",
               L"Answer how many values there are: a failure makes the change of a mode fail.");
    return false;
  }
  if (*count < 0) {
    check.Fail(L"VALUE_COUNT is " + std::to_wstring(*count) + L".",
               L"Answer how many values there are; 0 where there are none.");
    return false;
  }
  device.valueCount = *count;
  if (*count > kManyValues) {
    check.Warn(L"VALUE_COUNT is " + std::to_wstring(*count) + L"; only the first " +
                   std::to_wstring(kManyValues) + L" values are checked.",
               L"Offer fewer values: the library asks for each of them, several times for each "
               L"change of a mode, and users choose from a list.");
    device.valueCount = kManyValues;
  }
  check.Finish(L"There are " + std::to_wstring(*count) + L" values.");
  return true;
}

void Contract::CheckValues(Questions& questions, Device& device) {
  Check check(journal, kUsability, L"available");
  for (INT32 value = 0; value < device.valueCount; ++value) {
    const std::optional<INT32> available =
        questions.GetNumber(VELTO_ENGINE_INT32_VALUE_AVAILABLE, static_cast<UINT>(value));
    const std::wstring question = L"VALUE_AVAILABLE of value " + std::to_wstring(value);
    if (!available) {
      check.Fail(question + L" gave no answer.",
                 L"Answer 0 for a value that this machine does not have: a failure makes the "
                 L"change of a mode fail.");
    } else if (*available != 0 && *available != kYes) {
      check.Fail(question + L" is " + std::to_wstring(*available) + L".",
                 L"Answer 1 or 0: the library takes all but 1 as not available.");
    }
    (available == kYes ? device.availableValues : device.otherValues).push_back(value);
  }
  device.isUsable = !check.HasFailed() && device.availableValues.size() >= kFewestValues;
  check.Finish(std::to_wstring(device.availableValues.size()) + L" of the values are available.");
  if (!check.HasFailed() && !device.isUsable) {
    SayNotUsable(L"fewer than two values are available, which is no choice.");
  }
}

void Contract::CheckNames(Questions& questions, const Device& device) {
  Names names(questions, journal);
  names.CheckItem();
  for (const INT32 value : device.availableValues) names.CheckValue(static_cast<UINT>(value));
  names.Finish();
}

void Contract::CheckState(Questions& questions, Device& device) {
  Check current(journal, kState, L"current-value");
  const std::optional<INT32> value = questions.GetNumber(VELTO_ENGINE_INT32_CURRENT_VALUE, 0);
  if (!value) {
    current.Fail(L"CURRENT_VALUE gave no answer.",
                 L"Answer the nearest value where the device stands between two: a failure keeps "
                 L"every mode from being switched ON.");
  } else if (*value < 0 || *value >= device.valueCount) {
    current.Fail(L"CURRENT_VALUE is " + std::to_wstring(*value) + L", which is none of the values.",
                 L"Answer a number from 0 to VALUE_COUNT - 1, the nearest one where the device "
                 L"stands elsewhere: switching a mode OFF asks for this value again.");
  } else if (std::find(device.availableValues.begin(), device.availableValues.end(), *value) ==
             device.availableValues.end()) {
    current.Warn(L"CURRENT_VALUE is " + std::to_wstring(*value) + L", which is not available.",
                 L"Answer an available value: the library can't set this one when the mode goes "
                 L"OFF, and the change fails.");
  }
  // What is none of the values can't be brought back either.
  device.isUsable = device.isUsable && !current.HasFault();
  device.currentValue = value.value_or(0);
  current.Finish(L"CURRENT_VALUE is " + std::to_wstring(device.currentValue) +
                 L", one of the values.");

  Check busy(journal, kState, L"busy");
  const std::optional<INT32> answer = questions.GetNumber(VELTO_ENGINE_INT32_BUSY, 0);
  if (!answer) {
    busy.Fail(L"BUSY gave no answer.",
              L"Answer 1 or 0: a failure makes the change of a mode fail.");
  } else if (*answer == kYes) {
    busy.Warn(L"BUSY is 1 though nothing was asked for.",
              L"Answer 1 only while no value can be set: the library gives up the change of a mode "
              L"then. If another program uses the device, check again later.");
  } else if (*answer != 0) {
    busy.Fail(L"BUSY is " + std::to_wstring(*answer) + L".",
              L"Answer 1 or 0: the library takes all but 1 as not busy.");
  }
  busy.Finish(L"The device is not busy.");
}

void Contract::CheckRefusals(Questions& questions, const Device& device) {
  CheckIdentifiers(questions);
  CheckSubIndexes(questions, device);

  Check check(journal, kRefusals, L"device-index");
  if (engine.SelectDevice(device.count) != FALSE) {
    check.Fail(L"SelectDevice accepted device " + std::to_wstring(device.count) + L" of " +
                   std::to_wstring(device.count) + L".",
               L"Fail for an index that is not below the device count.");
    // Whatever that has selected.
    static_cast<void>(engine.SelectDevice(kFirstDevice));
  }
  check.Finish(L"A device that there is not is refused.");
}

void Contract::CheckIdentifiers(Questions& questions) {
  constexpr UINT kUnknown = 1000;
  Check check(journal, kRefusals, L"unknown-identifiers");
  const std::wstring advice =
      L"Fail for every identifier that the contract does not name: a newer library tells by that "
      L"what an engine can do.";
  for (const UINT identifier : {kUnknown, kLargest}) {
    if (questions.GetNumber(identifier, 0)) {
      check.Fail(L"The number " + std::to_wstring(identifier) + L" was answered.", advice);
    }
    if (questions.GetText(identifier, 0)) {
      check.Fail(L"The text " + std::to_wstring(identifier) + L" was answered.", advice);
    }
  }
  check.Finish(L"Unknown identifiers are refused.");
}

void Contract::CheckSubIndexes(Questions& questions, const Device& device) {
  Check check(journal, kRefusals, L"sub-indexes");
  const std::wstring range =
      L"Fail for a value that there is not: a mistaken number shows as a mistake then, and not as "
      L"a setting.";
  for (const UINT subIndex : {static_cast<UINT>(device.valueCount), kLargest}) {
    // Where not all values were checked there are more.
    if (subIndex == kManyValues) continue;
    const std::wstring ofValue = L" of value " + std::to_wstring(subIndex) + L" was answered.";
    if (questions.GetNumber(VELTO_ENGINE_INT32_VALUE_AVAILABLE, subIndex)) {
      check.Fail(L"VALUE_AVAILABLE" + ofValue, range);
    }
    if (questions.GetText(VELTO_ENGINE_STRING_VALUE_KEY, subIndex)) {
      check.Fail(L"VALUE_KEY" + ofValue, range);
    }
  }
  const std::wstring none = L"Fail for all sub-indexes but 0, as the contract has no others.";
  for (const UINT identifier :
       std::initializer_list<UINT>{VELTO_ENGINE_INT32_SUPPORTED, VELTO_ENGINE_INT32_VALUE_COUNT,
                                   VELTO_ENGINE_INT32_CURRENT_VALUE, VELTO_ENGINE_INT32_BUSY}) {
    if (questions.GetNumber(identifier, 1)) {
      check.Fail(NumberName(identifier) + L" with sub-index 1 was answered.", none);
    }
  }
  if (questions.GetText(VELTO_ENGINE_STRING_ITEM_KEY, 1)) {
    check.Fail(L"ITEM_KEY with sub-index 1 was answered.", none);
  }
  check.Finish(L"Sub-indexes out of range are refused.");
}

bool IsUsable(Engine& engine) {
  UINT count = 0;
  if (engine.GetDeviceCount(&count) == FALSE || count == 0) return false;
  if (engine.SelectDevice(kFirstDevice) == FALSE) return false;
  INT32 supported = 0;
  INT32 values = 0;
  if (engine.GetINT32Information(VELTO_ENGINE_INT32_SUPPORTED, 0, &supported) == FALSE ||
      supported != kYes ||
      engine.GetINT32Information(VELTO_ENGINE_INT32_VALUE_COUNT, 0, &values) == FALSE) {
    return false;
  }
  std::size_t available = 0;
  for (INT32 value = 0; value < std::min(values, kManyValues); ++value) {
    INT32 answer = 0;
    if (engine.GetINT32Information(VELTO_ENGINE_INT32_VALUE_AVAILABLE, static_cast<UINT>(value),
                                   &answer) != FALSE &&
        answer == kYes) {
      ++available;
    }
  }
  return available >= kFewestValues;
}

}  // namespace EngineCheck
