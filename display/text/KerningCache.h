#pragma once

#include <array>
#include <cstdint>

struct FT_FaceRec_;

namespace KTR {

/// How far the pairs of a face move together, in whole pixels. FreeType looks a pair up in some 50 ns, more than the
/// two glyphs take otherwise; pairs of the texts that are drawn again and again are found here.
class KerningCache {
public:
    /// The face must have kerning, keep its size, and outlive this.
    explicit KerningCache(FT_FaceRec_* face) : m_face(face) {}

    int PixelsBetween(unsigned short left, unsigned short right) {
        const std::uint32_t pair = static_cast<std::uint32_t>(left) << 16 | right;
        Entry& entry = m_entries[(left * 61U ^ right) % kEntries];
        if (entry.pair != pair) {
            entry = {pair, AskFace(left, right)};
        }
        return entry.pixels;
    }

private:
    static constexpr std::size_t kEntries = 4096;

    struct Entry {
        std::uint32_t pair = 0; ///< 0, no characters of a text, for none
        int pixels = 0;
    };

    int AskFace(unsigned short left, unsigned short right) const;

    FT_FaceRec_* m_face;
    std::array<Entry, kEntries> m_entries{};
};

} // namespace KTR
