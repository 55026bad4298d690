#include "../view/OpenGLView.h"

#include "../view/ViewAccess.h"
#include "../view/ViewVolume.h"

namespace KTR {

namespace {

glm::dvec3 VectorOf(const PointXYZ& point) {
    return {point.x, point.y, point.z};
}

} // namespace

long COpenGLView::SetUpPerspectiveScene(const PointXYZ& eye, const PointXYZ& target, const PointXYZ& up,
                                        double fovyDegrees, const PointXYZ& low, const PointXYZ& high,
                                        double zExaggeration) {
    return ChangeViewOrRefuse(*this, PerspectiveCamera(VectorOf(eye), VectorOf(target), VectorOf(up), fovyDegrees,
                                                       {VectorOf(low), VectorOf(high)}, zExaggeration,
                                                       FindViewportSize(*this)));
}

long COpenGLView::SetUpPerspectiveFromModelExtents(const PointXYZ& low, const PointXYZ& high, double azimuthDegrees,
                                                   double elevationDegrees, double fovyDegrees, double zExaggeration) {
    return ChangeViewOrRefuse(*this,
                              PerspectiveCamera({VectorOf(low), VectorOf(high)}, azimuthDegrees, elevationDegrees,
                                                fovyDegrees, zExaggeration, FindViewportSize(*this)));
}

void COpenGLView::OrbitBy(double azimuthDegrees, double elevationDegrees) {
    const ViewCamera& camera = CurrentRecord().camera;
    if (camera.IsPerspective()) {
        ChangeView(*this, Orbited(camera, azimuthDegrees, elevationDegrees));
    }
}

void COpenGLView::DollyBy(double factor) {
    const ViewCamera& camera = CurrentRecord().camera;
    if (camera.IsPerspective()) {
        ChangeView(*this, ZoomedAbout(camera, factor, camera.target));
    }
}

bool COpenGLView::SetTargetFromScene(int clientX, int clientY) {
    ViewCamera& camera = CurrentRecord().camera;
    const std::optional<glm::dvec3> place = FindPlaceOnScene(*this, clientX, clientY);
    if (!place) {
        return false;
    }
    // The picture stays: that is no step for the history, and a kept frame is one of this camera too.
    const ViewCamera moved = WithTarget(camera, *place);
    if (m_backingStoreFrame.camera == camera) {
        m_backingStoreFrame.camera = moved;
    }
    camera = moved;
    LoadViewMatrices();
    return true;
}

} // namespace KTR
