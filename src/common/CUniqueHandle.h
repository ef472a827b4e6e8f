#pragma once

#include <windows.h>

#include <utility>

/// Owns one Windows object and closes it once; closing never changes the thread's last error.
///
/// `Traits` names the raw type, the value that means "none" and the call that closes:
///     struct Traits { using Type = ...; static Type None(); static void Close(Type); };
template <class Traits>
class CUniqueHandle {
 public:
  using Type = typename Traits::Type;

  CUniqueHandle() noexcept = default;
  explicit CUniqueHandle(Type handle) noexcept : handle(handle) {}
  CUniqueHandle(CUniqueHandle&& other) noexcept
      : handle(std::exchange(other.handle, Traits::None())) {}
  CUniqueHandle& operator=(CUniqueHandle&& other) noexcept {
    CUniqueHandle taken(std::move(other));
    std::swap(handle, taken.handle);
    return *this;
  }
  CUniqueHandle(const CUniqueHandle&) = delete;
  CUniqueHandle& operator=(const CUniqueHandle&) = delete;
  ~CUniqueHandle() {
    if (!*this) return;
    const DWORD lastError = ::GetLastError();
    Traits::Close(handle);
    ::SetLastError(lastError);
  }

  [[nodiscard]] Type Get() const noexcept { return handle; }
  /// Gives the object up without closing it.
  [[nodiscard]] Type Release() noexcept { return std::exchange(handle, Traits::None()); }
  explicit operator bool() const noexcept { return handle != Traits::None(); }

 private:
  Type handle = Traits::None();
};

struct FileHandleTraits {
  using Type = HANDLE;
  static Type None() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(Type handle) noexcept { ::CloseHandle(handle); }
};
using CUniqueFile = CUniqueHandle<FileHandleTraits>;

struct FindHandleTraits {
  using Type = HANDLE;
  static Type None() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(Type handle) noexcept { ::FindClose(handle); }
};
using CUniqueFind = CUniqueHandle<FindHandleTraits>;

/// Memory that a Windows call allocated with LocalAlloc.
struct LocalMemoryTraits {
  using Type = void*;
  static Type None() noexcept { return nullptr; }
  static void Close(Type memory) noexcept { ::LocalFree(memory); }
};
using CUniqueLocalMemory = CUniqueHandle<LocalMemoryTraits>;

/// A DLL that was loaded with LoadLibrary.
struct ModuleTraits {
  using Type = HMODULE;
  static Type None() noexcept { return nullptr; }
  static void Close(Type module) noexcept { ::FreeLibrary(module); }
};
using CUniqueModule = CUniqueHandle<ModuleTraits>;

struct RegistryKeyTraits {
  using Type = HKEY;
  static Type None() noexcept { return nullptr; }
  static void Close(Type key) noexcept { ::RegCloseKey(key); }
};
using CUniqueRegistryKey = CUniqueHandle<RegistryKeyTraits>;

struct WindowsHookTraits {
  using Type = HHOOK;
  static Type None() noexcept { return nullptr; }
  static void Close(Type hook) noexcept { ::UnhookWindowsHookEx(hook); }
};
using CUniqueWindowsHook = CUniqueHandle<WindowsHookTraits>;

template <class GdiObject>
struct GdiObjectTraits {
  using Type = GdiObject;
  static Type None() noexcept { return nullptr; }
  static void Close(Type object) noexcept { ::DeleteObject(object); }
};
using CUniqueBrush = CUniqueHandle<GdiObjectTraits<HBRUSH>>;
using CUniqueFont = CUniqueHandle<GdiObjectTraits<HFONT>>;
