#include "PictureParts.h"

#include <algorithm>
#include <cmath>

namespace OrrinViewer {

double PictureSize::ScaleOf(int windowWidth, int windowHeight) const {
    return std::min(static_cast<double>(widthPixels) / windowWidth, static_cast<double>(heightPixels) / windowHeight);
}

int FindOverlap(double reachPixels, int windowWidth, int windowHeight) {
    return static_cast<int>(std::min(std::ceil(reachPixels), std::min(windowWidth, windowHeight) / 4.0));
}

std::vector<PicturePart> DivideIntoParts(const PictureSize& picture, int windowWidth, int windowHeight, int overlap) {
    const int width = std::max(windowWidth - 2 * overlap, 1);
    const int height = std::max(windowHeight - 2 * overlap, 1);
    std::vector<PicturePart> parts;
    for (int y = 0; y < picture.heightPixels; y += height) {
        for (int x = 0; x < picture.widthPixels; x += width) {
            parts.push_back(
                {x, y, std::min(width, picture.widthPixels - x), std::min(height, picture.heightPixels - y)});
        }
    }
    return parts;
}

} // namespace OrrinViewer
