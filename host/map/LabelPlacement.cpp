#include "LabelPlacement.h"

#include "data/ReadingProgress.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numeric>

namespace OrrinViewer {

namespace {

/// Between the middles of labels that say the same.
constexpr double kRepetitionPixels = 220.0;

/// Above this scale the two labels overlap: they are apart while the pixels between their anchors, sideways or
/// upwards, are at least half of both labels together.
double FindMeetingScale(const LabelRequest& one, const LabelRequest& other) {
    const double x = std::abs(one.anchor.x - other.anchor.x);
    const double y = std::abs(one.anchor.y - other.anchor.y);
    const double apart =
        std::max(x * 2.0 / (one.widthPixels + other.widthPixels), y * 2.0 / (one.heightPixels + other.heightPixels));
    const bool saySame = one.group >= 0 && one.group == other.group;
    return saySame ? std::min(apart, std::max(x, y) / kRepetitionPixels) : apart;
}

} // namespace

/// The label that can show at the coarsest scale is settled first. Those that it would meet can only show at finer
/// scales from then on, and the next one is chosen among what is left.
std::vector<double> PlaceLabels(const std::vector<LabelRequest>& requests) {
    std::vector<double> coarsest(requests.size());
    std::transform(requests.begin(), requests.end(), coarsest.begin(),
                   [](const LabelRequest& request) { return request.coarsestUnitsPerPixel; });
    std::vector<std::size_t> open(requests.size());
    std::iota(open.begin(), open.end(), std::size_t{0});
    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    progress->Begin("placing labels");
    while (!open.empty()) {
        progress->Reach(requests.size() - open.size(), requests.size());
        const auto chosen = std::max_element(open.begin(), open.end(), [&](std::size_t one, std::size_t other) {
            return coarsest[one] != coarsest[other] ? coarsest[one] < coarsest[other] : one > other;
        });
        const std::size_t settled = *chosen;
        *chosen = open.back();
        open.pop_back();
        for (const std::size_t index : open) {
            const double meeting = FindMeetingScale(requests[index], requests[settled]);
            coarsest[index] = std::min(coarsest[index], meeting);
        }
    }
    return coarsest;
}

} // namespace OrrinViewer
