#include "Surface.h"

#include "BlendScope.h"
#include "SceneColors.h"
#include "data/ReadingProgress.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr std::size_t kPartTriangles = 20'000;

std::shared_ptr<const ReliefShape> MakeShape(ElevationGrid grid) {
    auto shape = std::make_shared<ReliefShape>();
    shape->triangles = FindTriangles(grid);
    shape->grid = std::move(grid);
    return shape;
}

/// Has the image as the active texture of the library's cache, where all windows find it.
bool LoadTexture(KTR::COpenGLView& view, const ReliefCover& cover) {
    constexpr int kBytesPerPixel = 4;
    const RasterImage& image = cover.image->image;
    const auto isActive = [&] {
        KTR::GLTextureObject* entry = nullptr;
        return view.RequestTextureFromCache(cover.name.c_str(), image.width, image.height, 1, kBytesPerPixel,
                                            image.width, image.height, 0, 0, image.width - 1, image.height - 1, 1.0,
                                            0.0, 0.0, true, true, true, false, false, &entry);
    };
    if (isActive()) {
        return true;
    }
    KTR::GLTextureObject* entry = nullptr;
    unsigned int texture = 0;
    unsigned int sampler = 0;
    // What was added becomes the active one when it is asked for again.
    return view.LoadRasterImage(GL_RGBA, image.width, image.height, 1, GL_LINEAR_MIPMAP_LINEAR, image.rgba.data(),
                                texture, sampler) == S_OK &&
           view.AddRequestedTexture(texture, sampler, &entry) == S_OK && isActive();
}

/// Has fixed functions multiply textures with the light, as programs do.
class LitTextures {
public:
    explicit LitTextures(KTR::COpenGLView& view) : m_view(view) {
        m_view.SetUpLighting(true);
        m_view.EnableClientStateInternalBuffers(true, true, true, true, KTR::GLShaderShadedTexture);
        if (!m_view.DrawsWithPrograms()) {
            m_view.TexEnv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
        }
    }
    ~LitTextures() {
        m_view.DisableClientState();
        if (!m_view.DrawsWithPrograms()) {
            m_view.TexEnv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
            m_view.Disable(GL_TEXTURE_2D);
        }
        m_view.SetUpLighting(false);
    }
    LitTextures(const LitTextures&) = delete;
    LitTextures& operator=(const LitTextures&) = delete;

private:
    KTR::COpenGLView& m_view;
};

} // namespace

Surface::Surface(ElevationGrid grid)
    : m_shape(MakeShape(std::move(grid))), m_range(FindElevationRange(ElevationsWithData(Grid()))),
      m_shownRange(m_range) {
    const ElevationGrid& cells = Grid();
    m_normals.resize(cells.elevations.size());
    m_colors.resize(cells.elevations.size());
    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    progress->Begin("finding slopes");
    for (std::size_t cell = 0; cell < cells.elevations.size(); ++cell) {
        if (cell % cells.columns == 0) {
            progress->Reach(cell, cells.elevations.size());
        }
        if (!std::isnan(cells.elevations[cell])) {
            m_normals[cell] = FindNormal(cells, cell % cells.columns, cell / cells.columns);
            m_colors[cell] = ColorOfElevation(cells.elevations[cell], m_shownRange);
        }
    }
}

void Surface::SetRange(const ElevationRange& range) {
    if (m_shownRange == range) {
        return;
    }
    m_shownRange = range;
    for (std::size_t cell = 0; cell < Grid().elevations.size(); ++cell) {
        if (!std::isnan(Grid().elevations[cell])) {
            m_colors[cell] = ColorOfElevation(Grid().elevations[cell], m_shownRange);
        }
    }
    ++m_state;
}

void Surface::SetOpacity(double opacity) {
    if (m_opacity != opacity) {
        m_opacity = opacity;
        ++m_state;
    }
}

void Surface::SetCovers(ReliefCovers covers) {
    if (covers.GetCovers().empty() && m_covers.GetCovers().empty()) {
        return;
    }
    const auto& past = m_covers.GetCovers();
    m_pastCovers.insert(m_pastCovers.end(), past.begin(), past.end());
    m_covers = std::move(covers);
    ++m_state;
}

void Surface::ReleaseGeometry() {
    m_parts.clear();
}

std::optional<double> Surface::FindShareReady() const {
    const auto ready =
        std::count_if(m_parts.begin(), m_parts.end(), [this](const Part& part) { return part.state == m_state; });
    const auto whole = static_cast<double>(m_parts.size());
    return ready > 0 && static_cast<double>(ready) < whole ? std::optional(static_cast<double>(ready) / whole)
                                                           : std::nullopt;
}

bool Surface::Prepare(KTR::COpenGLView& view, const Position& origin, std::chrono::steady_clock::time_point until) {
    m_parts.resize((m_shape->triangles.size() + kPartTriangles - 1) / kPartTriangles);
    for (std::size_t index = 0; index < m_parts.size(); ++index) {
        if (m_parts[index].state == m_state) {
            continue;
        }
        if (std::chrono::steady_clock::now() >= until) {
            return false;
        }
        if (!Fill(view, origin, index)) {
            ReleaseGeometry();
            break; // no memory is left for more
        }
    }
    DropPastCovers(view);
    return true;
}

/// Adds a part anew: its triangles image by image.
bool Surface::Fill(KTR::COpenGLView& view, const Position& origin, std::size_t index) {
    Part& part = m_parts[index];
    const std::size_t first = index * kPartTriangles;
    const std::size_t end = std::min(first + kPartTriangles, m_shape->triangles.size());
    part.stretches.clear();
    part.state = m_state;
    if (view.BeginGeometry(part.geometry) != S_OK) {
        return false;
    }
    std::vector<const ReliefCover*> covers;
    for (std::size_t triangle = first; triangle < end; ++triangle) {
        const ReliefCover* const cover = m_covers.Of(triangle);
        if (std::find(covers.begin(), covers.end(), cover) == covers.end()) {
            covers.push_back(cover);
        }
    }
    for (const ReliefCover* const cover : covers) {
        const int before = part.geometry.GetCount();
        view.BeginArrays(GL_TRIANGLES, cover ? KTR::GLShaderShadedTexture : KTR::GLShaderShadedColor3Stage);
        for (std::size_t triangle = first; triangle < end; ++triangle) {
            if (m_covers.Of(triangle) == cover) {
                AddTriangle(view, origin, triangle, cover);
            }
        }
        view.EndArrays();
        part.stretches.push_back({cover, before, part.geometry.GetCount() - before});
    }
    return view.EndGeometry() == S_OK;
}

void Surface::AddTriangle(KTR::COpenGLView& view, const Position& origin, std::size_t triangle,
                          const ReliefCover* cover) const {
    const std::uint8_t opacity = ByteOf(m_opacity);
    for (const GridCorner& corner : m_shape->triangles[triangle]) {
        const std::size_t cell = corner.row * Grid().columns + corner.column;
        const Position position = Grid().PositionAt(corner.column, corner.row);
        const Position& normal = m_normals[cell];
        const Position place{position.x - origin.x, position.y - origin.y, position.z - origin.z};
        if (!cover) {
            const Rgb& color = m_colors[cell];
            view.AddIndex3DVertexNormalRGBA(place.x, place.y, place.z, normal.x, normal.y, normal.z, color.red,
                                            color.green, color.blue, opacity);
            continue;
        }
        const Raster& raster = *cover->image;
        const PixelPosition pixel = raster.pixelToMap.PixelAt(position.x, position.y);
        // The image's upper row is the texture's first.
        view.AddIndex3DVertexNormalTexCoordRGBA(place.x, place.y, place.z, normal.x, normal.y, normal.z,
                                                pixel.column / raster.image.width, pixel.row / raster.image.height, 255,
                                                255, 255, opacity);
    }
}

/// Nothing shows them any more.
void Surface::DropPastCovers(KTR::COpenGLView& view) {
    for (const std::shared_ptr<const ReliefCover>& cover : m_pastCovers) {
        view.DeleteTextureFromCache(cover->name.c_str());
    }
    m_pastCovers.clear();
}

void Surface::Draw(KTR::COpenGLView& view) {
    const BlendScope blend(view, m_opacity < 1.0);
    view.DrawSetupTextureTransparency(ByteOf(m_opacity));
    for (const auto* covers : {&std::as_const(m_pastCovers), &m_covers.GetCovers()}) {
        for (const std::shared_ptr<const ReliefCover>& cover : *covers) {
            DrawCovered(view, *cover);
        }
    }
    view.DrawSetupTextureTransparency(255);
    DrawBare(view);
}

void Surface::DrawCovered(KTR::COpenGLView& view, const ReliefCover& cover) const {
    if (!Shows(&cover) || !LoadTexture(view, cover)) {
        return;
    }
    view.DrawSetupSetShaderTexture(view.GetActiveTexture(), view.GetActiveSampler());
    const LitTextures textures(view);
    DrawStretches(view, &cover);
}

void Surface::DrawBare(KTR::COpenGLView& view) const {
    if (!Shows(nullptr)) {
        return;
    }
    view.SetUpLighting(true);
    view.EnableClientStateInternalBuffers(true, true, true, false, KTR::GLShaderShadedColor3Stage);
    DrawStretches(view, nullptr);
    view.DisableClientState();
    view.SetUpLighting(false);
}

bool Surface::Shows(const ReliefCover* cover) const {
    return std::any_of(m_parts.begin(), m_parts.end(), [cover](const Part& part) {
        return std::any_of(part.stretches.begin(), part.stretches.end(),
                           [cover](const Stretch& stretch) { return stretch.cover == cover; });
    });
}

void Surface::DrawStretches(KTR::COpenGLView& view, const ReliefCover* cover) const {
    for (const Part& part : m_parts) {
        for (const Stretch& stretch : part.stretches) {
            if (stretch.cover == cover) {
                view.DrawGeometry(part.geometry, stretch.first, stretch.count);
            }
        }
    }
}

} // namespace OrrinViewer
