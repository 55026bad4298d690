#pragma once

#include "Project.h"
#include "drawing/Scene.h"

#include <OrrinDisplay.h>

namespace OrrinViewer {

// Between a project and what it describes.

/// The layers that come from files, and how the scene is shown.
Project DescribeScene(const Scene& scene);
void ApplySettings(Scene& scene, const ProjectSettings& settings);

/// What the view shows; nothing before its first set-up.
std::optional<ProjectView> DescribeView(const KTR::COpenGLView& view, const Extent& box);
/// Has the view show that, as one step of its history. Its main context must be current.
void ShowProjectView(KTR::COpenGLView& view, const ProjectView& shown);

} // namespace OrrinViewer
