#include "StringDrawing.h"

#include "../pipeline/GeometryPause.h"
#include "../view/ViewAccess.h"
#include "FontAtlas.h"
#include "FontTextures.h"
#include "MatrixScope.h"
#include "SheetDrawing.h"

#include <cmath>

namespace KTR {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

/// Distance of the underline from the lowest pixels of a string.
constexpr double kUnderlineGap = 2.0;

/// How far a matrix may be off and still put each glyph's texel on a pixel of its own.
constexpr double kPixelTolerance = 1e-6;

/// A place so many half windows from the middle of the view still counts as shown: its string may reach into it.
constexpr double kShownHalfWindows = 2.0;

bool IsNear(double value, double wanted) {
    return std::abs(value - wanted) <= kPixelTolerance;
}

/// Quarters of a turn, when the angle is a whole number of them; -1 otherwise.
int QuarterTurns(double angleDegrees) {
    const double quarters = angleDegrees / 90.0;
    if (quarters != std::floor(quarters)) {
        return -1;
    }
    return static_cast<int>(quarters - 4.0 * std::floor(quarters / 4.0));
}

/// Cosine and sine; exact for quarter turns, so that glyphs rotated by them can stay on the pixels.
glm::dvec2 DirectionOf(double angleDegrees) {
    constexpr glm::dvec2 quarters[] = {{1.0, 0.0}, {0.0, 1.0}, {-1.0, 0.0}, {0.0, -1.0}};
    if (const int turns = QuarterTurns(angleDegrees); turns >= 0) {
        return quarters[turns];
    }
    const double radians = angleDegrees * kRadiansPerDegree;
    return {std::cos(radians), std::sin(radians)};
}

glm::dvec2 RoundedToUnits(double x, double y) {
    return {std::trunc(x + 0.5), std::trunc(y + 0.5)};
}

/// What a string has to be drawn with now. Glyphs that land on the pixels as they are get the sharp sampler.
TextBinding BindingFor(COpenGLView& view, const GlyphTexture& glyphs, bool plain) {
    const GLAttributes& attributes = ViewAccess::CurrentRecord(view).attributes;
    const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    TextBinding binding;
    binding.texture = glyphs.texture;
    binding.fontTextures = FontTextureChanges();
    binding.modelview = matrices.modelview;
    binding.projection = matrices.projection;
    binding.viewport = attributes.viewport;
    const TextBinding& bound = ViewAccess::Text(view).bound;
    const bool sameView = binding.modelview == bound.modelview && binding.projection == bound.projection &&
                          binding.viewport == bound.viewport;
    binding.mapsToPixels = sameView ? bound.mapsToPixels : MapsToPixels(view);
    binding.sampler = plain && binding.mapsToPixels ? glyphs.sampler : 0;
    binding.color = attributes.currentColor;
    if (const TextLook& look = ViewAccess::Text(view).look; look.HasHalo()) {
        binding.haloColor = look.haloColor;
    }
    binding.transparency = attributes.textTransparency;
    return binding;
}

bool Shows(const COpenGLView& view, const glm::dvec3& place) {
    const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    const glm::dvec4 clip = matrices.projection * (matrices.modelview * glm::dvec4(place, 1.0));
    const double reach = kShownHalfWindows * clip.w;
    return clip.w > 0.0 && std::abs(clip.x) <= reach && std::abs(clip.y) <= reach;
}

/// The origin for strings at and around a place. Where z only decides what hides what it stays out of it: depths must
/// come out as those of the host's own geometry at the same z.
glm::dvec3 OriginAt(const COpenGLView& view, const glm::dvec3& place) {
    const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    const glm::dvec4 zInClip = matrices.projection * matrices.modelview[2];
    const bool zMoves = zInClip.x != 0.0 || zInClip.y != 0.0 || zInClip.w != 0.0;
    return {place.x, place.y, zMoves ? place.z : 0.0};
}

/// Makes the text program current with everything that it reads. Nothing that is bound already counts: only strings
/// that wait know that nobody has used OpenGL since.
void BindFont(COpenGLView& view, const TextBinding& binding, const glm::dvec3& origin) {
    const MatrixScope matrices(view, ClipMatrixFrom(view, origin));
    ViewAccess::CurrentRecord(view).objects.fontAtlasSampler = binding.sampler;
    view.EnableClientStateInternalVertexAndTexture(2, GL_FLOAT, 2, GL_FLOAT, binding.texture, GLShaderText);
    TextState& text = ViewAccess::Text(view);
    text.bound = binding;
    text.origin = origin;
}

/// The lines under and through a string, as its font asks for them.
void DrawTextLines(COpenGLView& view, const FontParameters& font, const GlyphRun& run, const TextFrame& frame) {
    if (!font.underline && !font.strikeout) {
        return;
    }
    view.LineWidth(1.0F);
    const bool programs = view.DrawsWithPrograms();
    const glm::dvec3 origin = programs ? OriginAt(view, frame.place) : glm::dvec3(0.0);
    if (programs) {
        const MatrixScope matrices(view, ClipMatrixFrom(view, origin));
        view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderLine);
    }
    view.BeginArrays(GL_LINES, GLShaderLine);
    const GLAttributes& attributes = ViewAccess::CurrentRecord(view).attributes;
    const GLRGBAColor color = attributes.currentColor;
    const auto alpha = static_cast<unsigned char>(color.a * attributes.textTransparency / 255);
    const auto addLine = [&](double height) {
        for (const double end : {0.0, run.right}) {
            const glm::dvec2 point = frame.At(end, height, origin);
            view.AddIndex3DVertexRGBA(point.x, point.y, frame.place.z - origin.z, color.r, color.g, color.b, alpha);
        }
    };
    if (font.underline) {
        addLine(run.lowest - kUnderlineGap);
    }
    if (font.strikeout) {
        addLine((run.lowest + run.highest) * 0.5);
    }
    view.FlushArrays();
    if (programs) {
        // The host's next lines stand where its matrices say.
        view.BindMatricesToShaderProgram(view.GetCurrentContextType(), GLShaderLine);
    }
}

/// Sees to it that the current font can be drawn with: when it was not built, the default font becomes current. Null
/// without that.
CFTGLFontAtlas* UsableFont(COpenGLView& view) {
    CFTGLFontManager& fonts = COpenGLView::m_gFontManager;
    if (CFTGLFontAtlas* atlas = CurrentAtlas(); atlas && atlas->GetAtlasMetrics()) {
        return atlas;
    }
    int defaultFont = 0;
    CFTGLFontAtlas* atlas = fonts.GetFontAtlas(defaultFont);
    if (!atlas || !atlas->GetAtlasMetrics()) {
        return nullptr;
    }
    fonts.SetCurrentFontIndex(defaultFont);
    ViewAccess::Text(view).currentFont = defaultFont;
    return atlas;
}

} // namespace

CFTGLFontAtlas* CurrentAtlas() {
    const CFTGLFontManager& fonts = COpenGLView::m_gFontManager;
    return fonts.GetFontAtlas(fonts.GetCurrentFontIndex());
}

/// Positions become floats relative to an origin, or labels of a national grid would stand up to half a metre off. The
/// first string's place serves all that follow: those in the view are near enough to it, and where the others are does
/// not show. Only when it does not show itself, the first string that does begins another draw.
glm::dvec3 OpenTextBatch(COpenGLView& view, const GlyphTexture& glyphs, const TextFrame& frame) {
    if (!view.DrawsWithPrograms()) {
        ViewAccess::OpenBatch(view, GL_TRIANGLES, GLShaderText);
        return {};
    }
    TextState& text = ViewAccess::Text(view);
    const TextBinding wanted = BindingFor(view, glyphs, frame.plain);
    // What waits may also be a host's own batches.
    const bool stringsWait =
        ViewAccess::Batch(view).waitingCount > 0 && ViewAccess::CurrentObjects(view).currentShader == GLShaderText;
    const bool looksAlike = stringsWait && wanted == text.bound;
    if (looksAlike && (text.originShows || !Shows(view, frame.place))) {
        return text.origin;
    }
    ViewAccess::CallGL(view);
    BindFont(view, wanted, OriginAt(view, frame.place));
    text.originShows = Shows(view, frame.place);
    ViewAccess::OpenBatch(view, GL_TRIANGLES, GLShaderText);
    return text.origin;
}

void CloseTextBatch(COpenGLView& view, bool mayWait) {
    if (mayWait && ViewAccess::Text(view).IsRunOpen() && view.DrawsWithPrograms()) {
        ViewAccess::Batch(view).waitingCount = ViewAccess::Batch(view).batchVertexCount;
        return;
    }
    FlushStrings(view);
}

bool MapsToPixels(const COpenGLView& view) {
    const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    const std::array<int, 4>& viewport = ViewAccess::CurrentRecord(view).attributes.viewport;
    const glm::dmat4 clip = matrices.projection * matrices.modelview;
    const double halfWidth = viewport[2] * 0.5;
    const double halfHeight = viewport[3] * 0.5;
    const bool flat = clip[0][3] == 0.0 && clip[1][3] == 0.0 && IsNear(clip[3][3], 1.0);
    return flat && IsNear(clip[0][0] * halfWidth, 1.0) && IsNear(clip[0][1] * halfHeight, 0.0) &&
           IsNear(clip[1][0] * halfWidth, 0.0) && IsNear(clip[1][1] * halfHeight, 1.0);
}

bool ShapesFromAtlas(COpenGLView& view) {
    if (view.DrawsWithPrograms() || !ViewAccess::Text(view).look.shaping) {
        return false;
    }
    CFTGLFontAtlas* const atlas = CurrentAtlas();
    return atlas && atlas->GetAtlasMetrics() && atlas->GetFontFace();
}

TextFrame PlainFrame(double x, double y, double z) {
    TextFrame frame;
    frame.place = glm::dvec3(RoundedToUnits(x, y), z);
    return frame;
}

TextFrame RotatedFrame(const glm::dvec3& place, double scaleX, double scaleY, double angleDegrees) {
    const glm::dvec2 direction = DirectionOf(angleDegrees);
    TextFrame frame;
    frame.plain = scaleX == 1.0 && scaleY == 1.0 && QuarterTurns(angleDegrees) >= 0;
    frame.place = frame.plain ? glm::dvec3(RoundedToUnits(place.x, place.y), place.z) : place;
    frame.along = direction * scaleX;
    frame.up = glm::dvec2(-direction.y, direction.x) * scaleY;
    return frame;
}

long DrawString(COpenGLView& view, const wchar_t* text, const TextFrame& frame, double* advance) {
    const GeometryPause pause(view);
    view.outputGlError(L"DrawFontAtlasText: BEFORE BeginArrays");
    CFTGLFontAtlas* atlas = CurrentAtlas();
    if (!atlas || !atlas->GetAtlasMetrics() || !atlas->GetFontFace()) {
        return E_INVALIDARG;
    }
    if (NeedsSheet(view)) {
        return DrawSheetString(view, *atlas, text, frame, advance);
    }
    if (view.DrawsWithPrograms()) {
        if (const long result = UploadFontTexture(view, *atlas, text); result != S_OK) {
            return result;
        }
    }
    FontAtlasGlyphMetrics& font = *atlas->GetAtlasMetrics();
    const glm::dvec3 origin = OpenTextBatch(view, {font.textureName, font.samplerName}, frame);
    if (view.DrawsWithPrograms()) {
        font.boundTexture = font.textureName;
    }
    const GlyphRun run = AddGlyphs(view, *atlas, text, frame, frame.place - origin);
    if (advance) {
        *advance = run.advance;
    }
    CloseTextBatch(view, *text != L'\0');
    view.outputGlError(L"DrawFontAtlasText: AFTER  EndArrays");
    DrawTextLines(view, atlas->GetFontParameters(), run, frame);
    return S_OK;
}

void FlushStrings(COpenGLView& view) {
    const GeometryPause pause(view);
    view.FlushArrays();
    ReturnTextMatrix(view);
}

void ReturnTextMatrix(COpenGLView& view) {
    const ContextObjects& objects = ViewAccess::CurrentRecord(view).objects;
    const bool displaced = ViewAccess::Text(view).origin != glm::dvec3(0.0);
    if (displaced && view.DrawsWithPrograms() && objects.currentShader == GLShaderText && objects.boundProgram != 0) {
        view.BindMatricesToShaderProgram(view.GetCurrentContextType(), GLShaderText);
    }
}

bool BindCurrentFont(COpenGLView& view) {
    ViewAccess::CallGL(view);
    DeleteTaggedFontNames(view);
    CFTGLFontAtlas* atlas = UsableFont(view);
    if (!atlas || UploadFontTexture(view, *atlas, L"") != S_OK) {
        return false;
    }
    FontAtlasGlyphMetrics& font = *atlas->GetAtlasMetrics();
    BindFont(view, BindingFor(view, {font.textureName, font.samplerName}, true), glm::dvec3(0.0));
    font.boundTexture = font.textureName;
    return true;
}

} // namespace KTR
