#pragma once

#include "data/PointCloud.h"
#include "map/MapFurniture.h"

#include <OrrinDisplay.h>

#include <string>
#include <utility>
#include <vector>

namespace OrrinViewer {

/// A usual screen's, of which all sizes in pixels are, unless they say otherwise.
inline constexpr double kUsualPixelsPerInch = 96.0;

/// Writes strings into a window in one font. The same calls serve both pipelines: a context with programs draws from
/// the library's glyph atlas, another from display lists. Sizes and places are in pixels of a usual screen, whatever
/// the screen and the picture.
class TextPainter {
public:
    /// `points` is the font's size on the screen.
    TextPainter(std::wstring face, int points) : TextPainter(std::move(face), points, 1.0, false) {
        m_isOfPicture = false;
    }
    /// For a picture whose texts are so many times larger. `stretches`: what is very large is stretched from smaller
    /// letters, as it has to be on a context with programs, whose fonts keep all their letters in one texture.
    TextPainter(std::wstring face, int points, double scale, bool stretches);
    ~TextPainter();
    TextPainter(const TextPainter&) = delete;
    TextPainter& operator=(const TextPainter&) = delete;

    /// Makes the font for a screen of so many pixels an inch, in place of the one before, and gives it to the view's
    /// current context. False when that is not possible; nothing is drawn then.
    bool Load(KTR::COpenGLView& view, int pixelsPerInch);
    /// Deletes what Load made, with the same context current.
    void Release(KTR::COpenGLView& view);

    /// Measures text as it will be drawn. Refers to this object and to the view.
    TextSizes Sizes(const KTR::COpenGLView& view) const;

    /// Draws strings with a thin dark edge, which keeps them readable on any ground. Set up the pixel camera first.
    void Draw(KTR::COpenGLView& view, const std::vector<PixelText>& texts) const;

private:
    void MakeFont(int pixelsPerInch);
    double MeasureWidth(const KTR::COpenGLView& view, const std::string& text) const;
    double Snap(double place) const;

    std::wstring m_face;
    int m_points;
    double m_scale;
    bool m_stretches;
    bool m_isOfPicture;
    HDC m_deviceContext = nullptr; ///< has the font selected, once there is one
    HFONT m_font = nullptr;
    HGDIOBJ m_previousFont = nullptr;
    TEXTMETRICW m_metrics{};
    double m_total = 1.0;      ///< pixels of the window or the picture for one of a usual screen
    double m_stretch = 1.0;    ///< of the font's letters
    double m_edgePixels = 0.0; ///< of a letter that is not stretched
    unsigned int m_lists = 0;  ///< on contexts without programs
    bool m_loaded = false;
};

} // namespace OrrinViewer
