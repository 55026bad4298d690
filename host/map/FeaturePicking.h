#pragma once

#include "PickCamera.h"
#include "data/VectorLayer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace OrrinViewer {

/// Looks from where a person points.
struct PickBeam {
    PickCamera camera;
    double x = 0.0; ///< in the window, in pixels from its upper left
    double y = 0.0;
    double pointReach = 8.0; ///< pixels, as all of these, within which a point is taken
    double lineReach = 5.0;  ///< lines, and outlines of areas
};

/// At what heights the features of a layer are drawn. Without `heightOf` at their own.
struct PickHeights {
    std::function<double(const Position& position)> heightOf;
    double low = 0.0; ///< of all that `heightOf` gives
    double high = 0.0;
};

/// Of what a feature was hit. What is small goes before what is large: an area would else hide what lies in it.
enum class HitShape { Point, Line, Area };

/// A feature under the mouse.
struct FeatureHit {
    std::size_t feature = 0; ///< of the layer
    HitShape shape = HitShape::Area;
    double pixels = 0.0; ///< from the place to the shape; 0 within an area

    bool operator==(const FeatureHit&) const = default;
};

/// Whether one hit lies over the other: points over lines over areas, then the nearer one, then what is drawn later.
bool LiesOver(const FeatureHit& one, const FeatureHit& other);

/// How far a feature is from the beam's place, by its nearest or smallest shape; the pixels are infinite where none is
/// within reach. What the index finds for all features at once.
FeatureHit HitFeature(const VectorLayer& layer, std::size_t feature, const PickBeam& beam, const PickHeights& heights);

/// Finds the features of a layer under the mouse, from any side, without looking at all of them: a tree of boxes around
/// short pieces of what they are made of.
///
/// It remembers where in the layer things are, so it has to be made anew when features or positions come or go.
class FeatureIndex {
public:
    FeatureIndex() = default;
    explicit FeatureIndex(const VectorLayer& layer);

    /// The features under the mouse, the uppermost first, each once.
    std::vector<FeatureHit> Find(const VectorLayer& layer, const PickBeam& beam, const PickHeights& heights) const;

private:
    /// Positions `first` to `last` of a feature's points, a line or a ring; or a polygon as a whole.
    struct Piece {
        enum class Kind : std::uint8_t { Points, Line, Ring, Polygon };

        std::uint32_t feature = 0;
        std::uint32_t part = 0; ///< line or polygon
        std::uint32_t ring = 0;
        std::uint32_t first = 0;
        std::uint32_t last = 0; ///< the one after; of rings it may be one more than there are
        Kind kind = Kind::Points;
    };

    void AddPieces(const VectorFeature& feature, std::uint32_t index);
    void AddRuns(Piece piece, std::size_t positions, bool joins);
    static Extent BoxOf(const VectorLayer& layer, const Piece& piece);
    static FeatureHit HitPiece(const VectorLayer& layer, const Piece& piece, const PickBeam& beam,
                               const PickHeights& heights);

    std::vector<Piece> m_pieces;               ///< neighbours on the map are neighbours here
    std::vector<std::vector<Extent>> m_levels; ///< boxes of so many pieces each, of so many boxes each, up to one
};

} // namespace OrrinViewer
