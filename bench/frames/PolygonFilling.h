#pragma once

#include "Workloads.h"

#include <GL/glu.h>

#include <deque>

namespace Frames {

/// Fills polygons by GLU and gives the primitives to `Sink`: Begin(mode), Vertex(x, y, color), End().
template <typename Sink> class PolygonFilling {
public:
    PolygonFilling() : m_glu(gluNewTess()) {
        using Callback = void(CALLBACK*)();
        gluTessCallback(m_glu, GLU_TESS_BEGIN_DATA, reinterpret_cast<Callback>(&OnBegin));
        gluTessCallback(m_glu, GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(&OnVertex));
        gluTessCallback(m_glu, GLU_TESS_END_DATA, reinterpret_cast<Callback>(&OnEnd));
        gluTessProperty(m_glu, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_POSITIVE);
    }
    ~PolygonFilling() { gluDeleteTess(m_glu); }
    PolygonFilling(const PolygonFilling&) = delete;
    PolygonFilling& operator=(const PolygonFilling&) = delete;

    void Fill(const Polygons::Polygon& polygon, Sink& sink) {
        m_sink = &sink;
        m_color = polygon.color;
        std::size_t used = 0;
        gluTessBeginPolygon(m_glu, this);
        for (const std::vector<PointXY>& ring : polygon.rings) {
            gluTessBeginContour(m_glu);
            for (const PointXY& point : ring) {
                if (used == m_vertices.size()) {
                    m_vertices.emplace_back();
                }
                Vertex& vertex = m_vertices[used++];
                vertex = {{point.x, point.y, 0.0}};
                gluTessVertex(m_glu, vertex.position, &vertex);
            }
            gluTessEndContour(m_glu);
        }
        gluTessEndPolygon(m_glu);
    }

private:
    struct Vertex {
        double position[3];
    };

    static void CALLBACK OnBegin(GLenum mode, void* filling) {
        static_cast<PolygonFilling*>(filling)->m_sink->Begin(mode);
    }
    static void CALLBACK OnVertex(void* vertex, void* filling) {
        const double* position = static_cast<const Vertex*>(vertex)->position;
        auto* self = static_cast<PolygonFilling*>(filling);
        self->m_sink->Vertex(position[0], position[1], self->m_color);
    }
    static void CALLBACK OnEnd(void* filling) { static_cast<PolygonFilling*>(filling)->m_sink->End(); }

    GLUtesselator* m_glu;
    Sink* m_sink = nullptr;
    GLRGBAColor m_color{};
    std::deque<Vertex> m_vertices; ///< GLU keeps their addresses
};

} // namespace Frames
