#pragma once

#include <afxwin.h>

#include <psapi.h>

/// What the process holds at a moment; a leak shows between two of them.
struct ProcessFootprint {
    DWORD handles = 0;
    DWORD userObjects = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
    PROCESS_MEMORY_COUNTERS memory{};
    ProcessFootprint() {
        GetProcessHandleCount(GetCurrentProcess(), &handles);
        K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory));
    }
};
