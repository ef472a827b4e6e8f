#include "Names.h"

#include <gtest/gtest.h>

using Known = std::vector<std::wstring>;

TEST(NamesTest, AreEqualInUpperAndLowerCase) {
  EXPECT_TRUE(Names::AreEqual(L"PowerScheme", L"powerSCHEME"));
  EXPECT_FALSE(Names::AreEqual(L"PowerScheme", L"PowerSchemes"));
  EXPECT_FALSE(Names::AreEqual(L"", L"a"));
  EXPECT_EQ(Names::Fold(L"AutoONOFF"), Names::Fold(L"autoOnOff"));
  EXPECT_TRUE(Names::StartsWith(L"Mode12", L"mode"));
  EXPECT_FALSE(Names::StartsWith(L"Mod", L"mode"));
}

TEST(NamesTest, FindsTheNearestOne) {
  const Known known = {L"ModeCount", L"Mode0", L"EnginePath"};
  EXPECT_EQ(Names::FindNearest(L"ModeCont", known), L"ModeCount");
  EXPECT_EQ(Names::FindNearest(L"modecuont", known), L"ModeCount");
  EXPECT_EQ(Names::FindNearest(L"EnginPath", known), L"EnginePath");
  EXPECT_EQ(Names::FindNearest(L"EnginePathName", known), L"EnginePath");
  EXPECT_EQ(Names::FindNearest(L"Engine", known), L"EnginePath") << "It goes on after the name.";
}

TEST(NamesTest, FindsNoneWhereNoneIsNear) {
  EXPECT_EQ(Names::FindNearest(L"Brightness", {L"ModeCount", L"EnginePath"}), L"");
  EXPECT_EQ(Names::FindNearest(L"x", {L"y12", L"ab"}), L"");
  EXPECT_EQ(Names::FindNearest(L"Mode", {}), L"");
  EXPECT_EQ(Names::FindNearest(std::wstring(101, L'a'), {std::wstring(101, L'a')}), L"")
      << "Nobody types a name of this length.";
}

TEST(NamesTest, SuggestsInASentence) {
  EXPECT_EQ(Names::Suggest(L"Ecoo", {L"Eco"}), L" Did you mean \"Eco\"?");
  EXPECT_EQ(Names::Suggest(L"Ecoo", {L"Cradle"}), L"");
}
