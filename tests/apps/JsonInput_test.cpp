#include "input/JsonInput.h"
#include "input/InputError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ktx::InputError;
using ktx::JsonObjectReader;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

std::string messageOf(std::function<void()> const& action) {
    try {
        action();
    } catch (InputError const& error) {
        return error.what();
    }
    return "no error";
}

}  // namespace

TEST(JsonInput, SyntaxErrorGivesLineAndColumn) {
    EXPECT_THAT(messageOf([] { ktx::parseJson("{\n  \"a\": [1,\n  2,,\n]}"); }),
                StartsWith("3:5: malformed JSON: "));
}

TEST(JsonInput, EmptyTextIsASyntaxErrorAtTheStart) {
    EXPECT_THAT(messageOf([] { ktx::parseJson(""); }), StartsWith("1:1: malformed JSON"));
}

TEST(JsonInput, MissingFieldIsNamedWithItsPath) {
    nlohmann::json const document = nlohmann::json::parse(R"({"settings": {}})");
    JsonObjectReader reader(document, "");
    JsonObjectReader settings(reader.value("settings"), "settings");
    EXPECT_EQ(messageOf([&] { settings.number("factor"); }), "field 'settings.factor': missing");
}

TEST(JsonInput, WrongElementTypeIsNamedWithItsIndex) {
    nlohmann::json const document = nlohmann::json::parse(R"({"v": [1, 2, true]})");
    JsonObjectReader reader(document, "");
    EXPECT_EQ(messageOf([&] { reader.numbers("v"); }), "field 'v[2]': expected a number, got a boolean");
}

TEST(JsonInput, IntegersMustBeIntegralAndInRange) {
    nlohmann::json const document =
        nlohmann::json::parse(R"({"a": 2.5, "b": 2147483648, "c": -2147483649, "d": -7})");
    JsonObjectReader reader(document, "");
    EXPECT_EQ(messageOf([&] { reader.integer("a"); }), "field 'a': expected an integer, got a number");
    EXPECT_EQ(messageOf([&] { reader.integer("b"); }), "field 'b': integer out of range");
    EXPECT_EQ(messageOf([&] { reader.integer("c"); }), "field 'c': integer out of range");
    EXPECT_EQ(reader.integer("d"), -7);
}

TEST(JsonInput, OverflowingNumberIsReportedWithItsPosition) {
    EXPECT_EQ(messageOf([] { ktx::parseJson("{\"x\": [1,\n -1e400]}"); }),
              "2:2: number out of range: '-1e400' is beyond the largest double");
}

TEST(JsonInput, DefaultsApplyOnlyToAbsentFields) {
    nlohmann::json const document = nlohmann::json::parse(R"({"closed": true})");
    JsonObjectReader reader(document, "");
    EXPECT_TRUE(reader.boolean("closed", false));
    EXPECT_EQ(reader.text("measure", "minmax"), "minmax");
    EXPECT_EQ(reader.integer("n", 4), 4);
}

TEST(JsonInput, FinishRejectsFieldsThatWereNotRead) {
    nlohmann::json const document = nlohmann::json::parse(R"({"values": [], "lenghts": []})");
    JsonObjectReader reader(document, "");
    reader.numbers("values");
    EXPECT_EQ(messageOf([&] { reader.finish(); }), "field 'lenghts': unknown field");
}

TEST(JsonInput, PointsNeedExactlyTwoCoordinates) {
    EXPECT_THAT(messageOf([] { ktx::toPoints(nlohmann::json::parse("[[0, 1], [2]]"), "outer"); }),
                StartsWith("field 'outer[1]': expected a point [x, y], got an array of 1 entries"));
}

TEST(InputError, SourceIsJoinedToPositionsAndFields) {
    EXPECT_EQ(ktx::withSource("a.json", "3:4: malformed JSON"), "a.json:3:4: malformed JSON");
    EXPECT_EQ(ktx::withSource("a.json", "field 'x': missing"), "a.json: field 'x': missing");
}

TEST(InputError, OneLineEscapesControlCharacters) {
    EXPECT_EQ(ktx::oneLine("a\nb\tc\x7f"), "a\\x0ab\\x09c\\x7f");
}
