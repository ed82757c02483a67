#include "parts/json.h"

#include <limits>

#include <gtest/gtest.h>

namespace qmhost
{
namespace
{

TEST(Json, TextIsEscaped)
{
    EXPECT_EQ(JsonString("a\"b\\c"), R"("a\"b\\c")");
    EXPECT_EQ(JsonString("line\nend\x01"), R"("line\u000aend\u0001")");
    EXPECT_EQ(JsonString("\xC3\xA9"), "\"\xC3\xA9\"");
}

TEST(Json, BytesThatAreNoTextAreReplaced)
{
    EXPECT_EQ(JsonString("a\xFFz"), "\"a\xEF\xBF\xBDz\"");
}

TEST(Json, MembersInOrder)
{
    JsonObject json;
    json.Add("name", "x.mp4");
    json.Add("frames", std::int64_t{12});
    json.Add("good", true);
    json.AddNull("nothing");
    EXPECT_EQ(json.Text(), "{\n  \"name\": \"x.mp4\",\n  \"frames\": 12,\n  \"good\": true,\n  \"nothing\": null\n}\n");
}

TEST(Json, NumbersReadBackAsTheyWere)
{
    JsonObject json;
    json.Add("whole", 4960.0);
    json.Add("third", 100.0 / 3);
    EXPECT_EQ(json.Text(), "{\n  \"whole\": 4960,\n  \"third\": 33.333333333333336\n}\n");
}

TEST(Json, WhatIsNoNumberIsNull)
{
    JsonObject json;
    json.Add("a", std::numeric_limits<double>::quiet_NaN());
    json.Add("b", std::numeric_limits<double>::infinity());
    json.Add("c", std::optional<double>());
    EXPECT_EQ(json.Text(), "{\n  \"a\": null,\n  \"b\": null,\n  \"c\": null\n}\n");
}

}  // namespace
}  // namespace qmhost
