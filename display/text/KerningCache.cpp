#include "KerningCache.h"

#include "FontFace.h"

namespace KTR {

int KerningCache::AskFace(unsigned short left, unsigned short right) const {
    FT_Vector distance = {};
    const FT_UInt leftGlyph = GlyphOfCharacter(m_face, left);
    const FT_UInt rightGlyph = GlyphOfCharacter(m_face, right);
    if (FT_Get_Kerning(m_face, leftGlyph, rightGlyph, FT_KERNING_DEFAULT, &distance) != 0) {
        return 0;
    }
    return static_cast<int>(distance.x >> 6);
}

} // namespace KTR
