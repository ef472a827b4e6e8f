#include "SystemParameter.h"

namespace SystemParameter {

bool Get(UINT action, UINT* value) noexcept {
  UINT answer = 0;
  if (::SystemParametersInfoW(action, 0, &answer, 0) == FALSE) return false;
  *value = answer;
  return true;
}

bool Set(UINT action, UINT uiParam, UINT pvParam) noexcept {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the number itself goes where a pointer is expected
  void* const pointer = reinterpret_cast<void*>(UINT_PTR{pvParam});
  return ::SystemParametersInfoW(action, uiParam, pointer, SPIF_UPDATEINIFILE | SPIF_SENDCHANGE) !=
         FALSE;
}

}  // namespace SystemParameter
