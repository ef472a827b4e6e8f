#include "support/RegistrySandbox.h"

#include <iterator>
#include <stdexcept>

namespace {

// Each process has a key right here: below one that they shared, a process that removes the shared
// key would now and then take it from another that is just making its own.
constexpr const wchar_t* kKey = L"Software\\ModeChangeTests-";

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

RegistrySandbox::RegistrySandbox() : path(kKey + std::to_wstring(::GetCurrentProcessId())) {
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
}
