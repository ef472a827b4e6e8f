#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// What an engine answered to the questions that the library asks about an item.
struct EngineAnswers {
  enum class Problem { kNone, kNotLoaded, kExportMissing, kFails };

  Problem problem = Problem::kNone;
  std::wstring details = {};  // of the problem

  bool isUsable = false;             // on this machine, by the library's rule
  std::vector<bool> available = {};  // for each value
  std::wstring itemKey = {};         // empty where the engine gave none
  std::vector<std::wstring> valueKeys = {};
};

/// Where the answers of an engine come from.
class EngineSource {
 public:
  EngineSource() = default;
  virtual ~EngineSource() = default;
  EngineSource(const EngineSource&) = delete;
  EngineSource& operator=(const EngineSource&) = delete;

  [[nodiscard]] virtual EngineAnswers Ask(const std::filesystem::path& engine) = 0;
};
