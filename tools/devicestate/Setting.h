#pragma once

#include <windows.h>

#include <string_view>

/// One number that Windows keeps of this user's devices.
struct Setting {
  const wchar_t* name;
  UINT getAction;
  UINT setAction;
  UINT smallest;
  UINT largest;
  bool isSetByPointer;  // which of SystemParametersInfo's arguments takes a new value
};

namespace Settings {

inline constexpr Setting kAll[] = {
    {L"visual-effects", SPI_GETUIEFFECTS, SPI_SETUIEFFECTS, 0, 1, true},
    {L"screen-saver", SPI_GETSCREENSAVEACTIVE, SPI_SETSCREENSAVEACTIVE, 0, 1, false},
    {L"screen-saver-seconds", SPI_GETSCREENSAVETIMEOUT, SPI_SETSCREENSAVETIMEOUT, 0, 599940, false},
    {L"pointer-speed", SPI_GETMOUSESPEED, SPI_SETMOUSESPEED, 1, 20, true},
    {L"keyboard-delay", SPI_GETKEYBOARDDELAY, SPI_SETKEYBOARDDELAY, 0, 3, false},
};

/// Null when there is no such setting.
[[nodiscard]] const Setting* Find(std::wstring_view name) noexcept;

[[nodiscard]] bool Read(const Setting& setting, UINT* value) noexcept;

/// Also writes the user's profile, where the next program finds the value.
[[nodiscard]] bool Write(const Setting& setting, UINT value) noexcept;

}  // namespace Settings
