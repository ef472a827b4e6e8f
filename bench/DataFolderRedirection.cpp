#include "DataFolderRedirection.h"

// windows.h first (through DataFolderRedirection.h): shlobj.h needs its types.
#include <shlobj.h>

#include <cwchar>
#include <stdexcept>

#include "support/PeImage.h"

DataFolderRedirection::DataFolderRedirection(HMODULE module,
                                             const std::filesystem::path& applicationData) {
  answer = applicationData.wstring();
  for (const PeImage::Import& import : PeImage(module).Imports()) {
    if (import.function == "SHGetSpecialFolderPathW") {
      slot = reinterpret_cast<void**>(reinterpret_cast<char*>(module) + import.slot);
    }
  }
  if (slot == nullptr) throw std::runtime_error("the library does not ask for a data folder");
  original = *slot;
  Set(reinterpret_cast<void*>(&DataFolderRedirection::Answer));
}

DataFolderRedirection::~DataFolderRedirection() {
  Set(original);
}

BOOL WINAPI DataFolderRedirection::Answer(HWND window, wchar_t* path, int folder, BOOL create) {
  ::SHGetSpecialFolderPathW(window, path, folder, create);
  std::wcscpy(path, answer.c_str());
  return TRUE;
}

void DataFolderRedirection::Set(void* function) const {
  DWORD protection = 0;
  ::VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
  *slot = function;
  ::VirtualProtect(slot, sizeof(*slot), protection, &protection);
}
