#include "PointCloudLayer.h"

#include "../platform/Border.h"
#include "CloudDrawing.h"

#include <algorithm>
#include <utility>

namespace KTR {

namespace {

/// Of main memory, what the points of a run take while they are gathered and cut: themselves and the keys they are
/// sorted by.
constexpr unsigned long long kRunBytesPerPoint = sizeof(PointCloudPoint) + 16;
/// Longer runs would only make the window wait longer for them.
constexpr unsigned long long kMostRunPoints = 2'000'000;

unsigned long long RunBytes(const ChunkBuilder::Settings& settings) {
    return settings.runPoints * kRunBytesPerPoint;
}

/// A quarter of the memory is for gathering.
ChunkBuilder::Settings SettingsOf(const PointCloudLimits& limits) {
    ChunkBuilder::Settings settings;
    settings.chunkPoints = std::max(limits.chunkPoints, 64U);
    const unsigned long long runPoints = std::min(limits.memoryBytes / 4 / kRunBytesPerPoint, kMostRunPoints);
    settings.runPoints = std::max(static_cast<std::size_t>(runPoints), settings.chunkPoints);
    settings.pointsInOrder = std::min<std::size_t>(limits.pointsInOrder, settings.runPoints);
    return settings;
}

ChunkStore::Limits StoreLimits(const PointCloudLimits& limits) {
    const unsigned long long runBytes = RunBytes(SettingsOf(limits));
    return {limits.memoryBytes > runBytes ? limits.memoryBytes - runBytes : 0, limits.fileBytes, limits.folder};
}

} // namespace

struct PointCloudParts {
    PointCloudParts(std::unique_ptr<PointCloudReader> reader, const PointCloudLimits& limits)
        : memoryBytes(limits.memoryBytes), store(StoreLimits(limits)), drawing(store, limits.cardBytes),
          intake(std::move(reader), store, SettingsOf(limits)) {}

    /// Whether more chunks may come. Once the reading is over its memory is the points'.
    bool Delivers() {
        const bool delivers = intake.GetState().delivers;
        if (!delivers && !hasAllMemory) {
            hasAllMemory = true;
            store.SetMemoryLimit(memoryBytes);
        }
        return delivers;
    }

    unsigned long long memoryBytes;
    bool hasAllMemory = false;
    ChunkStore store;
    CloudDrawing drawing;
    CloudIntake intake; ///< ends first
};

CPointCloudLayer::CPointCloudLayer(std::unique_ptr<PointCloudReader> reader, const PointCloudLimits& limits) {
    if (!reader) {
        return;
    }
    // The state says that it did not.
    AtTheBorder([&] { m_parts = std::make_unique<PointCloudParts>(std::move(reader), limits); });
}

CPointCloudLayer::~CPointCloudLayer() = default;

PointCloudState CPointCloudLayer::GetState() const {
    PointCloudState state;
    if (!m_parts) {
        state.result = E_OUTOFMEMORY;
        return state;
    }
    const CloudIntake::State intake = m_parts->intake.GetState();
    state.pointCount = intake.pointCount;
    state.pointsRead = intake.pointsRead;
    state.pointsLeftOut = intake.pointsLeftOut;
    if (!intake.box.IsEmpty()) {
        state.low = {intake.box.low.x, intake.box.low.y, intake.box.low.z};
        state.high = {intake.box.high.x, intake.box.high.y, intake.box.high.z};
    }
    state.reading = intake.reads;
    state.result = intake.result != S_OK ? intake.result : m_parts->store.GetResult();
    state.memoryBytes = m_parts->store.GetMemoryBytes();
    state.cardBytes = m_parts->drawing.GetCardBytes();
    state.fileBytes = m_parts->store.GetFileBytes();
    return state;
}

void CPointCloudLayer::SetColoring(PointCloudColoring coloring) {
    if (m_parts) {
        m_parts->drawing.SetColoring(std::move(coloring));
    }
}

PointCloudFrame CPointCloudLayer::Draw(COpenGLView& view, const PointCloudDrawing& drawing) {
    PointCloudFrame frame;
    frame.result = E_OUTOFMEMORY;
    if (!m_parts) {
        return frame;
    }
    return AtTheBorder(frame, [&] {
        m_parts->intake.OfferOrigin(CloudDrawing::FindCamera(view, drawing).origin);
        return m_parts->drawing.Draw(view, drawing, m_parts->Delivers());
    });
}

PointCloudFrame CPointCloudLayer::Refine(COpenGLView& view) {
    PointCloudFrame frame;
    frame.result = E_OUTOFMEMORY;
    if (!m_parts) {
        return frame;
    }
    return AtTheBorder(frame, [&] { return m_parts->drawing.Refine(view, m_parts->Delivers()); });
}

void CPointCloudLayer::Forget(const COpenGLView& view) {
    if (m_parts) {
        m_parts->drawing.Forget(view);
    }
}

void CPointCloudLayer::FreeCard() {
    if (m_parts) {
        m_parts->drawing.FreeCard();
    }
}

} // namespace KTR
