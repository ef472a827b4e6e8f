#include "unit/devices/DriverFixture.h"

namespace {

constexpr const wchar_t* kKey = L"SOFTWARE\\Brivane\\QTX05A9";

}  // namespace

DriverTest::DriverTest() {
  // Volatile, as the sandbox's own keys are.
  ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                    nullptr, &key, nullptr);
}

DriverTest::~DriverTest() {
  ::RegCloseKey(key);
}

void DriverTest::InstallDriver() {
  sandbox.MakeFolder(DriverFolder());
  driver.emplace(DriverPath());
  SetPath(DriverFolder(), L"Hotkey.dll");
}

std::wstring DriverTest::DriverFolder() const {
  return sandbox.LibraryFolder().wstring() + L"\\Driver";
}

std::vector<std::wstring> DriverTest::FoldersThatAreNotFull() const {
  const std::wstring drive = sandbox.LibraryFolder().root_name().wstring();
  return {L"Driver",
          L"Driver\\",
          L".\\Driver",
          L"Driver\\..\\Driver",
          drive + L"Driver",
          drive + L".\\Driver",
          DriverFolder().substr(drive.size()),
          L"/" + DriverFolder().substr(drive.size() + 1)};
}

void DriverTest::SetPath(const std::wstring& folder, const std::wstring& name) {
  SetText(L"InstPath", folder);
  SetText(L"DllName", name);
}

void DriverTest::SetText(const wchar_t* value, const std::wstring& text, DWORD type) {
  SetBytes(value, text, static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)), type);
}

void DriverTest::SetBytes(const wchar_t* value, const std::wstring& text, DWORD byteCount,
                          DWORD type) {
  // Where a terminator follows the bytes, some systems store it with them.
  std::wstring stored = text;
  if (byteCount > text.size() * sizeof(wchar_t)) stored += L'\0';
  stored += L"more";
  ASSERT_EQ(::RegSetValueExW(key, value, 0, type, reinterpret_cast<const BYTE*>(stored.c_str()),
                             byteCount),
            ERROR_SUCCESS);
}

void DriverTest::RemoveValue(const wchar_t* value) {
  ASSERT_EQ(::RegDeleteValueW(key, value), ERROR_SUCCESS);
}

void DriverTest::RemoveKey() {
  ASSERT_EQ(::RegDeleteKeyW(HKEY_LOCAL_MACHINE, kKey), ERROR_SUCCESS);
}

std::vector<std::wstring> DriverTest::PathsGivenTo(std::string_view function) const {
  std::vector<std::wstring> paths;
  for (const Call& call : interposition.CallsOf(function)) paths.emplace_back(call.Text(0));
  return paths;
}
