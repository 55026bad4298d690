#pragma once

#include "drawing/Scene.h"
#include "map/PickedRows.h"
#include "map/PointSearch.h"

#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// Where a window was clicked, and what is drawn there.
struct PickedPlace {
    PickBeam beam;
    std::optional<Position> place; ///< none where nothing is; without a height (NaN) where only the ground plane is
    double pointSizePixels = 1.0;  ///< of clouds
};

/// One thing that lies at a picked place.
struct PickedThing {
    LayerId layer = 0;
    std::vector<PickedRow> rows;
    std::optional<std::size_t> feature; ///< of the layer
    std::optional<Position> point;      ///< of a cloud
};

/// What was picked: all that lies at a place of the map, from above, and which of it is looked at. Features and rasters
/// are there at once, points of clouds come from a thread.
class Picking {
public:
    explicit Picking(Scene& scene) : m_scene(scene) {}

    void Pick(const PickedPlace& place);
    void Clear();
    /// Goes on to the thing below, or back; from the last one to the first. False where there is no other.
    bool Step(bool forward);
    /// Takes over what the thread has found, and forgets what the scene shows no more. True when something is new.
    bool Update();
    /// A point is still searched.
    bool IsReading() const { return m_reads; }

    /// Null when nothing is picked.
    const PickedThing* GetThing() const { return m_things.empty() ? nullptr : &m_things[m_current]; }
    std::size_t GetNumber() const { return m_current; } ///< of the thing, from 0
    std::size_t CountThings() const { return m_things.size(); }

private:
    void AddFeatures(const PickedPlace& place);
    void AddGround(const PickedPlace& place);
    void SearchPoint(const PickedPlace& place);
    void TakePoint(const PointSearch::State& state);
    std::vector<PickedRow> BeginRows(LayerId layer, const char* kind) const;

    Scene& m_scene;
    PickedUnits m_units;
    std::vector<PickedThing> m_things;
    std::size_t m_current = 0;
    PointSearch m_search;
    bool m_reads = false;
    std::size_t m_pending = 0; ///< the thing that stands for the point that is searched
};

} // namespace OrrinViewer
