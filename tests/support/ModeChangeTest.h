#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

#include "common/CWideString.h"
#include "support/HandleBalance.h"
#include "support/IniFile.h"
#include "support/Interposition.h"
#include "support/LoadedLibrary.h"
#include "support/Sandbox.h"
#include "support/Text.h"
#include "support/TraceCapture.h"
#include "support/Watchdog.h"

/// The base of every test of the library: its world is made before the test and gone after it.
///
///     class CModeChangeConfigTest : public ModeChangeTest {};
///
///     TEST_F(CModeChangeConfigTest, ListsTheModesInTheirOrder) {
///       sandbox.Write(L"ModeChange.Config.ini", IniFile()
///                                                   .Section(L"ModeList")
///                                                   .Key(L"ModeCount", 2)
///                                                   .Key(L"Mode0", L"Eco")
///                                                   .Key(L"Mode1", L"Cradle"));
///       sandbox.Write(L"ModeChange.UsableModeList.ini", IniFile());
///       std::vector<CWideString> modes;
///       EXPECT_TRUE(CModeChangeConfig().GetAllModeList(&modes));
///       EXPECT_THAT(modes, ElementsAre(L"Eco", L"Cradle"));
///     }
///
///     TEST_F(CModeChangeConfigTest, TracesAFileThatCannotBeOpened) {
///       ... files as above ...
///       interposition.Fail("CreateFileW", {.nth = 1});
///       EXPECT_FALSE(CModeChangeConfig().GetAllModeList(&modes));
///       EXPECT_EQ(traces.Take(), (Traces{{L"Common::GetMyFileSize", 91},
///                                        {L"CModeChangeConfig::GetAllModeList", 102}}));
///     }
///
/// A test fails by itself, when it is over, for each trace that it did not take, for each trace
/// registration, file handle or the like that the library did not give back, and for each file that
/// is left. Members of a derived fixture are destroyed before that is looked at, statics are not.
///
/// Tests whose suite is named "...EachWindows" also run as on Windows 7, those of "...EachLocale"
/// also for users in Japan, in Austria and with Esperanto, whose locale name has no hyphen; they
/// ask Sandbox::IsWindows8OrLater and Sandbox::UserLocale where the answer depends on that.
class ModeChangeTest : public ::testing::Test {
 protected:
  ModeChangeTest();
  ~ModeChangeTest() override;

  LoadedLibrary library;
  Interposition interposition;
  Watchdog watchdog;
  TraceCapture traces;
  HandleBalance handles;
  Sandbox sandbox;
};

inline void PrintTo(const CWideString& text, std::ostream* stream) {
  *stream << '"' << Text::Escape(text.c_str()) << '"';
}
