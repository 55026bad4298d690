#include "files/ShapeFile.h"

#include "FileTestSupport.h"
#include "files/RingAssembly.h"

#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace OrrinViewer {
namespace {

std::string BigEndian(std::int32_t number) {
    return FileBytes(true).Put(number).Content();
}

/// The main file with the contents of some records.
std::string BuildShapes(const std::vector<std::string>& records, std::int32_t type = 0) {
    FileBytes shapes;
    shapes.PutText(BigEndian(9994)).FillTo(28).Put<std::int32_t>(1000).Put(type).FillTo(100);
    for (std::size_t index = 0; index < records.size(); ++index) {
        shapes.PutText(BigEndian(static_cast<std::int32_t>(index + 1)));
        shapes.PutText(BigEndian(static_cast<std::int32_t>(records[index].size() / 2)));
        shapes.PutText(records[index]);
    }
    return shapes.Content();
}

using Plane = std::pair<double, double>;

/// A polyline, polygon or multipoint of a type, with elevations or measures behind its points.
std::string BuildParts(std::int32_t type, const std::vector<std::vector<Plane>>& parts) {
    FileBytes record;
    record.Put(type).FillTo(36);
    std::int32_t count = 0;
    for (const auto& part : parts) {
        count += static_cast<std::int32_t>(part.size());
    }
    const bool isMultiPoint = type % 10 == 8;
    if (!isMultiPoint) {
        record.Put(static_cast<std::int32_t>(parts.size()));
    }
    record.Put(count);
    std::int32_t first = 0;
    for (const auto& part : parts) {
        if (!isMultiPoint) {
            record.Put(first);
        }
        first += static_cast<std::int32_t>(part.size());
    }
    for (const auto& part : parts) {
        for (const Plane& point : part) {
            record.Put(point.first).Put(point.second);
        }
    }
    if (type > 10) {
        record.Put(0.0).Put(0.0);
        for (std::int32_t point = 0; point < count; ++point) {
            record.Put(100.0 + point);
        }
    }
    return record.Content();
}

std::string BuildPoint(std::int32_t type, double x, double y, double zOrMeasure) {
    FileBytes record;
    record.Put(type).Put(x).Put(y);
    if (type > 10) {
        record.Put(zOrMeasure);
    }
    if (type == 11) {
        record.Put(0.0); // the measure
    }
    return record.Content();
}

VectorLayer ReadContent(const std::vector<std::string>& records) {
    const TemporaryFile file(".shp", BuildShapes(records));
    return ReadShapeFile(file.Path());
}

const std::vector<Plane> kLine = {{0, 0}, {4, 4}, {8, 0}};

class ShapeKindOfFile : public testing::TestWithParam<int> {};

// With 10 more a kind has elevations, with 20 more measures, which are none.
TEST_P(ShapeKindOfFile, EveryShapeIsReadWithItsElevations) {
    const int added = GetParam();
    const VectorLayer layer =
        ReadContent({BuildPoint(1 + added, 1, 2, 50), BuildParts(3 + added, {kLine, {{1, 1}, {2, 2}}}),
                     BuildParts(8 + added, {{{5, 6}, {7, 8}}}), std::string(4, '\0')});
    ASSERT_EQ(layer.features.size(), 3u);
    EXPECT_EQ(layer.skippedFeatures, 1u);
    EXPECT_EQ(layer.hasElevations, added == 10);
    const auto z = [added](double elevation) { return added == 10 ? elevation : 0.0; };
    EXPECT_EQ(layer.features[0].points, (std::vector<Position>{{1, 2, z(50)}}));
    EXPECT_EQ(layer.features[1].lines,
              (std::vector<Path>{{{0, 0, z(100)}, {4, 4, z(101)}, {8, 0, z(102)}}, {{1, 1, z(103)}, {2, 2, z(104)}}}));
    EXPECT_EQ(layer.features[2].points, (std::vector<Position>{{5, 6, z(100)}, {7, 8, z(101)}}));
    EXPECT_EQ(layer.extent.low, (Position{0, 0, z(50)}));
    EXPECT_EQ(layer.extent.high, (Position{8, 8, z(104)}));
}

INSTANTIATE_TEST_SUITE_P(PlainElevatedMeasured, ShapeKindOfFile, testing::Values(0, 10, 20));

std::vector<Plane> Square(double west, double south, double side, bool clockwise) {
    const double east = west + side;
    const double north = south + side;
    return clockwise ? std::vector<Plane>{{west, south}, {west, north}, {east, north}, {east, south}, {west, south}}
                     : std::vector<Plane>{{west, south}, {east, south}, {east, north}, {west, north}, {west, south}};
}

// Two islands, the second in the lake of the first: which ring is a hole in which shows only from where they lie.
TEST(ShapeFile, RingsBecomePolygonsWithTheirHoles) {
    const VectorLayer layer =
        ReadContent({BuildParts(5, {Square(0, 0, 10, true), Square(4, 4, 2, true), Square(4.5, 4.5, 0.5, false),
                                    Square(3, 3, 5, false), Square(20, 0, 5, true), Square(21, 1, 1, false)}),
                     BuildParts(5, {Square(0, 0, 1, false)})});
    ASSERT_EQ(layer.features.size(), 2u);
    const std::vector<Polygon>& polygons = layer.features[0].polygons;
    ASSERT_EQ(polygons.size(), 3u);
    ASSERT_EQ(polygons[0].rings.size(), 2u);
    EXPECT_EQ(polygons[0].rings[0].size(), 4u) << "the last corner repeats the first";
    EXPECT_EQ(polygons[0].rings[1][0], (Position{3, 3, 0}));
    ASSERT_EQ(polygons[1].rings.size(), 2u);
    EXPECT_EQ(polygons[1].rings[1][0], (Position{4.5, 4.5, 0}));
    EXPECT_EQ(polygons[2].rings.size(), 2u);
    EXPECT_EQ(layer.features[1].polygons.size(), 1u) << "a ring that goes the wrong way round";
}

/// Rings in rings: an area for each hole to be searched in.
TEST(ShapeFile, ThousandsOfNestedRings_AreNotSearchedForever) {
    std::vector<Path> rings;
    for (int ring = 0; ring < 20'000; ++ring) {
        const double side = 1.0 + ring;
        const bool isHole = ring % 2 == 1;
        rings.push_back({{-side, -side, 0},
                         {isHole ? side : -side, isHole ? -side : side, 0},
                         {side, side, 0},
                         {isHole ? -side : side, isHole ? side : -side, 0}});
    }
    std::size_t kept = 0;
    for (const Polygon& polygon : AssemblePolygons(std::move(rings))) {
        kept += polygon.rings.size();
    }
    EXPECT_EQ(kept, 20'000u);
}

/// A table of a text, a number, a date and a flag.
std::string BuildTable(const std::vector<std::string>& rows, std::uint8_t language = 0) {
    struct Column {
        const char* name;
        char type;
        std::uint8_t size;
    };
    constexpr Column kColumns[] = {{"NAME", 'C', 8}, {"AREA", 'N', 6}, {"SINCE", 'D', 8}, {"OPEN", 'L', 1}};
    FileBytes table;
    table.Put<std::uint8_t>(3).FillTo(4).Put(static_cast<std::uint32_t>(rows.size()));
    table.Put<std::uint16_t>(32 + 4 * 32 + 1).Put<std::uint16_t>(24).FillTo(29).Put(language).FillTo(32);
    for (const Column& column : kColumns) {
        const std::size_t start = table.Content().size();
        table.PutText(column.name).FillTo(start + 11).Put(column.type).FillTo(start + 16).Put(column.size);
        table.FillTo(start + 32);
    }
    table.Put<std::uint8_t>(0x0D);
    for (const std::string& row : rows) {
        table.PutText(" ").PutText(row);
    }
    return table.Content();
}

/// A row's fields at their widths.
std::string Row(std::string name, const char* area, const char* since, const char* open) {
    name.resize(8, ' ');
    return name + area + since + open;
}

using Properties = std::vector<std::pair<std::string, std::string>>;

TEST(ShapeFile, TableAndSystemAreTakenFromTheFilesBesideIt) {
    const TemporaryFile file(".shp", BuildShapes({BuildPoint(1, 1, 2, 0), std::string(4, '\0'), BuildPoint(1, 3, 4, 0),
                                                  BuildPoint(1, 5, 6, 0)}));
    const SidecarFile table(
        file.Path(), ".dbf",
        BuildTable({Row("M\xC3\xBChle", "  12.5", "20011231", "T"), Row("lost", "     0", "        ", "?"),
                    Row(" B\x80r", "******", "        ", "F")}));
    const SidecarFile system(file.Path(), ".prj", "LOCAL_CS[\"here\"]\r\n");
    const VectorLayer layer = ReadShapeFile(file.Path());
    EXPECT_EQ(layer.wkt, "LOCAL_CS[\"here\"]");
    ASSERT_EQ(layer.features.size(), 3u);
    EXPECT_EQ(layer.features[0].properties,
              (Properties{{"NAME", "Mühle"}, {"AREA", "12.5"}, {"SINCE", "2001-12-31"}, {"OPEN", "true"}}));
    EXPECT_EQ(layer.features[1].properties,
              (Properties{{"NAME", " B€r"}, {"AREA", ""}, {"SINCE", ""}, {"OPEN", "false"}}));
    EXPECT_TRUE(layer.features[2].properties.empty()) << "the table has fewer rows";
}

struct EncodingCase {
    const char* name;
    const char* codePage; // the .cpg file; null for none
    std::uint8_t language;
    const char* text;
    const char* expected;
};

class TableEncoding : public testing::TestWithParam<EncodingCase> {};

TEST_P(TableEncoding, DecidesAboutLetters) {
    const TemporaryFile file(".shp", BuildShapes({BuildPoint(1, 1, 2, 0)}));
    const SidecarFile table(file.Path(), ".dbf",
                            BuildTable({Row(GetParam().text, "     0", "        ", "F")}, GetParam().language));
    std::optional<SidecarFile> codePage;
    if (GetParam().codePage != nullptr) {
        codePage.emplace(file.Path(), ".cpg", GetParam().codePage);
    }
    const std::string value = ReadShapeFile(file.Path()).features.at(0).properties.at(0).second;
    EXPECT_EQ(value, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Encodings, TableEncoding,
                         testing::Values(EncodingCase{"utf8", "UTF-8", 0x57, "\xC3\xA4", "ä"},
                                         EncodingCase{"damagedUtf8", "65001", 0, "a\xC3", "a\uFFFD"},
                                         EncodingCase{"latin1", "ISO-8859-1\r\n", 0, "\xC3\xA4", "Ã¤"},
                                         EncodingCase{"windows", "ANSI 1252", 0, "\x80\xE4", "€ä"},
                                         EncodingCase{"windowsByTheHeader", nullptr, 0x03, "\xC3\xA4", "Ã¤"},
                                         EncodingCase{"utf8ThatNobodyTells", nullptr, 0, "\xC3\xA4", "ä"},
                                         EncodingCase{"windowsThatNobodyTells", nullptr, 0, "a\xE4", "aä"}),
                         [](const auto& tested) { return std::string(tested.param.name); });

struct ShapeDamage {
    const char* name;
    std::string content;
    const char* complaint;
};

class DamagedShapeFile : public testing::TestWithParam<ShapeDamage> {};

TEST_P(DamagedShapeFile, IsRefusedWithItsRecord) {
    const std::string complaint = Complaint(ReadShapeFile, GetParam().content, ".shp");
    EXPECT_NE(complaint.find(GetParam().complaint), std::string::npos) << complaint;
}

std::string WithNumber(std::string record, std::size_t at, std::int32_t number) {
    return record.replace(at, 4, FileBytes().Put(number).Content());
}

const std::string kTwoParts = BuildParts(3, {kLine, kLine});

INSTANTIATE_TEST_SUITE_P(
    Everywhere, DamagedShapeFile,
    testing::Values(
        ShapeDamage{"cutHeader", BuildShapes({}).substr(0, 99), "within the header"},
        ShapeDamage{"otherFile", std::string(100, 'x'), "9994"},
        ShapeDamage{"cutRecord", BuildShapes({kTwoParts}).substr(0, 150), "record 1 promises"},
        ShapeDamage{"unknownType", BuildShapes({BuildPoint(1, 1, 2, 0), BuildParts(7, {})}), "record 2 is a shape of"},
        ShapeDamage{"patches", BuildShapes({BuildParts(31, {})}), "ogr2ogr"},
        ShapeDamage{"infinite", BuildShapes({BuildPoint(1, std::numeric_limits<double>::infinity(), 2, 0)}),
                    "record 1 has a coordinate"},
        ShapeDamage{"manyParts", BuildShapes({WithNumber(kTwoParts, 36, 0x7FFFFFFF)}), "too short for its parts"},
        ShapeDamage{"manyPoints", BuildShapes({WithNumber(kTwoParts, 40, 0x7FFFFFFF)}), "too short for its points"},
        ShapeDamage{"negativePoints", BuildShapes({WithNumber(kTwoParts, 40, -1)}), "negative number of points"},
        ShapeDamage{"unorderedParts", BuildShapes({WithNumber(kTwoParts, 44, 5)}), "not in order"},
        ShapeDamage{"noElevations", BuildShapes({WithNumber(kTwoParts, 0, 13)}), "too short for its elevations"},
        ShapeDamage{"emptyRecord", BuildShapes({""}), "too short for its type"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(ShapeFile, RandomDamage_NeverDoesMoreThanRefuse) {
    const std::string shapes = BuildShapes({BuildParts(15, {Square(0, 0, 9, true), Square(1, 1, 2, false)}),
                                            BuildParts(3, {kLine}), BuildParts(28, {kLine}), BuildPoint(11, 1, 2, 3)});
    EXPECT_GT(CountRefusedMutations(ReadShapeFile, shapes, ".shp"), 0);

    // The table is the file that is damaged; the shapes lie beside it.
    const std::string table = BuildTable({Row("abc", "   1.5", "20011231", "T"), Row("d", "     7", "        ", "F")});
    std::optional<SidecarFile> beside;
    const auto readBesideShapes = [&](const std::filesystem::path& damaged) {
        if (!beside) {
            beside.emplace(damaged, ".shp", shapes);
        }
        std::filesystem::path path = damaged;
        ReadShapeFile(path.replace_extension(".shp"));
    };
    EXPECT_GT(CountRefusedMutations(readBesideShapes, table, ".dbf"), 0);
}

} // namespace
} // namespace OrrinViewer
