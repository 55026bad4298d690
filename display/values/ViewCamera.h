#pragma once

#include "../Export.h"
#include "ContextTypes.h"

#include <glm/mat4x4.hpp>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include <optional>

namespace KTR {

/// The box around a model, in true coordinates.
struct ModelBox {
    glm::dvec3 low{0.0};
    glm::dvec3 high{0.0};
    bool operator==(const ModelBox&) const = default;
};

/// What is visible of the view plane: its places are measured from the coordinates' origin along the screen's right and
/// up, heights multiplied by the camera's exaggeration. Seen from the top these are x and y.
struct ViewExtents {
    double left = 0.0;
    double bottom = 0.0;
    double right = 0.0;
    double top = 0.0;
};

/// Distances from the eye along the line of sight between which everything is drawn.
struct DepthRange {
    double nearest = 0.0;
    double farthest = 0.0;
};

/// Unit vectors at right angles to each other.
struct ScreenAxes {
    glm::dvec3 right;
    glm::dvec3 up;
    glm::dvec3 forward;
};

/// What a view looks at, from where and how large.
///
/// Places are true coordinates in double precision. Directions are those of the exaggerated model: its heights are
/// multiplied by `zExaggeration` before it is looked at, and all distances on the screen are such ones. The target need
/// not lie in the middle of the screen; the line of sight goes through the middle, in the direction `forward`.
///
/// The scale says how much is seen: a window that grows shows more, and everything keeps its distance in pixels from
/// the window's middle.
struct ORRIN_DISPLAY_API ViewCamera {
    GLViewOrientation orientation = GLViewOrientationTop;
    glm::dvec3 target{0.0}; ///< what the eye circles and comes closer to
    glm::dvec3 eye{0.0, 0.0, 1.0};
    glm::dvec3 up{0.0, 1.0, 0.0};
    glm::dvec3 forward{0.0, 0.0, -1.0};
    double unitsPerPixel = 0.0; ///< at the target's distance; 0 while no view is set up
    double zExaggeration = 1.0;
    ModelBox model; ///< what near and far have to hold

    bool IsSetUp() const { return unitsPerPixel > 0.0; }
    bool IsPerspective() const { return orientation == GLViewOrientationPerspective; }
    bool operator==(const ViewCamera&) const = default;

    /// From a difference of true coordinates to one of the exaggerated model, and back.
    glm::dvec3 Exaggerate(const glm::dvec3& difference) const;
    glm::dvec3 Flatten(const glm::dvec3& difference) const;
    ScreenAxes Axes() const;
    /// From the eye to the plane through `place` that is parallel to the screen; negative behind the eye.
    double DistanceTo(const glm::dvec3& place) const;
};

// A `size` is a viewport's, in pixels, at least 1 each.

/// Looks along an axis at the whole box, which is in the middle with a hundredth of its size free at each side. Nothing
/// for an orientation along no axis, a box that is not finite (coordinates up to 1e30) or whose low is above its high,
/// and an exaggeration that is not above 0.
ORRIN_DISPLAY_API std::optional<ViewCamera> OrthoCamera(GLViewOrientation orientation, const ModelBox& box,
                                                        double zExaggeration, const glm::dvec2& size);
/// Looks from the eye to the target. An `up` along the line of sight is replaced, by +z or, looking that way, by +y.
/// Nothing for input as above, an eye at the target and an angle (the full one, in the viewport's height) that is not
/// between 0 and 180.
ORRIN_DISPLAY_API std::optional<ViewCamera> PerspectiveCamera(const glm::dvec3& eye, const glm::dvec3& target,
                                                              const glm::dvec3& up, double fovyDegrees,
                                                              const ModelBox& box, double zExaggeration,
                                                              const glm::dvec2& size);
/// Looks at the box's middle from the smallest distance at which the whole box is visible. The eye stands where
/// `azimuthDegrees` (from +y towards +x) and `elevationDegrees` (-90 to 90, above the horizon) point to from there.
ORRIN_DISPLAY_API std::optional<ViewCamera> PerspectiveCamera(const ModelBox& box, double azimuthDegrees,
                                                              double elevationDegrees, double fovyDegrees,
                                                              double zExaggeration, const glm::dvec2& size);

// Moves: the camera afterwards. Input that is not finite and factors that are not above 0 move nothing.

/// The picture follows the mouse, at the target's distance.
ORRIN_DISPLAY_API ViewCamera Panned(const ViewCamera& camera, double rightPixels, double downPixels);
/// `factor` above 1 comes closer; `place` keeps its pixel. Stops where rounding would begin to show, and where the
/// model is too small to be seen.
ORRIN_DISPLAY_API ViewCamera ZoomedAbout(const ViewCamera& camera, double factor, const glm::dvec3& place);
/// `place` comes to the middle, at the same distance.
ORRIN_DISPLAY_API ViewCamera Centred(const ViewCamera& camera, const glm::dvec3& place);
/// Shows the rectangle, as large as it fits. Nothing where it has no width or height or would not be sound.
ORRIN_DISPLAY_API std::optional<ViewCamera> Showing(const ViewCamera& camera, const ViewExtents& extents,
                                                    const glm::dvec2& size);
/// Only in perspective. The eye circles the target: positive azimuths lead it from north to east, positive elevations
/// upwards, as far as the pole, where azimuths go on turning the picture.
ORRIN_DISPLAY_API ViewCamera Orbited(const ViewCamera& camera, double azimuthDegrees, double elevationDegrees);
/// The same picture with another target. A place that is not in front of the eye is not taken.
ORRIN_DISPLAY_API ViewCamera WithTarget(const ViewCamera& camera, const glm::dvec3& place);

/// Whether the arithmetic holds: everything finite, and rounding well below a pixel.
ORRIN_DISPLAY_API bool IsSound(const ViewCamera& camera);

ORRIN_DISPLAY_API ViewExtents VisibleExtents(const ViewCamera& camera, const glm::dvec2& size);
/// Holds the box. In perspective it is as tight as box and eye allow and the farthest at most 20,000 times the nearest;
/// otherwise it holds the box however that is rotated about its middle.
ORRIN_DISPLAY_API DepthRange FindDepthRange(const ViewCamera& camera, const glm::dvec2& size);
ORRIN_DISPLAY_API glm::dmat4 ProjectionMatrix(const ViewCamera& camera, const glm::dvec2& size);
/// For vertices from which `offset` was subtracted.
ORRIN_DISPLAY_API glm::dmat4 ModelviewMatrix(const ViewCamera& camera, const glm::dvec2& offset);

/// Whole thousands near the box's middle. Subtracted, they leave the smallest floats that whole thousands can leave.
ORRIN_DISPLAY_API glm::dvec2 FindCoordinateOffsets(const ModelBox& box);
/// Whether floats relative to the offsets are within a thousandth of the coordinates everywhere in the box.
ORRIN_DISPLAY_API bool AreFloatsExact(const ModelBox& box, const glm::dvec2& offset);

/// Finite and with its low nowhere above its high.
ORRIN_DISPLAY_API bool IsBox(const ModelBox& box);

} // namespace KTR
