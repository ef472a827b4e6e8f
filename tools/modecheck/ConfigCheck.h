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
  /// The two keys of one locked item; null for one that is not there.
  struct LockEntry {
    unsigned number = 0;
    const IniDocument::Key* name = nullptr;
    const IniDocument::Key* value = nullptr;

    [[nodiscard]] const IniDocument::Key& FirstKey() const {
      return name != nullptr ? *name : *value;
    }
  };
  struct GroupMember {
    std::wstring name;
    unsigned line;
  };

  [[nodiscard]] std::vector<Entry> ReadDistinct(const IniFileCheck::List& list) const;
  void ReadModes();
  void ReadItems();
  void ReadItem(const Entry& entry);
  void ReadLock(Configuration::Item* item) const;
  [[nodiscard]] std::vector<LockEntry> FindLockEntries(const std::wstring& section) const;
  void CheckLockCount(const std::wstring& section, const std::vector<LockEntry>& entries) const;
  void ReadLockEntry(const LockEntry& entry, Configuration::Item* item) const;
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
