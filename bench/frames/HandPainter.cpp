#include "Painter.h"
#include "PolygonFilling.h"
#include "Records.h"

namespace Frames {

namespace {

using namespace KTR;

constexpr int kRecordsPerSegment = 32'769;

/// A ring that stays mapped, with a fence for each of its segments.
class HandMadeRing {
public:
    explicit HandMadeRing(const COrrinGLCement& gl) : m_gl(gl) {
        constexpr GLbitfield kMapping = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT | GL_MAP_COHERENT_BIT;
        m_gl.glGenBuffers(1, &m_buffer);
        m_gl.glBindBuffer(GL_ARRAY_BUFFER, m_buffer);
        m_gl.glBufferStorage(GL_ARRAY_BUFFER, kBytes, nullptr, kMapping);
        m_mapped = static_cast<GLDrawGeometry*>(m_gl.glMapBufferRange(GL_ARRAY_BUFFER, 0, kBytes, kMapping));
    }
    void Bind() const { m_gl.glBindVertexBuffer(0, m_buffer, 0, sizeof(GLDrawGeometry)); }
    /// Copies the records behind the ones before and draws them.
    void Draw(unsigned int mode, const GLDrawGeometry* records, int count) {
        if (m_next + count > kRecordsPerSegment) {
            m_fences[m_segment] = m_gl.glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
            m_segment = (m_segment + 1) % kSegments;
            m_next = 0;
            if (GLsync& fence = m_fences[m_segment]) {
                while (m_gl.glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, 1'000'000) == GL_TIMEOUT_EXPIRED) {
                }
                m_gl.glDeleteSync(fence);
                fence = nullptr;
            }
        }
        const int first = m_segment * kRecordsPerSegment + m_next;
        std::memcpy(m_mapped + first, records, static_cast<std::size_t>(count) * sizeof(GLDrawGeometry));
        m_gl.glDrawArrays(mode, first, count);
        m_next += count;
    }

private:
    static constexpr int kSegments = 3;
    static constexpr GLsizeiptr kBytes = GLsizeiptr{kSegments} * kRecordsPerSegment * sizeof(GLDrawGeometry);

    const COrrinGLCement& m_gl;
    GLuint m_buffer = 0;
    GLDrawGeometry* m_mapped = nullptr;
    GLsync m_fences[kSegments] = {};
    int m_segment = 0;
    int m_next = 0;
};

/// Programs and vertex formats are the library's; everything that is done for a vertex or a batch is not.
class HandPainter final : public Painter {
public:
    explicit HandPainter(int recordsPerPiece) : m_recordsPerPiece(recordsPerPiece) {}

    void Prepare(Stage& stage, const Content& content) override {
        m_view = &stage.View();
        m_gl = &stage.Functions();
        if (const auto* batches = std::get_if<Batches>(&content); batches && batches->textured) {
            const Texture& texture = stage.QuadTexture();
            m_view->DrawSetupSetShaderTexture(texture.texture, texture.sampler);
        } else if (const auto* tiles = std::get_if<Tiles>(&content)) {
            m_tileTextures = &stage.TileTextures(*tiles);
            m_view->DrawSetupSetShaderTexture(m_tileTextures->front().texture, m_tileTextures->front().sampler);
        } else if (const auto* labels = std::get_if<Labels>(&content)) {
            m_view->Color(labels->color);
        } else if (const auto* points = std::get_if<StaticPoints>(&content)) {
            Upload(*points);
        }
    }

    void Draw(const Batches& content) override {
        Bind(content.shader);
        RecordFiller filler(m_records, WholePrimitives(content.mode, m_recordsPerPiece), DrawFromRing(content.mode));
        for (int batch = 0; batch < content.batches; ++batch) {
            FillBatch(filler, content, batch);
        }
        m_view->DisableClientState();
    }

    void Draw(const Polygons& content) override {
        Bind(GLShaderColorPassThrough);
        Triangles filler(m_records, WholePrimitives(GL_TRIANGLES, m_recordsPerPiece), DrawFromRing(GL_TRIANGLES));
        TriangleSink sink(filler);
        for (const Polygons::Polygon& polygon : content.polygons) {
            m_filling.Fill(polygon, sink);
        }
        filler.Flush();
        m_view->DisableClientState();
    }

    void Draw(const Labels& content) override {
        m_view->DrawSetupFontAtlasText(false, true, 0, 0.0, 0.0);
        Ring().Bind();
        Triangles filler(m_records, WholePrimitives(GL_TRIANGLES, m_recordsPerPiece), DrawFromRing(GL_TRIANGLES));
        for (const Labels::Label& label : content.labels) {
            m_layout.Walk(label.text, label.place.x, label.place.y,
                          [&](const TextLayout::Quad& quad) { filler.AddGlyph(quad); });
        }
        filler.Flush();
        m_view->DrawTeardownFontAtlasText(false, false);
    }

    void Draw(const StaticPoints& content) override {
        Bind(GLShaderPoint);
        m_gl->glBindVertexBuffer(0, s_staticBuffer, 0, sizeof(GLDrawGeometry));
        m_gl->glDrawArrays(GL_POINTS, 0, static_cast<GLsizei>(content.records.size()));
        m_view->DisableClientState();
    }

    void Draw(const Tiles& content) override {
        Bind(GLShaderTextureDecal);
        m_gl->glEnable(GL_BLEND);
        m_gl->glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        for (std::size_t tile = 0; tile < content.tiles.size(); ++tile) {
            m_gl->glBindTexture(GL_TEXTURE_2D, (*m_tileTextures)[tile].texture);
            StoreTile(m_records.data(), content.tiles[tile].corners);
            Ring().Draw(GL_TRIANGLES, m_records.data(), 6);
        }
        m_gl->glBlendFunc(GL_ONE, GL_ZERO);
        m_gl->glDisable(GL_BLEND);
        m_view->DisableClientState();
    }

private:
    struct RingDraw {
        HandMadeRing& ring;
        unsigned int mode;
        void operator()(const GLDrawGeometry* records, int count) const { ring.Draw(mode, records, count); }
    };
    using Triangles = RecordFiller<RingDraw>;

    HandMadeRing& Ring() {
        static HandMadeRing ring(*m_gl);
        return ring;
    }
    RingDraw DrawFromRing(unsigned int mode) { return {Ring(), mode}; }
    void Bind(GLShaderTypes shader) {
        m_view->EnableClientStateInternalBuffers(true, false, true, false, shader);
        Ring().Bind();
    }
    void Upload(const StaticPoints& points) {
        if (s_staticBuffer == 0) {
            m_gl->glGenBuffers(1, &s_staticBuffer);
            m_gl->glBindBuffer(GL_ARRAY_BUFFER, s_staticBuffer);
            m_gl->glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(points.records.size() * sizeof(GLDrawGeometry)),
                               points.records.data(), GL_STATIC_DRAW);
        }
    }

    inline static GLuint s_staticBuffer = 0;

    int m_recordsPerPiece;
    COpenGLView* m_view = nullptr;
    const COrrinGLCement* m_gl = nullptr;
    const std::vector<Texture>* m_tileTextures = nullptr;
    std::vector<GLDrawGeometry> m_records = std::vector<GLDrawGeometry>(kRecordsPerSegment);
    PolygonFilling<TriangleSink<Triangles>> m_filling;
    TextLayout m_layout;
};

} // namespace

std::unique_ptr<Painter> DrawByHand(int recordsPerPiece) {
    return std::make_unique<HandPainter>(recordsPerPiece);
}

} // namespace Frames
