// The viewer with points, outlines and reliefs, and with what it cannot show.

#include "ViewerProgram.h"

#include <algorithm>
#include <fstream>
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
    const int whole = countMiddle({});
    EXPECT_TRUE(whole >= 12 * 12 && whole <= 18 * 18) << whole << " pixels";
    EXPECT_GT(countMiddle({L"--area", L"1046,2048,1054,2052"}), whole) << "it does not get lost";
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
            Watch({Write("cloud.ply", cloud).wstring(), L"--pipeline", pipeline}, {L"60000 points - ", L" ms"});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_NE(outcome.output.find("60000 points, x 0.00 to 299.00, y 0.00 to 199.00"), std::string::npos)
            << outcome.output;
        EXPECT_EQ(outcome.errors, "");
    }
    std::string ascii = SquareCloud(0, 0);
    ascii.insert(ascii.find("0.0000 100.0000"), "what ");
    const Outcome broken = Watch({Write("broken.ply", ascii).wstring()}, {L"is not a number"});
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
    EXPECT_NE(outcome.output.find("5 points, x 596000.00 to 596100.00"), std::string::npos) << outcome.output;
}

// One file of a folder is always broken; the others are what the person wants to see.
TEST_F(ViewerProgram, BadFileAmongSeveral_DoesNotStopTheOthers) {
    const fs::path screenshot = Folder() / L"frame.jpg";
    const Outcome outcome = Run({Write("bad.las", "LASF").wstring(), Write("square.ply", SquareCloud(0, 0)).wstring(),
                                 L"--color", L"recorded", L"--point-size", L"9", L"--plain", L"--width", L"240",
                                 L"--height", L"160", L"--screenshot", screenshot.wstring()});
    EXPECT_EQ(outcome.exitCode, 1) << "something is missing in the screenshot";
    EXPECT_NE(outcome.errors.find("bad.las"), std::string::npos) << outcome.errors;
    EXPECT_NE(outcome.output.find("5 points, x 0.00"), std::string::npos) << outcome.output;
    const Frame frame = ReadFrame(screenshot);
    ASSERT_EQ(frame.width, 240);
    const auto middle = frame.At(120, 80);
    EXPECT_LT(middle[0], 60);
    EXPECT_GT(middle[1], 200);
    std::ifstream file(screenshot, std::ios::binary);
    EXPECT_EQ(file.get(), 0xFF) << "a JPEG image, as its name says";
}

// One stray point made a dot of all others.
TEST_F(ViewerProgram, StrayPointIsLeftOutOfTheViewAndTold) {
    std::string text = "ply\nformat ascii 1.0\nelement vertex 50\nproperty double x\nproperty double y\n"
                       "property double z\nend_header\n0 0 0\nnan 1 1\n";
    for (int point = 0; point < 48; ++point) {
        text += std::to_string(500'000 + point % 7) + ' ' + std::to_string(4'500'000 + point / 7) + " 100\n";
    }
    const Outcome outcome = Run({Write("stray.ply", text).wstring(), L"--frames", L"1"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.output.find("49 points, x 500000.00 to 500006.00"), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.errors.find("stray.ply: 1 of 49 points lie far outside"), std::string::npos) << outcome.errors;
    EXPECT_NE(outcome.errors.find("stray.ply: 1 points were skipped"), std::string::npos) << outcome.errors;
}

// A photo has no height: the cloud over it is at 406 m, and the photo lies below it, not half a kilometre away.
TEST_F(ViewerProgram, OnlyWhatHasHeightsGivesTheSceneHeights) {
    std::string cloud = SquareCloud(1000, 2000);
    for (std::size_t at = cloud.find(" 10.0 "); at != std::string::npos; at = cloud.find(" 10.0 ", at)) {
        cloud.replace(at, 6, " 406.0 ");
    }
    const std::wstring points = Write("square.ply", cloud).wstring();
    const std::wstring parcel =
        Write("parcel.geojson",
              R"({"type": "Polygon", "coordinates": [[[1000, 2000], [1100, 2000], [1100, 2100], [1000, 2000]]]})")
            .wstring();
    const Outcome both = Run({points, parcel, L"--frames", L"1"});
    EXPECT_NE(both.output.find("5 points, 1 features, x 1000.00"), std::string::npos) << both.output;
    EXPECT_NE(both.output.find("z 406.00 to 406.00"), std::string::npos) << both.output;
    const Outcome flat = Run({parcel, L"--frames", L"1"});
    EXPECT_TRUE(flat.output.starts_with("1 features, x 1000.00 to 1100.00, y 2000.00 to 2100.00")) << flat.output;
    EXPECT_EQ(flat.output.find(", z"), std::string::npos) << flat.output;
    // From the front, both are one line.
    const Frame front = Draw({points, parcel, L"--view", L"front", L"--units", L"metres"});
    EXPECT_TRUE(front.HasNear(120, 80, {255, 176, 64}));
}

TEST_F(ViewerProgram, FacesOfAMeshAreDrawn) {
    const std::wstring roof =
        Write("roof.ply", "ply\nformat ascii 1.0\nelement vertex 4\nproperty double x\nproperty double y\n"
                          "property double z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\n"
                          "element face 1\nproperty list uchar int vertex_indices\nend_header\n"
                          "500000 4500000 10 200 0 0\n500100 4500000 10 200 0 0\n500100 4500100 10 200 0 0\n"
                          "500000 4500100 10 200 0 0\n4 0 1 2 3\n")
            .wstring();
    for (const wchar_t* pipeline : {L"legacy", L"gl4"}) {
        const Frame frame = Draw({roof, L"--pipeline", pipeline});
        const auto middle = frame.At(120 + 30, 80 - 20);
        EXPECT_GT(middle[0], 90);
        EXPECT_EQ(middle[1], 0);
        EXPECT_EQ(frame.At(10, 80), frame.At(2, 2)) << "beside it";
    }
    const Outcome outcome = Run({roof, L"--frames", L"1"});
    EXPECT_NE(outcome.output.find("2 faces, x 500000.00"), std::string::npos) << outcome.output;
}

// In degrees a hill of 900 m was a needle of 900 degrees.
TEST_F(ViewerProgram, HeightsOverDegreesAreInScale) {
    std::string grid = "ncols 21\nnrows 21\nxllcorner 9\nyllcorner 45\ncellsize 0.001\n";
    for (int cell = 0; cell < 21 * 21; ++cell) {
        const int squaredRadius = (cell / 21 - 10) * (cell / 21 - 10) + (cell % 21 - 10) * (cell % 21 - 10);
        grid += std::to_string(900 - 4 * squaredRadius) + (cell % 21 == 20 ? "\n" : " ");
    }
    const std::wstring relief = Write("hill.asc", grid).wstring();
    const Outcome outcome = Run({relief, L"--frames", L"1"});
    EXPECT_NE(outcome.output.find("x 9.0005000 to 9.0205000"), std::string::npos) << outcome.output;
    const Frame front = Draw({relief, L"--view", L"front"});
    const auto background = front.At(2, 2);
    EXPECT_NE(front.At(120, 70), background) << "the hill fills the middle";
    EXPECT_NE(front.At(40, 95), background) << "and its foot the width";
}

// Without a person, what the library shows in a message box is a failure of the run.
TEST_F(ViewerProgram, NoticeOfTheLibrary_EndsWithAnErrorCode) {
    // Away from the shaders that lie beside it.
    const fs::path program = CopyProgram();
    const Outcome outcome =
        Run({Write("square.ply", SquareCloud(0, 0)).wstring(), L"--pipeline", L"gl4", L"--frames", L"1"}, program);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.errors, "");
}

} // namespace
} // namespace OrrinViewer
