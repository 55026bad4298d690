#pragma once

#include "VectorLayer.h"

#include <cstddef>

namespace OrrinViewer {

/// The path with further positions on its legs, at most `step` apart, where a leg may cross `area`: so that it can bend
/// with the ground there. Of a closed path the last leg leads back to the first position. Never more than `most` are
/// added; a path that would need more stays as it is.
Path Subdivide(const Path& path, bool closed, const Extent& area, double step, std::size_t most);

} // namespace OrrinViewer
