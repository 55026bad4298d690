#pragma once

#include "PointCloud.h"

#include <array>
#include <cstdint>
#include <vector>

namespace OrrinViewer {

/// A surface of triangles between positions.
struct Mesh {
    std::vector<Position> positions;
    std::vector<Rgb> colors;                             ///< one for each position, or none
    std::vector<std::array<std::uint32_t, 3>> triangles; ///< of the numbers of positions
    Extent extent;                                       ///< of the triangles
};

/// For each position the mean of the normals of its triangles, the larger ones counting more; length one, or zero where
/// there is none.
std::vector<Position> FindNormals(const Mesh& mesh);

} // namespace OrrinViewer
