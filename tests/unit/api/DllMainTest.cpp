#include <string>
#include <vector>

#include "settings/design/ScreenDpi.h"
#include "support/ModeChangeTest.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* reserved);

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The library is loaded before anything can stand between it and Windows, so its entry function is
/// called once more, as the loader calls it.
class DllMainTest : public ModeChangeTest {
 protected:
  ~DllMainTest() override { ScreenDpi::Set(dpiBefore); }

  BOOL CallDllMain(DWORD reason) { return DllMain(library.Module(), reason, nullptr); }

  std::vector<std::string> CalledFunctions() const {
    std::vector<std::string> functions;
    for (const Call& call : interposition.AllCalls()) functions.push_back(call.function);
    return functions;
  }

 private:
  std::int32_t dpiBefore = ScreenDpi::Get();
};

TEST_F(DllMainTest, KnewTheScreensResolutionWhenItWasLoaded) {
  HDC screen = ::GetDC(nullptr);
  EXPECT_EQ(::GetDeviceCaps(screen, LOGPIXELSY), ScreenDpi::Get());
  ::ReleaseDC(nullptr, screen);
  EXPECT_GT(ScreenDpi::Get(), 0);
}

TEST_F(DllMainTest, AsksForTheScreensResolution) {
  interposition.Replace("GetDeviceCaps",
                        [](HDC, int index) { return index == LOGPIXELSY ? 144 : 0; });
  EXPECT_TRUE(CallDllMain(DLL_PROCESS_ATTACH));
  EXPECT_EQ(144, ScreenDpi::Get());
  EXPECT_THAT(CalledFunctions(),
              ElementsAre("DisableThreadLibraryCalls", "GetDC", "GetDeviceCaps", "ReleaseDC"));
  EXPECT_EQ(0U, interposition.CallsOf("GetDC").front().arguments[0]);
  EXPECT_EQ(library.Module(),
            reinterpret_cast<HMODULE>(interposition.AllCalls().front().arguments[0]));
}

TEST_F(DllMainTest, TracesAMissingScreenAndLoadsAllTheSame) {
  ScreenDpi::Set(0);
  interposition.Fail("GetDC", {.lastError = ERROR_NO_SYSTEM_RESOURCES});
  EXPECT_TRUE(CallDllMain(DLL_PROCESS_ATTACH));
  EXPECT_EQ(0, ScreenDpi::Get());
  EXPECT_EQ(traces.Take(), (Traces{{L"DllMain", 44, std::to_wstring(ERROR_NO_SYSTEM_RESOURCES)}}));
  EXPECT_EQ(0U, interposition.Count("ReleaseDC"));
  EXPECT_EQ(1U, interposition.Count("EventRegister"));
  EXPECT_EQ(1U, interposition.Count("EventUnregister"));
}

TEST_F(DllMainTest, RegistersNoTraceWhenAllIsWell) {
  EXPECT_TRUE(CallDllMain(DLL_PROCESS_ATTACH));
  EXPECT_EQ(0U, interposition.Count("EventRegister"));
}

TEST_F(DllMainTest, DoesNothingForOtherReasons) {
  for (DWORD reason :
       {DWORD{DLL_THREAD_ATTACH}, DWORD{DLL_THREAD_DETACH}, DWORD{DLL_PROCESS_DETACH}, DWORD{99}}) {
    EXPECT_TRUE(CallDllMain(reason));
  }
  EXPECT_THAT(CalledFunctions(), IsEmpty());
}

}  // namespace
