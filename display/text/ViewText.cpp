#include "../view/OpenGLView.h"

#include "../pipeline/ProgramBinding.h"
#include "../platform/GLCalls.h"

#include "../platform/Notice.h"
#include "GlyphRun.h"

#include <GL/glext.h>

#include <cmath>

namespace KTR {

namespace {

/// How far a matrix may be off and still put each glyph's texel on a pixel of its own.
constexpr double kPixelTolerance = 1e-6;

bool IsNear(double value, double wanted) {
    return std::abs(value - wanted) <= kPixelTolerance;
}

/// Distance of the underline from the lowest pixels of a string.
constexpr double kUnderlineGap = 2.0;

} // namespace

void COpenGLView::DrawSetupFontAtlasText(bool pixelProjection, bool enableClientState, unsigned int value, double a,
                                         double b) {
    const GLCalls gl = CallGL();
    GLRenderingContextRecord& record = CurrentRecord();
    GLint blend = 0;
    GLint destination = 0;
    GLint source = 0;
    gl.glGetIntegerv(GL_BLEND, &blend);
    gl.glGetIntegerv(GL_BLEND_DST, &destination);
    gl.glGetIntegerv(GL_BLEND_SRC, &source);
    m_text.blendWasOn = blend;
    m_text.savedBlendDestination = static_cast<unsigned int>(destination);
    m_text.savedBlendSource = static_cast<unsigned int>(source);
    m_text.replacedProjection.reset();

    if (!DrawsWithPrograms()) {
        m_text.textureWasOn = IsOpenGLStateEnabled(GL_TEXTURE_2D);
        if (m_text.textureWasOn) {
            Disable(GL_TEXTURE_2D);
        }
        if (m_text.blendWasOn) {
            Disable(GL_BLEND);
        }
    } else {
        if (!m_text.blendWasOn) {
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
            m_text.replacedProjection = matrices.projection;
            // A minimised window has no area; nothing of it shows, but the matrix must stay finite.
            Ortho(0.0, std::max(width, 1), 0.0, std::max(height, 1), -1.0, 1.0);
            LoadIdentityMatrix(matrices.modelview);
        }
        if (enableClientState) {
            DrawFontAtlasEnableClientState();
        }
    }
    m_text.open = true;
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
    if (!DrawsWithPrograms()) {
        return;
    }
    DrawWaitingVertices();
    DeleteTaggedFontNames();
    if (!SelectUsableFont()) {
        ShowMessageBox(nullptr,
                       L"Requested Font not found, attempted to use default Arial font.  DEFAULT ARIAL FONT NOT "
                       L"LOADED.  Critical Error.",
                       L"ERROR BAD FONT", MB_OK);
        return;
    }
    FontAtlasGlyphMetrics& font = *m_gFontManager.GetCurrentFontAtlasMetrics();
    UploadFontTexture(font);
    BindFont(BindingForText(font, true));
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
    TextFrame frame;
    frame.origin = {std::trunc(x + 0.5), std::trunc(y + 0.5)};
    frame.z = z;
    const double textScale = GetTextScale();
    outputGlError(L"DrawFontAtlasText: BEFORE BeginArrays");
    CFTGLFontAtlas* atlas = m_gFontManager.GetFontAtlas(m_gFontManager.GetCurrentFontIndex());
    FontAtlasGlyphMetrics* font = atlas ? atlas->GetAtlasMetrics() : nullptr;
    if (!font || !atlas->GetFontFace()) {
        return E_INVALIDARG;
    }

    OpenTextBatch(*font, true);
    TextExtent extent;
    WalkGlyphs(*font, atlas->GetKerning(), text, [&](const FontAtlasGlyph& glyph, double left, double bottom) {
        const double right = left + glyph.width;
        const double top = bottom + glyph.height;
        extent.Include(right, bottom, top);
        const glm::vec2 lower(frame.origin.x + left, frame.origin.y + bottom);
        const glm::vec2 upper(frame.origin.x + right, frame.origin.y + top);
        AddGlyphQuad(*this, m_batch,
                     {lower,
                      {upper.x, lower.y},
                      {lower.x, upper.y},
                      upper,
                      static_cast<float>(z),
                      static_cast<float>(glyph.s0),
                      static_cast<float>(glyph.s1),
                      static_cast<float>(glyph.t0),
                      static_cast<float>(glyph.t1)});
    });
    CloseTextBatch(*text != L'\0');
    outputGlError(L"DrawFontAtlasText: AFTER  EndArrays");
    DrawTextLines(atlas->GetFontParameters(), extent, frame);
    if (textScale != 1.0) {
        PopMatrix(GL_MODELVIEW, L"DrawFontAtlasText");
    }
    return S_OK;
}

void COpenGLView::DrawTeardownFontAtlasText(bool swap, bool checkErrors) {
    outputGlError(L"DrawTeardownFontAtlasText BEGIN:");
    FlushArrays();
    DisableClientState();
    m_text.open = false;
    GLRenderingContextRecord& record = CurrentRecord();
    if (DrawsWithPrograms()) {
        if (record.textMatrixPushDepth > 0) {
            --record.textMatrixPushDepth;
            // A scaled string may have popped it already.
            if (record.modelviewPushDepth > 0) {
                PopCurrentMatrixFromStack(GL_MODELVIEW, record.matrixStacks);
            }
        }
        if (m_text.replacedProjection) {
            CurrentMath().Matrices().projection = *m_text.replacedProjection;
            m_text.replacedProjection.reset();
        }
        if (checkErrors) {
            outputGlError(L"DrawTeardownFontAtlasText");
        }
    }
    // Crossed: the destination of before becomes the source. Hosts written against this rely on it.
    BlendFunc(m_text.savedBlendDestination, m_text.savedBlendSource);
    if (!DrawsWithPrograms() && !m_text.textureWasOn) {
        Disable(GL_TEXTURE_2D);
    }
    if (!m_text.blendWasOn) {
        Disable(GL_BLEND);
    }
    if (swap) {
        SwapBuffers();
    }
    outputGlError(L"DrawTeardownFontAtlasText END:");
}

/// Draws the strings that wait for others. Everything else that the view does comes after them, so each operation that
/// changes the batch or the current context calls this first, and CurrentGL does for all the others.
void COpenGLView::DrawWaitingVertices() {
    if (!m_batch.waiting) {
        return;
    }
    const GLRenderingContextRecord& record = CurrentRecord();
    const HGLRC current = wglGetCurrentContext();
    if (current == record.renderingContext) {
        FlushArrays();
        return;
    }
    // Another view has taken the thread's context in the meantime.
    const HDC currentDeviceContext = wglGetCurrentDC();
    if (wglMakeCurrent(record.deviceContext, record.renderingContext)) {
        FlushArrays();
        wglMakeCurrent(currentDeviceContext, current);
    }
    m_batch.waiting = false;
}

/// What a string has to be drawn with now. Glyphs that land on the pixels as they are get the sharp sampler.
TextBinding COpenGLView::BindingForText(const FontAtlasGlyphMetrics& font, bool plainGlyphs) const {
    const GLAttributes& attributes = CurrentRecord().attributes;
    const MatrixSet& matrices = CurrentMath().Matrices();
    TextBinding binding;
    binding.texture = font.boundTexture;
    binding.fontTextures = m_gFontTextures;
    binding.modelview = matrices.modelview;
    binding.projection = matrices.projection;
    binding.viewport = attributes.viewport;
    const TextBinding& bound = m_text.bound;
    const bool sameView = binding.modelview == bound.modelview && binding.projection == bound.projection &&
                          binding.viewport == bound.viewport;
    binding.mapsToPixels = sameView ? bound.mapsToPixels : MapsToPixels();
    binding.sampler = plainGlyphs && binding.mapsToPixels ? font.samplerName : 0;
    binding.color = attributes.currentColor;
    binding.transparency = attributes.textTransparency;
    return binding;
}

/// Whether one unit of the model is one pixel, with x to the right and y upwards.
bool COpenGLView::MapsToPixels() const {
    const MatrixSet& matrices = CurrentMath().Matrices();
    const std::array<int, 4>& viewport = CurrentRecord().attributes.viewport;
    const glm::dmat4 clip = matrices.projection * matrices.modelview;
    const double halfWidth = viewport[2] * 0.5;
    const double halfHeight = viewport[3] * 0.5;
    const bool flat = clip[0][3] == 0.0 && clip[1][3] == 0.0 && IsNear(clip[3][3], 1.0);
    return flat && IsNear(clip[0][0] * halfWidth, 1.0) && IsNear(clip[0][1] * halfHeight, 0.0) &&
           IsNear(clip[1][0] * halfWidth, 0.0) && IsNear(clip[1][1] * halfHeight, 1.0);
}

void COpenGLView::BindFont(const TextBinding& binding) {
    DrawWaitingVertices();
    CurrentRecord().objects.fontAtlasSampler = binding.sampler;
    EnableClientStateInternalVertexAndTexture(2, GL_FLOAT, 2, GL_FLOAT, binding.texture, GLShaderText);
    m_text.bound = binding;
}

/// Opens the batch for a string in the current font. On a 4.x context it goes on behind the strings that wait there,
/// when they look alike; where the font, the colour or a matrix has changed, they are drawn and the program is given
/// the new values.
void COpenGLView::OpenTextBatch(FontAtlasGlyphMetrics& font, bool plainGlyphs) {
    if (DrawsWithPrograms()) {
        UploadFontTexture(font);
        const TextBinding wanted = BindingForText(font, plainGlyphs);
        const bool bound = !NeedsBinding(*this, GLShaderText) && wanted == m_text.bound &&
                           CurrentRecord().objects.fontAtlasTexture == wanted.texture;
        if (bound && m_batch.waiting) {
            return;
        }
        if (!bound) {
            BindFont(wanted);
        }
    }
    BeginArrays(GL_TRIANGLES, GLShaderText);
}

/// Ends a string. Within a run it stays in the batch for others to join.
void COpenGLView::CloseTextBatch(bool mayWait) {
    if (mayWait && m_text.open && DrawsWithPrograms()) {
        m_batch.waiting = true;
        return;
    }
    FlushArrays();
}

/// The lines under and through a string, as its font asks for them.
void COpenGLView::DrawTextLines(const FontParameters& font, const TextExtent& extent, const TextFrame& frame) {
    if (!font.underline && !font.strikeout) {
        return;
    }
    LineWidth(1.0F);
    BeginArrays(GL_LINES, GLShaderLine);
    const GLAttributes& attributes = CurrentRecord().attributes;
    const GLRGBAColor color = attributes.currentColor;
    const auto alpha = static_cast<unsigned char>(color.a * attributes.textTransparency / 255);
    const auto addLine = [&](double height) {
        for (const double end : {0.0, extent.right}) {
            const glm::dvec2 point = frame.At(end, height);
            AddIndex3DVertexRGBA(point.x, point.y, frame.z, color.r, color.g, color.b, alpha);
        }
    };
    if (font.underline) {
        addLine(extent.lowest - kUnderlineGap);
    }
    if (font.strikeout) {
        addLine((extent.lowest + extent.highest) * 0.5);
    }
    FlushArrays();
}

} // namespace KTR
