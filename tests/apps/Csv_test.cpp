#include "input/Csv.h"
#include "input/InputError.h"
#include "output/NumberFormat.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

using ktx::InputError;
using Matrix = std::vector<std::vector<double>>;

namespace {

std::string messageOf(std::string const& text) {
    try {
        ktx::parseCsvMatrix(text);
    } catch (InputError const& error) {
        return error.what();
    }
    return "no error";
}

}  // namespace

TEST(Csv, ReadsCommaSemicolonAndTabSeparatedRows) {
    EXPECT_EQ(ktx::parseCsvMatrix("1,2\n3,4\n"), (Matrix{{1, 2}, {3, 4}}));
    EXPECT_EQ(ktx::parseCsvMatrix("1;2.5\n3;4"), (Matrix{{1, 2.5}, {3, 4}}));
    EXPECT_EQ(ktx::parseCsvMatrix("1\t2\n3\t4\n"), (Matrix{{1, 2}, {3, 4}}));
}

TEST(Csv, SkipsCommentsBlankLinesAndCarriageReturns) {
    EXPECT_EQ(ktx::parseCsvMatrix("# costs\r\n\r\n 1 , 2 \r\n\n3,4\r\n"), (Matrix{{1, 2}, {3, 4}}));
}

TEST(Csv, AcceptsQuotedNumbers) {
    EXPECT_EQ(ktx::parseCsvMatrix("\"1\",\" 2 \"\n"), (Matrix{{1, 2}}));
}

TEST(Csv, NothingButCommentsGivesAnEmptyMatrix) {
    EXPECT_TRUE(ktx::parseCsvMatrix("# nothing\n\n").empty());
}

TEST(Csv, BadCellsAreReportedWithLineAndColumn) {
    EXPECT_EQ(messageOf("1,2\n3, abc\n"), "2:4: 'abc' is not a number");
    EXPECT_EQ(messageOf("1,,2\n"), "1:3: empty cell, expected a number");
    EXPECT_EQ(messageOf("1,inf\n"), "1:3: 'inf' is not a finite number");
    EXPECT_EQ(messageOf("0x10\n"), "1:1: '0x10' is not a number");
    EXPECT_EQ(messageOf("1,\"2\n"), "1:3: unterminated quoted cell");
}

TEST(Csv, RaggedRowsAreReportedWithTheirLine) {
    EXPECT_EQ(messageOf("1,2,3\n# note\n4,5\n"), "3:1: row has 2 cells, expected 3 like the first row");
}

TEST(Csv, EmbeddedNulIsNotANumber) {
    EXPECT_EQ(messageOf(std::string("1\0", 2)), "1:1: '1\\x00' is not a number");
}

TEST(Csv, FormattedNumbersReadBackExactly) {
    std::mt19937_64 engine(42);
    for (int i = 0; i < 2000; ++i) {
        std::uint64_t bits = engine();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value)) {
            continue;
        }
        std::string const text = ktx::formatNumber(value);
        EXPECT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
    }
    EXPECT_EQ(ktx::formatNumber(0.1), "0.1");
    EXPECT_EQ(ktx::formatCsvRow({1, 0.5, -2}), "1,0.5,-2");
}

TEST(InputExcerpt, ShortTextStaysWholeLongTextIsCutWithItsSize) {
    EXPECT_EQ(ktx::excerpt("abc"), "abc");
    EXPECT_EQ(ktx::excerpt(std::string(60, 'x')), std::string(60, 'x'));
    EXPECT_EQ(ktx::excerpt(std::string(61, 'x')), std::string(60, 'x') + "... (61 bytes)");
    // A two-byte character across the cut is left out whole.
    std::string const accented = std::string(59, 'x') + "\xc3\xa9" + "yz";
    EXPECT_EQ(ktx::excerpt(accented), std::string(59, 'x') + "... (63 bytes)");
}
