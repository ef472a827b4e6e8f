#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "EngineAnswers.h"

/// Loads an engine and asks it what the library asks, in the same order.
[[nodiscard]] EngineAnswers AskEngine(const std::filesystem::path& engine);

/// Answers as lines of text, for another process.
[[nodiscard]] std::wstring WriteAnswers(const EngineAnswers& answers);
/// False where the text is not complete: who wrote it did not come to an end.
[[nodiscard]] bool ReadAnswers(std::wstring_view text, EngineAnswers* answers);
