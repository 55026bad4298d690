#include "FixedFunctionState.h"
#include "Painter.h"
#include "PolygonFilling.h"
#include "Records.h"

namespace Frames {

namespace {

using namespace KTR;

constexpr int kRecordsPerPiece = 32'760;

/// Draws each primitive of a polygon as it comes.
class PrimitiveSink {
public:
    explicit PrimitiveSink(std::vector<GLDrawGeometry>& records) : m_records(records) {}
    void Begin(unsigned int mode) {
        m_mode = mode;
        m_count = 0;
    }
    void Vertex(double x, double y, const GLRGBAColor& color) {
        GLDrawGeometry& record = m_records[m_count++];
        record.x = static_cast<float>(x);
        record.y = static_cast<float>(y);
        std::memcpy(&record.r, &color, sizeof(color));
    }
    void End() { glDrawArrays(m_mode, 0, static_cast<GLsizei>(m_count)); }

private:
    std::vector<GLDrawGeometry>& m_records;
    unsigned int m_mode = 0;
    std::size_t m_count = 0;
};

class ArrayPainter final : public Painter {
public:
    void Prepare(Stage& stage, const Content& content) override {
        m_state.emplace(stage, content);
        if (const auto* tiles = std::get_if<Tiles>(&content)) {
            m_tileTextures = &stage.TileTextures(*tiles);
        }
    }
    void Leave() override { m_state.reset(); }

    void Draw(const Batches& content) override {
        Enable(m_records.data(), !content.textured, content.textured);
        RecordFiller filler(m_records, WholePrimitives(content.mode, kRecordsPerPiece),
                            [mode = content.mode](const GLDrawGeometry*, int count) { glDrawArrays(mode, 0, count); });
        for (int batch = 0; batch < content.batches; ++batch) {
            FillBatch(filler, content, batch);
        }
        Disable();
    }

    void Draw(const Polygons& content) override {
        Enable(m_records.data(), true, false);
        PrimitiveSink sink(m_records);
        for (const Polygons::Polygon& polygon : content.polygons) {
            m_filling.Fill(polygon, sink);
        }
        Disable();
    }

    void Draw(const Labels& content) override {
        Enable(m_records.data(), false, true);
        RecordFiller filler(m_records, kRecordsPerPiece,
                            [](const GLDrawGeometry*, int count) { glDrawArrays(GL_TRIANGLES, 0, count); });
        for (const Labels::Label& label : content.labels) {
            m_layout.Walk(label.text, label.place.x, label.place.y,
                          [&](const TextLayout::Quad& quad) { filler.AddGlyph(quad); });
        }
        filler.Flush();
        Disable();
    }

    void Draw(const StaticPoints& content) override {
        Enable(content.records.data(), true, false);
        glDrawArrays(GL_POINTS, 0, static_cast<GLsizei>(content.records.size()));
        Disable();
    }

    void Draw(const Tiles& content) override {
        Enable(m_records.data(), false, true);
        for (std::size_t tile = 0; tile < content.tiles.size(); ++tile) {
            glBindTexture(GL_TEXTURE_2D, (*m_tileTextures)[tile].texture);
            StoreTile(m_records.data(), content.tiles[tile].corners);
            glDrawArrays(GL_TRIANGLES, 0, 6);
        }
        Disable();
    }

private:
    static void Enable(const GLDrawGeometry* records, bool color, bool texture) {
        glEnableClientState(GL_VERTEX_ARRAY);
        glVertexPointer(3, GL_FLOAT, sizeof(GLDrawGeometry), &records->x);
        if (color) {
            glEnableClientState(GL_COLOR_ARRAY);
            glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(GLDrawGeometry), &records->r);
        }
        if (texture) {
            glEnableClientState(GL_TEXTURE_COORD_ARRAY);
            glTexCoordPointer(2, GL_FLOAT, sizeof(GLDrawGeometry), &records->s);
        }
    }
    static void Disable() {
        glDisableClientState(GL_VERTEX_ARRAY);
        glDisableClientState(GL_COLOR_ARRAY);
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    }

    std::optional<FixedFunctionState> m_state;
    const std::vector<Texture>* m_tileTextures = nullptr;
    std::vector<GLDrawGeometry> m_records = std::vector<GLDrawGeometry>(kRecordsPerPiece);
    PolygonFilling<PrimitiveSink> m_filling;
    TextLayout m_layout;
};

} // namespace

std::unique_ptr<Painter> DrawFromClientArrays() {
    return std::make_unique<ArrayPainter>();
}

} // namespace Frames
