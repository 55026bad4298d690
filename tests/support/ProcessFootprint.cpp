#include "ProcessFootprint.h"

#include <windows.h>

#include <psapi.h>
#include <winternl.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

/// The system's list of all handles, as NtQuerySystemInformation gives it.
struct HandleEntry {
    void* object;
    std::uintptr_t process;
    std::uintptr_t handle;
    ULONG access;
    USHORT traceIndex;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};
constexpr int kExtendedHandleInformation = 64;
constexpr NTSTATUS kLengthMismatch = static_cast<NTSTATUS>(0xC0000004);

/// One of the entries of the table that a process shares with GDI.
struct GdiEntry {
    std::uint64_t object;
    USHORT process;
    USHORT count;
    USHORT unique;
    unsigned char type;
    unsigned char flags;
    std::uint64_t user;
};
constexpr std::size_t kGdiEntries = 65536;
constexpr std::size_t kGdiTableInPeb = 0xF8;

using CurrentPeb = const unsigned char*(WINAPI*)();
using QuerySystemInformation = NTSTATUS(WINAPI*)(int kind, void* data, ULONG size, ULONG* needed);

template <typename Function> Function NtFunction(const char* name) {
    const FARPROC address = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name);
    Function function = nullptr;
    std::memcpy(&function, &address, sizeof(function));
    return function;
}

std::size_t CountHandles() {
    const auto query = NtFunction<QuerySystemInformation>("NtQuerySystemInformation");
    std::vector<unsigned char> data(1 << 16);
    NTSTATUS status = kLengthMismatch;
    while ((status = query(kExtendedHandleInformation, data.data(), static_cast<ULONG>(data.size()), nullptr)) ==
           kLengthMismatch) {
        data.resize(data.size() * 2);
    }
    std::uintptr_t total = 0;
    if (status >= 0) {
        std::memcpy(&total, data.data(), sizeof(total));
    }
    std::size_t own = 0;
    for (std::uintptr_t index = 0; index < total; ++index) {
        HandleEntry entry;
        std::memcpy(&entry, data.data() + 2 * sizeof(std::uintptr_t) + index * sizeof(entry), sizeof(entry));
        own += entry.process == GetCurrentProcessId() ? 1 : 0;
    }
    return own;
}

std::size_t CountGdiObjects() {
    const unsigned char* peb = NtFunction<CurrentPeb>("RtlGetCurrentPeb")();
    const GdiEntry* table = nullptr;
    std::memcpy(&table, peb + kGdiTableInPeb, sizeof(table));
    std::size_t own = 0;
    for (std::size_t index = 0; table && index < kGdiEntries; ++index) {
        // On Windows the table is everybody's and names the owner; Wine's is the process's own and does not.
        const bool foreign = table[index].process != 0 && table[index].process != (GetCurrentProcessId() & 0xFFFF);
        own += table[index].type != 0 && !foreign ? 1 : 0;
    }
    return own;
}

std::size_t CountWindows() {
    std::size_t own = 0;
    EnumWindows(
        [](HWND window, LPARAM count) -> BOOL {
            DWORD process = 0;
            GetWindowThreadProcessId(window, &process);
            *reinterpret_cast<std::size_t*>(count) += process == GetCurrentProcessId() ? 1 : 0;
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&own));
    return own;
}

} // namespace

ProcessFootprint ProcessFootprint::Take() {
    PROCESS_MEMORY_COUNTERS memory{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory));
    return {CountHandles(), CountGdiObjects(), CountWindows(), memory.PagefileUsage};
}
