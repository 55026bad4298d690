#pragma once

#include "../platform/GLCalls.h"

#include <GL/glext.h>

namespace KTR {

/// Makes programs read `texture` through `sampler` from a unit (counted from 0), which becomes the active one. Without
/// a sampler the texture's own settings hold.
inline void BindTextureUnit(const GLCalls& gl, unsigned int unit, unsigned int texture, unsigned int sampler) {
    gl.glActiveTexture(GL_TEXTURE0 + unit);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    gl.glBindSampler(unit, sampler);
}

} // namespace KTR
