#include "IniDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>

#include "IniText.h"
#include "SampleMachine.h"
#include "fuzz/Damage.h"
#include "support/Text.h"

namespace {

// What Windows answers where there is nothing.
constexpr const wchar_t* kNone = L"(none)";

/// A file as Windows reads it.
class ProfileFile {
 public:
  explicit ProfileFile(std::filesystem::path file) : path(std::move(file)) {}

  [[nodiscard]] std::vector<std::wstring> Sections() const { return Split(Get(nullptr, nullptr)); }
  [[nodiscard]] std::vector<std::wstring> Keys(const std::wstring& section) const {
    return Split(Get(section.c_str(), nullptr));
  }
  [[nodiscard]] std::wstring Value(const std::wstring& section, const std::wstring& key) const {
    return Get(section.c_str(), key.c_str());
  }

 private:
  [[nodiscard]] std::wstring Get(const wchar_t* section, const wchar_t* key) const {
    std::wstring text(100000, L'\0');
    text.resize(::GetPrivateProfileStringW(section, key, kNone, text.data(),
                                           static_cast<DWORD>(text.size()), path.c_str()));
    return text;
  }
  static std::vector<std::wstring> Split(const std::wstring& list) {
    std::vector<std::wstring> names;
    for (std::size_t at = 0; at < list.size(); at += names.back().size() + 1) {
      names.emplace_back(list.c_str() + at);
    }
    return names;
  }

  std::filesystem::path path;
};

/// Whether the document calls a key's line broken, which Windows may list.
bool IsBroken(const IniDocument& document, const std::wstring& key) {
  const auto& lines = document.BrokenLines();
  return key.empty() || std::any_of(lines.begin(), lines.end(),
                                    [&](const auto& line) { return line.text.starts_with(key); });
}

void ExpectSameKeys(const IniDocument& document, const IniDocument::Section& section,
                    const ProfileFile& profile) {
  for (const IniDocument::Key& key : section.keys) {
    if (key.firstLine != 0) continue;
    EXPECT_EQ(Text::Escape(profile.Value(section.name, key.name)), Text::Escape(key.value))
        << Text::ToUtf8(section.name) << ": " << Text::ToUtf8(key.name);
  }
  for (const std::wstring& key : profile.Keys(section.name)) {
    EXPECT_TRUE(section.Find(key) != nullptr || IsBroken(document, key) || key == kNone)
        << Text::ToUtf8(section.name) << ": " << Text::ToUtf8(key);
  }
}

/// Reads each section and key of the document through Windows and compares.
void ExpectAgreement(const std::filesystem::path& path) {
  SCOPED_TRACE(path.string());
  const IniDocument document(IniText::Decode(FileBytes::Read(path).bytes).text);
  const ProfileFile profile(path);
  std::vector<std::wstring> sections;
  for (const IniDocument::Section& section : document.Sections()) {
    sections.push_back(section.name);
    if (section.firstLine == 0) ExpectSameKeys(document, section, profile);
  }
  EXPECT_EQ(profile.Sections(), sections);
}

}  // namespace

TEST(IniDocumentTest, AgreesWithWindowsOnTheSample) {
  const SampleMachine machine(SampleMachine::Languages::kAll);
  machine.WriteFiles();
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(machine.Folder())) {
    if (entry.path().extension() != L".ini") continue;
    ExpectAgreement(entry.path());
    ++count;
  }
  EXPECT_GE(count, 7U);
}

TEST(IniDocumentTest, AgreesWithWindowsOnOddLines) {
  SampleMachine machine;
  machine.SetText(L"odd.ini",
                  L"; comment\n"
                  L"  [Indented]  \n"
                  L"\t key \t = \t value \t \n"
                  L"quoted=\" a b \"\n"
                  L"single=' c '\n"
                  L"half=\"d\n"
                  L"mixed=\"e'\n"
                  L"mark=\"\n"
                  L"none=\n"
                  L"equals=a=b\n"
                  L"comment=1 ; no comment\n"
                  L"KEY=again\n"
                  L"spaced name=f\n"
                  L"\n"
                  L"   ; another comment\n"
                  L"[Bracket]]\n"
                  L"a=1\n"
                  L"[Text] behind ] it\n"
                  L"b=2\n"
                  L"[ Spaces ]\n"
                  L"c=3\n"
                  L"[indented]\n"
                  L"key=never\n"
                  L"other=never\n"
                  L"[Last]\n"
                  L"caf\u00E9=\u65E5\u672C\n"
                  L"end=\x1A");
  machine.WriteFiles();
  ExpectAgreement(machine.Folder() / L"odd.ini");
}

TEST(IniDocumentTest, AgreesWithWindowsOnDamagedFiles) {
  SampleMachine machine;
  constexpr std::uint64_t kSeeds = 40;
  for (std::uint64_t seed = 0; seed < kSeeds; ++seed) {
    Random random(seed);
    Damage damage = random.Pick(Damage::All());
    // Not how the file is saved and kept: forms that Windows does not read, Wine does.
    damage.save = nullptr;
    damage.spoil = nullptr;
    const std::vector<std::wstring> names = machine.FileNames();
    const std::wstring& name = random.Pick(names);
    SCOPED_TRACE(Text::ToUtf8(name) + ", seed " + std::to_string(seed) + ": " + damage.name);
    std::string bytes = damage.Apply(random, machine.GetLines(name));
    // Files that are too large to be checked.
    if (bytes.size() > FileBytes::kMostBytes) continue;
    machine.SetBytes(L"damaged" + std::to_wstring(seed) + L".ini", bytes);
  }
  machine.WriteFiles();
  std::uint64_t compared = 0;
  for (const auto& entry : std::filesystem::directory_iterator(machine.Folder())) {
    if (!entry.path().filename().wstring().starts_with(L"damaged")) continue;
    ExpectAgreement(entry.path());
    ++compared;
  }
  EXPECT_GT(compared, kSeeds / 2);
}

TEST(IniDocumentTest, NumbersLinesFromOne) {
  const IniDocument document(L"first=1\r\n\r\n[Eco]\r\nkey=1\r\nbroken\r\nKEY=2\r\n[ECO]\r\nx=1");
  ASSERT_EQ(document.LostKeys().size(), 1U);
  EXPECT_EQ(document.LostKeys()[0].line, 1U);
  ASSERT_EQ(document.Sections().size(), 2U);
  EXPECT_EQ(document.Sections()[0].line, 3U);
  EXPECT_EQ(document.Sections()[1].line, 7U);
  EXPECT_EQ(document.Sections()[1].firstLine, 3U);
  ASSERT_NE(document.Find(L"eco", L"Key"), nullptr);
  EXPECT_EQ(document.Find(L"eco", L"Key")->line, 4U);
  EXPECT_EQ(document.Sections()[0].keys[1].firstLine, 4U);
  ASSERT_EQ(document.BrokenLines().size(), 1U);
  EXPECT_EQ(document.BrokenLines()[0].line, 5U);
  EXPECT_EQ(document.Find(L"eco", L"x"), nullptr) << "The second section is not read.";
}
