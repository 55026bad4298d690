#include "ImageFile.h"

#include "FileError.h"
#include "InputFile.h"
#include "TextParsing.h"
#include "data/ReadingProgress.h"

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

#include <algorithm>
#include <limits>
#include <memory>
#include <string>

namespace OrrinViewer {

namespace {

using namespace std::string_view_literals;

bool BeginsLikeJpeg(std::span<const std::uint8_t> bytes) {
    return !bytes.empty() && bytes[0] == 0xFF;
}

struct FreePixels {
    void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
};

/// Hands a file's bytes to the decoder for as long as somebody wants the image: then the file seems to end, since the
/// decoder, which is C, cannot be left by an exception.
class ImageBytes {
public:
    explicit ImageBytes(std::span<const std::uint8_t> bytes) : m_bytes(bytes) { m_progress->Begin("decoding"); }

    static const stbi_io_callbacks& Callbacks() {
        static constexpr stbi_io_callbacks kCallbacks = {&Read, &Skip, &IsAtEnd};
        return kCallbacks;
    }
    void GoOn() const { m_progress->GoOn(); }

private:
    static int Read(void* context, char* data, int size) {
        auto& own = *static_cast<ImageBytes*>(context);
        const std::size_t count =
            own.m_progress->IsStopped() ? 0 : std::min(static_cast<std::size_t>(size), own.m_bytes.size() - own.m_at);
        std::copy_n(own.m_bytes.begin() + static_cast<std::ptrdiff_t>(own.m_at), count, data);
        own.m_at += count;
        own.m_progress->Note(own.m_at, own.m_bytes.size());
        return static_cast<int>(count);
    }
    /// Backwards too.
    static void Skip(void* context, int count) {
        auto& own = *static_cast<ImageBytes*>(context);
        const std::int64_t at = static_cast<std::int64_t>(own.m_at) + count;
        own.m_at = static_cast<std::size_t>(std::clamp<std::int64_t>(at, 0, std::ssize(own.m_bytes)));
    }
    static int IsAtEnd(void* context) {
        const auto& own = *static_cast<const ImageBytes*>(context);
        return own.m_at == own.m_bytes.size() || own.m_progress->IsStopped() ? 1 : 0;
    }

    std::span<const std::uint8_t> m_bytes;
    std::size_t m_at = 0;
    std::shared_ptr<ReadingProgress> m_progress = ReadingProgress::OfThisThread();
};

std::vector<std::uint8_t> ReadBytes(InputFile& file) {
    if (file.Size() > std::numeric_limits<int>::max()) {
        file.Fail("is larger than the two gigabytes that an image file may have");
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(file.Size()));
    file.Read(bytes);
    return bytes;
}

std::string EndingOf(const std::filesystem::path& path) {
    const std::u8string ending = path.extension().u8string();
    return LowerCase(std::string(ending.begin(), ending.end()));
}

void AppendTo(void* text, void* data, int size) {
    static_cast<std::string*>(text)->append(static_cast<const char*>(data), static_cast<std::size_t>(size));
}

/// Whether the image library can be given these bytes.
///
/// HACK: stb_image 2.27, as Debian 12 has it, believes the number of codes in a table of a JPEG image and writes behind
/// the 256 for which it has room. Such a table is refused wherever it could be found; what a valid image has by chance
/// in its data is no table. RasterFile.JpegWithTooManyCodes_IsRefused crashes without it.
bool HasTooManyCodes(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t kTableHeaderBytes = 17; // its kind, and how many codes there are of each length
    constexpr std::size_t kMostCodes = 256;
    const auto at = [bytes](std::size_t place) -> std::size_t { return place < bytes.size() ? bytes[place] : 0; };
    for (std::size_t marker = 0; marker + 1 < bytes.size(); ++marker) {
        if (bytes[marker] != 0xFF || bytes[marker + 1] != 0xC4) {
            continue;
        }
        const std::size_t end = marker + 2 + (at(marker + 2) << 8 | at(marker + 3));
        for (std::size_t table = marker + 4; table < end;) {
            const std::size_t kind = at(table);
            if (kind >> 4 > 1 || (kind & 15) > 3) {
                break; // the library refuses it there
            }
            std::size_t codes = 0;
            for (std::size_t length = 1; length < kTableHeaderBytes; ++length) {
                codes += at(table + length);
            }
            if (codes > kMostCodes) {
                return true;
            }
            table += kTableHeaderBytes + codes;
        }
    }
    return false;
}

/// Whether a part of a PNG image is longer than what there is of the file. The image library takes memory for its
/// length before it looks, up to two gigabytes.
bool HasCutPart(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t kSignatureBytes = 8;
    constexpr std::size_t kSumBytes = 4; // behind each part
    for (std::size_t part = kSignatureBytes; part + 8 <= bytes.size();) {
        const std::size_t length = static_cast<std::size_t>(bytes[part]) << 24 |
                                   static_cast<std::size_t>(bytes[part + 1]) << 16 |
                                   static_cast<std::size_t>(bytes[part + 2]) << 8 | bytes[part + 3];
        const std::string_view kind(reinterpret_cast<const char*>(bytes.data()) + part + 4, 4);
        part += 8;
        if (length > bytes.size() - part) {
            return true;
        }
        if (kind == "IEND"sv) {
            break;
        }
        part += length + kSumBytes;
    }
    return false;
}

/// Whether so many bytes can tell of so many pixels. A block of 64 takes a bit or more in a JPEG image; a byte of the
/// compression of PNG stands for 1,032 at most, and each of those for eight pixels.
bool AreBorneOut(double pixels, std::span<const std::uint8_t> bytes) {
    const double mostPerByte = BeginsLikeJpeg(bytes) ? 8 * 64 : 8 * 1'032;
    return pixels <= mostPerByte * static_cast<double>(bytes.size());
}

} // namespace

bool BeginsLikeImage(std::string_view beginning) {
    return beginning.starts_with("\x89PNG\r\n\x1A\n"sv) || beginning.starts_with("\xFF\xD8\xFF"sv);
}

RasterImage ReadImageFile(const std::filesystem::path& path) {
    InputFile file(path);
    const std::vector<std::uint8_t> bytes = ReadBytes(file);
    if (BeginsLikeJpeg(bytes) && HasTooManyCodes(bytes)) {
        file.Fail("is a damaged image: a table of codes is larger than a JPEG image can have");
    }
    if (!BeginsLikeJpeg(bytes) && HasCutPart(bytes)) {
        file.Fail("is a damaged image: a part of it is longer than the file");
    }
    constexpr int kChannels = 4;
    RasterImage image;
    int channelsInFile = 0;
    const int size = static_cast<int>(bytes.size());
    if (stbi_info_from_memory(bytes.data(), size, &image.width, &image.height, &channelsInFile) != 0 &&
        !AreBorneOut(static_cast<double>(image.width) * image.height, bytes)) {
        file.Fail("promises " + std::to_string(image.width) + " by " + std::to_string(image.height) +
                  " pixels and is too small for them");
    }
    ImageBytes decoded(bytes);
    const std::unique_ptr<stbi_uc, FreePixels> pixels(stbi_load_from_callbacks(
        &ImageBytes::Callbacks(), &decoded, &image.width, &image.height, &channelsInFile, kChannels));
    decoded.GoOn();
    if (!pixels) {
        // The reason may quote the file. Of some faults the library says nothing.
        const char* reason = stbi_failure_reason();
        file.Fail("is a damaged image or none at all" + (reason ? ": " + QuoteForMessage(reason) : std::string()));
    }
    const std::size_t values =
        static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * kChannels;
    image.rgba.assign(pixels.get(), pixels.get() + values);
    return image;
}

bool IsImageName(const std::filesystem::path& path) {
    const std::string ending = EndingOf(path);
    return ending == ".png" || ending == ".jpg" || ending == ".jpeg";
}

std::string EncodeImage(const std::filesystem::path& name, int width, int height, std::span<const std::uint8_t> rgb) {
    constexpr int kChannels = 3;
    constexpr int kQuality = 92;
    if (EndingOf(name) == ".png") {
        return EncodePng(width, height, rgb);
    }
    std::string content;
    stbi_write_jpg_to_func(AppendTo, &content, width, height, kChannels, rgb.data(), kQuality);
    return content;
}

std::string EncodePng(int width, int height, std::span<const std::uint8_t> rgb) {
    constexpr int kChannels = 3;
    std::string content;
    stbi_write_png_to_func(AppendTo, &content, width, height, kChannels, rgb.data(), width * kChannels);
    return content;
}

} // namespace OrrinViewer
