#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Finding.h"

namespace EngineCheck {

enum class RecordKind : DWORD {
  kCall,        // what is called, how many milliseconds it may take
  kReturned,    // from the call
  kFinding,     // severity, area, check, text, advice
  kFirstValue,  // the value to set again at the end; from here on the device is being changed
  kRestored,    // the device has its first value again
  kCrash,       // what happened, where
  kDone,        // all checks were made
};

struct Record {
  RecordKind kind;
  std::vector<std::wstring> fields;

  friend bool operator==(const Record&, const Record&) = default;
};

/// A record as it goes through a pipe.
[[nodiscard]] std::string Pack(const Record& record);

/// Puts records together from the parts in which a pipe delivers them.
class RecordReader {
 public:
  void Add(std::string_view bytes) { pending += bytes; }
  /// The next whole record, if there is one.
  [[nodiscard]] std::optional<Record> Next();

 private:
  std::string pending;
};

/// What the process that works with the engine reports to the one that watches it. Each record
/// leaves the process at once, so what an engine does next can't take it back.
class Journal {
 public:
  explicit Journal(HANDLE pipe) noexcept : pipe(pipe) {}

  void Write(RecordKind kind, std::vector<std::wstring> fields = {}) const;
  void Report(const Finding& finding) const;

 private:
  HANDLE pipe;
};

[[nodiscard]] std::optional<Finding> FindingOf(const Record& record);

}  // namespace EngineCheck
