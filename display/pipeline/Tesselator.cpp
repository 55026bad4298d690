#include "Tesselator.h"

#include "../platform/CriticalSectionLock.h"
#include "../view/OpenGLView.h"
#include "GeometryFilling.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <new>

namespace KTR {

namespace {

/// Vertices that the pool grows by; a polygon of a full batch needs one step.
constexpr unsigned long long kPoolStep = kBatchRecords;

using TessellatorCallback = void(CALLBACK*)();

template <typename Function> TessellatorCallback AnyCallback(Function* function) {
    return reinterpret_cast<TessellatorCallback>(function);
}

} // namespace

GLTesselator::GLTesselator(COpenGLView* view) : m_view(view) {
    InitializeCriticalSection(&m_lock);
}

GLTesselator::~GLTesselator() {
    {
        const CriticalSectionLock lock(m_lock);
        for (unsigned long long index = 0; index < m_poolCapacity; ++index) {
            delete m_vertexPool[index];
        }
        delete[] m_vertexPool;
    }
    DeleteCriticalSection(&m_lock);
}

void GLTesselator::Destroy() {
    const CriticalSectionLock lock(m_lock);
    if (m_tesselator) {
        gluDeleteTess(m_tesselator);
        m_tesselator = nullptr;
    }
}

/// There is no combine callback: with one, GLU would make vertices of its own where contours cross, and the colours
/// that it mixes are nobody's. Without one it gives such a polygon up. Without an edge-flag callback it may send fans
/// and strips, which are several times fewer vertices.
void GLTesselator::initialize() {
    if (m_tesselator) {
        return;
    }
    m_tesselator = gluNewTess();
    if (!m_tesselator) {
        return;
    }
    gluTessCallback(m_tesselator, GLU_TESS_VERTEX_DATA, AnyCallback(&OnVertex));
    gluTessCallback(m_tesselator, GLU_TESS_BEGIN_DATA, AnyCallback(&OnBegin));
    gluTessCallback(m_tesselator, GLU_TESS_END_DATA, AnyCallback(&OnEnd));
    gluTessProperty(m_tesselator, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_POSITIVE);
}

void GLTesselator::BeginPolygon() {
    const CriticalSectionLock lock(m_lock);
    initialize();
    m_usedCount = 0;
    // Sent where it is not set already would part the draws that this polygon could share.
    const GLRenderingContextRecord& record = m_view->CurrentRecord();
    const bool fills = record.attributes.polygonMode == GL_FILL &&
                       record.attributes.polygonModeFace == GL_FRONT_AND_BACK && !m_view->CurrentObjects().fillForced;
    if (!m_view->m_filling && (!fills || !m_view->m_batch.SharesDraws())) {
        m_view->PolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    }
    if (m_tesselator) {
        gluTessBeginPolygon(m_tesselator, m_view);
        gluTessBeginContour(m_tesselator);
    }
}

void GLTesselator::BeginContour() {
    const CriticalSectionLock lock(m_lock);
    if (m_tesselator) {
        gluTessBeginContour(m_tesselator);
    }
}

void GLTesselator::EndContour() {
    const CriticalSectionLock lock(m_lock);
    if (m_tesselator) {
        gluTessEndContour(m_tesselator);
    }
}

void GLTesselator::EndPolygon() {
    const CriticalSectionLock lock(m_lock);
    if (m_tesselator) {
        gluTessEndPolygon(m_tesselator);
    }
    m_usedCount = 0;
}

void GLTesselator::AddIndex3DVertexRGBA(double x, double y, double z, unsigned char r, unsigned char g, unsigned char b,
                                        unsigned char a) {
    const CriticalSectionLock lock(m_lock);
    if (!m_tesselator) {
        return;
    }
    // GLU compares what the batch will hold, so that two vertices that come out as one are one to it as well.
    const float position[3] = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
    if (!std::all_of(position, position + 3, [](float coordinate) { return std::isfinite(coordinate); })) {
        return;
    }
    if (m_usedCount >= m_poolCapacity && !GrowPool()) {
        return;
    }
    Vertex* vertex = m_vertexPool[m_usedCount];
    std::copy_n(position, 3, vertex->position);
    vertex->r = r;
    vertex->g = g;
    vertex->b = b;
    vertex->a = a;
    gluTessVertex(m_tesselator, vertex->position, vertex);
    ++m_usedCount;
}

void GLTesselator::AddIndex2DVertexRGBA(double x, double y, unsigned char r, unsigned char g, unsigned char b,
                                        unsigned char a) {
    AddIndex3DVertexRGBA(x, y, 0.0, r, g, b, a);
}

void GLTesselator::SetProperty(unsigned int which, double value) {
    const CriticalSectionLock lock(m_lock);
    initialize();
    if (m_tesselator) {
        gluTessProperty(m_tesselator, which, value);
    }
}

double GLTesselator::GetProperty(unsigned int which) {
    const CriticalSectionLock lock(m_lock);
    initialize();
    double value = 0.0;
    if (m_tesselator) {
        gluGetTessProperty(m_tesselator, which, &value);
    }
    return value;
}

/// Adds a step of vertices to the pool, or as many as there is memory for. False when there is none for a single one.
/// Only the array of pointers moves, the vertices themselves stay where GLU knows them.
bool GLTesselator::GrowPool() {
    Vertex** const pool = new (std::nothrow) Vertex*[m_poolCapacity + kPoolStep];
    if (!pool) {
        return false;
    }
    std::copy_n(m_vertexPool, m_poolCapacity, pool);
    delete[] m_vertexPool;
    m_vertexPool = pool;
    const unsigned long long wanted = m_poolCapacity + kPoolStep;
    while (m_poolCapacity < wanted) {
        Vertex* const vertex = new (std::nothrow) Vertex;
        if (!vertex) {
            break;
        }
        m_vertexPool[m_poolCapacity++] = vertex;
    }
    return m_usedCount < m_poolCapacity;
}

// GLU hands the polygon's view to the callbacks. A contour that no BeginPolygon opened belongs to none: there is no
// view to draw it.

void CALLBACK GLTesselator::OnBegin(unsigned int mode, void* view) {
    if (view) {
        COpenGLView& drawn = *static_cast<COpenGLView*>(view);
        GLTesselator& self = *drawn.m_owned.tesselator;
        self.m_chain = Chain{mode, 0, {}};
        drawn.BeginArrays(self.SplitsChains() ? GL_TRIANGLES : mode, GLShaderColorPassThrough);
    }
}

void CALLBACK GLTesselator::OnVertex(void* vertex, void* view) {
    if (!view) {
        return;
    }
    COpenGLView& drawn = *static_cast<COpenGLView*>(view);
    GLTesselator& self = *drawn.m_owned.tesselator;
    const Vertex& added = *static_cast<const Vertex*>(vertex);
    if (!self.SplitsChains()) {
        Add(drawn, added);
        return;
    }
    Chain& chain = self.m_chain;
    if (chain.count >= 2) {
        // Every second triangle of a strip goes the other way round.
        const bool swapped = chain.mode == GL_TRIANGLE_STRIP && chain.count % 2 != 0;
        Add(drawn, *chain.last[swapped ? 1 : 0]);
        Add(drawn, *chain.last[swapped ? 0 : 1]);
        Add(drawn, added);
        if (chain.mode == GL_TRIANGLE_STRIP) {
            chain.last[0] = chain.last[1];
        }
        chain.last[1] = &added;
    } else {
        chain.last[chain.count] = &added;
    }
    ++chain.count;
}

void GLTesselator::Add(COpenGLView& view, const Vertex& vertex) {
    view.AddTesselatedVertex(vertex.position[0], vertex.position[1], vertex.position[2], vertex.r, vertex.g, vertex.b,
                             vertex.a);
}

/// Triangles of one polygon can be drawn with those of the next, strips and fans cannot.
bool GLTesselator::SplitsChains() const {
    return (m_view->m_batch.SharesDraws() || m_view->m_filling) &&
           (m_chain.mode == GL_TRIANGLE_STRIP || m_chain.mode == GL_TRIANGLE_FAN);
}

void CALLBACK GLTesselator::OnEnd(void* view) {
    if (view) {
        static_cast<COpenGLView*>(view)->EndArrays();
    }
}

} // namespace KTR
