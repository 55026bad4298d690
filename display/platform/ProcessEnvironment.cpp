#include "ProcessEnvironment.h"

#include "Border.h"
#include "Notice.h"

#include <cwchar>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

struct SidFreer {
    void operator()(PSID sid) const { FreeSid(sid); }
};
using UniqueSid = std::unique_ptr<std::remove_pointer_t<PSID>, SidFreer>;

void SendFormatted(const wchar_t* format, DWORD value) {
    wchar_t message[128] = {};
    _snwprintf(message, std::size(message) - 1, format, value);
    KTR::SendToDebugger(message);
}

bool IsHostExecutable(const wchar_t* name) {
    return _wcsicmp(name, L"Orrin.exe") == 0;
}

bool IsHostOrHarness(const wchar_t* name) {
    return IsHostExecutable(name) || _wcsicmp(name, L"VRTestHarness.exe") == 0;
}

/// The groups of the process's token, or an empty block when they cannot be read.
std::vector<std::byte> ReadTokenGroups() {
    HANDLE rawToken = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &rawToken)) {
        return {};
    }
    const UniqueHandle token(rawToken);
    std::vector<std::byte> groups(50);
    DWORD length = 0;
    if (GetTokenInformation(token.get(), TokenGroups, groups.data(), static_cast<DWORD>(groups.size()), &length)) {
        return groups;
    }
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
        return {};
    }
    groups.resize(length);
    if (!GetTokenInformation(token.get(), TokenGroups, groups.data(), length, &length)) {
        return {};
    }
    return groups;
}

UniqueSid MakeSid(DWORD subAuthority) {
    SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
    PSID sid = nullptr;
    AllocateAndInitializeSid(&authority, 1, subAuthority, 0, 0, 0, 0, 0, 0, 0, &sid);
    return UniqueSid(sid);
}

} // namespace

namespace KTR {

int IsProcessRunningAsAnExecutableAndNotAService() {
    int visible = 1;
    const int interactive = IsProcessInteractive(visible);
    if (visible == 1 || interactive == 1) {
        return 1;
    }
    // Asked for what it says to the debugger; the token decides.
    ProcessWasLaunchedAsService();

    const std::vector<std::byte> block = AtTheBorder(std::vector<std::byte>(), ReadTokenGroups);
    const UniqueSid interactiveSid = MakeSid(SECURITY_INTERACTIVE_RID);
    const UniqueSid serviceSid = MakeSid(SECURITY_SERVICE_RID);
    if (block.empty() || !interactiveSid || !serviceSid) {
        return 1;
    }
    const auto* groups = reinterpret_cast<const TOKEN_GROUPS*>(block.data());
    for (DWORD index = 0; index < groups->GroupCount; ++index) {
        const PSID group = groups->Groups[index].Sid;
        if (EqualSid(group, interactiveSid.get())) {
            return 1;
        }
        if (EqualSid(group, serviceSid.get())) {
            return 0;
        }
    }
    return 0;
}

int IsProcessInteractive(int& visible) {
    const HWINSTA station = GetProcessWindowStation();
    if (!station) {
        return 0;
    }
    int interactive = 1;
    wchar_t name[512] = {};
    DWORD length = 0;
    if (GetUserObjectInformationW(station, UOI_NAME, name, sizeof(name), &length)) {
        interactive = _wcsicmp(name, L"WinSta0") == 0 ? 1 : 0;
    }
    USEROBJECTFLAGS flags = {};
    if (GetUserObjectInformationW(station, UOI_FLAGS, &flags, sizeof(flags), &length)) {
        visible = static_cast<int>(flags.dwFlags & WSF_VISIBLE);
    }
    return interactive;
}

bool ProcessWasLaunchedAsService() {
    PROCESSENTRY32W parent = {};
    if (!GetParentProcessEntry(parent)) {
        SendToDebugger(L"GetParentProcessName: Could not get entry for parent process.\n");
        SendToDebugger(L"Cannot determine if process was launched as service.\n");
        return false;
    }
    return IsHostExecutable(parent.szExeFile);
}

bool GetParentProcessName(CString& name) {
    PROCESSENTRY32W parent = {};
    if (!GetParentProcessEntry(parent)) {
        SendToDebugger(L"GetParentProcessName: Could not get entry for parent process.\n");
        return false;
    }
    return AtTheBorder([&] { name = parent.szExeFile; });
}

int GetSelfProcessEntry(PROCESSENTRY32W& entry) {
    if (const int found = GetProcessEntry(entry, GetCurrentProcessId()); found != 1) {
        return found;
    }
    return IsHostOrHarness(entry.szExeFile) ? 0 : 1;
}

int GetParentProcessEntry(PROCESSENTRY32W& entry) {
    PROCESSENTRY32W self = {};
    if (GetProcessEntry(self, GetCurrentProcessId()) != 1 || IsHostOrHarness(self.szExeFile)) {
        return 0;
    }
    return GetProcessEntry(entry, self.th32ParentProcessID);
}

int GetProcessEntry(PROCESSENTRY32W& entry, unsigned long processId) {
    const HANDLE rawSnapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (rawSnapshot == INVALID_HANDLE_VALUE) {
        SendFormatted(L"Could not get process snapshot (Error: %i)\n", GetLastError());
        return 0;
    }
    const UniqueHandle snapshot(rawSnapshot);
    entry.dwSize = sizeof(entry);
    if (!Process32FirstW(snapshot.get(), &entry)) {
        SendFormatted(L"Could not get first process entry (Error: %i)\n", GetLastError());
        return 0;
    }
    while (entry.th32ProcessID != processId) {
        if (!Process32NextW(snapshot.get(), &entry)) {
            return 0;
        }
    }
    SendFormatted(L"Found Process ID in Table: %lX\n", processId);
    return 1;
}

} // namespace KTR
