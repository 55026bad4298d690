#include "GLObjects.h"

#include <algorithm>

namespace {

/// Names are given out upwards, and lower ones again where they are free: what a few new ones are not below of is all
/// there is. The slack is for names that a driver hands out from a free place among the others.
constexpr unsigned int kSlack = 1024;

template <typename Make, typename Delete, typename Is>
void CountKind(GLObjects& objects, const char* kind, Make make, Delete destroy, Is is) {
    unsigned int newest = make();
    destroy(newest);
    int count = 0;
    for (unsigned int name = 1; name <= newest + kSlack; ++name) {
        count += is(name) == GL_TRUE ? 1 : 0;
    }
    if (count > 0) {
        objects.kinds += (objects.kinds.empty() ? "" : ", ") + (kind + (' ' + std::to_string(count)));
    }
    objects.count += count;
}

} // namespace

GLObjects GLObjects::Count(const COrrinGLCement& gl) {
    GLObjects objects;
    const auto generated = [&](const char* kind, auto generate, auto destroy, auto is) {
        CountKind(
            objects, kind,
            [generate] {
                unsigned int name = 0;
                generate(1, &name);
                return name;
            },
            [destroy](unsigned int name) { destroy(1, &name); }, is);
    };
    generated("textures", gl.glGenTextures, gl.glDeleteTextures, gl.glIsTexture);
    generated("buffers", gl.glGenBuffers, gl.glDeleteBuffers, gl.glIsBuffer);
    generated("samplers", gl.glGenSamplers, gl.glDeleteSamplers, gl.glIsSampler);
    generated("vertex arrays", gl.glGenVertexArrays, gl.glDeleteVertexArrays, gl.glIsVertexArray);
    generated("framebuffers", gl.glGenFramebuffers, gl.glDeleteFramebuffers, gl.glIsFramebuffer);
    generated("queries", gl.glGenQueries, gl.glDeleteQueries, gl.glIsQuery);
    CountKind(
        objects, "lists", [&] { return gl.glGenLists(1); }, [&](unsigned int name) { gl.glDeleteLists(name, 1); },
        gl.glIsList);
    CountKind(objects, "programs", gl.glCreateProgram, gl.glDeleteProgram,
              [&](unsigned int name) { return std::max(gl.glIsProgram(name), gl.glIsShader(name)); });
    return objects;
}
