#include "Workloads.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdint>

namespace Frames {

namespace {

using namespace KTR;

/// Fits the second-level cache, and is whole primitives of each kind: 2, 3, 6 and 40 divide it.
constexpr int kInputs = 4080;
constexpr int kVerticesPerString = 40;

constexpr double kPrimitiveWidth = 8.0;
constexpr double kPrimitiveHeight = 6.0;
/// Keeps edges off the pixels' centres, where the pipelines may round differently.
constexpr double kOffCentreX = 0.3;
constexpr double kOffCentreY = 0.2;

/// The same numbers on each machine.
class Numbers {
public:
    /// From 0 to `limit` - 1.
    int Below(int limit) {
        m_state = m_state * 1664525U + 1013904223U;
        return static_cast<int>((m_state >> 8) % static_cast<std::uint32_t>(limit));
    }
    double WholePixel(int span, double room) { return Below(span - static_cast<int>(room)); }
    GLRGBAColor Color() {
        return {static_cast<unsigned char>(64 + Below(192)), static_cast<unsigned char>(64 + Below(192)),
                static_cast<unsigned char>(64 + Below(192)), 255};
    }

private:
    std::uint32_t m_state = 12345;
};

Content Points() {
    Batches content{GL_POINTS, GLShaderPoint, false, 1, 1'000'000, {}};
    Numbers numbers;
    for (int index = 0; index < kInputs; ++index) {
        const double x = numbers.Below(kWindowWidth) + 0.5;
        const double y = numbers.Below(kWindowHeight) + 0.5;
        content.vertices.push_back({{x, y, 0.0}, {}, numbers.Color()});
    }
    return content;
}

Content Lines() {
    Batches content{GL_LINES, GLShaderLine, false, 20, 20'000, {}};
    Numbers numbers;
    for (int index = 0; index < kInputs; index += 2) {
        const double x = numbers.WholePixel(kWindowWidth, kPrimitiveWidth + 1) + kOffCentreX;
        const double y = numbers.WholePixel(kWindowHeight, kPrimitiveHeight + 1) + kOffCentreY;
        const GLRGBAColor color = numbers.Color();
        content.vertices.push_back({{x, y, 0.0}, {}, color});
        content.vertices.push_back({{x + kPrimitiveWidth, y + kPrimitiveHeight, 0.0}, {}, color});
    }
    return content;
}

Content Triangles() {
    Batches content{GL_TRIANGLES, GLShaderColorPassThrough, false, 1, 900'000, {}};
    Numbers numbers;
    for (int index = 0; index < kInputs; index += 3) {
        const double x = numbers.WholePixel(kWindowWidth, kPrimitiveWidth + 1) + kOffCentreX;
        const double y = numbers.WholePixel(kWindowHeight, kPrimitiveHeight + 1) + kOffCentreY;
        const GLRGBAColor color = numbers.Color();
        content.vertices.push_back({{x, y, 0.0}, {}, color});
        content.vertices.push_back({{x + kPrimitiveWidth, y, 0.0}, {}, color});
        content.vertices.push_back({{x, y + kPrimitiveHeight, 0.0}, {}, color});
    }
    return content;
}

/// Quads of two triangles each.
std::vector<DrawnVertex> QuadVertices(bool textured) {
    std::vector<DrawnVertex> vertices;
    Numbers numbers;
    for (int index = 0; index < kInputs; index += 6) {
        const double left = numbers.WholePixel(kWindowWidth, kPrimitiveWidth + 1);
        const double bottom = numbers.WholePixel(kWindowHeight, kPrimitiveHeight + 1);
        const double s = numbers.Below(kQuadTextureSide - 8) / static_cast<double>(kQuadTextureSide);
        const double t = numbers.Below(kQuadTextureSide - 6) / static_cast<double>(kQuadTextureSide);
        const GLRGBAColor color = numbers.Color();
        const auto corner = [&](int right, int top) {
            DrawnVertex vertex{{left + right * kPrimitiveWidth, bottom + top * kPrimitiveHeight, 0.0}, {}, color};
            if (textured) {
                vertex.texture = {s + right * kPrimitiveWidth / kQuadTextureSide,
                                  t + top * kPrimitiveHeight / kQuadTextureSide};
            }
            vertices.push_back(vertex);
        };
        corner(0, 0);
        corner(1, 0);
        corner(0, 1);
        corner(1, 0);
        corner(1, 1);
        corner(0, 1);
    }
    return vertices;
}

Content Quads() {
    return Batches{GL_TRIANGLES, GLShaderTextureDecal, true, 1, 600'000, QuadVertices(true)};
}

Content SixVertexBatches() {
    return Batches{GL_TRIANGLES, GLShaderColorPassThrough, false, 20'000, 6, QuadVertices(false)};
}

Content LineStrings() {
    Batches content{GL_LINE_STRIP, GLShaderLine, false, 5'000, kVerticesPerString, {}};
    Numbers numbers;
    for (int string = 0; string < kInputs / kVerticesPerString; ++string) {
        double x = numbers.WholePixel(kWindowWidth, kVerticesPerString * kPrimitiveWidth) + kOffCentreX;
        const double bottom = numbers.WholePixel(kWindowHeight, 4 * kPrimitiveHeight) + kOffCentreY;
        const GLRGBAColor color = numbers.Color();
        for (int vertex = 0; vertex < kVerticesPerString; ++vertex) {
            const double y = bottom + (vertex % 2 + vertex / 10 % 2) * kPrimitiveHeight;
            content.vertices.push_back({{x, y, 0.0}, {}, color});
            x += kPrimitiveWidth;
        }
    }
    return content;
}

/// The line strings as a map shows roads: wide, dashed, with round joins.
Content DashedStrings() {
    const Batches lines = std::get<Batches>(LineStrings());
    Shapes content;
    content.line.width = 5.0;
    content.line.color = GLRGBAColor{200, 90, 30, 255};
    content.line.join = KTR::GLLineJoinRound;
    content.line.dashes = {9.0, 4.0};
    for (int string = 0; string < lines.batches; ++string) {
        std::vector<PointXYZ>& points = content.strings.emplace_back();
        lines.Walk(string, [&points](const DrawnVertex* first, const DrawnVertex* last) {
            for (const DrawnVertex* vertex = first; vertex != last; ++vertex) {
                points.push_back(vertex->position);
            }
        });
    }
    return content;
}

Content TenThousandSymbols() {
    Shapes content;
    content.symbol.color = GLRGBAColor{60, 140, 220, 255};
    content.symbol.outlineWidth = 1.0;
    Numbers numbers;
    for (int symbol = 0; symbol < 10'000; ++symbol) {
        content.symbols.push_back(
            {numbers.WholePixel(kWindowWidth, 10) + 4.5, numbers.WholePixel(kWindowHeight, 10) + 4.5, 0.0});
    }
    return content;
}

/// A ring about a centre whose radius waves, counter-clockwise or clockwise, on quarters of a pixel.
std::vector<PointXY> WavyRing(double x, double y, double radius, int vertices, bool clockwise) {
    std::vector<PointXY> ring;
    for (int index = 0; index < vertices; ++index) {
        const double angle = 6.283185307179586 * (clockwise ? vertices - index : index) / vertices;
        const double wave = radius * (0.85 + 0.15 * std::sin(5.0 * angle));
        ring.push_back({std::round(4.0 * (x + wave * std::cos(angle))) / 4.0 + 0.125,
                        std::round(4.0 * (y + wave * std::sin(angle))) / 4.0 + 0.125});
    }
    return ring;
}

/// Parcels in rows, concave, every third with a hole.
Content Parcels() {
    constexpr int kParcels = 470;
    constexpr int kColumns = 27;
    constexpr double kWidth = 47.0;
    constexpr double kHeight = 44.0;
    Polygons content;
    Numbers numbers;
    for (int parcel = 0; parcel < kParcels; ++parcel) {
        const double x = (parcel % kColumns + 0.5) * kWidth;
        const double y = (std::floor(parcel / static_cast<double>(kColumns)) + 0.5) * kHeight;
        Polygons::Polygon polygon;
        polygon.color = numbers.Color();
        polygon.rings.push_back(WavyRing(x, y, 20.0, 12 + numbers.Below(30), false));
        if (parcel % 3 == 0) {
            polygon.rings.push_back(WavyRing(x, y, 8.0, 8 + numbers.Below(12), true));
        }
        content.polygons.push_back(std::move(polygon));
    }
    return content;
}

Content TenThousandLabels() {
    constexpr int kLabels = 10'000;
    constexpr double kRoom = 90.0;
    // Labels overlap; where they let each other through, each of them shows.
    Labels content{{255, 230, 120, 128}, {}};
    Numbers numbers;
    for (int label = 0; label < kLabels; ++label) {
        const double x = numbers.WholePixel(kWindowWidth, kRoom);
        const double y = 10.0 + numbers.WholePixel(kWindowHeight, 30.0);
        content.labels.push_back({L"Town " + std::to_wstring(100 + label % 900), {x, y}});
    }
    return content;
}

Content PointsThatStandStill(int count) {
    StaticPoints content;
    content.records.resize(static_cast<std::size_t>(count));
    Numbers numbers;
    for (GLDrawGeometry& record : content.records) {
        record.x = static_cast<float>(numbers.Below(kWindowWidth)) + 0.5F;
        record.y = static_cast<float>(numbers.Below(kWindowHeight)) + 0.5F;
        const GLRGBAColor color = numbers.Color();
        record.r = color.r;
        record.g = color.g;
        record.b = color.b;
        record.a = color.a;
    }
    return content;
}

Content RasterOfTiles() {
    constexpr int kColumns = 20;
    constexpr int kRows = 10;
    Tiles content;
    for (int tile = 0; tile < kColumns * kRows; ++tile) {
        const double left = tile % kColumns * double{Tiles::kWidth};
        const double bottom = tile / kColumns * double{Tiles::kHeight};
        Tiles::Tile made{{{left, bottom, 0.0},
                          {left + Tiles::kWidth, bottom, 0.0},
                          {left + Tiles::kWidth, bottom + Tiles::kHeight, 0.0},
                          {left, bottom + Tiles::kHeight, 0.0}},
                         {}};
        for (int row = 0; row < Tiles::kHeight; ++row) {
            for (int column = 0; column < Tiles::kWidth; ++column) {
                made.pixels.insert(made.pixels.end(),
                                   {static_cast<unsigned char>(column * 4), static_cast<unsigned char>(row * 3),
                                    static_cast<unsigned char>(tile), 255});
            }
        }
        content.tiles.push_back(std::move(made));
    }
    return content;
}

} // namespace

std::vector<unsigned char> QuadTexturePixels() {
    std::vector<unsigned char> pixels;
    for (int row = 0; row < kQuadTextureSide; ++row) {
        for (int column = 0; column < kQuadTextureSide; ++column) {
            pixels.insert(pixels.end(), {static_cast<unsigned char>(column * 4), static_cast<unsigned char>(row * 4),
                                         static_cast<unsigned char>((row ^ column) * 4), 255});
        }
    }
    return pixels;
}

std::vector<Workload> MakeWorkloads(bool quick) {
    const int millions = quick ? 1 : 10;
    return {
        {"points", "1,000,000 points", kLong | kInArrays, Points},
        {"lines", "200,000 separate lines", kLong | kInArrays, Lines},
        {"triangles", "300,000 triangles", kLong | kInArrays, Triangles},
        {"quads", "100,000 textured quads", kLong | kInArrays, Quads},
        {"six_vertex_batches", "20,000 batches of six vertices", kManySmall | kShares | kManyCalls, SixVertexBatches},
        {"line_strings", "5,000 line strings of 40 vertices", kManySmall | kShares | kStandsStill, LineStrings},
        {"parcels", "470 parcels with holes, filled", kManySmall | kShares | kStandsStill, Parcels},
        {"dashed_strings", "5,000 wide dashed strings of 40 vertices", kStyled, DashedStrings, 3},
        {"symbols", "10,000 symbols with outlines", kStyled, TenThousandSymbols},
        {"labels", "10,000 labels of eight characters", kLong | kManyCalls, TenThousandLabels},
        {"tiles", "a raster of 200 tiles", kShares | kTiled, RasterOfTiles},
        {"static_points", std::to_string(millions) + " million points that stand still", kStandsStill,
         [millions] { return PointsThatStandStill(millions * 1'000'000); }, 3},
    };
}

} // namespace Frames
