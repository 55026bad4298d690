#pragma once

#include "ShaderData.h"

#include <array>

namespace KTR {

/// What an EnableClientState... asks for. Requests that agree leave OpenGL alike.
struct ClientStateRequest {
    enum class Form {
        None,            ///< nothing is known of what is bound
        Program,         ///< a stock program with the ring
        Arrays,          ///< arrays that point where they did
        InternalBuffers, ///< arrays that point into the batch, and texturing on or off with them
        InternalArrays,  ///< arrays that point into the batch
    };

    Form form = Form::None;
    GLShaderTypes program = GLShaderUnknown;
    std::array<bool, 4> arrays{};         ///< of vertices, normals, colours, texture coordinates
    std::array<unsigned int, 4> layout{}; ///< sizes and types, where the host chooses them
    unsigned int texture = 0;             ///< that is bound for it, with its sampler
    unsigned int sampler = 0;
    bool operator==(const ClientStateRequest&) const = default;
};

} // namespace KTR
