// Mouse and keys of a viewer's window.

#include "ViewerWindow.h"

#include "ViewerSession.h"

#include <windowsx.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace OrrinViewer {

namespace {

constexpr double kPanPixels = 60.0;
constexpr double kDegreesPerPixel = 0.4;
constexpr double kSunStepDegrees = 15.0;

} // namespace

LRESULT ViewerWindow::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_SIZE) {
        // A minimised window has no size.
        m_width = std::max<int>(LOWORD(lParam), 1);
        m_height = std::max<int>(HIWORD(lParam), 1);
        Redraw();
        m_session.GetPanel().Follow();
        return 0;
    }
    if (!m_ready) {
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
    switch (message) {
    case WM_PAINT:
        ValidateRect(m_window, nullptr);
        DrawFrame();
        return 0;
    case WM_MOVE:
        m_session.GetPanel().Follow();
        return 0;
    case WM_TIMER:
        HandleTimer(wParam);
        return 0;
    case WM_ERASEBKGND:
        return 1; // every frame fills the window
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
        HandleButtonDown(wParam, CursorOf(lParam), message == WM_RBUTTONDOWN);
        return 0;
    case WM_LBUTTONDBLCLK:
        // Its first click has settled the place, if it was one there: somebody may click fast.
        if (m_band == BandUse::None || !IsClick(CursorOf(lParam))) {
            HandleButtonDown(wParam, CursorOf(lParam), false);
            m_canPick = false; // its first click has
        } else {
            FinishBand();
        }
        return 0;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP:
        HandleButtonUp(CursorOf(lParam));
        return 0;
    case WM_MOUSEMOVE:
        HandleMouseMove(CursorOf(lParam));
        return 0;
    case WM_MOUSELEAVE:
        HandleMouseLeave();
        return 0;
    case WM_DPICHANGED:
        m_view->MakeCurrent(KTR::GLContextMain);
        LoadTexts();
        Redraw();
        return 0;
    case WM_MOUSEWHEEL:
    case WM_MOUSEHWHEEL:
    case WM_GESTURENOTIFY:
    case WM_GESTURE:
        return HandleWheel(message, wParam, lParam) ? 0 : DefWindowProcW(m_window, message, wParam, lParam);
    case WM_SETCURSOR:
        if (LOWORD(lParam) == HTCLIENT) {
            SetCursorShape();
            return TRUE;
        }
        return DefWindowProcW(m_window, message, wParam, lParam);
    case WM_KEYDOWN:
        HandleKey(wParam);
        return 0;
    case WM_COMMAND:
        HandleCommand(LOWORD(wParam));
        return 0;
    case WM_INITMENUPOPUP:
        RefreshMenu(reinterpret_cast<HMENU>(wParam));
        return 0;
    case WM_DROPFILES:
        HandleDrop(wParam);
        return 0;
    case WM_CHAR:
        if (wParam == L'?') {
            HandleKey(VK_F1);
        }
        return 0;
    case WM_CLOSE:
        if (m_session.HasOneWindow() && !MayLeaveProject()) {
            return 0;
        }
        // The window itself goes with this object, after the view has released what it holds there.
        ShowWindow(m_window, SW_HIDE);
        m_session.NoteClosed();
        return 0;
    default:
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
}

void ViewerWindow::HandleButtonDown(WPARAM keys, POINT cursor, bool isRight) {
    if (m_dragging || m_bandEndsWithButton) {
        return; // the other button is down
    }
    m_wheel.End(*m_view);
    if (m_notices.DismissAt(cursor.x, cursor.y)) {
        RedrawOverlays();
        return;
    }
    m_cursor = cursor;
    m_pressed = cursor;
    if (isRight && m_band != BandUse::None) {
        FinishBandHere();
        return;
    }
    SetCapture(m_window);
    const bool isShifted = (keys & MK_SHIFT) != 0;
    const bool isControlled = (keys & MK_CONTROL) != 0;
    if (!isRight && m_band == BandUse::None && (isShifted || (!isControlled && TakeProfileCorner(cursor)))) {
        if (isShifted) {
            BeginBand(BandUse::Zoom, {}, cursor);
        }
        m_bandEndsWithButton = m_band != BandUse::None;
    } else if (!isRight && (isControlled || m_tool != Tool::Look)) {
        if (const std::optional<Position> place = FindPositionUnder(cursor)) {
            AddBandPlace(isControlled && m_tool == Tool::Look ? BandUse::Length : BandOfTool(), *place, cursor);
            m_bandEndsWithButton = isControlled && m_tool == Tool::Look;
        }
    } else {
        m_dragging = true;
        m_isDragged = false;
        m_canPick = !isRight;
        m_draggingPans = isRight || !m_view->IsPerspectiveSideView();
        m_view->BeginViewChange();
        RedrawOverlays();
    }
}

/// The one place, or as good as that.
bool ViewerWindow::IsNear(POINT one, POINT other) const {
    const double reach = kClickPixels * Scale();
    return std::labs(one.x - other.x) <= reach && std::labs(one.y - other.y) <= reach;
}

void ViewerWindow::HandleButtonUp(POINT cursor) {
    const bool wasDragged = !IsClick(cursor);
    if (m_dragging) {
        m_view->EndViewChange();
        m_dragging = false;
        if (m_isDragged) {
            Redraw(); // the frames until now were not stored
        } else if (m_canPick) {
            PickAt(cursor);
        }
    } else if (m_bandEndsWithButton || (m_band != BandUse::None && m_bandPlaces.size() == 1 && wasDragged)) {
        MoveBand(cursor);
        if (m_bandEnd && m_band != BandUse::Zoom) {
            m_bandPlaces.push_back(*m_bandEnd);
        }
        FinishBand();
    }
    m_bandEndsWithButton = false;
    ReleaseCapture();
}

void ViewerWindow::HandleMouseMove(POINT cursor) {
    if (!m_cursor) {
        TRACKMOUSEEVENT leaving = {sizeof(leaving), TME_LEAVE, m_window, 0};
        TrackMouseEvent(&leaving);
    }
    const POINT before = m_cursor.value_or(cursor);
    m_cursor = cursor;
    if (m_dragging) {
        DragTo(cursor, before);
        return;
    }
    if (m_band != BandUse::None) {
        MoveBand(cursor);
    }
    LeadProfileCursor();
    RedrawOverlays();
}

/// Until it is clear that it is no click, the map stays where it is.
void ViewerWindow::DragTo(POINT cursor, POINT before) {
    if (!m_isDragged) {
        if (IsClick(cursor)) {
            return;
        }
        m_isDragged = true;
        before = m_pressed;
        if (!m_draggingPans && m_view->MakeCurrent(KTR::GLContextMain)) {
            m_view->SetTargetFromScene(m_pressed.x, m_pressed.y);
        }
    }
    Drag(cursor.x - before.x, cursor.y - before.y, m_draggingPans);
    Redraw();
}

void ViewerWindow::HandleMouseLeave() {
    m_cursor.reset();
    if (ProfileWindow* const profile = m_session.GetProfile()) {
        profile->ReleaseCursor(m_window);
    }
    RedrawOverlays();
}

void ViewerWindow::LeadProfileCursor() {
    ProfileWindow* const profile = m_session.GetProfile();
    if (!profile || !m_cursor || m_band != BandUse::None) {
        return;
    }
    if (const std::optional<Position> place = FindPositionUnder(*m_cursor)) {
        profile->SetCursor(*place, m_window);
    } else {
        profile->ReleaseCursor(m_window);
    }
}

void ViewerWindow::SetCursorShape() const {
    const bool draws = m_band != BandUse::None || m_tool != Tool::Look;
    SetCursor(LoadCursorW(nullptr, draws ? IDC_CROSS : IDC_ARROW));
}

void ViewerWindow::HandleKey(WPARAM key) {
    m_wheel.End(*m_view);
    if (IsKeyDown(VK_CONTROL) && !IsKeyDown(VK_MENU) && HandleFileKey(key)) {
        return;
    }
    if (m_band != BandUse::None && key == VK_BACK) {
        TakeBandPlaceBack();
        return;
    }
    if (HandleViewKey(key) || HandleSceneKey(key)) {
        return;
    }
    switch (key) {
    case VK_F1:
        ShowHelp(m_helpOverlay == 0);
        break;
    case VK_F4:
        if (SidePanel& panel = m_session.GetPanel(); panel.IsShown()) {
            panel.Hide();
        } else {
            panel.Show(m_window);
        }
        break;
    case 'M':
        SetTool(m_tool == Tool::MeasurePath   ? Tool::MeasureArea
                : m_tool == Tool::MeasureArea ? Tool::Look
                                              : Tool::MeasurePath);
        break;
    case 'N':
        m_session.StepPick(!IsKeyDown(VK_SHIFT));
        break;
    case 'P':
        SetTool(m_tool == Tool::DrawProfile ? Tool::Look : Tool::DrawProfile);
        break;
    case VK_RETURN:
        if (m_band != BandUse::None && !m_bandEndsWithButton) {
            FinishBandHere();
        }
        break;
    case VK_ESCAPE:
        HandleEscape();
        break;
    default:
        break;
    }
}

/// Keys that change what this window shows of the scene, and no other window.
bool ViewerWindow::HandleViewKey(WPARAM key) {
    const bool pans = IsKeyDown(VK_SHIFT);
    const double pan = kPanPixels * Scale();
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
        StepThroughViews(IsKeyDown(VK_SHIFT));
        break;
    case 'Z':
    case 'Y':
        if (!IsKeyDown(VK_CONTROL)) {
            return false;
        }
        StepThroughViews(key == 'Y');
        break;
    case VK_HOME:
        ShowFrom(m_view->GetCurrentViewOrientation());
        break;
    case 'V':
        ShowFrom(m_view->IsPerspectiveSideView() ? KTR::GLViewOrientationTop : KTR::GLViewOrientationPerspective);
        break;
    case VK_LEFT:
        Drag(pan, 0.0, pans);
        break;
    case VK_RIGHT:
        Drag(-pan, 0.0, pans);
        break;
    case VK_UP:
        Drag(0.0, pan, pans);
        break;
    case VK_DOWN:
        Drag(0.0, -pan, pans);
        break;
    default:
        return false;
    }
    Redraw();
    return true;
}

/// Keys that change how the scene is drawn, in all windows.
bool ViewerWindow::HandleSceneKey(WPARAM key) {
    m_scene.SetScreenScale(Scale());
    switch (key) {
    case 'C':
        if (IsKeyDown(VK_CONTROL)) {
            m_session.CopyPick(m_window);
            return true;
        }
        m_scene.SwitchColors();
        break;
    case 'E':
        m_scene.ShadeClouds(!m_scene.ShadesClouds());
        break;
    case 'F':
        if (m_scene.AdaptsPointSize()) {
            m_scene.SetPointSize(m_scene.GetPointSize());
        } else {
            m_scene.AdaptPointSize();
        }
        break;
    case 'S':
        m_scene.TurnSun(IsKeyDown(VK_SHIFT) ? -kSunStepDegrees : kSunStepDegrees);
        break;
    case 'A':
        m_scene.RaiseSun(IsKeyDown(VK_SHIFT) ? -kSunStepDegrees : kSunStepDegrees);
        break;
    case VK_ADD:
    case VK_OEM_PLUS:
        m_scene.SetPointSize(std::fmin(std::floor(m_scene.FindPointSize(*m_view)) + 1.0, 64.0));
        break;
    case VK_SUBTRACT:
    case VK_OEM_MINUS:
        m_scene.SetPointSize(std::fmax(std::ceil(m_scene.FindPointSize(*m_view)) - 1.0, 1.0));
        break;
    default:
        return false;
    }
    m_session.RedrawAll();
    return true;
}

/// Leaves what there is to leave, one after the other; the program last.
void ViewerWindow::HandleEscape() {
    if (m_session.StopReading()) {
        m_notices.Update();
        UpdateTitle();
        RedrawOverlays();
    } else if (m_band != BandUse::None) {
        CancelBand();
    } else if (m_notices.Dismiss()) {
        RedrawOverlays();
    } else if (m_helpOverlay != 0) {
        ShowHelp(false);
    } else if (m_tool != Tool::Look) {
        SetTool(Tool::Look);
    } else if (m_measured) {
        m_measured.reset();
        RedrawOverlays();
    } else if (m_session.GetPicking().GetThing()) {
        m_session.ClearPick();
    } else if (MayLeaveProject()) {
        PostQuitMessage(0);
    }
}

void ViewerWindow::StepThroughViews(bool forward) {
    if (forward) {
        m_view->NextView();
    } else {
        m_view->PreviousView();
    }
    m_isNavigated = true;
}

bool ViewerWindow::HandleWheel(UINT message, WPARAM wParam, LPARAM lParam) {
    const auto move = [this](double rightPixels, double downPixels, bool pans) {
        Drag(rightPixels, downPixels, pans || IsKeyDown(VK_SHIFT));
    };
    const WheelNavigation::Result result = m_wheel.Handle(m_window, *m_view, Scale(), message, wParam, lParam, move);
    if (result == WheelNavigation::Result::Moved) {
        m_isNavigated = true;
        Redraw();
    }
    return result != WheelNavigation::Result::NotAnswered;
}

void ViewerWindow::Drag(double rightPixels, double downPixels, bool pans) {
    m_isNavigated = true;
    if (m_view->IsPerspectiveSideView() && !pans) {
        const double degrees = kDegreesPerPixel / Scale();
        m_view->OrbitBy(rightPixels * degrees, downPixels * degrees);
    } else {
        m_view->Pan(rightPixels, downPixels);
    }
}

void ViewerWindow::ShowFrom(KTR::GLViewOrientation orientation) {
    CancelBand();
    FitAboveStatus([&] { m_scene.ShowEverything(*m_view, orientation); });
    m_isNavigated = false;
}

/// What is drawn under the cursor; on a map also where nothing with a height is.
std::optional<Position> ViewerWindow::FindPositionUnder(POINT cursor) {
    PointXYZ place;
    m_view->MakeCurrent(KTR::GLContextMain);
    if (m_view->Client2RealWorldOnScene(cursor.x, cursor.y, place)) {
        return Position{place.x, place.y, place.z};
    }
    if (!IsMap()) {
        return std::nullopt;
    }
    m_view->Client2RealWorld(cursor.x, cursor.y, place.x, place.y, place.z);
    return Position{place.x, place.y, std::numeric_limits<double>::quiet_NaN()};
}

} // namespace OrrinViewer
