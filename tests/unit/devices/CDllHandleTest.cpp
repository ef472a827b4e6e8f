#include "devices/CDllHandle.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/ModeChangeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Keeps what its hooks are told.
class RecordingHandle : public Common::CDllHandle {
 public:
  std::vector<std::string> hooks;
  HMODULE given = nullptr;
  bool accepts = true;

 protected:
  bool OnLoad(HMODULE loaded) override {
    hooks.emplace_back("OnLoad");
    given = loaded;
    ::SetLastError(accepts ? ERROR_SUCCESS : ERROR_BAD_UNIT);
    return accepts;
  }
  void OnUnload() noexcept override { hooks.emplace_back("OnUnload"); }
};

class CDllHandleTest : public ModeChangeTest {
 protected:
  std::wstring dll = sandbox.LibraryFolder().wstring() + L"\\FakeDriver.dll";
  std::wstring otherDll = sandbox.LibraryFolder().wstring() + L"\\FakeEngine.dll";
  std::optional<RecordingHandle> handle{std::in_place};
};

TEST_F(CDllHandleTest, HoldsADllUntilItIsDestroyed) {
  ASSERT_TRUE(handle->Load(dll.c_str()));
  EXPECT_EQ(handle->given, ::GetModuleHandleW(dll.c_str()));
  EXPECT_NE(handle->given, nullptr);
  EXPECT_THAT(handle->hooks, ElementsAre("OnLoad"));
  handle.reset();
  EXPECT_THAT(handles.Held(), IsEmpty());
  EXPECT_EQ(::GetModuleHandleW(dll.c_str()), nullptr);
}

TEST_F(CDllHandleTest, AcceptsEveryDllByItself) {
  Common::CDllHandle plain;
  EXPECT_TRUE(plain.Load(dll.c_str()));
  EXPECT_THAT(handles.Held(), SizeIs(1));
}

TEST_F(CDllHandleTest, FreesNothingWithoutADll) {
  handle.reset();
  EXPECT_EQ(interposition.Count("FreeLibrary"), 0U);
}

TEST_F(CDllHandleTest, FailsWithADllThatDoesNotLoad) {
  EXPECT_FALSE(handle->Load((dll + L".absent").c_str()));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_THAT(handle->hooks, IsEmpty());
  EXPECT_TRUE(handle->Load(dll.c_str()));
}

TEST_F(CDllHandleTest, HoldsOneDllOnly) {
  ASSERT_TRUE(handle->Load(dll.c_str()));
  ::SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(handle->Load(otherDll.c_str()));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ALREADY_INITIALIZED));
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 1U) << "The second one is not even loaded.";
  EXPECT_THAT(handle->hooks, ElementsAre("OnLoad"));
}

TEST_F(CDllHandleTest, FreesADllThatIsRefused) {
  handle->accepts = false;
  EXPECT_FALSE(handle->Load(dll.c_str()));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_BAD_UNIT)) << "As the refusal left it.";
  EXPECT_THAT(handle->hooks, ElementsAre("OnLoad", "OnUnload"));
  EXPECT_THAT(handles.Held(), IsEmpty());
  EXPECT_EQ(::GetModuleHandleW(dll.c_str()), nullptr);
}

TEST_F(CDllHandleTest, WhoRefusesADllNeedsNothingToForget) {
  class RefusingHandle : public Common::CDllHandle {
   protected:
    bool OnLoad(HMODULE /*loaded*/) override { return false; }
  };
  RefusingHandle refusing;
  EXPECT_FALSE(refusing.Load(dll.c_str()));
  EXPECT_THAT(handles.Held(), IsEmpty());
}

TEST_F(CDllHandleTest, CanLoadAfterARefusal) {
  handle->accepts = false;
  EXPECT_FALSE(handle->Load(dll.c_str()));
  handle->accepts = true;
  EXPECT_TRUE(handle->Load(otherDll.c_str()));
  EXPECT_THAT(handles.Held(), SizeIs(1));
}

TEST_F(CDllHandleTest, KeepsTheDllThatWasLoadedInTheMeantime) {
  const auto original = interposition.Original<decltype(&::LoadLibraryW)>("LoadLibraryW");
  // As when the DLL's start-up code comes back to this handle.
  interposition.Replace("LoadLibraryW", [this, original](const wchar_t* path) {
    if (path == dll) {
      EXPECT_TRUE(handle->Load(otherDll.c_str()));
    }
    return original(path);
  });
  EXPECT_FALSE(handle->Load(dll.c_str()));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ALREADY_INITIALIZED));
  EXPECT_THAT(handle->hooks, ElementsAre("OnLoad"));
  EXPECT_EQ(::GetModuleHandleW(dll.c_str()), nullptr) << "The late one is freed.";
  EXPECT_EQ(handle->given, ::GetModuleHandleW(otherDll.c_str()));
}

}  // namespace
