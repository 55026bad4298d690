#include "OpenFile.h"

#include "AsciiGridFile.h"
#include "FileError.h"
#include "GeoJsonFile.h"
#include "ImageFile.h"
#include "InputFile.h"
#include "LasFile.h"
#include "PlyFile.h"
#include "TextParsing.h"
#include "WorldFile.h"

#include <algorithm>
#include <new>
#include <string>
#include <string_view>

namespace OrrinViewer {

namespace {

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
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (beginning.starts_with(kByteOrderMark)) {
        beginning.remove_prefix(kByteOrderMark.size());
    }
    const std::size_t first = beginning.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && beginning[first] == '{' ? FileKind::GeoJson : FileKind::Unknown;
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
    for (const char* imageEnding : {".png", ".jpg", ".jpeg", ".tif", ".tiff"}) {
        if (ending == imageEnding) {
            return FileKind::Image;
        }
    }
    return ending == ".geojson" || ending == ".json" ? FileKind::GeoJson : FileKind::Unknown;
}

} // namespace

FileKind DetectKind(const std::filesystem::path& path) {
    InputFile file(path);
    std::string beginning(static_cast<std::size_t>(std::min<std::uint64_t>(256, file.Size())), '\0');
    file.Read({reinterpret_cast<std::uint8_t*>(beginning.data()), beginning.size()});
    const FileKind kind = KindOfContent(beginning);
    return kind != FileKind::Unknown ? kind : KindOfName(path);
}

std::unique_ptr<CloudReader> OpenCloudReader(const std::filesystem::path& path) {
    switch (DetectKind(path)) {
    case FileKind::Las:
        return OpenLasFile(path);
    case FileKind::Ply:
        return OpenPlyFile(path);
    default:
        throw FileError(path, "is not a point cloud; LAS and PLY files are known");
    }
}

PointCloud OpenPointCloud(const std::filesystem::path& path) {
    try {
        return ReadAllPoints(*OpenCloudReader(path));
    } catch (const std::bad_alloc&) {
        throw FileError(path, "there is not enough memory for its points");
    }
}

VectorLayer OpenVectorLayer(const std::filesystem::path& path) {
    if (DetectKind(path) != FileKind::GeoJson) {
        throw FileError(path, "is not a layer of vectors; GeoJSON files are known");
    }
    return ReadGeoJsonFile(path);
}

ElevationGrid OpenElevationGrid(const std::filesystem::path& path) {
    if (DetectKind(path) != FileKind::AsciiGrid) {
        throw FileError(path, "is not a grid of elevations; ESRI ASCII grids are known");
    }
    try {
        return ReadAsciiGridFile(path);
    } catch (const std::bad_alloc&) {
        throw FileError(path, "there is not enough memory for its cells");
    }
}

Raster OpenRaster(const std::filesystem::path& path) {
    if (DetectKind(path) != FileKind::Image) {
        throw FileError(path, "is not an image; PNG and JPEG files are known");
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
