#include "FileTestSupport.h"
#include "LazWriter.h"
#include "files/LasFile.h"
#include "files/LazEntropy.h"

#include <algorithm>
#include <vector>

namespace OrrinViewer {
namespace {

/// Points as a scanner finds them: mostly near each other, now and then far, of one return or two, in layered files of
/// up to seven.
std::vector<LazPoint> MakePoints(std::size_t count, int pointFormat) {
    std::mt19937 random(42);
    std::vector<LazPoint> points;
    LazPoint point{50'000'000, 450'000'000, 12'345};
    const bool isLayered = pointFormat >= 6;
    for (std::size_t index = 0; index < count; ++index) {
        const std::int32_t reach = index % 97 == 0 ? 2'000'000 : index % 10 == 0 ? 3'000 : 20;
        point.x += static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(2 * reach)) - reach;
        point.y += 100 - static_cast<std::int32_t>(random() % 40);
        point.z = index % 500 == 499 ? INT32_MIN : 12'000 + static_cast<std::int32_t>(random() % 900);
        point.isTimeChanged = index % 3 != 2 || point.returnCount == 1;
        point.returnCount = index % 4 < 2 ? 1 : 2;
        point.returnNumber = index % 4 == 3 ? 2 : 1;
        if (isLayered && index / 12 % 3 == 2) {
            point.returnCount = static_cast<std::uint32_t>(3 + index / 36 % 5);
            point.returnNumber = static_cast<std::uint32_t>(1 + (index / 3 + index) % point.returnCount);
        }
        point.intensity = static_cast<std::uint16_t>(index % 5 == 0 ? random() : point.intensity);
        point.classNumber = index % 11 == 0 ? static_cast<std::uint32_t>(random() % 20) : point.classNumber;
        point.flags = static_cast<std::uint32_t>(isLayered ? index / 50 % 2 * 16 : index / 50 % 4);
        point.channel = isLayered ? static_cast<std::uint32_t>(index / 25 % 3) : 0;
        for (std::uint16_t& channel : point.color) {
            channel = static_cast<std::uint16_t>(index % 6 == 0 ? random() : channel + random() % 5);
        }
        if (index % 13 == 0) {
            point.color[1] = point.color[0];
            point.color[2] = point.color[0];
        }
        points.push_back(point);
    }
    return points;
}

std::vector<CloudPoint> ReadPoints(const std::filesystem::path& path) {
    const std::unique_ptr<CloudReader> reader = OpenLasFile(path);
    std::vector<CloudPoint> points(static_cast<std::size_t>(reader->GetPointCount()) + 1);
    points.resize(reader->Read(points));
    return points;
}

struct LazCase {
    const char* name;
    LazShape shape;
};

class LazForm : public testing::TestWithParam<LazCase> {};

TEST_P(LazForm, GivesThePointsThatWereCompressed) {
    const LazShape& shape = GetParam().shape;
    const std::vector<LazPoint> expected = MakePoints(1'234, shape.pointFormat);
    const TemporaryFile file(".laz", BuildLaz(expected, shape));
    const std::vector<CloudPoint> points = ReadPoints(file.Path());
    ASSERT_EQ(points.size(), expected.size());
    const bool hasColor = shape.pointFormat == 2 || shape.pointFormat == 3 || shape.pointFormat > 6;
    for (std::size_t index = 0; index < points.size(); ++index) {
        const LazPoint& wanted = expected[index];
        const CloudPoint& point = points[index];
        ASSERT_EQ(point.position, (Position{wanted.x * 0.01, wanted.y * 0.01, wanted.z * 0.01})) << index;
        ASSERT_EQ(point.intensity, wanted.intensity) << index;
        ASSERT_EQ(point.classNumber, wanted.classNumber) << index;
        const std::array<int, 3> colors = {point.red, point.green, point.blue};
        const std::array<int, 3> none{};
        ASSERT_EQ(colors, hasColor ? (std::array<int, 3>{wanted.color[0], wanted.color[1], wanted.color[2]}) : none)
            << index;
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, LazForm,
                         testing::Values(LazCase{"format0", {.pointFormat = 0}},
                                         LazCase{"format1", {.pointFormat = 1, .chunkSize = 300}},
                                         LazCase{"format2", {.pointFormat = 2, .extraBytes = 3}},
                                         LazCase{"format3", {.pointFormat = 3, .chunkSize = 617}},
                                         LazCase{"format6", {.pointFormat = 6, .chunkSize = 411}},
                                         LazCase{"format7", {.pointFormat = 7, .extraBytes = 2}},
                                         LazCase{"format8", {.pointFormat = 8, .extraBytes = 1}},
                                         LazCase{"format7Version4", {.pointFormat = 7, .itemVersion = 4}},
                                         LazCase{"chunksOfAnOctree", {.pointFormat = 7, .chunkSize = 0}},
                                         LazCase{"tableAtTheEnd", {.pointFormat = 1, .isTableAtTheEnd = true}}),
                         [](const auto& tested) { return std::string(tested.param.name); });

// The first points of an octree are to be spread over all of it, whatever the order in the file.
TEST(LazFile, OctreeComesLevelByLevel_AndADamagedIndexCostsNoPoint) {
    const std::vector<LazPoint> written = MakePoints(360, 7);
    std::string content = BuildLaz(written, {.pointFormat = 7, .chunkSize = 100, .levels = {2, 1, 3, 0}});
    std::vector<LazPoint> expected(written.begin() + 300, written.end());
    for (const int first : {100, 0, 200}) {
        expected.insert(expected.end(), written.begin() + first, written.begin() + first + 100);
    }
    const auto expectPoints = [](const std::string& file, const std::vector<LazPoint>& points) {
        const TemporaryFile temporary(".copc.laz", file);
        const std::vector<CloudPoint> read = ReadPoints(temporary.Path());
        ASSERT_EQ(read.size(), points.size());
        for (std::size_t index = 0; index < points.size(); ++index) {
            ASSERT_EQ(read[index].position.x, points[index].x * 0.01) << index;
        }
    };
    expectPoints(content, expected);
    content.replace(375 + 54 + 40, 8, 8, '\x7F');
    expectPoints(content, written);
}

// The middle decides what a step is compared with; a plain median would be another format.
TEST(LazEntropy, RunningMedianDropsItsEndsInTurn) {
    RunningMedian median;
    std::vector<std::int32_t> middles;
    for (const std::int32_t value : {5, 7, -3, 9, 9, -20, 1, 30}) {
        median.Add(value);
        middles.push_back(median.Get());
    }
    EXPECT_EQ(middles, (std::vector<std::int32_t>{0, 0, 0, 0, 5, 5, 1, 1}));
}

TEST(LazFile, WhatIsNotRead_IsNamedWithWhatConvertsIt) {
    for (const int offset : {375 + 54, 375 + 54 + 34 + 4}) { // the way of compression, the version of a part
        std::string content = BuildLaz(MakePoints(10, 1), {.pointFormat = 1});
        content[static_cast<std::size_t>(offset)] = 1;
        EXPECT_NE(Complaint(ReadPoints, content, ".laz").find("pdal translate"), std::string::npos) << offset;
    }
}

struct LazDamage {
    const char* name;
    std::size_t offset;
    std::string replacement;
    const char* complaint;
};

class DamagedLaz : public testing::TestWithParam<LazDamage> {};

TEST_P(DamagedLaz, IsRefusedWithItsReason) {
    std::string content = BuildLaz(MakePoints(400, 1), {.pointFormat = 1, .chunkSize = 100});
    content.replace(GetParam().offset, GetParam().replacement.size(), GetParam().replacement);
    const std::string complaint = Complaint(ReadPoints, content, ".laz");
    EXPECT_NE(complaint.find(GetParam().complaint), std::string::npos) << complaint;
}

constexpr std::size_t kPointsAt = 375 + 54 + 34 + 12;

INSTANTIATE_TEST_SUITE_P(
    Everywhere, DamagedLaz,
    testing::Values(LazDamage{"noPlan", 375 + 2, "someone else", "does not tell how"},
                    LazDamage{"otherFormat", 104, "\x80", "not those of format 0"},
                    LazDamage{"noTable", kPointsAt, std::string(8, '\0'), "no table"},
                    LazDamage{"tableBeyondTheEnd", kPointsAt, std::string(7, '\x7F'), "no table"},
                    LazDamage{"manyPoints", 247, FileBytes().Put(std::uint64_t{1} << 60).Content(), "too small"},
                    LazDamage{"morePoints", 247, FileBytes().Put<std::uint64_t>(401).Content(), "chunks for 400"},
                    LazDamage{"manyItems", kPointsAt - 12 - 2, "\xFF\xFF", "does not tell how"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(LazFile, RandomDamage_NeverDoesMoreThanRefuse) {
    for (const int format : {3, 8}) {
        const std::string content = BuildLaz(MakePoints(60, format), {.pointFormat = format, .chunkSize = 40});
        EXPECT_GT(CountRefusedMutations(ReadPoints, content, ".laz"), 0);
    }
}

TEST(LazFile, RandomDamageOfAnOctree_NeverDoesMoreThanRefuse) {
    const std::string content = BuildLaz(MakePoints(30, 7), {.pointFormat = 7, .chunkSize = 8, .levels = {2, 1, 0, 1}});
    EXPECT_GT(CountRefusedMutations(ReadPoints, content, ".copc.laz"), 0);
}

} // namespace
} // namespace OrrinViewer
