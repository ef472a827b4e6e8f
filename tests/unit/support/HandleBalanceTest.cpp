#include "support/HandleBalance.h"

#include <gmock/gmock.h>

#include "support/Files.h"
#include "unit/support/InterpositionTarget.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace Target = InterpositionTarget;

class HandleBalanceTest : public ::testing::Test {
 protected:
  std::wstring program = Files::ProgramPath().wstring();
  Interposition interposition{Target::Module()};
  HandleBalance handles{interposition};
};

TEST_F(HandleBalanceTest, HoldsWhatIsOpen) {
  HANDLE file = Target::CallCreateFile(program.c_str());
  EXPECT_THAT(handles.Held(),
              ElementsAre(AllOf(HasSubstr("CreateFileW"), HasSubstr("_tests.exe"))));
  Target::CallCloseHandle(file);
  EXPECT_THAT(handles.Held(), IsEmpty());
  EXPECT_THAT(handles.ReleasedUnheld(), IsEmpty());
}

TEST_F(HandleBalanceTest, HoldsNothingForAFailure) {
  EXPECT_EQ(INVALID_HANDLE_VALUE, Target::CallCreateFile(L"Z:\\no such folder\\no such file"));
  interposition.Fail("CreateFileW", {});
  EXPECT_EQ(INVALID_HANDLE_VALUE, Target::CallCreateFile(program.c_str()));
  EXPECT_THAT(handles.Held(), IsEmpty());
}

TEST_F(HandleBalanceTest, SeesWhatIsClosedTwice) {
  HANDLE file = Target::CallCreateFile(program.c_str());
  Target::CallCloseHandle(file);
  Target::CallCloseHandle(file);
  EXPECT_THAT(handles.ReleasedUnheld(), ElementsAre(HasSubstr("CloseHandle")));
}

}  // namespace
