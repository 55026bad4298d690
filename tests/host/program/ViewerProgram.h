#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace OrrinViewer {

namespace fs = std::filesystem;

/// A frame that the viewer saved.
struct Frame {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba; ///< height × width × 4 bytes, upper row first

    std::array<int, 3> At(int x, int y) const;
    /// Whether the colour occurs within two pixels of (x, y).
    bool HasNear(int x, int y, const std::array<int, 3>& color) const;
};

/// Reads a PNG file; a frame without pixels when there is none.
Frame ReadFrame(const fs::path& path);

/// How far two frames of one size differ: the share of pixels with a channel more than `tolerance` apart.
double ShareOfDifferingPixels(const Frame& one, const Frame& other, int tolerance);

struct Outcome {
    int exitCode = -1;
    std::string output;
    std::string errors;
};

/// Runs a shell's command on the system that Wine runs on, and returns what it prints; `output` is a file for that.
std::string RunBeneathWine(const std::string& command, const fs::path& output, int mostSeconds);

/// The viewer, which lies beside this program.
fs::path ViewerPath();

/// Starts the viewer as a user does, so that a test can look at what it drew and said.
class ViewerProgram : public testing::Test {
protected:
    ViewerProgram() { fs::create_directories(m_folder); }
    ~ViewerProgram() override;

    fs::path Folder() const { return m_folder; }
    fs::path Write(const std::string& name, const std::string& content) const;
    /// Runs the viewer, or a copy of it, to its end; a minute is enough for any of these.
    Outcome Run(const std::vector<std::wstring>& arguments, const fs::path& program = {}) const;
    /// Copies the viewer with its DLLs, but not its shaders, to a folder of this test's own. Returns the copy.
    fs::path CopyProgram() const;
    /// Opens the viewer as a person does, and closes its window once its title says all of `wanted`, or after a minute.
    Outcome Watch(const std::vector<std::wstring>& arguments, const std::vector<std::wstring>& wanted) const;
    /// Draws files into a frame of 240 by 160 pixels, with nothing around the map.
    Frame Draw(std::vector<std::wstring> arguments) const;
    /// Draws files into a frame of that size, as the arguments say.
    Frame DrawMap(std::vector<std::wstring> arguments, int width, int height) const;
    /// A cloud of four coloured points at the corners of a square of 100 m, and one of a fifth colour in its middle.
    static std::string SquareCloud(double x, double y);

    /// Starts the viewer, lets `attend` look after it until it returns, and waits for its end.
    Outcome Start(const std::vector<std::wstring>& arguments,
                  const std::function<void(const PROCESS_INFORMATION&)>& attend, const fs::path& program = {}) const;

private:
    fs::path m_folder = fs::temp_directory_path() / (L"orrin_viewer_tests_" + std::to_wstring(GetCurrentProcessId()) +
                                                     L"_" + std::to_wstring(GetTickCount64()));
};

} // namespace OrrinViewer
