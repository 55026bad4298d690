#include "Screenshot.h"

#include "files/DiskPath.h"
#include "files/FileError.h"
#include "files/ImageFile.h"

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace OrrinViewer {

void SaveScreenshot(KTR::COpenGLView& view, int widthPixels, int heightPixels, const std::filesystem::path& path) {
    constexpr std::size_t kStoredChannels = 4;
    constexpr std::size_t kChannels = 3;
    const HDC deviceContext = view.GetContextRecord(view.GetCurrentContextType()).deviceContext;
    if (FAILED(view.SaveBackingStore(deviceContext, view.GetCurrentContextType(), GL_BACK, 0, 0, widthPixels,
                                     heightPixels))) {
        throw FileError(path, "the frame for the screenshot could not be read");
    }
    const auto width = static_cast<std::size_t>(widthPixels);
    const auto height = static_cast<std::size_t>(heightPixels);
    std::vector<std::uint8_t> rgb;
    rgb.reserve(width * height * kChannels);
    // The rows come from the bottom up. What blending left in the alpha channel is of no use in an image.
    for (std::size_t row = height; row-- > 0;) {
        const unsigned char* pixel = view.GetRGBABackingStore() + row * width * kStoredChannels;
        for (std::size_t column = 0; column < width; ++column, pixel += kStoredChannels) {
            rgb.insert(rgb.end(), pixel, pixel + kChannels);
        }
    }
    const std::string content = EncodeImage(path, widthPixels, heightPixels, rgb);
    std::ofstream file(DiskPath(path), std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (content.empty() || !file) {
        throw FileError(path, "the screenshot could not be written");
    }
}

} // namespace OrrinViewer
