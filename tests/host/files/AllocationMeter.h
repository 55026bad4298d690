#pragma once

#include <cstdint>

namespace OrrinViewer {

/// Watches what this program takes by `new` from its construction on: the most that was held at a time, in bytes. What
/// the standard library's own DLL takes is not seen, which is a few texts; what it frees for us may be.
class AllocationMeter {
public:
    AllocationMeter();
    std::int64_t PeakBytes() const;

private:
    std::int64_t m_start;
};

} // namespace OrrinViewer
