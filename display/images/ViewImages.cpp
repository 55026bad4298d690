#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"

#include "ImageRows.h"

#include <GL/glext.h>

#include <glm/gtc/matrix_transform.hpp>

#include <cmath>
#include <exception>

namespace KTR {

/// What textured drawing changes of the view, to be put back.
struct COpenGLView::ImageDrawing {
    GLAttributes attributes;
    glm::dmat4 projection;
    glm::dmat4 modelview;
    unsigned int shaderTexture;
    unsigned int shaderSampler;
};

namespace {

/// How a format of the host is kept.
struct TextureFormat {
    GLint internalFormat;
    GLenum format;
    GLenum type;
};

/// Grey and alpha are formats of the fixed functions. A program's texture keeps them in red and green and says with a
/// swizzle what they mean, so that both pipelines read the same colours.
TextureFormat FormatFor(unsigned int format, bool programs) {
    switch (format) {
    case GL_RGB:
    case GL_BGR:
        return {GL_RGB8, format, GL_UNSIGNED_BYTE};
    case GL_LUMINANCE:
        return programs ? TextureFormat{GL_R8, GL_RED, GL_UNSIGNED_BYTE}
                        : TextureFormat{GL_LUMINANCE8, GL_LUMINANCE, GL_UNSIGNED_BYTE};
    case GL_ALPHA:
        return programs ? TextureFormat{GL_R8, GL_RED, GL_UNSIGNED_BYTE}
                        : TextureFormat{GL_ALPHA8, GL_ALPHA, GL_UNSIGNED_BYTE};
    case GL_LUMINANCE_ALPHA:
        return programs ? TextureFormat{GL_RG8, GL_RG, GL_UNSIGNED_BYTE}
                        : TextureFormat{GL_LUMINANCE8_ALPHA8, GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE};
    case GL_RED:
        return {programs ? GL_R8 : GL_RGB8, GL_RED, GL_UNSIGNED_BYTE};
    case GL_DEPTH_COMPONENT:
        return {programs ? GL_DEPTH_COMPONENT32F : GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, GL_FLOAT};
    default:
        return {GL_RGBA8, format, GL_UNSIGNED_BYTE};
    }
}

/// What a program reads as red, green, blue and alpha.
struct Swizzle {
    GLint r, g, b, a;
};

Swizzle SwizzleFor(unsigned int format) {
    switch (format) {
    case GL_LUMINANCE:
        return {GL_RED, GL_RED, GL_RED, GL_ONE};
    case GL_ALPHA:
        return {GL_ONE, GL_ONE, GL_ONE, GL_RED};
    case GL_LUMINANCE_ALPHA:
        return {GL_RED, GL_RED, GL_RED, GL_GREEN};
    default:
        return {GL_RED, GL_GREEN, GL_BLUE, GL_ALPHA};
    }
}

/// How pixels are read from memory. The host's settings come back when it goes.
class UnpackState {
public:
    UnpackState(COpenGLView& view, const GLCalls& gl, const ImageRows& rows) : m_view(view) {
        const int wanted[kSettings] = {rows.rowAlignment, rows.rowLength, 0, 0};
        for (int index = 0; index < kSettings; ++index) {
            gl.glGetIntegerv(kNames[index], &m_before[index]);
            m_now[index] = wanted[index];
            Change(index, m_before[index], m_now[index]);
        }
    }
    ~UnpackState() {
        for (int index = 0; index < kSettings; ++index) {
            Change(index, m_now[index], m_before[index]);
        }
    }
    UnpackState(const UnpackState&) = delete;
    UnpackState& operator=(const UnpackState&) = delete;

private:
    static constexpr int kSettings = 4;
    static constexpr GLenum kNames[kSettings] = {GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS,
                                                 GL_UNPACK_SKIP_PIXELS};

    void Change(int index, GLint from, GLint to) {
        if (from != to) {
            m_view.PixelStore(kNames[index], to);
        }
    }

    COpenGLView& m_view;
    GLint m_before[kSettings] = {};
    GLint m_now[kSettings] = {};
};

NoDataTreatment TreatmentFrom(const GLAttributes& attributes) {
    const auto color = [](const GLRGBAColor& rgba) { return GLRGBColor{rgba.r, rgba.g, rgba.b}; };
    return {color(attributes.noDataMarker), attributes.noDataIsTransparent != 0, color(attributes.noDataPaint)};
}

constexpr GLTexCoords kWholeTexture[] = {{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}};

GLint LevelParameter(const GLCalls& gl, GLenum name) {
    GLint value = 0;
    gl.glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, name, &value);
    return value;
}

} // namespace

long COpenGLView::LoadGLImage(unsigned int textureUnit, unsigned int format, int width, int height, int rowAlignment,
                              unsigned int filter, const void* pixels, unsigned int& texture, unsigned int& sampler) {
    const ImageRows rows{format, width, height, width, rowAlignment, static_cast<const unsigned char*>(pixels)};
    return UploadImage(rows, textureUnit, filter, texture, sampler);
}

long COpenGLView::LoadRasterImage(unsigned int format, int width, int height, int rowAlignment, unsigned int filter,
                                  const void* pixels, unsigned int& texture, unsigned int& sampler) {
    const ImageRows image{format, width, height, width, rowAlignment, static_cast<const unsigned char*>(pixels)};
    return LoadTile(image, {0, width, 0, width}, {0, height, 0, height}, false, filter, texture, sampler);
}

long COpenGLView::DrawImage(double left, double bottom, double right, double top, double z, unsigned int format,
                            int width, int height, int rowAlignment, unsigned int filter, const void* pixels) {
    const ImageRows image{format, width, height, width, rowAlignment, static_cast<const unsigned char*>(pixels)};
    if (!IsLoadable(image) || !pixels || format == GL_DEPTH_COMPONENT) {
        return E_INVALIDARG;
    }
    if (!HasContext()) {
        return E_FAIL;
    }
    const glm::dvec3 origin(left, bottom, z);
    const ImageDrawing drawing = BeginImageDrawing(origin, 0, 0);
    const long result = DrawTiles(image, right - left, top - bottom, filter);
    EndImageDrawing(drawing);
    return result;
}

long COpenGLView::DrawTexturedQuadrilateral(unsigned int texture, unsigned int sampler, const PointXYZ* corners,
                                            const GLTexCoords* coordinates) {
    if (texture == 0 || !corners) {
        return E_INVALIDARG;
    }
    if (!HasContext()) {
        return E_FAIL;
    }
    const PointXYZ& origin = corners[0];
    PointXYZ relative[4];
    for (int corner = 0; corner < 4; ++corner) {
        relative[corner] = {corners[corner].x - origin.x, corners[corner].y - origin.y, corners[corner].z - origin.z};
    }
    const ImageDrawing drawing = BeginImageDrawing({origin.x, origin.y, origin.z}, texture, sampler);
    DrawQuadrilateral(relative, coordinates ? coordinates : kWholeTexture);
    EndImageDrawing(drawing);
    return S_OK;
}

long COpenGLView::Draw2DTextureOnQuadrilateral(const PointXYZ* corners, const GLTexCoords* coordinates) {
    return DrawTexturedQuadrilateral(m_textureRequest.activeTexture, m_textureRequest.textureSampler, corners,
                                     coordinates);
}

void COpenGLView::DrawSetupNoDataColor(const GLRGBColor& marker, const GLRGBColor& paint) {
    GLAttributes& attributes = CurrentRecord().attributes;
    attributes.noDataMarked = true;
    attributes.noDataMarker = {marker.r, marker.g, marker.b, 255};
    attributes.noDataPaint = {paint.r, paint.g, paint.b, 255};
}

void COpenGLView::DrawSetupNoDataIsTransparent(bool on) {
    CurrentRecord().attributes.noDataIsTransparent = on ? 1 : 0;
}

void COpenGLView::DrawSetupApplyNoDataColor(bool on) {
    CurrentRecord().attributes.applyNoDataColor = on ? 1 : 0;
}

bool COpenGLView::HasContext() const {
    return IsMyContextCurrent(m_currentContext) && !IsCurrentGLRenderingContextNull(m_currentContext);
}

/// LoadGLImage for a part of an image.
long COpenGLView::UploadImage(const ImageRows& rows, unsigned int textureUnit, unsigned int filter,
                              unsigned int& texture, unsigned int& sampler) {
    const GLCalls gl = CallGL();
    const bool knownFilter = filter == GL_NEAREST || filter == GL_LINEAR;
    const bool knownUnit =
        textureUnit == GL_TEXTURE0 || (textureUnit > GL_TEXTURE0 && gl.Has(&GLEntryPoints::glActiveTexture));
    if (!IsLoadable(rows) || !knownFilter || !knownUnit) {
        return E_INVALIDARG;
    }
    if (!HasContext()) {
        return E_FAIL;
    }
    if (const int limit = GetContextMaxTextureSize(); rows.width > limit || rows.height > limit) {
        outputGlError(L"Warning: OpenGL texture capability error. Texture too big");
        return E_INVALIDARG;
    }
    unsigned int filled = texture;
    unsigned int newSampler = 0;
    if (filled == 0) {
        gl.glGenTextures(1, &filled);
    }
    if (DrawsWithPrograms() && sampler == 0) {
        gl.glGenSamplers(1, &newSampler);
    }
    if (gl.Has(&GLEntryPoints::glActiveTexture)) {
        gl.glActiveTexture(textureUnit);
    }
    gl.glBindTexture(GL_TEXTURE_2D, filled);
    const bool samplerThere = !DrawsWithPrograms() || sampler != 0 || newSampler != 0;
    const bool done = filled != 0 && samplerThere && FillTexture(rows, filter);
    if (done && DrawsWithPrograms()) {
        sampler = sampler != 0 ? sampler : newSampler;
        SetUpSampler(sampler, filter);
        gl.glBindSampler(textureUnit - GL_TEXTURE0, sampler);
    }
    if (gl.Has(&GLEntryPoints::glActiveTexture) && textureUnit != GL_TEXTURE0) {
        gl.glActiveTexture(GL_TEXTURE0);
    }
    if (!done) {
        unsigned int newTexture = texture == 0 ? filled : 0;
        DeleteTextureAndSamplerNames(newTexture, newSampler);
        return E_OUTOFMEMORY;
    }
    texture = filled;
    return S_OK;
}

/// Fills the bound texture. False when the driver has no room for it.
bool COpenGLView::FillTexture(const ImageRows& rows, unsigned int filter) {
    const GLCalls gl = CallGL();
    const bool programs = DrawsWithPrograms();
    const TextureFormat kept = FormatFor(rows.format, programs);
    const auto hasSize = [&] {
        return LevelParameter(gl, GL_TEXTURE_WIDTH) == rows.width &&
               LevelParameter(gl, GL_TEXTURE_HEIGHT) == rows.height;
    };
    // NOTE: a driver that has no room leaves the level as it was. Asking for its size afterwards tells so without
    // taking OpenGL's errors away from the host.
    const UnpackState unpack(*this, gl, rows);
    if (hasSize() && LevelParameter(gl, GL_TEXTURE_INTERNAL_FORMAT) == kept.internalFormat) {
        if (rows.pixels) {
            gl.glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, rows.width, rows.height, kept.format, kept.type, rows.pixels);
        }
    } else {
        gl.glTexImage2D(GL_TEXTURE_2D, 0, kept.internalFormat, rows.width, rows.height, 0, kept.format, kept.type,
                        rows.pixels);
        if (!hasSize()) {
            return false;
        }
    }
    const auto set = [&](unsigned int name, GLint value) { TexParameter(GL_TEXTURE_2D, name, value); };
    // Clamping to the edge came with OpenGL 1.2, as did the function that tells.
    const GLint clamp = gl.Has(&GLEntryPoints::glTexImage3D) ? GL_CLAMP_TO_EDGE : GL_CLAMP;
    set(GL_TEXTURE_MIN_FILTER, static_cast<GLint>(filter));
    set(GL_TEXTURE_MAG_FILTER, static_cast<GLint>(filter));
    set(GL_TEXTURE_WRAP_S, clamp);
    set(GL_TEXTURE_WRAP_T, clamp);
    if (programs) {
        const Swizzle swizzle = SwizzleFor(rows.format);
        set(GL_TEXTURE_SWIZZLE_R, swizzle.r);
        set(GL_TEXTURE_SWIZZLE_G, swizzle.g);
        set(GL_TEXTURE_SWIZZLE_B, swizzle.b);
        set(GL_TEXTURE_SWIZZLE_A, swizzle.a);
    }
    return true;
}

void COpenGLView::SetUpSampler(unsigned int sampler, unsigned int filter) {
    const GLCalls gl = CallGL();
    const auto set = [&](GLenum name, GLint value) { gl.glSamplerParameteri(sampler, name, value); };
    set(GL_TEXTURE_MIN_FILTER, static_cast<GLint>(filter));
    set(GL_TEXTURE_MAG_FILTER, static_cast<GLint>(filter));
    set(GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    set(GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

/// Loads what a tile's texture holds of an image, pixels without data treated. With `pads` the texture's sides become
/// powers of two.
long COpenGLView::LoadTile(const ImageRows& image, const TileSpan& columns, const TileSpan& rows, bool pads,
                           unsigned int filter, unsigned int& texture, unsigned int& sampler) {
    const GLAttributes& attributes = CurrentRecord().attributes;
    const int x = columns.textureFirst;
    const int y = rows.textureFirst;
    const int width = columns.textureLast - x;
    const int height = rows.textureLast - y;
    const int limit = HasContext() ? GetContextMaxTextureSize() : 0;
    const bool changeable =
        image.pixels && image.format != GL_DEPTH_COMPONENT && IsLoadable(image) && width <= limit && height <= limit;
    const bool treats = changeable && attributes.noDataMarked && attributes.applyNoDataColor != 0;
    try {
        ImageRows tile = PartOf(image, x, y, width, height);
        std::vector<unsigned char> treated;
        if (treats) {
            // One pixel more on each side, so that a pixel at the border finds the same neighbours in whichever tile it
            // is.
            const int left = x > 0 ? 1 : 0;
            const int below = y > 0 ? 1 : 0;
            const int right = columns.textureLast < image.width ? 1 : 0;
            const int above = rows.textureLast < image.height ? 1 : 0;
            const ImageRows wide = PartOf(image, x - left, y - below, left + width + right, below + height + above);
            treated = TreatNoData(wide, TreatmentFrom(attributes));
            tile =
                PartOf({GL_RGBA, wide.width, wide.height, wide.width, 1, treated.data()}, left, below, width, height);
        }
        std::vector<unsigned char> padded;
        if (changeable && pads) {
            padded = PadToPowersOfTwo(tile);
            tile = {tile.format, PowerOfTwoFor(width), PowerOfTwoFor(height), PowerOfTwoFor(width), 1, padded.data()};
        }
        return UploadImage(tile, GL_TEXTURE0, filter, texture, sampler);
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
}

/// Draws an image over a rectangle from the origin of BeginImageDrawing, in as few tiles as the card allows.
long COpenGLView::DrawTiles(const ImageRows& image, double modelWidth, double modelHeight, unsigned int filter) {
    long result = S_OK;
    unsigned int texture = 0;
    unsigned int sampler = 0;
    try {
        const int limit = GetContextMaxTextureSize();
        const bool pads = !CurrentGL().Has(
            &GLEntryPoints::glCreateShader); // any size is allowed since 2.0, which came with this function
        const std::vector<TileSpan> columns = CutIntoTiles(image.width, limit);
        const std::vector<TileSpan> rows = CutIntoTiles(image.height, limit);
        for (auto row = rows.begin(); row != rows.end() && result == S_OK; ++row) {
            for (auto column = columns.begin(); column != columns.end() && result == S_OK; ++column) {
                result = LoadTile(image, *column, *row, pads, filter, texture, sampler);
                if (result == S_OK) {
                    DrawTile(image, *column, *row, pads, modelWidth, modelHeight);
                }
            }
        }
    } catch (const std::exception&) {
        result = E_OUTOFMEMORY;
    }
    DeleteTextureAndSamplerNames(texture, sampler);
    return result;
}

/// Draws the bound texture over a tile's part of the rectangle. Neighbours compute their common edge alike, so that it
/// is the same to the bit and no pixel falls between them.
void COpenGLView::DrawTile(const ImageRows& image, const TileSpan& columns, const TileSpan& rows, bool padded,
                           double modelWidth, double modelHeight) {
    const auto place = [](int pixel, int pixels, double extent) { return extent * pixel / pixels; };
    const double x0 = place(columns.first, image.width, modelWidth);
    const double x1 = place(columns.last, image.width, modelWidth);
    const double y0 = place(rows.first, image.height, modelHeight);
    const double y1 = place(rows.last, image.height, modelHeight);
    const auto coordinate = [padded](int pixel, const TileSpan& span) {
        const int texels = span.textureLast - span.textureFirst;
        return static_cast<double>(pixel - span.textureFirst) / (padded ? PowerOfTwoFor(texels) : texels);
    };
    const double s0 = coordinate(columns.first, columns);
    const double s1 = coordinate(columns.last, columns);
    const double t0 = coordinate(rows.first, rows);
    const double t1 = coordinate(rows.last, rows);
    const PointXYZ corners[] = {{x0, y0, 0.0}, {x1, y0, 0.0}, {x1, y1, 0.0}, {x0, y1, 0.0}};
    const GLTexCoords coordinates[] = {{s0, t0}, {s1, t0}, {s1, t1}, {s0, t1}};
    DrawQuadrilateral(corners, coordinates);
}

/// Sets up what quadrilaterals are drawn with until EndImageDrawing: positions relative to `origin`, the texture on
/// unit 0, blending by alpha.
COpenGLView::ImageDrawing COpenGLView::BeginImageDrawing(const glm::dvec3& origin, unsigned int texture,
                                                         unsigned int sampler) {
    const ImageDrawing before{CurrentRecord().attributes, GetMatrix(GL_PROJECTION), GetMatrix(GL_MODELVIEW),
                              m_textureRequest.shaderTexture, m_textureRequest.shaderSampler};
    // One matrix, formed in double precision: map coordinates and the view's offset cancel before they are rounded.
    SetMatrices(before.projection * glm::translate(before.modelview, origin), glm::dmat4(1.0));
    Enable(GL_BLEND);
    BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    if (!DrawsWithPrograms()) {
        Disable(GL_LIGHTING);
        PolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    }
    DrawSetupSetShaderTexture(texture, sampler);
    EnableClientStateInternalBuffers(true, false, true, true, GLShaderTextureDecal);
    if (!DrawsWithPrograms()) {
        // Fixed functions take the transparency from the vertices, programs from the context.
        TexEnv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    }
    return before;
}

/// Draws with the texture that is bound; positions are relative to the origin of BeginImageDrawing.
void COpenGLView::DrawQuadrilateral(const PointXYZ* corners, const GLTexCoords* coordinates) {
    const auto alpha = static_cast<unsigned char>(std::lround(CurrentRecord().attributes.textureTransparency * 255.0F));
    BeginArrays(GL_TRIANGLES, GLShaderTextureDecal);
    for (const int corner : {0, 1, 2, 0, 2, 3}) {
        AddTextureDataCurrentIndex(coordinates[corner].s, coordinates[corner].t);
        AddIndex3DVertexRGBA(corners[corner].x, corners[corner].y, corners[corner].z, 255, 255, 255, alpha);
    }
    EndArrays();
}

void COpenGLView::EndImageDrawing(const ImageDrawing& before) {
    DisableClientState();
    DrawSetupSetShaderTexture(before.shaderTexture, before.shaderSampler);
    const GLAttributes& attributes = before.attributes;
    const auto flag = [&](unsigned int capability) {
        return static_cast<unsigned char>(
            attributes.capabilities[static_cast<std::size_t>(CapabilityFlagPosition(capability))] ? 1 : 0);
    };
    LoadGLState(GL_BLEND, flag(GL_BLEND));
    BlendFunc(attributes.blendSource, attributes.blendDestination);
    if (!DrawsWithPrograms()) {
        LoadGLState(GL_LIGHTING, flag(GL_LIGHTING));
        LoadGLState(GL_TEXTURE_2D, flag(GL_TEXTURE_2D));
        PolygonMode(attributes.polygonModeFace, attributes.polygonMode);
    }
    SetMatrices(before.projection, before.modelview);
    MatrixMode(attributes.matrixMode);
}

void COpenGLView::SetMatrices(const glm::dmat4& projection, const glm::dmat4& modelview) {
    MatrixMode(GL_PROJECTION);
    ReplaceCurrentMatrix(projection);
    MatrixMode(GL_MODELVIEW);
    ReplaceCurrentMatrix(modelview);
}

} // namespace KTR
