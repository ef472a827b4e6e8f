#pragma once

#include <vector>

#include "EngineFunctions.h"
#include "support/Interposition.h"

/// Records all that the library calls while it lives: the functions that it imports, and between
/// them, at their places, those of the engines that it loads. One at a time.
class EngineCallRecorder {
 public:
  explicit EngineCallRecorder(HMODULE library);
  ~EngineCallRecorder();
  EngineCallRecorder(const EngineCallRecorder&) = delete;
  EngineCallRecorder& operator=(const EngineCallRecorder&) = delete;

  /// What was called since the last time.
  [[nodiscard]] std::vector<Call> Take();

 private:
  /// What the library gets in place of an engine's function: writes the call down and passes it on.
  struct Stubs;

  void Note(const char* function, std::vector<std::uint64_t> arguments);
  void TakeImportedCalls();
  FARPROC OnGetProcAddress(HMODULE module, const char* name);

  static inline EngineCallRecorder* current = nullptr;

  Interposition interposition;
  EngineFunctions engine;  // of the engine that is loaded now
  std::vector<Call> calls;
};
