#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>

namespace OrrinViewer {

/// Nobody wants the rest of what is being read. No fault of the file.
class ReadingStopped : public std::exception {
public:
    const char* what() const noexcept override { return "the reading was stopped"; }
};

/// How far a file's reading has come, as of one moment.
struct ReadingState {
    const char* phase = "";      ///< what is being done, in a word or two
    std::optional<double> share; ///< how much of that is done, 0 to 1, where somebody knows
    std::uint64_t count = 0;     ///< of things that have come of it
    const char* things = "";     ///< what these are
};

/// How far the reading of a file has come, and whether it shall go on. The thread that reads tells it, any other one
/// asks. Telling costs a few plain writes, so that readers may do it for each of their features.
class ReadingProgress {
public:
    /// That of the scope that this thread is in; outside of all one that nobody looks at.
    static std::shared_ptr<ReadingProgress> OfThisThread();

    /// On any thread: whoever reads ends soon, by ReadingStopped.
    void Stop() { m_isStopped.store(true, std::memory_order_relaxed); }
    bool IsStopped() const { return m_isStopped.load(std::memory_order_relaxed); }
    ReadingState GetState() const;

    // By the thread that reads. The texts must be there as long as the program.

    /// A step begins.
    void Begin(const char* phase, const char* things = "");
    /// So much of the step is done. Of several measures of one step, such as the bytes of files that are read side by
    /// side, the largest counts.
    void Note(std::uint64_t done, std::uint64_t whole);
    /// The same; throws ReadingStopped where nobody wants more.
    void Reach(std::uint64_t done, std::uint64_t whole);
    /// So many things are there.
    void Count(std::uint64_t count) { m_count.store(count, std::memory_order_relaxed); }
    void GoOn() const;

private:
    std::atomic<bool> m_isStopped = false;
    std::atomic<const char*> m_phase = "";
    std::atomic<const char*> m_things = "";
    std::atomic<std::uint64_t> m_done = 0;
    std::atomic<std::uint64_t> m_whole = 0; ///< 0: nobody knows
    std::atomic<std::uint64_t> m_count = 0;
};

/// Has what this thread opens and computes tell its progress there, as long as this lives. What is opened meanwhile
/// goes on to do so, whichever thread reads it.
class ReadingScope {
public:
    explicit ReadingScope(std::shared_ptr<ReadingProgress> progress);
    ~ReadingScope();
    ReadingScope(const ReadingScope&) = delete;
    ReadingScope& operator=(const ReadingScope&) = delete;

private:
    friend class ReadingProgress;

    std::shared_ptr<ReadingProgress> m_progress;
    const ReadingScope* m_outer;
};

} // namespace OrrinViewer
