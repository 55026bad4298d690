#include "data/ReadingProgress.h"

#include "FileTestSupport.h"
#include "LazWriter.h"
#include "files/GeoJsonFile.h"
#include "files/ImageFile.h"
#include "files/OpenFile.h"
#include "systems/TransformLayers.h"

#include <functional>
#include <string>
#include <vector>

#include <sqlite3.h>

namespace OrrinViewer {
namespace {

/// As many of everything as is enough for several chunks of a file.
constexpr int kMany = 20'000;

std::string ManyFeatures() {
    std::string text = R"({"type":"FeatureCollection","features":[)";
    for (int feature = 0; feature < kMany; ++feature) {
        text += (feature > 0 ? "," : "") +
                std::string(R"({"type":"Feature","geometry":{"type":"Point","coordinates":[)") +
                std::to_string(feature) + ",2]}}";
    }
    return text + "]}";
}

std::string ManyShapes() {
    FileBytes shapes;
    shapes.PutText(FileBytes(true).Put<std::int32_t>(9994).Content()).FillTo(28).Put<std::int32_t>(1000).FillTo(100);
    for (std::int32_t record = 0; record < kMany; ++record) {
        shapes.PutText(FileBytes(true).Put(record + 1).Put<std::int32_t>(10).Content());
        shapes.Put<std::int32_t>(1).Put(1.0 * record).Put(2.0);
    }
    return shapes.Content();
}

std::string ManyRows() {
    sqlite3* database = nullptr;
    sqlite3_open(":memory:", &database);
    sqlite3_exec(
        database,
        "CREATE TABLE gpkg_spatial_ref_sys (srs_id INTEGER, definition TEXT);"
        "CREATE TABLE gpkg_contents (table_name TEXT, data_type TEXT);"
        "CREATE TABLE gpkg_geometry_columns (table_name TEXT, column_name TEXT, srs_id INTEGER);"
        "INSERT INTO gpkg_contents VALUES ('wells', 'features');"
        "INSERT INTO gpkg_geometry_columns VALUES ('wells', 'geom', 0);"
        "CREATE TABLE wells (id INTEGER PRIMARY KEY, geom BLOB);"
        "WITH RECURSIVE number(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM number WHERE n < 20000)"
        "INSERT INTO wells SELECT n, x'47500001000000000101000000000000000000F03F0000000000000040' FROM number",
        nullptr, nullptr, nullptr);
    sqlite3_int64 size = 0;
    unsigned char* const bytes = sqlite3_serialize(database, "main", &size, 0);
    std::string content(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    sqlite3_free(bytes);
    sqlite3_close(database);
    return content;
}

std::string ManyCells() {
    std::string text = "ncols 200\nnrows 100\nxllcorner 0\nyllcorner 0\ncellsize 1\n";
    for (int cell = 0; cell < kMany; ++cell) {
        text += "123.456789012345\n";
    }
    return text;
}

std::string ManyVertices(bool hasFace) {
    std::string text = "ply\nformat ascii 1.0\nelement vertex 20000\nproperty double x\nproperty double y\nproperty "
                       "double z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n";
    for (int vertex = 0; vertex < kMany; ++vertex) {
        text += std::to_string(vertex) + ".125 4500000.25 17.5\n";
    }
    return text + (hasFace ? "3 0 1 2\n" : "0\n");
}

std::string ManyLines() {
    std::string text;
    for (int line = 0; line < kMany; ++line) {
        text += std::to_string(line) + ".125 4500000.25 17.5\n";
    }
    return text;
}

std::string ManyPoints() {
    FileBytes las;
    las.PutText("LASF").FillTo(24).Put<std::uint8_t>(1).Put<std::uint8_t>(2).FillTo(94).Put<std::uint16_t>(227);
    las.Put<std::uint32_t>(227).Put<std::uint32_t>(0).Put<std::uint8_t>(0).Put<std::uint16_t>(20);
    las.Put<std::uint32_t>(kMany).FillTo(131).Put(0.01).Put(0.01).Put(0.01).FillTo(227);
    return las.FillTo(227 + 20 * kMany).Content();
}

std::string ManyCompressedPoints() {
    std::vector<LazPoint> points(3000);
    for (std::size_t point = 0; point < points.size(); ++point) {
        points[point].x = static_cast<std::int32_t>(point);
    }
    LazShape shape;
    shape.chunkSize = 500;
    return BuildLaz(points, shape);
}

std::string ManyPixels(const char* name) {
    return EncodeImage(name, 400, 400, std::vector<std::uint8_t>(std::size_t{400} * 400 * 3, 77));
}

struct Reading {
    const char* name;
    const char* ending;
    std::function<std::string()> make;
    std::function<void(const std::filesystem::path&)> read;
    const char* phase;       ///< the last one
    const char* things = ""; ///< of that
    std::uint64_t count = 0;
};

class EachReader : public testing::TestWithParam<Reading> {};

TEST_P(EachReader, TellsHowFarItHasComeAndEndsWhenNobodyWantsTheRest) {
    const TemporaryFile file(GetParam().ending, GetParam().make());
    SidecarFile place(file.Path(), ".wld", "1\n0\n0\n-1\n0\n0\n");
    const auto progress = std::make_shared<ReadingProgress>();
    {
        const ReadingScope scope(progress);
        GetParam().read(file.Path());
    }
    const ReadingState state = progress->GetState();
    EXPECT_STREQ(state.phase, GetParam().phase);
    EXPECT_STREQ(state.things, GetParam().things);
    // The last thing may be told before it is there.
    EXPECT_NEAR(static_cast<double>(state.count), static_cast<double>(GetParam().count), 1.0);
    ASSERT_TRUE(state.share.has_value());
    EXPECT_GT(*state.share, 0.95);
    EXPECT_LE(*state.share, 1.0);

    const auto stopped = std::make_shared<ReadingProgress>();
    stopped->Stop();
    const ReadingScope scope(stopped);
    EXPECT_THROW(GetParam().read(file.Path()), ReadingStopped);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, EachReader,
    testing::Values(Reading{"GeoJson", ".geojson", &ManyFeatures, &OpenVectorLayers, "reading", "features", kMany},
                    Reading{"Shapes", ".shp", &ManyShapes, &OpenVectorLayers, "reading", "features", kMany},
                    Reading{"GeoPackage", ".gpkg", &ManyRows, &OpenVectorLayers, "reading", "features", kMany},
                    Reading{"AsciiGrid", ".asc", &ManyCells, &OpenElevationGrid, "reading"},
                    Reading{"PlyMesh", ".ply", [] { return ManyVertices(true); }, &OpenMesh, "reading"},
                    Reading{"PlyPoints", ".ply", [] { return ManyVertices(false); }, &OpenPointCloud, "reading",
                            "points", kMany},
                    Reading{"Texts", ".xyz", &ManyLines, &OpenPointCloud, "reading", "points", kMany},
                    Reading{"Las", ".las", &ManyPoints, &OpenPointCloud, "reading", "points", kMany},
                    Reading{"Png", ".png", [] { return ManyPixels("a.png"); }, &OpenRaster, "decoding"},
                    Reading{"Jpeg", ".jpg", [] { return ManyPixels("a.jpg"); }, &OpenRaster, "decoding"}),
    [](const auto& tested) { return std::string(tested.param.name); });

// A cloud is read on by another thread than the one that opened it.
TEST(ReadingProgress, CloudEndsInItsMiddle) {
    const struct {
        const char* ending;
        std::string content;
    } clouds[] = {{".las", ManyPoints()}, {".laz", ManyCompressedPoints()}, {".xyz", ManyLines()}};
    for (const auto& cloud : clouds) {
        const TemporaryFile file(cloud.ending, cloud.content);
        const auto progress = std::make_shared<ReadingProgress>();
        std::unique_ptr<CloudReader> reader;
        {
            const ReadingScope scope(progress);
            reader = OpenCloudReader(file.Path());
        }
        std::vector<CloudPoint> points(100);
        EXPECT_EQ(reader->Read(points), points.size()) << cloud.ending;
        progress->Stop();
        points.resize(kMany);
        EXPECT_THROW(reader->Read(points), ReadingStopped) << cloud.ending;
    }
}

TEST(ReadingProgress, TransformationTellsItsFeatures) {
    const TemporaryFile file(".geojson", ManyFeatures());
    VectorLayer layer = ReadGeoJsonFile(file.Path());
    const auto progress = std::make_shared<ReadingProgress>();
    const ReadingScope scope(progress);
    std::size_t half = 0;
    const auto forward = [&](const Position& position) {
        if (++half == kMany / 2) {
            progress->Stop();
        }
        return position;
    };
    EXPECT_THROW(Transform(layer, {forward, forward}), ReadingStopped);
    const ReadingState state = progress->GetState();
    EXPECT_STREQ(state.phase, "transforming");
    EXPECT_EQ(state.count, kMany / 2U);
    EXPECT_NEAR(state.share.value_or(0.0), 0.5, 0.01);
}

// Scopes lie within each other, and what is opened outside of them concerns nobody.
TEST(ReadingProgress, ScopesEndWhereTheyBegan) {
    const auto outer = std::make_shared<ReadingProgress>();
    const auto inner = std::make_shared<ReadingProgress>();
    {
        const ReadingScope one(outer);
        {
            const ReadingScope other(inner);
            EXPECT_EQ(ReadingProgress::OfThisThread(), inner);
        }
        EXPECT_EQ(ReadingProgress::OfThisThread(), outer);
    }
    EXPECT_NE(ReadingProgress::OfThisThread(), outer);
}

} // namespace
} // namespace OrrinViewer
