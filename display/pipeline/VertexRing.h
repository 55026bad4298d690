#pragma once

#include "VertexBuffers.h"

namespace KTR {

class GLCalls;

/// Puts a fence behind everything drawn so far; an old fence is deleted. Where the driver gives none, the GPU has done
/// all that on return.
void PlaceFence(const GLCalls& gl, GLsync& fence);
/// Waits until the GPU has passed the fence; null does not wait. Returns how often it had to ask. The context, or one
/// of its share group, must be current: without one no question is answered, and this would never end.
unsigned long long WaitForFence(const GLCalls& gl, GLsync fence);

/// The vertex storage of one 4.x context: a buffer that stays mapped, in three segments that are used in turn.
///
/// The CPU writes the current segment, which the GPU has finished with. After a draw a fence goes behind it, and the
/// next segment becomes the current one as soon as its own fence has signalled.
///
/// It holds no context: each call gets the functions of the one that is current, which must be the one that it was
/// made in, or of its share group.
class VertexRing {
public:
    /// The buffers as the binding of vertex arrays wants them.
    GLVBO& Buffers() { return m_buffers; }
    bool Exists() const { return m_buffers.vertexBuffer != 0 || m_buffers.indexBuffer != 0; }

    /// Gives the buffer that is bound to GL_ARRAY_BUFFER its storage, if it has none. False when the driver has none;
    /// the buffer is deleted then, since its storage is settled for good.
    bool Create(const GLCalls& gl);
    /// Whether the driver had none when it was asked last.
    bool WasRefused() const { return m_refused; }
    /// The same for indices; the buffer is made and bound to GL_ELEMENT_ARRAY_BUFFER.
    bool CreateIndices(const GLCalls& gl);

    /// Whether nothing of the current segment was drawn yet, as far as it is shared.
    bool IsAtStart() const { return m_used == 0; }
    /// So many records more fit into the current segment.
    int Room() const { return kBatchRecords - m_used; }
    bool HasRoomFor(int count) const { return count <= Room(); }
    /// Names the time for which the current segment is the CPU's to write: no two are alike, in any ring. What was
    /// written there before it is drawn is there as long as this stays the same. 0 without storage.
    unsigned long long Turn() const { return m_turn; }
    /// Where the CPU writes the records of the next draw; null without storage.
    GLDrawGeometry* Claim() const;
    /// Where it writes their indices; null without storage.
    unsigned int* ClaimIndices() const;
    /// Number of the record that Claim points to.
    int FirstVertex() const { return m_buffers.segments[m_buffers.currentSegment].firstVertex + m_used; }
    /// The next draw goes behind `count` records that were drawn from this segment, which gets its fence later.
    void Share(int count) {
        m_used += count;
        m_lacksFence = true;
    }
    /// Whether draws of the current segment have no fence behind them yet.
    bool LacksFence() const { return m_lacksFence; }
    /// Puts a fence behind what was drawn from the current segment.
    void Fence(const GLCalls& gl);
    /// Goes on to the next segment once the GPU has finished with it. Returns how often it had to ask.
    unsigned long long Advance(const GLCalls& gl);
    /// Waits for all fences and deletes them; the first segment is the current one again.
    unsigned long long ReleaseFences(const GLCalls& gl);
    /// Deletes fences, without waiting for them, and buffers: OpenGL keeps what the GPU still reads.
    void Release(const GLCalls& gl);

private:
    GLVBO m_buffers;
    int m_used = 0;            ///< records of the current segment that draws read which share it
    bool m_lacksFence = false; ///< some of those draws have no fence behind them
    unsigned long long m_turn = 0;
    bool m_refused = false;
};

} // namespace KTR
