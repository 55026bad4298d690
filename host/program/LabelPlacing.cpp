#include "LabelPlacing.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <utility>

namespace OrrinViewer {

namespace {

/// They take some twenty milliseconds; the time grows with the square of the number.
constexpr std::size_t kFewLabels = 3'000;

} // namespace

void LabelPlacing::Begin(std::vector<FeatureLabel> labels, const TextSizes& sizes) {
    Stop();
    if (labels.size() <= kFewLabels) {
        std::promise<LabelLayer> placed;
        placed.set_value(LabelLayer(std::move(labels), sizes));
        m_placed = placed.get_future();
        return;
    }
    // Only this thread can measure.
    std::map<std::string, double> widths;
    for (const FeatureLabel& label : labels) {
        if (const auto [entry, isNew] = widths.try_emplace(label.text); isNew) {
            entry->second = sizes.width(label.text);
        }
    }
    m_progress = std::make_shared<ReadingProgress>();
    m_placed =
        std::async(std::launch::async, [labels = std::move(labels), widths = std::move(widths), ascent = sizes.ascent,
                                        descent = sizes.descent, progress = m_progress]() mutable {
            const ReadingScope scope(progress);
            const TextSizes known{[&widths](const std::string& text) { return widths.at(text); }, ascent, descent};
            return LabelLayer(std::move(labels), known);
        });
}

std::optional<LabelLayer> LabelPlacing::Take() {
    const bool isReady = IsPlacing() && m_placed.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    return isReady ? WaitAndTake() : std::nullopt;
}

std::optional<LabelLayer> LabelPlacing::WaitAndTake() {
    return IsPlacing() ? std::optional(m_placed.get()) : std::nullopt;
}

void LabelPlacing::Stop() {
    if (m_progress) {
        m_progress->Stop();
    }
    if (IsPlacing()) {
        m_placed.wait();
        m_placed = {};
    }
}

} // namespace OrrinViewer
