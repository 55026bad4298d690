#include "KerningCache.h"

#include <ft2build.h>
#include FT_FREETYPE_H

namespace KTR {

int KerningCache::AskFace(unsigned short left, unsigned short right) const {
    FT_Vector distance = {};
    const FT_UInt leftGlyph = FT_Get_Char_Index(m_face, left);
    const FT_UInt rightGlyph = FT_Get_Char_Index(m_face, right);
    if (FT_Get_Kerning(m_face, leftGlyph, rightGlyph, FT_KERNING_DEFAULT, &distance) != 0) {
        return 0;
    }
    return static_cast<int>(distance.x >> 6);
}

} // namespace KTR
