#include "CheckReport.h"

#include <algorithm>

#include "JsonObject.h"

namespace {

// Raised when a member changes its meaning or goes; new members may come any time.
constexpr int kJsonVersion = 1;
constexpr const wchar_t* kNoFolder = L"(no folder)";

std::wstring Count(std::size_t count, const wchar_t* what) {
  return std::to_wstring(count) + L" " + what + (count == 1 ? L"" : L"s");
}

std::wstring FormatFinding(const Finding& finding) {
  const RuleText& rule = GetRuleText(finding.rule);
  return finding.file + L":" + (finding.line == 0 ? L"" : std::to_wstring(finding.line) + L":") +
         L" " + GetName(rule.severity) + L": " + finding.message + L" [" + rule.name + L"]\n";
}

const IniDocument::Key* FindText(const Language& language, const TextRule& text) {
  const IniDocument::Key* const found = language.file->Document().Find(text.section, text.key);
  return found != nullptr && !found->value.empty() ? found : nullptr;
}

std::wstring GetName(const Language& language) {
  return language.locale.empty() ? kNoFolder : language.locale;
}

JsonObject MakeTextObject(const std::vector<Language>& languages, const TextRule& text) {
  JsonObject values;
  for (const Language& language : languages) {
    if (const IniDocument::Key* const found = FindText(language, text)) {
      values.AddText(language.locale, found->value);
    }
  }
  return JsonObject()
      .AddText(L"section", text.section)
      .AddText(L"key", text.key)
      .AddFlag(L"required", text.isRequired)
      .AddObject(L"texts", values);
}

}  // namespace

std::wstring FormatFindings(const Findings& findings, std::size_t fileCount) {
  std::wstring text;
  for (const Finding& finding : findings.Sorted()) text += FormatFinding(finding);
  text += Count(fileCount, L"file") + L" checked, " +
          Count(findings.Count(Severity::kError), L"error") + L", " +
          Count(findings.Count(Severity::kWarning), L"warning");
  if (findings.LeftOut() != 0) {
    text += L" (" + std::to_wstring(findings.LeftOut()) + L" of them not shown: a rule is shown " +
            std::to_wstring(Findings::kMostOfARule) + L" times in a file)";
  }
  return text;
}

std::wstring FormatTexts(const std::vector<Language>& languages,
                         const std::vector<TextRule>& texts) {
  std::size_t width = 0;
  for (const TextRule& text : texts) {
    width = std::max(width, text.section.size() + 1 + text.key.size());
  }
  std::wstring table(width, L' ');
  for (const Language& language : languages) table += L"  " + GetName(language);
  for (const TextRule& text : texts) {
    std::wstring line = text.section + L"/" + text.key;
    line.resize(width, L' ');
    for (const Language& language : languages) {
      const wchar_t* const mark =
          FindText(language, text) != nullptr ? L"x" : (text.isRequired ? L"-" : L".");
      line += L"  " + (mark + std::wstring(GetName(language).size() - 1, L' '));
    }
    line.erase(line.find_last_not_of(L' ') + 1);
    table += L"\n" + line;
  }
  return table + L"\n";
}

std::wstring FormatAsJson(const Findings& findings, const FolderCheck& check,
                          const std::wstring& folder, bool withTexts) {
  std::vector<JsonObject> list;
  for (const Finding& finding : findings.Sorted()) {
    const RuleText& rule = GetRuleText(finding.rule);
    list.push_back(JsonObject()
                       .AddText(L"file", finding.file)
                       .AddNumber(L"line", finding.line)
                       .AddText(L"severity", GetName(rule.severity))
                       .AddText(L"rule", rule.name)
                       .AddText(L"message", finding.message));
  }
  JsonObject report;
  report.AddNumber(L"version", kJsonVersion)
      .AddText(L"folder", folder)
      .AddNumber(L"files", static_cast<long long>(check.FileCount()))
      .AddNumber(L"errors", static_cast<long long>(findings.Count(Severity::kError)))
      .AddNumber(L"warnings", static_cast<long long>(findings.Count(Severity::kWarning)))
      .AddNumber(L"notShown", static_cast<long long>(findings.LeftOut()))
      .AddList(L"findings", list);
  if (withTexts) {
    std::vector<JsonObject> texts;
    for (const TextRule& text : check.Texts()) {
      texts.push_back(MakeTextObject(check.Languages(), text));
    }
    report.AddList(L"texts", texts);
  }
  return report.Text();
}
