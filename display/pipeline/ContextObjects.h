#pragma once

#include "../values/SceneObjects.h"
#include "../values/TextLists.h"
#include "ProgramUniforms.h"
#include "ShaderData.h"
#include "VertexRing.h"

#include <array>
#include <vector>

namespace KTR {

/// The GL objects of one rendering context, and what the library has put into use there. A value: `objects = {}` is a
/// context that nothing was done with yet.
struct ContextObjects {
    /// The vertex array that the context has for a host's own program.
    struct HostVertexArray {
        unsigned int program = 0;
        unsigned int vertexArray = 0;
    };

    /// Unlike handles, never used twice; 0 while no program was bound.
    unsigned long long number = 0;
    VertexRing ring;
    std::array<unsigned int, kShaderCount> vertexArrays{}; ///< by stock program; 0 until first bound
    std::vector<HostVertexArray> hostVertexArrays;
    GLShaderTypes currentShader = GLShaderUnknown; ///< the type of program that was bound last
    unsigned int boundProgram = 0;                 ///< the GL program in use; 0 after DisableClientState
    bool boundIsStock = false;                     ///< it is the stock program of its type, not a host's own
    /// A vertex array and an array buffer are bound, and perhaps more that fixed functions would trip over.
    bool programStateBound = false;
    ProgramUniforms boundUniforms{}; ///< what the bound program was given
    bool fillForced = false;         ///< GL fills although the host asked for another polygon mode
    // What GL has otherwise than the host asked, for the program in use (see ForcedState.h).
    bool pointSizeForced = false;
    bool pointSpritesForced = false;
    bool lineStippleForced = false;
    unsigned int fontAtlasTexture = 0; ///< what the text program reads
    unsigned int fontAtlasSampler = 0;
    TextLists textLists;
    SceneObjects scene;

    /// Whether there is something that would stay behind if it were only forgotten.
    bool HoldsNames() const {
        for (const unsigned int vertexArray : vertexArrays) {
            if (vertexArray != 0) {
                return true;
            }
        }
        return ring.Exists() || !hostVertexArrays.empty() || scene.HoldsNames();
    }
};

} // namespace KTR
