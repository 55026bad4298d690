#include "CloudSurvey.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace OrrinViewer {

namespace {

/// Of larger clouds a part of the elevations is kept.
constexpr std::size_t kMostElevations = 1'000'000;

/// Every so many-th elevation. Some ten thousand, spread over the file, tell as much as all of them.
std::vector<double> SampleOf(const std::vector<double>& elevations) {
    constexpr std::size_t kSampleSize = 10'000;
    const std::size_t step = std::max<std::size_t>(1, elevations.size() / kSampleSize);
    std::vector<double> sample;
    for (std::size_t index = 0; index < elevations.size(); index += step) {
        sample.push_back(elevations[index]);
    }
    return sample;
}

} // namespace

ElevationRange FindElevationRange(std::vector<double> elevations) {
    if (elevations.empty()) {
        return {};
    }
    std::sort(elevations.begin(), elevations.end());
    const std::size_t cutOff = elevations.size() / 50;
    return {elevations[cutOff], elevations[elevations.size() - 1 - cutOff]};
}

void CloudSurvey::Add(std::span<const CloudPoint> points) {
    const bool isSurvey = m_fields.classMeaning == ClassMeaning::Survey;
    for (const CloudPoint& point : points) {
        m_extent.Include(point.position);
        m_outliers.Add(point.position);
        const unsigned int channels = point.red | point.green | point.blue;
        m_hasWideColors = m_hasWideColors || channels > 255;
        m_colored += channels != 0 ? 1 : 0;
        m_wideColored += channels > 255 ? 1 : 0;
        m_hasClasses = m_hasClasses || point.classNumber != 0;
        ++m_classCounts[point.classNumber];
        m_classified += (isSurvey ? point.classNumber > 1 : point.classNumber != kNoClass) ? 1 : 0;
        m_hasIntensities = m_hasIntensities || point.intensity != 0.0F;
        if (point.intensity > m_strongest && std::isfinite(point.intensity)) {
            m_strongest = point.intensity;
        }
        if (m_count++ % m_elevationStep == 0) {
            AddElevation(point.position.z);
        }
    }
}

void CloudSurvey::AddElevation(double elevation) {
    m_elevations.push_back(elevation);
    if (m_elevations.size() > kMostElevations) {
        for (std::size_t index = 0; 2 * index < m_elevations.size(); ++index) {
            m_elevations[index] = m_elevations[2 * index];
        }
        m_elevations.resize((m_elevations.size() + 1) / 2);
        m_elevationStep *= 2;
    }
}

CloudTraits CloudSurvey::Find() const {
    CloudTraits traits;
    traits.count = m_count;
    traits.extent = m_extent;
    traits.core = m_outliers.Find();
    traits.classMeaning = m_fields.classMeaning;
    const bool countsZero = !m_fields.zeroIsAbsent && m_count > 0;
    traits.hasColors = m_fields.colors && (countsZero || m_colored > 0);
    traits.hasClasses = m_fields.classes && (countsZero || m_hasClasses);
    traits.hasIntensities = m_fields.intensities && (countsZero || m_hasIntensities);
    traits.wideColors = m_hasWideColors;
    traits.coloredPoints = m_hasWideColors ? m_wideColored : m_colored;
    traits.classifiedPoints = m_classified;
    traits.classCounts = m_classCounts;
    traits.strongestIntensity = m_strongest;
    traits.elevations = FindElevationRange(SampleOf(m_elevations));
    return traits;
}

} // namespace OrrinViewer
