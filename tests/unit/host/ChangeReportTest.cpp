#include "ChangeReport.h"

#include <gtest/gtest.h>
#include <velto/mode_change.h>

namespace {

Change SwitchOn(WPARAM result) {
  return {.mode = L"Eco",
          .wanted = VELTO_MODE_STATUS_ON,
          .statusBefore = VELTO_MODE_STATUS_OFF,
          .statusAfter = VELTO_MODE_STATUS_OFF,
          .couldBeCancelled = true,
          .result = result};
}

}  // namespace

TEST(ChangeReportTest, TellsADoneChangeByItsStatus) {
  Change change = SwitchOn(VELTO_MODE_CHANGE_COMPLETED);
  change.statusAfter = VELTO_MODE_STATUS_ON;
  const ChangeReport report = ReportChange(change);
  EXPECT_EQ(report.exitCode, 0);
  EXPECT_EQ(report.text, L"Eco is ON.");
}

TEST(ChangeReportTest, TellsACancelledChangeByItsStatus) {
  const ChangeReport report = ReportChange(SwitchOn(VELTO_MODE_CHANGE_COMPLETED));
  EXPECT_EQ(report.exitCode, 1);
  EXPECT_EQ(report.text, L"Cancelled: Eco is OFF.");
}

TEST(ChangeReportTest, AdmitsWhatItCannotTell) {
  Change change = SwitchOn(VELTO_MODE_CHANGE_COMPLETED);
  change.statusBefore = VELTO_MODE_STATUS_ON;
  change.statusAfter = VELTO_MODE_STATUS_ON;
  EXPECT_EQ(ReportChange(change).exitCode, 0);
  EXPECT_EQ(ReportChange(change).text,
            L"Eco is ON, as it was before; if the user was asked and cancelled, nothing was done.");
  change.couldBeCancelled = false;
  EXPECT_EQ(ReportChange(change).text, L"Eco is ON.");
}

TEST(ChangeReportTest, PassesAnEnginesResultOn) {
  for (const int result : {VELTO_MODE_CHANGE_ENGINE_RESULT_2, VELTO_MODE_CHANGE_ENGINE_RESULT_3}) {
    const ChangeReport report = ReportChange(SwitchOn(static_cast<WPARAM>(result)));
    EXPECT_EQ(report.exitCode, result);
    EXPECT_NE(report.text.find(L"result " + std::to_wstring(result)), std::wstring::npos);
  }
}

TEST(ChangeReportTest, CallsEverythingElseAFailure) {
  for (const WPARAM result : {WPARAM{VELTO_MODE_CHANGE_FAILED}, WPARAM{4}, ~WPARAM{0}}) {
    const ChangeReport report = ReportChange(SwitchOn(result));
    EXPECT_EQ(report.exitCode, 1);
    EXPECT_EQ(report.text.find(L"Failed to switch Eco ON"), 0U);
  }
  Change change = SwitchOn(0);
  change.result = std::nullopt;
  EXPECT_EQ(ReportChange(change).exitCode, 1);
  EXPECT_EQ(ReportChange(change).text.find(L"Gave up waiting to switch Eco ON"), 0U);
}
