#include "SingleInstance.h"

// Access may be denied to the mark of one that was started as an administrator: it is there, too.
SingleInstance::SingleInstance(const wchar_t* name)
    : mark(::CreateMutexW(nullptr, FALSE, name)),
      isFirst(mark != nullptr && ::GetLastError() != ERROR_ALREADY_EXISTS) {}
