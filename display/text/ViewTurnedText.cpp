#include "../view/OpenGLView.h"

#include "CodePage.h"
#include "GlyphRun.h"

#include <glm/gtc/matrix_transform.hpp>

#include <cmath>

namespace KTR {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

/// Quarters of a turn, when the angle is a whole number of them; -1 otherwise.
int QuarterTurns(double angleDegrees) {
    const double quarters = angleDegrees / 90.0;
    if (quarters != std::floor(quarters)) {
        return -1;
    }
    return static_cast<int>(quarters - 4.0 * std::floor(quarters / 4.0));
}

/// Cosine and sine; exact for quarter turns, so that glyphs turned by them can stay on the pixels.
glm::dvec2 DirectionOf(double angleDegrees) {
    constexpr glm::dvec2 quarters[] = {{1.0, 0.0}, {0.0, 1.0}, {-1.0, 0.0}, {0.0, -1.0}};
    if (const int turns = QuarterTurns(angleDegrees); turns >= 0) {
        return quarters[turns];
    }
    const double radians = angleDegrees * kRadiansPerDegree;
    return {std::cos(radians), std::sin(radians)};
}

/// How far the quad of a turned glyph reaches beyond its pixels, in pixels: half of one, over which the filter lets the
/// edge fade.
constexpr double kFade = 0.5;

/// The sides of a cell whose neighbour has ink right behind them, where a quad must not reach over.
struct GlyphMargins {
    double left, right, below, above;
};

GlyphMargins MarginsOf(const FontAtlasGlyphMetrics& font, const FontAtlasGlyph& glyph) {
    const auto cell = static_cast<int>(&glyph - font.glyphs);
    const bool inkOnTheLeft = cell % font.columns != 0 && (&glyph)[-1].width >= font.cellWidth;
    const bool inkAbove = cell >= font.columns && (&glyph)[-font.columns].height >= font.cellHeight;
    return {inkOnTheLeft ? 0.0 : kFade, glyph.width >= font.cellWidth ? 0.0 : kFade,
            glyph.height >= font.cellHeight ? 0.0 : kFade, inkAbove ? 0.0 : kFade};
}

} // namespace

long COpenGLView::DrawFontAtlasScaledRotatedTextString(const wchar_t* text, const char* ansiText, bool atRasterPosition,
                                                       bool project, double x, double y, double z, double scaleX,
                                                       double scaleY, double scaleZ, double angleDegrees) {
    if (!text && !ansiText) {
        return E_INVALIDARG;
    }
    GLRenderingContextRecord& record = CurrentRecord();
    const std::array<double, 3>& rasterPosition = record.attributes.rasterPosition;
    if (!DrawsWithPrograms()) {
        const std::array<char, kListTextBytes> narrow = text ? NarrowText(text) : std::array<char, kListTextBytes>{};
        const char* characters = text ? narrow.data() : ansiText;
        if (atRasterPosition) {
            RasterPosition(x, y, z);
        }
        if (record.objects.textLists.outline == 0) {
            DrawGLText(record.objects.textLists.raster, characters);
            return S_OK;
        }
        const double em = record.objects.textLists.outlineHeight;
        DrawOutlineLists(record.objects.textLists.outline, characters,
                         {rasterPosition[0], rasterPosition[1], rasterPosition[2]},
                         {scaleX * em, scaleY * em, scaleZ * em}, angleDegrees);
        return S_OK;
    }

    const std::unique_ptr<wchar_t[]> wide = text ? nullptr : WideText(ansiText);
    const wchar_t* characters = text ? text : wide.get();
    if (!characters) {
        return E_OUTOFMEMORY;
    }
    if (atRasterPosition) {
        x = rasterPosition[0];
        y = rasterPosition[1];
        z = rasterPosition[2];
    }
    if (project) {
        Project(x, y, z, &x, &y, &z, false);
    }
    CFTGLFontAtlas* atlas = m_gFontManager.GetFontAtlas(m_gFontManager.GetCurrentFontIndex());
    FontAtlasGlyphMetrics* font = atlas ? atlas->GetAtlasMetrics() : nullptr;
    if (!font || !atlas->GetFontFace()) {
        return E_INVALIDARG;
    }

    const bool plain = scaleX == 1.0 && scaleY == 1.0 && QuarterTurns(angleDegrees) >= 0;
    const glm::dvec2 direction = DirectionOf(angleDegrees);
    TextFrame frame;
    frame.origin = plain ? glm::dvec2(std::trunc(x + 0.5), std::trunc(y + 0.5)) : glm::dvec2(x, y);
    frame.along = direction * scaleX;
    frame.up = glm::dvec2(-direction.y, direction.x) * scaleY;
    frame.z = z;

    OpenTextBatch(*font, plain);
    TextExtent extent;
    const double texelWidth = 1.0 / font->textureWidth;
    const double texelHeight = 1.0 / font->textureHeight;
    WalkGlyphs(*font, atlas->GetKerning(), characters, [&](const FontAtlasGlyph& glyph, double left, double bottom) {
        const double right = left + glyph.width;
        const double top = bottom + glyph.height;
        extent.Include(right, bottom, top);
        if (glyph.width == 0.0 || glyph.height == 0.0) {
            return;
        }
        const GlyphMargins margins = plain ? GlyphMargins{} : MarginsOf(*font, glyph);
        AddGlyphQuad(*this, m_batch,
                     {frame.At(left - margins.left, bottom - margins.below),
                      frame.At(right + margins.right, bottom - margins.below),
                      frame.At(left - margins.left, top + margins.above),
                      frame.At(right + margins.right, top + margins.above), static_cast<float>(z),
                      static_cast<float>(glyph.s0 - margins.left * texelWidth),
                      static_cast<float>(glyph.s1 + margins.right * texelWidth),
                      static_cast<float>(glyph.t0 - margins.above * texelHeight),
                      static_cast<float>(glyph.t1 + margins.below * texelHeight)});
    });
    CloseTextBatch(*characters != L'\0');
    DrawTextLines(atlas->GetFontParameters(), extent, frame);
    return S_OK;
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
    modelview = glm::translate(modelview, glm::dvec3(x, y, z));
    modelview = glm::rotate(modelview, angleDegrees * kRadiansPerDegree, glm::dvec3(0.0, 0.0, 1.0));
    modelview = glm::scale(modelview, glm::dvec3(scaleX, scaleY, scaleZ));
    modelview = glm::translate(modelview, glm::dvec3(-alignment * width, 0.0, 0.0));
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
    RasterPosition(x, y, z);
}

} // namespace KTR
