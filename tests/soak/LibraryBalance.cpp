#include "soak/LibraryBalance.h"

#include <windows.h>

#include <cstdlib>

LibraryBalance::LibraryBalance(Interposition& interposition)
    : interposition(interposition), handles(interposition) {
  CountHeapBlocks();
  CountProperties();
  AnswerMessageBoxes();
}

std::int64_t LibraryBalance::Held() const {
  const auto registrations = static_cast<std::int64_t>(interposition.Count("EventRegister")) -
                             static_cast<std::int64_t>(interposition.Count("EventUnregister"));
  return static_cast<std::int64_t>(handles.Held().size()) + properties + registrations;
}

std::uint64_t LibraryBalance::TakenEver() const {
  std::uint64_t count = 0;
  for (const char* function :
       {"malloc", "CreateFileW", "LoadLibraryW", "CreateFontIndirectW", "EventRegister"}) {
    count += interposition.Count(function);
  }
  return count;
}

std::uint64_t LibraryBalance::Failures() const {
  return interposition.Count("EventWrite") + interposition.Count("MessageBoxW") +
         handles.ReleasedUnheld().size();
}

void LibraryBalance::CountHeapBlocks() {
  const auto take = interposition.Original<decltype(&std::malloc)>("malloc");
  interposition.Replace("malloc", [this, take](std::size_t size) {
    void* const block = take(size);
    if (block != nullptr) ++heapBlocks;
    return block;
  });
  const auto takeCleared = interposition.Original<decltype(&std::calloc)>("calloc");
  interposition.Replace("calloc", [this, takeCleared](std::size_t count, std::size_t size) {
    void* const block = takeCleared(count, size);
    if (block != nullptr) ++heapBlocks;
    return block;
  });
  const auto resize = interposition.Original<decltype(&std::realloc)>("realloc");
  interposition.Replace("realloc", [this, resize](void* old, std::size_t size) {
    void* const block = resize(old, size);
    if (old == nullptr && block != nullptr) ++heapBlocks;
    if (old != nullptr && size == 0) --heapBlocks;
    return block;
  });
  const auto give = interposition.Original<decltype(&std::free)>("free");
  interposition.Replace("free", [this, give](void* block) {
    if (block != nullptr) --heapBlocks;
    give(block);
  });
}

void LibraryBalance::CountProperties() {
  interposition.Observe("SetPropW", [this](const Call& call) {
    if (call.result != 0) ++properties;
  });
  interposition.Observe("RemovePropW", [this](const Call& call) {
    if (call.result != 0) --properties;
  });
}

void LibraryBalance::AnswerMessageBoxes() {
  interposition.Replace("MessageBoxW", [](HWND, const wchar_t*, const wchar_t*, UINT) {
    return static_cast<int>(IDOK);
  });
}
