#pragma once

#include <cstddef>

/// What the process holds at a moment; a leak shows between two of them. Counted from what the system itself keeps: its
/// lists of handles, of GDI objects and of windows.
///
/// NOTE: Wine answers 0 to GetProcessHandleCount and GetGuiResources, whatever there is.
struct ProcessFootprint {
    std::size_t handles = 0;    ///< of the kernel: files, events, threads
    std::size_t gdiObjects = 0; ///< device contexts, fonts, bitmaps
    std::size_t windows = 0;    ///< top-level ones, hidden ones too
    std::size_t memory = 0;     ///< private bytes

    /// Of now.
    static ProcessFootprint Take();
};
