#include "CloudLayer.h"

#include "BlendScope.h"
#include "map/MapTicks.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <mutex>
#include <utility>
#include <vector>

namespace OrrinViewer {

namespace {

/// Clouds up to this size are drawn whole, in the order of their file.
constexpr std::uint64_t kSmallCloud = 1'000'000;
/// Of the points that colours are first made of.
constexpr std::uint64_t kFirstPoints = 10'000;

CloudPoint PointOf(const KTR::PointCloudRecord& record, const PointXYZ& origin) {
    CloudPoint point;
    point.position = {origin.x + static_cast<double>(record.x), origin.y + static_cast<double>(record.y),
                      origin.z + static_cast<double>(record.z)};
    point.red = record.red;
    point.green = record.green;
    point.blue = record.blue;
    point.classNumber = record.classNumber;
    point.intensity = record.intensity;
    return point;
}

KTR::PointCloudLimits Limits() {
    KTR::PointCloudLimits limits;
    limits.pointsInOrder = static_cast<unsigned int>(kSmallCloud);
    return limits;
}

} // namespace

/// What the thread that reads tells the one that draws.
struct CloudLayer::Progress {
    explicit Progress(const CloudFields& fields) : survey(fields) {}

    std::atomic<bool> isUnwanted = false; ///< nobody wants the rest
    std::mutex mutex;                     ///< of all that follows
    CloudSurvey survey;
    std::uint64_t skipped = 0;
    std::optional<double> share; ///< of the file
    bool wasStopped = false;
    std::string problem;
};

/// Hands a file's points to the library, on the library's thread.
class CloudLayer::Feed final : public KTR::PointCloudReader {
public:
    Feed(std::unique_ptr<CloudReader> reader, std::shared_ptr<Progress> progress)
        : m_reader(std::move(reader)), m_progress(std::move(progress)) {}

    unsigned long long GetPointCount() const override { return m_reader->GetPointCount(); }

    long Read(KTR::PointCloudPoint* points, std::size_t capacity, std::size_t& count) override {
        try {
            m_points.resize(capacity);
            count = m_progress->isUnwanted ? Stop() : m_reader->Read(m_points);
        } catch (const ReadingStopped&) {
            count = Stop();
        } catch (const std::exception& error) {
            const std::lock_guard lock(m_progress->mutex);
            m_progress->problem = error.what();
            return E_FAIL;
        }
        for (std::size_t index = 0; index < count; ++index) {
            const CloudPoint& point = m_points[index];
            points[index] = {{point.position.x, point.position.y, point.position.z},
                             point.red,
                             point.green,
                             point.blue,
                             point.classNumber,
                             point.intensity};
        }
        const std::lock_guard lock(m_progress->mutex);
        m_progress->survey.Add(std::span(m_points).first(count));
        m_progress->skipped = m_reader->CountSkipped();
        m_progress->share = m_reader->GetShareRead();
        return S_OK;
    }
    void Cancel() override { m_progress->isUnwanted = true; }

private:
    /// No more points.
    std::size_t Stop() {
        const std::lock_guard lock(m_progress->mutex);
        m_progress->wasStopped = true;
        return 0;
    }

    std::unique_ptr<CloudReader> m_reader;
    std::shared_ptr<Progress> m_progress;
    std::vector<CloudPoint> m_points;
};

CloudLayer::CloudLayer(std::unique_ptr<CloudReader> reader, std::string name)
    : m_progress(std::make_shared<Progress>(reader->GetFields())), m_name(std::move(name)),
      m_warning(reader->GetWarning()), m_promisedExtent(reader->GetPromisedExtent()),
      m_layer(std::make_unique<Feed>(std::move(reader), m_progress), Limits()) {}

void CloudLayer::StopReading() {
    m_progress->isUnwanted = true;
}

bool CloudLayer::WasStopped() const {
    const std::lock_guard lock(m_progress->mutex);
    return m_progress->wasStopped;
}

ReadingState CloudLayer::GetProgress() const {
    const KTR::PointCloudState layer = m_layer.GetState();
    ReadingState state{"reading", std::nullopt, layer.pointsRead, "points"};
    const std::lock_guard lock(m_progress->mutex);
    state.share = m_progress->share;
    if (!state.share && layer.pointCount > 0) {
        const std::uint64_t done = layer.pointsRead + m_progress->skipped;
        state.share = std::min(static_cast<double>(done) / static_cast<double>(layer.pointCount), 1.0);
    }
    return state;
}

std::string CloudLayer::GetProblem() const {
    const long result = m_layer.GetState().result;
    const std::lock_guard lock(m_progress->mutex);
    if (!m_progress->problem.empty() || result == S_OK) {
        return m_progress->problem;
    }
    char text[64] = {};
    std::snprintf(text, sizeof(text), "A point cloud cannot be kept (error %08lX)", static_cast<unsigned long>(result));
    return text;
}

std::vector<std::string> CloudLayer::GetRemarks() const {
    std::vector<std::string> remarks;
    const auto add = [&](const std::string& text) { remarks.push_back(m_name.empty() ? text : m_name + ": " + text); };
    if (!m_warning.empty()) {
        add(m_warning);
    }
    const KTR::PointCloudState layer = m_layer.GetState();
    const std::lock_guard lock(m_progress->mutex);
    if (m_progress->wasStopped) {
        const std::string whole = layer.pointCount > 0 ? " of " + FormatCount(layer.pointCount) : std::string();
        add("stopped after " + FormatCount(layer.pointsRead) + whole + " points");
    }
    if (m_progress->skipped > 0) {
        add(FormatCount(m_progress->skipped) +
            " points were skipped: withdrawn by the file's maker or without a position");
    }
    if (m_traits.core.outside > 0) {
        add(FormatCount(m_traits.core.outside) + " of " + FormatCount(m_traits.count) + " points lie far outside");
    }
    return remarks;
}

bool CloudLayer::Update() {
    if (m_isSettled) {
        return false;
    }
    // In this order: what is read after the question is for the next update.
    const bool isReading = IsReading();
    const std::lock_guard lock(m_progress->mutex);
    const bool isMuchMore = m_progress->survey.Count() >= std::max(2 * m_traits.count, kFirstPoints);
    if (isReading && !isMuchMore) {
        return false;
    }
    m_isSettled = !isReading;
    m_traits = m_progress->survey.Find();
    return true;
}

void CloudLayer::Color(const PointColoring& coloring, double opacity) {
    m_isTransparent = opacity < 1.0;
    const PointColors colors(m_traits, coloring);
    m_layer.SetColoring([colors, alpha = ByteOf(opacity)](const KTR::PointCloudRecord* records, std::size_t count,
                                                          const PointXYZ& origin, GLRGBAColor* colored) {
        for (std::size_t index = 0; index < count; ++index) {
            const CloudPoint point = PointOf(records[index], origin);
            const Rgb color = colors.ColorOf(point);
            // The library leaves out what nothing is seen of.
            colored[index] = {color.red, color.green, color.blue, colors.Hides(point) ? std::uint8_t{0} : alpha};
        }
    });
}

KTR::PointCloudFrame CloudLayer::Draw(KTR::COpenGLView& view, double pointSizePixels, const CloudBudget& budget) {
    KTR::PointCloudDrawing drawing; // relative to the view's coordinate offsets and nothing else
    drawing.pointSizePixels = pointSizePixels;
    const bool isSmall = m_isSettled && m_traits.count <= kSmallCloud;
    drawing.mostPoints = isSmall ? 0 : budget.points;
    drawing.mostMilliseconds = isSmall ? 0.0 : budget.milliseconds;
    const BlendScope blend(view, m_isTransparent);
    return m_layer.Draw(view, drawing);
}

KTR::PointCloudFrame CloudLayer::Refine(KTR::COpenGLView& view) {
    const BlendScope blend(view, m_isTransparent);
    return m_layer.Refine(view);
}

} // namespace OrrinViewer
