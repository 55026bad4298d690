#include "LazWriter.h"

#include "FileTestSupport.h"
#include "files/LazEntropy.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <random>

namespace OrrinViewer {

namespace {

/// The other side of ArithmeticDecoder, with the same models.
class Encoder {
public:
    void PutSymbol(SymbolModel& model, std::uint32_t symbol) {
        const std::uint32_t* distribution = model.Distribution();
        const std::uint32_t unit = m_length >> SymbolModel::kShift;
        const std::uint32_t first = unit * distribution[symbol];
        const std::uint32_t end = symbol + 1 < model.CountSymbols() ? unit * distribution[symbol + 1] : m_length;
        Narrow(first, end - first);
        model.Learn(symbol);
    }
    void PutBit(BitModel& model, bool bit) {
        const std::uint32_t zeros = model.ZeroProbability() * (m_length >> BitModel::kShift);
        Narrow(bit ? zeros : 0, bit ? m_length - zeros : zeros);
        model.Learn(bit);
    }
    void PutBits(unsigned count, std::uint32_t bits) {
        if (count > 19) {
            PutBits(16, bits & 0xFFFF);
            PutBits(count - 16, bits >> 16);
            return;
        }
        const std::uint32_t unit = m_length >> count;
        Narrow(bits * unit, unit);
    }
    std::string Finish() {
        Narrow(m_length / 2, 1U << 24);
        for (int byte = 0; byte < 4; ++byte) {
            PutByte();
        }
        return m_bytes + std::string(2, '\0');
    }

private:
    void Narrow(std::uint32_t first, std::uint32_t length) {
        m_base += first;
        if (m_base < first) { // carried
            std::size_t at = m_bytes.size();
            while (++m_bytes[--at] == '\0') {
            }
        }
        m_length = length;
        while (m_length < 1U << 24) {
            PutByte();
            m_length <<= 8;
        }
    }
    void PutByte() {
        m_bytes += static_cast<char>(m_base >> 24);
        m_base <<= 8;
    }

    std::uint32_t m_base = 0;
    std::uint32_t m_length = 0xFFFFFFFF;
    std::string m_bytes;
};

/// The other side of IntegerModel.
class Integers {
public:
    Integers(unsigned bits, std::size_t contexts) : m_bits(bits), m_counts(contexts, SymbolModel(bits + 1)) {
        for (unsigned count = 0; count <= bits; ++count) {
            m_corrections.emplace_back(1U << std::min(count, 8U));
        }
    }
    void Put(Encoder& encoder, std::int32_t prediction, std::int32_t value, std::size_t context = 0) {
        auto correction =
            static_cast<std::int32_t>(static_cast<std::uint32_t>(value) - static_cast<std::uint32_t>(prediction));
        if (m_bits == 16) {
            correction = static_cast<std::int16_t>(correction);
        }
        const std::int64_t wide = correction;
        for (m_count = 0;
             m_count < m_bits && (wide > std::int64_t{1} << m_count || wide <= -(std::int64_t{1} << m_count));) {
            ++m_count;
        }
        m_count = wide == 0 || wide == 1 ? 0 : wide == INT32_MIN ? 32 : m_count;
        encoder.PutSymbol(m_counts[context], m_count);
        if (m_count == 0) {
            encoder.PutBit(m_one, correction == 1);
        } else if (m_count < 32) {
            const auto code = static_cast<std::uint32_t>(wide > 0 ? wide - 1 : wide + (std::int64_t{1} << m_count) - 1);
            const unsigned rest = m_count > 8 ? m_count - 8 : 0;
            encoder.PutSymbol(m_corrections[m_count], code >> rest);
            if (rest > 0) {
                encoder.PutBits(rest, code & ((1U << rest) - 1));
            }
        }
    }
    std::size_t Context(unsigned limit) const { return std::min(m_count & ~1U, limit); }
    unsigned CountBits() const { return m_count; }

private:
    unsigned m_bits;
    unsigned m_count = 0;
    std::vector<SymbolModel> m_counts;
    BitModel m_one;
    std::vector<SymbolModel> m_corrections;
};

class ColorWriter {
public:
    void Put(Encoder& encoder, const LazPoint& last, const LazPoint& point) {
        const auto byteOf = [](const LazPoint& of, std::size_t byte) {
            return of.color[byte / 2] >> (8 * (byte % 2)) & 0xFF;
        };
        std::uint32_t changed = 0;
        for (std::size_t byte = 0; byte < 6; ++byte) {
            changed |= byteOf(last, byte) != byteOf(point, byte) ? 1U << byte : 0;
        }
        changed |= point.color[0] != point.color[1] || point.color[0] != point.color[2] ? 64U : 0;
        encoder.PutSymbol(m_changed, changed);
        const auto change = [&](std::size_t byte) { return byteOf(point, byte) - byteOf(last, byte); };
        const auto put = [&](std::size_t byte, int predicted) {
            if ((changed >> byte & 1) != 0) {
                const int from = std::clamp(byteOf(last, byte) + predicted, 0, 255);
                encoder.PutSymbol(m_models[byte], static_cast<std::uint32_t>(byteOf(point, byte) - from) & 0xFF);
            }
        };
        put(0, 0);
        put(1, 0);
        for (std::size_t upper = 0; upper < 2 && (changed & 64) != 0; ++upper) {
            put(2 + upper, change(upper));
            put(4 + upper, (change(upper) + change(2 + upper)) / 2);
        }
    }

private:
    SymbolModel m_changed{128};
    std::vector<SymbolModel> m_models = std::vector<SymbolModel>(6, SymbolModel(256));
};

/// Times are not shown: any that are well formed will do, and all kinds of them come.
class TimeWriter {
public:
    void Put(Encoder& encoder) {
        std::int32_t& step = m_steps[m_current];
        const std::uint32_t kind = m_random() % 8;
        if (step == 0) {
            const std::uint32_t symbol = kind < 3 ? kind : kind < 6 ? 1 : 3 + kind % 3;
            encoder.PutSymbol(m_first, symbol);
            if (symbol == 1) {
                m_integers.Put(encoder, 0, step = static_cast<std::int32_t>(m_random() % 100 + 1), 0);
            }
            return Further(encoder, symbol == 2, symbol > 2 ? symbol - 2 : 0);
        }
        constexpr std::uint32_t kSymbols[8] = {0, 1, 5, 100, 500, 505, 511, 0};
        const std::uint32_t symbol = kind < 7 ? kSymbols[kind] : 512 + m_random() % 4;
        encoder.PutSymbol(m_multiple, symbol);
        constexpr std::size_t kContexts[7] = {7, 1, 2, 3, 4, 5, 0};
        if (kind < 6) {
            const int multiple = symbol <= 500 ? static_cast<int>(symbol) : 500 - static_cast<int>(symbol);
            const std::int32_t predicted = multiple * step;
            const std::int32_t value = predicted + 3;
            m_integers.Put(encoder, predicted, value, kContexts[kind]);
            int& extremes = m_extremes[m_current];
            extremes = symbol == 1 ? 0 : extremes;
            if ((symbol == 0 || symbol == 500) && ++extremes > 3) {
                step = value;
                extremes = 0;
            }
        }
        Further(encoder, symbol == 512, symbol > 512 ? symbol - 512 : 0);
    }

private:
    void Further(Encoder& encoder, bool begins, std::uint32_t change) {
        if (begins) {
            m_integers.Put(encoder, m_uppers[m_current], 77, 8);
            encoder.PutBits(32, static_cast<std::uint32_t>(m_random()));
            m_newest = (m_newest + 1) & 3;
            m_current = m_newest;
            m_steps[m_current] = 0;
            m_extremes[m_current] = 0;
            m_uppers[m_current] = 77;
        } else if (change > 0) {
            m_current = (m_current + change) & 3;
            Put(encoder);
        }
    }

    std::mt19937 m_random{7};
    // Steps stay so small that they never reach the upper half of a time.
    std::array<std::int32_t, 4> m_steps{}, m_uppers{};
    std::array<int, 4> m_extremes{};
    std::size_t m_current = 0, m_newest = 0;
    SymbolModel m_first{6}, m_multiple{516};
    Integers m_integers{32, 9};
};

struct CoordinateWriter {
    Integers x{32, 2}, y{32, 22}, z{32, 20};

    void PutPlane(Encoder& encoder, RunningMedian& xSteps, RunningMedian& ySteps, const LazPoint& last,
                  const LazPoint& point) {
        const std::size_t isSingle = point.returnCount == 1 ? 1 : 0;
        const auto step = [](std::int32_t from, std::int32_t to) {
            return static_cast<std::int32_t>(static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from));
        };
        x.Put(encoder, xSteps.Get(), step(last.x, point.x), isSingle);
        xSteps.Add(step(last.x, point.x));
        y.Put(encoder, ySteps.Get(), step(last.y, point.y), isSingle + x.Context(20));
        ySteps.Add(step(last.y, point.y));
    }
    void PutHeight(Encoder& encoder, std::int32_t& height, const LazPoint& point) {
        const unsigned bits = (x.CountBits() + y.CountBits()) / 2;
        z.Put(encoder, height, point.z, (point.returnCount == 1 ? 1U : 0U) + std::min(bits & ~1U, 18U));
        height = point.z;
    }
};

std::size_t LevelOf(const LazPoint& point) {
    return std::min<std::size_t>(
        static_cast<std::size_t>(std::abs(static_cast<int>(point.returnCount) - static_cast<int>(point.returnNumber))),
        7);
}

/// The table is the format's own. Tests of damage and of the way through a file need no other places.
constexpr std::uint8_t kFewPlaces[3][3] = {{15, 14, 13}, {14, 0, 1}, {13, 1, 2}};

/// The same in layered files, for pulses of up to ten returns: beyond two only the ends are apart.
std::size_t LayeredPlaceOf(const LazPoint& point) {
    if (point.returnCount <= 2) {
        return point.returnCount == 1 ? 0 : point.returnNumber;
    }
    return point.returnNumber == 1 ? 3 : point.returnNumber == point.returnCount ? 5 : 4;
}

std::string RecordOf(const LazPoint& point, const LazShape& shape) {
    FileBytes record;
    record.Put(point.x).Put(point.y).Put(point.z).Put(point.intensity);
    const bool isLayered = shape.pointFormat >= 6;
    if (isLayered) {
        record.Put(static_cast<std::uint8_t>(point.returnNumber | point.returnCount << 4));
        record.Put(static_cast<std::uint8_t>((point.flags & 15) | point.channel << 4 | point.flags >> 4 << 6));
        record.Put(static_cast<std::uint8_t>(point.classNumber)).FillTo(30);
    } else {
        record.Put(static_cast<std::uint8_t>(point.returnNumber | point.returnCount << 3 | point.flags << 6));
        record.Put(static_cast<std::uint8_t>(point.classNumber)).FillTo(20);
        if (shape.pointFormat % 2 == 1) {
            record.FillTo(28);
        }
    }
    if (shape.pointFormat == 2 || shape.pointFormat == 3 || shape.pointFormat > 6) {
        record.Put(point.color[0]).Put(point.color[1]).Put(point.color[2]);
    }
    const std::size_t bytes = record.Content().size() + (shape.pointFormat == 8 ? 2U : 0U);
    return record.FillTo(bytes + static_cast<std::size_t>(shape.extraBytes)).Content();
}

std::string BuildPointwiseChunk(const std::vector<LazPoint>& points, const LazShape& shape) {
    Encoder encoder;
    SymbolModel changedModel(64);
    std::vector<SymbolModel> returns(256, SymbolModel(256));
    std::vector<SymbolModel> classes(256, SymbolModel(256));
    std::vector<SymbolModel> extra(static_cast<std::size_t>(shape.extraBytes), SymbolModel(256));
    Integers intensity(16, 4);
    std::array<std::uint16_t, 16> intensities{};
    std::array<RunningMedian, 16> xSteps, ySteps;
    std::array<std::int32_t, 8> heights{};
    CoordinateWriter coordinates;
    TimeWriter times;
    ColorWriter colors;
    for (std::size_t index = 1; index < points.size(); ++index) {
        const LazPoint& last = points[index - 1];
        const LazPoint& point = points[index];
        const auto byteOf = [](const LazPoint& of) { return of.returnNumber | of.returnCount << 3 | of.flags << 6; };
        const std::size_t place = kFewPlaces[point.returnCount][point.returnNumber];
        const std::uint32_t changed = (byteOf(last) != byteOf(point) ? 32U : 0) |
                                      (intensities[place] != point.intensity ? 16U : 0) |
                                      (last.classNumber != point.classNumber ? 8U : 0);
        encoder.PutSymbol(changedModel, changed);
        if ((changed & 32) != 0) {
            encoder.PutSymbol(returns[byteOf(last)], byteOf(point));
        }
        if ((changed & 16) != 0) {
            intensity.Put(encoder, intensities[place], point.intensity, std::min<std::size_t>(place, 3));
            intensities[place] = point.intensity;
        }
        if ((changed & 8) != 0) {
            encoder.PutSymbol(classes[last.classNumber], point.classNumber);
        }
        coordinates.PutPlane(encoder, xSteps[place], ySteps[place], last, point);
        coordinates.PutHeight(encoder, heights[LevelOf(point)], point);
        if (shape.pointFormat % 2 == 1) {
            times.Put(encoder);
        }
        if (shape.pointFormat >= 2) {
            colors.Put(encoder, last, point);
        }
        for (SymbolModel& model : extra) {
            encoder.PutSymbol(model, static_cast<std::uint32_t>(index) % 256);
        }
    }
    return RecordOf(points.front(), shape) + encoder.Finish();
}

/// What is learnt of a channel of the scanner.
struct ChannelWriter {
    explicit ChannelWriter(const LazPoint& point) : last(point) {
        heights.fill(point.z);
        intensities.fill(point.intensity);
        last.isTimeChanged = false;
    }
    LazPoint last;
    std::vector<SymbolModel> changed = std::vector<SymbolModel>(8, SymbolModel(128));
    std::vector<SymbolModel> counts = std::vector<SymbolModel>(16, SymbolModel(16));
    std::vector<SymbolModel> numbers = std::vector<SymbolModel>(16, SymbolModel(16));
    std::vector<SymbolModel> classes = std::vector<SymbolModel>(64, SymbolModel(256));
    std::vector<SymbolModel> flags = std::vector<SymbolModel>(64, SymbolModel(64));
    SymbolModel next{3};
    SymbolModel numberAtOneTime{13};
    Integers intensity{16, 4};
    std::array<RunningMedian, 12> xSteps, ySteps;
    std::array<std::int32_t, 8> heights{};
    std::array<std::uint16_t, 8> intensities{};
    CoordinateWriter coordinates;
};

std::string BuildLayeredChunk(const std::vector<LazPoint>& points, const LazShape& shape) {
    std::array<Encoder, 5> streams; // coordinates, heights, classes, flags, intensities
    Encoder colorStream;
    std::array<std::unique_ptr<ChannelWriter>, 4> channels;
    std::array<std::unique_ptr<ColorWriter>, 4> colorWriters;
    std::array<LazPoint, 4> lastColors;
    std::size_t current = points.front().channel;
    channels[current] = std::make_unique<ChannelWriter>(points.front());
    colorWriters[current] = std::make_unique<ColorWriter>();
    lastColors[current] = points.front();
    std::size_t colorCurrent = current;
    for (std::size_t index = 1; index < points.size(); ++index) {
        const LazPoint& point = points[index];
        const LazPoint& before = channels[current]->last;
        const std::size_t target = point.channel;
        const LazPoint& compared = channels[target] ? channels[target]->last : before;
        const std::uint32_t step = (point.returnNumber - compared.returnNumber) % 16;
        const std::uint32_t numberChange = step < 2 ? step : step == 15 ? 2 : 3;
        const bool isChannelChanged = target != current;
        const std::uint32_t changed = (isChannelChanged ? 64U : 0) | (point.isTimeChanged ? 16U : 0) |
                                      (point.returnCount != compared.returnCount ? 4U : 0) | numberChange;
        const std::size_t context = (before.returnNumber == 1 ? 1U : 0U) +
                                    (before.returnNumber >= before.returnCount ? 2U : 0U) +
                                    (before.isTimeChanged ? 4U : 0U);
        streams[0].PutSymbol(channels[current]->changed[context], changed);
        if (isChannelChanged) {
            streams[0].PutSymbol(channels[current]->next, static_cast<std::uint32_t>((target + 3 - current) % 4));
            if (!channels[target]) {
                channels[target] = std::make_unique<ChannelWriter>(before);
            }
        }
        current = target;
        ChannelWriter& channel = *channels[current];
        if ((changed & 4) != 0) {
            streams[0].PutSymbol(channel.counts[channel.last.returnCount], point.returnCount);
        }
        if (numberChange == 3 && !point.isTimeChanged) {
            streams[0].PutSymbol(channel.numberAtOneTime, step - 2);
        } else if (numberChange == 3) {
            streams[0].PutSymbol(channel.numbers[channel.last.returnNumber], point.returnNumber);
        }
        const std::size_t time = point.isTimeChanged ? 1 : 0;
        const std::size_t place = 2U * LayeredPlaceOf(point) + time;
        channel.coordinates.PutPlane(streams[0], channel.xSteps[place], channel.ySteps[place], channel.last, point);
        channel.coordinates.PutHeight(streams[1], channel.heights[LevelOf(point)], point);
        const std::size_t ends =
            (point.returnNumber == 1 ? 2U : 0U) + (point.returnNumber >= point.returnCount ? 1U : 0U);
        streams[2].PutSymbol(channel.classes[(channel.last.classNumber & 31) * 2 + (ends == 3 ? 1 : 0)],
                             point.classNumber);
        streams[3].PutSymbol(channel.flags[channel.last.flags], point.flags);
        std::uint16_t& intensity = channel.intensities[2 * ends + time];
        channel.intensity.Put(streams[4], intensity, point.intensity, ends);
        intensity = point.intensity;
        channel.last = point;
        if (shape.pointFormat > 6) {
            const bool isMended = shape.itemVersion >= 4;
            const std::size_t colorChannel = isMended || isChannelChanged ? target : 0;
            const bool isNew = !colorWriters[colorChannel];
            if (isNew) {
                colorWriters[colorChannel] = std::make_unique<ColorWriter>();
                lastColors[colorChannel] = lastColors[colorCurrent];
            }
            LazPoint& lastColor = lastColors[isNew || isMended ? colorChannel : colorCurrent];
            colorCurrent = colorChannel;
            colorWriters[colorChannel]->Put(colorStream, lastColor, point);
            lastColor = point;
        }
    }
    FileBytes chunk;
    chunk.PutText(RecordOf(points.front(), shape)).Put(static_cast<std::uint32_t>(points.size()));
    std::string bytes;
    const auto put = [&](Encoder& stream) {
        const std::string content = stream.Finish();
        chunk.Put(static_cast<std::uint32_t>(content.size()));
        bytes += content;
    };
    for (Encoder& stream : streams) {
        put(stream);
    }
    chunk.Put<std::uint32_t>(3).Put<std::uint32_t>(0).Put<std::uint32_t>(0).Put<std::uint32_t>(2);
    bytes += "xxxxx"; // streams that nobody reads
    if (shape.pointFormat > 6) {
        put(colorStream);
    }
    for (int further = shape.extraBytes + (shape.pointFormat == 8 ? 1 : 0); further > 0; --further) {
        chunk.Put<std::uint32_t>(0);
    }
    return chunk.PutText(bytes).Content();
}

/// Puts the index behind the file, and where it is into the record in its front.
std::string WithIndex(std::string content, const std::vector<std::string>& index) {
    const std::size_t half = index.size() / 2;
    FileBytes root;
    root.FillTo(16).Put<std::uint64_t>(content.size()).Put(static_cast<std::uint32_t>(32 * (index.size() - half)));
    root.Put<std::int32_t>(-1);
    std::string rootPage = root.Content();
    for (std::size_t entry = 0; entry < index.size(); ++entry) {
        (entry < half ? rootPage : content) += index[entry];
    }
    FileBytes place;
    place.Put<std::uint64_t>(content.size()).Put<std::uint64_t>(rootPage.size());
    content.replace(375 + 54 + 40, 16, place.Content());
    return content + rootPage;
}

} // namespace

std::string BuildLaz(const std::vector<LazPoint>& points, const LazShape& shape) {
    const bool isLayered = shape.pointFormat >= 6;
    const auto version = static_cast<std::uint16_t>(shape.itemVersion != 0 ? shape.itemVersion : isLayered ? 3 : 2);
    struct Item {
        int type, size;
    };
    std::vector<Item> items = {isLayered ? Item{10, 30} : Item{6, 20}};
    if (!isLayered && shape.pointFormat % 2 == 1) {
        items.push_back({7, 8});
    }
    if (shape.pointFormat == 2 || shape.pointFormat == 3 || shape.pointFormat > 6) {
        items.push_back(shape.pointFormat == 8 ? Item{12, 8} : Item{isLayered ? 11 : 8, 6});
    }
    if (shape.extraBytes > 0) {
        items.push_back({isLayered ? 14 : 0, shape.extraBytes});
    }
    constexpr std::size_t kHeaderBytes = 375;
    const std::size_t recordBytes = RecordOf(points.front(), shape).size();
    const std::size_t plan = 34 + 6 * items.size();
    const std::size_t planAt = kHeaderBytes + (shape.levels.empty() ? 0U : 54U + 160U);
    const auto pointsAt = static_cast<std::uint32_t>(planAt + 54 + plan);
    FileBytes file;
    file.PutText("LASF").FillTo(24).Put<std::uint8_t>(1).Put<std::uint8_t>(4).FillTo(94).Put<std::uint16_t>(
        kHeaderBytes);
    file.Put(pointsAt)
        .Put<std::uint32_t>(shape.levels.empty() ? 1 : 2)
        .Put(static_cast<std::uint8_t>(0x80 | shape.pointFormat));
    file.Put(static_cast<std::uint16_t>(recordBytes)).FillTo(131).Put(0.01).Put(0.01).Put(0.01).FillTo(247);
    file.Put(static_cast<std::uint64_t>(points.size())).FillTo(kHeaderBytes);
    if (!shape.levels.empty()) {
        file.Put<std::uint16_t>(0)
            .PutText("copc")
            .FillTo(kHeaderBytes + 18)
            .Put<std::uint16_t>(1)
            .Put<std::uint16_t>(160);
        file.FillTo(planAt);
    }
    file.Put<std::uint16_t>(0).PutText("laszip encoded").FillTo(planAt + 18).Put<std::uint16_t>(22204);
    file.Put(static_cast<std::uint16_t>(plan)).FillTo(planAt + 54);
    file.Put(static_cast<std::uint16_t>(isLayered ? 3 : 2))
        .Put<std::uint16_t>(0)
        .Put<std::uint32_t>(3)
        .Put<std::uint32_t>(0);
    file.Put(shape.chunkSize != 0 ? shape.chunkSize : 0xFFFFFFFF).FillTo(planAt + 54 + 32);
    file.Put(static_cast<std::uint16_t>(items.size()));
    for (const Item& item : items) {
        file.Put(static_cast<std::uint16_t>(item.type)).Put(static_cast<std::uint16_t>(item.size)).Put(version);
    }

    FileBytes chunks;
    std::vector<std::string> index; // an entry for each chunk
    Encoder table;
    Integers numbers(32, 2);
    std::uint32_t count = 0;
    std::int32_t lastPoints = 0;
    std::int32_t lastBytes = 0;
    for (std::size_t first = 0; first < points.size(); ++count) {
        const std::size_t wanted = shape.chunkSize != 0 ? shape.chunkSize : count % 2 == 0 ? 100 : 7;
        const std::size_t size = std::min(wanted, points.size() - first);
        const std::vector<LazPoint> part(points.begin() + static_cast<std::ptrdiff_t>(first),
                                         points.begin() + static_cast<std::ptrdiff_t>(first + size));
        const std::string bytes = isLayered ? BuildLayeredChunk(part, shape) : BuildPointwiseChunk(part, shape);
        if (!shape.levels.empty()) {
            FileBytes entry;
            entry.Put(shape.levels.at(count)).FillTo(16).Put<std::uint64_t>(pointsAt + 8 + chunks.Content().size());
            entry.Put(static_cast<std::uint32_t>(bytes.size())).Put(static_cast<std::uint32_t>(size));
            index.push_back(entry.Content());
        }
        chunks.PutText(bytes);
        if (shape.chunkSize == 0) {
            numbers.Put(table, lastPoints, static_cast<std::int32_t>(size), 0);
            lastPoints = static_cast<std::int32_t>(size);
        }
        numbers.Put(table, lastBytes, static_cast<std::int32_t>(bytes.size()), 1);
        lastBytes = static_cast<std::int32_t>(bytes.size());
        first += size;
    }
    const std::uint64_t tableAt = pointsAt + 8 + chunks.Content().size();
    file.Put(shape.isTableAtTheEnd ? ~std::uint64_t{0} : tableAt).PutText(chunks.Content());
    file.Put<std::uint32_t>(0).Put(count).PutText(table.Finish());
    if (shape.isTableAtTheEnd) {
        file.Put(tableAt);
    }
    return index.empty() ? file.Content() : WithIndex(file.Content(), index);
}

} // namespace OrrinViewer
