#pragma once

#include <windows.h>

#include <string>

/// While it lives this process, its library included, sees an empty HKEY_LOCAL_MACHINE and an empty
/// HKEY_CURRENT_USER: two new keys elsewhere, which are deleted afterwards.
class RegistrySandbox {
 public:
  RegistrySandbox();
  ~RegistrySandbox();
  RegistrySandbox(const RegistrySandbox&) = delete;
  RegistrySandbox& operator=(const RegistrySandbox&) = delete;

  /// Where the two keys are, below the true HKEY_CURRENT_USER.
  [[nodiscard]] const std::wstring& Path() const noexcept { return path; }

 private:
  std::wstring path;
};
