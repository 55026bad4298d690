#pragma once

#include "ViewerOptions.h"
#include "drawing/Scene.h"

namespace OrrinViewer {

/// Reads the options' files into a scene that is drawn as the options ask. Throws FileError, and std::runtime_error
/// where no feature has the property for labels.
Scene LoadScene(const ViewerOptions& options);

} // namespace OrrinViewer
