#pragma once

#include <string>
#include <vector>

namespace OrrinViewer {

/// How features are drawn. All zero or empty: lines and outlines as hairlines, points as squares.
struct FeatureStyle {
    double lineWidthPixels = 0.0;
    double casingWidthPixels = 0.0;   ///< of roads, line and casing together
    std::vector<double> dashesPixels; ///< of roads, drawn and left out in turn
    double borderWidthPixels = 0.0;   ///< of areas
    std::string symbol;               ///< of points: circle, square, ...

    bool IsPlain() const { return lineWidthPixels == 0.0 && borderWidthPixels == 0.0 && symbol.empty(); }
    bool operator==(const FeatureStyle&) const = default;
};

} // namespace OrrinViewer
