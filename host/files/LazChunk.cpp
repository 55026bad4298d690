#include "LazChunk.h"

#include "LazLayeredChunk.h"
#include "LazPointwiseChunk.h"

namespace OrrinViewer {

std::unique_ptr<LazChunk> OpenLazChunk(const LazRecordLayout& layout, std::span<const std::uint8_t> bytes) {
    if (bytes.size() < layout.recordBytes) {
        throw LazFault("ends within its first point");
    }
    if (layout.isLayered) {
        return std::make_unique<LazLayeredChunk>(layout, bytes);
    }
    return std::make_unique<LazPointwiseChunk>(layout, bytes);
}

} // namespace OrrinViewer
