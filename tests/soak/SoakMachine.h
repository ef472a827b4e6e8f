#pragma once

#include "support/Sandbox.h"

/// A machine with two modes, Eco and Cradle, and six setting items whose engines have two, three or
/// five values. Each mode sets four of the items, two of them are common to both. Nobody is asked.
class SoakMachine {
 public:
  static constexpr int kItemCount = 6;

  /// `sandbox` has to outlive this object.
  explicit SoakMachine(Sandbox& sandbox);

  [[nodiscard]] static std::wstring Item(int number) { return L"Item" + std::to_wstring(number); }
  [[nodiscard]] std::filesystem::path Engine(int number) const;
  /// The user's own value of a mode's item; none where nothing was saved.
  [[nodiscard]] std::optional<std::wstring> Saved(const wchar_t* mode, int item) const;

 private:
  void WriteConfiguration();
  void WriteTexts();
  void CopyEngines();

  Sandbox& sandbox;
};
