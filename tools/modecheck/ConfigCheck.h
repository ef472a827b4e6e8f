#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Configuration.h"
#include "IniFileCheck.h"

/// Checks ModeChange.Config.ini, and says what it defines.
class ConfigCheck {
 public:
  explicit ConfigCheck(const IniFileCheck& file) : file(file) {}

  [[nodiscard]] Configuration Run();

 private:
  using Entry = IniFileCheck::Entry;
  struct GroupMember {
    std::wstring name;
    unsigned line;
  };

  [[nodiscard]] std::vector<Entry> ReadDistinct(const IniFileCheck::List& list) const;
  void ReadModes();
  void ReadItems();
  void ReadItem(const Entry& entry);
  void ReadLock(Configuration::Item* item) const;
  void ReadLockedItems(Configuration::Item* item) const;
  void ReadGroups();
  void CheckName(const std::wstring& name, unsigned line, const wchar_t* kind);
  void CheckIcons() const;
  void CheckLamps() const;
  void CheckGroupMembers() const;
  void CheckLocks() const;
  void CheckNames() const;
  [[nodiscard]] std::size_t PlaceInDialog(std::wstring_view item) const;

  const IniFileCheck& file;
  Configuration configuration;
  std::vector<GroupMember> members;            // of all groups, as the settings dialog shows them
  std::map<std::wstring, std::wstring> kinds;  // what has a name, by folded name
};
