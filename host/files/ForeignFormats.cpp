#include "ForeignFormats.h"

#include "TextParsing.h"

#include <array>

namespace OrrinViewer {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kVector = "ogr2ogr -f GeoJSON out.geojson in";
constexpr std::string_view kImage = "gdal_translate -of GTiff in out.tif";
constexpr std::string_view kPoints = "pdal translate in out.las";

struct Signature {
    std::size_t at;
    std::string_view bytes;
    std::string_view what;
    std::string_view converter;
};

constexpr std::array kSignatures = {
    Signature{0, "# .PCD"sv, "a PCD point cloud", kPoints},
    Signature{0, "ASTM-E57"sv, "an E57 point cloud", kPoints},
    Signature{0, "fgb\x03"sv, "a FlatGeobuf file", kVector},
    Signature{0, "PAR1"sv, "a Parquet file", kVector},
    Signature{0, "ARROW1"sv, "an Arrow file", kVector},
    Signature{0, "AC10"sv, "a DWG drawing",
              "a CAD program that writes DXF, then ogr2ogr -f GeoJSON out.geojson in.dxf"},
    Signature{0, "AutoCAD Binary DXF"sv, "a DXF drawing", kVector},
    Signature{0, "!table"sv, "a MapInfo table", kVector},
    Signature{0, "CDF\x01"sv, "a netCDF file", kImage},
    Signature{0, "CDF\x02"sv, "a netCDF file", kImage},
    Signature{0, "\x89HDF\r\n"sv, "an HDF5 or netCDF file", kImage},
    Signature{0, "GRIB"sv, "a GRIB file", kImage},
    Signature{0, "\0\0\0\x0CjP  "sv, "a JPEG 2000 image", kImage},
    Signature{0, "\xFF\x4F\xFF\x51"sv, "a JPEG 2000 image", kImage},
    Signature{0, "msid"sv, "a MrSID image", kImage},
    Signature{0, "GIF8"sv, "a GIF image", kImage},
    Signature{0, "BM"sv, "a bitmap image", kImage},
    Signature{8, "WEBP"sv, "a WebP image", kImage},
    Signature{0, "EHFA_HEADER_TAG"sv, "an ERDAS Imagine image", kImage},
    Signature{0, "<PCIDSK"sv, "a PCIDSK image", kImage},
    Signature{0, "PK\x03\x04"sv, "a ZIP archive (KMZ, a packed shapefile, a spreadsheet)", "unpacking it"},
    Signature{0, "\x1F\x8B"sv, "compressed by gzip", "unpacking it by gzip -d"},
    Signature{0, "%PDF"sv, "a PDF document", kVector},
};

struct Ending {
    std::string_view ending;
    std::string_view what;
    std::string_view converter;
};

constexpr std::array kEndings = {
    Ending{".kml", "a KML file", kVector},
    Ending{".gpx", "a GPX file", kVector},
    Ending{".gml", "a GML file", kVector},
    Ending{".dxf", "a DXF drawing", kVector},
    Ending{".tab", "a MapInfo table", kVector},
    Ending{".mif", "a MapInfo exchange file", kVector},
    Ending{".osm", "an OpenStreetMap file", kVector},
    Ending{".pbf", "an OpenStreetMap file", kVector},
    Ending{".pcd", "a PCD point cloud", kPoints},
    Ending{".e57", "an E57 point cloud", kPoints},
    Ending{".ecw", "an ECW image", kImage},
    Ending{".jp2", "a JPEG 2000 image", kImage},
    Ending{".img", "an ERDAS Imagine image", kImage},
    Ending{".vrt", "a virtual raster", kImage},
    Ending{".nc", "a netCDF file", kImage},
    Ending{".hgt", "a tile of SRTM elevations", kImage},
    Ending{".dbf", "the table of a shapefile", "opening the file with the ending .shp"},
    Ending{".prj", "the coordinate system of a shapefile", "opening the file with the ending .shp"},
    Ending{".cpg", "the code page of a shapefile", "opening the file with the ending .shp"},
};

/// What an XML or DXF file is, by a word near its beginning.
constexpr std::array kWords = {
    Ending{"<kml", "a KML file", kVector},
    Ending{"<gpx", "a GPX file", kVector},
    Ending{"<osm", "an OpenStreetMap file", kVector},
    Ending{"opengis.net/gml", "a GML file", kVector},
    Ending{"<VRTDataset", "a virtual raster", kImage},
    Ending{"<svg", "an SVG drawing", "a program that writes DXF, then ogr2ogr -f GeoJSON out.geojson in.dxf"},
};

std::string Describe(std::string_view what, std::string_view converter) {
    return "is " + std::string(what) + ", which is not read; what helps is: " + std::string(converter);
}

} // namespace

std::string DescribeForeignFormat(std::string_view beginning, const std::filesystem::path& path) {
    for (const Signature& signature : kSignatures) {
        if (beginning.size() >= signature.at && beginning.substr(signature.at).starts_with(signature.bytes)) {
            return Describe(signature.what, signature.converter);
        }
    }
    for (const Ending& word : kWords) {
        if (beginning.find(word.ending) != std::string_view::npos) {
            return Describe(word.what, word.converter);
        }
    }
    std::string_view rest = beginning;
    if (TakeWord(rest) == "0" && rest.substr(0, 16).find("SECTION") != std::string_view::npos) {
        return Describe("a DXF drawing", kVector);
    }
    const std::u8string extension = path.extension().u8string();
    const std::string ending = LowerCase(std::string(extension.begin(), extension.end()));
    for (const Ending& known : kEndings) {
        if (ending == known.ending) {
            return Describe(known.what, known.converter);
        }
    }
    return {};
}

} // namespace OrrinViewer
