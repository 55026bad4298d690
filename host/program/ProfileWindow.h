#pragma once

#include "NativeWindow.h"
#include "ViewerOptions.h"
#include "WheelNavigation.h"
#include "data/BandReading.h"
#include "drawing/Scene.h"
#include "drawing/TextPainter.h"

#include <OrrinDisplay.h>

#include <bitset>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace OrrinViewer {

class ViewerSession;

/// The window that shows a profile: the points of all clouds in a band along a line, unrolled, with a grid, and the
/// ground of reliefs as a line. Its cursor runs in the maps that are linked to its view too.
///
/// Points are read from the files anew for each band, while the window answers; see BandReading for how many it keeps.
class ProfileWindow final : public NativeWindow {
public:
    ProfileWindow(Scene& scene, const ViewerOptions& options, ViewerSession& session);
    ~ProfileWindow() override;

    /// Shows the profile along a line, in a band whose width suits the line's length; when it opens, beside another
    /// window. False without a window or a context, or for a line without length.
    bool Show(std::vector<Position> line, HWND beside);
    void Hide();
    bool IsShown() const { return m_shown; }
    const Band& GetBand() const { return m_band; }
    KTR::COpenGLView& View() { return *m_view; }
    /// Shows the profile along the same line after its corners were moved.
    void SetCorners(std::vector<Position> corners);
    /// Has the cursor stand where the mouse is on a window's map; a height that is NaN leaves it where it was. Outside
    /// of the band the cursor goes.
    void SetCursor(const Position& place, HWND map);
    /// The mouse has left a window: takes the cursor away if that was the one that led it last.
    void ReleaseCursor(HWND window);
    /// Colours or point size are others now.
    void ShowSceneAnew();

private:
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void HandleMouseMove(POINT cursor);
    void HandleMouseLeave();
    void HandleKey(WPARAM key);
    /// Wheels and touch. False where the message is the system's to answer.
    bool HandleWheel(UINT message, WPARAM wParam, LPARAM lParam);
    void HandleSize(int width, int height);

    bool Open(HWND beside);
    int PixelsPerInch() const;
    double Scale() const { return PixelsPerInch() / kUsualPixelsPerInch; }
    /// Reads the points of a band and shows them.
    void SetBand(Band band);
    /// Sets the view up for the band, which forgets its points: those that are there are added with the next Feed.
    void SetUpView();
    /// Adds the points that have been read since the last time.
    void Feed();
    bool HasCloudsOfScene() const;
    void AddPoints(const std::vector<BandPoint>& points, std::size_t first);
    void FindGroundHeights(double& low, double& high) const;

    void DrawFrame();
    void DrawScene();
    void DrawGround();
    static void DrawReadout(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context);
    void Redraw();
    void UpdateTitle();
    std::string DescribeUnderCursor() const;

    void AskWhereToSave();
    /// As a picture or as a table, by the ending of the name. Throws FileError.
    void Save(const std::filesystem::path& path);
    void SaveTable(const std::filesystem::path& path) const;

    Scene& m_scene;
    const ViewerOptions& m_options;
    ViewerSession& m_session;
    std::unique_ptr<KTR::COpenGLView> m_view;
    TextPainter m_texts;
    bool m_ready = false;
    bool m_shown = false;
    int m_width = 1; ///< of the client area in pixels, at least 1
    int m_height = 1;
    Band m_band;
    BandReading m_reading;
    std::vector<std::pair<LayerId, std::bitset<256>>> m_clouds; ///< that it reads, and which classes not
    std::size_t m_added = 0;                                    ///< points that the view has
    std::uint32_t m_thinned = 0;                                ///< when they were added
    bool m_trueHeights = false;                                 ///< not exaggerated
    bool m_isDrawn = false;                                     ///< what is shown is what there is
    bool m_isNavigated = false;                                 ///< the user has chosen what is shown
    std::wstring m_savedAs;                                     ///< told in the title until something else happens
    std::optional<POINT> m_cursor;
    WheelNavigation m_wheel;
    HWND m_leader = nullptr;        ///< the window in which the mouse leads the cursor
    std::optional<POINT> m_dragged; ///< where the picture was taken hold of
};

} // namespace OrrinViewer
