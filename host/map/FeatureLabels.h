#pragma once

#include "data/VectorLayer.h"

#include <string>
#include <string_view>
#include <vector>

namespace OrrinViewer {

/// The label of a feature and where it goes.
struct FeatureLabel {
    std::string text; ///< UTF-8, one line
    Position anchor;
    /// Width of the area that it labels, in units of the map; 0 for points and lines, whose labels may be wider.
    double areaWidth = 0.0;
};

/// A value as one short line: control characters become blanks, and what goes on for too long is cut.
std::string MakeLabelText(std::string_view value);

/// The labels that a property of the features gives, those of large features first. Features without the property, or
/// with an empty value, have none. Of many thousands only the first are kept.
std::vector<FeatureLabel> CollectLabels(const std::vector<const VectorLayer*>& layers, std::string_view property);

/// The names of all properties in the layers, for the user to choose from.
std::vector<std::string> ListProperties(const std::vector<const VectorLayer*>& layers);

} // namespace OrrinViewer
