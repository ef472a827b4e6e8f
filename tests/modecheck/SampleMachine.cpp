#include "SampleMachine.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "FolderCheck.h"
#include "support/Files.h"
#include "support/Text.h"

namespace fs = std::filesystem;

namespace {

class ScriptedEngines final : public EngineSource {
 public:
  explicit ScriptedEngines(const std::map<std::wstring, EngineAnswers>& answers)
      : answers(answers) {}
  [[nodiscard]] EngineAnswers Ask(const fs::path& engine) override {
    const auto answer = answers.find(engine.stem().wstring());
    if (answer != answers.end()) return answer->second;
    return {.problem = EngineAnswers::Problem::kNotLoaded, .details = L"it is no engine."};
  }

 private:
  const std::map<std::wstring, EngineAnswers>& answers;
};

std::wstring ReadUtf16(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::string all{std::istreambuf_iterator<char>(stream), {}};
  std::wstring text;
  for (std::size_t i = 2; i + 1 < all.size(); i += 2) {
    text += static_cast<wchar_t>(static_cast<unsigned char>(all[i]) |
                                 static_cast<unsigned char>(all[i + 1]) << 8);
  }
  return text;
}

std::vector<std::wstring> Split(const std::wstring& text) {
  std::vector<std::wstring> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find(L'\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    std::erase(lines.back(), L'\r');
    at = end + 1;
  }
  return lines;
}

void Write(const fs::path& path, const std::string& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace

SampleMachine::SampleMachine(Languages languages)
    : folder(Files::ProgramPath().parent_path() / L"machine") {
  const fs::path sample = SAMPLE_CONFIG_FOLDER;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(sample)) {
    if (entry.is_directory()) continue;
    fs::path name = entry.path().lexically_relative(sample);
    texts[name.make_preferred().wstring()] = Split(ReadUtf16(entry.path()));
  }
  if (languages == Languages::kTwo) KeepLanguages({L"de-DE", L"en-US"});
  AddEngine(L"PowerScheme", 3);
  AddEngine(L"VisualEffects", 2);
  AddEngine(L"ScreenSaver", 3);
  AddEngine(L"PointerSpeed", 20);
  AddEngine(L"KeyboardRepeatDelay", 4);
}

SampleMachine::~SampleMachine() {
  Files::RemoveTree(folder);
}

void SampleMachine::AddEngine(const wchar_t* item, int valueCount) {
  const std::wstring name = item;
  EngineAnswers& answers = engines[name];
  answers.isUsable = true;
  answers.itemKey = name + L"_Name";
  for (int value = 0; value < valueCount; ++value) {
    answers.available.push_back(true);
    answers.valueKeys.push_back(name + L"_Value" + std::to_wstring(value));
  }
  bytes[L"Engines\\" + name + L".dll"] = "an engine";
}

std::size_t SampleMachine::FindLine(const std::wstring& file, const std::wstring& section,
                                    const std::wstring& line) const {
  const Lines& lines = texts.at(file);
  const auto start = section.empty() ? lines.begin()
                                     : std::find(lines.begin(), lines.end(), L"[" + section + L"]");
  const auto found = std::find_if(start, lines.end(), [&line](const std::wstring& candidate) {
    return line.ends_with(L'=') ? candidate.starts_with(line) : candidate == line;
  });
  if (found == lines.end()) {
    throw std::runtime_error("no such line: " + Text::ToUtf8(section + L": " + line));
  }
  return static_cast<std::size_t>(found - lines.begin());
}

unsigned SampleMachine::LineNumber(const std::wstring& file, const std::wstring& section,
                                   const std::wstring& line) const {
  return static_cast<unsigned>(
             FindLine(file, section, line.empty() ? L"[" + section + L"]" : line)) +
         1;
}

void SampleMachine::Replace(const std::wstring& file, const std::wstring& section,
                            const std::wstring& line, const std::wstring& replacement) {
  const auto at = static_cast<std::ptrdiff_t>(FindLine(file, section, line));
  Lines& lines = texts.at(file);
  const Lines inserted = Split(replacement);
  lines.erase(lines.begin() + at);
  lines.insert(lines.begin() + at, inserted.begin(), inserted.end());
}

void SampleMachine::Remove(const std::wstring& file, const std::wstring& section,
                           const std::wstring& line) {
  Replace(file, section, line, L"");
}

void SampleMachine::RemoveSection(const std::wstring& file, const std::wstring& section) {
  Lines& lines = texts.at(file);
  const auto start =
      lines.begin() + static_cast<std::ptrdiff_t>(FindLine(file, section, L"[" + section + L"]"));
  const auto end = std::find_if(start + 1, lines.end(),
                                [](const std::wstring& line) { return line.starts_with(L'['); });
  lines.erase(start, end);
}

void SampleMachine::Prepend(const std::wstring& file, const std::wstring& line) {
  texts.at(file).insert(texts.at(file).begin(), line);
}

void SampleMachine::SetText(const std::wstring& file, const std::wstring& text) {
  texts[file] = Split(text);
}

void SampleMachine::SetBytes(const std::wstring& file, const std::string& content) {
  bytes[file] = content;
}

void SampleMachine::KeepLanguages(const std::set<std::wstring>& locales) {
  std::erase_if(texts, [&locales](const auto& file) {
    const fs::path name = file.first;
    return name.filename() == L"ModeChange.Resource.ini" &&
           !locales.contains(name.parent_path().wstring());
  });
}

void SampleMachine::RemoveFile(const std::wstring& file) {
  texts.erase(file);
  bytes.erase(file);
}

void SampleMachine::RenameFile(const std::wstring& from, const std::wstring& to) {
  texts[to] = texts.at(from);
  texts.erase(from);
}

std::vector<std::wstring> SampleMachine::FileNames() const {
  std::vector<std::wstring> names;
  for (const auto& [name, lines] : texts) names.push_back(name);
  return names;
}

const std::vector<std::wstring>& SampleMachine::GetLines(const std::wstring& file) const {
  return texts.at(file);
}

std::wstring SampleMachine::GetText(const std::wstring& file) const {
  std::wstring text;
  for (const std::wstring& line : texts.at(file)) text += line + L"\r\n";
  return text;
}

void SampleMachine::WriteFiles() const {
  Files::RemoveTree(folder);
  for (const auto& [name, lines] : texts) {
    std::string content = "\xFF\xFE";
    for (const wchar_t character : GetText(name)) {
      content += static_cast<char>(character & 0xFF);
      content += static_cast<char>(character >> 8);
    }
    if (!bytes.contains(name)) Write(folder / name, content);
  }
  for (const auto& [name, content] : bytes) Write(folder / name, content);
}

std::vector<Finding> SampleMachine::Check(const std::set<Rule>& ignored) {
  WriteFiles();
  ScriptedEngines source(engines);
  Findings findings(ignored);
  FolderCheck({.folder = folder,
               .dataFolder = folder / L"Data",
               .locale = locale,
               .engines = asksEngines ? &source : nullptr},
              findings)
      .Run();
  std::vector<Finding> sorted = findings.Sorted();
  for (Finding& finding : sorted) {
    finding.file = fs::path(finding.file).lexically_relative(folder).wstring();
  }
  return sorted;
}
