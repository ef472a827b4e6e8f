#pragma once

#include <optional>
#include <string>

#include "CallLog.h"
#include "Inbox.h"
#include "ProcessObjects.h"

namespace EngineCheck {

/// Whether an engine goes when it is freed, and what it leaves behind when it was loaded often.
class Lifetime {
 public:
  Lifetime(std::wstring path, CallLog& calls, Inbox& inbox);

  /// After the engine was closed: the DLL has to be gone, as soon as its threads have ended.
  [[nodiscard]] bool CheckUnloading();
  /// Loads, asks and frees the engine so many times, as the library does for each change of a mode.
  void CheckLoadingAgain(UINT repetitions);

 private:
  [[nodiscard]] bool WaitUntilGone();
  [[nodiscard]] bool LoadOnce();
  void Compare(const std::wstring& what, std::optional<std::size_t> before,
               std::optional<std::size_t> after, UINT repetitions, const std::wstring& advice);

  std::wstring path;
  CallLog& calls;
  Inbox& inbox;
};

}  // namespace EngineCheck
