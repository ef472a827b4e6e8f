#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "Configuration.h"
#include "EngineAnswers.h"
#include "IniFileCheck.h"

/// The engines of all items: which work, and which values they have.
class ItemEngines {
 public:
  /// Nothing is known about any engine.
  ItemEngines() = default;
  /// Asks the engines, whose paths are relative to `folder`, and reports those that fail.
  ItemEngines(const Configuration& configuration, const std::filesystem::path& folder,
              EngineSource& source, const IniFileCheck& file);

  /// Null where nothing is known.
  [[nodiscard]] const EngineAnswers* Find(std::wstring_view item) const;
  [[nodiscard]] bool KnowsAll() const noexcept { return unknown == 0; }

  /// Reports a value that the item does not have. `subject` begins the sentence: "PowerScheme in
  /// [Eco_Win7]".
  void CheckValue(const IniFileCheck& file, unsigned line, const std::wstring& item,
                  const std::wstring& subject, int value) const;

 private:
  void Ask(const Configuration::Item& item, const std::filesystem::path& folder,
           EngineSource& source, const IniFileCheck& file);

  std::map<std::wstring, EngineAnswers> answers;  // by folded item name
  std::size_t unknown = 1;                        // items
};
