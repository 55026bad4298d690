#include "ForcedState.h"

#include "../view/ViewAccess.h"
#include "StockPrograms.h"

#include <GL/glext.h>

#include <algorithm>
#include <iterator>

namespace KTR {

namespace {

struct ForcedCapability {
    unsigned int capability;
    bool on;
    bool ContextObjects::*forced;
    bool StockProgram::*need;
};

constexpr ForcedCapability kForcedCapabilities[] = {
    {GL_PROGRAM_POINT_SIZE, true, &ContextObjects::pointSizeForced, &StockProgram::points},
    // NOTE: a compatibility context gives fragments their place in the point only while this is on. Square points keep
    // it off: it also changes which pixels a point covers, and they cover those of the fixed-function pipeline.
    {GL_POINT_SPRITE, true, &ContextObjects::pointSpritesForced, &StockProgram::pointSprites},
    // NOTE: a compatibility context stipples the lines of programs too, and would cut the program's dashes again.
    {GL_LINE_STIPPLE, false, &ContextObjects::lineStippleForced, &StockProgram::stipples},
};

bool MustForce(const COpenGLView& view, GLShaderTypes type, const ForcedCapability& state) {
    const bool asked = view.IsOpenGLStateEnabled(state.capability) != 0;
    return IsStockProgram(type) && StockProgramOf(type).*state.need && asked != state.on;
}

void Send(COpenGLView& view, unsigned int capability, bool on) {
    const GLCalls gl = ViewAccess::CallGL(view);
    if (on) {
        gl.glEnable(capability);
    } else {
        gl.glDisable(capability);
    }
}

} // namespace

void ForceStateFor(COpenGLView& view, GLShaderTypes type) {
    ContextObjects& objects = ViewAccess::CurrentObjects(view);
    for (const ForcedCapability& state : kForcedCapabilities) {
        const bool force = MustForce(view, type, state);
        bool& forced = objects.*state.forced;
        if (forced != force) {
            forced = force;
            Send(view, state.capability, force ? state.on : view.IsOpenGLStateEnabled(state.capability) != 0);
        }
    }
}

bool IsStateForcedFor(COpenGLView& view, GLShaderTypes type) {
    const ContextObjects& objects = ViewAccess::CurrentObjects(view);
    return std::all_of(
        std::begin(kForcedCapabilities), std::end(kForcedCapabilities),
        [&](const ForcedCapability& state) { return objects.*state.forced == MustForce(view, type, state); });
}

void ForceStateAgain(COpenGLView& view, unsigned int capability) {
    ContextObjects& objects = ViewAccess::CurrentObjects(view);
    for (const ForcedCapability& state : kForcedCapabilities) {
        if (state.capability == capability) {
            objects.*state.forced = false;
            ForceStateFor(view, objects.boundProgram != 0 ? objects.currentShader : GLShaderUnknown);
        }
    }
}

} // namespace KTR
