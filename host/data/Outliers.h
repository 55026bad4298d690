#pragma once

#include "Extent.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrrinViewer {

/// Most positions of a file, and how many lie so far from all of them that who looks at those sees nothing else.
struct CoreExtent {
    Extent extent;             ///< the box around all others
    std::uint64_t outside = 0; ///< positions beyond it
};

/// Tells a few stray positions from the rest while the positions pass: echoes from a bird or a cloud, or a record that
/// was never filled in and lies at the origin. A tenth of a percent of them at most, and ten times farther away than
/// the others reach, or they are no strays but a part of what was measured.
class OutlierFinder {
public:
    void Add(const Position& position);
    /// Of the positions so far. Takes some milliseconds.
    CoreExtent Find() const;

private:
    struct Candidate {
        std::uint64_t number = 0;
        Position position;
    };
    /// The positions that are farthest along one axis, in one direction.
    struct Farthest {
        std::vector<Candidate> candidates;
        double least = 0.0;  ///< of those kept; nearer ones are of no interest
        bool isFull = false; ///< there were more than are kept
    };

    void Keep(std::size_t side, const Position& position);

    std::uint64_t m_count = 0;
    Extent m_extent;
    std::vector<Position> m_sample; // every m_sampleStep-th position
    std::uint64_t m_sampleStep = 1;
    std::array<Farthest, 6> m_farthest; // west, south, low, east, north, high
};

} // namespace OrrinViewer
