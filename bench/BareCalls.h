#pragma once

#include <windows.h>
// windows.h first: evntprov.h needs its types.
#include <evntprov.h>

#include <cstddef>
#include <functional>
#include <vector>

#include "EngineFunctions.h"
#include "support/Interposition.h"

/// The calls that the library made, of Windows and of engines, without the library around them: the
/// same functions in the same order, with the same texts, numbers and buffer sizes.
class BareCalls {
 public:
  /// What posts or sends a message is repeated with `messageWindow`, and what was posted is awaited
  /// before the next call. Throws std::invalid_argument for a function that it does not know.
  explicit BareCalls(const std::vector<Call>& recorded, HWND messageWindow = nullptr);
  BareCalls(const BareCalls&) = delete;
  BareCalls& operator=(const BareCalls&) = delete;

  [[nodiscard]] std::size_t Count() const noexcept { return steps.size(); }
  void Run() const {
    for (const Step& step : steps) step();
  }

 private:
  using Step = std::function<void()>;

  // Each knows some functions and makes nothing of another one.
  [[nodiscard]] Step MakeFileStep(const Call& call);
  [[nodiscard]] Step MakeIniStep(const Call& call);
  [[nodiscard]] Step MakePathStep(const Call& call);
  [[nodiscard]] Step MakeModuleStep(const Call& call);
  [[nodiscard]] Step MakeSystemStep(const Call& call);
  [[nodiscard]] Step MakeRegistryStep(const Call& call);
  [[nodiscard]] Step MakeWindowStep(const Call& call);
  [[nodiscard]] Step MakeEngineStep(const Call& call);
  [[nodiscard]] Step MakeStep(const Call& call);
  void GiveBufferRoomFor(std::size_t characters);
  void AwaitMessage() const;

  std::vector<Step> steps;
  HWND messageWindow;

  // What the calls write and hand on to the next ones.
  std::vector<wchar_t> buffer;
  WIN32_FIND_DATAW entry{};
  HANDLE file = INVALID_HANDLE_VALUE;
  HANDLE find = INVALID_HANDLE_VALUE;
  HMODULE module = nullptr;
  HMODULE loaded = nullptr;
  HKEY key = nullptr;
  REGHANDLE registration = 0;
  int number = 0;
  EngineFunctions engine;
  VELTO_DEVICE_ENGINE_HANDLE engineHandle = nullptr;
};
