#include <OrrinDisplay.h>

#include <string>

/// Tells by its exit code what it finds of itself: 1 its own entry, 2 its parent's name, 4 that the host started it.
/// With the path of another copy as its argument it starts that and passes the answer on.
int wmain(int argumentCount, wchar_t** arguments) {
    if (argumentCount > 1) {
        std::wstring commandLine = L"\"" + std::wstring(arguments[1]) + L"\"";
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process = {};
        if (!CreateProcessW(arguments[1], commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                            &process)) {
            return 64;
        }
        WaitForSingleObject(process.hProcess, 30'000);
        DWORD exitCode = 0;
        GetExitCodeProcess(process.hProcess, &exitCode);
        return static_cast<int>(exitCode);
    }
    PROCESSENTRY32W entry = {};
    CString parent;
    return (KTR::GetSelfProcessEntry(entry) == 1 ? 1 : 0) + (KTR::GetParentProcessName(parent) ? 2 : 0) +
           (KTR::ProcessWasLaunchedAsService() ? 4 : 0);
}
