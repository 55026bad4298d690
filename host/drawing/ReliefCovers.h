#pragma once

#include "data/ElevationGrid.h"
#include "data/Raster.h"

#include "SceneColors.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace OrrinViewer {

/// What a relief consists of. It does not change once it is made, so any thread may look at it.
struct ReliefShape {
    ElevationGrid grid;
    std::vector<std::array<GridCorner, 3>> triangles;

    /// Whether it reaches as far as the image, so that nothing of the image lies beside it.
    bool Reaches(const Raster& image) const;
};

/// An image that lies on a relief. It does not change either.
struct ReliefCover {
    std::shared_ptr<const Raster> image; ///< opaque
    std::wstring name;                   ///< tells it from all other textures of the process
};

/// Which images lie on which triangles of a relief.
class ReliefCovers {
public:
    /// Lays an image over what lies bare so far: triangles that are wholly within it. Where it shows nothing the ground
    /// does, in the colours that elevations have in this range. Looking at millions of triangles takes its time;
    /// ReadingStopped where nobody wants it any more.
    void Add(const ReliefShape& shape, const ElevationRange& range, const std::shared_ptr<const Raster>& image,
             std::wstring name);

    /// Each with triangles of its own.
    const std::vector<std::shared_ptr<const ReliefCover>>& GetCovers() const { return m_covers; }
    /// Null where it lies bare.
    const ReliefCover* Of(std::size_t triangle) const {
        const std::size_t number = m_numbers.empty() ? 0 : m_numbers[triangle];
        return number == 0 ? nullptr : m_covers[number - 1].get();
    }

private:
    std::vector<std::shared_ptr<const ReliefCover>> m_covers;
    std::vector<std::uint16_t> m_numbers; ///< of the covers, one per triangle, from 1; empty while there are none
};

} // namespace OrrinViewer
