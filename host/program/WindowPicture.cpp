// Pictures of what a viewer's window shows, larger than the window.

#include "ViewerWindow.h"

#include "drawing/PixelDrawing.h"
#include "drawing/WideText.h"
#include "files/FileError.h"
#include "files/PictureFile.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr std::size_t kStoredChannels = 4;
constexpr std::size_t kChannels = 3;
/// How far texts may begin outside of a part. Without programs a text whose beginning lies outside of the viewport is
/// not drawn at all.
constexpr int kTextReachPixels = 4096;

} // namespace

struct ViewerWindow::PictureTexts {
    double scale;
    TextPainter painter;
    MapFurniture furniture; ///< in pixels of a usual screen
    std::vector<PixelText> texts;

    PictureTexts(const ViewerOptions& options, double scaleOfAll, bool stretches)
        : scale(scaleOfAll), painter(WideText(options.font), options.fontPoints, scaleOfAll, stretches) {}
};

bool ViewerWindow::SavePicture(const std::filesystem::path& path, const PictureSize& size,
                               const std::function<bool(double share)>& progress) {
    if (!m_view->MakeCurrent(KTR::GLContextMain)) {
        throw FileError(path, "there is nothing to draw a picture with");
    }
    PictureFile file(path, size.widthPixels, size.heightPixels);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    m_view->LoadViewMatrices();
    const double scale = size.ScaleOf(m_width, m_height);
    m_scene.SetScreenScale(Scale());
    const int overlap = FindOverlap(m_scene.FindReach(*m_view) * Scale() * scale, m_width, m_height);
    const std::vector<PicturePart> parts = DivideIntoParts(size, m_width, m_height, overlap);

    PictureTexts texts(m_options, scale, m_view->DrawsWithPrograms());
    const bool hasTexts = !m_options.plain || (IsMap() && !m_scene.GetLabelProperty().empty());
    if (hasTexts && texts.painter.Load(*m_view, PixelsPerInch())) {
        LayOutPicture(size, texts);
    }
    const auto width = static_cast<std::size_t>(size.widthPixels);
    std::vector<std::uint8_t> rows;
    std::vector<std::uint8_t> pixels;
    bool goesOn = true;
    for (std::size_t index = 0; index < parts.size() && goesOn; ++index) {
        const PicturePart& part = parts[index];
        DrawPicturePart(size, part, overlap, texts);
        const auto partWidth = static_cast<std::size_t>(part.width);
        const auto partHeight = static_cast<std::size_t>(part.height);
        pixels.resize(partWidth * partHeight * kStoredChannels);
        // From the upper edge of the window, where also a part that is lower than the others begins.
        m_view->ReadPixels(overlap, m_height - overlap - part.height, part.width, part.height, GL_RGBA,
                           GL_UNSIGNED_BYTE, pixels.data());
        rows.resize(width * partHeight * kChannels);
        for (std::size_t row = 0; row < partHeight; ++row) {
            const std::uint8_t* from = pixels.data() + (partHeight - 1 - row) * partWidth * kStoredChannels;
            std::uint8_t* to = rows.data() + (row * width + static_cast<std::size_t>(part.x)) * kChannels;
            for (std::size_t column = 0; column < partWidth; ++column, from += kStoredChannels, to += kChannels) {
                std::copy_n(from, kChannels, to);
            }
        }
        if (part.x + part.width == size.widthPixels) {
            for (std::size_t row = 0; row < partHeight; ++row) {
                file.PutRow(std::span(rows).subspan(row * width * kChannels, width * kChannels));
            }
        }
        goesOn = !progress || progress(static_cast<double>(index + 1) / static_cast<double>(parts.size()));
    }
    texts.painter.Release(*m_view);
    if (goesOn) {
        file.Finish();
    }
    m_view->SetUpViewport(0, 0, m_width, m_height);
    LoadTexts(); // a context with programs has one current font
    Redraw();
    return goesOn;
}

/// For a window on a usual screen that has the picture's proportions and shows the same as this one.
void ViewerWindow::LayOutPicture(const PictureSize& size, PictureTexts& texts) const {
    const TextSizes sizes = texts.painter.Sizes(*m_view);
    MapFrame frame = DescribeMap();
    const double scale = texts.scale * Scale();
    const double right = (size.widthPixels / scale - m_width / Scale()) * 0.5;
    const double down = (size.heightPixels / scale - m_height / Scale()) * 0.5;
    frame.widthPixels = static_cast<int>(std::lround(size.widthPixels / scale));
    frame.heightPixels = static_cast<int>(std::lround(size.heightPixels / scale));
    frame.placeOf = [placeOf = frame.placeOf, right, down](const Position& position) {
        const PixelPlace place = placeOf(position);
        return PixelPlace{place.x + right, place.y + down};
    };
    if (IsMap()) {
        frame.area.low.x -= right * frame.unitsPerPixel;
        frame.area.high.x += right * frame.unitsPerPixel;
        frame.area.low.y -= down * frame.unitsPerPixel;
        frame.area.high.y += down * frame.unitsPerPixel;
    }
    if (!m_options.plain && frame.unitsPerPixel > 0.0) {
        texts.furniture = IsMap() ? LayOutMapFurniture(frame, m_scene.GetUnits(), sizes)
                                  : LayOutScaleBar(frame, m_scene.GetUnits(), sizes);
    }
    texts.texts = texts.furniture.texts;
    if (IsMap()) {
        const LabelLayer labels(m_scene.CollectLabels(), sizes);
        std::vector<PixelPlace> places;
        for (const Position& anchor : labels.GetAnchors()) {
            places.push_back(frame.placeOf(anchor));
        }
        const std::vector<PixelText> visible = labels.FindVisible(frame, places, texts.furniture.texts, sizes);
        texts.texts.insert(texts.texts.begin(), visible.begin(), visible.end());
    }
}

/// Into the window's back buffer, with what lies around it.
void ViewerWindow::DrawPicturePart(const PictureSize& size, const PicturePart& part, int overlap,
                                   const PictureTexts& texts) {
    m_view->MakeCurrent(KTR::GLContextMain);
    m_view->SetUpViewport(0, 0, m_width, m_height);
    // Of the window's lower left corner in the picture, from whose lower left this counts.
    const int left = part.x - overlap;
    const int bottom = size.heightPixels - part.y + overlap - m_height;
    const double scale = texts.scale;
    EnlargedPart enlarged;
    enlarged.scale = scale;
    enlarged.width = m_width / scale;
    enlarged.height = m_height / scale;
    enlarged.left = (left - size.widthPixels * 0.5) / scale + m_width * 0.5;
    enlarged.bottom = (bottom - size.heightPixels * 0.5) / scale + m_height * 0.5;
    m_scene.DrawEnlarged(*m_view, enlarged);

    SetUpPixelCamera(*m_view, left, bottom, m_width, m_height);
    DrawFurniture(*m_view, texts.furniture, scale * Scale());
    m_view->SetUpViewport(-kTextReachPixels, -kTextReachPixels, m_width + 2 * kTextReachPixels,
                          m_height + 2 * kTextReachPixels);
    SetUpPixelCamera(*m_view, left - kTextReachPixels, bottom - kTextReachPixels, m_width + 2 * kTextReachPixels,
                     m_height + 2 * kTextReachPixels);
    texts.painter.Draw(*m_view, texts.texts);
    m_view->SetUpViewport(0, 0, m_width, m_height);
}

} // namespace OrrinViewer
