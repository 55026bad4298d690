#include "support/ViewFixture.h"

#include <cmath>

namespace {

constexpr double kTau = 6.283185307179586;

class BatchPicture : public FreshProcessTest {
protected:
    BatchPicture() {
        live = std::make_unique<LiveView>();
        live->Clear();
    }
    COpenGLView& View() const { return *live->view; }
    void Begin(unsigned int mode, GLShaderTypes shader) const {
        View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
        View().BeginArrays(mode, shader);
    }
    /// A point of a circle around the window's middle.
    static PointXY OnCircle(int number, int count) {
        const double angle = kTau * number / count;
        return {64.0 + 50.0 * std::cos(angle), 64.0 + 50.0 * std::sin(angle)};
    }
    void AddCircle(int count) const {
        for (int number = 0; number < count; ++number) {
            const PointXY point = OnCircle(number, count);
            View().AddIndex2DVertexRGBA(point.x, point.y, 255, 255, 255, 255);
        }
    }
    std::unique_ptr<LiveView> live;
};

TEST_F(BatchPicture, PointsLandOnTheirPixels) {
    View().PointSize(1.0F);
    Begin(GL_POINTS, GLShaderPoint);
    View().AddIndex2DVertexRGBA(10.5, 20.5, 255, 0, 0, 255);
    View().AddIndex3DVertexRGBA(11.5, 20.5, 0.0, 0, 255, 0, 255);
    View().SetCurrentColor(0, 0, 250, 9, false);
    View().AddIndex2DVertexCurrentColor(12.5, 20.5, 255);
    View().EndArraysAndDisableClientState();
    EXPECT_EQ(live->At(10, 20), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(live->At(11, 20), (Pixel{0, 255, 0, 255}));
    EXPECT_EQ(live->At(12, 20), (Pixel{0, 0, 250, 255}));
    EXPECT_EQ(live->CountDrawn(), 3);
    EXPECT_EQ(View().GetError(), 0U);
}

TEST_F(BatchPicture, TrianglesCoverTheirArea) {
    Begin(GL_TRIANGLES, GLShaderColorPassThrough);
    const PointXYZ corners[] = {{500'000, 4'500'000, 0}, {500'064, 4'500'000, 0}, {500'000, 4'500'064, 0}};
    const GLRGBColor color{10, 200, 30};
    View().AddIndex3DTriangleVertexRGBA(&corners[0], &corners[1], &corners[2], &color, &color, &color, 255, 500'000,
                                        4'500'000, 0);
    View().EndArraysAndDisableClientState();
    EXPECT_EQ(live->At(5, 5), (Pixel{10, 200, 30, 255}));
    EXPECT_NEAR(live->CountDrawn(), 64 * 64 / 2, 64);
}

// A gap in a coastline, or one that does not close, is what a user would see if a split went wrong.
TEST_F(BatchPicture, LongLoopHasNoGapAndCloses) {
    for (const int count : {1000, 32768, 32770, 70000, 98310}) {
        live->Clear();
        Begin(GL_LINE_LOOP, GLShaderLine);
        AddCircle(count);
        View().EndArraysAndDisableClientState();
        const int whole = live->CountDrawn();
        EXPECT_GT(whole, 280) << count;
        live->Clear();
        Begin(GL_LINE_LOOP, GLShaderLine);
        AddCircle(720);
        View().EndArraysAndDisableClientState();
        EXPECT_NEAR(whole, live->CountDrawn(), 40) << count;
    }
    // The closing edge on its own: three corners of a square far apart, padded with repeats of the last one.
    live->Clear();
    Begin(GL_LINE_LOOP, GLShaderLine);
    View().AddIndex2DVertexRGBA(10.5, 10.5, 255, 255, 255, 255);
    View().AddIndex2DVertexRGBA(110.5, 10.5, 255, 255, 255, 255);
    for (int repeat = 0; repeat < 70'000; ++repeat) {
        View().AddIndex2DVertexRGBA(110.5, 110.5, 255, 255, 255, 255);
    }
    View().EndArraysAndDisableClientState();
    EXPECT_NE(live->At(60, 60), kBlack);
}

TEST_F(BatchPicture, LongStripIsConnected) {
    Begin(GL_LINE_STRIP, GLShaderLine);
    for (int number = 0; number < 70'000; ++number) {
        View().AddIndex2DVertexRGBA(number < 35'000 ? 10.5 : 110.5, 64.5, 255, 255, 255, 255);
    }
    View().EndArraysAndDisableClientState();
    EXPECT_GE(live->CountDrawn(), 100);
    EXPECT_NE(live->At(60, 64), kBlack);
}

TEST_F(BatchPicture, DiscardedBatchesDrawNothing) {
    Begin(GL_POINTS, GLShaderPoint);
    View().AddIndex2DVertexRGBA(10.5, 20.5, 255, 0, 0, 255);
    View().BeginArrays(GL_POINTS, GLShaderPoint);
    View().EndArrays();
    View().AddIndex2DVertexRGBA(10.5, 20.5, 255, 0, 0, 255);
    View().EndVBOArraysAndDisableClientState();
    EXPECT_EQ(View().GetBatchVertexCount(), 0);
    EXPECT_EQ(live->CountDrawn(), 0);
}

TEST_F(BatchPicture, CallersGeometryIsDrawnFromWhereItIs) {
    std::vector<GLDrawGeometry> geometry(3);
    for (std::size_t index = 0; index < geometry.size(); ++index) {
        geometry[index] = GLDrawGeometry{};
        geometry[index].x = 30.5F + static_cast<float>(index);
        geometry[index].y = 40.5F;
        geometry[index].g = 255;
        geometry[index].a = 255;
    }
    GLVBO vbo;
    View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
    View().BeginArrays(GL_POINTS, GLShaderPoint, vbo, geometry.data(), geometry.size());
    for (unsigned int index = 0; index < 3; ++index) {
        View().AddDataIndex(index);
    }
    View().EndArraysAndDisableClientState();
    EXPECT_EQ(live->CountDrawn(), 3);
    EXPECT_EQ(live->At(32, 40), (Pixel{0, 255, 0, 255}));
}

} // namespace
