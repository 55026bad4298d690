#include "PolygonFill.h"

#include "SceneColors.h"

#include <GL/glu.h>

#include <cstddef>

namespace OrrinViewer {

namespace {

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

void FillPolygons(KTR::GLTesselator& tesselator, const VectorFeature& feature, std::size_t index, const AreaLook& look,
                  const GroundPosition& onTheGround) {
    // Files differ in the direction of their rings. What is inside an odd number of them is inside the polygon.
    tesselator.SetProperty(GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD);
    const Rgb color = look.color.value_or(ColorOfClass(static_cast<std::uint8_t>(index % 250), ClassMeaning::Labels));
    for (const Polygon& polygon : feature.polygons) {
        FillPolygon(tesselator, polygon, color, look.opacity, onTheGround);
    }
}

} // namespace OrrinViewer
