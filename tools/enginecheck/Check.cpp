#include "Check.h"

#include <algorithm>

namespace EngineCheck {

namespace {

constexpr unsigned kMostToldOneByOne = 3;

}  // namespace

void Check::Add(Severity severity, const std::wstring& text, const std::wstring& advice) {
  worst = std::max(worst, severity);
  ++count;
  if (count <= kMostToldOneByOne) journal.Report({severity, area, name, text, advice});
}

void Check::Finish(const std::wstring& text) {
  if (count == 0) {
    journal.Report({Severity::kOk, area, name, text, {}});
  } else if (count > kMostToldOneByOne) {
    journal.Report(
        {worst, area, name,
         L"There are " + std::to_wstring(count - kMostToldOneByOne) + L" more of this kind.",
         L"Mend the cause of the ones above first."});
  }
}

}  // namespace EngineCheck
