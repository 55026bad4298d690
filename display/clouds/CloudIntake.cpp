#include "CloudIntake.h"

#include "../platform/Border.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace KTR {

namespace {

constexpr std::size_t kPointsAtOnce = 16'384;

/// The first points are to be seen soon, however slowly they come; after that runs may take longer, so that chunks do
/// not get small.
constexpr double kFirstSeconds = 0.25;
constexpr double kMostSeconds = 2.0;

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

CloudIntake::CloudIntake(std::unique_ptr<PointCloudReader> reader, ChunkStore& store,
                         const ChunkBuilder::Settings& settings)
    : m_reader(std::move(reader)), m_store(store), m_settings(settings) {
    m_thread = std::thread([this] { Run(); });
}

CloudIntake::~CloudIntake() {
    {
        const std::lock_guard lock(m_mutex);
        m_stops = true;
    }
    m_changed.notify_all();
    AtTheBorder([this] { m_reader->Cancel(); });
    m_thread.join();
}

CloudIntake::State CloudIntake::GetState() const {
    const std::lock_guard lock(m_mutex);
    return m_state;
}

void CloudIntake::OfferOrigin(const glm::dvec3& origin) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_origin) {
            return;
        }
        m_origin = origin;
    }
    m_changed.notify_all();
}

/// The thread.
void CloudIntake::Run() {
    long result = S_OK;
    try {
        const unsigned long long count = m_reader->GetPointCount();
        {
            const std::lock_guard lock(m_mutex);
            m_state.pointCount = count;
        }
        ChunkBuilder builder(m_settings, count);
        result = ReadAll(builder);
        {
            const std::lock_guard lock(m_mutex);
            m_state.reads = false;
            m_state.result = result;
        }
        // What was read before a failure is there to be seen.
        if (!builder.IsEmpty() && (!builder.KeepsOrder() || WaitForOrigin()) && !Deliver(builder)) {
            result = m_store.GetResult() != S_OK ? m_store.GetResult() : E_OUTOFMEMORY;
        }
    } catch (...) {
        result = DropCaught();
    }
    const std::lock_guard lock(m_mutex);
    m_state.reads = false;
    m_state.delivers = false;
    m_state.result = m_state.result != S_OK ? m_state.result : result;
}

long CloudIntake::ReadAll(ChunkBuilder& builder) {
    std::vector<PointCloudPoint> points(std::min(kPointsAtOnce, m_settings.runPoints));
    double interval = kFirstSeconds;
    auto start = std::chrono::steady_clock::now();
    while (!m_stops) {
        std::size_t count = 0;
        if (const long result = ReadSome(points, builder.Room(), count); result < 0) {
            return result;
        }
        if (count == 0) {
            return S_OK;
        }
        builder.Add({points.data(), count});
        {
            const std::lock_guard lock(m_mutex);
            m_state.pointsRead = builder.GetTaken();
            m_state.pointsLeftOut = builder.GetLeftOut();
            m_state.box = builder.GetBox();
        }
        if (builder.Room() == 0 || MayCut(builder, SecondsSince(start), interval)) {
            if (!Deliver(builder)) {
                return m_store.GetResult() != S_OK ? m_store.GetResult() : E_OUTOFMEMORY;
            }
            interval = std::min(2.0 * interval, kMostSeconds);
            start = std::chrono::steady_clock::now();
        }
    }
    return S_OK;
}

/// What the reader throws ends here.
long CloudIntake::ReadSome(std::vector<PointCloudPoint>& points, std::size_t room, std::size_t& count) {
    room = std::min(points.size(), room);
    try {
        const long result = m_reader->Read(points.data(), room, count);
        count = std::min(count, room);
        return result;
    } catch (...) {
        return DropCaught();
    }
}

/// Whether a run that is not full has gathered long enough. A small cloud has nothing to show before somebody looks.
bool CloudIntake::MayCut(const ChunkBuilder& builder, double secondsGathered, double interval) {
    if (secondsGathered < interval) {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    return !builder.KeepsOrder() || m_origin;
}

/// False when it was stopped.
bool CloudIntake::WaitForOrigin() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_origin || m_stops; });
    return !m_stops;
}

bool CloudIntake::Deliver(ChunkBuilder& builder) {
    glm::dvec3 origin = builder.GetBox().Centre();
    {
        const std::lock_guard lock(m_mutex);
        origin = m_origin.value_or(origin);
        m_origin = origin;
    }
    return builder.Cut(origin,
                       [this](CloudChunk&& chunk) { return !m_stops && m_store.Add(std::move(chunk)) == S_OK; });
}

} // namespace KTR
