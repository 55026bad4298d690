#include "LazEntropy.h"

#include <algorithm>

namespace OrrinViewer {

namespace {

constexpr std::uint32_t kShortestLength = 1U << 24;
constexpr std::uint32_t kOne = 1U << 31; ///< that counts are divided into

/// Upper bits of a correction that have a model.
constexpr unsigned kModelledBits = 8;

/// A writer ends with as many bytes as a reader needs; a few more are forgiven, as zeros.
constexpr std::size_t kForgivenBytes = 4;

} // namespace

void BitModel::Update() {
    constexpr std::uint32_t kMostBits = 1U << kShift;
    constexpr std::uint32_t kLongestCycle = 64;
    m_bits += m_cycle;
    if (m_bits > kMostBits) {
        m_bits = (m_bits + 1) >> 1;
        m_zeros = (m_zeros + 1) >> 1;
        m_bits += m_zeros == m_bits ? 1 : 0;
    }
    m_zeroProbability = (m_zeros * (kOne / m_bits)) >> (31 - kShift);
    m_cycle = std::min((5 * m_cycle) >> 2, kLongestCycle);
    m_untilUpdate = m_cycle;
}

void SymbolModel::Begin() {
    m_counts.assign(m_symbols, 1);
    m_distribution.assign(m_symbols, 0);
    m_cycle = m_symbols;
    Update();
    m_cycle = (m_symbols + 6) >> 1;
    m_untilUpdate = m_cycle;
}

void SymbolModel::Update() {
    constexpr std::uint32_t kMostCounts = 1U << kShift;
    m_total += m_cycle;
    if (m_total > kMostCounts) {
        m_total = 0;
        for (std::uint32_t& count : m_counts) {
            count = (count + 1) >> 1;
            m_total += count;
        }
    }
    const std::uint32_t scale = kOne / m_total;
    std::uint32_t sum = 0;
    for (std::uint32_t symbol = 0; symbol < m_symbols; ++symbol) {
        m_distribution[symbol] = (scale * sum) >> (31 - kShift);
        sum += m_counts[symbol];
    }
    m_cycle = std::min((5 * m_cycle) >> 2, (m_symbols + 6) << 3);
    m_untilUpdate = m_cycle;
}

ArithmeticDecoder::ArithmeticDecoder(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {
    for (int byte = 0; byte < 4; ++byte) {
        m_value = m_value << 8 | NextByte();
    }
}

std::uint8_t ArithmeticDecoder::NextByte() {
    if (m_at < m_bytes.size()) {
        return m_bytes[m_at++];
    }
    if (m_at++ >= m_bytes.size() + kForgivenBytes) {
        throw LazFault("ends before its last point");
    }
    return 0;
}

void ArithmeticDecoder::Renormalize() {
    while (m_length < kShortestLength) {
        m_value = m_value << 8 | NextByte();
        m_length <<= 8;
    }
}

bool ArithmeticDecoder::TakeBit(BitModel& model) {
    const std::uint32_t zeros = model.ZeroProbability() * (m_length >> BitModel::kShift);
    const bool bit = m_value >= zeros;
    if (bit) {
        m_value -= zeros;
        m_length -= zeros;
    } else {
        m_length = zeros;
    }
    Renormalize();
    model.Learn(bit);
    return bit;
}

std::uint32_t ArithmeticDecoder::TakeSymbol(SymbolModel& model) {
    const std::uint32_t* distribution = model.Distribution();
    const std::uint32_t unit = m_length >> SymbolModel::kShift;
    // The last symbol whose part of the range begins at the value or before.
    std::uint32_t symbol = 0;
    std::uint32_t end = model.CountSymbols();
    std::uint32_t first = 0;
    std::uint32_t beyond = m_length;
    while (end - symbol > 1) {
        const std::uint32_t middle = (symbol + end) >> 1;
        const std::uint32_t start = unit * distribution[middle];
        if (start > m_value) {
            end = middle;
            beyond = start;
        } else {
            symbol = middle;
            first = start;
        }
    }
    m_value -= first;
    m_length = beyond - first;
    Renormalize();
    model.Learn(symbol);
    return symbol;
}

std::uint32_t ArithmeticDecoder::TakeBits(unsigned count) {
    constexpr unsigned kMostAtOnce = 19;
    if (count > kMostAtOnce) {
        const std::uint32_t lower = TakeBits(16);
        return TakeBits(count - 16) << 16 | lower;
    }
    m_length >>= count;
    const std::uint32_t bits = m_value / m_length;
    m_value -= bits * m_length;
    Renormalize();
    return bits;
}

IntegerModel::IntegerModel(unsigned bits, std::size_t contexts)
    : m_bits(bits), m_countModels(contexts, SymbolModel(bits + 1)) {
    for (unsigned count = 0; count <= bits; ++count) {
        m_corrections.emplace_back(1U << std::min(count, kModelledBits));
    }
}

std::int32_t IntegerModel::Take(ArithmeticDecoder& decoder, std::int32_t prediction, std::size_t context) {
    const std::int32_t correction = TakeCorrection(decoder, m_countModels[context]);
    // Numbers go round at their ends.
    const std::uint32_t sum = static_cast<std::uint32_t>(prediction) + static_cast<std::uint32_t>(correction);
    return static_cast<std::int32_t>(m_bits < 32 ? sum & ((1U << m_bits) - 1) : sum);
}

std::int32_t IntegerModel::TakeCorrection(ArithmeticDecoder& decoder, SymbolModel& countModel) {
    m_count = decoder.TakeSymbol(countModel);
    if (m_count == 0) {
        return decoder.TakeBit(m_oneBit) ? 1 : 0;
    }
    if (m_count == 32) {
        return INT32_MIN;
    }
    std::uint32_t correction = decoder.TakeSymbol(m_corrections[m_count]);
    if (m_count > kModelledBits) {
        const unsigned rest = m_count - kModelledBits;
        correction = correction << rest | decoder.TakeBits(rest);
    }
    // Those of a number of bits are the positive ones above the half, and the negative ones below it.
    const bool isPositive = correction >= 1U << (m_count - 1);
    return static_cast<std::int32_t>(isPositive ? correction + 1 : correction - ((1U << m_count) - 1));
}

void RunningMedian::Add(std::int32_t value) {
    const std::int32_t middle = m_sorted[2];
    // The others move by one place towards the end that has lost its value, up to where the new one belongs.
    if (m_dropsHighest) {
        std::size_t place = 4;
        for (; place > 0 && m_sorted[place - 1] > value; --place) {
            m_sorted[place] = m_sorted[place - 1];
        }
        m_sorted[place] = value;
        m_dropsHighest = value < middle;
    } else {
        std::size_t place = 0;
        for (; place < 4 && m_sorted[place + 1] < value; ++place) {
            m_sorted[place] = m_sorted[place + 1];
        }
        m_sorted[place] = value;
        m_dropsHighest = value <= middle;
    }
}

} // namespace OrrinViewer
