#pragma once

#include "ClientStateRequest.h"
#include "VertexBuffers.h"

namespace KTR {

/// The counters and pointers of a view's open batch.
struct VertexBatchState {
    unsigned int batchPrimitiveMode = 0;          ///< GL_POINTS, GL_LINES, ...
    int batchVertexCount = 0;                     ///< records (and indices) pending
    GLDrawGeometry* batchVertexPointer = nullptr; ///< where the adds write vertices
    unsigned int* batchIndexPointer = nullptr;    ///< the index of each vertex: the identity, see strayIndices
    /// Indices from here on are the identity. Only AddDataIndex stores others; the next batch puts them right, so that
    /// the adds of vertices need not store any.
    int strayIndices = 0;
    /// Vertices that wait for more that can be drawn with them. They are drawn before anything else that the view does.
    int waitingCount = 0; ///< so many at the start; an open batch is behind them
    int sharedDepth = 0;  ///< of BeginSharedDraws
    bool sharesAlways = false;
    ClientStateRequest boundState;  ///< while draws are shared: what is bound, where that is known
    bool stateDisableWaits = false; ///< DisableClientState was called since
    bool drawArraysOnly = true;     ///< OpenGL 4.x: draw without indices

    // Records may stand in the ring's segment, which is free for them, before they are drawn from it.
    int addLimit = kBatchCapacity;      ///< an add that finds more records than this makes room first, or writes ahead
    int writtenCount = 0;               ///< so many at the start stand in the ring
    unsigned long long writtenTurn = 0; ///< as long as this is the ring's turn
    int ringOnlyCount = 0;              ///< some of so many at the start stand in the ring only, not in the arrays

    // What ReserveRecords gave, until CommitRecords.
    int reservedCount = 0;
    int reservedSlot = 0;
    unsigned long long reservedTurn = 0; ///< of the ring; 0 where the place is in the arrays

    bool SharesDraws() const { return sharedDepth > 0 || sharesAlways; }

    /// Drops what waits to be drawn, with the context that it was meant for.
    void ForgetWaiting() {
        waitingCount = 0;
        boundState = {};
        stateDisableWaits = false;
    }

    /// Drops all but the first `count` vertices. The indices behind them become the identity again.
    void Keep(int count) {
        batchVertexCount = count;
        writtenCount = Smaller(writtenCount, count);
        ringOnlyCount = Smaller(ringOnlyCount, count);
        reservedCount = 0;
        addLimit = Smaller(count + kWriteAheadRecords, kBatchCapacity);
        for (int slot = count; slot < strayIndices; ++slot) {
            batchIndexPointer[slot] = static_cast<unsigned int>(slot);
        }
        strayIndices = Smaller(strayIndices, count);
    }

private:
    static int Smaller(int a, int b) { return a < b ? a : b; }
};

/// The arrays that a view's adds write to. They are as large as a batch may get from the start, so that no add
/// allocates; pages that nothing was added to take no memory yet.
class VertexBatchStorage {
public:
    VertexBatchStorage();
    ~VertexBatchStorage();
    VertexBatchStorage(const VertexBatchStorage&) = delete;
    VertexBatchStorage& operator=(const VertexBatchStorage&) = delete;

    /// Zeroes the vertices and makes the indices the identity.
    void Clear();

    GLDrawGeometry* batchVertices = nullptr; ///< kBatchArrayRecords
    unsigned int* batchIndices = nullptr;    ///< as many

private:
    struct Arrays;
    Arrays* m_arrays;
    bool m_untouched; ///< still as the system gave them
};

} // namespace KTR
