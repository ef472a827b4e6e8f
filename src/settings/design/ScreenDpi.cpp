#include "settings/design/ScreenDpi.h"

namespace ScreenDpi {

namespace {

std::int32_t screenPixelsPerInch = 0;

}  // namespace

void Set(std::int32_t pixelsPerInch) noexcept {
  screenPixelsPerInch = pixelsPerInch;
}

std::int32_t Get() noexcept {
  return screenPixelsPerInch;
}

}  // namespace ScreenDpi
