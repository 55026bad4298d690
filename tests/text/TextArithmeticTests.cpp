// What strings on maps need without a font or OpenGL: halos of pixels, orders of reading, letters along a line.

#include "text/BidiLevels.h"
#include "text/GlyphHalo.h"
#include "text/LinePath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

namespace {

using namespace KTR;

std::vector<std::string> RowsOf(const GlyphImage& image) {
    std::vector<std::string> rows;
    for (int y = 0; y < image.height; ++y) {
        std::string row;
        for (int x = 0; x < image.width; ++x) {
            row += ".123456789"[(image.pixels[static_cast<std::size_t>(y * image.width + x)] * 9 + 127) / 255];
        }
        rows.push_back(row);
    }
    return rows;
}

TEST(Halo, CoversWhatIsWithinItsWidth) {
    const GlyphImage dot{1, 1, {255}};
    EXPECT_EQ(RowsOf(HaloAround(dot, 1.0)), (std::vector<std::string>{"595", "999", "595"}));
    EXPECT_EQ(RowsOf(HaloAround(dot, 0.25)), (std::vector<std::string>{".2.", "292", ".2."}));
    EXPECT_EQ(RowsOf(HaloAround(dot, 2.0)), (std::vector<std::string>{"27972", "79997", "99999", "79997", "27972"}));
    const GlyphImage faint{2, 1, {85, 255}};
    EXPECT_EQ(RowsOf(HaloAround(faint, 1.0)), (std::vector<std::string>{"2595", "3999", "2595"}));
    EXPECT_TRUE(HaloAround(GlyphImage{}, 3.0).pixels.empty());
}

// What a halo is: each of its pixels as dark as the darkest that any pixel of the glyph makes it.
TEST(Halo, OfAnyGlyphIsThatOfAllItsPixels) {
    constexpr int side = 23;
    for (const double width : {0.25, 3.0, 8.5}) {
        GlyphImage glyph{side, side, {}};
        unsigned int number = 7;
        for (int pixel = 0; pixel < side * side; ++pixel) {
            number = number * 1664525U + 1013904223U;
            const bool solid = pixel % side > 4 && pixel / side > 6; // ink with an inside, and specks
            glyph.pixels.push_back(solid && number % 64 != 0 ? 255
                                   : (number >> 16) % 8 == 0 ? static_cast<unsigned char>(number >> 24)
                                                             : 0);
        }
        const GlyphImage halo = HaloAround(glyph, width);
        const int margin = HaloMargin(width);
        ASSERT_EQ(halo.width, side + 2 * margin);
        ASSERT_EQ(halo.pixels.size(), static_cast<std::size_t>(halo.width * halo.height));
        for (int y = 0; y < halo.height; ++y) {
            for (int x = 0; x < halo.width; ++x) {
                int darkest = 0;
                for (int ink = 0; ink < side * side; ++ink) {
                    const int right = ink % side + margin - x;
                    const int down = ink / side + margin - y;
                    if (std::abs(right) <= margin && std::abs(down) <= margin) {
                        const double reach = std::clamp(width + 1.0 - std::hypot(right, down), 0.0, 1.0);
                        const int weight = static_cast<int>(std::lround(reach * 255));
                        darkest = std::max(darkest, weight * glyph.pixels[static_cast<std::size_t>(ink)] / 255);
                    }
                }
                ASSERT_EQ(halo.pixels[static_cast<std::size_t>(y * halo.width + x)], darkest) << x << ", " << y;
            }
        }
    }
}

struct ReadingCase {
    const char* name;
    std::string text;     ///< l, r, a letters; 1 and 2 numbers, Arabic's own; + , % signs; m a mark; blanks; . the rest
    std::string fromLeft; ///< the text's characters as they stand, numbered from 'A' where each is
};

class Reading : public testing::TestWithParam<ReadingCase> {};

TEST_P(Reading, StandsInUnicodesOrder) {
    std::vector<BidiClass> classes;
    for (const char character : GetParam().text) {
        const std::string names = "lra12+,%m .";
        classes.push_back(static_cast<BidiClass>(names.find(character)));
    }
    std::string order;
    for (const LevelRun& run : RunsFromLeft(BidiLevels(classes))) {
        for (std::size_t index = 0; index < run.count; ++index) {
            const std::size_t at = run.first + (run.level % 2 != 0 ? run.count - 1 - index : index);
            order += static_cast<char>('A' + at);
        }
    }
    EXPECT_EQ(order, GetParam().fromLeft);
}

INSTANTIATE_TEST_SUITE_P(Lines, Reading,
                         testing::Values(ReadingCase{"empty", "", ""}, ReadingCase{"left_to_right", "ll l.", "ABCDE"},
                                         ReadingCase{"right_to_left", "rrr", "CBA"},
                                         ReadingCase{"arabic_words", "aa aa", "EDCBA"},
                                         ReadingCase{"arabic_in_latin", "l aa l", "ABDCEF"},
                                         ReadingCase{"latin_in_hebrew", "r ll r", "FECDBA"},
                                         ReadingCase{"number_in_hebrew", "rr 11", "DECBA"},
                                         ReadingCase{"number_with_separators", "a 1,1", "CDEBA"},
                                         ReadingCase{"comma_alone_parts_numbers", "r1, 1", "EDCBA"},
                                         ReadingCase{"per_cent_goes_with_its_number", "r 11%", "CDEBA"},
                                         ReadingCase{"blanks_at_the_end_stand_there", "l r ", "ABCD"},
                                         ReadingCase{"blanks_at_the_end_of_hebrew", "rl ", "CBA"},
                                         ReadingCase{"mark_goes_with_its_letter", "l amla", "ABDCEF"},
                                         ReadingCase{"numbers_alone", "11.1", "ABCD"},
                                         ReadingCase{"nothing_strong", " .+", "ABC"}),
                         [](const auto& tested) { return std::string(tested.param.name); });

/// Four letters of 10 pixels.
TextLayout FourLetters() {
    TextLayout layout;
    for (unsigned int index = 0; index < 4; ++index) {
        layout.glyphs.push_back({index, index * 10.0, 0.0, 10.0});
    }
    layout.advance = 40.0;
    return layout;
}

LinePath PathOf(const std::vector<glm::dvec3>& places) {
    return LinePath(places);
}

void ExpectPen(const PlacedLetter& letter, double x, double y, double alongX, double alongY) {
    EXPECT_NEAR(letter.pen.x, x, 1e-9) << "letter " << letter.glyph;
    EXPECT_NEAR(letter.pen.y, y, 1e-9) << "letter " << letter.glyph;
    EXPECT_NEAR(letter.along.x, alongX, 1e-9) << "letter " << letter.glyph;
    EXPECT_NEAR(letter.along.y, alongY, 1e-9) << "letter " << letter.glyph;
    EXPECT_NEAR(letter.up.x, -alongY, 1e-9);
    EXPECT_NEAR(letter.up.y, alongX, 1e-9);
}

TEST(LineText, LettersFollowTheLineAndItsDepth) {
    GLLineTextStyle style;
    style.offset = 3.0;
    style.maximumBendDegrees = 90.0;
    const LinePath path = PathOf({{0, 0, 0.0}, {20, 0, 0.2}, {20, 0, 0.9}, {20, 30, 0.5}});
    EXPECT_DOUBLE_EQ(path.Length(), 50.0);
    const std::vector<PlacedLetter> letters = PlaceAlong(path, FourLetters(), 0.0, style);
    ASSERT_EQ(letters.size(), 4U);
    ExpectPen(letters[0], 0.0, 3.0, 1.0, 0.0);
    ExpectPen(letters[1], 10.0, 3.0, 1.0, 0.0);
    ExpectPen(letters[2], 17.0, 0.0, 0.0, 1.0);
    ExpectPen(letters[3], 17.0, 10.0, 0.0, 1.0);
    EXPECT_NEAR(letters[1].pen.z, 0.15, 1e-9);
}

// Names must not stand on their heads, whichever way a road was digitised.
TEST(LineText, IsReadFromTheOtherEndWhereItWouldStandOnItsHead) {
    GLLineTextStyle style;
    style.offset = 3.0;
    const LinePath path = PathOf({{60, 5, 0}, {0, 5, 0}});
    std::vector<PlacedLetter> letters = PlaceAlong(path, FourLetters(), 4.0, style);
    ASSERT_EQ(letters.size(), 4U);
    ExpectPen(letters[0], 16.0, 8.0, 1.0, 0.0);
    ExpectPen(letters[3], 46.0, 8.0, 1.0, 0.0);
    style.upright = false;
    letters = PlaceAlong(path, FourLetters(), 4.0, style);
    ASSERT_EQ(letters.size(), 4U);
    ExpectPen(letters[0], 56.0, 2.0, -1.0, 0.0);
}

TEST(LineText, StandsNowhereWhereTheLineIsTooShortOrBendsTooMuch) {
    const GLLineTextStyle style;
    const glm::dvec2 low(0.0);
    const glm::dvec2 high(100.0);
    EXPECT_TRUE(PlaceLabels(PathOf({{0, 0, 0}, {39.9, 0, 0}}), 40.0, style, low, high).empty());
    EXPECT_EQ(PlaceLabels(PathOf({{0, 0, 0}, {40, 0, 0}}), 40.0, style, low, high), std::vector<double>{0.0});
    EXPECT_TRUE(PlaceLabels(PathOf({}), 40.0, style, low, high).empty());
    EXPECT_TRUE(PlaceLabels(PathOf({{5, 5, 0}, {5, 5, 0}}), 40.0, style, low, high).empty());
    EXPECT_TRUE(PlaceAlong(PathOf({{0, 0, 0}, {20, 0, 0}, {20, 30, 0}}), FourLetters(), 0.0, style).empty());
    EXPECT_TRUE(PlaceAlong(PathOf({{0, 0, 0}, {25, 0, 0}, {0, 0, 0}}), FourLetters(), 5.0, style).empty());
}

TEST(LineText, PlacementsAndMarginsCountFromTheLinesEnds) {
    const LinePath path = PathOf({{0, 0, 0}, {1000, 0, 0}});
    GLLineTextStyle style;
    style.margin = 50.0;
    const auto starts = [&](GLLineTextPlacement placement, double right) {
        style.placement = placement;
        return PlaceLabels(path, 40.0, style, {0.0, -10.0}, {right, 10.0});
    };
    EXPECT_EQ(starts(GLLineTextStart, 1000.0), std::vector<double>{50.0});
    EXPECT_EQ(starts(GLLineTextCenter, 1000.0), std::vector<double>{480.0});
    EXPECT_EQ(starts(GLLineTextEnd, 1000.0), std::vector<double>{910.0});
    style.repeatDistance = 300.0;
    EXPECT_EQ(starts(GLLineTextRepeat, 1000.0), (std::vector<double>{180.0, 480.0, 780.0}));
    EXPECT_EQ(starts(GLLineTextRepeat, 470.0), (std::vector<double>{180.0, 480.0})) << "the others cannot be seen";
    style.repeatDistance = 1.0;
    EXPECT_EQ(starts(GLLineTextRepeat, 1000.0).size(), 10U) << "not on top of each other";
}

// A line of a country, seen from close by: it has millions of places for labels, and a handful in the window.
TEST(LineText, OnlyLabelsThatCanBeSeenArePlaced) {
    GLLineTextStyle style;
    style.placement = GLLineTextRepeat;
    const LinePath path = PathOf({{-4e9, 50, 0}, {100, 50, 0}, {100, 70, 0}, {-4e9, 70, 0}});
    const std::size_t count = PlaceLabels(path, 40.0, style, {0.0, 0.0}, {1000.0, 800.0}).size();
    EXPECT_GE(count, 1U);
    EXPECT_LE(count, 6U);
}

// Nobody reads a window that is full of text several times over, and millions of labels would hold the host.
TEST(LineText, LabelsThatWouldCoverTheWindowManyTimesAreFewer) {
    std::vector<glm::dvec3> zigzag;
    for (int corner = 0; corner < 20'000; ++corner) {
        zigzag.emplace_back(corner % 2 * 1000.0, corner * 0.04, 0.0);
    }
    GLLineTextStyle style;
    style.placement = GLLineTextRepeat;
    style.repeatDistance = 1.0;
    const std::vector<double> starts = PlaceLabels(PathOf(zigzag), 4.0, style, {0.0, 0.0}, {1000.0, 800.0});
    EXPECT_LE(starts.size(), 50'000U);
    EXPECT_GE(starts.size(), 45'000U);
    EXPECT_GT(starts.back(), 19e6) << "they are thinned out evenly";
}

TEST(LineText, StylesOutOfRangeAreCleaned) {
    GLLineTextStyle style;
    style.margin = -1.0;
    style.repeatDistance = std::numeric_limits<double>::quiet_NaN();
    style.offset = std::numeric_limits<double>::infinity();
    style.maximumBendDegrees = 0.0;
    const GLLineTextStyle clean = CleanStyle(style);
    EXPECT_EQ(clean.margin, 0.0);
    EXPECT_EQ(clean.repeatDistance, 250.0);
    EXPECT_EQ(clean.offset, 1e4);
    EXPECT_EQ(clean.maximumBendDegrees, 1.0);
}

} // namespace
