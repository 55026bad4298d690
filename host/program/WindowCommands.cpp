// What a viewer's window does with files: its menu, its dialogs, and what is dropped on it.

#include "ViewerWindow.h"

#include "FileDialogs.h"
#include "MapMenu.h"
#include "RecentFiles.h"
#include "SceneProject.h"
#include "ViewerSession.h"
#include "WindowManners.h"
#include "drawing/WideText.h"
#include "files/FileError.h"

#include <shellapi.h>

#include <cmath>
#include <cstdio>
#include <iterator>

namespace OrrinViewer {

namespace {

constexpr char kAbout[] =
    "OrrinViewer " ORRIN_VIEWER_VERSION "\nShows point clouds, reliefs, rasters and vectors in one map.";
constexpr wchar_t kPictures[] = L"PNG (*.png)\0*.png\0JPEG (*.jpg)\0*.jpg\0";
constexpr wchar_t kProjects[] = L"Projects (*.orrin)\0*.orrin\0";

std::vector<std::filesystem::path> TakeDropped(HDROP drop) {
    std::vector<std::filesystem::path> files;
    const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
    for (UINT index = 0; index < count; ++index) {
        std::wstring name(DragQueryFileW(drop, index, nullptr, 0), L'\0');
        DragQueryFileW(drop, index, name.data(), static_cast<UINT>(name.size()) + 1);
        files.emplace_back(name);
    }
    DragFinish(drop);
    return files;
}

/// The user waits for something long, and may leave by Esc.
bool WantsToLeave() {
    MSG message = {};
    bool leaves = false;
    while (PeekMessageW(&message, nullptr, WM_KEYFIRST, WM_KEYLAST, PM_REMOVE)) {
        leaves = leaves || (message.message == WM_KEYDOWN && message.wParam == VK_ESCAPE);
    }
    return leaves;
}

} // namespace

void ViewerWindow::SetUpMenu() {
    SetMenu(m_window, MakeMapMenu());
    DragAcceptFiles(m_window, TRUE);
    // The map keeps the size that was asked for; how high the menu is depends on how it is broken into lines.
    for (int round = 0; round < 2; ++round) {
        const SIZE size = ChooseSize();
        SetClientSize(m_window, size.cx, size.cy);
    }
}

/// Ticks what is on.
void ViewerWindow::RefreshMenu(HMENU menu) const {
    if (IsRecentMenu(menu)) {
        FillRecentMenu(menu, ListRecentFiles());
        return;
    }
    const auto tick = [menu](UINT command, bool on) {
        CheckMenuItem(menu, command, MF_BYCOMMAND | (on ? MF_CHECKED : MF_UNCHECKED));
    };
    const auto ofKey = [](int key) { return CommandOfKey + static_cast<UINT>(key); };
    const KTR::GLViewOrientation orientation = m_view->GetCurrentViewOrientation();
    for (int side = KTR::GLViewOrientationTop; side <= KTR::GLViewOrientationRight; ++side) {
        tick(ofKey('1' + side), orientation == side);
    }
    tick(ofKey('V'), m_view->IsPerspectiveSideView());
    tick(ofKey('F'), m_scene.AdaptsPointSize());
    tick(ofKey('E'), m_scene.ShadesClouds());
    tick(ofKey('M'), m_tool == Tool::MeasurePath || m_tool == Tool::MeasureArea);
    tick(ofKey('P'), m_tool == Tool::DrawProfile);
    tick(ofKey(VK_F1), m_helpOverlay != 0);
    tick(ofKey(VK_F4), m_session.GetPanel().IsShown());
}

void ViewerWindow::HandleCommand(UINT command) {
    if (command >= CommandOfKey) {
        HandleKey(command - CommandOfKey);
        return;
    }
    if (command >= CommandRecent) {
        const std::vector<std::filesystem::path> files = ListRecentFiles();
        if (const std::size_t index = command - CommandRecent; index < files.size()) {
            OpenFiles({files[index]}, IsKeyDown(VK_SHIFT));
        }
        return;
    }
    switch (command) {
    case CommandAdd:
    case CommandOpen:
        AskForFilesToOpen(command == CommandOpen);
        break;
    case CommandNew:
        OpenFiles({}, true);
        break;
    case CommandSave:
    case CommandSaveAs:
        SaveProject(command == CommandSaveAs);
        break;
    case CommandSavePicture:
        AskForPicture();
        break;
    case CommandClose:
        SendMessageW(m_window, WM_CLOSE, 0, 0);
        break;
    case CommandNextView:
        StepThroughViews(true);
        Redraw();
        break;
    case CommandAbout:
        MessageBoxW(m_window, WideText(kAbout).c_str(), L"About OrrinViewer", MB_OK | MB_ICONINFORMATION);
        break;
    default:
        break;
    }
}

/// Keys that concern files; Ctrl is down.
bool ViewerWindow::HandleFileKey(WPARAM key) {
    const bool isShifted = IsKeyDown(VK_SHIFT);
    switch (key) {
    case 'O':
        HandleCommand(isShifted ? CommandOpen : CommandAdd);
        return true;
    case 'S':
        HandleCommand(isShifted ? CommandSavePicture : CommandSave);
        return true;
    default:
        return false;
    }
}

void ViewerWindow::HandleDrop(WPARAM drop) {
    const std::vector<std::filesystem::path> files = TakeDropped(reinterpret_cast<HDROP>(drop));
    SetForegroundWindow(m_window);
    OpenFiles(files, IsKeyDown(VK_SHIFT));
}

void ViewerWindow::AskForFilesToOpen(bool replaces) {
    const std::vector<std::filesystem::path> files = AskForFiles(m_window);
    if (!files.empty()) {
        OpenFiles(files, replaces);
    }
}

void ViewerWindow::OpenFiles(const std::vector<std::filesystem::path>& files, bool replaces) {
    if (!replaces || MayLeaveProject()) {
        m_session.OpenFiles(files, replaces);
    }
}

/// Asks where a project would be lost as it is now. False where the person would rather stay. Without a person nobody
/// is asked.
bool ViewerWindow::MayLeaveProject() {
    if (m_options.frames > 0 || !m_session.GetDocument().IsChanged()) {
        return true;
    }
    const SaveAnswer answer = AskWhetherToSave(m_window, m_session.GetDocument().GetName());
    return answer == SaveAnswer::Leave || (answer == SaveAnswer::Save && SaveProject(false));
}

/// False where it is not saved: the person thought better of it, or it could not be written.
bool ViewerWindow::SaveProject(bool asks) {
    std::filesystem::path path = m_session.GetDocument().GetProject();
    if (asks || path.empty()) {
        const std::wstring name = path.empty() ? L"project.orrin" : path.wstring();
        const auto answer = AskWhereToSave(m_window, L"Save the project", kProjects, name, L"orrin");
        if (!answer) {
            return false;
        }
        path = *answer;
    }
    try {
        m_session.SaveProject(path, DescribeView(*m_view, m_scene.GetExtent()));
    } catch (const FileError& error) {
        TellProblem(m_window, error.what());
        return false;
    }
    return true;
}

void ViewerWindow::AskForPicture() {
    if (m_session.IsReading()) {
        TellProblem(m_window, "A picture can be saved once everything has been read.");
        return;
    }
    const auto path = AskWhereToSave(m_window, L"Save a picture", kPictures, L"picture.png", L"png");
    const auto size = path ? AskForPictureSize(m_window, m_width, m_height) : std::nullopt;
    if (!size) {
        return;
    }
    SetCursor(LoadCursorW(nullptr, IDC_WAIT));
    const auto progress = [this](double share) {
        wchar_t title[80] = {};
        std::swprintf(title, std::size(title), L"OrrinViewer - saving a picture: %d %% (Esc stops)",
                      static_cast<int>(std::lround(share * 100.0)));
        SetWindowTextW(m_window, title);
        return !WantsToLeave();
    };
    try {
        SavePicture(*path, *size, progress);
    } catch (const FileError& error) {
        TellProblem(m_window, error.what());
    }
    SetCursorShape();
    UpdateTitle();
}

} // namespace OrrinViewer
