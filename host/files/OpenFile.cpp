#include "OpenFile.h"

#include "AsciiGridFile.h"
#include "FileError.h"
#include "ForeignFormats.h"
#include "GeoJsonFile.h"
#include "GeoPackageFile.h"
#include "ImageFile.h"
#include "InputFile.h"
#include "LasFile.h"
#include "PlyFile.h"
#include "PointTextFile.h"
#include "ShapeFile.h"
#include "TextParsing.h"
#include "TiffFile.h"
#include "WorldFile.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>

namespace OrrinViewer {

namespace {

/// Enough for the names of many columns and a few lines below them.
constexpr std::uint64_t kBeginningBytes = 4096;

/// Of a JSON document.
bool BeginsLikeProject(std::string_view beginning) {
    constexpr std::string_view kMember = "\"format\"";
    const std::size_t member = beginning.find(kMember);
    if (member == std::string_view::npos) {
        return false;
    }
    const std::size_t value = beginning.find_first_not_of(": \t\r\n", member + kMember.size());
    return value != std::string_view::npos && beginning.substr(value).starts_with('"' + std::string(kProjectFormat));
}

FileKind KindOfContent(std::string_view beginning) {
    if (beginning.starts_with("LASF")) {
        return FileKind::Las;
    }
    if (beginning.starts_with("ply\n") || beginning.starts_with("ply\r")) {
        return FileKind::Ply;
    }
    if (BeginsLikeAsciiGrid(beginning)) {
        return FileKind::AsciiGrid;
    }
    if (BeginsLikeImage(beginning)) {
        return FileKind::Image;
    }
    if (BeginsLikeTiff(beginning)) {
        return FileKind::Tiff;
    }
    if (BeginsLikeGeoPackage(beginning)) {
        return FileKind::GeoPackage;
    }
    if (BeginsLikeShapeFile(beginning)) {
        return FileKind::ShapeFile;
    }
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (beginning.starts_with(kByteOrderMark)) {
        beginning.remove_prefix(kByteOrderMark.size());
    }
    const std::size_t first = beginning.find_first_not_of(" \t\r\n");
    if (first != std::string_view::npos && beginning[first] == '{') {
        return BeginsLikeProject(beginning) ? FileKind::Project : FileKind::GeoJson;
    }
    return BeginsLikePointText(beginning) ? FileKind::PointText : FileKind::Unknown;
}

FileKind KindOfName(const std::filesystem::path& path) {
    const std::u8string extension = path.extension().u8string();
    const std::string ending = LowerCase(std::string(extension.begin(), extension.end()));
    if (ending == ".las" || ending == ".laz") {
        return FileKind::Las;
    }
    if (ending == ".ply") {
        return FileKind::Ply;
    }
    if (ending == ".asc") {
        return FileKind::AsciiGrid;
    }
    for (const char* imageEnding : {".png", ".jpg", ".jpeg"}) {
        if (ending == imageEnding) {
            return FileKind::Image;
        }
    }
    if (ending == ".tif" || ending == ".tiff") {
        return FileKind::Tiff;
    }
    if (ending == ".gpkg") {
        return FileKind::GeoPackage;
    }
    if (ending == ".shp") {
        return FileKind::ShapeFile;
    }
    for (const char* textEnding : {".csv", ".xyz", ".pts"}) {
        if (ending == textEnding) {
            return FileKind::PointText;
        }
    }
    return ending == ".geojson" || ending == ".json" ? FileKind::GeoJson : FileKind::Unknown;
}

std::string ReadBeginning(const std::filesystem::path& path) {
    InputFile file(path);
    std::string beginning(static_cast<std::size_t>(std::min(kBeginningBytes, file.Size())), '\0');
    file.Read({reinterpret_cast<std::uint8_t*>(beginning.data()), beginning.size()});
    return beginning;
}

/// Names a file of a kind that is known elsewhere; for others tells what it is not.
[[noreturn]] void RefuseKind(const std::filesystem::path& path, const char* problem) {
    const std::string foreign = DescribeForeignFormat(ReadBeginning(path), path);
    throw FileError(path, foreign.empty() ? problem : foreign);
}

/// The index of a shapefile begins like the shapes.
std::filesystem::path ShapesOf(const std::filesystem::path& path) {
    const std::u8string extension = path.extension().u8string();
    std::filesystem::path shapes = path;
    return LowerCase(std::string(extension.begin(), extension.end())) == ".shx" ? shapes.replace_extension(".shp")
                                                                                : shapes;
}

} // namespace

FileKind DetectKind(const std::filesystem::path& path) {
    const std::string beginning = ReadBeginning(path);
    const FileKind kind = KindOfContent(beginning);
    // A foreign format may have an ending that some use for texts.
    const bool isForeign = kind == FileKind::Unknown && !DescribeForeignFormat(beginning, path).empty();
    return kind != FileKind::Unknown || isForeign ? kind : KindOfName(path);
}

std::unique_ptr<CloudReader> OpenCloudReader(const std::filesystem::path& path) {
    switch (DetectKind(path)) {
    case FileKind::Las:
        return OpenLasFile(path);
    case FileKind::Ply:
        return OpenPlyFile(path);
    case FileKind::PointText:
        return OpenPointTextFile(path);
    default:
        RefuseKind(path, "is not a point cloud; LAS, LAZ and PLY files and texts (XYZ, CSV) are known");
    }
}

PointCloud OpenPointCloud(const std::filesystem::path& path) {
    try {
        return ReadAllPoints(*OpenCloudReader(path));
    } catch (const std::bad_alloc&) {
        throw FileError(path, "there is not enough memory for its points");
    }
}

std::optional<Mesh> OpenMesh(const std::filesystem::path& path) {
    if (DetectKind(path) != FileKind::Ply) {
        throw FileError(path, "is not a mesh; PLY files are known");
    }
    try {
        return ReadPlyMesh(path);
    } catch (const std::bad_alloc&) {
        throw FileError(path, "there is not enough memory for its faces");
    }
}

bool IsVectorKind(FileKind kind) {
    return kind == FileKind::GeoJson || kind == FileKind::ShapeFile || kind == FileKind::GeoPackage;
}

std::vector<VectorLayer> OpenVectorLayers(const std::filesystem::path& path) {
    std::vector<VectorLayer> layers;
    try {
        switch (DetectKind(path)) {
        case FileKind::GeoJson:
            layers.push_back(ReadGeoJsonFile(path));
            return layers;
        case FileKind::ShapeFile:
            layers.push_back(ReadShapeFile(ShapesOf(path)));
            return layers;
        case FileKind::GeoPackage:
            return ReadGeoPackageFile(path);
        default:
            RefuseKind(path, "is not a layer of vectors; GeoJSON files, shapefiles and GeoPackages are known");
        }
    } catch (const std::bad_alloc&) {
        throw FileError(path, "there is not enough memory for its features");
    }
}

ElevationGrid OpenElevationGrid(const std::filesystem::path& path) {
    if (DetectKind(path) != FileKind::AsciiGrid) {
        RefuseKind(path, "is not a grid of elevations; ESRI ASCII grids are known");
    }
    try {
        return ReadAsciiGridFile(path);
    } catch (const std::bad_alloc&) {
        throw FileError(path, "there is not enough memory for its cells");
    }
}

Raster OpenRaster(const std::filesystem::path& path) {
    if (DetectKind(path) != FileKind::Image) {
        RefuseKind(path, "is not an image; PNG and JPEG files are known");
    }
    try {
        Raster raster;
        raster.image = ReadImageFile(path);
        raster.pixelToMap = ReadWorldFile(FindWorldFile(path));
        return raster;
    } catch (const std::bad_alloc&) {
        throw FileError(path, "there is not enough memory for its pixels");
    }
}

} // namespace OrrinViewer
