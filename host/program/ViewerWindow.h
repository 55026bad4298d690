#pragma once

#include "LabelPlacing.h"
#include "MapNotices.h"
#include "NativeWindow.h"
#include "PictureParts.h"
#include "Project.h"
#include "ViewerOptions.h"
#include "WheelNavigation.h"
#include "drawing/Scene.h"
#include "drawing/TextPainter.h"
#include "map/LabelLayer.h"
#include "map/MapFrame.h"
#include "map/PickCamera.h"

#include <OrrinDisplay.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

class ViewerSession;

/// A window: it owns a view, feeds it the scene and makes navigation of mouse and keys.
///
/// A frame has two layers. The scene is drawn only when it or the camera changes. What follows the mouse and what lies
/// over the map (readings, measured lines, bands, a profile's cursor) are overlays of the view, drawn over the finished
/// frame, however long the scene itself takes.
///
/// A large cloud is drawn in several frames, each of which adds points to the one before; between them the window
/// answers. Until all points are there, shapes and texts are an overlay too: the frame has only what lies below.
///
/// Its functions stand in more files: WindowInput.cpp (mouse and keys), WindowBands.cpp (what is drawn with the
/// mouse), WindowPicking.cpp (what a click picks), WindowCommands.cpp (the menu and files), WindowOverlays.cpp (what
/// lies over the frame) and WindowPicture.cpp (pictures of any size).
class ViewerWindow final : public NativeWindow {
public:
    ViewerWindow(Scene& scene, const ViewerOptions& options, ViewerSession& session);
    ~ViewerWindow() override;

    /// Opens the window and makes it ready to draw; false when there is no OpenGL to draw with. It stands
    /// `offsetPixels` to the right of and below where the system puts it.
    bool Open(int offsetPixels);
    KTR::COpenGLView& View() { return *m_view; }

    /// Draws the whole scene into the back buffer. Returns the milliseconds until OpenGL was done with it.
    double DrawScene();
    /// Shows the back buffer.
    void Present();
    /// Saves the back buffer. Throws FileError when the file cannot be written.
    void SaveFrame(const std::filesystem::path& path);

    /// Saves a picture of what the window shows, of any size: it is drawn in parts, with labels and what lies around
    /// the map placed once for all of them. `progress` is told the share that is done, and gives up by returning false,
    /// as does this function then. Throws FileError when the file cannot be written.
    bool SavePicture(const std::filesystem::path& path, const PictureSize& size,
                     const std::function<bool(double share)>& progress);
    /// Shows what a project's window showed.
    void ShowView(const ProjectView& view);
    /// Everything there was is gone: what comes next is shown as a whole.
    void Forget();
    /// More is to come to the scene.
    void ExpectScene();
    /// Shows a part of the scene as large as it can be.
    void ShowExtent(const Extent& extent);
    /// The scene is drawn in another way than before.
    void ShowSceneAnew();
    /// The title may be another one: it tells a project that is not saved as it is.
    void UpdateTitle() const;
    /// Only what lies over the frame has changed.
    void RedrawOverlays() const { InvalidateRect(m_window, nullptr, FALSE); }

private:
    /// For points that are still read, fetched or searched.
    static constexpr UINT_PTR kTimer = 1;
    static constexpr UINT kTimerMilliseconds = 30;
    /// A button that is let go this near to where it went down was clicked.
    static constexpr double kClickPixels = 4.0;

    /// What the view's stored frame has.
    enum class Stored {
        Nothing,
        Clouds, ///< of the scene the ground and the points so far
        Scene,
    };
    /// What the left button does.
    enum class Tool {
        Look, ///< moves the view
        MeasurePath,
        MeasureArea,
        DrawProfile,
    };
    /// What is being drawn with the mouse.
    enum class BandUse {
        None,
        Zoom, ///< a rectangle to be shown next
        Length,
        Area,
        Profile,
        ProfileCorner, ///< of the profile there is
    };
    /// What was measured; it stays until something else is.
    struct Measured {
        bool isArea = false;
        std::vector<Position> places;
    };

    /// What lies over a picture's scene.
    struct PictureTexts;

    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void HandleButtonDown(WPARAM keys, POINT cursor, bool isRight);
    void HandleButtonUp(POINT cursor);
    bool IsClick(POINT cursor) const { return IsNear(cursor, m_pressed); }
    bool IsNear(POINT one, POINT other) const;
    void HandleMouseMove(POINT cursor);
    void HandleMouseLeave();
    void HandleKey(WPARAM key);
    bool HandleViewKey(WPARAM key);
    bool HandleSceneKey(WPARAM key);
    void HandleEscape();
    bool HandleFileKey(WPARAM key);
    void HandleCommand(UINT command);
    void HandleDrop(WPARAM drop);
    void SetUpMenu();
    void RefreshMenu(HMENU menu) const;
    void AskForFilesToOpen(bool replaces);
    void OpenFiles(const std::vector<std::filesystem::path>& files, bool replaces);
    bool SaveProject(bool asks);
    bool MayLeaveProject();
    void AskForPicture();
    /// Wheels and touch. False where the message is the system's to answer.
    bool HandleWheel(UINT message, WPARAM wParam, LPARAM lParam);
    void HandleTimer(UINT_PTR timer);
    void SetCursorShape() const;
    void DragTo(POINT cursor, POINT before);
    /// Moves the picture, or turns the 3-D view, by so many pixels to the right and down.
    void Drag(double rightPixels, double downPixels, bool pans);
    void ShowFrom(KTR::GLViewOrientation orientation);
    void FitAboveStatus(const std::function<void()>& fit);
    void StepThroughViews(bool forward);
    void LeadProfileCursor();
    bool IsMap() const { return m_view->GetCurrentViewOrientation() == KTR::GLViewOrientationTop; }
    std::optional<Position> FindPositionUnder(POINT cursor);

    PickCamera DescribeCamera() const;
    void PickAt(POINT cursor);

    void SetTool(Tool tool);
    BandUse BandOfTool() const;
    /// Begins with the place, or goes on from it.
    void AddBandPlace(BandUse band, const Position& place, POINT cursor);
    void BeginBand(BandUse band, const Position& place, POINT cursor);
    bool TakeProfileCorner(POINT cursor);
    void MoveBand(POINT cursor);
    /// Draws it anew after the view has changed.
    void ReplayBand();
    void TakeBandPlaceBack();
    void FinishBandHere();
    void FinishBand();
    void CancelBand();
    void FinishMeasuring(bool isArea);
    void FinishProfile();
    void FinishProfileCorner();
    bool IsWorthZooming() const;
    std::string DescribeBand() const;
    static void WriteBandText(const PointXY* points, int count, wchar_t* text, int capacity, void* context);

    void AddOverlays();
    void ShowHelp(bool on);
    /// Of a frame whose points are not all there: what lies above them.
    static void DrawUnfinished(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context);
    static void DrawReadout(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context);
    static void DrawPicked(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context);
    static void DrawStatus(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context);
    static void DrawMeasured(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context);
    static void DrawNotices(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context);
    static void DrawHelp(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context);
    std::string NameOfTool() const;
    /// Whether there is a line of status below the map.
    bool HasStatus() const { return m_options.frames == 0 && !m_options.plain; }
    std::vector<std::string> DescribeState() const;

    int PixelsPerInch() const;
    /// The window's own pixels for one of a usual screen. What is laid out over the map is in those.
    double Scale() const { return PixelsPerInch() / kUsualPixelsPerInch; }
    SIZE ChooseSize() const;
    MapFrame DescribeMap() const;
    PixelPlace PlaceOf(const Position& position) const;
    void DrawPicturePart(const PictureSize& size, const PicturePart& part, int overlap, const PictureTexts& texts);
    void LayOutPicture(const PictureSize& size, PictureTexts& texts) const;
    void LoadTexts();
    void PlaceLabels();
    void PrepareScene(double milliseconds);
    void DrawTexts();
    void DrawFrame();
    void ShowFrame();
    bool DrawSceneOrPart();
    bool RestoreFrame();
    void StoreFrame(Stored stored);
    CloudsFrame RefineOrBegin();
    void DrawAboveClouds();
    void MeetScene();
    /// The scene has to be drawn anew.
    void Redraw();

    Scene& m_scene;
    const ViewerOptions& m_options;
    ViewerSession& m_session;
    std::unique_ptr<KTR::COpenGLView> m_view;
    TextPainter m_texts;
    LabelLayer m_labels;
    LabelPlacing m_labelPlacing;
    MapNotices m_notices;
    bool m_lacksGeometry = false; ///< frames do not have all of the scene yet
    bool m_ready = false;
    Stored m_stored = Stored::Nothing; ///< as it has to be shown
    bool m_waits = false;              ///< points are to come, but there are none to draw now
    int m_sceneVersion = 0;            ///< that is shown
    int m_labelVersion = 0;            ///< of the labels that are placed
    bool m_isNavigated = false;        ///< the user has chosen what is shown
    double m_frameMilliseconds = 0.0;  ///< of the last frame; 0 before the first
    std::uint64_t m_drawnPoints = 0;   ///< in it
    int m_width = 1;                   ///< of the client area in pixels, at least 1
    int m_height = 1;

    std::array<double, 8> m_otherMilliseconds{}; ///< of the last frames, what the clouds did not take
    std::size_t m_nextOther = 0;

    bool m_dragging = false;     ///< the button is down
    bool m_isDragged = false;    ///< and it was no click
    bool m_canPick = false;      ///< if it comes to be one
    bool m_draggingPans = false; ///< also in perspective
    WheelNavigation m_wheel;
    int m_helpOverlay = 0; ///< 0: it is not shown
    Tool m_tool = Tool::Look;
    BandUse m_band = BandUse::None;
    bool m_bandEndsWithButton = false;  ///< when the button is let go
    bool m_bandIsOld = false;           ///< it was drawn before the view changed
    std::vector<Position> m_bandPlaces; ///< settled ones
    std::optional<Position> m_bandEnd;  ///< under the mouse, where something is
    std::size_t m_takenCorner = 0;      ///< of the profile's line
    POINT m_pressed{};                  ///< where the button went down
    POINT m_picked{};                   ///< where was clicked last
    bool m_pickIsHere = false;          ///< what is picked was picked there, in this view
    std::optional<Measured> m_measured;
    std::optional<POINT> m_cursor;          ///< where the mouse is in the window
    std::optional<Position> m_readPosition; ///< what is there
};

} // namespace OrrinViewer
