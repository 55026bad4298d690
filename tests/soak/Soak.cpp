// Runs one load of the soak (tools/soak.sh) and writes what the process holds after a tenth, half and all of its steps.
// Each figure is a line of words; the next step waits for a line on the standard input, so that who started this can
// look at the process from outside meanwhile.
//
//     display_soak LOAD fixed|programs STEPS
//
// The library is loaded for the load and unloaded after it; the load "reloads" does that at each of its steps.

#include "Loads.h"
#include "support/ProcessFootprint.h"
#include "support/TestWindow.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr const wchar_t* kLoadsFile = L"soak_loads.dll";

void Sample(int done, int objects, const char* kinds, void* /*context*/) {
    const ProcessFootprint footprint = ProcessFootprint::Take();
    std::printf("sample %d handles %zu gdi %zu windows %zu private %zu objects %d (%s)\n", done, footprint.handles,
                footprint.gdiObjects, footprint.windows, footprint.memory, objects, kinds);
    std::fflush(stdout);
    char answer[16];
    if (!std::fgets(answer, sizeof(answer), stdin)) {
        clearerr(stdin);
    }
}

void Ignore(int /*done*/, int /*objects*/, const char* /*kinds*/, void* /*context*/) {}

/// Loads the library with the host's code, runs the load and unloads both.
int RunWithLibrary(const SoakOrder& order) {
    const HMODULE library = LoadLibraryW(kLoadsFile);
    if (!library) {
        std::fprintf(stderr, "%ls cannot be loaded: error %lu\n", kLoadsFile, GetLastError());
        return SoakFailed;
    }
    const FARPROC address = GetProcAddress(library, "RunSoakLoad");
    RunSoakLoadFunction run = nullptr;
    std::memcpy(&run, &address, sizeof(run));
    const int result = run(&order);
    FreeLibrary(library);
    if (GetModuleHandleW(L"OrrinDisplay.dll")) {
        std::fprintf(stderr, "the library stays loaded\n");
        return SoakFailed;
    }
    return result;
}

int Reload(const SoakOrder& order) {
    constexpr int warmUp = 10; // what the system and Mesa keep of DLLs that come and go is there after some of them
    for (int done = 1 - warmUp; done <= order.steps; ++done) {
        const int result = RunWithLibrary({"one-frame", order.programs, 1, Ignore, nullptr});
        if (result != SoakDone) {
            return result;
        }
        if (done == order.steps / 10 || done == order.steps / 2 || done == order.steps) {
            Sample(done, 0, "", nullptr);
        }
    }
    return SoakDone;
}

// What the system counts, left behind on purpose: a count that does not see it would find everything flat.
struct Leak {
    const char* name;
    void (*step)();
};

DWORD WINAPI SleepForever(void* /*unused*/) {
    Sleep(INFINITE);
    return 0;
}

const Leak kLeaks[] = {
    {"leaked-handles", [] { CreateEventW(nullptr, FALSE, FALSE, nullptr); }},
    {"leaked-gdi", [] { CreateSolidBrush(RGB(1, 2, 3)); }},
    {"leaked-windows", [] { new TestWindow(64, 64); }},
    {"leaked-memory",
     [] {
         constexpr std::size_t bytes = 200'000;
         static char* volatile last = nullptr; // an allocation that nobody can see is none to a compiler
         last = new char[bytes];
         std::memset(last, 1, bytes);
     }},
    {"leaked-threads", [] { CloseHandle(CreateThread(nullptr, 0, SleepForever, nullptr, 0, nullptr)); }},
    {"leaked-files",
     [] {
         wchar_t program[MAX_PATH] = {};
         GetModuleFileNameW(nullptr, program, MAX_PATH);
         const HANDLE file = CreateFileW(program, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                         FILE_ATTRIBUTE_NORMAL, nullptr);
         char byte = 0;
         DWORD read = 0;
         ReadFile(file, &byte, 1, &read, nullptr);
     }},
};

int RunLeak(const Leak& leak, int steps) {
    for (int done = 1; done <= steps; ++done) {
        leak.step();
        if (done == steps / 10 || done == steps / 2 || done == steps) {
            Sample(done, 0, "", nullptr);
        }
    }
    return SoakDone;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 4) {
        std::fprintf(stderr, "usage: display_soak LOAD fixed|programs STEPS\n");
        return SoakFailed;
    }
    ProcessFootprint::Take(); // the first one has Windows load what it counts with
    const SoakOrder order{arguments[1], std::strcmp(arguments[2], "programs") == 0, std::atoi(arguments[3]), Sample,
                          nullptr};
    for (const Leak& leak : kLeaks) {
        if (std::strcmp(leak.name, order.load) == 0) {
            return RunLeak(leak, order.steps);
        }
    }
    return std::strcmp(order.load, "reloads") == 0 ? Reload(order) : RunWithLibrary(order);
}
