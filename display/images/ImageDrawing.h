#pragma once

#include "../pipeline/ShaderData.h"
#include "../values/BasicTypes.h"
#include "DrawingStateScope.h"

#include <glm/vec3.hpp>

namespace KTR {

class COpenGLView;

/// The whole of a texture, its lower left at a quadrilateral's first corner, counter-clockwise.
inline constexpr GLTexCoords kWholeTexture[] = {{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}};

/// The corners of the two triangles that a quadrilateral is drawn as.
inline constexpr int kTrianglesOfQuadrilateral[] = {0, 1, 2, 0, 2, 3};

/// Sets up what quadrilaterals are drawn with as long as it lives: positions relative to `origin`, the texture on the
/// first unit, blending by alpha. The view's context has to be current.
class ImageDrawing {
public:
    ImageDrawing(COpenGLView& view, const glm::dvec3& origin, unsigned int texture, unsigned int sampler,
                 GLShaderTypes program = GLShaderTextureDecal);
    ~ImageDrawing() { m_state.EndDrawing(); }
    ImageDrawing(const ImageDrawing&) = delete;
    ImageDrawing& operator=(const ImageDrawing&) = delete;

    /// What is drawn from now on shows another texture.
    void UseTexture(unsigned int texture, unsigned int sampler) const;

private:
    COpenGLView& m_view;
    DrawingStateScope m_state;
};

/// The texture transparency as vertices carry it.
unsigned char ImageAlpha(const COpenGLView& view);
void BeginQuadrilaterals(COpenGLView& view);
/// Adds one whose positions are relative to the origin of ImageDrawing.
void AddQuadrilateral(COpenGLView& view, const PointXYZ* corners, const GLTexCoords* coordinates);
/// The same for positions that are not yet.
void AddQuadrilateral(COpenGLView& view, const PointXYZ* corners, const GLTexCoords* coordinates,
                      const glm::dvec3& origin);

/// The point in the middle of what the view shows, where its matrices have one. A layer may reach far beyond the
/// window; what is seen of it is near this point, and keeps its digits.
glm::dvec3 OriginInView(const COpenGLView& view, const PointXYZ& otherwise);

} // namespace KTR
