#include "unit/support/InterpositionTarget.h"

#include <cmath>
#include <cstdlib>

namespace InterpositionTarget {

HMODULE Module() {
  HMODULE module = nullptr;
  ::GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<const wchar_t*>(&Module), &module);
  return module;
}

DWORD CallGetFileAttributes(const wchar_t* path) {
  return ::GetFileAttributesW(path);
}

HANDLE CallCreateFile(const wchar_t* path) {
  return ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

void CallCloseHandle(HANDLE file) {
  ::CloseHandle(file);
}

HMODULE CallGetModuleHandleA(const char* name) {
  return ::GetModuleHandleA(name);
}

HWND CallCreateWindowEx(const wchar_t* title, int x, int y, int width, int height) {
  return ::CreateWindowExW(WS_EX_TOOLWINDOW, L"STATIC", title, WS_POPUP, x, y, width, height,
                           nullptr, nullptr, Module(), nullptr);
}

void CallSetLastError(DWORD error) {
  ::SetLastError(error);
}

DWORD CallGetLastError() {
  return ::GetLastError();
}

double CallBessel(int order, double value) {
  return ::_jn(order, value);
}

void CallSort(int* numbers, std::size_t count, int (*compare)(const void*, const void*)) {
  std::qsort(numbers, count, sizeof(*numbers), compare);
}

void* CallMalloc(std::size_t size) {
  return std::malloc(size);
}

void CallFree(void* memory) {
  std::free(memory);
}

int CallLoadString(UINT id, wchar_t* buffer, int size) {
  return ::LoadStringW(Module(), id, buffer, size);
}

}  // namespace InterpositionTarget
