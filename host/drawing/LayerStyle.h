#pragma once

#include "FeatureStyle.h"
#include "SceneColors.h"

#include <optional>

namespace OrrinViewer {

/// How a layer is drawn. What does not concern its kind has no meaning for it.
struct LayerStyle {
    bool shown = true;
    FeatureStyle features;
    double fillOpacity = 0.0;              ///< of areas: from 0, they are not filled, to 1, nothing shows through
    std::optional<double> pointSizePixels; ///< of clouds; not set: what the points' spacing wants
    std::optional<ColorMode> colorMode;    ///< of clouds; not set: what suits the cloud
};

} // namespace OrrinViewer
