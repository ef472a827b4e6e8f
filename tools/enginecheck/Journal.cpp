#include "Journal.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace EngineCheck {

namespace {

struct Head {
  RecordKind kind;
  DWORD length;  // of the fields, in bytes
};

}  // namespace

std::string Pack(const Record& record) {
  std::wstring fields;
  // None of the texts holds a zero: they were ended by one where they come from.
  for (const std::wstring& field : record.fields) fields += field + L'\0';
  const Head head = {record.kind, static_cast<DWORD>(fields.size() * sizeof(wchar_t))};
  std::string bytes(sizeof(head) + head.length, '\0');
  std::memcpy(bytes.data(), &head, sizeof(head));
  std::memcpy(bytes.data() + sizeof(head), fields.data(), head.length);
  return bytes;
}

std::optional<Record> RecordReader::Next() {
  Head head{};
  if (pending.size() < sizeof(head)) return std::nullopt;
  std::memcpy(&head, pending.data(), sizeof(head));
  if (pending.size() - sizeof(head) < head.length) return std::nullopt;

  std::wstring fields(head.length / sizeof(wchar_t), L'\0');
  std::memcpy(fields.data(), pending.data() + sizeof(head), head.length);
  pending.erase(0, sizeof(head) + head.length);

  Record record = {head.kind, {}};
  for (std::size_t start = 0; start < fields.size();) {
    const std::size_t end = std::min(fields.find(L'\0', start), fields.size());
    record.fields.push_back(fields.substr(start, end - start));
    start = end + 1;
  }
  return record;
}

void Journal::Write(RecordKind kind, std::vector<std::wstring> fields) const {
  const std::string bytes = Pack({kind, std::move(fields)});
  // Where nobody reads any more the watching process is gone, and this one goes with it.
  DWORD written = 0;
  ::WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void Journal::Report(const Finding& finding) const {
  Write(RecordKind::kFinding, {std::to_wstring(static_cast<int>(finding.severity)), finding.area,
                               finding.check, finding.text, finding.advice});
}

std::optional<Finding> FindingOf(const Record& record) {
  constexpr std::size_t kFieldCount = 5;
  if (record.kind != RecordKind::kFinding || record.fields.size() != kFieldCount) {
    return std::nullopt;
  }
  const int severity = record.fields[0].empty() ? 0 : record.fields[0][0] - L'0';
  return Finding{static_cast<Severity>(severity), record.fields[1], record.fields[2],
                 record.fields[3], record.fields[4]};
}

}  // namespace EngineCheck
