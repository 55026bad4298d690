#pragma once

#include "ChunkFile.h"
#include "CloudChunks.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace KTR {

/// What is known of a chunk wherever its points are. Its records are kept in pieces, of which each holds three times as
/// many as those before it together: the first ones of all chunks are an overview of the cloud.
struct StoredChunk {
    glm::dvec3 origin{0.0};
    CloudBox box;
    unsigned int count = 0;
    unsigned int pieces = 1;

    /// The first record of a piece; of the one behind the last: all records.
    unsigned int PieceBegin(unsigned int piece) const { return piece == 0 ? 0 : count >> (2 * (pieces - piece)); }
    unsigned int PieceCount(unsigned int piece) const { return PieceBegin(piece + 1) - PieceBegin(piece); }
};

constexpr unsigned int kMostPieces = 4;

struct PieceId {
    unsigned int chunk = 0;
    unsigned int piece = 0;
    bool operator==(const PieceId&) const = default;
    bool operator<(const PieceId& other) const {
        return chunk != other.chunk ? chunk < other.chunk : piece < other.piece;
    }
};

using PieceRecords = std::shared_ptr<const std::vector<PointCloudRecord>>;

/// The chunks of a cloud: as many of their points in main memory as the limit allows, the others in a temporary file
/// that is made when the first of them has to go there. A point is written once and never changes.
///
/// One thread adds, another one, the view's, looks and says what it wants, and a third, the store's own, fetches that
/// from the file. Nobody waits for the file but who adds and who fetches.
class ChunkStore {
public:
    struct Limits {
        unsigned long long memoryBytes = 0;
        unsigned long long fileBytes = 0;
        CString folder; ///< of the file; empty: the user's temporary one
    };

    explicit ChunkStore(const Limits& limits) : m_limits(limits) {}
    ~ChunkStore();
    ChunkStore(const ChunkStore&) = delete;
    ChunkStore& operator=(const ChunkStore&) = delete;

    /// S_OK; E_OUTOFMEMORY, or why the file could not take what there was no memory for. Then it is not added.
    long Add(CloudChunk&& chunk);
    /// Sets another limit; it is kept to from the next addition or fetching on.
    void SetMemoryLimit(unsigned long long bytes);

    /// Appends the chunks that `known` does not have yet.
    void AppendNew(std::vector<StoredChunk>& known) const;
    /// Of a chunk's pieces; bit 0 for the first.
    struct Pieces {
        unsigned char inMemory = 0;
        unsigned char lost = 0; ///< the file does not give them back
    };
    void GetPieces(std::vector<Pieces>& ofChunks) const;
    /// A piece's records if they are in main memory, or null. They live as long as the pointer.
    PieceRecords Find(PieceId piece);
    /// What a view waits for, the most urgent first. It is fetched as far as there is memory, and then dropped only for
    /// what is more urgent. Replaces what was wanted before for `who`; nothing ends it.
    void Want(const void* who, std::vector<PieceId> pieces);

    unsigned long long GetMemoryBytes() const;
    unsigned long long GetFileBytes() const;
    /// S_OK, or why the file failed last.
    long GetResult() const;

private:
    static constexpr unsigned int kNotWanted = 0xFFFFFFFF;

    struct Piece {
        PieceRecords records; ///< null where they are only in the file
        unsigned long long fileAt = 0;
        unsigned long long lastUse = 0;
        unsigned int place = kNotWanted; ///< among what is wanted; the first is 1
        bool onFile = false;
        bool busy = false; ///< being written or read, while nobody holds the lock
    };
    struct Entry {
        StoredChunk chunk;
        std::vector<Piece> pieces;
        Pieces bits;
    };
    using Lock = std::unique_lock<std::mutex>;

    Piece& At(PieceId id) { return m_entries[id.chunk].pieces[id.piece]; }
    std::size_t BytesOf(PieceId id) const;
    std::optional<PieceId> FindVictim(unsigned int kept) const;
    bool DropOne(Lock& lock, unsigned int kept);
    long WriteToFile(Lock& lock, PieceId id);
    long FailToWrite(long result);
    std::optional<PieceId> FindMissing() const;
    void FetchWanted();
    void Fetch(Lock& lock, PieceId id);
    bool MakeRoom(Lock& lock, std::size_t bytes, unsigned int kept);
    bool HoldsWhatIsOnFile() const;

    Limits m_limits;
    ChunkFile m_file;
    mutable std::mutex m_mutex; ///< of all that follows
    std::condition_variable m_changed;
    std::vector<Entry> m_entries;
    std::map<const void*, std::vector<PieceId>> m_wanted;
    unsigned long long m_memoryBytes = 0;
    unsigned long long m_fileBytes = 0;
    unsigned long long m_uses = 0;
    long m_result = 0;
    bool m_isFileFull = false; ///< or broken: what is not there cannot be dropped any more
    bool m_stops = false;
    std::thread m_fetching;
};

} // namespace KTR
