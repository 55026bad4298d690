#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

namespace OrrinViewer {

/// Compressed points that cannot be what they claim; the words follow "chunk N ".
class LazFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How probable 0 is among bits, learnt from those that came.
class BitModel {
public:
    static constexpr unsigned kShift = 13; ///< probabilities are fractions of 2 to this

    std::uint32_t ZeroProbability() const { return m_zeroProbability; }
    void Learn(bool bit) {
        m_zeros += bit ? 0U : 1U;
        if (--m_untilUpdate == 0) {
            Update();
        }
    }

private:
    void Update();

    std::uint32_t m_zeros = 1;
    std::uint32_t m_bits = 2;
    std::uint32_t m_zeroProbability = 1U << (kShift - 1);
    std::uint32_t m_cycle = 4;
    std::uint32_t m_untilUpdate = 4;
};

/// How probable each of some symbols is, learnt from those that came. Made when it is first needed, as most of many
/// models never are.
class SymbolModel {
public:
    static constexpr unsigned kShift = 15;

    explicit SymbolModel(std::uint32_t symbols = 0) : m_symbols(symbols) {}

    /// Sums of the probabilities of the symbols before each, as fractions of 2 to kShift.
    const std::uint32_t* Distribution() {
        if (m_counts.empty()) {
            Begin();
        }
        return m_distribution.data();
    }
    std::uint32_t CountSymbols() const { return m_symbols; }
    void Learn(std::uint32_t symbol) {
        ++m_counts[symbol];
        if (--m_untilUpdate == 0) {
            Update();
        }
    }

private:
    void Begin();
    void Update();

    std::uint32_t m_symbols;
    std::uint32_t m_total = 0;
    std::uint32_t m_cycle = 0;
    std::uint32_t m_untilUpdate = 0;
    std::vector<std::uint32_t> m_counts;
    std::vector<std::uint32_t> m_distribution;
};

/// Reads what an arithmetic coder has written: symbols and bits by models, and plain bits. Throws LazFault past the
/// end.
class ArithmeticDecoder {
public:
    ArithmeticDecoder() = default;
    /// The bytes must outlive the decoder.
    explicit ArithmeticDecoder(std::span<const std::uint8_t> bytes);

    bool TakeBit(BitModel& model);
    std::uint32_t TakeSymbol(SymbolModel& model);
    /// Up to 32 bits that were not modelled.
    std::uint32_t TakeBits(unsigned count);

private:
    std::uint8_t NextByte();
    void Renormalize();

    std::span<const std::uint8_t> m_bytes;
    std::size_t m_at = 0;
    std::uint32_t m_value = 0;
    std::uint32_t m_length = 0xFFFFFFFF;
};

/// Integers as corrections of predictions: first how many bits a correction has, then its upper bits by a model of
/// their own, then the rest as they are.
class IntegerModel {
public:
    IntegerModel(unsigned bits, std::size_t contexts);

    std::int32_t Take(ArithmeticDecoder& decoder, std::int32_t prediction, std::size_t context = 0);
    /// Of the last correction.
    unsigned CountBits() const { return m_count; }

private:
    std::int32_t TakeCorrection(ArithmeticDecoder& decoder, SymbolModel& countModel);

    unsigned m_bits;
    unsigned m_count = 0;
    std::vector<SymbolModel> m_countModels; ///< for each context
    BitModel m_oneBit;
    std::vector<SymbolModel> m_corrections; ///< for each number of bits
};

/// The middle one of the last five values, or nearly so: values leave at the lower and the upper end in turn.
class RunningMedian {
public:
    std::int32_t Get() const { return m_sorted[2]; }
    void Add(std::int32_t value);

private:
    std::array<std::int32_t, 5> m_sorted{};
    bool m_dropsHighest = true;
};

} // namespace OrrinViewer
