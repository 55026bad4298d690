#include "ReadingProgress.h"

#include <algorithm>
#include <utility>

namespace OrrinViewer {

namespace {

thread_local const ReadingScope* t_scope = nullptr;

} // namespace

std::shared_ptr<ReadingProgress> ReadingProgress::OfThisThread() {
    return t_scope ? t_scope->m_progress : std::make_shared<ReadingProgress>();
}

ReadingState ReadingProgress::GetState() const {
    ReadingState state;
    state.phase = m_phase.load(std::memory_order_relaxed);
    state.things = m_things.load(std::memory_order_relaxed);
    state.count = m_count.load(std::memory_order_relaxed);
    const std::uint64_t done = m_done.load(std::memory_order_relaxed);
    const std::uint64_t whole = m_whole.load(std::memory_order_relaxed);
    if (whole > 0) {
        // Between two writes the numbers may be those of two steps.
        state.share = std::min(static_cast<double>(done) / static_cast<double>(whole), 1.0);
    }
    return state;
}

void ReadingProgress::Begin(const char* phase, const char* things) {
    m_whole.store(0, std::memory_order_relaxed);
    m_done.store(0, std::memory_order_relaxed);
    m_count.store(0, std::memory_order_relaxed);
    m_things.store(things, std::memory_order_relaxed);
    m_phase.store(phase, std::memory_order_relaxed);
    GoOn();
}

void ReadingProgress::Note(std::uint64_t done, std::uint64_t whole) {
    if (whole >= m_whole.load(std::memory_order_relaxed)) {
        m_done.store(done, std::memory_order_relaxed);
        m_whole.store(whole, std::memory_order_relaxed);
    }
}

void ReadingProgress::Reach(std::uint64_t done, std::uint64_t whole) {
    Note(done, whole);
    GoOn();
}

void ReadingProgress::GoOn() const {
    if (IsStopped()) {
        throw ReadingStopped();
    }
}

ReadingScope::ReadingScope(std::shared_ptr<ReadingProgress> progress)
    : m_progress(std::move(progress)), m_outer(std::exchange(t_scope, this)) {}

ReadingScope::~ReadingScope() {
    t_scope = m_outer;
}

} // namespace OrrinViewer
