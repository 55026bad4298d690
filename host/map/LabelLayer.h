#pragma once

#include "FeatureLabels.h"
#include "MapFurniture.h"

#include <cstddef>
#include <vector>

namespace OrrinViewer {

/// The labels on the map, laid out for one font: which of them show at a scale depends on how wide they come out.
class LabelLayer {
public:
    LabelLayer() = default;
    LabelLayer(std::vector<FeatureLabel> labels, const TextSizes& sizes);

    /// The labels that show now, each whole within the window. `taken` has texts that are there already: a label that
    /// would touch one stays away.
    std::vector<PixelText> FindVisible(const MapNavigator& navigator, const std::vector<PixelText>& taken,
                                       const TextSizes& sizes) const;

private:
    struct PlacedLabel {
        FeatureLabel label;
        double widthPixels = 0.0;
        double coarsestUnitsPerPixel = 0.0;
    };

    std::vector<PlacedLabel> m_labels;
};

} // namespace OrrinViewer
