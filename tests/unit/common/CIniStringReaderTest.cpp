#include "common/CIniStringReader.h"

#include <string>
#include <vector>

#include "common/ModuleHelpers.h"
#include "support/ModeChangeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const wchar_t* kFile = L"Texts.ini";

class CIniStringReaderTest : public ModeChangeTest {
 protected:
  [[nodiscard]] CWideString FilePath() const { return (sandbox.LibraryFolder() / kFile).c_str(); }

  /// With the capacity that all users of the class give it.
  [[nodiscard]] CIniStringReader MakeReader() const {
    return {FilePath(), Common::GetMyFileSize(FilePath().c_str())};
  }

  [[nodiscard]] CWideString Read(const wchar_t* section, const wchar_t* key) const {
    return MakeReader().Read(section, key);
  }
};

TEST_F(CIniStringReaderTest, ReadsTextsAsTheyAreStored) {
  sandbox.Write(kFile, IniFile()
                           .Section(L"Section")
                           .Key(L"Plain", L"Eco")
                           .Key(L"Signs", L"50 %, \\n; [x]=y")
                           .Key(L"Foreign", L"\u00C9co \u7701\u96FB\u529B \U0001F50B"));
  EXPECT_EQ(Read(L"Section", L"Plain"), L"Eco");
  EXPECT_EQ(Read(L"Section", L"Signs"), L"50 %, \\n; [x]=y");
  EXPECT_EQ(Read(L"Section", L"Foreign"), L"\u00C9co \u7701\u96FB\u529B \U0001F50B");
}

TEST_F(CIniStringReaderTest, SectionsAndKeysHaveNoCase) {
  sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", L"Eco"));
  EXPECT_EQ(Read(L"SECTION", L"key"), L"Eco");
}

TEST_F(CIniStringReaderTest, WhatIsAbsentIsEmpty) {
  sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Empty", L""));
  CIniStringReader reader = MakeReader();
  EXPECT_EQ(reader.Read(L"Section", L"Empty"), L"");
  EXPECT_EQ(reader.Read(L"Section", L"Missing"), L"");
  EXPECT_EQ(reader.Read(L"Missing", L"Empty"), L"");
  sandbox.Remove(kFile);
  EXPECT_EQ(reader.Read(L"Section", L"Empty"), L"");
}

TEST_F(CIniStringReaderTest, NothingOfOneTextIsLeftInTheNext) {
  sandbox.Write(kFile,
                IniFile().Section(L"Section").Key(L"Long", L"A long text").Key(L"Short", L"B"));
  CIniStringReader reader = MakeReader();
  EXPECT_EQ(reader.Read(L"Section", L"Long"), L"A long text");
  EXPECT_EQ(reader.Read(L"Section", L"Short"), L"B");
  interposition.Replace("GetPrivateProfileStringW", [] { return DWORD{0}; });
  EXPECT_EQ(reader.Read(L"Section", L"Long"), L"") << "Windows left the buffer as it was.";
}

TEST_F(CIniStringReaderTest, ATextAsLongAsTheFileAllowsIsNotCut) {
  for (const auto encoding : {IniFile::Encoding::kAnsi, IniFile::Encoding::kUtf16}) {
    for (const std::size_t length : {1U, 10U, 1000U, 65'536U, 1'000'000U}) {
      const std::wstring text = std::wstring(length - 1, L'x') + L'y';
      // Nothing but what a value needs: the shortest section, the shortest key, no last line end.
      IniFile file;
      file.Line(L"[s]").Key(L"k", text).In(encoding);
      std::string bytes = file.Bytes();
      const std::size_t lineEnd = encoding == IniFile::Encoding::kAnsi ? 2 : 4;
      bytes.resize(bytes.size() - lineEnd);
      sandbox.Write(kFile, bytes);

      const CWideString read = Read(L"s", L"k");
      EXPECT_EQ(read.length(), length) << bytes.size() << " bytes";
      EXPECT_TRUE(read == text.c_str()) << bytes.size() << " bytes";
    }
  }
}

TEST_F(CIniStringReaderTest, ReadsEachTextWithOneCallOfWindows) {
  sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", L"Eco"));
  CIniStringReader reader = MakeReader();
  interposition.ClearCalls();
  (void)reader.Read(L"Section", L"Key");
  const std::vector<Call> calls = interposition.AllCalls();
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].function, "GetPrivateProfileStringW");
  EXPECT_EQ(static_cast<DWORD>(calls[0].arguments[4]), sandbox.Read(kFile).size());
}

TEST_F(CIniStringReaderTest, ListsTheKeysOfASectionInTheFilesOrder) {
  sandbox.Write(kFile, IniFile()
                           .Section(L"Other")
                           .Key(L"Foreign", 1)
                           .Section(L"Section")
                           .Key(L"Second", 2)
                           .Line(L"; a comment")
                           .Key(L"First", L"")
                           .Key(L"Second", 3)
                           .Key(L"third", 4)
                           .Section(L"Empty")
                           .Section(L"Last")
                           .Key(L"Foreign", 5));
  CIniStringReader reader = MakeReader();
  EXPECT_THAT(reader.ReadKeyNames(L"Section"),
              ElementsAre(L"Second", L"First", L"Second", L"third"));
  EXPECT_THAT(reader.ReadKeyNames(L"Empty"), IsEmpty());
  EXPECT_THAT(reader.ReadKeyNames(L"Missing"), IsEmpty());
  sandbox.Remove(kFile);
  EXPECT_THAT(reader.ReadKeyNames(L"Section"), IsEmpty());
}

TEST_F(CIniStringReaderTest, GoesOnBehindAKeyWithoutAName) {
  sandbox.Write(
      kFile, IniFile().Section(L"Section").Key(L"First", 1).Line(L"=nameless").Key(L"Second", 2));
  CIniStringReader reader = MakeReader();
  EXPECT_THAT(reader.ReadKeyNames(L"Section"), ElementsAre(L"First", L"Second"));
}

TEST_F(CIniStringReaderTest, GoesOnBehindALeadingKeyWithoutAName) {
  sandbox.Write(kFile, IniFile()
                           .Section(L"Section")
                           .Line(L"=nameless")
                           .Key(L"First", 1)
                           .Line(L"=nameless again")
                           .Key(L"Second", L"a=b"));
  EXPECT_THAT(MakeReader().ReadKeyNames(L"Section"), ElementsAre(L"First", L"Second"));
}

TEST_F(CIniStringReaderTest, ListsAllKeysHoweverSmallTheCapacity) {
  IniFile file;
  file.Section(L"Section");
  std::vector<CWideString> names;
  for (int i = 0; i < 20; ++i) {
    names.emplace_back((L"Key" + std::to_wstring(i)).c_str());
    file.Key(names.back().c_str(), i);
  }
  sandbox.Write(kFile, file);
  for (DWORD capacity = 1; capacity <= 150; ++capacity) {
    EXPECT_EQ(CIniStringReader(FilePath(), capacity).ReadKeyNames(L"Section"), names) << capacity;
  }
}

TEST_F(CIniStringReaderTest, ListsManyKeysWithOneCallOfWindows) {
  constexpr int kKeys = 5000;
  IniFile file;
  file.Section(L"Section").In(IniFile::Encoding::kAnsi);
  for (int i = 0; i < kKeys; ++i) file.Key(L"Key" + std::to_wstring(i), L"");
  sandbox.Write(kFile, file);
  CIniStringReader reader = MakeReader();
  interposition.ClearCalls();
  EXPECT_THAT(reader.ReadKeyNames(L"Section"), SizeIs(kKeys));
  EXPECT_EQ(interposition.AllCalls().size(), 1U);
}

}  // namespace
