#include "Names.h"

#include <algorithm>
#include <string_view>

namespace EngineCheck {

namespace {

const std::wstring kArea = L"Names";

bool IsBlank(wchar_t character) {
  return character == L' ' || character == L'\t';
}

/// Whether a line "key=text" of an INI file can hold the key.
bool CanBeKey(std::wstring_view key) {
  const bool hasBadCharacter = std::any_of(key.begin(), key.end(), [](wchar_t character) {
    return character == L'=' || character < L' ';
  });
  return !hasBadCharacter && key.front() != L'[' && key.front() != L';' && !IsBlank(key.front()) &&
         !IsBlank(key.back());
}

bool IsPlain(std::wstring_view key) {
  return std::all_of(key.begin(), key.end(), [](wchar_t character) {
    return (character >= L'0' && character <= L'9') || (character >= L'A' && character <= L'Z') ||
           (character >= L'a' && character <= L'z') || character == L'_' || character == L'-' ||
           character == L'.';
  });
}

}  // namespace

Names::Names(Questions& questions, const Journal& journal)
    : questions(questions),
      answers(journal, kArea, L"texts"),
      keys(journal, kArea, L"keys"),
      lengths(journal, kArea, L"lengths") {}

void Names::CheckItem() {
  CheckKey(VELTO_ENGINE_STRING_ITEM_KEY, 0, L"ITEM_KEY");
  CheckSmallBuffer();
}

void Names::CheckValue(UINT value) {
  CheckKey(VELTO_ENGINE_STRING_VALUE_KEY, value, L"VALUE_KEY of value " + std::to_wstring(value));
}

void Names::CheckKey(UINT identifier, UINT subIndex, const std::wstring& name) {
  const std::optional<TextAnswer> answer = questions.GetText(identifier, subIndex);
  if (!answer) {
    answers.Fail(name + L" gave no answer.",
                 L"Answer the key of the text in section [SettingItem] of ModeChange.Resource.ini: "
                 L"without it the item can't be shown.");
  } else if (!answer->isTerminated) {
    answers.Fail(name + L" has no terminator within " +
                     std::to_wstring(VELTO_ENGINE_STRING_LENGTH) + L" characters.",
                 L"End the text with a zero, also where you cut it: the buffer is not cleared for "
                 L"you.");
  } else {
    CheckText(*answer, name);
  }
}

void Names::CheckText(const TextAnswer& answer, const std::wstring& name) {
  const std::wstring& key = answer.text;
  if (key.empty()) {
    answers.Fail(name + L" is empty.",
                 L"Answer the key of a text in ModeChange.Resource.ini: no text is found for an "
                 L"empty key, and users see a blank.");
    return;
  }
  if (!CanBeKey(key)) {
    keys.Fail(name + L", \"" + key + L"\", can't be the key of a line in an INI file.",
              L"Leave out '=', control characters, blanks at both ends and a '[' or ';' at the "
              L"start.");
  } else if (!IsPlain(key)) {
    keys.Warn(
        name + L", \"" + key + L"\", is an unusual key.",
        L"Use letters A to Z, digits, '_', '-' and '.' only: such keys are found in a file of "
        L"any encoding.");
  }
  const auto [known, isNew] = namesByKey.emplace(key, name);
  if (!isNew) {
    keys.Warn(name + L" is \"" + key + L"\", as is " + known->second + L".",
              L"Give each its own key: users can't tell them apart.");
  }
  if (answer.length != key.size() + 1) {
    lengths.Warn(name + L" has " + std::to_wstring(key.size() + 1) +
                     L" characters with the terminator, and the engine says it has " +
                     std::to_wstring(answer.length) + L".",
                 L"Return the size used, with the terminator, in `length`. This version of the "
                 L"library ignores it.");
  }
}

void Names::CheckSmallBuffer() {
  // Cut or refused, both are right; what is written beyond is found by who asks.
  constexpr UINT kSmall = 2;
  const std::optional<TextAnswer> answer =
      questions.GetText(VELTO_ENGINE_STRING_ITEM_KEY, 0, kSmall);
  if (answer && !answer->isTerminated) {
    lengths.Warn(
        L"ITEM_KEY in a buffer of " + std::to_wstring(kSmall) + L" characters has no terminator.",
        L"Keep a place for the terminator when you cut a text.");
  }
}

void Names::Finish() {
  answers.Finish(L"The item and its values have names.");
  keys.Finish(L"All names can be keys of ModeChange.Resource.ini, each its own.");
  lengths.Finish(L"The lengths of the names are right.");
}

}  // namespace EngineCheck
