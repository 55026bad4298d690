#include "TreatedImage.h"

#include "../values/GLTypes.h"

namespace KTR {

namespace {

NoDataTreatment TreatmentFrom(const GLAttributes& attributes) {
    const auto color = [](const GLRGBAColor& rgba) { return GLRGBColor{rgba.r, rgba.g, rgba.b}; };
    return {color(attributes.noDataMarker), attributes.noDataTolerance, attributes.noDataIsTransparent != 0,
            color(attributes.noDataPaint)};
}

} // namespace

TreatedImage::TreatedImage(const GLAttributes& attributes, const ImageRows& image, int x, int y, int width, int height)
    : m_rows(PartOf(image, x, y, width, height)) {
    const bool adjusts = attributes.imageAdjustment != GLImageAdjustment{};
    if (!attributes.noDataMarked || attributes.applyNoDataColor == 0) {
        if (adjusts) {
            m_pixels = AdjustColors(m_rows, LevelsOf(attributes.imageAdjustment));
            m_rows = {image.format, width, height, width, 1, m_pixels.data()};
        }
        return;
    }
    // One pixel more on each side, so that a pixel at the border finds the same neighbours in whichever tile it is.
    const int left = x > 0 ? 1 : 0;
    const int below = y > 0 ? 1 : 0;
    const int right = x + width < image.width ? 1 : 0;
    const int above = y + height < image.height ? 1 : 0;
    const ImageRows wide = PartOf(image, x - left, y - below, left + width + right, below + height + above);
    m_pixels = TreatNoData(wide, TreatmentFrom(attributes), LevelsOf(attributes.imageAdjustment));
    m_rows = PartOf({GL_RGBA, wide.width, wide.height, wide.width, 1, m_pixels.data()}, left, below, width, height);
}

} // namespace KTR
