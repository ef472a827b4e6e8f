#include "Lifetime.h"

#include <algorithm>
#include <utility>

#include "Check.h"
#include "Contract.h"
#include "Engine.h"

namespace EngineCheck {

namespace {

const std::wstring kArea = L"Lifetime";

}  // namespace

Lifetime::Lifetime(std::wstring path, CallLog& calls, Inbox& inbox)
    : path(std::move(path)), calls(calls), inbox(inbox) {}

bool Lifetime::WaitUntilGone() {
  return calls.Await(L"The DLL to go after FreeLibrary", [this] {
    return inbox.WaitUntil([this] { return !Engine::IsLoaded(path); }, calls.TimeoutInMs());
  });
}

bool Lifetime::CheckUnloading() {
  Check check(calls.GetJournal(), kArea, L"unloads");
  const bool isGone = WaitUntilGone();
  if (!isGone) {
    check.Fail(L"The DLL is still loaded " + std::to_wstring(calls.TimeoutInMs()) +
                   L" ms after FreeLibrary.",
               L"Give back every reference that the engine takes to itself (GetModuleHandleEx, "
               L"LoadLibrary), and do not pin it: an engine that stays can't be replaced by an "
               L"update.");
  }
  check.Finish(L"The DLL goes when it is freed.");
  return isGone;
}

bool Lifetime::LoadOnce() {
  {
    Engine engine(path, calls);
    if (engine.Load() != ERROR_SUCCESS || !engine.FindFunctions().empty() ||
        engine.CreateHandle() == FALSE || engine.Handle() == nullptr) {
      return false;
    }
    static_cast<void>(IsUsable(engine));
  }
  return WaitUntilGone();
}

void Lifetime::CheckLoadingAgain(UINT repetitions) {
  Check check(calls.GetJournal(), kArea, L"loads-again");
  // What the system and the engine make once and keep is there after the first two.
  bool isLoaded = LoadOnce() && LoadOnce();
  const ProcessObjects before = ProcessObjects::Count();
  UINT done = 0;
  for (; isLoaded && done < repetitions; ++done) isLoaded = LoadOnce();
  if (!isLoaded) {
    check.Fail(L"The engine did not load, open and go a further time (" +
                   std::to_wstring(done + 1) + L").",
               L"Start anew each time: the library loads and frees an engine for every question.");
    return;
  }
  check.Finish(L"It loads, answers and goes " + std::to_wstring(repetitions) + L" times more.");

  // Threads take a moment to end after their last line.
  constexpr UINT kPatienceInMs = 2000;
  static_cast<void>(inbox.WaitUntil(
      [&] { return ProcessObjects::CountThreads() <= before.threads; }, kPatienceInMs));
  const ProcessObjects after = ProcessObjects::Count();
  Compare(L"threads", before.threads, after.threads, repetitions,
          L"End each thread by the time that DeleteHandle has returned and no request is under "
          L"way.");
  Compare(L"handles", before.handles, after.handles, repetitions,
          L"Close what the engine opens: files, keys, events, threads.");
  Compare(L"windows", before.windows, after.windows, repetitions,
          L"Destroy the engine's windows in DeleteHandle.");
  Compare(L"GDI objects", before.gdiObjects, after.gdiObjects, repetitions,
          L"Delete the engine's fonts, brushes and bitmaps, and release its device contexts.");
}

void Lifetime::Compare(const std::wstring& what, std::optional<std::size_t> before,
                       std::optional<std::size_t> after, UINT repetitions,
                       const std::wstring& advice) {
  std::wstring name = L"left-" + what;
  std::replace(name.begin(), name.end(), L' ', L'-');
  Check check(calls.GetJournal(), kArea, name);
  if (!before || !after) {
    check.Note(L"Whether it leaves " + what +
                   L" behind was not checked: this system does not "
                   L"count them.",
               L"Run the check on Windows too.");
    return;
  }
  const std::size_t more = *after > *before ? *after - *before : 0;
  const std::wstring seen = std::to_wstring(more) + L" more " + what + L" after " +
                            std::to_wstring(repetitions) + L" times";
  // About one each time, or more. Fewer are not the engine's: the system keeps some for later.
  if (5 * more >= 4 * std::size_t{repetitions}) {
    check.Fail(L"It leaves something behind: " + seen + L".", advice);
  }
  check.Finish(L"It leaves no " + what + L" behind (" + seen + L").");
}

}  // namespace EngineCheck
