// The viewer in a person's hands: what mouse and keys do, and what the screen shows of it.

#include "ViewerHand.h"

#include "program/ProjectFile.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace OrrinViewer {
namespace {

using Color = std::array<int, 3>;

int CountLike(const Frame& frame, int left, int top, int right, int bottom, const Color& color, int apart) {
    int count = 0;
    for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x) {
            const Color there = frame.At(x, y);
            count += std::abs(there[0] - color[0]) <= apart && std::abs(there[1] - color[1]) <= apart &&
                             std::abs(there[2] - color[2]) <= apart
                         ? 1
                         : 0;
        }
    }
    return count;
}

class ViewerInHand : public ViewerProgram, public testing::WithParamInterface<const wchar_t*> {
protected:
    /// Opens files in windows of 600 by 400 pixels, and hands over the first one.
    void Use(std::vector<std::wstring> arguments, const std::function<void(ViewerHand&, HWND)>& use) const {
        arguments.insert(arguments.end(), {L"--pipeline", GetParam(), L"--width", L"600", L"--height", L"400",
                                           L"--color", L"recorded", L"--point-size", L"2"});
        const Outcome outcome = Start(arguments, [&](const PROCESS_INFORMATION& process) {
            ViewerHand hand(process, Folder());
            const HWND window = hand.FindWindow(L" ms");
            EXPECT_NE(window, nullptr) << "no window with a frame";
            if (window) {
                hand.LookWhenStill(window);
                hand.ClickForKeys(window, 590, 390);
                hand.LookWhenStill(window);
                use(hand, window);
            }
            PostThreadMessageW(process.dwThreadId, WM_QUIT, 0, 0);
        });
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    }
    /// A slope of points, 100 m by 60 m, one every metre in rows 5 m apart: a metre up for each ten to the east; grey,
    /// but in a strip from x = 40 to 60 red.
    fs::path WriteSlope() const {
        std::string text = "ply\nformat ascii 1.0\nelement vertex 1313\nproperty double x\nproperty double y\nproperty "
                           "double z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\nend_header\n";
        for (int y = 0; y <= 60; y += 5) {
            for (int x = 0; x <= 100; ++x) {
                char line[96] = {};
                std::snprintf(line, sizeof(line), "%d %d %.1f %s\n", 500'000 + x, 4'500'000 + y, 20.0 + 0.1 * x,
                              x >= 40 && x <= 60 ? "250 0 0" : "90 90 90");
                text += line;
            }
        }
        return Write("slope.ply", text);
    }
    /// The map from x = -10 to 110 and y = -10 to 70: five pixels a metre.
    static std::vector<std::wstring> OfSlope(const fs::path& slope) {
        return {slope.wstring(), L"--area", L"499990,4499990,500110,4500070", L"--plain"};
    }
    static int X(double metres) { return static_cast<int>(std::lround((metres + 10.0) * 5.0)); }
    static int Y(double metres) { return static_cast<int>(std::lround((70.0 - metres) * 5.0)); }
};

INSTANTIATE_TEST_SUITE_P(Pipelines, ViewerInHand, testing::Values(L"legacy", L"gl4"), [](const auto& tested) {
    const std::wstring name = tested.param;
    return std::string(name.begin(), name.end());
});

constexpr Color kWhite = {255, 255, 255};
constexpr Color kProfileYellow = {255, 210, 60};

// The line follows the mouse, stays where it was measured when the map moves, and leaves nothing behind.
TEST_P(ViewerInHand, MeasuredPathStaysOnTheMapAndGoesWithoutATrace) {
    Use(OfSlope(WriteSlope()), [](ViewerHand& hand, HWND window) {
        hand.MoveTo(window, 5, 395);
        const Frame before = hand.LookWhenStill(window);
        hand.Press("m");
        hand.Click(window, X(10), Y(-5));
        hand.Click(window, X(90), Y(-5));
        hand.MoveTo(window, X(90), Y(65));
        Frame frame = hand.LookUntil(window, [](const Frame& now) { return now.HasNear(X(90), Y(30), kWhite); });
        EXPECT_TRUE(frame.HasNear(X(50), Y(-5), kWhite)) << "the settled part";
        EXPECT_TRUE(frame.HasNear(X(90), Y(30), kWhite)) << "to the mouse";
        EXPECT_FALSE(frame.HasNear(X(50), Y(30), kWhite));
        EXPECT_GT(CountLike(frame, 0, 0, 400, 80, kWhite, 40), 150) << "the word that it measures";
        hand.Press("Return m m");
        // A hundred pixels to the left.
        hand.Drag(window, 105, 395, 5, 395);
        frame = hand.LookUntil(window, [](const Frame& now) {
            return now.HasNear(X(90) - 100, Y(30), kWhite) && !now.HasNear(X(90), Y(30), kWhite);
        });
        EXPECT_TRUE(frame.HasNear(X(90) - 100, Y(30), kWhite));
        EXPECT_TRUE(frame.HasNear(X(50) - 100, Y(-5), kWhite));
        EXPECT_FALSE(frame.HasNear(X(90), Y(30), kWhite));
        hand.Press("ctrl+z Escape");
        hand.MoveTo(window, 5, 395);
        EXPECT_EQ(hand.LookUntilLike(window, before).rgba, before.rgba);
    });
}

TEST_P(ViewerInHand, RectangleDrawnWithShiftFillsTheWindow) {
    Use(OfSlope(WriteSlope()), [](ViewerHand& hand, HWND window) {
        hand.Drag(window, X(38), Y(42), X(62), Y(26), "shift");
        hand.MoveTo(window, 595, 395);
        const Frame frame = hand.LookUntil(window, [](const Frame& now) {
            return now.HasNear(47, 297, {250, 0, 0}) && now.HasNear(547, 47, {250, 0, 0});
        });
        // 24 by 16 m in 600 by 400 pixels: three rows, and the strip's edges are 50 pixels from the window's.
        EXPECT_TRUE(frame.HasNear(47, 297, {250, 0, 0})) << "x = 40, y = 30";
        EXPECT_TRUE(frame.HasNear(547, 47, {250, 0, 0})) << "x = 60, y = 40";
        EXPECT_GT(CountLike(frame, 0, 0, 600, 400, {250, 0, 0}, 2), 3 * 21 * 3);
        EXPECT_EQ(CountLike(frame, 60, 10, 540, 390, {90, 90, 90}, 2), 0);
    });
}

// A person begins with nothing, opens and drops files, saves what they have made of them, and has it back.
TEST_P(ViewerInHand, FilesAreOpenedDroppedSavedAndFoundAgain) {
    const fs::path slope = WriteSlope();
    const fs::path square = Write("square.ply", SquareCloud(500'000.0, 4'500'000.0));
    const fs::path project = Folder() / L"hill.orrin";
    const fs::path picture = Folder() / L"hill.png";
    Use({L"--plain"}, [&](ViewerHand& hand, HWND window) {
        hand.Press("ctrl+o");
        hand.AnswerWithPath(L"Add files", slope);
        EXPECT_TRUE(hand.WaitForTitle(window, L"slope.ply - OrrinViewer - 1313 points"));
        hand.Drop(window, {square});
        EXPECT_TRUE(hand.WaitForTitle(window, L"slope.ply and 1 more - OrrinViewer - 1318 points"));
        hand.Press("6");
        const Frame before = hand.LookWhenStill(window);
        hand.Press("ctrl+s");
        hand.AnswerWithPath(L"Save the project", project);
        EXPECT_TRUE(hand.WaitForTitle(window, L"hill.orrin - OrrinViewer"));

        hand.Press("ctrl+shift+s");
        hand.AnswerWithPath(L"Save a picture", picture);
        EXPECT_NE(hand.FindWindow(L"Size of the picture"), nullptr);
        hand.Press("ctrl+a");
        hand.Type("1.5");
        hand.Press("Return");
        EXPECT_TRUE(hand.WaitUntil([&] { return fs::exists(picture); }));
        EXPECT_EQ(ReadFrame(picture).width, 900);

        hand.Press("alt+f n");
        EXPECT_TRUE(hand.WaitUntil([&] { return hand.TitleOf(window).find(L"points") == std::wstring::npos; }));
        EXPECT_GT(ShareOfDifferingPixels(hand.LookUntilUnlike(window, before, 0.001), before, 3), 0.001);
        hand.Press("alt+f r 1"); // the last one
        EXPECT_TRUE(hand.WaitForTitle(window, L"hill.orrin - OrrinViewer - 1318 points"));
        hand.MoveTo(window, 590, 390);
        EXPECT_EQ(ShareOfDifferingPixels(hand.LookUntilLike(window, before), before, 3), 0.0);
    });
}

// What a person has made of a project is lost only where they say so; what they looked at is not asked about.
TEST_P(ViewerInHand, ProjectThatIsNotSavedIsMarkedAndAskedAbout) {
    const fs::path file = Folder() / L"hill.orrin";
    Project project;
    const fs::path slope = WriteSlope();
    project.layers = {{Folder() / L"gone.ply", {}, {}, LayerKind::Cloud, {}},
                      {slope, {}, {}, LayerKind::Cloud, {}},
                      {slope, {}, 10.0, LayerKind::Relief, {}}};
    project.hillshade = ProjectShade{slope, 20.0, 0.4};
    WriteProjectFile(project, file);
    Use({file.wstring(), L"--plain"}, [&](ViewerHand& hand, HWND window) {
        const std::wstring name = L"hill.orrin - OrrinViewer - 1313 points";
        const auto isTitled = [&](const std::wstring& begin) {
            return ViewerHand::WaitUntil([&] { return ViewerHand::TitleOf(window).starts_with(begin); });
        };
        const auto answer = [&](const char* key) {
            EXPECT_NE(hand.FindWindow(L"Save the project?"), nullptr);
            hand.Press(key);
        };
        hand.Press("6 Left");
        hand.LookWhenStill(window);
        EXPECT_TRUE(isTitled(name)) << "the view, and a file that is gone, are no changes";
        hand.Press("s");
        EXPECT_TRUE(isTitled(L"*" + name));
        hand.Press("shift+s");
        EXPECT_TRUE(isTitled(name)) << "it is as it was";

        hand.Press("s");
        EXPECT_TRUE(isTitled(L"*" + name));
        hand.Press("alt+f n");
        answer("Escape");
        EXPECT_TRUE(isTitled(L"*" + name)) << "it stays";
        hand.Press("alt+f n");
        answer("d");
        EXPECT_TRUE(isTitled(L"OrrinViewer"));
        EXPECT_EQ(ReadProjectFile(file).settings.sunAzimuthDegrees, 315.0);

        hand.Press("alt+f r 1");
        EXPECT_TRUE(isTitled(name));
        hand.Press("s");
        EXPECT_TRUE(isTitled(L"*" + name));
        PostMessageW(window, WM_CLOSE, 0, 0);
        answer("Return");
        EXPECT_TRUE(ViewerHand::WaitUntil([&] { return IsWindowVisible(window) == FALSE; }));
        const Project saved = ReadProjectFile(file);
        EXPECT_EQ(saved.settings.sunAzimuthDegrees, 330.0);
        EXPECT_TRUE(saved.hillshade == project.hillshade);
        ASSERT_EQ(saved.layers.size(), 2U);
        EXPECT_TRUE(saved.layers[0] == project.layers[2]) << "reliefs lie below clouds";
        EXPECT_TRUE(saved.layers[1] == project.layers[1]);
    });
}

// The keys lie over the map and go again.
TEST_P(ViewerInHand, KeysAreShownOverTheMap) {
    Use(OfSlope(WriteSlope()), [](ViewerHand& hand, HWND window) {
        hand.MoveTo(window, 5, 395);
        const Frame before = hand.LookWhenStill(window);
        hand.Press("F1");
        const Frame shown = hand.LookUntilUnlike(window, before, 0.3);
        EXPECT_GT(ShareOfDifferingPixels(before, shown, 3), 0.3);
        hand.Press("question");
        EXPECT_EQ(hand.LookUntilLike(window, before).rgba, before.rgba);
    });
}

// What belongs to the scene changes in all windows, what belongs to the view in one.
TEST_P(ViewerInHand, KeysReachTheWindowsThatTheyConcern) {
    std::vector<std::wstring> arguments = OfSlope(WriteSlope());
    arguments.insert(arguments.end(), {L"--windows", L"2"});
    Use(arguments, [](ViewerHand& hand, HWND found) {
        HWND other = nullptr;
        HWND window = found;
        ViewerHand::WaitUntil([&] {
            other = FindWindowExW(nullptr, nullptr, L"OrrinViewer", nullptr);
            other = other == window ? FindWindowExW(nullptr, other, L"OrrinViewer", nullptr) : other;
            return other != nullptr && ViewerHand::TitleOf(other).find(L" ms") != std::wstring::npos;
        });
        ASSERT_NE(other, nullptr);
        hand.ClickForKeys(window, 2, 2);
        hand.Press("c");
        EXPECT_TRUE(hand.WaitForTitle(window, L"by elevation"));
        EXPECT_TRUE(hand.WaitForTitle(other, L"by elevation"));
        hand.LookWhenStill(other);
        const std::wstring titleBefore = ViewerHand::TitleOf(other);
        hand.Press("4");
        hand.Press("Left");
        hand.LookWhenStill(window);
        EXPECT_EQ(ViewerHand::TitleOf(other), titleBefore) << "it was not drawn again";
    });
}

constexpr Color kPanel = {23, 27, 33}; ///< over the ground of an empty frame

// Who opened a file by a double click sees no error output.
TEST_P(ViewerInHand, WhatIsWrongWithAFileIsToldOverTheMapUntilItIsClicked) {
    std::vector<std::wstring> arguments = OfSlope(WriteSlope());
    arguments.push_back(Write("damaged.las", "LASF and nothing else").wstring());
    Use(arguments, [](ViewerHand& hand, HWND window) {
        hand.MoveTo(window, 5, 395);
        const auto countPanel = [](const Frame& now) { return CountLike(now, 100, 10, 500, 100, kPanel, 8); };
        const Frame told = hand.LookUntil(window, [&](const Frame& now) { return countPanel(now) > 2000; });
        EXPECT_GT(countPanel(told), 2000);
        EXPECT_GT(CountLike(told, 100, 10, 500, 100, kWhite, 40), 100) << "the words on it";
        hand.Click(window, 300, 50);
        hand.MoveTo(window, 5, 395);
        const Frame without = hand.LookUntil(window, [&](const Frame& now) { return countPanel(now) == 0; });
        EXPECT_EQ(countPanel(without), 0);
        EXPECT_TRUE(without.HasNear(X(50), Y(30), {250, 0, 0})) << "the map has not moved";
    });
}

constexpr Color kMarkBlue = {0, 230, 255};

// What is clicked shows in the panel and on the map, one thing after the other, and can be copied; dragging, measuring
// and double clicks do not pick.
TEST_P(ViewerInHand, ClickTellsMarksAndCopiesWhatIsThere) {
    const fs::path shapes = Write("parcels.geojson", R"({"type":"FeatureCollection","features":[
        {"type":"Feature","properties":{"name":"Weide","nr":"17"},"geometry":{"type":"Polygon","coordinates":
            [[[500010,4500010],[500030,4500010],[500030,4500030],[500010,4500030],[500010,4500010]]]}},
        {"type":"Feature","properties":{"name":"Acker"},"geometry":{"type":"Polygon","coordinates":
            [[[500000,4500000],[500080,4500000],[500080,4500055],[500000,4500055],[500000,4500000]]]}}]})");
    std::vector<std::wstring> arguments = OfSlope(WriteSlope());
    arguments.push_back(shapes.wstring());
    Use(arguments, [](ViewerHand& hand, HWND window) {
        hand.MoveTo(window, 5, 395);
        const Frame before = hand.LookWhenStill(window);
        EXPECT_TRUE(hand.ReadTable().empty());

        hand.Click(window, X(20), Y(17));
        EXPECT_TRUE(hand.WaitForRow(L"name", L"Acker")) << "drawn last";
        EXPECT_TRUE(hand.WaitForRow(L"Area", L"4400 m\u00B2"));
        const auto isMarked = [&](int x, int y) {
            return ViewerHand::WaitUntil([&] { return hand.LookAt(window).HasNear(x, y, kMarkBlue); });
        };
        EXPECT_TRUE(isMarked(X(80), Y(40)));
        hand.Click(window, X(20), Y(17)); // so fast that it is a double click
        hand.LookWhenStill(window);
        EXPECT_TRUE(hand.WaitForRow(L"name", L"Acker"));
        hand.Press("n");
        EXPECT_TRUE(hand.WaitForRow(L"name", L"Weide"));
        hand.Press("ctrl+c");
        EXPECT_TRUE(ViewerHand::WaitUntil([] {
            const std::wstring text = ViewerHand::ReadClipboard();
            return text.find(L"name\tWeide\r\nnr\t17\r\n") != std::wstring::npos;
        })) << testing::PrintToString(ViewerHand::ReadClipboard());
        EXPECT_TRUE(isMarked(X(20), Y(30)));
        EXPECT_FALSE(hand.LookWhenStill(window).HasNear(X(80), Y(40), kMarkBlue));

        // The mark stays on the map; a slip of two pixels moves nothing.
        hand.Drag(window, X(20), Y(35), X(20) + 50, Y(35));
        EXPECT_TRUE(isMarked(X(20) + 50, Y(30)));
        hand.Press("ctrl+z");
        EXPECT_TRUE(hand.WaitForRow(L"name", L"Weide"));

        // A point of the cloud, in the middle of the red strip.
        hand.Click(window, X(50), Y(60));
        EXPECT_TRUE(hand.WaitForRow(L"Height", L"25.000 m"));
        EXPECT_TRUE(hand.WaitForRow(L"Red, green, blue", L"250, 0, 0")) << testing::PrintToString(hand.ReadTable());
        EXPECT_TRUE(isMarked(X(50) + 8, Y(60))) << "a ring";

        hand.Press("m");
        hand.Click(window, X(20), Y(-5));
        hand.Click(window, X(20), Y(17));
        hand.Press("Escape Escape");
        EXPECT_TRUE(hand.WaitForRow(L"Height", L"25.000 m")) << "it was measured";
        hand.Press("Escape");
        EXPECT_TRUE(ViewerHand::WaitUntil([&] { return hand.ReadTable().empty(); }));
        hand.MoveTo(window, 5, 395);
        EXPECT_EQ(hand.LookUntilLike(window, before).rgba, before.rgba);
    });
}

// From the side, and turned in perspective, the mark is where the shape is seen and clicked.
TEST_P(ViewerInHand, WhatIsSeenIn3DIsPicked) {
    const fs::path slope = WriteSlope();
    const fs::path road = Write("mast.geojson", R"({"type":"Feature","properties":{"kind":"mast"},
        "geometry":{"type":"LineString","coordinates":[[500050,4500030,20],[500050,4500030,60]]}})");
    Use({slope.wstring(), road.wstring(), L"--view", L"3d", L"--plain"}, [](ViewerHand& hand, HWND window) {
        const Frame asOpened = hand.LookWhenStill(window);
        hand.Drag(window, 300, 390, 360, 380); // turned a little
        hand.LookUntilUnlike(window, asOpened);
        const Frame frame = hand.LookWhenStill(window);
        // The mast stands over the slope's middle: its upper half is drawn before nothing.
        int x = -1;
        int y = -1;
        for (int row = 0; row < frame.height && y < 0; ++row) {
            for (int column = 0; column < frame.width; ++column) {
                const Color there = frame.At(column, row);
                if (std::abs(there[0] - 44) + std::abs(there[1] - 49) + std::abs(there[2] - 58) > 60) {
                    x = column;
                    y = row;
                    break;
                }
            }
        }
        ASSERT_GE(y, 0);
        hand.Click(window, x + 3, y + 20);
        EXPECT_TRUE(hand.WaitForRow(L"kind", L"mast"));
        EXPECT_TRUE(ViewerHand::WaitUntil(
            [&] { return CountLike(hand.LookAt(window), x - 8, y + 15, x + 9, y + 26, kMarkBlue, 60) > 20; }));
    });
}

// The line below the map says where the mouse is, without the map being drawn again.
TEST_P(ViewerInHand, StatusLineFollowsTheMouse) {
    std::vector<std::wstring> arguments = OfSlope(WriteSlope());
    arguments.pop_back(); // --plain
    Use(arguments, [](ViewerHand& hand, HWND window) {
        hand.MoveTo(window, 5, 200);
        const Frame before = hand.LookWhenStill(window);
        const std::wstring title = ViewerHand::TitleOf(window);
        EXPECT_GT(CountLike(before, 0, 384, 300, 400, kWhite, 90), 60) << "the place";
        EXPECT_GT(CountLike(before, 300, 384, 600, 400, kWhite, 90), 60) << "the scale at least";
        hand.MoveTo(window, 300, 100);
        hand.LookUntilUnlike(window, before);
        const Frame after = hand.LookWhenStill(window);
        int changed = 0;
        int above = 0;
        for (int y = 0; y < 400; ++y) {
            for (int x = 0; x < 600; ++x) {
                const bool differs = before.At(x, y) != after.At(x, y);
                changed += differs && y >= 375 ? 1 : 0;
                above += differs && y < 375 ? 1 : 0;
            }
        }
        EXPECT_GT(changed, 20);
        EXPECT_EQ(above, 0);
        EXPECT_EQ(ViewerHand::TitleOf(window), title);
    });
}

struct TableLine {
    double station, height, x, y, z;
    int classNumber;
};

std::vector<TableLine> ReadTable(const fs::path& path) {
    std::ifstream file(path);
    std::string text;
    std::getline(file, text);
    EXPECT_EQ(text, "station,height,x,y,z,class");
    std::vector<TableLine> lines;
    while (std::getline(file, text)) {
        TableLine line{};
        EXPECT_EQ(std::sscanf(text.c_str(), "%lf,%lf,%lf,%lf,%lf,%d", &line.station, &line.height, &line.x, &line.y,
                              &line.z, &line.classNumber),
                  6)
            << text;
        lines.push_back(line);
    }
    return lines;
}

// From the map to the profile and back: a slope whose heights are known.
TEST_P(ViewerInHand, ProfileIsDrawnLedMovedAndSaved) {
    Use(OfSlope(WriteSlope()), [this](ViewerHand& hand, HWND map) {
        hand.Press("p");
        hand.Click(map, X(-4), Y(30));
        hand.Click(map, X(104), Y(30));
        hand.Press("Return");
        const HWND profile = hand.FindWindow(L"Profile - 108 m long, 4 m wide - ");
        ASSERT_NE(profile, nullptr);
        // One row of points.
        EXPECT_TRUE(hand.WaitForTitle(profile, L" - 101 points"))
            << testing::PrintToString(ViewerHand::TitleOf(profile));
        hand.MoveTo(map, 5, 395);
        // The slope rises across the whole window, red in its middle.
        const auto isRed = [](const Frame& now) {
            const int x = now.width / 2;
            const int y = now.height / 2;
            return CountLike(now, x - 40, y - 40, x + 40, y + 40, {250, 0, 0}, 2) > 10;
        };
        const Frame quiet = hand.LookUntil(profile, isRed);
        const Frame mapQuiet = hand.LookWhenStill(map);
        const int w = quiet.width;
        const int h = quiet.height;
        EXPECT_TRUE(isRed(quiet));
        EXPECT_GT(CountLike(quiet, 0, h * 2 / 3, w / 3, h, {90, 90, 90}, 2), 10) << "low in the west";
        EXPECT_GT(CountLike(quiet, w * 2 / 3, 0, w, h / 3, {90, 90, 90}, 2), 10) << "high in the east";
        EXPECT_EQ(CountLike(quiet, 0, 0, w / 3, h / 3, {90, 90, 90}, 2), 0);
        EXPECT_TRUE(mapQuiet.HasNear(X(20), Y(30), kProfileYellow)) << "the line on the map";

        // A quarter of the way: in the profile first, then on the map.
        hand.MoveTo(profile, w / 4, h / 3);
        // The view shows a fiftieth more than the line.
        const double quarter = 50.0 - 108.0 * 1.02 / 4.0;
        const auto yellowIn = [&](const Frame& frame) {
            return CountLike(frame, X(quarter) - 6, Y(30) - 6, X(quarter) + 7, Y(30) + 7, kProfileYellow, 60);
        };
        const auto isAt = [&](int across) {
            return ViewerHand::WaitUntil([&] {
                return CountLike(hand.LookAt(profile), across - 4, 0, across + 4, h, kProfileYellow, 60) > h / 2;
            });
        };
        EXPECT_TRUE(ViewerHand::WaitUntil([&] { return yellowIn(hand.LookAt(map)) > yellowIn(mapQuiet) + 20; }))
            << "the place on the map";
        EXPECT_TRUE(isAt(w / 4));
        hand.MoveTo(map, X(75), Y(30));
        EXPECT_TRUE(isAt(static_cast<int>(std::lround(w * (0.5 + 25.0 / (108.0 * 1.02)))))) << "and back";

        // The line's end is taken to the north and back.
        hand.Drag(map, X(104), Y(30), X(104), Y(60));
        EXPECT_TRUE(hand.WaitForTitle(profile, L"Profile - 112 m long"))
            << testing::PrintToString(ViewerHand::TitleOf(profile));
        hand.Drag(map, X(104), Y(60), X(104), Y(30));
        EXPECT_TRUE(hand.WaitForTitle(profile, L"Profile - 108 m long"));
        EXPECT_TRUE(hand.WaitForTitle(profile, L" - 101 points"));

        // A step of the band's width to the south, and what is seen there as a table.
        hand.ClickForKeys(profile, w / 2, 3);
        hand.Press("Down");
        hand.LookWhenStill(profile);
        EXPECT_TRUE(hand.WaitForTitle(profile, L" - 101 points"));
        hand.Press("ctrl+s");
        const HWND question = hand.FindWindow(L"Save the profile");
        ASSERT_NE(question, nullptr);
        const fs::path table = Folder() / L"profile.csv";
        hand.Press("ctrl+a");
        hand.Type(table.string());
        hand.Press("Return");
        EXPECT_TRUE(hand.WaitForTitle(profile, L"saved as profile.csv"));
        const std::vector<TableLine> lines = ReadTable(table);
        ASSERT_EQ(lines.size(), 101U);
        for (std::size_t index = 0; index < lines.size(); ++index) {
            const TableLine& line = lines[index];
            const auto metres = static_cast<double>(index);
            EXPECT_NEAR(line.station, metres + 4.0, 1e-3);
            EXPECT_NEAR(line.height, 20.0 + 0.1 * metres, 1e-3);
            EXPECT_NEAR(line.x, 500'000.0 + metres, 1e-3);
            EXPECT_EQ(line.y, 4'500'025.0);
            EXPECT_EQ(line.z, line.height);
        }
        hand.Press("Escape");
        EXPECT_TRUE(ViewerHand::WaitUntil([&] { return !IsWindowVisible(profile); }));
    });
}

class ReadingInHand : public ViewerProgram {
protected:
    static std::string ManyWells() {
        std::string text = R"({"type":"FeatureCollection","features":[)";
        for (int feature = 0; feature < 200'000; ++feature) {
            text += feature > 0 ? "," : "";
            text += R"({"type":"Feature","geometry":{"type":"Point","coordinates":[7.5,50.25]}})";
        }
        return text + "]}";
    }
};

// The window is there before the files are, and answers while they are read.
TEST_F(ReadingInHand, EscEndsTheReadingFirstAndTheProgramThen) {
    std::vector<std::wstring> arguments = {L"--width", L"600",   L"--height",  L"400",
                                           L"--plain", L"--crs", L"EPSG:25832"};
    // All of them take some seconds.
    arguments.insert(arguments.end(), 30, Write("wells.geojson", ManyWells()).wstring());
    const Outcome outcome = Start(arguments, [&](const PROCESS_INFORMATION& process) {
        ViewerHand hand(process, Folder());
        const HWND window = hand.FindWindow(L" features");
        ASSERT_NE(window, nullptr) << "no window with the first file";
        hand.Click(window, 590, 390);
        hand.Press("Escape");
        EXPECT_TRUE(hand.WaitForTitle(window, L"stopped, not everything is here"))
            << testing::PrintToString(ViewerHand::TitleOf(window));
        EXPECT_TRUE(ViewerHand::WaitUntil([&] {
            return CountLike(hand.LookAt(window), 50, 20, 550, 150, {90, 170, 255}, 8) == 0;
        })) << "the progress has not gone";
        const auto countPanel = [&] { return CountLike(hand.LookAt(window), 50, 20, 550, 150, kPanel, 8); };
        EXPECT_TRUE(ViewerHand::WaitUntil([&] { return countPanel() > 3000; })) << "what is missing";
        hand.Press("Escape");
        EXPECT_TRUE(ViewerHand::WaitUntil([&] { return countPanel() == 0; }));
        hand.Press("Escape");
        EXPECT_EQ(WaitForSingleObject(process.hProcess, 20'000), WAIT_OBJECT_0);
    });
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_NE(outcome.errors.find("not read, the reading was stopped"), std::string::npos) << outcome.errors;
}

} // namespace
} // namespace OrrinViewer
