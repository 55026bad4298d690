#include "ComputedRelief.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace OrrinViewer {

namespace {

/// One of the waves that the relief is made of.
struct Wave {
    double length; ///< pixels from crest to crest
    double angle;  ///< of its direction, radians
    double height;
};

/// Each some 2.3 times as short as the one before, in directions that repeat nowhere.
constexpr std::array<Wave, 14> kWaves = {{{61'000.0, 0.4, 300.0},
                                          {27'000.0, 2.0, 190.0},
                                          {19'000.0, 1.1, 150.0},
                                          {8'100.0, 2.7, 95.0},
                                          {5'300.0, 0.1, 75.0},
                                          {2'300.0, 1.6, 50.0},
                                          {1'100.0, 2.4, 32.0},
                                          {610.0, 0.8, 22.0},
                                          {260.0, 1.9, 13.0},
                                          {130.0, 0.3, 8.0},
                                          {71.0, 2.9, 5.5},
                                          {33.0, 1.3, 3.5},
                                          {17.0, 2.2, 2.2},
                                          {9.0, 0.6, 1.4}}};

/// The share of a wave that is left of it in means over `size` of its radians.
double LeftOf(double size) {
    return size == 0.0 ? 1.0 : std::sin(size / 2.0) / (size / 2.0);
}

struct SineAndCosine {
    double sine;
    double cosine;
};

/// At the middles of `count` steps from `first` on.
std::vector<SineAndCosine> Angles(int first, int count, double step) {
    std::vector<SineAndCosine> angles;
    angles.reserve(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index) {
        const double angle = (static_cast<double>(first) + index + 0.5) * step;
        angles.push_back({std::sin(angle), std::cos(angle)});
    }
    return angles;
}

} // namespace

void ComputeRelief(int level, int column, int row, int width, int height, float* elevations) {
    const std::size_t columns = static_cast<std::size_t>(width);
    std::vector<double> sums(columns * static_cast<std::size_t>(height));
    const double square = std::ldexp(1.0, level);
    for (const Wave& wave : kWaves) {
        const double radians = 2.0 * std::numbers::pi / wave.length * square;
        const double across = radians * std::cos(wave.angle);
        const double down = radians * std::sin(wave.angle);
        const double waveHeight = wave.height * LeftOf(across) * LeftOf(down);
        const std::vector<SineAndCosine> columnAngles = Angles(column, width, across);
        double* sum = sums.data();
        for (const SineAndCosine& rowAngle : Angles(row, height, down)) {
            for (const SineAndCosine& columnAngle : columnAngles) {
                *sum++ += waveHeight * (columnAngle.sine * rowAngle.cosine + columnAngle.cosine * rowAngle.sine);
            }
        }
    }
    for (const double sum : sums) {
        *elevations++ = static_cast<float>(sum);
    }
}

} // namespace OrrinViewer
