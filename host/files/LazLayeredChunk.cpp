#include "LazLayeredChunk.h"

#include "ByteOrder.h"

#include <algorithm>
#include <cstdlib>

namespace OrrinViewer {

namespace {

constexpr std::size_t kIntensityAt = 12;
constexpr std::size_t kReturnsAt = 14; ///< number and count, four bits each
constexpr std::size_t kFlagsAt = 15;   ///< of the class, then channel, direction and edge
constexpr std::size_t kClassAt = 16;
constexpr std::size_t kColorAt = 30;

/// Which statistics a point belongs to, by how many returns its pulse has and which of them it is.
constexpr std::uint8_t kPlaceAmongReturns[16][16] = {
    {0, 1, 2, 3, 4, 5, 3, 4, 4, 5, 5, 5, 5, 5, 5, 5}, {1, 0, 1, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3},
    {2, 1, 2, 4, 4, 4, 4, 4, 4, 4, 4, 3, 3, 3, 3, 3}, {3, 3, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4},
    {4, 3, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4}, {5, 3, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4},
    {3, 3, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4}, {4, 3, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4},
    {4, 3, 4, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4}, {5, 3, 4, 4, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4},
    {5, 3, 4, 4, 4, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4}, {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 4, 4, 4},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5, 4, 4}, {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5, 4},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5}, {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5},
};

/// Whether the writer follows the scanner's channels in all attributes.
bool IsMended(const LazRecordLayout& layout) {
    constexpr int kMendedVersion = 4;
    return layout.layeredVersion >= kMendedVersion;
}

std::size_t ContextOfBits(unsigned bits, unsigned limit) {
    return std::min(bits & ~1U, limit);
}

template <typename Number> void Store(std::span<std::uint8_t> bytes, std::size_t at, Number number) {
    for (std::size_t byte = 0; byte < sizeof(Number); ++byte) {
        bytes[at + byte] = static_cast<std::uint8_t>(static_cast<std::uint64_t>(number) >> (8 * byte));
    }
}

/// Hands out what lies behind each other in a chunk.
class Slices {
public:
    explicit Slices(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    std::span<const std::uint8_t> Take(std::size_t size) {
        if (size > m_bytes.size()) {
            throw LazFault("promises more than it holds");
        }
        const std::span<const std::uint8_t> slice = m_bytes.first(size);
        m_bytes = m_bytes.subspan(size);
        return slice;
    }
    std::uint32_t TakeNumber() { return LoadLittleEndian<std::uint32_t>(Take(4).data()); }

private:
    std::span<const std::uint8_t> m_bytes;
};

/// The streams of a point, in their order.
enum Stream : std::size_t { kCoordinates, kHeights, kClasses, kFlags, kIntensities, kPointStreams = 9 };

std::optional<ArithmeticDecoder> OpenStream(std::span<const std::uint8_t> bytes) {
    return bytes.empty() ? std::nullopt : std::make_optional<ArithmeticDecoder>(bytes);
}

} // namespace

/// What is learnt of the points of one channel of the scanner.
struct LazLayeredChunk::Channel {
    explicit Channel(const Point& point) : last(point) {
        intensities.fill(point.intensity);
        heights.fill(point.z);
    }

    Point last;
    std::array<std::uint16_t, 8> intensities{};
    std::array<RunningMedian, 12> xSteps; ///< by the place among the returns, and whether the time has changed
    std::array<RunningMedian, 12> ySteps;
    std::array<std::int32_t, 8> heights{}; ///< by the distance from the last return
    std::vector<SymbolModel> changed = std::vector<SymbolModel>(8, SymbolModel(128));
    SymbolModel nextChannel{3};
    std::vector<SymbolModel> returnCount = std::vector<SymbolModel>(16, SymbolModel(16));
    SymbolModel returnNumberAtOneTime{13};
    std::vector<SymbolModel> returnNumber = std::vector<SymbolModel>(16, SymbolModel(16));
    IntegerModel x{32, 2};
    IntegerModel y{32, 22};
    IntegerModel z{32, 20};
    std::vector<SymbolModel> classes = std::vector<SymbolModel>(64, SymbolModel(256));
    std::vector<SymbolModel> flags = std::vector<SymbolModel>(64, SymbolModel(64));
    IntegerModel intensity{16, 4};
};

struct LazLayeredChunk::ColorChannel {
    LazColor last{};
    LazColorModel model;
};

LazLayeredChunk::~LazLayeredChunk() = default;

LazLayeredChunk::LazLayeredChunk(const LazRecordLayout& layout, std::span<const std::uint8_t> bytes)
    : m_layout(layout) {
    Slices slices(bytes);
    const std::span<const std::uint8_t> first = slices.Take(layout.recordBytes);
    m_first.assign(first.begin(), first.end());
    slices.TakeNumber(); // of points, which the table of chunks has told
    std::array<std::uint32_t, kPointStreams> sizes{};
    for (std::uint32_t& size : sizes) {
        size = slices.TakeNumber();
    }
    const std::uint32_t colorSize = layout.hasColor ? slices.TakeNumber() : 0;
    for (std::size_t further = layout.extraBytes + (layout.hasNearInfrared ? 1 : 0); further > 0; --further) {
        slices.TakeNumber();
    }
    std::array<std::span<const std::uint8_t>, kPointStreams> streams;
    for (std::size_t stream = 0; stream < kPointStreams; ++stream) {
        streams[stream] = slices.Take(sizes[stream]);
    }
    m_coordinates = ArithmeticDecoder(streams[kCoordinates]);
    m_heights = OpenStream(streams[kHeights]);
    m_classes = OpenStream(streams[kClasses]);
    m_flags = OpenStream(streams[kFlags]);
    m_intensities = OpenStream(streams[kIntensities]);
    m_colors = OpenStream(slices.Take(colorSize));

    Point point;
    point.x = LoadLittleEndian<std::int32_t>(&m_first[0]);
    point.y = LoadLittleEndian<std::int32_t>(&m_first[4]);
    point.z = LoadLittleEndian<std::int32_t>(&m_first[8]);
    point.intensity = LoadLittleEndian<std::uint16_t>(&m_first[kIntensityAt]);
    point.returnNumber = m_first[kReturnsAt] & 0xFU;
    point.returnCount = m_first[kReturnsAt] >> 4U;
    point.flags = (m_first[kFlagsAt] & 0xFU) | (m_first[kFlagsAt] >> 6U) << 4U;
    point.classNumber = m_first[kClassAt];
    m_current = m_first[kFlagsAt] >> 4U & 3U;
    m_channels[m_current] = std::make_unique<Channel>(point);
    if (layout.hasColor) {
        for (std::size_t channel = 0; channel < m_color.size(); ++channel) {
            m_color[channel] = LoadLittleEndian<std::uint16_t>(&m_first[kColorAt + 2 * channel]);
        }
        m_currentColor = m_current;
        m_colorChannels[m_current] = std::make_unique<ColorChannel>();
        m_colorChannels[m_current]->last = m_color;
    }
}

void LazLayeredChunk::TakePoint(std::span<std::uint8_t> record) {
    if (m_isFirst) {
        m_isFirst = false;
        std::copy(m_first.begin(), m_first.end(), record.begin());
        return;
    }
    const Channel& before = *m_channels[m_current];
    const Point& last = before.last;
    const std::size_t returns = (last.returnNumber == 1 ? 1U : 0U) + (last.returnNumber >= last.returnCount ? 2U : 0U) +
                                (last.isTimeChanged ? 4U : 0U);
    const std::uint32_t changed = m_coordinates.TakeSymbol(m_channels[m_current]->changed[returns]);
    constexpr std::uint32_t kChannelChanged = 64;
    const bool isChannelChanged = (changed & kChannelChanged) != 0;
    if (isChannelChanged) {
        const std::uint32_t steps = m_coordinates.TakeSymbol(m_channels[m_current]->nextChannel) + 1;
        const std::size_t next = (m_current + steps) % m_channels.size();
        if (!m_channels[next]) {
            m_channels[next] = std::make_unique<Channel>(last);
            m_channels[next]->last.isTimeChanged = false;
        }
        m_current = next;
    }
    Channel& channel = *m_channels[m_current];
    TakeReturns(channel, changed);
    TakeCoordinates(channel);
    TakeAttributes(channel);
    // NOTE: Writers of version 3 tell colours the channel only where it changes; at all other points it is 0 for them.
    TakeColor(IsMended(m_layout) || isChannelChanged ? m_current : 0);
    StorePoint(record);
}

void LazLayeredChunk::TakeReturns(Channel& channel, std::uint32_t changed) {
    constexpr std::uint32_t kTimeChanged = 16;
    constexpr std::uint32_t kCountChanged = 4;
    Point& point = channel.last;
    const std::uint32_t before = point.returnNumber;
    point.isTimeChanged = (changed & kTimeChanged) != 0;
    if ((changed & kCountChanged) != 0) {
        point.returnCount = m_coordinates.TakeSymbol(channel.returnCount[point.returnCount]);
    }
    switch (changed & 3) {
    case 0:
        break;
    case 1:
        point.returnNumber = (before + 1) % 16;
        break;
    case 2:
        point.returnNumber = (before + 15) % 16;
        break;
    default:
        point.returnNumber = point.isTimeChanged
                                 ? m_coordinates.TakeSymbol(channel.returnNumber[before])
                                 : (before + m_coordinates.TakeSymbol(channel.returnNumberAtOneTime) + 2) % 16;
    }
}

void LazLayeredChunk::TakeCoordinates(Channel& channel) {
    Point& point = channel.last;
    const std::size_t place =
        2U * kPlaceAmongReturns[point.returnCount][point.returnNumber] + (point.isTimeChanged ? 1 : 0);
    const std::size_t isSingle = point.returnCount == 1 ? 1 : 0;
    const auto sum = [](std::int32_t value, std::int32_t step) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) + static_cast<std::uint32_t>(step));
    };
    const std::int32_t xStep = channel.x.Take(m_coordinates, channel.xSteps[place].Get(), isSingle);
    channel.xSteps[place].Add(xStep);
    point.x = sum(point.x, xStep);
    const std::int32_t yStep =
        channel.y.Take(m_coordinates, channel.ySteps[place].Get(), isSingle + ContextOfBits(channel.x.CountBits(), 20));
    channel.ySteps[place].Add(yStep);
    point.y = sum(point.y, yStep);
    if (m_heights) {
        constexpr int kMostLevels = 7;
        const int level = std::abs(static_cast<int>(point.returnCount) - static_cast<int>(point.returnNumber));
        std::int32_t& height = channel.heights[static_cast<std::size_t>(std::min(level, kMostLevels))];
        const unsigned bits = (channel.x.CountBits() + channel.y.CountBits()) / 2;
        height = channel.z.Take(*m_heights, height, isSingle + ContextOfBits(bits, 18));
        point.z = height;
    }
}

void LazLayeredChunk::TakeAttributes(Channel& channel) {
    Point& point = channel.last;
    const std::size_t ends = (point.returnNumber == 1 ? 2U : 0U) + (point.returnNumber >= point.returnCount ? 1U : 0U);
    if (m_classes) {
        const std::size_t context = (point.classNumber & 0x1F) * 2 + (ends == 3 ? 1 : 0);
        point.classNumber = m_classes->TakeSymbol(channel.classes[context]);
    }
    if (m_flags) {
        point.flags = m_flags->TakeSymbol(channel.flags[point.flags]);
    }
    if (m_intensities) {
        std::uint16_t& intensity = channel.intensities[2 * ends + (point.isTimeChanged ? 1 : 0)];
        intensity = static_cast<std::uint16_t>(channel.intensity.Take(*m_intensities, intensity, ends));
        point.intensity = intensity;
    }
}

void LazLayeredChunk::TakeColor(std::size_t channel) {
    if (!m_colors) {
        return;
    }
    std::size_t source = m_currentColor; // whose last colour is changed
    if (m_currentColor != channel) {
        const bool isNew = !m_colorChannels[channel];
        if (isNew) {
            m_colorChannels[channel] = std::make_unique<ColorChannel>();
            m_colorChannels[channel]->last = m_colorChannels[m_currentColor]->last;
        }
        // NOTE: Writers of version 3 go on with the colour of the channel before on a change to one that was there.
        source = isNew || IsMended(m_layout) ? channel : m_currentColor;
        m_currentColor = channel;
    }
    m_color = m_colorChannels[channel]->model.Take(*m_colors, m_colorChannels[source]->last);
    m_colorChannels[source]->last = m_color;
}

void LazLayeredChunk::StorePoint(std::span<std::uint8_t> record) const {
    const Point& point = m_channels[m_current]->last;
    std::copy(m_first.begin(), m_first.end(), record.begin());
    Store(record, 0, point.x);
    Store(record, 4, point.y);
    Store(record, 8, point.z);
    Store(record, kIntensityAt, point.intensity);
    record[kReturnsAt] = static_cast<std::uint8_t>(point.returnNumber | point.returnCount << 4U);
    record[kFlagsAt] = static_cast<std::uint8_t>((point.flags & 0xFU) | m_current << 4U | (point.flags >> 4U) << 6U);
    record[kClassAt] = static_cast<std::uint8_t>(point.classNumber);
    for (std::size_t channel = 0; m_layout.hasColor && channel < m_color.size(); ++channel) {
        Store(record, kColorAt + 2 * channel, m_color[channel]);
    }
}

} // namespace OrrinViewer
