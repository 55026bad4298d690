#pragma once

#include "MapNavigator.h"
#include "OrbitNavigator.h"
#include "Scene.h"
#include "ViewerOptions.h"

#include <OrrinDisplay.h>

#include <memory>
#include <string>

namespace OrrinViewer {

/// The program's window: it owns the view, feeds it the scene and turns mouse and keys into navigation.
class ViewerWindow {
public:
    explicit ViewerWindow(Scene& scene) : m_scene(scene) {}
    ~ViewerWindow();
    ViewerWindow(const ViewerWindow&) = delete;
    ViewerWindow& operator=(const ViewerWindow&) = delete;

    /// Opens the window and makes it ready to draw; false when there is no OpenGL to draw with.
    bool Open(const ViewerOptions& options);

    /// Runs until the window is closed, or until the options' number of frames is drawn. Throws FileError when the
    /// screenshot cannot be written.
    void Run(const ViewerOptions& options);

private:
    static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void HandleKey(WPARAM key);
    void HandleWheel(WPARAM wParam, LPARAM lParam);
    /// Moves the map, or turns the scene, by so many pixels to the right and down.
    void Drag(double rightPixels, double downPixels);
    void ShowEverything();
    /// Draws into the back buffer with the camera in use. Returns the milliseconds until OpenGL was done with it.
    double DrawScene();
    void DrawFrame();
    void Redraw() const { InvalidateRect(m_window, nullptr, FALSE); }
    void UpdateTitle() const;

    Scene& m_scene;
    MapNavigator m_navigator;
    OrbitNavigator m_orbit;
    Camera m_camera = Camera::Map;
    std::unique_ptr<KTR::COpenGLView> m_view;
    HWND m_window = nullptr;
    bool m_ready = false;
    double m_frameMilliseconds = 0.0; ///< of the last frame; 0 before the first
    bool m_dragging = false;
    POINT m_dragPosition{};
};

} // namespace OrrinViewer
