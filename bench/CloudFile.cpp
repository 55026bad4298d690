// Writes a LAS file of any size, to try what large clouds need: cloud_file PATH POINTS [random].
//
// A survey of hilly country with houses, flown in strips: positions in centimetres, a colour, a class and an intensity
// for each point. With "random" the points come in no order at all, which is the hardest that a reader can meet.

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t kHeaderBytes = 375; // version 1.4, which counts in 64 bits
constexpr std::size_t kRecordBytes = 36;  // format 7: time, colour
constexpr double kScale = 0.01;
constexpr double kEast = 500'000.0;
constexpr double kNorth = 4'500'000.0;
constexpr int kStrips = 40;

template <typename Value> void Put(std::uint8_t* bytes, Value value) {
    std::memcpy(bytes, &value, sizeof(Value));
}

/// The same numbers on each machine, from 0 to 1.
class Numbers {
public:
    double Next() {
        m_state = m_state * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<double>(m_state >> 11) / 9007199254740992.0;
    }

private:
    std::uint64_t m_state = 1;
};

struct Ground {
    double height;
    bool isHouse;
};

Ground GroundAt(double x, double y) {
    const double hill = 60.0 + 40.0 * std::sin(x / 310.0) * std::cos(y / 270.0) + 6.0 * std::sin(x / 37.0);
    const bool isHouse = std::fmod(x, 60.0) < 14.0 && std::fmod(y, 45.0) < 11.0;
    return {hill + (isHouse ? 8.0 : 0.0), isHouse};
}

std::array<std::uint8_t, kHeaderBytes> MakeHeader(std::uint64_t points, double side) {
    std::array<std::uint8_t, kHeaderBytes> header{};
    std::memcpy(header.data(), "LASF", 4);
    header[24] = 1;
    header[25] = 4;
    Put(&header[94], static_cast<std::uint16_t>(kHeaderBytes));
    Put(&header[96], static_cast<std::uint32_t>(kHeaderBytes));
    header[104] = 7;
    Put(&header[105], static_cast<std::uint16_t>(kRecordBytes));
    const std::array<double, 6> box = {kEast + side, kEast, kNorth + side, kNorth, 120.0, 0.0};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        Put(&header[131 + 8 * axis], kScale);
    }
    Put(&header[155], kEast);
    Put(&header[163], kNorth);
    for (std::size_t place = 0; place < box.size(); ++place) {
        Put(&header[179 + 8 * place], box[place]);
    }
    Put(&header[247], points);
    return header;
}

void PutPoint(std::uint8_t* record, double x, double y, Numbers& numbers) {
    const Ground ground = GroundAt(x, y);
    Put(record, static_cast<std::int32_t>(x / kScale));
    Put(record + 4, static_cast<std::int32_t>(y / kScale));
    Put(record + 8, static_cast<std::int32_t>((ground.height + 0.1 * numbers.Next()) / kScale));
    Put(record + 12, static_cast<std::uint16_t>(200.0 + 1'000.0 * numbers.Next()));
    record[16] = ground.isHouse ? 6 : 2;
    const double shade = 0.7 + 0.3 * numbers.Next();
    Put(record + 30, static_cast<std::uint16_t>(shade * (ground.isHouse ? 52'000.0 : 300.0 * ground.height)));
    Put(record + 32, static_cast<std::uint16_t>(shade * 40'000.0));
    Put(record + 34, static_cast<std::uint16_t>(shade * 18'000.0));
}

} // namespace

int main(int argumentCount, char** arguments) {
    const std::uint64_t points = argumentCount > 2 ? std::strtoull(arguments[2], nullptr, 10) : 0;
    if (points == 0) {
        std::fprintf(stderr, "usage: cloud_file PATH POINTS [random]\n");
        return 2;
    }
    const bool inNoOrder = argumentCount > 3 && std::strcmp(arguments[3], "random") == 0;
    std::FILE* file = std::fopen(arguments[1], "wb");
    if (!file) {
        std::fprintf(stderr, "%s cannot be written\n", arguments[1]);
        return 1;
    }
    const double side = std::sqrt(static_cast<double>(points) / 8.0); // eight points a square metre
    const auto header = MakeHeader(points, side);
    bool isWritten = std::fwrite(header.data(), header.size(), 1, file) == 1;
    std::vector<std::uint8_t> records(kRecordBytes * 65'536);
    Numbers numbers;
    for (std::uint64_t point = 0; point < points && isWritten;) {
        std::size_t used = 0;
        for (; used < records.size() && point < points; used += kRecordBytes, ++point) {
            const double progress = static_cast<double>(point) / static_cast<double>(points) * kStrips;
            const double strip = std::floor(progress);
            const double x = inNoOrder ? numbers.Next() * side : (strip + numbers.Next()) / kStrips * side;
            const double y = inNoOrder ? numbers.Next() * side : (progress - strip) * side;
            PutPoint(&records[used], x, y, numbers);
        }
        isWritten = std::fwrite(records.data(), used, 1, file) == 1;
    }
    isWritten = std::fclose(file) == 0 && isWritten;
    if (!isWritten) {
        std::fprintf(stderr, "%s cannot be written\n", arguments[1]);
    }
    return isWritten ? 0 : 1;
}
