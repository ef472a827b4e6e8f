#include <string_view>

#include "resources/ControlIds.h"
#include "system/HostFixture.h"

namespace {

constexpr const wchar_t* kSuppressionKey = L"Software\\Brivane\\Kestrola\\ModeChange";
constexpr const wchar_t* kSuppressionValue = L"NotShowAnnounceModeIsChangeDialog";

class RequestTest : public HostTest {
 protected:
  void OpenOn(UINT mode) {
    Open();
    ASSERT_TRUE(selectMode(handle, mode));
  }
  static void Suppress(DWORD type, const void* data, DWORD size) {
    HKEY key = nullptr;
    ASSERT_EQ(::RegCreateKeyExW(HKEY_CURRENT_USER, kSuppressionKey, 0, nullptr, REG_OPTION_VOLATILE,
                                KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    if (data != nullptr) {
      ASSERT_EQ(
          ::RegSetValueExW(key, kSuppressionValue, 0, type, static_cast<const BYTE*>(data), size),
          ERROR_SUCCESS);
    }
    ::RegCloseKey(key);
  }
  static void Suppress(DWORD value) { Suppress(REG_DWORD, &value, sizeof(value)); }
  [[nodiscard]] static bool IsSuppressionThere() {
    return ::RegGetValueW(HKEY_CURRENT_USER, kSuppressionKey, kSuppressionValue, RRF_RT_ANY,
                          nullptr, nullptr, nullptr) == ERROR_SUCCESS;
  }
  /// Instead of the dialog: it did not come up.
  void KeepDialogsFromComingUp() {
    interposition.Fail("DialogBoxParamW",
                       {.onwards = true, .result = static_cast<std::uint64_t>(-1)});
  }
  [[nodiscard]] Traces NeverCameUp(const std::wstring& value = L"1") const {
    return {{L"CModeChange::RequestToChangeMode", 913, L"-1"},
            {L"VeltoModeChange_RequestToSetINT32Information", 339, L"0, 0"},
            {L"VeltoModeChange_RequestToSetINT32Information", 341, value}};
  }
};

TEST_F(RequestTest, AModeSwitchesOnAndOffFromEndToEnd) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetDefault(L"Eco", L"Fan", 0);
  Engine(L"Lamp").current = 0;
  Engine(L"Fan").current = 1;
  OpenOn(kEco);
  EXPECT_TRUE(Request(1));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(Engine(L"Lamp").current, 1);
  EXPECT_EQ(Engine(L"Fan").current, 0);
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 1);
  EXPECT_TRUE(Request(0));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(Engine(L"Lamp").current, 0);
  EXPECT_EQ(Engine(L"Fan").current, 1);
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 0);
}

TEST_F(RequestTest, TheRequestIsHandedOverAsOneRecord) {
  OpenOn(kEco);
  bool seen = false;
  interposition.Replace(
      "SendMessageW",
      [this, &seen](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
        seen = true;
        EXPECT_EQ(window, ChangeModeWindow());
        EXPECT_EQ(message, UINT{WM_COPYDATA});
        EXPECT_EQ(wParam, 0U);
        const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
        EXPECT_EQ(data->dwData, 1U);
        EXPECT_EQ(data->cbData, 32U);
        const auto* bytes = static_cast<const char*>(data->lpData);
        EXPECT_EQ(*reinterpret_cast<const HWND*>(bytes), hostWindow);
        EXPECT_EQ(*reinterpret_cast<const UINT*>(bytes + 8), kNotify);
        EXPECT_STREQ(*reinterpret_cast<const wchar_t* const*>(bytes + 16), L"Eco");
        EXPECT_EQ(*reinterpret_cast<const UINT*>(bytes + 24), 1U);
        return FALSE;
      });
  EXPECT_TRUE(Request(1)) << "the answer is ignored";
  EXPECT_TRUE(seen);
  static_cast<void>(traces.Take());
}

TEST_F(RequestTest, AHostIsToldThatNobodyTookItsRequest) {
  OpenOn(kEco);
  const Traces refused{
      {L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 321},
      {L"CModeChange::RequestToChangeMode", 935},
      {L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 469, L"0, 0"}};
  interposition.Fail("ReadProcessMemory", {});
  EXPECT_TRUE(Request(1));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_FAILED);
  PumpAll();
  EXPECT_EQ(traces.Take(), refused);

  interposition.Fail("ReadProcessMemory", {});
  EXPECT_TRUE(request(handle, VELTO_MODE_REQUEST_STATUS, 0, 1, nullptr, 0)) << "nobody to be told";
  PumpAll();
  EXPECT_EQ(traces.Take(), refused);
  EXPECT_TRUE(log.empty());
}

TEST_F(RequestTest, AHandleThatIsDeletedMeanwhileReportsNoMore) {
  OpenOn(kEco);
  interposition.Replace("SendMessageW", [this](HWND, UINT, WPARAM, LPARAM) -> LRESULT {
    EXPECT_TRUE(deleteHandle(handle));
    handle = nullptr;
    return FALSE;
  });
  EXPECT_TRUE(Request(1));
  PumpAll();
  EXPECT_TRUE(results.empty());
  EXPECT_TRUE(traces.Take().empty());
}

TEST_F(RequestTest, AnUnknownIdentifierSucceedsAndChangesNothing) {
  OpenOn(kEco);
  EXPECT_TRUE(request(handle, 1, 5, 1, hostWindow, kNotify));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::RequestToSetINT32Information", 417, L"1"}}));
  PumpAll();
  EXPECT_TRUE(results.empty());
  EXPECT_TRUE(log.empty());
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"ModeChange.Status.ini")));
}

TEST_F(RequestTest, ANegativeStatusIsRefused) {
  OpenOn(kEco);
  EXPECT_FALSE(request(handle, 0, 5, -1, hostWindow, kNotify));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::RequestToSetINT32Information", 406, L"-1"},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 339, L"0, 5"},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 341, L"-1"}}));
}

TEST_F(RequestTest, AStatusAboveOneIsRefusedBeforeAnythingIsReadOrDeleted) {
  OpenOn(kEco);
  Suppress(1);
  interposition.ClearCalls();
  EXPECT_FALSE(Request(2));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::RequestToChangeMode", 863, L"2, 2"},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 339, L"0, 0"},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 341, L"2"}}));
  EXPECT_EQ(interposition.Count("GetPrivateProfileIntW"), 0U);
  EXPECT_EQ(interposition.Count("RegOpenKeyExW"), 0U);
  EXPECT_TRUE(IsSuppressionThere());
}

TEST_F(RequestTest, UnreadableSettingsFailBeforeTheRegistryIsTouched) {
  OpenOn(kEco);
  Suppress(1);
  sandbox.Remove(L"ModeChange.DefaultSettings.ini");
  const std::wstring path = (sandbox.LibraryFolder() / L"ModeChange.DefaultSettings.ini").wstring();
  EXPECT_FALSE(Request(1));
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeSettings::GetDefaultAnnounceModeIsChangedDialogDisplaySetting",
                     110, path},
                    {L"CModeChangeSettings::GetAnnounceModeIsChangedDialogDisplaySetting", 149},
                    {L"CModeChange::RequestToChangeMode", 872},
                    {L"VeltoModeChange_RequestToSetINT32Information", 339, L"0, 0"},
                    {L"VeltoModeChange_RequestToSetINT32Information", 341, L"1"}}));
  EXPECT_TRUE(IsSuppressionThere());
}

TEST_F(RequestTest, TheSuppressionLeavesOutOneDialog) {
  WriteDefaults(true);
  OpenOn(kEco);
  Suppress(1);
  KeepDialogsFromComingUp();
  EXPECT_TRUE(Request(1));
  EXPECT_FALSE(IsSuppressionThere());
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_FALSE(Request(1)) << "the dialog is back";
  EXPECT_EQ(traces.Take(), NeverCameUp());
}

TEST_F(RequestTest, OtherSuppressionValuesCountAsNoneAndAreDeleted) {
  WriteDefaults(true);
  OpenOn(kEco);
  KeepDialogsFromComingUp();
  constexpr std::uint64_t kLong = 1;
  const std::tuple<DWORD, const void*, DWORD> values[] = {{REG_DWORD, "\0\0\0", 4},
                                                          {REG_SZ, L"1", 4},
                                                          {REG_BINARY, "\1\0\0", 4},
                                                          {REG_QWORD, &kLong, 8}};
  for (const auto& [type, data, size] : values) {
    Suppress(type, data, size);
    EXPECT_FALSE(Request(1)) << "type " << type;
    EXPECT_EQ(traces.Take(), NeverCameUp()) << "type " << type;
    EXPECT_FALSE(IsSuppressionThere()) << "type " << type;
  }
}

TEST_F(RequestTest, TheKeyIsOpenedToReadAndWriteAndClosed) {
  OpenOn(kEco);
  Suppress(0, nullptr, 0);
  interposition.ClearCalls();
  EXPECT_TRUE(Request(1));
  const std::vector<Call> opens = interposition.CallsOf("RegOpenKeyExW");
  ASSERT_FALSE(opens.empty());
  EXPECT_STREQ(opens.front().Text(1), kSuppressionKey);
  EXPECT_EQ(opens.front().arguments.at(3), 0x2001FU);
  EXPECT_STREQ(interposition.CallsOf("RegDeleteValueW").at(0).Text(1), kSuppressionValue);
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(RequestTest, WithoutTheKeyNothingIsDeleted) {
  OpenOn(kEco);
  EXPECT_TRUE(Request(1));
  EXPECT_EQ(interposition.Count("RegQueryValueExW"), 0U);
  EXPECT_EQ(interposition.Count("RegDeleteValueW"), 0U);
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(RequestTest, TheSuppressionIsDeletedAlsoWhenTheDialogIsOffAnyway) {
  OpenOn(kEco);
  Suppress(1);
  EXPECT_TRUE(Request(1));
  EXPECT_FALSE(IsSuppressionThere());
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(RequestTest, ADialogWithoutATemplateOrOwnerNeverComesUp) {
  WriteDefaults(true);
  OpenOn(kEco);
  const HWND gone = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr,
                                      nullptr, nullptr);
  ::DestroyWindow(gone);
  // Windows answers an owner that is gone with 0, the value with which the dialog ends itself.
  interposition.Fail("DialogBoxParamW", {.nth = 1, .result = 0});
  EXPECT_FALSE(request(handle, 0, 0, 1, gone, kNotify));
  EXPECT_EQ(traces.Take(), NeverCameUp());
  KeepDialogsFromComingUp();
  EXPECT_FALSE(Request(0));
  EXPECT_EQ(traces.Take(), NeverCameUp(L"0"));
  PumpAll();
  EXPECT_TRUE(results.empty());
}

TEST_F(RequestTest, ANullWindowIsAllowedAndToldNothing) {
  SetDefault(L"Eco", L"Lamp", 1);
  OpenOn(kEco);
  EXPECT_TRUE(request(handle, 0, 0, 1, nullptr, kNotify));
  EXPECT_TRUE(PumpUntil([this] { return GetNumber(VELTO_MODE_INT32_CURRENT_STATUS) == 1; }));
  EXPECT_TRUE(results.empty());
}

TEST_F(RequestTest, AFailingEngineIsReportedAsFailed) {
  SetDefault(L"Eco", L"Lamp", 1);
  Engine(L"Lamp").result = 2;
  OpenOn(kEco);
  EXPECT_TRUE(Request(1));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_ENGINE_RESULT_2);
  EXPECT_EQ(
      traces.Take(),
      (Traces{{L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 469, L"0, 2"}}));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 0);
}

}  // namespace
