#include "SceneRelease.h"

#include "../platform/GLCalls.h"
#include "../platform/ShareGroup.h"

namespace KTR {

void DeleteSceneObjects(const GLCalls& gl, SceneObjects& scene) {
    for (StreamBuffer* const buffer : {&scene.vertices, &scene.indices}) {
        if (buffer->name != 0) {
            gl.glDeleteBuffers(1, &buffer->name);
        }
        *buffer = {};
    }
}

void LeaveSceneObjects(SceneObjects& scene, SharedNames& names) {
    for (StreamBuffer* const buffer : {&scene.vertices, &scene.indices}) {
        if (buffer->name != 0) {
            names.buffers.push_back(buffer->name);
        }
        *buffer = {};
    }
}

} // namespace KTR
