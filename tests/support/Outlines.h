#pragma once

#include "ViewFixture.h"

#include <cmath>
#include <vector>

/// Closed rings: outer ones counter-clockwise, holes clockwise.
using Ring = std::vector<PointXY>;
using Outline = std::vector<Ring>;

/// Area that a ring encloses, negative when it runs clockwise.
inline double SignedArea(const Ring& ring) {
    double twice = 0.0;
    for (std::size_t index = 0; index < ring.size(); ++index) {
        const PointXY& from = ring[index];
        const PointXY& to = ring[(index + 1) % ring.size()];
        twice += from.x * to.y - to.x * from.y;
    }
    return twice / 2.0;
}

inline double SignedArea(const Outline& outline) {
    double area = 0.0;
    for (const Ring& ring : outline) {
        area += SignedArea(ring);
    }
    return area;
}

/// `count` points around (x, y), at the distance that `radius` gives for each angle.
template <typename Radius> Ring RingAround(double x, double y, int count, bool hole, Radius radius) {
    Ring ring;
    for (int index = 0; index < count; ++index) {
        const double angle = 6.283185307179586 * (hole ? -index : index) / count;
        ring.push_back({x + radius(angle) * std::cos(angle), y + radius(angle) * std::sin(angle)});
    }
    return ring;
}

inline void AddOutline(GLTesselator& tesselator, const Outline& outline, const GLRGBAColor& color) {
    tesselator.BeginPolygon();
    for (std::size_t index = 0; index < outline.size(); ++index) {
        if (index > 0) {
            tesselator.BeginContour();
        }
        for (const PointXY& point : outline[index]) {
            tesselator.AddIndex2DVertexRGBA(point.x, point.y, color.r, color.g, color.b, color.a);
        }
        tesselator.EndContour();
    }
    tesselator.EndPolygon();
}

inline void FillOutline(COpenGLView& view, const Outline& outline, const GLRGBAColor& color) {
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
    AddOutline(*view.GetTesselator(), outline, color);
    view.DisableClientState();
}
