#include "map/MapFurniture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace OrrinViewer {
namespace {

/// Letters of seven pixels, so that the test needs no font.
const TextSizes kSizes = {[](const std::string& text) { return 7.0 * static_cast<double>(text.size()); }, 9.0, 3.0};

/// A map of the area, as large as it fits into the window.
MapFrame Show(int width, int height, double west, double south, double east, double north) {
    const double unitsPerPixel = std::max((east - west) / width, (north - south) / height);
    const double left = (west + east - width * unitsPerPixel) / 2.0;
    const double top = (south + north + height * unitsPerPixel) / 2.0;
    MapFrame frame{width, height, unitsPerPixel, {}, [=](const Position& position) {
                       return PixelPlace{(position.x - left) / unitsPerPixel, (top - position.y) / unitsPerPixel};
                   }};
    frame.area.Include(Position{left, top - height * unitsPerPixel, 0.0});
    frame.area.Include(Position{left + width * unitsPerPixel, top, 0.0});
    return frame;
}

struct View {
    const char* name;
    int width, height;
    double west, south, east, north;
};

class MapFurnitureLayout : public testing::TestWithParam<View> {};

TEST_P(MapFurnitureLayout, TextsAreWhole_ApartAndWhereTheySay) {
    const View& view = GetParam();
    const MapFrame frame = Show(view.width, view.height, view.west, view.south, view.east, view.north);
    const MapFurniture furniture = LayOutMapFurniture(frame, MapUnits::Metres, kSizes);
    const std::vector<PixelText>& texts = furniture.texts;
    for (std::size_t one = 0; one < texts.size(); ++one) {
        const PixelText& text = texts[one];
        const double right = text.x + kSizes.width(text.text);
        EXPECT_GE(text.x, 0.0) << text.text;
        EXPECT_GE(text.y - kSizes.descent, 0.0) << text.text;
        EXPECT_LE(right, view.width) << text.text;
        EXPECT_LE(text.y + kSizes.ascent, view.height) << text.text;
        for (std::size_t other = 0; other < one; ++other) {
            const bool apart = right < texts[other].x || texts[other].x + kSizes.width(texts[other].text) < text.x ||
                               std::abs(text.y - texts[other].y) >= kSizes.ascent + kSizes.descent;
            EXPECT_TRUE(apart) << text.text << " and " << texts[other].text;
        }
    }
    // A coordinate along the lower edge stands under its place on the map.
    const auto lower = std::count_if(furniture.texts.begin(), furniture.texts.end(), [&](const PixelText& text) {
        const double middle = text.x + kSizes.width(text.text) * 0.5;
        return text.y == furniture.texts.front().y &&
               std::abs(frame.placeOf({std::stod(text.text), 0.0, 0.0}).x - middle) <= 1.0;
    });
    EXPECT_GE(lower, std::min(2, view.width / 300)) << view.name;
}

INSTANTIATE_TEST_SUITE_P(
    Windows, MapFurnitureLayout,
    testing::Values(View{"usual", 1200, 800, 290'000, 9'110'000, 300'000, 9'117'000},
                    View{"small", 240, 160, 290'000, 9'110'000, 300'000, 9'117'000}, View{"tiny", 64, 64, 0, 0, 1, 1},
                    View{"wide", 1900, 90, -180, -10, 180, 10}, View{"high", 100, 1500, -1, -10, 1, 10},
                    View{"close", 800, 600, 500'000.001, 4'500'000.001, 500'000.004, 4'500'000.003}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(MapFurniture, PositionHasAsManyDigitsAsAPixelIsWorth) {
    const double unknown = std::nan("");
    EXPECT_EQ(FormatPosition({294'542.9327, 9'116'067.7818, unknown}, 8.3), "294543  9116068");
    EXPECT_EQ(FormatPosition({-78.5, 36.123456, unknown}, 0.004), "-78.500  36.123");
    EXPECT_EQ(FormatPosition({294'542.9327, 9'116'067.7818, 406.27}, 8.3), "294543  9116068  406.3");
    EXPECT_EQ(FormatPosition({1.0, 2.0, 0.0}, 0.04), "1.00  2.00  0.00");
}

} // namespace
} // namespace OrrinViewer
