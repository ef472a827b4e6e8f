#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "Modes.h"

struct IconDeleter {
  void operator()(HICON owned) const noexcept { ::DestroyIcon(owned); }
};
using UniqueIcon = std::unique_ptr<std::remove_pointer_t<HICON>, IconDeleter>;

/// The mode that is ON; null where none is. (There is at most one: switching a mode ON switches the
/// others OFF.)
[[nodiscard]] const Mode* FindModeThatIsOn(const std::vector<Mode>& modes);

/// The pictures that would suit, the best one first, as names of icon resources.
///
/// The configuration names a picture by the icon key of the mode's status. A key followed by the
/// mode's type, such as "IconModeOn_Eco", is a picture for modes of that type. The last one is a
/// picture that is always there, as a maker may use keys that this program has no picture for.
[[nodiscard]] std::vector<std::wstring> GetPictureNames(const std::vector<Mode>& modes);

/// The first of them that `instance` has, in the size of the notification area.
[[nodiscard]] UniqueIcon LoadStatusPicture(HINSTANCE instance, const std::vector<Mode>& modes);
