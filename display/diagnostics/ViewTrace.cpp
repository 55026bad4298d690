#include "../platform/Border.h"
#include "../platform/GLCalls.h"
#include "../view/OpenGLView.h"
#include "DebugNames.h"
#include "Trace.h"

#include <GL/glu.h>

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

namespace KTR {

void COpenGLView::RegisterLogger(std::shared_ptr<spdlog::logger> logger) {
    // Where another thread takes the name in between, this throws, and that one's logger stands.
    AtTheBorder([&logger] {
        if (logger && !spdlog::get(logger->name())) {
            spdlog::register_logger(std::move(logger));
        }
    });
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
