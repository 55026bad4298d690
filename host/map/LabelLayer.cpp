#include "LabelLayer.h"

#include "LabelPlacement.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <utility>

namespace OrrinViewer {

namespace {

/// Room that a label keeps around itself.
constexpr double kRoomPixels = 4.0;
/// A label may stick out of its area by so much; one that is far wider than its area belongs to nothing.
constexpr double kWidestShareOfArea = 1.5;

/// What a text covers in the window, its room included.
Extent FindBox(const PixelText& text, double widthPixels, const TextSizes& sizes) {
    Extent box;
    box.Include(Position{text.x - kRoomPixels, text.y - sizes.descent - kRoomPixels, 0.0});
    box.Include(Position{text.x + widthPixels + kRoomPixels, text.y + sizes.ascent + kRoomPixels, 0.0});
    return box;
}

bool Touch(const Extent& one, const Extent& other) {
    return one.low.x < other.high.x && other.low.x < one.high.x && one.low.y < other.high.y && other.low.y < one.high.y;
}

} // namespace

LabelLayer::LabelLayer(std::vector<FeatureLabel> labels, const TextSizes& sizes) {
    std::vector<LabelRequest> requests;
    std::map<std::string, int> groups;
    requests.reserve(labels.size());
    m_labels.reserve(labels.size());
    m_anchors.reserve(labels.size());
    for (FeatureLabel& label : labels) {
        const double width = sizes.width(label.text);
        LabelRequest request{label.anchor, width + 2.0 * kRoomPixels, sizes.ascent + sizes.descent + 2.0 * kRoomPixels};
        request.group = groups.try_emplace(label.text, static_cast<int>(groups.size())).first->second;
        if (label.areaWidth > 0.0) {
            request.coarsestUnitsPerPixel = label.areaWidth * kWidestShareOfArea / std::max(width, 1.0);
        }
        requests.push_back(request);
        m_anchors.push_back(label.anchor);
        m_labels.push_back({std::move(label.text), width, 0.0});
    }
    const std::vector<double> coarsest = PlaceLabels(requests);
    for (std::size_t index = 0; index < m_labels.size(); ++index) {
        m_labels[index].coarsestUnitsPerPixel = coarsest[index];
    }
}

std::vector<PixelText> LabelLayer::FindVisible(const MapFrame& frame, const std::vector<PixelPlace>& places,
                                               const std::vector<PixelText>& taken, const TextSizes& sizes) const {
    std::vector<Extent> takenBoxes;
    takenBoxes.reserve(taken.size());
    for (const PixelText& text : taken) {
        takenBoxes.push_back(FindBox(text, sizes.width(text.text), sizes));
    }
    std::vector<PixelText> visible;
    for (std::size_t index = 0; index < m_labels.size(); ++index) {
        const PlacedLabel& placed = m_labels[index];
        if (frame.unitsPerPixel > placed.coarsestUnitsPerPixel) {
            continue;
        }
        const PixelPlace& pixel = places[index];
        const PixelText text{placed.text, std::round(pixel.x - placed.widthPixels * 0.5),
                             std::round(frame.heightPixels - pixel.y - sizes.ascent * 0.5)};
        const Extent box = FindBox(text, placed.widthPixels, sizes);
        const bool isWhole =
            box.low.x >= 0.0 && box.low.y >= 0.0 && box.high.x <= frame.widthPixels && box.high.y <= frame.heightPixels;
        if (isWhole && std::none_of(takenBoxes.begin(), takenBoxes.end(),
                                    [&](const Extent& takenBox) { return Touch(box, takenBox); })) {
            visible.push_back(text);
        }
    }
    return visible;
}

} // namespace OrrinViewer
