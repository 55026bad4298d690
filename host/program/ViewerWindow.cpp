#include "ViewerWindow.h"

#include "SceneProject.h"
#include "Screenshot.h"
#include "ViewerSession.h"
#include "WindowContext.h"
#include "WindowManners.h"
#include "drawing/PixelDrawing.h"
#include "drawing/WideText.h"
#include "map/StatusLine.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cwchar>
#include <iterator>
#include <string>
#include <utility>

namespace OrrinViewer {

namespace {

/// Of the window, on a usual screen.
constexpr int kWidthPixels = 1200;
constexpr int kHeightPixels = 800;
/// For what is told about the reading, and to see that there is something to be read.
constexpr UINT_PTR kNoticeTimer = 2;
constexpr UINT kNoticeMilliseconds = 100;
/// That preparing what is to be drawn may take at once.
constexpr double kPreparingMilliseconds = 40.0;
/// A frame of a cloud that looks sparser than this is not worth showing: the next ones come soon.
constexpr double kMostSpacingOfPointSize = 1.5;

/// Where positions are in the window, of so many pixels for one; those without an image stay far outside.
std::vector<PixelPlace> FindPlaces(const KTR::COpenGLView& view, const std::vector<Position>& positions, double scale) {
    constexpr PointXY kOutside{-1e9, -1e9};
    std::vector<PointXYZ> world;
    world.reserve(positions.size());
    for (const Position& position : positions) {
        world.push_back({position.x, position.y, position.z});
    }
    std::vector<PointXY> client(world.size(), kOutside);
    view.RealWorld2Client(world.data(), world.size(), client.data());
    std::vector<PixelPlace> places;
    places.reserve(client.size());
    for (const PointXY& place : client) {
        places.push_back({place.x / scale, place.y / scale});
    }
    return places;
}

KTR::GLViewOrientation OrientationOf(Camera camera) {
    switch (camera) {
    case Camera::Bottom:
        return KTR::GLViewOrientationBottom;
    case Camera::Front:
        return KTR::GLViewOrientationFront;
    case Camera::Back:
        return KTR::GLViewOrientationBack;
    case Camera::Left:
        return KTR::GLViewOrientationLeft;
    case Camera::Right:
        return KTR::GLViewOrientationRight;
    case Camera::Perspective:
        return KTR::GLViewOrientationPerspective;
    default:
        return KTR::GLViewOrientationTop;
    }
}

} // namespace

ViewerWindow::ViewerWindow(Scene& scene, const ViewerOptions& options, ViewerSession& session)
    : m_scene(scene), m_options(options), m_session(session), m_texts(WideText(options.font), options.fontPoints),
      m_notices(scene, session.GetLoading()) {}

ViewerWindow::~ViewerWindow() {
    if (m_view) {
        // In this order: GL objects while the window exists, then the contexts, then the window.
        if (m_ready && m_view->MakeCurrent(KTR::GLContextMain)) {
            m_texts.Release(*m_view);
            m_scene.Forget(*m_view);
            m_scene.ReleaseGeometry();
        }
        m_view->ShutDownOpenGLContexts(m_window);
        m_view.reset();
    }
    Destroy();
}

bool ViewerWindow::Open(int offsetPixels) {
    if (!Create(L"OrrinViewer", m_options.widthPixels.value_or(kWidthPixels),
                m_options.heightPixels.value_or(kHeightPixels))) {
        return false;
    }
    const SIZE size = ChooseSize(); // of the screen that it came to lie on
    SetClientSize(m_window, size.cx, size.cy);
    // The first view of the process settles the pipeline; a host that wants another says so before it creates contexts.
    m_view = std::make_unique<KTR::COpenGLView>();
    if (m_options.pipeline == Pipeline::Legacy) {
        KTR::COpenGLView::SetOpenGLVersion(2, 0);
    } else if (m_options.pipeline == Pipeline::OpenGL4) {
        KTR::COpenGLView::SetOpenGLVersion(4, 4);
    }
    RECT frame = {};
    GetWindowRect(m_window, &frame);
    SetWindowPos(m_window, nullptr, frame.left + offsetPixels, frame.top + offsetPixels, 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER);
    if (m_options.frames == 0) {
        SetUpMenu(); // for a person
    }
    ShowWindow(m_window, SW_SHOW);
    if (!CreateWindowContext(*m_view, m_window, L"OrrinViewer")) {
        return false;
    }
    m_view->InitializeOpenGL(m_window);
    m_ready = true;
    m_view->GetWindowDimensions(m_width, m_height);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    LoadTexts();
    ShowFrom(OrientationOf(m_options.camera));
    m_sceneVersion = m_scene.GetVersion();
    if (m_options.area && IsMap()) {
        m_view->SetViewExtents(m_options.area->low.x, m_options.area->low.y, m_options.area->high.x,
                               m_options.area->high.y);
        m_isNavigated = true;
    }
    AddOverlays();
    UpdateTitle();
    SetTimer(m_window, kTimer, kTimerMilliseconds, nullptr);
    if (m_options.frames == 0) {
        SetTimer(m_window, kNoticeTimer, kNoticeMilliseconds, nullptr);
    }
    return true;
}

int ViewerWindow::PixelsPerInch() const {
    return m_options.pixelsPerInch ? *m_options.pixelsPerInch : FindPixelsPerInch(m_window);
}

/// Of the client area. What nobody asked for is as large on every screen, where that has room.
SIZE ViewerWindow::ChooseSize() const {
    SIZE size{std::lround(kWidthPixels * Scale()), std::lround(kHeightPixels * Scale())};
    MONITORINFO screen = {};
    screen.cbSize = sizeof(screen);
    RECT frame = {};
    RECT client = {};
    if (Scale() > 1.0 && GetMonitorInfoW(MonitorFromWindow(m_window, MONITOR_DEFAULTTONEAREST), &screen) &&
        GetWindowRect(m_window, &frame) && GetClientRect(m_window, &client)) {
        const LONG aroundX = frame.right - frame.left - client.right;
        const LONG aroundY = frame.bottom - frame.top - client.bottom;
        size.cx = std::min(size.cx, std::max(screen.rcWork.right - screen.rcWork.left - aroundX, 1L));
        size.cy = std::min(size.cy, std::max(screen.rcWork.bottom - screen.rcWork.top - aroundY, 1L));
    }
    return {m_options.widthPixels.value_or(size.cx), m_options.heightPixels.value_or(size.cy)};
}

double ViewerWindow::DrawScene() {
    const auto start = std::chrono::steady_clock::now();
    m_scene.SetScreenScale(Scale());
    // Another window's context may be the current one.
    m_view->MakeCurrent(KTR::GLContextMain);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    m_scene.Draw(*m_view);
    DrawTexts();
    // Without this only the time to hand over the commands would be measured.
    m_view->Finish();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void ViewerWindow::Present() {
    m_view->SwapBuffers();
}

void ViewerWindow::SaveFrame(const std::filesystem::path& path) {
    m_view->MakeCurrent(KTR::GLContextMain);
    SaveScreenshot(*m_view, m_width, m_height, path);
}

void ViewerWindow::ShowView(const ProjectView& view) {
    if (!m_view->MakeCurrent(KTR::GLContextMain)) {
        return;
    }
    CancelBand();
    ShowProjectView(*m_view, view);
    m_scene.HoldEverything(*m_view);
    m_isNavigated = true;
    Redraw();
}

void ViewerWindow::ShowExtent(const Extent& extent) {
    CancelBand();
    FitAboveStatus([&] { m_scene.ShowExtent(*m_view, m_view->GetCurrentViewOrientation(), extent); });
    m_scene.HoldEverything(*m_view);
    m_isNavigated = true;
    Redraw();
}

/// Has the view show something as large as there is room above the line of status, which covers what lies below it.
void ViewerWindow::FitAboveStatus(const std::function<void()>& fit) {
    m_view->MakeCurrent(KTR::GLContextMain);
    const double status = HasStatus() ? StatusHeight(m_texts.Sizes(*m_view)) * Scale() : 0.0;
    const int height = m_height - static_cast<int>(std::ceil(status));
    if (status == 0.0 || height <= 0) {
        fit();
        return;
    }
    // A view keeps its scale and its middle when the window becomes larger.
    m_view->BeginViewChange();
    m_view->SetUpViewport(0, 0, m_width, height);
    fit();
    m_view->SetUpViewport(0, 0, m_width, m_height);
    m_view->Pan(0.0, (height - m_height) * 0.5);
    m_view->EndViewChange();
}

void ViewerWindow::Forget() {
    m_measured.reset();
    SetTool(Tool::Look);
    m_isNavigated = false;
    Redraw();
}

void ViewerWindow::ExpectScene() {
    SetTimer(m_window, kTimer, kTimerMilliseconds, nullptr);
    Redraw();
    UpdateTitle();
}

void ViewerWindow::ShowSceneAnew() {
    Redraw();
    UpdateTitle();
}

void ViewerWindow::HandleTimer(UINT_PTR timer) {
    if (timer == kNoticeTimer) {
        if (m_session.IsReading()) {
            SetTimer(m_window, kTimer, kTimerMilliseconds, nullptr);
        }
        if (m_notices.Update()) {
            RedrawOverlays();
        }
        return;
    }
    MeetScene();
    m_session.UpdatePick();
    if (std::optional<LabelLayer> labels = m_labelPlacing.Take()) {
        m_labels = *std::move(labels);
        Redraw();
    }
    if (m_lacksGeometry && m_view->MakeCurrent(KTR::GLContextMain)) {
        PrepareScene(kPreparingMilliseconds);
        if (!m_lacksGeometry) {
            Redraw();
        }
    }
    if (m_waits) {
        RedrawOverlays();
    }
    const bool isWaiting =
        m_lacksGeometry || m_labelPlacing.IsPlacing() || m_session.IsReading() || m_session.GetPicking().IsReading();
    if (m_stored == Stored::Scene && !isWaiting) {
        KillTimer(m_window, kTimer);
    }
}

MapFrame ViewerWindow::DescribeMap() const {
    const double scale = Scale();
    MapFrame frame{static_cast<int>(std::lround(m_width / scale)),
                   static_cast<int>(std::lround(m_height / scale)),
                   m_view->GetUnitsPerPixel() * scale,
                   {},
                   {}};
    if (IsMap()) {
        Position low;
        Position high;
        m_view->GetViewExtents(low.x, low.y, high.x, high.y);
        frame.area.Include(low);
        frame.area.Include(high);
    } else {
        frame.area = m_scene.GetExtent();
    }
    frame.placeOf = [this, scale](const Position& position) {
        const PixelPlace place = PlaceOf(position);
        return PixelPlace{place.x / scale, place.y / scale};
    };
    return frame;
}

PixelPlace ViewerWindow::PlaceOf(const Position& position) const {
    PixelPlace place;
    const double z = std::isnan(position.z) ? 0.0 : position.z; // on a map any height will do
    m_view->RealWorld2Client(position.x, position.y, z, place.x, place.y);
    return place;
}

/// The font, and the placement of all labels, which depends on how wide the font makes them.
void ViewerWindow::LoadTexts() {
    const bool needed = m_options.frames == 0 || !m_options.plain || !m_options.labelProperty.empty();
    if (needed && m_texts.Load(*m_view, PixelsPerInch())) {
        PlaceLabels();
    }
}

void ViewerWindow::PlaceLabels() {
    m_labelVersion = m_scene.GetLabelVersion();
    m_labelPlacing.Begin(m_scene.CollectLabels(), m_texts.Sizes(*m_view));
    // Few are there at once; of many the old ones stay until then.
    std::optional<LabelLayer> labels = m_options.frames > 0 ? m_labelPlacing.WaitAndTake() : m_labelPlacing.Take();
    if (labels) {
        m_labels = *std::move(labels);
    } else {
        SetTimer(m_window, kTimer, kTimerMilliseconds, nullptr);
    }
}

/// Labels and what lies around the map; of other views the scale.
void ViewerWindow::DrawTexts() {
    if (m_options.plain && !IsMap()) {
        return;
    }
    SetUpPixelCamera(*m_view, m_width, m_height);
    const TextSizes sizes = m_texts.Sizes(*m_view);
    MapFrame frame = DescribeMap();
    const double status = HasStatus() ? StatusHeight(sizes) : 0.0;
    if (status > 0.0 && IsMap()) {
        frame.area.low.y += status * frame.unitsPerPixel;
    }
    frame.heightPixels -= static_cast<int>(status);
    MapFurniture furniture;
    if (!m_options.plain && frame.unitsPerPixel > 0.0) {
        furniture = IsMap() ? LayOutMapFurniture(frame, m_scene.GetUnits(), sizes)
                            : LayOutScaleBar(frame, m_scene.GetUnits(), sizes);
        RaiseFurniture(furniture, status);
        DrawFurniture(*m_view, furniture, Scale());
    }
    std::vector<PixelText> texts = furniture.texts;
    if (IsMap()) {
        texts =
            m_labels.FindVisible(frame, FindPlaces(*m_view, m_labels.GetAnchors(), Scale()), furniture.texts, sizes);
        texts.insert(texts.end(), furniture.texts.begin(), furniture.texts.end());
    }
    m_texts.Draw(*m_view, texts);
}

void ViewerWindow::DrawFrame() {
    if (!m_ready) {
        return;
    }
    MeetScene();
    if (m_stored == Stored::Scene || DrawSceneOrPart()) {
        ShowFrame();
    }
}

/// Presents the frame with what lies over it.
void ViewerWindow::ShowFrame() {
    m_view->MakeCurrent(KTR::GLContextMain);
    m_readPosition = m_cursor && !m_options.plain ? FindPositionUnder(*m_cursor) : std::nullopt;
    // A frame that lives for one move of the mouse is not worth storing; but then no other overlay is drawn.
    const bool isShort = m_dragging && m_stored == Stored::Nothing && !m_session.GetProfile();
    const long shown = isShort ? E_ABORT : m_view->RedrawOverlays();
    if (shown == S_FALSE) {
        Redraw(); // the window has another size, or its context is a new one
        return;
    }
    if (FAILED(shown)) {
        KTR::GLCoveredArea covered;
        DrawPicked(*m_view, covered, this);
        DrawStatus(*m_view, covered, this);
        DrawMeasured(*m_view, covered, this);
        DrawReadout(*m_view, covered, this);
        DrawNotices(*m_view, covered, this);
        Present();
        return;
    }
    if (m_bandIsOld) {
        ReplayBand();
    }
}

/// Sees to it that the scene is in the back buffer, with as many points as can be drawn without making the user wait.
/// False where there are too few of them to be shown; then further ones come soon.
bool ViewerWindow::DrawSceneOrPart() {
    const auto start = std::chrono::steady_clock::now();
    m_scene.SetScreenScale(Scale());
    m_view->MakeCurrent(KTR::GLContextMain);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    PrepareScene(kPreparingMilliseconds);
    const CloudsFrame frame = RefineOrBegin();
    m_drawnPoints = frame.shown;
    // The ground lies below the points: while it is read, the next frame begins with it.
    m_stored = Stored::Nothing;
    if (frame.groundIsRead && !frame.complete) {
        StoreFrame(Stored::Clouds);
    }
    if (m_stored == Stored::Nothing) {
        DrawAboveClouds();
    }
    if (frame.complete) {
        StoreFrame(Stored::Scene);
    }
    m_view->Finish();
    m_frameMilliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    m_otherMilliseconds[m_nextOther] = m_frameMilliseconds - frame.milliseconds;
    m_nextOther = (m_nextOther + 1) % m_otherMilliseconds.size();
    UpdateTitle();
    // While the map moves under the mouse, the next frame is another one.
    m_waits = !frame.complete && frame.groundIsRead && frame.drawn == 0 && !frame.enlarged;
    if (!frame.complete && !m_waits && !m_dragging) {
        RedrawOverlays();
    }
    if (!frame.complete) {
        SetTimer(m_window, kTimer, kTimerMilliseconds, nullptr);
    }
    return frame.complete || !frame.groundIsRead || frame.enlarged || m_waits || m_dragging ||
           frame.spacingPixels <= kMostSpacingOfPointSize * Scale() * m_scene.FindPointSize(*m_view);
}

/// Has what is drawn for the first time added for so long; the timer goes on with the rest.
void ViewerWindow::PrepareScene(double milliseconds) {
    m_lacksGeometry = !m_scene.Prepare(*m_view, milliseconds);
    if (m_lacksGeometry) {
        SetTimer(m_window, kTimer, kTimerMilliseconds, nullptr);
    }
}

CloudsFrame ViewerWindow::RefineOrBegin() {
    // What else is drawn takes its time too: the most of it in the last frames is left for that, up to three quarters.
    const double other = *std::max_element(m_otherMilliseconds.begin(), m_otherMilliseconds.end());
    const CloudBudget budget{m_options.budgetPoints,
                             std::max(m_options.budgetMilliseconds - other, m_options.budgetMilliseconds / 4.0)};
    if (m_stored == Stored::Clouds && RestoreFrame()) {
        const CloudsFrame frame = m_scene.Refine(*m_view);
        if (!frame.outdated) {
            return frame;
        }
    }
    return m_scene.Begin(*m_view, budget);
}

void ViewerWindow::DrawAboveClouds() {
    m_scene.SetScreenScale(Scale());
    m_scene.DrawShapes(*m_view);
    DrawTexts();
}

/// Puts the stored frame into the back buffer with its depths, so that points can be added.
///
/// NOTE: On a fixed-function context the store has no depths. There those of the frame are still in the depth buffer:
/// nothing that is drawn over the clouds writes any, and swapping leaves them alone.
bool ViewerWindow::RestoreFrame() {
    if (!m_view->MakeCurrent(KTR::GLContextMain)) {
        return false;
    }
    m_view->RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, m_width, m_height, 0, 0, m_width, m_height, false, true,
                                false);
    return true;
}

/// Has the view store what is in the back buffer: its overlays are drawn over that from now on.
void ViewerWindow::StoreFrame(Stored stored) {
    const HDC deviceContext = m_view->GetContextRecord(KTR::GLContextMain).deviceContext;
    const bool isStored = !m_dragging && SUCCEEDED(m_view->SaveBackingStore(deviceContext, KTR::GLContextMain, GL_BACK,
                                                                            0, 0, m_width, m_height));
    m_stored = isStored ? stored : Stored::Nothing;
}

/// Shows what has come to the scene since the last frame.
void ViewerWindow::MeetScene() {
    m_session.UpdateScene();
    if (m_scene.GetVersion() == m_sceneVersion) {
        return;
    }
    m_sceneVersion = m_scene.GetVersion();
    m_session.UpdatePick();
    if (m_view->MakeCurrent(KTR::GLContextMain)) {
        if (m_scene.GetLabelVersion() != m_labelVersion) {
            PlaceLabels();
        }
        if (m_isNavigated) {
            m_scene.HoldEverything(*m_view);
        } else {
            // What was everything until now is no step of the view's history.
            const KTR::GLViewOrientation orientation = m_view->GetCurrentViewOrientation();
            m_view->PreviousView();
            FitAboveStatus([&] { m_scene.ShowEverything(*m_view, orientation); });
        }
    }
    Redraw();
}

void ViewerWindow::Redraw() {
    m_pickIsHere = false;
    m_stored = Stored::Nothing;
    m_bandIsOld = m_band != BandUse::None;
    RedrawOverlays();
}

void ViewerWindow::UpdateTitle() const {
    const std::string name = m_session.GetDocument().GetName();
    std::wstring title = name.empty() ? L"OrrinViewer" : WideText(name) + L" - OrrinViewer";
    if (m_session.GetDocument().IsChanged()) {
        title.insert(0, L"*");
    }
    // What there is none of has no place there, such as points of a map of outlines.
    if (m_scene.CountPoints() > 0 || m_scene.IsReading()) {
        title +=
            L" - " + std::to_wstring(m_scene.CountPoints()) + (m_scene.IsReading() ? L" points so far" : L" points");
    }
    if (m_scene.CountFeatures() > 0) {
        title += L" - " + std::to_wstring(m_scene.CountFeatures()) + L" features";
    }
    if (m_scene.CountPoints() > 0) {
        const std::string colors = m_scene.NameOfColors();
        title += L" - by " + std::wstring(colors.begin(), colors.end());
    }
    if (m_frameMilliseconds > 0.0) {
        wchar_t time[32] = {};
        std::swprintf(time, std::size(time), L" - %.1f ms", m_frameMilliseconds);
        title += time;
    }
    if (m_session.GetLoading().WasStopped()) {
        title += L" - stopped, not everything is here";
    }
    if (const std::string problem = m_scene.GetProblem(); !problem.empty()) {
        title += L" - " + WideText(problem);
    }
    SetWindowTextW(m_window, title.c_str());
}

} // namespace OrrinViewer
