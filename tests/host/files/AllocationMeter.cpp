#include "AllocationMeter.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

std::atomic<std::int64_t> live = 0;
std::atomic<std::int64_t> peak = 0;

std::size_t SizeOf(void* memory) {
#ifdef _WIN32
    return _msize(memory);
#else
    return malloc_usable_size(memory);
#endif
}

void Free(void* memory) noexcept {
    if (memory != nullptr) {
        live -= static_cast<std::int64_t>(SizeOf(memory));
        std::free(memory);
    }
}

} // namespace

// No header is put before the memory: some of it is freed by the standard library's DLL, or taken there and freed here.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    void* memory = std::malloc(std::max<std::size_t>(size, 1));
    if (memory == nullptr) {
        return nullptr;
    }
    const std::int64_t now = live += static_cast<std::int64_t>(SizeOf(memory));
    std::int64_t most = peak;
    while (now > most && !peak.compare_exchange_weak(most, now)) {
    }
    return memory;
}

void* operator new(std::size_t size) {
    void* memory = operator new(size, std::nothrow);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    Free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    Free(memory);
}

namespace OrrinViewer {

AllocationMeter::AllocationMeter() : m_start(live) {
    peak = m_start;
}

std::int64_t AllocationMeter::PeakBytes() const {
    return peak - m_start;
}

} // namespace OrrinViewer
