#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/Files.h"
#include "support/ImportedFunctions.h"
#include "support/PeImage.h"

// What an installer and a host find in the file ModeChange.dll.

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;

/// The DLLs that may be named: each is a part of Windows 7 and of all later ones.
constexpr const char* kPartsOfWindows[] = {"advapi32.dll", "comctl32.dll", "gdi32.dll",
                                           "kernel32.dll", "msvcrt.dll",   "ole32.dll",
                                           "shell32.dll",  "shlwapi.dll",  "user32.dll"};

/// All that hosts may find by name.
constexpr std::array<const char*, 8> kPublicFunctions = {
    "VeltoModeChange_CreateHandle",
    "VeltoModeChange_DeleteHandle",
    "VeltoModeChange_GetModeCount",
    "VeltoModeChange_SelectMode",
    "VeltoModeChange_GetStringInformation",
    "VeltoModeChange_GetINT32Information",
    "VeltoModeChange_RequestToSetINT32Information",
    "VeltoModeChange_ShowSettingsDialog",
};

std::filesystem::path LibraryPath() {
  return Files::ProgramPath().parent_path() / L"ModeChange.dll";
}

/// The text of a version resource in U.S. English; empty where it has none.
std::wstring ReadVersionText(const wchar_t* name) {
  const std::wstring path = LibraryPath().wstring();
  std::vector<char> version(::GetFileVersionInfoSizeW(path.c_str(), nullptr));
  if (::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(version.size()), version.data()) ==
      FALSE) {
    return {};
  }
  void* text = nullptr;
  UINT length = 0;
  const std::wstring block = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
  if (::VerQueryValueW(version.data(), block.c_str(), &text, &length) == FALSE) return {};
  return static_cast<const wchar_t*>(text);
}

class BinaryTest : public ::testing::Test {
 protected:
  PeImage image{LibraryPath()};
};

TEST_F(BinaryTest, IsADllForX64) {
  EXPECT_EQ(IMAGE_FILE_MACHINE_AMD64, image.FileHeader().Machine);
  EXPECT_EQ(IMAGE_NT_OPTIONAL_HDR64_MAGIC, image.OptionalHeader().Magic);
  EXPECT_TRUE(image.FileHeader().Characteristics & IMAGE_FILE_DLL);
}

TEST_F(BinaryTest, NeedsOnlyWhatWindows7Has) {
  EXPECT_LE(image.OptionalHeader().MajorSubsystemVersion, 6);
  const std::vector<PeImage::Import> imports = image.Imports();
  ASSERT_THAT(imports, Not(IsEmpty()));
  for (const PeImage::Import& import : imports) {
    std::string module = import.module;
    for (char& letter : module) letter = static_cast<char>(::tolower(letter));
    EXPECT_THAT(kPartsOfWindows, Contains(module)) << import.function;
  }
}

TEST_F(BinaryTest, ImportsNothingThatTheTestsDoNotKnow) {
  for (const PeImage::Import& import : image.Imports()) {
    if (IsRuntimeModule(import.module)) continue;
    EXPECT_NE(nullptr, FindImportedFunction(import.function)) << import.function;
  }
}

TEST_F(BinaryTest, IsLoadedAtRandomAddressesAndRunsNoData) {
  const WORD flags = image.OptionalHeader().DllCharacteristics;
  EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
  EXPECT_TRUE(flags & 0x0020) << "high-entropy addresses";
  EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
  EXPECT_FALSE(image.FileHeader().Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
  EXPECT_NE(0U, image.OptionalHeader().DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size);
}

TEST_F(BinaryTest, HasNoDebugInformationWhenReleased) {
#ifdef IS_RELEASE
  EXPECT_EQ(0U, image.FileHeader().NumberOfSymbols);
  EXPECT_EQ(0U, image.OptionalHeader().DataDirectory[IMAGE_DIRECTORY_ENTRY_DEBUG].Size);
  EXPECT_THAT(image.SectionNames(), Each(Not(AnyOf(StartsWith(".debug"), StartsWith("/")))));
#else
  EXPECT_NE(0U, image.FileHeader().NumberOfSymbols) << "Only the released file has none.";
#endif
}

TEST_F(BinaryTest, HasCodeAndResources) {
  EXPECT_THAT(image.SectionNames(), IsSupersetOf({".text", ".rsrc", ".reloc"}));
}

#ifdef IS_RELEASE
TEST_F(BinaryTest, DoesNotTellWhereItWasBuilt) {
  std::ifstream stream(LibraryPath(), std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  EXPECT_THAT(bytes, Not(HasSubstr("/src/")));
  EXPECT_THAT(bytes, Not(HasSubstr(".cpp")));
}
#endif

TEST_F(BinaryTest, SaysWhatItIs) {
  EXPECT_EQ(L"ModeChange.dll", ReadVersionText(L"OriginalFilename"));
  EXPECT_EQ(L"Mode Change Function", ReadVersionText(L"FileDescription"));
  EXPECT_NE(L"", ReadVersionText(L"FileVersion"));
  EXPECT_EQ(ReadVersionText(L"FileVersion"), ReadVersionText(L"ProductVersion"));
  EXPECT_EQ(L"", ReadVersionText(L"NoSuchText"));
}

TEST_F(BinaryTest, ExportsThePublicFunctionsOnly) {
  std::vector<std::string> functions;
  for (const PeImage::Export& found : image.Exports()) functions.push_back(found.function);
  EXPECT_THAT(functions, ::testing::UnorderedElementsAreArray(kPublicFunctions));
}

}  // namespace
