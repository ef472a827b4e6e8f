#include "support/RegistrySandbox.h"

#include <iterator>
#include <stdexcept>

namespace {

constexpr const wchar_t* kParent = L"Software\\ModeChangeTests";

struct Redirection {
  HKEY root;
  const wchar_t* name;
};

const Redirection kRedirections[] = {{HKEY_LOCAL_MACHINE, L"LocalMachine"},
                                     {HKEY_CURRENT_USER, L"CurrentUser"}};

void Check(LSTATUS status, const char* action) {
  if (status != ERROR_SUCCESS) {
    throw std::runtime_error(std::string(action) + ": error " + std::to_string(status));
  }
}

}  // namespace

RegistrySandbox::RegistrySandbox()
    : path(std::wstring(kParent) + L"\\" + std::to_wstring(::GetCurrentProcessId())) {
  // What a crashed process of the same number left.
  ::RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());

  HKEY keys[std::size(kRedirections)] = {};
  for (std::size_t i = 0; i < std::size(keys); ++i) {
    Check(::RegCreateKeyExW(HKEY_CURRENT_USER, (path + L"\\" + kRedirections[i].name).c_str(), 0,
                            nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &keys[i],
                            nullptr),
          "making a registry key");
  }
  for (std::size_t i = 0; i < std::size(keys); ++i) {
    Check(::RegOverridePredefKey(kRedirections[i].root, keys[i]), "redirecting the registry");
    ::RegCloseKey(keys[i]);
  }
}

RegistrySandbox::~RegistrySandbox() {
  for (const Redirection& redirection : kRedirections) {
    ::RegOverridePredefKey(redirection.root, nullptr);
  }
  ::RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
  // Fails, as it should, while another process has its keys there.
  ::RegDeleteKeyW(HKEY_CURRENT_USER, kParent);
}
