#pragma once

#include <string>
#include <vector>

#include "Check.h"
#include "Engine.h"
#include "Questions.h"

namespace EngineCheck {

/// What an engine said of its device.
struct Device {
  bool isUsable = false;  // at least two values can be had
  UINT count = 0;
  INT32 valueCount = 0;
  std::vector<INT32> availableValues;
  std::vector<INT32> otherValues;
  INT32 currentValue = 0;
};

/// Walks an engine through all that the library asks, in its order; nothing is set.
class Contract {
 public:
  Contract(Engine& engine, CallLog& calls);

  /// Loads the DLL and opens the engine; false where there is nothing to ask.
  [[nodiscard]] bool Open();
  [[nodiscard]] Device Ask();

 private:
  [[nodiscard]] bool CheckLoading();
  [[nodiscard]] bool CheckFunctions();
  [[nodiscard]] bool CheckHandle();

  /// False where the library would ask no further.
  [[nodiscard]] bool CheckDevices(Questions& questions, Device& device);
  [[nodiscard]] bool CheckSupport(Questions& questions);
  [[nodiscard]] bool CheckValueCount(Questions& questions, Device& device);
  void CheckValues(Questions& questions, Device& device);
  void CheckNames(Questions& questions, const Device& device);
  void CheckState(Questions& questions, Device& device);
  void CheckRefusals(Questions& questions, const Device& device);
  void CheckIdentifiers(Questions& questions);
  void CheckSubIndexes(Questions& questions, const Device& device);
  void SayNotUsable(const std::wstring& reason);

  Engine& engine;
  const Journal& journal;
};

/// Whether the library would offer the item, asked as the library asks and without any check.
[[nodiscard]] bool IsUsable(Engine& engine);

}  // namespace EngineCheck
