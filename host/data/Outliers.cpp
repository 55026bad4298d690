#include "Outliers.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace OrrinViewer {

namespace {

constexpr std::size_t kMostSampled = 100'000;
/// Where more than these are far away in one direction, they are no strays.
constexpr std::size_t kMostCandidates = 256;
/// Of fewer positions nobody can say which are astray.
constexpr std::uint64_t kFewest = 20;
constexpr double kFarTimes = 10.0;

using Axis = double Position::*;
constexpr std::array<Axis, 3> kAxes = {&Position::x, &Position::y, &Position::z};

/// Distance along the side's axis, away from the others.
double DistanceOf(const Position& position, std::size_t side) {
    const double coordinate = position.*kAxes[side % 3];
    return side < 3 ? -coordinate : coordinate;
}

std::uint64_t MostOutside(std::uint64_t count) {
    return std::max(count / 1000, std::min<std::uint64_t>(count / kFewest, 3));
}

/// The box that holds nearly all positions, along each axis.
Extent FindMiddle(std::vector<Position> sample) {
    const auto cutOff =
        static_cast<std::ptrdiff_t>(std::max<std::uint64_t>(sample.size() / 50, MostOutside(sample.size())));
    Extent middle;
    for (const Axis axis : kAxes) {
        const auto isLess = [axis](const Position& one, const Position& other) { return one.*axis < other.*axis; };
        std::nth_element(sample.begin(), sample.begin() + cutOff, sample.end(), isLess);
        middle.low.*axis = sample[static_cast<std::size_t>(cutOff)].*axis;
        std::nth_element(sample.begin(), sample.end() - 1 - cutOff, sample.end(), isLess);
        middle.high.*axis = (*(sample.end() - 1 - cutOff)).*axis;
    }
    return middle;
}

/// The middle, wider by as much as positions may be away from it. Heights may have another unit than the map.
Extent WidenToReach(const Extent& middle) {
    const double width = std::hypot(middle.high.x - middle.low.x, middle.high.y - middle.low.y);
    const double height = std::max(middle.high.z - middle.low.z, width / kFarTimes);
    Extent wide = middle;
    const Position reach{kFarTimes * width, kFarTimes * width, kFarTimes * height};
    for (const Axis axis : kAxes) {
        wide.low.*axis -= reach.*axis;
        wide.high.*axis += reach.*axis;
    }
    return wide;
}

bool IsWithin(const Extent& extent, const Position& position) {
    return std::all_of(kAxes.begin(), kAxes.end(), [&](Axis axis) {
        return position.*axis >= extent.low.*axis && position.*axis <= extent.high.*axis;
    });
}

} // namespace

void OutlierFinder::Add(const Position& position) {
    m_extent.Include(position);
    if (m_count % m_sampleStep == 0) {
        m_sample.push_back(position);
        if (m_sample.size() > kMostSampled) {
            for (std::size_t index = 0; 2 * index < m_sample.size(); ++index) {
                m_sample[index] = m_sample[2 * index];
            }
            m_sample.resize((m_sample.size() + 1) / 2);
            m_sampleStep *= 2;
        }
    }
    for (std::size_t side = 0; side < m_farthest.size(); ++side) {
        if (!m_farthest[side].isFull || DistanceOf(position, side) > m_farthest[side].least) {
            Keep(side, position);
        }
    }
    ++m_count;
}

/// Twice as many as are wanted are collected before the nearer half goes, so that a sorted file takes no longer.
void OutlierFinder::Keep(std::size_t side, const Position& position) {
    Farthest& farthest = m_farthest[side];
    farthest.candidates.push_back({m_count, position});
    if (farthest.candidates.size() < 2 * kMostCandidates) {
        return;
    }
    const auto isFarther = [side](const Candidate& one, const Candidate& other) {
        return DistanceOf(one.position, side) > DistanceOf(other.position, side);
    };
    const auto last = farthest.candidates.begin() + (kMostCandidates - 1);
    std::nth_element(farthest.candidates.begin(), last, farthest.candidates.end(), isFarther);
    farthest.least = DistanceOf(last->position, side);
    farthest.candidates.resize(kMostCandidates);
    farthest.isFull = true;
}

CoreExtent OutlierFinder::Find() const {
    const CoreExtent everything{m_extent, 0};
    if (m_count < kFewest) {
        return everything;
    }
    const Extent middle = FindMiddle(m_sample);
    const Extent reach = WidenToReach(middle);
    if (!(middle.low.x < middle.high.x || middle.low.y < middle.high.y) ||
        (IsWithin(reach, m_extent.low) && IsWithin(reach, m_extent.high))) {
        return everything;
    }
    CoreExtent core;
    std::set<std::uint64_t> outside;
    for (std::size_t side = 0; side < m_farthest.size(); ++side) {
        bool hasInside = false;
        for (const Candidate& candidate : m_farthest[side].candidates) {
            if (IsWithin(reach, candidate.position)) {
                // The farthest of these is the farthest of all that are no strays.
                core.extent.Include(candidate.position);
                hasInside = true;
            } else {
                outside.insert(candidate.number);
            }
        }
        if (!hasInside) {
            return everything;
        }
    }
    core.outside = outside.size();
    return core.outside <= MostOutside(m_count) ? core : everything;
}

} // namespace OrrinViewer
