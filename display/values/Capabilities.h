#pragma once

#include "GLTypes.h"

#include <GL/glext.h>

#include <array>
#include <cstddef>

namespace KTR {

/// A capability and what the library does with it.
struct Capability {
    unsigned int name; ///< GL enum
    int flag;          ///< its place among GLAttributes::capabilities
    bool tracked;      ///< kTracked or kAnswerOnly
    bool asked;        ///< by GetCurrentGLAttributes: kAsked or kNotAsked
    /// When the state is sent to OpenGL again: kNotSent, kSentToEveryContext, or the place among those that are sent to
    /// fixed-function contexts behind the rest of the state.
    int sent;
};

inline constexpr bool kTracked = true;     ///< kept in step with OpenGL
inline constexpr bool kAnswerOnly = false; ///< only takes OpenGL's answer; hosts cannot ask for it by name
inline constexpr bool kAsked = true;
inline constexpr bool kNotAsked = false;
inline constexpr int kNotSent = -1;
inline constexpr int kSentToEveryContext = 0;
inline constexpr int kFixedFunctionCapabilities = 9;

/// The one table of capabilities, in the order of their flags, which is also the order of asking and sending.
///
/// NOTE: the depth mask is no capability: drivers answer no and keep an invalid-enum error.
inline constexpr std::array<Capability, 16> kCapabilities = {{
    {GL_BLEND, 0, kTracked, kAsked, kSentToEveryContext},
    {GL_COLOR_LOGIC_OP, 1, kTracked, kAsked, kSentToEveryContext},
    {GL_COLOR_MATERIAL, 2, kTracked, kAsked, 5},
    {GL_CULL_FACE, 3, kAnswerOnly, kAsked, kNotSent},
    {GL_DEPTH_TEST, 4, kTracked, kAsked, kSentToEveryContext},
    {GL_DEPTH_WRITEMASK, 5, kAnswerOnly, kAsked, kNotSent},
    {GL_LIGHT0, 6, kTracked, kAsked, 3},
    {GL_LIGHT1, 7, kTracked, kNotAsked, 4},
    {GL_LIGHTING, 22, kTracked, kNotAsked, 2},
    {GL_LINE_SMOOTH, 23, kTracked, kNotAsked, kSentToEveryContext},
    {GL_LINE_STIPPLE, 24, kTracked, kAsked, 1},
    {GL_POINT_SMOOTH, 25, kTracked, kAsked, 6},
    {GL_PROGRAM_POINT_SIZE, 26, kTracked, kNotAsked, 7},
    {GL_SCISSOR_TEST, 27, kTracked, kNotAsked, kSentToEveryContext},
    {GL_TEXTURE_1D, 28, kTracked, kAsked, 9},
    {GL_TEXTURE_2D, 29, kTracked, kAsked, 8},
}};

/// The capabilities of fixed-function contexts, in the order in which they are sent.
constexpr std::array<Capability, kFixedFunctionCapabilities> FixedFunctionCapabilities() {
    std::array<Capability, kFixedFunctionCapabilities> ordered{};
    for (const Capability& capability : kCapabilities) {
        if (capability.sent > kSentToEveryContext) {
            ordered[static_cast<std::size_t>(capability.sent - 1)] = capability;
        }
    }
    return ordered;
}

} // namespace KTR
