#include "OpenGLView.h"

#include "../platform/GLCalls.h"

namespace KTR {

void COpenGLView::SetBackgroundColor(COLORREF color, bool clear) {
    CurrentRecord().backgroundColor = color;
    const GLCalls gl = CallGL();
    gl.As(L"SetBackgroundColor: glClearColor()")
        .glClearColor(static_cast<float>(GetRValue(color)) / 255.0F, static_cast<float>(GetGValue(color)) / 255.0F,
                      static_cast<float>(GetBValue(color)) / 255.0F, 1.0F);
    if (clear) {
        gl.As(L"SetBackgroundColor: glClear()").glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        NoteFrameBegun(*this);
    }
}

void COpenGLView::Clear(unsigned int mask) {
    CallGL().As(L"Clear: END:  glClear()").glClear(mask);
    if ((mask & GL_COLOR_BUFFER_BIT) != 0) {
        NoteFrameBegun(*this);
    }
}

void COpenGLView::Color(unsigned char r, unsigned char g, unsigned char b) {
    SetCurrentColor(r, g, b, 255, false);
    if (!DrawsWithPrograms()) {
        CallGL().As(L"Color 3ub: END").glColor3ub(r, g, b);
    }
}

void COpenGLView::Color(unsigned char r, unsigned char g, unsigned char b, unsigned char a) {
    SetCurrentColor(r, g, b, a, false);
    if (!DrawsWithPrograms()) {
        CallGL().As(L"Color 4ub: END").glColor4ub(r, g, b, a);
    }
}

void COpenGLView::Color(const GLRGBColor& color) {
    Color(color.r, color.g, color.b);
}

void COpenGLView::Color(const GLRGBAColor& color) {
    Color(color.r, color.g, color.b, color.a);
}

void COpenGLView::SetCurrentColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a, bool flag) {
    GLAttributes& attributes = CurrentRecord().attributes;
    attributes.currentColor = {r, g, b, a};
    attributes.currentColorFlag = flag;
}

GLRGBAColor COpenGLView::GetCurrentColor() const {
    return CurrentRecord().attributes.currentColor;
}

void COpenGLView::PixelStore(unsigned int name, int value) {
    CallGL().glPixelStorei(name, value);
}

void COpenGLView::ReadPixels(int x, int y, int width, int height, unsigned int format, unsigned int type,
                             void* pixels) {
    CallGL().glReadPixels(x, y, width, height, format, type, pixels);
}

} // namespace KTR
