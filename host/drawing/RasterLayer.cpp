#include "RasterLayer.h"

#include "ComputedRelief.h"
#include "ElevationImages.h"
#include "SceneColors.h"
#include "WarpedReader.h"
#include "data/ReadingProgress.h"
#include "files/TiffOverview.h"
#include "systems/TransformLayers.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace OrrinViewer {

namespace {

/// Of all rasters in all windows; the library's cache keeps to it.
constexpr unsigned long long kTextureMemory = 256ULL << 20;

KTR::GLRasterDescription Describe(const std::wstring& name, int width, int height, unsigned int pixels) {
    KTR::GLRasterDescription description;
    description.name = name;
    description.width = width;
    description.height = height;
    description.pixels = pixels;
    return description;
}

/// From the lowest to the highest elevation; a level plain takes the colour in the middle.
KTR::GLDataStyle ElevationStyle(const ElevationRange& range) {
    KTR::GLDataStyle style;
    const double margin = range.low < range.high ? 0.0 : 1.0;
    style.low = range.low - margin;
    style.high = range.high + margin;
    for (std::size_t index = 0; index < kElevationRamp.size(); ++index) {
        const Rgb& color = kElevationRamp[index];
        const double position = static_cast<double>(index) / (kElevationRamp.size() - 1);
        style.stops.push_back({position, {color.red, color.green, color.blue, 255}});
    }
    return style;
}

KTR::GLRasterReader WaitForOthers(const KTR::GLRasterReader& reader, const std::shared_ptr<std::mutex>& reads) {
    return [reader, reads](const KTR::GLRasterWindow& window, void* pixels) {
        const std::lock_guard lock(*reads);
        return reader(window, pixels);
    };
}

/// For who draws: where another thread reads, a later frame will show it.
KTR::GLRasterReader GiveWayToOthers(const KTR::GLRasterReader& reader, const std::shared_ptr<std::mutex>& reads) {
    return [reader, reads](const KTR::GLRasterWindow& window, void* pixels) {
        const std::unique_lock lock(*reads, std::try_to_lock);
        return lock ? reader(window, pixels) : KTR::GLRasterReadLater;
    };
}

/// An image of a raster, of at most so many pixels each way.
std::shared_ptr<const Raster> ReadImage(const KTR::GLRasterReader& reader, int width, int height,
                                        const PixelToMap& place, int largestSide) {
    const auto at = [](int pixels, int level) { return ((pixels - 1) >> level) + 1; };
    int level = 0;
    while (std::max(at(width, level), at(height, level)) > largestSide) {
        ++level;
    }
    const auto raster = std::make_shared<Raster>();
    RasterImage& image = raster->image;
    image.width = at(width, level);
    image.height = at(height, level);
    image.rgba.resize(std::size_t{4} * static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
    // In bands, between which it can be stopped.
    constexpr int kBandRows = 64;
    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    progress->Begin("making an image for reliefs");
    const std::size_t rowBytes = std::size_t{4} * static_cast<std::size_t>(image.width);
    for (int row = 0; row < image.height; row += kBandRows) {
        progress->Reach(static_cast<std::uint64_t>(row), static_cast<std::uint64_t>(image.height));
        const KTR::GLRasterWindow window{level, 0, row, image.width, std::min(kBandRows, image.height - row)};
        std::uint8_t* const pixels = &image.rgba[static_cast<std::size_t>(row) * rowBytes];
        KTR::GLRasterRead read = reader(window, pixels);
        while (read == KTR::GLRasterReadLater) {
            progress->GoOn();
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            read = reader(window, pixels);
        }
        if (read != KTR::GLRasterReadDone) {
            return nullptr;
        }
    }
    const double pixels = std::ldexp(1.0, level); // of the raster in each of the image's
    raster->pixelToMap = place;
    raster->pixelToMap.columnX *= pixels;
    raster->pixelToMap.columnY *= pixels;
    raster->pixelToMap.rowX *= pixels;
    raster->pixelToMap.rowY *= pixels;
    return raster;
}

} // namespace

RasterLayer RasterLayer::ForImage(Raster raster, const std::wstring& name) {
    RasterImage& image = raster.image;
    return {Describe(name, image.width, image.height, GL_RGBA), raster.pixelToMap,
            KTR::MakeImageReader(GL_RGBA, image.width, image.height, std::move(image.rgba))};
}

RasterLayer RasterLayer::ForElevations(const ElevationGrid& grid, const std::wstring& name) {
    const int width = static_cast<int>(grid.columns);
    const int height = static_cast<int>(grid.rows);
    KTR::GLRasterDescription description = Describe(name, width, height, GL_FLOAT);
    const ElevationRange range = FindElevationRange(ElevationsWithData(grid));
    description.style = ElevationStyle(range);
    description.smooth = false;
    RasterLayer layer(std::move(description), PlaceCells(grid),
                      KTR::MakeValueReader(width, height, ElevationValues(grid)));
    layer.m_range = range;
    return layer;
}

RasterLayer RasterLayer::ForTiff(const std::shared_ptr<TiffFile>& file, const std::filesystem::path& path) {
    const bool hasColors = file->HasColors();
    KTR::GLRasterDescription description =
        Describe(path.wstring(), file->Width(), file->Height(), hasColors ? GL_RGBA : GL_FLOAT);
    std::optional<ElevationRange> range;
    if (!hasColors) {
        range = FindElevationRange(file->SampleValues());
        description.style = ElevationStyle(*range);
        description.smooth = false;
    }
    std::shared_ptr<TiffOverview> overview;
    if (const std::optional<int> level = TiffOverview::FindLevel(*file)) {
        overview = std::make_shared<TiffOverview>(path, *level);
    }
    const auto waits = std::make_shared<std::atomic<bool>>(false);
    const auto read = [file, overview, waits, hasColors](const KTR::GLRasterWindow& window, void* pixels) {
        const TiffWindow wanted{window.level, window.x, window.y, window.width, window.height};
        if (overview && window.level >= overview->Level()) {
            return overview->Read(wanted, *waits, pixels) ? KTR::GLRasterReadDone : KTR::GLRasterReadLater;
        }
        if (hasColors) {
            file->ReadColors(wanted, static_cast<std::uint8_t*>(pixels));
        } else {
            file->ReadValues(wanted, static_cast<float*>(pixels));
        }
        return KTR::GLRasterReadDone;
    };
    RasterLayer layer(std::move(description), file->Place(), read);
    layer.m_waits = waits;
    layer.m_range = range;
    return layer;
}

RasterLayer RasterLayer::ForComputedRelief(int side, const Position& middle) {
    KTR::GLRasterDescription description = Describe(L"computed relief", side, side, GL_FLOAT);
    const ElevationRange range{kComputedLow, kComputedHigh};
    description.style = ElevationStyle(range);
    const double half = side * 0.5;
    const auto read = [](const KTR::GLRasterWindow& window, void* pixels) {
        ComputeRelief(window.level, window.x, window.y, window.width, window.height, static_cast<float*>(pixels));
        return KTR::GLRasterReadDone;
    };
    RasterLayer layer(description, {1.0, 0.0, 0.0, -1.0, middle.x - half, middle.y + half}, read);
    layer.m_range = range;
    return layer;
}

RasterLayer RasterLayer::ForHillshade(const ElevationGrid& grid, double exaggeration, const std::wstring& name) {
    const int width = static_cast<int>(grid.columns);
    const int height = static_cast<int>(grid.rows);
    return {Describe(name + L" hillshade", width, height, GL_LUMINANCE_ALPHA), PlaceCells(grid),
            KTR::MakeImageReader(GL_LUMINANCE_ALPHA, width, height, MakeHillshade(grid, exaggeration))};
}

RasterLayer::RasterLayer(KTR::GLRasterDescription description, const PixelToMap& pixelToMap,
                         const KTR::GLRasterReader& reader)
    : m_description(std::move(description)), m_reads(std::make_shared<std::mutex>()),
      m_reader(reader ? WaitForOthers(reader, m_reads) : KTR::GLRasterReader()),
      m_layer(m_description, reader ? GiveWayToOthers(reader, m_reads) : KTR::GLRasterReader()),
      m_pixelToMap(pixelToMap),
      m_pixels(static_cast<std::size_t>(m_description.width) * static_cast<std::size_t>(m_description.height)) {
    for (const int column : {0, m_description.width}) {
        for (const int row : {0, m_description.height}) {
            m_extent.Include(pixelToMap.At(column, row));
        }
    }
    m_layer.SetCacheLimit(kTextureMemory);
}

std::optional<RasterLayer> RasterLayer::Transformed(const MapTransformation& transformation) const {
    const Extent box = TransformExtent(m_extent.Flat(), transformation);
    const bool isKnownKind = m_description.pixels == GL_RGBA || m_description.pixels == GL_FLOAT;
    if (box.IsEmpty() || !isKnownKind) {
        return std::nullopt;
    }
    const double width = box.high.x - box.low.x;
    const double height = box.high.y - box.low.y;
    // As many pixels as before, square ones.
    const double side = std::sqrt(width * height / static_cast<double>(m_pixels));
    constexpr double kMostPixels = 1e8; // each way
    const double columns = std::ceil(width / side);
    const double rows = std::ceil(height / side);
    if (!(side > 0.0) || !(columns < kMostPixels) || !(rows < kMostPixels)) {
        return std::nullopt;
    }
    KTR::GLRasterDescription description = m_description;
    description.name += L" transformed";
    description.width = static_cast<int>(columns);
    description.height = static_cast<int>(rows);
    const PixelToMap place{side, 0.0, 0.0, -side, box.low.x, box.high.y};
    const WarpSource source{m_reader, m_description.width, m_description.height, m_pixelToMap,
                            m_description.pixels == GL_FLOAT};
    RasterLayer layer(description, place, MakeWarpedReader(source, place, transformation.backward));
    layer.m_range = m_range;
    return layer;
}

RasterLayer::ImageMaker RasterLayer::GetImageMaker() const {
    if (m_description.pixels != GL_RGBA || !m_reader) {
        return [](int) { return nullptr; };
    }
    return [reader = m_reader, width = m_description.width, height = m_description.height, place = m_pixelToMap,
            kept = m_keptImage, keptSide = m_keptSide](int largestSide) {
        return kept && keptSide == largestSide ? kept : ReadImage(reader, width, height, place, largestSide);
    };
}

void RasterLayer::KeepImage(int largestSide) {
    if (const std::shared_ptr<const Raster> image = GetImageMaker()(largestSide)) {
        m_keptImage = image;
        m_keptSide = largestSide;
    }
}

std::optional<RasterPixel> RasterLayer::ReadPixel(double x, double y) const {
    const PixelPosition place = m_pixelToMap.PixelAt(x, y);
    const bool isWithin = place.column >= 0.0 && place.row >= 0.0 && place.column < m_description.width &&
                          place.row < m_description.height; // not for NaN
    if (!isWithin || !m_reader) {
        return std::nullopt;
    }
    const KTR::GLRasterWindow window{0, static_cast<int>(place.column), static_cast<int>(place.row), 1, 1};
    RasterPixel pixel;
    pixel.isColor = m_description.pixels == GL_RGBA;
    if (!pixel.isColor && m_description.pixels != GL_FLOAT) {
        return std::nullopt;
    }
    float value = 0.0F;
    void* const target = pixel.isColor ? static_cast<void*>(pixel.rgba.data()) : &value;
    try {
        if (m_reader(window, target) != KTR::GLRasterReadDone) {
            return std::nullopt;
        }
    } catch (const std::exception&) {
        return std::nullopt; // the frame shows that something is wrong there
    }
    pixel.value = value;
    return pixel;
}

void RasterLayer::SetRange(const ElevationRange& range) {
    m_layer.SetStyle(ElevationStyle(range));
}

void RasterLayer::ReadAtOnce() {
    m_layer.SetReadingTime(std::numeric_limits<double>::infinity());
    if (m_waits) {
        *m_waits = true;
    }
}

bool RasterLayer::Draw(KTR::COpenGLView& view, const Position& origin, double z) {
    PlaceAround(origin);
    return m_layer.Draw(view, z) != S_FALSE;
}

bool RasterLayer::DrawShaded(KTR::COpenGLView& view, RasterLayer& shade, double strength, const Position& origin,
                             double z) {
    PlaceAround(origin);
    shade.PlaceAround(origin);
    return m_layer.DrawFused(view, shade.m_layer, KTR::GLFusionMultiply, strength, z) != S_FALSE;
}

void RasterLayer::PlaceAround(const Position& origin) {
    m_layer.SetPlacement({m_pixelToMap.columnX, m_pixelToMap.columnY, m_pixelToMap.rowX, m_pixelToMap.rowY,
                          m_pixelToMap.originX - origin.x, m_pixelToMap.originY - origin.y});
}

} // namespace OrrinViewer
