#pragma once

#include "LazEntropy.h"

#include <array>
#include <cstdint>

namespace OrrinViewer {

/// Red, green and blue, of 16 bits each.
using LazColor = std::array<std::uint16_t, 3>;

/// Colours as bytes that differ from those of the last point: the red one's by themselves, green and blue by what red,
/// then green, has changed.
class LazColorModel {
public:
    LazColor Take(ArithmeticDecoder& decoder, const LazColor& last);

private:
    SymbolModel m_changed{128}; ///< which of the six bytes, and whether the channels differ
    std::array<SymbolModel, 6> m_corrections{SymbolModel(256), SymbolModel(256), SymbolModel(256),
                                             SymbolModel(256), SymbolModel(256), SymbolModel(256)};
};

} // namespace OrrinViewer
