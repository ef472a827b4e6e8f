#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "fuzz/Random.h"

/// One way in which an INI file comes to harm on its way from the text to the disk: while it was
/// edited, while it was saved, or while it lay there. Null is no harm.
struct Damage {
  using Lines = std::vector<std::wstring>;

  const char* name = "";
  std::uint64_t inputs = 0;  // how many inputs of this kind are worth their time
  void (*edit)(Random& random, Lines* lines) = nullptr;
  std::string (*save)(Random& random, const std::wstring& text) = nullptr;
  void (*spoil)(Random& random, std::string* bytes) = nullptr;

  /// The file that a sound text of these lines becomes.
  [[nodiscard]] std::string Apply(Random& random, Lines lines) const;

  [[nodiscard]] static const std::vector<Damage>& All();
};

inline void PrintTo(const Damage& damage, std::ostream* stream) {
  *stream << damage.name;
}
