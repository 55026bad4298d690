#pragma once

#include "ProfileWindow.h"
#include "SceneLoading.h"
#include "SidePanel.h"
#include "ViewerOptions.h"
#include "ViewerWindow.h"
#include "drawing/Scene.h"

#include <memory>
#include <vector>

namespace OrrinViewer {

/// All windows of the program. They show one scene, and share the programs and textures that the library made for the
/// first of them.
class ViewerSession {
public:
    ViewerSession(Scene& scene, SceneLoading& loading, const ViewerOptions& options)
        : m_scene(scene), m_loading(loading), m_options(options) {}
    ~ViewerSession();
    ViewerSession(const ViewerSession&) = delete;
    ViewerSession& operator=(const ViewerSession&) = delete;

    /// Opens the windows; false when there is no OpenGL to draw with.
    bool Open();
    /// Runs until the last window is closed, or until the options' number of frames is drawn. Throws FileError when a
    /// screenshot cannot be written. While a person looks, `report` is called once all files are read.
    void Run(bool (*report)(const Scene& scene, const SceneLoading& loading));

    /// Brings to the scene what has been read since; its version is another one then.
    void UpdateScene();
    /// Whether more is to come.
    bool IsReading() const { return m_loading.IsLoading() || m_scene.IsReading(); }

    /// How the scene is drawn has changed, which every window shows.
    void RedrawAll();
    void NoteClosed();

    /// The controls beside a map; they are of all windows together.
    SidePanel& GetPanel() { return m_panel; }

    /// Shows the profile along a line that was drawn in one of the windows.
    void ShowProfile(std::vector<Position> line, HWND drawnIn);
    /// The profile's window; null while there is none to be seen.
    ProfileWindow* GetProfile() { return m_profile && m_profile->IsShown() ? m_profile.get() : nullptr; }
    /// Its line is another one, or it is hidden: maps draw it over their frames.
    void ShowProfileOnMaps();

private:
    void DrawFrames();
    void SaveScreenshots();

    Scene& m_scene;
    SceneLoading& m_loading;
    const ViewerOptions& m_options;
    std::vector<std::unique_ptr<ViewerWindow>> m_windows;
    SidePanel m_panel;
    std::unique_ptr<ProfileWindow> m_profile;
    std::size_t m_openWindows = 0;
};

} // namespace OrrinViewer
