#include "support/Loggers.h"
#include "support/RecordedFixture.h"

namespace {

class Batch : public RecordedTest {
protected:
    Batch() {
        live->EnableClientStateInternalBuffers(true, true, true, false, GLShaderLine);
        driver.JournalOnly({"glDraw*"});
    }
    void Begin(unsigned int mode) {
        driver.StartJournal();
        live->BeginArrays(mode, GLShaderLine);
    }
    /// Vertices whose x is their number.
    void AddNumbered(int count) const {
        for (int number = 0; number < count; ++number) {
            live->AddIndex2DVertexRGBA(number, 0.0, 1, 2, 3, 4);
        }
    }
    /// Mode and count of each draw.
    std::vector<std::pair<int, int>> Draws() const {
        std::vector<std::pair<int, int>> draws;
        for (const DriverCall& call : driver.Journal("glDrawElements")) {
            draws.emplace_back(static_cast<int>(call.Integer(0)), static_cast<int>(call.Integer(1)));
        }
        return draws;
    }
    /// The x coordinates that a draw reads, through its indices.
    std::vector<double> Xs(std::size_t draw) const {
        const auto calls = driver.Journal("glDrawElements");
        std::vector<double> xs;
        if (const DriverArray* array = draw < calls.size() ? calls[draw].Array("vertex") : nullptr) {
            for (std::size_t index = 0; index < array->values.size(); index += array->components) {
                xs.push_back(array->values[index]);
            }
        }
        return xs;
    }
    /// One field of the first draw's vertices.
    std::vector<double> Field(const char* name) const {
        const auto calls = driver.Journal("glDrawElements");
        const DriverArray* array = calls.empty() ? nullptr : calls[0].Array(name);
        return array ? array->values : std::vector<double>{};
    }

    LiveView live;
};

using Draw = std::vector<std::pair<int, int>>;
using Values = std::vector<double>;

TEST_F(Batch, NothingAddedDrawsNothing) {
    Begin(GL_LINES);
    live->EndArrays();
    EXPECT_TRUE(Draws().empty());
    EXPECT_EQ(live->GetBatchVertexCount(), 0);
}

TEST_F(Batch, EveryAddWritesItsFields) {
    Begin(GL_POINTS);
    live->SetCurrentColor(10, 20, 30, 40, true);
    live->AddIndex2DVertexRGBA(1.5, 2.5, 1, 2, 3, 4);
    live->AddIndex3DVertexRGBA(1.5, 2.5, 3.5, 5, 6, 7, 8);
    live->AddIndex2DVertexCurrentColor(4.5, 5.5, 200);
    live->AddIndex3DVertexCurrentColor(4.5, 5.5, 6.5, 201);
    live->AddIndex3DVertexNormalRGBA(7.5, 8.5, 9.5, 0.25, 0.5, 0.75, 9, 10, 11, 12);
    live->EndArrays();
    EXPECT_EQ(Field("vertex"), (Values{1.5, 2.5, 0, 1.5, 2.5, 3.5, 4.5, 5.5, 0, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5}));
    EXPECT_EQ(Field("color"), (Values{1, 2, 3, 4, 5, 6, 7, 8, 10, 20, 30, 200, 10, 20, 30, 201, 9, 10, 11, 12}));
    EXPECT_EQ(Field("normal"), (Values{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0.25, 0.5, 0.75}));
    EXPECT_EQ(Field("index"), (Values{0, 1, 2, 3, 4}));
}

TEST_F(Batch, TextureCoordinatesGoWithTheirVertexAndStay) {
    live->EnableClientStateInternalBuffers(true, false, true, true, GLShaderTextureDecal);
    Begin(GL_POINTS);
    live->AddIndex2DVertexTexCoords(1, 1, 0.125, 0.25);
    live->AddIndex3DVertexTexCoords(1, 1, 1, 0.375, 0.5);
    live->AddIndex2DVertexCurrentColorTexCoords(1, 1, 0.625, 0.75, 255);
    live->AddIndex3DVertexCurrentColorTexCoords(1, 1, 1, 0.875, 1.0, 255);
    live->AddIndex3DVertexNormalTexCoordRGBA(1, 1, 1, 0, 0, 1, 1.5, 2.0, 1, 2, 3, 4);
    live->AddTextureDataCurrentIndex(0.0625, 0.5);
    live->AddIndex2DVertexRGBA(2, 2, 1, 2, 3, 4);
    live->EndArrays();
    EXPECT_EQ(Field("texcoord"), (Values{0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875, 1.0, 1.5, 2.0, 0.0625, 0.5}));
    live->Disable(GL_TEXTURE_2D);
}

TEST_F(Batch, FlushComesWithThe32770thAdd) {
    Begin(GL_POINTS);
    AddNumbered(32'769);
    EXPECT_TRUE(Draws().empty());
    live->AddIndex2DVertexRGBA(0, 0, 1, 2, 3, 4);
    EXPECT_EQ(Draws(), (Draw{{GL_POINTS, 32'769}}));
    EXPECT_EQ(live->GetBatchVertexCount(), 1);
}

TEST_F(Batch, LongStripIsThreeStripsWithoutAGap) {
    Begin(GL_LINE_STRIP);
    AddNumbered(70'000);
    live->EndArrays();
    ASSERT_EQ(Draws(), (Draw{{GL_LINE_STRIP, 32'769}, {GL_LINE_STRIP, 32'769}, {GL_LINE_STRIP, 4464}}));
    EXPECT_EQ(Xs(0).back(), Xs(1).front());
    EXPECT_EQ(Xs(1).back(), Xs(2).front());
    EXPECT_EQ(Xs(2).back(), 69'999);
}

TEST_F(Batch, LongLoopClosesOnItsFirstVertex) {
    Begin(GL_LINE_LOOP);
    AddNumbered(70'000);
    live->EndArrays();
    ASSERT_EQ(Draws(), (Draw{{GL_LINE_STRIP, 32'769}, {GL_LINE_STRIP, 32'769}, {GL_LINE_STRIP, 4465}}));
    EXPECT_EQ(Xs(0).front(), 0);
    EXPECT_EQ(Xs(1).front(), 32'768);
    EXPECT_EQ(Xs(2).back(), 0) << "the closing edge ends where the loop began";

    // The mode stays a strip until the next batch says otherwise.
    live->AddIndex2DVertexRGBA(5, 5, 1, 2, 3, 4);
    live->EndArrays();
    EXPECT_EQ(Draws().back(), (std::pair<int, int>{GL_LINE_STRIP, 2}));
    Begin(GL_LINE_LOOP);
    AddNumbered(3);
    live->EndArrays();
    EXPECT_EQ(Draws(), (Draw{{GL_LINE_LOOP, 3}}));
}

TEST_F(Batch, LoopThatJustFillsTheArraysStaysOpen) {
    Begin(GL_LINE_LOOP);
    AddNumbered(32'769);
    live->EndArrays();
    EXPECT_EQ(Draws(), (Draw{{GL_LINE_STRIP, 32'769}}));
    EXPECT_EQ(live->GetBatchVertexCount(), 1);
    Begin(GL_LINE_LOOP);
    live->EndArrays();
    EXPECT_TRUE(Draws().empty()) << "the next batch discards the vertex that was carried on";
}

TEST_F(Batch, TriangleIsNeverSplit) {
    const PointXYZ points[] = {{100, 200, 300}, {101, 201, 301}, {102, 202, 302}};
    const GLRGBColor colors[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    for (const int pending : {32'766, 32'767, 32'768, 32'769}) {
        Begin(GL_TRIANGLES);
        AddNumbered(pending);
        live->AddIndex3DTriangleVertexRGBA(&points[0], &points[1], &points[2], &colors[0], &colors[1], &colors[2], 9,
                                           100, 200, 300);
        const bool flushedBefore = pending > 32'768;
        EXPECT_EQ(live->GetBatchVertexCount(), flushedBefore ? 3 : pending + 3);
        live->EndArrays();
        const std::size_t last = flushedBefore ? 1 : 0;
        const auto xs = Xs(last);
        ASSERT_GE(xs.size(), 3U);
        EXPECT_EQ((Values{xs.end() - 3, xs.end()}), (Values{0, 1, 2})) << pending;
    }
}

TEST_F(Batch, SlotAddressedTrianglesShadeAndStayInside) {
    Begin(GL_TRIANGLES);
    AddNumbered(6);
    const PointXYZ point{10, 20, 30};
    const PointXYZ normal{0, 0, 1};
    const GLRGBColor color{255, 200, 3};
    live->AddIndex3DTriangleVertexNormalRGBA(&point, &point, &point, &normal, &color, &color, &color, 77, 1, 2, 3, 0.5,
                                             0);
    live->AddIndex3DTriangleVertexNormalRGBA(&point, &point, &point, &normal, &color, &color, &color, 77, 1, 2, 3, 1.5,
                                             3);
    for (const int outside : {-1, 32'769, 40'000, -2'000'000'000}) {
        live->AddIndex3DTriangleVertexNormalRGBA(&point, &point, &point, &normal, &color, &color, &color, 1, 0, 0, 0,
                                                 1.0, outside);
    }
    EXPECT_EQ(live->GetBatchVertexCount(), 6);
    live->EndArrays();
    const auto positions = Field("vertex");
    const auto shades = Field("color");
    ASSERT_EQ(shades.size(), 24U);
    EXPECT_EQ((Values{positions.begin(), positions.begin() + 3}), (Values{9, 18, 27}));
    EXPECT_EQ((Values{shades.begin(), shades.begin() + 4}), (Values{127, 100, 1, 77}));
    EXPECT_EQ((Values{shades.begin() + 12, shades.begin() + 16}), (Values{382 - 256, 300 - 256, 4, 77}));
    EXPECT_EQ(Field("normal")[2], 1);
}

TEST_F(Batch, GeneratedTextureCoordinatesComeFromUnshiftedPoints) {
    live->EnableClientStateInternalBuffers(true, false, false, true, GLShaderShadedTexture);
    Begin(GL_TRIANGLES);
    AddNumbered(3);
    const PointXYZ points[] = {{500'000, 4'000'000, 5}, {500'010, 4'000'000, 5}, {500'000, 4'000'020, 5}};
    const PointXYZ normal{0, 0, 1};
    live->AddIndex3DTriangleVertexNormalTexRGB(&points[0], &points[1], &points[2], &normal, 500'000, 4'000'000, 0,
                                               499'990, 3'999'980, 0.0125, 0.025, 0);
    live->EndArrays();
    EXPECT_EQ(Field("texcoord"), (Values{0.125, 0.5, 0.25, 0.5, 0.125, 1.0}));
    EXPECT_EQ(Field("vertex"), (Values{0, 0, 5, 10, 0, 5, 0, 20, 5}));
    live->Disable(GL_TEXTURE_2D);
}

TEST_F(Batch, DataIndicesMayRepeatVertices) {
    Begin(GL_LINES);
    AddNumbered(2);
    live->EndArrays();
    live->BeginArrays(GL_LINES, GLShaderLine);
    for (const unsigned int index : {1U, 0U, 1U, 1U}) {
        live->AddDataIndex(index);
    }
    live->EndArrays();
    EXPECT_EQ(Xs(1), (Values{1, 0, 1, 1}));

    live->BeginArrays(GL_LINES, GLShaderLine);
    AddNumbered(4);
    live->EndArrays();
    EXPECT_EQ(Xs(2), (Values{0, 1, 2, 3})) << "they hold for one batch";
}

TEST_F(Batch, ClientArraysPointIntoTheRecords) {
    driver.JournalOnly({"glVertexPointer", "glNormalPointer", "glTexCoordPointer", "glColorPointer",
                        "glEnableClientState", "glDisableClientState"});
    driver.StartJournal();
    live->EnableClientStateInternalBuffers(true, true, true, true, GLShaderTextureDecal);
    const auto vertex = driver.Journal("glVertexPointer");
    ASSERT_EQ(vertex.size(), 1U);
    const std::uint64_t base = vertex[0].arguments[3];
    EXPECT_EQ(vertex[0].Integer(2), 36);
    EXPECT_EQ(driver.Journal("glNormalPointer")[0].arguments[2], base + 12);
    EXPECT_EQ(driver.Journal("glTexCoordPointer")[0].arguments[3], base + 24);
    EXPECT_EQ(driver.Journal("glColorPointer")[0].arguments[3], base + 32);
    EXPECT_EQ(driver.Journal("glEnableClientState").size(), 4U);
    const GLRenderingContextRecord& record = live->GetContextRecord(GLContextMain);
    EXPECT_TRUE(record.clientVertexArray && record.clientNormalArray && record.clientColorArray &&
                record.clientTextureArray);
    EXPECT_EQ(live->IsOpenGLStateEnabled(GL_TEXTURE_2D), 1);
    live->DisableClientState();
    EXPECT_EQ(driver.Journal("glDisableClientState").size(), 8U) << "once before enabling and once at the end";
    EXPECT_FALSE(record.clientVertexArray || record.clientTextureArray);
    live->Disable(GL_TEXTURE_2D);
}

TEST_F(Batch, TraceChangesNoCall) {
    const auto calls = [this] {
        driver.JournalOnly({"gl*"});
        driver.StartJournal();
        live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderLine);
        live->BeginArrays(GL_LINE_LOOP, GLShaderLine);
        AddNumbered(40'000);
        live->EndArraysAndDisableClientState();
        return driver.JournalText();
    };
    const auto silent = calls();
    COpenGLView::RegisterLogger(MakeSilentLogger());
    EXPECT_EQ(calls(), silent);
    DropLogger();
    EXPECT_GT(silent.size(), 8U);
}

} // namespace
