#pragma once

#include "FeatureLabels.h"
#include "MapFurniture.h"

#include <string>
#include <vector>

namespace OrrinViewer {

/// The labels on the map, laid out for one font: which of them show at a scale depends on how wide they come out.
class LabelLayer {
public:
    LabelLayer() = default;
    LabelLayer(std::vector<FeatureLabel> labels, const TextSizes& sizes);

    /// Where the labels stand on the map.
    const std::vector<Position>& GetAnchors() const { return m_anchors; }
    /// The labels that show now, each whole within the window. `places` has one for each anchor. `taken` has texts that
    /// are there already: a label that would touch one stays away.
    std::vector<PixelText> FindVisible(const MapFrame& frame, const std::vector<PixelPlace>& places,
                                       const std::vector<PixelText>& taken, const TextSizes& sizes) const;

private:
    struct PlacedLabel {
        std::string text;
        double widthPixels = 0.0;
        double coarsestUnitsPerPixel = 0.0;
    };

    std::vector<PlacedLabel> m_labels;
    std::vector<Position> m_anchors; ///< one for each label
};

} // namespace OrrinViewer
