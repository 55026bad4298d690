#pragma once

#include "InputFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

enum class PlyEncoding {
    Ascii,
    LittleEndian,
    BigEndian,
};

enum class PlyType {
    Int8,
    UInt8,
    Int16,
    UInt16,
    Int32,
    UInt32,
    Float,
    Double,
};

/// The bytes that a value of the type takes in the binary encodings.
std::size_t SizeOf(PlyType type);

struct PlyProperty {
    std::string name;
    PlyType type = PlyType::Float;
    std::optional<PlyType> listCountType; ///< Set for a list: the type of the count that comes before its values.
};

/// One kind of thing in the file, such as its vertices: `count` rows, each with all the properties in their order.
struct PlyElement {
    std::string name;
    std::uint64_t count = 0;
    std::vector<PlyProperty> properties;

    bool HasLists() const;

    /// The fewest bytes that a row can take; in the binary encodings without lists it is exactly what each row takes.
    std::size_t LeastRowBytes(PlyEncoding encoding) const;
};

struct PlyHeader {
    PlyEncoding encoding = PlyEncoding::Ascii;
    std::vector<PlyElement> elements; ///< In the order in which their rows follow.
};

/// Reads the header and leaves the file at the first row. Throws FileError with the line's number.
PlyHeader ReadPlyHeader(InputFile& file);

} // namespace OrrinViewer
