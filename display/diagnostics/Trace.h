#pragma once

#include <memory>

namespace spdlog {
class logger;
}

namespace KTR {

/// The host's logger, or null.
std::shared_ptr<spdlog::logger> FindLogger();

/// The way to the trace, for the length of one operation: the host's logger is looked up when the first label comes,
/// and once. Any thread.
class Trace {
public:
    /// One record at trace level with the text of `label`; nothing without a logger or for null.
    void Write(const wchar_t* label) const;

private:
    mutable std::shared_ptr<spdlog::logger> m_logger;
    mutable bool m_lookedUp = false;
};

} // namespace KTR
