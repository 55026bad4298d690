#pragma once

#include "LazEntropy.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace OrrinViewer {

/// What the records of a compressed file are made of.
struct LazRecordLayout {
    bool isLayered = false; ///< point formats from 6 on: each attribute in a stream of its own
    bool hasTime = false;   ///< behind the point; in layered ones always, and in the point
    bool hasColor = false;
    bool hasNearInfrared = false;
    int layeredVersion = 3;
    std::size_t extraBytes = 0; ///< of the file's maker, at the end
    std::size_t recordBytes = 0;
};

/// Decompresses the points of one chunk, one after the other, to records as uncompressed files have them. Of layered
/// ones only what a viewer shows is decompressed: coordinates, returns, class, flags, intensity and colour; the rest
/// stays as the chunk's first point has it. Throws LazFault.
class LazChunk {
public:
    LazChunk() = default;
    virtual ~LazChunk() = default;
    LazChunk(const LazChunk&) = delete;
    LazChunk& operator=(const LazChunk&) = delete;

    virtual void TakePoint(std::span<std::uint8_t> record) = 0;
};

/// The bytes must outlive the chunk.
std::unique_ptr<LazChunk> OpenLazChunk(const LazRecordLayout& layout, std::span<const std::uint8_t> bytes);

} // namespace OrrinViewer
