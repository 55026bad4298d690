#pragma once

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#endif
#include <stb_image_write.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#include <string>

namespace OrrinViewer {

/// A PNG file of red, green and blue bytes, upper row first.
inline std::string PngOf(int width, int height, const unsigned char* pixels) {
    std::string content;
    const auto append = [](void* text, void* data, int size) {
        static_cast<std::string*>(text)->append(static_cast<const char*>(data), static_cast<std::size_t>(size));
    };
    stbi_write_png_to_func(append, &content, width, height, 3, pixels, width * 3);
    return content;
}

} // namespace OrrinViewer
