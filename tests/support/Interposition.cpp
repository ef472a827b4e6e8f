#include "support/Interposition.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "support/PeImage.h"

namespace {

class ExclusiveLock {
 public:
  explicit ExclusiveLock(SRWLOCK& lock) : lock(lock) { ::AcquireSRWLockExclusive(&lock); }
  ~ExclusiveLock() { ::ReleaseSRWLockExclusive(&lock); }
  ExclusiveLock(const ExclusiveLock&) = delete;
  ExclusiveLock& operator=(const ExclusiveLock&) = delete;

 private:
  SRWLOCK& lock;
};

/// Modules import data too, and data can't be called.
bool IsCode(const void* address) {
  MEMORY_BASIC_INFORMATION memory{};
  ::VirtualQuery(address, &memory, sizeof(memory));
  constexpr DWORD kExecutable =
      PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
  return (memory.Protect & kExecutable) != 0;
}

/// Where a function's code begins and ends; null for an address that has no such description.
const RUNTIME_FUNCTION* FindFunction(std::uint64_t address) {
  DWORD64 imageBase = 0;
  return ::RtlLookupFunctionEntry(address, &imageBase, nullptr);
}

void WriteSlot(void** slot, void* value) {
  DWORD protection = 0;
  ::VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
  *slot = value;
  ::VirtualProtect(slot, sizeof(*slot), protection, &protection);
}

std::wstring CopyText(char letter, std::uint64_t argument) {
  if (IS_INTRESOURCE(argument)) return {};
  if (letter == 'w') return reinterpret_cast<const wchar_t*>(argument);
  if (letter == 'a') {
    const std::string_view text = reinterpret_cast<const char*>(argument);
    return {text.begin(), text.end()};
  }
  return {};
}

constexpr std::string_view kUnknownSignature = "pppp";

std::uint64_t MakeTicket(std::uint32_t generation, std::size_t index) {
  return std::uint64_t{generation} << 32 | index;
}

}  // namespace

Interposition::Interposition(HMODULE module) {
  for (const PeImage::Import& found : PeImage(module).Imports()) {
    auto** slot = reinterpret_cast<void**>(reinterpret_cast<char*>(module) + found.slot);
    const ImportedFunction* known = FindImportedFunction(found.function);
    if (known != nullptr && known->kind == ImportedFunction::Kind::kFixed) continue;
    if (!IsCode(*slot)) continue;
    Import import;
    import.function = found.function;
    import.module = found.module;
    import.known = known;
    import.slot = slot;
    import.original = *slot;
    imports.push_back(std::move(import));
  }
  for (const PeImage::Export& found : PeImage(module).Exports()) {
    if (found.function != "__cxa_allocate_exception") continue;
    exceptionAllocation = FindFunction(reinterpret_cast<std::uint64_t>(module) + found.address);
  }
  // Only when the list is complete: from here on the thunks call back into it.
  for (std::size_t i = 0; i < imports.size(); ++i) {
    imports[i].thunk = ImportThunks::Make(*this, i, imports[i].original);
    WriteSlot(imports[i].slot, imports[i].thunk);
  }
}

Interposition::~Interposition() {
  for (const Import& import : imports) {
    WriteSlot(import.slot, import.original);
    ImportThunks::Release(import.thunk);
  }
}

bool Interposition::Imports(std::string_view function) const noexcept {
  return Find(function) != nullptr;
}

bool Interposition::CanFail(std::string_view function) const noexcept {
  const Import* import = Find(function);
  return import != nullptr && import->CanFail();
}

std::uint64_t Interposition::Count(std::string_view function) const noexcept {
  const ExclusiveLock guard(lock);
  const Import* import = Find(function);
  return import != nullptr ? import->count : 0;
}

std::vector<Call> Interposition::AllCalls() const {
  const ExclusiveLock guard(lock);
  return calls;
}

std::vector<Call> Interposition::CallsOf(std::string_view function) const {
  const ExclusiveLock guard(lock);
  std::vector<Call> found;
  std::copy_if(calls.begin(), calls.end(), std::back_inserter(found),
               [function](const Call& call) { return call.function == function; });
  return found;
}

void Interposition::ClearCalls() {
  const ExclusiveLock guard(lock);
  calls.clear();
  ++callsGeneration;
  for (Import& import : imports) import.count = 0;
  fallibleCallCount = 0;
}

void Interposition::Fail(std::string_view function, const Failure& failure) {
  Import& import = Get(function);
  ActiveFailure active{.failure = failure};
  if (!failure.result.has_value()) {
    if (!import.CanFail()) {
      throw std::invalid_argument(std::string(function) + " has no result that means failure");
    }
    active.failure.result = *import.known->failingResult;
  }
  if (!failure.lastError.has_value()) {
    active.failure.lastError = import.known != nullptr ? import.known->lastError : ERROR_SUCCESS;
  }
  const ExclusiveLock guard(lock);
  import.failure = active;
}

void Interposition::FailAny(const Failure& failure, std::vector<std::string> spared) {
  const ExclusiveLock guard(lock);
  anyFailure = ActiveFailure{.failure = failure};
  sparedFunctions = std::move(spared);
  forcedCalls = {};
}

Interposition::Forced Interposition::ForcedCalls() const {
  const ExclusiveLock guard(lock);
  return forcedCalls;
}

bool Interposition::IsFailingOnwards() const {
  const ExclusiveLock guard(lock);
  return anyFailure.has_value() && anyFailure->failure.onwards;
}

void Interposition::Observe(std::string_view function, Observer observer) {
  Import& import = Get(function);
  const ExclusiveLock guard(lock);
  import.observers.push_back(std::move(observer));
}

void Interposition::StopFailing() {
  const ExclusiveLock guard(lock);
  anyFailure.reset();
  for (Import& import : imports) import.failure.reset();
}

void Interposition::Reset() {
  ClearCalls();
  StopFailing();
  const ExclusiveLock guard(lock);
  for (Import& import : imports) {
    import.replacement.reset();
    import.observers.clear();
  }
}

bool Interposition::OnCall(std::size_t index, const std::uint64_t* arguments, ThunkCall* call) {
  const DWORD lastErrorBefore = ::GetLastError();
  Import& import = imports[index];
  const std::optional<Failure> failure = CountCall(import, arguments[-1]);
  Record(import, arguments, call);

  const auto replacement = import.replacement;
  if (!failure.has_value() && replacement == nullptr) {
    ::SetLastError(lastErrorBefore);
    return true;
  }
  DWORD lastError = lastErrorBefore;
  if (failure.has_value()) {
    call->result = *failure->result;
    if (*failure->lastError != ERROR_SUCCESS) lastError = *failure->lastError;
  } else {
    ::SetLastError(lastErrorBefore);
    call->result = (*replacement)(arguments);
    lastError = ::GetLastError();
  }
  Finish(import, arguments, *call, /*isOriginal=*/false, lastError);
  ::SetLastError(lastError);
  return false;
}

void Interposition::OnReturn(std::size_t index, const std::uint64_t* arguments, ThunkCall* call) {
  const DWORD lastError = ::GetLastError();
  Finish(imports[index], arguments, *call, /*isOriginal=*/true, lastError);
  ::SetLastError(lastError);
}

std::optional<Failure> Interposition::CountCall(Import& import, std::uint64_t returnAddress) {
  const ExclusiveLock guard(lock);
  ++import.count;
  if (exceptionAllocation != nullptr && !import.IsRecorded() &&
      FindFunction(returnAddress) == exceptionAllocation) {
    return std::nullopt;
  }
  if (import.IsRecorded()) lastFunction = import.function.c_str();
  if (!import.CanFail()) {
    return import.failure.has_value() && import.failure->IsNext()
               ? std::optional(import.failure->failure)
               : std::nullopt;
  }
  ++fallibleCallCount;
  // Both count this call, whichever of them makes it fail.
  const bool isOwnNext = import.failure.has_value() && import.failure->IsNext();
  const bool isAnyNext = IsNextOfAny(import);
  if (isOwnNext) return import.failure->failure;
  if (!isAnyNext) return std::nullopt;
  Failure failure = anyFailure->failure;
  failure.result = failure.result.value_or(*import.known->failingResult);
  failure.lastError = failure.lastError.value_or(import.known->lastError);
  return failure;
}

bool Interposition::IsNextOfAny(const Import& import) {
  if (!anyFailure.has_value() || !anyFailure->IsNext()) return false;
  if (anyFailure->seen != anyFailure->failure.nth &&
      std::find(sparedFunctions.begin(), sparedFunctions.end(), import.function) !=
          sparedFunctions.end()) {
    return false;
  }
  if (forcedCalls.count++ == 0) forcedCalls.first = import.function;
  forcedCalls.all.insert(import.function);
  return true;
}

void Interposition::Record(const Import& import, const std::uint64_t* arguments, ThunkCall* call) {
  if (!isRecording || !import.IsRecorded()) return;
  Call record = Describe(import, arguments);
  const ExclusiveLock guard(lock);
  call->ticket = MakeTicket(callsGeneration, calls.size());
  calls.push_back(std::move(record));
}

void Interposition::Finish(const Import& import, const std::uint64_t* arguments,
                           const ThunkCall& call, bool isOriginal, DWORD lastError) {
  const auto complete = [&](Call& record) {
    record.result = call.result;
    record.lastError = lastError;
    record.returned = true;
    record.original = isOriginal;
  };
  if (call.ticket != 0) {
    const ExclusiveLock guard(lock);
    const std::size_t index = static_cast<std::uint32_t>(call.ticket);
    if (call.ticket == MakeTicket(callsGeneration, index)) complete(calls[index]);
  }
  if (import.observers.empty()) return;
  Call record = Describe(import, arguments);
  complete(record);
  for (const Observer& observer : import.observers) observer(record);
}

Call Interposition::Describe(const Import& import, const std::uint64_t* arguments) {
  const std::string_view signature =
      import.known != nullptr ? import.known->signature : kUnknownSignature;
  Call call;
  call.function = import.function;
  call.module = import.module;
  for (std::size_t i = 0; i < signature.size(); ++i) {
    call.arguments.push_back(arguments[i]);
    call.texts.push_back(CopyText(signature[i], arguments[i]));
  }
  return call;
}

void Interposition::SetReplacement(std::string_view function, Replacement replacement) {
  Import& import = Get(function);
  const ExclusiveLock guard(lock);
  import.replacement = std::make_shared<const Replacement>(std::move(replacement));
}

void* Interposition::FindOriginal(std::string_view function) const {
  const Import* import = Find(function);
  if (import == nullptr) {
    throw std::invalid_argument(std::string(function) + " is not imported");
  }
  return import->original;
}

const Interposition::Import* Interposition::Find(std::string_view function) const noexcept {
  const auto found = std::find_if(imports.begin(), imports.end(), [function](const Import& import) {
    return import.function == function;
  });
  return found != imports.end() ? &*found : nullptr;
}

Interposition::Import& Interposition::Get(std::string_view function) {
  const Import* import = Find(function);
  if (import == nullptr) {
    throw std::invalid_argument(std::string(function) + " is not imported");
  }
  return const_cast<Import&>(*import);
}
