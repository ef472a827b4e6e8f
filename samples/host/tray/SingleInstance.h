#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

/// Marks that this program runs in the user's session, as long as this object lives.
class SingleInstance {
 public:
  explicit SingleInstance(const wchar_t* name);

  /// Whether no other one had made the mark before.
  [[nodiscard]] bool IsFirst() const noexcept { return isFirst; }

 private:
  struct HandleDeleter {
    void operator()(HANDLE owned) const noexcept { ::CloseHandle(owned); }
  };

  std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleDeleter> mark;
  bool isFirst;
};
