#pragma once

#include <windows.h>

#include <cstddef>

/// The functions of InterpositionTarget.dll, a module for the tests of the tests: each makes the
/// call of Windows or of the C runtime that it is named after.
namespace InterpositionTarget {

HMODULE Module();

DWORD CallGetFileAttributes(const wchar_t* path);
HANDLE CallCreateFile(const wchar_t* path);
void CallCloseHandle(HANDLE file);
HMODULE CallGetModuleHandleA(const char* name);
/// All twelve arguments: a window without a parent at the given place.
HWND CallCreateWindowEx(const wchar_t* title, int x, int y, int width, int height);
void CallSetLastError(DWORD error);
DWORD CallGetLastError();
/// Takes a number before and one after a floating point argument and returns a third.
double CallBessel(int order, double value);
/// The C runtime calls back.
void CallSort(int* numbers, std::size_t count, int (*compare)(const void*, const void*));
void* CallMalloc(std::size_t size);
void CallFree(void* memory);
int CallLoadString(UINT id, wchar_t* buffer, int size);

}  // namespace InterpositionTarget
