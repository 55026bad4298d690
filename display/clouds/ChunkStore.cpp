#include "ChunkStore.h"

#include "../platform/Border.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace KTR {

namespace {

/// Chunks of fewer points are not worth pieces.
constexpr std::size_t kLeastPointsInPieces = 4'096;

void SetBit(unsigned char& bits, unsigned int piece, bool on) {
    const unsigned int bit = 1U << piece;
    bits = static_cast<unsigned char>(on ? bits | bit : bits & ~bit);
}

} // namespace

ChunkStore::~ChunkStore() {
    {
        const std::lock_guard lock(m_mutex);
        m_stops = true;
    }
    m_changed.notify_all();
    if (m_fetching.joinable()) {
        m_fetching.join();
    }
}

long ChunkStore::Add(CloudChunk&& chunk) {
    Entry entry;
    StoredChunk& stored = entry.chunk;
    stored.origin = chunk.origin;
    stored.box = chunk.box;
    stored.count = static_cast<unsigned int>(chunk.records.size());
    stored.pieces = chunk.spread && chunk.records.size() >= kLeastPointsInPieces ? kMostPieces : 1;
    const std::size_t bytes = chunk.records.size() * sizeof(PointCloudRecord);
    try {
        entry.pieces.resize(stored.pieces);
        for (unsigned int piece = 0; piece < stored.pieces; ++piece) {
            const auto begin = chunk.records.begin() + stored.PieceBegin(piece);
            entry.pieces[piece].records =
                std::make_shared<const std::vector<PointCloudRecord>>(begin, begin + stored.PieceCount(piece));
            SetBit(entry.bits.inMemory, piece, true);
        }
        chunk.records = {};
        Lock lock(m_mutex);
        // What nobody can drop is added all the same: a limit below one chunk would be none to work with.
        if (!MakeRoom(lock, bytes, 0) && m_isFileFull) {
            return m_result;
        }
        m_entries.push_back(std::move(entry));
        m_memoryBytes += bytes;
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

void ChunkStore::SetMemoryLimit(unsigned long long bytes) {
    const std::lock_guard lock(m_mutex);
    m_limits.memoryBytes = bytes;
    m_changed.notify_all();
}

void ChunkStore::AppendNew(std::vector<StoredChunk>& known) const {
    const std::lock_guard lock(m_mutex);
    for (std::size_t chunk = known.size(); chunk < m_entries.size(); ++chunk) {
        known.push_back(m_entries[chunk].chunk);
    }
}

void ChunkStore::GetPieces(std::vector<Pieces>& ofChunks) const {
    const std::lock_guard lock(m_mutex);
    ofChunks.clear();
    for (const Entry& entry : m_entries) {
        ofChunks.push_back(entry.bits);
    }
}

PieceRecords ChunkStore::Find(PieceId piece) {
    const std::lock_guard lock(m_mutex);
    At(piece).lastUse = ++m_uses;
    return At(piece).records;
}

void ChunkStore::Want(const void* who, std::vector<PieceId> pieces) {
    const std::lock_guard lock(m_mutex);
    for (const auto& [view, ofView] : m_wanted) {
        for (const PieceId id : ofView) {
            At(id).place = kNotWanted;
        }
    }
    if (pieces.empty()) {
        m_wanted.erase(who);
    } else {
        m_wanted[who] = std::move(pieces);
    }
    for (const auto& [view, ofView] : m_wanted) {
        for (std::size_t index = 0; index < ofView.size(); ++index) {
            unsigned int& place = At(ofView[index]).place;
            place = std::min(place, static_cast<unsigned int>(index + 1));
        }
    }
    m_changed.notify_all();
}

unsigned long long ChunkStore::GetMemoryBytes() const {
    const std::lock_guard lock(m_mutex);
    return m_memoryBytes;
}

unsigned long long ChunkStore::GetFileBytes() const {
    const std::lock_guard lock(m_mutex);
    return m_fileBytes;
}

long ChunkStore::GetResult() const {
    const std::lock_guard lock(m_mutex);
    return m_result;
}

std::size_t ChunkStore::BytesOf(PieceId id) const {
    return m_entries[id.chunk].chunk.PieceCount(id.piece) * sizeof(PointCloudRecord);
}

/// The piece that is missed least: not one that is wanted, or else the least urgent; fine ones before those of the
/// overview; and of them what was looked at longest ago. What is among the first `kept` of the wanted ones stays.
std::optional<PieceId> ChunkStore::FindVictim(unsigned int kept) const {
    std::optional<PieceId> victim;
    auto rank = std::make_tuple(0U, 0U, 0ULL);
    for (unsigned int chunk = 0; chunk < m_entries.size(); ++chunk) {
        const Entry& entry = m_entries[chunk];
        for (unsigned int index = 0; index < entry.pieces.size(); ++index) {
            const Piece& piece = entry.pieces[index];
            if (!piece.records || piece.busy || piece.place <= kept || (!piece.onFile && m_isFileFull)) {
                continue;
            }
            const auto own = std::make_tuple(piece.place, index + kMostPieces - entry.chunk.pieces, ~piece.lastUse);
            if (!victim || own > rank) {
                victim = PieceId{chunk, index};
                rank = own;
            }
        }
    }
    return victim;
}

/// False where nothing can be dropped.
bool ChunkStore::DropOne(Lock& lock, unsigned int kept) {
    const std::optional<PieceId> victim = FindVictim(kept);
    if (!victim || (!At(*victim).onFile && WriteToFile(lock, *victim) != S_OK)) {
        return false;
    }
    Piece& piece = At(*victim);
    piece.records.reset();
    SetBit(m_entries[victim->chunk].bits.inMemory, victim->piece, false);
    m_memoryBytes -= BytesOf(*victim);
    return true;
}

/// Without the lock while the file is written.
long ChunkStore::WriteToFile(Lock& lock, PieceId id) {
    const PieceRecords records = At(id).records;
    const std::size_t bytes = BytesOf(id);
    if (m_fileBytes + bytes > m_limits.fileBytes) {
        return FailToWrite(HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    }
    if (const long result = m_file.Open(m_limits.folder); result != S_OK) {
        return FailToWrite(result);
    }
    const unsigned long long at = m_fileBytes;
    m_fileBytes += bytes;
    At(id).busy = true;
    lock.unlock();
    const long result = m_file.Write(at, records->data(), bytes);
    lock.lock();
    Piece& piece = At(id);
    piece.busy = false;
    if (result != S_OK) {
        return FailToWrite(result);
    }
    piece.onFile = true;
    piece.fileAt = at;
    if (!m_fetching.joinable() && !m_stops) {
        m_fetching = std::thread([this] { FetchWanted(); });
    }
    return S_OK;
}

long ChunkStore::FailToWrite(long result) {
    m_isFileFull = true;
    m_result = result;
    return result;
}

/// Drops pieces until `bytes` more are within the limit; false where that cannot be.
bool ChunkStore::MakeRoom(Lock& lock, std::size_t bytes, unsigned int kept) {
    while (m_memoryBytes + bytes > m_limits.memoryBytes) {
        if (!DropOne(lock, kept)) {
            return false;
        }
    }
    return true;
}

bool ChunkStore::HoldsWhatIsOnFile() const {
    return std::any_of(m_entries.begin(), m_entries.end(), [](const Entry& entry) {
        return std::any_of(entry.pieces.begin(), entry.pieces.end(),
                           [](const Piece& piece) { return piece.records && piece.onFile; });
    });
}

std::optional<PieceId> ChunkStore::FindMissing() const {
    for (const auto& [who, wanted] : m_wanted) {
        for (const PieceId id : wanted) {
            const Piece& piece = m_entries[id.chunk].pieces[id.piece];
            const bool isLost = (m_entries[id.chunk].bits.lost >> id.piece & 1) != 0;
            if (!piece.records && piece.onFile && !piece.busy && !isLost) {
                return id;
            }
        }
    }
    return std::nullopt;
}

/// The fetching thread.
void ChunkStore::FetchWanted() {
    Lock lock(m_mutex);
    while (!m_stops) {
        const std::optional<PieceId> missing = FindMissing();
        // Where all memory is full of what is more urgent, something has to be drawn before. Where it is full of what
        // cannot be dropped, one piece after the other comes in beyond the limit.
        const bool hasRoom = missing && (MakeRoom(lock, BytesOf(*missing), At(*missing).place) || !HoldsWhatIsOnFile());
        if (m_stops) {
            return;
        }
        if (hasRoom) {
            Fetch(lock, *missing);
        } else {
            m_changed.wait(lock);
        }
    }
}

/// Without the lock while the file is read.
void ChunkStore::Fetch(Lock& lock, PieceId id) {
    Piece& missing = At(id);
    if (missing.records || missing.busy) {
        return;
    }
    const unsigned long long at = missing.fileAt;
    const unsigned int count = m_entries[id.chunk].chunk.PieceCount(id.piece);
    missing.busy = true;
    lock.unlock();
    std::shared_ptr<std::vector<PointCloudRecord>> records;
    long result = E_OUTOFMEMORY;
    try {
        records = std::make_shared<std::vector<PointCloudRecord>>(count);
        result = m_file.Read(at, records->data(), count * sizeof(PointCloudRecord));
    } catch (...) {
        DropCaught();
        // The result says it.
    }
    lock.lock();
    Piece& piece = At(id);
    piece.busy = false;
    if (result != S_OK) {
        m_result = result;
        SetBit(m_entries[id.chunk].bits.lost, id.piece, true);
        return;
    }
    piece.records = std::move(records);
    piece.lastUse = ++m_uses;
    SetBit(m_entries[id.chunk].bits.inMemory, id.piece, true);
    m_memoryBytes += BytesOf(id);
}

} // namespace KTR
