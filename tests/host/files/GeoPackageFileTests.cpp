#include "files/GeoPackageFile.h"

#include "FileTestSupport.h"

#include <limits>
#include <memory>
#include <vector>

#include <sqlite3.h>

namespace OrrinViewer {
namespace {

using Plane = std::pair<double, double>;

/// Well-known binary, put together shape by shape. `dimension` is 0, or 1000 with an elevation of 7, 2000 with a
/// measure, 3000 with both.
class WkbBytes {
public:
    explicit WkbBytes(std::uint32_t dimension = 0, bool bigEndian = false)
        : m_dimension(dimension), m_bigEndian(bigEndian), m_bytes(bigEndian) {}

    WkbBytes& Begin(std::uint32_t type) {
        m_bytes.Put(static_cast<std::uint8_t>(m_bigEndian ? 0 : 1)).Put(type + m_dimension);
        return *this;
    }
    WkbBytes& Count(std::uint32_t count) {
        m_bytes.Put(count);
        return *this;
    }
    WkbBytes& Positions(const std::vector<Plane>& positions) {
        for (const auto& [x, y] : positions) {
            m_bytes.Put(x).Put(y);
            for (std::uint32_t further = m_dimension == 3000 ? 2 : m_dimension > 0 ? 1 : 0; further > 0; --further) {
                m_bytes.Put(7.0);
            }
        }
        return *this;
    }
    WkbBytes& Path(const std::vector<Plane>& positions) {
        return Count(static_cast<std::uint32_t>(positions.size())).Positions(positions);
    }
    const std::string& Content() const { return m_bytes.Content(); }

private:
    std::uint32_t m_dimension;
    bool m_bigEndian;
    FileBytes m_bytes;
};

/// The header that geometries have, with an envelope of a kind.
std::string Header(std::uint8_t envelope, bool isEmpty = false) {
    constexpr std::size_t kBytes[] = {0, 32, 48, 48, 64};
    FileBytes header;
    header.PutText("GP").Put<std::uint8_t>(0);
    header.Put(static_cast<std::uint8_t>(envelope << 1 | 1 | (isEmpty ? 0x10 : 0))).Put<std::int32_t>(31985);
    return header.FillTo(8 + kBytes[envelope]).Content();
}

/// A database of tables as a GeoPackage has them.
class PackageBuilder {
public:
    PackageBuilder() {
        sqlite3* database = nullptr;
        sqlite3_open(":memory:", &database);
        m_database.reset(database);
        Run("CREATE TABLE gpkg_spatial_ref_sys (srs_id INTEGER, definition TEXT);"
            "INSERT INTO gpkg_spatial_ref_sys VALUES (31985, 'PROJCS[\"here\"]'), (-1, 'undefined');"
            "CREATE TABLE gpkg_contents (table_name TEXT, data_type TEXT);"
            "CREATE TABLE gpkg_geometry_columns (table_name TEXT, column_name TEXT, srs_id INTEGER);");
    }

    PackageBuilder& Run(const std::string& statements) {
        EXPECT_EQ(sqlite3_exec(m_database.get(), statements.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(m_database.get());
        return *this;
    }

    PackageBuilder& AddLayer(const std::string& name, const std::string& columns, int system = 31985) {
        return Run("CREATE TABLE " + Quoted(name) + " (" + columns + "); INSERT INTO gpkg_contents VALUES ('" + name +
                   "', 'features'); INSERT INTO gpkg_geometry_columns VALUES ('" + name + "', 'geom', " +
                   std::to_string(system) + ")");
    }

    /// A row whose first value is a geometry, or null for an empty one; `values` are the others.
    PackageBuilder& AddRow(const std::string& layer, const std::string& blob, const std::string& values = "") {
        std::string digits;
        for (const char byte : blob) {
            constexpr char kDigits[] = "0123456789ABCDEF";
            digits += kDigits[static_cast<std::uint8_t>(byte) >> 4];
            digits += kDigits[static_cast<std::uint8_t>(byte) & 0xF];
        }
        return Run("INSERT INTO " + Quoted(layer) + " VALUES (" + (blob.empty() ? "NULL" : "x'" + digits + "'") +
                   values + ")");
    }

    std::string Content() const {
        sqlite3_int64 size = 0;
        unsigned char* bytes = sqlite3_serialize(m_database.get(), "main", &size, 0);
        std::string content(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
        sqlite3_free(bytes);
        return content;
    }

private:
    static std::string Quoted(const std::string& name) {
        std::string quoted = name;
        for (std::size_t at = quoted.find('"'); at != std::string::npos; at = quoted.find('"', at + 2)) {
            quoted.insert(at, 1, '"');
        }
        return '"' + quoted + '"';
    }

    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    std::unique_ptr<sqlite3, Close> m_database;
};

const std::vector<Plane> kSquare = {{0, 0}, {9, 0}, {9, 9}, {0, 9}, {0, 0}};

/// All kinds of shapes in one collection.
std::string AllShapes(std::uint32_t dimension, bool bigEndian) {
    WkbBytes wkb(dimension, bigEndian);
    wkb.Begin(7).Count(6);
    wkb.Begin(1).Positions({{1, 2}});
    wkb.Begin(4).Count(2).Begin(1).Positions({{3, 4}}).Begin(1).Positions({{5, 6}});
    wkb.Begin(2).Path({{0, 0}, {1, 1}});
    wkb.Begin(5).Count(1).Begin(2).Path({{2, 2}, {3, 3}, {4, 5}});
    wkb.Begin(3).Count(2).Path(kSquare).Path({{1, 1}, {1, 2}, {2, 2}, {1, 1}});
    wkb.Begin(6).Count(1).Begin(3).Count(1).Path(kSquare);
    return wkb.Content();
}

TEST(GeoPackageFile, AllLayersComeWithTheirShapesAndAttributes) {
    PackageBuilder package;
    const std::string houses = "houses \" and more";
    package.AddLayer(houses, "geom BLOB, fid INTEGER PRIMARY KEY, name TEXT, area REAL, photo BLOB");
    package.AddLayer("places", "geom BLOB", -1);
    package.Run("INSERT INTO gpkg_contents VALUES ('notes', 'attributes')");
    package.AddRow(houses, Header(4) + AllShapes(0, false), ", 5, 'Bär', 12.5, x'00'");
    package.AddRow(houses, "", ", 6, 'lost', NULL, NULL");
    package.AddRow(houses, Header(0, true), ", 7, 'empty', NULL, NULL");
    package.AddRow(houses, Header(1) + WkbBytes().Begin(1).Positions({{3, 4}}).Content(), ", 8, NULL, NULL, NULL");
    const double none = std::numeric_limits<double>::quiet_NaN();
    package.AddRow("places", Header(0) + WkbBytes().Begin(1).Positions({{none, none}}).Content());

    const TemporaryFile file("_ä %3F#.gpkg", package.Content());
    const std::vector<VectorLayer> layers = ReadGeoPackageFile(file.Path());
    ASSERT_EQ(layers.size(), 2u);
    EXPECT_EQ(layers[0].name, "houses \" and more");
    EXPECT_EQ(layers[0].wkt, "PROJCS[\"here\"]");
    EXPECT_EQ(layers[0].skippedFeatures, 2u);
    ASSERT_EQ(layers[0].features.size(), 2u);
    using Properties = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(layers[0].features[0].properties, (Properties{{"fid", "5"}, {"name", "Bär"}, {"area", "12.5"}}));
    EXPECT_EQ(layers[0].features[1].properties, (Properties{{"fid", "8"}, {"name", ""}, {"area", ""}, {"photo", ""}}));
    EXPECT_EQ(layers[1].wkt, "");
    EXPECT_EQ(layers[1].skippedFeatures, 1u);
    const LongFolder folder;
    EXPECT_EQ(ReadGeoPackageFile(folder.Write(u8"ä %3F#.gpkg", package.Content())).size(), 2u);
}

class GeoPackageDimension : public testing::TestWithParam<std::uint32_t> {};

TEST_P(GeoPackageDimension, EveryShapeIsReadInEitherByteOrder) {
    const bool hasElevations = GetParam() == 1000 || GetParam() == 3000;
    for (const bool bigEndian : {false, true}) {
        PackageBuilder package;
        package.AddLayer("all", "geom BLOB").AddRow("all", Header(2) + AllShapes(GetParam(), bigEndian));
        const TemporaryFile file(".gpkg", package.Content());
        const std::vector<VectorLayer> layers = ReadGeoPackageFile(file.Path());
        const VectorFeature& feature = layers.at(0).features.at(0);
        const double z = hasElevations ? 7.0 : 0.0;
        EXPECT_EQ(layers[0].hasElevations, hasElevations);
        EXPECT_EQ(feature.points, (std::vector<Position>{{1, 2, z}, {3, 4, z}, {5, 6, z}}));
        EXPECT_EQ(feature.lines, (std::vector<Path>{{{0, 0, z}, {1, 1, z}}, {{2, 2, z}, {3, 3, z}, {4, 5, z}}}));
        ASSERT_EQ(feature.polygons.size(), 2u);
        EXPECT_EQ(feature.polygons[0].rings,
                  (std::vector<Path>{{{0, 0, z}, {9, 0, z}, {9, 9, z}, {0, 9, z}}, {{1, 1, z}, {1, 2, z}, {2, 2, z}}}));
    }
}

INSTANTIATE_TEST_SUITE_P(PlainElevatedMeasuredBoth, GeoPackageDimension, testing::Values(0u, 1000u, 2000u, 3000u));

struct PackageDamage {
    const char* name;
    std::string blob;
    const char* complaint;
};

class DamagedGeometry : public testing::TestWithParam<PackageDamage> {};

TEST_P(DamagedGeometry, IsRefusedWithItsRow) {
    PackageBuilder package;
    package.AddLayer("all", "geom BLOB").AddRow("all", "").AddRow("all", GetParam().blob);
    const std::string complaint = Complaint(ReadGeoPackageFile, package.Content(), ".gpkg");
    EXPECT_NE(complaint.find("layer 'all', row 2 "), std::string::npos) << complaint;
    EXPECT_NE(complaint.find(GetParam().complaint), std::string::npos) << complaint;
}

std::string Nested() {
    WkbBytes wkb;
    for (int level = 0; level < 5000; ++level) {
        wkb.Begin(7).Count(1);
    }
    return wkb.Content();
}

INSTANTIATE_TEST_SUITE_P(
    Blobs, DamagedGeometry,
    testing::Values(
        PackageDamage{"other", "something else", "begin with 'GP'"},
        PackageDamage{"extended", "GP" + std::string(1, '\0') + '\x21' + Header(0), "not known"},
        PackageDamage{"noEnvelope", Header(4).substr(0, 20), "not known"},
        PackageDamage{"noGeometry", Header(0), "ends in the middle"},
        PackageDamage{"manyPoints", Header(0) + WkbBytes().Begin(2).Count(0xFFFFFFFF).Content(), "ends in the middle"},
        PackageDamage{"manyRings", Header(0) + WkbBytes().Begin(3).Count(0x10000000).Content(), "ends in the middle"},
        PackageDamage{"cutPoint", Header(0) + WkbBytes().Begin(1).Count(7).Content(), "ends in the middle"},
        PackageDamage{"curve", Header(0) + WkbBytes().Begin(8).Count(0).Content(), "CONVERT_TO_LINEAR"},
        PackageDamage{"unknown", Header(0) + WkbBytes().Begin(99).Count(0).Content(), "there is not"},
        PackageDamage{"infinite", Header(0) + WkbBytes().Begin(1).Positions({{1, INFINITY}}).Content(),
                      "not a finite number"},
        PackageDamage{"tooDeep", Header(0) + Nested(), "nested"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(GeoPackageFile, WhatIsNoPackage_IsToldWhy) {
    PackageBuilder noLayers;
    noLayers.Run("DROP TABLE gpkg_geometry_columns");
    EXPECT_NE(Complaint(ReadGeoPackageFile, noLayers.Content(), ".gpkg").find("ogr2ogr"), std::string::npos);
    PackageBuilder noTable;
    noTable.AddLayer("gone", "geom BLOB").Run("DROP TABLE gone");
    EXPECT_NE(Complaint(ReadGeoPackageFile, noTable.Content(), ".gpkg").find("no such table"), std::string::npos);
    PackageBuilder noColumn;
    noColumn.AddLayer("other", "shape BLOB");
    EXPECT_NE(Complaint(ReadGeoPackageFile, noColumn.Content(), ".gpkg").find("no column 'geom'"), std::string::npos);
    EXPECT_NE(Complaint(ReadGeoPackageFile, std::string("SQLite format 3\0 and no more", 28), ".gpkg"), "");
}

// A view is a program, and this one never ends.
TEST(GeoPackageFile, EndlessView_IsEnded) {
    PackageBuilder package;
    package.AddLayer("endless", "geom BLOB")
        .Run("DROP TABLE endless; CREATE VIEW endless AS WITH RECURSIVE n(geom) AS "
             "(SELECT 1 UNION ALL SELECT geom + 1 FROM n) SELECT NULL AS geom FROM n "
             "WHERE geom < 0");
    EXPECT_NE(Complaint(ReadGeoPackageFile, package.Content(), ".gpkg").find("interrupted"), std::string::npos);
}

TEST(GeoPackageFile, RandomDamage_NeverDoesMoreThanRefuse) {
    PackageBuilder package;
    package.Run("PRAGMA page_size = 512; VACUUM").AddLayer("all", "geom BLOB, name TEXT");
    for (int row = 0; row < 5; ++row) {
        package.AddRow("all", Header(1) + AllShapes(1000, false), ", 'abc'");
    }
    EXPECT_GT(CountRefusedMutations(ReadGeoPackageFile, package.Content(), ".gpkg"), 0);
}

} // namespace
} // namespace OrrinViewer
