#pragma once

namespace OrrinViewer {

enum class LayerKind {
    Raster,
    Relief,
    Mesh,
    Cloud,
    Features,
};

} // namespace OrrinViewer
