#include "support/Picture.h"
#include "support/RecordedFixture.h"

#include <algorithm>

namespace {

constexpr int kSide = 200;
constexpr int kTilesPerRow = 20;
constexpr int kTiles = 200;

/// A layer of 200 tiles on either pipeline.
class Quadrilaterals : public RecordedTest, public testing::WithParamInterface<bool> {
protected:
    Quadrilaterals() {
        driver.SetVersionText(GetParam() ? "4.6.0 NVIDIA 551.23" : "2.0");
        live = std::make_unique<LiveView>(kSide, kSide);
        EXPECT_EQ(View().DrawsWithPrograms(), GetParam());
        for (int index = 0; index < 3; ++index) {
            std::vector<unsigned char> pixels(5 * 5 * 3);
            for (std::size_t byte = 0; byte < pixels.size(); ++byte) {
                pixels[byte] = static_cast<unsigned char>(40 + 60 * index + static_cast<int>(byte));
            }
            EXPECT_EQ(View().LoadGLImage(GL_TEXTURE0, GL_RGB, 5, 5, 1, index == 1 ? GL_LINEAR : GL_NEAREST,
                                         pixels.data(), textures[index], samplers[index]),
                      S_OK);
        }
        View().DrawSetupTextureTransparency(200);
    }
    ~Quadrilaterals() override {
        for (int index = 0; index < 3; ++index) {
            View().DeleteTextureAndSamplerNames(textures[index], samplers[index]);
        }
        live.reset();
        EXPECT_EQ(driver.LeakReport(), "");
    }
    COpenGLView& View() const { return *live->view; }

    /// Tiles of 10 × 12 pixels, none with a texel's border on a pixel's centre; `run` of them after each other show one
    /// texture.
    std::vector<TexturedQuadrilateral> Layer(int run, double x = 0.0, double y = 0.0) const {
        std::vector<TexturedQuadrilateral> layer;
        for (int index = 0; index < kTiles; ++index) {
            TexturedQuadrilateral& tile = layer.emplace_back();
            tile.texture = textures[index / run % 3];
            tile.sampler = samplers[index / run % 3];
            const double left = x + index % kTilesPerRow * 10;
            const double lower = y + static_cast<double>(index / kTilesPerRow) * 20 + index % 3;
            tile.corners[0] = {left, lower, 0.0};
            tile.corners[1] = {left + 10.0, lower, 0.0};
            tile.corners[2] = {left + 10.0, lower + 12.0, 0.0};
            tile.corners[3] = {left, lower + 12.0, 0.0};
            if (index % 2 == 1) {
                std::reverse(std::begin(tile.coordinates), std::end(tile.coordinates));
            }
        }
        return layer;
    }
    void DrawOneByOne(const std::vector<TexturedQuadrilateral>& layer) const {
        for (const TexturedQuadrilateral& tile : layer) {
            EXPECT_EQ(View().DrawTexturedQuadrilateral(tile.texture, tile.sampler, tile.corners, tile.coordinates),
                      S_OK);
        }
    }
    std::size_t Draws() const {
        return driver.Journal("glDrawArrays").size() + driver.Journal("glDrawElements").size();
    }

    std::unique_ptr<LiveView> live;
    unsigned int textures[3] = {};
    unsigned int samplers[3] = {};
};

// Tiles drawn one by one: the CPU may run ahead as far as the ring goes. A wait for what was just drawn would cost a
// round trip to the GPU for each tile.
TEST_P(Quadrilaterals, DoNotWaitForWhatWasJustDrawn) {
    driver.JournalOnly({"glFenceSync", "glClientWaitSync", "glFinish"});
    driver.StartJournal();
    DrawOneByOne(Layer(7));
    driver.StopJournal();
    std::vector<std::uint64_t> fences;
    std::uint64_t asked = 0;
    for (const DriverCall& call : driver.Journal()) {
        if (call.function == "glFenceSync") {
            fences.push_back(call.result);
            continue;
        }
        ASSERT_EQ(call.function, "glClientWaitSync");
        if (call.arguments[0] == asked) {
            continue; // not signalled yet, and asked again
        }
        asked = call.arguments[0];
        const auto waited = std::find(fences.begin(), fences.end(), call.arguments[0]);
        ASSERT_NE(waited, fences.end());
        EXPECT_GE(fences.end() - waited, 3) << "of three segments two are the GPU's";
        fences.erase(waited);
    }
    EXPECT_EQ(driver.CallCount("glFinish"), 0U);
}

TEST_P(Quadrilaterals, InOneCallAreTheFrameOfSingleCallsInFewDraws) {
    for (const auto& [run, draws] : {std::pair{7, 29U}, std::pair{kTiles, 1U}}) {
        const std::vector<TexturedQuadrilateral> layer = Layer(run);
        live->Clear(RGB(10, 20, 30));
        DrawOneByOne(layer);
        const Picture single = TakePicture(View(), kSide, kSide);
        EXPECT_GT(single.CountDrawn({10, 20, 30, 255}), 20'000);
        const GLAttributes attributes = View().GetContextRecord(GLContextMain).attributes;
        live->Clear(RGB(10, 20, 30));
        const std::uint64_t waits = driver.CallCount("glClientWaitSync");
        driver.StartJournal();
        EXPECT_EQ(View().DrawTexturedQuadrilaterals(layer.data(), layer.size()), S_OK);
        driver.StopJournal();
        EXPECT_EQ(Draws(), draws);
        if (draws == 1) {
            EXPECT_LE(driver.CallCount("glClientWaitSync") - waits, 1U) << "the ring's own";
        }
        EXPECT_EQ(Compare(TakePicture(View(), kSide, kSide), single, 1).otherPixels, 0) << "smoothing may round";
        GLAttributes after = View().GetContextRecord(GLContextMain).attributes;
        after.readBuffer = attributes.readBuffer;
        EXPECT_EQ(after, attributes);
    }
}

// Rasters of many tiles, each with a texture of its own: no frame may stop for the GPU, the first nor those after it.
TEST_P(Quadrilaterals, OfManyTexturesWaitForNothing) {
    const std::vector<TexturedQuadrilateral> layer = Layer(1);
    live->Clear(RGB(10, 20, 30));
    DrawOneByOne(layer);
    const Picture single = TakePicture(View(), kSide, kSide);
    View().DisableClientState();
    for (const bool inOneCall : {true, false}) {
        const std::uint64_t waits = driver.CallCount("glClientWaitSync");
        for (int frame = 0; frame < 6; ++frame) {
            live->Clear(RGB(10, 20, 30));
            const SharedDraws shared(View());
            if (inOneCall) {
                EXPECT_EQ(View().DrawTexturedQuadrilaterals(layer.data(), layer.size()), S_OK);
            } else {
                DrawOneByOne(layer);
            }
        }
        EXPECT_EQ(driver.CallCount("glClientWaitSync"), waits) << inOneCall;
        EXPECT_EQ(Compare(TakePicture(View(), kSide, kSide), single, 1).otherPixels, 0) << inOneCall;
    }
    driver.JournalOnly({"glFenceSync"});
    driver.StartJournal();
    for (int frame = 0; frame < 40; ++frame) {
        View().DrawTexturedQuadrilaterals(layer.data(), layer.size());
    }
    driver.StopJournal();
    EXPECT_EQ(driver.Journal().size(), GetParam() ? 41U : 0U) << "one a frame, and one where a segment is full";
}

// Where the first tile is far from what the window shows: it must not be what positions are relative to.
TEST_P(Quadrilaterals, KeepTheirPlaceFarFromTheFirstTile) {
    const auto draw = [&](double x, double y, double farAway) {
        std::vector<TexturedQuadrilateral> layer = Layer(7, x, y);
        TexturedQuadrilateral first = layer.front();
        for (PointXYZ& corner : first.corners) {
            corner.x -= farAway;
        }
        layer.insert(layer.begin(), first);
        View().MatrixMode(GL_PROJECTION);
        View().Ortho(x, x + kSide, y, y + kSide, -1.0, 1.0);
        View().MatrixMode(GL_MODELVIEW);
        View().LoadIdentity();
        live->Clear(RGB(10, 20, 30));
        EXPECT_EQ(View().DrawTexturedQuadrilaterals(layer.data(), layer.size()), S_OK);
        return TakePicture(View(), kSide, kSide);
    };
    EXPECT_EQ(draw(0.3, 0.2, 1000.0).pixels, draw(500'000.3, 4'500'000.2, 2e9).pixels);
}

TEST_P(Quadrilaterals, AreAllDrawnOrNone) {
    std::vector<TexturedQuadrilateral> layer = Layer(7);
    const std::uint64_t calls = driver.GLCallCount();
    EXPECT_EQ(View().DrawTexturedQuadrilaterals(nullptr, 0), S_OK);
    EXPECT_EQ(View().DrawTexturedQuadrilaterals(layer.data(), 0), S_OK);
    EXPECT_EQ(View().DrawTexturedQuadrilaterals(nullptr, 2), E_INVALIDARG);
    layer.back().texture = 0;
    EXPECT_EQ(View().DrawTexturedQuadrilaterals(layer.data(), layer.size()), E_INVALIDARG);
    EXPECT_EQ(driver.GLCallCount(), calls);
    View().MakeNull();
    EXPECT_EQ(View().DrawTexturedQuadrilaterals(layer.data(), 3), E_FAIL);
    View().MakeCurrent(GLContextMain);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, Quadrilaterals, testing::Bool(),
                         [](const auto& programs) { return programs.param ? "Programs" : "FixedFunctions"; });

} // namespace
