#include "TiffOverview.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace OrrinViewer {

namespace {

/// Pixels of an overview.
constexpr std::int64_t kMostPixels = 4'000'000;
/// Levels that are computed from a finer one whenever they are looked at.
constexpr int kFreeLevels = 2;
constexpr int kRowsAtOnce = 16;

int Halved(int size, int level) {
    return ((size - 1) >> level) + 1;
}

} // namespace

std::optional<int> TiffOverview::FindLevel(const TiffFile& file) {
    int level = 0;
    while (std::int64_t{Halved(file.Width(), level)} * Halved(file.Height(), level) > kMostPixels) {
        ++level;
    }
    return level - file.FindLevelRead(level) > kFreeLevels ? std::optional(level) : std::nullopt;
}

TiffOverview::TiffOverview(const std::filesystem::path& path, int level)
    : m_file(path), m_level(level), m_width(Halved(m_file.Width(), level)), m_height(Halved(m_file.Height(), level)),
      m_hasColors(m_file.HasColors()) {
    const std::size_t pixels = static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height);
    if (m_hasColors) {
        m_colors.resize(4 * pixels);
    } else {
        m_values.resize(pixels);
    }
    m_thread = std::thread([this] { ReadFile(); });
}

TiffOverview::~TiffOverview() {
    m_stops = true;
    m_thread.join();
}

void TiffOverview::ReadFile() {
    try {
        for (int row = 0; row < m_height && !m_stops; row += kRowsAtOnce) {
            const TiffWindow window{m_level, 0, row, m_width, std::min(kRowsAtOnce, m_height - row)};
            const std::size_t first = static_cast<std::size_t>(row) * static_cast<std::size_t>(m_width);
            if (m_hasColors) {
                m_file.ReadColors(window, &m_colors[4 * first]);
            } else {
                m_file.ReadValues(window, &m_values[first]);
            }
            const std::lock_guard lock(m_mutex);
            m_rowsRead = row + window.height;
            m_progress.notify_all();
        }
    } catch (...) {
        const std::lock_guard lock(m_mutex);
        m_fault = std::current_exception();
        m_progress.notify_all();
    }
}

bool TiffOverview::Read(const TiffWindow& window, bool waits, void* pixels) {
    const int steps = window.level - m_level;
    const auto end =
        static_cast<int>(std::min<std::int64_t>((std::int64_t{window.y} + window.height) << steps, m_height));
    {
        std::unique_lock lock(m_mutex);
        if (waits) {
            m_progress.wait(lock, [&] { return m_rowsRead >= end || m_fault; });
        }
        if (m_fault) {
            std::rethrow_exception(m_fault);
        }
        if (m_rowsRead < end) {
            return false;
        }
    }
    auto* pixel = static_cast<std::uint8_t*>(pixels);
    for (int row = window.y; row < window.y + window.height; ++row) {
        for (int column = window.x; column < window.x + window.width; ++column) {
            MeanOf(window, row, column, pixel);
            pixel += 4;
        }
    }
    return true;
}

/// Of the pixels that a pixel of the window is made of.
void TiffOverview::MeanOf(const TiffWindow& window, int row, int column, void* pixel) const {
    const int steps = window.level - m_level;
    const auto last = [steps](int first, int limit) {
        return static_cast<int>(std::min<std::int64_t>((std::int64_t{first} + 1) << steps, limit));
    };
    std::array<double, 3> sums{};
    double weight = 0.0;
    double count = 0.0;
    for (int y = row << steps; y < last(row, m_height); ++y) {
        for (int x = column << steps; x < last(column, m_width); ++x) {
            const std::size_t at =
                static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width) + static_cast<std::size_t>(x);
            count += 1.0;
            if (m_hasColors) {
                const double opacity = m_colors[4 * at + 3];
                weight += opacity;
                for (std::size_t channel = 0; channel < sums.size(); ++channel) {
                    sums[channel] += opacity * m_colors[4 * at + channel];
                }
            } else if (!std::isnan(m_values[at])) {
                weight += 1.0;
                sums[0] += static_cast<double>(m_values[at]);
            }
        }
    }
    if (m_hasColors) {
        std::array<std::uint8_t, 4> color{};
        for (std::size_t channel = 0; channel < sums.size() && weight > 0.0; ++channel) {
            color[channel] = static_cast<std::uint8_t>(std::lround(sums[channel] / weight));
        }
        color[3] = static_cast<std::uint8_t>(std::lround(count > 0.0 ? weight / count : 0.0));
        std::memcpy(pixel, color.data(), color.size());
    } else {
        const float value =
            weight > 0.0 ? static_cast<float>(sums[0] / weight) : std::numeric_limits<float>::quiet_NaN();
        std::memcpy(pixel, &value, sizeof(value));
    }
}

} // namespace OrrinViewer
