#include "FusedQuadrilateral.h"

#include "../pipeline/StockPrograms.h"
#include "../pipeline/TextureUnit.h"
#include "../pipeline/UniformWriter.h"
#include "../view/ViewAccess.h"
#include "ImageDrawing.h"

#include <GL/glext.h>

#include <cmath>

namespace KTR {

namespace {

/// Fixed functions take the second image on the first two units and the first image on the last.
constexpr GLint kFixedUnits = 3;

GLint FixedUnitsOf(const GLCalls& gl) {
    GLint units = 1;
    if (gl.Has(&GLEntryPoints::glActiveTexture) && gl.Has(&GLEntryPoints::glClientActiveTexture)) {
        gl.glGetIntegerv(GL_MAX_TEXTURE_UNITS, &units);
    }
    return units;
}

/// Adds one with both pairs of coordinates: those of the second image take the place of the normal.
void AddFused(COpenGLView& view, const FusedQuadrilateral& one, const glm::dvec3& origin) {
    const unsigned char alpha = ImageAlpha(view);
    for (const int corner : kTrianglesOfQuadrilateral) {
        const PointXYZ& place = one.corners[corner];
        const GLTexCoords& first = one.coordinates[corner];
        const GLTexCoords& second = one.fusionCoordinates[corner];
        view.AddIndex3DVertexNormalTexCoordRGBA(place.x - origin.x, place.y - origin.y, place.z - origin.z, second.s,
                                                second.t, 0.0, first.s, first.t, 255, 255, 255, alpha);
    }
}

/// Has the fusion program fuse as long as it lives. Afterwards the program draws single images again, as it does for a
/// host that binds it.
class FusionUniforms {
public:
    FusionUniforms(COpenGLView& view, GLFusionMode mode, double amount) : m_view(view) {
        Write(static_cast<unsigned int>(mode) + 1, static_cast<float>(amount));
    }
    ~FusionUniforms() { Write(0, 0.0F); }
    FusionUniforms(const FusionUniforms&) = delete;
    FusionUniforms& operator=(const FusionUniforms&) = delete;

private:
    /// Another context may have drawn with the program in the meantime; so each value is written to count, always.
    void Write(unsigned int mode, float amount) const {
        const GLCalls gl = ViewAccess::CallGL(m_view);
        const UniformWriter writer(gl, ViewAccess::StockPrograms().programs[GLShaderTextureDecalFusion], true);
        writer.Write(writer.LocationOf(UniformFusionMode), mode);
        writer.Write(writer.LocationOf(UniformFusionAmount), amount);
    }

    COpenGLView& m_view;
};

/// The textures of one run of quadrilaterals, for a program.
void UseBothTextures(COpenGLView& view, const FusedQuadrilateral& one) {
    const GLCalls gl = ViewAccess::CallGL(view);
    BindTextureUnit(gl, kFusionUnit, one.fusionTexture, one.fusionSampler);
    BindTextureUnit(gl, kImageUnit, one.texture, one.sampler);
}

/// One unit's part of the arithmetic of fixed functions: (a, b) for two operands, (a, b, share) for an interpolation.
struct Combine {
    struct Operand {
        GLint source = GL_PREVIOUS;
        GLint operand = GL_SRC_COLOR;
    };
    GLint function = GL_REPLACE;
    Operand operands[3];
};

void SetColorCombine(const GLCalls& gl, const Combine& combine) {
    const auto set = [&gl](GLenum name, GLint value) { gl.glTexEnvi(GL_TEXTURE_ENV, name, value); };
    set(GL_COMBINE_RGB, combine.function);
    for (GLenum index = 0; index < 3; ++index) {
        set(GL_SOURCE0_RGB + index, combine.operands[index].source);
        set(GL_OPERAND0_RGB + index, combine.operands[index].operand);
    }
}

void SetAlphaCombine(const GLCalls& gl, GLint function, GLint first, GLint second) {
    const auto set = [&gl](GLenum name, GLint value) { gl.glTexEnvi(GL_TEXTURE_ENV, name, value); };
    set(GL_COMBINE_ALPHA, function);
    set(GL_SOURCE0_ALPHA, first);
    set(GL_SOURCE1_ALPHA, second);
    set(GL_OPERAND0_ALPHA, GL_SRC_ALPHA);
    set(GL_OPERAND1_ALPHA, GL_SRC_ALPHA);
}

constexpr Combine::Operand kShare{GL_PREVIOUS, GL_SRC_ALPHA};

/// What the middle unit makes of the second image's colour, whose share comes along as its alpha: for a product, the
/// factor; for a sum, what is added.
Combine MiddleCombine(GLFusionMode mode) {
    switch (mode) {
    case GLFusionMultiply:
        return {GL_INTERPOLATE, {{GL_PREVIOUS, GL_SRC_COLOR}, {GL_CONSTANT, GL_SRC_COLOR}, kShare}};
    case GLFusionAdd:
        return {GL_MODULATE, {{GL_PREVIOUS, GL_SRC_COLOR}, kShare, {}}};
    default:
        return {GL_REPLACE, {}};
    }
}

/// How the last unit joins that with the first image.
Combine LastCombine(GLFusionMode mode) {
    constexpr Combine::Operand first{GL_TEXTURE, GL_SRC_COLOR};
    constexpr Combine::Operand second{GL_PREVIOUS, GL_SRC_COLOR};
    switch (mode) {
    case GLFusionMultiply:
        return {GL_MODULATE, {second, first, {}}};
    case GLFusionAdd:
        return {GL_ADD, {second, first, {}}};
    default:
        return {GL_INTERPOLATE, {second, first, kShare}};
    }
}

/// The fixed functions' units, set up for both images as long as it lives; then they are again what they were.
class FusionUnits {
public:
    FusionUnits(COpenGLView& view, GLFusionMode mode, double amount) : m_view(view) {
        const GLCalls gl = ViewAccess::CallGL(view);
        gl.glPushAttrib(GL_TEXTURE_BIT | GL_ENABLE_BIT);
        gl.glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
        const GLDrawGeometry* const records = ViewAccess::Batch(view).batchVertexPointer;
        const auto pointAt = [&gl](const float* coordinates) {
            gl.glEnableClientState(GL_TEXTURE_COORD_ARRAY);
            gl.glTexCoordPointer(2, GL_FLOAT, sizeof(GLDrawGeometry), coordinates);
        };
        const float white[] = {1.0F, 1.0F, 1.0F, static_cast<float>(amount)};
        for (GLint unit = 0; unit < kFixedUnits; ++unit) {
            const bool last = unit == kFixedUnits - 1;
            gl.glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
            gl.glClientActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
            gl.glEnable(GL_TEXTURE_2D);
            gl.glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_COMBINE);
            gl.glTexEnvfv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_COLOR, white);
            gl.glTexEnvi(GL_TEXTURE_ENV, GL_RGB_SCALE, 1);
            gl.glTexEnvi(GL_TEXTURE_ENV, GL_ALPHA_SCALE, 1);
            pointAt(last ? &records->s : &records->nx);
            if (unit == 0) {
                SetColorCombine(gl, {GL_REPLACE, {{GL_TEXTURE, GL_SRC_COLOR}, {}, {}}});
                SetAlphaCombine(gl, GL_MODULATE, GL_TEXTURE, GL_CONSTANT);
            } else if (!last) {
                SetColorCombine(gl, MiddleCombine(mode));
                SetAlphaCombine(gl, GL_REPLACE, GL_PREVIOUS, GL_PREVIOUS);
            } else {
                SetColorCombine(gl, LastCombine(mode));
                SetAlphaCombine(gl, GL_MODULATE, GL_TEXTURE, GL_PRIMARY_COLOR);
            }
        }
    }
    ~FusionUnits() {
        const GLCalls gl = ViewAccess::CallGL(m_view);
        gl.glPopClientAttrib();
        gl.glPopAttrib();
    }
    FusionUnits(const FusionUnits&) = delete;
    FusionUnits& operator=(const FusionUnits&) = delete;

    void UseTextures(const FusedQuadrilateral& one) const {
        const GLCalls gl = ViewAccess::CallGL(m_view);
        for (GLint unit = 0; unit < kFixedUnits; ++unit) {
            gl.glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
            gl.glBindTexture(GL_TEXTURE_2D, unit < kFixedUnits - 1 ? one.fusionTexture : one.texture);
        }
    }

private:
    COpenGLView& m_view;
};

bool SameTextures(const FusedQuadrilateral& one, const FusedQuadrilateral& other) {
    return one.texture == other.texture && one.sampler == other.sampler && one.fusionTexture == other.fusionTexture &&
           one.fusionSampler == other.fusionSampler;
}

/// Draws runs of equal textures, each after `useTextures` was called with its first.
template <typename UseTextures> void DrawRuns(COpenGLView& view, std::span<const FusedQuadrilateral> all,
                                              const glm::dvec3& origin, const UseTextures& useTextures) {
    const SharedDraws shared(view);
    for (std::size_t first = 0; first < all.size();) {
        useTextures(all[first]);
        view.BeginArrays(GL_TRIANGLES, GLShaderTextureDecalFusion);
        std::size_t next = first;
        do {
            AddFused(view, all[next++], origin);
        } while (next < all.size() && SameTextures(all[first], all[next]));
        view.EndArrays();
        first = next;
    }
}

/// Where there are too few units: the second image over what was drawn of the first. Opaque first images look the same.
void DrawSecondImages(COpenGLView& view, std::span<const FusedQuadrilateral> all, const glm::dvec3& origin,
                      GLFusionMode mode, double amount) {
    const ImageDrawing drawing(view, origin, all.front().fusionTexture, 0, GLShaderTextureDecal);
    if (mode == GLFusionMultiply) {
        view.BlendFunc(GL_DST_COLOR, GL_ONE_MINUS_SRC_ALPHA);
    } else if (mode == GLFusionAdd) {
        view.BlendFunc(GL_SRC_ALPHA, GL_ONE);
    }
    const auto alpha = static_cast<unsigned char>(std::lround(amount * ImageAlpha(view)));
    // What a product keeps of the first image is in the alpha; the rest of the factor has to be thinned alike.
    const unsigned char color = mode == GLFusionMultiply ? alpha : 255;
    for (const FusedQuadrilateral& one : all) {
        drawing.UseTexture(one.fusionTexture, 0);
        BeginQuadrilaterals(view);
        for (const int corner : kTrianglesOfQuadrilateral) {
            const PointXYZ& place = one.corners[corner];
            view.AddTextureDataCurrentIndex(one.fusionCoordinates[corner].s, one.fusionCoordinates[corner].t);
            view.AddIndex3DVertexRGBA(place.x - origin.x, place.y - origin.y, place.z - origin.z, color, color, color,
                                      alpha);
        }
        view.EndArrays();
    }
}

void DrawFirstImages(COpenGLView& view, std::span<const FusedQuadrilateral> all, const glm::dvec3& origin) {
    const ImageDrawing drawing(view, origin, all.front().texture, 0, GLShaderTextureDecal);
    for (const FusedQuadrilateral& one : all) {
        drawing.UseTexture(one.texture, 0);
        BeginQuadrilaterals(view);
        AddQuadrilateral(view, one.corners, one.coordinates, origin);
        view.EndArrays();
    }
}

} // namespace

void DrawFusedQuadrilaterals(COpenGLView& view, std::span<const FusedQuadrilateral> quadrilaterals, GLFusionMode mode,
                             double amount) {
    if (quadrilaterals.empty()) {
        return;
    }
    const FusedQuadrilateral& first = quadrilaterals.front();
    const glm::dvec3 origin = OriginInView(view, first.corners[0]);
    if (view.DrawsWithPrograms()) {
        const ImageDrawing drawing(view, origin, first.texture, first.sampler, GLShaderTextureDecalFusion);
        const FusionUniforms uniforms(view, mode, amount);
        DrawRuns(view, quadrilaterals, origin, [&view](const FusedQuadrilateral& one) { UseBothTextures(view, one); });
    } else if (FixedUnitsOf(ViewAccess::CurrentGL(view)) >= kFixedUnits) {
        const ImageDrawing drawing(view, origin, first.texture, first.sampler, GLShaderTextureDecalFusion);
        const FusionUnits units(view, mode, amount);
        DrawRuns(view, quadrilaterals, origin, [&units](const FusedQuadrilateral& one) { units.UseTextures(one); });
    } else {
        DrawFirstImages(view, quadrilaterals, origin);
        DrawSecondImages(view, quadrilaterals, origin, mode, amount);
    }
}

} // namespace KTR
