#include "ConfirmationSuppression.h"

#include <windows.h>

#include "CommandError.h"

namespace {

constexpr const wchar_t* kKey = L"Software\\Brivane\\Kestrola\\ModeChange";
constexpr const wchar_t* kValue = L"NotShowAnnounceModeIsChangeDialog";

}  // namespace

ConfirmationSuppression::ConfirmationSuppression() {
  const DWORD suppress = 1;
  const LSTATUS error =
      ::RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kValue, REG_DWORD, &suppress, sizeof(suppress));
  if (error != ERROR_SUCCESS) {
    throw CommandError{
        L"The confirmation can't be left out: " + DescribeError(static_cast<DWORD>(error)) + L".",
        L"Try again without --no-confirm."};
  }
}

ConfirmationSuppression::~ConfirmationSuppression() {
  ::RegDeleteKeyValueW(HKEY_CURRENT_USER, kKey, kValue);
}
