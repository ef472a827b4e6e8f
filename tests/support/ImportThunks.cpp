#include "support/ImportThunks.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <stdexcept>

static_assert(sizeof(ThunkCall) == 24, "the thunks' stack frame holds one");

extern "C" {
extern char importThunkTable[];
void* ImportThunkOnCall(std::uint32_t thunk, const std::uint64_t* arguments, ThunkCall* call);
void ImportThunkOnReturn(ThunkCall* call, std::uint64_t result, const std::uint64_t* arguments);
}

// A thunk only says which one it is; all go on in importThunkBody. Its stack frame, from the top:
//   264       return address, and from 272 on the arguments, the first four stored there first
//   224..247  the ThunkCall
//   160..223  xmm0 to xmm3
//     0..159  the arguments once more, for the original function
// It has one fixed size and no saved registers, which makes the unwind information one line.
asm(R"(
    .text
    .p2align 4
    .globl importThunkTable
importThunkTable:
    .rept 1024
    .p2align 4
9:  leaq 9b(%rip), %r11
    jmp importThunkBody
    .endr

    .p2align 4
    .def importThunkBody; .scl 3; .type 32; .endef
    .seh_proc importThunkBody
importThunkBody:
    subq $264, %rsp
    .seh_stackalloc 264
    .seh_endprologue
    movq %rcx, 272(%rsp)
    movq %rdx, 280(%rsp)
    movq %r8, 288(%rsp)
    movq %r9, 296(%rsp)
    movaps %xmm0, 160(%rsp)
    movaps %xmm1, 176(%rsp)
    movaps %xmm2, 192(%rsp)
    movaps %xmm3, 208(%rsp)

    leaq importThunkTable(%rip), %rax
    subq %rax, %r11
    shrq $4, %r11
    movl %r11d, %ecx
    leaq 272(%rsp), %rdx
    leaq 224(%rsp), %r8
    call ImportThunkOnCall
    testq %rax, %rax
    je 1f

    movq %rax, %r10
    .irp slot, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19
    movq 272+8*\slot(%rsp), %rax
    movq %rax, 8*\slot(%rsp)
    .endr
    movq 272(%rsp), %rcx
    movq 280(%rsp), %rdx
    movq 288(%rsp), %r8
    movq 296(%rsp), %r9
    movaps 160(%rsp), %xmm0
    movaps 176(%rsp), %xmm1
    movaps 192(%rsp), %xmm2
    movaps 208(%rsp), %xmm3
    call *%r10

    movaps %xmm0, 160(%rsp)
    leaq 224(%rsp), %rcx
    movq %rax, %rdx
    leaq 272(%rsp), %r8
    call ImportThunkOnReturn
1:  movq 224(%rsp), %rax
    movaps 160(%rsp), %xmm0
    addq $264, %rsp
    ret
    .seh_endproc
)");

namespace {

constexpr std::size_t kThunkCount = 1024;
constexpr std::size_t kThunkSize = 16;

struct Thunk {
  std::atomic<ImportHook*> hook;
  std::size_t import;
  void* original;
};

// Thunks are found by their place, so their descriptions can only be global.
std::array<Thunk, kThunkCount> thunks;
std::size_t nextThunk = 0;

}  // namespace

void* ImportThunkOnCall(std::uint32_t thunk, const std::uint64_t* arguments, ThunkCall* call) {
  *call = {.result = 0, .ticket = 0, .thunk = thunk, .unused = 0};
  const Thunk& called = thunks[thunk];
  ImportHook* hook = called.hook;
  const bool runsOriginal = hook == nullptr || hook->OnCall(called.import, arguments, call);
  return runsOriginal ? called.original : nullptr;
}

void ImportThunkOnReturn(ThunkCall* call, std::uint64_t result, const std::uint64_t* arguments) {
  call->result = result;
  const Thunk& called = thunks[call->thunk];
  ImportHook* hook = called.hook;
  if (hook != nullptr) hook->OnReturn(called.import, arguments, call);
}

namespace ImportThunks {

void* Make(ImportHook& hook, std::size_t import, void* original) {
  // Going round leaves a released thunk working for as long as possible.
  for (std::size_t tried = 0; tried < kThunkCount; ++tried) {
    const std::size_t index = nextThunk++ % kThunkCount;
    Thunk& thunk = thunks[index];
    if (thunk.hook != nullptr) continue;
    thunk.import = import;
    thunk.original = original;
    thunk.hook = &hook;
    return importThunkTable + index * kThunkSize;
  }
  throw std::length_error("no import thunk is left");
}

void Release(void* thunk) noexcept {
  const auto offset = static_cast<std::size_t>(static_cast<char*>(thunk) - importThunkTable);
  thunks[offset / kThunkSize].hook = nullptr;
}

}  // namespace ImportThunks
