#include "DataColors.h"

#include "../values/GLTypes.h"
#include "ImageRows.h"

#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace KTR {

namespace {

constexpr int kSteps = 65536;
constexpr float kLastStep = kSteps - 1;
constexpr int kNoData = kSteps; ///< the place behind the steps

float ToFloat(double value) {
    constexpr double largest = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(value, -largest, largest));
}

double FiniteOr(double value, double otherwise) {
    return std::isfinite(value) ? value : otherwise;
}

std::vector<GLColorStop> OrderedStops(const GLDataStyle& style) {
    std::vector<GLColorStop> stops;
    std::copy_if(style.stops.begin(), style.stops.end(), std::back_inserter(stops),
                 [](const GLColorStop& stop) { return std::isfinite(stop.position); });
    if (stops.empty()) {
        stops = {{0.0, {0, 0, 0, 255}}, {1.0, {255, 255, 255, 255}}};
    }
    std::stable_sort(stops.begin(), stops.end(),
                     [](const GLColorStop& left, const GLColorStop& right) { return left.position < right.position; });
    return stops;
}

GLRGBAColor Between(const GLColorStop& before, const GLColorStop& after, double position) {
    const double share = (position - before.position) / (after.position - before.position);
    const auto channel = [share](unsigned char from, unsigned char to) {
        return static_cast<unsigned char>(std::lround(from + (to - from) * share));
    };
    return {channel(before.color.r, after.color.r), channel(before.color.g, after.color.g),
            channel(before.color.b, after.color.b), channel(before.color.a, after.color.a)};
}

std::uint32_t Packed(const GLRGBAColor& color) {
    const unsigned char bytes[] = {color.r, color.g, color.b, color.a};
    std::uint32_t packed = 0;
    std::memcpy(&packed, bytes, sizeof(packed));
    return packed;
}

/// Four values, at any address, as floats.
template <typename Value> __m128 LoadFour(const unsigned char* values) {
    if constexpr (std::is_same_v<Value, float>) {
        return _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(values)));
    } else {
        const __m128i packed = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(values));
        const __m128i zero = _mm_setzero_si128();
        return _mm_cvtepi32_ps(std::is_signed_v<Value> ? _mm_srai_epi32(_mm_unpacklo_epi16(zero, packed), 16)
                                                       : _mm_unpacklo_epi16(packed, zero));
    }
}

} // namespace

int BytesPerValue(unsigned int type) {
    switch (type) {
    case GL_UNSIGNED_SHORT:
    case GL_SHORT:
        return 2;
    case GL_FLOAT:
        return 4;
    default:
        return 0;
    }
}

bool IsLoadable(const DataRows& rows) {
    const int alignment = rows.rowAlignment;
    return rows.values && rows.width > 0 && rows.height > 0 && BytesPerValue(rows.type) != 0 &&
           (alignment == 1 || alignment == 2 || alignment == 4 || alignment == 8);
}

DataColors::DataColors(const GLDataStyle& style) : m_colors(kSteps + 1) {
    const std::vector<GLColorStop> stops = OrderedStops(style);
    const double exponent = 1.0 / std::clamp(FiniteOr(style.gamma, 1.0), 0.01, 100.0);
    std::size_t next = 0; // the first stop beyond the step
    for (int step = 0; step < kSteps; ++step) {
        const double linear = step / static_cast<double>(kLastStep);
        const double position = exponent == 1.0 ? linear : std::pow(linear, exponent);
        while (next < stops.size() && stops[next].position <= position) {
            ++next;
        }
        const GLRGBAColor color = next == 0              ? stops.front().color
                                  : next == stops.size() ? stops.back().color
                                                         : Between(stops[next - 1], stops[next], position);
        m_colors[static_cast<std::size_t>(step)] = Packed(color);
    }
    m_colors[kNoData] = Packed(style.noDataColor);
    m_holes = style.noDataColor.a == 0;
    m_low = ToFloat(FiniteOr(style.low, 0.0));
    const double range = FiniteOr(style.high, 1.0) - m_low;
    m_stepsPerUnit = ToFloat(range == 0.0 ? std::numeric_limits<double>::max() : kLastStep / range);
    m_noData = style.hasNoData ? ToFloat(style.noData) : std::numeric_limits<float>::quiet_NaN();
    m_noDataTolerance = ToFloat(std::max(FiniteOr(style.noDataTolerance, 0.0), 0.0));
}

/// True when there is a value without data.
///
/// Written for the instructions that every 64-bit processor has, since compilers leave floating-point comparisons in a
/// loop as they are.
template <typename Value>
bool DataColors::ConvertRow(const unsigned char* values, std::size_t count, unsigned char* rgba) const {
    const __m128 low = _mm_set1_ps(m_low);
    const __m128 stepsPerUnit = _mm_set1_ps(m_stepsPerUnit);
    const __m128 lastStep = _mm_set1_ps(kLastStep);
    const __m128 noData = _mm_set1_ps(m_noData);
    const __m128 tolerance = _mm_set1_ps(m_noDataTolerance);
    const __m128 signBit = _mm_set1_ps(-0.0F);
    const std::uint32_t* const table = m_colors.data();
    // Writes four colours; which of the values have no data, four bits each.
    const auto convertFour = [&](const unsigned char* from, unsigned char* to) {
        const __m128 value = LoadFour<Value>(from);
        __m128 step = _mm_mul_ps(_mm_sub_ps(value, low), stepsPerUnit);
        step = _mm_min_ps(_mm_max_ps(step, _mm_setzero_ps()), lastStep); // 0 where there is no number
        const __m128 distance = _mm_andnot_ps(signBit, _mm_sub_ps(value, noData));
        const __m128 isNoData = _mm_or_ps(_mm_cmpeq_ps(value, noData), _mm_cmple_ps(distance, tolerance));
        const __m128i none = _mm_castps_si128(_mm_or_ps(_mm_cmpunord_ps(value, value), isNoData));
        const __m128i rounded = _mm_cvttps_epi32(_mm_add_ps(step, _mm_set1_ps(0.5F)));
        const __m128i places =
            _mm_or_si128(_mm_andnot_si128(none, rounded), _mm_and_si128(none, _mm_set1_epi32(kNoData)));
        std::uint32_t steps[4];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(steps), places);
        const std::uint32_t colors[] = {table[steps[0]], table[steps[1]], table[steps[2]], table[steps[3]]};
        std::memcpy(to, colors, sizeof(colors));
        return _mm_movemask_epi8(none);
    };
    int anyNone = 0;
    std::size_t done = 0;
    for (; done + 4 <= count; done += 4) {
        anyNone |= convertFour(values + done * sizeof(Value), rgba + done * 4);
    }
    if (const std::size_t rest = count - done; rest > 0) {
        unsigned char last[4 * sizeof(Value)] = {};
        unsigned char colors[16];
        std::memcpy(last, values + done * sizeof(Value), rest * sizeof(Value));
        anyNone |= convertFour(last, colors) & ((1 << rest * 4) - 1);
        std::memcpy(rgba + done * 4, colors, rest * 4);
    }
    return anyNone != 0;
}

void DataColors::Convert(const DataRows& rows, unsigned char* rgba) const {
    const auto width = static_cast<std::size_t>(rows.width);
    const auto height = static_cast<std::size_t>(rows.height);
    const auto alignment = static_cast<std::size_t>(rows.rowAlignment);
    const std::size_t rowBytes =
        (width * static_cast<std::size_t>(BytesPerValue(rows.type)) + alignment - 1) / alignment * alignment;
    const auto* const values = static_cast<const unsigned char*>(rows.values);
    bool hasNone = false;
    for (std::size_t row = 0; row < height; ++row) {
        const unsigned char* const source = values + row * rowBytes;
        unsigned char* const target = rgba + row * width * 4;
        const bool none = rows.type == GL_FLOAT   ? ConvertRow<float>(source, width, target)
                          : rows.type == GL_SHORT ? ConvertRow<std::int16_t>(source, width, target)
                                                  : ConvertRow<std::uint16_t>(source, width, target);
        hasNone = hasNone || none;
    }
    if (hasNone && m_holes) {
        ColorHoles(rgba, width, height, [](const unsigned char*) { return true; });
    }
}

bool IsSameStyle(const GLDataStyle& left, const GLDataStyle& right) {
    const auto same = [](const GLColorStop& one, const GLColorStop& other) {
        return one.position == other.position && one.color == other.color;
    };
    return left.low == right.low && left.high == right.high && left.gamma == right.gamma &&
           std::equal(left.stops.begin(), left.stops.end(), right.stops.begin(), right.stops.end(), same) &&
           left.hasNoData == right.hasNoData && left.noData == right.noData &&
           left.noDataTolerance == right.noDataTolerance && left.noDataColor == right.noDataColor;
}

} // namespace KTR
