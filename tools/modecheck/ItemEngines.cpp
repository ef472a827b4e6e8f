#include "ItemEngines.h"

#include "Names.h"
#include "common/PathHelpers.h"

namespace {

// What every value list has besides the engine's values: the item is left as it is.
constexpr int kDoNothing = -1;
constexpr std::size_t kFewestValues = 2;

Rule GetRule(EngineAnswers::Problem problem) {
  switch (problem) {
    case EngineAnswers::Problem::kNotLoaded:
      return Rule::kEngineNotLoaded;
    case EngineAnswers::Problem::kExportMissing:
      return Rule::kEngineExportMissing;
    default:
      return Rule::kEngineFails;
  }
}

const wchar_t* DescribeProblem(EngineAnswers::Problem problem) {
  switch (problem) {
    case EngineAnswers::Problem::kNotLoaded:
      return L" can't be loaded: ";
    case EngineAnswers::Problem::kExportMissing:
      return L" does not export ";
    default:
      return L" fails: ";
  }
}

}  // namespace

ItemEngines::ItemEngines(const Configuration& configuration, const std::filesystem::path& folder,
                         EngineSource& source, const IniFileCheck& file)
    : unknown(configuration.items.size()) {
  for (const Configuration::Item& item : configuration.items) {
    if (!item.enginePath.empty()) Ask(item, folder, source, file);
  }
  unknown -= answers.size();
}

void ItemEngines::Ask(const Configuration::Item& item, const std::filesystem::path& folder,
                      EngineSource& source, const IniFileCheck& file) {
  CWideString path;
  if (!Common::JoinPath(folder.c_str(), item.enginePath.c_str(), &path) ||
      !Common::FileExists(path)) {
    file.Add(Rule::kEngineNotFound, item.line,
             L"The engine " + item.enginePath + L" of " + item.name +
                 L" is not there. Correct EnginePath, which is relative to the folder, or put the "
                 L"engine there.");
    return;
  }
  EngineAnswers answer = source.Ask(path.c_str());
  if (answer.problem != EngineAnswers::Problem::kNone) {
    file.Add(GetRule(answer.problem), item.line,
             L"The engine " + item.enginePath + DescribeProblem(answer.problem) + answer.details);
    return;
  }
  if (answer.available.size() < kFewestValues) {
    file.Add(Rule::kEngineTooFewValues, item.line,
             L"The engine " + item.enginePath + L" has " +
                 (answer.available.empty() ? L"no value" : L"one value") +
                 L"; with fewer than two, " + item.name +
                 L" is never shown and never set. Give the engine more, or remove the item.");
  }
  answers[Names::Fold(item.name)] = std::move(answer);
}

const EngineAnswers* ItemEngines::Find(std::wstring_view item) const {
  const auto found = answers.find(Names::Fold(item));
  return found == answers.end() ? nullptr : &found->second;
}

void ItemEngines::CheckValue(const IniFileCheck& file, unsigned line, const std::wstring& item,
                             const std::wstring& subject, int value) const {
  if (value == kDoNothing) return;
  const EngineAnswers* const engine = Find(item);
  const std::wstring start = subject + L" is " + std::to_wstring(value);
  const std::size_t count = engine != nullptr ? engine->available.size() : 0;
  if (value < 0 || (engine != nullptr && static_cast<std::size_t>(value) >= count)) {
    file.Add(Rule::kValueNotOffered, line,
             start + L", which is none of its values: a change of the mode fails there. Write " +
                 (count == 0 ? L"a value of the engine's" : L"0 to " + std::to_wstring(count - 1)) +
                 L", or -1 to leave the item as it is.");
  } else if (engine != nullptr && engine->isUsable &&
             !engine->available[static_cast<std::size_t>(value)]) {
    file.Add(Rule::kValueNotAvailable, line,
             start +
                 L", which this machine does not have: here a change of the mode fails there. "
                 L"Where the file is meant for this machine, use another value.");
  }
}
