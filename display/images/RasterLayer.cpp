#include "RasterLayer.h"

#include "../platform/Border.h"
#include "../view/ViewAccess.h"
#include "DataColors.h"
#include "DrawingStateScope.h"
#include "FusedQuadrilateral.h"
#include "ImageUpload.h"
#include "RasterTiling.h"
#include "TreatedImage.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace KTR {

namespace {

using Clock = std::chrono::steady_clock;

/// Bytes that the cache counts for a tile of full size.
constexpr unsigned long long kTileBytes = (kTileSide + 2ULL) * (kTileSide + 2ULL) * 4;

constexpr double kDefaultReadingTime = 4.0; // milliseconds
constexpr unsigned long long kDefaultCacheLimit = 256ULL << 20;

std::wstring NameForOneLayer() {
    static std::atomic<unsigned long long> s_last{0};
    return L"raster layer " + std::to_wstring(++s_last);
}

bool HoldsValues(unsigned int pixels) {
    return BytesPerValue(pixels) != 0;
}

std::size_t PixelBytes(unsigned int pixels) {
    return static_cast<std::size_t>(HoldsValues(pixels) ? BytesPerValue(pixels) : BytesPerPixel(pixels));
}

} // namespace

struct RasterLayerState {
    RasterLayerState(const GLRasterDescription& given, GLRasterReader givenReader)
        : description(given), reader(std::move(givenReader)) {
        if (description.name.empty()) {
            description.name = NameForOneLayer();
        }
    }

    bool IsUsable() const {
        return description.width > 0 && description.height > 0 && PixelBytes(description.pixels) != 0 &&
               description.pixels != GL_DEPTH_COMPONENT && reader;
    }
    /// How the names of its tiles begin, those of before included.
    std::wstring NamePrefix() const { return description.name + L"#"; }
    std::wstring NameOf(const RasterTile& tile) const {
        return NamePrefix() + std::to_wstring(generation) + L":" + std::to_wstring(tile.level) + L"," +
               std::to_wstring(tile.column) + L"," + std::to_wstring(tile.row);
    }

    GLRasterDescription description;
    GLRasterReader reader;
    unsigned int generation = 0; ///< of its tiles: those of the one before are not found any more
    std::set<RasterTile> failed;
    std::optional<DataColors> colors; ///< of the style, once they were needed
    std::vector<unsigned char> pixels;
    std::vector<unsigned char> converted;
    double readingTime = kDefaultReadingTime;
    unsigned long long cacheLimit = kDefaultCacheLimit;
    GLRasterFrame lastFrame;
};

namespace {

/// A tile's texture.
struct TileTexture {
    unsigned int texture = 0;
    unsigned int sampler = 0;
    int width = 0; ///< texels
    int height = 0;
};

/// What shows a tile: its own texture, or that of a coarser one.
struct ShownTile {
    TileTexture texture;
    RasterTile tile; ///< whose texture it is
};

/// What one layer does in one frame of a view, whose context is current.
class LayerFrame {
public:
    LayerFrame(COpenGLView& view, RasterLayerState& layer, double z)
        : m_view(view), m_layer(layer), m_grid(layer.description.width, layer.description.height),
          m_usesCache(COpenGLView::m_gsOpenGLVersionData.bTextureCache) {
        const GLAttributes& attributes = ViewAccess::CurrentRecord(view).attributes;
        const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
        m_camera = {layer.description.placement, z, matrices.projection * matrices.modelview,
                    static_cast<double>(attributes.viewport[2]), static_cast<double>(attributes.viewport[3])};
        m_tiles = SelectTiles(m_grid, m_camera, static_cast<std::size_t>(layer.cacheLimit / 2 / kTileBytes));
    }
    ~LayerFrame() {
        for (auto& [tile, texture] : m_own) {
            m_view.DeleteTextureAndSamplerNames(texture.texture, texture.sampler);
        }
    }
    LayerFrame(const LayerFrame&) = delete;
    LayerFrame& operator=(const LayerFrame&) = delete;

    const RasterGrid& Grid() const { return m_grid; }
    const std::vector<RasterTile>& Tiles() const { return m_tiles; }
    const GLRasterPlacement& Placement() const { return m_camera.placement; }

    /// Finds what the cache has and reads what it has not, as long as there is time.
    void Read() {
        const auto start = Clock::now();
        const auto timeIsUp = [&] {
            return m_usesCache && m_frame.read > 0 &&
                   std::chrono::duration<double, std::milli>(Clock::now() - start).count() > m_layer.readingTime;
        };
        std::optional<DrawingStateScope> state; // a loaded texture stays bound
        for (const RasterTile& tile : ReadingOrder(m_grid, m_tiles)) {
            if (FindOwn(tile) || m_layer.failed.contains(tile)) {
                continue;
            }
            if (m_result != S_OK || timeIsUp()) {
                m_isComplete = false;
                continue;
            }
            if (!state) {
                state.emplace(m_view, DrawnThing::Image);
            }
            ReadTile(tile);
        }
    }

    /// The tile's texture or the next coarser one that is there; null where there is none.
    const ShownTile* Find(const RasterTile& tile) {
        RasterTile source = tile;
        const TileTexture* texture = FindOwn(source);
        while (!texture && source.level < m_grid.Root().level) {
            source = source.Parent();
            texture = FindOwn(source);
        }
        ++m_frame.tiles;
        m_frame.missing += texture ? 0 : 1;
        m_frame.standIns += texture && source != tile ? 1 : 0;
        if (!texture) {
            return nullptr;
        }
        m_shown = {*texture, source};
        return &m_shown;
    }

    PointXYZ PlaceOf(double column, double row) const { return m_camera.PlaceOf(column, row); }
    /// Where a place of the raster is in a texture.
    GLTexCoords CoordinatesIn(const ShownTile& shown, double column, double row) const {
        const GLRasterWindow window = m_grid.WindowOf(shown.tile);
        return {(std::ldexp(column, -shown.tile.level) - window.x) / shown.texture.width,
                (std::ldexp(row, -shown.tile.level) - window.y) / shown.texture.height};
    }

    /// The frame's result, once everything is drawn. Nothing of what was drawn is needed any more, so the cache may
    /// evict it.
    long End() {
        m_layer.lastFrame = m_frame;
        if (m_frame.read > 0 && m_usesCache) {
            m_view.LimitTextureCache(m_layer.cacheLimit);
        }
        return m_result != S_OK ? m_result : m_isComplete ? S_OK : S_FALSE;
    }

private:
    /// The texture of just this tile, which becomes the cache's newest; null where there is none.
    const TileTexture* FindOwn(const RasterTile& tile) {
        if (const auto known = m_found.find(tile); known != m_found.end()) {
            return known->second.texture != 0 ? &known->second : nullptr;
        }
        TileTexture found;
        COpenGLViewTextureManager& cache = COpenGLView::m_gRasterTextureManager;
        GLTextureObject* entry = nullptr;
        const void* const group = TextureGroupOf(ViewAccess::CurrentRecord(m_view));
        if (m_usesCache && cache.FindTextureByName(m_layer.NameOf(tile).c_str(), group, &entry, nullptr) == S_OK) {
            cache.MakeTextureNewest(entry);
            found = {entry->texture, entry->sampler, entry->textureWidth, entry->textureHeight};
        }
        const auto place = m_found.emplace(tile, found).first;
        return found.texture != 0 ? &place->second : nullptr;
    }

    void ReadTile(const RasterTile& tile) {
        const GLRasterWindow window = m_grid.WindowOf(tile);
        const std::size_t count = static_cast<std::size_t>(window.width) * static_cast<std::size_t>(window.height);
        m_layer.pixels.resize(count * PixelBytes(m_layer.description.pixels));
        switch (Ask(window)) {
        case GLRasterReadDone:
            ++m_frame.read;
            Load(tile, window);
            break;
        case GLRasterReadLater:
            m_isComplete = false;
            break;
        default:
            m_layer.failed.insert(tile);
            break;
        }
    }
    GLRasterRead Ask(const GLRasterWindow& window) const {
        try {
            return m_layer.reader(window, m_layer.pixels.data());
        } catch (...) { // whatever a host's code throws
            return GLRasterReadFailed;
        }
    }

    /// Makes a texture of what was read.
    void Load(const RasterTile& tile, const GLRasterWindow& window) {
        const GLRasterDescription& raster = m_layer.description;
        if (!HoldsValues(raster.pixels)) {
            const ImageRows rows{raster.pixels, window.width, window.height, window.width, 1, m_layer.pixels.data()};
            const TreatedImage treated(ViewAccess::CurrentRecord(m_view).attributes, rows, 0, 0, window.width,
                                       window.height);
            Upload(tile, window, treated.Rows());
            return;
        }
        if (!m_layer.colors) {
            m_layer.colors.emplace(raster.style);
        }
        m_layer.converted.resize(static_cast<std::size_t>(window.width) * static_cast<std::size_t>(window.height) * 4);
        m_layer.colors->Convert({raster.pixels, window.width, window.height, 1, m_layer.pixels.data()},
                                m_layer.converted.data());
        Upload(tile, window, {GL_RGBA, window.width, window.height, window.width, 1, m_layer.converted.data()});
    }
    void Upload(const RasterTile& tile, const GLRasterWindow& window, ImageRows rows) {
        std::vector<unsigned char> padded;
        if (!ViewAccess::CurrentGL(m_view).Has(&GLEntryPoints::glCreateShader)) {
            // Before OpenGL 2.0 sides are powers of two.
            padded = PadToPowersOfTwo(rows);
            rows = {rows.format,  PowerOfTwoFor(rows.width), PowerOfTwoFor(rows.height), PowerOfTwoFor(rows.width), 1,
                    padded.data()};
        }
        m_own.reserve(m_own.size() + 1); // nothing is to fail once there is a texture
        TileTexture made{0, 0, rows.width, rows.height};
        const unsigned int filter = m_layer.description.smooth ? GL_LINEAR : GL_NEAREST;
        m_result = UploadImage(m_view, rows, GL_TEXTURE0, filter, made.texture, made.sampler);
        if (m_result != S_OK) {
            m_isComplete = false;
            return;
        }
        if (!AddToCache(tile, window, rows.format, made)) {
            m_own.emplace_back(tile, made);
        }
        m_found[tile] = made;
    }
    /// False when it stays the frame's own.
    bool AddToCache(const RasterTile& tile, const GLRasterWindow& window, unsigned int format,
                    const TileTexture& made) const {
        if (!m_usesCache) {
            return false;
        }
        try {
            GLTextureObject entry;
            entry.name = m_layer.NameOf(tile).c_str();
            entry.imageWidth = m_grid.LevelWidth(tile.level);
            entry.imageHeight = m_grid.LevelHeight(tile.level);
            entry.textureWidth = made.width;
            entry.textureHeight = made.height;
            entry.regionXMin = window.x;
            entry.regionXMax = window.x + window.width - 1;
            entry.regionYMin = window.y;
            entry.regionYMax = window.y + window.height - 1;
            entry.components = BytesPerPixel(format);
            entry.bytesPerGroup = entry.components;
            entry.partial = true;
            entry.scale = std::ldexp(1.0, tile.level);
            entry.shareGroup = TextureGroupOf(ViewAccess::CurrentRecord(m_view));
            return COpenGLView::m_gRasterTextureManager.AddTexture(entry, made.texture, made.sampler, nullptr) == S_OK;
        } catch (...) { // MFC's strings throw exceptions of MFC's own
            return false;
        }
    }

    COpenGLView& m_view;
    RasterLayerState& m_layer;
    RasterGrid m_grid;
    bool m_usesCache;
    RasterCamera m_camera;
    std::vector<RasterTile> m_tiles;
    std::map<RasterTile, TileTexture> m_found;             ///< what was looked for; no texture where there was none
    std::vector<std::pair<RasterTile, TileTexture>> m_own; ///< textures that the cache did not take
    ShownTile m_shown;
    GLRasterFrame m_frame;
    bool m_isComplete = true;
    long m_result = S_OK;
};

SharedCorner MiddleOf(const std::vector<SharedCorner>& corners) {
    SharedCorner middle;
    const auto count = static_cast<double>(corners.size());
    for (const SharedCorner& corner : corners) {
        middle.firstColumn += corner.firstColumn / count;
        middle.firstRow += corner.firstRow / count;
        middle.secondColumn += corner.secondColumn / count;
        middle.secondRow += corner.secondRow / count;
    }
    return middle;
}

/// Gives the quadrilaterals of a convex polygon to `add`, four corners each. Around the middle, so that each corner is
/// one of a triangle with some area, also those in the middle of an edge.
template <typename Add> void CutIntoQuadrilaterals(const std::vector<SharedCorner>& corners, const Add& add) {
    const std::size_t count = corners.size();
    if (count == 4) {
        add({&corners[0], &corners[1], &corners[2], &corners[3]});
        return;
    }
    const SharedCorner middle = MiddleOf(corners);
    for (std::size_t first = 0; first < count; first += 2) {
        const std::size_t second = (first + 1) % count;
        const std::size_t third = first + 1 < count ? (first + 2) % count : second;
        add({&middle, &corners[first], &corners[second], &corners[third]});
    }
}

/// What is drawn of a layer: pieces of its own, and such that lie under pieces of a second one.
class LayerPieces {
public:
    explicit LayerPieces(LayerFrame& first) : m_first(first), m_outlines(first.Grid(), first.Tiles()) {}

    void Add(const RasterTile& tile) {
        if (const ShownTile* const shown = m_first.Find(tile)) {
            std::vector<SharedCorner> corners;
            for (const PointXY& corner : m_outlines.OutlineOf(tile)) {
                corners.push_back({corner.x, corner.y, 0.0, 0.0});
            }
            AddPiece(corners, *shown);
        }
    }
    void AddUnder(LayerFrame& second, const RasterTile& tile) {
        const ShownTile* const found = m_first.Find(tile);
        if (!found) {
            return;
        }
        const ShownTile first = *found;
        for (const SharedPiece& piece : CutAlongTiles(m_outlines.OutlineOf(tile), m_first.Placement(), second.Grid(),
                                                      second.Placement(), second.Tiles())) {
            if (const ShownTile* const over = piece.isShared ? second.Find(piece.second) : nullptr) {
                AddFusedPiece(piece.corners, first, second, *over);
            } else {
                AddPiece(piece.corners, first);
            }
        }
    }
    const std::vector<TexturedQuadrilateral>& Alone() const { return m_alone; }
    const std::vector<FusedQuadrilateral>& Fused() const { return m_fused; }

private:
    using Corners = std::array<const SharedCorner*, 4>;

    void Place(const Corners& corners, const ShownTile& shown, TexturedQuadrilateral& one) const {
        one.texture = shown.texture.texture;
        one.sampler = shown.texture.sampler;
        for (std::size_t index = 0; index < corners.size(); ++index) {
            const SharedCorner& corner = *corners[index];
            one.corners[index] = m_first.PlaceOf(corner.firstColumn, corner.firstRow);
            one.coordinates[index] = m_first.CoordinatesIn(shown, corner.firstColumn, corner.firstRow);
        }
    }
    void AddPiece(const std::vector<SharedCorner>& polygon, const ShownTile& shown) {
        CutIntoQuadrilaterals(polygon, [&](const Corners& corners) { Place(corners, shown, m_alone.emplace_back()); });
    }
    void AddFusedPiece(const std::vector<SharedCorner>& polygon, const ShownTile& shown, const LayerFrame& second,
                       const ShownTile& over) {
        CutIntoQuadrilaterals(polygon, [&](const Corners& corners) {
            FusedQuadrilateral& one = m_fused.emplace_back();
            Place(corners, shown, one);
            one.fusionTexture = over.texture.texture;
            one.fusionSampler = over.texture.sampler;
            for (std::size_t index = 0; index < corners.size(); ++index) {
                one.fusionCoordinates[index] =
                    second.CoordinatesIn(over, corners[index]->secondColumn, corners[index]->secondRow);
            }
        });
    }

    LayerFrame& m_first;
    TileOutlines m_outlines;
    std::vector<TexturedQuadrilateral> m_alone;
    std::vector<FusedQuadrilateral> m_fused;
};

long DrawLayer(COpenGLView& view, RasterLayerState& layer, double z) {
    LayerFrame frame(view, layer, z);
    frame.Read();
    LayerPieces pieces(frame);
    for (const RasterTile& tile : frame.Tiles()) {
        pieces.Add(tile);
    }
    view.DrawTexturedQuadrilaterals(pieces.Alone().data(), pieces.Alone().size());
    return frame.End();
}

long DrawLayers(COpenGLView& view, RasterLayerState& firstLayer, RasterLayerState& secondLayer, GLFusionMode mode,
                double amount, double z) {
    LayerFrame first(view, firstLayer, z);
    LayerFrame second(view, secondLayer, z);
    first.Read();
    second.Read();
    LayerPieces pieces(first);
    for (const RasterTile& tile : first.Tiles()) {
        pieces.AddUnder(second, tile);
    }
    view.DrawTexturedQuadrilaterals(pieces.Alone().data(), pieces.Alone().size());
    DrawFusedQuadrilaterals(view, pieces.Fused(), mode, amount);
    const long secondResult = second.End();
    const long firstResult = first.End();
    return firstResult != S_OK ? firstResult : secondResult;
}

} // namespace

CRasterLayer::CRasterLayer(const GLRasterDescription& description, GLRasterReader reader) {
    try {
        m_state = std::make_unique<RasterLayerState>(description, std::move(reader));
    } catch (...) {
        DropCaught();
        m_state.reset();
    }
}

CRasterLayer::~CRasterLayer() = default;
CRasterLayer::CRasterLayer(CRasterLayer&& other) noexcept = default;
CRasterLayer& CRasterLayer::operator=(CRasterLayer&& other) noexcept = default;

long CRasterLayer::Draw(COpenGLView& view, double z) {
    if (!m_state) {
        return E_OUTOFMEMORY;
    }
    if (!m_state->IsUsable()) {
        return E_INVALIDARG;
    }
    if (!ViewAccess::HasCurrentContext(view)) {
        return E_FAIL;
    }
    try {
        return DrawLayer(view, *m_state, z);
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

long CRasterLayer::DrawFused(COpenGLView& view, CRasterLayer& second, GLFusionMode mode, double amount, double z) {
    if (!m_state || !second.m_state) {
        return E_OUTOFMEMORY;
    }
    if (!m_state->IsUsable() || !second.m_state->IsUsable() || mode < GLFusionBlend || mode > GLFusionAdd) {
        return E_INVALIDARG;
    }
    if (!ViewAccess::HasCurrentContext(view)) {
        return E_FAIL;
    }
    try {
        return amount > 0.0 ? DrawLayers(view, *m_state, *second.m_state, mode, std::min(amount, 1.0), z)
                            : DrawLayer(view, *m_state, z);
    } catch (...) {
        DropCaught();
        return E_OUTOFMEMORY;
    }
}

void CRasterLayer::SetPlacement(const GLRasterPlacement& placement) {
    if (m_state) {
        m_state->description.placement = placement;
    }
}

void CRasterLayer::SetStyle(const GLDataStyle& style) {
    if (!m_state) {
        return;
    }
    try {
        GLDataStyle copy = style;
        m_state->description.style = std::move(copy);
        m_state->colors.reset();
        Forget();
    } catch (...) {
        DropCaught();
        // Without memory for it the colours stay.
    }
}

void CRasterLayer::Forget() {
    if (m_state) {
        ++m_state->generation;
        m_state->failed.clear();
    }
}

void CRasterLayer::DeleteTiles(COpenGLView& view) {
    if (!m_state) {
        return;
    }
    try {
        const std::wstring prefix = m_state->NamePrefix();
        std::vector<std::wstring> names;
        const COpenGLViewTextureManager& cache = COpenGLView::m_gRasterTextureManager;
        for (POSITION next = cache.GetHeadPosition(); next;) {
            const GLTextureObject* const entry = cache.GetNext(next);
            if (entry && std::wstring_view(entry->name).starts_with(prefix)) {
                names.emplace_back(entry->name);
            }
        }
        for (const std::wstring& name : names) {
            view.DeleteTextureFromCache(name.c_str());
        }
    } catch (...) {
        DropCaught();
        // They go when they are the oldest.
    }
}

void CRasterLayer::SetReadingTime(double milliseconds) {
    if (m_state) {
        m_state->readingTime = milliseconds;
    }
}

void CRasterLayer::SetCacheLimit(unsigned long long bytes) {
    if (m_state) {
        m_state->cacheLimit = bytes;
    }
}

const GLRasterFrame& CRasterLayer::GetLastFrame() const {
    static const GLRasterFrame none;
    return m_state ? m_state->lastFrame : none;
}

} // namespace KTR
