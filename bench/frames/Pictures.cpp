#include "Pictures.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace Frames {

namespace {

constexpr int kChannels = 3;

struct Difference {
    int pixels = 0;
    int step = 0; ///< the largest, of one channel
};

Difference Compare(const Frame& left, const Frame& right) {
    Difference difference;
    for (std::size_t pixel = 0; pixel < left.pixels.size(); pixel += kChannels) {
        int step = 0;
        for (std::size_t channel = 0; channel < kChannels; ++channel) {
            step = std::max(step, std::abs(left.pixels[pixel + channel] - right.pixels[pixel + channel]));
        }
        difference.pixels += step != 0 ? 1 : 0;
        difference.step = std::max(difference.step, step);
    }
    return difference;
}

/// Pixels of another colour than the first one, in a frame that leaves its upper left corner empty or else is full.
int CountDrawn(const Frame& frame) {
    int drawn = 0;
    for (std::size_t pixel = 0; pixel < frame.pixels.size(); pixel += kChannels) {
        drawn += std::equal(frame.pixels.begin(), frame.pixels.begin() + kChannels,
                            frame.pixels.begin() + static_cast<std::ptrdiff_t>(pixel))
                     ? 0
                     : 1;
    }
    return drawn;
}

/// Why a frame may look different from the library's on the 4.x pipeline; null where it may not.
const char* ReasonToDiffer(const Workload& workload, const Frame& frame) {
    if (std::string(workload.name) == "labels" && frame.way == "fixed") {
        return "fixed functions draw text from GDI's bitmaps, not from the atlas";
    }
    return nullptr;
}

} // namespace

Frame TakeFrame(KTR::COpenGLView& view, const char* way) {
    constexpr std::size_t kRow = std::size_t{kWindowWidth} * kChannels;
    std::vector<unsigned char> rows(kRow * kWindowHeight);
    view.PixelStore(GL_PACK_ALIGNMENT, 1);
    view.ReadBuffer(GL_BACK);
    view.ReadPixels(0, 0, kWindowWidth, kWindowHeight, GL_RGB, GL_UNSIGNED_BYTE, rows.data());
    Frame frame{way, std::vector<unsigned char>(rows.size())};
    for (std::size_t row = 0; row < kWindowHeight; ++row) {
        std::copy_n(rows.data() + row * kRow, kRow, frame.pixels.data() + (kWindowHeight - 1 - row) * kRow);
    }
    return frame;
}

void SaveFrame(const Frame& frame, const std::string& folder, const char* workload) {
    if (folder.empty()) {
        return;
    }
    const std::string path = folder + "/" + workload + "-" + frame.way + ".png";
    if (!stbi_write_png(path.c_str(), kWindowWidth, kWindowHeight, kChannels, frame.pixels.data(),
                        kWindowWidth * kChannels)) {
        std::fprintf(stderr, "%s could not be written\n", path.c_str());
    }
}

bool ReportAgreement(const Workload& workload, const std::vector<Frame>& frames, const Frame& reference) {
    const int drawn = CountDrawn(reference);
    std::printf("%s: %d pixels drawn\n", workload.name, drawn);
    bool agree = drawn > 0;
    for (const Frame& frame : frames) {
        if (&frame == &reference) {
            continue;
        }
        const Difference difference = Compare(frame, reference);
        const char* const reason = ReasonToDiffer(workload, frame);
        agree = agree && (difference.pixels == 0 || reason);
        if (difference.pixels == 0) {
            std::printf("    %-16s the same\n", frame.way.c_str());
        } else {
            std::printf("    %-16s %d pixels differ, by %d at most%s%s\n", frame.way.c_str(), difference.pixels,
                        difference.step, reason ? ": " : "", reason ? reason : " (THEY SHOULD NOT)");
        }
    }
    return agree;
}

} // namespace Frames
