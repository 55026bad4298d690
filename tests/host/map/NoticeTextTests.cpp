#include "map/NoticeText.h"

#include <gtest/gtest.h>

namespace OrrinViewer {
namespace {

TextSizes TenPixelsPerByte() {
    return {[](const std::string& text) { return 10.0 * static_cast<double>(text.size()); }, 8.0, 2.0};
}

TEST(NoticeText, ReadingIsDescribedAsFarAsItIsKnown) {
    ReadingState state{"opening", std::nullopt, 0, ""};
    EXPECT_EQ(DescribeReading("roads.shp", 1, 1, state), "roads.shp: opening");
    state = {"reading", 0.4599, 12'345, "features"};
    EXPECT_EQ(DescribeReading("roads.shp", 2, 5, state), "roads.shp (2 of 5): reading, 45 %, 12,345 features");
    state = {"decoding", 1.0, 0, ""};
    EXPECT_EQ(DescribeReading("a.png", 1, 1, state), "a.png: decoding, 100 %");
}

TEST(NoticeText, FaultsLoseTheirFolders) {
    EXPECT_EQ(WithoutFolders("C:\\data\\survey 1\\a.las: ends at byte 5"), "a.las: ends at byte 5");
    EXPECT_EQ(WithoutFolders("../data/a.las: record 1/2: is wrong"), "a.las: record 1/2: is wrong");
    EXPECT_EQ(WithoutFolders("a.las: no C:\\b.las"), "a.las: no C:\\b.las");
    EXPECT_EQ(WithoutFolders("3 m/s"), "3 m/s");
}

TEST(NoticeText, LinesBreakBetweenWordsAndWithinLongOnes) {
    using Lines = std::vector<std::string>;
    const TextSizes sizes = TenPixelsPerByte();
    EXPECT_EQ(BreakLines("one two three", 75.0, sizes), (Lines{"one two", "three"}));
    EXPECT_EQ(BreakLines("one two three", 1000.0, sizes), (Lines{"one two three"}));
    EXPECT_EQ(BreakLines("a abcdefgh b", 30.0, sizes), (Lines{"a", "abc", "def", "gh", "b"}));
    EXPECT_EQ(BreakLines("", 30.0, sizes), Lines{});
    // Characters of several bytes stay whole, and a line has one of them however narrow it is.
    EXPECT_EQ(BreakLines("\xC3\xB6\xC3\xA4\xC3\xBC", 45.0, sizes), (Lines{"\xC3\xB6\xC3\xA4", "\xC3\xBC"}));
    EXPECT_EQ(BreakLines("\xC3\xB6\xC3\xA4", 5.0, sizes), (Lines{"\xC3\xB6", "\xC3\xA4"}));
}

} // namespace
} // namespace OrrinViewer
