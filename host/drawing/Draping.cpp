#include "Draping.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <utility>

namespace OrrinViewer {

namespace {

std::shared_ptr<const Raster> Fade(const std::shared_ptr<const Raster>& raster, double opacity) {
    const auto share = static_cast<unsigned int>(std::lround(opacity * 255.0));
    if (share >= 255) {
        return raster;
    }
    const auto faded = std::make_shared<Raster>(*raster);
    std::vector<std::uint8_t>& rgba = faded->image.rgba;
    for (std::size_t alpha = 3; alpha < rgba.size(); alpha += 4) {
        rgba[alpha] = static_cast<std::uint8_t>(rgba[alpha] * share / 255U);
    }
    return faded;
}

/// Null where it cannot be read.
std::shared_ptr<const Raster> Make(const DrapingOrder::Image& image) {
    try {
        const std::shared_ptr<const Raster> raster = image.make();
        return raster ? Fade(raster, image.opacity) : nullptr;
    } catch (const ReadingStopped&) {
        throw;
    } catch (const std::exception&) {
        return nullptr; // where it is drawn as a raster it shows that something is wrong there
    }
}

} // namespace

DrapingResult Drape(const DrapingOrder& order) {
    DrapingResult result;
    for (const DrapingOrder::Relief& relief : order.reliefs) {
        result.reliefs.push_back({relief.layer, {}});
    }
    for (const DrapingOrder::Image& image : order.images) {
        const std::shared_ptr<const Raster> raster = Make(image);
        if (!raster) {
            continue;
        }
        ReadingProgress::OfThisThread()->Begin("laying an image over reliefs");
        bool isCovered = false;
        for (std::size_t index = 0; index < order.reliefs.size(); ++index) {
            const DrapingOrder::Relief& relief = order.reliefs[index];
            result.reliefs[index].covers.Add(*relief.shape, relief.range, raster,
                                             L"image " + std::to_wstring(image.layer) + L" on relief " +
                                                 std::to_wstring(relief.layer) + L" as of " + order.mark);
            isCovered = isCovered || relief.shape->Reaches(*raster);
        }
        if (isCovered) {
            result.coveredImages.push_back(image.layer);
        }
    }
    return result;
}

Draping::~Draping() {
    {
        const std::lock_guard lock(m_mutex);
        m_ends = true;
        if (m_progress) {
            m_progress->Stop();
        }
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Draping::Begin(DrapingOrder order) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_progress) {
            m_progress->Stop();
        }
        m_progress = std::make_shared<ReadingProgress>();
        m_order = std::move(order);
        m_result.reset();
    }
    m_isAwaited = true;
    m_changed.notify_all();
    if (!m_thread.joinable()) {
        m_thread = std::thread([this] { Run(); });
    }
}

std::optional<DrapingResult> Draping::Take() {
    const std::lock_guard lock(m_mutex);
    if (m_result) {
        m_isAwaited = false;
    }
    return std::exchange(m_result, std::nullopt);
}

std::optional<DrapingResult> Draping::Wait() {
    if (m_isAwaited) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_result.has_value(); });
    }
    return Take();
}

ReadingState Draping::GetState() const {
    const std::lock_guard lock(m_mutex);
    return m_progress ? m_progress->GetState() : ReadingState();
}

void Draping::Run() {
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_ends || m_order; });
        if (m_ends) {
            return;
        }
        const DrapingOrder order = *std::exchange(m_order, std::nullopt);
        const std::shared_ptr<ReadingProgress> progress = m_progress;
        lock.unlock();
        DrapingResult result;
        try {
            const ReadingScope scope(progress);
            result = Drape(order);
        } catch (const std::exception&) {
            // It was stopped, and nobody wants it; or no memory is left, and the reliefs stay bare.
            result = {};
        }
        lock.lock();
        if (progress == m_progress && !progress->IsStopped()) {
            m_result = std::move(result);
            m_changed.notify_all();
        }
    }
}

} // namespace OrrinViewer
