#include "Painter.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace Frames {

namespace {

using namespace KTR;

constexpr const char* kLoggerName = "OrrinLogger";

/// Shared draws for the length of a frame, where the way asks for them.
class Sharing {
public:
    Sharing(COpenGLView& view, bool on) : m_view(view), m_on(on) {
        if (m_on) {
            m_view.BeginSharedDraws();
        }
    }
    ~Sharing() {
        if (m_on) {
            m_view.EndSharedDraws();
        }
    }
    Sharing(const Sharing&) = delete;
    Sharing& operator=(const Sharing&) = delete;

private:
    COpenGLView& m_view;
    bool m_on;
};

/// Vertices as bulk adds take them.
struct VertexArrays {
    VertexArrays() = default;
    explicit VertexArrays(const std::vector<DrawnVertex>& vertices) {
        for (const DrawnVertex& vertex : vertices) {
            points.push_back(vertex.position);
            colors.push_back(vertex.color);
            texture.push_back(vertex.texture);
        }
    }
    std::vector<PointXYZ> points;
    std::vector<GLRGBAColor> colors;
    std::vector<GLTexCoords> texture;
};

class LibraryPainter final : public Painter {
public:
    explicit LibraryPainter(const LibraryUse& use) : m_use(use) {}

    void Prepare(Stage& stage, const Content& content) override {
        m_view = &stage.View();
        if (const auto* batches = std::get_if<Batches>(&content)) {
            if (batches->textured) {
                const Texture& texture = stage.QuadTexture();
                m_view->DrawSetupSetShaderTexture(texture.texture, texture.sampler);
            }
            if (m_use.adding == Adding::InBulk) {
                m_arrays = VertexArrays(batches->vertices);
            }
        } else if (const auto* tiles = std::get_if<Tiles>(&content)) {
            m_tileTextures = &stage.TileTextures(*tiles);
        } else if (const auto* labels = std::get_if<Labels>(&content)) {
            m_view->Color(labels->color);
            if (!m_view->DrawsWithPrograms()) {
                MakeLists(stage);
            }
        }
        if (m_use.quietLogger) {
            auto logger =
                std::make_shared<spdlog::logger>(kLoggerName, std::make_shared<spdlog::sinks::null_sink_mt>());
            logger->set_level(spdlog::level::info);
            COpenGLView::RegisterLogger(std::move(logger));
        }
    }

    void Leave() override {
        if (!m_view->DrawsWithPrograms()) {
            m_view->Disable(GL_TEXTURE_2D);
        }
        if (m_use.quietLogger) {
            spdlog::drop(kLoggerName);
        }
    }

    void Draw(const Batches& content) override {
        if (m_use.keepsGeometry) {
            DrawKept(m_geometry, content.shader, [&] { AddBatches(content); });
            return;
        }
        const Sharing sharing(*m_view, m_use.sharesDraws);
        if (!m_use.bracketsEachBatch) {
            Enable(content);
        }
        AddBatches(content);
        if (!m_use.bracketsEachBatch) {
            m_view->DisableClientState();
        }
    }

    void Draw(const Polygons& content) override {
        if (m_use.keepsGeometry) {
            DrawKept(m_geometry, GLShaderColorPassThrough, [&] { AddPolygons(content); });
            return;
        }
        const Sharing sharing(*m_view, m_use.sharesDraws);
        if (!m_use.bracketsEachBatch) {
            EnableColors(GLShaderColorPassThrough);
        }
        AddPolygons(content);
        if (!m_use.bracketsEachBatch) {
            m_view->DisableClientState();
        }
    }

    void Draw(const Labels& content) override {
        const Sharing sharing(*m_view, m_use.sharesDraws);
        m_view->DrawSetupFontAtlasText(false, true, 0, 0.0, 0.0);
        for (const Labels::Label& label : content.labels) {
            m_view->DrawTextString(m_lists, label.text.c_str(), nullptr, !m_view->DrawsWithPrograms(), false, false,
                                   label.place.x, label.place.y, 0.0);
        }
        m_view->DrawTeardownFontAtlasText(false, false);
    }

    void Draw(const StaticPoints& content) override {
        if (m_use.keepsGeometry) {
            // They take so much memory that both pipelines have to draw from one.
            static GLGeometry s_geometry;
            DrawKept(s_geometry, GLShaderPoint, [&] { AddPoints(content); });
            return;
        }
        const Sharing sharing(*m_view, m_use.sharesDraws);
        EnableColors(GLShaderPoint);
        m_view->InitializeVBO(GL_POINTS, GLShaderPoint, VertexBuffer(), content.records.data(), content.records.size());
        m_view->DrawArrays(GL_POINTS, static_cast<int>(content.records.size()), VertexBuffer(), nullptr);
        m_view->EndVBOArraysAndDisableClientState();
    }

    void Draw(const Tiles& content) override {
        if (m_use.inOneCall) {
            DrawInOneCall(content);
            return;
        }
        const Sharing sharing(*m_view, m_use.sharesDraws);
        for (std::size_t tile = 0; tile < content.tiles.size(); ++tile) {
            const Texture& texture = (*m_tileTextures)[tile];
            m_view->DrawTexturedQuadrilateral(texture.texture, texture.sampler, content.tiles[tile].corners, nullptr);
        }
    }

    void Draw(const Shapes& content) override {
        m_view->BeginShapes();
        for (const std::vector<PointXYZ>& string : content.strings) {
            m_view->DrawLineString(string.data(), static_cast<int>(string.size()), content.line);
        }
        for (const PointXYZ& place : content.symbols) {
            m_view->DrawSymbol(content.kind, place.x, place.y, place.z, content.symbol);
        }
        m_view->EndShapes();
    }

private:
    void DrawInOneCall(const Tiles& content) {
        m_quadrilaterals.resize(content.tiles.size());
        for (std::size_t tile = 0; tile < content.tiles.size(); ++tile) {
            TexturedQuadrilateral& quadrilateral = m_quadrilaterals[tile];
            quadrilateral.texture = (*m_tileTextures)[tile].texture;
            quadrilateral.sampler = (*m_tileTextures)[tile].sampler;
            std::ranges::copy(content.tiles[tile].corners, quadrilateral.corners);
        }
        m_view->DrawTexturedQuadrilaterals(m_quadrilaterals.data(), m_quadrilaterals.size());
    }
    void AddBatches(const Batches& content) {
        for (int batch = 0; batch < content.batches; ++batch) {
            if (m_use.bracketsEachBatch) {
                Enable(content);
            }
            m_view->BeginArrays(content.mode, content.shader);
            content.Walk(batch, [&](const DrawnVertex* first, const DrawnVertex* last) {
                if (m_use.adding == Adding::InBulk) {
                    AddInBulk(first - content.vertices.data(), last - first, content.textured);
                } else if (m_use.adding == Adding::Reserved) {
                    AddReserved(first, last);
                } else if (content.textured) {
                    AddTextured(first, last);
                } else {
                    AddColored(first, last);
                }
            });
            if (m_use.bracketsEachBatch) {
                m_view->EndArraysAndDisableClientState();
            } else {
                m_view->EndArrays();
            }
        }
    }
    void AddPolygons(const Polygons& content) {
        GLTesselator& filler = *m_view->GetTesselator();
        for (const Polygons::Polygon& polygon : content.polygons) {
            if (m_use.bracketsEachBatch) {
                EnableColors(GLShaderColorPassThrough);
            }
            const GLRGBAColor& color = polygon.color;
            filler.BeginPolygon();
            for (const std::vector<PointXY>& ring : polygon.rings) {
                if (&ring != &polygon.rings.front()) {
                    filler.BeginContour();
                }
                for (const PointXY& point : ring) {
                    filler.AddIndex2DVertexRGBA(point.x, point.y, color.r, color.g, color.b, color.a);
                }
                filler.EndContour();
            }
            filler.EndPolygon();
            if (m_use.bracketsEachBatch) {
                m_view->DisableClientState();
            }
        }
    }
    void Enable(const Batches& content) {
        m_view->EnableClientStateInternalBuffers(true, false, true, content.textured, content.shader);
    }
    void EnableColors(GLShaderTypes shader) {
        m_view->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
    }
    void AddColored(const DrawnVertex* first, const DrawnVertex* last) {
        COpenGLView& view = *m_view;
        for (const DrawnVertex* in = first; in != last; ++in) {
            view.AddIndex3DVertexRGBA(in->position.x, in->position.y, in->position.z, in->color.r, in->color.g,
                                      in->color.b, in->color.a);
        }
    }
    void AddTextured(const DrawnVertex* first, const DrawnVertex* last) {
        COpenGLView& view = *m_view;
        for (const DrawnVertex* in = first; in != last; ++in) {
            view.AddIndex3DVertexCurrentColorTexCoords(in->position.x, in->position.y, in->position.z, in->texture.s,
                                                       in->texture.t, in->color.a);
        }
    }
    void AddInBulk(std::ptrdiff_t first, std::ptrdiff_t count, bool textured) {
        m_view->AddVerticesRGBA(m_arrays.points.data() + first, m_arrays.colors.data() + first, nullptr,
                                textured ? m_arrays.texture.data() + first : nullptr, static_cast<std::size_t>(count),
                                0.0, 0.0, 0.0);
    }
    void AddReserved(const DrawnVertex* first, const DrawnVertex* last) {
        const auto count = static_cast<int>(last - first);
        GLDrawGeometry* record = m_view->ReserveRecords(count);
        for (const DrawnVertex* in = first; in != last; ++in, ++record) {
            record->x = static_cast<float>(in->position.x);
            record->y = static_cast<float>(in->position.y);
            record->z = static_cast<float>(in->position.z);
            record->nx = record->ny = record->nz = 0.0F;
            record->s = static_cast<float>(in->texture.s);
            record->t = static_cast<float>(in->texture.t);
            std::memcpy(&record->r, &in->color, sizeof(in->color));
        }
        m_view->CommitRecords(count);
    }
    /// The caller's geometry, uploaded once for each pipeline.
    GLVBO& VertexBuffer() {
        static GLVBO buffers[2];
        return buffers[m_view->DrawsWithPrograms() ? 1 : 0];
    }
    void AddPoints(const StaticPoints& content) {
        m_view->BeginArrays(GL_POINTS, GLShaderPoint);
        for (const GLDrawGeometry& record : content.records) {
            m_view->AddIndex3DVertexRGBA(record.x, record.y, record.z, record.r, record.g, record.b, record.a);
        }
        m_view->EndArrays();
    }
    template <typename Add> void DrawKept(GLGeometry& geometry, GLShaderTypes shader, Add add) {
        if (geometry.GetCount() == 0) {
            m_view->BeginGeometry(geometry);
            add();
            m_view->EndGeometry();
        }
        EnableColors(shader);
        m_view->DrawGeometry(geometry);
        m_view->DisableClientState();
    }
    void MakeLists(Stage& stage) {
        static unsigned int s_lists = 0;
        if (s_lists == 0) {
            const HFONT font =
                CreateFontW(-16, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, ANSI_CHARSET, 0, 0, 0, 0, L"Arial");
            m_view->RefreshRasterFont(stage.DeviceContext(), s_lists, font, 0);
            DeleteObject(font);
        }
        m_lists = s_lists;
    }

    LibraryUse m_use;
    COpenGLView* m_view = nullptr;
    GLGeometry m_geometry; ///< what is kept, of the painter's one content
    VertexArrays m_arrays;
    const std::vector<Texture>* m_tileTextures = nullptr;
    std::vector<TexturedQuadrilateral> m_quadrilaterals;
    unsigned int m_lists = 0; ///< the display lists that fixed functions draw text from
};

} // namespace

std::unique_ptr<Painter> DrawWithLibrary(const LibraryUse& use) {
    return std::make_unique<LibraryPainter>(use);
}

} // namespace Frames
