#pragma once

#include "TextLayout.h"
#include "Workloads.h"

#include <cstring>

namespace Frames {

/// Records that a loop fills and hands to `Draw(records, count)`, a piece at a time.
template <typename DrawPiece> class RecordFiller {
public:
    RecordFiller(std::vector<KTR::GLDrawGeometry>& records, int recordsPerPiece, DrawPiece draw)
        : m_records(records.data()), m_perPiece(recordsPerPiece), m_draw(draw) {}

    void AddColored(const DrawnVertex* first, const DrawnVertex* last) { Add<false>(first, last); }
    void AddTextured(const DrawnVertex* first, const DrawnVertex* last) { Add<true>(first, last); }
    void AddColored(double x, double y, const GLRGBAColor& color) {
        KTR::GLDrawGeometry& record = m_records[m_count];
        record.x = static_cast<float>(x);
        record.y = static_cast<float>(y);
        record.z = 0.0F;
        std::memcpy(&record.r, &color, sizeof(color));
        if (++m_count == m_perPiece) {
            Flush();
        }
    }
    /// A piece is a whole number of glyphs.
    void AddGlyph(const TextLayout::Quad& quad) {
        StoreGlyph(m_records + m_count, quad);
        m_count += 6;
        if (m_count == m_perPiece) {
            Flush();
        }
    }
    void Flush() {
        if (m_count != 0) {
            m_draw(m_records, m_count);
            m_count = 0;
        }
    }

private:
    template <bool textured> void Add(const DrawnVertex* first, const DrawnVertex* last) {
        while (first != last) {
            const auto left = static_cast<int>(last - first);
            const int count = left < m_perPiece - m_count ? left : m_perPiece - m_count;
            KTR::GLDrawGeometry* record = m_records + m_count;
            for (const DrawnVertex* const end = first + count; first != end; ++first, ++record) {
                record->x = static_cast<float>(first->position.x);
                record->y = static_cast<float>(first->position.y);
                record->z = static_cast<float>(first->position.z);
                if constexpr (textured) {
                    record->s = static_cast<float>(first->texture.s);
                    record->t = static_cast<float>(first->texture.t);
                }
                std::memcpy(&record->r, &first->color, sizeof(first->color));
            }
            m_count += count;
            if (m_count == m_perPiece) {
                Flush();
            }
        }
    }

    KTR::GLDrawGeometry* m_records;
    int m_perPiece;
    int m_count = 0;
    DrawPiece m_draw;
};

/// As many records of a piece as are whole primitives of `mode`, where those do not hang together.
inline int WholePrimitives(unsigned int mode, int recordsPerPiece) {
    // Six are two triangles: a quad, a glyph.
    const int whole = mode == GL_TRIANGLES ? 6 : mode == GL_LINES ? 2 : 1;
    return recordsPerPiece - recordsPerPiece % whole;
}

/// Fills the pieces of a batch.
template <typename Filler> void FillBatch(Filler& filler, const Batches& content, int batch) {
    content.Walk(batch, [&](const DrawnVertex* first, const DrawnVertex* last) {
        if (content.textured) {
            filler.AddTextured(first, last);
        } else {
            filler.AddColored(first, last);
        }
    });
    filler.Flush();
}

/// The two triangles of a tile.
inline void StoreTile(KTR::GLDrawGeometry* records, const PointXYZ* corners) {
    constexpr int kCorners[6] = {0, 1, 2, 0, 2, 3};
    for (const int corner : kCorners) {
        records->x = static_cast<float>(corners[corner].x);
        records->y = static_cast<float>(corners[corner].y);
        records->z = static_cast<float>(corners[corner].z);
        records->s = corner == 1 || corner == 2 ? 1.0F : 0.0F;
        records->t = corner >= 2 ? 1.0F : 0.0F;
        ++records;
    }
}

/// Takes a filled polygon's triangles, whichever way GLU hands them out.
template <typename Filler> class TriangleSink {
public:
    explicit TriangleSink(Filler& filler) : m_filler(filler) {}
    void Begin(unsigned int mode) {
        m_mode = mode;
        m_count = 0;
    }
    void Vertex(double x, double y, const GLRGBAColor& color) {
        const PointXY point{x, y};
        if (m_mode == GL_TRIANGLES) {
            m_filler.AddColored(x, y, color);
        } else if (m_count >= 2) {
            m_filler.AddColored(m_before[0].x, m_before[0].y, color);
            m_filler.AddColored(m_before[1].x, m_before[1].y, color);
            m_filler.AddColored(x, y, color);
        }
        // A fan keeps its first vertex, a strip the two newest. Which way round a triangle goes does not matter here.
        if (m_count < 2) {
            m_before[m_count] = point;
        } else {
            m_before[0] = m_mode == GL_TRIANGLE_STRIP ? m_before[1] : m_before[0];
            m_before[1] = point;
        }
        ++m_count;
    }
    void End() {}

private:
    Filler& m_filler;
    unsigned int m_mode = 0;
    int m_count = 0;
    PointXY m_before[2];
};

} // namespace Frames
