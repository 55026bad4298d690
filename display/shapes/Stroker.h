#pragma once

#include "ShapeMesh.h"
#include "ShapeStyles.h"

#include <span>
#include <vector>

namespace KTR {

/// How a string is stroked. Lengths in the units of the points.
struct Stroke {
    double width = 1.0;
    double fringe = 0.0; ///< over which an edge fades, half of it inside; 0 for a hard edge
    GLLineJoin join = GLLineJoinMiter;
    double miterLimit = 4.0; ///< at least 1
    GLLineCap cap = GLLineCapButt;
    double grow = 0.0;      ///< moves all edges outwards; only without a fringe
    double tolerance = 0.1; ///< of round joins and caps
    unsigned char paint = 0;
};

/// Turns line strings into triangles.
///
/// A string is a row of *ribs*, lines across it. Each has a place where the colour is full and one where it has faded,
/// on the left and on the right; between two ribs lie the core and two fringes. At a bend the ribs meet on the inside,
/// in the point where the inner edges cross, so that no two triangles cover the same place. Where a segment is too
/// short for that, the two segments end at the corner and overlap; IsSimple tells.
class Stroker {
public:
    explicit Stroker(const Stroke& stroke);

    /// Adds a string of finite points. A closed one goes from its last point to its first, which stands there once.
    void Add(std::span<const PointXYZ> points, bool closed, ShapeMesh& mesh);
    /// Whether so far no join covered a place twice. Strings that cross themselves elsewhere do so unnoticed.
    bool IsSimple() const { return m_simple; }
    /// How far from its string a triangle may reach.
    double Reach() const;

private:
    struct Side {
        PointXY full;
        PointXY faded;
    };
    struct Rib {
        Side left;
        Side right;
        PointXY middle; ///< on the string; without fringes neighbours meet there exactly
        double z = 0.0;
        float coverage = 0.0F;
    };
    struct Segment {
        PointXY direction;
        double length = 0.0;
    };
    struct Join {
        bool overlaps = false; ///< the ribs do not meet on the inside
        double trim = 0.0;     ///< how far along both segments the inner edges cross
        bool toLeft = false;
    };

    bool Prepare(std::span<const PointXYZ> points, bool closed);
    void MeasureJoins();
    void AddDot(const PointXYZ& point);
    void AddBody();
    void AddJoin(std::size_t corner);
    void AddOverlap(std::size_t corner);
    void AddOutside(const PointXY& normal, const PointXY& next);
    void AddCap(const PointXYZ& end, const PointXY& outwards, bool atStart, double inset);
    void AddRoundCap(const PointXYZ& end, const PointXY& outwards, bool atStart);
    Rib RibAt(const PointXYZ& point, const PointXY& direction, float coverage) const;
    Side At(const PointXY& point, const PointXY& normal) const;
    void EmitRibs();
    template <typename First, typename Second> void EmitStrip(First first, Second second);

    Stroke m_stroke;
    double m_half;
    double m_full;  ///< from the string to where the colour is full
    double m_faded; ///< to where it has faded
    float m_coverage;
    double m_outwards; ///< of the faded edge from the nominal one
    double m_inwards;  ///< of the full one
    ShapeMesh* m_mesh = nullptr;
    bool m_simple = true;
    bool m_closed = false;
    std::vector<PointXYZ> m_points;
    std::vector<Segment> m_segments; ///< from each point to the next
    std::vector<Join> m_joins;       ///< at each point
    std::vector<Rib> m_ribs;
    std::vector<Side> m_outside; ///< of the join at hand
};

} // namespace KTR
