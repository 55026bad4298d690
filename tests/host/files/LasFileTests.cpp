#include "files/LasFile.h"

#include "FileTestSupport.h"

#include <limits>
#include <vector>

namespace OrrinViewer {
namespace {

/// One row for each point format: the oldest version that has it and where its fields stand.
struct FormatCase {
    int format;
    int minorVersion;
    std::uint16_t recordBytes;
    std::size_t colorAt;
};

constexpr FormatCase kFormats[] = {
    {0, 2, 20, 0}, {1, 2, 28, 0},  {2, 2, 26, 20}, {3, 2, 34, 28}, {4, 3, 57, 0},   {5, 3, 63, 28},
    {6, 4, 30, 0}, {7, 4, 36, 30}, {8, 4, 38, 30}, {9, 4, 59, 0},  {10, 4, 67, 30},
};

struct LasPoint {
    std::int32_t x, y, z;
    std::uint16_t intensity;
    int classNumber;
    bool withheld;
    std::uint16_t red, green, blue;
};

const std::vector<LasPoint> kPoints = {
    {-2147483647, 450000000, 1234, 65535, 2, false, 0x1200, 0x3400, 0x5600},
    {50000000, 7, -500, 10, 31, true, 0xFFFF, 0xFFFF, 0xFFFF},
    {50000001, 450000001, 9999, 1, 9, false, 0xFF00, 0x00FF, 0x0100},
};

/// What may differ from a plain file.
struct LasVariation {
    int minorVersion = 2;
    std::uint16_t extraBytes = 0; // appended to each record, as files may
    std::uint32_t gapBytes = 0;   // between header and points, where variable records stand
    std::uint64_t promised = kPoints.size();
    bool legacyCountOnly = false;
};

std::size_t HeaderBytes(int minorVersion) {
    return minorVersion == 4 ? 375u : minorVersion == 3 ? 235u : 227u;
}

/// A file with scale 0.01 and offset 500000, 4000000, 100.
std::string BuildLas(const FormatCase& format, const std::vector<LasPoint>& points, const LasVariation& variation) {
    const std::size_t pointsAt = HeaderBytes(variation.minorVersion) + variation.gapBytes;
    const auto recordBytes = static_cast<std::uint16_t>(format.recordBytes + variation.extraBytes);
    const bool wideCount = variation.minorVersion == 4 && !variation.legacyCountOnly;
    FileBytes las;
    las.PutText("LASF").FillTo(24).Put<std::uint8_t>(1).Put(static_cast<std::uint8_t>(variation.minorVersion));
    las.FillTo(94).Put(static_cast<std::uint16_t>(HeaderBytes(variation.minorVersion)));
    las.Put(static_cast<std::uint32_t>(pointsAt)).Put<std::uint32_t>(0);
    las.Put(static_cast<std::uint8_t>(format.format)).Put(recordBytes);
    las.Put(static_cast<std::uint32_t>(wideCount ? 0 : variation.promised)).FillTo(131);
    las.Put(0.01).Put(0.01).Put(0.01).Put(500000.0).Put(4000000.0).Put(100.0);
    if (variation.minorVersion == 4) {
        las.FillTo(247).Put<std::uint64_t>(wideCount ? variation.promised : 0);
    }
    las.FillTo(pointsAt);
    for (const LasPoint& point : points) {
        const std::size_t start = las.Content().size();
        las.Put(point.x).Put(point.y).Put(point.z).Put(point.intensity).Put<std::uint8_t>(0x11);
        if (format.format < 6) {
            las.Put(static_cast<std::uint8_t>(point.classNumber | (point.withheld ? 0x80 : 0) | 0x20));
        } else {
            las.Put<std::uint8_t>(point.withheld ? 0x04 : 0x09).Put(static_cast<std::uint8_t>(point.classNumber));
        }
        if (format.colorAt != 0) {
            las.FillTo(start + format.colorAt).Put(point.red).Put(point.green).Put(point.blue);
        }
        las.FillTo(start + recordBytes);
    }
    return las.Content();
}

PointCloud ReadContent(const std::string& content) {
    const TemporaryFile file(".las", content);
    return ReadLasFile(file.Path());
}

class LasFormat : public testing::TestWithParam<FormatCase> {};

// A layout that is off by a byte draws plausible nonsense, so all fields of two points are compared, across a gap
// before the points and with the file's own bytes after each of them.
TEST_P(LasFormat, AllFieldsArriveAndWithheldPointsDoNot) {
    const FormatCase& format = GetParam();
    LasVariation variation;
    variation.minorVersion = format.minorVersion;
    variation.extraBytes = 3;
    variation.gapBytes = 54;
    const PointCloud cloud = ReadContent(BuildLas(format, kPoints, variation));

    const std::vector<Position> expected = {{-2147483647 * 0.01 + 500000.0, 8500000.0, 1234 * 0.01 + 100.0},
                                            {50000001 * 0.01 + 500000.0, 450000001 * 0.01 + 4000000.0, 199.99}};
    EXPECT_EQ(cloud.positions, expected);
    EXPECT_EQ(cloud.extent.low, (Position{expected[0].x, 8500000.0, expected[0].z}));
    EXPECT_EQ(cloud.extent.high, (Position{expected[1].x, expected[1].y, 199.99}));
    EXPECT_EQ(cloud.intensities, (std::vector<float>{65535.0f, 1.0f}));
    EXPECT_EQ(cloud.classes, (std::vector<std::uint8_t>{2, 9}));
    EXPECT_EQ(cloud.skippedPoints, 1u);
    if (format.colorAt == 0) {
        EXPECT_FALSE(cloud.HasColors());
    } else {
        EXPECT_EQ(cloud.colors, (std::vector<Rgb>{{0x12, 0x34, 0x56}, {0xFF, 0x00, 0x01}}));
    }
}

INSTANTIATE_TEST_SUITE_P(AllFormats, LasFormat, testing::ValuesIn(kFormats),
                         [](const auto& tested) { return "Format" + std::to_string(tested.param.format); });

// The files of the first surveys are still the only ones of their places.
TEST(LasFile, OldestVersionsAreRead) {
    for (const int minorVersion : {0, 1}) {
        LasVariation variation;
        variation.minorVersion = minorVersion;
        const PointCloud cloud = ReadContent(BuildLas(kFormats[1], kPoints, variation));
        ASSERT_EQ(cloud.Count(), 2U) << minorVersion;
        EXPECT_EQ(cloud.positions[1].z, 199.99) << minorVersion;
    }
}

// A download that broke off is better seen than refused, but never without a word.
TEST(LasFile, CutOffFile_ShowsWhatIsThereAndSaysSo) {
    const std::string content = BuildLas(kFormats[0], kPoints, {});
    const TemporaryFile whole(".las", content);
    EXPECT_EQ(OpenLasFile(whole.Path())->GetWarning(), "");
    for (const std::size_t missing : {1U, 20U}) {
        const TemporaryFile cut(".las", content.substr(0, content.size() - missing));
        EXPECT_EQ(OpenLasFile(cut.Path())->GetWarning(), "promises 3 points but holds 2, which are shown");
        EXPECT_EQ(ReadLasFile(cut.Path()).Count(), 1U) << "one of the two is withheld";
    }
}

// What the file says of its units decides what the scale bar says.
TEST(LasFile, SystemIsTakenFromKeysAndText) {
    const auto withRecord = [](std::uint16_t number, const std::string& text, const std::vector<std::uint16_t>& keys) {
        FileBytes record;
        record.Put<std::uint16_t>(0).PutText("LASF_Projection").FillTo(18).Put(number);
        record.Put(static_cast<std::uint16_t>(text.size() + 2 * keys.size())).FillTo(54).PutText(text);
        for (const std::uint16_t key : keys) {
            record.Put(key);
        }
        LasVariation variation;
        variation.gapBytes = static_cast<std::uint32_t>(record.Content().size());
        std::string content = BuildLas(kFormats[1], kPoints, variation);
        content.replace(227, record.Content().size(), record.Content());
        content.replace(100, 1, "\x01");
        const TemporaryFile file(".las", content);
        EXPECT_EQ(ReadLasFile(file.Path()).Count(), 2U);
        return OpenLasFile(file.Path())->GetSystem();
    };
    const CoordinateSystem feet =
        withRecord(34735, "", {1, 1, 0, 4, 1024, 0, 1, 1, 3072, 0, 1, 2225, 3076, 0, 1, 9003, 4099, 0, 1, 9001});
    EXPECT_EQ(feet.code, 2225);
    EXPECT_EQ(feet.units, MapUnits::UsSurveyFeet);
    EXPECT_EQ(feet.heightMetres, 1.0);
    const CoordinateSystem degrees = withRecord(34735, "", {1, 1, 0, 2, 1024, 0, 1, 2, 2048, 0, 1, 4326});
    EXPECT_EQ(degrees.code, 4326);
    EXPECT_EQ(degrees.units, MapUnits::Degrees);
    // More keys promised than there are.
    EXPECT_EQ(withRecord(34735, "", {1, 1, 0, 900, 3072, 0, 1, 32632}).code, 32632);
    EXPECT_EQ(withRecord(34735, "", {1, 1}).code, 0);
    const CoordinateSystem text = withRecord(
        2112,
        R"wkt(PROJCS["NAD83 / Oregon (ft)",GEOGCS["NAD83",UNIT["degree",0.0174532925199433]],UNIT["foot",0.3048]])wkt",
        {});
    EXPECT_EQ(text.name, "NAD83 / Oregon (ft)");
    EXPECT_EQ(text.units, MapUnits::Feet);
}

TEST(LasFile, ClassesAbove31_NeedTheNewerFormats) {
    LasVariation variation;
    variation.minorVersion = 4;
    EXPECT_EQ(ReadContent(BuildLas(kFormats[6], {{1, 2, 3, 1, 200, false, 0, 0, 0}}, {4, 0, 0, 1})).classes[0], 200);
}

// Files of either habit look all black, or black but for the noise, when they are read in the other.
TEST(LasFile, EightBitColorsInSixteenBitFields_KeepTheirBrightness) {
    std::vector<LasPoint> points = {{0, 0, 0, 0, 0, false, 200, 255, 3}, {1, 1, 1, 0, 0, false, 0, 128, 1}};
    LasVariation variation;
    variation.promised = points.size();
    const std::string narrow = BuildLas(kFormats[2], points, variation);
    EXPECT_EQ(ReadContent(narrow).colors, (std::vector<Rgb>{{200, 255, 3}, {0, 128, 1}}));

    points[1].green = 0x8000;
    const std::string wide = BuildLas(kFormats[2], points, variation);
    EXPECT_EQ(ReadContent(wide).colors, (std::vector<Rgb>{{0, 0, 0}, {0, 0x80, 0}}));
}

TEST(LasFile, AttributesThatAreZeroEverywhere_CountAsAbsent) {
    const PointCloud cloud = ReadContent(BuildLas(kFormats[3], {{1, 2, 3, 0, 0, false, 0, 0, 0}}, {2, 0, 0, 1}));
    EXPECT_EQ(cloud.Count(), 1u);
    EXPECT_FALSE(cloud.HasColors() || cloud.HasClasses() || cloud.HasIntensities());
}

// A file is the same whatever parts it is read in, also where a part is full in the middle of withheld points.
TEST(LasFile, PartsOfAnySizeAreTheWholeFile) {
    std::vector<LasPoint> points;
    for (int index = 0; index < 10'000; ++index) {
        points.push_back({index, 2 * index, 3 * index, 1, 2, index % 7 < 3, 0, 0, 0});
    }
    LasVariation variation;
    variation.promised = points.size();
    std::string content = BuildLas(kFormats[1], points, variation);
    const TemporaryFile file(".las", content);
    const PointCloud whole = ReadLasFile(file.Path());
    for (const std::size_t size : {1U, 5U, 4'096U, 20'000U}) {
        const std::unique_ptr<CloudReader> reader = OpenLasFile(file.Path());
        EXPECT_EQ(reader->GetPointCount(), points.size());
        std::vector<CloudPoint> part(size);
        std::vector<Position> positions;
        std::size_t count = size;
        while (count == size) {
            count = reader->Read(part);
            for (std::size_t index = 0; index < count; ++index) {
                positions.push_back(part[index].position);
            }
        }
        EXPECT_EQ(positions, whole.positions) << size;
        EXPECT_EQ(reader->CountSkipped(), whole.skippedPoints) << size;
    }
}

// The window opens on the box that the header promises. Many writers leave it empty, and then it must not be believed.
TEST(LasFile, PromisedBoxIsTakenWhereItIsOne) {
    const auto promised = [](const std::vector<double>& box) {
        std::string content = BuildLas(kFormats[0], kPoints, {});
        for (std::size_t number = 0; number < box.size(); ++number) {
            std::memcpy(&content[179 + 8 * number], &box[number], sizeof(double));
        }
        const TemporaryFile file(".las", content);
        return OpenLasFile(file.Path())->GetPromisedExtent();
    };
    EXPECT_TRUE(promised({}).IsEmpty());
    EXPECT_EQ(promised({20, 10, 40, 30, 6, 5}).low, (Position{10, 30, 5}));
    EXPECT_EQ(promised({20, 10, 40, 30, 6, 5}).high, (Position{20, 40, 6}));
    EXPECT_TRUE(promised({10, 20, 40, 30, 6, 5}).IsEmpty()) << "the wrong way round";
    EXPECT_TRUE(promised({std::numeric_limits<double>::infinity(), 10, 40, 30, 6, 5}).IsEmpty());
}

TEST(LasFile, Version14WithOnlyTheOldCount_IsReadByIt) {
    LasVariation variation;
    variation.minorVersion = 4;
    variation.legacyCountOnly = true;
    EXPECT_EQ(ReadContent(BuildLas(kFormats[1], kPoints, variation)).Count(), 2u);
}

/// A good file with bytes replaced, and what must be said about it.
struct LasDamage {
    const char* name;
    std::size_t offset;
    std::string replacement;
    const char* complaint;
};

class DamagedLas : public testing::TestWithParam<LasDamage> {};

TEST_P(DamagedLas, IsRefusedWithItsReason) {
    LasVariation variation;
    variation.minorVersion = 4;
    std::string content = BuildLas(kFormats[7], kPoints, variation);
    content.replace(GetParam().offset, GetParam().replacement.size(), GetParam().replacement);
    const std::string complaint = Complaint(ReadLasFile, content, ".las");
    EXPECT_NE(complaint.find(GetParam().complaint), std::string::npos) << complaint;
}

INSTANTIATE_TEST_SUITE_P(
    Header, DamagedLas,
    testing::Values(LasDamage{"signature", 0, "LAZF", "not a LAS file"},
                    LasDamage{"version", 25, "\x05", "version 1.5"}, LasDamage{"compressed", 104, "\x87", "compressed"},
                    LasDamage{"format", 104, "\x0B", "point format 11"},
                    LasDamage{"recordTooShort", 105, FileBytes().Put<std::uint16_t>(35).Content(), "needs 36"},
                    LasDamage{"pointsInHeader", 96, FileBytes().Put<std::uint32_t>(374).Content(), "within its header"},
                    LasDamage{"pointsBeyondEnd", 96, FileBytes().Put(~0u).Content(), "from byte 4294967295"},
                    LasDamage{"zeroScale", 131, FileBytes().Put(0.0).Content(), "scale"},
                    LasDamage{"absurdScale", 131, FileBytes().Put(1e40).Content(), "scale or offset"},
                    LasDamage{"farAway", 139, FileBytes().Put(1e9).Content(),
                              "point 1 has the coordinate 4.5e+17, beyond"},
                    LasDamage{"endlessOffset", 155, FileBytes().Put(std::numeric_limits<double>::infinity()).Content(),
                              "scale or offset"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(LasFile, CutBeforeItsFirstWholePoint_IsRefused) {
    for (const FormatCase& format : {kFormats[2], kFormats[4], kFormats[10]}) {
        LasVariation variation;
        variation.minorVersion = format.minorVersion;
        const std::string content = BuildLas(format, kPoints, variation);
        const std::size_t firstPointEnds = HeaderBytes(format.minorVersion) + format.recordBytes;
        for (std::size_t length = 0; length < content.size(); ++length) {
            const bool isRefused = !Complaint(ReadLasFile, content.substr(0, length), ".las").empty();
            EXPECT_EQ(isRefused, length < firstPointEnds) << "cut to " << length;
        }
    }
}

TEST(LasFile, RandomDamage_NeverDoesMoreThanRefuse) {
    LasVariation variation;
    variation.minorVersion = 4;
    const std::string content = BuildLas(kFormats[7], kPoints, variation);
    EXPECT_GT(CountRefusedMutations(ReadLasFile, content, ".las"), 0);
}

} // namespace
} // namespace OrrinViewer
