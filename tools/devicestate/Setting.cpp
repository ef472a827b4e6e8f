#include "Setting.h"

#include <algorithm>
#include <iterator>

namespace Settings {

const Setting* Find(std::wstring_view name) noexcept {
  const auto* const found =
      std::find_if(std::begin(kAll), std::end(kAll),
                   [name](const Setting& setting) { return setting.name == name; });
  return found == std::end(kAll) ? nullptr : found;
}

bool Read(const Setting& setting, UINT* value) noexcept {
  UINT answer = 0;
  if (::SystemParametersInfoW(setting.getAction, 0, &answer, 0) == FALSE) return false;
  *value = answer;
  return true;
}

bool Write(const Setting& setting, UINT value) noexcept {
  // Wine takes the pointer's speed in the number, Windows in the pointer: it goes into both. The
  // other settings take no number where they have a pointer, and neither looks at it.
  void* const pointer = setting.isSetByPointer ? reinterpret_cast<void*>(UINT_PTR{value}) : nullptr;
  return ::SystemParametersInfoW(setting.setAction, value, pointer, SPIF_UPDATEINIFILE) != FALSE;
}

}  // namespace Settings
