#pragma once

#include <optional>
#include <string>

#include "Check.h"
#include "Engine.h"

namespace EngineCheck {

/// What an engine answered for a text.
struct TextAnswer {
  bool isTerminated = false;
  std::wstring text;  // up to the terminator, or all there is
  UINT length = 0;    // what the engine says it used
};

/// Asks an engine, and watches what holds for every answer: a success writes the output, a failure
/// leaves it alone, and nothing is written beyond the buffer.
class Questions {
 public:
  Questions(Engine& engine, const Journal& journal);

  /// None where the engine fails.
  [[nodiscard]] std::optional<UINT> GetDeviceCount();
  [[nodiscard]] std::optional<INT32> GetNumber(UINT identifier, UINT subIndex);
  [[nodiscard]] std::optional<TextAnswer> GetText(UINT identifier, UINT subIndex,
                                                  UINT length = VELTO_ENGINE_STRING_LENGTH);

  /// Reports what was seen so far.
  void Finish();

 private:
  /// Asks once with each of two values in the output: what is still there afterwards was not
  /// written. `ask` calls the engine with the output's address.
  template <class Number, class Ask>
  std::optional<Number> AskForNumber(const std::wstring& question, Ask ask);

  Engine& engine;
  Check written;
  Check untouched;
  Check bounds;
};

}  // namespace EngineCheck
