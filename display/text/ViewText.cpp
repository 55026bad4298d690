#include "../view/OpenGLView.h"

#include "../pipeline/ProgramBinding.h"
#include "../platform/Border.h"
#include "../platform/GLCalls.h"

#include "../platform/Notice.h"
#include "../values/BoundedStack.h"
#include "CodePage.h"
#include "ListDrawing.h"
#include "StringDrawing.h"

#include <GL/glext.h>

#include <glm/gtc/matrix_transform.hpp>

namespace KTR {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

/// A frame of its own within the model: `place` is its origin, scaled and rotated about it, and `shift` units to the
/// left of there lies what is its origin in the end.
glm::dmat4 FrameWithin(const glm::dmat4& modelview, const glm::dvec3& place, const glm::dvec3& scale,
                       double angleDegrees, double shift) {
    glm::dmat4 frame = glm::translate(modelview, place);
    frame = glm::rotate(frame, angleDegrees * kRadiansPerDegree, glm::dvec3(0.0, 0.0, 1.0));
    frame = glm::scale(frame, scale);
    return glm::translate(frame, glm::dvec3(-shift, 0.0, 0.0));
}

} // namespace

void COpenGLView::DrawSetupFontAtlasText(bool pixelProjection, bool enableClientState, unsigned int value, double a,
                                         double b) {
    const GLCalls gl = CallGL();
    GLRenderingContextRecord& record = CurrentRecord();
    GLint destination = 0;
    GLint source = 0;
    TextSetup setup;
    gl.glGetIntegerv(GL_BLEND, &setup.blendWasOn);
    gl.glGetIntegerv(GL_BLEND_DST, &destination);
    gl.glGetIntegerv(GL_BLEND_SRC, &source);
    setup.savedBlendDestination = static_cast<unsigned int>(destination);
    setup.savedBlendSource = static_cast<unsigned int>(source);

    if (!DrawsWithPrograms()) {
        setup.textureWasOn = IsOpenGLStateEnabled(GL_TEXTURE_2D);
        if (setup.textureWasOn) {
            Disable(GL_TEXTURE_2D);
        }
        if (setup.blendWasOn) {
            Disable(GL_BLEND);
        }
    } else {
        if (!setup.blendWasOn) {
            Enable(GL_BLEND);
        }
        BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        MatrixSet& matrices = CurrentMath().Matrices();
        PushCurrentMatrixOnStack(GL_MODELVIEW, record.matrixStacks, matrices.modelview);
        ++record.modelviewPushDepth;
        ++record.textMatrixPushDepth;
        if (pixelProjection) {
            int width = 0;
            int height = 0;
            GetWindowDimensions(width, height);
            setup.replacedProjection = matrices.projection;
            // A minimised window has no area; nothing of it shows, but the matrix must stay finite.
            Ortho(0.0, std::max(width, 1), 0.0, std::max(height, 1), -1.0, 1.0);
            LoadIdentityMatrix(matrices.modelview);
        }
        if (enableClientState) {
            DrawFontAtlasEnableClientState();
        }
    }
    PushOnBoundedStack(m_text.setups, setup);
    m_text.b = b;
    m_text.a = a;
    m_text.clientState = enableClientState;
    m_text.pixelProjection = pixelProjection;
    m_text.value = value;
}

void COpenGLView::GetFontAtlasTextSetup(unsigned int& value, double& a, double& b) const {
    value = m_text.value;
    a = m_text.a;
    b = m_text.b;
}

void COpenGLView::DrawFontAtlasEnableClientState() {
    if (DrawsWithPrograms() && !BindCurrentFont(*this)) {
        AtTheBorder([] {
            ShowMessageBox(nullptr,
                           L"Requested Font not found, attempted to use default Arial font.  DEFAULT ARIAL FONT NOT "
                           L"LOADED.  Critical Error.",
                           L"ERROR BAD FONT", MB_OK);
        });
    }
}

void COpenGLView::DrawFontAtlasDisableClientState() {
    EndArraysAndDisableClientState();
}

long COpenGLView::DrawFontAtlasText(const wchar_t* text, double x, double y, double z, bool project, bool flag) {
    outputGlError(L"DrawFontAtlasText: Begin");
    if (!text) {
        return E_INVALIDARG;
    }
    if (project) {
        Project(x, y, z, &x, &y, &z, flag);
    }
    const double textScale = GetTextScale();
    const long result = DrawString(*this, text, PlainFrame(x, y, z));
    if (result == S_OK && textScale != 1.0) {
        PopMatrix(GL_MODELVIEW, L"DrawFontAtlasText");
    }
    return result;
}

void COpenGLView::DrawTeardownFontAtlasText(bool swap, bool checkErrors) {
    outputGlError(L"DrawTeardownFontAtlasText BEGIN:");
    FlushArrays();
    DisableClientState();
    GLRenderingContextRecord& record = CurrentRecord();
    TextSetup setup;
    const bool open = PopFromBoundedStack(m_text.setups, setup);
    if (DrawsWithPrograms()) {
        if (record.textMatrixPushDepth > 0) {
            --record.textMatrixPushDepth;
            // A scaled string may have popped it already.
            if (record.modelviewPushDepth > 0) {
                PopCurrentMatrixFromStack(GL_MODELVIEW, record.matrixStacks);
            }
        }
        if (setup.replacedProjection) {
            CurrentMath().Matrices().projection = *setup.replacedProjection;
        }
        if (checkErrors) {
            outputGlError(L"DrawTeardownFontAtlasText");
        }
    } else if (setup.replacedModelview) {
        const unsigned int mode = record.attributes.matrixMode;
        MatrixMode(GL_MODELVIEW);
        ReplaceCurrentMatrix(*setup.replacedModelview);
        MatrixMode(mode);
    }
    if (m_text.IsRunOpen()) {
        // The strings of the setup around this one go on.
        BlendFunc(setup.savedBlendSource, setup.savedBlendDestination);
    } else if (open) {
        // Crossed: the destination of before becomes the source. Put back straight, what hosts draw after a run of
        // strings would be blended by other factors than they have allowed for.
        BlendFunc(setup.savedBlendDestination, setup.savedBlendSource);
    }
    if (open && !DrawsWithPrograms() && !setup.textureWasOn) {
        Disable(GL_TEXTURE_2D);
    }
    if (open && !setup.blendWasOn) {
        Disable(GL_BLEND);
    }
    if (swap) {
        SwapBuffers();
    }
    outputGlError(L"DrawTeardownFontAtlasText END:");
}

long COpenGLView::DrawTextString(unsigned int listBase, const wchar_t* text, const char* ansiText,
                                 bool atRasterPosition, bool project, bool flag, double x, double y, double z) {
    if (DrawsWithPrograms()) {
        if (atRasterPosition) {
            const std::array<double, 3> position = CurrentRecord().attributes.rasterPosition;
            return DrawFontAtlasText(text, position[0], position[1], position[2], project, flag);
        }
        return DrawFontAtlasText(text, x, y, z, project, flag);
    }
    if (atRasterPosition) {
        RasterPosition(x, y, z);
    }
    if (!text) {
        DrawGLText(listBase, ansiText);
        return S_OK;
    }
    if (ShapesFromAtlas(*this)) {
        if (m_text.IsInFrame()) {
            return DrawString(*this, text, PlainFrame(0.0, 0.0, 0.0));
        }
        DrawStringAtRasterPosition(*this, text);
        return S_OK;
    }
    DrawGLText(listBase, NarrowText(text).data());
    return S_OK;
}

long COpenGLView::DrawFontAtlasScaledRotatedTextString(const wchar_t* text, const char* ansiText, bool atRasterPosition,
                                                       bool project, double x, double y, double z, double scaleX,
                                                       double scaleY, double scaleZ, double angleDegrees) {
    if (!text && !ansiText) {
        return E_INVALIDARG;
    }
    if (atRasterPosition) {
        const std::array<double, 3>& position = CurrentRecord().attributes.rasterPosition;
        x = position[0];
        y = position[1];
        z = position[2];
    }
    if (project) {
        Project(x, y, z, &x, &y, &z, false);
    }
    if (!DrawsWithPrograms() && !ShapesFromAtlas(*this)) {
        const std::array<char, kListTextBytes> narrow = text ? NarrowText(text) : std::array<char, kListTextBytes>{};
        return DrawStringFromLists(*this, text ? narrow.data() : ansiText, {x, y, z}, {scaleX, scaleY, scaleZ},
                                   angleDegrees);
    }
    const std::unique_ptr<wchar_t[]> wide = text ? nullptr : WideText(ansiText);
    const wchar_t* characters = text ? text : wide.get();
    if (!characters) {
        return E_OUTOFMEMORY;
    }
    return DrawString(*this, characters, RotatedFrame({x, y, z}, scaleX, scaleY, angleDegrees));
}

void COpenGLView::DrawSetupTextOGL4(double x, double y, double z, const wchar_t* text, double scaleX, double scaleY,
                                    double scaleZ, double angleDegrees, double alignment) {
    if (!DrawsWithPrograms()) {
        return;
    }
    DrawSetupFontAtlasText(false, false, 0, 0.0, 0.0);
    std::size_t length = 0;
    double width = 0.0;
    double height = 0.0;
    GetTextStringDimensions(text, length, width, height);
    glm::dmat4& modelview = CurrentMath().Matrices().modelview;
    modelview = FrameWithin(modelview, {x, y, z}, {scaleX, scaleY, scaleZ}, angleDegrees, alignment * width);
    DrawFontAtlasEnableClientState();
    m_text.clientState = true;
}

void COpenGLView::DrawSetupText(double x, double y, double z, const wchar_t* text, double scaleX, double scaleY,
                                double scaleZ, double angleDegrees, double alignment) {
    if (DrawsWithPrograms()) {
        DrawSetupTextOGL4(x, y, z, text, scaleX, scaleY, scaleZ, angleDegrees, alignment);
        return;
    }
    DrawSetupFontAtlasText(false, false, 0, 0.0, 0.0);
    const TextLists& lists = CurrentRecord().objects.textLists;
    const bool shapes = ShapesFromAtlas(*this);
    if (lists.outline == 0 && !shapes) {
        RasterPosition(x, y, z);
        return;
    }
    std::size_t length = 0;
    double width = 0.0;
    double height = 0.0;
    if (shapes) {
        GetTextStringDimensions(text, length, width, height);
    } else {
        width = WidthFromOutlines(lists, text);
    }
    const unsigned int mode = CurrentRecord().attributes.matrixMode;
    const glm::dmat4 modelview = GetMatrix(GL_MODELVIEW);
    m_text.setups.entries[m_text.setups.top].replacedModelview = modelview;
    MatrixMode(GL_MODELVIEW);
    ReplaceCurrentMatrix(FrameWithin(modelview, {x, y, z}, {scaleX, scaleY, scaleZ}, angleDegrees, alignment * width));
    MatrixMode(mode);
    RasterPosition(0.0, 0.0, 0.0);
}

} // namespace KTR
