#pragma once

#include "../Framework.h"

#include <array>

namespace KTR {

/// Display lists made from a GDI font, by the context that has them. They belong to the host.
struct TextLists {
    unsigned int raster = 0;                  ///< RefreshRasterFont's last; 0 for none
    unsigned int outline = 0;                 ///< RefreshOutlineFont's last; 0 for none
    double outlineHeight = 0.0;               ///< pixels that one em of the outline font has at scale 1
    std::array<float, 256> outlineAdvances{}; ///< ems from each character to the next
    std::array<float, 256> outlineHeights{};  ///< ems of each character's ink
    std::array<int, 256> rasterAdvances{};    ///< pixels from each character to the next
    std::array<int, 256> rasterHeights{};     ///< pixels of each character's ink
    LOGFONTW rasterFont{};                    ///< what the raster lists were made from
    unsigned int rasterHalo = 0;              ///< the library's own: halos of the raster lists; 0 for none
    double rasterHaloWidth = 0.0;             ///< pixels
};

} // namespace KTR
