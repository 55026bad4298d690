#pragma once

#include "../values/BasicTypes.h"

#include <cstddef>
#include <vector>

namespace KTR {

/// A corner of a shape's triangles, in the plane where the shape was made.
struct ShapeVertex {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    float coverage = 1.0F;   ///< share of the colour, which fades to 0 across an edge
    unsigned char paint = 0; ///< which of the shape's colours

    bool IsSamePlace(const ShapeVertex& other) const { return x == other.x && y == other.y && z == other.z; }
};

/// Triangles as one strip, which takes a third of the vertices that single triangles take for a stroked string. Parts
/// that do not touch are joined by triangles without area.
class ShapeMesh {
public:
    void Clear() {
        m_strip.clear();
        m_opens = true;
    }
    /// What follows does not go on behind what was added.
    void BeginStrip() { m_opens = true; }
    void Add(const ShapeVertex& vertex) {
        if (m_opens && !m_strip.empty()) {
            m_strip.push_back(ShapeVertex(m_strip.back()));
            m_strip.push_back(vertex);
        }
        m_opens = false;
        m_strip.push_back(vertex);
    }
    void AddTriangle(const ShapeVertex& a, const ShapeVertex& b, const ShapeVertex& c) {
        BeginStrip();
        Add(a);
        Add(b);
        Add(c);
        BeginStrip();
    }

    const std::vector<ShapeVertex>& Strip() const { return m_strip; }
    bool IsEmpty() const { return m_strip.empty(); }

    /// Calls `visit(a, b, c)` for each triangle that is not there only to join parts.
    template <typename Visit> void ForEachTriangle(Visit visit) const {
        for (std::size_t index = 2; index < m_strip.size(); ++index) {
            const ShapeVertex& a = m_strip[index - 2];
            const ShapeVertex& b = m_strip[index - 1];
            const ShapeVertex& c = m_strip[index];
            if (!a.IsSamePlace(b) && !b.IsSamePlace(c) && !a.IsSamePlace(c)) {
                visit(a, b, c);
            }
        }
    }

private:
    std::vector<ShapeVertex> m_strip;
    bool m_opens = true;
};

} // namespace KTR
