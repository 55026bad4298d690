#include "../view/OpenGLView.h"

#include <GL/glu.h>

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

#include <string>
#include <string_view>

namespace KTR {

namespace {

/// The only key by which the library finds its logger.
const std::string kLoggerName = "OrrinLogger";

} // namespace

void COpenGLView::RegisterLogger(std::shared_ptr<spdlog::logger> logger) {
    if (!logger || spdlog::get(logger->name())) {
        return;
    }
    try {
        spdlog::register_logger(std::move(logger));
    } catch (const spdlog::spdlog_ex&) {
        // Another thread took the name in between; its logger stands.
    }
}

void COpenGLView::outputGlError(const wchar_t* label) const {
    const std::shared_ptr<spdlog::logger> logger = spdlog::get(kLoggerName);
    if (!logger || !label) {
        return;
    }
    // Labels are ASCII. Anything else loses its high byte, which keeps this independent of every code page.
    std::string narrow;
    for (const wchar_t* character = label; *character != L'\0'; ++character) {
        narrow.push_back(static_cast<char>(*character & 0xFF));
    }
    logger->log(spdlog::source_loc{}, spdlog::level::trace, spdlog::string_view_t(narrow.data(), narrow.size()));
}

unsigned int COpenGLView::GetError() const {
    return CurrentGL()->glGetError();
}

const unsigned char* COpenGLView::ErrorString(unsigned int code) const {
    return gluErrorString(code);
}

void COpenGLView::Finish() {
    CurrentGL()->glFinish();
    outputGlError(L"glFinish: END");
}

void COpenGLView::Flush() {
    CurrentGL()->glFlush();
    outputGlError(L"glFlush: END");
}

} // namespace KTR
