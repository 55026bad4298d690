#include "MapFurniture.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr double kTickPixels = 6.0;
constexpr double kGapPixels = 4.0;
/// Ticks are at least so far apart, and farther where their texts need it.
constexpr double kSmallestTickDistance = 90.0;
constexpr double kLongestBarPixels = 160.0;
constexpr double kArrowHeightPixels = 26.0;
constexpr double kArrowWidthPixels = 16.0;

/// Builds the layout part by part. The edges keep a row of text free below and above, and the left edge's texts stand
/// between them.
class FurnitureLayout {
public:
    FurnitureLayout(const MapFrame& frame, MapUnits units, const TextSizes& sizes)
        : m_frame(frame), m_units(units), m_sizes(sizes), m_area(frame.area),
          m_rowHeight(sizes.ascent + sizes.descent + 2.0 * kGapPixels) {}

    MapFurniture Build() {
        const double step = FindStep();
        const int decimals = CountDecimals(step);
        AddTicksAlongX(step, decimals);
        AddTicksAlongY(step, decimals);
        AddScaleBar();
        AddNorthArrow();
        return std::move(m_furniture);
    }

    MapFurniture BuildScaleBar() {
        AddScaleBar();
        return std::move(m_furniture);
    }

private:
    double Width() const { return m_frame.widthPixels; }
    double Height() const { return m_frame.heightPixels; }
    /// Baseline of the coordinates along the lower edge.
    double LowerBaseline() const { return kTickPixels + kGapPixels + m_sizes.descent; }
    double LowerEnd() const { return LowerBaseline() + m_sizes.ascent + kGapPixels; }
    double UpperEnd() const { return Height() - kTickPixels - m_rowHeight; }

    void AddLine(double fromX, double fromY, double toX, double toY) {
        m_furniture.lines.push_back({Position{fromX, fromY, 0.0}, Position{toX, toY, 0.0}});
    }

    /// Beyond the poles and the date line there are no coordinates.
    std::vector<double> FindTicksWithin(double low, double high, double step, double limit) const {
        const bool areDegrees = m_units == MapUnits::Degrees;
        // Steps are wider than a pixel, so there are fewer ticks than pixels.
        return FindTicks(areDegrees ? std::max(low, -limit) : low, areDegrees ? std::min(high, limit) : high, step,
                         std::max(m_frame.widthPixels, m_frame.heightPixels));
    }

    /// One step for both edges, wide enough for the longest text along the lower one.
    double FindStep() const {
        const double unitsPerPixel = m_frame.unitsPerPixel;
        const double firstStep = FindNiceStep(unitsPerPixel * kSmallestTickDistance);
        const int decimals = CountDecimals(firstStep);
        const double widest = std::max(m_sizes.width(FormatCoordinate(m_area.low.x, decimals)),
                                       m_sizes.width(FormatCoordinate(m_area.high.x, decimals)));
        return FindNiceStep(unitsPerPixel * std::max(kSmallestTickDistance, widest * 1.4));
    }

    void AddTicksAlongX(double step, int decimals) {
        for (const double x : FindTicksWithin(m_area.low.x, m_area.high.x, step, 180.0)) {
            const double pixel = std::round(m_frame.placeOf({x, m_area.low.y, 0.0}).x);
            AddLine(pixel, 0.0, pixel, kTickPixels);
            AddLine(pixel, Height() - kTickPixels, pixel, Height());
            const std::string text = FormatCoordinate(x, decimals);
            const double width = m_sizes.width(text);
            const double left = std::round(pixel - width * 0.5);
            if (left >= kGapPixels && left + width <= Width() - kGapPixels) {
                m_furniture.texts.push_back({text, left, LowerBaseline()});
            }
        }
    }

    void AddTicksAlongY(double step, int decimals) {
        for (const double y : FindTicksWithin(m_area.low.y, m_area.high.y, step, 90.0)) {
            const double pixel = std::round(Height() - m_frame.placeOf({m_area.low.x, y, 0.0}).y);
            AddLine(0.0, pixel, kTickPixels, pixel);
            AddLine(Width() - kTickPixels, pixel, Width(), pixel);
            const std::string text = FormatCoordinate(y, decimals);
            const double baseline = std::round(pixel - m_sizes.ascent * 0.5);
            const bool fits = baseline - m_sizes.descent >= LowerEnd() && baseline + m_sizes.ascent <= UpperEnd() &&
                              m_sizes.width(text) < Width() * 0.5;
            if (fits) {
                m_furniture.texts.push_back({text, kTickPixels + kGapPixels, baseline});
            }
        }
    }

    void AddScaleBar() {
        const double longest = std::min(kLongestBarPixels, Width() * 0.25);
        const double metresPerPixel = m_frame.unitsPerPixel * MetresPerUnit(m_units, m_area.Center().y);
        const ScaleBar bar = FindScaleBar(metresPerPixel, longest);
        const double textWidth = m_sizes.width(bar.text);
        const double y = LowerEnd() + 2.0 * kGapPixels;
        const double baseline = y + kTickPixels + kGapPixels;
        const double right = std::floor(Width() - 5.0 * kGapPixels);
        const double left = std::round(right - bar.lengthPixels);
        const double textLeft = std::round((left + right - textWidth) * 0.5);
        const bool hasRoom = baseline + m_sizes.ascent < UpperEnd() - kArrowHeightPixels - m_rowHeight &&
                             textLeft > Width() * 0.5 && textLeft + textWidth < Width() - kGapPixels;
        if (!hasRoom) {
            return;
        }
        AddLine(left, y, right, y);
        AddLine(left, y, left, y + kTickPixels);
        AddLine(right, y, right, y + kTickPixels);
        m_furniture.texts.push_back({bar.text, textLeft, baseline});
    }

    void AddNorthArrow() {
        const std::string letter = "N";
        const double middle = std::floor(Width() - 5.0 * kGapPixels - kArrowWidthPixels * 0.5);
        const double top = UpperEnd();
        const double bottom = top - kArrowHeightPixels;
        const double baseline = bottom - kGapPixels - m_sizes.ascent;
        if (baseline < Height() * 0.5 || middle < Width() * 0.75) {
            return;
        }
        const double notch = bottom + kArrowHeightPixels * 0.25;
        m_furniture.triangles.push_back({Position{middle, top, 0.0},
                                         Position{middle - kArrowWidthPixels * 0.5, bottom, 0.0},
                                         Position{middle, notch, 0.0}});
        m_furniture.triangles.push_back({Position{middle, top, 0.0}, Position{middle, notch, 0.0},
                                         Position{middle + kArrowWidthPixels * 0.5, bottom, 0.0}});
        m_furniture.texts.push_back({letter, std::round(middle - m_sizes.width(letter) * 0.5), baseline});
    }

    const MapFrame& m_frame;
    MapUnits m_units;
    const TextSizes& m_sizes;
    Extent m_area;
    double m_rowHeight;
    MapFurniture m_furniture;
};

} // namespace

MapFurniture LayOutMapFurniture(const MapFrame& frame, MapUnits units, const TextSizes& sizes) {
    return FurnitureLayout(frame, units, sizes).Build();
}

MapFurniture LayOutScaleBar(const MapFrame& frame, MapUnits units, const TextSizes& sizes) {
    return FurnitureLayout(frame, units, sizes).BuildScaleBar();
}

std::string FormatPosition(const Position& position, double unitsPerPixel) {
    const int decimals = CountDecimals(std::pow(10.0, std::floor(std::log10(unitsPerPixel))));
    const std::string place = FormatCoordinate(position.x, decimals) + "  " + FormatCoordinate(position.y, decimals);
    // A height is worth more than a place is: a metre of it is seen from afar. It is never in degrees.
    return std::isnan(position.z) ? place : place + "  " + FormatCoordinate(position.z, std::clamp(decimals, 1, 3));
}

void RaiseFurniture(MapFurniture& furniture, double pixels) {
    for (std::array<Position, 2>& line : furniture.lines) {
        for (Position& end : line) {
            end.y += pixels;
        }
    }
    for (std::array<Position, 3>& triangle : furniture.triangles) {
        for (Position& corner : triangle) {
            corner.y += pixels;
        }
    }
    for (PixelText& text : furniture.texts) {
        text.y += pixels;
    }
}

PixelText PlaceBesideLine(std::string text, double widthPixels, const Position& from, const Position& to,
                          int windowWidth, int windowHeight) {
    constexpr double kDistance = 10.0;
    constexpr double kTextHeight = 16.0;
    const double left = to.x >= from.x ? to.x + kDistance : to.x - kDistance - widthPixels;
    const double baseline = to.y >= from.y ? to.y + kDistance : to.y - kDistance - kTextHeight * 0.5;
    return {std::move(text), std::clamp(left, kGapPixels, std::max(kGapPixels, windowWidth - widthPixels - kGapPixels)),
            std::clamp(baseline, kGapPixels, std::max(kGapPixels, windowHeight - kTextHeight))};
}

} // namespace OrrinViewer
