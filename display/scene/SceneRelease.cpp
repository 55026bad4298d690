#include "SceneRelease.h"

#include "../platform/GLCalls.h"
#include "../platform/ShareGroup.h"
#include "EyeDome.h"

namespace KTR {

void DeleteSceneObjects(const GLCalls& gl, SceneObjects& scene) {
    for (StreamBuffer* const buffer : {&scene.vertices, &scene.indices}) {
        if (buffer->name != 0) {
            gl.glDeleteBuffers(1, &buffer->name);
        }
        *buffer = {};
    }
    DeleteEyeDome(gl, scene.eyeDome);
}

void LeaveSceneObjects(SceneObjects& scene, SharedNames& names) {
    for (StreamBuffer* const buffer : {&scene.vertices, &scene.indices}) {
        if (buffer->name != 0) {
            names.buffers.push_back(buffer->name);
        }
        *buffer = {};
    }
    // Vertex arrays are not shared: this one goes with its context.
    if (scene.eyeDome.program != 0) {
        names.programs.push_back(scene.eyeDome.program);
    }
    if (scene.eyeDome.depthTexture != 0) {
        names.textures.push_back(scene.eyeDome.depthTexture);
    }
    scene.eyeDome = {};
}

} // namespace KTR
