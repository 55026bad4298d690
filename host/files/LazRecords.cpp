#include "LazRecords.h"

#include "ByteOrder.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace OrrinViewer {

namespace {

/// The size of chunks that differ in size.
constexpr std::uint32_t kVariable = 0xFFFFFFFF;

/// Points that differ in anything take more than a thousandth of a byte.
constexpr std::uint64_t kMostPointsPerByte = 1000;

enum Item : std::uint16_t {
    kBytes = 0,
    kPoint10 = 6,
    kTime = 7,
    kColor = 8,
    kPoint14 = 10,
    kColor14 = 11,
    kColorAndInfrared14 = 12,
    kBytes14 = 14
};

constexpr const char* kConverts = "; pdal translate in.laz out.las converts it";

} // namespace

LazRecords::LazRecords(const std::filesystem::path& path, const LazPlan& plan) : m_file(path) {
    ReadItems(plan);
    ReadChunkTable(plan);
    OrderByLevels(plan.octree);
}

/// The layout that is told must be the one that the point format has.
void LazRecords::ReadItems(const LazPlan& plan) {
    constexpr std::size_t kHeaderBytes = 34;
    constexpr std::size_t kItemBytes = 6;
    const std::vector<std::uint8_t>& record = plan.items;
    const auto number = [&record](std::size_t at) { return LoadLittleEndian<std::uint16_t>(&record[at]); };
    if (record.size() < kHeaderBytes || record.size() < kHeaderBytes + kItemBytes * number(32)) {
        m_file.Fail("holds compressed points but does not tell how");
    }
    constexpr std::uint16_t kPointwise = 2;
    constexpr std::uint16_t kLayered = 3;
    const std::uint16_t compressor = number(0);
    const bool isLayeredFormat = plan.pointFormat >= 6;
    const bool isKnown = plan.pointFormat <= 3 || (plan.pointFormat >= 6 && plan.pointFormat <= 8);
    if (number(2) != 0 || compressor != (isLayeredFormat ? kLayered : kPointwise) || !isKnown) {
        m_file.Fail("holds points of format " + std::to_string(plan.pointFormat) + " compressed in way " +
                    std::to_string(compressor) + ", which is not read" + kConverts);
    }
    m_chunkSize = LoadLittleEndian<std::uint32_t>(&record[12]);
    m_layout.isLayered = isLayeredFormat;
    m_layout.recordBytes = plan.recordBytes;
    std::size_t bytes = 0;
    bool areVersionsKnown = true;
    for (std::size_t item = 0; item < number(32); ++item) {
        const std::size_t at = kHeaderBytes + kItemBytes * item;
        const std::uint16_t type = number(at);
        const std::uint16_t size = number(at + 2);
        const std::uint16_t version = number(at + 4);
        bytes += size;
        areVersionsKnown = areVersionsKnown && (isLayeredFormat ? version == 3 || version == 4 : version == 2);
        m_layout.layeredVersion = version;
        m_layout.hasTime = m_layout.hasTime || type == kTime;
        m_layout.hasColor = m_layout.hasColor || type == kColor || type == kColor14 || type == kColorAndInfrared14;
        m_layout.hasNearInfrared = m_layout.hasNearInfrared || type == kColorAndInfrared14;
        m_layout.extraBytes += type == kBytes || type == kBytes14 ? size : 0;
    }
    constexpr std::array<std::size_t, 9> kPlainBytes = {20, 28, 26, 34, 0, 0, 30, 36, 38};
    const std::size_t format = plan.pointFormat;
    const bool isAsTold = m_layout.hasTime == (format == 1 || format == 3) &&
                          m_layout.hasColor == (format == 2 || format == 3 || format == 7 || format == 8) &&
                          m_layout.hasNearInfrared == (format == 8) && bytes == plan.recordBytes &&
                          kPlainBytes[format] + m_layout.extraBytes == plan.recordBytes;
    if (!areVersionsKnown || !isAsTold || m_chunkSize == 0) {
        m_file.Fail("holds compressed points whose parts are not those of format " + std::to_string(format) +
                    kConverts);
    }
}

void LazRecords::ReadChunkTable(const LazPlan& plan) {
    constexpr std::size_t kPlaceBytes = 8;
    constexpr std::size_t kTableHeaderBytes = 8;
    const auto placeAt = [this](std::uint64_t at) {
        std::array<std::uint8_t, kPlaceBytes> bytes{};
        m_file.ReadAt(at, bytes);
        return LoadLittleEndian<std::uint64_t>(bytes.data());
    };
    std::uint64_t tableAt = placeAt(plan.pointsAt);
    if (tableAt == ~std::uint64_t{0} && m_file.Size() >= kPlaceBytes) {
        tableAt = placeAt(m_file.Size() - kPlaceBytes); // by a writer that could not go back
    }
    std::uint64_t chunkAt = plan.pointsAt + kPlaceBytes;
    if (tableAt < chunkAt || tableAt > m_file.Size() || m_file.Size() - tableAt < kTableHeaderBytes) {
        m_file.Fail("has no table of its chunks of points, as a file that was not written to its end");
    }
    std::array<std::uint8_t, kTableHeaderBytes> header{};
    m_file.ReadAt(tableAt, header);
    const std::uint64_t count = LoadLittleEndian<std::uint32_t>(&header[4]);
    // Each begins with a whole point.
    if (count > (tableAt - chunkAt) / plan.recordBytes) {
        m_file.Fail("promises " + std::to_string(count) + " chunks of points, for which it is too small");
    }
    constexpr std::uint64_t kMostBytesPerEntry = 10;
    const std::uint64_t tableBytes =
        std::min(m_file.Size() - tableAt - kTableHeaderBytes, kMostBytesPerEntry * count + kTableHeaderBytes);
    std::vector<std::uint8_t> table(static_cast<std::size_t>(tableBytes));
    m_file.ReadAt(tableAt + kTableHeaderBytes, table);
    std::uint64_t pointsLeft = plan.pointCount;
    try {
        ArithmeticDecoder decoder(table);
        IntegerModel numbers(32, 2);
        std::int32_t points = 0;
        std::int32_t bytes = 0;
        for (std::uint64_t chunk = 0; chunk < count; ++chunk) {
            if (m_chunkSize == kVariable) {
                points = numbers.Take(decoder, points, 0);
            }
            bytes = numbers.Take(decoder, bytes, 1);
            Entry entry{chunkAt, static_cast<std::uint32_t>(bytes),
                        m_chunkSize == kVariable ? static_cast<std::uint32_t>(points) : m_chunkSize,
                        static_cast<std::size_t>(chunk + 1)};
            entry.points = std::min(entry.points, pointsLeft);
            if (entry.bytes > tableAt - chunkAt || entry.points / kMostPointsPerByte > entry.bytes) {
                m_file.Fail("has a damaged table of chunks: chunk " + std::to_string(chunk + 1) + " would have " +
                            std::to_string(entry.bytes) + " bytes for " + std::to_string(entry.points) + " points");
            }
            chunkAt += entry.bytes;
            pointsLeft -= entry.points;
            if (entry.points > 0) {
                m_entries.push_back(entry);
            }
        }
    } catch (const LazFault& fault) {
        m_file.Fail(std::string("its table of chunks ") + fault.what());
    }
    if (pointsLeft > 0) {
        m_file.Fail("promises " + std::to_string(plan.pointCount) + " points but has chunks for " +
                    std::to_string(plan.pointCount - pointsLeft));
    }
}

/// Each chunk is a cell of the octree, the root's level first. Where the index is damaged the order stays the file's:
/// the points are the same.
void LazRecords::OrderByLevels(const std::vector<std::uint8_t>& octree) {
    constexpr std::size_t kRootPageAt = 40;
    constexpr std::size_t kRecordBytes = 160;
    constexpr std::size_t kEntryBytes = 32;
    constexpr std::int32_t kIsPage = -1; // instead of a number of points
    if (octree.size() < kRecordBytes) {
        return;
    }
    struct Page {
        std::uint64_t at;
        std::uint64_t bytes;
    };
    std::vector<Page> pages = {{LoadLittleEndian<std::uint64_t>(&octree[kRootPageAt]),
                                LoadLittleEndian<std::uint64_t>(&octree[kRootPageAt + 8])}};
    std::vector<std::pair<std::uint64_t, std::int32_t>> levels; // by the place of the chunk
    std::uint64_t bytesLeft = m_file.Size();                    // pages in a circle come to an end too
    std::vector<std::uint8_t> bytes;
    while (!pages.empty()) {
        const Page page = pages.back();
        pages.pop_back();
        if (page.bytes > bytesLeft || page.at > m_file.Size() - page.bytes || page.bytes % kEntryBytes != 0) {
            return;
        }
        bytesLeft -= page.bytes;
        bytes.resize(static_cast<std::size_t>(page.bytes));
        m_file.ReadAt(page.at, bytes);
        for (std::size_t entry = 0; entry < bytes.size(); entry += kEntryBytes) {
            const auto at = LoadLittleEndian<std::uint64_t>(&bytes[entry + 16]);
            if (LoadLittleEndian<std::int32_t>(&bytes[entry + 28]) == kIsPage) {
                pages.push_back({at, LoadLittleEndian<std::uint32_t>(&bytes[entry + 24])});
            } else {
                levels.emplace_back(at, LoadLittleEndian<std::int32_t>(&bytes[entry]));
            }
        }
    }
    std::sort(levels.begin(), levels.end());
    for (Entry& entry : m_entries) {
        const auto found = std::lower_bound(levels.begin(), levels.end(), std::pair(entry.at, INT32_MIN));
        const bool isKnown = found != levels.end() && found->first == entry.at;
        entry.level = isKnown ? found->second : INT32_MAX;
    }
    std::stable_sort(m_entries.begin(), m_entries.end(),
                     [](const Entry& one, const Entry& other) { return one.level < other.level; });
}

void LazRecords::OpenNextChunk() {
    m_progress->GoOn();
    const Entry& entry = m_entries.at(m_next++);
    m_chunk.reset();
    m_bytes.resize(static_cast<std::size_t>(entry.bytes));
    m_file.ReadAt(entry.at, m_bytes);
    m_chunk = OpenLazChunk(m_layout, m_bytes);
    m_leftInChunk = entry.points;
}

void LazRecords::Read(std::span<std::uint8_t> records) {
    try {
        for (; !records.empty(); records = records.subspan(m_layout.recordBytes)) {
            while (m_leftInChunk == 0) {
                OpenNextChunk();
            }
            m_chunk->TakePoint(records.first(m_layout.recordBytes));
            --m_leftInChunk;
        }
    } catch (const LazFault& fault) {
        m_file.Fail("chunk " + std::to_string(m_entries[m_next - 1].number) + " of its points " + fault.what());
    }
}

} // namespace OrrinViewer
