#pragma once

#include "../values/GLAttributes.h"
#include "ImageRows.h"

#include <vector>

namespace KTR {

/// A part of an image as it is to be loaded: its colours adjusted and its pixels without data treated as the attributes
/// say, or as it is. May throw std::bad_alloc.
class TreatedImage {
public:
    TreatedImage(const GLAttributes& attributes, const ImageRows& image, int x, int y, int width, int height);
    TreatedImage(const TreatedImage&) = delete;
    TreatedImage& operator=(const TreatedImage&) = delete;

    /// GL_RGBA where there are pixels without data to look for, otherwise the image's own format. The pixels are this
    /// object's or the image's.
    const ImageRows& Rows() const { return m_rows; }

private:
    std::vector<unsigned char> m_pixels;
    ImageRows m_rows;
};

} // namespace KTR
