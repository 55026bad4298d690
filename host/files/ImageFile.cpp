#include "ImageFile.h"

#include "FileError.h"
#include "InputFile.h"

// The only place that takes in the bodies of the image library. clang's analyser reports what it takes for leaks
// inside; it reads the declarations only.
#ifndef __clang_analyzer__
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#endif
#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_WRITE_NO_STDIO
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#endif
#include <stb_image.h>
#include <stb_image_write.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#include <limits>
#include <memory>
#include <string>

namespace OrrinViewer {

namespace {

using namespace std::string_view_literals;

struct FreePixels {
    void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
};

std::vector<std::uint8_t> ReadBytes(InputFile& file) {
    if (file.Size() > std::numeric_limits<int>::max()) {
        file.Fail("is larger than the two gigabytes that an image file may have");
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(file.Size()));
    file.Read(bytes);
    return bytes;
}

} // namespace

bool BeginsLikeImage(std::string_view beginning) {
    return beginning.starts_with("\x89PNG\r\n\x1A\n"sv) || beginning.starts_with("\xFF\xD8\xFF"sv);
}

RasterImage ReadImageFile(const std::filesystem::path& path) {
    InputFile file(path);
    const std::vector<std::uint8_t> bytes = ReadBytes(file);
    constexpr int kChannels = 4;
    RasterImage image;
    int channelsInFile = 0;
    const std::unique_ptr<stbi_uc, FreePixels> pixels(stbi_load_from_memory(
        bytes.data(), static_cast<int>(bytes.size()), &image.width, &image.height, &channelsInFile, kChannels));
    if (!pixels) {
        // The reason may quote the file.
        file.Fail("is a damaged image or none at all: " + QuoteForMessage(stbi_failure_reason()));
    }
    const std::size_t size = static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * kChannels;
    image.rgba.assign(pixels.get(), pixels.get() + size);
    return image;
}

std::string EncodePng(int width, int height, std::span<const std::uint8_t> rgb) {
    constexpr int kChannels = 3;
    std::string content;
    const auto append = [](void* text, void* data, int size) {
        static_cast<std::string*>(text)->append(static_cast<const char*>(data), static_cast<std::size_t>(size));
    };
    stbi_write_png_to_func(append, &content, width, height, kChannels, rgb.data(), width * kChannels);
    return content;
}

} // namespace OrrinViewer
