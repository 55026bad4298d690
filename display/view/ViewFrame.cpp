#include "OpenGLView.h"

namespace KTR {

void COpenGLView::SetBackgroundColor(COLORREF color, bool clear) {
    CurrentRecord().backgroundColor = color;
    const COrrinGLCement* gl = CurrentGL();
    gl->glClearColor(static_cast<float>(GetRValue(color)) / 255.0F, static_cast<float>(GetGValue(color)) / 255.0F,
                     static_cast<float>(GetBValue(color)) / 255.0F, 1.0F);
    outputGlError(L"SetBackgroundColor: glClearColor()");
    if (clear) {
        gl->glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        outputGlError(L"SetBackgroundColor: glClear()");
    }
}

void COpenGLView::Clear(unsigned int mask) {
    CurrentGL()->glClear(mask);
    outputGlError(L"Clear: END:  glClear()");
}

void COpenGLView::Color(unsigned char r, unsigned char g, unsigned char b) {
    SetCurrentColor(r, g, b, 255, false);
    if (!DrawsWithPrograms()) {
        CurrentGL()->glColor3ub(r, g, b);
        outputGlError(L"Color 3ub: END");
    }
}

void COpenGLView::Color(unsigned char r, unsigned char g, unsigned char b, unsigned char a) {
    SetCurrentColor(r, g, b, a, false);
    if (!DrawsWithPrograms()) {
        CurrentGL()->glColor4ub(r, g, b, a);
        outputGlError(L"Color 4ub: END");
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
    CurrentGL()->glPixelStorei(name, value);
    outputGlError(L"glPixelStorei: END");
}

void COpenGLView::ReadPixels(int x, int y, int width, int height, unsigned int format, unsigned int type,
                             void* pixels) {
    CurrentGL()->glReadPixels(x, y, width, height, format, type, pixels);
    outputGlError(L"glReadPixels: END");
}

} // namespace KTR
