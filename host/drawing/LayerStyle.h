#pragma once

#include "FeatureStyle.h"
#include "SceneColors.h"

#include <bitset>
#include <optional>

namespace OrrinViewer {

/// How a layer is drawn. What does not concern its kind has no meaning for it.
struct LayerStyle {
    bool shown = true;
    double opacity = 1.0;     ///< from 0, nothing is seen, to 1, nothing shows through
    std::optional<Rgb> color; ///< of features and meshes; not set: what tells them apart, or their own
    FeatureStyle features;
    double fillOpacity = 0.0;              ///< of areas: from 0, they are not filled, to 1, nothing shows through
    std::optional<double> pointSizePixels; ///< of clouds; not set: what the points' spacing wants
    std::optional<ColorMode> colorMode;    ///< of clouds; not set: what suits the cloud
    RampEnds elevationRamp;                ///< of clouds, reliefs and rasters of values
    RampEnds intensityRamp;                ///< of clouds
    std::bitset<256> hiddenClasses;        ///< of clouds: points of these are left out

    bool operator==(const LayerStyle&) const = default;
};

} // namespace OrrinViewer
