#include "StatusLine.h"

#include "MapTicks.h"

#include <cmath>
#include <cstdio>

namespace OrrinViewer {

namespace {

constexpr double kEdgePixels = 8.0;
constexpr double kBetweenPixels = 18.0;
constexpr double kPaddingPixels = 4.0;

} // namespace

std::vector<std::string> DescribeStatus(const StatusFacts& facts) {
    std::vector<std::string> texts;
    if (!facts.scale.empty()) {
        texts.push_back((facts.isPerspective ? "about " : "") + facts.scale);
    }
    if (facts.points > 0) {
        texts.push_back(FormatCount(facts.drawnPoints) + " of " + FormatCount(facts.points) + " points");
    }
    if (!facts.system.empty()) {
        texts.push_back(facts.system);
    }
    if (facts.frameMilliseconds > 0.0) {
        char text[32] = {};
        std::snprintf(text, sizeof(text), "%.1f ms", facts.frameMilliseconds);
        texts.emplace_back(text);
    }
    texts.emplace_back(facts.drawsWithPrograms ? "OpenGL 4.x" : "OpenGL 1.1 fixed functions");
    return texts;
}

double StatusHeight(const TextSizes& sizes) {
    return std::ceil(sizes.ascent + sizes.descent + 2.0 * kPaddingPixels);
}

std::vector<PixelText> LayOutStatus(const std::string& place, const std::vector<std::string>& facts, int widthPixels,
                                    const TextSizes& sizes) {
    const double baseline = std::ceil(kPaddingPixels + sizes.descent);
    double left = kEdgePixels;
    double right = widthPixels - kEdgePixels;
    std::vector<PixelText> texts;
    if (const double width = sizes.width(place); !place.empty() && left + width <= right) {
        texts.push_back({place, left, baseline});
        left += width + kBetweenPixels;
    }
    for (const std::string& fact : facts) {
        const double width = sizes.width(fact);
        if (right - width < left) {
            continue; // a shorter one may fit
        }
        texts.push_back({fact, std::floor(right - width), baseline});
        right -= width + kBetweenPixels;
    }
    return texts;
}

} // namespace OrrinViewer
