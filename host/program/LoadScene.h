#pragma once

#include "ViewerOptions.h"
#include "drawing/Scene.h"

#include <string>
#include <vector>

namespace OrrinViewer {

/// Reads the options' files into a scene that is drawn as the options ask. A file that cannot be read does not stop the
/// others: what is wrong with it becomes a line of `faults`. Throws FileError where no file can be read, and
/// std::runtime_error where no feature has the property for labels.
Scene LoadScene(const ViewerOptions& options, std::vector<std::string>& faults);

} // namespace OrrinViewer
