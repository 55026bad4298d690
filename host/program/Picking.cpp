#include "Picking.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace OrrinViewer {

namespace {

const char* NameOfShape(const FeatureHit& hit) {
    switch (hit.shape) {
    case HitShape::Point:
        return "Point";
    case HitShape::Line:
        return "Line";
    case HitShape::Area:
        break;
    }
    return "Area";
}

void Append(std::vector<PickedRow>& rows, std::vector<PickedRow> more) {
    rows.insert(rows.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

std::string FormatColor(const RasterPixel& pixel) {
    return std::to_string(pixel.rgba[0]) + ", " + std::to_string(pixel.rgba[1]) + ", " + std::to_string(pixel.rgba[2]);
}

std::vector<PickedRow> DescribePixel(const RasterPixel& pixel) {
    constexpr int kMostDecimals = 6;
    if (!pixel.isColor) {
        const bool isThere = !std::isnan(pixel.value);
        std::string value = isThere ? FormatCoordinate(pixel.value, kMostDecimals) : "no data";
        if (isThere) {
            value.erase(value.find_last_not_of('0') + 1);
            value.erase(value.find_last_not_of('.') + 1);
        }
        return {{"Value", value}};
    }
    std::vector<PickedRow> rows = {{"Red, green, blue", FormatColor(pixel)}};
    if (pixel.rgba[3] != 255) {
        rows.push_back({"Opacity", std::to_string(pixel.rgba[3]) + " of 255"});
    }
    return rows;
}

} // namespace

void Picking::Pick(const PickedPlace& place) {
    Clear();
    m_units = {m_scene.GetUnits(), m_scene.GetHeightMetres()};
    AddFeatures(place);
    SearchPoint(place);
    AddGround(place);
}

void Picking::Clear() {
    m_search.Stop();
    m_reads = false;
    m_things.clear();
    m_current = 0;
}

bool Picking::Step(bool forward) {
    if (m_things.size() < 2) {
        return false;
    }
    m_current = (m_current + (forward ? 1 : m_things.size() - 1)) % m_things.size();
    return true;
}

bool Picking::Update() {
    const std::vector<LayerInfo> layers = m_scene.ListLayers();
    const auto isShown = [&layers](LayerId id) {
        return std::any_of(layers.begin(), layers.end(),
                           [id](const LayerInfo& layer) { return layer.id == id && layer.style.shown; });
    };
    const bool isGone = std::any_of(m_things.begin(), m_things.end(), [&](const PickedThing& thing) {
        return thing.layer != 0 && !isShown(thing.layer);
    });
    if (isGone) {
        Clear();
        return true;
    }
    if (!m_reads) {
        return false;
    }
    const PointSearch::State state = m_search.GetState();
    if (state.reading) {
        return false;
    }
    TakePoint(state);
    return true;
}

std::vector<PickedRow> Picking::BeginRows(LayerId layer, const char* kind) const {
    const std::optional<LayerInfo> info = m_scene.FindLayer(layer);
    return {{"Layer", info ? info->source.name : std::string()}, {"Kind", kind}};
}

void Picking::AddFeatures(const PickedPlace& place) {
    for (const FeatureUnderMouse& under : m_scene.FindFeaturesUnder(place.beam)) {
        const VectorLayer& layer = *m_scene.FindFeatures(under.layer);
        const VectorFeature& feature = layer.features[under.hit.feature];
        PickedThing thing;
        thing.layer = under.layer;
        thing.feature = under.hit.feature;
        thing.rows = BeginRows(under.layer, NameOfShape(under.hit));
        Append(thing.rows, DescribeFeature(feature, layer.HasHeights(), m_units));
        if (feature.points.size() != 1 && place.place) {
            Append(thing.rows, DescribePlace(*place.place, m_units));
        }
        m_things.push_back(std::move(thing));
    }
}

void Picking::SearchPoint(const PickedPlace& place) {
    PointProbe probe;
    probe.camera = place.beam.camera;
    probe.x = place.beam.x;
    probe.y = place.beam.y;
    if (place.place && !std::isnan(place.place->z)) {
        // As exact as the depth buffer, and a point beside the place may lie lower.
        constexpr double kShareOfDepth = 0.02;
        const SeenPlace seen = probe.camera.See(*place.place);
        const double pixel = probe.camera.PixelOfDepth(seen);
        probe.farthest = seen.depth + (probe.camera.IsPerspective() ? kShareOfDepth * seen.depth : 0.0) +
                         2.0 * probe.reachPixels * pixel + 1e-5 * m_scene.GetExtent().Diagonal();
    }
    std::vector<SearchedCloud> clouds;
    const SeenPoint seen(probe);
    for (const CloudSource& source : m_scene.ListClouds()) {
        const CloudLayer* const layer = m_scene.FindCloud(source.id);
        SearchedCloud cloud;
        cloud.open = source.open;
        cloud.number = static_cast<std::uint32_t>(source.id);
        cloud.sizePixels = place.pointSizePixels;
        cloud.extent = layer->IsReading() ? Extent() : layer->Traits().extent;
        if (cloud.open && seen.MayBeIn(cloud)) {
            clouds.push_back(std::move(cloud));
        }
    }
    if (clouds.empty()) {
        return;
    }
    m_pending = m_things.size();
    m_things.push_back({0, {{"Point", "reading\xE2\x80\xA6"}}, {}, {}});
    m_reads = true;
    m_search.Start(probe, std::move(clouds));
}

void Picking::TakePoint(const PointSearch::State& state) {
    m_reads = false;
    PickedThing& thing = m_things[m_pending];
    if (!state.found) {
        if (!state.problem.empty()) {
            thing.rows = {{"Point", state.problem}};
            return;
        }
        m_things.erase(m_things.begin() + static_cast<std::ptrdiff_t>(m_pending));
        m_current -= m_current > m_pending ? 1 : 0;
        m_current = m_current < m_things.size() ? m_current : 0;
        return;
    }
    const auto id = static_cast<LayerId>(state.found->cloud);
    const CloudPoint& point = state.found->point;
    const CloudLayer* const layer = m_scene.FindCloud(id);
    if (!layer) {
        return; // the next update clears everything
    }
    const CloudTraits& traits = layer->Traits();
    thing.layer = id;
    thing.point = point.position;
    thing.rows = BeginRows(id, "Point of a cloud");
    Append(thing.rows, DescribePoint(point, {traits.hasColors, traits.hasClasses, traits.hasIntensities},
                                     NameOfClass(point.classNumber, traits.classMeaning), m_units));
}

/// Reliefs and rasters.
void Picking::AddGround(const PickedPlace& place) {
    if (!place.place) {
        return;
    }
    const double x = place.place->x;
    const double y = place.place->y;
    const std::vector<LayerInfo> layers = m_scene.ListLayers();
    for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer) {
        if (!layer->style.shown) {
            continue;
        }
        if (const Surface* const relief = m_scene.FindRelief(layer->id)) {
            const double height = relief->Grid().InterpolatedAt(x, y);
            if (!std::isnan(height)) {
                PickedThing thing{layer->id, BeginRows(layer->id, "Relief"), {}, {}};
                Append(thing.rows, DescribePlace({x, y, height}, m_units));
                m_things.push_back(std::move(thing));
            }
        } else if (const RasterLayer* const raster = m_scene.FindRaster(layer->id)) {
            const std::optional<RasterPixel> pixel = raster->ReadPixel(x, y);
            if (pixel && !(pixel->isColor && pixel->rgba[3] == 0)) {
                PickedThing thing{
                    layer->id, BeginRows(layer->id, pixel->isColor ? "Image" : "Raster of values"), {}, {}};
                Append(thing.rows, DescribePixel(*pixel));
                Append(thing.rows, DescribePlace(*place.place, m_units));
                m_things.push_back(std::move(thing));
            }
        }
    }
}

} // namespace OrrinViewer
