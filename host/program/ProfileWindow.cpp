#include "ProfileWindow.h"

#include "Screenshot.h"
#include "ViewerSession.h"
#include "WindowContext.h"
#include "WindowManners.h"
#include "drawing/PixelDrawing.h"
#include "drawing/WideText.h"
#include "files/DiskPath.h"
#include "files/FileError.h"
#include "map/Measure.h"

#include <commdlg.h>
#include <windowsx.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cwctype>
#include <fstream>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr COLORREF kBackground = RGB(28, 32, 38);
constexpr int kWidthPixels = 1000;
constexpr int kHeightPixels = 420;
constexpr double kPickPixels = 6.0;
/// Of the line's length.
constexpr double kHalfWidthShare = 0.01;
constexpr double kSlideShare = 0.1;
constexpr int kGroundSamples = 500;
constexpr UINT_PTR kTimer = 1;
constexpr UINT kTimerMilliseconds = 30;

std::vector<PointXY> FlatCorners(const Band& band) {
    std::vector<PointXY> corners;
    for (const Position& corner : band.corners) {
        corners.push_back({corner.x, corner.y});
    }
    return corners;
}

bool EndsWith(const std::filesystem::path& path, const wchar_t* ending) {
    std::wstring own = path.extension().wstring();
    std::transform(own.begin(), own.end(), own.begin(),
                   [](wchar_t letter) { return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(letter))); });
    return own == ending;
}

/// Puts a window below another one, or else to the right of it, or else into the screen's lower left.
void StandBeside(HWND window, HWND other) {
    RECT own = {};
    RECT there = {};
    MONITORINFO screen = {};
    screen.cbSize = sizeof(screen);
    if (!GetWindowRect(window, &own) || !GetWindowRect(other, &there) ||
        !GetMonitorInfoW(MonitorFromWindow(other, MONITOR_DEFAULTTONEAREST), &screen)) {
        return;
    }
    const RECT& work = screen.rcWork;
    const LONG width = own.right - own.left;
    const LONG height = own.bottom - own.top;
    POINT place{work.left, std::max(work.bottom - height, work.top)};
    if (there.bottom + height <= work.bottom) {
        place = {std::max(std::min(there.left, work.right - width), work.left), there.bottom};
    } else if (there.right + width <= work.right) {
        place = {there.right, std::max(there.top, work.top)};
    }
    SetWindowPos(window, nullptr, place.x, place.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

} // namespace

ProfileWindow::ProfileWindow(Scene& scene, const ViewerOptions& options, ViewerSession& session)
    : m_scene(scene), m_options(options), m_session(session), m_texts(WideText(options.font), options.fontPoints) {}

ProfileWindow::~ProfileWindow() {
    m_reading.Stop();
    if (m_view) {
        // In this order: GL objects while the window exists, then the contexts, then the window.
        if (m_ready && m_view->MakeCurrent(KTR::GLContextMain)) {
            m_texts.Release(*m_view);
        }
        m_view->ShutDownOpenGLContexts(m_window);
        m_view.reset();
    }
    Destroy();
}

int ProfileWindow::PixelsPerInch() const {
    return m_options.pixelsPerInch ? *m_options.pixelsPerInch : FindPixelsPerInch(m_window);
}

bool ProfileWindow::Open(HWND beside) {
    if (m_ready) {
        return true;
    }
    if (!Create(L"Profile", kWidthPixels, kHeightPixels)) {
        return false;
    }
    SetClientSize(m_window, static_cast<int>(std::lround(kWidthPixels * Scale())),
                  static_cast<int>(std::lround(kHeightPixels * Scale())));
    StandBeside(m_window, beside);
    // Shown first: a context draws into the window that there is.
    ShowWindow(m_window, SW_SHOW);
    m_view = std::make_unique<KTR::COpenGLView>();
    if (!CreateWindowContext(*m_view, m_window, L"Profile")) {
        return false;
    }
    m_view->InitializeOpenGL(m_window);
    m_view->GetWindowDimensions(m_width, m_height);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    m_texts.Load(*m_view, PixelsPerInch());
    m_view->AddOverlay(&DrawReadout, this, 1);
    m_ready = true;
    return true;
}

bool ProfileWindow::Show(std::vector<Position> line, HWND beside) {
    Band band{std::move(line), 1.0};
    const double length = band.Length();
    if (!(length > 0.0) || !Open(beside)) {
        return false;
    }
    band.halfWidth = FindNiceStep(length * kHalfWidthShare);
    m_shown = true;
    ShowWindow(m_window, SW_SHOW);
    SetForegroundWindow(m_window);
    SetFocus(m_window);
    SetBand(std::move(band));
    return true;
}

void ProfileWindow::SetCorners(std::vector<Position> corners) {
    Band band{std::move(corners), m_band.halfWidth};
    if (band.Length() > 0.0) {
        SetBand(std::move(band));
    }
}

void ProfileWindow::SetBand(Band band) {
    m_band = std::move(band);
    m_isNavigated = false;
    m_savedAs.clear();
    SetUpView();
    m_clouds.clear();
    std::vector<CloudOpener> openers;
    for (const CloudSource& cloud : m_scene.ListClouds()) {
        m_clouds.emplace_back(cloud.id, cloud.hiddenClasses);
        openers.push_back(cloud.open);
    }
    m_reading.Start(m_band, std::move(openers));
    m_thinned = 0;
    SetTimer(m_window, kTimer, kTimerMilliseconds, nullptr);
    m_session.ShowProfileOnMaps();
}

void ProfileWindow::SetUpView() {
    m_view->MakeCurrent(KTR::GLContextMain);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    const Extent box = m_band.Box();
    m_view->ChooseCoordinateOffsets({box.low.x, box.low.y, 0.0}, {box.high.x, box.high.y, 0.0});
    double low = 0.0;
    double high = 0.0;
    if (m_scene.ListClouds().empty()) {
        FindGroundHeights(low, high);
    }
    const std::vector<PointXY> corners = FlatCorners(m_band);
    m_view->SetUpProfileView(corners.data(), static_cast<int>(corners.size()), m_band.halfWidth, low, high,
                             m_trueHeights ? m_scene.GetExaggeration() : 0.0);
    m_added = 0;
}

/// The heights of the ground along the line, with some room; both stay as they are where there is none.
void ProfileWindow::FindGroundHeights(double& low, double& high) const {
    double lowest = std::numeric_limits<double>::infinity();
    double highest = -lowest;
    for (std::size_t leg = 1; leg < m_band.corners.size(); ++leg) {
        const Position& from = m_band.corners[leg - 1];
        const Position& to = m_band.corners[leg];
        for (int sample = 0; sample <= kGroundSamples; ++sample) {
            const double share = static_cast<double>(sample) / kGroundSamples;
            const double height =
                m_scene.ElevationAt(from.x + share * (to.x - from.x), from.y + share * (to.y - from.y));
            lowest = height < lowest ? height : lowest;
            highest = height > highest ? height : highest;
        }
    }
    if (lowest <= highest) {
        const double room = std::max((highest - lowest) * 0.1, m_band.Length() * 1e-3);
        low = lowest - room;
        high = highest + room;
    }
}

void ProfileWindow::Feed() {
    if (!HasCloudsOfScene()) {
        SetBand(m_band);
        return;
    }
    const BandReading::State state = m_reading.GetState();
    if (state.thinned != m_thinned) {
        m_thinned = state.thinned;
        m_view->ClearProfilePoints();
        m_added = 0;
    }
    if (state.points > m_added) {
        m_view->MakeCurrent(KTR::GLContextMain);
        m_reading.Visit(m_added, [this](const std::vector<BandPoint>& points, std::size_t first) {
            AddPoints(points, std::min(first, points.size()));
        });
        Redraw();
    }
    if (!state.reading) {
        KillTimer(m_window, kTimer);
        Redraw(); // also where a band holds nothing
    }
}

void ProfileWindow::AddPoints(const std::vector<BandPoint>& points, std::size_t first) {
    double originX = 0.0;
    double originY = 0.0;
    m_view->GetCurrentCoordinateOffset(originX, originY);
    const std::vector<CloudSource> clouds = m_scene.ListClouds();
    std::vector<KTR::GLDrawGeometry> records;
    records.reserve(points.size() - first);
    for (std::size_t index = first; index < points.size(); ++index) {
        const CloudPoint& point = points[index].point;
        const Rgb color = clouds.at(points[index].cloud).colors.ColorOf(point);
        KTR::GLDrawGeometry record{};
        record.x = static_cast<float>(point.position.x - originX);
        record.y = static_cast<float>(point.position.y - originY);
        record.z = static_cast<float>(point.position.z);
        record.r = color.red;
        record.g = color.green;
        record.b = color.blue;
        record.a = 255;
        records.push_back(record);
    }
    m_view->AddProfilePoints(records.data(), records.size());
    m_added = points.size();
}

void ProfileWindow::SetCursor(const Position& place, HWND map) {
    m_leader = map;
    double station = 0.0;
    double offset = 0.0;
    if (!m_view->RealWorld2Profile(place.x, place.y, station, offset)) {
        m_view->HideProfileCursor();
        return;
    }
    double height = 0.0;
    double left = 0.0;
    double right = 0.0;
    double top = 0.0;
    if (!std::isnan(place.z)) {
        height = place.z;
    } else if (!m_view->GetProfileCursor(left, height)) {
        m_view->GetViewExtents(left, height, right, top);
        height /= m_view->GetContextRecord(KTR::GLContextMain).camera.zExaggeration;
    }
    m_view->SetProfileCursor(station, height);
}

/// The one window may hear that the mouse has left after the other that it has come.
void ProfileWindow::ReleaseCursor(HWND window) {
    if (m_leader == window) {
        m_leader = nullptr;
        m_view->HideProfileCursor();
    }
}

/// Whether what was read is of the clouds that are shown.
bool ProfileWindow::HasCloudsOfScene() const {
    const std::vector<CloudSource> clouds = m_scene.ListClouds();
    return std::equal(
        clouds.begin(), clouds.end(), m_clouds.begin(), m_clouds.end(),
        [](const CloudSource& cloud, const auto& read) { return std::pair(cloud.id, cloud.hiddenClasses) == read; });
}

void ProfileWindow::ShowSceneAnew() {
    if (!HasCloudsOfScene()) {
        SetBand(m_band);
        return;
    }
    // The colours are the points' own.
    m_view->ClearProfilePoints();
    m_added = 0;
    Feed();
    Redraw();
}

LRESULT ProfileWindow::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (!m_ready) {
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
    switch (message) {
    case WM_SIZE:
        HandleSize(LOWORD(lParam), HIWORD(lParam));
        return 0;
    case WM_PAINT:
        ValidateRect(m_window, nullptr);
        DrawFrame();
        return 0;
    case WM_TIMER:
        Feed();
        return 0;
    case WM_ERASEBKGND:
        return 1; // every frame fills the window
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
        m_wheel.End(*m_view);
        SetCapture(m_window);
        m_dragged = CursorOf(lParam);
        m_view->BeginViewChange();
        return 0;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP:
        if (m_dragged) {
            m_dragged.reset();
            m_view->EndViewChange();
            ReleaseCapture();
        }
        return 0;
    case WM_MOUSEMOVE:
        HandleMouseMove(CursorOf(lParam));
        return 0;
    case WM_MOUSELEAVE:
        HandleMouseLeave();
        return 0;
    case WM_MOUSEWHEEL:
    case WM_MOUSEHWHEEL:
    case WM_GESTURENOTIFY:
    case WM_GESTURE:
        return HandleWheel(message, wParam, lParam) ? 0 : DefWindowProcW(m_window, message, wParam, lParam);
    case WM_DPICHANGED:
        m_view->MakeCurrent(KTR::GLContextMain);
        m_texts.Load(*m_view, PixelsPerInch());
        Redraw();
        return 0;
    case WM_KEYDOWN:
        HandleKey(wParam);
        return 0;
    case WM_CLOSE:
        Hide();
        return 0;
    default:
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
}

void ProfileWindow::Hide() {
    m_reading.Stop();
    KillTimer(m_window, kTimer);
    ShowWindow(m_window, SW_HIDE);
    m_shown = false;
    m_session.ShowProfileOnMaps();
}

void ProfileWindow::HandleSize(int width, int height) {
    if (width == 0 || height == 0) {
        return; // minimised
    }
    m_width = width;
    m_height = height;
    if (m_isNavigated) {
        Redraw();
    } else {
        SetUpView();
        Feed();
        Redraw();
    }
}

void ProfileWindow::HandleMouseMove(POINT cursor) {
    if (!m_cursor) {
        TRACKMOUSEEVENT leaving = {sizeof(leaving), TME_LEAVE, m_window, 0};
        TrackMouseEvent(&leaving);
    }
    m_cursor = cursor;
    m_leader = m_window;
    if (m_dragged) {
        m_view->Pan(cursor.x - m_dragged->x, cursor.y - m_dragged->y);
        m_dragged = cursor;
        m_isNavigated = true;
        Redraw();
        return;
    }
    double x = 0.0;
    double y = 0.0;
    double height = 0.0;
    double station = 0.0;
    double offset = 0.0;
    if (m_view->Client2RealWorld(cursor.x, cursor.y, x, y, height) &&
        m_view->RealWorld2Profile(x, y, station, offset)) {
        m_view->SetProfileCursor(station, height);
    } else {
        m_view->HideProfileCursor();
    }
}

void ProfileWindow::HandleMouseLeave() {
    m_cursor.reset();
    ReleaseCursor(m_window);
    InvalidateRect(m_window, nullptr, FALSE);
}

bool ProfileWindow::HandleWheel(UINT message, WPARAM wParam, LPARAM lParam) {
    const auto move = [this](double rightPixels, double downPixels, bool /*pans*/) {
        m_view->Pan(rightPixels, downPixels);
    };
    const WheelNavigation::Result result = m_wheel.Handle(m_window, *m_view, Scale(), message, wParam, lParam, move);
    if (result == WheelNavigation::Result::Moved) {
        m_isNavigated = true;
        Redraw();
    }
    return result != WheelNavigation::Result::NotAnswered;
}

void ProfileWindow::HandleKey(WPARAM key) {
    m_wheel.End(*m_view);
    const double width = 2.0 * m_band.halfWidth;
    Band band = m_band;
    switch (key) {
    case VK_UP:
        SetBand(m_band.Shifted(-width, 0.0));
        break;
    case VK_DOWN:
        SetBand(m_band.Shifted(width, 0.0));
        break;
    case VK_LEFT:
        SetBand(m_band.Shifted(0.0, -kSlideShare * m_band.Length()));
        break;
    case VK_RIGHT:
        SetBand(m_band.Shifted(0.0, kSlideShare * m_band.Length()));
        break;
    case 'W':
        band.halfWidth *= IsKeyDown(VK_SHIFT) ? 0.5 : 2.0;
        SetBand(std::move(band));
        break;
    case 'X':
        m_trueHeights = !m_trueHeights;
        m_isNavigated = false;
        SetUpView();
        Feed();
        Redraw();
        break;
    case VK_HOME:
        m_isNavigated = false;
        SetUpView();
        Feed();
        Redraw();
        break;
    case VK_BACK:
        m_isNavigated = true;
        if (IsKeyDown(VK_SHIFT)) {
            m_view->NextView();
        } else {
            m_view->PreviousView();
        }
        Redraw();
        break;
    case 'C':
        m_scene.SwitchColors();
        m_session.RedrawAll();
        break;
    case VK_ADD:
    case VK_OEM_PLUS:
        m_scene.SetPointSize(std::fmin(m_scene.GetPointSize() + 1.0, 64.0));
        m_session.RedrawAll();
        break;
    case VK_SUBTRACT:
    case VK_OEM_MINUS:
        m_scene.SetPointSize(std::fmax(m_scene.GetPointSize() - 1.0, 1.0));
        m_session.RedrawAll();
        break;
    case 'S':
        if (IsKeyDown(VK_CONTROL)) {
            AskWhereToSave();
        }
        break;
    case VK_ESCAPE:
        Hide();
        break;
    default:
        break;
    }
}

void ProfileWindow::Redraw() {
    m_isDrawn = false;
    InvalidateRect(m_window, nullptr, FALSE);
}

void ProfileWindow::DrawFrame() {
    if (!m_shown) {
        return;
    }
    if (!m_isDrawn) {
        DrawScene();
        UpdateTitle();
        m_isDrawn = true;
    }
    if (m_view->RedrawOverlays() == S_FALSE) {
        Redraw(); // the window has another size, or its context is a new one
    }
}

void ProfileWindow::DrawScene() {
    m_view->MakeCurrent(KTR::GLContextMain);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    m_view->SetBackgroundColor(kBackground, true);
    m_view->LoadViewMatrices();
    // Of points above each other the nearer ones show, as seen from the line's right.
    m_view->Enable(GL_DEPTH_TEST);
    m_view->PointSize(static_cast<float>(m_scene.GetPointSize() * Scale()));
    m_view->DrawProfilePoints();
    DrawGround();
    KTR::GLProfileGridStyle grid;
    grid.spacingPixels *= Scale();
    grid.unit = m_scene.GetUnits() == MapUnits::Metres ? L"m" : nullptr;
    m_view->DrawProfileGrid(grid);
}

/// The ground of reliefs, as a line over the points.
void ProfileWindow::DrawGround() {
    const double length = m_view->GetProfileLength();
    const double scale = Scale();
    std::vector<PixelLine> lines;
    std::optional<Position> before;
    for (int sample = 0; sample <= kGroundSamples; ++sample) {
        double x = 0.0;
        double y = 0.0;
        double clientX = 0.0;
        double clientY = 0.0;
        m_view->Profile2RealWorld(length * sample / kGroundSamples, x, y);
        const double height = m_scene.ElevationAt(x, y);
        if (std::isnan(height) || !m_view->RealWorld2Client(x, y, height, clientX, clientY)) {
            before.reset();
            continue;
        }
        const Position place{clientX / scale, (m_height - clientY) / scale, 0.0};
        if (before) {
            lines.push_back({*before, place});
        }
        before = place;
    }
    if (!lines.empty()) {
        SetUpPixelCamera(*m_view, m_width, m_height);
        DrawEdgedLines(*m_view, lines, scale);
        m_view->LoadViewMatrices();
    }
}

/// What is under the mouse, in words: the point that was drawn there.
std::string ProfileWindow::DescribeUnderCursor() const {
    if (!m_cursor) {
        return {};
    }
    const __int64 picked = m_view->PickProfilePoint(m_cursor->x, m_cursor->y, kPickPixels * Scale());
    if (picked < 0) {
        return {};
    }
    std::string text;
    m_reading.Visit(static_cast<std::size_t>(picked), [&](const std::vector<BandPoint>& points, std::size_t index) {
        if (index < points.size()) {
            const BandPoint& found = points[index];
            text = FormatPosition(found.point.position, 0.01) + "  " +
                   NameOfClass(found.point.classNumber, m_scene.ListClouds().at(found.cloud).classMeaning);
        }
    });
    return text;
}

void ProfileWindow::DrawReadout(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context) {
    const auto& own = *static_cast<const ProfileWindow*>(context);
    covered = {};
    const std::string text = own.DescribeUnderCursor();
    if (text.empty()) {
        return;
    }
    SetUpPixelCamera(view, own.m_width, own.m_height);
    const TextSizes sizes = own.m_texts.Sizes(view);
    constexpr double kEdge = 10.0;
    const double scale = own.Scale();
    const double left = own.m_width / scale - sizes.width(text) - kEdge;
    const double baseline = own.m_height / scale - kEdge - sizes.ascent;
    own.m_texts.Draw(view, {{text, std::floor(left), std::floor(baseline)}});
    covered = {(left - 4.0) * scale, 0.0, static_cast<double>(own.m_width),
               (2.0 * kEdge + sizes.ascent + sizes.descent) * scale};
}

void ProfileWindow::UpdateTitle() {
    const BandReading::State state = m_reading.GetState();
    const MapUnits units = m_scene.GetUnits();
    const double metres = PathLengthInMetres(units, m_band.corners);
    const double width = 2.0 * m_band.halfWidth * MetresPerUnit(units, m_band.corners.front().y);
    std::string title = "Profile - " + FormatLength(metres) + " long, " + FormatLength(width) + " wide - " +
                        std::to_string(m_view->GetProfilePointCount()) + (state.reading ? " points so far" : " points");
    if (state.thinned > 0) {
        title += ", one of " + std::to_string(1ULL << state.thinned);
    }
    char factor[48] = {};
    std::snprintf(factor, sizeof(factor), " - heights x %.3g",
                  m_view->GetContextRecord(KTR::GLContextMain).camera.zExaggeration);
    title += factor;
    if (!state.problem.empty()) {
        title += " - " + state.problem;
    }
    std::wstring wide = WideText(title);
    if (!m_savedAs.empty()) {
        wide += L" - " + m_savedAs;
    }
    SetWindowTextW(m_window, wide.c_str());
}

void ProfileWindow::AskWhereToSave() {
    wchar_t name[MAX_PATH] = L"profile.png";
    OPENFILENAMEW question = {};
    question.lStructSize = sizeof(question);
    question.hwndOwner = m_window;
    question.lpstrFilter = L"Picture (*.png)\0*.png\0Table of points (*.csv)\0*.csv\0";
    question.lpstrFile = name;
    question.nMaxFile = static_cast<DWORD>(std::size(name));
    question.lpstrTitle = L"Save the profile";
    question.lpstrDefExt = L"png";
    question.Flags = OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR;
    if (!GetSaveFileNameW(&question)) {
        return;
    }
    try {
        Save(name);
        m_savedAs = L"saved as " + std::filesystem::path(name).filename().wstring();
    } catch (const FileError& error) {
        m_savedAs = WideText(error.what());
    }
    UpdateTitle();
}

void ProfileWindow::Save(const std::filesystem::path& path) {
    if (EndsWith(path, L".csv")) {
        SaveTable(path);
        return;
    }
    DrawScene();
    SaveScreenshot(*m_view, m_width, m_height, path);
    Redraw();
}

/// One line for each point that is kept, along the line.
void ProfileWindow::SaveTable(const std::filesystem::path& path) const {
    std::ofstream file(DiskPath(path), std::ios::binary);
    file << "station,height,x,y,z,class\n";
    m_reading.Visit(0, [&](const std::vector<BandPoint>& points, std::size_t) {
        constexpr double kOutside = -1.0;
        std::vector<double> stations(points.size(), kOutside);
        std::vector<std::size_t> order(points.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        for (std::size_t index = 0; index < points.size(); ++index) {
            double offset = 0.0;
            const Position& place = points[index].point.position;
            m_view->RealWorld2Profile(place.x, place.y, stations[index], offset);
        }
        std::erase_if(order, [&](std::size_t index) { return stations[index] < 0.0; });
        std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return stations[a] < stations[b]; });
        const int digits = m_scene.GetUnits() == MapUnits::Degrees ? 8 : 3;
        for (const std::size_t index : order) {
            const CloudPoint& point = points[index].point;
            char line[256] = {};
            std::snprintf(line, sizeof(line), "%.*f,%.3f,%.*f,%.*f,%.3f,%d\n", digits, stations[index],
                          point.position.z, digits, point.position.x, digits, point.position.y, point.position.z,
                          static_cast<int>(point.classNumber));
            file << line;
        }
    });
    file.close();
    if (!file) {
        throw FileError(path, "the table could not be written");
    }
}

} // namespace OrrinViewer
