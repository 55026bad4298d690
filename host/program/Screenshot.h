#pragma once

#include <OrrinDisplay.h>

#include <filesystem>

namespace OrrinViewer {

/// Saves the view's back buffer as an image of the kind that the path's ending says, by way of its backing store. Throws FileError when the file
/// cannot be written.
void SaveScreenshot(KTR::COpenGLView& view, int widthPixels, int heightPixels, const std::filesystem::path& path);

} // namespace OrrinViewer
