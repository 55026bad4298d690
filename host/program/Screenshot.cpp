#include "Screenshot.h"

#include "files/FileError.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#endif
#include <stb_image_write.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#include <fstream>
#include <vector>

namespace OrrinViewer {

void SaveScreenshot(KTR::COpenGLView& view, int widthPixels, int heightPixels, const std::filesystem::path& path) {
    constexpr int channels = 3;
    constexpr std::size_t channelsKept = 4;
    const HDC deviceContext = view.GetContextRecord(view.GetCurrentContextType()).deviceContext;
    if (FAILED(view.SaveBackingStore(deviceContext, view.GetCurrentContextType(), GL_BACK, 0, 0, widthPixels,
                                     heightPixels))) {
        throw FileError(path, "the frame for the screenshot could not be read");
    }
    const unsigned char* kept = view.GetRGBABackingStore();
    const int rowBytes = widthPixels * channels;
    const std::size_t count = static_cast<std::size_t>(widthPixels) * static_cast<std::size_t>(heightPixels);
    std::vector<unsigned char> pixels;
    pixels.reserve(count * channels);
    for (std::size_t pixel = 0; pixel < count; ++pixel) {
        // What is left over from blending in the alpha channel is of no use in a picture.
        const unsigned char* color = kept + pixel * channelsKept;
        pixels.insert(pixels.end(), color, color + channels);
    }

    std::ofstream file(path, std::ios::binary);
    const auto write = [](void* context, void* data, int size) {
        static_cast<std::ofstream*>(context)->write(static_cast<const char*>(data), size);
    };
    // The rows come from the bottom up.
    const unsigned char* topRow =
        pixels.data() + static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(heightPixels - 1);
    const bool encoded =
        file && stbi_write_png_to_func(write, &file, widthPixels, heightPixels, channels, topRow, -rowBytes);
    file.close();
    if (!encoded || !file) {
        throw FileError(path, "the screenshot could not be written");
    }
}

} // namespace OrrinViewer
