#pragma once

#include <optional>
#include <string>

namespace OrrinViewer {

/// The size of the units in which a map's coordinates are.
enum class MapUnits {
    Metres,
    Feet,         ///< international, of 0.3048 m
    UsSurveyFeet, ///< of 1200/3937 m, in which the states of the USA have measured
    Degrees,      ///< of longitude and latitude
};

constexpr double kMetresPerFoot = 0.3048;
constexpr double kMetresPerUsSurveyFoot = 1200.0 / 3937.0;

/// What a file says of the system that its coordinates are in.
struct CoordinateSystem {
    std::string name;                   ///< as people know it; empty: not told
    int code = 0;                       ///< in the EPSG register; 0: not told
    std::string wkt;                    ///< the file's own definition; empty: none
    std::optional<MapUnits> units;      ///< of x and y
    std::optional<double> heightMetres; ///< a unit of height

    /// Whether the file says where on Earth it is.
    bool IsKnown() const { return code != 0 || !wkt.empty(); }
};

} // namespace OrrinViewer
