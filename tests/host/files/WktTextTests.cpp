#include "files/WktText.h"

#include "FileTestSupport.h"

namespace OrrinViewer {
namespace {

struct WktCase {
    const char* name;
    const char* text;
    const char* system;
    int code;
    std::optional<MapUnits> units;
    std::optional<double> heightMetres;
};

class WktText : public testing::TestWithParam<WktCase> {};

// The same systems as the programs write them that made the files: two generations of the language, brackets of both
// kinds, units of the map beside those of the globe below it.
TEST_P(WktText, TellsNameCodeAndUnits) {
    const WktCase& test = GetParam();
    const std::optional<CoordinateSystem> system = SystemFromWkt(test.text);
    ASSERT_TRUE(system);
    EXPECT_EQ(system->name, test.system);
    EXPECT_EQ(system->code, test.code);
    EXPECT_EQ(system->units, test.units);
    EXPECT_EQ(system->heightMetres, test.heightMetres);
}

INSTANTIATE_TEST_SUITE_P(
    Systems, WktText,
    testing::Values(
        WktCase{"projected",
                R"wkt(PROJCS["WGS 84 / UTM zone 32N", GEOGCS["WGS 84",UNIT["degree",0.0174532925199433],
                    AUTHORITY["EPSG","4326"]], PROJECTION["Transverse_Mercator"], PARAMETER["central_meridian",9],
                    UNIT["metre",1, AUTHORITY["EPSG","9001"]], AXIS["Easting",EAST], AUTHORITY["EPSG","32632"]])wkt",
                "WGS 84 / UTM zone 32N", 32632, MapUnits::Metres, std::nullopt},
        WktCase{"withHeights",
                R"wkt(COMPD_CS["both",PROJCS["NAD83 / Illinois East (ftUS)",GEOGCS["NAD83"],
                    UNIT["US survey foot",0.304800609601219],AUTHORITY["EPSG","3435"]],
                    VERT_CS["NAVD88",UNIT["foot",0.3048]]])wkt",
                "NAD83 / Illinois East (ftUS)", 3435, MapUnits::UsSurveyFeet, 0.3048},
        WktCase{"shapefiles", R"wkt(PROJCS["Oregon",GEOGCS["GCS"],UNIT("Foot",0.3048)])wkt", "Oregon", 0,
                MapUnits::Feet, std::nullopt},
        WktCase{"globe", R"wkt(GEOGCS["WGS 84",UNIT["degree",0.0174532925199433],AUTHORITY["EPSG","4326"]])wkt",
                "WGS 84", 4326, MapUnits::Degrees, std::nullopt},
        WktCase{"secondVersion",
                R"wkt(PROJCRS["ETRS89 / UTM zone 32N",BASEGEOGCRS["ETRS89"],CS[Cartesian,2],
                    AXIS["(E)",east,ORDER[1],LENGTHUNIT["metre",1]],ID["EPSG",25832]])wkt",
                "ETRS89 / UTM zone 32N", 25832, MapUnits::Metres, std::nullopt},
        WktCase{"bound",
                R"wkt(BOUNDCRS[SOURCECRS[GEOGCRS["a ""quoted"" name",ID["EPSG",4258]]],TARGETCRS[GEOGCRS["b"]]])wkt",
                "a \"quoted\" name", 4258, MapUnits::Degrees, std::nullopt}),
    [](const auto& tested) { return std::string(tested.param.name); });

// What a file holds in that place may be anything.
TEST(WktTextDamage, IsNoSystem) {
    std::string deep = "PROJCS[\"a\"";
    for (int level = 0; level < 10'000; ++level) {
        deep += ",A[1";
    }
    for (const std::string& text :
         {std::string(), std::string("PROJCS"), std::string("PROJCS["), std::string("PROJCS[\"a"),
          std::string("VERT_CS[\"a\"]"), deep, std::string("+proj=utm +zone=32"), std::string(100'000, '[')}) {
        EXPECT_FALSE(SystemFromWkt(text)) << text.substr(0, 20);
    }
}

TEST(WktTextDamage, FileBesideTellsTheSystem) {
    const TemporaryFile system(".prj", "GEOGCS[\"GCS_WGS_1984\",UNIT[\"Degree\",0.0174532925199433]]");
    std::filesystem::path grid = system.Path();
    EXPECT_EQ(SystemBeside(grid.replace_extension(".asc")).units, MapUnits::Degrees);
    EXPECT_FALSE(SystemBeside("nowhere.asc").units);
}

} // namespace
} // namespace OrrinViewer
