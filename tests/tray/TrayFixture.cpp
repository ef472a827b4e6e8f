#include "tray/TrayFixture.h"

namespace {

constexpr UINT kGetMenuHandle = 0x01E1;  // MN_GETHMENU

/// The pixels of an icon, as a text that can be compared.
std::wstring ReadPixels(HICON icon) {
  constexpr int kSize = 16;
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = kSize;
  info.bmiHeader.biHeight = kSize;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  HDC dc = ::CreateCompatibleDC(nullptr);
  HBITMAP bitmap = ::CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  HGDIOBJ former = ::SelectObject(dc, bitmap);
  std::wstring pixels;
  if (icon != nullptr &&
      ::DrawIconEx(dc, 0, 0, icon, kSize, kSize, 0, nullptr, DI_NORMAL) != FALSE) {
    ::GdiFlush();
    pixels.assign(static_cast<const wchar_t*>(bits), std::size_t{kSize} * kSize * 2);
  }
  ::SelectObject(dc, former);
  ::DeleteObject(bitmap);
  ::DeleteDC(dc);
  return pixels;
}

}  // namespace

TrayTest::TrayTest() : trayModule(::GetModuleHandleW(L"ModetrayInternals.dll")), tray(trayModule) {
  tray.Replace("Shell_NotifyIconW", [this](DWORD message, NOTIFYICONDATAW* data) -> BOOL {
    return TellTaskbar(message, *data);
  });
  tray.Replace("Shell_NotifyIconGetRect", [](const NOTIFYICONIDENTIFIER*, RECT* place) -> HRESULT {
    *place = {40, 60, 56, 76};
    return S_OK;
  });
  tray.Replace("SHGetSpecialFolderPathW", [this](HWND, wchar_t* path, int, BOOL) -> BOOL {
    const std::wstring found = (sandbox.LibraryFolder() / L"ProgramData").wstring();
    path[found.copy(path, MAX_PATH - 1)] = L'\0';
    return TRUE;
  });
  tray.Replace("MessageBoxW",
               [this](HWND, const wchar_t* text, const wchar_t* caption, UINT flags) -> int {
                 boxes.push_back(std::wstring(text) + L" | " + caption + L" | " +
                                 std::to_wstring(flags & MB_ICONMASK));
                 if (onBox) onBox();
                 return IDOK;
               });
  texts.emplace(trayModule, LANGID{MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US)});
}

TrayTest::~TrayTest() {
  application.reset();
  EXPECT_FALSE(icon.isThere) << "The icon is left in the notification area.";
  EXPECT_THAT(icon.balloons, ::testing::IsEmpty()) << "Balloons that the test did not expect.";
  EXPECT_THAT(boxes, ::testing::IsEmpty()) << "Message boxes that the test did not expect.";
}

void TrayTest::Start() {
  application.emplace(trayModule, *texts);
}

void TrayTest::ThenExit() {
  ClickIcon();
  ThenPressInMenu(L"x");
}

void TrayTest::ClickIcon(UINT event) const {
  ASSERT_NE(icon.window, nullptr);
  ::PostMessageW(icon.window, icon.message, MAKEWPARAM(100, 200), MAKELPARAM(event, 1));
}

void TrayTest::ThenPressInMenu(const std::wstring& keys) {
  robot.Then(
      "the menu for " + Text::ToUtf8(keys), [] { return FindMenu() != nullptr; },
      [this, keys] {
        for (const wchar_t key : keys) {
          if (key == L'E') {
            ::PostMessageW(icon.window, WM_KEYDOWN, VK_ESCAPE, 0);
          } else {
            ::PostMessageW(icon.window, WM_CHAR, key, 0);
          }
        }
      });
}

void TrayTest::ChooseFromMenu(const std::wstring& keys) {
  ThenPressInMenu(keys);
  ClickIcon();
  EXPECT_TRUE(PumpUntil([this] { return robot.Left() == 0; }));
  EXPECT_TRUE(PumpUntil([] { return FindMenu() == nullptr; }));
}

std::vector<std::wstring> TrayTest::ReadMenu() {
  std::vector<std::wstring> items;
  robot.Then(
      "the menu to read", [] { return FindMenu() != nullptr; },
      [this, &items] {
        AppendItems(FindMenu(), L"", &items);
        ::PostMessageW(icon.window, WM_KEYDOWN, VK_ESCAPE, 0);
      });
  ClickIcon();
  EXPECT_TRUE(PumpUntil([&items] { return !items.empty() && FindMenu() == nullptr; }));
  return items;
}

HMENU TrayTest::FindMenu() {
  HMENU menu = nullptr;
  ::EnumThreadWindows(
      ::GetCurrentThreadId(),
      [](HWND window, LPARAM found) -> BOOL {
        if (ClassOf(window) != L"#32768" || ::IsWindowVisible(window) == FALSE) return TRUE;
        *reinterpret_cast<HMENU*>(found) =
            reinterpret_cast<HMENU>(::SendMessageW(window, kGetMenuHandle, 0, 0));
        return FALSE;
      },
      reinterpret_cast<LPARAM>(&menu));
  return menu;
}

void TrayTest::SwitchInMenu(const std::wstring& key) {
  ChooseFromMenu(key);
  EXPECT_TRUE(WaitForBalloons(1));
}

bool TrayTest::WaitForBalloons(std::size_t count) {
  return PumpUntil([this, count] { return icon.balloons.size() >= count; });
}

std::wstring TrayTest::TakeBalloon() {
  if (icon.balloons.size() != 1) return L"balloons: " + std::to_wstring(icon.balloons.size());
  const std::wstring balloon = icon.balloons.front();
  icon.balloons.clear();
  return balloon;
}

std::wstring TrayTest::Picture(const wchar_t* name) const {
  auto* loaded = static_cast<HICON>(::LoadImageW(trayModule, name, IMAGE_ICON, 16, 16, 0));
  const std::wstring pixels = ReadPixels(loaded);
  ::DestroyIcon(loaded);
  return pixels;
}

void TrayTest::SetIconKey(int status, const wchar_t* key) const {
  const std::wstring file = (sandbox.LibraryFolder() / L"ModeChange.Config.ini").wstring();
  ::WritePrivateProfileStringW((L"ModeStatus" + std::to_wstring(status)).c_str(),
                               L"ModeStatusIconKeyName", key, file.c_str());
}

void TrayTest::TellTaskbarCreated() const {
  ::SendMessageW(icon.window, ::RegisterWindowMessageW(L"TaskbarCreated"), 0, 0);
}

BOOL TrayTest::TellTaskbar(DWORD message, const NOTIFYICONDATAW& data) {
  EXPECT_EQ(data.cbSize, sizeof(data));
  icon.window = data.hWnd;
  if (!taskbarAnswers) return FALSE;
  if (message == NIM_ADD) {
    if (icon.isThere) return FALSE;
    icon.isThere = true;
    ++icon.timesAdded;
  }
  if (!icon.isThere) return FALSE;
  if (message == NIM_DELETE) icon.isThere = false;
  if (message == NIM_SETVERSION) icon.version = data.uVersion;
  if (message == NIM_ADD || message == NIM_MODIFY) {
    if ((data.uFlags & NIF_MESSAGE) != 0) icon.message = data.uCallbackMessage;
    if ((data.uFlags & NIF_TIP) != 0) icon.tip = data.szTip;
    if ((data.uFlags & NIF_ICON) != 0) icon.picture = ReadPixels(data.hIcon);
    if ((data.uFlags & NIF_INFO) != 0) {
      icon.balloons.push_back(std::wstring(data.szInfoTitle) + L" | " + data.szInfo + L" | " +
                              std::to_wstring(data.dwInfoFlags & NIIF_ICON_MASK));
    }
  }
  return TRUE;
}

void TrayTest::AppendItems(HMENU menu, const std::wstring& prefix,
                           std::vector<std::wstring>* items) {
  for (UINT index = 0; index < static_cast<UINT>(::GetMenuItemCount(menu)); ++index) {
    wchar_t label[256]{};
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_FTYPE | MIIM_STATE | MIIM_STRING | MIIM_SUBMENU;
    info.dwTypeData = label;
    info.cch = 256;
    EXPECT_NE(::GetMenuItemInfoW(menu, index, TRUE, &info), FALSE);
    if ((info.fType & MFT_SEPARATOR) != 0) {
      items->push_back(L"-");
      continue;
    }
    const wchar_t* const check = (info.fState & MFS_CHECKED) != 0 ? L"[x] " : L"[ ] ";
    items->push_back(prefix + ((info.fState & MFS_GRAYED) != 0 ? L"( ) " : check) + label);
    if (info.hSubMenu != nullptr) AppendItems(info.hSubMenu, prefix + L"> ", items);
  }
}
