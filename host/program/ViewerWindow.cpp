#include "ViewerWindow.h"

#include "Screenshot.h"
#include "drawing/PixelDrawing.h"
#include "drawing/WideText.h"

#include <windowsx.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cwchar>
#include <iterator>
#include <limits>
#include <string>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr wchar_t kWindowClass[] = L"OrrinViewer";
constexpr double kZoomPerNotch = 1.25;
constexpr double kPanPixels = 60.0;
constexpr double kDegreesPerPixel = 0.4;
constexpr double kSunStepDegrees = 15.0;
constexpr Rgb kBandColor{120, 180, 255};
constexpr std::uint8_t kBandOpacity = 50;
/// For points that are still read or fetched.
constexpr UINT_PTR kTimer = 1;
constexpr UINT kTimerMilliseconds = 30;
/// A frame of a cloud that looks sparser than this is not worth showing: the next ones come soon.
constexpr double kMostSpacingOfPointSize = 1.5;

POINT CursorOf(LPARAM lParam) {
    return {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
}

/// Where positions are in the window; those without an image stay far outside.
std::vector<PixelPlace> FindPlaces(const KTR::COpenGLView& view, const std::vector<Position>& positions) {
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
        places.push_back({place.x, place.y});
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

ViewerWindow::ViewerWindow(Scene& scene, const ViewerOptions& options, std::function<void()> closed)
    : m_scene(scene), m_options(options), m_closed(std::move(closed)),
      m_texts(WideText(options.font), options.fontPoints) {}

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
    if (m_window) {
        SetWindowLongPtrW(m_window, GWLP_USERDATA, 0);
        DestroyWindow(m_window);
    }
}

bool ViewerWindow::Open(int offsetPixels) {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = CS_OWNDC; // OpenGL keeps drawing through one device context
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = kWindowClass;
    RegisterClassExW(&windowClass);

    RECT frame = {0, 0, m_options.widthPixels, m_options.heightPixels};
    AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, FALSE);
    m_window = CreateWindowExW(0, kWindowClass, L"OrrinViewer", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                               frame.right - frame.left, frame.bottom - frame.top, nullptr, nullptr,
                               GetModuleHandleW(nullptr), this);
    if (!m_window) {
        return false;
    }
    // The first view of the process settles the pipeline; a host that wants another says so before it creates contexts.
    m_view = std::make_unique<KTR::COpenGLView>();
    if (m_options.pipeline == Pipeline::Legacy) {
        KTR::COpenGLView::SetOpenGLVersion(2, 0);
    } else if (m_options.pipeline == Pipeline::OpenGL4) {
        KTR::COpenGLView::SetOpenGLVersion(4, 4);
    }
    GetWindowRect(m_window, &frame);
    SetWindowPos(m_window, nullptr, frame.left + offsetPixels, frame.top + offsetPixels, 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER);
    ShowWindow(m_window, SW_SHOW);
    if (!m_view->CreateContext(GetDC(m_window), true, KTR::GLContextMain, L"OrrinViewer", 0,
                               KTR::AccelerationHardware)) {
        return false;
    }
    m_view->InitializeOpenGL(m_window);
    m_ready = true;
    m_view->GetWindowDimensions(m_width, m_height);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    ShowFrom(OrientationOf(m_options.camera));
    m_sceneVersion = m_scene.GetVersion();
    if (m_options.area && IsMap()) {
        m_view->SetViewExtents(m_options.area->low.x, m_options.area->low.y, m_options.area->high.x,
                               m_options.area->high.y);
        m_isNavigated = true;
    }
    LoadTexts();
    UpdateTitle();
    SetTimer(m_window, kTimer, kTimerMilliseconds, nullptr);
    return true;
}

double ViewerWindow::DrawScene() {
    const auto start = std::chrono::steady_clock::now();
    // Another window's context may be the current one.
    m_view->MakeCurrent(KTR::GLContextMain);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    m_scene.Draw(*m_view);
    if (IsMap()) {
        DrawMapTexts();
    }
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

LRESULT CALLBACK ViewerWindow::WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        auto* viewer = static_cast<ViewerWindow*>(creation->lpCreateParams);
        viewer->m_window = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(viewer));
    }
    auto* viewer = reinterpret_cast<ViewerWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return viewer ? viewer->HandleMessage(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT ViewerWindow::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_SIZE:
        // A minimised window has no size.
        m_width = std::max<int>(LOWORD(lParam), 1);
        m_height = std::max<int>(HIWORD(lParam), 1);
        Redraw();
        return 0;
    case WM_PAINT:
        ValidateRect(m_window, nullptr);
        DrawFrame();
        return 0;
    case WM_TIMER:
        HandleTimer();
        return 0;
    case WM_ERASEBKGND:
        return 1; // every frame fills the window
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
        HandleButtonDown(wParam, CursorOf(lParam), message == WM_RBUTTONDOWN);
        return 0;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP:
        HandleButtonUp();
        return 0;
    case WM_MOUSEMOVE:
        HandleMouseMove(CursorOf(lParam));
        return 0;
    case WM_MOUSELEAVE:
        HandleMouseLeave();
        return 0;
    case WM_MOUSEWHEEL:
        HandleWheel(wParam, lParam);
        return 0;
    case WM_KEYDOWN:
        HandleKey(wParam);
        return 0;
    case WM_CLOSE:
        // The window itself goes with this object, after the view has released what it holds there.
        ShowWindow(m_window, SW_HIDE);
        m_closed();
        return 0;
    default:
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
}

void ViewerWindow::HandleButtonDown(WPARAM keys, POINT cursor, bool isRight) {
    if (m_dragging || m_band.FollowsMouse()) {
        return; // the other button is down
    }
    EndWheel();
    SetCapture(m_window);
    m_cursor = cursor;
    m_band.Clear();
    if (!isRight && IsMap() && (keys & MK_SHIFT) != 0) {
        m_band.Begin(RubberBand::Kind::Zoom, PositionOnMap(cursor));
    } else if (!isRight && IsMap() && ((keys & MK_CONTROL) != 0 || m_everyDragMeasures)) {
        m_band.Begin(RubberBand::Kind::Measure, PositionOnMap(cursor));
    } else {
        m_dragging = true;
        m_draggingPans = isRight || !m_view->IsPerspectiveSideView();
        m_view->BeginViewChange();
        if (!m_draggingPans && m_view->MakeCurrent(KTR::GLContextMain)) {
            m_view->SetTargetFromScene(cursor.x, cursor.y);
        }
    }
    RedrawOverlay();
}

void ViewerWindow::HandleButtonUp() {
    if (m_band.FollowsMouse() && m_band.GetKind() == RubberBand::Kind::Zoom &&
        m_band.IsLargeEnoughToZoom(m_view->GetUnitsPerPixel())) {
        const Extent box = m_band.Box();
        m_view->SetViewExtents(box.low.x, box.low.y, box.high.x, box.high.y);
        m_isNavigated = true;
        Redraw();
    }
    m_band.Drop();
    if (m_dragging) {
        m_view->EndViewChange();
        m_dragging = false;
    }
    ReleaseCapture();
    RedrawOverlay();
}

void ViewerWindow::HandleMouseMove(POINT cursor) {
    if (!m_cursor) {
        TRACKMOUSEEVENT leaving = {sizeof(leaving), TME_LEAVE, m_window, 0};
        TrackMouseEvent(&leaving);
    }
    const POINT before = m_cursor.value_or(cursor);
    m_cursor = cursor;
    m_band.MoveTo(PositionOnMap(cursor));
    if (m_dragging) {
        Drag(cursor.x - before.x, cursor.y - before.y);
        Redraw();
        return;
    }
    RedrawOverlay();
}

void ViewerWindow::HandleMouseLeave() {
    m_cursor.reset();
    RedrawOverlay();
}

void ViewerWindow::HandleKey(WPARAM key) {
    EndWheel();
    switch (key) {
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
    case '6':
        ShowFrom(static_cast<KTR::GLViewOrientation>(KTR::GLViewOrientationTop + static_cast<int>(key - '1')));
        break;
    case VK_BACK:
        if (GetKeyState(VK_SHIFT) < 0) {
            m_view->NextView();
        } else {
            m_view->PreviousView();
        }
        m_isNavigated = true;
        break;
    case 'C':
        m_scene.SwitchColors();
        UpdateTitle();
        break;
    case 'E':
        m_scene.ShadeClouds(!m_scene.ShadesClouds());
        break;
    case 'S':
        m_scene.TurnSun(GetKeyState(VK_SHIFT) < 0 ? -kSunStepDegrees : kSunStepDegrees);
        break;
    case 'A':
        m_scene.RaiseSun(GetKeyState(VK_SHIFT) < 0 ? -kSunStepDegrees : kSunStepDegrees);
        break;
    case VK_ADD:
    case VK_OEM_PLUS:
        m_scene.SetPointSize(std::fmin(m_scene.GetPointSize() + 1.0, 64.0));
        break;
    case VK_SUBTRACT:
    case VK_OEM_MINUS:
        m_scene.SetPointSize(std::fmax(m_scene.GetPointSize() - 1.0, 1.0));
        break;
    case VK_HOME:
        ShowFrom(m_view->GetCurrentViewOrientation());
        break;
    case 'V':
        ShowFrom(m_view->IsPerspectiveSideView() ? KTR::GLViewOrientationTop : KTR::GLViewOrientationPerspective);
        break;
    case 'M':
        m_everyDragMeasures = !m_everyDragMeasures;
        m_band.Clear();
        break;
    case VK_LEFT:
        Drag(kPanPixels, 0.0);
        break;
    case VK_RIGHT:
        Drag(-kPanPixels, 0.0);
        break;
    case VK_UP:
        Drag(0.0, kPanPixels);
        break;
    case VK_DOWN:
        Drag(0.0, -kPanPixels);
        break;
    case VK_ESCAPE:
        PostQuitMessage(0);
        return;
    default:
        return;
    }
    Redraw();
}

void ViewerWindow::HandleWheel(WPARAM wParam, LPARAM lParam) {
    // The wheel reports screen coordinates, unlike the buttons.
    POINT cursor = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    ScreenToClient(m_window, &cursor);
    const double notches = static_cast<double>(GET_WHEEL_DELTA_WPARAM(wParam)) / WHEEL_DELTA;
    if (!m_wheeling) {
        m_view->BeginViewChange();
        m_wheeling = true;
    }
    m_view->MakeCurrent(KTR::GLContextMain);
    m_view->ZoomAbout(std::pow(kZoomPerNotch, notches), cursor.x, cursor.y);
    m_isNavigated = true;
    Redraw();
}

void ViewerWindow::EndWheel() {
    if (m_wheeling) {
        m_view->EndViewChange();
        m_wheeling = false;
    }
}

void ViewerWindow::HandleTimer() {
    MeetScene();
    if (m_waits) {
        RedrawOverlay();
    }
    if (m_stored == Stored::Scene && !m_scene.IsReading()) {
        KillTimer(m_window, kTimer);
    }
}

void ViewerWindow::Drag(double rightPixels, double downPixels) {
    m_isNavigated = true;
    if (m_view->IsPerspectiveSideView() && !(m_dragging && m_draggingPans)) {
        m_view->OrbitBy(rightPixels * kDegreesPerPixel, downPixels * kDegreesPerPixel);
    } else {
        m_view->Pan(rightPixels, downPixels);
    }
}

void ViewerWindow::ShowFrom(KTR::GLViewOrientation orientation) {
    m_band.Clear();
    m_scene.ShowEverything(*m_view, orientation);
    m_isNavigated = false;
}

MapFrame ViewerWindow::DescribeMap() const {
    MapFrame frame{m_width, m_height, m_view->GetUnitsPerPixel(), {}, {}};
    Position low;
    Position high;
    m_view->GetViewExtents(low.x, low.y, high.x, high.y);
    frame.area.Include(low);
    frame.area.Include(high);
    frame.placeOf = [this](const Position& position) { return PlaceOf(position); };
    return frame;
}

PixelPlace ViewerWindow::PlaceOf(const Position& position) const {
    PixelPlace place;
    m_view->RealWorld2Client(position.x, position.y, position.z, place.x, place.y);
    return place;
}

/// Whatever the height is of what is drawn there.
Position ViewerWindow::PositionOnMap(POINT cursor) const {
    Position position;
    m_view->Client2RealWorld(cursor.x, cursor.y, position.x, position.y, position.z);
    return {position.x, position.y, 0.0};
}

/// What is drawn under the cursor; on a map also where nothing with a height is.
std::optional<Position> ViewerWindow::FindPositionUnder(POINT cursor) {
    PointXYZ place;
    if (m_view->Client2RealWorldOnScene(cursor.x, cursor.y, place)) {
        return Position{place.x, place.y, place.z};
    }
    if (!IsMap()) {
        return std::nullopt;
    }
    const Position position = PositionOnMap(cursor);
    return Position{position.x, position.y, std::numeric_limits<double>::quiet_NaN()};
}

/// The font, and the placement of all labels, which depends on how wide the font makes them.
void ViewerWindow::LoadTexts() {
    const bool needed = !m_options.plain || !m_scene.GetLabels().empty();
    if (needed && m_texts.Load(*m_view)) {
        m_labels = LabelLayer(m_scene.GetLabels(), m_texts.Sizes(*m_view));
    }
}

void ViewerWindow::DrawMapTexts() {
    SetUpPixelCamera(*m_view, m_width, m_height);
    const TextSizes sizes = m_texts.Sizes(*m_view);
    const MapFrame frame = DescribeMap();
    MapFurniture furniture;
    if (!m_options.plain) {
        furniture = LayOutMapFurniture(frame, m_scene.GetUnits(), sizes);
        DrawFurniture(*m_view, furniture);
    }
    std::vector<PixelText> texts =
        m_labels.FindVisible(frame, FindPlaces(*m_view, m_labels.GetAnchors()), furniture.texts, sizes);
    texts.insert(texts.end(), furniture.texts.begin(), furniture.texts.end());
    m_texts.Draw(*m_view, texts);
}

/// What follows the mouse: its position in words, the rectangle to zoom to, the line that measures.
void ViewerWindow::DrawOverlay() {
    const std::optional<Position> position = m_cursor && !m_options.plain ? FindPositionUnder(*m_cursor) : std::nullopt;
    SetUpPixelCamera(*m_view, m_width, m_height);
    std::vector<PixelText> texts;
    if (position) {
        texts.push_back(LayOutPosition(FormatPosition(*position, m_view->GetUnitsPerPixel()), m_width, m_height,
                                       m_texts.Sizes(*m_view)));
    }
    if (IsMap()) {
        DrawRubberBand(texts);
    }
    m_texts.Draw(*m_view, texts);
}

void ViewerWindow::DrawRubberBand(std::vector<PixelText>& texts) {
    const auto pixelOf = [this](const Position& position) {
        const PixelPlace pixel = PlaceOf(position);
        return Position{std::floor(pixel.x), std::floor(m_height - pixel.y), 0.0};
    };
    const Position from = pixelOf(m_band.From());
    const Position to = pixelOf(m_band.To());
    if (m_band.GetKind() == RubberBand::Kind::Zoom) {
        const Position right{to.x, from.y, 0.0};
        const Position up{from.x, to.y, 0.0};
        DrawPixelTriangles(*m_view, {{from, right, to}, {from, to, up}}, kBandColor, kBandOpacity);
        DrawEdgedLines(*m_view, {{from, right}, {right, to}, {to, up}, {up, from}});
    } else if (m_band.GetKind() == RubberBand::Kind::Measure) {
        DrawEdgedLines(*m_view, {{from, to}});
        const std::string length = FormatLength(
            DistanceInMetres(m_scene.GetUnits(), m_band.From().x, m_band.From().y, m_band.To().x, m_band.To().y));
        const double width = m_texts.Sizes(*m_view).width(length);
        texts.push_back(PlaceBesideLine(length, width, from, to, m_width, m_height));
    }
}

void ViewerWindow::DrawFrame() {
    if (!m_ready) {
        return;
    }
    MeetScene();
    if (DrawSceneOrPart()) {
        DrawOverlay();
        Present();
    }
}

/// Sees to it that the scene is in the back buffer, with as many points as can be drawn without making the user wait.
/// False where there are too few of them to be shown; then further ones come soon.
bool ViewerWindow::DrawSceneOrPart() {
    if (m_stored == Stored::Scene && RestoreFrame(false)) {
        return true;
    }
    const auto start = std::chrono::steady_clock::now();
    m_view->MakeCurrent(KTR::GLContextMain);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    const CloudsFrame frame = RefineOrBegin();
    if (!frame.groundIsRead) {
        m_stored = Stored::Nothing; // the ground lies below the points, so the next frame begins with it
    } else if (!frame.complete) {
        StoreFrame(Stored::Clouds);
    }
    DrawAboveClouds();
    if (frame.complete) {
        StoreFrame(Stored::Scene);
    }
    m_view->Finish();
    m_frameMilliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    UpdateTitle();
    // While the map moves under the mouse, the next frame is another one.
    m_waits = !frame.complete && frame.groundIsRead && frame.drawn == 0 && !frame.enlarged;
    if (!frame.complete && !m_waits && !m_dragging) {
        RedrawOverlay();
    }
    if (!frame.complete) {
        SetTimer(m_window, kTimer, kTimerMilliseconds, nullptr);
    }
    return frame.complete || !frame.groundIsRead || frame.enlarged || m_waits || m_dragging ||
           frame.spacingPixels <= kMostSpacingOfPointSize * m_scene.GetPointSize();
}

CloudsFrame ViewerWindow::RefineOrBegin() {
    const CloudBudget budget{m_options.budgetPoints, m_options.budgetMilliseconds};
    if (m_stored == Stored::Clouds && RestoreFrame(true)) {
        const CloudsFrame frame = m_scene.Refine(*m_view);
        if (!frame.outdated) {
            return frame;
        }
    }
    return m_scene.Begin(*m_view, budget);
}

void ViewerWindow::DrawAboveClouds() {
    m_scene.DrawShapes(*m_view);
    if (IsMap()) {
        DrawMapTexts();
    }
}

/// Puts the stored frame into the back buffer; with its depths, so that points can be added.
///
/// NOTE: On a fixed-function context the store has no depths. There those of the frame are still in the depth buffer:
/// nothing that is drawn over the clouds writes any, and swapping leaves them alone.
bool ViewerWindow::RestoreFrame(bool depths) {
    if (!m_view->MakeCurrent(KTR::GLContextMain)) {
        return false;
    }
    m_view->RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, m_width, m_height, 0, 0, m_width, m_height, false, depths,
                                false);
    return true;
}

void ViewerWindow::StoreFrame(Stored stored) {
    const HDC deviceContext = m_view->GetContextRecord(KTR::GLContextMain).deviceContext;
    const bool isStored = !m_dragging && SUCCEEDED(m_view->SaveBackingStore(deviceContext, KTR::GLContextMain, GL_BACK,
                                                                            0, 0, m_width, m_height));
    m_stored = isStored ? stored : Stored::Nothing;
}

/// Shows what has come to the scene since the last frame.
void ViewerWindow::MeetScene() {
    m_scene.Update();
    if (m_scene.GetVersion() == m_sceneVersion) {
        return;
    }
    m_sceneVersion = m_scene.GetVersion();
    if (!m_isNavigated && m_view->MakeCurrent(KTR::GLContextMain)) {
        // What was everything until now is no step of the view's history.
        const KTR::GLViewOrientation orientation = m_view->GetCurrentViewOrientation();
        m_view->PreviousView();
        m_scene.ShowEverything(*m_view, orientation);
    }
    Redraw();
}

void ViewerWindow::Redraw() {
    m_stored = Stored::Nothing;
    RedrawOverlay();
}

void ViewerWindow::UpdateTitle() const {
    std::wstring title = L"OrrinViewer - " + std::to_wstring(m_scene.CountPoints()) +
                         (m_scene.IsReading() ? L" points so far, " : L" points, ") +
                         std::to_wstring(m_scene.CountFeatures()) + L" features";
    if (m_scene.CountPoints() > 0) {
        const std::string colors = m_scene.NameOfColors();
        title += L" - by " + std::wstring(colors.begin(), colors.end());
    }
    if (m_frameMilliseconds > 0.0) {
        wchar_t time[32] = {};
        std::swprintf(time, std::size(time), L" - %.1f ms", m_frameMilliseconds);
        title += time;
    }
    if (const std::string problem = m_scene.GetProblem(); !problem.empty()) {
        title += L" - " + WideText(problem);
    }
    SetWindowTextW(m_window, title.c_str());
}

} // namespace OrrinViewer
