#include "GeoPackageFile.h"

#include "ByteOrder.h"
#include "DiskPath.h"
#include "FileError.h"
#include "InputFile.h"
#include "TextEncoding.h"
#include "WkbGeometry.h"
#include "data/ReadingProgress.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include <sqlite3.h>

namespace OrrinViewer {

namespace {

struct CloseDatabase {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
};

struct FinishStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

#ifdef _WIN32
constexpr const char* kFileSystem = "win32-longpath"; ///< the usual one takes no more than 1,000 bytes
#else
constexpr const char* kFileSystem = nullptr;
#endif

/// An address by which the database is opened as a file that nobody changes, so that neither locks nor journals are
/// made beside it.
std::string AddressOf(const std::filesystem::path& path) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const std::u8string name = DiskPath(std::filesystem::absolute(path)).u8string();
    std::string address = "file:";
    for (const char8_t byte : name) {
        const auto character = static_cast<char>(byte);
        const bool isPlain = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                             (character >= '0' && character <= '9') ||
                             std::string_view("/:._-").find(character) != std::string_view::npos;
        if (isPlain) {
            address += character;
        } else {
            address += '%';
            address += kDigits[byte >> 4];
            address += kDigits[byte & 0xF];
        }
    }
    return address + "?immutable=1";
}

/// A name as SQL quotes it.
std::string Quote(const std::string& name) {
    std::string quoted = "\"";
    for (const char character : name) {
        quoted += character;
        if (character == '"') {
            quoted += '"';
        }
    }
    return quoted + '"';
}

class Database {
public:
    explicit Database(const std::filesystem::path& path) : m_path(path), m_size(InputFile(path).Size()) {
        sqlite3* database = nullptr;
        const int result = sqlite3_open_v2(AddressOf(path).c_str(), &database,
                                           SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, kFileSystem);
        m_database.reset(database);
        if (result != SQLITE_OK) {
            Fail("cannot be opened as a database");
        }
        sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
        // A layer may be a view, which is a program. It may take no longer than reading the file some times over, and
        // make no value that is larger than it.
        constexpr int kSteps = 10'000;
        m_stepsLeft = 5'000 + m_size / 500;
        sqlite3_progress_handler(database, kSteps, &CountSteps, this);
        constexpr std::uint64_t kLargestValue = 1'000'000'000;
        sqlite3_limit(database, SQLITE_LIMIT_LENGTH,
                      static_cast<int>(std::clamp<std::uint64_t>(m_size, 65'536, kLargestValue)));
    }

    sqlite3* Handle() const { return m_database.get(); }
    const std::filesystem::path& Path() const { return m_path; }
    ReadingProgress& Progress() const { return *m_progress; }

    [[noreturn]] void Fail(const std::string& problem) const {
        const char* reason = m_database ? sqlite3_errmsg(m_database.get()) : "there is not enough memory";
        throw FileError(m_path, problem + ": " + QuoteForMessage(reason));
    }

private:
    static int CountSteps(void* self) {
        auto& database = *static_cast<Database*>(self);
        return database.m_stepsLeft-- == 0 || database.m_progress->IsStopped() ? 1 : 0; // ends the statement
    }

    std::filesystem::path m_path;
    std::uint64_t m_size;
    std::uint64_t m_stepsLeft = 0;
    std::shared_ptr<ReadingProgress> m_progress = ReadingProgress::OfThisThread();
    std::unique_ptr<sqlite3, CloseDatabase> m_database;
};

/// A question to the database, whose answer is read row by row.
class Query {
public:
    Query(const Database& database, const std::string& text) : m_database(database) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(database.Handle(), text.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            database.Fail("is a damaged database, or none of a GeoPackage");
        }
        m_statement.reset(statement);
    }

    void Bind(std::int64_t value) { sqlite3_bind_int64(m_statement.get(), 1, value); }

    bool Next() {
        const int result = sqlite3_step(m_statement.get());
        m_database.Progress().GoOn();
        if (result != SQLITE_ROW && result != SQLITE_DONE) {
            m_database.Fail("is a damaged database");
        }
        return result == SQLITE_ROW;
    }

    int CountColumns() const { return sqlite3_column_count(m_statement.get()); }
    std::string NameOf(int column) const {
        const char* name = sqlite3_column_name(m_statement.get(), column);
        return name != nullptr ? ToUtf8(name, TextEncoding::Utf8) : std::string();
    }
    bool IsBlob(int column) const { return sqlite3_column_type(m_statement.get(), column) == SQLITE_BLOB; }
    std::int64_t Number(int column) { return sqlite3_column_int64(m_statement.get(), column); }

    std::string Text(int column) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement.get(), column));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column));
        return text != nullptr ? ToUtf8({text, size}, TextEncoding::Utf8) : std::string();
    }

    std::span<const std::uint8_t> Blob(int column) {
        const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(m_statement.get(), column));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column));
        return {bytes, bytes != nullptr ? size : 0};
    }

private:
    const Database& m_database;
    std::unique_ptr<sqlite3_stmt, FinishStatement> m_statement;
};

/// A geometry as its table has it: in well-known binary behind a header of its own. Nothing for one without shapes.
std::optional<std::span<const std::uint8_t>> WkbOf(std::span<const std::uint8_t> blob) {
    constexpr std::size_t kHeaderBytes = 8;
    constexpr std::size_t kEnvelopeBytes[] = {0, 32, 48, 48, 64};
    if (blob.size() < kHeaderBytes || blob[0] != 'G' || blob[1] != 'P') {
        throw WkbFault("has a geometry that does not begin with 'GP'");
    }
    const std::size_t envelope = blob[3] >> 1 & 7U;
    const bool isEmpty = (blob[3] & 0x10) != 0;
    const bool isExtended = (blob[3] & 0x20) != 0;
    if (envelope >= std::size(kEnvelopeBytes) || isExtended || blob.size() < kHeaderBytes + kEnvelopeBytes[envelope]) {
        throw WkbFault("has a geometry with a header that is not known");
    }
    if (isEmpty) {
        return std::nullopt;
    }
    return blob.subspan(kHeaderBytes + kEnvelopeBytes[envelope]);
}

std::string DefinitionOf(const Database& database, std::int64_t system) {
    Query query(database, "SELECT definition FROM gpkg_spatial_ref_sys WHERE srs_id = ?");
    query.Bind(system);
    const std::string definition = query.Next() ? query.Text(0) : std::string();
    return definition == "undefined" ? std::string() : definition;
}

struct LayerEntry {
    std::string table;
    std::string geometryColumn;
    std::int64_t system = 0;
};

std::vector<LayerEntry> ListLayers(const Database& database) {
    Query tables(database,
                 "SELECT count(*) FROM sqlite_master WHERE name IN ('gpkg_contents', 'gpkg_geometry_columns')");
    if (!tables.Next() || tables.Number(0) != 2) {
        throw FileError(database.Path(),
                        "is a database without layers of features; ogr2ogr -f GPKG out.gpkg in makes a GeoPackage of "
                        "other databases, gdal_translate -of GTiff in out.tif an image of one with tiles");
    }
    Query query(database, "SELECT g.table_name, g.column_name, g.srs_id FROM gpkg_geometry_columns g "
                          "JOIN gpkg_contents c ON c.table_name = g.table_name WHERE c.data_type = 'features'");
    std::vector<LayerEntry> layers;
    while (query.Next()) {
        layers.push_back({query.Text(0), query.Text(1), query.Number(2)});
    }
    return layers;
}

/// How many rows a table has at most: its numbers may have gaps. 0 where that takes looking at all of them.
std::uint64_t CountRows(const Database& database, const std::string& table) {
    sqlite3_stmt* prepared = nullptr;
    const std::string text = "SELECT max(rowid) FROM " + Quote(table);
    const int result = sqlite3_prepare_v2(database.Handle(), text.c_str(), -1, &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, FinishStatement> statement(prepared);
    if (result != SQLITE_OK || sqlite3_step(prepared) != SQLITE_ROW) {
        return 0; // a view, or damaged, which shows when it is read
    }
    return static_cast<std::uint64_t>(std::max<std::int64_t>(sqlite3_column_int64(prepared, 0), 0));
}

VectorLayer ReadLayer(const Database& database, const LayerEntry& entry) {
    ReadingProgress& progress = database.Progress();
    progress.Begin("reading", "features");
    const std::uint64_t rowCount = CountRows(database, entry.table);
    VectorLayer layer;
    layer.name = entry.table;
    layer.wkt = DefinitionOf(database, entry.system);
    Query rows(database, "SELECT * FROM " + Quote(entry.table));
    std::optional<int> geometryColumn;
    std::vector<std::string> names;
    for (int column = 0; column < rows.CountColumns(); ++column) {
        names.push_back(rows.NameOf(column));
        if (names.back() == entry.geometryColumn) {
            geometryColumn = column;
        }
    }
    const std::string name = "layer " + QuoteForMessage(entry.table);
    if (!geometryColumn) {
        throw FileError(database.Path(), name + " has no column " + QuoteForMessage(entry.geometryColumn));
    }
    for (std::uint64_t row = 1; rows.Next(); ++row) {
        progress.Count(layer.features.size());
        progress.Reach(row, rowCount);
        VectorFeature feature;
        try {
            const std::span<const std::uint8_t> blob = rows.Blob(*geometryColumn);
            const auto shapes = blob.empty() ? std::nullopt : WkbOf(blob);
            layer.hasElevations = (shapes && AddWkbShapes(*shapes, feature)) || layer.hasElevations;
        } catch (const WkbFault& fault) {
            throw FileError(database.Path(), name + ", row " + std::to_string(row) + " " + fault.what());
        }
        if (feature.points.empty() && feature.lines.empty() && feature.polygons.empty()) {
            ++layer.skippedFeatures;
            continue;
        }
        feature.properties.reserve(names.size());
        for (int column = 0; column < rows.CountColumns(); ++column) {
            if (column != *geometryColumn && !rows.IsBlob(column)) {
                feature.properties.emplace_back(names[static_cast<std::size_t>(column)], rows.Text(column));
            }
        }
        layer.extent.Include(feature.extent);
        layer.features.push_back(std::move(feature));
    }
    return layer;
}

} // namespace

bool BeginsLikeGeoPackage(std::string_view beginning) {
    return beginning.starts_with(std::string_view("SQLite format 3\0", 16));
}

std::vector<VectorLayer> ReadGeoPackageFile(const std::filesystem::path& path) {
    const Database database(path);
    std::vector<VectorLayer> layers;
    for (const LayerEntry& entry : ListLayers(database)) {
        layers.push_back(ReadLayer(database, entry));
    }
    return layers;
}

} // namespace OrrinViewer
