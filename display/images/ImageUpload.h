#pragma once

#include "ImageRows.h"

namespace KTR {

class COpenGLView;

/// COpenGLView::LoadGLImage for a part of an image.
long UploadImage(COpenGLView& view, const ImageRows& rows, unsigned int textureUnit, unsigned int filter,
                 unsigned int& texture, unsigned int& sampler);

/// COpenGLView::UpdateGLImage for a part of an image that can be loaded; the view's context has to be current.
long UpdateImage(COpenGLView& view, unsigned int texture, int x, int y, const ImageRows& rows);

} // namespace KTR
