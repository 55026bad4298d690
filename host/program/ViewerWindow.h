#pragma once

#include "ViewerOptions.h"
#include "drawing/Scene.h"
#include "drawing/TextPainter.h"
#include "map/LabelLayer.h"
#include "map/MapFrame.h"
#include "map/RubberBand.h"

#include <OrrinDisplay.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace OrrinViewer {

/// A window: it owns a view, feeds it the scene and makes navigation of mouse and keys.
///
/// A frame has two layers. The scene is drawn only when it or the camera changes, and the view then keeps the finished
/// frame in its backing store. What follows the mouse is drawn over the restored frame, however long the scene itself
/// takes.
///
/// A large cloud is drawn in several frames, each of which adds points to the one before; between them the window
/// answers. The backing store then has the ground with the points so far, and shapes and texts are drawn over it.
class ViewerWindow {
public:
    /// `closed` is called when the user closes the window; it is hidden then, and still the caller's to destroy.
    ViewerWindow(Scene& scene, const ViewerOptions& options, std::function<void()> closed);
    ~ViewerWindow();
    ViewerWindow(const ViewerWindow&) = delete;
    ViewerWindow& operator=(const ViewerWindow&) = delete;

    /// Opens the window and makes it ready to draw; false when there is no OpenGL to draw with. It stands
    /// `offsetPixels` to the right of and below where the system puts it.
    bool Open(int offsetPixels);

    /// Draws the whole scene into the back buffer. Returns the milliseconds until OpenGL was done with it.
    double DrawScene();
    /// Shows the back buffer.
    void Present();
    /// Saves the back buffer. Throws FileError when the file cannot be written.
    void SaveFrame(const std::filesystem::path& path);

private:
    /// What the backing store has.
    enum class Stored {
        Nothing,
        Clouds, ///< of the scene the ground and the points so far
        Scene,
    };

    static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void HandleButtonDown(WPARAM keys, POINT cursor, bool isRight);
    void HandleButtonUp();
    void HandleMouseMove(POINT cursor);
    void HandleMouseLeave();
    void HandleKey(WPARAM key);
    void HandleWheel(WPARAM wParam, LPARAM lParam);
    void HandleTimer();
    /// Moves the picture, or turns the 3-D view, by so many pixels to the right and down.
    void Drag(double rightPixels, double downPixels);
    void ShowFrom(KTR::GLViewOrientation orientation);
    /// Many steps of the wheel are one of the view's history.
    void EndWheel();
    bool IsMap() const { return m_view->GetCurrentViewOrientation() == KTR::GLViewOrientationTop; }
    MapFrame DescribeMap() const;
    Position PositionOnMap(POINT cursor) const;
    PixelPlace PlaceOf(const Position& position) const;
    std::optional<Position> FindPositionUnder(POINT cursor);

    void LoadTexts();
    void DrawMapTexts();
    void DrawOverlay();
    void DrawRubberBand(std::vector<PixelText>& texts);
    void DrawFrame();
    bool DrawSceneOrPart();
    bool RestoreFrame(bool depths);
    void StoreFrame(Stored stored);
    CloudsFrame RefineOrBegin();
    void DrawAboveClouds();
    void MeetScene();
    /// The scene has to be drawn anew.
    void Redraw();
    /// Only what lies over it has changed.
    void RedrawOverlay() const { InvalidateRect(m_window, nullptr, FALSE); }
    void UpdateTitle() const;

    Scene& m_scene;
    const ViewerOptions& m_options;
    std::function<void()> m_closed;
    std::unique_ptr<KTR::COpenGLView> m_view;
    TextPainter m_texts;
    LabelLayer m_labels;
    HWND m_window = nullptr;
    bool m_ready = false;
    Stored m_stored = Stored::Nothing; ///< as it has to be shown
    bool m_waits = false;              ///< points are to come, but there are none to draw now
    int m_sceneVersion = 0;            ///< that is shown
    bool m_isNavigated = false;        ///< the user has chosen what is shown
    double m_frameMilliseconds = 0.0;  ///< of the last frame; 0 before the first
    int m_width = 1;                   ///< of the client area in pixels, at least 1
    int m_height = 1;
    bool m_dragging = false;
    bool m_draggingPans = false; ///< also in perspective
    bool m_wheeling = false;
    bool m_everyDragMeasures = false;
    RubberBand m_band;
    std::optional<POINT> m_cursor; ///< where the mouse is in the window
};

} // namespace OrrinViewer
