#include "Report.h"

#include <algorithm>

#include "JsonObject.h"

namespace EngineCheck {

namespace {

constexpr std::size_t kWidth = 100;
const std::wstring kIndent(11, L' ');

const wchar_t* NameOf(Severity severity) {
  constexpr const wchar_t* kNames[] = {L"OK", L"NOTE", L"WARNING", L"FAILURE"};
  return kNames[static_cast<std::size_t>(severity)];
}

/// Breaks a text between words; lines after the first begin with the indent.
std::wstring Wrap(const std::wstring& text) {
  std::wstring wrapped;
  std::size_t column = kIndent.size();
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find(L' ', start), text.size());
    const std::size_t length = end - start;
    if (column > kIndent.size() && column + 1 + length > kWidth) {
      wrapped += L"\n" + kIndent;
      column = kIndent.size();
    } else if (column > kIndent.size()) {
      wrapped += L' ';
      ++column;
    }
    wrapped += text.substr(start, length);
    column += length;
    start = end + 1;
  }
  return wrapped;
}

std::wstring Plural(std::size_t count, const std::wstring& noun) {
  return std::to_wstring(count) + L" " + noun + (count == 1 ? L"" : L"s");
}

}  // namespace

int Report::ExitCode() const {
  if (isStopped) return kExitNotMade;
  return Count(Severity::kFailure) == 0 ? kExitPassed : kExitFailed;
}

std::wstring Report::Title() const {
  return L"Checking " + engine;
}

std::wstring Report::LastFinding() const {
  const Finding& finding = findings.back();
  std::wstring text;
  if (findings.size() == 1 || findings[findings.size() - 2].area != finding.area) {
    text += L"\n" + finding.area + L"\n";
  }
  std::wstring severity = NameOf(finding.severity);
  severity.resize(kIndent.size() - 2, L' ');
  text += L"  " + severity + Wrap(finding.text);
  if (!finding.advice.empty()) text += L"\n" + kIndent + Wrap(finding.advice);
  return text;
}

std::wstring Report::Summary() const {
  return L"\nResult: " + std::wstring(Result()) + L", " +
         Plural(Count(Severity::kFailure), L"failure") + L", " +
         Plural(Count(Severity::kWarning), L"warning") + L", " + std::to_wstring(findings.size()) +
         L" results in all.";
}

std::wstring Report::Json() const {
  std::wstring text = L"{" + JsonObject::Quote(L"engine") + L": " + JsonObject::Quote(engine) +
                      L", \"result\": \"" + Result() + L"\", \"set\": " +
                      (hasSet ? L"true" : L"false") + L", \"failures\": " +
                      std::to_wstring(Count(Severity::kFailure)) + L", \"warnings\": " +
                      std::to_wstring(Count(Severity::kWarning)) + L", \"findings\": [";
  for (std::size_t i = 0; i < findings.size(); ++i) {
    const Finding& finding = findings[i];
    std::wstring severity = NameOf(finding.severity);
    std::transform(severity.begin(), severity.end(), severity.begin(),
                   [](wchar_t character) { return static_cast<wchar_t>(character - L'A' + L'a'); });
    text += i == 0 ? L"\n  " : L",\n  ";
    text += JsonObject()
                .AddText(L"severity", severity)
                .AddText(L"area", finding.area)
                .AddText(L"check", finding.check)
                .AddText(L"text", finding.text)
                .AddText(L"advice", finding.advice)
                .Text();
  }
  return text + L"\n]}";
}

std::size_t Report::Count(Severity severity) const {
  return static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(),
                    [severity](const Finding& finding) { return finding.severity == severity; }));
}

const wchar_t* Report::Result() const {
  if (isStopped) return L"stopped";
  return Count(Severity::kFailure) == 0 ? L"passed" : L"failed";
}

}  // namespace EngineCheck
