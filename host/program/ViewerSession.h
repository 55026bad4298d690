#pragma once

#include "Document.h"
#include "InfoPanel.h"
#include "LayerPanel.h"
#include "Picking.h"
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
    ViewerSession(Scene& scene, SceneLoading& loading, Document& document, const ViewerOptions& options)
        : m_scene(scene), m_loading(loading), m_document(document), m_options(options), m_picking(scene) {}
    ~ViewerSession();
    ViewerSession(const ViewerSession&) = delete;
    ViewerSession& operator=(const ViewerSession&) = delete;

    /// Opens the windows; false when there is no OpenGL to draw with.
    bool Open();
    /// Runs until the last window is closed, or until the options' number of frames is drawn. Throws FileError when a
    /// screenshot cannot be written. While a person looks, `report` is called once all files are read.
    void Run(bool (*report)(const Scene& scene, const SceneLoading& loading));

    const SceneLoading& GetLoading() const { return m_loading; }
    /// Ends the reading of files; false where nothing is read any more.
    bool StopReading();
    /// Brings to the scene what has been read since; its version is another one then.
    void UpdateScene();
    /// Whether more is to come.
    bool IsReading() const { return m_loading.IsLoading() || m_scene.IsReading(); }

    /// Opens files beside what there is, or in place of it.
    void OpenFiles(const std::vector<std::filesystem::path>& files, bool replaces);
    /// Writes a project. Throws FileError.
    void SaveProject(const std::filesystem::path& path, const std::optional<ProjectView>& view);
    /// What is open, for titles.
    const Document& GetDocument() const { return m_document; }

    /// How the scene is drawn has changed, which every window shows.
    void RedrawAll();
    /// Whether one window is left, with which the program ends.
    bool HasOneWindow() const { return m_openWindows == 1; }
    void NoteClosed();

    /// The controls beside a map; they are of all windows together.
    SidePanel& GetPanel() { return m_panel; }
    /// Has that map show a layer as large as it can.
    void ShowLayer(LayerId layer);
    /// Gives that map the keyboard.
    void FocusMap();
    /// A key that was pressed in the controls, but is not for them.
    void PassKeyToMap(WPARAM key);
    /// Makes that map's main context current; false where it cannot be.
    bool MakeCurrent();

    /// What is picked, in all windows together.
    const Picking& GetPicking() const { return m_picking; }
    void Pick(const PickedPlace& place);
    /// The thing below, or the one before.
    void StepPick(bool forward);
    void ClearPick();
    /// Takes over what was found since.
    void UpdatePick();
    /// Puts the table of what is picked on the clipboard.
    void CopyPick(HWND window) const;

    /// Shows the profile along a line that was drawn in one of the windows.
    void ShowProfile(std::vector<Position> line, HWND drawnIn);
    /// The profile's window; null while there is none to be seen.
    ProfileWindow* GetProfile() { return m_profile && m_profile->IsShown() ? m_profile.get() : nullptr; }
    /// Its line is another one, or it is hidden: maps draw it over their frames.
    void ShowProfileOnMaps();

private:
    void ShowPick();
    ViewerWindow* FindMapOfPanel();
    void DrawFrames();
    void SaveScreenshots();

    Scene& m_scene;
    SceneLoading& m_loading;
    Document& m_document;
    const ViewerOptions& m_options;
    std::vector<std::unique_ptr<ViewerWindow>> m_windows;
    Picking m_picking;
    SidePanel m_panel;
    LayerPanel* m_layerPanel = nullptr; ///< a part of the panel
    InfoPanel* m_info = nullptr;        ///< another one
    std::unique_ptr<ProfileWindow> m_profile;
    std::size_t m_openWindows = 0;
    bool m_isStopped = false; ///< what is being read ends soon
};

} // namespace OrrinViewer
