// JSON that is read, changed and written.
#include "common/json.h"

#include <gtest/gtest.h>

namespace {

std::string again(const std::string &text)
{
    try {
        return Json::parse(text).oneLine();
    } catch (const JsonError &error) {
        return std::string("! ") + error.what();
    }
}

TEST(JsonText, isReadAndWrittenWithTheSameMeaning)
{
    const struct {
        const char *text, *written;
    } cases[] = {
        {R"( {"b" : [1, -2, {}], "a":[ ] } )", R"({"b":[1,-2,{}],"a":[]})"},
        {R"([null, true, false, 1.5, 1e3])", R"([null,true,false,1.5,1000.0])"},
        {R"("\u00e9\u0007\"\\/")", R"("\u00e9\u0007\"\\/")"},
        {R"([9223372036854775807, -9223372036854775808])",
         R"([9223372036854775807,-9223372036854775808])"},
        {R"(9223372036854775808)", R"(9.223372036854776e+18)"},
        {R"({"a":1,"b":2,"a":3})", R"({"a":3,"b":2})"},
        {R"({"a":{"x":1},"a":[{"y":2,"y":{"z":4}}]})", R"({"a":[{"y":{"z":4}}]})"},
    };
    for (const auto &one : cases)
        EXPECT_EQ(again(one.text), one.written);
}

TEST(JsonText, thatIsBrokenOrTooDeepIsRefused)
{
    for (const char *text : {"", "[", "{", R"({"a")", "[1,]", "nul", "1 2", "\"\xff\"", "'a'"})
        EXPECT_NE(again(text).find("parse error"), std::string::npos) << text;
    EXPECT_EQ(again(std::string(100, '[') + std::string(100, ']')).size(), 200u);
    for (const char *open : {"[", R"({"a":)"}) {
        std::string text;
        for (int i = 0; i < 200000; ++i)
            text += open;
        EXPECT_EQ(again(text), "! values are nested more than 100 levels deep");
    }
    EXPECT_TRUE(Json::parseOrNull("[").isNull());
}

TEST(Json, isWrittenInAsciiWhateverItsTextHolds)
{
    const Json json = {{"text", "\x1b\xe2\x80\xae\xff"}, {"list", std::vector<int>{1, 2}}};
    EXPECT_EQ(json.oneLine(), R"({"text":"\u001b\u202e\ufffd","list":[1,2]})");
    EXPECT_EQ(json.lines(), "{\n  \"text\": \"\\u001b\\u202e\\ufffd\",\n  \"list\": [\n    1,\n"
                            "    2\n  ]\n}\n");
    EXPECT_TRUE(isUtf8("\xe2\x80\xae"));
    EXPECT_FALSE(isUtf8("\xff"));
}

TEST(Json, ofAnotherKindIsNotTaken)
{
    const Json json = {{"number", 1}, {"text", "a"}, {"truth", true}, {"none", nullptr}};
    EXPECT_EQ(json.at("number").integer(), 1);
    EXPECT_TRUE(json.at("truth").truth());
    EXPECT_TRUE(json.at("none").isNull());
    EXPECT_EQ(json.find("more"), nullptr);
    EXPECT_THROW(static_cast<void>(json.at("more")), JsonError);
    EXPECT_THROW(static_cast<void>(json.at("number").text()), JsonError);
    EXPECT_THROW(static_cast<void>(json.at("text").integer()), JsonError);
    EXPECT_THROW(static_cast<void>(json.at("truth").integer()), JsonError);
    EXPECT_THROW(static_cast<void>(json.at("text").members()), JsonError);
    EXPECT_THROW(static_cast<void>(json.values()), JsonError);
}

TEST(Json, growsAndComparesByItsValues)
{
    Json json = Json::object();
    json["list"] = Json::array();
    json["list"].push_back(1);
    json["text"] = "a";
    json["text"] = "b";
    EXPECT_EQ(json, Json::parse(R"({"list":[1],"text":"b"})"));
    EXPECT_NE(json, Json::parse(R"({"text":"b","list":[1]})"));
    EXPECT_THROW(json.push_back(1), JsonError);
}

} // namespace
