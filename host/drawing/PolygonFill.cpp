#include "PolygonFill.h"

#include "SceneColors.h"

#include <GL/glu.h>

#include <cstddef>

namespace OrrinViewer {

namespace {

bool Overlap(const Extent& one, const Extent& other) {
    return one.low.x <= other.high.x && other.low.x <= one.high.x && one.low.y <= other.high.y &&
           other.low.y <= one.high.y;
}

/// The first ring opens with the polygon, the others are contours of their own.
void FillPolygon(KTR::GLTesselator& tesselator, const Polygon& polygon, const Rgb& color, std::uint8_t opacity,
                 const GroundPosition& onTheGround) {
    tesselator.BeginPolygon();
    for (std::size_t ring = 0; ring < polygon.rings.size(); ++ring) {
        if (ring > 0) {
            tesselator.BeginContour();
        }
        for (const Position& corner : polygon.rings[ring]) {
            const Position place = onTheGround(corner);
            tesselator.AddIndex3DVertexRGBA(place.x, place.y, place.z, color.red, color.green, color.blue, opacity);
        }
        tesselator.EndContour();
    }
    tesselator.EndPolygon();
}

} // namespace

void FillPolygons(KTR::COpenGLView& view, const VectorLayer& layer, const Extent& area, std::uint8_t opacity,
                  const GroundPosition& onTheGround) {
    KTR::GLTesselator* tesselator = view.GetTesselator();
    if (!tesselator) {
        return;
    }
    // Files differ in the direction of their rings. What is inside an odd number of them is inside the polygon.
    tesselator->SetProperty(GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD);
    view.Enable(GL_BLEND);
    view.BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderColorPassThrough);
    for (std::size_t index = 0; index < layer.features.size(); ++index) {
        const VectorFeature& feature = layer.features[index];
        const Rgb color = ColorOfClass(static_cast<std::uint8_t>(index % 250), ClassMeaning::Labels);
        for (const Polygon& polygon : feature.polygons) {
            if (Overlap(feature.extent, area)) {
                FillPolygon(*tesselator, polygon, color, opacity, onTheGround);
            }
        }
    }
    view.DisableClientState();
    view.Disable(GL_BLEND);
}

} // namespace OrrinViewer
