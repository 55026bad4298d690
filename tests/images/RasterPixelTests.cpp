// Rasters of values, adjusted images and parts of textures, as they come out on either pipeline.

#include "support/Picture.h"
#include "support/PipelineFixture.h"

#include <limits>

namespace {

constexpr int kSide = 64;
constexpr Pixel kGround{20, 40, 60, 255};

using Bytes = std::vector<unsigned char>;

class RasterPixels : public OnBothPipelines {
protected:
    RasterPixels() {
        live = std::make_unique<LiveView>(kSide, kSide);
        EXPECT_EQ(View().DrawsWithPrograms(), UsesPrograms());
        live->Clear(RGB(kGround.r, kGround.g, kGround.b));
    }
    ~RasterPixels() override {
        View().DeleteTextureAndSamplerNames(texture, sampler);
        live.reset();
        EXPECT_EQ(driver.LeakReport(), "");
    }
    COpenGLView& View() const { return *live->view; }
    long Load(unsigned int format, int width, int height, const void* pixels, unsigned int filter = GL_NEAREST) {
        return View().LoadGLImage(GL_TEXTURE0, format, width, height, 1, filter, pixels, texture, sampler);
    }
    void Draw(double left, double right) const {
        const PointXYZ corners[] = {{left, 0, 0}, {right, 0, 0}, {right, kSide, 0}, {left, kSide, 0}};
        EXPECT_EQ(View().DrawTexturedQuadrilateral(texture, sampler, corners, nullptr), S_OK);
    }
    /// The columns of an image one pixel high that fills the window.
    std::vector<Pixel> Columns(int count) const {
        live->Clear(RGB(kGround.r, kGround.g, kGround.b));
        Draw(0, kSide);
        std::vector<Pixel> columns;
        for (int column = 0; column < count; ++column) {
            columns.push_back(live->At((2 * column + 1) * kSide / (2 * count), kSide / 2));
        }
        return columns;
    }

    std::unique_ptr<LiveView> live;
    unsigned int texture = 0;
    unsigned int sampler = 0;
};

ORRIN_ON_BOTH_PIPELINES(RasterPixels);

TEST_P(RasterPixels, ValuesShowTheColorsOfTheirStyle) {
    const float values[] = {0.0F, 20.0F, 100.0F, std::numeric_limits<float>::quiet_NaN()};
    const GLDataStyle style{.low = 0.0, .high = 100.0, .stops = {{0.0, {0, 0, 255, 255}}, {1.0, {255, 255, 0, 255}}}};
    EXPECT_EQ(View().LoadDataRaster(GL_FLOAT, 4, 1, 4, GL_NEAREST, values, style, texture, sampler), S_OK);
    EXPECT_EQ(Columns(4), (std::vector<Pixel>{{0, 0, 255, 255}, {51, 51, 204, 255}, {255, 255, 0, 255}, kGround}));
    const std::int16_t depths[] = {-100, 20, -32768, 100};
    GLDataStyle grey{.low = -100.0, .high = 100.0, .hasNoData = true, .noData = -32768.0};
    EXPECT_EQ(View().LoadDataRaster(GL_SHORT, 4, 1, 8, GL_NEAREST, depths, grey, texture, sampler), S_OK);
    EXPECT_EQ(Columns(4), (std::vector<Pixel>{{0, 0, 0, 255}, {153, 153, 153, 255}, kGround, {255, 255, 255, 255}}));
    grey.noDataColor = {255, 0, 0, 255};
    EXPECT_EQ(View().LoadDataRaster(GL_SHORT, 4, 1, 8, GL_NEAREST, depths, grey, texture, sampler), S_OK);
    EXPECT_EQ(Columns(4)[2], kRed) << "another style, though the last one was kept";

    const std::uint64_t calls = driver.GLCallCount();
    EXPECT_EQ(View().LoadDataRaster(GL_INT, 4, 1, 8, GL_NEAREST, depths, grey, texture, sampler), E_INVALIDARG);
    EXPECT_EQ(View().LoadDataRaster(GL_SHORT, 4, 1, 8, GL_NEAREST, nullptr, grey, texture, sampler), E_INVALIDARG);
    EXPECT_EQ(View().LoadDataRaster(GL_SHORT, 0, 1, 8, GL_NEAREST, depths, grey, texture, sampler), E_INVALIDARG);
    EXPECT_EQ(driver.GLCallCount(), calls);
    View().MakeNull();
    EXPECT_EQ(View().LoadDataRaster(GL_SHORT, 4, 1, 8, GL_NEAREST, depths, grey, texture, sampler), E_FAIL);
    View().MakeCurrent(GLContextMain);
}

// A fine pattern drawn far smaller: while the map moves by parts of a pixel, each frame shows the pattern's mean.
TEST_P(RasterPixels, SmallerLevelsDoNotFlicker) {
    constexpr int kPixels = 500; // no power of two
    Bytes stripes(kPixels * kPixels);
    for (std::size_t pixel = 0; pixel < stripes.size(); ++pixel) {
        stripes[pixel] = pixel % kPixels / 3 % 2 == 0 ? 255 : 0;
    }
    const auto deviation = [&](unsigned int filter) {
        EXPECT_EQ(Load(GL_LUMINANCE, kPixels, kPixels, stripes.data(), filter), S_OK);
        int largest = 0;
        for (const double shift : {0.0, 0.3, 0.6}) {
            live->Clear();
            Draw(shift, shift + kSide);
            for (int x = 4; x < kSide - 4; x += 5) {
                largest = std::max(largest, std::abs(live->At(x, 31).g - 128));
            }
        }
        return largest;
    };
    EXPECT_GT(deviation(GL_LINEAR), 80);
    EXPECT_LE(deviation(GL_LINEAR_MIPMAP_LINEAR), 40);
    EXPECT_GT(deviation(GL_LINEAR), 80) << "and back";
}

// A radar image whose last minutes arrive: only they are sent.
TEST_P(RasterPixels, PartOfATextureIsReplaced) {
    const Bytes image = {10, 20, 30, 40, 50, 60, 70, 80};
    EXPECT_EQ(Load(GL_LUMINANCE, 8, 1, image.data()), S_OK);
    driver.JournalOnly({"glTex*Image2D", "glGetTexImage"});
    driver.StartJournal();
    const Bytes part = {210, 220};
    EXPECT_EQ(View().UpdateGLImage(texture, GL_LUMINANCE, 3, 0, 2, 1, 1, part.data()), S_OK);
    driver.StopJournal();
    ASSERT_EQ(driver.Journal().size(), 1U);
    EXPECT_EQ(driver.Journal().front().function, "glTexSubImage2D");
    std::vector<Pixel> columns = Columns(8);
    EXPECT_EQ(columns[2].g, 30);
    EXPECT_EQ(columns[3], (Pixel{210, 210, 210, 255}));
    EXPECT_EQ(columns[4].g, 220);
    EXPECT_EQ(columns[5].g, 60);

    const std::pair<int, int> outside[] = {{-1, 0}, {7, 0}, {0, 1}, {0, -1}, {2'147'483'647, 0}};
    for (const auto& [x, y] : outside) {
        EXPECT_EQ(View().UpdateGLImage(texture, GL_LUMINANCE, x, y, 2, 1, 1, part.data()), E_INVALIDARG) << x;
    }
    EXPECT_EQ(View().UpdateGLImage(texture, GL_LUMINANCE_ALPHA, 0, 0, 1, 1, 1, part.data()), E_INVALIDARG);
    EXPECT_EQ(View().UpdateGLImage(texture, GL_LUMINANCE, 0, 0, 2, 1, 1, nullptr), E_INVALIDARG);
    EXPECT_EQ(View().UpdateGLImage(0, GL_LUMINANCE, 0, 0, 2, 1, 1, part.data()), E_INVALIDARG);
    EXPECT_EQ(Columns(8), columns);
    // A texture with an opacity takes every format.
    const Bytes rgba(8 * 4, 255);
    EXPECT_EQ(Load(GL_RGBA, 8, 1, rgba.data()), S_OK);
    EXPECT_EQ(View().UpdateGLImage(texture, GL_LUMINANCE, 1, 0, 2, 1, 1, part.data()), S_OK);
    EXPECT_EQ(Columns(8)[2], (Pixel{220, 220, 220, 255}));
}

TEST_P(RasterPixels, SmallerLevelsFollowAReplacedPart) {
    Bytes image(64 * 64 * 2, 200);
    EXPECT_EQ(Load(GL_LUMINANCE_ALPHA, 64, 64, image.data(), GL_LINEAR_MIPMAP_LINEAR), S_OK);
    const Bytes part(32 * 64 * 2, 100);
    EXPECT_EQ(View().UpdateGLImage(texture, GL_LUMINANCE_ALPHA, 0, 0, 32, 64, 1, part.data()), S_OK);
    live->Clear();
    Draw(0, 4); // four of its smallest levels' pixels
    const double light = 200.0 * 200.0 / 255.0;
    EXPECT_NEAR(live->At(0, 32).g, 100.0 * 100.0 / 255.0, 3.0);
    EXPECT_NEAR(live->At(3, 32).g, light, 3.0);
    // A part in another format that the texture can keep: the rest keeps all its channels.
    const Bytes colors(64 * 64 * 3, 180);
    EXPECT_EQ(Load(GL_RGB, 64, 64, colors.data(), GL_LINEAR_MIPMAP_LINEAR), S_OK);
    const Bytes blueFirst(32 * 64 * 3, 90);
    EXPECT_EQ(View().UpdateGLImage(texture, GL_BGR_EXT, 0, 0, 32, 64, 1, blueFirst.data()), S_OK);
    live->Clear();
    Draw(0, 4);
    EXPECT_LE(LargestDifference(live->At(0, 32), {90, 90, 90, 255}), 3);
    EXPECT_LE(LargestDifference(live->At(3, 32), {180, 180, 180, 255}), 3);
}

// The cache's textures come from LoadGLImage: its holes and colours are the drawn images'.
TEST_P(RasterPixels, LoadedImagesAreTreatedAsTheSettingsSay) {
    const Bytes image = {12, 10, 9, 14, 10, 10, 100, 100, 100, 200, 50, 0};
    View().DrawSetupNoDataColor({10, 10, 10}, {0, 255, 0});
    View().DrawSetupNoDataTolerance(2);
    EXPECT_EQ(Load(GL_RGB, 4, 1, image.data()), S_OK);
    EXPECT_EQ(Columns(4), (std::vector<Pixel>{kGround, {14, 10, 10, 255}, {100, 100, 100, 255}, {200, 50, 0, 255}}));
    View().DrawSetupNoDataIsTransparent(false);
    View().DrawSetupImageAdjustment(2.0, 0.1, 1.0);
    EXPECT_EQ(Load(GL_RGB, 4, 1, image.data()), S_OK);
    EXPECT_EQ(Columns(4), (std::vector<Pixel>{kGreen, {0, 0, 0, 255}, {98, 98, 98, 255}, {255, 0, 0, 255}}));
    const Bytes part = {9, 9, 9};
    EXPECT_EQ(View().UpdateGLImage(texture, GL_RGB, 3, 0, 1, 1, 1, part.data()), S_OK);
    EXPECT_EQ(Columns(4)[3], kGreen);
    View().DrawSetupApplyNoDataColor(false);
    View().DrawSetupImageAdjustment(std::numeric_limits<double>::quiet_NaN(), -9.0, 1.0);
    EXPECT_EQ(Load(GL_RGB, 4, 1, image.data()), S_OK);
    EXPECT_EQ(Columns(4)[3], kBlack) << "as dark as it goes";
    // A frame that is stored and put back is no image.
    View().DrawSetupApplyNoDataColor(true);
    View().DrawSetupNoDataColor({kGround.r, kGround.g, kGround.b}, {0, 0, 0});
    View().DrawSetupImageAdjustment(3.0, 0.0, 2.0);
    live->Clear(RGB(kGround.r, kGround.g, kGround.b));
    const HDC deviceContext = live->window.DeviceContext();
    EXPECT_EQ(View().AllocateBackingStore(kSide, kSide), S_OK);
    EXPECT_EQ(View().SaveBackingStore(deviceContext, GLContextMain, GL_BACK, 0, 0, kSide, kSide), S_OK);
    live->Clear();
    View().RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, kSide, kSide, 0, 0, kSide, kSide, false, false, false);
    EXPECT_EQ(live->At(10, 10), kGround);
}

TEST_P(RasterPixels, DriverWithoutRoomForSmallerLevelsIsToldOf) {
    const Bytes image(9 * 5, 128);
    driver.FailCall("glTexImage2D", 3, 1);
    EXPECT_EQ(Load(GL_LUMINANCE, 9, 5, image.data(), GL_LINEAR_MIPMAP_LINEAR), E_OUTOFMEMORY);
    EXPECT_EQ(texture, 0U);
    driver.FailCall("glTexImage2D", 1, 0);
    EXPECT_EQ(Load(GL_LUMINANCE, 9, 5, nullptr, GL_LINEAR_MIPMAP_LINEAR), S_OK);
    EXPECT_EQ(Load(GL_LUMINANCE, 9, 5, image.data(), GL_LINEAR_MIPMAP_LINEAR), S_OK) << "filled in place";
}

// A host that pans to and fro: with the order by use what it comes back to stays, otherwise what was read first goes.
TEST_P(RasterPixels, CacheOrderByUseKeepsWhatWasFoundLast) {
    const auto request = [&](const wchar_t* name) {
        GLTextureObject* entry = nullptr;
        return View().RequestTextureFromCache(name, 8, 8, 1, 4, 8, 8, 0, 0, 7, 7, 1.0, 0, 0, true, false, false, true,
                                              true, &entry);
    };
    const auto add = [&](const wchar_t* name) {
        EXPECT_FALSE(request(name));
        unsigned int made = 0;
        unsigned int madeSampler = 0;
        EXPECT_EQ(View().LoadGLImage(GL_TEXTURE0, GL_RGBA, 8, 8, 4, GL_NEAREST, nullptr, made, madeSampler), S_OK);
        EXPECT_EQ(View().AddRequestedTexture(made, madeSampler, nullptr), S_OK);
    };
    for (const bool byUse : {false, true}) {
        COpenGLView::SetTextureCacheOrder(byUse ? GLTextureCacheByUse : GLTextureCacheByAddition);
        for (const wchar_t* name : {L"first", L"second", L"third"}) {
            add(name);
        }
        EXPECT_TRUE(request(L"first"));
        EXPECT_EQ(View().LimitTextureCache(2 * 8 * 8 * 4), S_OK);
        EXPECT_EQ(request(L"first"), byUse);
        EXPECT_EQ(request(L"second"), !byUse);
        EXPECT_TRUE(request(L"third"));
        View().DeleteDisplayTextureCache();
    }
    COpenGLView::SetTextureCacheOrder(GLTextureCacheByAddition);
}

} // namespace
