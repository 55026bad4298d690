#include "Surface.h"

#include "BlendScope.h"
#include "SceneColors.h"
#include "data/ReadingProgress.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace OrrinViewer {

Surface::Surface(ElevationGrid grid)
    : m_grid(std::move(grid)), m_range(FindElevationRange(ElevationsWithData(m_grid))), m_shownRange(m_range),
      m_triangles(FindTriangles(m_grid)) {
    m_normals.resize(m_grid.elevations.size());
    m_colors.resize(m_grid.elevations.size());
    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    progress->Begin("finding slopes");
    for (std::size_t cell = 0; cell < m_grid.elevations.size(); ++cell) {
        if (cell % m_grid.columns == 0) {
            progress->Reach(cell, m_grid.elevations.size());
        }
        if (!std::isnan(m_grid.elevations[cell])) {
            m_normals[cell] = FindNormal(m_grid, cell % m_grid.columns, cell / m_grid.columns);
            m_colors[cell] = ColorOfElevation(m_grid.elevations[cell], m_shownRange);
        }
    }
}

void Surface::SetRange(const ElevationRange& range) {
    if (m_shownRange == range) {
        return;
    }
    m_shownRange = range;
    for (std::size_t cell = 0; cell < m_grid.elevations.size(); ++cell) {
        if (!std::isnan(m_grid.elevations[cell])) {
            m_colors[cell] = ColorOfElevation(m_grid.elevations[cell], m_shownRange);
        }
    }
    m_geometry.Clear();
}

void Surface::SetOpacity(double opacity) {
    if (m_opacity != opacity) {
        m_opacity = opacity;
        m_geometry.Clear();
    }
}

void Surface::Drape(Raster image, const std::wstring& name) {
    const PixelToMap& place = image.pixelToMap;
    const auto isCovered = [&](const GridCorner& corner) {
        const Position position = m_grid.PositionAt(corner.column, corner.row);
        const PixelPosition pixel = place.PixelAt(position.x, position.y);
        return pixel.column >= 0.0 && pixel.row >= 0.0 && pixel.column <= image.image.width &&
               pixel.row <= image.image.height;
    };
    const auto covered = std::stable_partition(m_triangles.begin(), m_triangles.end(), [&](const auto& triangle) {
        return !std::all_of(triangle.begin(), triangle.end(), isCovered);
    });
    if (covered == m_triangles.end()) {
        return;
    }
    FillTransparentPixels(image);
    m_covers.push_back({std::move(image), name, {covered, m_triangles.end()}, {}, {}});
    m_triangles.erase(covered, m_triangles.end());
    m_geometry.Clear();
}

void Surface::Bare(KTR::COpenGLView& view) {
    if (m_covers.empty()) {
        return;
    }
    for (const Cover& cover : m_covers) {
        view.DeleteTextureFromCache(cover.name.c_str());
    }
    m_covers.clear();
    m_triangles = FindTriangles(m_grid);
    m_geometry.Clear();
}

bool Surface::Reaches(const Raster& image) const {
    const Extent extent = image.FindExtent();
    const double margin = m_grid.cellSize;
    const double east = m_grid.westX + static_cast<double>(m_grid.columns) * m_grid.cellSize;
    const double south = m_grid.northY - static_cast<double>(m_grid.rows) * m_grid.cellSize;
    return extent.low.x >= m_grid.westX - margin && extent.high.x <= east + margin && extent.low.y >= south - margin &&
           extent.high.y <= m_grid.northY + margin;
}

void Surface::ReleaseGeometry() {
    m_geometry.Clear();
    for (Cover& cover : m_covers) {
        cover.records = {};
    }
}

void Surface::Draw(KTR::COpenGLView& view, const Position& origin) {
    const BlendScope blend(view, m_opacity < 1.0);
    view.DrawSetupTextureTransparency(ByteOf(m_opacity));
    for (Cover& cover : m_covers) {
        if (cover.records.empty() || !(cover.origin == origin)) {
            AddRecords(cover, origin);
        }
        if (LoadTexture(view, cover)) {
            view.DrawSetupSetShaderTexture(view.GetActiveTexture(), view.GetActiveSampler());
            view.DrawGeometry3D(GL_TRIANGLES, KTR::GLShaderShadedTexture, cover.records.data(), cover.records.size(),
                                nullptr, 0);
        }
    }
    view.DrawSetupTextureTransparency(255);
    if (!m_triangles.empty()) {
        m_geometry.Draw(view);
    }
}

/// Where an image shows nothing the ground does, in the colours of its elevations.
void Surface::FillTransparentPixels(Raster& image) const {
    const auto width = static_cast<std::size_t>(image.image.width);
    for (std::size_t pixel = 0; 4 * pixel + 3 < image.image.rgba.size(); ++pixel) {
        std::uint8_t* rgba = &image.image.rgba[4 * pixel];
        if (rgba[3] == 255) {
            continue;
        }
        const std::size_t column = pixel % width;
        const std::size_t row = pixel / width;
        const Position place = image.pixelToMap.At(static_cast<double>(column) + 0.5, static_cast<double>(row) + 0.5);
        const double elevation = m_grid.ElevationAt(place.x, place.y);
        const Rgb ground = ColorOfElevation(std::isnan(elevation) ? m_shownRange.low : elevation, m_shownRange);
        const auto blend = [opacity = rgba[3]](int above, int below) {
            return static_cast<std::uint8_t>((above * opacity + below * (255 - opacity)) / 255);
        };
        rgba[0] = blend(rgba[0], ground.red);
        rgba[1] = blend(rgba[1], ground.green);
        rgba[2] = blend(rgba[2], ground.blue);
        rgba[3] = 255;
    }
}

void Surface::AddRecords(Cover& cover, const Position& origin) const {
    cover.origin = origin;
    cover.records.clear();
    cover.records.reserve(3 * cover.triangles.size());
    for (const std::array<GridCorner, 3>& triangle : cover.triangles) {
        for (const GridCorner& corner : triangle) {
            const Position position = m_grid.PositionAt(corner.column, corner.row);
            const Position& normal = m_normals[corner.row * m_grid.columns + corner.column];
            const PixelPosition pixel = cover.image.pixelToMap.PixelAt(position.x, position.y);
            KTR::GLDrawGeometry record{};
            record.x = static_cast<float>(position.x - origin.x);
            record.y = static_cast<float>(position.y - origin.y);
            record.z = static_cast<float>(position.z - origin.z);
            record.nx = static_cast<float>(normal.x);
            record.ny = static_cast<float>(normal.y);
            record.nz = static_cast<float>(normal.z);
            // The image's upper row is the texture's first.
            record.s = static_cast<float>(pixel.column / cover.image.image.width);
            record.t = static_cast<float>(pixel.row / cover.image.image.height);
            cover.records.push_back(record);
        }
    }
}

/// Has the image as the active texture of the library's cache, where all windows find it.
bool Surface::LoadTexture(KTR::COpenGLView& view, const Cover& cover) {
    constexpr int kBytesPerPixel = 4;
    const int width = cover.image.image.width;
    const int height = cover.image.image.height;
    const auto isActive = [&] {
        KTR::GLTextureObject* entry = nullptr;
        return view.RequestTextureFromCache(cover.name.c_str(), width, height, 1, kBytesPerPixel, width, height, 0, 0,
                                            width - 1, height - 1, 1.0, 0.0, 0.0, true, true, true, false, false,
                                            &entry);
    };
    if (isActive()) {
        return true;
    }
    KTR::GLTextureObject* entry = nullptr;
    unsigned int texture = 0;
    unsigned int sampler = 0;
    // What was added becomes the active one when it is asked for again.
    return view.LoadRasterImage(GL_RGBA, width, height, 1, GL_LINEAR_MIPMAP_LINEAR, cover.image.image.rgba.data(),
                                texture, sampler) == S_OK &&
           view.AddRequestedTexture(texture, sampler, &entry) == S_OK && isActive();
}

bool Surface::Prepare(KTR::COpenGLView& view, const Position& origin, std::chrono::steady_clock::time_point until) {
    return m_geometry.Prepare(view, m_triangles.size(), until, [&](std::size_t triangle) {
        for (const GridCorner& corner : m_triangles[triangle]) {
            const std::size_t cell = corner.row * m_grid.columns + corner.column;
            const Position position = m_grid.PositionAt(corner.column, corner.row);
            const Position& normal = m_normals[cell];
            const Rgb& color = m_colors[cell];
            view.AddIndex3DVertexNormalRGBA(position.x - origin.x, position.y - origin.y, position.z - origin.z,
                                            normal.x, normal.y, normal.z, color.red, color.green, color.blue,
                                            ByteOf(m_opacity));
        }
    });
}

} // namespace OrrinViewer
