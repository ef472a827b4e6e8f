#include "support/TraceCapture.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <stdexcept>

#include "support/Text.h"

namespace {

namespace fs = std::filesystem;

constexpr DWORD kSpoiledError = ERROR_CAN_NOT_COMPLETE;

/// Opens a file that no other process writes; process identifiers are used again, so they are not
/// enough for its name.
std::ofstream OpenObservedTraces() {
  const wchar_t* folder = ::_wgetenv(L"VELTO_OBSERVED_TRACES");
  if (folder == nullptr || *folder == L'\0') return {};
  const std::wstring stem = std::to_wstring(::GetCurrentProcessId()) + L"-";
  for (int number = 0;; ++number) {
    const fs::path path = fs::path(folder) / (stem + std::to_wstring(number) + L".tsv");
    HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
      ::CloseHandle(file);
      return std::ofstream(path, std::ios::binary);
    }
    if (::GetLastError() != ERROR_FILE_EXISTS) {
      throw std::runtime_error("can't write observed traces to " + Text::ToUtf8(path.wstring()));
    }
  }
}

void KeepForCoverage(const Trace& trace) {
  static std::ofstream file = OpenObservedTraces();
  if (!file.is_open()) return;
  // At once: the process may not live to close the file.
  file << Text::Escape(trace.function) << '\t' << trace.line << '\t' << Text::Escape(trace.message)
       << '\n'
       << std::flush;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Trace& trace) {
  return stream << Text::Escape(trace.function) << ' ' << trace.line << " \""
                << Text::Escape(trace.message) << '"';
}

Trace TraceEvent::Decoded() const {
  std::uint32_t line = 0;
  if (items.size() > 2) {
    std::memcpy(&line, items[2].bytes.data(), std::min(items[2].bytes.size(), sizeof(line)));
  }
  return {.function = TextOf(1), .line = line, .message = TextOf(3)};
}

std::wstring TraceEvent::TextOf(std::size_t item) const {
  if (item >= items.size()) return {};
  const std::string& bytes = items[item].bytes;
  std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
  std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
  if (!text.empty() && text.back() == L'\0') text.pop_back();
  return text;
}

TraceCapture::TraceCapture(Interposition& interposition) {
  interposition.Replace("EventRegister", [this](const GUID* provider, const void* callback,
                                                const void* context, REGHANDLE* registration) {
    return Register(provider, callback, context, registration);
  });
  interposition.Replace("EventUnregister",
                        [this](REGHANDLE registration) { return Unregister(registration); });
  interposition.Replace("EventWrite",
                        [this](REGHANDLE registration, const EVENT_DESCRIPTOR* descriptor,
                               ULONG itemCount, const EVENT_DATA_DESCRIPTOR* items) {
                          return Write(registration, descriptor, itemCount, items);
                        });
}

Traces TraceCapture::Take() {
  Traces traces;
  for (; takenEvents < events.size(); ++takenEvents) {
    traces.push_back(events[takenEvents].Decoded());
  }
  return traces;
}

void TraceCapture::Forget() noexcept {
  events.clear();
  takenEvents = 0;
  registrations.clear();
}

ULONG TraceCapture::Register(const GUID* provider, const void* callback, const void* context,
                             REGHANDLE* registration) {
  ::SetLastError(kSpoiledError);
  if (registrationAnswer != ERROR_SUCCESS) return registrationAnswer;
  registrations.push_back({.provider = *provider,
                           .hasCallback = callback != nullptr,
                           .hasContext = context != nullptr});
  // A number of its own each, so that the use of a registration that is gone shows.
  *registration = ++lastRegistration;
  open[*registration] = *provider;
  return ERROR_SUCCESS;
}

ULONG TraceCapture::Unregister(REGHANDLE registration) {
  ::SetLastError(kSpoiledError);
  if (open.erase(registration) == 1) return ERROR_SUCCESS;
  ++misuses;
  return ERROR_INVALID_HANDLE;
}

ULONG TraceCapture::Write(REGHANDLE registration, const EVENT_DESCRIPTOR* descriptor,
                          ULONG itemCount, const EVENT_DATA_DESCRIPTOR* items) {
  ::SetLastError(kSpoiledError);
  const auto provider = open.find(registration);
  if (provider == open.end()) {
    ++misuses;
    return ERROR_INVALID_HANDLE;
  }
  TraceEvent event{.provider = provider->second, .descriptor = *descriptor, .items = {}};
  std::for_each_n(items, itemCount, [&event](const EVENT_DATA_DESCRIPTOR& item) {
    event.items.push_back(
        {.bytes = {reinterpret_cast<const char*>(item.Ptr), item.Size}, .reserved = item.Reserved});
  });
  events.push_back(event);
  if (isCoverage) KeepForCoverage(event.Decoded());
  return writeAnswer;
}
