#pragma once

#include "CloudPoint.h"
#include "Outliers.h"

#include <array>
#include <span>
#include <vector>

namespace OrrinViewer {

/// Elevations between which the colours run, in the file's units.
struct ElevationRange {
    double low = 0.0;
    double high = 0.0;

    bool operator==(const ElevationRange&) const = default;
};

/// The range that holds all but the lowest and the highest fiftieth of the elevations, which may come in any order: a
/// few birds and echoes from below the ground would otherwise take most of the colours. 0 to 0 for none.
ElevationRange FindElevationRange(std::vector<double> elevations);

/// What the points of a cloud have in common; what one has to know of all of them to colour one.
struct CloudTraits {
    std::uint64_t count = 0;
    Extent extent;   ///< of all points
    CoreExtent core; ///< without the few that lie far outside
    ClassMeaning classMeaning = ClassMeaning::Survey;
    bool hasColors = false; ///< the file really has them
    bool hasClasses = false;
    bool hasIntensities = false;
    bool wideColors = false;            ///< the channels go up to 65535, not to 255
    std::uint64_t coloredPoints = 0;    ///< that are not black
    std::uint64_t classifiedPoints = 0; ///< that have a class worth telling
    std::array<std::uint64_t, 256> classCounts{};
    float strongestIntensity = 0.0F;
    ElevationRange elevations;
};

/// Learns the traits of a cloud while its points pass.
class CloudSurvey {
public:
    explicit CloudSurvey(const CloudFields& fields) : m_fields(fields) {}

    void Add(std::span<const CloudPoint> points);
    /// Of the points so far. Takes some milliseconds.
    CloudTraits Find() const;
    std::uint64_t Count() const { return m_count; }

private:
    void AddElevation(double elevation);

    CloudFields m_fields;
    std::uint64_t m_count = 0;
    Extent m_extent;
    OutlierFinder m_outliers;
    bool m_hasWideColors = false;
    bool m_hasClasses = false;
    bool m_hasIntensities = false;
    std::uint64_t m_colored = 0;     // in channels up to 255
    std::uint64_t m_wideColored = 0; // in channels up to 65535
    std::uint64_t m_classified = 0;
    std::array<std::uint64_t, 256> m_classCounts{};
    float m_strongest = 0.0F;
    std::vector<double> m_elevations; // of every m_elevationStep-th point
    std::uint64_t m_elevationStep = 1;
};

} // namespace OrrinViewer
