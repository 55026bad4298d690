#include "GlyphHalo.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace KTR {

namespace {

constexpr int kFull = 255;

/// Pixels that are taken at once.
constexpr int kLanes = 16;

/// How much a pixel is covered by the halo of another one that is (x, y) away, in 255ths.
std::vector<int> CoverageAround(double width, int margin) {
    std::vector<int> around;
    for (int y = -margin; y <= margin; ++y) {
        for (int x = -margin; x <= margin; ++x) {
            const double reach = std::clamp(width + 1.0 - std::hypot(x, y), 0.0, 1.0);
            around.push_back(static_cast<int>(std::lround(reach * kFull)));
        }
    }
    return around;
}

/// The halos of single pixels by how much of them is ink, each made when it is first needed.
class HaloStamps {
public:
    HaloStamps(double width, int margin)
        : m_around(CoverageAround(width, margin)), m_side(2 * margin + 1),
          m_stride((m_side + kLanes - 1) / kLanes * kLanes) {}

    /// Where a pixel of the halo is covered less, it is as the stamp is now. `target` is the stamp's upper left.
    void Put(unsigned char coverage, unsigned char* target, int targetStride) {
        const unsigned char* row = Of(coverage).data();
        for (int y = 0; y < m_side; ++y, row += m_stride, target += targetStride) {
            for (int x = 0; x < m_stride; x += kLanes) {
                auto* const lanes = reinterpret_cast<__m128i*>(target + x);
                const __m128i stamp = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x));
                _mm_storeu_si128(lanes, _mm_max_epu8(_mm_loadu_si128(lanes), stamp));
            }
        }
    }

private:
    const std::vector<unsigned char>& Of(unsigned char coverage) {
        std::vector<unsigned char>& stamp = m_stamps[coverage];
        if (stamp.empty()) {
            stamp.resize(static_cast<std::size_t>(m_stride) * static_cast<std::size_t>(m_side));
            const int* weight = m_around.data();
            for (int y = 0; y < m_side; ++y) {
                unsigned char* const row = stamp.data() + static_cast<std::ptrdiff_t>(y) * m_stride;
                for (int x = 0; x < m_side; ++x) {
                    row[x] = static_cast<unsigned char>(*weight++ * coverage / kFull);
                }
            }
        }
        return stamp;
    }

    std::vector<int> m_around;
    int m_side;
    int m_stride; ///< of a stamp, whose rows end in blanks
    std::array<std::vector<unsigned char>, 256> m_stamps;
};

} // namespace

int HaloMargin(double width) {
    return static_cast<int>(std::ceil(width));
}

GlyphImage HaloAround(const GlyphImage& glyph, double width) {
    const int margin = HaloMargin(width);
    GlyphImage halo;
    if (glyph.width == 0 || glyph.height == 0) {
        return halo;
    }
    halo.width = glyph.width + 2 * margin;
    halo.height = glyph.height + 2 * margin;
    const std::size_t size = static_cast<std::size_t>(halo.width) * static_cast<std::size_t>(halo.height);
    halo.pixels.resize(size + kLanes); // stamps are wider than they show
    HaloStamps stamps(width, margin);
    const std::ptrdiff_t stride = glyph.width;
    const unsigned char* ink = glyph.pixels.data();
    for (int y = 0; y < glyph.height; ++y) {
        for (int x = 0; x < glyph.width; ++x, ++ink) {
            if (*ink == 0) {
                continue;
            }
            unsigned char* const target = halo.pixels.data() + static_cast<std::ptrdiff_t>(y) * halo.width + x;
            // From within the ink any place is farther away than from one of the four neighbours, so that the halo is
            // that of the ink's edge.
            const bool inside = x > 0 && x + 1 < glyph.width && y > 0 && y + 1 < glyph.height && *ink == kFull &&
                                ink[-1] == kFull && ink[1] == kFull && ink[-stride] == kFull && ink[stride] == kFull;
            if (inside) {
                target[static_cast<std::ptrdiff_t>(margin) * halo.width + margin] = kFull;
            } else {
                stamps.Put(*ink, target, halo.width);
            }
        }
    }
    halo.pixels.resize(size);
    return halo;
}

} // namespace KTR
