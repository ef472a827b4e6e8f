#include "support/StackTrace.h"

#include <filesystem>
#include <sstream>

#include "support/PeImage.h"
#include "support/Text.h"

namespace {

/// Leaves the frame of one function; false at the end of the stack.
bool Unwind(CONTEXT& context) {
  DWORD64 imageBase = 0;
  auto* function = ::RtlLookupFunctionEntry(context.Rip, &imageBase, nullptr);
  const DWORD64 stackBefore = context.Rsp;
  if (function == nullptr) {
    // A function without unwind information has nothing but its return address on the stack.
    context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
    context.Rsp += sizeof(DWORD64);
  } else {
    void* handlerData = nullptr;
    DWORD64 frame = 0;
    ::RtlVirtualUnwind(UNW_FLAG_NHANDLER, imageBase, context.Rip, function, &context, &handlerData,
                       &frame, nullptr);
  }
  return context.Rip != 0 && context.Rsp > stackBefore;
}

std::string FindExport(HMODULE module, std::uint32_t offset) {
  PeImage::Export nearest;
  for (const PeImage::Export& candidate : PeImage(module).Exports()) {
    if (candidate.address <= offset && candidate.address > nearest.address) nearest = candidate;
  }
  if (nearest.address == 0) return {};
  std::ostringstream stream;
  stream << " (" << nearest.function << "+0x" << std::hex << offset - nearest.address << ')';
  return stream.str();
}

}  // namespace

StackTrace StackTrace::Of(HANDLE thread) {
  StackTrace trace;
  if (::SuspendThread(thread) == static_cast<DWORD>(-1)) return trace;
  alignas(16) CONTEXT context{};
  context.ContextFlags = CONTEXT_FULL;
  if (::GetThreadContext(thread, &context) != FALSE) {
    do {
      trace.addresses[trace.depth++] = context.Rip;
    } while (trace.depth < trace.addresses.size() && Unwind(context));
  }
  ::ResumeThread(thread);
  return trace;
}

std::string StackTrace::Describe() const {
  std::ostringstream stream;
  for (std::size_t i = 0; i < depth; ++i) {
    HMODULE module = nullptr;
    ::GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const wchar_t*>(addresses[i]), &module);
    if (module == nullptr) {
      stream << "  0x" << std::hex << addresses[i] << '\n';
      continue;
    }
    std::array<wchar_t, 4 * MAX_PATH> path{};
    ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    const auto offset =
        static_cast<std::uint32_t>(addresses[i] - reinterpret_cast<std::uintptr_t>(module));
    stream << "  " << Text::ToUtf8(std::filesystem::path(path.data()).filename().wstring()) << "+0x"
           << std::hex << offset << FindExport(module, offset) << '\n';
  }
  return stream.str();
}
