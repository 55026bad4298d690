#pragma once

#include "../text/TextState.h"
#include "ProgramUniforms.h"
#include "ShaderData.h"

#include <array>

namespace KTR {

/// The GL objects of one rendering context, and what the library has put into use there. A value: `objects = {}` is a
/// context that nothing was done with yet.
struct ContextObjects {
    /// Unlike handles, never used twice; 0 while no program was bound.
    unsigned long long number = 0;
    GLShaderTypes currentShader = GLShaderUnknown;         ///< the stock program that was bound last
    unsigned int boundProgram = 0;                         ///< the GL program in use; 0 after DisableClientState
    std::array<unsigned int, kShaderCount> vertexArrays{}; ///< of this context, by stock program; 0 until first bound
    ProgramUniforms boundUniforms{};                       ///< what the bound program was given
    bool fillForced = false; ///< GL fills although the host asked for another polygon mode
    // What GL has otherwise than the host asked, for the program in use (see ForcedState.h).
    bool pointSizeForced = false;
    bool pointSpritesForced = false;
    bool lineStippleForced = false;
    unsigned int fontAtlasTexture = 0; ///< what the text program reads
    unsigned int fontAtlasSampler = 0;
    TextLists textLists;
};

} // namespace KTR
