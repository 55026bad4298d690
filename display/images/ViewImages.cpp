#include "../view/OpenGLView.h"

#include "../diagnostics/DebugNames.h"
#include "../platform/Border.h"
#include "../view/ViewAccess.h"

#include "ImageDrawing.h"
#include "ImageRows.h"
#include "ImageUpload.h"
#include "TexturedQuadrilateral.h"
#include "TreatedImage.h"

#include <GL/glext.h>

#include <algorithm>
#include <span>

namespace KTR {

namespace {

/// Loads what a tile's texture holds of an image, treated as the attributes say. With `pads` the texture's sides become
/// powers of two.
long LoadTile(COpenGLView& view, unsigned int textureUnit, const ImageRows& image, const TileSpan& columns,
              const TileSpan& rows, bool pads, unsigned int filter, unsigned int& texture, unsigned int& sampler) {
    if (!IsLoadable(image)) {
        return E_INVALIDARG;
    }
    const int x = columns.textureFirst;
    const int y = rows.textureFirst;
    const int width = columns.textureLast - x;
    const int height = rows.textureLast - y;
    const int limit = ViewAccess::HasCurrentContext(view) ? view.GetContextMaxTextureSize() : 0;
    const bool changeable = image.pixels && image.format != GL_DEPTH_COMPONENT && width <= limit && height <= limit;
    if (!changeable) {
        return UploadImage(view, PartOf(image, x, y, width, height), textureUnit, filter, texture, sampler);
    }
    try {
        const TreatedImage treated(ViewAccess::CurrentRecord(view).attributes, image, x, y, width, height);
        ImageRows tile = treated.Rows();
        std::vector<unsigned char> padded;
        if (pads) {
            padded = PadToPowersOfTwo(tile);
            tile = {tile.format, PowerOfTwoFor(width), PowerOfTwoFor(height), PowerOfTwoFor(width), 1, padded.data()};
        }
        return UploadImage(view, tile, textureUnit, filter, texture, sampler);
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

/// Draws the bound texture over a tile's part of the rectangle. Neighbours compute their common edge alike, so that it
/// is the same to the bit and no pixel falls between them.
void DrawTile(COpenGLView& view, const ImageRows& image, const TileSpan& columns, const TileSpan& rows, bool padded,
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
    BeginQuadrilaterals(view);
    AddQuadrilateral(view, corners, coordinates);
    view.EndArrays();
}

/// Draws an image over a rectangle from the origin of ImageDrawing, in as few tiles as the card allows.
long DrawTiles(COpenGLView& view, const ImageRows& image, double modelWidth, double modelHeight, unsigned int filter) {
    long result = S_OK;
    unsigned int texture = 0;
    unsigned int sampler = 0;
    try {
        const int limit = view.GetContextMaxTextureSize();
        const bool pads = !ViewAccess::CurrentGL(view).Has(
            &GLEntryPoints::glCreateShader); // any size is allowed since 2.0, which came with this function
        const std::vector<TileSpan> columns = CutIntoTiles(image.width, limit);
        const std::vector<TileSpan> rows = CutIntoTiles(image.height, limit);
        for (auto row = rows.begin(); row != rows.end() && result == S_OK; ++row) {
            for (auto column = columns.begin(); column != columns.end() && result == S_OK; ++column) {
                result = LoadTile(view, GL_TEXTURE0, image, *column, *row, pads, filter, texture, sampler);
                if (result == S_OK) {
                    DrawTile(view, image, *column, *row, pads, modelWidth, modelHeight);
                }
            }
        }
    } catch (...) {
        DropCaught();
        result = E_OUTOFMEMORY;
    }
    view.DeleteTextureAndSamplerNames(texture, sampler);
    return result;
}

} // namespace

long COpenGLView::LoadGLImage(unsigned int textureUnit, unsigned int format, int width, int height, int rowAlignment,
                              unsigned int filter, const void* pixels, unsigned int& texture, unsigned int& sampler) {
    const ImageRows image{format, width, height, width, rowAlignment, static_cast<const unsigned char*>(pixels)};
    return LoadTile(*this, textureUnit, image, {0, width, 0, width}, {0, height, 0, height}, false, filter, texture,
                    sampler);
}

long COpenGLView::LoadRasterImage(unsigned int format, int width, int height, int rowAlignment, unsigned int filter,
                                  const void* pixels, unsigned int& texture, unsigned int& sampler) {
    return LoadGLImage(GL_TEXTURE0, format, width, height, rowAlignment, filter, pixels, texture, sampler);
}

long COpenGLView::DrawImage(double left, double bottom, double right, double top, double z, unsigned int format,
                            int width, int height, int rowAlignment, unsigned int filter, const void* pixels) {
    const ImageRows image{format, width, height, width, rowAlignment, static_cast<const unsigned char*>(pixels)};
    if (!IsLoadable(image) || !pixels || format == GL_DEPTH_COMPONENT) {
        return E_INVALIDARG;
    }
    if (!ViewAccess::HasCurrentContext(*this)) {
        return E_FAIL;
    }
    const ImageDrawing drawing(*this, {left, bottom, z}, 0, 0);
    return DrawTiles(*this, image, right - left, top - bottom, filter);
}

long COpenGLView::DrawTexturedQuadrilateral(unsigned int texture, unsigned int sampler, const PointXYZ* corners,
                                            const GLTexCoords* coordinates) {
    if (texture == 0 || !corners) {
        return E_INVALIDARG;
    }
    if (!ViewAccess::HasCurrentContext(*this)) {
        return E_FAIL;
    }
    const glm::dvec3 origin(corners[0].x, corners[0].y, corners[0].z);
    const ImageDrawing drawing(*this, origin, texture, sampler);
    BeginQuadrilaterals(*this);
    AddQuadrilateral(*this, corners, coordinates ? coordinates : kWholeTexture, origin);
    EndArrays();
    return S_OK;
}

long COpenGLView::DrawTexturedQuadrilaterals(const TexturedQuadrilateral* quadrilaterals, std::size_t count) {
    if (count == 0) {
        return S_OK;
    }
    if (!quadrilaterals) {
        return E_INVALIDARG;
    }
    const std::span all(quadrilaterals, count);
    if (std::any_of(all.begin(), all.end(), [](const TexturedQuadrilateral& one) { return one.texture == 0; })) {
        return E_INVALIDARG;
    }
    if (!ViewAccess::HasCurrentContext(*this)) {
        return E_FAIL;
    }
    const GLCalls gl = CurrentGL();
    const DebugGroup group(gl, "DrawTexturedQuadrilaterals");
    const glm::dvec3 origin = OriginInView(*this, all.front().corners[0]);
    const TexturedQuadrilateral* before = &all.front();
    const ImageDrawing drawing(*this, origin, before->texture, before->sampler);
    const SharedDraws shared(*this);
    BeginQuadrilaterals(*this);
    for (const TexturedQuadrilateral& one : all) {
        if (one.texture != before->texture || one.sampler != before->sampler) {
            EndArrays();
            drawing.UseTexture(one.texture, one.sampler);
            BeginQuadrilaterals(*this);
        }
        AddQuadrilateral(*this, one.corners, one.coordinates, origin);
        before = &one;
    }
    EndArrays();
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

} // namespace KTR
