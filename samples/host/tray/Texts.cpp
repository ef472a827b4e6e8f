#include "Texts.h"

namespace {

// Texts are stored in blocks of this many, numbered from 1. A text is its length, then itself.
constexpr UINT kTextsOfBlock = 16;
constexpr WORD kFirstBlock = 1;
constexpr LANGID kEnglish = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);

struct LanguageSearch {
  LANGID wanted;
  LANGID found;
};

BOOL CALLBACK CompareLanguage(HMODULE /*module*/, const wchar_t* /*type*/, const wchar_t* /*name*/,
                              WORD language, LONG_PTR parameter) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the parameter is the address given below
  auto& search = *reinterpret_cast<LanguageSearch*>(parameter);
  if (PRIMARYLANGID(language) == PRIMARYLANGID(search.wanted)) search.found = language;
  const BOOL goOn = language == search.wanted ? FALSE : TRUE;
  return goOn;
}

/// The user's own region, else another one of the same language, else English.
LANGID ChooseLanguage(HINSTANCE instance, LANGID wanted) {
  LanguageSearch search = {wanted, kEnglish};
  ::EnumResourceLanguagesW(instance, RT_STRING, MAKEINTRESOURCEW(kFirstBlock), CompareLanguage,
                           reinterpret_cast<LONG_PTR>(&search));
  return search.found;
}

}  // namespace

Texts::Texts(HINSTANCE module) : Texts(module, ::GetUserDefaultLangID()) {}

Texts::Texts(HINSTANCE module, LANGID user)
    : instance(module), language(ChooseLanguage(module, user)) {}

std::wstring Texts::Get(UINT id) const {
  const UINT block = id / kTextsOfBlock + kFirstBlock;
  HRSRC found = ::FindResourceExW(instance, RT_STRING, MAKEINTRESOURCEW(block), language);
  HGLOBAL loaded = found == nullptr ? nullptr : ::LoadResource(instance, found);
  if (loaded == nullptr) return {};
  // A resource is a part of the loaded file: there is nothing to give back.
  const auto* text = static_cast<const wchar_t*>(::LockResource(loaded));
  for (UINT skipped = 0; skipped < id % kTextsOfBlock; ++skipped) text += 1 + *text;
  return {text + 1, static_cast<std::size_t>(*text)};
}

std::wstring Texts::Format(UINT id, std::initializer_list<std::wstring> inserts) const {
  const std::wstring pattern = Get(id);
  std::wstring text;
  for (std::size_t index = 0; index < pattern.size(); ++index) {
    // Done here and not by FormatMessage, which would end the program for a translation that asks
    // for one insert too many.
    const std::size_t number =
        pattern[index] == L'%' && index + 1 < pattern.size()
            ? static_cast<std::size_t>(pattern[index + 1]) - static_cast<std::size_t>(L'1')
            : inserts.size();
    if (number < inserts.size()) {
      text += inserts.begin()[number];
      ++index;
    } else {
      text += pattern[index];
    }
  }
  return text;
}
