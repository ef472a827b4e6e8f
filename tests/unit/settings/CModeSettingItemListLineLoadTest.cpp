#include <commctrl.h>

#include <limits>
#include <numeric>

#include "settings/design/ScreenDpi.h"
#include "unit/devices/ExportOverrides.h"
#include "unit/settings/CModeSettingItemListLineFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using CModeSettingItemListLineLoadTest = CModeSettingItemListLineTest;

constexpr const wchar_t* kLoad = L"LoadUsableSettingItemValueInformationList";
constexpr const wchar_t* kInitialize = L"InitializeSettingItemListLineControl";

std::vector<UINT> FirstValues(UINT count) {
  std::vector<UINT> values(count);
  std::iota(values.begin(), values.end(), 0U);
  return values;
}

/// Every third value: 0, 3, 6 and so on.
std::vector<UINT> ValuesWithGaps(UINT count) {
  std::vector<UINT> values = FirstValues(count);
  for (UINT& value : values) value *= 3;
  return values;
}

// --- The kind of controls ------------------------------------------------------------------------

struct KindOfCount {
  UINT count;
  const char* shown;
};
constexpr KindOfCount kKinds[] = {
    {2, "1016 1018 1019"},        {3, "1016 1024"},
    {4, "1016 1021 1040 1041"},   {5, "1016 1021 1040 1041"},
    {100, "1016 1021 1040 1041"}, {101, "1016 1021 1040 1041"},
};

TEST_F(CModeSettingItemListLineLoadTest, ShowsControlsByTheNumberOfUsableValues) {
  SetSaved(L"Eco", 0);
  for (const KindOfCount& kind : kKinds) {
    SCOPED_TRACE(kind.count);
    OfferValues(static_cast<INT32>(kind.count));
    MakeAndSelect();
    EXPECT_EQ(Shown(), kind.shown);
    EXPECT_EQ(Current(), 0U);
  }
}

TEST_F(CModeSettingItemListLineLoadTest, CountsOnlyUsableValues) {
  SetSaved(L"Eco", 0);
  for (const KindOfCount& kind : kKinds) {
    SCOPED_TRACE(kind.count);
    OfferValues(ValuesWithGaps(kind.count), static_cast<INT32>(kind.count * 3));
    MakeAndSelect();
    EXPECT_EQ(Shown(), kind.shown);
    EXPECT_EQ(Current(), 0U);
  }
}

TEST_F(CModeSettingItemListLineLoadTest, AValueIsUsableWhenItsFlagIsExactlyOne) {
  engine.values = 8;
  engine.available = {{0, 2}, {1, 1}, {2, 0},   {3, -1},
                      {4, 1}, {5, 3}, {6, 257}, {7, std::numeric_limits<INT32>::min() + 1}};
  MakeAndSelect();
  EXPECT_EQ(Shown(), "1016 (1018) (1019)");
  EXPECT_EQ(Text(IDC_FIRST_VALUE), L"Name 1");
  EXPECT_EQ(Text(IDC_SECOND_VALUE), L"Name 4");
}

BOOL WINAPI AnswerNothingButTheCount(void* /*handle*/, UINT identifier, UINT /*subIndex*/,
                                     INT32* value) {
  if (identifier == 1) *value = 4;
  return TRUE;
}

TEST_F(CModeSettingItemListLineLoadTest, AValueIsNotUsableWithoutAnAnswer) {
  ExportOverrides exports(interposition);
  exports.Set("VeltoDeviceEngine_GetINT32Information", &AnswerNothingButTheCount);
  Make();
  EXPECT_EQ(traces.Take(), (Traces{In(kLoad, 300, L"0"), In(L"OnInitDialog", 161)}));
  EXPECT_THAT(list.Take(), ElementsAre("error 100"));
}

// --- Asking the engine ---------------------------------------------------------------------------

TEST_F(CModeSettingItemListLineLoadTest, AsksTheEngineInOrder) {
  OfferValues({0, 2}, 3);
  Make();
  EXPECT_THAT(log, ElementsAre("Lamp.CreateHandle", "Lamp.SelectDevice(0)",
                               "Lamp.GetINT32Information(1, 0)", "Lamp.GetINT32Information(2, 0)",
                               "Lamp.GetStringInformation(1, 0)", "Lamp.GetINT32Information(2, 1)",
                               "Lamp.GetINT32Information(2, 2)", "Lamp.GetStringInformation(1, 2)",
                               "Lamp.GetStringInformation(0, 0)"));
  EXPECT_THAT(list.Take(), IsEmpty());
}

TEST_F(CModeSettingItemListLineLoadTest, ReportsEachCallThatFails) {
  OfferValues({0, 2, 3}, 4);
  const auto int32 = [](const wchar_t* numbers) {
    return Trace{L"CDeviceEngineHelper::GetINT32INformation", 206, numbers};
  };
  const auto text = [](const wchar_t* numbers) {
    return Trace{L"CDeviceEngineHelper::GetStringInformation", 162, numbers};
  };
  const struct {
    const char* call;
    Trace engine;
    Trace line;
    std::uint32_t inInitDialog;
  } failures[] = {
      {"SelectDevice(0)",
       {L"CDeviceEngineHelper::SelectDevice", 117, L"0"},
       In(kLoad, 282, EnginePath()),
       161},
      {"GetINT32Information(1, 0)", int32(L"1, 0"), In(kLoad, 287, EnginePath()), 161},
      {"GetINT32Information(2, 0)", int32(L"2, 0"), In(kLoad, 309, L"0"), 161},
      {"GetINT32Information(2, 1)", int32(L"2, 1"), In(kLoad, 309, L"1"), 161},
      {"GetINT32Information(2, 3)", int32(L"2, 3"), In(kLoad, 309, L"3"), 161},
      {"GetStringInformation(1, 0)", text(L"1, 0"), In(kLoad, 315, L"0"), 161},
      {"GetStringInformation(1, 3)", text(L"1, 3"), In(kLoad, 315, L"3"), 161},
      {"GetStringInformation(0, 0)", text(L"0, 0"), In(kInitialize, 343), 174},
  };
  for (const auto& failure : failures) {
    SCOPED_TRACE(failure.call);
    engine.failing = {failure.call};
    log.clear();
    Make();
    EXPECT_EQ(traces.Take(),
              (Traces{failure.engine, failure.line, In(L"OnInitDialog", failure.inInitDialog)}));
    EXPECT_THAT(list.Take(), ElementsAre("error 100"));
    EXPECT_EQ(log.back(), std::string("Lamp.") + failure.call) << "Nothing is asked after it.";
  }
}

TEST_F(CModeSettingItemListLineLoadTest, ReportsAnEngineThatDoesNotOpen) {
  engine.failing = {"CreateHandle"};
  Make();
  EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::Initialize", 401},
                                   {L"CDeviceEngineHelper::SelectDevice", 111},
                                   In(kLoad, 282, EnginePath()),
                                   In(L"OnInitDialog", 161)}));
  EXPECT_THAT(list.Take(), ElementsAre("error 100"));
}

TEST_F(CModeSettingItemListLineLoadTest, ReportsACountOfNoValues) {
  for (const INT32 count : {0, -1, std::numeric_limits<INT32>::min()}) {
    OfferValues(count);
    Make();
    EXPECT_EQ(traces.Take(),
              (Traces{In(kLoad, 291, std::to_wstring(count)), In(L"OnInitDialog", 161)}));
    EXPECT_THAT(list.Take(), ElementsAre("error 100"));
  }
}

TEST_F(CModeSettingItemListLineLoadTest, ReportsFewerThanTwoUsableValues) {
  for (const std::vector<UINT>& usable : {std::vector<UINT>{}, std::vector<UINT>{2}}) {
    OfferValues(usable, 4);
    Make();
    EXPECT_EQ(traces.Take(),
              (Traces{In(kLoad, 300, std::to_wstring(usable.size())), In(L"OnInitDialog", 161)}));
    EXPECT_THAT(list.Take(), ElementsAre("error 100"));
  }
}

TEST_F(CModeSettingItemListLineLoadTest, AnEngineThatPromisesTooMuchEndsTheWalkItself) {
  engine.values = std::numeric_limits<INT32>::max();
  engine.failing = {"GetINT32Information(2, 5)"};
  interposition.ClearCalls();
  Make();
  EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::GetINT32INformation", 206, L"2, 5"},
                                   In(kLoad, 309, L"5"),
                                   In(L"OnInitDialog", 161)}));
  EXPECT_THAT(list.Take(), ElementsAre("error 100"));
}

TEST_F(CModeSettingItemListLineLoadTest, ReportsAConfigurationThatIsNotThere) {
  const std::wstring file = sandbox.LibraryFolder().wstring() + L"\\ModeChange.UsableModeList.ini";
  sandbox.Remove(file);
  Make();
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeConfig::DoesConfigFileExist", 285, file},
                                   {L"CModeChangeConfig::GetSettingItemEnginePath", 210},
                                   In(kLoad, 279),
                                   In(L"OnInitDialog", 161)}));
  EXPECT_THAT(list.Take(), ElementsAre("error 100"));
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(CModeSettingItemListLineLoadTest, ReportsALockRuleThatLocksNothing) {
  SetLockRule(1, {});
  Make();
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnInitDialog", 168)})) << "The reader has nothing to say.";
  EXPECT_THAT(list.Take(), ElementsAre("error 100"));
  EXPECT_EQ(log.back(), "Lamp.GetStringInformation(1, 1)") << "The controls are not initialised.";
}

TEST_F(CModeSettingItemListLineLoadTest, ReportsALockRuleWithoutAValue) {
  SetLockRule(1, {{L"Fan", 0}, {L"Screen", -100}});
  Make();
  EXPECT_EQ(
      traces.Take(),
      (Traces{{L"CModeChangeConfig::DoesSettingItemaHaveValueLockOtherSettingItem", 263, L"Lamp"},
              In(L"OnInitDialog", 168)}));
  EXPECT_THAT(list.Take(), ElementsAre("error 100"));
}

TEST_F(CModeSettingItemListLineLoadTest, StaysOpenAfterAFailure) {
  engine.failing = {"SelectDevice(0)"};
  Make();
  EXPECT_EQ(traces.Take().size(), 3U);
  EXPECT_NE(::IsWindow(Window()), FALSE);
  ::SendMessageW(Window(), WM_CLOSE, 0, 0);
  EXPECT_EQ(Window(), nullptr);
  EXPECT_THAT(list.Take(), ElementsAre("error 100"));
}

TEST_F(CModeSettingItemListLineLoadTest, SaysWhenItsWindowCannotBeMade) {
  CModeSettingItemListLine line;
  interposition.Fail("CreateDialogParamW", {.lastError = ERROR_NOT_ENOUGH_MEMORY});
  const SettingItemListLineInitParam param{
      .lineNumber = 0, .settingItemName = L"Lamp", .engine = &helper};
  EXPECT_FALSE(line.CreateLine(list.Window(), param));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
  EXPECT_EQ(line.Window(), nullptr);
  EXPECT_THAT(list.Take(), IsEmpty());
}

TEST_F(CModeSettingItemListLineLoadTest, RegistersTheClassesOfItsControls) {
  DWORD classes = 0;
  interposition.Replace("InitCommonControlsEx", [&](const INITCOMMONCONTROLSEX* asked) {
    classes = asked->dwICC;
    return ::InitCommonControlsEx(asked);
  });
  Make();
  EXPECT_EQ(classes, static_cast<DWORD>(ICC_USEREX_CLASSES | ICC_BAR_CLASSES));
}

TEST_F(CModeSettingItemListLineLoadTest, ComesUpOrReportsWhereverMemoryRunsOut) {
  SetLockRule(1, {{L"Fan", 0}});
  int reported = 0;
  int notMade = 0;
  watchdog.SetPatience(90);
  for (std::uint32_t nth = 1;; ++nth) {
    ASSERT_LT(nth, 5000U);
    CModeSettingItemListLine line;
    const SettingItemListLineInitParam param{
        .lineNumber = 0, .settingItemName = L"Lamp", .engine = &helper};
    interposition.ClearCalls();
    interposition.Fail("malloc", {.nth = nth});
    const bool made = line.CreateLine(list.Window(), param);
    interposition.StopFailing();
    const bool wasFailed = interposition.Count("malloc") >= nth;
    const ListWindow::Log said = list.Take();
    const Traces traced = traces.Take();
    if (!wasFailed) {
      EXPECT_TRUE(made);
      EXPECT_THAT(said, IsEmpty());
      EXPECT_THAT(traced, IsEmpty());
      break;
    }
    if (!made) {
      ++notMade;
      EXPECT_THAT(said, IsEmpty());
      continue;
    }
    ++reported;
    EXPECT_THAT(said, ElementsAre("error 100")) << nth;
    ASSERT_FALSE(traced.empty());
    EXPECT_EQ(traced.back(), In(L"OnHandlerFailed", 152)) << nth;
  }
  EXPECT_EQ(notMade, 1) << "Only the binding comes before the window.";
  EXPECT_GT(reported, 10);
}

// --- What does not change ------------------------------------------------------------------------

TEST_F(CModeSettingItemListLineLoadTest, NamesTheItem) {
  for (const INT32 count : {2, 3, 4}) {
    OfferValues(count);
    MakeAndSelect();
    EXPECT_EQ(Text(IDC_SETTING_ITEM), L"The lamp");
    EXPECT_EQ(Text(IDC_LOCKED_ITEM_NAME), L"The lamp");
  }
}

TEST_F(CModeSettingItemListLineLoadTest, NamesSliderAndComboBoxForScreenReaders) {
  const auto ownText = [](HWND window) {
    wchar_t text[64]{};
    ::InternalGetWindowText(window, text, 64);
    return std::wstring(text);
  };
  OfferValues(4);
  MakeAndSelect();
  EXPECT_EQ(ownText(Control(IDC_VALUE_SLIDER)), L"The lamp");
  EXPECT_EQ(Text(IDC_VALUE_SLIDER), L"The lamp");
  OfferValues(3);
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  EXPECT_EQ(ownText(Control(IDC_VALUE_COMBO)), L"The lamp");
  EXPECT_EQ(ownText(reinterpret_cast<HWND>(Ask(IDC_VALUE_COMBO, CBEM_GETCOMBOCONTROL))),
            L"The lamp");
  EXPECT_EQ(Selection(), 1) << "The name is not taken for a choice.";
  EXPECT_THAT(ComboItems(), ElementsAre(L"Name 0", L"Name 1", L"Name 2"));
}

TEST_F(CModeSettingItemListLineLoadTest, AMnemonicStaysWithTheCheckBox) {
  engine.itemKey = L"WithMnemonic";
  OfferValues(4);
  MakeAndSelect();
  EXPECT_EQ(Text(IDC_SETTING_ITEM), L"&The lamp");
  EXPECT_EQ(Text(IDC_VALUE_SLIDER), L"The lamp");
}

TEST_F(CModeSettingItemListLineLoadTest, NamesBothValuesOfARadioPair) {
  OfferValues({3, 7}, 9);
  MakeAndSelect();
  EXPECT_EQ(Text(IDC_FIRST_VALUE), L"Name 3");
  EXPECT_EQ(Text(IDC_SECOND_VALUE), L"Name 7");
}

TEST_F(CModeSettingItemListLineLoadTest, ListsThreeValuesInTheComboBox) {
  OfferValues({1, 4, 6}, 7);
  MakeAndSelect();
  EXPECT_THAT(ComboItems(), ElementsAre(L"Name 1", L"Name 4", L"Name 6"));
  EXPECT_EQ(Ask(IDC_VALUE_COMBO, CB_GETITEMDATA, 0), 1);
  EXPECT_EQ(Ask(IDC_VALUE_COMBO, CB_GETITEMDATA, 1), 4);
  EXPECT_EQ(Ask(IDC_VALUE_COMBO, CB_GETITEMDATA, 2), 6);
}

TEST_F(CModeSettingItemListLineLoadTest, ScalesTheSlider) {
  const struct {
    INT32 count;
    LRESULT page;
  } scales[] = {{4, 1}, {5, 1}, {99, 1}, {100, 1}, {101, 10}, {102, 10}};
  for (const auto& scale : scales) {
    SCOPED_TRACE(scale.count);
    OfferValues(scale.count);
    MakeAndSelect();
    EXPECT_EQ(Ask(IDC_VALUE_SLIDER, TBM_GETRANGEMIN), 0);
    EXPECT_EQ(Ask(IDC_VALUE_SLIDER, TBM_GETRANGEMAX), scale.count - 1);
    EXPECT_EQ(Ask(IDC_VALUE_SLIDER, TBM_GETLINESIZE), 1);
    EXPECT_EQ(Ask(IDC_VALUE_SLIDER, TBM_GETPAGESIZE), scale.page);
    EXPECT_NE(::GetWindowLongPtrW(Control(IDC_VALUE_SLIDER), GWL_STYLE) & TBS_DOWNISLEFT, 0);
    EXPECT_EQ(Text(IDC_SLIDER_DOWN_LABEL), L"Less");
    EXPECT_EQ(Text(IDC_SLIDER_UP_LABEL), L"More");
  }
}

TEST_F(CModeSettingItemListLineLoadTest, ReachesTheLastOfVeryManyValues) {
  constexpr INT32 kMany = 0x8002;  // one message sets at most 0x7FFF as the end of the range
  // Without texts, which would be looked up in the file for each value.
  sandbox.Remove(L"en-US\\ModeChange.Resource.ini");
  interposition.SetRecording(false);
  watchdog.SetPatience(90);
  OfferValues(kMany);
  SetSaved(L"Eco", kMany - 1);
  MakeAndSelect();
  EXPECT_EQ(Ask(IDC_VALUE_SLIDER, TBM_GETRANGEMIN), 0);
  EXPECT_EQ(Ask(IDC_VALUE_SLIDER, TBM_GETRANGEMAX), kMany - 1);
  EXPECT_EQ(Current(), static_cast<std::uint32_t>(kMany - 1));
  EXPECT_FALSE(traces.Take().empty()) << "The texts' file is missed.";
}

TEST_F(CModeSettingItemListLineLoadTest, TextsMayBeMissing) {
  sandbox.Write(L"en-US\\ModeChange.Resource.ini", IniFile().Section(L"Nothing"));
  for (const INT32 count : {2, 3, 4}) {
    OfferValues(count);
    SetSaved(L"Eco", 1);
    MakeAndSelect();
    EXPECT_EQ(Text(IDC_SETTING_ITEM), L"");
    EXPECT_EQ(Text(IDC_GREYED_VALUE), L"");
    EXPECT_EQ(Current(), 1U);
  }
}

// --- Fonts and places ----------------------------------------------------------------------------

LOGFONTW FontOf(HWND control) {
  const auto font = reinterpret_cast<HFONT>(::SendMessageW(control, WM_GETFONT, 0, 0));
  LOGFONTW description{};
  EXPECT_NE(::GetObjectW(font, sizeof(description), &description), 0);
  return description;
}

TEST_F(CModeSettingItemListLineLoadTest, GivesEachControlItsFont) {
  const auto height = [](int points) { return -::MulDiv(points, ScreenDpi::Get(), 72); };
  Make();
  for (const int control : {IDC_SETTING_ITEM, IDC_LOCKED_ITEM_NAME}) {
    EXPECT_EQ(FontOf(Control(control)).lfHeight, height(9)) << control;
  }
  for (const int control : {IDC_FIRST_VALUE, IDC_SECOND_VALUE, IDC_VALUE_COMBO, IDC_GREYED_VALUE,
                            IDC_LOCKED_VALUE_MEMO}) {
    EXPECT_EQ(FontOf(Control(control)).lfHeight, height(8)) << control;
  }
  for (const int control : {IDC_SLIDER_DOWN_LABEL, IDC_SLIDER_UP_LABEL}) {
    EXPECT_EQ(FontOf(Control(control)).lfHeight, height(7)) << control;
  }
}

TEST_F(CModeSettingItemListLineLoadTest, SetsEachFontOnceAndHasItShown) {
  Make();
  std::map<int, int> timesSet;
  for (const Call& call : interposition.CallsOf("SendDlgItemMessageW")) {
    if (call.arguments[2] != WM_SETFONT) continue;
    ++timesSet[static_cast<int>(call.arguments[1])];
    EXPECT_EQ(static_cast<BOOL>(call.arguments[4]), TRUE);
  }
  const std::map<int, int> expected = {{1016, 1}, {1018, 1}, {1019, 1}, {1024, 1}, {1025, 1},
                                       {1031, 1}, {1032, 1}, {1040, 1}, {1041, 1}};
  EXPECT_EQ(timesSet, expected);
}

TEST_F(CModeSettingItemListLineLoadTest, KeepsTheTemplatesFontWhereThereIsNoOther) {
  interposition.Fail("SystemParametersInfoW", {.onwards = true});
  Make();
  interposition.StopFailing();
  EXPECT_EQ(traces.Take().size(), 1U) << "The designer's.";
  const LONG height = FontOf(Window()).lfHeight;
  for (const int control : {IDC_SETTING_ITEM, IDC_FIRST_VALUE, IDC_GREYED_VALUE,
                            IDC_LOCKED_VALUE_MEMO, IDC_SLIDER_UP_LABEL}) {
    EXPECT_EQ(FontOf(Control(control)).lfHeight, height) << control;
  }
}

TEST_F(CModeSettingItemListLineLoadTest, HasItsControlsInTheirPlaces) {
  Make();
  const struct {
    int control;
    POINT corner;
    SIZE size;
  } places[] = {
      {IDC_SETTING_ITEM, {5, 0}, {144, 25}},       {IDC_FIRST_VALUE, {158, 0}, {82, 25}},
      {IDC_SECOND_VALUE, {242, 0}, {120, 25}},     {IDC_VALUE_SLIDER, {171, 5}, {135, 15}},
      {IDC_LOCKED_ITEM_NAME, {16, 0}, {139, 25}},  {IDC_LOCKED_VALUE_MEMO, {158, 0}, {203, 25}},
      {IDC_SLIDER_DOWN_LABEL, {136, 0}, {33, 25}}, {IDC_SLIDER_UP_LABEL, {308, 0}, {33, 25}},
  };
  for (const auto& place : places) {
    SCOPED_TRACE(place.control);
    RECT expected{place.corner.x, place.corner.y, place.size.cx, place.size.cy};
    ::MapDialogRect(Window(), &expected);
    const RECT found = Place(place.control);
    EXPECT_EQ(found.left, expected.left);
    EXPECT_EQ(found.top, expected.top);
    EXPECT_EQ(found.right - found.left, expected.right);
    EXPECT_EQ(found.bottom - found.top, expected.bottom);
  }
}

TEST_F(CModeSettingItemListLineLoadTest, StretchesTheBackgroundOverTheLine) {
  Make();
  RECT client{};
  ::GetClientRect(Window(), &client);
  RECT line{0, 0, 362, 25};
  ::MapDialogRect(Window(), &line);
  EXPECT_NE(::EqualRect(&client, &line), FALSE);
  const RECT background = Place(IDC_LINE_BACKGROUND);
  EXPECT_NE(::EqualRect(&background, &client), FALSE);
}

TEST_F(CModeSettingItemListLineLoadTest, CentresTheComboBoxAndPutsTheButtonOverIt) {
  OfferValues(3);
  RECT before{};
  interposition.Observe("MapWindowPoints", [&](const Call&) {
    if (::IsRectEmpty(&before) != FALSE) before = Place(IDC_VALUE_COMBO);
  });
  Make();
  RECT client{};
  ::GetClientRect(Window(), &client);
  const RECT combo = Place(IDC_VALUE_COMBO);
  EXPECT_EQ(combo.left, before.left);
  EXPECT_EQ(combo.right, before.right);
  EXPECT_EQ(combo.bottom - combo.top, before.bottom - before.top);
  EXPECT_EQ(combo.top, (client.bottom - (combo.bottom - combo.top)) / 2);
  EXPECT_GT(combo.bottom, combo.top);
  const RECT button = Place(IDC_GREYED_VALUE);
  EXPECT_NE(::EqualRect(&button, &combo), FALSE);
}

TEST_F(CModeSettingItemListLineLoadTest, MovesTheComboBoxWithoutResizingIt) {
  OfferValues(3);
  Make();
  int moves = 0;
  for (const Call& call : interposition.CallsOf("SetWindowPos")) {
    if (reinterpret_cast<HWND>(call.arguments[0]) != Control(IDC_VALUE_COMBO)) continue;
    ++moves;
    EXPECT_NE(call.arguments[6] & SWP_NOSIZE, 0U);
    EXPECT_EQ(call.arguments[6] & SWP_NOMOVE, 0U);
  }
  EXPECT_EQ(moves, 1);
  RECT list{};
  const auto inner = reinterpret_cast<HWND>(Ask(IDC_VALUE_COMBO, CBEM_GETCOMBOCONTROL));
  ::SendMessageW(inner, CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&list));
  RECT units{0, 0, 169, 145};
  ::MapDialogRect(Window(), &units);
  EXPECT_GT(list.bottom - list.top, units.bottom / 2) << "The list still has room to drop down.";
}

// --- Closing -------------------------------------------------------------------------------------

TEST_F(CModeSettingItemListLineLoadTest, ClosesWithItsWindow) {
  MakeAndSelect();
  const HWND window = Window();
  EXPECT_EQ(::SendMessageW(window, WM_CLOSE, 0, 0), 0);
  EXPECT_EQ(::IsWindow(window), FALSE);
  EXPECT_EQ(Window(), nullptr);
  EXPECT_FALSE(Line().LockThisSettingItem(true, 1, L"Fan")) << "It knows no values any more.";
  EXPECT_EQ(traces.Take(),
            (Traces{In(L"AdjustSettingItemListLineControlForSettingItemValue", 498, L"1"),
                    In(L"LockThisSettingItem", 815)}));
}

TEST_F(CModeSettingItemListLineLoadTest, LeavesOtherMessagesToWindows) {
  Make();
  EXPECT_EQ(::SendMessageW(Window(), WM_APP + 7, 0, 0), 0);
  ::SetWindowTextW(Window(), L"Left to Windows");
  EXPECT_EQ(TextOf(Window()), L"Left to Windows");
}

}  // namespace
