// What the view volume asks of OpenGL.

#include "support/RecordedFixture.h"

namespace {

constexpr int kSide = 128;
constexpr PointXYZ kLow{0, 0, 0};
constexpr PointXYZ kHigh{100, 100, 50};

class ViewVolumeCalls : public BothPipelinesTest {
protected:
    /// A square at z = 20 that fills the lower left quarter of the view from the top.
    void DrawQuarter() const {
        View().SetUpOrthoFromModelExtents(GLViewOrientationTop, kLow, kHigh, 1.0);
        live->Clear();
        View().Enable(GL_DEPTH_TEST);
        View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (const auto& [x, y] :
             {std::pair{0.0, 0.0}, {50.0, 0.0}, {50.0, 50.0}, {0.0, 0.0}, {50.0, 50.0}, {0.0, 50.0}}) {
            View().AddIndex3DVertexRGBA(x, y, 20.0, 255, 255, 255, 255);
        }
        View().EndArraysAndDisableClientState();
    }
};

INSTANTIATE_TEST_SUITE_P(Pipelines, ViewVolumeCalls, testing::Bool(), PipelineName);

// Labels and clicks ask thousands of times between two frames.
TEST_P(ViewVolumeCalls, OnlyFixedFunctionsAreSentMatricesAndConversionsSendNothing) {
    View().MatrixMode(GL_PROJECTION);
    driver.StartJournal();
    View().SetUpOrthoFromModelExtents(GLViewOrientationFront, kLow, kHigh, 1.0);
    const std::vector<std::string> expected =
        GetParam() ? std::vector<std::string>{}
                   : std::vector<std::string>{"glMatrixMode", "glLoadMatrixd", "glMatrixMode", "glLoadMatrixd"};
    std::vector<std::string> called;
    for (const DriverCall& call : driver.Journal()) {
        called.push_back(call.function);
    }
    EXPECT_EQ(called, expected);
    EXPECT_EQ(View().GetContextRecord(GLContextMain).attributes.matrixMode, static_cast<unsigned>(GL_MODELVIEW));

    driver.StartJournal();
    double x = 0;
    double y = 0;
    double z = 0;
    PointXYZ place;
    PointXYZ direction;
    EXPECT_TRUE(View().Client2RealWorld(10, 20, x, y, z));
    EXPECT_TRUE(View().RealWorld2Client(x, y, z, x, y));
    EXPECT_TRUE(View().GetPickRay(10, 20, place, direction));
    View().Pan(0.0, 0.0);
    View().ZoomAbout(0.0, 5, 5);
    EXPECT_TRUE(driver.JournalText().empty()) << "nothing moved, nothing is loaded";
}

TEST_P(ViewVolumeCalls, KeptDepthsAnswerWithoutACall) {
    DrawQuarter();
    ASSERT_EQ(View().SaveBackingStore(live->window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, kSide, kSide), S_OK);
    driver.StartJournal();
    PointXYZ place;
    EXPECT_TRUE(View().Client2RealWorldOnScene(30, 100, place));
    EXPECT_NEAR(place.z, 20.0, 1e-3);
    EXPECT_EQ(driver.JournalText().empty(), GetParam()) << "fixed-function contexts keep no depths";
}

// What a host has set for its own reading must not lead to depths of other pixels, nor be lost.
TEST_P(ViewVolumeCalls, DepthsAreReadWhateverTheHostsPixelStore) {
    DrawQuarter();
    View().PixelStore(GL_PACK_ROW_LENGTH, 50);
    View().PixelStore(GL_PACK_SKIP_PIXELS, 3);
    PointXYZ place;
    EXPECT_TRUE(View().Client2RealWorldOnScene(30, 100, place));
    EXPECT_NEAR(place.z, 20.0, 1e-3);
    EXPECT_FALSE(View().Client2RealWorldOnScene(100, 30, place));
    int length = 0;
    View().GetContextRecord(GLContextMain).glCement->glGetIntegerv(GL_PACK_ROW_LENGTH, &length);
    EXPECT_EQ(length, 50);
    EXPECT_EQ(View().GetError(), 0U);
    // While another view's context is current nothing can be read.
    LiveView other;
    EXPECT_FALSE(View().Client2RealWorldOnScene(30, 100, place));
    View().MakeCurrent(GLContextMain);
    EXPECT_TRUE(View().Client2RealWorldOnScene(30, 100, place));
}

} // namespace
