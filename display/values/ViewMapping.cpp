#include "ViewMapping.h"

#include <glm/geometric.hpp>

#include <cmath>

namespace KTR {

namespace {

constexpr double kFarthestClient = 1e300;

bool IsFinite(const glm::dvec3& place) {
    return std::isfinite(place.x) && std::isfinite(place.y) && std::isfinite(place.z);
}

std::optional<glm::dvec3> IfFinite(const glm::dvec3& place) {
    return IsFinite(place) ? std::optional(place) : std::nullopt;
}

} // namespace

ViewMapping::ViewMapping(const ViewCamera& camera, const glm::dvec4& viewport, double clientHeight)
    : m_camera(camera), m_axes(camera.Axes()) {
    const glm::dvec2 size(viewport.z, viewport.w);
    m_usable = camera.IsSetUp() && size.x > 0.0 && size.y > 0.0 && IsSound(camera);
    if (!m_usable) {
        return;
    }
    m_depths = FindDepthRange(camera, size);
    m_targetDistance = camera.DistanceTo(camera.target);
    m_middle = {viewport.x + size.x * 0.5, clientHeight - viewport.y - size.y * 0.5};
    const glm::dvec3 aside = camera.Exaggerate(camera.target - camera.eye);
    m_targetAside = {glm::dot(m_axes.right, aside), glm::dot(m_axes.up, aside)};
    const double pixelsPerUnit = 1.0 / camera.unitsPerPixel;
    // In perspective a place is divided by its distance; at the target's it then has the camera's scale.
    const double scale = camera.IsPerspective() ? m_targetDistance * pixelsPerUnit : pixelsPerUnit;
    m_toRight = camera.Exaggerate(m_axes.right) * scale;
    m_toDown = camera.Exaggerate(m_axes.up) * -scale;
    m_toDistance = camera.Exaggerate(m_axes.forward);
    m_origin = camera.IsPerspective() ? camera.eye : camera.target;
    m_originClient = m_middle;
    if (!camera.IsPerspective()) {
        m_originClient += glm::dvec2(m_targetAside.x, -m_targetAside.y) * pixelsPerUnit;
    }
}

template <bool Perspective> inline bool ViewMapping::Map(const PointXYZ& place, PointXY& client) const {
    const double x = place.x - m_origin.x;
    const double y = place.y - m_origin.y;
    const double z = place.z - m_origin.z;
    double right = m_toRight.x * x + m_toRight.y * y + m_toRight.z * z;
    double down = m_toDown.x * x + m_toDown.y * y + m_toDown.z * z;
    if constexpr (Perspective) {
        const double distance = m_toDistance.x * x + m_toDistance.y * y + m_toDistance.z * z;
        if (!(distance > 0.0)) {
            return false;
        }
        const double share = 1.0 / distance;
        right *= share;
        down *= share;
    }
    if (!(std::abs(right) + std::abs(down) <= kFarthestClient)) {
        return false;
    }
    client = {m_originClient.x + right, m_originClient.y + down};
    return true;
}

template <bool Perspective>
std::size_t ViewMapping::MapAll(const PointXYZ* places, std::size_t count, PointXY* client, bool* hasImage) const {
    std::size_t images = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const bool isThere = Map<Perspective>(places[index], client[index]);
        images += isThere ? 1 : 0;
        if (hasImage) {
            hasImage[index] = isThere;
        }
    }
    return images;
}

bool ViewMapping::ToClient(const PointXYZ& place, PointXY& client) const {
    return ToClient(&place, 1, &client, nullptr) == 1;
}

std::size_t ViewMapping::ToClient(const PointXYZ* places, std::size_t count, PointXY* client, bool* hasImage) const {
    if (m_usable) {
        return m_camera.IsPerspective() ? MapAll<true>(places, count, client, hasImage)
                                        : MapAll<false>(places, count, client, hasImage);
    }
    for (std::size_t index = 0; hasImage && index < count; ++index) {
        hasImage[index] = false;
    }
    return 0;
}

/// From the target to the place of its plane that is seen there.
glm::dvec3 ViewMapping::OffsetFromTarget(double clientX, double clientY) const {
    const double right = (clientX - m_middle.x) * m_camera.unitsPerPixel - m_targetAside.x;
    const double up = (m_middle.y - clientY) * m_camera.unitsPerPixel - m_targetAside.y;
    return m_camera.Flatten(m_axes.right * right + m_axes.up * up);
}

std::optional<glm::dvec3> ViewMapping::OnTargetPlane(double clientX, double clientY) const {
    return m_usable ? IfFinite(m_camera.target + OffsetFromTarget(clientX, clientY)) : std::nullopt;
}

double ViewMapping::DistanceOfDepth(double depth) const {
    const auto [nearest, farthest] = m_depths;
    return m_camera.IsPerspective() ? nearest * farthest / (farthest - depth * (farthest - nearest))
                                    : nearest + depth * (farthest - nearest);
}

std::optional<glm::dvec3> ViewMapping::AtDepth(double clientX, double clientY, double depth) const {
    if (!(depth >= 0.0 && depth <= 1.0)) {
        return std::nullopt;
    }
    return AtDistance(clientX, clientY, DistanceOfDepth(depth));
}

std::optional<glm::dvec3> ViewMapping::AtDistance(double clientX, double clientY, double distance) const {
    if (!m_usable) {
        return std::nullopt;
    }
    const glm::dvec3 offset = OffsetFromTarget(clientX, clientY);
    if (m_camera.IsPerspective()) {
        const glm::dvec3 sight = m_camera.target - m_camera.eye + offset;
        return IfFinite(m_camera.eye + sight * (distance / m_targetDistance));
    }
    return IfFinite(m_camera.target + offset + m_camera.Flatten(m_axes.forward * (distance - m_targetDistance)));
}

std::optional<glm::dvec3> ViewMapping::AtHeight(double clientX, double clientY, double z) const {
    if (!m_usable) {
        return std::nullopt;
    }
    const glm::dvec3 offset = OffsetFromTarget(clientX, clientY);
    const bool perspective = m_camera.IsPerspective();
    const glm::dvec3 from = perspective ? m_camera.eye : m_camera.target;
    const glm::dvec3 way = perspective ? m_camera.target - m_camera.eye + offset : m_camera.Flatten(m_axes.forward);
    const glm::dvec3 aside = perspective ? glm::dvec3(0.0) : offset;
    const double steps = (z - from.z - aside.z) / way.z;
    if (way.z == 0.0 || (perspective && !(steps > 0.0))) {
        return std::nullopt;
    }
    glm::dvec3 place = from + (aside + way * steps);
    place.z = z;
    return IfFinite(place);
}

std::optional<PickRay> ViewMapping::RayAt(double clientX, double clientY) const {
    const std::optional<glm::dvec3> origin =
        m_camera.IsPerspective() ? m_camera.eye : AtDistance(clientX, clientY, 0.0);
    if (!m_usable || !origin) {
        return std::nullopt;
    }
    const glm::dvec3 way = m_camera.IsPerspective()
                               ? m_camera.target - m_camera.eye + OffsetFromTarget(clientX, clientY)
                               : m_camera.Flatten(m_axes.forward);
    const glm::dvec3 direction = glm::normalize(way);
    return IsFinite(direction) ? std::optional(PickRay{*origin, direction}) : std::nullopt;
}

} // namespace KTR
