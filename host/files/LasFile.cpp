#include "LasFile.h"

#include "ByteOrder.h"
#include "FileError.h"
#include "GeoKeys.h"
#include "InputFile.h"
#include "LazRecords.h"
#include "WktText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace OrrinViewer {

namespace {

/// Where the fields of a point record stand, in bytes from its start. All formats begin with x, y, z as 32-bit integers
/// and a 16-bit intensity.
struct PointLayout {
    std::size_t recordBytes; // the least that a record of the format has; files may append their own
    std::size_t classAt;
    std::uint8_t classMask; // formats 0 to 5 keep flags in the upper three bits of the class byte
    std::size_t flagsAt;
    std::uint8_t withheldMask;
    std::size_t colorAt; // 0 where the format has no colour
};

constexpr std::array<PointLayout, 11> kLayouts = {{
    {20, 15, 0x1F, 15, 0x80, 0},
    {28, 15, 0x1F, 15, 0x80, 0},  // time
    {26, 15, 0x1F, 15, 0x80, 20}, // colour
    {34, 15, 0x1F, 15, 0x80, 28}, // time, colour
    {57, 15, 0x1F, 15, 0x80, 0},  // time, wave packet
    {63, 15, 0x1F, 15, 0x80, 28}, // time, colour, wave packet
    {30, 16, 0xFF, 15, 0x04, 0},  // time, from here on always
    {36, 16, 0xFF, 15, 0x04, 30}, // colour
    {38, 16, 0xFF, 15, 0x04, 30}, // colour, near infrared
    {59, 16, 0xFF, 15, 0x04, 0},  // wave packet
    {67, 16, 0xFF, 15, 0x04, 30}, // colour, near infrared, wave packet
}};

constexpr std::size_t kIntensityAt = 12;

/// The header's fields that matter here; the rest of it describes the survey.
struct LasHeader {
    std::size_t bytes = 0;         // of the header itself
    std::uint32_t recordCount = 0; // variable length records, which follow it
    std::uint64_t pointsAt = 0;
    std::uint64_t promisedPoints = 0;
    std::uint64_t pointCount = 0; // that the file has
    std::size_t recordBytes = 0;
    std::size_t pointFormat = 0;
    bool isCompressed = false;
    std::array<double, 3> scale{};
    std::array<double, 3> offset{};
    Extent extent; // as promised; empty where that makes no sense
};

constexpr std::size_t kCommonHeaderBytes = 227; // up to version 1.2; later ones append fields

std::size_t HeaderBytesOfVersion(int minorVersion) {
    switch (minorVersion) {
    case 4:
        return 375;
    case 3:
        return 235;
    default:
        return kCommonHeaderBytes;
    }
}

void RequireSignature(const InputFile& file, const std::uint8_t* header) {
    if (std::memcmp(header, "LASF", 4) != 0) {
        file.Fail("is not a LAS file: it does not begin with 'LASF'");
    }
}

/// Of the byte that tells the point format, the others tell that the points are compressed (LAZ).
constexpr std::uint8_t kFormatBits = 0x3F;

/// The point format, refused where this program cannot read it.
std::size_t TakePointFormat(const InputFile& file, std::uint8_t formatByte) {
    const std::uint8_t format = formatByte & kFormatBits;
    if (format >= kLayouts.size()) {
        file.Fail("has point format " + std::to_string(format) + " at byte 104; formats 0 to 10 are known");
    }
    return format;
}

/// Version 1.4 counts in 64 bits and keeps the 32-bit count for older readers, where it fits. Some writers fill in only
/// the old one.
std::uint64_t TakePointCount(const std::vector<std::uint8_t>& header, int minorVersion) {
    const std::uint64_t legacyCount = LoadLittleEndian<std::uint32_t>(&header[107]);
    if (minorVersion < 4) {
        return legacyCount;
    }
    const auto count = LoadLittleEndian<std::uint64_t>(&header[247]);
    return count != 0 ? count : legacyCount;
}

/// The box that the writer says its points are in: largest and smallest x, then y, then z.
Extent TakeExtent(const std::vector<std::uint8_t>& header) {
    const auto number = [&header](std::size_t place) { return LoadLittleEndian<double>(&header[179 + 8 * place]); };
    const Extent extent{{number(1), number(3), number(5)}, {number(0), number(2), number(4)}};
    const bool isBox = IsFinite(extent.low) && IsFinite(extent.high) && extent.low.x < extent.high.x &&
                       extent.low.y < extent.high.y && extent.low.z <= extent.high.z;
    return isBox ? extent : Extent();
}

void RequireUsableTransform(const InputFile& file, const LasHeader& header) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        // A point may still lie too far away; that is asked of each.
        const bool isUsable = IsCoordinate(header.scale[axis]) && IsCoordinate(header.offset[axis]);
        if (header.scale[axis] == 0.0 || !isUsable) {
            file.Fail("has an unusable scale or offset for its coordinates (bytes 131 to 178)");
        }
    }
}

/// The header is believed only as far as the file's size bears it out; nothing is allocated before. Of a file that was
/// cut off all whole points are taken.
std::uint64_t CountPointsThere(const InputFile& file, const LasHeader& header) {
    if (header.pointsAt > file.Size()) {
        file.Fail("promises points from byte " + std::to_string(header.pointsAt) + " on but ends at byte " +
                  std::to_string(file.Size()));
    }
    const std::uint64_t bytes = file.Size() - header.pointsAt;
    if (header.isCompressed) {
        constexpr std::uint64_t kMostPointsPerByte = 1000;
        if (header.promisedPoints / kMostPointsPerByte > bytes) {
            file.Fail("promises " + std::to_string(header.promisedPoints) + " points, for which it is too small");
        }
        return header.promisedPoints;
    }
    const std::uint64_t held = bytes / header.recordBytes;
    if (held == 0 && header.promisedPoints > 0) {
        file.Fail("promises " + std::to_string(header.promisedPoints) + " points but holds none");
    }
    return std::min(held, header.promisedPoints);
}

LasHeader ReadHeader(InputFile& file) {
    std::vector<std::uint8_t> bytes(kCommonHeaderBytes);
    const auto signatureBytes = std::min<std::uint64_t>(4, file.Size());
    file.Read({bytes.data(), static_cast<std::size_t>(signatureBytes)});
    RequireSignature(file, bytes.data());
    if (file.Size() < kCommonHeaderBytes) {
        file.Fail("ends at byte " + std::to_string(file.Size()) + ", within its header");
    }
    file.Read(std::span(bytes).subspan(4));

    const int majorVersion = bytes[24];
    const int minorVersion = bytes[25];
    if (majorVersion != 1 || minorVersion > 4) {
        file.Fail("has version " + std::to_string(majorVersion) + "." + std::to_string(minorVersion) +
                  " at byte 24; LAS 1.0 to 1.4 are known");
    }
    const std::size_t headerBytes = HeaderBytesOfVersion(minorVersion);
    if (file.Size() < headerBytes) {
        file.Fail("ends at byte " + std::to_string(file.Size()) + ", within its header");
    }
    bytes.resize(headerBytes);
    file.Read(std::span(bytes).subspan(kCommonHeaderBytes));

    LasHeader header;
    header.pointFormat = TakePointFormat(file, bytes[104]);
    header.isCompressed = bytes[104] > kFormatBits;
    header.recordBytes = LoadLittleEndian<std::uint16_t>(&bytes[105]);
    header.pointsAt = LoadLittleEndian<std::uint32_t>(&bytes[96]);
    header.promisedPoints = TakePointCount(bytes, minorVersion);
    header.recordCount = LoadLittleEndian<std::uint32_t>(&bytes[100]);
    header.bytes = std::max<std::size_t>(LoadLittleEndian<std::uint16_t>(&bytes[94]), headerBytes);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        header.scale[axis] = LoadLittleEndian<double>(&bytes[131 + 8 * axis]);
        header.offset[axis] = LoadLittleEndian<double>(&bytes[155 + 8 * axis]);
    }

    header.extent = TakeExtent(bytes);

    if (header.recordBytes < kLayouts[header.pointFormat].recordBytes) {
        file.Fail("has point records of " + std::to_string(header.recordBytes) + " bytes at byte 105; format " +
                  std::to_string(header.pointFormat) + " needs " +
                  std::to_string(kLayouts[header.pointFormat].recordBytes));
    }
    if (header.pointsAt < headerBytes) {
        file.Fail("places its points at byte " + std::to_string(header.pointsAt) + ", within its header of " +
                  std::to_string(headerBytes) + " bytes");
    }
    RequireUsableTransform(file, header);
    header.pointCount = CountPointsThere(file, header);
    return header;
}

template <typename Number> std::vector<Number> LoadAll(const std::vector<std::uint8_t>& bytes) {
    std::vector<Number> numbers(bytes.size() / sizeof(Number));
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        numbers[index] = LoadLittleEndian<Number>(&bytes[sizeof(Number) * index]);
    }
    return numbers;
}

/// What the records between header and points say.
struct LasRecords {
    CoordinateSystem system;
    std::vector<std::uint8_t> compression; ///< how the points are compressed
    std::vector<std::uint8_t> octree;      ///< where the index of compressed points is
};

/// Reads the records between header and points. What is damaged there is passed over: the points can be shown all the
/// same.
LasRecords ReadRecords(InputFile& file, const LasHeader& header) {
    LasRecords records;
    constexpr std::size_t kRecordHeaderBytes = 54;
    std::vector<std::uint16_t> keys;
    std::string texts;
    std::string wkt;
    if (header.bytes < header.pointsAt) {
        file.Skip(header.bytes - file.Offset());
    }
    for (std::uint32_t record = 0; record < header.recordCount; ++record) {
        std::array<std::uint8_t, kRecordHeaderBytes> head{};
        if (file.Offset() + head.size() > header.pointsAt) {
            break;
        }
        file.Read(head);
        const auto number = LoadLittleEndian<std::uint16_t>(&head[18]);
        const auto length = LoadLittleEndian<std::uint16_t>(&head[20]);
        if (file.Offset() + length > header.pointsAt) {
            break;
        }
        std::vector<std::uint8_t> content(length);
        file.Read(content);
        const std::string_view user(reinterpret_cast<const char*>(&head[2]), 16);
        constexpr std::uint16_t kCompressionRecord = 22204;
        if (user.starts_with("laszip encoded") && number == kCompressionRecord) {
            records.compression = content;
        }
        if (user.starts_with(std::string_view("copc\0", 5)) && number == 1) {
            records.octree = content;
        }
        if (!user.starts_with("LASF_Projection")) {
            continue;
        }
        if (number == 34735) {
            keys = LoadAll<std::uint16_t>(content);
        } else if (number == 34737) {
            texts.assign(content.begin(), content.end());
        } else if (number == 2112) {
            wkt.assign(content.begin(), content.end());
        }
    }
    std::optional<CoordinateSystem> system = SystemFromWkt(wkt);
    records.system = system ? *std::move(system) : SystemFromGeoKeys(keys, texts);
    return records;
}

Position TakePosition(const std::uint8_t* record, const LasHeader& header) {
    const auto coordinate = [&](std::size_t axis) {
        return LoadLittleEndian<std::int32_t>(record + 4 * axis) * header.scale[axis] + header.offset[axis];
    };
    return {coordinate(0), coordinate(1), coordinate(2)};
}

/// Reads point records, many at a time.
class LasReader final : public CloudReader {
public:
    explicit LasReader(const std::filesystem::path& path)
        : m_file(path), m_header(ReadHeader(m_file)), m_layout(kLayouts[m_header.pointFormat]),
          m_left(m_header.pointCount) {
        LasRecords records = ReadRecords(m_file, m_header);
        m_system = std::move(records.system);
        if (m_header.isCompressed) {
            m_compressed = std::make_unique<LazRecords>(
                path, LazPlan{m_header.pointsAt, m_header.pointCount, m_header.recordBytes, m_header.pointFormat,
                              std::move(records.compression), std::move(records.octree)});
        } else {
            m_file.Skip(m_header.pointsAt - m_file.Offset());
        }
    }

    CloudFields GetFields() const override {
        return {.colors = m_layout.colorAt != 0, .classes = true, .intensities = true, .zeroIsAbsent = true};
    }
    std::uint64_t GetPointCount() const override { return m_header.pointCount; }
    Extent GetPromisedExtent() const override { return m_header.extent; }
    std::uint64_t CountSkipped() const override { return m_skipped; }
    CoordinateSystem GetSystem() const override { return m_system; }
    std::string GetWarning() const override {
        return m_header.pointCount == m_header.promisedPoints
                   ? std::string()
                   : "promises " + std::to_string(m_header.promisedPoints) + " points but holds " +
                         std::to_string(m_header.pointCount) + ", which are shown";
    }

    std::size_t Read(std::span<CloudPoint> points) override {
        std::size_t filled = 0;
        while (filled < points.size() && m_left > 0) {
            const auto records =
                static_cast<std::size_t>(std::min<std::uint64_t>({points.size() - filled, m_left, kRecordsAtOnce}));
            m_records.resize(records * m_header.recordBytes);
            if (m_compressed) {
                m_compressed->Read(m_records);
            } else {
                m_file.Read(m_records);
            }
            m_left -= records;
            for (std::size_t index = 0; index < records; ++index) {
                const std::uint8_t* record = &m_records[index * m_header.recordBytes];
                if ((record[m_layout.flagsAt] & m_layout.withheldMask) != 0) {
                    ++m_skipped;
                    continue;
                }
                points[filled] = TakePoint(record);
                if (!IsPlace(points[filled].position)) {
                    const std::uint64_t number = m_header.pointCount - m_left - records + index + 1;
                    m_file.Fail("point " + std::to_string(number) + ' ' + SayFarAway(points[filled].position));
                }
                ++filled;
            }
        }
        return filled;
    }

private:
    static constexpr std::uint64_t kRecordsAtOnce = 4096;

    CloudPoint TakePoint(const std::uint8_t* record) const {
        CloudPoint point;
        point.position = TakePosition(record, m_header);
        point.classNumber = static_cast<std::uint8_t>(record[m_layout.classAt] & m_layout.classMask);
        point.intensity = LoadLittleEndian<std::uint16_t>(record + kIntensityAt);
        if (m_layout.colorAt != 0) {
            const std::uint8_t* color = record + m_layout.colorAt;
            point.red = LoadLittleEndian<std::uint16_t>(color);
            point.green = LoadLittleEndian<std::uint16_t>(color + 2);
            point.blue = LoadLittleEndian<std::uint16_t>(color + 4);
        }
        return point;
    }

    InputFile m_file;
    LasHeader m_header;
    const PointLayout& m_layout;
    std::uint64_t m_left; // records
    CoordinateSystem m_system;
    std::unique_ptr<LazRecords> m_compressed; // null where the points are not
    std::uint64_t m_skipped = 0;
    std::vector<std::uint8_t> m_records;
};

} // namespace

std::unique_ptr<CloudReader> OpenLasFile(const std::filesystem::path& path) {
    return std::make_unique<LasReader>(path);
}

PointCloud ReadLasFile(const std::filesystem::path& path) {
    return ReadAllPoints(*OpenLasFile(path));
}

} // namespace OrrinViewer
