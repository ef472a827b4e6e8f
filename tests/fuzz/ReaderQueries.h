#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/CWideString.h"
#include "fuzz/Random.h"
#include "support/Interposition.h"
#include "support/TraceCapture.h"

/// Asks each reader everything, about the names that it just read and about odd ones, and expects
/// what holds whatever is in the files:
///
/// - what fails traces under its own name last and leaves its outputs as they were, and what works
///   traces nothing;
/// - a list or text is not longer than a file could hold, and a query makes no more calls than one
///   for each key that the file could hold;
/// - a list with a large count begins with the keys that trying one by one finds;
/// - each trace registration is given back.
class ReaderQueries {
 public:
  /// All files that the readers look for have to be there; the longest has `mostBytes` bytes.
  ReaderQueries(Interposition& interposition, TraceCapture& traces, Random& random,
                std::size_t mostBytes);

  void AskAll();

 private:
  using Names = std::vector<CWideString>;

  template <class Operation>
  bool Ask(const wchar_t* function, Operation operation);
  template <class Operation>
  void AskText(const wchar_t* function, Operation operation);
  template <class Value, class Operation>
  void AskValue(const wchar_t* function, Value untouched, Operation operation);
  template <class Operation>
  Names AskList(const wchar_t* function, Operation operation);

  void AskConfig();
  void AskForLock(const wchar_t* item);
  void AskResource();
  void AskSettings();
  void AskStatus();
  void Save();

  void ExpectKeysOneByOne(const wchar_t* section, const wchar_t* countKey, const wchar_t* nameKey,
                          const Names& names) const;
  [[nodiscard]] std::uint64_t CountOfReads() const;
  /// Some of the names, and some that no file has.
  [[nodiscard]] Names Choose(const Names& names);

  Interposition& interposition;
  TraceCapture& traces;
  Random& random;
  std::size_t mostBytes;
  Names modes;
  Names items;
  Names groups;
};
