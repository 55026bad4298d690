#pragma once

#include "LazChunk.h"
#include "RandomAccessFile.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace OrrinViewer {

/// What a compressed file's header says.
struct LazPlan {
    std::uint64_t pointsAt = 0;
    std::uint64_t pointCount = 0;
    std::size_t recordBytes = 0;
    std::size_t pointFormat = 0;
    std::vector<std::uint8_t> items; ///< the record that tells how the points are compressed
};

/// Decompresses the point records of a LAZ file from the first to the last, chunk by chunk; those of a COPC file too,
/// which is such a file with an octree's order and index. Throws FileError, with the chunk where it is one's.
class LazRecords {
public:
    LazRecords(const std::filesystem::path& path, const LazPlan& plan);

    /// Fills in the next records, all of them whole.
    void Read(std::span<std::uint8_t> records);

private:
    struct Entry {
        std::uint64_t at = 0;
        std::uint64_t bytes = 0;
        std::uint64_t points = 0;
    };

    void ReadItems(const LazPlan& plan);
    void ReadChunkTable(const LazPlan& plan);
    void OpenNextChunk();

    RandomAccessFile m_file;
    LazRecordLayout m_layout;
    std::uint32_t m_chunkSize = 0;
    std::vector<Entry> m_entries;
    std::size_t m_next = 0; ///< chunk to be opened
    std::uint64_t m_leftInChunk = 0;
    std::vector<std::uint8_t> m_bytes; ///< of the chunk that is open
    std::unique_ptr<LazChunk> m_chunk;
};

} // namespace OrrinViewer
