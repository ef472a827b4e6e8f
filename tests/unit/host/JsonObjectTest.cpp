#include "JsonObject.h"

#include <gtest/gtest.h>

TEST(JsonObjectTest, IsWrittenInOrder) {
  EXPECT_EQ(JsonObject().Text(), L"{}");
  EXPECT_EQ(JsonObject()
                .AddNumber(L"index", -1)
                .AddText(L"name", L"Eco")
                .AddFlag(L"on", true)
                .AddFlag(L"off", false)
                .Text(),
            LR"({"index": -1, "name": "Eco", "on": true, "off": false})");
}

TEST(JsonObjectTest, HasObjectsAndLists) {
  EXPECT_EQ(JsonObject()
                .AddObject(L"empty", JsonObject())
                .AddObject(L"texts", JsonObject().AddText(L"en-US", L"On"))
                .Text(),
            LR"({"empty": {}, "texts": {"en-US": "On"}})");
  EXPECT_EQ(JsonObject().AddList(L"none", {}).Text(), LR"({"none": []})");
  EXPECT_EQ(JsonObject()
                .AddList(L"two", {JsonObject().AddNumber(L"a", 1), JsonObject()})
                .AddFlag(L"last", true)
                .Text(),
            L"{\"two\": [\n  {\"a\": 1},\n  {}\n], \"last\": true}");
}

TEST(JsonObjectTest, EscapesWhatJsonReserves) {
  EXPECT_EQ(JsonObject::Quote(L""), LR"("")");
  EXPECT_EQ(JsonObject::Quote(LR"(a "b" c:\d)"), LR"("a \"b\" c:\\d")");
  EXPECT_EQ(JsonObject::Quote(L"1\n2\t3\x1f"), LR"("1\u000a2\u00093\u001f")");
  EXPECT_EQ(JsonObject().AddText(L"\"", L"\\").Text(), LR"({"\"": "\\"})");
}

TEST(JsonObjectTest, KeepsEveryLanguage) {
  EXPECT_EQ(JsonObject::Quote(L"エコモード é \x7f"), L"\"エコモード é \x7f\"");
  EXPECT_EQ(JsonObject::Quote(L"\xD83D\xDE00"), L"\"\xD83D\xDE00\"");
}

TEST(JsonObjectTest, EscapesHalfASurrogatePair) {
  EXPECT_EQ(JsonObject::Quote(L"\xD83D"), LR"("\ud83d")");
  EXPECT_EQ(JsonObject::Quote(L"\xDE00\xD83D"), LR"("\ude00\ud83d")");
  EXPECT_EQ(JsonObject::Quote(L"\xD83Dx"), LR"("\ud83dx")");
}
