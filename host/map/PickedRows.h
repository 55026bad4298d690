#pragma once

#include "MapTicks.h"
#include "data/CloudPoint.h"
#include "data/VectorLayer.h"

#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// A line of the table that tells what was picked; UTF-8.
struct PickedRow {
    std::string name;
    std::string value;

    bool operator==(const PickedRow&) const = default;
};

/// In what a place and what lies there is told.
struct PickedUnits {
    MapUnits map = MapUnits::Metres;
    std::optional<double> heightMetres; ///< a unit of height, where it is known
};

/// x, y and, unless it is NaN, the height, to the millimetre.
std::vector<PickedRow> DescribePlace(const Position& place, const PickedUnits& units);
/// How large it is, and all its properties.
std::vector<PickedRow> DescribeFeature(const VectorFeature& feature, bool hasHeights, const PickedUnits& units);

/// What the points of a cloud have.
struct PointFields {
    bool colors = false;
    bool classes = false;
    bool intensities = false;
};
/// `className` is that of the point's class.
std::vector<PickedRow> DescribePoint(const CloudPoint& point, const PointFields& fields, const std::string& className,
                                     const PickedUnits& units);

/// All rows as a table for other programs, tabs between the columns: what would break a row of it becomes a blank.
std::string RowsAsText(const std::vector<PickedRow>& rows);

} // namespace OrrinViewer
