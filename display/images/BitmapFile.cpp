#include "BitmapFile.h"

#include "../platform/Notice.h"
#include "../values/GLTypes.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace KTR {

namespace {

constexpr std::uint32_t kFileHeaderBytes = 14;
constexpr std::uint32_t kInformationHeaderBytes = 40;
constexpr std::uint32_t kHeaderBytes = kFileHeaderBytes + kInformationHeaderBytes;
constexpr std::uint32_t kPixelsPerMetre = 96;

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
struct MemoryFreer {
    void operator()(unsigned char* memory) const { std::free(memory); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;
using Memory = std::unique_ptr<unsigned char, MemoryFreer>;

File CreateBinaryFile(const char* path) {
#ifdef _MSC_VER
    std::FILE* file = nullptr;
    return File(fopen_s(&file, path, "wb") == 0 ? file : nullptr);
#else
    return File(std::fopen(path, "wb"));
#endif
}

/// Puts numbers behind one another, low byte first.
class LittleEndian {
public:
    explicit LittleEndian(unsigned char* target) : m_target(target) {}
    void Put16(std::uint32_t value) { Put(value, 2); }
    void Put32(std::uint32_t value) { Put(value, 4); }

private:
    void Put(std::uint32_t value, int bytes) {
        for (int index = 0; index < bytes; ++index) {
            *m_target++ = static_cast<unsigned char>(value >> (8 * index));
        }
    }
    unsigned char* m_target;
};

/// The sizes of a file, wide enough for every width and height.
struct Layout {
    Layout(int width, int height, int format)
        : bytesPerPixel(format == GL_RGB ? 3 : 4), paddedWidth(std::int64_t{width} + width % 4),
          rowBytes(width * bytesPerPixel), paddedRowBytes(paddedWidth * bytesPerPixel),
          // Checked before it is multiplied, for three factors can be too much even for 64 bits.
          fits(width >= 0 && height >= 0 && paddedWidth <= std::numeric_limits<std::int32_t>::max() &&
               (height == 0 || paddedRowBytes <= (kLargestFile - kHeaderBytes) / height)),
          imageBytes(fits ? paddedRowBytes * height : 0) {}

    static constexpr std::int64_t kLargestFile = std::numeric_limits<std::uint32_t>::max();

    std::int64_t bytesPerPixel;
    std::int64_t paddedWidth;
    std::int64_t rowBytes;
    std::int64_t paddedRowBytes;
    bool fits; ///< the format's own numbers can say it
    std::int64_t imageBytes;
};

void FillHeaders(const Layout& layout, int height, unsigned char* headers) {
    LittleEndian out(headers);
    out.Put16('B' | 'M' << 8);
    out.Put32(static_cast<std::uint32_t>(layout.imageBytes) + kHeaderBytes);
    out.Put16(0);
    out.Put16(0);
    out.Put32(kHeaderBytes);

    out.Put32(kInformationHeaderBytes);
    out.Put32(static_cast<std::uint32_t>(layout.paddedWidth));
    // A height below zero says that the top row comes first.
    out.Put32(static_cast<std::uint32_t>(-std::int64_t{height}));
    out.Put16(1);
    out.Put16(static_cast<std::uint32_t>(layout.bytesPerPixel * 8));
    out.Put32(BI_RGB);
    out.Put32(static_cast<std::uint32_t>(layout.imageBytes));
    out.Put32(kPixelsPerMetre);
    out.Put32(kPixelsPerMetre);
    out.Put32(0);
    out.Put32(0);
}

void WritePixels(std::FILE* file, const Layout& layout, int height, const unsigned char* pixels) {
    const auto imageBytes = static_cast<std::size_t>(layout.imageBytes);
    if (layout.rowBytes == layout.paddedRowBytes) {
        std::fwrite(pixels, 1, imageBytes, file);
        return;
    }
    const Memory padded(static_cast<unsigned char*>(std::calloc(imageBytes, 1)));
    if (!padded) {
        return;
    }
    for (std::int64_t row = 0; row < height; ++row) {
        std::memcpy(padded.get() + row * layout.paddedRowBytes, pixels + row * layout.rowBytes,
                    static_cast<std::size_t>(layout.rowBytes));
    }
    std::fwrite(padded.get(), 1, imageBytes, file);
}

} // namespace

bool SaveRGBBufferToBMPFile(char* path, int width, int height, int format, unsigned char* pixels) {
    const Layout layout(width, height, format);
    if (!path || !layout.fits) {
        return false;
    }
    File file = CreateBinaryFile(path);
    if (!file) {
        SendToDebugger(L"Error Unable to Create File ");
        return false;
    }
    // Unbuffered, so that a full disk shows at the header that it refuses and not after the file was closed.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    unsigned char headers[kHeaderBytes];
    FillHeaders(layout, height, headers);
    const auto giveUp = [&](const wchar_t* message) {
        SendToDebugger(message);
        file.reset();
        DeleteFileA(path);
        return false;
    };
    if (std::fwrite(headers, 1, kFileHeaderBytes, file.get()) != kFileHeaderBytes) {
        return giveUp(L"Error  Header Write");
    }
    if (std::fwrite(headers + kFileHeaderBytes, 1, kInformationHeaderBytes, file.get()) != kInformationHeaderBytes) {
        return giveUp(L"Error  Write");
    }
    if (pixels) {
        WritePixels(file.get(), layout, height, pixels);
    }
    return true;
}

} // namespace KTR
