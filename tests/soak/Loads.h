#pragma once

// What the soak loads and unloads: a host's drawing code, linked to the library, behind an interface of C.

#ifdef ORRIN_SOAK_LOADS_BUILD
#define ORRIN_SOAK_API extern "C" __declspec(dllexport)
#else
#define ORRIN_SOAK_API extern "C" __declspec(dllimport)
#endif

/// What one load is to do. Steps count from 0; `sample` is called with the number of steps that are done and of the
/// OpenGL objects alive, each of which `kinds` counts too.
struct SoakOrder {
    const char* load;
    bool programs; ///< on the 4.x pipeline
    int steps;
    void (*sample)(int done, int objects, const char* kinds, void* context);
    void* context;
};

enum SoakResult : int {
    SoakDone = 0,
    SoakFailed = 1, ///< the reason is on the standard error
    SoakUnknownLoad = 2,
    SoakNoPrograms = 3, ///< the driver does not offer the pipeline
};

/// Runs one load from beginning to end, with samples after a tenth, half and all of the steps.
ORRIN_SOAK_API int RunSoakLoad(const SoakOrder* order);
using RunSoakLoadFunction = int (*)(const SoakOrder* order);
