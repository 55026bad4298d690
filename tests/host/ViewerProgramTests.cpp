// Starts the viewer as a user does and looks at what it drew and said.

#include <windows.h>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#include <stb_image.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Image {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels; ///< RGB, upper row first

    std::array<int, 3> At(int x, int y) const {
        const std::size_t at =
            (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 3;
        return {pixels.at(at), pixels.at(at + 1), pixels.at(at + 2)};
    }
    /// Whether the colour occurs within two pixels of the place.
    bool HasNear(int x, int y, const std::array<int, 3>& color) const {
        for (int dy = -2; dy <= 2; ++dy) {
            for (int dx = -2; dx <= 2; ++dx) {
                if (At(x + dx, y + dy) == color) {
                    return true;
                }
            }
        }
        return false;
    }
};

struct Outcome {
    int exitCode = -1;
    std::string output;
    std::string errors;
};

class ViewerProgram : public testing::Test {
protected:
    ViewerProgram() { fs::create_directories(m_folder); }
    ~ViewerProgram() override {
        std::error_code someFileIsStillOpen;
        fs::remove_all(m_folder, someFileIsStillOpen);
    }

    fs::path Write(const std::string& name, const std::string& content) const {
        std::ofstream(m_folder / name, std::ios::binary) << content;
        return m_folder / name;
    }
    static std::string ReadText(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    Outcome Run(const std::vector<std::wstring>& arguments) const {
        // Each run has its own files: the system may hold those of the last one for a moment.
        static int run = 0;
        const fs::path outputFile = m_folder / (L"output" + std::to_wstring(++run));
        const fs::path errorFile = m_folder / (L"errors" + std::to_wstring(run));
        wchar_t path[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, path, MAX_PATH);
        const fs::path viewer = fs::path(path).parent_path() / L"OrrinViewer.exe";
        std::wstring commandLine = L"\"" + viewer.wstring() + L"\"";
        for (const std::wstring& argument : arguments) {
            commandLine += L" \"" + argument + L"\"";
        }
        SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
        const auto open = [&](const fs::path& file) {
            return CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, &inherit,
                               CREATE_ALWAYS, 0, nullptr);
        };
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = open(outputFile);
        startup.hStdError = open(errorFile);
        PROCESS_INFORMATION process = {};
        Outcome outcome;
        if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                           &process)) {
            DWORD exitCode = 0;
            if (WaitForSingleObject(process.hProcess, 60'000) != WAIT_OBJECT_0) {
                TerminateProcess(process.hProcess, 99);
                WaitForSingleObject(process.hProcess, 5'000);
            }
            GetExitCodeProcess(process.hProcess, &exitCode);
            outcome.exitCode = static_cast<int>(exitCode);
            CloseHandle(process.hThread);
            CloseHandle(process.hProcess);
        }
        CloseHandle(startup.hStdOutput);
        CloseHandle(startup.hStdError);
        outcome.output = ReadText(outputFile);
        outcome.errors = ReadText(errorFile);
        return outcome;
    }
    /// Draws files into a picture of 240 by 160 pixels.
    Image Draw(std::vector<std::wstring> arguments) const {
        const fs::path picture = m_folder / L"picture.png";
        arguments.insert(arguments.end(), {L"--width", L"240", L"--height", L"160", L"--frames", L"2", L"--screenshot",
                                           picture.wstring()});
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        const std::string bytes = ReadText(picture);
        Image image;
        int channels = 0;
        unsigned char* pixels =
            stbi_load_from_memory(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()),
                                  &image.width, &image.height, &channels, 3);
        if (pixels) {
            image.pixels.assign(pixels, pixels + static_cast<std::size_t>(image.width * image.height) * 3);
            stbi_image_free(pixels);
        }
        return image;
    }
    /// Four coloured points at the corners of a square of 100 m and one of a fifth colour in its middle.
    static std::string Square(double x, double y) {
        std::string text =
            "ply\nformat ascii 1.0\nelement vertex 5\nproperty double x\nproperty double y\nproperty double "
            "z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\nend_header\n";
        const struct {
            double dx, dy;
            const char* color;
        } points[] = {{0, 0, "250 0 0"},
                      {100, 0, "0 250 0"},
                      {0, 100, "0 0 250"},
                      {100, 100, "250 250 0"},
                      {50, 50, "0 250 250"}};
        for (const auto& point : points) {
            char line[128] = {};
            std::snprintf(line, sizeof(line), "%.4f %.4f 10.0 %s\n", x + point.dx, y + point.dy, point.color);
            text += line;
        }
        return text;
    }

private:
    fs::path m_folder = fs::temp_directory_path() / (L"orrin_viewer_tests_" + std::to_wstring(GetCurrentProcessId()) +
                                                     L"_" + std::to_wstring(GetTickCount64()));
};

TEST_F(ViewerProgram, DrawsPointsNorthUpInTheirPlacesAndColors) {
    const Image image =
        Draw({Write("square.ply", Square(596'000, 243'000)).wstring(), L"--color", L"recorded", L"--point-size", L"4"});
    ASSERT_EQ(image.width, 240);
    ASSERT_EQ(image.height, 160);
    // The square fills the height less the margin: 160 / 1.08 pixels, half of it to each side of the middle.
    EXPECT_TRUE(image.HasNear(120 - 74, 80 + 74, {250, 0, 0})) << "south-west";
    EXPECT_TRUE(image.HasNear(120 + 74, 80 + 74, {0, 250, 0})) << "south-east";
    EXPECT_TRUE(image.HasNear(120 - 74, 80 - 74, {0, 0, 250})) << "north-west";
    EXPECT_TRUE(image.HasNear(120 + 74, 80 - 74, {250, 250, 0})) << "north-east";
    EXPECT_TRUE(image.HasNear(120, 80, {0, 250, 250})) << "middle";
}

// At metres of a national grid, floats alone would move points by a quarter of a metre.
TEST_F(ViewerProgram, SameSceneAtGridCoordinatesIsTheSamePicture) {
    const Image here = Draw({Write("here.ply", Square(0, 0)).wstring()});
    const Image there = Draw({Write("there.ply", Square(500'000, 4'500'000)).wstring()});
    ASSERT_FALSE(here.pixels.empty());
    EXPECT_EQ(here.pixels, there.pixels);
}

TEST_F(ViewerProgram, DrawsOutlinesWithHolesOverPoints) {
    const fs::path points = Write("square.ply", Square(1000, 2000));
    const fs::path parcel = Write("parcel.geojson", R"({"type": "Polygon", "coordinates": [
        [[1000, 2000], [1100, 2000], [1100, 2100], [1000, 2100], [1000, 2000]],
        [[1030, 2030], [1070, 2030], [1070, 2070], [1030, 2070], [1030, 2030]]]})");
    const Image image = Draw({points.wstring(), parcel.wstring()});
    const auto background = image.At(2, 2);
    EXPECT_TRUE(image.HasNear(120, 80 + 74, {255, 176, 64})) << "outer ring";
    EXPECT_TRUE(image.HasNear(120, 80 + 30, {255, 176, 64})) << "hole";
    EXPECT_TRUE(image.HasNear(120 - 74, 80, {255, 176, 64})) << "the edge that closes the ring";
    EXPECT_EQ(image.At(120, 80 + 50), background);
}

/// How far two pictures of one size differ: the share of pixels with a channel more than `tolerance` apart.
double ShareOfDifferingPixels(const Image& one, const Image& other, int tolerance) {
    int differing = 0;
    for (int y = 0; y < one.height; ++y) {
        for (int x = 0; x < one.width; ++x) {
            const auto a = one.At(x, y);
            const auto b = other.At(x, y);
            differing += std::abs(a[0] - b[0]) > tolerance || std::abs(a[1] - b[1]) > tolerance ||
                                 std::abs(a[2] - b[2]) > tolerance
                             ? 1
                             : 0;
        }
    }
    return static_cast<double>(differing) / (one.width * one.height);
}

// A hill with a hole in its side, lit by the sun: users compare the same relief on machines with and without a 4.x
// driver.
TEST_F(ViewerProgram, ReliefIsTheSamePictureOnBothPipelines) {
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
        const Image legacy = draw(L"legacy");
        const Image programs = draw(L"gl4");
        ASSERT_EQ(legacy.pixels.size(), programs.pixels.size());
        EXPECT_LT(ShareOfDifferingPixels(legacy, programs, 3), 0.002) << testing::PrintToString(camera);
        // The slope towards the sun in the north-west is lighter than the one in its lee, whatever their heights.
        const auto brightness = [&](int x, int y) {
            const auto color = programs.At(x, y);
            return color[0] + color[1] + color[2];
        };
        EXPECT_GT(brightness(120 - 25, 80 - 25), brightness(120 + 25, 80 + 25) + 60) << testing::PrintToString(camera);
    }
}

// On a 4.x context the cloud is drawn from a buffer that is filled once; the picture must not tell.
TEST_F(ViewerProgram, CloudIsTheSamePictureOnBothPipelinesAndTimed) {
    const std::wstring cloud = Write("square.ply", Square(596'000, 243'000)).wstring();
    const std::vector<std::wstring> arguments = {cloud, L"--view", L"3d", L"--point-size", L"7", L"--pipeline"};
    const auto draw = [&](const wchar_t* pipeline) {
        std::vector<std::wstring> all = arguments;
        all.push_back(pipeline);
        return Draw(all);
    };
    const Image legacy = draw(L"legacy");
    const Image programs = draw(L"gl4");
    ASSERT_FALSE(legacy.pixels.empty());
    EXPECT_EQ(legacy.pixels, programs.pixels);
    EXPECT_TRUE(programs.HasNear(120, 80, {0, 250, 250})) << "the point in the middle";
    const Outcome timed = Run({cloud, L"--frames", L"3"});
    EXPECT_NE(timed.output.find("5 points per frame, "), std::string::npos) << timed.output;
}

TEST_F(ViewerProgram, BadFilesGiveOneClearLineAndAnErrorCode) {
    std::string promised = Square(0, 0);
    promised.replace(promised.find("vertex 5"), 8, "vertex 9");
    const struct {
        const char* name;
        const char* content;
    } cases[] = {{"empty.las", ""},
                 {"truncated.las", "LASF\x01"},
                 {"promised.ply", promised.c_str()},
                 {"broken.geojson", "{\"type\": \"Polygon\", \"coordinates\": [[[1, "},
                 {"truncated.asc", "ncols 2\nnrows 2\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2 3"},
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
    const fs::path points = Write("square.ply", Square(0, 0));
    const Outcome outcome = Run({points.wstring(), L"--screenshot", L"no such folder\\picture.png"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.errors.find("screenshot"), std::string::npos) << outcome.errors;
}

TEST_F(ViewerProgram, SaysWhatItShows) {
    const Outcome outcome =
        Run({Write("square.ply", Square(596'000, 243'000)).wstring(), L"--frames", L"1", L"--pipeline", L"legacy"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_NE(outcome.output.find("5 points, 0 features, x 596000.00 to 596100.00"), std::string::npos)
        << outcome.output;
}

} // namespace
