#include "languages/DialogFont.h"

#include <cstddef>
#include <stdexcept>

namespace {

// Where what an extended template begins with has its parts, counted in words.
constexpr std::size_t kMenu = 13;
constexpr WORD kOrdinal = 0xFFFF;
constexpr std::size_t kWordsFromPointsToFace = 3;  // points, weight, and italic with character set

std::size_t SkipText(const WORD* words, std::size_t at) {
  while (words[at] != 0) ++at;
  return at + 1;
}

std::size_t SkipTextOrOrdinal(const WORD* words, std::size_t at) {
  return words[at] == kOrdinal ? at + 2 : SkipText(words, at);
}

/// Controls begin at multiples of four bytes.
std::size_t Align(std::size_t at) {
  return (at + 1) / 2 * 2;
}

}  // namespace

std::vector<WORD> DialogFont::ApplyTo(HMODULE module, const wchar_t* templateName) const {
  const HRSRC resource = ::FindResourceW(module, templateName, RT_DIALOG);
  const HGLOBAL loaded = ::LoadResource(module, resource);
  const auto* words = static_cast<const WORD*>(::LockResource(loaded));
  if (words == nullptr || words[1] != kOrdinal) throw std::runtime_error("no extended template");
  const std::size_t size = ::SizeofResource(module, resource) / sizeof(WORD);

  const std::size_t windowClass = SkipTextOrOrdinal(words, kMenu);
  const std::size_t pointSize = SkipText(words, SkipTextOrOrdinal(words, windowClass));
  const std::size_t oldFace = pointSize + kWordsFromPointsToFace;

  std::vector<WORD> result(words, words + oldFace);
  result[pointSize] = points;
  result.insert(result.end(), face.begin(), face.end());
  result.push_back(0);
  result.resize(Align(result.size()));
  const std::size_t controls = Align(SkipText(words, oldFace));
  if (controls < size) result.insert(result.end(), words + controls, words + size);
  return result;
}
