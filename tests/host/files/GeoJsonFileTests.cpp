#include "files/GeoJsonFile.h"

#include "FileTestSupport.h"

#include <cstdlib>
#include <vector>

namespace OrrinViewer {
namespace {

VectorLayer ReadContent(const std::string& content) {
    const TemporaryFile file(".geojson", content);
    return ReadGeoJsonFile(file.Path());
}

std::string Geometry(const std::string& type, const std::string& coordinates) {
    return R"({"type": ")" + type + R"(", "coordinates": )" + coordinates + "}";
}

const std::string kSquare = "[[0,0],[9,0],[9,9],[0,9],[0,0]]";
const std::string kHole = "[[2,2],[2,4],[4,4],[2,2]]";
const std::string kCollection =
    R"({"type": "FeatureCollection", "crs": {"type": "name", "properties": 5}, "features": [
    {"type": "Feature", "geometry": null, "properties": {"name": "lost"}},
    {"type": "Feature", "geometry": {"type": "Point", "coordinates": []}, "properties": null},
    {"type": "Feature", "properties": {"name": "Bär", "area": 12.5, "open": true, "by": null, "tags": ["a", 1]},
     "geometry": {"type": "GeometryCollection", "geometries": [
        {"type": "Polygon", "coordinates": [)" +
    kSquare + "," + kHole + R"(]},
        {"type": "Point", "coordinates": [500000.25, 4500000.5, 812.75]}]}}]})";

TEST(GeoJsonFile, Collection_KeepsShapesHolesAndPropertiesInOrder) {
    const VectorLayer layer = ReadContent("\xEF\xBB\xBF" + kCollection);
    ASSERT_EQ(layer.features.size(), 1u);
    EXPECT_EQ(layer.skippedFeatures, 2u);
    EXPECT_TRUE(layer.hasElevations);
    EXPECT_EQ(layer.extent.high, (Position{500000.25, 4500000.5, 812.75}));
    EXPECT_EQ(layer.extent.low, (Position{0, 0, 0}));

    const VectorFeature& feature = layer.features[0];
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"name", "Bär"}, {"area", "12.5"}, {"open", "true"}, {"by", "null"}, {"tags", R"(["a",1])"}};
    EXPECT_EQ(feature.properties, expected);
    EXPECT_EQ(feature.points, (std::vector<Position>{{500000.25, 4500000.5, 812.75}}));
    ASSERT_EQ(feature.polygons.size(), 1u);
    const std::vector<Path> rings = {{{0, 0, 0}, {9, 0, 0}, {9, 9, 0}, {0, 9, 0}}, {{2, 2, 0}, {2, 4, 0}, {4, 4, 0}}};
    EXPECT_EQ(feature.polygons[0].rings, rings);
}

// Writers sort the names, or keep the order of their own tables.
TEST(GeoJsonFile, MembersMayComeInAnyOrder) {
    const VectorLayer layer = ReadContent(
        R"({"features": [{"properties": {"a": 1}, "geometry": {"geometries": [{"coordinates": [[1, 2], [3, 4]],)"
        R"( "bbox": [0, {}], "type": "LineString"}, {"geometries": 5, "type": "Point", "coordinates": [5, 6]}],)"
        R"( "coordinates": [], "type": "GeometryCollection"}, "type": "Feature"}], "features": 3,)"
        R"( "type": "FeatureCollection"})");
    ASSERT_EQ(layer.features.size(), 1u);
    EXPECT_EQ(layer.features[0].lines, (std::vector<Path>{{{1, 2, 0}, {3, 4, 0}}}));
    EXPECT_EQ(layer.features[0].points, (std::vector<Position>{{5, 6, 0}}));
    EXPECT_EQ(layer.features[0].properties.size(), 1u);
}

// A coordinate that is rounded otherwise than others round it makes neighbours' borders gape.
TEST(GeoJsonFile, NumbersAreRoundedAsTheStandardLibraryDoes) {
    for (const char* number : {"0", "-0.0", "0.1", "7.123456789012345", "51.98765432109876", "4500000.123456789",
                               "999999999999.9999", "123456789012.3456789012345", "1e11", "1.5E-7", "-2.5e+3", "1e-400",
                               "0.30000000000000004", "5e-324", "0.000000000000001"}) {
        const double expected = std::strtod(number, nullptr);
        const VectorLayer layer = ReadContent(Geometry("Point", "[" + std::string(number) + ",0]"));
        EXPECT_EQ(layer.features.at(0).points.at(0).x, expected) << number;
    }
}

TEST(GeoJsonFile, EscapesAreLetters) {
    const VectorLayer layer =
        ReadContent(R"({"type":"Feature","geometry":{"type":"Point","coordinates":[1,2]},"properties":)"
                    R"({"n\u00e4me":"\"\u20AC\ud83d\ude00\\\/\n\"", "kept": [ "a \" [" , { "b" : 1.50 } ]}})");
    const std::vector<std::pair<std::string, std::string>> expected = {{"näme", "\"€\xF0\x9F\x98\x80\\/\n\""},
                                                                       {"kept", R"(["a \" [",{"b":1.50}])"}};
    EXPECT_EQ(layer.features.at(0).properties, expected);
}

struct ShapeCase {
    const char* type;
    std::string coordinates;
    std::size_t points, lines, polygons;
};

class GeoJsonShape : public testing::TestWithParam<ShapeCase> {};

TEST_P(GeoJsonShape, IsReadBareAndInAFeature) {
    const std::string geometry = Geometry(GetParam().type, GetParam().coordinates);
    for (const std::string& content : {geometry, R"({"type":"Feature","geometry":)" + geometry + "}"}) {
        const VectorLayer layer = ReadContent(content);
        ASSERT_EQ(layer.features.size(), 1u);
        EXPECT_EQ(layer.features[0].points.size(), GetParam().points);
        EXPECT_EQ(layer.features[0].lines.size(), GetParam().lines);
        EXPECT_EQ(layer.features[0].polygons.size(), GetParam().polygons);
        EXPECT_EQ(layer.extent.high, (Position{9, 9, 0}));
        EXPECT_FALSE(layer.hasElevations);
    }
}

INSTANTIATE_TEST_SUITE_P(
    AllTypes, GeoJsonShape,
    testing::Values(ShapeCase{"Point", "[9,9]", 1, 0, 0}, ShapeCase{"MultiPoint", "[[9,9],[1,2]]", 2, 0, 0},
                    ShapeCase{"LineString", "[[0,0],[9,9]]", 0, 1, 0},
                    ShapeCase{"MultiLineString", "[[[0,0],[9,9]],[[1,1],[2,2],[3,3]]]", 0, 2, 0},
                    ShapeCase{"Polygon", "[" + kSquare + "]", 0, 0, 1},
                    ShapeCase{"MultiPolygon", "[[" + kSquare + "," + kHole + "],[" + kHole + "]]", 0, 0, 2}),
    [](const auto& tested) { return std::string(tested.param.type); });

struct JsonDamage {
    const char* name;
    std::string content;
    const char* complaint;
};

class DamagedGeoJson : public testing::TestWithParam<JsonDamage> {};

TEST_P(DamagedGeoJson, IsRefusedWithItsPlace) {
    const std::string complaint = Complaint(ReadGeoJsonFile, GetParam().content, ".geojson");
    EXPECT_NE(complaint.find(GetParam().complaint), std::string::npos) << complaint;
}

std::string InCollection(const std::string& geometry) {
    return R"({"type":"FeatureCollection","features":[{"type":"Feature","geometry":)" + geometry + "}]}";
}

INSTANTIATE_TEST_SUITE_P(
    Everywhere, DamagedGeoJson,
    testing::Values(
        JsonDamage{"empty", "", "the file is empty"}, JsonDamage{"garbage", "\x89PNG\r\n", "not valid JSON"},
        JsonDamage{"position", "{\"type\":\n ?}", "line 2, column 2"},
        JsonDamage{"afterTheEnd", Geometry("Point", "[1,2]") + "}", "not valid JSON"},
        JsonDamage{"cutText", R"({"type":"Poi)", "within a text"},
        JsonDamage{"latin1", "{\"type\":\"Feature\",\"geometry\":null,\"properties\":{\"a\":\"\xE4\"}}",
                   "not in UTF-8"},
        JsonDamage{"lineFeedInText", "{\"type\":\"a\nb\"}", "control character"},
        JsonDamage{"unknownEscape", R"({"type":"\x41"})", "column 11: there is no such escape"},
        JsonDamage{"halfCharacter", R"({"type":"\ud83d"})", "half of a character"},
        JsonDamage{"noHexadecimal", R"({"type":"\u00g0"})", "hexadecimal"},
        JsonDamage{"zeros", Geometry("Point", "[01,2]"), "begins with 0"},
        JsonDamage{"noDecimals", Geometry("Point", "[1.,2]"), "a digit"},
        JsonDamage{"noExponent", Geometry("Point", "[1e,2]"), "a digit"},
        JsonDamage{"onlyMinus", Geometry("Point", "[-,2]"), "a digit"},
        JsonDamage{"plus", Geometry("Point", "[+1,2]"), "a value is expected"},
        JsonDamage{"notANumber", Geometry("Point", "[NaN,2]"), "a value is expected"},
        JsonDamage{"wordCutShort", R"({"type":"Feature","geometry":nul})", "a value is expected"},
        JsonDamage{"commaAtTheEnd", Geometry("Point", "[1,2,]"), "a value is expected"},
        JsonDamage{"noComma", Geometry("Point", "[1 2]"), "comma"},
        JsonDamage{"noColon", R"({"type" "Point"})", "colon"},
        JsonDamage{"nameWithoutQuotes", "{type:1}", "the name of a member"},
        JsonDamage{"notAnObject", "[1,2]", "the document is not an object"},
        JsonDamage{"noType", "{}", "has no \"type\""}, JsonDamage{"typeIsNumber", "{\"type\":3}", "/type is not text"},
        JsonDamage{"unknownType", Geometry("Circle", "[1,2]"), "/type is 'Circle'"},
        JsonDamage{"featureInFeature", R"({"type":"FeatureCollection","features":[{"type":"Point"}]})",
                   "/features/0/type is 'Point'"},
        JsonDamage{"featuresMissing", R"({"type":"FeatureCollection"})", "has no \"features\""},
        JsonDamage{"noCoordinates", InCollection(R"({"type":"Point"})"), "/features/0/geometry has no \"coordinates\""},
        JsonDamage{"nullCoordinates", Geometry("LineString", "null"), "/coordinates is not an array"},
        JsonDamage{"oneNumber", InCollection(Geometry("MultiPoint", "[[1,2],[3]]")),
                   "/features/0/geometry/coordinates/1 is not a position"},
        JsonDamage{"textCoordinate", Geometry("Point", "[1,\"2\"]"), "/coordinates has a coordinate that is not"},
        JsonDamage{"nullElevation", Geometry("Point", "[1,2,null]"), "/coordinates has a coordinate that is not"},
        JsonDamage{"beyondDouble", Geometry("Point", "[1,1e999]"), "not valid JSON"},
        JsonDamage{"shortLine", Geometry("MultiLineString", "[[[1,2]]]"), "/coordinates/0 is a line of fewer"},
        JsonDamage{"shortRing", Geometry("Polygon", "[[[1,2],[3,4],[1,2]]]"), "/coordinates/0 is a ring of fewer"},
        JsonDamage{"ringless", Geometry("MultiPolygon", "[[]]"), "/coordinates/0 is a polygon without"},
        JsonDamage{"badProperties", R"({"type":"Feature","geometry":null,"properties":4})", "/properties is not"},
        JsonDamage{"tooDeep", R"({"type":"Feature","geometry":null,"properties":{"a":)" + std::string(200000, '['),
                   "levels deep"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(GeoJsonFile, CutAnywhere_IsRefused) {
    for (std::size_t length = 0; length < kCollection.size(); ++length) {
        EXPECT_NE(Complaint(ReadGeoJsonFile, kCollection.substr(0, length), ".geojson"), "") << "cut to " << length;
    }
}

TEST(GeoJsonFile, RandomDamage_NeverDoesMoreThanRefuse) {
    EXPECT_GT(CountRefusedMutations(ReadGeoJsonFile, kCollection, ".geojson"), 0);
}

TEST(GeoJsonFile, PlaceBeyondAnyCoordinate_IsRefusedByItsPath) {
    const std::string complaint =
        Complaint(ReadGeoJsonFile, R"({"type": "LineString", "coordinates": [[1, 2], [1e300, 2]]})", ".json");
    EXPECT_NE(complaint.find("/coordinates/1 has the coordinate 1e+300"), std::string::npos) << complaint;
}

} // namespace
} // namespace OrrinViewer
