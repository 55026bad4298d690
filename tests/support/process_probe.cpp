#include "DebugOutput.h"

#include <OrrinDisplay.h>

#include <memory>
#include <string>

namespace {

/// Goes to a window station that nobody sees, as a service's is, and fails there to make the process's first view. 0
/// when it was told and not shown, which would wait for ever; 32 where the system has no such station to give.
int FailAsService() {
    const HWINSTA station = CreateWindowStationW(L"OrrinService", 0, GENERIC_ALL, nullptr);
    if (!station || !SetProcessWindowStation(station)) {
        return 32;
    }
    WNDCLASSW taken = {};
    taken.lpfnWndProc = DefWindowProcW;
    taken.hInstance = GetModuleHandleW(nullptr);
    taken.lpszClassName = L"GLCement";
    RegisterClassW(&taken);
    const DebugOutput debugger;
    const auto view = std::make_unique<KTR::COpenGLView>();
    return debugger.Has(L"Couldn't register window class to intialize GLCement") ? 0 : 16;
}

} // namespace

/// Tells by its exit code what it finds of itself: 1 its own entry, 2 its parent's name, 4 that the host started it.
/// With the path of another copy as its argument it starts that and passes the answer on. With "service" it is one.
int wmain(int argumentCount, wchar_t** arguments) {
    if (argumentCount > 1 && std::wstring(arguments[1]) == L"service") {
        return FailAsService();
    }
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
