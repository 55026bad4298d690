#include "support/Picture.h"

#include <cmath>

namespace {

constexpr int kSide = 160;
constexpr int kTexel = 8; ///< pixels that a texel of a drawn image takes
constexpr Pixel kGround{20, 40, 60, 255};

using Bytes = std::vector<unsigned char>;

/// Runs with each of the two pipelines in force.
class ImageFrames : public FreshProcessTest {
protected:
    template <typename Draw> Picture DrawWith(bool programs, Draw draw) {
        ForgetFirstView();
        const auto first = programs ? ChoosePrograms() : nullptr;
        LiveView live(kSide, kSide);
        EXPECT_EQ(live->IsCurrentContextOpenGL4OrLater(), programs);
        live.Clear(RGB(kGround.r, kGround.g, kGround.b));
        draw(*live.view);
        EXPECT_EQ(live->GetError(), 0U);
        return TakePicture(*live.view, kSide, kSide);
    }
};

struct FormatCase {
    const char* name;
    unsigned int format;
    int bytesPerPixel;
    int rowAlignment;
    unsigned char transparency;
    /// What a pixel's bytes mean.
    Pixel (*color)(const unsigned char* bytes);
};

class ImageFormats : public ImageFrames, public testing::WithParamInterface<FormatCase> {
protected:
    /// An image whose pixels and channels all differ, its row padding filled with what must never be seen.
    static Bytes Image(const FormatCase& test, int width, int height) {
        const int alignment = test.rowAlignment;
        const int rowBytes = (width * test.bytesPerPixel + alignment - 1) / alignment * alignment;
        Bytes bytes(static_cast<std::size_t>(rowBytes * height), 0xEE);
        for (int y = 0; y < height; ++y) {
            for (int byte = 0; byte < width * test.bytesPerPixel; ++byte) {
                bytes[static_cast<std::size_t>(y * rowBytes + byte)] =
                    static_cast<unsigned char>(60 + y * 45 + byte * 9);
            }
        }
        return bytes;
    }
    static Pixel Blended(Pixel color, unsigned char transparency) {
        const double alpha = color.a / 255.0 * transparency / 255.0;
        const auto mix = [alpha](int image, int ground) {
            return static_cast<unsigned char>(std::lround(image * alpha + ground * (1.0 - alpha)));
        };
        return {mix(color.r, kGround.r), mix(color.g, kGround.g), mix(color.b, kGround.b), 255};
    }
};

TEST_P(ImageFormats, ShowEachPixelAtItsPlace) {
    const FormatCase& test = GetParam();
    constexpr int height = 3;
    for (const bool programs : {false, true}) {
        const Picture frame = DrawWith(programs, [&](COpenGLView& view) {
            view.DrawSetupTextureTransparency(test.transparency);
            for (int width = 1, x = 0; width <= 5; x += width++ + 1) {
                const Bytes image = Image(test, width, height);
                EXPECT_EQ(view.DrawImage(x * kTexel, kTexel, (x + width) * kTexel, (1 + height) * kTexel, 0.0,
                                         test.format, width, height, test.rowAlignment, GL_NEAREST, image.data()),
                          S_OK);
            }
        });
        for (int width = 1, x = 0; width <= 5; x += width++ + 1) {
            const Bytes image = Image(test, width, height);
            const std::size_t rowBytes = image.size() / height;
            for (int row = 0; row < height; ++row) {
                for (int column = 0; column < width; ++column) {
                    const unsigned char* bytes =
                        image.data() + static_cast<std::size_t>(row) * rowBytes + column * test.bytesPerPixel;
                    const Pixel expected = Blended(test.color(bytes), test.transparency);
                    for (const int corner : {0, kTexel - 1}) {
                        const Pixel drawn =
                            frame.At((x + column) * kTexel + corner, (1 + row) * kTexel + kTexel - 1 - corner);
                        EXPECT_LE(LargestDifference(drawn, expected), 1)
                            << drawn << " instead of " << expected << ", width " << width << ", programs " << programs;
                    }
                }
            }
            EXPECT_EQ(frame.At((x + width) * kTexel, kTexel), kGround);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ImageFormats,
                         testing::Values(FormatCase{"Rgb", GL_RGB, 3, 1, 255,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[0], b[1], b[2], 255};
                                                    }},
                                         FormatCase{"RgbAligned", GL_RGB, 3, 4, 255,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[0], b[1], b[2], 255};
                                                    }},
                                         FormatCase{"RgbThin", GL_RGB, 3, 1, 100,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[0], b[1], b[2], 255};
                                                    }},
                                         FormatCase{"Rgba", GL_RGBA, 4, 8, 255,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[0], b[1], b[2], b[3]};
                                                    }},
                                         FormatCase{"RgbaThin", GL_RGBA, 4, 1, 77,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[0], b[1], b[2], b[3]};
                                                    }},
                                         FormatCase{"Bgr", GL_BGR_EXT, 3, 4, 255,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[2], b[1], b[0], 255};
                                                    }},
                                         FormatCase{"Bgra", GL_BGRA_EXT, 4, 4, 255,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[2], b[1], b[0], b[3]};
                                                    }},
                                         FormatCase{"Luminance", GL_LUMINANCE, 1, 1, 255,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[0], b[0], b[0], 255};
                                                    }},
                                         FormatCase{"LuminanceAligned", GL_LUMINANCE, 1, 8, 255,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[0], b[0], b[0], 255};
                                                    }},
                                         FormatCase{"LuminanceAlpha", GL_LUMINANCE_ALPHA, 2, 2, 255,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[0], b[0], b[0], b[1]};
                                                    }},
                                         FormatCase{"Alpha", GL_ALPHA, 1, 2, 255,
                                                    [](const unsigned char* b) {
                                                        return Pixel{255, 255, 255, b[0]};
                                                    }},
                                         FormatCase{"Red", GL_RED, 1, 4, 255,
                                                    [](const unsigned char* b) {
                                                        return Pixel{b[0], 0, 0, 255};
                                                    }}),
                         [](const auto& test) { return test.param.name; });

// Smoothed images go on with their outermost pixels: no seam of another colour around them.
TEST_F(ImageFrames, SmoothImageEndsInItsOutermostPixels) {
    const unsigned char image[] = {200, 0, 0, 0, 0, 100};
    for (const bool programs : {false, true}) {
        const Picture frame = DrawWith(programs, [&](COpenGLView& view) {
            EXPECT_EQ(view.DrawImage(10, 10, 138, 74, 0.0, GL_RGB, 2, 1, 1, GL_LINEAR, image), S_OK);
        });
        EXPECT_EQ(frame.At(10, 10), (Pixel{200, 0, 0, 255}));
        EXPECT_EQ(frame.At(40, 73), (Pixel{200, 0, 0, 255}));
        EXPECT_EQ(frame.At(137, 73), (Pixel{0, 0, 100, 255}));
        EXPECT_LE(LargestDifference(frame.At(74, 40), {100, 0, 50, 255}), 2);
        EXPECT_EQ(frame.At(138, 40), kGround);
    }
}

struct NoDataCase {
    const char* name;
    bool apply, transparent;
    Pixel shown; ///< where the image has no data
};

class NoData : public ImageFrames, public testing::WithParamInterface<NoDataCase> {};

// The image is grey: what counts is the colour that it shows, whatever its format.
TEST_P(NoData, ShowsWhatWasChosen) {
    const unsigned char image[] = {9, 8, 9, 10};
    for (const bool programs : {false, true}) {
        const Picture frame = DrawWith(programs, [&](COpenGLView& view) {
            view.DrawSetupNoDataColor({9, 9, 9}, {250, 150, 50});
            view.DrawSetupApplyNoDataColor(GetParam().apply);
            view.DrawSetupNoDataIsTransparent(GetParam().transparent);
            EXPECT_EQ(view.DrawImage(0, 0, 64, 16, 0.0, GL_LUMINANCE, 4, 1, 1, GL_NEAREST, image), S_OK);
            unsigned int texture = 0;
            unsigned int sampler = 0;
            EXPECT_EQ(view.LoadRasterImage(GL_LUMINANCE, 4, 1, 1, GL_NEAREST, image, texture, sampler), S_OK);
            const PointXYZ corners[] = {{0, 32, 0}, {64, 32, 0}, {64, 48, 0}, {0, 48, 0}};
            EXPECT_EQ(view.DrawTexturedQuadrilateral(texture, sampler, corners, nullptr), S_OK);
            view.DeleteTextureAndSamplerNames(texture, sampler);
        });
        for (const int y : {8, 40}) {
            EXPECT_EQ(frame.At(8, y), GetParam().shown);
            EXPECT_EQ(frame.At(24, y), (Pixel{8, 8, 8, 255}));
            EXPECT_EQ(frame.At(40, y), GetParam().shown);
            EXPECT_EQ(frame.At(56, y), (Pixel{10, 10, 10, 255}));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Choices, NoData,
                         testing::Values(NoDataCase{"Transparent", true, true, kGround},
                                         NoDataCase{"Painted", true, false, {250, 150, 50, 255}},
                                         NoDataCase{"AsItIs", false, true, {9, 9, 9, 255}}),
                         [](const auto& test) { return test.param.name; });

// Black no-data around bright terrain: smoothing must not draw a dark rim between the two.
TEST_F(ImageFrames, SmoothedNoDataHasNoFringe) {
    unsigned char image[8 * 3] = {};
    std::fill(image + 4 * 3, image + 8 * 3, static_cast<unsigned char>(250));
    const Picture frame = DrawWith(true, [&](COpenGLView& view) {
        view.SetBackgroundColor(RGB(250, 250, 250), true);
        view.DrawSetupNoDataColor({0, 0, 0}, {0, 0, 0});
        EXPECT_EQ(view.DrawImage(0, 0, 128, 16, 0.0, GL_RGB, 8, 1, 1, GL_LINEAR, image), S_OK);
    });
    EXPECT_EQ(frame.CountDrawn({250, 250, 250, 255}), 0);
}

// Corners and texture coordinates belong together in the order given, and an image may stand on its head.
TEST_F(ImageFrames, CornersKeepTheirOrder) {
    const unsigned char image[] = {200, 0, 0, 0, 200, 0, 0, 0, 200, 200, 200, 0}; // lower row: red, green
    constexpr Pixel red{200, 0, 0, 255}, green{0, 200, 0, 255}, blue{0, 0, 200, 255}, yellow{200, 200, 0, 255};
    for (const bool programs : {false, true}) {
        const Picture frame = DrawWith(programs, [&](COpenGLView& view) {
            unsigned int texture = 0;
            unsigned int sampler = 0;
            ASSERT_EQ(view.LoadGLImage(GL_TEXTURE0, GL_RGB, 2, 2, 1, GL_NEAREST, image, texture, sampler), S_OK);
            const PointXYZ rotated[] = {{32, 0, 0}, {32, 32, 0}, {0, 32, 0}, {0, 0, 0}};
            EXPECT_EQ(view.DrawTexturedQuadrilateral(texture, sampler, rotated, nullptr), S_OK);
            const PointXYZ upright[] = {{40, 0, 0}, {72, 0, 0}, {72, 32, 0}, {40, 32, 0}};
            const GLTexCoords rightHalf[] = {{0.5, 0}, {1, 0}, {1, 1}, {0.5, 1}};
            EXPECT_EQ(view.DrawTexturedQuadrilateral(texture, sampler, upright, rightHalf), S_OK);
            EXPECT_EQ(view.DrawImage(80, 32, 112, 0, 0.0, GL_RGB, 2, 2, 1, GL_NEAREST, image), S_OK);
            EXPECT_EQ(view.Draw2DTextureOnQuadrilateral(upright, nullptr), E_INVALIDARG) << "none is active";
            EXPECT_EQ(view.DrawTexturedQuadrilateral(texture, sampler, nullptr, nullptr), E_INVALIDARG);
            view.DeleteTextureAndSamplerNames(texture, sampler);
        });
        const auto quarters = [&](int x) {
            return std::vector<Pixel>{frame.At(x + 8, 8), frame.At(x + 24, 8), frame.At(x + 8, 24),
                                      frame.At(x + 24, 24)};
        };
        EXPECT_EQ(quarters(0), (std::vector{blue, red, yellow, green}));
        EXPECT_EQ(quarters(40), (std::vector{green, green, yellow, yellow}));
        EXPECT_EQ(quarters(80), (std::vector{blue, yellow, red, green}));
    }
}

// Map coordinates have more digits than a float: far from the origin an image must not shake or tear.
TEST_F(ImageFrames, NationalGridCoordinatesGiveTheSameFrame) {
    Bytes image(32 * 32);
    for (std::size_t index = 0; index < image.size(); ++index) {
        image[index] = static_cast<unsigned char>(index * 37);
    }
    const auto draw = [&](double x, double y) {
        return [&image, x, y](COpenGLView& view) {
            view.MatrixMode(GL_PROJECTION);
            view.Ortho(x, x + kSide / 64.0, y, y + kSide / 64.0, -1.0, 1.0);
            view.MatrixMode(GL_MODELVIEW);
            EXPECT_EQ(view.DrawImage(x + 0.21, y + 0.29, x + 2.21, y + 2.29, 0.0, GL_LUMINANCE, 32, 32, 1, GL_NEAREST,
                                     image.data()),
                      S_OK);
        };
    };
    for (const bool programs : {false, true}) {
        const Picture atOrigin = DrawWith(programs, draw(0.0, 0.0));
        const Picture onGrid = DrawWith(programs, draw(500'000.0, 4'500'000.0));
        EXPECT_GT(atOrigin.CountDrawn(kGround), 16'000);
        EXPECT_EQ(Compare(atOrigin, onGrid, 0).otherPixels, 0) << "programs " << programs;
    }
}

} // namespace
