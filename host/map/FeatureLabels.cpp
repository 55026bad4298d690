#include "FeatureLabels.h"

#include "LabelAnchor.h"

#include <algorithm>

namespace OrrinViewer {

namespace {

constexpr std::size_t kLongestLabelBytes = 60;
/// Placing labels takes time with the square of their number.
constexpr std::size_t kMostLabels = 20'000;

const std::string* FindProperty(const VectorFeature& feature, std::string_view name) {
    for (const auto& [propertyName, value] : feature.properties) {
        if (propertyName == name) {
            return &value;
        }
    }
    return nullptr;
}

bool IsContinuationByte(char character) {
    return (static_cast<unsigned char>(character) & 0xC0U) == 0x80U;
}

double FindAreaWidth(const VectorFeature& feature) {
    const Polygon* largest = FindLargestPolygon(feature);
    if (!largest) {
        return 0.0;
    }
    Extent extent;
    for (const Position& corner : largest->rings.front()) {
        extent.Include(corner);
    }
    return extent.high.x - extent.low.x;
}

} // namespace

std::string MakeLabelText(std::string_view value) {
    std::string text;
    for (const char character : value) {
        const bool isControl = static_cast<unsigned char>(character) < 0x20U || character == 0x7F;
        text += isControl ? ' ' : character;
    }
    text.erase(0, text.find_first_not_of(' '));
    text.erase(text.find_last_not_of(' ') + 1);
    if (text.size() > kLongestLabelBytes) {
        std::size_t end = kLongestLabelBytes - 3;
        while (end > 0 && IsContinuationByte(text[end])) {
            --end;
        }
        text = text.substr(0, end) + "...";
    }
    return text;
}

std::vector<FeatureLabel> CollectLabels(const std::vector<const VectorLayer*>& layers, std::string_view property) {
    std::vector<FeatureLabel> labels;
    for (const VectorLayer* layer : layers) {
        std::vector<const VectorFeature*> features;
        for (const VectorFeature& feature : layer->features) {
            features.push_back(&feature);
        }
        std::stable_sort(features.begin(), features.end(), [](const VectorFeature* one, const VectorFeature* other) {
            return one->extent.Diagonal() > other->extent.Diagonal();
        });
        for (const VectorFeature* feature : features) {
            const std::string* value = FindProperty(*feature, property);
            std::string text = value && *value != "null" ? MakeLabelText(*value) : std::string();
            if (!text.empty() && labels.size() < kMostLabels) {
                labels.push_back({std::move(text), FindLabelAnchor(*feature), FindAreaWidth(*feature)});
            }
        }
    }
    return labels;
}

std::vector<std::string> ListProperties(const std::vector<const VectorLayer*>& layers) {
    std::vector<std::string> names;
    for (const VectorLayer* layer : layers) {
        for (const VectorFeature& feature : layer->features) {
            for (const auto& property : feature.properties) {
                if (std::find(names.begin(), names.end(), property.first) == names.end()) {
                    names.push_back(property.first);
                }
            }
        }
    }
    return names;
}

} // namespace OrrinViewer
