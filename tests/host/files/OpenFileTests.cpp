#include "files/OpenFile.h"

#include "FileTestSupport.h"

namespace OrrinViewer {
namespace {

struct KindCase {
    const char* name;
    const char* ending;
    std::string content;
    FileKind kind;
};

class FileKindDetection : public testing::TestWithParam<KindCase> {};

TEST_P(FileKindDetection, IsTakenFromTheContentAndOnlyThenFromTheName) {
    const TemporaryFile file(GetParam().ending, GetParam().content);
    EXPECT_EQ(DetectKind(file.Path()), GetParam().kind);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, FileKindDetection,
    testing::Values(
        KindCase{"lasUnderAnotherName", ".ply", "LASF....", FileKind::Las},
        KindCase{"plyUnderAnotherName", ".json", "ply\r\nformat", FileKind::Ply},
        KindCase{"jsonUnderAnotherName", ".las", "\xEF\xBB\xBF \n {", FileKind::GeoJson},
        KindCase{"projectUnderAnotherName", ".json", "{\n  \"format\" : \"OrrinViewer project\"", FileKind::Project},
        KindCase{"gridUnderAnotherName", ".txt", " NCOLS 4", FileKind::AsciiGrid},
        KindCase{"pngUnderAnotherName", ".las", "\x89PNG\r\n\x1A\n", FileKind::Image},
        KindCase{"damagedImage", ".JPG", "?", FileKind::Image},
        KindCase{"damagedGrid", ".asc", "?", FileKind::AsciiGrid},
        KindCase{"damagedLas", ".LAS", "FSAL", FileKind::Las}, KindCase{"damagedLaz", ".laz", "?", FileKind::Las},
        KindCase{"damagedJson", ".GeoJSON", "]", FileKind::GeoJson},
        KindCase{"tableUnderAnotherName", ".las", "lon;lat\n7,5;51,5\n", FileKind::PointText},
        KindCase{"numbersUnderAnotherName", ".png", "1 2 3\n4 5 6\n", FileKind::PointText},
        KindCase{"tableWithoutCoordinates", ".dat", "name,age\nEve,30\n", FileKind::Unknown},
        KindCase{"worldFile", ".wld", "0.5\n0\n0\n-0.5\n5\n6\n", FileKind::Unknown},
        KindCase{
            "shapesUnderAnotherName", ".txt",
            FileBytes(true).Put<std::int32_t>(9994).FillTo(28).PutText(std::string_view("\xE8\x03\0\0", 4)).Content(),
            FileKind::ShapeFile},
        KindCase{"tiffUnderAnotherName", ".png", std::string("MM\0+", 4), FileKind::Tiff},
        KindCase{"damagedTiff", ".TIF", "?", FileKind::Tiff},
        KindCase{"packageUnderAnotherName", ".db", std::string("SQLite format 3\0", 16), FileKind::GeoPackage},
        KindCase{"damagedPackage", ".gpkg", "?", FileKind::GeoPackage},
        KindCase{"damagedShapes", ".SHP", "?", FileKind::ShapeFile},
        KindCase{"damagedTable", ".csv", "?", FileKind::PointText},
        KindCase{"wordThatBeginsLikePly", ".txt", "plywood", FileKind::Unknown}),
    [](const auto& tested) { return std::string(tested.param.name); });

// The viewer's users keep their data under names in their own languages.
TEST(OpenFile, NameOutsideAnyCodePage_OpensAndIsReported) {
    const std::filesystem::path ending(u8"_Höhe_高さ.ply");
    const TemporaryFile good(ending, "ply\nformat ascii 1.0\nelement vertex 1\nproperty int x\nproperty int y\n"
                                     "property int z\nend_header\n1 2 3\n");
    EXPECT_EQ(OpenPointCloud(good.Path()).positions.at(0), (Position{1, 2, 3}));

    const TemporaryFile bad(ending, "ply\n");
    try {
        OpenPointCloud(bad.Path());
        FAIL() << "a file without a header was accepted";
    } catch (const FileError& error) {
        const std::u8string name = ending.u8string();
        EXPECT_NE(std::string(error.what()).find(std::string(name.begin(), name.end())), std::string::npos);
    }
}

std::string ComplaintAbout(const std::filesystem::path& path) {
    try {
        OpenPointCloud(path);
    } catch (const FileError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(OpenFile, WhatCannotBeOpened_IsToldApart) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    EXPECT_NE(ComplaintAbout(folder / "orrin_viewer_no_such_file.las").find("no such file"), std::string::npos);
    EXPECT_NE(ComplaintAbout(folder).find("is a folder"), std::string::npos);
    EXPECT_NE(Complaint(OpenPointCloud, "", ".las").find("empty"), std::string::npos);
    EXPECT_NE(Complaint(OpenPointCloud, "{}", ".las").find("not a point cloud"), std::string::npos);
    EXPECT_NE(Complaint(OpenVectorLayers, "LASF", ".json").find("not a layer of vectors"), std::string::npos);
    EXPECT_NE(Complaint(OpenVectorLayers, "PDF", ".json").find("not valid JSON"), std::string::npos);
}

// "Not a point cloud" sends people to look for a fault of their file, where it only needs another program first.
TEST(OpenFile, KnownKindThatIsNotRead_IsNamedWithWhatConvertsIt) {
    EXPECT_NE(Complaint(OpenPointCloud, "<?xml version='1.0'?>\n<kml>", ".xml").find("KML file"), std::string::npos);
    EXPECT_NE(Complaint(OpenPointCloud, "<?xml version='1.0'?>\n<kml>", ".xml").find("ogr2ogr"), std::string::npos);
    EXPECT_NE(Complaint(OpenPointCloud, "# .PCD v0.7\nVERSION 0.7\n", ".txt").find("pdal translate"),
              std::string::npos);
    EXPECT_NE(Complaint(OpenPointCloud, "\x89HDF\r\n\x1A\n", ".nc").find("gdal_translate"), std::string::npos);
    EXPECT_NE(Complaint(OpenPointCloud, "?", ".dbf").find("ending .shp"), std::string::npos);
}

} // namespace
} // namespace OrrinViewer
