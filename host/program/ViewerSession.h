#pragma once

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
    ViewerSession(Scene& scene, const ViewerOptions& options) : m_scene(scene), m_options(options) {}
    ~ViewerSession();
    ViewerSession(const ViewerSession&) = delete;
    ViewerSession& operator=(const ViewerSession&) = delete;

    /// Opens the windows; false when there is no OpenGL to draw with.
    bool Open();
    /// Runs until the last window is closed, or until the options' number of frames is drawn. Throws FileError when a
    /// screenshot cannot be written. `report`, unless null, is called once all files are read.
    void Run(bool (*report)(const Scene& scene));

private:
    void DrawFrames();
    void SaveScreenshots();

    Scene& m_scene;
    const ViewerOptions& m_options;
    std::vector<std::unique_ptr<ViewerWindow>> m_windows;
    std::size_t m_openWindows = 0;
};

} // namespace OrrinViewer
