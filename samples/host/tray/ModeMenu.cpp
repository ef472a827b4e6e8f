#include "ModeMenu.h"

#include <new>
#include <string>

#include "StringIds.h"

namespace {

// Commands: 0 means that nothing was chosen.
constexpr UINT_PTR kExit = 1;
constexpr UINT_PTR kFirstMode = 2;  // then one command for each mode, then one for its settings

/// The first nine are reached by their digit. Elsewhere, an ampersand in a name is no mark of an
/// access key.
std::wstring LabelMode(const std::vector<Mode>& modes, std::size_t index) {
  std::wstring label = index < 9 ? L"&" + std::to_wstring(index + 1) + L" " : L"";
  for (const wchar_t character : modes[index].name) {
    label += character;
    if (character == L'&') label += character;
  }
  return label;
}

UINT GetState(bool enabled) {
  return enabled ? MF_ENABLED : MF_GRAYED;
}

void Append(HMENU menu, UINT flags, UINT_PTR command, const std::wstring& label) {
  if (::AppendMenuW(menu, flags, command, label.c_str()) == FALSE) throw std::bad_alloc();
}

}  // namespace

ModeMenu::ModeMenu(const std::vector<Mode>& modes, Enabled enabled, const Texts& texts)
    : menu(MakeMenu()), modeCount(modes.size()) {
  for (std::size_t index = 0; index < modeCount; ++index) {
    const UINT check = modes[index].status == VELTO_MODE_STATUS_ON ? MF_CHECKED : MF_UNCHECKED;
    Append(menu.get(), MF_STRING | check | GetState(enabled.modes), kFirstMode + index,
           LabelMode(modes, index));
  }
  Append(menu.get(), MF_SEPARATOR, 0, L"");

  UniqueMenu settings = MakeMenu();
  for (std::size_t index = 0; index < modeCount; ++index) {
    Append(settings.get(), MF_STRING, kFirstMode + modeCount + index,
           LabelMode(modes, index) + L"…");
  }
  // Without a mode the library has no settings to show.
  const bool hasSettings = enabled.modes && modeCount != 0;
  Append(menu.get(), MF_POPUP | GetState(hasSettings), reinterpret_cast<UINT_PTR>(settings.get()),
         texts.Get(IDS_MENU_SETTINGS));
  static_cast<void>(settings.release());  // goes with the menu that it is a part of now

  Append(menu.get(), MF_SEPARATOR, 0, L"");
  Append(menu.get(), MF_STRING | GetState(enabled.exit), kExit, texts.Get(IDS_MENU_EXIT));
}

std::optional<ModeMenu::Choice> ModeMenu::Ask(HWND window, POINT place) const {
  // Above the pointer unless the user has menus the other way round; Windows moves it where there
  // is room.
  const UINT alignment =
      ::GetSystemMetrics(SM_MENUDROPALIGNMENT) != 0 ? TPM_RIGHTALIGN : TPM_LEFTALIGN;
  const BOOL command = ::TrackPopupMenuEx(
      menu.get(), alignment | TPM_BOTTOMALIGN | TPM_RIGHTBUTTON | TPM_RETURNCMD | TPM_NONOTIFY,
      place.x, place.y, window, nullptr);
  // The menu of a notification icon needs a message after it, or it would close at once the next
  // time that it is opened.
  ::PostMessageW(window, WM_NULL, 0, 0);

  const auto chosen = static_cast<UINT_PTR>(command);
  if (chosen == 0) return std::nullopt;
  if (chosen == kExit) return Choice{Action::kExit, 0};
  const std::size_t index = chosen - kFirstMode;
  if (index < modeCount) return Choice{Action::kSwitch, index};
  return Choice{Action::kSettings, index - modeCount};
}

ModeMenu::UniqueMenu ModeMenu::MakeMenu() {
  UniqueMenu made(::CreatePopupMenu());
  if (!made) throw std::bad_alloc();
  return made;
}
