#pragma once

#include "../Export.h"

#include <afxwin.h>

class GLUtesselator;

namespace KTR {

class COpenGLView;

/// The polygon tessellator of one view. The view makes it, owns it and frees it; hosts obtain it with
/// COpenGLView::GetTesselator.
class ORRIN_DISPLAY_API GLTesselator {
public:
    GLTesselator(const GLTesselator&) = delete;
    GLTesselator& operator=(const GLTesselator&) = delete;

protected:
    friend class COpenGLView;

    explicit GLTesselator(COpenGLView* view);
    ~GLTesselator();

    /// Deletes the GLU tessellator, if there is one.
    void Destroy();

private:
    GLUtesselator* m_tesselator = nullptr;
    COpenGLView* m_view;
    void** m_vertexPool = nullptr;
    unsigned long long m_poolCapacity = 0;
    unsigned long long m_usedCount = 0;
    CRITICAL_SECTION m_lock;
};

} // namespace KTR
