// How the scene is drawn: cameras, frames, and what lies on what.

#include "Scene.h"

#include "BlendScope.h"
#include "StyledFeatures.h"
#include "data/PathSubdivision.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr COLORREF kBackground = RGB(44, 49, 58); // neither black nor white points vanish on it
/// Of what one frame shows of rasters.
constexpr std::chrono::seconds kLongestReading(60);
constexpr double kAzimuthDegrees = 200.0;
constexpr double kElevationDegrees = 35.0;
constexpr double kFieldOfViewDegrees = 40.0;
constexpr float kShadeStrength = 0.2F;
constexpr float kShadeRadiusPixels = 2.0F;
constexpr float kWidestShadeRadiusPixels = 64.0F; // that the library takes

Extent Widen(Extent area, double margin) {
    area.Include(Position{area.low.x - margin, area.low.y - margin, area.low.z});
    area.Include(Position{area.high.x + margin, area.high.y + margin, area.high.z});
    return area;
}

PointXYZ PointOf(const Position& position) {
    return {position.x, position.y, position.z};
}

/// As the current matrices show it: of a part of the view, too.
ViewScale FindViewScale(const KTR::COpenGLView& view, const Position& origin) {
    const glm::dmat4 clip = view.GetMatrix(GL_PROJECTION) * view.GetMatrix(GL_MODELVIEW);
    const auto row = [&clip](int index) {
        return std::array<double, 4>{clip[0][index], clip[1][index], clip[2][index], clip[3][index]};
    };
    const glm::dvec4 viewport = view.GetViewport();
    return ViewScale(origin, row(0), row(1), row(3), viewport.z, viewport.w);
}

void Join(CloudsFrame& frame, const KTR::PointCloudFrame& cloud) {
    frame.complete = frame.complete && cloud.complete;
    frame.outdated = frame.outdated || cloud.outdated;
    frame.enlarged = frame.enlarged || cloud.enlarged;
    frame.drawn += cloud.drawn;
    frame.shown += cloud.shown;
    frame.spacingPixels = std::max(frame.spacingPixels, cloud.spacingPixels);
}

double MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

void Scene::ShowEverything(KTR::COpenGLView& view, KTR::GLViewOrientation orientation) const {
    // A scene without anything is shown as one position is.
    const Extent box = m_extent.WithHeights();
    view.ChooseCoordinateOffsets(box.IsEmpty() ? PointXYZ{} : PointOf(box.low),
                                 box.IsEmpty() ? PointXYZ{} : PointOf(box.high));
    ShowExtent(view, orientation, m_extent);
}

void Scene::ShowExtent(KTR::COpenGLView& view, KTR::GLViewOrientation orientation, const Extent& extent) const {
    Extent box = extent.WithHeights();
    if (!extent.HasHeights() && m_extent.HasHeights()) {
        // What is flat lies somewhere on the ground.
        box.low.z = m_extent.low.z;
        box.high.z = m_extent.high.z;
    }
    const PointXYZ low = box.IsEmpty() ? PointXYZ{} : PointOf(box.low);
    const PointXYZ high = box.IsEmpty() ? PointXYZ{} : PointOf(box.high);
    if (orientation == KTR::GLViewOrientationPerspective) {
        view.SetUpPerspectiveFromModelExtents(low, high, kAzimuthDegrees, kElevationDegrees, kFieldOfViewDegrees,
                                              m_exaggeration * GetHeightScale());
    } else {
        view.SetUpOrthoFromModelExtents(orientation, low, high, m_exaggeration * GetHeightScale());
    }
}

void Scene::HoldEverything(KTR::COpenGLView& view) const {
    const Extent box = m_extent.WithHeights();
    if (!box.IsEmpty()) {
        // Until there was data, nobody knew where it would be.
        view.ChooseCoordinateOffsets(PointOf(box.low), PointOf(box.high));
        view.SetViewModelExtents(PointOf(box.low), PointOf(box.high));
    }
}

bool Scene::Prepare(KTR::COpenGLView& view, double milliseconds) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point until = milliseconds > 0.0
                                        ? Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                             std::chrono::duration<double, std::milli>(milliseconds))
                                        : Clock::time_point::max();
    LoadCamera(view);
    Drape();
    if (std::optional<DrapingResult> result = milliseconds > 0.0 ? std::nullopt : m_draping.Wait()) {
        TakeDraping(*std::move(result));
    }
    bool isWhole = !m_draping.IsAwaited();
    for (Relief& relief : m_reliefs) {
        isWhole = (!relief.style.shown || relief.surface.Prepare(view, m_origin, until)) && isWhole;
    }
    for (Solid& solid : m_solids) {
        isWhole =
            (!solid.style.shown || solid.mesh.Prepare(view, m_origin, solid.style.color, solid.style.opacity, until)) &&
            isWhole;
    }
    for (Features& features : m_features) {
        const LayerStyle& style = features.style;
        const GroundPosition ground = GroundOf(features.layer, m_origin);
        if (style.shown && style.features.IsPlain()) {
            const Rgb rgb = features.Color().value_or(ColorOfLayer(0));
            const GLRGBAColor color{rgb.red, rgb.green, rgb.blue, ByteOf(style.opacity)};
            isWhole = features.geometry.PrepareOutlines(view, features.layer, color, ground, until) && isWhole;
        }
        if (style.shown && style.fillOpacity > 0.0) {
            const AreaLook look{style.color, ByteOf(style.fillOpacity * style.opacity)};
            isWhole = features.geometry.PrepareAreas(view, features.layer, look, ground, until) && isWhole;
        }
    }
    return isWhole;
}

CloudsFrame Scene::Begin(KTR::COpenGLView& view, const CloudBudget& budget) {
    LoadCamera(view);
    CloudsFrame frame;
    frame.groundIsRead = DrawGround(view);
    frame.complete = frame.groundIsRead;
    const auto shown =
        std::count_if(m_clouds.begin(), m_clouds.end(), [](const Cloud& cloud) { return cloud.IsDrawn(); });
    const auto clouds = static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(shown, 1));
    const CloudBudget share{budget.points == 0 ? 0 : std::max<std::uint64_t>(budget.points / clouds, 1),
                            budget.milliseconds / static_cast<double>(clouds)};
    const auto start = std::chrono::steady_clock::now();
    for (const Cloud& cloud : m_clouds) {
        if (cloud.IsDrawn()) {
            Join(frame, cloud.cloud->Draw(view, Scale() * PointSizeOf(cloud, view), share));
        }
    }
    frame.milliseconds = MillisecondsSince(start);
    return frame;
}

CloudsFrame Scene::Refine(KTR::COpenGLView& view) {
    LoadCamera(view);
    view.Enable(GL_DEPTH_TEST);
    CloudsFrame frame;
    const auto start = std::chrono::steady_clock::now();
    for (const Cloud& cloud : m_clouds) {
        if (cloud.IsDrawn()) {
            Join(frame, cloud.cloud->Refine(view));
        }
    }
    frame.milliseconds = MillisecondsSince(start);
    return frame;
}

void Scene::DrawShapes(KTR::COpenGLView& view) {
    LoadCamera(view);
    // The clouds are complete, or as far as they will be in this frame.
    const bool shades = m_shadesClouds && !m_clouds.empty() && view.IsPerspectiveSideView();
    view.SetUpEyeDomeLighting(shades, kShadeStrength,
                              std::min(kShadeRadiusPixels * static_cast<float>(Scale()), kWidestShadeRadiusPixels));
    view.DrawEyeDomeLighting();
    // Areas and outlines lie on top of everything, whatever their elevation.
    view.Disable(GL_DEPTH_TEST);
    const Extent area = FindAreaToFill(view);
    for (Features& features : m_features) {
        if (features.style.shown && features.style.fillOpacity > 0.0) {
            features.geometry.DrawAreas(view, features.layer, area);
        }
    }
    std::optional<Extent> seen;
    if (view.GetCurrentViewOrientation() == KTR::GLViewOrientationTop) {
        seen = Widen(area, Scale() * FindReach(view) * view.GetUnitsPerPixel());
    }
    const ViewScale viewScale = FindViewScale(view, m_origin);
    for (Features& features : m_features) {
        const LayerStyle& style = features.style;
        if (!style.shown) {
            continue;
        }
        if (style.features.IsPlain()) {
            features.geometry.DrawOutlines(view, seen, viewScale, style.features.symbolSizePixels, Scale());
        } else {
            // The library subtracts the offsets of shapes itself.
            DrawStyledFeatures(view, features.layer, seen, style.features, features.Color(), ByteOf(style.opacity),
                               Scale(), GroundOf(features.layer, {}));
        }
    }
}

bool Scene::DrawRasters(KTR::COpenGLView& view) {
    const double lowestZ = GroundHeight();
    bool isComplete = true;
    for (Image& image : m_images) {
        if (image.isCovered || !image.style.shown) {
            continue;
        }
        view.DrawSetupTextureTransparency(ByteOf(image.style.opacity));
        const bool isRead = m_shade
                                ? image.raster.DrawShaded(view, m_shade->raster, m_shade->strength, m_origin, lowestZ)
                                : image.raster.Draw(view, m_origin, lowestZ);
        isComplete = isComplete && isRead;
    }
    view.DrawSetupTextureTransparency(255);
    return isComplete;
}

void Scene::Draw(KTR::COpenGLView& view) {
    Prepare(view, 0.0);
    const auto deadline = std::chrono::steady_clock::now() + kLongestReading;
    while (!DrawGround(view) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    // One cloud after the other: of two points at one place and height the first one shows.
    for (const Cloud& cloud : m_clouds) {
        if (!cloud.IsDrawn()) {
            continue;
        }
        KTR::PointCloudFrame frame = cloud.cloud->Draw(view, Scale() * PointSizeOf(cloud, view), {});
        while (!frame.complete && frame.result == S_OK) {
            if (frame.drawn == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            frame = cloud.cloud->Refine(view);
        }
    }
    DrawShapes(view);
}

void Scene::DrawEnlarged(KTR::COpenGLView& view, const EnlargedPart& part) {
    m_part = part;
    Draw(view);
    m_part.reset();
}

double Scene::FindReach(const KTR::COpenGLView& view) const {
    double widest = 14.0; // of outlines, symbols and shades
    for (const Cloud& cloud : m_clouds) {
        widest = std::max(widest, PointSizeOf(cloud, view));
    }
    for (const Features& features : m_features) {
        const FeatureStyle& style = features.style.features;
        widest = std::max(
            {widest, style.lineWidthPixels, style.casingWidthPixels, style.borderWidthPixels, style.symbolSizePixels});
    }
    return widest * 0.5 + 1.0;
}

void Scene::Forget(const KTR::COpenGLView& view) {
    for (const Cloud& cloud : m_clouds) {
        cloud.cloud->Forget(view);
    }
}

void Scene::ReleaseGeometry() {
    for (const Cloud& cloud : m_clouds) {
        cloud.cloud->ReleaseGeometry();
    }
    for (Relief& relief : m_reliefs) {
        relief.surface.ReleaseGeometry();
    }
    for (Solid& solid : m_solids) {
        solid.mesh.ReleaseGeometry();
    }
    for (Features& features : m_features) {
        features.geometry.Release();
    }
}

/// They have been added at heights of which the scene may have others now.
void Scene::OutdateShapes() {
    for (Features& features : m_features) {
        features.geometry.Outdate();
    }
}

/// Other views may have other coordinate offsets. What has been added with those is shifted by the library.
void Scene::LoadCamera(KTR::COpenGLView& view) {
    view.LoadViewMatrices();
    view.GetCurrentCoordinateOffset(m_origin.x, m_origin.y);
    if (m_part) {
        LoadPartOfCamera(view);
    }
}

/// Makes the part of the window fill it.
void Scene::LoadPartOfCamera(KTR::COpenGLView& view) const {
    const glm::dvec4 viewport = view.GetViewport();
    glm::dmat4 enlarge(1.0);
    enlarge[0][0] = viewport.z / m_part->width;
    enlarge[1][1] = viewport.w / m_part->height;
    enlarge[3][0] = (viewport.z - 2.0 * m_part->left - m_part->width) / m_part->width;
    enlarge[3][1] = (viewport.w - 2.0 * m_part->bottom - m_part->height) / m_part->height;
    const glm::dmat4 projection = enlarge * view.GetMatrix(GL_PROJECTION);
    view.MatrixMode(GL_PROJECTION);
    view.ReplaceCurrentMatrix(projection);
    view.MatrixMode(GL_MODELVIEW);
}

/// Gives the lines of layers without heights as many positions as it takes to follow the reliefs.
void Scene::BendLayers() {
    std::size_t left = 2'000'000; // positions to add, of all layers
    for (const Relief& relief : m_reliefs) {
        const ElevationGrid& grid = relief.surface.Grid();
        const Extent area = grid.FindExtent();
        const auto bend = [&](Path& path, bool closed) {
            const std::size_t before = path.size();
            path = Subdivide(path, closed, area, grid.cellSize, left);
            left -= path.size() - before;
        };
        for (Features& features : m_features) {
            const bool isFlat = !features.layer.HasHeights();
            features.index.reset();
            for (std::size_t index = 0; isFlat && index < features.layer.features.size(); ++index) {
                VectorFeature& feature = features.layer.features[index];
                for (Path& line : feature.lines) {
                    bend(line, false);
                }
                for (Polygon& polygon : feature.polygons) {
                    for (Path& ring : polygon.rings) {
                        bend(ring, true);
                    }
                }
            }
        }
    }
    OutdateShapes();
}

/// Brings images and lines onto the reliefs where these, or what lies on them, are others than before. Images come
/// when a thread has made them; until then reliefs show what they showed.
void Scene::Drape() {
    if (!m_isDraped) {
        BeginDraping();
        m_isDraped = true;
    }
    if (std::optional<DrapingResult> result = m_draping.Take()) {
        TakeDraping(*std::move(result));
    }
    if (!m_isBent) {
        BendLayers();
        m_isBent = true;
    }
}

/// Has the images laid over the reliefs, the last one uppermost.
void Scene::BeginDraping() {
    DrapingOrder order;
    for (const Relief& relief : m_reliefs) {
        if (relief.style.shown) {
            order.reliefs.push_back({relief.id, relief.surface.GetShape(), relief.surface.GetShownRange()});
        }
    }
    for (auto image = m_images.rbegin(); image != m_images.rend() && !order.reliefs.empty(); ++image) {
        if (image->style.shown) {
            order.images.push_back({image->id, image->style.opacity,
                                    [make = image->raster.GetImageMaker()] { return make(kDrapedSide); }});
        }
    }
    // The version tells them from what showed through them before.
    order.mark = std::to_wstring(m_version);
    if (order.images.empty() && !m_draping.IsAwaited()) {
        TakeDraping({}); // which needs no thread
        return;
    }
    m_draping.Begin(std::move(order));
}

void Scene::TakeDraping(DrapingResult result) {
    for (Image& image : m_images) {
        const std::vector<int>& covered = result.coveredImages;
        image.isCovered = std::find(covered.begin(), covered.end(), image.id) != covered.end();
    }
    for (Relief& relief : m_reliefs) {
        const auto found = std::find_if(result.reliefs.begin(), result.reliefs.end(),
                                        [&](const DrapingResult::Relief& one) { return one.layer == relief.id; });
        relief.surface.SetCovers(found == result.reliefs.end() ? ReliefCovers() : std::move(found->covers));
    }
}

/// Clears the frame and draws what lies below the clouds. False while rasters are read.
bool Scene::DrawGround(KTR::COpenGLView& view) {
    Drape();
    view.SetBackgroundColor(kBackground, true);
    view.SetSun(m_sunAzimuthDegrees, m_sunAltitudeDegrees);
    // Rasters are the ground below everything.
    view.Disable(GL_DEPTH_TEST);
    const bool isRead = DrawRasters(view);
    // What is nearer hides what is farther; seen from above, what is higher what is lower.
    view.Enable(GL_DEPTH_TEST);
    for (Relief& relief : m_reliefs) {
        if (relief.style.shown) {
            relief.surface.Draw(view);
        }
    }
    for (Solid& solid : m_solids) {
        if (solid.style.shown) {
            solid.mesh.Draw(view);
        }
    }
    return isRead;
}

/// On a map what it shows of it.
Extent Scene::FindAreaToFill(const KTR::COpenGLView& view) const {
    if (view.GetCurrentViewOrientation() != KTR::GLViewOrientationTop) {
        // On a relief an area would have to bend with it, where its triangles are flat.
        return m_reliefs.empty() ? m_extent : Extent();
    }
    Extent area;
    Position low;
    Position high;
    view.GetViewExtents(low.x, low.y, high.x, high.y);
    if (m_part) {
        const double unit = view.GetUnitsPerPixel();
        low = {low.x + m_part->left * unit, low.y + m_part->bottom * unit, 0.0};
        high = {low.x + m_part->width * unit, low.y + m_part->height * unit, 0.0};
    }
    area.Include(low);
    area.Include(high);
    return area;
}

} // namespace OrrinViewer
