#include "support/Picture.h"
#include "support/PipelineFixture.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kSide = 96;
constexpr Pixel kGround{40, 90, 200, 255};

/// What the four columns of the first image and the three rows of the second hold, opacity included.
constexpr Pixel kFirst[] = {{200, 100, 30, 255}, {10, 250, 120, 255}, {90, 90, 90, 128}, {255, 0, 60, 0}};
constexpr Pixel kSecond[] = {{255, 255, 255, 255}, {60, 120, 240, 255}, {200, 20, 90, 100}};

double Mix(double from, double to, double share) {
    return from + (to - from) * share;
}

/// A channel of what is expected where `first` lies under `second` over the ground.
int Expected(int first, int firstAlpha, int second, int secondAlpha, int ground, GLFusionMode mode, double amount,
             int transparency) {
    const double a = first / 255.0;
    const double b = second / 255.0;
    const double share = secondAlpha / 255.0 * std::clamp(amount, 0.0, 1.0);
    const double fused = mode == GLFusionBlend      ? Mix(a, b, share)
                         : mode == GLFusionMultiply ? a * Mix(1.0, b, share)
                                                    : std::min(a + b * share, 1.0);
    return static_cast<int>(std::lround(Mix(ground, fused * 255.0, firstAlpha / 255.0 * transparency / 255.0)));
}

class Fusion : public OnBothPipelines {
protected:
    Fusion() {
        live = std::make_unique<LiveView>(kSide, kSide);
        EXPECT_EQ(View().DrawsWithPrograms(), UsesPrograms());
        live->Clear(RGB(kGround.r, kGround.g, kGround.b));
    }
    ~Fusion() override {
        View().DeleteDisplayTextureCache();
        live.reset();
        EXPECT_EQ(driver.LeakReport(), "");
    }
    COpenGLView& View() const { return *live->view; }
    /// Puts an image into the cache; it is the requested texture then.
    void Request(const wchar_t* name, int width, int height, const Pixel* pixels) const {
        GLTextureObject* entry = nullptr;
        const auto request = [&] {
            return View().RequestTextureFromCache(name, width, height, 1, 4, width, height, 0, 0, width - 1, height - 1,
                                                  1.0, 0, 0, true, false, false, true, true, &entry);
        };
        if (request()) {
            return;
        }
        unsigned int texture = 0;
        unsigned int sampler = 0;
        EXPECT_EQ(View().LoadGLImage(GL_TEXTURE0, GL_RGBA, width, height, 4, GL_NEAREST, pixels, texture, sampler),
                  S_OK);
        View().AddRequestedTexture(texture, sampler, &entry);
        EXPECT_TRUE(request());
    }
    void MakeBothActive() const {
        Request(L"photo", 4, 1, kFirst);
        View().MakeRequestedTextureActive();
        Request(L"shade", 1, 3, kSecond);
        View().MakeFusionTextureActive();
    }
    long Draw(GLFusionMode mode, double amount, const GLTexCoords* second = nullptr) const {
        const PointXYZ corners[] = {{0, 0, 0}, {kSide, 0, 0}, {kSide, kSide, 0}, {0, kSide, 0}};
        return View().DrawFusionOnQuadrilateral(corners, nullptr, second, mode, amount);
    }
    /// The largest difference to what is expected; of opaque first images only, where asked.
    int LargestError(GLFusionMode mode, double amount, int transparency, bool opaqueOnly = false) const {
        const Picture frame = TakePicture(View(), kSide, kSide);
        int largest = 0;
        for (int column = 0; column < (opaqueOnly ? 2 : 4); ++column) {
            for (int row = 0; row < 3; ++row) {
                const Pixel& first = kFirst[column];
                const Pixel& second = kSecond[row];
                const auto channel = [&](int one, int other, int ground) {
                    return static_cast<unsigned char>(
                        Expected(one, first.a, other, second.a, ground, mode, amount, transparency));
                };
                const Pixel expected{channel(first.r, second.r, kGround.r), channel(first.g, second.g, kGround.g),
                                     channel(first.b, second.b, kGround.b), 255};
                largest = std::max(largest, LargestDifference(frame.At(column * 24 + 12, row * 32 + 16), expected));
            }
        }
        return largest;
    }

    std::unique_ptr<LiveView> live;
};

ORRIN_ON_BOTH_PIPELINES(Fusion);

constexpr GLFusionMode kModes[] = {GLFusionBlend, GLFusionMultiply, GLFusionAdd};

// A hillshade under a thinned satellite image with holes, over other layers: both pipelines show what the modes say.
TEST_P(Fusion, ShowsTheArithmeticOfItsMode) {
    MakeBothActive();
    for (const GLFusionMode mode : kModes) {
        for (const auto& [amount, transparency] :
             {std::pair{1.0, 255}, {0.6, 255}, {0.35, 140}, {0.0, 255}, {7.0, 200}, {-1.0, 255}, {std::nan(""), 90}}) {
            live->Clear(RGB(kGround.r, kGround.g, kGround.b));
            View().DrawSetupTextureTransparency(static_cast<unsigned char>(transparency));
            EXPECT_EQ(Draw(mode, amount), S_OK);
            EXPECT_LE(LargestError(mode, std::isnan(amount) ? 0.0 : amount, transparency), 1)
                << "mode " << mode << ", amount " << amount << ", transparency " << transparency;
        }
    }
}

// Software OpenGL has one unit.
TEST_P(Fusion, WithoutUnitsOpaqueImagesShowTheSame) {
    driver.SetIntegerAnswer(GL_MAX_TEXTURE_UNITS, 2);
    MakeBothActive();
    for (const GLFusionMode mode : kModes) {
        for (const double amount : {1.0, 0.6}) {
            live->Clear(RGB(kGround.r, kGround.g, kGround.b));
            EXPECT_EQ(Draw(mode, amount), S_OK);
            // A product with a second image that is not opaque needs a unit more.
            const int rows = mode == GLFusionMultiply && !UsesPrograms() ? 2 : 3;
            const Picture frame = TakePicture(View(), kSide, kSide);
            for (int row = 0; row < rows; ++row) {
                const int expected = Expected(kFirst[0].g, 255, kSecond[row].g, kSecond[row].a, 0, mode, amount, 255);
                EXPECT_NEAR(frame.At(12, row * 32 + 16).g, expected, 1) << "mode " << mode << ", row " << row;
            }
        }
    }
}

// The second raster has another scale and may be rotated against the first.
TEST_P(Fusion, SecondImageHasCoordinatesOfItsOwn) {
    MakeBothActive();
    const GLTexCoords upright[] = {{0.0, 0.9}, {1.0, 0.9}, {1.0, 0.7}, {0.0, 0.7}};
    EXPECT_EQ(Draw(GLFusionBlend, 1.0, upright), S_OK);
    const double share = kSecond[2].a / 255.0;
    EXPECT_NEAR(live->At(4, 4).r, Mix(kFirst[0].r, kSecond[2].r, share), 1.0) << "the third row only";
    EXPECT_NEAR(live->At(4, kSide - 4).r, Mix(kFirst[0].r, kSecond[2].r, share), 1.0);
}

TEST_P(Fusion, WithoutSecondImageTheFirstIsDrawnAlone) {
    EXPECT_EQ(Draw(GLFusionBlend, 1.0), E_INVALIDARG) << "no image at all";
    Request(L"photo", 4, 1, kFirst);
    View().MakeRequestedTextureActive();
    EXPECT_EQ(Draw(GLFusionBlend, 1.0), S_OK);
    EXPECT_LE(LargestError(GLFusionBlend, 0.0, 255), 1);

    MakeBothActive();
    EXPECT_NE(View().GetFusionTexture(), 0U);
    EXPECT_EQ(View().DeleteTextureFromCache(L"shade"), S_OK);
    EXPECT_EQ(View().GetFusionTexture(), 0U) << "what leaves the cache is drawn by nobody";
    live->Clear(RGB(kGround.r, kGround.g, kGround.b));
    EXPECT_EQ(Draw(GLFusionMultiply, 1.0), S_OK);
    EXPECT_LE(LargestError(GLFusionBlend, 0.0, 255), 1);

    MakeBothActive();
    GLTextureObject* entry = nullptr;
    EXPECT_FALSE(View().RequestTextureFromCache(L"none", 1, 1, 1, 4, 1, 1, 0, 0, 0, 0, 1.0, 0, 0, true, false, false,
                                                false, false, &entry));
    EXPECT_EQ(View().MakeFusionTextureActive(), E_INVALIDARG);
    EXPECT_EQ(View().GetFusionTexture(), 0U) << "and not the one of another place";
    bool flagA = false;
    bool flagB = false;
    View().GetLoadNewTextureFlag(flagA, flagB);
    EXPECT_TRUE(flagA && flagB);
    EXPECT_EQ(Draw(static_cast<GLFusionMode>(3), 1.0), E_INVALIDARG);
    EXPECT_EQ(View().DrawFusionOnQuadrilateral(nullptr, nullptr, nullptr, GLFusionBlend, 1.0), E_INVALIDARG);
    MakeBothActive();
    View().MakeNull();
    EXPECT_EQ(Draw(GLFusionAdd, 1.0), E_FAIL);
    View().MakeCurrent(GLContextMain);
}

// What a host has on its units, and a host that draws single images with the fusion program, see nothing of it.
TEST_P(Fusion, LeavesUnitsAndProgramAsTheyWere) {
    MakeBothActive();
    const COrrinGLCement& gl = *View().GetContextRecord(GLContextMain).glCement;
    unsigned int hosts[3] = {};
    glGenTextures(3, hosts);
    for (GLenum unit = 0; unit < 3; ++unit) {
        gl.glActiveTexture(GL_TEXTURE0 + unit);
        glBindTexture(GL_TEXTURE_2D, hosts[unit]);
        if (!UsesPrograms()) {
            glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_DECAL);
        }
    }
    const GLAttributes attributes = View().GetContextRecord(GLContextMain).attributes;
    EXPECT_EQ(Draw(GLFusionMultiply, 1.0), S_OK);
    EXPECT_EQ(View().GetContextRecord(GLContextMain).attributes, attributes);
    GLint value = 0;
    glGetIntegerv(GL_ACTIVE_TEXTURE, &value);
    EXPECT_EQ(value, GL_TEXTURE2);
    for (GLenum unit = 0; unit < 3; ++unit) {
        gl.glActiveTexture(GL_TEXTURE0 + unit);
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &value);
        EXPECT_EQ(value, static_cast<GLint>(hosts[unit])) << unit;
        if (!UsesPrograms()) {
            EXPECT_EQ(glIsEnabled(GL_TEXTURE_2D), GL_FALSE) << unit;
            glGetTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, &value);
            EXPECT_TRUE(value == GL_DECAL || unit == 0) << unit;
            gl.glClientActiveTexture(GL_TEXTURE0 + unit);
            EXPECT_EQ(glIsEnabled(GL_TEXTURE_COORD_ARRAY), GL_FALSE) << unit;
        }
    }
    if (!UsesPrograms()) {
        gl.glClientActiveTexture(GL_TEXTURE0);
    }
    gl.glActiveTexture(GL_TEXTURE0);
    glDeleteTextures(3, hosts);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));

    live->Clear(RGB(kGround.r, kGround.g, kGround.b));
    View().DrawSetupSetShaderTexture(View().GetActiveTexture(), 0);
    View().EnableClientStateInternalBuffers(true, false, true, true, GLShaderTextureDecalFusion);
    View().BeginArrays(GL_TRIANGLES, GLShaderTextureDecalFusion);
    for (const auto& [x, y] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}}) {
        View().AddTextureDataCurrentIndex(x, y);
        View().AddIndex3DVertexRGBA(x * kSide, y * kSide, 0.0, 255, 255, 255, 255);
    }
    View().EndArraysAndDisableClientState();
    EXPECT_LE(LargestDifference(live->At(4, 4), kFirst[0]), 1) << "a single image";
}

// Tiles of two layers in one frame, between batches of a host that share draws, and in two windows that take turns.
TEST_P(Fusion, TakesTurnsWithOtherDrawing) {
    MakeBothActive();
    LiveView second(kSide, kSide);
    second.Clear();
    second->MakeCurrent(GLContextMain);
    View().MakeCurrent(GLContextMain);
    for (const GLFusionMode mode : {GLFusionAdd, GLFusionMultiply}) {
        View().MakeCurrent(GLContextMain);
        live->Clear(RGB(kGround.r, kGround.g, kGround.b));
        {
            const SharedDraws shared(View());
            DrawSquare(View(), kRed, 8.0);
            EXPECT_EQ(Draw(mode, 0.6), S_OK);
            DrawSquare(View(), kGreen);
        }
        EXPECT_EQ(live->At(4, 4), kGreen);
        EXPECT_LE(LargestError(mode, 0.6, 255), 1) << "over the square that came before it";
        second->MakeCurrent(GLContextMain);
        ExpectDraws(*second.view, kBlue);
    }
    View().MakeCurrent(GLContextMain);
}

} // namespace
