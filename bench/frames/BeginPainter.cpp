#include "FixedFunctionState.h"
#include "Painter.h"
#include "PolygonFilling.h"
#include "TextLayout.h"

namespace Frames {

namespace {

struct BeginSink {
    void Begin(unsigned int mode) { glBegin(mode); }
    void Vertex(double x, double y, const GLRGBAColor& color) {
        glColor4ub(color.r, color.g, color.b, color.a);
        glVertex3d(x, y, 0.0);
    }
    void End() { glEnd(); }
};

class BeginPainter final : public Painter {
public:
    void Prepare(Stage& stage, const Content& content) override {
        m_state.emplace(stage, content);
        if (const auto* tiles = std::get_if<Tiles>(&content)) {
            m_tileTextures = &stage.TileTextures(*tiles);
        }
    }
    void Leave() override { m_state.reset(); }

    void Draw(const Batches& content) override {
        for (int batch = 0; batch < content.batches; ++batch) {
            glBegin(content.mode);
            content.Walk(batch, [&](const DrawnVertex* first, const DrawnVertex* last) {
                for (const DrawnVertex* in = first; in != last; ++in) {
                    glColor4ub(in->color.r, in->color.g, in->color.b, in->color.a);
                    if (content.textured) {
                        glTexCoord2d(in->texture.s, in->texture.t);
                    }
                    glVertex3d(in->position.x, in->position.y, in->position.z);
                }
            });
            glEnd();
        }
    }

    void Draw(const Polygons& content) override {
        BeginSink sink;
        for (const Polygons::Polygon& polygon : content.polygons) {
            m_filling.Fill(polygon, sink);
        }
    }

    void Draw(const Labels& content) override {
        glBegin(GL_QUADS);
        for (const Labels::Label& label : content.labels) {
            m_layout.Walk(label.text, label.place.x, label.place.y, [](const TextLayout::Quad& quad) {
                glTexCoord2f(quad.s0, quad.t1);
                glVertex2f(quad.left, quad.bottom);
                glTexCoord2f(quad.s1, quad.t1);
                glVertex2f(quad.right, quad.bottom);
                glTexCoord2f(quad.s1, quad.t0);
                glVertex2f(quad.right, quad.top);
                glTexCoord2f(quad.s0, quad.t0);
                glVertex2f(quad.left, quad.top);
            });
        }
        glEnd();
    }

    void Draw(const StaticPoints& content) override {
        glBegin(GL_POINTS);
        for (const KTR::GLDrawGeometry& record : content.records) {
            glColor4ubv(&record.r);
            glVertex3fv(&record.x);
        }
        glEnd();
    }

    void Draw(const Tiles& content) override {
        constexpr double kTexture[4][2] = {{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}};
        for (std::size_t tile = 0; tile < content.tiles.size(); ++tile) {
            glBindTexture(GL_TEXTURE_2D, (*m_tileTextures)[tile].texture);
            glBegin(GL_QUADS);
            for (int corner = 0; corner < 4; ++corner) {
                const PointXYZ& point = content.tiles[tile].corners[corner];
                glTexCoord2dv(kTexture[corner]);
                glVertex3d(point.x, point.y, point.z);
            }
            glEnd();
        }
    }

private:
    std::optional<FixedFunctionState> m_state;
    const std::vector<Texture>* m_tileTextures = nullptr;
    PolygonFilling<BeginSink> m_filling;
    TextLayout m_layout;
};

} // namespace

std::unique_ptr<Painter> DrawByBegin() {
    return std::make_unique<BeginPainter>();
}

} // namespace Frames
