#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/ImportThunks.h"
#include "support/ImportedFunctions.h"

/// One call of an imported function.
struct Call {
  std::string function;
  std::string module;                    // the DLL that it is imported from
  std::vector<std::uint64_t> arguments;  // as many as the function's signature has, else four
  std::vector<std::wstring> texts;       // at the arguments' places, copied when called
  std::uint64_t result = 0;
  DWORD lastError = ERROR_SUCCESS;  // after the call
  bool returned = false;            // false while it runs, and when an exception left it
  bool original = true;             // false when failed by force or replaced

  /// The text argument at this place; empty for a null pointer and for an identifier.
  [[nodiscard]] const wchar_t* Text(std::size_t argument) const {
    return texts.at(argument).c_str();
  }
};

/// Which calls are to fail, and how. The function itself is then not called.
struct Failure {
  std::uint32_t nth = 1;  // counted from when the failure is set up
  bool onwards = false;   // that call only, or all from it on
  /// Else what FindImportedFunction knows.
  std::optional<std::uint64_t> result = std::nullopt;
  std::optional<DWORD> lastError = std::nullopt;
};

/// Stands between one loaded module and the functions that it imports: counts and records its
/// calls, makes them fail, replaces them. Calls that other modules make, this program's own among
/// them, go on as ever.
///
///     Interposition interposition(::GetModuleHandleW(L"ModeChange.dll"));
///     interposition.Fail("CreateFileW", {.nth = 2});
///     ...
///     EXPECT_EQ(2, interposition.Count("CreateFileW"));
///     EXPECT_STREQ(L"C:\\file.ini", interposition.CallsOf("CreateFileW").front().Text(0));
///
/// Functions that are found by GetProcAddress are not imported, and calls of the C runtime and its
/// kind are counted but not recorded. Memory for an exception is never refused, where the module
/// exports the function that takes it: without memory it comes from a reserve of the module's own
/// runtime, and a test that catches it could not give it back there.
///
/// The module may call from any thread; failures and replacements are set up while it does not.
/// Names that it does not import throw std::invalid_argument where a test would otherwise wait for
/// something that can't happen.
class Interposition final : private ImportHook {
 public:
  explicit Interposition(HMODULE module);
  ~Interposition();

  [[nodiscard]] bool Imports(std::string_view function) const noexcept;
  /// Whether a call is known how to fail.
  [[nodiscard]] bool CanFail(std::string_view function) const noexcept;

  [[nodiscard]] std::uint64_t Count(std::string_view function) const noexcept;
  /// Calls that FailAny could have made fail, whether or not they were.
  [[nodiscard]] std::uint64_t FallibleCallCount() const noexcept { return fallibleCallCount; }

  /// In the order in which they began.
  [[nodiscard]] std::vector<Call> AllCalls() const;
  [[nodiscard]] std::vector<Call> CallsOf(std::string_view function) const;
  /// Forgets the recorded calls and counts from 0 again.
  void ClearCalls();
  /// Recording is on at first. Without it millions of calls take no memory; counts go on.
  void SetRecording(bool on) noexcept { isRecording = on; }
  /// The last recorded function that was called; may be asked from any thread.
  [[nodiscard]] const char* LastFunction() const noexcept { return lastFunction; }

  void Fail(std::string_view function, const Failure& failure);
  /// Counts the calls of all functions that can fail. Those of `spared` only fail as the n-th call
  /// itself, not onwards from another one.
  void FailAny(const Failure& failure, std::vector<std::string> spared = {});

  /// What FailAny has made fail since it was last called.
  struct Forced {
    std::uint64_t count = 0;
    std::string first;  // the function of the n-th call
    std::set<std::string> all;
  };
  [[nodiscard]] Forced ForcedCalls() const;
  /// Whether FailAny is to make calls fail until StopFailing.
  [[nodiscard]] bool IsFailingOnwards() const;

  /// Calls `replacement` instead: any function or lambda with the imported function's arguments,
  /// at most the first ones. It may throw, and sets the last error itself.
  template <class Function>
  void Replace(std::string_view function, Function replacement) {
    SetReplacement(function, MakeReplacement(std::function(std::move(replacement))));
  }

  /// The function itself, with its type: Original<decltype(&::CreateFileW)>("CreateFileW").
  template <class Pointer>
  [[nodiscard]] Pointer Original(std::string_view function) const {
    return reinterpret_cast<Pointer>(FindOriginal(function));
  }

  using Observer = std::function<void(const Call&)>;
  /// Is told of each call right after it returned, before the module goes on; recorded or not.
  void Observe(std::string_view function, Observer observer);

  /// Lets all calls work again.
  void StopFailing();
  /// As new: nothing fails, is replaced (by the fixture either) or observed, nothing is counted.
  void Reset();

 private:
  using Replacement = std::function<std::uint64_t(const std::uint64_t* arguments)>;

  struct ActiveFailure {
    Failure failure;
    std::uint64_t seen = 0;
    [[nodiscard]] bool IsNext() noexcept {
      ++seen;
      return failure.onwards ? seen >= failure.nth : seen == failure.nth;
    }
  };

  struct Import {
    std::string function;
    std::string module;
    const ImportedFunction* known = nullptr;
    void** slot = nullptr;
    void* original = nullptr;
    void* thunk = nullptr;
    std::uint64_t count = 0;
    std::optional<ActiveFailure> failure;
    std::shared_ptr<const Replacement> replacement;
    std::vector<Observer> observers;

    [[nodiscard]] bool IsRecorded() const noexcept {
      return known != nullptr ? known->kind == ImportedFunction::Kind::kWindows
                              : !IsRuntimeModule(module);
    }
    [[nodiscard]] bool CanFail() const noexcept {
      return known != nullptr && known->failingResult.has_value();
    }
  };

  template <class Result, class... Arguments>
  static Replacement MakeReplacement(std::function<Result(Arguments...)> replacement) {
    return [replacement = std::move(replacement)](const std::uint64_t* arguments) {
      return CallReplacement(replacement, arguments, std::index_sequence_for<Arguments...>());
    };
  }
  template <class Result, class... Arguments, std::size_t... indices>
  static std::uint64_t CallReplacement(const std::function<Result(Arguments...)>& replacement,
                                       [[maybe_unused]] const std::uint64_t* arguments,
                                       std::index_sequence<indices...>) {
    if constexpr (std::is_void_v<Result>) {
      replacement(FromSlot<Arguments>(arguments[indices])...);
      return 0;
    } else {
      return ToSlot(replacement(FromSlot<Arguments>(arguments[indices])...));
    }
  }
  template <class T>
  static T FromSlot(std::uint64_t value) noexcept {
    static_assert(std::is_pointer_v<T> || std::is_integral_v<T> || std::is_enum_v<T>);
    if constexpr (std::is_pointer_v<T>) {
      return reinterpret_cast<T>(value);
    } else {
      return static_cast<T>(value);
    }
  }
  template <class T>
  static std::uint64_t ToSlot(T value) noexcept {
    static_assert(std::is_pointer_v<T> || std::is_integral_v<T> || std::is_enum_v<T>);
    if constexpr (std::is_pointer_v<T>) {
      return reinterpret_cast<std::uint64_t>(value);
    } else {
      return static_cast<std::uint64_t>(value);
    }
  }

  bool OnCall(std::size_t import, const std::uint64_t* arguments, ThunkCall* call) override;
  void OnReturn(std::size_t import, const std::uint64_t* arguments, ThunkCall* call) override;

  /// Whether FailAny wants this call to fail, which counts it.
  [[nodiscard]] bool IsNextOfAny(const Import& import);
  /// What to fail with when this call is one of those to fail.
  [[nodiscard]] std::optional<Failure> CountCall(Import& import, std::uint64_t returnAddress);
  void Record(const Import& import, const std::uint64_t* arguments, ThunkCall* call);
  void Finish(const Import& import, const std::uint64_t* arguments, const ThunkCall& call,
              bool isOriginal, DWORD lastError);
  [[nodiscard]] static Call Describe(const Import& import, const std::uint64_t* arguments);

  void SetReplacement(std::string_view function, Replacement replacement);
  [[nodiscard]] void* FindOriginal(std::string_view function) const;
  [[nodiscard]] const Import* Find(std::string_view function) const noexcept;
  [[nodiscard]] Import& Get(std::string_view function);

  mutable SRWLOCK lock = SRWLOCK_INIT;
  std::vector<Import> imports;
  const RUNTIME_FUNCTION* exceptionAllocation = nullptr;
  std::vector<Call> calls;
  std::uint32_t callsGeneration = 1;  // of `calls`: tickets of calls that were cleared are void
  std::optional<ActiveFailure> anyFailure;
  std::vector<std::string> sparedFunctions;
  Forced forcedCalls;
  std::atomic<std::uint64_t> fallibleCallCount = 0;
  std::atomic<bool> isRecording = true;
  std::atomic<const char*> lastFunction = "none";
};
