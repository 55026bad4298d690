#include "Scene.h"

#include "OpenFile.h"

namespace OrrinViewer {

namespace {

constexpr COLORREF g_background = RGB(74, 82, 94); // neither black nor white points vanish on it
constexpr Rgb g_outline{255, 176, 64};
constexpr float g_outlineWidthPixels = 1.0F;
constexpr float g_symbolSizePixels = 5.0F;
/// Larger clouds, of two gigabytes and more, go through the library's own memory piece by piece.
constexpr std::size_t g_mostPointsInBuffer = 60'000'000;

} // namespace

void Scene::Load(const std::vector<std::filesystem::path>& files, std::optional<ColorMode> colorMode,
                 std::optional<double> cloudCellSize) {
    for (const std::filesystem::path& file : files) {
        const FileKind kind = DetectKind(file);
        if (kind == FileKind::GeoJson) {
            m_layers.push_back(OpenVectorLayer(file));
            m_extent.Include(m_layers.back().extent);
        } else if (kind == FileKind::AsciiGrid || cloudCellSize) {
            m_surfaces.emplace_back(kind == FileKind::AsciiGrid ? OpenElevationGrid(file)
                                                                : GridPoints(OpenPointCloud(file), *cloudCellSize));
            m_extent.Include(m_surfaces.back().Grid().FindExtent());
        } else {
            m_clouds.emplace_back().cloud = OpenPointCloud(file);
            m_extent.Include(m_clouds.back().cloud.extent);
        }
    }
    m_origin = m_extent.Center();
    if (!m_clouds.empty()) {
        m_colorMode = colorMode.value_or(ChooseColorMode(m_clouds.front().cloud));
    }
    ColorAllClouds();
}

std::size_t Scene::CountPoints() const {
    std::size_t count = 0;
    for (const ColoredCloud& colored : m_clouds) {
        count += colored.cloud.Count();
    }
    return count;
}

std::size_t Scene::CountFeatures() const {
    std::size_t count = 0;
    for (const VectorLayer& layer : m_layers) {
        count += layer.features.size();
    }
    return count;
}

std::size_t Scene::CountCells() const {
    std::size_t count = 0;
    for (const Surface& surface : m_surfaces) {
        count += surface.Grid().CountCellsWithData();
    }
    return count;
}

const char* Scene::SwitchColors() {
    switch (m_colorMode) {
    case ColorMode::Recorded:
        m_colorMode = ColorMode::Elevation;
        break;
    case ColorMode::Elevation:
        m_colorMode = ColorMode::Class;
        break;
    case ColorMode::Class:
        m_colorMode = ColorMode::Intensity;
        break;
    case ColorMode::Intensity:
        m_colorMode = ColorMode::Recorded;
        break;
    }
    ColorAllClouds();
    return NameOfColors();
}

const char* Scene::NameOfColors() const {
    switch (m_colorMode) {
    case ColorMode::Recorded:
        return "recorded colours";
    case ColorMode::Elevation:
        return "elevation";
    case ColorMode::Class:
        return "class";
    case ColorMode::Intensity:
        return "intensity";
    }
    return "";
}

void Scene::Draw(KTR::COpenGLView& view, const MapNavigator& navigator) {
    view.SetBackgroundColor(g_background, true);
    view.SetUpViewport(0, 0, navigator.Width(), navigator.Height());
    SetUpCamera(view, navigator);
    DrawContent(view);
}

void Scene::Draw(KTR::COpenGLView& view, const OrbitNavigator& navigator, int widthPixels, int heightPixels) {
    view.SetBackgroundColor(g_background, true);
    view.SetUpViewport(0, 0, widthPixels, heightPixels);
    SetUpCamera(view, navigator);
    DrawContent(view);
}

void Scene::ReleaseGLObjects(KTR::COpenGLView& view) {
    for (ColoredCloud& colored : m_clouds) {
        view.DeleteVBO(colored.buffer);
        colored.bufferContext = nullptr;
    }
}

/// Draws everything with the camera that is set up.
void Scene::DrawContent(KTR::COpenGLView& view) {
    SetUpSun(view);
    view.Scale(1.0, 1.0, m_exaggeration);

    // What is nearer hides what is farther; seen from above, what is higher what is lower.
    view.Enable(GL_DEPTH_TEST);
    for (const Surface& surface : m_surfaces) {
        surface.Draw(view, m_origin);
    }
    for (ColoredCloud& colored : m_clouds) {
        DrawCloud(view, colored);
    }
    // Outlines lie on top of everything, whatever their elevation.
    view.Disable(GL_DEPTH_TEST);
    for (const VectorLayer& layer : m_layers) {
        DrawLayer(view, layer);
    }
}

void Scene::ColorAllClouds() {
    for (ColoredCloud& colored : m_clouds) {
        colored.colors = ColorPoints(colored.cloud, m_colorMode);
        colored.isBufferOld = true;
    }
}

/// A parallel projection from above onto the visible area. Everything is relative to the origin, and stays in double
/// precision until the library hands the product of the matrices to OpenGL.
void Scene::SetUpCamera(KTR::COpenGLView& view, const MapNavigator& navigator) const {
    const Extent area = navigator.VisibleArea();
    const double heightRange = m_extent.IsEmpty() ? 0.0 : m_extent.high.z - m_extent.low.z;
    const double depth = heightRange * m_exaggeration + 1.0;
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(area.low.x - m_origin.x, area.high.x - m_origin.x, area.low.y - m_origin.y, area.high.y - m_origin.y,
               -depth, depth);
    view.MatrixMode(GL_MODELVIEW);
    view.LoadIdentity();
}

/// A perspective of the scene's middle, which is the origin.
void Scene::SetUpCamera(KTR::COpenGLView& view, const OrbitNavigator& navigator) const {
    view.MatrixMode(GL_PROJECTION);
    view.Perspective(OrbitNavigator::fieldOfViewDegrees, navigator.AspectRatio(), navigator.NearDistance(),
                     navigator.FarDistance());
    view.MatrixMode(GL_MODELVIEW);
    const Position eye = navigator.Eye();
    view.LookAt(eye.x, eye.y, eye.z, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0);
}

void Scene::DrawCloud(KTR::COpenGLView& view, ColoredCloud& colored) const {
    view.PointSize(static_cast<float>(m_pointSizePixels));
    if (DrawsWithPrograms(view) && colored.cloud.Count() <= g_mostPointsInBuffer) {
        DrawCloudFromBuffer(view, colored);
        return;
    }
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderPoint);
    view.BeginArrays(GL_POINTS, KTR::GLShaderPoint);
    for (std::size_t index = 0; index < colored.cloud.Count(); ++index) {
        const Position& position = colored.cloud.positions[index];
        const Rgb& color = colored.colors[index];
        view.AddIndex3DVertexRGBA(position.x - m_origin.x, position.y - m_origin.y, position.z - m_origin.z, color.red,
                                  color.green, color.blue, 255);
    }
    view.EndArraysAndDisableClientState();
}

/// A cloud does not change from frame to frame: it is handed over once and stays where the graphics card draws from.
void Scene::DrawCloudFromBuffer(KTR::COpenGLView& view, ColoredCloud& colored) const {
    const HGLRC context = view.GetContextRecord(view.GetCurrentContextType()).renderingContext;
    if (colored.bufferContext != context) {
        // The context was made anew, and the old buffer went with the old one.
        colored.buffer = {};
        colored.bufferContext = context;
    } else if (colored.isBufferOld) {
        view.DeleteVBO(colored.buffer);
    }
    colored.isBufferOld = false;
    const bool isFilled = colored.buffer.vertexBytes != 0;
    const std::vector<KTR::GLDrawGeometry> geometry =
        isFilled ? std::vector<KTR::GLDrawGeometry>() : MakeGeometry(colored);
    view.InitializeVBO(GL_POINTS, KTR::GLShaderPoint, colored.buffer, geometry.data(), geometry.size());
    view.DrawArrays(GL_POINTS, static_cast<int>(colored.cloud.Count()), colored.buffer, nullptr);
    view.EndVBOArraysAndDisableClientState();
}

std::vector<KTR::GLDrawGeometry> Scene::MakeGeometry(const ColoredCloud& colored) const {
    std::vector<KTR::GLDrawGeometry> geometry(colored.cloud.Count());
    for (std::size_t index = 0; index < geometry.size(); ++index) {
        const Position& position = colored.cloud.positions[index];
        const Rgb& color = colored.colors[index];
        KTR::GLDrawGeometry& vertex = geometry[index];
        vertex.x = static_cast<float>(position.x - m_origin.x);
        vertex.y = static_cast<float>(position.y - m_origin.y);
        vertex.z = static_cast<float>(position.z - m_origin.z);
        vertex.r = color.red;
        vertex.g = color.green;
        vertex.b = color.blue;
        vertex.a = 255;
    }
    return geometry;
}

void Scene::DrawLayer(KTR::COpenGLView& view, const VectorLayer& layer) const {
    view.LineWidth(g_outlineWidthPixels);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderLine);
    for (const VectorFeature& feature : layer.features) {
        for (const Path& line : feature.lines) {
            DrawPath(view, line, GL_LINE_STRIP);
        }
        for (const Polygon& polygon : feature.polygons) {
            for (const Path& ring : polygon.rings) {
                DrawPath(view, ring, GL_LINE_LOOP);
            }
        }
    }
    view.DisableClientState();

    view.PointSize(g_symbolSizePixels);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderPoint);
    view.BeginArrays(GL_POINTS, KTR::GLShaderPoint);
    for (const VectorFeature& feature : layer.features) {
        for (const Position& point : feature.points) {
            AddOnTheGround(view, point);
        }
    }
    view.EndArraysAndDisableClientState();
}

void Scene::DrawPath(KTR::COpenGLView& view, const Path& path, unsigned int mode) const {
    view.BeginArrays(mode, KTR::GLShaderLine);
    for (const Position& position : path) {
        AddOnTheGround(view, position);
    }
    view.EndArrays();
}

/// A vertex of an outline: on the relief where there is one, elsewhere at half the scene's height. Elevations of the
/// layer's own are not used; most layers have none, and others hold 0.
void Scene::AddOnTheGround(KTR::COpenGLView& view, const Position& position) const {
    double elevation = g_noElevation;
    for (const Surface& surface : m_surfaces) {
        elevation = std::isnan(elevation) ? surface.Grid().ElevationAt(position.x, position.y) : elevation;
    }
    const double z = std::isnan(elevation) ? 0.0 : elevation - m_origin.z;
    view.AddIndex3DVertexRGBA(position.x - m_origin.x, position.y - m_origin.y, z, g_outline.red, g_outline.green,
                              g_outline.blue, 255);
}

} // namespace OrrinViewer
