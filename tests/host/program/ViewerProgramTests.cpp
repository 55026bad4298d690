// The viewer with points, outlines and reliefs, and with what it cannot show.

#include "ViewerProgram.h"

#include <algorithm>
#include <string>
#include <vector>

namespace OrrinViewer {
namespace {

TEST_F(ViewerProgram, PointsAreDrawnNorthUpInTheirPlacesAndColors) {
    const Frame frame = Draw(
        {Write("square.ply", SquareCloud(596'000, 243'000)).wstring(), L"--color", L"recorded", L"--point-size", L"4"});
    ASSERT_EQ(frame.width, 240);
    ASSERT_EQ(frame.height, 160);
    // The square fills the height less the margin: 160 / 1.02 pixels, half of it to each side of the middle.
    EXPECT_TRUE(frame.HasNear(120 - 77, 80 + 77, {250, 0, 0})) << "south-west";
    EXPECT_TRUE(frame.HasNear(120 + 77, 80 + 77, {0, 250, 0})) << "south-east";
    EXPECT_TRUE(frame.HasNear(120 - 77, 80 - 77, {0, 0, 250})) << "north-west";
    EXPECT_TRUE(frame.HasNear(120 + 77, 80 - 77, {250, 250, 0})) << "north-east";
    EXPECT_TRUE(frame.HasNear(120, 80, {0, 250, 250})) << "middle";
}

// Five points in a window are not to be looked for, and thousands do not become one patch.
TEST_F(ViewerProgram, PointsAreAsLargeAsTheirSpacingWants) {
    const std::wstring few = Write("few.ply", SquareCloud(1000, 2000)).wstring();
    const auto countMiddle = [&](std::vector<std::wstring> arguments) {
        arguments.insert(arguments.begin(), {few, L"--color", L"recorded"});
        const Frame frame = Draw(arguments);
        int count = 0;
        for (int y = 0; y < frame.height; ++y) {
            for (int x = 0; x < frame.width; ++x) {
                count += frame.At(x, y) == std::array<int, 3>{0, 250, 250} ? 1 : 0;
            }
        }
        return count;
    };
    EXPECT_EQ(countMiddle({L"--point-size", L"2"}), 4);
    EXPECT_EQ(countMiddle({}), 81);
    const int fromAfar = countMiddle({L"--area", L"-2550,-350,4650,4450"});
    EXPECT_TRUE(fromAfar >= 1 && fromAfar <= 4) << fromAfar << " pixels";
}

// What is the front and what is the left is agreed on with every map maker: a low red point in the south-west and a
// high green one in the north-east.
TEST_F(ViewerProgram, EachSideShowsTheSceneAsItLiesThere) {
    const std::wstring cloud =
        Write("two.ply",
              "ply\nformat ascii 1.0\nelement vertex 2\nproperty double x\nproperty double y\nproperty double "
              "z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\nend_header\n"
              "500000 4500000 100 250 0 0\n500100 4500100 200 0 250 0\n")
            .wstring();
    const struct {
        const wchar_t* name;
        int redSide; ///< -1 at the left, 1 at the right
    } views[] = {{L"map", -1}, {L"bottom", 1}, {L"front", -1}, {L"back", 1}, {L"left", 1}, {L"right", -1}};
    for (const auto& view : views) {
        const Frame frame = Draw({cloud, L"--color", L"recorded", L"--point-size", L"5", L"--view", view.name});
        EXPECT_TRUE(frame.HasNear(120 + view.redSide * 77, 80 + 77, {250, 0, 0})) << testing::PrintToString(view.name);
        EXPECT_TRUE(frame.HasNear(120 - view.redSide * 77, 80 - 77, {0, 250, 0})) << testing::PrintToString(view.name);
    }
}

// At metres of a national grid, floats alone would move points by a quarter of a metre.
TEST_F(ViewerProgram, SameSceneAtGridCoordinates_IsTheSameFrame) {
    const Frame here = Draw({Write("here.ply", SquareCloud(0, 0)).wstring()});
    const Frame there = Draw({Write("there.ply", SquareCloud(500'000, 4'500'000)).wstring()});
    ASSERT_FALSE(here.rgba.empty());
    EXPECT_EQ(here.rgba, there.rgba);
}

TEST_F(ViewerProgram, OutlinesWithHoles_AreDrawnOverPoints) {
    const fs::path points = Write("square.ply", SquareCloud(1000, 2000));
    const fs::path parcel = Write("parcel.geojson", R"({"type": "Polygon", "coordinates": [
        [[1000, 2000], [1100, 2000], [1100, 2100], [1000, 2100], [1000, 2000]],
        [[1030, 2030], [1070, 2030], [1070, 2070], [1030, 2070], [1030, 2030]]]})");
    const Frame frame = Draw({points.wstring(), parcel.wstring()});
    const auto background = frame.At(2, 2);
    EXPECT_TRUE(frame.HasNear(120, 80 + 77, {255, 176, 64})) << "outer ring";
    EXPECT_TRUE(frame.HasNear(120, 80 + 30, {255, 176, 64})) << "hole";
    EXPECT_TRUE(frame.HasNear(120 - 77, 80, {255, 176, 64})) << "the edge that closes the ring";
    EXPECT_EQ(frame.At(120, 80 + 50), background);
}

// A hill with a hole in its side, lit by the sun: users compare the same relief on machines with and without a 4.x
// driver.
TEST_F(ViewerProgram, ReliefIsTheSameFrameOnBothPipelines) {
    std::string grid = "ncols 21\nnrows 21\nxllcorner 500000\nyllcorner 4500000\ncellsize 10\nNODATA_value -1\n";
    for (int row = 0; row < 21; ++row) {
        for (int column = 0; column < 21; ++column) {
            const int squaredRadius = (row - 10) * (row - 10) + (column - 10) * (column - 10);
            const bool isHole = row == 14 && column == 8;
            grid += isHole ? "-1 " : std::to_string(60.0 - 0.3 * squaredRadius) + " ";
        }
        grid += '\n';
    }
    const std::wstring relief = Write("hill.asc", grid).wstring();
    for (const wchar_t* camera : {L"map", L"3d"}) {
        const auto draw = [&](const wchar_t* pipeline) {
            return Draw({relief, L"--view", camera, L"--exaggeration", L"2", L"--pipeline", pipeline});
        };
        const Frame legacy = draw(L"legacy");
        const Frame programs = draw(L"gl4");
        ASSERT_EQ(legacy.rgba.size(), programs.rgba.size());
        EXPECT_LT(ShareOfDifferingPixels(legacy, programs, 3), 0.002) << testing::PrintToString(camera);
        // The slope towards the sun in the north-west is lighter than the one in its lee, whatever their heights.
        const auto brightness = [&](int x, int y) {
            const auto color = programs.At(x, y);
            return color[0] + color[1] + color[2];
        };
        EXPECT_GT(brightness(120 - 25, 80 - 25), brightness(120 + 25, 80 + 25) + 60) << testing::PrintToString(camera);
    }
}

// On a 4.x context the cloud is drawn from a buffer that is filled once; the frame must not tell.
TEST_F(ViewerProgram, CloudIsTheSameFrameOnBothPipelinesAndTimed) {
    const std::wstring cloud = Write("square.ply", SquareCloud(596'000, 243'000)).wstring();
    const std::vector<std::wstring> arguments = {cloud, L"--view",        L"3d",        L"--point-size",
                                                 L"7",  L"--no-eye-dome", L"--pipeline"};
    const auto draw = [&](const wchar_t* pipeline) {
        std::vector<std::wstring> all = arguments;
        all.push_back(pipeline);
        return Draw(all);
    };
    const Frame legacy = draw(L"legacy");
    const Frame programs = draw(L"gl4");
    ASSERT_FALSE(legacy.rgba.empty());
    EXPECT_EQ(legacy.rgba, programs.rgba);
    EXPECT_TRUE(programs.HasNear(120, 80, {0, 250, 250})) << "the point in the middle";
    const Outcome timed = Run({cloud, L"--frames", L"3"});
    EXPECT_NE(timed.output.find("5 points per frame, "), std::string::npos) << timed.output;
}

// A person sees the window at once, and points as they come; what went wrong with them is told without losing the
// others.
TEST_F(ViewerProgram, WindowShowsPointsAsTheyAreRead) {
    std::string cloud =
        "ply\nformat binary_little_endian 1.0\nelement vertex 60000\nproperty float x\nproperty float y\n"
        "property float z\nend_header\n";
    for (int index = 0; index < 60'000; ++index) {
        const float place[3] = {static_cast<float>(index % 300), static_cast<float>(index / 300), 5.0F};
        cloud.append(reinterpret_cast<const char*>(place), sizeof(place));
    }
    for (const wchar_t* pipeline : {L"legacy", L"gl4"}) {
        const Outcome outcome =
            Watch({Write("cloud.ply", cloud).wstring(), L"--pipeline", pipeline}, {L"60000 points, ", L" ms"});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_NE(outcome.output.find("60000 points, 0 features, x 0.00 to 299.00, y 0.00 to 199.00"),
                  std::string::npos)
            << outcome.output;
        EXPECT_EQ(outcome.errors, "");
    }
    std::string ascii = SquareCloud(0, 0);
    ascii.insert(ascii.find("0.0000 100.0000"), "what ");
    const Outcome broken = Watch({Write("broken.ply", ascii).wstring()}, {L"broken.ply"});
    EXPECT_EQ(broken.exitCode, 0);
    EXPECT_NE(broken.errors.find("'what' is not a number"), std::string::npos) << broken.errors;
}

// Stairs of points, all of one colour: without the shading they are one flat patch.
TEST_F(ViewerProgram, CloudIsShadedByItsDepthsInPerspective) {
    std::string text =
        "ply\nformat ascii 1.0\nelement vertex 900\nproperty double x\nproperty double y\nproperty double "
        "z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\nend_header\n";
    for (int point = 0; point < 900; ++point) {
        const int x = point % 30;
        const int y = point / 30;
        text += std::to_string(x) + ' ' + std::to_string(y) + ' ' + std::to_string(y / 6 * 3) + " 200 200 200\n";
    }
    const std::wstring stairs = Write("stairs.ply", text).wstring();
    const auto draw = [&](const wchar_t* shading) {
        return Draw({stairs, L"--view", L"3d", L"--point-size", L"6", L"--pipeline", L"gl4", shading});
    };
    const Frame plain = draw(L"--no-eye-dome");
    const Frame shaded = draw(L"--plain");
    ASSERT_EQ(plain.rgba.size(), shaded.rgba.size());
    int darker = 0;
    for (std::size_t channel = 0; channel < plain.rgba.size(); ++channel) {
        ASSERT_LE(shaded.rgba[channel], plain.rgba[channel]);
        darker += shaded.rgba[channel] + 60 < plain.rgba[channel] ? 1 : 0;
    }
    EXPECT_GT(darker, 300);
}

TEST_F(ViewerProgram, DamagedFile_GivesOneClearLineAndAnErrorCode) {
    std::string promised = SquareCloud(0, 0);
    promised.replace(promised.find("vertex 5"), 8, "vertex 9");
    const struct {
        const char* name;
        const char* content;
    } cases[] = {{"empty.las", ""},
                 {"truncated.las", "LASF\x01"},
                 {"promised.ply", promised.c_str()},
                 {"broken.geojson", "{\"type\": \"Polygon\", \"coordinates\": [[[1, "},
                 {"truncated.asc", "ncols 2\nnrows 2\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2 3"},
                 {"nowhere.png", "\x89PNG\r\n\x1A\n"},
                 {"noise.bin", "\x01\x02\x03 this is nothing"}};
    for (const auto& test : cases) {
        const Outcome outcome = Run({Write(test.name, test.content).wstring(), L"--frames", L"1"});
        EXPECT_EQ(outcome.exitCode, 1) << test.name;
        EXPECT_NE(outcome.errors.find(test.name), std::string::npos) << outcome.errors;
        EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
    }
    EXPECT_EQ(Run({L"does not exist.las", L"--frames", L"1"}).exitCode, 1);
}

TEST_F(ViewerProgram, UnwritableScreenshotIsAnError) {
    const fs::path points = Write("square.ply", SquareCloud(0, 0));
    const Outcome outcome = Run({points.wstring(), L"--screenshot", L"no such folder\\frame.png"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.errors.find("screenshot"), std::string::npos) << outcome.errors;
}

TEST_F(ViewerProgram, OutputTellsWhatIsShown) {
    const Outcome outcome = Run(
        {Write("square.ply", SquareCloud(596'000, 243'000)).wstring(), L"--frames", L"1", L"--pipeline", L"legacy"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_NE(outcome.output.find("5 points, 0 features, x 596000.00 to 596100.00"), std::string::npos)
        << outcome.output;
}

} // namespace
} // namespace OrrinViewer
