#include "CardPieces.h"

#include "../view/OpenGLView.h"

#include <algorithm>
#include <bit>

namespace KTR {

namespace {

constexpr std::size_t kBitsOfWord = 64;

} // namespace

CardPieces::PointsThere::PointsThere(const GLRGBAColor* colors, std::size_t count) {
    if (std::all_of(colors, colors + count, [](const GLRGBAColor& color) { return color.a != 0; })) {
        return;
    }
    m_bits.resize(count / kBitsOfWord + 1);
    for (std::size_t index = 0; index < count; ++index) {
        m_bits[index / kBitsOfWord] |= std::uint64_t{colors[index].a != 0 ? 1U : 0U} << index % kBitsOfWord;
    }
    unsigned int before = 0;
    for (const std::uint64_t word : m_bits) {
        m_before.push_back(before);
        before += static_cast<unsigned int>(std::popcount(word));
    }
}

unsigned int CardPieces::PointsThere::Count(unsigned int count) const {
    if (m_bits.empty()) {
        return count;
    }
    const std::size_t word = count / kBitsOfWord;
    const std::uint64_t below = (std::uint64_t{1} << count % kBitsOfWord) - 1;
    return m_before[word] + static_cast<unsigned int>(std::popcount(m_bits[word] & below));
}

void CardPieces::Clear() {
    m_pieces.clear();
    m_bytes = 0;
    m_limit = m_mostBytes;
}

long CardPieces::Fill(COpenGLView& view, PieceId id, const std::vector<PointCloudRecord>& records,
                      const GLRGBAColor* colors, unsigned long long since) {
    PointsThere there(colors, records.size());
    const unsigned int count = there.Count(static_cast<unsigned int>(records.size()));
    const unsigned long long bytes = count * sizeof(GLDrawGeometry);
    if (!MakeRoom(bytes, since)) {
        return S_FALSE;
    }
    GLGeometry geometry;
    if (count == 0) {
        m_pieces.insert_or_assign(id, Piece{std::move(geometry), std::move(there), 0, ++m_uses});
        return S_OK;
    }
    if (const long result = geometry.Reserve(static_cast<int>(count)); result != S_OK) {
        return result;
    }
    if (const long result = view.BeginGeometry(geometry, {}); result != S_OK) {
        return result;
    }
    view.BeginArrays(GL_POINTS, GLShaderPoint);
    for (std::size_t index = 0; index < records.size(); ++index) {
        const PointCloudRecord& record = records[index];
        const GLRGBAColor& color = colors[index];
        if (color.a != 0) {
            view.AddIndex3DVertexRGBA(record.x, record.y, record.z, color.r, color.g, color.b, color.a);
        }
    }
    view.EndArrays();
    if (const long result = view.EndGeometry(); result != S_OK) {
        return result;
    }
    // The records are in main memory or in the file already.
    if (view.DrawsWithPrograms()) {
        geometry.FreeRecordsAfterUpload(true);
    }
    m_pieces.insert_or_assign(id, Piece{std::move(geometry), std::move(there), bytes, ++m_uses});
    m_bytes += bytes;
    return S_OK;
}

long CardPieces::Draw(COpenGLView& view, PieceId id, const PointXYZ& origin, unsigned int first, unsigned int count) {
    const auto piece = m_pieces.find(id);
    piece->second.lastUse = ++m_uses;
    const unsigned int begin = piece->second.there.Count(first);
    const unsigned int end = piece->second.there.Count(first + count);
    if (begin == end) {
        return S_OK;
    }
    long result = piece->second.geometry.SetOrigin(origin);
    if (result == S_OK) {
        result = view.DrawGeometry(piece->second.geometry, static_cast<int>(begin), static_cast<int>(end - begin));
    }
    if (result == E_OUTOFMEMORY) {
        m_limit = m_bytes - piece->second.bytes;
    }
    if (result != S_OK) {
        Drop(piece);
    }
    return result;
}

bool CardPieces::MakeRoom(unsigned long long bytes, unsigned long long since) {
    while (m_bytes + bytes > m_limit) {
        const auto oldest = std::min_element(m_pieces.begin(), m_pieces.end(), [](const auto& left, const auto& right) {
            return left.second.lastUse < right.second.lastUse;
        });
        if (oldest == m_pieces.end() || oldest->second.lastUse > since) {
            return false;
        }
        Drop(oldest);
    }
    return true;
}

void CardPieces::Drop(std::map<PieceId, Piece>::iterator piece) {
    m_bytes -= piece->second.bytes;
    m_pieces.erase(piece);
}

} // namespace KTR
