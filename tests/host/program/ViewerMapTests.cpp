// The viewer as a map: rasters below areas, labels, what is around the map, several windows.

#include "ViewerProgram.h"

#include "files/ImageFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <set>
#include <string>
#include <vector>

namespace OrrinViewer {
namespace {

using Color = std::array<int, 3>;

constexpr Color kUpperLeft = {250, 0, 0};
constexpr Color kUpperRight = {0, 250, 0};
constexpr Color kLowerLeft = {0, 0, 250};
constexpr Color kLowerRight = {250, 250, 250};
constexpr Color kOutline = {255, 176, 64};
/// Of the first feature's area.
constexpr Color kFirstFill = {232, 120, 40};

class ViewerMap : public ViewerProgram, public testing::WithParamInterface<const wchar_t*> {
protected:
    /// An image of four colours, 100 m wide and high at national-grid coordinates, with its world file.
    fs::path WriteFourColors() const {
        constexpr int kSide = 100;
        std::vector<unsigned char> pixels;
        for (int row = 0; row < kSide; ++row) {
            for (int column = 0; column < kSide; ++column) {
                const Color& color = row < kSide / 2 ? (column < kSide / 2 ? kUpperLeft : kUpperRight)
                                                     : (column < kSide / 2 ? kLowerLeft : kLowerRight);
                for (const int channel : color) {
                    pixels.push_back(static_cast<unsigned char>(channel));
                }
            }
        }
        Write("photo.pgw", "1\n0\n0\n-1\n500000.5\n4500099.5\n");
        return Write("photo.png", EncodePng(kSide, kSide, pixels));
    }
    /// A square around the middle of that image with a square hole, its rings in either direction.
    fs::path WriteParcel(bool clockwise) const {
        const std::string counterclockwise =
            R"([[500020, 4500020], [500080, 4500020], [500080, 4500080], [500020, 4500080], [500020, 4500020]],
               [[500040, 4500040], [500060, 4500040], [500060, 4500060], [500040, 4500060], [500040, 4500040]])";
        const std::string reversed =
            R"([[500020, 4500020], [500020, 4500080], [500080, 4500080], [500080, 4500020], [500020, 4500020]],
               [[500040, 4500040], [500040, 4500060], [500060, 4500060], [500060, 4500040], [500040, 4500040]])";
        return Write("parcel.geojson",
                     R"({"type": "Feature", "properties": {"NAME": "Hill"}, "geometry": {"type": "Polygon",
                        "coordinates": [)" +
                         (clockwise ? reversed : counterclockwise) + "]}}");
    }
    std::vector<std::wstring> WithPipeline(std::vector<std::wstring> arguments) const {
        arguments.insert(arguments.end(), {L"--pipeline", GetParam()});
        return arguments;
    }
};

INSTANTIATE_TEST_SUITE_P(Pipelines, ViewerMap, testing::Values(L"legacy", L"gl4"), [](const auto& tested) {
    const std::wstring name = tested.param;
    return std::string(name.begin(), name.end());
});

// One metre is two pixels here, and the raster's middle is the window's.
TEST_P(ViewerMap, RasterShowsBesideFilledAreasAndThroughTheirHoles) {
    const std::wstring photo = WriteFourColors().wstring();
    for (const bool clockwise : {false, true}) {
        const Frame frame = Draw(WithPipeline(
            {photo, WriteParcel(clockwise).wstring(), L"--fill", L"100", L"--area", L"499990,4500010,500110,4500090"}));
        ASSERT_EQ(frame.width, 240);
        EXPECT_EQ(frame.At(120 - 90, 80 - 70), kUpperLeft);
        EXPECT_EQ(frame.At(120 + 90, 80 - 70), kUpperRight);
        EXPECT_EQ(frame.At(120 - 90, 80 + 70), kLowerLeft);
        EXPECT_EQ(frame.At(120 + 90, 80 + 70), kLowerRight);
        EXPECT_EQ(frame.At(120 - 105, 80), frame.At(2, 2)) << "beside the raster there is background";
        EXPECT_EQ(frame.At(120 + 40, 80 + 3), kFirstFill);
        EXPECT_EQ(frame.At(120 - 10, 80 - 10), kUpperLeft) << "the hole";
        EXPECT_EQ(frame.At(120 + 10, 80 + 10), kLowerRight) << "the hole";
        EXPECT_TRUE(frame.HasNear(120 + 60, 80, kOutline));
    }
}

// A slope that falls to the south east lies in the shade, a photograph on it too; without a grid it is as it was.
TEST_P(ViewerMap, HillshadeDarkensTheImageWhereTheGroundTurnsAway) {
    const std::wstring photo = WriteFourColors().wstring();
    std::string grid = "ncols 10\nnrows 10\nxllcorner 500000\nyllcorner 4500000\ncellsize 10\n";
    for (int row = 0; row < 10; ++row) {
        for (int column = 0; column < 10; ++column) {
            grid += std::to_string(column < 5 ? 300 : 300 - (column - 5) * 10 - row * 10) + " ";
        }
        grid += "\n";
    }
    const std::wstring terrain = Write("terrain.asc", grid).wstring();
    const auto draw = [&](const wchar_t* percent) {
        return Draw(
            WithPipeline({photo, terrain, L"--hillshade", percent, L"--area", L"499990,4500010,500110,4500090"}));
    };
    const Frame shaded = draw(L"100");
    EXPECT_EQ(shaded.At(120 - 90, 80 - 70), kUpperLeft) << "level ground";
    const Color slope = shaded.At(120 + 70, 80 - 60);
    EXPECT_LT(slope[1], 100);
    EXPECT_EQ(slope[0], 0);
    const Color half = draw(L"50").At(120 + 70, 80 - 60);
    EXPECT_NEAR(half[1], (kUpperRight[1] + slope[1]) / 2, 2);
}

// A photo over a relief was hidden by it. Now it bends with it, lit, with its own colours; beside it the relief shows
// its elevations.
TEST_P(ViewerMap, PhotoLiesOnTheRelief) {
    std::string grid = "ncols 24\nnrows 12\nxllcorner 499990\nyllcorner 4499990\ncellsize 10\n";
    for (int row = 0; row < 12; ++row) {
        for (int column = 0; column < 24; ++column) {
            grid += std::to_string(300 + 4 * column) + " ";
        }
        grid += "\n";
    }
    const std::wstring terrain = Write("terrain.asc", grid).wstring();
    const std::wstring photo = WriteFourColors().wstring();
    const auto draw = [&](const wchar_t* camera) {
        return Draw(WithPipeline({terrain, photo, L"--view", camera, L"--area", L"499990,4500010,500110,4500090"}));
    };
    const Frame map = draw(L"map");
    const Color red = map.At(120 - 60, 80 - 40);
    EXPECT_GT(red[0], 90);
    EXPECT_LT(red[1], 20);
    const Color blue = map.At(120 - 60, 80 + 40);
    EXPECT_GT(blue[2], 90);
    EXPECT_LT(blue[0], 20);
    const Frame above = draw(L"3d");
    int colored = 0;
    for (int x = 0; x < 240; ++x) {
        for (int y = 0; y < 160; ++y) {
            const Color color = above.At(x, y);
            colored += color[2] > 90 && color[0] < 20 && color[1] < 20 ? 1 : 0;
        }
    }
    EXPECT_GT(colored, 100) << "the photo, seen from the south";
}

// Outlines in degrees, a photo in the next zone, a grid in metres: one map.
TEST_P(ViewerMap, LayersOfOtherSystemsLieWhereTheyAre) {
    const auto definition = [](int zone, int meridian) {
        return "PROJCS[\"WGS 84 / UTM zone " + std::to_string(zone) +
               "N\",GEOGCS[\"WGS 84\",DATUM[\"WGS_1984\",SPHEROID[\"WGS 84\",6378137,298.257223563]],"
               "PRIMEM[\"Greenwich\",0],UNIT[\"degree\",0.0174532925199433]],PROJECTION[\"Transverse_Mercator\"],"
               "PARAMETER[\"latitude_of_origin\",0],PARAMETER[\"central_meridian\"," +
               std::to_string(meridian) +
               "],PARAMETER[\"scale_factor\",0.9996],PARAMETER[\"false_easting\",500000],"
               "PARAMETER[\"false_northing\",0],UNIT[\"metre\",1],AUTHORITY[\"EPSG\",\"" +
               std::to_string(32600 + zone) + "\"]]";
    };
    Write("level.prj", definition(32, 9));
    const std::wstring level =
        Write("level.asc", "ncols 2\nnrows 2\nxllcorner 500000\nyllcorner 4982900\ncellsize 100\n1 1 1 1\n").wstring();
    // The middle of the grid in degrees.
    const std::wstring outline =
        Write("outline.json", R"({"type": "LineString", "coordinates": [[9.00001, 45.0004], [9.0025, 45.0004]]})")
            .wstring();
    const Outcome outcome = Run({outline, level, L"--frames", L"1"});
    EXPECT_NE(outcome.errors.find("outline.json: transformed from WGS 84 (EPSG:4326) into WGS 84 / UTM zone 32N"),
              std::string::npos)
        << outcome.errors;
    EXPECT_NE(outcome.output.find(", in WGS 84 / UTM zone 32N (EPSG:32632)"), std::string::npos) << outcome.output;
    const Frame frame = Draw(WithPipeline({outline, level, L"--area", L"499900,4982900,500300,4983100"}));
    // 45.0004 degrees are 4,982,994.9 m; 1.25 units a pixel or more.
    bool isFound = false;
    for (int y = 60; y < 100; ++y) {
        isFound = isFound || frame.At(120, y) == kOutline;
    }
    EXPECT_TRUE(isFound);
    const Outcome other = Run({level, L"--crs", L"EPSG:32631", L"--flat", L"--frames", L"1"});
    EXPECT_NE(other.output.find("in WGS 84 / UTM zone 31N (EPSG:32631)"), std::string::npos) << other.output;
    EXPECT_NE(other.output.find("x 97"), std::string::npos) << "470 km from that meridian: " << other.output;
    const Outcome wrong = Run({level, L"--crs", L"EPSG:99", L"--frames", L"1"});
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_NE(wrong.errors.find("--crs: takes a coordinate system of the register"), std::string::npos) << wrong.errors;
}

// Ten thousand million pixels: near and far the map is there at once, with a hill's colours and no hole.
TEST_P(ViewerMap, RasterLargerThanMemoryIsShownNearAndFar) {
    for (const wchar_t* area : {L"-50000,-33000,50000,33000", L"12000,30000,12120,30080"}) {
        const Frame frame = Draw(WithPipeline({L"--computed", L"100000", L"--area", area, L"--units", L"metres"}));
        ASSERT_EQ(frame.width, 240);
        std::set<Color> colors;
        for (int x = 60; x < 180; x += 4) {
            for (int y = 10; y < 150; y += 4) {
                colors.insert(frame.At(x, y));
            }
        }
        EXPECT_FALSE(colors.contains({44, 49, 58})) << "the background";
        EXPECT_GT(colors.size(), 10U);
    }
}

/// The box around all pixels that are white.
struct Box {
    int left = 10'000, top = 10'000, right = -1, bottom = -1;
};

Box FindWhite(const Frame& frame) {
    Box box;
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            if (frame.At(x, y) == Color{255, 255, 255}) {
                box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x), std::max(box.bottom, y)};
            }
        }
    }
    return box;
}

// A label that swims over the map while it is moved, or stands beside its area, is worse than none.
TEST_P(ViewerMap, LabelStandsInTheMiddleOfItsAreaAndMovesWithIt) {
    const fs::path parcel = Write("parcel.geojson", R"({"type": "Feature", "properties": {"NAME": "Hill", "SIZE": 2},
        "geometry": {"type": "Polygon", "coordinates": [[[0, 0], [100, 0], [100, 60], [0, 60], [0, 0]]]}})");
    const auto draw = [&](const wchar_t* area) {
        return Draw(WithPipeline({parcel.wstring(), L"--units", L"metres", L"--labels", L"NAME", L"--area", area}));
    };
    const Box middle = FindWhite(draw(L"-10,-10,110,70"));
    ASSERT_GE(middle.right, middle.left) << "there is a label";
    EXPECT_NEAR((middle.left + middle.right) / 2.0, 120.0, 2.0);
    EXPECT_NEAR((middle.top + middle.bottom) / 2.0, 80.0, 3.0);
    const Box moved = FindWhite(draw(L"0,-20,120,60")); // by 20 pixels each way
    EXPECT_EQ(moved.left, middle.left - 20);
    EXPECT_EQ(moved.right, middle.right - 20);
    EXPECT_EQ(moved.top, middle.top - 20);
    EXPECT_EQ(moved.bottom, middle.bottom - 20);

    const Outcome unknown = Run({parcel.wstring(), L"--labels", L"TITLE", L"--frames", L"1"});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_NE(unknown.errors.find("'TITLE'; there are: NAME, SIZE"), std::string::npos) << unknown.errors;
}

// The coordinates, the scale bar and the arrow: each in its corner, over the same map.
TEST_P(ViewerMap, FurnitureStandsOnlyAroundTheMap) {
    const std::vector<std::wstring> arguments =
        WithPipeline({WriteFourColors().wstring(), L"--area", L"499900,4499950,500200,4500150"});
    std::vector<std::wstring> plainArguments = arguments;
    plainArguments.push_back(L"--plain");
    const Frame furnished = DrawMap(arguments, 600, 400);
    const Frame plain = DrawMap(plainArguments, 600, 400);
    const auto countChanged = [&](int left, int top, int right, int bottom) {
        int changed = 0;
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                changed += furnished.At(x, y) != plain.At(x, y) ? 1 : 0;
            }
        }
        return changed;
    };
    EXPECT_GT(countChanged(0, 375, 600, 400), 300) << "coordinates below";
    EXPECT_GT(countChanged(0, 40, 70, 370), 200) << "coordinates at the left";
    EXPECT_GT(countChanged(420, 340, 600, 375), 150) << "scale bar";
    EXPECT_GT(countChanged(560, 15, 600, 90), 150) << "north arrow";
    EXPECT_EQ(countChanged(100, 20, 500, 330), 0) << "the map itself";
}

// Roads open where they cross: the casings of all lie below all of them. One metre is two pixels.
TEST_P(ViewerMap, RoadsHaveCasingsAndAreasWideBorders) {
    const fs::path map = Write("roads.geojson", R"({"type": "GeometryCollection", "geometries": [
        {"type": "LineString", "coordinates": [[500000, 4500030], [500100, 4500030]]},
        {"type": "LineString", "coordinates": [[500050, 4500010], [500050, 4500090]]},
        {"type": "Polygon", "coordinates": [[[500010, 4500050], [500030, 4500050], [500030, 4500070],
                                             [500010, 4500070], [500010, 4500050]]]},
        {"type": "Point", "coordinates": [500080, 4500060]}]})");
    const Frame frame =
        Draw(WithPipeline({map.wstring(), L"--units", L"metres", L"--line-width", L"6", L"--casing", L"10", L"--border",
                           L"8", L"--symbol", L"circle", L"--plain", L"--area", L"499990,4500010,500110,4500090"}));
    constexpr Color road = {255, 244, 214};
    constexpr Color casing = {150, 92, 34};
    const auto at = [&](int x, int y) { return frame.At((x + 10) * 2, 160 - (y - 10) * 2); };
    EXPECT_EQ(at(50, 30), road) << "where they cross";
    EXPECT_EQ(frame.At(120 - 10, 160 - 40 + 2), road);
    EXPECT_EQ(frame.At(120 + 40, 160 - 40 - 4), casing);
    EXPECT_EQ(frame.At(120 - 4, 40), casing);
    EXPECT_EQ(frame.At(120, 40 + 1), road);
    for (const int aside : {-2, 2}) {
        EXPECT_EQ(frame.At(40 + aside, 60), kOutline) << "a border of eight pixels";
    }
    EXPECT_EQ(at(80, 60), (Color{230, 70, 60})) << "a symbol";
    EXPECT_EQ(at(20, 60), frame.At(2, 2)) << "areas are not filled";
}

/// Rings of 3,000 corners around four places, jagged in steps of all sizes.
std::vector<std::string> JaggedIslands() {
    constexpr int kCorners = 3000;
    std::vector<std::string> islands;
    for (int island = 0; island < 4; ++island) {
        std::string ring;
        for (int corner = 0; corner <= kCorners; ++corner) {
            const double turn = 2.0 * std::numbers::pi * (corner % kCorners) / kCorners;
            double radius = 200.0;
            for (int wave = 3; wave < kCorners / 2; wave = wave * 2 + 1) {
                radius += 200.0 / wave * std::sin(turn * wave + wave * island);
            }
            ring += (corner > 0 ? ", [" : "[") +
                    std::to_string(500'000.0 + island % 2 * 2600 + radius * std::cos(turn)) + ", " +
                    std::to_string(4'500'000.0 + island / 2 * 2600 + radius * std::sin(turn)) + "]";
        }
        islands.push_back(R"({"type": "Polygon", "coordinates": [[)" + ring + "]]}");
    }
    return islands;
}

/// A white pixel wherever something is drawn.
Frame ShapesOf(const Frame& frame) {
    Frame shapes = frame;
    for (std::size_t byte = 0; byte < frame.rgba.size(); byte += 4) {
        const bool isGround = std::equal(frame.rgba.begin(), frame.rgba.begin() + 3, frame.rgba.begin() + byte);
        std::fill_n(shapes.rgba.begin() + byte, 3, static_cast<std::uint8_t>(isGround ? 0 : 255));
    }
    return shapes;
}

// Together they have so many corners that there are coarser versions of them, each by itself has not.
TEST_P(ViewerMap, ManyCornersAreDrawnAsFewWhereThatMakesNoDifference) {
    const std::vector<std::string> islands = JaggedIslands();
    std::vector<std::wstring> each;
    std::string all;
    for (std::size_t index = 0; index < islands.size(); ++index) {
        each.push_back(Write("island" + std::to_string(index) + ".geojson", islands[index]).wstring());
        all += (index > 0 ? ", " : "") + islands[index];
    }
    const std::wstring together =
        Write("islands.geojson", R"({"type": "GeometryCollection", "geometries": [)" + all + "]}").wstring();
    const auto draw = [&](std::vector<std::wstring> arguments, const std::wstring& area) {
        arguments.insert(arguments.end(), {L"--plain", L"--units", L"metres", L"--area", area});
        return ShapesOf(DrawMap(WithPipeline(arguments), 600, 600));
    };
    const std::wstring everything = L"499600,4499600,503000,4503000";
    const Frame full = draw(each, everything);
    const double differing = ShareOfDifferingPixels(draw({together}, everything), full, 10);
    Frame empty = full;
    std::fill(empty.rgba.begin(), empty.rgba.end(), full.rgba.front());
    const double drawn = ShareOfDifferingPixels(full, empty, 10);
    EXPECT_GT(differing, 0.0) << "a coarser version is drawn";
    EXPECT_LT(differing, drawn * 0.15);
    const std::wstring closely = L"500150,4500000,500250,4500100";
    const Frame close = draw(each, closely);
    EXPECT_GT(ShareOfDifferingPixels(close, empty, 10), 0.001);
    EXPECT_TRUE(draw({together}, closely).rgba == close.rgba) << "the full version";
}

// The second window finds the textures and programs of the first, and shows the same.
TEST_P(ViewerMap, SeveralWindowsShowTheSame) {
    const fs::path first = Folder() / L"map.png";
    const Outcome outcome =
        Run(WithPipeline({WriteFourColors().wstring(), WriteParcel(false).wstring(),
                          Write("points.ply", SquareCloud(500'000, 4'500'000)).wstring(), L"--labels", L"NAME",
                          L"--fill", L"50", L"--width", L"300", L"--height", L"200", L"--windows", L"3", L"--frames",
                          L"2", L"--screenshot", first.wstring()}));
    ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
    const Frame frame = ReadFrame(first);
    ASSERT_EQ(frame.width, 300);
    EXPECT_EQ(ReadFrame(Folder() / L"map-2.png").rgba, frame.rgba);
    EXPECT_EQ(ReadFrame(Folder() / L"map-3.png").rgba, frame.rgba);
}

} // namespace
} // namespace OrrinViewer
