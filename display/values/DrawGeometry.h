#pragma once

namespace KTR {

/// One vertex as both pipelines read it; also the stride of every vertex pointer and vertex attribute.
struct GLDrawGeometry {
    float x, y, z;
    float nx, ny, nz;
    float s, t;
    unsigned char r, g, b, a;
};
static_assert(sizeof(GLDrawGeometry) == 36, "vertex pointers and attributes step by 36 bytes");

} // namespace KTR
