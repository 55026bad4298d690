#pragma once

#include "CloudPoint.h"
#include "CoordinateSystem.h"
#include "PointCloud.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace OrrinViewer {

/// A file of points, read from the first to the last, in parts, so that its size does not matter to memory.
class CloudReader {
public:
    CloudReader() = default;
    virtual ~CloudReader() = default;
    CloudReader(const CloudReader&) = delete;
    CloudReader& operator=(const CloudReader&) = delete;

    /// What its points can have.
    virtual CloudFields GetFields() const = 0;
    /// How many points the file promises, those included that will be skipped; 0 where that shows only at the end.
    virtual std::uint64_t GetPointCount() const = 0;
    /// The box that the file promises its points to be in; empty where it promises none.
    virtual Extent GetPromisedExtent() const { return {}; }
    /// Fills in the next points and returns how many; fewer than there is room for only at the end. Throws FileError,
    /// and ReadingStopped.
    virtual std::size_t Read(std::span<CloudPoint> points) = 0;
    /// How much of the file has been read, 0 to 1, where the points do not tell that.
    virtual std::optional<double> GetShareRead() const { return std::nullopt; }
    /// What the file says of its coordinates' system.
    virtual CoordinateSystem GetSystem() const { return {}; }
    /// What is not as it should be with a file that can be shown all the same; empty where nothing is.
    virtual std::string GetWarning() const { return {}; }
    /// Points that were left out so far: withdrawn by the file's maker or without a position.
    virtual std::uint64_t CountSkipped() const = 0;
};

/// The points of another reader but those of these classes.
std::unique_ptr<CloudReader> LeaveOutClasses(std::unique_ptr<CloudReader> reader, const std::bitset<256>& classes);

/// Reads all points into memory.
PointCloud ReadAllPoints(CloudReader& reader);

} // namespace OrrinViewer
