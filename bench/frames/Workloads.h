#pragma once

// What the measured frames show. Each way of drawing takes the same data, so that the pictures agree and only the way
// is measured. Everything is made by arithmetic; the window is kWindowWidth × kWindowHeight pixels, y grows upwards.

#include <OrrinDisplay.h>

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Frames {

inline constexpr int kWindowWidth = 1280;
inline constexpr int kWindowHeight = 800;

struct DrawnVertex {
    PointXYZ position;
    GLTexCoords texture;
    GLRGBAColor color;
};

/// Batches of vertices, textured by QuadTexture() or coloured. The vertices are taken round and round, so that they
/// stay in the cache: what is measured is the drawing, not the memory that the host's data comes from.
struct Batches {
    unsigned int mode;
    KTR::GLShaderTypes shader;
    bool textured;
    int batches;
    int verticesPerBatch;
    std::vector<DrawnVertex> vertices;

    /// Calls `visit(first, last)` for each range of `vertices` that the batch is made of.
    template <typename Visit> void Walk(int batch, Visit visit) const {
        const std::size_t size = vertices.size();
        std::size_t begin = static_cast<std::size_t>(batch) * static_cast<std::size_t>(verticesPerBatch) % size;
        for (std::size_t left = static_cast<std::size_t>(verticesPerBatch); left != 0;) {
            const std::size_t count = left < size - begin ? left : size - begin;
            visit(vertices.data() + begin, vertices.data() + begin + count);
            left -= count;
            begin = 0;
        }
    }
};

/// A pixel of the texture for each pixel of a textured quad.
inline constexpr int kQuadTextureSide = 64;
std::vector<unsigned char> QuadTexturePixels(); ///< RGBA

/// Filled polygons with holes: counter-clockwise outer rings, clockwise inner ones.
struct Polygons {
    struct Polygon {
        std::vector<std::vector<PointXY>> rings;
        GLRGBAColor color;
    };
    std::vector<Polygon> polygons;
};

struct Labels {
    struct Label {
        std::wstring text;
        PointXY place; ///< left end of the baseline, whole pixels
    };
    GLRGBAColor color;
    std::vector<Label> labels;
};

/// Points that never change.
struct StaticPoints {
    std::vector<KTR::GLDrawGeometry> records;
};

/// A raster cut into tiles, a pixel of a tile for each pixel of the window.
struct Tiles {
    static constexpr int kWidth = 64;
    static constexpr int kHeight = 80;
    struct Tile {
        PointXYZ corners[4];               ///< counter-clockwise from the lower left
        std::vector<unsigned char> pixels; ///< RGBA, lower row first
    };
    std::vector<Tile> tiles;
};

/// Line strings in one style, and symbols of one look: what only the library draws.
struct Shapes {
    KTR::GLLineStyle line;
    std::vector<std::vector<PointXYZ>> strings;
    KTR::GLSymbolKind kind = KTR::GLSymbolCircle;
    KTR::GLSymbolStyle symbol;
    std::vector<PointXYZ> symbols;
};

using Content = std::variant<Batches, Polygons, Labels, StaticPoints, Tiles, Shapes>;

/// What decides which ways of drawing say something about a workload.
enum Traits : unsigned {
    kAny = 0,
    kLong = 1,        ///< runs of vertices so long that it matters in which pieces they are copied
    kManySmall = 2,   ///< many small batches, which a host may bracket one by one
    kManyCalls = 4,   ///< so many calls into the library that a logger shows
    kStandsStill = 8, ///< a map's own content, which a host may add once and keep
    kShares = 16,     ///< many draws that a host may let share fences
    kTiled = 32,      ///< quadrilaterals that one call can draw
    kInArrays = 64,   ///< vertices that a host may well have in arrays
    kStyled = 128     ///< in styles that plain OpenGL does not have
};

struct Workload {
    const char* name;
    std::string title;
    unsigned traits;
    std::function<Content()> make;
    int repetitions = 0; ///< 0 for the run's own number

    /// Made when first asked for.
    const Content& Shown() const {
        if (!m_content) {
            m_content = make();
        }
        return *m_content;
    }

    mutable std::optional<Content> m_content = std::nullopt; ///< see Shown
};

/// All of them. A `quick` set has a tenth of the points that stand still, the one workload that takes seconds.
std::vector<Workload> MakeWorkloads(bool quick);

} // namespace Frames
