#include "LabelPlacement.h"

#include <algorithm>
#include <cmath>

namespace OrrinViewer {

namespace {

/// Above this scale the two labels overlap: they are apart while the pixels between their anchors, sideways or
/// upwards, are at least half of both labels together.
double FindMeetingScale(const LabelRequest& one, const LabelRequest& other) {
    const double sideways = std::abs(one.anchor.x - other.anchor.x) * 2.0 / (one.widthPixels + other.widthPixels);
    const double upwards = std::abs(one.anchor.y - other.anchor.y) * 2.0 / (one.heightPixels + other.heightPixels);
    return std::max(sideways, upwards);
}

} // namespace

std::vector<double> PlaceLabels(const std::vector<LabelRequest>& requests) {
    std::vector<double> coarsest(requests.size());
    for (std::size_t index = 0; index < requests.size(); ++index) {
        double scale = requests[index].coarsestUnitsPerPixel;
        for (std::size_t earlier = 0; earlier < index; ++earlier) {
            // An earlier label that has vanished where the two would meet is in nobody's way, there or farther out.
            const double meeting = FindMeetingScale(requests[index], requests[earlier]);
            if (meeting < coarsest[earlier]) {
                scale = std::min(scale, meeting);
            }
        }
        coarsest[index] = scale;
    }
    return coarsest;
}

} // namespace OrrinViewer
