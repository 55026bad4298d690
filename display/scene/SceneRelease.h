#pragma once

#include "../values/SceneObjects.h"

namespace KTR {

class GLCalls;
struct SharedNames;

/// Deletes what a context has for scenes, but for its lighting; the context has to be current.
void DeleteSceneObjects(const GLCalls& gl, SceneObjects& scene);
/// Hands the names over instead, for others of the share group to delete. Throws when there is no memory.
void LeaveSceneObjects(SceneObjects& scene, SharedNames& names);

} // namespace KTR
