#include "../platform/GLCalls.h"
#include "../view/OpenGLView.h"
#include "DebugNames.h"
#include "Trace.h"

#include <GL/glu.h>

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

namespace KTR {

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

void COpenGLView::SetDebugNames(bool on) {
    WantDebugNames(on);
}

void COpenGLView::outputGlError(const wchar_t* label) const {
    Trace().Write(label);
}

unsigned int COpenGLView::GetError() const {
    return CurrentGL().glGetError();
}

const unsigned char* COpenGLView::ErrorString(unsigned int code) const {
    return gluErrorString(code);
}

void COpenGLView::Finish() {
    CallGL().glFinish();
}

void COpenGLView::Flush() {
    CallGL().glFlush();
}

} // namespace KTR
