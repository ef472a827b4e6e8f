#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/ModeChangeTest.h"
#include "support/ScriptedDriver.h"
#include "unit/devices/ExportOverrides.h"

/// A machine with the registry key of the hotkey driver, without values and without a driver.
class DriverTest : public ModeChangeTest {
 protected:
  DriverTest();
  ~DriverTest() override;

  /// A driver beside the library, and its values in the registry.
  void InstallDriver();
  [[nodiscard]] std::wstring DriverFolder() const;
  [[nodiscard]] std::wstring DriverPath() const { return DriverFolder() + L"\\Hotkey.dll"; }

  /// Ways to name the driver's folder that depend on the current folder, where that is the
  /// library's.
  [[nodiscard]] std::vector<std::wstring> FoldersThatAreNotFull() const;

  void SetPath(const std::wstring& folder, const std::wstring& name);
  /// A whole, terminated text.
  void SetText(const wchar_t* value, const std::wstring& text, DWORD type = REG_SZ);
  /// As many bytes of the text as told, which may be without a terminator or half a character.
  void SetBytes(const wchar_t* value, const std::wstring& text, DWORD byteCount,
                DWORD type = REG_SZ);
  void RemoveValue(const wchar_t* value);
  void RemoveKey();

  /// The first argument of each call of a function since the calls were cleared.
  [[nodiscard]] std::vector<std::wstring> PathsGivenTo(std::string_view function) const;

  ExportOverrides exports{interposition};
  std::optional<ScriptedDriver> driver;

 private:
  HKEY key = nullptr;
};
