#pragma once

#include <cstddef>
#include <cstdint>

/// What one call through a thunk carries from its start to its end; the thunk keeps it on its
/// stack, so calls may nest and may be left by an exception.
struct ThunkCall {
  std::uint64_t result;
  std::uint64_t ticket;  // the hook's own; 0 at first
  std::uint32_t thunk;
  std::uint32_t unused;
};

/// Is told of every call through its thunks.
class ImportHook {
 public:
  ImportHook(const ImportHook&) = delete;
  ImportHook& operator=(const ImportHook&) = delete;

  /// Before the call. True lets the original function run; false makes `call->result` the result.
  /// `arguments` are the registers' four and then the stack's sixteen, used or not; the return
  /// address is before them. The last error at the hook's end is what the caller, or the original
  /// function, finds.
  virtual bool OnCall(std::size_t import, const std::uint64_t* arguments, ThunkCall* call) = 0;

  /// After the original function returned, not after an exception left it.
  virtual void OnReturn(std::size_t import, const std::uint64_t* arguments, ThunkCall* call) = 0;

 protected:
  ImportHook() = default;
  ~ImportHook() = default;
};

/// The entry points that stand in for imported functions. There is a fixed number of them, part of
/// this program's code with unwind information of their own, so that exceptions pass through.
namespace ImportThunks {

/// A function with any integer, pointer and floating point arguments, up to twenty in all, that
/// tells `hook` of each call and runs `original`. Throws std::length_error when all are in use.
[[nodiscard]] void* Make(ImportHook& hook, std::size_t import, void* original);

/// From here on the thunk only runs the original function, for those who still have its address.
void Release(void* thunk) noexcept;

}  // namespace ImportThunks
