#pragma once

#include "LazChunk.h"
#include "RandomAccessFile.h"
#include "data/ReadingProgress.h"

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
    std::vector<std::uint8_t> items;  ///< the record that tells how the points are compressed
    std::vector<std::uint8_t> octree; ///< the record that tells where an octree's index is; empty without one
};

/// Decompresses the point records of a LAZ file, chunk by chunk: from the first to the last, those of an octree (COPC)
/// level by level, so that the first of them are spread over all. Throws FileError, with the chunk where it is one's.
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
        std::size_t number = 0; ///< in the file, from 1 on
        int level = 0;
    };

    void ReadItems(const LazPlan& plan);
    void ReadChunkTable(const LazPlan& plan);
    void OrderByLevels(const std::vector<std::uint8_t>& octree);
    void OpenNextChunk();

    RandomAccessFile m_file;
    std::shared_ptr<ReadingProgress> m_progress = ReadingProgress::OfThisThread();
    LazRecordLayout m_layout;
    std::uint32_t m_chunkSize = 0;
    std::vector<Entry> m_entries;
    std::size_t m_next = 0; ///< chunk to be opened
    std::uint64_t m_leftInChunk = 0;
    std::vector<std::uint8_t> m_bytes; ///< of the chunk that is open
    std::unique_ptr<LazChunk> m_chunk;
};

} // namespace OrrinViewer
