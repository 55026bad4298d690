#include "ListHalo.h"

#include "../pipeline/PixelStoreScope.h"
#include "../platform/Border.h"
#include "CodePage.h"
#include "GlyphHalo.h"
#include "MatrixScope.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace KTR {

namespace {

/// One glyph of the font that a device context has, its pixels on or off. Empty where it has none.
GlyphImage GdiGlyph(HDC deviceContext, unsigned int character, GLYPHMETRICS& metrics) {
    constexpr MAT2 identity{{0, 1}, {0, 0}, {0, 0}, {0, 1}};
    metrics = {};
    GlyphImage image;
    const DWORD bytes = GetGlyphOutlineA(deviceContext, character, GGO_BITMAP, &metrics, 0, nullptr, &identity);
    if (bytes == GDI_ERROR || bytes == 0) {
        return image;
    }
    std::vector<unsigned char> rows(bytes);
    GetGlyphOutlineA(deviceContext, character, GGO_BITMAP, &metrics, bytes, rows.data(), &identity);
    image.width = static_cast<int>(metrics.gmBlackBoxX);
    image.height = static_cast<int>(metrics.gmBlackBoxY);
    const int stride = (image.width + 31) / 32 * 4;
    if (static_cast<long long>(stride) * image.height > static_cast<long long>(bytes)) {
        return {};
    }
    const unsigned char* row = rows.data();
    for (int y = 0; y < image.height; ++y, row += stride) {
        for (int x = 0; x < image.width; ++x) {
            image.pixels.push_back((row[x / 8] & 0x80 >> x % 8) != 0 ? 0xFF : 0x00);
        }
    }
    return image;
}

/// Records a halo as a bitmap about the raster position, which moves on as the glyph does.
void RecordHalo(const GLCalls& gl, unsigned int list, const GlyphImage& halo, const GLYPHMETRICS& metrics, int margin,
                int advance) {
    constexpr unsigned char half = 0x80;
    if (halo.pixels.empty()) {
        const unsigned char noInk[4] = {};
        gl.glNewList(list, GL_COMPILE);
        gl.glBitmap(1, 1, 0.0F, 0.0F, static_cast<float>(advance), 0.0F, noInk); // see MakeBlankLists
        gl.glEndList();
        return;
    }
    const int stride = (halo.width + 7) / 8;
    std::vector<unsigned char> bits(static_cast<std::size_t>(stride) * static_cast<std::size_t>(halo.height));
    const unsigned char* from = halo.pixels.data();
    for (int y = halo.height - 1; y >= 0; --y) { // OpenGL's first row is the lowest
        unsigned char* const row = bits.data() + static_cast<std::ptrdiff_t>(y) * stride;
        for (int x = 0; x < halo.width; ++x) {
            if (*from++ >= half) {
                row[x / 8] |= static_cast<unsigned char>(0x80 >> x % 8);
            }
        }
    }
    const long left = metrics.gmptGlyphOrigin.x - margin;
    const long bottom = metrics.gmptGlyphOrigin.y - static_cast<long>(metrics.gmBlackBoxY) - margin;
    gl.glNewList(list, GL_COMPILE);
    gl.glBitmap(halo.width, halo.height, static_cast<float>(-left), static_cast<float>(-bottom),
                static_cast<float>(advance), 0.0F, bits.data());
    gl.glEndList();
}

/// Lists of the halos of the raster lists made last, of this width. False when there are none.
bool MakeHaloLists(COpenGLView& view, double width) {
    TextLists& lists = ViewAccess::CurrentRecord(view).objects.textLists;
    if (lists.rasterHalo != 0 && lists.rasterHaloWidth == width) {
        return true;
    }
    const GLCalls gl = ViewAccess::CallGL(view);
    if (lists.rasterHalo == 0) {
        lists.rasterHalo = gl.glGenLists(kListCharacters);
    }
    const HFONT font = CreateFontIndirectW(&lists.rasterFont);
    const HDC memory = CreateCompatibleDC(nullptr);
    bool made = false;
    if (lists.rasterHalo != 0 && font && memory) {
        const SelectedObject selected(memory, font);
        const PixelStoreScope pixels(gl, PixelDirection::Unpack, {});
        try {
            for (unsigned int character = 0; character < kListCharacters; ++character) {
                GLYPHMETRICS metrics;
                const GlyphImage halo = HaloAround(GdiGlyph(memory, character, metrics), width);
                RecordHalo(gl, lists.rasterHalo + character, halo, metrics, HaloMargin(width),
                           lists.rasterAdvances[character]);
            }
            lists.rasterHaloWidth = width;
            made = true;
        } catch (...) {
            DropCaught();
            lists.rasterHaloWidth = 0.0; // made anew when there is memory
        }
    }
    DeleteObject(font);
    DeleteDC(memory);
    return made;
}

/// What the halo of outlines is drawn with, while it lives: its colour, and lines and points as wide as it.
class HaloAttributes {
public:
    HaloAttributes(COpenGLView& view, const GLCalls& gl) : m_gl(gl) {
        const TextLook& look = ViewAccess::Text(view).look;
        const auto width = static_cast<float>(2.0 * look.haloWidth);
        m_gl.glPushAttrib(GL_CURRENT_BIT | GL_ENABLE_BIT | GL_LINE_BIT | GL_POINT_BIT | GL_POLYGON_BIT |
                          GL_DEPTH_BUFFER_BIT);
        m_gl.glColor4ub(look.haloColor.r, look.haloColor.g, look.haloColor.b, look.haloColor.a);
        m_gl.glDisable(GL_LINE_STIPPLE);
        m_gl.glDisable(GL_CULL_FACE);
        m_gl.glLineWidth(width);
        m_gl.glPointSize(width);
        m_gl.glEnable(GL_POINT_SMOOTH); // round
        m_gl.glDepthMask(GL_FALSE);     // the string that follows has the same depth
    }
    ~HaloAttributes() { m_gl.glPopAttrib(); }
    HaloAttributes(const HaloAttributes&) = delete;
    HaloAttributes& operator=(const HaloAttributes&) = delete;

private:
    GLCalls m_gl;
};

} // namespace

void CallLists(const GLCalls& gl, unsigned int listBase, const char* text) {
    gl.glListBase(listBase);
    gl.glCallLists(static_cast<GLsizei>(std::strlen(text)), GL_UNSIGNED_BYTE, text);
}

void DrawRasterHalo(COpenGLView& view, const char* text) {
    const TextLook& look = ViewAccess::Text(view).look;
    const GLCalls gl = ViewAccess::CallGL(view);
    GLboolean valid = GL_FALSE;
    gl.glGetBooleanv(GL_CURRENT_RASTER_POSITION_VALID, &valid);
    if (!valid || !MakeHaloLists(view, look.haloWidth)) {
        return;
    }
    float window[4] = {};
    gl.glGetFloatv(GL_CURRENT_RASTER_POSITION, window);
    // A raster position takes the colour of its moment along.
    gl.glPushAttrib(GL_CURRENT_BIT);
    {
        const MatrixScope matrices(view, WindowToClip(view.GetViewport()));
        gl.glColor4ub(look.haloColor.r, look.haloColor.g, look.haloColor.b, look.haloColor.a);
        gl.glRasterPos3f(std::floor(window[0]) + 0.5F, std::floor(window[1]) + 0.5F, window[2]);
    }
    CallLists(gl, ViewAccess::CurrentRecord(view).objects.textLists.rasterHalo, text);
    gl.glPopAttrib();
}

void DrawOutlineHalo(COpenGLView& view, const GLCalls& gl, const std::function<void()>& draw) {
    if (!ViewAccess::Text(view).look.HasHalo()) {
        return;
    }
    const HaloAttributes attributes(view, gl);
    for (const unsigned int mode : {GL_LINE, GL_POINT}) {
        gl.glPolygonMode(GL_FRONT_AND_BACK, mode);
        draw();
    }
}

void DeleteHaloLists(COpenGLView& view) {
    TextLists& lists = ViewAccess::CurrentRecord(view).objects.textLists;
    if (lists.rasterHalo != 0) {
        ViewAccess::CallGL(view).glDeleteLists(lists.rasterHalo, kListCharacters);
        lists.rasterHalo = 0;
        lists.rasterHaloWidth = 0.0;
    }
}

} // namespace KTR
