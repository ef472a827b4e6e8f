// What the language's runtime keeps for each thread about its exceptions.
//
// The runtime's own version asks for that memory when a thread throws for the first time, and ends
// the process when there is none. Out of memory is just when that happens: the exception would be
// std::bad_alloc. So this library has the memory ready: it is a part of the block that Windows
// makes for each thread of a process in which the library is loaded, and frees with the thread.
//
// Compilers for this target have no way to say that, so it is said as the C runtime says it to the
// linker and to Windows. To be linked into the DLL directly, not from a library: else the runtime's
// own version would be found first.

#include <windows.h>

// The names are the runtime's.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming)

extern "C" {

// Where the block's template begins, and which of a thread's blocks is this module's; both belong
// to the C runtime's description of the block.
extern char* _tls_start;
extern ULONG _tls_index;

}  // extern "C"

namespace __cxxabiv1 {

/// As the C++ ABI lays it down.
struct __cxa_eh_globals {
  void* caughtExceptions;
  unsigned int uncaughtExceptions;
};

namespace {

// The linker puts the sections ".tls" to ".tls$ZZZ" together in their order: the template.
__attribute__((section(".tls$ExceptionGlobals"), used)) __cxa_eh_globals templateOfGlobals{};

__cxa_eh_globals* GetGlobals() noexcept {
  // From the thread environment block: all modules' blocks of this thread.
  char* const* blocks = nullptr;
  asm("movq %%gs:0x58, %0" : "=r"(blocks));
  const auto offset =
      reinterpret_cast<char*>(&templateOfGlobals) - reinterpret_cast<char*>(&_tls_start);
  return reinterpret_cast<__cxa_eh_globals*>(blocks[_tls_index] + offset);
}

}  // namespace

extern "C" __cxa_eh_globals* __cxa_get_globals() noexcept {
  return GetGlobals();
}

extern "C" __cxa_eh_globals* __cxa_get_globals_fast() noexcept {
  return GetGlobals();
}

}  // namespace __cxxabiv1

// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)
