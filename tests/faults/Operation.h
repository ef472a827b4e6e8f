#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "faults/Machine.h"

/// Something that a host or a user does with the library, to be done over and over with one call
/// failing after the other.
struct Operation {
  std::string name;
  /// The export, or the method, whose own trace tells of a failure.
  std::string tracedBy;
  /// Makes what the operation starts from, on a machine that was reset.
  std::function<void(Machine&)> prepare;
  /// The operation. Returns what came out, "FALSE" for a failure.
  std::function<std::string(Machine&)> act;

  /// What else may come out where a call fails.
  std::set<std::string> alternatives = {};
  /// Whether the host is told how it ended, in a message.
  bool isChange = false;
  /// Restores what another go takes.
  std::function<void(Machine&)> prepareAgain = {};
  /// Values that a failure may leave beside the old and the new one; "" for none.
  std::map<std::string, std::set<std::string>> alsoLeaves = {};
};

/// Calls a function that may run out of memory; "bad_alloc" when it did.
[[nodiscard]] std::string CallExport(Machine& machine, const std::function<std::string()>& call);

[[nodiscard]] std::vector<Operation> AllOperations();
