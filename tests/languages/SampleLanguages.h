#pragma once

/// A language of the sample's texts.
struct SampleLanguage {
  enum class Script { kLatinOrGreek, kCyrillic, kEastAsian };

  const wchar_t* locale;  // its folder
  Script script = Script::kLatinOrGreek;
};

constexpr SampleLanguage kSampleLanguages[] = {
    {L"en-US"},
    {L"ja-JP", SampleLanguage::Script::kEastAsian},
    {L"de-DE"},
    {L"fr-FR"},
    {L"it-IT"},
    {L"es-ES"},
    {L"pt-PT"},
    {L"pt-BR"},
    {L"nl-NL"},
    {L"da-DK"},
    {L"sv-SE"},
    {L"nb-NO"},
    {L"fi-FI"},
    {L"pl-PL"},
    {L"cs-CZ"},
    {L"sk-SK"},
    {L"hu-HU"},
    {L"ro-RO"},
    {L"bg-BG", SampleLanguage::Script::kCyrillic},
    {L"el-GR"},
    {L"tr-TR"},
    {L"ru-RU", SampleLanguage::Script::kCyrillic},
    {L"uk-UA", SampleLanguage::Script::kCyrillic},
    {L"ko-KR", SampleLanguage::Script::kEastAsian},
    {L"zh-CN", SampleLanguage::Script::kEastAsian},
    {L"zh-TW", SampleLanguage::Script::kEastAsian},
};
