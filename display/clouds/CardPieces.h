#pragma once

#include "../pipeline/KeptGeometry.h"
#include "ChunkStore.h"
#include "PointCloudLayer.h"

#include <atomic>
#include <cstdint>
#include <map>

namespace KTR {

/// The pieces of a cloud that are on the card, coloured, up to a limit. For all views: they draw from the same buffers.
class CardPieces {
public:
    explicit CardPieces(unsigned long long limit) : m_mostBytes(limit), m_limit(limit) {}

    bool Has(PieceId id) const { return m_pieces.contains(id); }
    unsigned long long GetBytes() const { return m_bytes; }
    /// Drops everything, and believes in the whole limit again.
    void Clear();
    /// The moment; what is used from here on counts as newer.
    unsigned long long Now() const { return m_uses; }

    /// Puts a piece on the card if there is room, or if room can be made of what was not used since `since`. The
    /// view's context must be current. S_OK; S_FALSE: no room; failures as GLGeometry's.
    long Fill(COpenGLView& view, PieceId id, const std::vector<PointCloudRecord>& records, const GLRGBAColor* colors,
              unsigned long long since);
    /// Draws a part of a piece, placed at `origin`. Points of alpha 0 are not there, but count. S_OK; what fails is
    /// not on the card any more.
    long Draw(COpenGLView& view, PieceId id, const PointXYZ& origin, unsigned int first, unsigned int count);

private:
    /// Which of a piece's points are in its geometry.
    class PointsThere {
    public:
        PointsThere() = default; ///< all of them
        PointsThere(const GLRGBAColor* colors, std::size_t count);

        /// Of the first `count`.
        unsigned int Count(unsigned int count) const;

    private:
        std::vector<std::uint64_t> m_bits;  ///< empty: all
        std::vector<unsigned int> m_before; ///< each of these words
    };
    struct Piece {
        GLGeometry geometry;
        PointsThere there;
        unsigned long long bytes = 0;
        unsigned long long lastUse = 0;
    };

    bool MakeRoom(unsigned long long bytes, unsigned long long since);
    void Drop(std::map<PieceId, Piece>::iterator piece);

    unsigned long long m_mostBytes;              ///< that the host allows
    unsigned long long m_limit;                  ///< less, where the card turned out to have less room
    std::atomic<unsigned long long> m_bytes = 0; ///< asked on other threads
    unsigned long long m_uses = 0;
    std::map<PieceId, Piece> m_pieces;
};

} // namespace KTR
