#include "../view/OpenGLView.h"

#include "../overlay/ClientDrawing.h"
#include "../platform/Border.h"
#include "../platform/LockScope.h"
#include "../shapes/ShapeStyles.h"
#include "../view/ViewAccess.h"
#include "../view/ViewVolume.h"
#include "ProfileState.h"
#include "RoundSteps.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cwchar>
#include <limits>
#include <new>
#include <string>
#include <utility>

namespace KTR {

namespace {

constexpr int kCursorOrder = INT_MAX; // over all overlays of the host
constexpr GLRGBAColor kCursorColor{255, 210, 60, 255};
constexpr GLRGBAColor kCursorCasing{0, 0, 0, 160};
constexpr GLRGBAColor kBandColor{255, 210, 60, 120};
constexpr double kLabelGap = 4.0;
constexpr double kLabelHeight = 14.0;

/// Profiles and the views that show their cursors. They are used on the thread of both views; the lock is for views of
/// other threads, which may go at any time.
struct ProfileLink {
    COpenGLView* profile = nullptr;
    COpenGLView* map = nullptr;
    int overlay = 0; ///< of the map's
};

class ProfileLinks {
public:
    void Add(const ProfileLink& link) {
        const LockScope locked(m_lock);
        m_links.push_back(link);
    }
    std::vector<ProfileLink> Of(const COpenGLView& view) {
        const LockScope locked(m_lock);
        std::vector<ProfileLink> links;
        std::ranges::copy_if(m_links, std::back_inserter(links),
                             [&](const ProfileLink& link) { return link.profile == &view || link.map == &view; });
        return links;
    }
    /// Removes the first link that is as wanted. One without views when there is none.
    template <typename Wanted> ProfileLink Take(Wanted wanted) {
        const LockScope locked(m_lock);
        const auto found = std::ranges::find_if(m_links, wanted);
        if (found == m_links.end()) {
            return {};
        }
        const ProfileLink taken = *found;
        m_links.erase(found);
        return taken;
    }

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
    std::vector<ProfileLink> m_links;
};

ProfileLinks& Links() {
    static ProfileLinks links;
    return links;
}

ProfileState* ProfileOf(COpenGLView& view) {
    return ViewAccess::Profile(view).get();
}

/// Looks at the unrolled band: x is the station, y the offset, z the height.
long ShowBand(COpenGLView& view, ProfileState& profile) {
    const HeightRange heights = profile.heights.IsEmpty() ? HeightRange{0.0, 1.0} : profile.heights;
    const ModelBox box{{0.0, -profile.line.HalfWidth(), heights.low},
                       {profile.line.Length(), profile.line.HalfWidth(), heights.high}};
    const glm::dvec2 size = FindViewportSize(view);
    double exaggeration = profile.zExaggeration;
    if (!(exaggeration > 0.0)) {
        // Heights take as much of the window as the line does.
        const double range = heights.high - heights.low;
        exaggeration = range > 0.0 ? box.high.x * size.y / (size.x * range) : 1.0;
    }
    std::optional<ViewCamera> camera = OrthoCamera(GLViewOrientationFront, box, exaggeration, size);
    if (camera) {
        camera->orientation = GLViewOrientationProfile;
    }
    return ChangeViewOrRefuse(view, camera);
}

std::wstring NumberText(double value, int decimals, const wchar_t* unit) {
    wchar_t text[64] = {};
    _snwprintf(text, std::size(text) - 1, L"%.*f", decimals, value);
    std::wstring result = text;
    if (unit && *unit) {
        result += L' ';
        result += unit;
    }
    return result;
}

/// Digits that tell pixels apart.
int DecimalsOf(double unitsPerPixel) {
    return unitsPerPixel > 0.0 ? static_cast<int>(std::clamp(std::ceil(-std::log10(unitsPerPixel)), 0.0, 6.0)) : 2;
}

GLLineStyle ThinLine(const GLRGBAColor& color) {
    GLLineStyle style;
    style.color = color;
    style.width = 1.0;
    return style;
}

GLLineStyle CursorLine() {
    GLLineStyle style = ThinLine(kCursorColor);
    style.casingWidth = 3.0;
    style.casingColor = kCursorCasing;
    return style;
}

/// The middle of a pixel, where a line one pixel wide is sharp.
double Sharp(double client) {
    return std::floor(client) + 0.5;
}

/// The cross-hair with both values, in the profile itself.
void DrawCursor(COpenGLView& view, GLCoveredArea& covered, void* /*context*/) {
    covered = {};
    const ProfileState* const profile = ShownProfile(view);
    if (!profile || !profile->cursor) {
        return;
    }
    const ProfileCursor& cursor = *profile->cursor;
    PointXY client;
    if (!MakeMapping(view).ToClient({cursor.station, 0.0, cursor.height}, client)) {
        return;
    }
    ClientDrawing drawing(view);
    const double x = Sharp(client.x);
    const double y = Sharp(client.y);
    drawing.DrawLine({{x, 0.0}, {x, static_cast<double>(drawing.Height())}}, false, CursorLine());
    drawing.DrawLine({{0.0, y}, {static_cast<double>(drawing.Width()), y}}, false, CursorLine());
    const int decimals = DecimalsOf(view.GetUnitsPerPixel());
    const std::wstring text =
        NumberText(cursor.station, decimals, nullptr) + L"  " +
        NumberText(cursor.height,
                   DecimalsOf(view.GetUnitsPerPixel() / ViewAccess::CurrentRecord(view).camera.zExaggeration), nullptr);
    const double width = drawing.WidthOf(text);
    const double textX =
        x + 2.0 * kLabelGap + width < drawing.Width() ? x + 2.0 * kLabelGap : x - 2.0 * kLabelGap - width;
    drawing.DrawString(text, std::max(textX, kLabelGap),
                       y > 2.0 * kLabelHeight ? y - 2.0 * kLabelGap : y + kLabelHeight, kCursorColor);
    covered = {0.0, 0.0, static_cast<double>(drawing.Width()), static_cast<double>(drawing.Height())};
}

/// The line with its band and the cursor's place on it, in a map or a scene.
void DrawOnMap(COpenGLView& view, GLCoveredArea& covered, void* context) {
    covered = {};
    const ProfileState* const profile = ProfileOf(*static_cast<COpenGLView*>(context));
    if (!profile || profile->line.IsEmpty()) {
        return;
    }
    covered = {0.0, 0.0, 1e9, 1e9};
    const double height = profile->cursor ? profile->cursor->height : profile->heights.low;
    const double z = std::isfinite(height) ? height : 0.0;
    view.LoadViewMatrices();
    std::vector<PointXYZ> places;
    for (const PointXY& corner : profile->line.Corners()) {
        places.push_back({corner.x, corner.y, z});
    }
    GLLineStyle band = ThinLine(kBandColor);
    band.unit = GLSizeModelUnits;
    band.width = 2.0 * profile->line.HalfWidth();
    band.opacity = 0.35;
    view.DrawLineString(places.data(), static_cast<int>(places.size()), band);
    GLLineStyle line = CursorLine();
    line.width = 2.0;
    line.casingWidth = 4.0;
    view.DrawLineString(places.data(), static_cast<int>(places.size()), line);
    PointXY place;
    if (profile->cursor && profile->line.PointAt(profile->cursor->station, place)) {
        GLLineStyle dot = CursorLine();
        dot.cap = GLLineCapRound;
        dot.width = 9.0;
        dot.casingWidth = 13.0;
        const PointXYZ middle{place.x, place.y, z};
        view.DrawLineString(&middle, 1, dot);
    }
}

/// Makes the context that was current so again.
class CurrentContextScope {
public:
    CurrentContextScope() : m_deviceContext(wglGetCurrentDC()), m_context(wglGetCurrentContext()) {}
    ~CurrentContextScope() {
        if (wglGetCurrentContext() != m_context) {
            wglMakeCurrent(m_deviceContext, m_context);
        }
    }
    CurrentContextScope(const CurrentContextScope&) = delete;
    CurrentContextScope& operator=(const CurrentContextScope&) = delete;

private:
    HDC m_deviceContext;
    HGLRC m_context;
};

/// Has the profile and the views linked to it show the cursor. The first result that is not S_OK.
long ShowCursor(COpenGLView& view) {
    long result = S_OK;
    const CurrentContextScope current;
    for (const ProfileLink& link : Links().Of(view)) {
        if (link.profile == &view) {
            const long shown = link.map->RedrawOverlays();
            result = result == S_OK ? shown : result;
        }
    }
    const long shown = view.RedrawOverlays();
    return shown == S_OK ? result : shown;
}

/// Shapes that are drawn together, at the latest when this goes.
class OpenShapes {
public:
    explicit OpenShapes(COpenGLView& view) : m_view(&view) { m_view->BeginShapes(); }
    ~OpenShapes() { Draw(); }
    OpenShapes(const OpenShapes&) = delete;
    OpenShapes& operator=(const OpenShapes&) = delete;

    void Draw() {
        if (m_view) {
            std::exchange(m_view, nullptr)->EndShapes();
        }
    }

private:
    COpenGLView* m_view;
};

void DrawGrid(COpenGLView& view, const ProfileState& profile, const GLProfileGridStyle& style) {
    const ViewMapping mapping = MakeMapping(view);
    const double exaggeration = ViewAccess::CurrentRecord(view).camera.zExaggeration;
    const double spacing = std::clamp(std::isnan(style.spacingPixels) ? 80.0 : style.spacingPixels, 20.0, 1000.0);
    const double across = view.GetUnitsPerPixel();
    double left = 0.0;
    double bottom = 0.0;
    double right = 0.0;
    double top = 0.0;
    view.GetViewExtents(left, bottom, right, top);
    const double length = profile.line.Length();
    ClientDrawing drawing(view);
    const double lowest = static_cast<double>(drawing.Height()) - kLabelGap;
    const auto clientOf = [&](double station, double height) {
        PointXY client;
        mapping.ToClient({station, 0.0, height}, client);
        return client;
    };
    OpenShapes shapes(view);
    const RoundSteps heights =
        FindRoundSteps(bottom / exaggeration, top / exaggeration, spacing * across / exaggeration);
    const RoundSteps stations = FindRoundSteps(std::max(left, 0.0), std::min(right, length), spacing * across);
    const double begin = clientOf(0.0, 0.0).x;
    const double end = clientOf(length, 0.0).x;
    for (int index = 0; index < heights.count; ++index) {
        const double y = Sharp(clientOf(0.0, heights.At(index)).y);
        drawing.DrawLine({{begin, y}, {end, y}}, false, ThinLine(style.lineColor));
    }
    for (int index = 0; index < stations.count; ++index) {
        const double x = Sharp(clientOf(stations.At(index), 0.0).x);
        drawing.DrawLine({{x, 0.0}, {x, lowest}}, false, ThinLine(style.lineColor));
    }
    GLLineStyle corner = ThinLine(style.cornerColor);
    corner.dashes = {6.0, 4.0};
    double before = -1.0;
    for (std::size_t index = 0; index < profile.line.Corners().size(); ++index) {
        const double x = Sharp(clientOf(profile.line.StationOfCorner(index), 0.0).x);
        if (x != before && x >= 0.0 && x <= drawing.Width()) {
            drawing.DrawLine({{x, 0.0}, {x, lowest}}, false, corner);
            before = x; // the stations ascend: those of one pixel stand together
        }
    }
    shapes.Draw();
    for (int index = 0; index < heights.count; ++index) {
        const double y = clientOf(0.0, heights.At(index)).y;
        if (y > kLabelHeight && y < lowest - kLabelHeight) {
            drawing.DrawString(NumberText(heights.At(index), heights.decimals, style.unit),
                               std::max(begin, 0.0) + kLabelGap, y - kLabelGap, style.textColor);
        }
    }
    for (int index = 0; index < stations.count; ++index) {
        drawing.DrawString(NumberText(stations.At(index), stations.decimals, style.unit),
                           clientOf(stations.At(index), 0.0).x + kLabelGap, lowest, style.textColor);
    }
}

} // namespace

const ProfileState* ShownProfile(const COpenGLView& view) {
    const ProfileState* const profile = ViewAccess::Profile(view).get();
    return profile && !profile->line.IsEmpty() && view.GetCurrentViewOrientation() == GLViewOrientationProfile
               ? profile
               : nullptr;
}

void ForgetProfileLinks(const COpenGLView& view) {
    const auto isOfView = [&view](const ProfileLink& link) { return link.profile == &view || link.map == &view; };
    for (ProfileLink link = Links().Take(isOfView); link.map; link = Links().Take(isOfView)) {
        if (link.map != &view) {
            link.map->RemoveOverlay(link.overlay);
        }
    }
}

long COpenGLView::SetUpProfileView(const PointXY* line, int count, double halfWidth, double zLow, double zHigh,
                                   double zExaggeration) {
    ProfileLine wanted;
    bool isLine = false;
    if (!AtTheBorder([&] { isLine = wanted.Set(line, count, halfWidth); })) {
        return E_OUTOFMEMORY;
    }
    if (!isLine || std::isinf(zLow) || std::isinf(zHigh) || !std::isfinite(zExaggeration) || zExaggeration < 0.0) {
        return E_INVALIDARG;
    }
    if (!m_profile) {
        m_profile.reset(new (std::nothrow) ProfileState);
        if (!m_profile) {
            return E_OUTOFMEMORY;
        }
        if (AddOverlay(&DrawCursor, nullptr, kCursorOrder) == 0) {
            m_profile.reset();
            return E_OUTOFMEMORY;
        }
    }
    ProfileState& profile = *m_profile;
    profile.line = std::move(wanted);
    profile.givenHeights = zLow < zHigh;
    profile.heights = profile.givenHeights ? HeightRange{zLow, zHigh} : HeightRange{};
    profile.zExaggeration = zExaggeration;
    profile.cursor.reset();
    ClearProfilePoints();
    return ShowBand(*this, profile);
}

bool COpenGLView::RealWorld2Profile(double x, double y, double& station, double& offset) const {
    ProfilePlace place;
    if (!m_profile || !m_profile->line.Find(x, y, place)) {
        return false;
    }
    station = place.station;
    offset = place.offset;
    return true;
}

bool COpenGLView::Profile2RealWorld(double station, double& x, double& y) const {
    PointXY place;
    if (!m_profile || !m_profile->line.PointAt(station, place)) {
        return false;
    }
    x = place.x;
    y = place.y;
    return true;
}

std::size_t COpenGLView::RealWorld2Profile(const PointXYZ* world, std::size_t count, double* stations, double* offsets,
                                           bool* isInside) const {
    std::size_t inside = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const bool found = RealWorld2Profile(world[index].x, world[index].y, stations[index], offsets[index]);
        inside += found ? 1 : 0;
        if (isInside) {
            isInside[index] = found;
        }
    }
    return inside;
}

std::size_t COpenGLView::Profile2RealWorld(const double* stations, std::size_t count, PointXY* world,
                                           bool* isInside) const {
    std::size_t inside = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const bool found = Profile2RealWorld(stations[index], world[index].x, world[index].y);
        inside += found ? 1 : 0;
        if (isInside) {
            isInside[index] = found;
        }
    }
    return inside;
}

double COpenGLView::GetProfileLength() const {
    return m_profile ? m_profile->line.Length() : 0.0;
}

long COpenGLView::AddProfilePoints(const GLDrawGeometry* records, unsigned __int64 count) {
    if (!m_profile || m_profile->line.IsEmpty()) {
        return S_FALSE;
    }
    if (!records && count != 0) {
        return E_INVALIDARG;
    }
    ProfileState& profile = *m_profile;
    const double infinity = std::numeric_limits<double>::infinity();
    const GLRenderingContextRecord& record = CurrentRecord();
    try {
        const double low = profile.givenHeights ? profile.heights.low : -infinity;
        const double high = profile.givenHeights ? profile.heights.high : infinity;
        profile.points.Add(profile.line, records, count, {record.coordinateOffsetX, record.coordinateOffsetY}, low,
                           high);
    } catch (...) {
        DropCaught();
        ClearProfilePoints();
        return E_OUTOFMEMORY;
    }
    profile.isUploaded = false;
    const HeightRange& found = profile.points.heights;
    const bool grows = !found.IsEmpty() && (profile.heights.IsEmpty() || found.low < profile.heights.low ||
                                            found.high > profile.heights.high);
    if (!profile.givenHeights && grows) {
        profile.heights = found;
        return ShowBand(*this, profile);
    }
    return S_OK;
}

long COpenGLView::AddProfilePoint(double x, double y, double z, unsigned char r, unsigned char g, unsigned char b,
                                  unsigned char a) {
    const GLRenderingContextRecord& record = CurrentRecord();
    GLDrawGeometry point{};
    point.x = static_cast<float>(x - record.coordinateOffsetX);
    point.y = static_cast<float>(y - record.coordinateOffsetY);
    point.z = static_cast<float>(z);
    point.r = r;
    point.g = g;
    point.b = b;
    point.a = a;
    return AddProfilePoints(&point, 1);
}

void COpenGLView::ClearProfilePoints() {
    if (m_profile) {
        m_profile->points.Clear();
        m_profile->geometry.Clear();
        m_profile->isUploaded = false;
    }
}

unsigned __int64 COpenGLView::GetProfilePointCount() const {
    return m_profile ? m_profile->points.records.size() : 0;
}

long COpenGLView::DrawProfilePoints(const GLDrawGeometry* records, unsigned __int64 count) {
    ClearProfilePoints();
    const long added = AddProfilePoints(records, count);
    return added == S_OK ? DrawProfilePoints() : added;
}

long COpenGLView::DrawProfilePoints() {
    if (!ShownProfile(*this)) {
        return S_FALSE;
    }
    ProfileState& profile = *m_profile;
    const std::vector<GLDrawGeometry>& records = profile.points.records;
    if (records.empty()) {
        return S_OK;
    }
    if (!profile.isUploaded) {
        long filled = BeginGeometry(profile.geometry, {});
        if (filled == S_OK) {
            BeginArrays(GL_POINTS, GLShaderPoint);
            for (const GLDrawGeometry& record : records) {
                AddIndex3DVertexRGBA(record.x, record.y, record.z, record.r, record.g, record.b, record.a);
            }
            EndArrays();
            filled = EndGeometry();
        }
        if (filled != S_OK) {
            return filled;
        }
        profile.isUploaded = true;
    }
    LoadViewMatrices();
    // Stations are no coordinates of the map: the offsets do not hold for them.
    const GLRenderingContextRecord& record = CurrentRecord();
    profile.geometry.SetOrigin({record.coordinateOffsetX, record.coordinateOffsetY, 0.0});
    EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
    const long drawn = DrawGeometry(profile.geometry);
    DisableClientState();
    return drawn;
}

long COpenGLView::DrawProfileGrid(const GLProfileGridStyle& style) {
    const ProfileState* const profile = ShownProfile(*this);
    if (!profile || !ViewAccess::HasCurrentContext(*this)) {
        return S_FALSE;
    }
    return AtTheBorder(long{E_OUTOFMEMORY}, [&] {
        DrawGrid(*this, *profile, style);
        return S_OK;
    });
}
long COpenGLView::SetProfileCursor(double station, double z) {
    if (!ShownProfile(*this)) {
        return S_FALSE;
    }
    if (!std::isfinite(z) || !(station >= 0.0 && station <= m_profile->line.Length())) {
        return E_INVALIDARG;
    }
    m_profile->cursor = {station, z};
    return AtTheBorder(long{E_OUTOFMEMORY}, [this] { return ShowCursor(*this); });
}

long COpenGLView::HideProfileCursor() {
    if (!m_profile || !m_profile->cursor) {
        return S_FALSE;
    }
    m_profile->cursor.reset();
    return AtTheBorder(long{E_OUTOFMEMORY}, [this] { return ShowCursor(*this); });
}

bool COpenGLView::GetProfileCursor(double& station, double& z) const {
    if (!m_profile || !m_profile->cursor) {
        return false;
    }
    station = m_profile->cursor->station;
    z = m_profile->cursor->height;
    return true;
}

long COpenGLView::LinkProfile(COpenGLView& view) {
    if (&view == this) {
        return E_INVALIDARG;
    }
    UnlinkProfile(view);
    const int overlay = view.AddOverlay(&DrawOnMap, this, kCursorOrder);
    if (overlay == 0) {
        return E_OUTOFMEMORY;
    }
    if (!AtTheBorder([&] { Links().Add({this, &view, overlay}); })) {
        view.RemoveOverlay(overlay);
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

void COpenGLView::UnlinkProfile(COpenGLView& view) {
    const auto isBetween = [&](const ProfileLink& link) { return link.profile == this && link.map == &view; };
    for (ProfileLink link = Links().Take(isBetween); link.map; link = Links().Take(isBetween)) {
        view.RemoveOverlay(link.overlay);
    }
}

__int64 COpenGLView::PickProfilePoint(double clientX, double clientY, double pixels) const {
    const ProfileState* const profile = ShownProfile(*this);
    const ViewCamera& camera = CurrentRecord().camera;
    const std::optional<glm::dvec3> place = MakeMapping(*this).OnTargetPlane(clientX, clientY);
    if (!profile || !place || !(pixels >= 0.0)) {
        return -1;
    }
    const std::int64_t nearest = profile->points.Nearest(place->x, place->z, camera.unitsPerPixel,
                                                         camera.unitsPerPixel / camera.zExaggeration, pixels);
    return nearest < 0 ? -1 : static_cast<__int64>(profile->points.sources[static_cast<std::size_t>(nearest)]);
}

} // namespace KTR
