// What is drawn with the mouse in a viewer's window: the library's bands over the frame, and what comes of them.

#include "ViewerWindow.h"

#include "ViewerSession.h"
#include "drawing/WideText.h"
#include "map/Measure.h"

#include <algorithm>
#include <cmath>
#include <cwchar>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr GLRGBAColor kLineColor{255, 255, 255, 255};
constexpr GLRGBAColor kProfileColor{255, 210, 60, 255};
constexpr GLRGBAColor kFillColor{120, 180, 255, 50};
constexpr double kCornerPixels = 8.0; ///< from a corner that can be taken hold of
constexpr double kFewestPixels = 4.0; ///< of a rectangle that is no click that slipped

/// Of a pixel, so that upright and level lines are sharp.
PointXY MiddleOf(POINT cursor) {
    return {cursor.x + 0.5, cursor.y + 0.5};
}

} // namespace

void ViewerWindow::SetTool(Tool tool) {
    CancelBand();
    m_tool = tool;
    SetCursorShape();
    RedrawOverlays();
}

ViewerWindow::BandUse ViewerWindow::BandOfTool() const {
    switch (m_tool) {
    case Tool::MeasureArea:
        return BandUse::Area;
    case Tool::DrawProfile:
        return BandUse::Profile;
    default:
        return BandUse::Length;
    }
}

void ViewerWindow::AddBandPlace(BandUse band, const Position& place, POINT cursor) {
    if (m_band == BandUse::None) {
        BeginBand(band, place, cursor);
        return;
    }
    m_bandPlaces.push_back(place);
    m_bandEnd = place;
    m_view->AddRubberBandPoint(MiddleOf(cursor).x, MiddleOf(cursor).y);
}

void ViewerWindow::BeginBand(BandUse band, const Position& place, POINT cursor) {
    m_band = BandUse::None; // until it has begun
    m_measured.reset();
    KTR::GLRubberBandStyle style;
    const bool isProfile = band == BandUse::Profile || band == BandUse::ProfileCorner;
    style.color = isProfile ? kProfileColor : kLineColor;
    style.widthPixels = (isProfile ? 2.0 : 1.0) * Scale();
    style.casingPixels *= Scale();
    style.fillColor = kFillColor;
    style.text = band == BandUse::Zoom ? nullptr : &WriteBandText;
    style.context = this;
    m_view->SetRubberBandStyle(style);
    const KTR::GLRubberBandTypes type = band == BandUse::Zoom            ? KTR::GLRubberBandRectangle
                                        : band == BandUse::Area          ? KTR::GLRubberBandPolygon
                                        : band == BandUse::ProfileCorner ? KTR::GLRubberBandLine
                                                                         : KTR::GLRubberBandLineString;
    long begun = m_view->BeginRubberBand(type, MiddleOf(cursor).x, MiddleOf(cursor).y);
    if (begun == S_FALSE) {
        // There is no frame to draw it over.
        Redraw();
        DrawFrame();
        begun = m_view->BeginRubberBand(type, MiddleOf(cursor).x, MiddleOf(cursor).y);
    }
    if (begun != S_OK) {
        return;
    }
    m_band = band;
    m_bandPlaces = {place};
    m_bandEnd = place;
    SetCursorShape();
}

/// Takes hold of a corner of the profile's line where one is near.
bool ViewerWindow::TakeProfileCorner(POINT cursor) {
    const ProfileWindow* const profile = m_session.GetProfile();
    if (!profile || m_tool != Tool::Look || !IsMap()) {
        return false;
    }
    const std::vector<Position>& corners = profile->GetBand().corners;
    for (std::size_t index = 0; index < corners.size(); ++index) {
        const PixelPlace place = PlaceOf(corners[index]);
        if (std::hypot(place.x - cursor.x, place.y - cursor.y) <= kCornerPixels * Scale()) {
            const Position& neighbour = corners[index == 0 ? 1 : index - 1];
            const PixelPlace from = PlaceOf(neighbour);
            m_takenCorner = index;
            BeginBand(BandUse::ProfileCorner, neighbour,
                      {static_cast<LONG>(std::lround(from.x)), static_cast<LONG>(std::lround(from.y))});
            return m_band != BandUse::None;
        }
    }
    return false;
}

void ViewerWindow::MoveBand(POINT cursor) {
    m_bandEnd = m_band == BandUse::Zoom ? std::nullopt : FindPositionUnder(cursor);
    m_view->MoveRubberBand(MiddleOf(cursor).x, MiddleOf(cursor).y);
}

void ViewerWindow::ReplayBand() {
    m_bandIsOld = false; // first: beginning a band may draw a frame
    if (m_band == BandUse::Zoom) {
        BeginBand(BandUse::Zoom, {}, m_pressed); // its corner is a place of the window
        if (m_cursor) {
            MoveBand(*m_cursor);
        }
        return;
    }
    const BandUse band = m_band;
    const std::vector<Position> places = m_bandPlaces;
    for (const Position& place : places) {
        const PixelPlace client = PlaceOf(place);
        const POINT cursor{static_cast<LONG>(std::lround(client.x)), static_cast<LONG>(std::lround(client.y))};
        if (&place == &places.front()) {
            BeginBand(band, place, cursor);
        } else {
            AddBandPlace(band, place, cursor);
        }
    }
    if (m_cursor) {
        MoveBand(*m_cursor);
    }
}

void ViewerWindow::TakeBandPlaceBack() {
    if (m_bandPlaces.size() < 2) {
        CancelBand();
        return;
    }
    m_bandPlaces.pop_back();
    ReplayBand();
}

/// With the place under the mouse: what is seen is what is taken.
void ViewerWindow::FinishBandHere() {
    const int count = m_view->GetRubberBandPoints(static_cast<PointXY*>(nullptr), 0);
    std::vector<PointXY> points(static_cast<std::size_t>(count));
    m_view->GetRubberBandPoints(points.data(), count);
    const PointXY& before = points[points.size() - 2]; // a band has two points from its beginning on
    const PointXY& here = points.back();
    const bool isElsewhere = std::hypot(here.x - before.x, here.y - before.y) >= kFewestPixels * Scale();
    if (isElsewhere && m_bandEnd) {
        m_bandPlaces.push_back(*m_bandEnd);
    }
    FinishBand();
}

void ViewerWindow::FinishBand() {
    const bool isWorthIt = m_band == BandUse::Zoom ? IsWorthZooming() : m_bandPlaces.size() > 1;
    const BandUse band = std::exchange(m_band, BandUse::None);
    PointXY corners[2] = {};
    m_view->GetRubberBandPoints(corners, 2);
    m_view->EndRubberBand(false);
    m_bandIsOld = false;
    SetCursorShape();
    if (!isWorthIt) {
        return;
    }
    switch (band) {
    case BandUse::Zoom:
        m_view->ZoomToClientRectangle(corners[0].x, corners[0].y, corners[1].x, corners[1].y);
        m_isNavigated = true;
        Redraw();
        break;
    case BandUse::Length:
    case BandUse::Area:
        FinishMeasuring(band == BandUse::Area);
        break;
    case BandUse::Profile:
        FinishProfile();
        break;
    case BandUse::ProfileCorner:
        FinishProfileCorner();
        break;
    case BandUse::None:
        break;
    }
}

void ViewerWindow::CancelBand() {
    if (m_band != BandUse::None) {
        m_band = BandUse::None;
        m_view->EndRubberBand(false);
    }
    m_bandEndsWithButton = false;
    m_bandIsOld = false;
    SetCursorShape();
}

void ViewerWindow::FinishMeasuring(bool isArea) {
    m_measured = Measured{isArea, m_bandPlaces};
    RedrawOverlays();
}

void ViewerWindow::FinishProfile() {
    m_tool = Tool::Look;
    SetCursorShape();
    m_session.ShowProfile(m_bandPlaces, m_window);
}

void ViewerWindow::FinishProfileCorner() {
    ProfileWindow* const profile = m_session.GetProfile();
    if (!profile || m_takenCorner >= profile->GetBand().corners.size()) {
        return;
    }
    std::vector<Position> corners = profile->GetBand().corners;
    corners[m_takenCorner] = m_bandPlaces.back();
    profile->SetCorners(std::move(corners));
}

bool ViewerWindow::IsWorthZooming() const {
    PointXY corners[2] = {};
    m_view->GetRubberBandPoints(corners, 2);
    const double fewest = kFewestPixels * Scale();
    return std::fabs(corners[1].x - corners[0].x) >= fewest && std::fabs(corners[1].y - corners[0].y) >= fewest;
}

std::string ViewerWindow::DescribeBand() const {
    std::vector<Position> places = m_bandPlaces;
    if (m_bandEnd) {
        places.push_back(*m_bandEnd);
    }
    const MapUnits units = m_scene.GetUnits();
    return m_band == BandUse::Area ? DescribeArea(units, places) : DescribePath(units, places);
}

void ViewerWindow::WriteBandText(const PointXY* /*points*/, int /*count*/, wchar_t* text, int capacity, void* context) {
    // The places are known better than from the pixels: with heights, and in perspective.
    const std::wstring wanted = WideText(static_cast<const ViewerWindow*>(context)->DescribeBand());
    std::wcsncpy(text, wanted.c_str(), static_cast<std::size_t>(capacity) - 1);
}

} // namespace OrrinViewer
