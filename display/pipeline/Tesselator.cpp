#include "Tesselator.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include "../platform/CriticalSectionLock.h"

namespace KTR {

GLTesselator::GLTesselator(COpenGLView* view) : m_view(view) {
    InitializeCriticalSection(&m_lock);
}

GLTesselator::~GLTesselator() {
    DeleteCriticalSection(&m_lock);
}

void GLTesselator::Destroy() {
    const CriticalSectionLock lock(m_lock);
    if (m_tesselator) {
        gluDeleteTess(m_tesselator);
        m_tesselator = nullptr;
    }
}

} // namespace KTR
