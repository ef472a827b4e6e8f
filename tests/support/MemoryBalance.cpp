#include "support/MemoryBalance.h"

#include <algorithm>

MemoryBalance::MemoryBalance(Interposition& interposition) {
  if (interposition.Imports("malloc")) {
    interposition.Observe(
        "malloc", [this](const Call& call) { Take("malloc", call.result, call.arguments[0]); });
  }
  if (interposition.Imports("calloc")) {
    interposition.Observe("calloc", [this](const Call& call) {
      Take("calloc", call.result, call.arguments[0] * call.arguments[1]);
    });
  }
  if (interposition.Imports("realloc")) {
    interposition.Observe("realloc", [this](const Call& call) {
      if (call.result == 0) return;
      blocks.erase(call.arguments[0]);
      Take("realloc", call.result, call.arguments[1]);
    });
  }
  if (interposition.Imports("free")) {
    interposition.Observe("free", [this](const Call& call) { blocks.erase(call.arguments[0]); });
  }
}

std::vector<std::string> MemoryBalance::HeldSince(std::uint64_t then) const {
  std::vector<Block> held;
  for (const auto& [address, block] : blocks) {
    if (block.number >= then) held.push_back(block);
  }
  std::sort(held.begin(), held.end(),
            [](const Block& left, const Block& right) { return left.number < right.number; });
  std::vector<std::string> descriptions;
  for (const Block& block : held) {
    descriptions.push_back(std::to_string(block.size) + " bytes of " + block.function + ", call " +
                           std::to_string(block.number - then));
  }
  return descriptions;
}

void MemoryBalance::ForgetBlockWith(const void* address) {
  const auto wanted = reinterpret_cast<std::uint64_t>(address);
  std::erase_if(blocks, [wanted](const auto& entry) {
    return entry.first <= wanted && wanted < entry.first + entry.second.size;
  });
}

void MemoryBalance::Take(const char* function, std::uint64_t address, std::uint64_t size) {
  if (address == 0) return;
  blocks[address] = {function, size, allocations++};
}
