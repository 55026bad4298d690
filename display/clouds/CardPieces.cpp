#include "CardPieces.h"

#include "../view/OpenGLView.h"

#include <algorithm>

namespace KTR {

void CardPieces::Clear() {
    m_pieces.clear();
    m_bytes = 0;
    m_limit = m_mostBytes;
}

long CardPieces::Fill(COpenGLView& view, PieceId id, const std::vector<PointCloudRecord>& records,
                      const GLRGBAColor* colors, unsigned long long since) {
    const unsigned long long bytes = records.size() * sizeof(GLDrawGeometry);
    if (!MakeRoom(bytes, since)) {
        return S_FALSE;
    }
    GLGeometry geometry;
    const int count = static_cast<int>(records.size());
    if (const long result = geometry.Reserve(count); result != S_OK) {
        return result;
    }
    if (const long result = view.BeginGeometry(geometry, {}); result != S_OK) {
        return result;
    }
    view.BeginArrays(GL_POINTS, GLShaderPoint);
    for (std::size_t index = 0; index < records.size(); ++index) {
        const PointCloudRecord& record = records[index];
        const GLRGBAColor& color = colors[index];
        view.AddIndex3DVertexRGBA(record.x, record.y, record.z, color.r, color.g, color.b, color.a);
    }
    view.EndArrays();
    if (const long result = view.EndGeometry(); result != S_OK) {
        return result;
    }
    // The records are in main memory or in the file already.
    if (view.DrawsWithPrograms()) {
        geometry.FreeRecordsAfterUpload(true);
    }
    m_pieces.insert_or_assign(id, Piece{std::move(geometry), bytes, ++m_uses});
    m_bytes += bytes;
    return S_OK;
}

long CardPieces::Draw(COpenGLView& view, PieceId id, const PointXYZ& origin, unsigned int first, unsigned int count) {
    const auto piece = m_pieces.find(id);
    long result = piece->second.geometry.SetOrigin(origin);
    if (result == S_OK) {
        result = view.DrawGeometry(piece->second.geometry, static_cast<int>(first), static_cast<int>(count));
    }
    piece->second.lastUse = ++m_uses;
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
