#include "ErrorBox.h"

#include "StringIds.h"

std::wstring DescribeForUser(const CommandError& error, const Texts& texts) {
  switch (error.cause) {
    case CommandError::Cause::kLibraryMissing:
      return texts.Format(IDS_ERROR_LIBRARY_MISSING, {error.place});
    case CommandError::Cause::kLibraryDamaged:
      return texts.Format(IDS_ERROR_LIBRARY_DAMAGED, {error.place});
    case CommandError::Cause::kConfiguration:
      return texts.Format(IDS_ERROR_CONFIGURATION, {error.place});
    case CommandError::Cause::kAnswer:
      return texts.Get(IDS_ERROR_ANSWER);
    case CommandError::Cause::kRequest:
      return texts.Get(IDS_ERROR_REQUEST);
    case CommandError::Cause::kSettings:
      return texts.Get(IDS_ERROR_SETTINGS);
    case CommandError::Cause::kDataFolder:
      return texts.Format(IDS_ERROR_DATA_FOLDER, {error.place});
    case CommandError::Cause::kOther:
      break;
  }
  // So rare that it is told in English.
  return error.problem + L"\n\n" + error.remedy;
}

void ShowBox(HWND owner, const std::wstring& text, UINT icon, const Texts& texts) {
  // To the foreground: this program has no window that the user would look at.
  ::MessageBoxW(owner, text.c_str(), texts.Get(IDS_APPLICATION).c_str(),
                MB_OK | MB_SETFOREGROUND | icon);
}
