#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What ModeChange.Config.ini defines, with the lines that say so.
struct Configuration {
  struct Mode {
    std::wstring name;
    bool isCradle = false;
  };
  struct LockedItem {
    std::wstring name;
    int value = 0;
    unsigned valueLine = 0;
  };
  struct Item {
    std::wstring name;
    std::wstring enginePath = {};
    unsigned line = 0;  // of what says where the engine is, or else of the item
    std::optional<int> lockValue = {};
    unsigned lockValueLine = 0;
    std::vector<LockedItem> lockedItems = {};
  };

  std::vector<Mode> modes = {};
  std::vector<Item> items = {};
  std::vector<std::wstring> groups = {};

  [[nodiscard]] const Mode* FindMode(std::wstring_view name) const;
  [[nodiscard]] const Item* FindItem(std::wstring_view name) const;
  [[nodiscard]] std::vector<std::wstring> ModeNames() const;
  [[nodiscard]] std::vector<std::wstring> ItemNames() const;
};
