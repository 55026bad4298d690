#include "ViewVolume.h"

#include "ViewAccess.h"

#include "../values/BoundedStack.h"

#include <algorithm>
#include <cmath>

namespace KTR {

namespace {

/// Assumed where nothing is known of the window.
constexpr glm::dvec2 kUsualSize(1024.0, 768.0);
/// What is drawn farther out than any window reaches is not asked for.
constexpr double kFarthestClient = 1e6;

ModelBox BoxOf(const PointXYZ& low, const PointXYZ& high) {
    return {{low.x, low.y, low.z}, {high.x, high.y, high.z}};
}

/// The view that is left, for PreviousView. Of the views that an open change passes through only the first counts.
void Remember(ViewHistory& history, const ViewCamera& camera) {
    if (history.isRemembered) {
        return;
    }
    PushOnBoundedStack(history.previous, camera);
    history.next = {};
    history.isRemembered = history.openChanges > 0;
}

/// What is seen there, on the line of sight: in perspective what is drawn, otherwise and without that the target's
/// plane.
std::optional<glm::dvec3> FindPlaceToZoomTo(COpenGLView& view, double clientX, double clientY) {
    const ViewCamera& camera = ViewAccess::CurrentRecord(view).camera;
    const ViewMapping mapping = MakeMapping(view);
    const bool isInReach = std::abs(clientX) < kFarthestClient && std::abs(clientY) < kFarthestClient;
    if (camera.IsPerspective() && isInReach) {
        const auto scene =
            FindPlaceOnScene(view, static_cast<int>(std::floor(clientX)), static_cast<int>(std::floor(clientY)));
        if (scene) {
            return mapping.AtDistance(clientX, clientY, camera.DistanceTo(*scene));
        }
    }
    return mapping.OnTargetPlane(clientX, clientY);
}

/// Shows the view on top of one stack and puts the present one on the other.
bool StepInHistory(COpenGLView& view, CircularCameraStack& from, CircularCameraStack& to) {
    GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    ViewCamera camera;
    if (!PopFromBoundedStack(from, camera)) {
        return false;
    }
    PushOnBoundedStack(to, record.camera);
    record.camera = camera;
    view.LoadViewMatrices();
    return true;
}

} // namespace

glm::dvec2 FindViewportSize(const COpenGLView& view) {
    const glm::dvec4 viewport = view.GetViewport();
    if (viewport.z > 0.0 && viewport.w > 0.0) {
        return {viewport.z, viewport.w};
    }
    int width = 0;
    int height = 0;
    view.GetWindowDimensions(width, height);
    return width > 0 && height > 0 ? glm::dvec2(width, height) : kUsualSize;
}

double FindClientHeight(const COpenGLView& view) {
    const glm::dvec4 viewport = view.GetViewport();
    int width = 0;
    int height = 0;
    view.GetWindowDimensions(width, height);
    return std::max(static_cast<double>(height), viewport.y + viewport.w);
}

ViewMapping MakeMapping(const COpenGLView& view) {
    return ViewMapping(ViewAccess::CurrentRecord(view).camera, view.GetViewport(), FindClientHeight(view));
}

bool AreViewMatricesLoaded(const COpenGLView& view) {
    const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    return record.camera.IsSetUp() && matrices.modelview == record.loadedView.modelview &&
           matrices.projection == record.loadedView.projection;
}

void ReloadViewMatrices(COpenGLView& view) {
    const unsigned int mode = ViewAccess::CurrentRecord(view).attributes.matrixMode;
    view.LoadViewMatrices();
    if (mode != GL_MODELVIEW) {
        view.MatrixMode(mode);
    }
}

void ChangeView(COpenGLView& view, const ViewCamera& camera) {
    GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    if (camera == record.camera) {
        return;
    }
    if (record.camera.IsSetUp()) {
        Remember(record.viewHistory, record.camera);
    }
    record.camera = camera;
    view.LoadViewMatrices();
}

long ChangeViewOrRefuse(COpenGLView& view, const std::optional<ViewCamera>& camera) {
    if (!camera) {
        return E_INVALIDARG;
    }
    ChangeView(view, *camera);
    if (!AreViewMatricesLoaded(view)) {
        view.LoadViewMatrices(); // the same view again, after others were drawn with
    }
    return S_OK;
}

long COpenGLView::SetUpOrthoFromModelExtents(GLViewOrientation orientation, const PointXYZ& low, const PointXYZ& high,
                                             double zExaggeration) {
    return ChangeViewOrRefuse(*this,
                              OrthoCamera(orientation, BoxOf(low, high), zExaggeration, FindViewportSize(*this)));
}

long COpenGLView::SetViewModelExtents(const PointXYZ& low, const PointXYZ& high) {
    const ModelBox box = BoxOf(low, high);
    if (!IsBox(box)) {
        return E_INVALIDARG;
    }
    GLRenderingContextRecord& record = CurrentRecord();
    if (!record.camera.IsSetUp() || record.camera.orientation == GLViewOrientationProfile) {
        return S_FALSE;
    }
    const bool isLoaded = AreViewMatricesLoaded(*this);
    record.camera.model = box;
    for (CircularCameraStack* const stack : {&record.viewHistory.previous, &record.viewHistory.next}) {
        for (ViewCamera& camera : stack->entries) {
            camera.model = camera.orientation == GLViewOrientationProfile ? camera.model : box;
        }
    }
    if (isLoaded) {
        ReloadViewMatrices(*this);
    }
    return S_OK;
}

void COpenGLView::LoadViewMatrices() {
    GLRenderingContextRecord& record = CurrentRecord();
    if (!record.camera.IsSetUp()) {
        return;
    }
    const glm::dvec2 size = FindViewportSize(*this);
    // The offsets are of the map, which a profile's stations are not.
    const glm::dvec2 offsets = record.camera.orientation == GLViewOrientationProfile
                                   ? glm::dvec2(0.0)
                                   : glm::dvec2(record.coordinateOffsetX, record.coordinateOffsetY);
    record.loadedView = {VisibleExtents(record.camera, size), ProjectionMatrix(record.camera, size),
                         ModelviewMatrix(record.camera, offsets)};
    MatrixMode(GL_PROJECTION);
    ReplaceCurrentMatrix(record.loadedView.projection);
    MatrixMode(GL_MODELVIEW);
    ReplaceCurrentMatrix(record.loadedView.modelview);
}

void COpenGLView::GetViewExtents(double& left, double& bottom, double& right, double& top) const {
    const ViewExtents visible = VisibleExtents(CurrentRecord().camera, FindViewportSize(*this));
    left = visible.left;
    bottom = visible.bottom;
    right = visible.right;
    top = visible.top;
}

long COpenGLView::SetViewExtents(double left, double bottom, double right, double top) {
    return ChangeViewOrRefuse(*this,
                              Showing(CurrentRecord().camera, {left, bottom, right, top}, FindViewportSize(*this)));
}

double COpenGLView::GetUnitsPerPixel() const {
    return CurrentRecord().camera.unitsPerPixel;
}

void COpenGLView::Pan(double rightPixels, double downPixels) {
    const ViewCamera& camera = CurrentRecord().camera;
    if (camera.IsSetUp()) {
        ChangeView(*this, Panned(camera, rightPixels, downPixels));
    }
}

void COpenGLView::ZoomAbout(double factor, double clientX, double clientY) {
    GLRenderingContextRecord& record = CurrentRecord();
    // Several steps of a wheel may come between two frames. Until the next one is drawn, what is there is known only
    // from before the first step.
    ZoomFocus& focus = record.zoomFocus;
    const bool goesOn = focus.clientX == clientX && focus.clientY == clientY && focus.camera == record.camera;
    const auto place = goesOn ? std::optional(focus.place) : FindPlaceToZoomTo(*this, clientX, clientY);
    if (!place) {
        return;
    }
    ChangeView(*this, ZoomedAbout(record.camera, factor, *place));
    focus = {clientX, clientY, *place, record.camera};
}

long COpenGLView::ZoomToClientRectangle(double x0, double y0, double x1, double y1) {
    const double width = std::abs(x1 - x0);
    const double height = std::abs(y1 - y0);
    const auto place = FindPlaceToZoomTo(*this, (x0 + x1) * 0.5, (y0 + y1) * 0.5);
    if (!place || !(width > 0.0) || !(height > 0.0)) {
        return E_INVALIDARG;
    }
    const glm::dvec2 size = FindViewportSize(*this);
    const ViewCamera centred = Centred(CurrentRecord().camera, *place);
    ChangeView(*this, ZoomedAbout(centred, std::min(size.x / width, size.y / height), *place));
    return S_OK;
}

void COpenGLView::BeginViewChange() {
    ++CurrentRecord().viewHistory.openChanges;
}

void COpenGLView::EndViewChange() {
    ViewHistory& history = CurrentRecord().viewHistory;
    history.openChanges = std::max(history.openChanges - 1, 0);
    if (history.openChanges == 0) {
        history.isRemembered = false;
    }
}

bool COpenGLView::PreviousView() {
    ViewHistory& history = CurrentRecord().viewHistory;
    return StepInHistory(*this, history.previous, history.next);
}

bool COpenGLView::NextView() {
    ViewHistory& history = CurrentRecord().viewHistory;
    return StepInHistory(*this, history.next, history.previous);
}

long COpenGLView::ChooseCoordinateOffsets(const PointXYZ& low, const PointXYZ& high) {
    const ModelBox box = BoxOf(low, high);
    if (!IsBox(box)) {
        return E_INVALIDARG;
    }
    const glm::dvec2 offsets = FindCoordinateOffsets(box);
    SetCurrentCoordinateOffsets(offsets.x, offsets.y);
    return AreFloatsExact(box, offsets) ? S_OK : S_FALSE;
}

} // namespace KTR
