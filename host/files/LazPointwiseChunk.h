#pragma once

#include "LazChunk.h"
#include "LazColor.h"

#include <array>
#include <vector>

namespace OrrinViewer {

/// Times of recording, in up to four sequences that the file goes to and fro between.
class LazTimeModel {
public:
    void Begin(std::uint64_t first) { m_sequences[0].time = first; }
    std::uint64_t Take(ArithmeticDecoder& decoder);

private:
    struct Sequence {
        std::uint64_t time = 0;
        std::int32_t step = 0;
        int extremes = 0; ///< steps in a row that were far from a multiple
    };

    bool TakeStep(ArithmeticDecoder& decoder, Sequence& sequence);
    bool TakeFirstStep(ArithmeticDecoder& decoder, Sequence& sequence);
    void BeginSequence(ArithmeticDecoder& decoder);

    std::array<Sequence, 4> m_sequences;
    std::size_t m_current = 0;
    std::size_t m_newest = 0;
    SymbolModel m_multiple{516};
    SymbolModel m_firstMultiple{6};
    IntegerModel m_steps{32, 9};
};

/// Points of the formats 0 to 3, all of whose attributes are in one stream.
class LazPointwiseChunk final : public LazChunk {
public:
    LazPointwiseChunk(const LazRecordLayout& layout, std::span<const std::uint8_t> bytes);
    void TakePoint(std::span<std::uint8_t> record) override;

private:
    void TakeChanges(std::uint32_t changed);
    void TakeCoordinates();

    LazRecordLayout m_layout;
    std::vector<std::uint8_t> m_last; ///< record
    bool m_isFirst = true;
    ArithmeticDecoder m_decoder;

    std::array<RunningMedian, 16> m_xSteps; ///< by the place among the returns
    std::array<RunningMedian, 16> m_ySteps;
    std::array<std::uint16_t, 16> m_intensities{};
    std::array<std::int32_t, 8> m_heights{}; ///< by the distance from the last return
    SymbolModel m_changed{64};
    std::vector<SymbolModel> m_returns;
    std::vector<SymbolModel> m_classes;
    std::vector<SymbolModel> m_userData;
    std::array<SymbolModel, 2> m_angles{SymbolModel(256), SymbolModel(256)};
    IntegerModel m_intensity{16, 4};
    IntegerModel m_source{16, 1};
    IntegerModel m_x{32, 2};
    IntegerModel m_y{32, 22};
    IntegerModel m_z{32, 20};
    LazTimeModel m_time;
    LazColorModel m_color;
    std::vector<SymbolModel> m_extra;
};

} // namespace OrrinViewer
