#include "MapNotices.h"

#include "drawing/PixelDrawing.h"
#include "map/NoticeText.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace OrrinViewer {

namespace {

using namespace std::chrono_literals;

/// What is read faster than this needs no progress.
constexpr auto kQuick = 150ms;
constexpr auto kNewsTime = 12s;
constexpr std::size_t kMostLines = 8;

constexpr double kEdgePixels = 10.0;
constexpr double kBarPixels = 8.0;
constexpr double kReadingPixels = 520.0;
constexpr double kWidestPixels = 760.0;
constexpr Rgb kPanelColor{20, 24, 30};
constexpr std::uint8_t kPanelOpacity = 225;
constexpr Rgb kBarColor{90, 170, 255};
constexpr Rgb kBarGround{58, 66, 78};
constexpr const char* kHowToStop = "Esc stops";
constexpr const char* kHowToOpen = "Drop files here, or press Ctrl+O";

/// The first line of a text that has no more room than that.
std::string CutToWidth(const std::string& text, double widthPixels, const TextSizes& sizes) {
    if (sizes.width(text) <= widthPixels) {
        return text;
    }
    const std::vector<std::string> lines = BreakLines(text, widthPixels - sizes.width("..."), sizes);
    return lines.front() + "...";
}

} // namespace

void MapNotices::FindReading(Said& said) const {
    std::optional<Scene::LayerProgress> layer = m_scene.GetReading();
    said.canStop = IsReading() && !m_loading.IsStopping();
    if (m_loading.IsLoading()) {
        const SceneLoading::Progress progress = m_loading.GetProgress();
        layer = {progress.name, progress.state};
        said.reading = DescribeReading(progress.name, progress.fileNumber, progress.fileCount, progress.state);
        if (m_loading.IsStopping()) {
            said.reading = progress.name + ": stopping";
        }
    } else {
        layer = layer ? layer : m_scene.GetPreparing();
        said.reading = layer ? DescribeReading(layer->name, 1, 1, layer->state) : std::string();
    }
    if (layer && layer->state.share) {
        said.percent = static_cast<int>(std::floor(*layer->state.share * 100.0));
    }
}

/// Faults are news at once. Remarks may change until everything is there.
void MapNotices::TakeNews() {
    std::vector<std::string> lines;
    for (const std::string& fault : m_loading.GetFaults()) {
        lines.push_back(WithoutFolders(fault));
    }
    if (!m_readingSince && m_sceneVersion != m_scene.GetVersion()) {
        m_sceneVersion = m_scene.GetVersion();
        for (const std::string& problem : m_scene.GetProblems()) {
            lines.push_back(WithoutFolders(problem));
        }
        const std::vector<std::string> remarks = m_scene.GetRemarks();
        lines.insert(lines.end(), remarks.begin(), remarks.end());
    }
    for (const std::string& line : lines) {
        if (std::find(m_known.begin(), m_known.end(), line) == m_known.end()) {
            m_known.push_back(line);
            m_news.push_back(line);
            m_newsTime = Clock::now();
        }
    }
}

bool MapNotices::Update() {
    const Clock::time_point now = Clock::now();
    if (!IsReading() && !m_scene.GetPreparing()) {
        m_readingSince.reset();
    } else if (!m_readingSince) {
        m_readingSince = now;
    }
    TakeNews();
    Said said;
    if (m_readingSince && now - *m_readingSince >= kQuick) {
        FindReading(said);
    }
    // What explains an empty map stays.
    said.isEmptyMap = !m_readingSince && m_scene.GetExtent().IsEmpty();
    if (!said.isEmptyMap && now - m_newsTime >= kNewsTime) {
        m_news.clear();
    }
    said.lines = said.isEmptyMap ? m_known : m_news;
    if (said.lines.size() > kMostLines) {
        const std::size_t more = said.lines.size() - kMostLines + 1;
        said.lines.resize(kMostLines - 1);
        said.lines.push_back("and " + std::to_string(more) + " more");
    }
    if (said.isEmptyMap) {
        said.lines.emplace_back(kHowToOpen);
    }
    const bool isNew = !(said == m_said);
    m_said = std::move(said);
    return isNew;
}

bool MapNotices::Dismiss() {
    if (m_news.empty() || m_said.isEmptyMap) {
        return false;
    }
    m_news.clear();
    Update();
    return true;
}

bool MapNotices::DismissAt(int x, int y) {
    return !m_said.lines.empty() && x >= m_area.left && x < m_area.right && y >= m_area.top && y < m_area.bottom &&
           Dismiss();
}

void MapNotices::Draw(KTR::COpenGLView& view, const TextPainter& texts, double scale, int widthPixels, int heightPixels,
                      KTR::GLCoveredArea& covered) {
    const double width = widthPixels / scale;
    const double height = heightPixels / scale;
    m_area = {};
    covered = {};
    const bool isRead = !m_said.reading.empty();
    const double room = width - 4.0 * kEdgePixels;
    if ((!isRead && m_said.lines.empty()) || room <= 0.0) {
        return;
    }
    const TextSizes sizes = texts.Sizes(view);
    const double rowHeight = std::round(sizes.ascent + sizes.descent + 6.0);
    std::vector<std::string> lines;
    for (const std::string& line : m_said.lines) {
        const std::vector<std::string> broken = BreakLines(line, std::min(room, kWidestPixels), sizes);
        lines.insert(lines.end(), broken.begin(), broken.end());
    }
    // Of the same width while it is read, however long the numbers are.
    double inner = isRead ? std::min(room, kReadingPixels) : 0.0;
    for (const std::string& line : lines) {
        inner = std::max(inner, sizes.width(line));
    }
    const double readingHeight = isRead ? rowHeight + kBarPixels + kEdgePixels : 0.0;
    const double panelHeight = readingHeight + rowHeight * static_cast<double>(lines.size()) + kEdgePixels +
                               (lines.empty() ? 0.0 : kEdgePixels * 0.5);
    const double left = std::round((width - inner) * 0.5) - kEdgePixels;
    const double right = left + std::ceil(inner) + 2.0 * kEdgePixels;
    // Below the row that tells the position under the mouse.
    const double top = m_said.isEmptyMap ? std::round((height + panelHeight) * 0.5) : height - 2.0 * rowHeight;
    SetUpPixelCamera(view, widthPixels, heightPixels);
    DrawPixelBox(view, left, top - panelHeight, right, top, kPanelColor, kPanelOpacity, scale);
    std::vector<PixelText> written;
    double baseline = top - kEdgePixels - sizes.ascent;
    if (isRead) {
        const double stopWidth = sizes.width(kHowToStop);
        written.push_back({CutToWidth(m_said.reading, inner - stopWidth - 2.0 * kEdgePixels, sizes), left + kEdgePixels,
                           std::round(baseline)});
        if (m_said.canStop) {
            written.push_back({kHowToStop, std::round(right - kEdgePixels - stopWidth), std::round(baseline)});
        }
        const double barTop = top - kEdgePixels - rowHeight;
        const double share = m_said.percent.value_or(0) / 100.0;
        DrawPixelBox(view, left + kEdgePixels, barTop - kBarPixels, right - kEdgePixels, barTop, kBarGround, 255,
                     scale);
        DrawPixelBox(view, left + kEdgePixels, barTop - kBarPixels,
                     left + kEdgePixels + std::round((right - left - 2.0 * kEdgePixels) * share), barTop, kBarColor,
                     255, scale);
        baseline -= readingHeight;
    }
    for (const std::string& line : lines) {
        written.push_back({line, left + kEdgePixels, std::round(baseline)});
        baseline -= rowHeight;
    }
    texts.Draw(view, written);
    m_area = {left * scale, (height - top) * scale, right * scale, (height - top + panelHeight) * scale};
    covered = m_area;
}

} // namespace OrrinViewer
