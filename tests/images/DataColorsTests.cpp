#include "images/DataColors.h"
#include "images/ImageLevels.h"
#include "support/Picture.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::vector<GLRGBAColor> ColorsOf(const GLDataStyle& style, unsigned int type, const void* values, int width,
                                  int height = 1, int rowAlignment = 1) {
    Bytes rgba(static_cast<std::size_t>(width * height) * 4);
    DataColors(style).Convert({type, width, height, rowAlignment, values}, rgba.data());
    std::vector<GLRGBAColor> colors;
    for (std::size_t pixel = 0; pixel < rgba.size(); pixel += 4) {
        colors.push_back({rgba[pixel], rgba[pixel + 1], rgba[pixel + 2], rgba[pixel + 3]});
    }
    return colors;
}

GLRGBAColor ColorOf(const GLDataStyle& style, float value) {
    return ColorsOf(style, GL_FLOAT, &value, 1).front();
}

GLRGBAColor Grey(int level) {
    const auto grey = static_cast<unsigned char>(level);
    return {grey, grey, grey, 255};
}

struct StyleCase {
    const char* name;
    GLDataStyle style;
    float value;
    GLRGBAColor color;
};

class Styles : public testing::TestWithParam<StyleCase> {};

TEST_P(Styles, GiveAValueItsColor) {
    EXPECT_EQ(ColorOf(GetParam().style, GetParam().value), GetParam().color);
}

constexpr GLRGBAColor kSea{0, 60, 120, 255}, kShore{200, 200, 100, 255}, kPeak{255, 255, 255, 255};

GLDataStyle Terrain() {
    return {.low = -100.0, .high = 100.0, .stops = {{1.0, kPeak}, {0.0, kSea}, {0.5, kSea}, {0.5, kShore}}};
}

GLDataStyle Marked(double noData, double tolerance) {
    return {.high = 255.0,
            .hasNoData = true,
            .noData = noData,
            .noDataTolerance = tolerance,
            .noDataColor = {9, 8, 7, 200}};
}

constexpr GLRGBAColor kMarked{9, 8, 7, 200};

INSTANTIATE_TEST_SUITE_P(
    Values, Styles,
    testing::Values(StyleCase{"Low", {.low = 10.0, .high = 20.0}, 10.0F, Grey(0)},
                    StyleCase{"Middle", {.low = 10.0, .high = 20.0}, 14.0F, Grey(102)},
                    StyleCase{"Below", {.low = 10.0, .high = 20.0}, -kInfinity, Grey(0)},
                    StyleCase{"Above", {.low = 10.0, .high = 20.0}, 1e30F, Grey(255)},
                    StyleCase{"Reversed", {.low = 20.0, .high = 10.0}, 11.0F, Grey(230)},
                    StyleCase{"NoRangeBelow", {.low = 10.0, .high = 10.0}, 10.0F, Grey(0)},
                    StyleCase{"NoRangeAbove", {.low = 10.0, .high = 10.0}, 10.001F, Grey(255)},
                    StyleCase{"NationalGrid", {.low = 4'500'000.0, .high = 4'500'100.0}, 4'500'040.0F, Grey(102)},
                    StyleCase{"Gamma", {.gamma = 2.0}, 0.25F, Grey(128)},
                    StyleCase{"GammaOfNothing", {.gamma = 0.0}, 0.5F, Grey(0)},
                    StyleCase{"GammaNoNumber", {.gamma = std::nan("")}, 0.4F, Grey(102)},
                    StyleCase{"JustBelowAStep", Terrain(), -0.01F, kSea},
                    StyleCase{"OnAStep", Terrain(), 0.002F, kShore},
                    StyleCase{"BetweenStops", Terrain(), 40.0F, {222, 222, 162, 255}},
                    StyleCase{"OneStop", {.stops = {{0.7, kSea}}}, 0.1F, kSea},
                    StyleCase{"StopNowhere", {.stops = {{std::nan(""), kSea}}}, 1.0F, Grey(255)},
                    StyleCase{"NotANumber", {}, kNan, {0, 0, 0, 0}},
                    StyleCase{"NotANumberMarked", Marked(5.0, 0.0), kNan, kMarked},
                    StyleCase{"NoData", Marked(-9999.0, 0.0), -9999.0F, kMarked},
                    StyleCase{"NoDataNearly", Marked(100.0, 0.0), 101.0F, Grey(101)},
                    StyleCase{"NoDataTolerated", Marked(100.0, 1.0), 101.0F, kMarked},
                    StyleCase{"NoDataTooFar", Marked(100.0, 1.0), 101.1F, Grey(101)},
                    StyleCase{"NoDataLowest", Marked(-3.4028235e38, 0.0), -std::numeric_limits<float>::max(), kMarked},
                    StyleCase{"NoDataInfinite", Marked(std::numeric_limits<double>::infinity(), 0.0), 20.0F, Grey(20)}),
    [](const auto& test) { return test.param.name; });

// What a program reads from a file: rows padded to 8 bytes, odd widths beyond what is converted at a time.
TEST(DataColors, RowsOfAllTypesKeepTheirPlaces) {
    constexpr int kWidth = 517, kHeight = 3;
    const GLDataStyle style{.low = 0.0, .high = 255.0, .hasNoData = true, .noData = 17.0};
    const auto check = [&]<typename Value>(unsigned int type, Value) {
        const std::size_t rowBytes = (kWidth * sizeof(Value) + 7) / 8 * 8;
        Bytes memory(1 + rowBytes * kHeight, 0xEE);
        for (int row = 0; row < kHeight; ++row) {
            for (int column = 0; column < kWidth; ++column) {
                const auto value = static_cast<Value>((row * 50 + column) % 256);
                std::memcpy(memory.data() + 1 + static_cast<std::size_t>(row) * rowBytes +
                                static_cast<std::size_t>(column) * sizeof(Value),
                            &value, sizeof(Value));
            }
        }
        const std::vector<GLRGBAColor> colors = ColorsOf(style, type, memory.data() + 1, kWidth, kHeight, 8);
        ASSERT_EQ(colors.size(), static_cast<std::size_t>(kWidth * kHeight));
        for (int pixel = 0; pixel < kWidth * kHeight; ++pixel) {
            const int level = (pixel / kWidth * 50 + pixel % kWidth) % 256;
            const GLRGBAColor& color = colors[static_cast<std::size_t>(pixel)];
            ASSERT_EQ(color.a, level == 17 ? 0 : 255) << pixel;
            ASSERT_TRUE(level == 17 || color == Grey(level)) << pixel;
        }
    };
    check(GL_UNSIGNED_SHORT, std::uint16_t{});
    check(GL_SHORT, std::int16_t{});
    check(GL_FLOAT, float{});
    const std::int16_t negative[] = {-32768, 32767};
    EXPECT_EQ(ColorsOf({.low = -32768.0, .high = 32767.0}, GL_SHORT, negative, 2), (std::vector{Grey(0), Grey(255)}));
    const std::uint16_t large[] = {40'000, 65'535};
    EXPECT_EQ(ColorsOf({.high = 40'000.0}, GL_UNSIGNED_SHORT, large, 2), (std::vector{Grey(255), Grey(255)}));
}

// Smoothing blends the colour of a hole into its edge: it has to be the edge's own.
TEST(DataColors, HolesTakeTheColorOfANeighbor) {
    const float values[] = {kNan, kNan, 1.0F, kNan};
    const std::vector<GLRGBAColor> colors = ColorsOf({}, GL_FLOAT, values, 4);
    EXPECT_EQ(colors[3], (GLRGBAColor{255, 255, 255, 0}));
    EXPECT_EQ(colors[1], (GLRGBAColor{255, 255, 255, 0}));
}

TEST(DataColors, SameStyleIsKnownAgain) {
    EXPECT_TRUE(IsSameStyle(Terrain(), Terrain()));
    GLDataStyle other = Terrain();
    other.stops.back().color.a = 3;
    EXPECT_FALSE(IsSameStyle(Terrain(), other));
    EXPECT_FALSE(IsSameStyle(Marked(1.0, 0.0), Marked(1.0, 0.5)));
}

// ---- Smaller levels

ImageRows RowsOf(unsigned int format, int width, int height, const Bytes& bytes, int rowAlignment = 1) {
    return {format, width, height, width, rowAlignment, bytes.data()};
}

TEST(ImageLevels, EachPixelIsTheMeanOfThoseItStandsFor) {
    const Bytes grey = {10, 20, 30, 41, 99, 99, 50, 60, 70, 80, 99, 99}; // rows of 4 in 6 bytes
    const ImageRows padded{GL_LUMINANCE, 4, 2, 6, 1, grey.data()};
    EXPECT_EQ(HalveImage(padded, Halving::Down).pixels, (Bytes{35, 55}));
    // Three pixels become one: each counts the same. Five become two: 2 + 2/5 pixels each.
    EXPECT_EQ(HalveImage(RowsOf(GL_LUMINANCE, 3, 1, {30, 60, 90}), Halving::Down).pixels, (Bytes{60}));
    EXPECT_EQ(HalveImage(RowsOf(GL_RED, 1, 5, {0, 0, 100, 200, 200}), Halving::Down).pixels, (Bytes{20, 180}));
    // Levels of a raster file: the last pixel stands for what is left.
    const ImageLevel up = HalveImage(RowsOf(GL_RGB, 3, 1, {3, 6, 9, 5, 8, 11, 200, 0, 7}), Halving::Up);
    EXPECT_EQ(up.width, 2);
    EXPECT_EQ(up.pixels, (Bytes{4, 7, 10, 200, 0, 7}));
}

// Black no-data under bright terrain must not darken the coast where the map is zoomed out.
TEST(ImageLevels, TransparentPixelsDoNotCountForTheColor) {
    const Bytes rgba = {200, 100, 50, 255, 0, 0, 0, 0, 200, 100, 50, 255, 0, 0, 0, 0};
    EXPECT_EQ(HalveImage(RowsOf(GL_RGBA, 2, 2, rgba), Halving::Down).pixels, (Bytes{200, 100, 50, 128}));
    const Bytes clear = {7, 8, 9, 0, 7, 8, 9, 0, 7, 8, 9, 0, 7, 8, 9, 0};
    EXPECT_EQ(HalveImage(RowsOf(GL_BGRA, 2, 2, clear), Halving::Down).pixels, (Bytes{7, 8, 9, 0}));
    EXPECT_EQ(HalveImage(RowsOf(GL_LUMINANCE_ALPHA, 2, 1, {40, 255, 200, 85}), Halving::Down).pixels, (Bytes{80, 170}));
}

TEST(ImageLevels, GoDownToOnePixelAndKeepTheMean) {
    constexpr int kWidth = 301, kHeight = 77;
    Bytes grey(kWidth * kHeight);
    double sum = 0.0;
    for (std::size_t pixel = 0; pixel < grey.size(); ++pixel) {
        grey[pixel] = static_cast<unsigned char>(pixel % kWidth * 255 / kWidth);
        sum += grey[pixel];
    }
    const std::vector<ImageLevel> levels = SmallerLevels(RowsOf(GL_LUMINANCE, kWidth, kHeight, grey));
    ASSERT_EQ(levels.size(), 8U);
    EXPECT_EQ(levels[2].width, 37);
    EXPECT_EQ(levels[6].height, 1);
    EXPECT_EQ(levels.back().width, 1);
    EXPECT_NEAR(levels.back().pixels.front(), sum / static_cast<double>(grey.size()), 2.0);
    EXPECT_EQ(SmallerLevels({GL_RGBA, 5, 3, 5, 1, nullptr}).size(), 2U) << "sizes, where there are no pixels";
}

TEST(ImageLevels, ValuesWithoutNumberDoNotCount) {
    const std::vector<float> half = HalveValues({1.0F, kNan, kNan, 3.0F, 5.0F, kNan}, 3, 2);
    ASSERT_EQ(half.size(), 2U);
    EXPECT_FLOAT_EQ(half[0], 3.0F);
    EXPECT_TRUE(std::isnan(half[1]));
}

// ---- Colours of images

TEST(ImageAdjustment, LevelsFollowTheFormula) {
    EXPECT_EQ(LevelsOf({})[77], 77);
    EXPECT_EQ(LevelsOf({.contrast = 2.0F})[128], 129);
    EXPECT_EQ(LevelsOf({.contrast = 2.0F})[40], 0);
    EXPECT_EQ(LevelsOf({.contrast = 0.0F})[200], 128);
    EXPECT_EQ(LevelsOf({.brightness = 0.2F})[100], 151);
    EXPECT_EQ(LevelsOf({.gamma = 2.0F})[64], 128);
    LevelTable invert;
    for (std::size_t level = 0; level < invert.size(); ++level) {
        invert[level] = static_cast<unsigned char>(255 - level);
    }
    EXPECT_EQ(AdjustColors(RowsOf(GL_LUMINANCE_ALPHA, 1, 1, {10, 20}), invert), (Bytes{245, 20}));
    EXPECT_EQ(AdjustColors(RowsOf(GL_ALPHA, 2, 1, {10, 20}), invert), (Bytes{10, 20}));
    EXPECT_EQ(AdjustColors(RowsOf(GL_RGB, 1, 2, {1, 2, 3, 0, 4, 5, 6, 0}, 4), invert),
              (Bytes{254, 253, 252, 251, 250, 249}));
    const NoDataTreatment painted{{10, 10, 10}, 2, false, {1, 2, 3}};
    EXPECT_EQ(TreatNoData(RowsOf(GL_RGB, 3, 1, {12, 8, 10, 13, 10, 10, 10, 10, 10}), painted, invert),
              (Bytes{1, 2, 3, 255, 242, 245, 245, 255, 1, 2, 3, 255}))
        << "within the tolerance, beyond it, on it; painted as asked";
}

} // namespace
