#include <filesystem>
#include <vector>

#include "support/Files.h"
#include "support/ModeChangeTest.h"
#include "support/PeImage.h"

namespace {

using ::testing::IsEmpty;

class DllTest : public ModeChangeTest {
 protected:
  /// Calls the DLL's entry point as the loader does.
  BOOL CallEntryPoint(DWORD reason) {
    using EntryPoint = BOOL(WINAPI*)(HINSTANCE, DWORD, void*);
    auto* start = reinterpret_cast<char*>(library.Module());
    const auto entryPoint = reinterpret_cast<EntryPoint>(
        start + PeImage(library.Module()).OptionalHeader().AddressOfEntryPoint);
    return entryPoint(library.Module(), reason, nullptr);
  }
};

TEST(DllLifeTest, LoadsAndUnloads) {
  // A copy: other tests of this process may have pinned the library.
  const wchar_t* name = L"ModeChangeThatGoes.dll";
  const std::filesystem::path folder = Files::ProgramPath().parent_path();
  const std::filesystem::path path = folder / name;
  std::filesystem::copy_file(folder / L"ModeChange.dll", path);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(nullptr, ::GetModuleHandleW(name));
    HMODULE module = ::LoadLibraryW(path.c_str());
    ASSERT_NE(nullptr, module) << "error " << ::GetLastError();
    EXPECT_EQ(module, ::GetModuleHandleW(name));
    EXPECT_TRUE(::FreeLibrary(module));
  }
  EXPECT_EQ(nullptr, ::GetModuleHandleW(name));
  EXPECT_TRUE(std::filesystem::remove(path));
}

TEST_F(DllTest, DoesNothingWhenThreadsComeAndGo) {
  EXPECT_TRUE(CallEntryPoint(DLL_THREAD_ATTACH));
  EXPECT_TRUE(CallEntryPoint(DLL_THREAD_DETACH));
  EXPECT_THAT(interposition.AllCalls(), IsEmpty());
}

TEST_F(DllTest, IsNotCalledWhenThreadsComeAndGo) {
  HANDLE thread = ::CreateThread(
      nullptr, 0, [](void*) -> DWORD { return 0; }, nullptr, 0, nullptr);
  ASSERT_NE(nullptr, thread);
  ::WaitForSingleObject(thread, INFINITE);
  ::CloseHandle(thread);
  EXPECT_THAT(interposition.AllCalls(), IsEmpty());
}

}  // namespace
