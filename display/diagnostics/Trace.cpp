#include "Trace.h"

#include "../platform/Border.h"

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

#include <string>

namespace KTR {

namespace {

/// The only key by which the library finds its logger.
const std::string kLoggerName = "OrrinLogger";

} // namespace

std::shared_ptr<spdlog::logger> FindLogger() {
    return spdlog::get(kLoggerName);
}

void Trace::Write(const wchar_t* label) const {
    if (!m_lookedUp) {
        m_logger = FindLogger();
        m_lookedUp = true;
    }
    if (!m_logger || !label) {
        return;
    }
    if (!m_logger->should_log(spdlog::level::trace) && !m_logger->should_backtrace()) {
        return;
    }
    AtTheBorder([&] {
        // Labels are ASCII. Anything else loses its high byte, which keeps this independent of every code page.
        std::string narrow;
        for (const wchar_t* character = label; *character != L'\0'; ++character) {
            narrow.push_back(static_cast<char>(*character & 0xFF));
        }
        m_logger->log(spdlog::source_loc{}, spdlog::level::trace, spdlog::string_view_t(narrow.data(), narrow.size()));
    });
}

} // namespace KTR
