#pragma once

#include "ChunkStore.h"

#include <atomic>

namespace KTR {

/// Reads a cloud on a thread of its own, from the first point to the last, and puts its chunks into the store.
class CloudIntake {
public:
    struct State {
        unsigned long long pointCount = 0; ///< that the reader promised; 0 where it did not
        unsigned long long pointsRead = 0;
        unsigned long long pointsLeftOut = 0; ///< without a finite position
        CloudBox box;
        bool reads = true;    ///< more points may come
        bool delivers = true; ///< more chunks may come to the store
        long result = 0;
    };

    /// Begins. The store must live longer.
    CloudIntake(std::unique_ptr<PointCloudReader> reader, ChunkStore& store, const ChunkBuilder::Settings& settings);
    /// Stops reading, wherever it is, and waits until the reader has returned.
    ~CloudIntake();
    CloudIntake(const CloudIntake&) = delete;
    CloudIntake& operator=(const CloudIntake&) = delete;

    State GetState() const;
    /// What the records of a small cloud are relative to. The first call counts; such a cloud waits for it, so that
    /// drawn about that origin it looks as if the host had drawn its points itself.
    void OfferOrigin(const glm::dvec3& origin);

private:
    void Run();
    long ReadAll(ChunkBuilder& builder);
    long ReadSome(std::vector<PointCloudPoint>& points, std::size_t room, std::size_t& count);
    bool MayCut(const ChunkBuilder& builder, double secondsGathered, double interval);
    bool WaitForOrigin();
    bool Deliver(ChunkBuilder& builder);

    std::unique_ptr<PointCloudReader> m_reader;
    ChunkStore& m_store;
    const ChunkBuilder::Settings m_settings;
    std::atomic<bool> m_stops = false;
    mutable std::mutex m_mutex; ///< of all that follows
    std::condition_variable m_changed;
    State m_state;
    std::optional<glm::dvec3> m_origin;
    std::thread m_thread;
};

} // namespace KTR
