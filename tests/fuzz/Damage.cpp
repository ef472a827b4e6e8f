#include "fuzz/Damage.h"

#include <windows.h>

#include <algorithm>
#include <cwctype>

#include "support/IniFile.h"
#include "support/Text.h"

namespace {

using Lines = Damage::Lines;

// What people and programs write where a number belongs.
constexpr const wchar_t* kOddNumbers[] = {L"-1",
                                          L"0",
                                          L"2147483647",
                                          L"-2147483648",
                                          L"2147483648",
                                          L"4294967295",
                                          L"4294967296",
                                          L"12345678901234567890",
                                          L"1001",
                                          L"1000000",
                                          L"0x7FFFFFFF",
                                          L"-0",
                                          L"+5",
                                          L"  7",
                                          L"1e9",
                                          L"-100",
                                          L"",
                                          L"abc",
                                          L"3.5",
                                          L"\x0663",
                                          L"00000000003x",
                                          L"0x"};
// As counts these make readers try many keys, which takes time: they are rare.
constexpr const wchar_t* kSlowNumbers[] = {L"999", L"1000"};

constexpr const wchar_t* kOddIndices[] = {L"0",          L"5",          L"63",  L"999",
                                          L"1000",       L"1001",       L"007", L"-1",
                                          L"2147483646", L"2147483647", L"x",   L""};

constexpr wchar_t kControlCharacters[] = {
    L'\0', L'\x01', L'\b', L'\t', L'\n', L'\v', L'\f', L'\r', L'\x1A', L'\x1B', L'\x7F', L'\x85',
    L'\u00A0', L'\u2028', L'\u202E', L'\uFEFF',
    // Halves of surrogate pairs, and what is no character.
    static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0xDC00), static_cast<wchar_t>(0xFFFF)};

constexpr const wchar_t* kBrokenKeys[] = {L"=", L"=value", L" = ",   L"key", L"==",
                                          L";", L"\\",     L"\"=\"", L"]",   L"Mode0="};
constexpr const wchar_t* kBrokenSections[] = {L"[",   L"[]",      L"[[x]]",  L"[x",
                                              L"x]=", L"[=]=[=]", L"[a]b=c", L"\uFEFF[a]"};

const wchar_t* PickNumber(Random& random) {
  return random.OneIn(100) ? random.Pick(kSlowNumbers) : random.Pick(kOddNumbers);
}

std::wstring Join(const Lines& lines) {
  std::wstring text;
  for (const std::wstring& line : lines) text += line + L"\r\n";
  return text;
}

std::string SaveSoundly(const std::wstring& text) {
  return IniFile().Line(text).Bytes();
}

std::string ToBytes(const std::wstring& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

std::string ToBytesOfHighByteFirst(std::wstring text) {
  for (wchar_t& c : text) c = static_cast<wchar_t>(c << 8 | c >> 8);
  return ToBytes(text);
}

std::string ToLatin1(const std::wstring& text) {
  std::string bytes;
  for (const wchar_t c : text) bytes += static_cast<char>(c < 256 ? c : L'?');
  return bytes;
}

std::wstring& PickLine(Random& random, Lines* lines) {
  if (lines->empty()) lines->emplace_back();
  return random.Pick(*lines);
}

template <class Texts>
void InsertLines(Random& random, Lines* lines, const Texts& texts, std::size_t most) {
  for (std::size_t i = random.Below(most + 1); i > 0; --i) {
    lines->insert(lines->begin() + static_cast<std::ptrdiff_t>(random.Below(lines->size() + 1)),
                  random.Pick(texts));
  }
}

void ChangeCounts(Random& random, Lines* lines) {
  for (std::wstring& line : *lines) {
    const std::size_t value = line.find(L"Count=");
    if (value == std::wstring::npos || random.OneIn(3)) continue;
    line = line.substr(0, value) + L"Count=" + PickNumber(random);
  }
  // Keys whose numbers the sound file does not have.
  for (std::size_t i = random.Below(10); i > 0; --i) {
    const std::size_t at = random.Below(lines->size());
    const std::wstring line = at < lines->size() ? (*lines)[at] : L"";
    const std::size_t equals = line.find(L'=');
    if (equals == std::wstring::npos || equals == 0 || std::iswdigit(line[equals - 1]) == 0) {
      continue;
    }
    lines->insert(lines->begin() + static_cast<std::ptrdiff_t>(at),
                  line.substr(0, equals - 1) + random.Pick(kOddIndices) + line.substr(equals));
  }
  // A reader of large counts goes by the keys that are there, so let there be strange ones.
  if (random.OneIn(2)) InsertLines(random, lines, kBrokenKeys, lines->size());
}

void ChangeNumbers(Random& random, Lines* lines) {
  for (std::wstring& line : *lines) {
    const std::size_t value = line.find(L'=') + 1;
    if (value == 0 || value == line.size()) continue;
    const bool isNumber = std::iswdigit(line[value]) != 0 || line[value] == L'-';
    if (isNumber && !random.OneIn(3)) line = line.substr(0, value) + PickNumber(random);
  }
}

void InsertControlCharacters(Random& random, Lines* lines) {
  for (std::size_t i = 1 + random.Below(40); i > 0; --i) {
    std::wstring& line = PickLine(random, lines);
    line.insert(random.Below(line.size() + 1), 1 + random.Below(3),
                random.Pick(kControlCharacters));
  }
}

void RepeatLines(Random& random, Lines* lines) {
  for (std::size_t i = 1 + random.Below(8); i > 0; --i) {
    const std::size_t first = random.Below(lines->size());
    const std::size_t count = std::min(1 + random.Below(30), lines->size() - first);
    const auto begin = lines->begin() + static_cast<std::ptrdiff_t>(first);
    Lines copy(begin, begin + static_cast<std::ptrdiff_t>(count));
    if (random.OneIn(2)) {
      for (std::wstring& line : copy)
        ::CharUpperBuffW(line.data(), static_cast<DWORD>(line.size()));
    }
    const std::size_t place = random.Below(lines->size() + 1);
    lines->insert(lines->begin() + static_cast<std::ptrdiff_t>(place), copy.begin(), copy.end());
  }
}

void BreakMarks(Random& random, Lines* lines) {
  for (std::size_t i = 1 + random.Below(15); i > 0; --i) {
    std::wstring& line = PickLine(random, lines);
    const std::size_t mark = line.find_first_of(random.OneIn(2) ? L"[=" : L"]=");
    if (mark != std::wstring::npos) line.erase(mark, 1);
  }
  InsertLines(random, lines, kBrokenKeys, 10);
  InsertLines(random, lines, kBrokenSections, 10);
}

/// Makes a section's name, a key or a value long; with "Mode0=Eco" in the middle of it, for a
/// reader that cuts.
void Lengthen(Random& random, Lines* lines, std::size_t characters) {
  std::wstring filling(characters / 2, random.OneIn(2) ? L'x' : L' ');
  filling += random.OneIn(2) ? L"Mode0=Eco" : L"\\n";
  filling.append(characters - filling.size(), random.OneIn(2) ? L'\u3042' : L'"');
  std::wstring& line = PickLine(random, lines);
  line.insert(random.Below(line.size() + 1), filling);
}

void MakeLongLines(Random& random, Lines* lines) {
  for (std::size_t i = 1 + random.Below(3); i > 0; --i) {
    Lengthen(random, lines, 40 + random.Below(40'000));
  }
}

void MakeHugeLine(Random& random, Lines* lines) {
  constexpr std::size_t kBytes = 10 * 1024 * 1024;
  Lengthen(random, lines, kBytes / sizeof(wchar_t));
}

std::string SaveWithoutMark(Random& /*random*/, const std::wstring& text) {
  return ToBytes(text);
}

std::string SaveInWrongEncoding(Random& random, const std::wstring& text) {
  constexpr const char* kUtf8Mark = "\xEF\xBB\xBF";
  switch (random.Below(7)) {
    case 0:
      return Text::ToUtf8(text);
    case 1:
      return kUtf8Mark + Text::ToUtf8(text);
    case 2:
      return ToBytesOfHighByteFirst(text);
    case 3:
      return ToBytesOfHighByteFirst(L'\uFEFF' + text);
    case 4:
      return ToLatin1(text);
    case 5:  // a mark that lies
      return ToBytes(L"\uFEFF") + ToLatin1(text);
    default:
      return kUtf8Mark + ToBytes(text);
  }
}

void Truncate(Random& random, std::string* bytes) {
  constexpr std::size_t kFirstLines = 80;
  const std::size_t most = random.OneIn(3) ? kFirstLines : bytes->size();
  bytes->resize(std::min(random.Below(most + 1), bytes->size()));
}

void FillWithNuls(Random& random, std::string* bytes) {
  for (std::size_t i = 1 + random.Below(3); i > 0; --i) {
    const std::size_t begin = random.Below(bytes->size());
    const std::size_t most = random.OneIn(4) ? bytes->size() : 64;
    const std::size_t count = std::min(1 + random.Below(most), bytes->size() - begin);
    bytes->replace(begin, count, count, '\0');
  }
}

void MakeByteCountOdd(Random& random, std::string* bytes) {
  if (bytes->size() % 2 != 0) return;
  if (bytes->empty() || random.OneIn(2)) {
    bytes->insert(bytes->begin() + static_cast<std::ptrdiff_t>(random.Below(bytes->size() + 1)),
                  static_cast<char>(random.Below(256)));
  } else {
    bytes->erase(random.Below(bytes->size()), 1);
  }
}

void ChangeBytes(Random& random, std::string* bytes) {
  if (random.OneIn(3)) {  // all of them, but for a mark now and then
    const std::string mark = bytes->substr(0, random.OneIn(2) ? 2 : 0);
    bytes->assign(random.Below(4096), '\0');
    for (char& byte : *bytes) byte = static_cast<char>(random.Below(256));
    *bytes = mark + *bytes;
    return;
  }
  if (bytes->empty()) return;
  for (std::size_t i = 1 + random.Below(200); i > 0; --i) {
    random.Pick(*bytes) = static_cast<char>(random.Below(256));
  }
}

/// The kinds below, but for those that make files huge.
constexpr Damage kDamages[] = {
    {.name = "Truncated", .inputs = 50, .spoil = Truncate},
    {.name = "FilledWithNuls", .inputs = 50, .spoil = FillWithNuls},
    {.name = "WithoutByteOrderMark", .inputs = 10, .save = SaveWithoutMark},
    {.name = "InWrongEncoding", .inputs = 50, .save = SaveInWrongEncoding},
    {.name = "OfOddByteCount", .inputs = 50, .spoil = MakeByteCountOdd},
    {.name = "WithOddCounts", .inputs = 100, .edit = ChangeCounts},
    {.name = "WithOddNumbers", .inputs = 100, .edit = ChangeNumbers},
    {.name = "WithControlCharacters", .inputs = 50, .edit = InsertControlCharacters},
    {.name = "WithDuplicates", .inputs = 50, .edit = RepeatLines},
    {.name = "WithBrokenMarks", .inputs = 50, .edit = BreakMarks},
    {.name = "WithLongLines", .inputs = 30, .edit = MakeLongLines},
    {.name = "OfRandomBytes", .inputs = 50, .spoil = ChangeBytes},
};

void EditInSeveralWays(Random& random, Lines* lines) {
  for (std::size_t i = random.Below(4); i > 0; --i) {
    if (const auto edit = random.Pick(kDamages).edit; edit != nullptr) edit(random, lines);
  }
}

std::string SaveInSomeWay(Random& random, const std::wstring& text) {
  const auto save = random.Pick(kDamages).save;
  return save != nullptr ? save(random, text) : SaveSoundly(text);
}

void SpoilInSeveralWays(Random& random, std::string* bytes) {
  for (std::size_t i = random.Below(3); i > 0; --i) {
    if (const auto spoil = random.Pick(kDamages).spoil; spoil != nullptr) spoil(random, bytes);
  }
}

}  // namespace

std::string Damage::Apply(Random& random, Lines lines) const {
  if (edit != nullptr) edit(random, &lines);
  const std::wstring text = Join(lines);
  std::string bytes = save != nullptr ? save(random, text) : SaveSoundly(text);
  if (spoil != nullptr) spoil(random, &bytes);
  return bytes;
}

const std::vector<Damage>& Damage::All() {
  static const std::vector<Damage> all = [] {
    std::vector<Damage> damages(std::begin(kDamages), std::end(kDamages));
    damages.push_back({.name = "InSeveralWays",
                       .inputs = 100,
                       .edit = EditInSeveralWays,
                       .save = SaveInSomeWay,
                       .spoil = SpoilInSeveralWays});
    damages.push_back({.name = "WithHugeLines", .inputs = 5, .edit = MakeHugeLine});
    return damages;
  }();
  return all;
}
