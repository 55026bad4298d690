#pragma once

#include "ImageRows.h"

namespace KTR {

class COpenGLView;

/// COpenGLView::LoadGLImage for a part of an image.
long UploadImage(COpenGLView& view, const ImageRows& rows, unsigned int textureUnit, unsigned int filter,
                 unsigned int& texture, unsigned int& sampler);

} // namespace KTR
