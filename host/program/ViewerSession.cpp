#include "ViewerSession.h"

#include "RecentFiles.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

namespace OrrinViewer {

namespace {

/// Between windows, which would otherwise hide each other where the system does not spread them.
constexpr int kOffsetPixels = 40;

double FindMedian(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// "map.png" for the first window, "map-2.png" for the second.
std::filesystem::path NameForWindow(const std::filesystem::path& path, std::size_t window) {
    if (window == 0) {
        return path;
    }
    std::filesystem::path name = path;
    name.replace_filename(path.stem());
    name += "-" + std::to_string(window + 1);
    name += path.extension();
    return name;
}

} // namespace

ViewerSession::~ViewerSession() {
    const bool hadViews = !m_windows.empty();
    m_profile.reset();
    // The others share with the first.
    while (!m_windows.empty()) {
        m_windows.pop_back();
    }
    if (hadViews) {
        KTR::COpenGLView::FinalShutDownDestroyClassCriticalSection();
    }
}

bool ViewerSession::Open() {
    const std::optional<ProjectView> view = m_document.TakeView();
    for (int window = 0; window < m_options.windows; ++window) {
        m_windows.push_back(std::make_unique<ViewerWindow>(m_scene, m_options, *this));
        if (!m_windows.back()->Open(window * kOffsetPixels)) {
            return false;
        }
        ++m_openWindows;
        if (view && !m_options.area) {
            m_windows.back()->ShowView(*view);
        }
    }
    if (m_options.frames == 0) {
        NoteRecentFiles(m_options.files);
        auto layers = std::make_unique<LayerPanel>(m_scene, *this);
        m_layerPanel = layers.get();
        m_panel.Add(std::move(layers), 2.0);
        auto info = std::make_unique<InfoPanel>(*this);
        m_info = info.get();
        m_panel.Add(std::move(info), 1.0);
        m_panel.Show(m_windows.front()->Handle());
    }
    return true;
}

void ViewerSession::Run(bool (*report)(const Scene& scene, const SceneLoading& loading)) {
    if (m_options.frames > 0) {
        DrawFrames();
        return;
    }
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
        // While files are read, the windows' timers see to it that this is looked at again and again.
        if (report && !IsReading()) {
            UpdateScene();
            report(m_scene, m_loading);
            report = nullptr;
        }
    }
}

void ViewerSession::UpdateScene() {
    m_loading.Update();
    m_scene.Update();
    m_isStopped = m_isStopped && IsReading();
    if (m_document.Update()) {
        for (const std::unique_ptr<ViewerWindow>& window : m_windows) {
            window->UpdateTitle();
        }
    }
    if (m_layerPanel) {
        m_layerPanel->Update();
    }
}

bool ViewerSession::StopReading() {
    if (!IsReading()) {
        return false;
    }
    if (!std::exchange(m_isStopped, true)) {
        m_loading.Stop();
    }
    return true;
}

void ViewerSession::OpenFiles(const std::vector<std::filesystem::path>& files, bool replaces) {
    if (replaces && m_windows.front()->View().MakeCurrent(KTR::GLContextMain)) {
        if (m_profile) {
            m_profile->Hide();
        }
        m_document.Clear();
        for (const std::unique_ptr<ViewerWindow>& window : m_windows) {
            window->Forget();
        }
    }
    m_document.Add(files);
    const std::optional<ProjectView> view = m_document.TakeView();
    for (const std::unique_ptr<ViewerWindow>& window : m_windows) {
        if (view) {
            window->ShowView(*view);
        }
        window->ExpectScene();
    }
    OrrinViewer::NoteRecentFiles(files);
}

void ViewerSession::SaveProject(const std::filesystem::path& path, const std::optional<ProjectView>& view) {
    m_document.Save(path, view);
    OrrinViewer::NoteRecentFiles({path});
    RedrawAll(); // with other titles
}

void ViewerSession::RedrawAll() {
    for (const std::unique_ptr<ViewerWindow>& window : m_windows) {
        window->ShowSceneAnew();
    }
    if (ProfileWindow* const profile = GetProfile()) {
        profile->ShowSceneAnew();
    }
    if (m_layerPanel) {
        m_layerPanel->Update();
    }
}

/// The one beside which the panel stands, or another one when that is closed.
ViewerWindow* ViewerSession::FindMapOfPanel() {
    ViewerWindow* map = nullptr;
    for (const std::unique_ptr<ViewerWindow>& window : m_windows) {
        const bool isBeside = window->Handle() == m_panel.GetBeside();
        if (IsWindowVisible(window->Handle()) && (isBeside || !map)) {
            map = window.get();
        }
    }
    return map;
}

void ViewerSession::ShowLayer(LayerId layer) {
    const std::optional<LayerInfo> info = m_scene.FindLayer(layer);
    ViewerWindow* const map = FindMapOfPanel();
    if (info && map && !info->extent.IsEmpty()) {
        map->ShowExtent(info->extent);
    }
}

void ViewerSession::FocusMap() {
    if (const ViewerWindow* const map = FindMapOfPanel()) {
        SetFocus(map->Handle());
    }
}

void ViewerSession::PassKeyToMap(WPARAM key) {
    if (const ViewerWindow* const map = FindMapOfPanel()) {
        SendMessageW(map->Handle(), WM_KEYDOWN, key, 0);
    }
}

bool ViewerSession::MakeCurrent() {
    ViewerWindow* const map = FindMapOfPanel();
    return map && map->View().MakeCurrent(KTR::GLContextMain);
}

void ViewerSession::NoteClosed() {
    if (--m_openWindows == 0) {
        PostQuitMessage(0);
    }
}

void ViewerSession::Pick(const PickedPlace& place) {
    m_picking.Pick(place);
    ShowPick();
}

void ViewerSession::StepPick(bool forward) {
    if (m_picking.Step(forward)) {
        ShowPick();
    }
}

void ViewerSession::ClearPick() {
    m_picking.Clear();
    ShowPick();
}

void ViewerSession::UpdatePick() {
    if (m_picking.Update()) {
        ShowPick();
    }
}

void ViewerSession::CopyPick(HWND window) const {
    if (const PickedThing* const thing = m_picking.GetThing()) {
        CopyText(window, RowsAsText(thing->rows));
    }
}

void ViewerSession::ShowPick() {
    if (m_info) {
        m_info->ShowPick();
    }
    for (const std::unique_ptr<ViewerWindow>& window : m_windows) {
        window->RedrawOverlays();
    }
}

void ViewerSession::ShowProfile(std::vector<Position> line, HWND drawnIn) {
    if (!m_profile) {
        m_profile = std::make_unique<ProfileWindow>(m_scene, m_options, *this);
    }
    if (!m_profile->Show(std::move(line), drawnIn)) {
        m_profile.reset();
        return;
    }
    for (const std::unique_ptr<ViewerWindow>& window : m_windows) {
        m_profile->View().LinkProfile(window->View());
    }
    ShowProfileOnMaps();
}

void ViewerSession::ShowProfileOnMaps() {
    for (const std::unique_ptr<ViewerWindow>& window : m_windows) {
        if (m_profile && !m_profile->IsShown()) {
            m_profile->View().UnlinkProfile(window->View());
        }
        window->RedrawOverlays();
    }
}

void ViewerSession::DrawFrames() {
    MSG message = {};
    std::vector<double> milliseconds;
    for (int frame = 1; frame <= m_options.frames; ++frame) {
        // Not those that ask for a frame: while a window draws one it may ask for the next, and this would not end.
        constexpr UINT kWithoutPainting = PM_REMOVE | PM_QS_INPUT | PM_QS_POSTMESSAGE | PM_QS_SENDMESSAGE;
        while (PeekMessageW(&message, nullptr, 0, 0, kWithoutPainting)) {
            DispatchMessageW(&message);
        }
        for (const std::unique_ptr<ViewerWindow>& window : m_windows) {
            milliseconds.push_back(window->DrawScene());
            if (frame < m_options.frames) {
                window->Present();
            }
        }
    }
    SaveScreenshots();
    if (m_options.frames > 1) {
        if (m_scene.CountPoints() > 0) {
            std::printf("%zu points per frame, ", m_scene.CountPoints());
        }
        std::printf("%.2f ms per frame (median of %zu)\n", FindMedian(milliseconds), milliseconds.size());
    }
}

/// The last frames are still in the back buffers.
void ViewerSession::SaveScreenshots() {
    for (std::size_t index = 0; index < m_windows.size(); ++index) {
        const std::filesystem::path path = NameForWindow(m_options.screenshot, index);
        if (!m_options.screenshot.empty() && m_options.pictureSize) {
            m_windows[index]->SavePicture(path, *m_options.pictureSize, {});
        } else if (!m_options.screenshot.empty()) {
            m_windows[index]->SaveFrame(path);
        }
        m_windows[index]->Present();
    }
}

} // namespace OrrinViewer
