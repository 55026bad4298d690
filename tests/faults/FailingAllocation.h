#pragma once

#include <cstddef>

inline std::size_t g_failingSize = 0;
inline int g_spared = 0;
inline int g_failures = 0;
inline int g_asked = 0;          ///< allocations since the test set it to 0
inline int g_failingNumber = -1; ///< the one of them that fails

/// Fails the allocations of one size while it lives, but for the first `spared` ones.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t size, int spared = 0) {
        g_failures = 0;
        g_spared = spared;
        g_failingSize = size;
    }
    ~FailingAllocation() { g_failingSize = 0; }
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    int Failures() const { return g_failures; }
};

/// For an allocation of `size`, whether the test wants it to fail.
inline bool HasFailingSize(std::size_t size) {
    return size != 0 && size == g_failingSize && g_spared-- <= 0;
}

/// Writes to a file that still succeed; below 0 all of them do.
inline int g_sparedWrites = -1;
