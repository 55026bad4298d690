#pragma once

#include <vector>

namespace OrrinViewer {

/// A picture of what a window shows, of any size. Its middle is the window's. All of the window is on it; where its
/// proportions are others, so is more.
struct PictureSize {
    int widthPixels = 0;
    int heightPixels = 0;

    /// Pixels of the picture in one of a window of that size.
    double ScaleOf(int windowWidth, int windowHeight) const;
};

/// A rectangle of a picture that is drawn into the window at once, in its pixels from the upper left.
struct PicturePart {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const PicturePart&) const = default;
};

/// How far what is drawn in pixels, such as a thick line, reaches beyond the places that it belongs to: parts overlap
/// by that much, so that nothing ends at their borders. At most a quarter of the window's smaller side.
int FindOverlap(double reachPixels, int windowWidth, int windowHeight);

/// The parts of a picture, row by row; all of a row are of one height. `overlap` is drawn around each and not used.
std::vector<PicturePart> DivideIntoParts(const PictureSize& picture, int windowWidth, int windowHeight, int overlap);

} // namespace OrrinViewer
