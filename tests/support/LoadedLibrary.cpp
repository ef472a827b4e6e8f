#include "support/LoadedLibrary.h"

#include <stdexcept>
#include <string>

#include "support/Files.h"

LoadedLibrary::LoadedLibrary()
    : module(::LoadLibraryW((Files::ProgramPath().parent_path() / L"ModeChange.dll").c_str())) {
  if (module == nullptr) {
    throw std::runtime_error("ModeChange.dll can't be loaded: error " +
                             std::to_string(::GetLastError()));
  }
}

LoadedLibrary::~LoadedLibrary() {
  ::FreeLibrary(module);
}
