// What a click in a viewer's window picks, and the mark on it.

#include "ViewerWindow.h"

#include "ViewerSession.h"
#include "drawing/PickMark.h"

#include <cmath>

namespace OrrinViewer {

/// How the view shows positions at present, in pixels of a usual screen. Nothing is seen before the view is set up.
PickCamera ViewerWindow::DescribeCamera() const {
    constexpr double kFar = 1024.0; // pixels; the farther, the more digits a pixel has
    Position corner;
    Position right;
    Position down;
    PointXYZ origin;
    PointXYZ direction;
    const bool isSetUp = m_view->Client2RealWorld(0.0, 0.0, corner.x, corner.y, corner.z) &&
                         m_view->Client2RealWorld(kFar, 0.0, right.x, right.y, right.z) &&
                         m_view->Client2RealWorld(0.0, kFar, down.x, down.y, down.z) &&
                         m_view->GetPickRay(0.0, 0.0, origin, direction);
    if (!isSetUp) {
        return {};
    }
    const auto step = [&corner, steps = kFar / Scale()](const Position& there) {
        return Position{(there.x - corner.x) / steps, (there.y - corner.y) / steps, (there.z - corner.z) / steps};
    };
    if (m_view->IsPerspectiveSideView()) {
        return PickCamera::Perspective(corner, step(right), step(down), {origin.x, origin.y, origin.z});
    }
    return PickCamera::Parallel(corner, step(right), step(down), {direction.x, direction.y, direction.z});
}

/// A click: what lies there, or the next thing there when it was clicked before.
void ViewerWindow::PickAt(POINT cursor) {
    if (m_pickIsHere && IsNear(cursor, m_picked) && m_session.GetPicking().GetThing()) {
        m_session.StepPick(true);
        return;
    }
    PickedPlace place;
    place.beam.camera = DescribeCamera();
    place.beam.x = (cursor.x + 0.5) / Scale();
    place.beam.y = (cursor.y + 0.5) / Scale();
    place.place = FindPositionUnder(cursor);
    m_scene.SetScreenScale(Scale());
    place.pointSizePixels = m_scene.FindPointSize(*m_view);
    m_session.Pick(place);
    m_picked = cursor;
    m_pickIsHere = true;
    SetTimer(m_window, kTimer, kTimerMilliseconds, nullptr); // for a point that is searched
}

void ViewerWindow::DrawPicked(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context) {
    auto& own = *static_cast<ViewerWindow*>(context);
    const PickedThing* const thing = own.m_session.GetPicking().GetThing();
    const VectorLayer* const layer = thing && thing->feature ? own.m_scene.FindFeatures(thing->layer) : nullptr;
    const MarkedWindow window{own.DescribeCamera(), own.Scale(), own.m_width, own.m_height};
    if (layer && *thing->feature < layer->features.size()) {
        DrawFeatureMark(view, layer->features[*thing->feature], own.m_scene.FindHeights(thing->layer), window);
    } else if (thing && thing->point) {
        DrawPointMark(view, *thing->point, window);
    } else {
        covered = {};
    }
    // Otherwise the whole window stays covered: it is drawn once, not with each move of something else.
}

} // namespace OrrinViewer
