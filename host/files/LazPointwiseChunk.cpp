#include "LazPointwiseChunk.h"

#include "ByteOrder.h"

#include <algorithm>
#include <cstdlib>

namespace OrrinViewer {

namespace {

// Where the fields of a record stand.
constexpr std::size_t kIntensityAt = 12;
constexpr std::size_t kReturnsAt = 14;
constexpr std::size_t kClassAt = 15;
constexpr std::size_t kAngleAt = 16;
constexpr std::size_t kUserDataAt = 17;
constexpr std::size_t kSourceAt = 18;
constexpr std::size_t kPointBytes = 20;
constexpr std::size_t kTimeBytes = 8;
constexpr std::size_t kColorBytes = 6;

/// Which statistics a point belongs to, by how many returns its pulse has and which of them it is.
constexpr std::uint8_t kPlaceAmongReturns[8][8] = {
    {15, 14, 13, 12, 11, 10, 9, 8},  {14, 0, 1, 3, 6, 10, 10, 9},    {13, 1, 2, 4, 7, 11, 11, 10},
    {12, 3, 4, 5, 8, 12, 12, 11},    {11, 6, 7, 8, 9, 13, 13, 12},   {10, 10, 11, 12, 13, 14, 14, 13},
    {9, 10, 11, 12, 13, 14, 15, 14}, {8, 9, 10, 11, 12, 13, 14, 15},
};

template <typename Number> void Store(std::vector<std::uint8_t>& bytes, std::size_t at, Number number) {
    for (std::size_t byte = 0; byte < sizeof(Number); ++byte) {
        bytes[at + byte] = static_cast<std::uint8_t>(static_cast<std::uint64_t>(number) >> (8 * byte));
    }
}

/// Even, and no more than a limit: contexts by how many bits a step has taken.
std::size_t ContextOfBits(unsigned bits, unsigned limit) {
    return std::min(bits & ~1U, limit);
}

/// Multiples of the last step in time, as their symbols are: 0 to 500 themselves, then down to -10, then the rest.
constexpr std::uint32_t kLargestMultiple = 500;
constexpr int kSmallestMultiple = -10;
constexpr std::uint32_t kUnchanged = 511;
constexpr std::uint32_t kNewSequence = 512;

} // namespace

std::uint64_t LazTimeModel::Take(ArithmeticDecoder& decoder) {
    // Symbols that change the sequence are followed by others. A file that only changes it comes to no end.
    constexpr int kMostChanges = 64;
    for (int changes = 0; changes < kMostChanges; ++changes) {
        Sequence& sequence = m_sequences[m_current];
        if (sequence.step == 0 ? TakeFirstStep(decoder, sequence) : TakeStep(decoder, sequence)) {
            return m_sequences[m_current].time;
        }
    }
    throw LazFault("has times that never come");
}

/// False where only the sequence has changed.
bool LazTimeModel::TakeFirstStep(ArithmeticDecoder& decoder, Sequence& sequence) {
    const std::uint32_t symbol = decoder.TakeSymbol(m_firstMultiple);
    if (symbol == 1) {
        sequence.step = m_steps.Take(decoder, 0, 0);
        sequence.time += static_cast<std::uint64_t>(std::int64_t{sequence.step});
        sequence.extremes = 0;
    } else if (symbol == 2) {
        BeginSequence(decoder);
    } else if (symbol > 2) {
        m_current = (m_current + symbol - 2) & 3;
        return false;
    }
    return true;
}

bool LazTimeModel::TakeStep(ArithmeticDecoder& decoder, Sequence& sequence) {
    const std::uint32_t symbol = decoder.TakeSymbol(m_multiple);
    if (symbol == kUnchanged) {
        return true;
    }
    if (symbol == kNewSequence) {
        BeginSequence(decoder);
        return true;
    }
    if (symbol > kNewSequence) {
        m_current = (m_current + symbol - kNewSequence) & 3;
        return false;
    }
    const auto times = [&](std::int64_t multiple) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(multiple * sequence.step));
    };
    const int multiple = symbol <= kLargestMultiple ? static_cast<int>(symbol)
                                                    : static_cast<int>(kLargestMultiple) - static_cast<int>(symbol);
    std::int32_t step = 0;
    bool isExtreme = false;
    if (symbol == 0) {
        step = m_steps.Take(decoder, 0, 7);
        isExtreme = true;
    } else if (symbol == 1) {
        step = m_steps.Take(decoder, sequence.step, 1);
        sequence.extremes = 0;
    } else if (symbol < kLargestMultiple) {
        step = m_steps.Take(decoder, times(multiple), multiple < 10 ? 2 : 3);
    } else if (symbol == kLargestMultiple) {
        step = m_steps.Take(decoder, times(multiple), 4);
        isExtreme = true;
    } else {
        isExtreme = multiple == kSmallestMultiple;
        step = m_steps.Take(decoder, times(multiple), isExtreme ? 6 : 5);
    }
    sequence.time += static_cast<std::uint64_t>(std::int64_t{step});
    constexpr int kMostExtremes = 3;
    if (isExtreme && ++sequence.extremes > kMostExtremes) {
        sequence.step = step;
        sequence.extremes = 0;
    }
    return true;
}

void LazTimeModel::BeginSequence(ArithmeticDecoder& decoder) {
    const auto upper = static_cast<std::int32_t>(static_cast<std::uint32_t>(m_sequences[m_current].time >> 32));
    m_newest = (m_newest + 1) & 3;
    Sequence& sequence = m_sequences[m_newest];
    const auto newUpper = static_cast<std::uint32_t>(m_steps.Take(decoder, upper, 8));
    sequence = {std::uint64_t{newUpper} << 32 | decoder.TakeBits(32), 0, 0};
    m_current = m_newest;
}

LazPointwiseChunk::LazPointwiseChunk(const LazRecordLayout& layout, std::span<const std::uint8_t> bytes)
    : m_layout(layout), m_last(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(layout.recordBytes)),
      m_decoder(bytes.subspan(layout.recordBytes)), m_returns(256, SymbolModel(256)), m_classes(256, SymbolModel(256)),
      m_userData(256, SymbolModel(256)), m_extra(layout.extraBytes, SymbolModel(256)) {
    if (layout.hasTime) {
        m_time.Begin(LoadLittleEndian<std::uint64_t>(&m_last[kPointBytes]));
    }
}

void LazPointwiseChunk::TakePoint(std::span<std::uint8_t> record) {
    if (m_isFirst) {
        m_isFirst = false;
        std::copy(m_last.begin(), m_last.end(), record.begin());
        // The first point's intensity counts for none of the statistics.
        Store(m_last, kIntensityAt, std::uint16_t{0});
        return;
    }
    TakeChanges(m_decoder.TakeSymbol(m_changed));
    TakeCoordinates();
    std::size_t at = kPointBytes;
    if (m_layout.hasTime) {
        Store(m_last, at, m_time.Take(m_decoder));
        at += kTimeBytes;
    }
    if (m_layout.hasColor) {
        LazColor color;
        for (std::size_t channel = 0; channel < color.size(); ++channel) {
            color[channel] = LoadLittleEndian<std::uint16_t>(&m_last[at + 2 * channel]);
        }
        color = m_color.Take(m_decoder, color);
        for (std::size_t channel = 0; channel < color.size(); ++channel) {
            Store(m_last, at + 2 * channel, color[channel]);
        }
        at += kColorBytes;
    }
    for (SymbolModel& model : m_extra) {
        m_last[at] = static_cast<std::uint8_t>(m_last[at] + m_decoder.TakeSymbol(model));
        ++at;
    }
    std::copy(m_last.begin(), m_last.end(), record.begin());
}

/// All but the coordinates. Each bit of `changed` says that an attribute differs from the last point's.
void LazPointwiseChunk::TakeChanges(std::uint32_t changed) {
    const auto isChanged = [changed](std::uint32_t bit) { return (changed & bit) != 0; };
    const auto take = [this](SymbolModel& model) { return static_cast<std::uint8_t>(m_decoder.TakeSymbol(model)); };
    if (isChanged(32)) {
        m_last[kReturnsAt] = take(m_returns[m_last[kReturnsAt]]);
    }
    const std::size_t place = kPlaceAmongReturns[m_last[kReturnsAt] >> 3 & 7][m_last[kReturnsAt] & 7];
    std::uint16_t& intensity = m_intensities[place];
    if (isChanged(16)) {
        intensity = static_cast<std::uint16_t>(m_intensity.Take(m_decoder, intensity, std::min<std::size_t>(place, 3)));
    }
    Store(m_last, kIntensityAt, intensity);
    if (isChanged(8)) {
        m_last[kClassAt] = take(m_classes[m_last[kClassAt]]);
    }
    if (isChanged(4)) {
        const std::size_t direction = m_last[kReturnsAt] >> 6 & 1;
        m_last[kAngleAt] = static_cast<std::uint8_t>(m_last[kAngleAt] + take(m_angles[direction]));
    }
    if (isChanged(2)) {
        m_last[kUserDataAt] = take(m_userData[m_last[kUserDataAt]]);
    }
    if (isChanged(1)) {
        const auto source = LoadLittleEndian<std::uint16_t>(&m_last[kSourceAt]);
        Store(m_last, kSourceAt, static_cast<std::uint16_t>(m_source.Take(m_decoder, source)));
    }
}

void LazPointwiseChunk::TakeCoordinates() {
    const int which = m_last[kReturnsAt] & 7;
    const int count = m_last[kReturnsAt] >> 3 & 7;
    const std::size_t place = kPlaceAmongReturns[count][which];
    const std::size_t isSingle = count == 1 ? 1 : 0;
    const auto step = [this](std::size_t at, std::int32_t by) {
        Store(m_last, at, LoadLittleEndian<std::uint32_t>(&m_last[at]) + static_cast<std::uint32_t>(by));
    };
    const std::int32_t xStep = m_x.Take(m_decoder, m_xSteps[place].Get(), isSingle);
    m_xSteps[place].Add(xStep);
    step(0, xStep);
    const std::int32_t yStep =
        m_y.Take(m_decoder, m_ySteps[place].Get(), isSingle + ContextOfBits(m_x.CountBits(), 20));
    m_ySteps[place].Add(yStep);
    step(4, yStep);
    std::int32_t& height = m_heights[static_cast<std::size_t>(std::abs(count - which))];
    const unsigned bits = (m_x.CountBits() + m_y.CountBits()) / 2;
    height = m_z.Take(m_decoder, height, isSingle + ContextOfBits(bits, 18));
    Store(m_last, 8, height);
}

} // namespace OrrinViewer
