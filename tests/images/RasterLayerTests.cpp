#include "support/Picture.h"
#include "support/PipelineFixture.h"

#include <images/RasterLayer.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

namespace {

constexpr int kWidth = 240;
constexpr int kHeight = 160;
constexpr Pixel kGround{20, 40, 60, 255};
constexpr int kLarge = 100'000;
constexpr double kAtOnce = 1e9; // milliseconds

/// The colour of a place of a raster, columns and rows as shares of its size; of all pixels that a coarser one stands
/// for it is the mean.
Pixel ColorAt(double column, double row) {
    const auto level = [](double share) { return static_cast<unsigned char>(std::lround(share * 255.0)); };
    return {level(column), level(row), 100, 255};
}

/// A source without pixels of its own: it computes them, and counts what it is asked for.
struct Computed {
    int size = kLarge;
    std::vector<GLRasterWindow> asked{};
    GLRasterRead answer = GLRasterReadDone;
    bool throws = false;

    GLRasterReader Reader() {
        return [this](const GLRasterWindow& window, void* pixels) {
            asked.push_back(window);
            const double step = std::ldexp(1.0, window.level);
            EXPECT_TRUE(window.x >= 0 && window.y >= 0 && (window.x + window.width - 1) * step < size &&
                        (window.y + window.height - 1) * step < size);
            EXPECT_LE(std::max(window.width, window.height), 256);
            if (throws) {
                throw std::runtime_error("the file is damaged");
            }
            if (answer != GLRasterReadDone) {
                return answer;
            }
            auto* target = static_cast<unsigned char*>(pixels);
            for (int y = window.y; y < window.y + window.height; ++y) {
                for (int x = window.x; x < window.x + window.width; ++x, target += 4) {
                    const Pixel color =
                        ColorAt(std::min((x + 0.5) * step / size, 1.0), std::min((y + 0.5) * step / size, 1.0));
                    std::memcpy(target, &color, 4);
                }
            }
            return GLRasterReadDone;
        };
    }
};

class RasterLayers : public OnBothPipelines {
protected:
    RasterLayers() { Open(); }
    ~RasterLayers() override {
        SetEnvironmentVariableW(L"ORRIN_TEXTURE_CACHE", nullptr);
        View().DeleteDisplayTextureCache();
        live.reset();
        EXPECT_EQ(driver.LeakReport(), "");
    }
    void Open() {
        live = std::make_unique<LiveView>(kWidth, kHeight);
        EXPECT_EQ(View().DrawsWithPrograms(), UsesPrograms());
    }
    COpenGLView& View() const { return *live->view; }
    static unsigned long long CacheSize() { return COpenGLView::m_gRasterTextureManager.GetTextureCacheSize(); }
    /// A map of so many model units around a point.
    void LookAt(double x, double y, double widthUnits, double rotationDegrees = 0.0) const {
        const double half = widthUnits / 2.0;
        View().MatrixMode(GL_PROJECTION);
        View().Ortho(-half, half, -half * kHeight / kWidth, half * kHeight / kWidth, -1.0, 1.0);
        View().MatrixMode(GL_MODELVIEW);
        View().LoadIdentity();
        View().Rotate(rotationDegrees, 0.0, 0.0, 1.0);
        View().Translate(-x, -y, 0.0);
    }
    void Clear() const { live->Clear(RGB(kGround.r, kGround.g, kGround.b)); }
    Picture Take() const { return TakePicture(View(), kWidth, kHeight); }
    /// How far the frame is from the colours that its pixels should show, through a placement.
    int LargestError(const GLRasterPlacement& placement, int size = kLarge) const {
        const Picture frame = Take();
        const glm::dmat4 back = glm::inverse(View().GetMatrix(GL_PROJECTION) * View().GetMatrix(GL_MODELVIEW));
        const double determinant = placement.columnX * placement.rowY - placement.rowX * placement.columnY;
        const double unitsPerPixel = glm::length(glm::dvec3(back[0])) * 2.0 / kWidth;
        const double margin = 2.5 * unitsPerPixel / std::hypot(placement.columnX, placement.columnY);
        int largest = 0;
        for (int y = 0; y < kHeight; y += 3) {
            for (int x = 0; x < kWidth; x += 3) {
                const glm::dvec4 clip((x + 0.5) * 2.0 / kWidth - 1.0, (y + 0.5) * 2.0 / kHeight - 1.0, 0.0, 1.0);
                const glm::dvec4 model = back * clip;
                const double dx = model.x - placement.originX;
                const double dy = model.y - placement.originY;
                const double column = (placement.rowY * dx - placement.rowX * dy) / determinant / size;
                const double row = (placement.columnX * dy - placement.columnY * dx) / determinant / size;
                const double edge = std::min({column, row, 1.0 - column, 1.0 - row});
                if (std::abs(edge) * size > margin) {
                    largest = std::max(largest,
                                       LargestDifference(frame.At(x, y), edge < 0.0 ? kGround : ColorAt(column, row)));
                }
            }
        }
        return largest;
    }

    std::unique_ptr<LiveView> live;
    Computed source;
};

ORRIN_ON_BOTH_PIPELINES(RasterLayers);

// A country's photographs: through zooming and panning, rotated too, every frame shows the place it should, and what it
// takes on the card stays within its limit.
TEST_P(RasterLayers, LargerThanMemoryPansAndZoomsWithinItsLimit) {
    constexpr unsigned long long kLimit = 12 << 20;
    const GLRasterPlacement placements[] = {{0.5, 0.0, 0.0, -0.5, 480'000, 4'540'000},
                                            {0.3, 0.4, 0.4, -0.3, 460'000, 4'500'000}};
    CRasterLayer layer({.name = L"photographs", .width = kLarge, .height = kLarge}, source.Reader());
    layer.SetCacheLimit(kLimit);
    layer.SetReadingTime(kAtOnce);
    for (const GLRasterPlacement& placement : placements) {
        layer.SetPlacement(placement);
        for (int frame = 0; frame < 12; ++frame) {
            LookAt(500'000 + 900.0 * frame, 4'520'000 - 700.0 * frame, 60'000 / std::pow(2.5, frame), 9.0 * frame);
            Clear();
            EXPECT_EQ(layer.Draw(View()), S_OK);
            EXPECT_LE(LargestError(placement), 2) << "frame " << frame;
            EXPECT_LE(CacheSize(), kLimit);
            EXPECT_LE(driver.LiveObjects(DriverObject::Texture), kLimit / (200 * 200 * 4));
            EXPECT_EQ(layer.GetLastFrame().standIns, 0);
            EXPECT_EQ(layer.GetLastFrame().missing, 0);
        }
    }
    EXPECT_LT(source.asked.size(), 400U) << "a handful of tiles a frame";
    source.asked.clear();
    Clear();
    EXPECT_EQ(layer.Draw(View()), S_OK);
    EXPECT_EQ(source.asked.size(), 0U) << "the same frame again";
    layer.DeleteTiles(View());
    EXPECT_EQ(CacheSize(), 0U);
}

// While it is read a raster is blurred, never full of holes; and a frame takes no longer than it may.
TEST_P(RasterLayers, CoarserTilesStandInWhileFinerOnesAreRead) {
    const GLRasterPlacement placement{1.0, 0.0, 0.0, -1.0, 0.0, 0.0};
    CRasterLayer layer({.width = kLarge, .height = kLarge, .placement = placement}, source.Reader());
    layer.SetReadingTime(0.0);
    LookAt(50'000, -50'000, kWidth);
    int frames = 0;
    long result = S_FALSE;
    while (result == S_FALSE && frames < 50) {
        Clear();
        result = layer.Draw(View());
        ++frames;
        EXPECT_EQ(layer.GetLastFrame().read, 1);
        EXPECT_EQ(layer.GetLastFrame().missing, 0);
        EXPECT_EQ(source.asked.size(), static_cast<std::size_t>(frames));
        EXPECT_LE(LargestError(placement), 2);
    }
    EXPECT_EQ(result, S_OK);
    EXPECT_EQ(layer.GetLastFrame().standIns, 0);
    EXPECT_EQ(source.asked.front().level, 9);
    EXPECT_EQ(source.asked.back().level, 0);
    Clear();
    EXPECT_EQ(layer.Draw(View()), S_OK);
    EXPECT_EQ(layer.GetLastFrame().read, 0);
}

// Looking over the country tiles of many levels meet: no pixel of the background shines through between them.
TEST_P(RasterLayers, PerspectiveHasNoGapsBetweenLevels) {
    CRasterLayer layer({.width = kLarge, .height = kLarge, .placement = {1.0, 0.0, 0.0, -1.0, 0.0, 0.0}},
                       source.Reader());
    layer.SetReadingTime(kAtOnce);
    for (const double turn : {0.0, 23.0, 61.0}) {
        View().MatrixMode(GL_PROJECTION);
        View().Perspective(40.0, 1.5, 10.0, 100'000.0);
        View().MatrixMode(GL_MODELVIEW);
        // So steep that the horizon is above the window.
        const double radians = turn * std::numbers::pi / 180.0;
        View().LookAt(50'000, -50'000, 400, 50'000 + 900 * std::sin(radians), -50'000 + 900 * std::cos(radians), 0, 0,
                      0, 1);
        live->Clear(RGB(255, 255, 255));
        EXPECT_EQ(layer.Draw(View()), S_OK);
        EXPECT_EQ(Take().CountDrawn({255, 255, 255, 255}), kWidth * kHeight) << turn;
    }
}

TEST_P(RasterLayers, ReaderMayAskForTimeOrFail) {
    LookAt(500, -500, 900);
    source.size = 1'000;
    CRasterLayer layer({.width = 1'000, .height = 1'000, .placement = {1.0, 0.0, 0.0, -1.0, 0.0, 0.0}},
                       source.Reader());
    layer.SetReadingTime(kAtOnce);
    source.answer = GLRasterReadLater;
    EXPECT_EQ(layer.Draw(View()), S_FALSE);
    EXPECT_EQ(layer.GetLastFrame().missing, layer.GetLastFrame().tiles);
    source.answer = GLRasterReadDone;
    EXPECT_EQ(layer.Draw(View()), S_OK);
    EXPECT_EQ(layer.GetLastFrame().missing, 0);

    for (const bool throws : {false, true}) {
        layer.Forget();
        source.answer = GLRasterReadFailed;
        source.throws = throws;
        source.asked.clear();
        EXPECT_EQ(layer.Draw(View()), S_OK) << "there is nothing to wait for";
        const std::size_t asked = source.asked.size();
        EXPECT_GT(asked, 0U);
        EXPECT_EQ(layer.Draw(View()), S_OK);
        EXPECT_EQ(source.asked.size(), asked) << "a damaged tile is not read in every frame";
    }
    source.throws = false;
    source.answer = GLRasterReadDone;
    layer.Forget();
    EXPECT_EQ(layer.Draw(View()), S_OK);
    EXPECT_EQ(layer.GetLastFrame().missing, 0);
}

TEST_P(RasterLayers, WithoutTheCacheEachFrameReadsWhatItShows) {
    live.reset();
    ForgetFirstView();
    SetEnvironmentVariableW(L"ORRIN_TEXTURE_CACHE", L"0");
    Open();
    source.size = 1'000;
    const GLRasterPlacement placement{1.0, 0.0, 0.0, -1.0, 0.0, 0.0};
    CRasterLayer layer({.width = 1'000, .height = 1'000, .placement = placement}, source.Reader());
    layer.SetReadingTime(0.0);
    LookAt(500, -500, 240);
    Clear();
    EXPECT_EQ(layer.Draw(View()), S_OK);
    EXPECT_LE(LargestError(placement, 1'000), 2);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Texture), 0U);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Sampler), 0U);
}

/// An image of noise.
std::vector<unsigned char> Noise(int width, int height, int channels) {
    std::vector<unsigned char> pixels(static_cast<std::size_t>(width * height * channels));
    unsigned int random = 7;
    for (unsigned char& sample : pixels) {
        random = random * 1'664'525U + 1'013'904'223U;
        sample = static_cast<unsigned char>(random >> 24);
    }
    return pixels;
}

// Enlarged and smooth, the layer's tiles look like one texture: a seam would differ in a row of pixels.
TEST_P(RasterLayers, TilesLookLikeOneTexture) {
    constexpr int kImageWidth = 700, kImageHeight = 300;
    const std::vector<unsigned char> pixels = Noise(kImageWidth, kImageHeight, 3);
    for (const bool smooth : {true, false}) {
        CRasterLayer layer({.width = kImageWidth, .height = kImageHeight, .pixels = GL_RGB, .smooth = smooth},
                           MakeImageReader(GL_RGB, kImageWidth, kImageHeight, pixels));
        LookAt(254.3, -253.6, 31.7, 14.0);
        Clear();
        layer.SetReadingTime(kAtOnce);
        EXPECT_EQ(layer.Draw(View()), S_OK);
        EXPECT_EQ(layer.GetLastFrame().tiles, 4);
        const Picture tiled = Take();
        Clear();
        EXPECT_EQ(View().DrawImage(0.0, 0.0, kImageWidth, -kImageHeight, 0.0, GL_RGB, kImageWidth, kImageHeight, 1,
                                   smooth ? GL_LINEAR : GL_NEAREST, pixels.data()),
                  S_OK);
        EXPECT_LE(Compare(tiled, Take(), smooth ? 8 : 0).otherPixels, smooth ? 10 : 25) << smooth;
    }
}

// Before OpenGL 2.0 textures of other sides than powers of two draw white.
TEST_P(RasterLayers, OldDriversGetSidesOfPowersOfTwo) {
    if (UsesPrograms()) {
        return; // such a driver has none
    }
    driver.HideEntryPoint("glCreateShader");
    View().MakeGLCementAndLoad(GLContextMain);
    const GLRasterPlacement placement{1.0, 0.0, 0.0, -1.0, 0.0, 0.0};
    source.size = 700;
    CRasterLayer layer({.width = 700, .height = 700, .placement = placement}, source.Reader());
    layer.SetReadingTime(kAtOnce);
    LookAt(620, -620, 240);
    Clear();
    driver.JournalOnly({"glTexImage2D"});
    driver.StartJournal();
    EXPECT_EQ(layer.Draw(View()), S_OK);
    driver.StopJournal();
    for (const DriverCall& call : driver.Journal()) {
        const auto isPower = [](std::int64_t side) { return (side & (side - 1)) == 0; };
        EXPECT_TRUE(isPower(call.Integer(3)) && isPower(call.Integer(4)));
    }
    EXPECT_LE(LargestError(placement, 700), 2);
}

// Elevations that are shown in other colours: the map changes at once, and holes stay holes at every level.
TEST_P(RasterLayers, ValuesTakeTheColorsOfTheirStyle) {
    constexpr int kSide = 600;
    std::vector<float> values(kSide * kSide, 40.0F);
    for (std::size_t index = 0; index < values.size(); ++index) {
        values[index] = index % kSide < kSide / 2 ? std::numeric_limits<float>::quiet_NaN() : 40.0F;
    }
    CRasterLayer layer({.width = kSide, .height = kSide, .pixels = GL_FLOAT, .style = {.high = 100.0}, .smooth = false},
                       MakeValueReader(kSide, kSide, values));
    layer.SetReadingTime(kAtOnce);
    for (const double width : {200.0, 900.0}) {
        LookAt(300, -300, width);
        Clear();
        layer.SetStyle({.high = 100.0});
        EXPECT_EQ(layer.Draw(View()), S_OK);
        EXPECT_EQ(live->At(100, 80), kGround);
        EXPECT_EQ(live->At(140, 80), (Pixel{102, 102, 102, 255}));
        layer.SetStyle({.high = 100.0, .stops = {{0.0, {0, 255, 0, 255}}}});
        EXPECT_EQ(layer.Draw(View()), S_OK);
        EXPECT_EQ(live->At(140, 80), kGreen);
    }
}

// A hillshade with a grid of its own over an image, here coarser, rotated, and not everywhere.
TEST_P(RasterLayers, SecondLayerIsFusedWhereItIs) {
    const GLRasterPlacement placement{1.0, 0.0, 0.0, -1.0, 0.0, 0.0};
    source.size = 1'000;
    CRasterLayer photo({.width = 1'000, .height = 1'000, .placement = placement}, source.Reader());
    constexpr int kShade = 300;
    CRasterLayer shade(
        {.width = kShade, .height = kShade, .pixels = GL_LUMINANCE, .placement = {1.4, 0.3, -0.3, 1.4, 500, -500}},
        MakeImageReader(GL_LUMINANCE, kShade, kShade, std::vector<unsigned char>(kShade * kShade, 51)));
    photo.SetReadingTime(kAtOnce);
    shade.SetReadingTime(kAtOnce);
    LookAt(500, -500, 700, 5.0);
    Clear();
    EXPECT_EQ(photo.DrawFused(View(), shade, GLFusionMultiply, 1.0), S_OK);
    const Picture fused = Take();
    Clear();
    EXPECT_EQ(photo.Draw(View()), S_OK);
    const Picture plain = Take();
    const glm::dmat4 toClip = View().GetMatrix(GL_PROJECTION) * View().GetMatrix(GL_MODELVIEW);
    const glm::dmat4 back = glm::inverse(toClip);
    int dark = 0;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const glm::dvec4 model =
                back * glm::dvec4((x + 0.5) * 2.0 / kWidth - 1.0, (y + 0.5) * 2.0 / kHeight - 1.0, 0.0, 1.0);
            const double dx = model.x - 500.0;
            const double dy = model.y + 500.0;
            const double column = (1.4 * dx + 0.3 * dy) / (1.4 * 1.4 + 0.3 * 0.3);
            const double row = (1.4 * dy - 0.3 * dx) / (1.4 * 1.4 + 0.3 * 0.3);
            const double edge = std::min({column, row, kShade - column, kShade - row});
            if (std::abs(edge) < 4.0) {
                continue;
            }
            const Pixel& before = plain.At(x, y);
            const auto fifth = [](unsigned char level) { return static_cast<unsigned char>(std::lround(level / 5.0)); };
            const Pixel expected = edge > 0.0 ? Pixel{fifth(before.r), fifth(before.g), fifth(before.b), 255} : before;
            ASSERT_LE(LargestDifference(fused.At(x, y), expected), 1) << x << ", " << y;
            dark += edge > 0.0 ? 1 : 0;
        }
    }
    EXPECT_GT(dark, 5'000);
    EXPECT_EQ(photo.DrawFused(View(), shade, static_cast<GLFusionMode>(9), 1.0), E_INVALIDARG);
    Clear();
    EXPECT_EQ(photo.DrawFused(View(), shade, GLFusionMultiply, 0.0), S_OK);
    EXPECT_EQ(Take().pixels, plain.pixels);
}

// Windows on one map: what one has read the others find. And what a host has asked of the cache, has bound and has set
// is as before.
TEST_P(RasterLayers, ShareTilesBetweenWindowsAndLeaveTheHostsState) {
    source.size = 1'000;
    CRasterLayer layer({.name = L"shared", .width = 1'000, .height = 1'000}, source.Reader());
    layer.SetReadingTime(kAtOnce);
    LookAt(500, -500, 900);
    unsigned int bound = 0;
    glGenTextures(1, &bound);
    glBindTexture(GL_TEXTURE_2D, bound);
    GLTextureObject* entry = nullptr;
    View().RequestTextureFromCache(L"host", 5, 5, 1, 4, 5, 5, 0, 0, 4, 4, 1.0, 0, 0, true, false, false, true, false,
                                   &entry);
    const GLAttributes attributes = View().GetContextRecord(GLContextMain).attributes;
    EXPECT_EQ(layer.Draw(View()), S_OK);
    EXPECT_EQ(View().GetContextRecord(GLContextMain).attributes, attributes);
    EXPECT_EQ(View().GetRequestedTexture().name, CString(L"host"));
    GLint value = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &value);
    EXPECT_EQ(value, static_cast<GLint>(bound));
    glDeleteTextures(1, &bound);
    const std::size_t asked = source.asked.size();
    {
        LiveView second(kWidth, kHeight);
        second->MatrixMode(GL_PROJECTION);
        second->Ortho(50, 950, -800, -200, -1.0, 1.0);
        CRasterLayer again({.name = L"shared", .width = 1'000, .height = 1'000}, source.Reader());
        EXPECT_EQ(again.Draw(*second.view), S_OK);
        EXPECT_EQ(source.asked.size(), asked);
    }
    View().MakeCurrent(GLContextMain);
}

TEST_P(RasterLayers, RefuseWhatCannotBeDrawn) {
    const GLRasterReader none;
    const GLRasterReader reader = source.Reader();
    EXPECT_EQ(CRasterLayer({.width = 10, .height = 10}, none).Draw(View()), E_INVALIDARG);
    EXPECT_EQ(CRasterLayer({.width = 0, .height = 10}, reader).Draw(View()), E_INVALIDARG);
    EXPECT_EQ(CRasterLayer({.width = 10, .height = 10, .pixels = GL_DEPTH_COMPONENT}, reader).Draw(View()),
              E_INVALIDARG);
    EXPECT_EQ(CRasterLayer({.width = 10, .height = 10, .pixels = GL_INT}, reader).Draw(View()), E_INVALIDARG);
    EXPECT_FALSE(MakeImageReader(GL_RGB, 4, 4, std::vector<unsigned char>(47)));
    EXPECT_FALSE(MakeImageReader(GL_DEPTH_COMPONENT, 4, 4, std::vector<unsigned char>(64)));
    EXPECT_FALSE(MakeValueReader(-4, 4, {}));
    CRasterLayer layer({.width = 10, .height = 10}, reader);
    driver.FailCall("glTexImage2D", 1, 1);
    LookAt(5, -5, 20);
    EXPECT_EQ(layer.Draw(View()), E_OUTOFMEMORY);
    driver.FailCall("glTexImage2D", 1, 0);
    source.size = 10;
    EXPECT_EQ(layer.Draw(View()), S_OK);
    View().MakeNull();
    EXPECT_EQ(layer.Draw(View()), E_FAIL);
    View().MakeCurrent(GLContextMain);
}

} // namespace
