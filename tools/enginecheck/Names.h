#pragma once

#include <map>
#include <string>

#include "Check.h"
#include "Questions.h"

namespace EngineCheck {

/// Checks the keys under which the texts of an item and its values stand in
/// ModeChange.Resource.ini.
class Names {
 public:
  Names(Questions& questions, const Journal& journal);

  void CheckItem();
  void CheckValue(UINT value);
  void Finish();

 private:
  void CheckKey(UINT identifier, UINT subIndex, const std::wstring& name);
  void CheckText(const TextAnswer& answer, const std::wstring& name);
  void CheckSmallBuffer();

  Questions& questions;
  Check answers;
  Check keys;
  Check lengths;
  std::map<std::wstring, std::wstring> namesByKey;
};

}  // namespace EngineCheck
