#include "StatusPicture.h"

#include <algorithm>
#include <iterator>

namespace {

// In the order of the VELTO_MODE_TYPE_... constants.
constexpr const wchar_t* kTypes[] = {L"Cradle", L"Ordinary", L"Custom", L"Eco", L"WirelessOff"};

constexpr const wchar_t* kAlwaysThere = L"Modetray";

bool HasType(const Mode& mode) {
  return mode.type >= 0 && static_cast<std::size_t>(mode.type) < std::size(kTypes);
}

}  // namespace

const Mode* FindModeThatIsOn(const std::vector<Mode>& modes) {
  const auto found = std::find_if(modes.begin(), modes.end(), [](const Mode& mode) {
    return mode.status == VELTO_MODE_STATUS_ON;
  });
  return found == modes.end() ? nullptr : &*found;
}

std::vector<std::wstring> GetPictureNames(const std::vector<Mode>& modes) {
  std::vector<std::wstring> names;
  const Mode* const on = FindModeThatIsOn(modes);
  if (on != nullptr && HasType(*on)) names.push_back(on->statusIconKey + L"_" + kTypes[on->type]);
  // Where all are OFF, any of them has the key for that.
  if (on != nullptr) names.push_back(on->statusIconKey);
  if (on == nullptr && !modes.empty()) names.push_back(modes.front().statusIconKey);
  names.emplace_back(kAlwaysThere);
  return names;
}

UniqueIcon LoadStatusPicture(HINSTANCE instance, const std::vector<Mode>& modes) {
  for (const std::wstring& name : GetPictureNames(modes)) {
    auto* icon = static_cast<HICON>(::LoadImageW(instance, name.c_str(), IMAGE_ICON,
                                                 ::GetSystemMetrics(SM_CXSMICON),
                                                 ::GetSystemMetrics(SM_CYSMICON), LR_DEFAULTCOLOR));
    if (icon != nullptr) return UniqueIcon(icon);
  }
  return nullptr;
}
