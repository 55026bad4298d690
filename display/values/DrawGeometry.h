#pragma once

namespace KTR {

/// One vertex as both pipelines read it; also the stride of every vertex pointer and vertex attribute.
struct GLDrawGeometry {
    float x, y, z;
    float nx, ny, nz;
    float s, t;
    unsigned char r, g, b, a;
};
static_assert(sizeof(GLDrawGeometry) == 36, "the record has no padding; shaders and vertex pointers rely on it");

} // namespace KTR
