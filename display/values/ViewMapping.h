#pragma once

#include "BasicTypes.h"
#include "ViewCamera.h"

#include <glm/vec4.hpp>

#include <cstddef>
#include <optional>

namespace KTR {

/// A line of sight: from `origin` in a unit `direction`, in true coordinates.
struct PickRay {
    glm::dvec3 origin;
    glm::dvec3 direction;
};

/// Between true coordinates and client coordinates (pixels from the client area's upper left, y downwards) of one
/// camera and one viewport.
///
/// Everything is computed relative to the eye or the target, so that nothing is rounded to the coordinates' own
/// resolution but the resulting place: at 4,500,000 a double is within half a millionth of a millimetre of what it
/// stands for, and so is the way there and back.
class ORRIN_DISPLAY_API ViewMapping {
public:
    /// `viewport` in window pixels from the lower left of a client area of `clientHeight` pixels. Without a camera that
    /// is set up nothing has an image.
    ViewMapping(const ViewCamera& camera, const glm::dvec4& viewport, double clientHeight);

    /// False, and `client` untouched, for a place at or behind the eye (in perspective) and one that is not finite.
    bool ToClient(const PointXYZ& place, PointXY& client) const;
    /// Of `count` places. Those without an image leave their `client` untouched and, where that is not null, their
    /// `hasImage` false. Returns how many have one.
    std::size_t ToClient(const PointXYZ* places, std::size_t count, PointXY* client, bool* hasImage) const;

    /// On the plane through the target that is parallel to the screen.
    std::optional<glm::dvec3> OnTargetPlane(double clientX, double clientY) const;
    /// `depth` as the depth buffer has it, 0 to 1.
    std::optional<glm::dvec3> AtDepth(double clientX, double clientY, double depth) const;
    /// Where the line of sight meets the height z, in perspective in front of the eye.
    std::optional<glm::dvec3> AtHeight(double clientX, double clientY, double z) const;
    /// In a parallel projection it begins in the eye's plane.
    std::optional<PickRay> RayAt(double clientX, double clientY) const;
    /// The distance of a depth from the eye, along the line of sight.
    double DistanceOfDepth(double depth) const;
    /// On the line of sight, at that distance from the eye's plane.
    std::optional<glm::dvec3> AtDistance(double clientX, double clientY, double distance) const;

private:
    template <bool Perspective> bool Map(const PointXYZ& place, PointXY& client) const;
    template <bool Perspective>
    std::size_t MapAll(const PointXYZ* places, std::size_t count, PointXY* client, bool* hasImage) const;
    glm::dvec3 OffsetFromTarget(double clientX, double clientY) const;

    ViewCamera m_camera;
    ScreenAxes m_axes;
    DepthRange m_depths;
    bool m_usable = false;
    double m_targetDistance = 1.0;
    glm::dvec2 m_middle{0.0};      ///< of the viewport, client coordinates
    glm::dvec2 m_targetAside{0.0}; ///< of the target from the line of sight, to the right and upwards
    // A place relative to the origin (the eye in perspective, else the target), times these, is its image.
    glm::dvec3 m_origin{0.0};
    glm::dvec3 m_toRight{0.0};
    glm::dvec3 m_toDown{0.0};
    glm::dvec3 m_toDistance{0.0};
    glm::dvec2 m_originClient{0.0};
};

} // namespace KTR
