#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "common/CIniMgr.h"
#include "support/ModeChangeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const wchar_t* kFile = L"Located.ini";
constexpr const wchar_t* kNowhere = L"(nowhere)";

/// Everybody may ask.
class Search : public CIniMgr {
 public:
  explicit Search(HMODULE searched) { module = searched; }
  using CIniMgr::FindLocaleFilePath;
};

/// Gives the library an enumeration that the file system would not give, such as one in another
/// order.
class ScriptedEnumeration {
 public:
  struct Entry {
    std::wstring name;
    DWORD attributes = FILE_ATTRIBUTE_DIRECTORY;
  };

  ScriptedEnumeration(Interposition& interposition, std::vector<Entry> script)
      : entries(std::move(script)) {
    interposition.Replace("FindFirstFileW", [this](const wchar_t*, WIN32_FIND_DATAW* data) {
      return Next(data) ? this : INVALID_HANDLE_VALUE;
    });
    interposition.Replace("FindNextFileW", [this](HANDLE handle, WIN32_FIND_DATAW* data) {
      EXPECT_EQ(handle, this);
      return Next(data) ? TRUE : FALSE;
    });
    interposition.Replace("FindClose", [this](HANDLE handle) {
      EXPECT_EQ(handle, this);
      return TRUE;
    });
  }

 private:
  bool Next(WIN32_FIND_DATAW* data) {
    if (position == entries.size()) {
      ::SetLastError(position == 0 ? ERROR_FILE_NOT_FOUND : ERROR_NO_MORE_FILES);
      return false;
    }
    const Entry& entry = entries[position++];
    *data = {};
    data->dwFileAttributes = entry.attributes;
    entry.name.copy(data->cFileName, MAX_PATH - 1);
    return true;
  }

  std::vector<Entry> entries;
  std::size_t position = 0;
};

class LocaleSearchTest : public ModeChangeTest {
 protected:
  /// Puts the file into folders beside the library; "" stands for the library's own folder.
  void PutInto(const std::vector<const wchar_t*>& folders) {
    for (const wchar_t* folder : folders) {
      sandbox.Write(std::filesystem::path(folder) / kFile, IniFile());
    }
  }

  /// What was found, as a path relative to the library's folder.
  [[nodiscard]] std::wstring Find(const std::wstring& name = kFile) {
    return Find(library.Module(), name);
  }

  [[nodiscard]] std::wstring Find(HMODULE module, const std::wstring& name = kFile) {
    interposition.ClearCalls();
    CWideString path = L"untouched";
    if (!Search(module).FindLocaleFilePath(name.c_str(), &path)) {
      EXPECT_EQ(path, L"untouched");
      return kNowhere;
    }
    return Relative(path.c_str());
  }

  [[nodiscard]] std::wstring Relative(const std::wstring& path) const {
    const std::wstring folder = sandbox.LibraryFolder().wstring() + L'\\';
    return path.starts_with(folder) ? path.substr(folder.size()) : path;
  }

  /// The candidates that the last search looked at, in its order.
  [[nodiscard]] std::vector<std::wstring> Candidates() const {
    std::vector<std::wstring> candidates;
    for (const Call& call : interposition.CallsOf("GetFileAttributesW")) {
      candidates.push_back(Relative(call.Text(0)));
    }
    return candidates;
  }

  /// What the last search enumerated.
  [[nodiscard]] std::vector<std::wstring> Patterns() const {
    std::vector<std::wstring> patterns;
    for (const Call& call : interposition.CallsOf("FindFirstFileW")) {
      patterns.push_back(Relative(call.Text(0)));
    }
    return patterns;
  }

  /// The folders beside the library that match, in the file system's order.
  [[nodiscard]] std::vector<std::wstring> Enumerate(const wchar_t* pattern) const {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW entry{};
    HANDLE find = ::FindFirstFileW((sandbox.LibraryFolder() / pattern).c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE) return names;
    do {
      names.emplace_back(entry.cFileName);
    } while (::FindNextFileW(find, &entry) != FALSE);
    ::FindClose(find);
    return names;
  }

  /// Windows says of every path that it has these attributes.
  void PretendThatEverythingIsThere(DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
    interposition.Replace("GetFileAttributesW", [attributes] { return attributes; });
  }

  /// A file name with which "<library's folder>\<folder>\<name>" has this many characters.
  [[nodiscard]] std::wstring NameForPathOf(std::size_t characters,
                                           const std::wstring& folder) const {
    const std::wstring before =
        sandbox.LibraryFolder().wstring() + L'\\' + (folder.empty() ? L"" : folder + L'\\');
    return std::wstring(characters - before.size(), L'n');
  }
};

class LocaleSearchTestEachLocale : public LocaleSearchTest {};

TEST_F(LocaleSearchTest, GoesFromTheUsersLocaleToTheLibrarysFolder) {
  sandbox.SetUserLocale(L"ja-JP");
  PutInto({L"ja-JP", L"ja-AA", L"en-US", L""});
  EXPECT_EQ(Find(), L"ja-JP\\Located.ini");
  sandbox.Remove(L"ja-JP");
  EXPECT_EQ(Find(), L"ja-AA\\Located.ini");
  sandbox.Remove(L"ja-AA");
  EXPECT_EQ(Find(), L"en-US\\Located.ini");
  sandbox.Remove(L"en-US");
  EXPECT_EQ(Find(), L"Located.ini");
  sandbox.Remove(kFile);
  EXPECT_EQ(Find(), kNowhere);
}

TEST_F(LocaleSearchTest, LooksNoFurtherThanItMust) {
  sandbox.SetUserLocale(L"ja-JP");
  PutInto({L"ja-JP", L"ja-AA", L"en-US", L""});
  (void)Find();
  std::vector<std::string> functions;
  for (const Call& call : interposition.AllCalls()) functions.push_back(call.function);
  EXPECT_THAT(functions, ElementsAre("GetModuleFileNameW", "PathRemoveFileSpecW",
                                     "GetUserDefaultLocaleName", "GetFileAttributesW"));
}

TEST_F(LocaleSearchTest, LooksAtEveryCandidateOnceInOrder) {
  sandbox.SetUserLocale(L"ja-JP");
  sandbox.MakeFolder(L"ja-AA");
  EXPECT_EQ(Find(), kNowhere);
  EXPECT_THAT(Candidates(), ElementsAre(L"ja-JP\\Located.ini", L"ja-AA\\Located.ini",
                                        L"en-US\\Located.ini", L"Located.ini"));
  EXPECT_THAT(Patterns(), ElementsAre(L"ja-*"));
  EXPECT_EQ(interposition.Count("FindClose"), 1U);
}

TEST_F(LocaleSearchTest, ALocaleFolderWithoutTheFileIsPassedOver) {
  sandbox.SetUserLocale(L"ja-JP");
  sandbox.MakeFolder(L"ja-JP");
  sandbox.MakeFolder(L"ja-AA");
  PutInto({L"ja-BB"});
  EXPECT_EQ(Find(), L"ja-BB\\Located.ini");
}

TEST_F(LocaleSearchTest, AnotherLanguageThanTheUsersIsNotTaken) {
  sandbox.SetUserLocale(L"de-AT");
  PutInto({L"fr-FR", L"d-DE", L"ded-DE", L"de", L"deDE"});
  EXPECT_EQ(Find(), kNowhere);
}

TEST_F(LocaleSearchTest, AGermanFolderServesAnAustrian) {
  sandbox.SetUserLocale(L"de-AT");
  PutInto({L"de-DE", L"en-US"});
  EXPECT_EQ(Find(), L"de-DE\\Located.ini");
}

TEST_F(LocaleSearchTest, TheFirstFolderOfTheLanguageWinsInTheFileSystemsOrder) {
  sandbox.SetUserLocale(L"de-AT");
  PutInto({L"de-DE", L"de-CH"});
  const std::vector<std::wstring> folders = Enumerate(L"de-*");
  ASSERT_EQ(folders.size(), 2U);
  EXPECT_EQ(Find(), folders[0] + L"\\Located.ini");
  EXPECT_EQ(interposition.Count("FindNextFileW"), 0U);
}

TEST_F(LocaleSearchTest, TheOrderIsNotTheAlphabets) {
  sandbox.SetUserLocale(L"de-AT");
  PutInto({L"de-CH", L"de-DE", L"de-LI"});
  const ScriptedEnumeration enumeration(interposition, {{L"de-LI"}, {L"de-CH"}, {L"de-DE"}});
  EXPECT_EQ(Find(), L"de-LI\\Located.ini");
}

TEST_F(LocaleSearchTest, OnlyFoldersAreLookedInto) {
  sandbox.SetUserLocale(L"de-AT");
  PutInto({L"", L"en-US", L"de-CH", L"de-DE"});
  const ScriptedEnumeration enumeration(
      interposition, {{L"."},
                      {L".."},
                      {L"de-CH", FILE_ATTRIBUTE_ARCHIVE},
                      {L"de-DE", FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY}});
  EXPECT_EQ(Find(), L"de-DE\\Located.ini");
  EXPECT_THAT(Candidates(), ElementsAre(L"de-AT\\Located.ini", L"de-DE\\Located.ini"));
}

TEST_F(LocaleSearchTest, APlainFileWithALocalesNameIsPassedOver) {
  sandbox.SetUserLocale(L"de-AT");
  sandbox.Write(L"de-AA", "no folder");
  PutInto({L"de-DE"});
  EXPECT_EQ(Find(), L"de-DE\\Located.ini");
  EXPECT_THAT(Candidates(), ElementsAre(L"de-AT\\Located.ini", L"de-DE\\Located.ini"));
}

TEST_F(LocaleSearchTest, AFolderNamedLikeTheFileIsTakenInEveryPlace) {
  sandbox.SetUserLocale(L"de-AT");
  for (const wchar_t* folder : {L"de-AT", L"de-DE", L"en-US", L""}) {
    const std::filesystem::path located = std::filesystem::path(folder) / kFile;
    sandbox.MakeFolder(located);
    EXPECT_EQ(Find(), located.wstring());
    sandbox.Remove(located);
  }
}

TEST_F(LocaleSearchTest, ADeviceIsNotTakenFromAnotherLocaleOfTheLanguage) {
  sandbox.SetUserLocale(L"de-AT");
  PutInto({L"de-CH", L"de-DE", L"en-US"});
  const ScriptedEnumeration enumeration(interposition, {{L"de-CH"}, {L"de-DE"}});
  interposition.Replace("GetFileAttributesW", [](const wchar_t* path) {
    return std::wstring_view(path).find(L"\\de-CH\\") != std::wstring_view::npos
               ? DWORD{FILE_ATTRIBUTE_DEVICE | FILE_ATTRIBUTE_ARCHIVE}
               : ::GetFileAttributesW(path);
  });
  EXPECT_EQ(Find(), L"de-DE\\Located.ini");
}

TEST_F(LocaleSearchTest, ADeviceIsTakenFromTheOtherPlaces) {
  sandbox.SetUserLocale(L"de-AT");
  for (const wchar_t* located : {L"de-AT\\Located.ini", L"en-US\\Located.ini", L"Located.ini"}) {
    const std::wstring device = (sandbox.LibraryFolder() / located).wstring();
    interposition.Replace("GetFileAttributesW", [device](const wchar_t* path) {
      return path == device ? DWORD{FILE_ATTRIBUTE_DEVICE} : INVALID_FILE_ATTRIBUTES;
    });
    EXPECT_EQ(Find(), located);
  }
}

TEST_F(LocaleSearchTest, AnEnumerationThatBreaksOffIsClosedAndTheSearchGoesOn) {
  sandbox.SetUserLocale(L"de-AT");
  sandbox.MakeFolder(L"de-CH");
  PutInto({L"de-DE", L"en-US"});
  const ScriptedEnumeration enumeration(interposition, {{L"de-CH"}, {L"de-DE"}});
  interposition.Fail("FindNextFileW", {.lastError = ERROR_READ_FAULT});
  EXPECT_EQ(Find(), L"en-US\\Located.ini");
  EXPECT_EQ(interposition.Count("FindClose"), 1U);
}

TEST_F(LocaleSearchTest, EveryEnumerationIsClosedOnce) {
  sandbox.SetUserLocale(L"de-AT");
  sandbox.MakeFolder(L"de-CH");
  EXPECT_EQ(Find(), kNowhere);
  EXPECT_EQ(interposition.Count("FindClose"), 1U) << "nothing in the folders";

  PutInto({L"de-CH"});
  EXPECT_EQ(Find(), L"de-CH\\Located.ini");
  EXPECT_EQ(interposition.Count("FindClose"), 1U) << "found";

  sandbox.Remove(L"de-CH");
  EXPECT_EQ(Find(), kNowhere);
  EXPECT_EQ(interposition.Count("FindFirstFileW"), 1U);
  EXPECT_EQ(interposition.Count("FindClose"), 0U) << "no folders, so nothing was opened";
}

TEST_F(LocaleSearchTest, CutsTheLocaleBehindItsFirstHyphen) {
  sandbox.SetUserLocale(L"zh-Hant-TW");
  PutInto({L"zh-CN", L"en-US"});
  EXPECT_EQ(Find(), L"zh-CN\\Located.ini");
  EXPECT_THAT(Patterns(), ElementsAre(L"zh-*"));
}

TEST_F(LocaleSearchTest, ALocaleWithoutHyphenHasNoOtherLocalesOfItsLanguage) {
  sandbox.SetUserLocale(L"eo");
  PutInto({L"eo", L"eo-001", L"en-US"});
  EXPECT_EQ(Find(), L"eo\\Located.ini");
  sandbox.Remove(L"eo");
  EXPECT_EQ(Find(), L"en-US\\Located.ini");
  EXPECT_THAT(Patterns(), IsEmpty());
  EXPECT_THAT(Candidates(), ElementsAre(L"eo\\Located.ini", L"en-US\\Located.ini"));
}

TEST_F(LocaleSearchTest, WithoutALocaleOnlyTheLastTwoPlacesAreLookedAt) {
  PutInto({L""});
  const auto expectLastTwoPlaces = [this] {
    EXPECT_EQ(Find(), L"Located.ini");
    EXPECT_THAT(Candidates(), ElementsAre(L"en-US\\Located.ini", L"Located.ini"));
    EXPECT_THAT(Patterns(), IsEmpty());
  };
  {
    SCOPED_TRACE("an empty name");
    sandbox.SetUserLocale(L"");
    expectLastTwoPlaces();
  }
  {
    SCOPED_TRACE("no name");
    interposition.Fail("GetUserDefaultLocaleName", {.onwards = true});
    expectLastTwoPlaces();
  }
}

TEST_F(LocaleSearchTest, ALocaleNameMayHaveUpTo84Characters) {
  const std::wstring locale = L"de-" + std::wstring(81, L'x');
  sandbox.SetUserLocale(locale);
  PutInto({locale.c_str()});
  EXPECT_EQ(Find(), locale + L"\\Located.ini");
  EXPECT_EQ(interposition.CallsOf("GetUserDefaultLocaleName").at(0).arguments[1], 85U);
}

TEST_F(LocaleSearchTest, WithoutTheLibrarysFolderThereIsNothingToFind) {
  PutInto({L"en-US", L""});
  interposition.Fail("GetModuleFileNameW", {});
  EXPECT_EQ(Find(), kNowhere);
  EXPECT_THAT(Candidates(), IsEmpty());
  EXPECT_THAT(Patterns(), IsEmpty());
}

TEST_F(LocaleSearchTest, WithoutAModuleTheProgramsFolderIsNotSearchedInstead) {
  PutInto({L"en-US", L""});
  EXPECT_EQ(Find(nullptr), kNowhere);
  EXPECT_THAT(Candidates(), IsEmpty());
}

TEST_F(LocaleSearchTest, APathOf260CharactersInTheUsersLocaleIsNotThere) {
  sandbox.SetUserLocale(L"ja-JP");
  PretendThatEverythingIsThere();
  const std::wstring name = NameForPathOf(259, L"ja-JP");
  EXPECT_EQ(Find(name), L"ja-JP\\" + name);
  // "en-US" is as long; the library's own folder has room for some characters more.
  EXPECT_EQ(Find(name + L"n"), name + L"n");
  EXPECT_THAT(Candidates(), ElementsAre(name + L"n"));
}

TEST_F(LocaleSearchTest, APathOf260CharactersInAnotherLocaleOfTheLanguageIsNotThere) {
  sandbox.SetUserLocale(L"de-" + std::wstring(30, L'x'));
  const ScriptedEnumeration enumeration(interposition, {{L"de-Latn-CH"}, {L"de-LongDE"}});
  PretendThatEverythingIsThere();
  const std::wstring name = NameForPathOf(260, L"de-Latn-CH");
  ASSERT_EQ(NameForPathOf(259, L"de-LongDE"), name);
  EXPECT_EQ(Find(name), L"de-LongDE\\" + name);
  EXPECT_THAT(Candidates(), ElementsAre(L"de-LongDE\\" + name));
}

TEST_F(LocaleSearchTest, APathOf260CharactersInTheLibrarysFolderIsNotThere) {
  sandbox.SetUserLocale(L"ja-JP");
  sandbox.MakeFolder(L"ja-AA");
  PretendThatEverythingIsThere();
  const std::wstring name = NameForPathOf(259, L"");
  EXPECT_EQ(Find(name), name);
  EXPECT_EQ(Find(name + L"n"), kNowhere);
  EXPECT_THAT(Candidates(), IsEmpty());
  EXPECT_EQ(Find(std::wstring(1000, L'n')), kNowhere);
}

TEST_F(LocaleSearchTest, WritesNoTraces) {
  interposition.Fail("GetModuleFileNameW", {});
  EXPECT_EQ(Find(), kNowhere);
  EXPECT_EQ(Find(), kNowhere);
  EXPECT_EQ(traces.Registrations().size(), 0U);
}

TEST_F(LocaleSearchTestEachLocale, FindsTheUsersOwnFolder) {
  const std::wstring locale = Sandbox::UserLocale();
  PutInto({locale.c_str(), L""});
  EXPECT_EQ(Find(), locale + L"\\Located.ini");
}

TEST_F(LocaleSearchTestEachLocale, FindsTheBestOfTheFoldersThatThereAre) {
  const std::wstring locale = Sandbox::UserLocale();
  PutInto({L"de-DE", L"de-CH", L"en-US", L"eo-001", L"ja-JP", L""});
  std::wstring best = locale;  // English, Japanese
  if (locale == L"de-AT") best = Enumerate(L"de-*").at(0);
  if (locale == L"eo") best = L"en-US";
  EXPECT_EQ(Find(), best + L"\\Located.ini");
}

TEST_F(LocaleSearchTestEachLocale, AnotherLocaleOfTheLanguageServesWhereTheNameHasAHyphen) {
  PutInto({L"de-DE", L"en-GB", L"eo-001", L"ja-AA", L""});
  const std::pair<const wchar_t*, const wchar_t*> found[] = {
      {L"en-US", L"en-GB\\Located.ini"},
      {L"ja-JP", L"ja-AA\\Located.ini"},
      {L"de-AT", L"de-DE\\Located.ini"},
      {L"eo", L"Located.ini"},
  };
  const std::wstring locale = Sandbox::UserLocale();
  const auto* row = std::find_if(std::begin(found), std::end(found),
                                 [&](const auto& candidate) { return candidate.first == locale; });
  ASSERT_NE(row, std::end(found)) << "no expectation for this locale: " << Text::ToUtf8(locale);
  EXPECT_EQ(Find(), row->second);
}

}  // namespace
