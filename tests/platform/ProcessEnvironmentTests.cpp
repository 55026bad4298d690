#include "support/DebugOutput.h"

#include <OrrinDisplay.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using namespace KTR;

namespace {

std::wstring FolderOfThisProgram() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::wstring(path).substr(0, std::wstring(path).rfind(L'\\') + 1);
}

/// Exit code of a program started with `arguments`, or -1 when it could not be started.
int RunAndWait(const std::wstring& program, const std::wstring& arguments) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    std::wstring commandLine = L"\"" + program + L"\" " + arguments;
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process)) {
        return -1;
    }
    WaitForSingleObject(process.hProcess, 60'000);
    DWORD exitCode = 0;
    GetExitCodeProcess(process.hProcess, &exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(exitCode);
}

TEST(ProcessEnvironment, ATestOnADesktopIsAnInteractiveExecutable) {
    int visible = 7;
    EXPECT_EQ(IsProcessInteractive(visible), 1);
    EXPECT_EQ(IsProcessRunningAsAnExecutableAndNotAService(), 1);
}

TEST(ProcessEnvironment, FindsItsOwnEntryAndReportsIt) {
    const DebugOutput output;
    PROCESSENTRY32W entry = {};
    ASSERT_EQ(GetSelfProcessEntry(entry), 1);
    EXPECT_EQ(entry.th32ProcessID, GetCurrentProcessId());
    wchar_t expected[64] = {};
    swprintf(expected, 64, L"Found Process ID in Table: %lX\n", GetCurrentProcessId());
    EXPECT_EQ(output.Text(), expected);
    EXPECT_EQ(GetProcessEntry(entry, 0xFFFFFFF0), 0);
    EXPECT_EQ(output.Text(), expected) << "a process that does not exist is no failure to report";
}

// A service that cannot make its first view goes on without one; a box would wait for a person for ever.
TEST(ProcessEnvironment, ServiceIsToldWhereAPersonWouldBeShown) {
    EXPECT_EQ(RunAndWait(FolderOfThisProgram() + L"process_probe.exe", L"service"), 0);
}

// The host and its harness must never be taken for helper processes, however their names are written.
TEST(ProcessEnvironment, HostAndHarnessDoNotFindThemselves) {
    // The copies go to a folder of their own, from where they find the library's DLLs through the path.
    const std::wstring programs = FolderOfThisProgram();
    wchar_t path[32'000] = {};
    GetEnvironmentVariableW(L"PATH", path, 32'000);
    SetEnvironmentVariableW(L"PATH", (programs + L";" + path).c_str());
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / (L"orrin_probe_" + std::to_wstring(GetCurrentProcessId()));
    std::filesystem::create_directories(folder);
    const std::wstring original = programs + L"process_probe.exe";
    const std::wstring probe = (folder / L"process_probe.exe").wstring();
    const struct {
        const wchar_t* name;
        int expected; ///< 1: finds itself, 2: finds its parent, 4: was started by the host
    } cases[] = {{L"process_probe.exe", 1 + 2}, {L"oRRin.exe", 0}, {L"VRTestHarness.exe", 0}};
    for (const auto& test : cases) {
        const std::wstring program = (folder / test.name).wstring();
        ASSERT_TRUE(CopyFileW(original.c_str(), program.c_str(), FALSE));
        EXPECT_EQ(RunAndWait(program, L""), test.expected) << std::string(test.name, test.name + wcslen(test.name));
    }
    // The host starts a helper: the helper counts as launched as a service.
    EXPECT_EQ(RunAndWait((folder / L"oRRin.exe").wstring(), L"\"" + probe + L"\""), 1 + 2 + 4);
    SetEnvironmentVariableW(L"PATH", path);
    std::error_code someFileIsStillOpen;
    std::filesystem::remove_all(folder, someFileIsStillOpen);
}

} // namespace
