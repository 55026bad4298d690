#include "../view/OpenGLView.h"

#include "../pipeline/PixelStoreScope.h"
#include "../platform/Border.h"
#include "../platform/GLCalls.h"

#include "CodePage.h"
#include "FontAtlas.h"
#include "FontTextures.h"
#include "ListDrawing.h"
#include "ListHalo.h"
#include "MatrixScope.h"
#include "StringDrawing.h"

#include <GL/glext.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <functional>
#include <new>
#include <vector>

namespace KTR {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

/// A raster position so little left of a pixel's border, or below it, is meant to be on it.
constexpr double kRasterTolerance = 1e-4;

/// Pixels of one em of a font, taken as the atlas of the other pipeline takes it.
double EmHeight(HFONT font) {
    LOGFONTW logicalFont = {};
    GetObjectW(font, sizeof(logicalFont), &logicalFont);
    return std::abs(logicalFont.lfHeight);
}

/// HACK: in Mesa's lists a bitmap without pixels does not move on, so that words run into each other; one empty pixel
/// does. Blanks are recorded anew with that. Seen as strings without their blanks; BitmapsStandOnTheRasterPosition
/// fails without it.
void MakeBlankLists(const GLCalls& gl, HDC deviceContext, unsigned int listBase) {
    const unsigned char noInk[4] = {};
    for (const char* blank : {" ", "\xA0"}) {
        SIZE size = {};
        GetTextExtentPoint32A(deviceContext, blank, 1, &size);
        gl.glNewList(listBase + static_cast<unsigned char>(*blank), GL_COMPILE);
        gl.glBitmap(1, 1, 0.0F, 0.0F, static_cast<float>(size.cx), 0.0F, noInk);
        gl.glEndList();
    }
}

/// What strings of the raster lists measure.
void MeasureCharacters(HDC deviceContext, TextLists& lists) {
    constexpr MAT2 identity{{0, 1}, {0, 0}, {0, 0}, {0, 1}};
    for (unsigned int character = 0; character < kListCharacters; ++character) {
        GLYPHMETRICS metrics{};
        const DWORD bytes = GetGlyphOutlineA(deviceContext, character, GGO_BITMAP, &metrics, 0, nullptr, &identity);
        const bool found = bytes != GDI_ERROR;
        lists.rasterAdvances[character] = found ? metrics.gmCellIncX : 0;
        // A blank has no pixels, although it says that it has one.
        lists.rasterHeights[character] = found && bytes > 0 ? static_cast<int>(metrics.gmBlackBoxY) : 0;
    }
    for (const char* blank : {" ", "\xA0"}) { // see MakeBlankLists
        SIZE size = {};
        GetTextExtentPoint32A(deviceContext, blank, 1, &size);
        lists.rasterAdvances[static_cast<unsigned char>(*blank)] = static_cast<int>(size.cx);
    }
}

/// On the 4.x pipeline a GDI font stands for a font request.
long RequestGdiFont(COpenGLView& view, HDC deviceContext, HFONT font, unsigned long color) {
    FontParameters request;
    LOGFONTW& logicalFont = request.logicalFont;
    if (!GetObjectW(font, sizeof(logicalFont), &logicalFont)) {
        return E_INVALIDARG;
    }
    logicalFont.lfHeight = std::abs(logicalFont.lfHeight);
    request.faceName = logicalFont.lfFaceName;
    request.bold = logicalFont.lfWeight == FW_BOLD;
    request.italic = logicalFont.lfItalic != 0;
    request.underline = logicalFont.lfUnderline != 0;
    request.strikeout = logicalFont.lfStrikeOut != 0;
    request.characterSet = DEFAULT_CHARSET;
    request.textColor = static_cast<COLORREF>(color);
    request.weight = logicalFont.lfWeight;
    const int dpi = GetDeviceCaps(deviceContext, LOGPIXELSY);
    if (dpi <= 0) {
        return E_INVALIDARG;
    }
    request.pointSize = static_cast<int>(std::ceil(logicalFont.lfHeight * 72.0 / dpi));
    return view.SetUpNewFont(request);
}

long LoadGdiFont(COpenGLView& view, HDC deviceContext, HFONT font, unsigned long color) {
    return AtTheBorder(long{E_OUTOFMEMORY}, [&] { return RequestGdiFont(view, deviceContext, font, color); });
}

/// Polygons filled while it lives. Outlines of glyphs are made of them.
class FilledPolygons {
public:
    explicit FilledPolygons(const GLCalls& gl) : m_gl(gl) {
        m_gl.glGetIntegerv(GL_POLYGON_MODE, m_before);
        m_changes = m_before[0] != GL_FILL || m_before[1] != GL_FILL;
        if (m_changes) {
            m_gl.glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        }
    }
    ~FilledPolygons() {
        if (m_changes) {
            m_gl.glPolygonMode(GL_FRONT, static_cast<GLenum>(m_before[0]));
            m_gl.glPolygonMode(GL_BACK, static_cast<GLenum>(m_before[1]));
        }
    }
    FilledPolygons(const FilledPolygons&) = delete;
    FilledPolygons& operator=(const FilledPolygons&) = delete;

private:
    const GLCalls& m_gl;
    GLint m_before[2] = {GL_FILL, GL_FILL};
    bool m_changes = false;
};

/// Calls outline lists whose em is `scale` units.
void CallOutlines(COpenGLView& view, const GLCalls& gl, unsigned int listBase, const char* text,
                  const glm::dvec3& place, const glm::dvec3& scale, double angleDegrees) {
    glm::dmat4 clip = ClipMatrixFrom(view, place);
    clip = glm::rotate(clip, angleDegrees * kRadiansPerDegree, glm::dvec3(0.0, 0.0, 1.0));
    // The lists move the matrix along; the scope puts it back.
    const MatrixScope matrices(view, glm::scale(clip, scale));
    CallLists(gl, listBase, text);
}

/// Draws outlines whose em is `scale` units.
void DrawOutlineLists(COpenGLView& view, unsigned int listBase, const char* text, const glm::dvec3& place,
                      const glm::dvec3& scale, double angleDegrees) {
    if (!text || *text == '\0') {
        return;
    }
    const GLCalls gl = ViewAccess::CallGL(view);
    const auto draw = [&] { CallOutlines(view, gl, listBase, text, place, scale, angleDegrees); };
    DrawOutlineHalo(view, gl, std::ref(draw));
    view.Color(view.GetCurrentColor());
    const FilledPolygons filled(gl);
    draw();
}

/// As RasterPosition on a fixed-function context, but for the precision: OpenGL multiplies floats.
void PlaceRaster(COpenGLView& view, const glm::dvec3& place) {
    {
        const MatrixScope matrices(view, ClipMatrixFrom(view, place));
        view.RasterPosition(0.0, 0.0, 0.0);
    }
    ViewAccess::CurrentRecord(view).attributes.rasterPosition = {place.x, place.y, place.z};
}

} // namespace

std::array<char, kListTextBytes> NarrowText(const wchar_t* text) {
    std::array<char, kListTextBytes> narrow{};
    std::size_t converted = 0;
    const errno_t result = wcstombs_s(&converted, narrow.data(), narrow.size(), text, _TRUNCATE);
    if (result == 0 || result == STRUNCATE) {
        return narrow;
    }
    // The C library gives the whole string up for one character that it cannot convert.
    narrow.fill('\0');
    std::size_t length = 0;
    for (const wchar_t* character = text; *character != L'\0'; ++character) {
        char bytes[8] = {};
        const int size = WideCharToMultiByte(CP_ACP, 0, character, 1, bytes, sizeof(bytes), nullptr, nullptr);
        const auto count = static_cast<std::size_t>(size);
        if (length + count >= narrow.size()) {
            break;
        }
        std::memcpy(narrow.data() + length, bytes, count);
        length += count;
    }
    return narrow;
}

std::unique_ptr<wchar_t[]> WideText(const char* text) {
    const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    std::unique_ptr<wchar_t[]> wide(new (std::nothrow) wchar_t[static_cast<std::size_t>(size) + 1]());
    if (wide) {
        MultiByteToWideChar(CP_ACP, 0, text, -1, wide.get(), size);
    }
    return wide;
}

long COpenGLView::RefreshRasterFont(HDC deviceContext, unsigned int& listBase, HFONT font, unsigned long color) {
    if (DrawsWithPrograms()) {
        return LoadGdiFont(*this, deviceContext, font, color);
    }
    if (!font || !deviceContext) {
        return E_INVALIDARG;
    }
    outputGlError(L"RefreshRasterFont: Begin");
    InitializeDisplayList(listBase);
    GLRenderingContextRecord& record = CurrentRecord();
    record.rasterFontReady = false;
    if (listBase == 0) {
        return E_FAIL;
    }
    const SelectedObject selected(deviceContext, font);
    const GLCalls gl = CallGL();
    {
        // The system takes the host's settings for its bitmaps, but for the alignment.
        const PixelStoreScope pixels(gl, PixelDirection::Unpack, {});
        record.rasterFontReady = wglUseFontBitmapsA(deviceContext, 0, kListCharacters, listBase) != FALSE;
        MakeBlankLists(gl, deviceContext, listBase);
    }
    TextLists& lists = record.objects.textLists;
    lists.raster = listBase;
    GetObjectW(font, sizeof(lists.rasterFont), &lists.rasterFont);
    MeasureCharacters(deviceContext, lists);
    return record.rasterFontReady ? S_OK : E_FAIL;
}

long COpenGLView::RefreshOutlineFont(HDC deviceContext, unsigned int& listBase, HFONT font, unsigned long color) {
    if (DrawsWithPrograms()) {
        return LoadGdiFont(*this, deviceContext, font, color);
    }
    if (!font || !deviceContext) {
        return E_INVALIDARG;
    }
    outputGlError(L"RefreshOutlineFont: Begin");
    InitializeDisplayList(listBase);
    if (listBase == 0) {
        return E_FAIL;
    }
    const SelectedObject selected(deviceContext, font);
    std::array<GLYPHMETRICSFLOAT, kListCharacters> metrics{};
    if (!wglUseFontOutlinesA(deviceContext, 0, kListCharacters, listBase, 0.0F, 0.0F, WGL_FONT_POLYGONS,
                             metrics.data())) {
        return E_FAIL;
    }
    TextLists& lists = CurrentRecord().objects.textLists;
    lists.outline = listBase;
    lists.outlineHeight = EmHeight(font);
    std::transform(metrics.begin(), metrics.end(), lists.outlineAdvances.begin(),
                   [](const GLYPHMETRICSFLOAT& glyph) { return glyph.gmfCellIncX; });
    std::transform(metrics.begin(), metrics.end(), lists.outlineHeights.begin(),
                   [](const GLYPHMETRICSFLOAT& glyph) { return glyph.gmfBlackBoxY; });
    return S_OK;
}

void COpenGLView::DrawGLText(unsigned int listBase, const char* text) {
    if (!text || *text == '\0') {
        return;
    }
    if (DrawsWithPrograms() || ShapesFromAtlas(*this)) {
        if (const std::unique_ptr<wchar_t[]> wide = WideText(text)) {
            DrawStringAtRasterPosition(*this, wide.get());
        }
        return;
    }
    const TextLists& lists = CurrentRecord().objects.textLists;
    if (listBase == lists.outline && m_text.IsInFrame()) {
        // There a unit is a pixel of the font, not its em.
        DrawOutlineLists(*this, listBase, text, glm::dvec3(0.0), glm::dvec3(lists.outlineHeight), 0.0);
        return;
    }
    if (listBase == lists.raster && m_text.look.HasHalo()) {
        DrawRasterHalo(*this, text);
    }
    const GLCalls gl = CallGL();
    if (listBase == lists.outline) {
        const auto draw = [&] {
            // Outlines move the matrix along.
            gl.glPushMatrix();
            CallLists(gl, listBase, text);
            gl.glPopMatrix();
        };
        DrawOutlineHalo(*this, gl, std::ref(draw));
    }
    CallLists(gl, listBase, text);
}

void COpenGLView::DrawRasterText(unsigned int listBase, const char* text, double x, double y, double z) {
    if (DrawsWithPrograms()) {
        RasterPosition(x, y, z);
    } else {
        // The raster position takes the colour of its moment along; SetCurrentColor has not told OpenGL about it.
        Color(GetCurrentColor());
        PlaceRaster(*this, {x, y, z});
    }
    DrawGLText(listBase, text);
}

void COpenGLView::DrawOutlineText(unsigned int listBase, const char* text, double x, double y, double z, double scale,
                                  double angleDegrees) {
    if (!text || *text == '\0') {
        return;
    }
    if (!DrawsWithPrograms() && !ShapesFromAtlas(*this)) {
        DrawOutlineLists(*this, listBase, text, {x, y, z}, glm::dvec3(scale), angleDegrees);
        return;
    }
    const FontParameters* font = m_gFontManager.GetCurrentFontAtlasParameters();
    const double em = font ? font->pointSize * CFTGLFontManager::m_giDPI / 72.0 : 1.0;
    const double glyphScale = scale / std::max(em, 1.0);
    DrawFontAtlasScaledRotatedTextString(nullptr, text, false, false, x, y, z, glyphScale, glyphScale, glyphScale,
                                         angleDegrees);
}

void COpenGLView::InitializeDisplayList(unsigned int& listBase) {
    DeleteFont(listBase);
    if (!DrawsWithPrograms()) {
        listBase = CallGL().As(L"initializeDisplayList(): END").glGenLists(kListCharacters);
    }
}

void COpenGLView::DeleteFont(unsigned int& listBase) {
    if (listBase == 0) {
        return;
    }
    CallGL().glDeleteLists(listBase, kListCharacters);
    GLRenderingContextRecord& record = CurrentRecord();
    if (record.objects.textLists.raster == listBase) {
        DeleteHaloLists(*this);
        record.objects.textLists.raster = 0;
        record.rasterFontReady = false;
    }
    if (record.objects.textLists.outline == listBase) {
        record.objects.textLists.outline = 0;
    }
    listBase = 0;
}

void DrawStringAtRasterPosition(COpenGLView& view, const wchar_t* text) {
    std::array<double, 3>& position = ViewAccess::CurrentRecord(view).attributes.rasterPosition;
    const glm::dvec4 clip = ClipMatrixFrom(view, {position[0], position[1], position[2]})[3];
    if (!(clip.w > 0.0)) {
        return;
    }
    glm::dvec3 window(0.0);
    view.Project(position[0], position[1], position[2], &window.x, &window.y, &window.z, false);
    TextFrame frame;
    frame.place = {std::floor(window.x + kRasterTolerance), std::floor(window.y + kRasterTolerance), window.z};
    double advance = 0.0;
    {
        const MatrixScope matrices(view, WindowToClip(view.GetViewport()));
        DrawString(view, text, frame, &advance);
    }
    view.UnProject(window.x + advance, window.y, window.z, &position[0], &position[1], &position[2], false);
    if (!view.DrawsWithPrograms()) {
        PlaceRaster(view, {position[0], position[1], position[2]});
    }
}

long DrawStringFromLists(COpenGLView& view, const char* text, const glm::dvec3& place, const glm::dvec3& scale,
                         double angleDegrees) {
    const TextLists& lists = ViewAccess::CurrentRecord(view).objects.textLists;
    if (lists.outline != 0) {
        DrawOutlineLists(view, lists.outline, text, place, scale * lists.outlineHeight, angleDegrees);
        return S_OK;
    }
    if (lists.raster == 0) {
        return E_INVALIDARG;
    }
    view.DrawRasterText(lists.raster, text, place.x, place.y, place.z);
    return S_OK;
}

TextLayout LayOutOutlines(const TextLists& lists, const wchar_t* text) {
    TextLayout layout;
    for (const char character : NarrowText(text)) {
        if (character == '\0') {
            break;
        }
        const auto code = static_cast<unsigned char>(character);
        const double advance = lists.outlineAdvances[code] * lists.outlineHeight;
        layout.glyphs.push_back({code, layout.advance, 0.0, advance});
        layout.advance += advance;
    }
    return layout;
}

void DrawOutlineLetters(COpenGLView& view, std::span<const PlacedLetter> letters) {
    const TextLists& lists = ViewAccess::CurrentRecord(view).objects.textLists;
    const GLCalls gl = ViewAccess::CallGL(view);
    const auto draw = [&] {
        for (const PlacedLetter& letter : letters) {
            const char text[] = {static_cast<char>(letter.glyph), '\0'};
            const double angle = std::atan2(letter.along.y, letter.along.x) / kRadiansPerDegree;
            CallOutlines(view, gl, lists.outline, text, letter.pen, glm::dvec3(lists.outlineHeight), angle);
        }
    };
    DrawOutlineHalo(view, gl, std::ref(draw));
    view.Color(view.GetCurrentColor());
    const FilledPolygons filled(gl);
    draw();
}

void MeasureLists(const TextLists& lists, const wchar_t* text, double& width, double& height) {
    for (const char character : NarrowText(text)) {
        if (character == '\0') {
            break;
        }
        const auto code = static_cast<unsigned char>(character);
        const bool bitmaps = lists.raster != 0;
        width += bitmaps ? lists.rasterAdvances[code] : lists.outlineAdvances[code] * lists.outlineHeight;
        height =
            std::max(height, bitmaps ? lists.rasterHeights[code] : lists.outlineHeights[code] * lists.outlineHeight);
    }
}

double WidthFromOutlines(const TextLists& lists, const wchar_t* text) {
    if (!text) {
        return 0.0;
    }
    double ems = 0.0;
    for (const char character : NarrowText(text)) {
        if (character == '\0') {
            break;
        }
        ems += lists.outlineAdvances[static_cast<unsigned char>(character)];
    }
    return ems * lists.outlineHeight;
}

} // namespace KTR
