#include "EyeDome.h"

#include "../diagnostics/DebugNames.h"
#include "../pipeline/TextureUnit.h"
#include "../platform/GLCalls.h"
#include "../platform/Notice.h"

#include <GL/glext.h>

#include <algorithm>
#include <cmath>

namespace KTR {

namespace {

// The library brings these two itself: the stock programs are built, and their files looked for, without them.
constexpr const char* kVertexSource = R"(#version 440 core

// One triangle over the whole viewport, without any vertex data.
void main() {
    gl_Position = vec4(gl_VertexID == 1 ? 3.0 : -1.0, gl_VertexID == 2 ? 3.0 : -1.0, 0.0, 1.0);
}
)";

constexpr const char* kFragmentSource = R"(#version 440 core

// Darkens a pixel by how steeply the frame falls back from its neighbours. The colour is to be multiplied with what the
// frame has. All places are in the texture's coordinates.

layout(binding = 0) uniform sampler2D Depth;

layout(location = 0) uniform vec3 Shade;     // at the far end, slope, strength times steps
layout(location = 1) uniform vec2 Corner;    // lower left corner of the viewport, in window pixels
layout(location = 2) uniform vec2 Pixel;     // size of a pixel
layout(location = 3) uniform vec2 Radius;    // how far the neighbours lie
layout(location = 4) uniform vec4 Middles;   // of the first pixel and of the last

layout(location = 0) out vec4 fragmentColor;

float DepthAt(float x, float y) {
    return textureLod(Depth, vec2(x, y), 0.0).r;
}

void main() {
    vec2 place = (gl_FragCoord.xy - Corner) * Pixel;
    float depth = DepthAt(place.x, place.y);
    float shade = 1.0;
    // Where nothing was drawn nothing is shaded. The neighbours' depths are read in a branch: that is most of the work.
    if (depth < 1.0) {
        vec2 before = max(place - Radius, Middles.xy);
        vec2 behind = min(place + Radius, Middles.zw);
        float beside = min(DepthAt(before.x, place.y), DepthAt(behind.x, place.y));
        float above = min(DepthAt(place.x, before.y), DepthAt(place.x, behind.y));
        vec2 lead = max(vec2(depth - beside, depth - above), 0.0);
        shade = exp2(-length(lead) * Shade.z / (Shade.x + Shade.y * (1.0 - depth)));
    }
    fragmentColor = vec4(shade, shade, shade, 1.0);
}
)";

constexpr float kBitsPerNeper = 1.44269504F; ///< exp(x) = 2^(x × this)

enum Location : GLint { LocationShade, LocationCorner, LocationPixel, LocationRadius, LocationMiddles };

/// 0 when it does not compile; the driver's words go to the debugger.
GLuint CompileShader(const GLCalls& gl, GLenum kind, const char* source) {
    const GLuint shader = gl.glCreateShader(kind);
    gl.glShaderSource(shader, 1, &source, nullptr);
    gl.glCompileShader(shader);
    GLint compiled = GL_FALSE;
    gl.glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    if (compiled == GL_TRUE) {
        return shader;
    }
    char log[512] = {};
    gl.glGetShaderInfoLog(shader, sizeof(log), nullptr, log);
    SendToDebugger("OrrinDisplay: the shader of eye-dome lighting does not compile.\n");
    SendToDebugger(log);
    gl.glDeleteShader(shader);
    return 0;
}

GLuint LinkProgram(const GLCalls& gl, GLuint vertexShader, GLuint fragmentShader) {
    const GLuint program = gl.glCreateProgram();
    gl.glAttachShader(program, vertexShader);
    gl.glAttachShader(program, fragmentShader);
    gl.glLinkProgram(program);
    GLint linked = GL_FALSE;
    gl.glGetProgramiv(program, GL_LINK_STATUS, &linked);
    if (linked == GL_TRUE) {
        NameObject(gl, GL_PROGRAM, program, "program of eye-dome lighting");
        return program;
    }
    SendToDebugger("OrrinDisplay: the program of eye-dome lighting does not link.\n");
    gl.glDeleteProgram(program);
    return 0;
}

} // namespace

DepthScale DepthScaleOf(const glm::dmat4& projection, int heightPixels) {
    // Eye distances follow from the depth as (p32 - ndc p33) / (p22 - ndc p23), and a pixel is as large as w there.
    const double slope = -2.0 * projection[2][3];
    const double atFarEnd = -projection[2][2] + projection[2][3];
    return {static_cast<float>(atFarEnd), static_cast<float>(slope),
            static_cast<float>(std::abs(projection[1][1]) * heightPixels)};
}

bool BuildEyeDomeProgram(const GLCalls& gl, EyeDomeObjects& objects) {
    if (objects.program != 0 || objects.failed) {
        return !objects.failed;
    }
    const GLuint vertexShader = CompileShader(gl, GL_VERTEX_SHADER, kVertexSource);
    const GLuint fragmentShader = CompileShader(gl, GL_FRAGMENT_SHADER, kFragmentSource);
    if (vertexShader != 0 && fragmentShader != 0) {
        objects.program = LinkProgram(gl, vertexShader, fragmentShader);
    }
    for (const GLuint shader : {vertexShader, fragmentShader}) {
        if (shader != 0) {
            gl.glDeleteShader(shader);
        }
    }
    objects.failed = objects.program == 0;
    return !objects.failed;
}

void CopyDepths(const GLCalls& gl, EyeDomeObjects& objects, const std::array<int, 4>& viewport) {
    const auto& [x, y, width, height] = viewport;
    const bool fits = objects.depthTexture != 0 && width <= objects.width && height <= objects.height;
    if (!fits) {
        gl.glDeleteTextures(1, &objects.depthTexture);
        gl.glGenTextures(1, &objects.depthTexture);
        objects.width = std::max(width, objects.width);
        objects.height = std::max(height, objects.height);
    }
    BindTextureUnit(gl, 0, objects.depthTexture, 0);
    if (!fits) {
        // NOTE: into a texture that holds stencils too Mesa copies nothing, and reports no error.
        gl.glTexStorage2D(GL_TEXTURE_2D, 1, GL_DEPTH_COMPONENT24, objects.width, objects.height);
        NameObject(gl, GL_TEXTURE, objects.depthTexture, "depths of eye-dome lighting");
        gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    }
    gl.glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, x, y, width, height);
}

void DrawEyeDome(const GLCalls& gl, const EyeDomeObjects& objects, const EyeDomeSettings& settings,
                 const DepthScale& scale, const std::array<int, 4>& viewport) {
    const float pixel[] = {1.0F / static_cast<float>(objects.width), 1.0F / static_cast<float>(objects.height)};
    const float radius = std::round(settings.radiusPixels);
    const auto middle = [&](int axis, int place) { return (static_cast<float>(place) + 0.5F) * pixel[axis]; };
    gl.glUseProgram(objects.program);
    gl.glUniform3f(LocationShade, scale.atFarEnd, scale.slope,
                   settings.strength * kBitsPerNeper * scale.steps / settings.radiusPixels);
    gl.glUniform2f(LocationCorner, static_cast<float>(viewport[0]), static_cast<float>(viewport[1]));
    gl.glUniform2f(LocationPixel, pixel[0], pixel[1]);
    gl.glUniform2f(LocationRadius, radius * pixel[0], radius * pixel[1]);
    gl.glUniform4f(LocationMiddles, middle(0, 0), middle(1, 0), middle(0, viewport[2] - 1), middle(1, viewport[3] - 1));
    gl.glBindVertexArray(objects.vertexArray);
    gl.As(L"DrawEyeDomeLighting: END").glDrawArrays(GL_TRIANGLES, 0, 3);
}

void DeleteEyeDome(const GLCalls& gl, EyeDomeObjects& objects) {
    if (objects.program != 0) {
        gl.glDeleteProgram(objects.program);
    }
    if (objects.depthTexture != 0) {
        gl.glDeleteTextures(1, &objects.depthTexture);
    }
    if (objects.vertexArray != 0) {
        gl.glDeleteVertexArrays(1, &objects.vertexArray);
    }
    objects = {};
}

} // namespace KTR
