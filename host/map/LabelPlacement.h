#pragma once

#include "data/Extent.h"

#include <vector>

namespace OrrinViewer {

/// A text that wants a place on the map, centred on its anchor.
struct LabelRequest {
    Position anchor;
    double widthPixels = 0.0;
    double heightPixels = 0.0;
    /// The label shows only where a pixel stands for this many units or fewer.
    double coarsestUnitsPerPixel = 1e300;
    /// Labels of one group (0 and up) say the same, and keep a distance so that they are not repeated side by side.
    int group = -1;
};

/// Decides which labels show so that none covers another. For each label in turn this is the coarsest scale, in units
/// per pixel, at which it shows; at every finer one it shows too. 0 for a label that never does, since another has the
/// same anchor.
///
/// The scale is all that counts, not the part of the map in the window: labels neither jump nor blink while the map is
/// moved, and while zooming in they only become more. At every scale what is missing has no room beside what shows.
/// Where two may show equally early, the earlier request comes first.
///
/// Takes time with the square of the number of labels: some 20,000 are done in about a second. It tells the thread's
/// progress, and throws ReadingStopped where nobody wants them any more.
std::vector<double> PlaceLabels(const std::vector<LabelRequest>& requests);

} // namespace OrrinViewer
