#include "ViewerProgram.h"

#include "files/FileError.h"
#include "files/ImageFile.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <utility>

namespace OrrinViewer {

namespace {

std::string ReadText(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The visible window of a process that belongs to no other one; null while it has none.
HWND FindWindowOf(DWORD process) {
    struct Search {
        DWORD process;
        HWND found;
    } search = {process, nullptr};
    EnumWindows(
        [](HWND window, LPARAM parameter) -> BOOL {
            auto& looked = *reinterpret_cast<Search*>(parameter);
            DWORD owner = 0;
            GetWindowThreadProcessId(window, &owner);
            const bool isMain = IsWindowVisible(window) && !GetWindow(window, GW_OWNER);
            looked.found = owner == looked.process && isMain ? window : looked.found;
            return looked.found == nullptr;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

/// Asked of the window, which has to answer for that.
std::wstring TitleOf(HWND window) {
    wchar_t title[512] = {};
    DWORD_PTR length = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, std::size(title), reinterpret_cast<LPARAM>(title), SMTO_NORMAL, 5'000,
                        &length);
    return title;
}

} // namespace

fs::path ViewerPath() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return fs::path(path).parent_path() / L"OrrinViewer.exe";
}

/// NOTE: Wine gives no handle for a program that is not of Windows. So it says itself that it has ended.
std::string RunBeneathWine(const std::string& command, const fs::path& output, int mostSeconds) {
    const std::string end = "that was all";
    std::wstring commandLine = L"Z:\\bin\\sh -c \"";
    commandLine += std::wstring(command.begin(), command.end()) + L"; echo ";
    commandLine += std::wstring(end.begin(), end.end()) + L"\"";
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                     CREATE_ALWAYS, 0, nullptr);
    PROCESS_INFORMATION process = {};
    std::string text;
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
        const ULONGLONG last = GetTickCount64() + static_cast<ULONGLONG>(mostSeconds) * 1000;
        while (text.find(end) == std::string::npos && GetTickCount64() < last) {
            Sleep(5);
            text = ReadText(output);
        }
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    CloseHandle(startup.hStdOutput);
    EXPECT_NE(text.find(end), std::string::npos) << command << "\n" << text;
    return text.substr(0, text.find(end));
}

std::array<int, 3> Frame::At(int x, int y) const {
    const std::size_t at =
        (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 4;
    return {rgba.at(at), rgba.at(at + 1), rgba.at(at + 2)};
}

bool Frame::HasNear(int x, int y, const std::array<int, 3>& color) const {
    for (int dy = -2; dy <= 2; ++dy) {
        for (int dx = -2; dx <= 2; ++dx) {
            if (At(x + dx, y + dy) == color) {
                return true;
            }
        }
    }
    return false;
}

Frame ReadFrame(const fs::path& path) {
    try {
        RasterImage image = ReadImageFile(path);
        return {image.width, image.height, std::move(image.rgba)};
    } catch (const FileError&) {
        return {};
    }
}

double ShareOfDifferingPixels(const Frame& one, const Frame& other, int tolerance) {
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

ViewerProgram::~ViewerProgram() {
    std::error_code someFileIsStillOpen;
    fs::remove_all(m_folder, someFileIsStillOpen);
}

fs::path ViewerProgram::Write(const std::string& name, const std::string& content) const {
    std::ofstream(m_folder / name, std::ios::binary) << content;
    return m_folder / name;
}

Outcome ViewerProgram::Run(const std::vector<std::wstring>& arguments, const fs::path& program) const {
    return Start(
        arguments, [](const PROCESS_INFORMATION&) {}, program);
}

fs::path ViewerProgram::CopyProgram() const {
    const fs::path folder = m_folder / L"copy" / L"bin";
    fs::create_directories(folder);
    for (const fs::directory_entry& entry : fs::directory_iterator(ViewerPath().parent_path())) {
        if (entry.path().extension() == L".dll" || entry.path().filename() == ViewerPath().filename()) {
            fs::copy_file(entry.path(), folder / entry.path().filename());
        }
    }
    return folder / ViewerPath().filename();
}

Outcome ViewerProgram::Watch(const std::vector<std::wstring>& arguments,
                             const std::vector<std::wstring>& wanted) const {
    return Start(arguments, [&wanted](const PROCESS_INFORMATION& process) {
        std::wstring title;
        const auto saysAll = [&] {
            return std::all_of(wanted.begin(), wanted.end(),
                               [&title](const std::wstring& part) { return title.find(part) != std::wstring::npos; });
        };
        HWND window = nullptr;
        for (int look = 0; look < 6'000 && (title.empty() || !saysAll()); ++look) {
            if (WaitForSingleObject(process.hProcess, 10) == WAIT_OBJECT_0) {
                break;
            }
            window = FindWindowOf(process.dwProcessId);
            title = TitleOf(window);
        }
        EXPECT_TRUE(saysAll()) << testing::PrintToString(title);
        PostMessageW(window, WM_CLOSE, 0, 0);
    });
}

Outcome ViewerProgram::Start(const std::vector<std::wstring>& arguments,
                             const std::function<void(const PROCESS_INFORMATION&)>& attend,
                             const fs::path& program) const {
    // Each run has its own files: the system may hold those of the last one for a moment.
    static int run = 0;
    const fs::path outputFile = m_folder / (L"output" + std::to_wstring(++run));
    const fs::path errorFile = m_folder / (L"errors" + std::to_wstring(run));
    const fs::path viewer = program.empty() ? ViewerPath() : program;
    std::wstring commandLine = L"\"" + viewer.wstring() + L"\"";
    for (const std::wstring& argument : arguments) {
        commandLine += L" \"" + argument + L"\"";
    }
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    const auto open = [&](const fs::path& file) {
        return CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, &inherit, CREATE_ALWAYS, 0,
                           nullptr);
    };
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = open(outputFile);
    startup.hStdError = open(errorFile);
    PROCESS_INFORMATION process = {};
    Outcome outcome;
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
        DWORD exitCode = 0;
        attend(process);
        if (WaitForSingleObject(process.hProcess, 60'000) != WAIT_OBJECT_0) {
            char script[MAX_PATH] = {};
            if (GetEnvironmentVariableA("ORRIN_HANG_DUMP", script, MAX_PATH) != 0) {
                std::fprintf(stderr, "%s\n", RunBeneathWine(script, m_folder / L"hang", 90).c_str());
            }
            TerminateProcess(process.hProcess, 99);
            WaitForSingleObject(process.hProcess, 5'000);
        }
        GetExitCodeProcess(process.hProcess, &exitCode);
        outcome.exitCode = static_cast<int>(exitCode);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    } else {
        ADD_FAILURE() << "The program was not started, error " << GetLastError();
    }
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    outcome.output = ReadText(outputFile);
    outcome.errors = ReadText(errorFile);
    return outcome;
}

Frame ViewerProgram::Draw(std::vector<std::wstring> arguments) const {
    arguments.insert(arguments.end(), {L"--plain"});
    return DrawMap(std::move(arguments), 240, 160);
}

Frame ViewerProgram::DrawMap(std::vector<std::wstring> arguments, int width, int height) const {
    // A file of its own for each, so that what an earlier run left does not pass for this run's.
    static int frames = 0;
    const fs::path screenshot = m_folder / (L"frame" + std::to_wstring(++frames) + L".png");
    arguments.insert(arguments.end(), {L"--width", std::to_wstring(width), L"--height", std::to_wstring(height),
                                       L"--frames", L"2", L"--screenshot", screenshot.wstring()});
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    Frame frame = ReadFrame(screenshot);
    EXPECT_EQ(frame.rgba.size(), static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    return frame;
}

std::string ViewerProgram::SquareCloud(double x, double y) {
    std::string text = "ply\nformat ascii 1.0\nelement vertex 5\nproperty double x\nproperty double y\nproperty double "
                       "z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\nend_header\n";
    const struct {
        double dx, dy;
        const char* color;
    } points[] = {
        {0, 0, "250 0 0"}, {100, 0, "0 250 0"}, {0, 100, "0 0 250"}, {100, 100, "250 250 0"}, {50, 50, "0 250 250"}};
    for (const auto& point : points) {
        char line[128] = {};
        std::snprintf(line, sizeof(line), "%.4f %.4f 10.0 %s\n", x + point.dx, y + point.dy, point.color);
        text += line;
    }
    return text;
}

} // namespace OrrinViewer
