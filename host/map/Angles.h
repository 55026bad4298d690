#pragma once

#include <numbers>

namespace OrrinViewer {

constexpr double Radians(double degrees) {
    return degrees * std::numbers::pi / 180.0;
}

} // namespace OrrinViewer
