#pragma once

#include <filesystem>

#include "soak/SoakMachine.h"

/// Bare calls of Windows of the kinds that changes and dialogs consist of: engines loaded and
/// freed, values written and read, windows made and destroyed. How long they take tells how fast
/// the machine is at that moment.
class ReferenceWork {
 public:
  /// `sandbox` has to outlive this object.
  ReferenceWork(Sandbox& sandbox, const SoakMachine& machine);

  void Run() const;

 private:
  void LoadEngines() const;
  void WriteAndReadValues() const;
  static void MakeWindows();

  const SoakMachine& machine;
  std::filesystem::path file;
};
