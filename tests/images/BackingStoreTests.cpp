#include "support/Picture.h"
#include "support/TextSink.h"

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

#include <array>
#include <climits>
#include <map>

namespace {

constexpr int kSide = 160;

/// Both pipelines; the host's code is the same.
class BackingStore : public FreshProcessTest, public testing::WithParamInterface<bool> {
protected:
    BackingStore() : m_first(GetParam() ? ChoosePrograms() : nullptr), live(kSide, kSide) {}

    static void Draw(COpenGLView& view, unsigned int seed, double depth) {
        view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        view.BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (int corner = 0; corner < 90; ++corner) {
            seed = seed * 1664525U + 1013904223U;
            view.AddIndex3DVertexRGBA(seed % 173 - 6.0, seed / 173 % 171 - 5.0,
                                      depth * static_cast<double>(seed % 31) / 31.0,
                                      static_cast<unsigned char>(seed >> 8), static_cast<unsigned char>(seed >> 16),
                                      static_cast<unsigned char>(seed >> 24), 255);
        }
        view.EndArraysAndDisableClientState();
    }
    long Save(int x = 0, int y = 0, int width = kSide, int height = kSide) {
        return live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, x, y, width, height);
    }
    void Restore(bool clear = false, bool depth = true, unsigned int format = GL_RGBA, unsigned long bytes = 0) {
        live->RestoreBackingStore(format, bytes, 0.0F, 0.0F, 0, 0, kSide, kSide, 0, 0, kSide, kSide, clear, depth,
                                  false);
    }
    Picture Look() { return TakePicture(*live.view, kSide, kSide); }
    std::vector<float> Depths() {
        std::vector<float> depths(static_cast<std::size_t>(kSide * kSide));
        live->ReadPixels(0, 0, kSide, kSide, GL_DEPTH_COMPONENT, GL_FLOAT, depths.data());
        return depths;
    }
    static float LargestDifference(const std::vector<float>& left, const std::vector<float>& right) {
        float largest = 0.0F;
        for (std::size_t pixel = 0; pixel < left.size(); ++pixel) {
            largest = std::max(largest, std::abs(left[pixel] - right[pixel]));
        }
        return largest;
    }

private:
    std::unique_ptr<COpenGLView> m_first;

protected:
    LiveView live;
};

// A rubber band: the scene comes back to the pixel, however often, and what hides is still hidden.
TEST_P(BackingStore, SceneComesBackUnderEachOverlay) {
    live.Clear(RGB(20, 30, 40));
    live->Enable(GL_DEPTH_TEST);
    Draw(*live.view, 1, 0.9);
    const Picture scene = Look();
    const std::vector<float> depths = Depths();
    ASSERT_EQ(Save(), S_OK);
    EXPECT_EQ(Look().pixels, scene.pixels) << "saving changes nothing on the screen";
    for (unsigned int overlay = 2; overlay < 6; ++overlay) {
        live->Disable(GL_DEPTH_TEST);
        Draw(*live.view, overlay, 0.0);
        EXPECT_NE(Look().pixels, scene.pixels);
        live->SetBackgroundColor(RGB(9, 9, 9), overlay % 2 == 0);
        live->Enable(GL_DEPTH_TEST);
        Restore();
        EXPECT_EQ(Look().pixels, scene.pixels);
        if (GetParam()) {
            EXPECT_EQ(LargestDifference(Depths(), depths), 0.0F);
        }
    }
    EXPECT_EQ(live->GetError(), 0U);
}

TEST_P(BackingStore, DepthsStayAsTheyAreWhenNotAskedFor) {
    live.Clear();
    live->Enable(GL_DEPTH_TEST);
    Draw(*live.view, 1, 0.9);
    ASSERT_EQ(Save(), S_OK);
    live.Clear();
    Restore(false, false);
    EXPECT_EQ(Depths(), std::vector<float>(static_cast<std::size_t>(kSide * kSide), 1.0F));
}

struct Part {
    const char* name;
    float rasterX, rasterY;
    std::array<int, 4> rectangle; ///< of the frame: x, y, width, height
    std::array<int, 4> window{0, 0, kSide, kSide};
};

constexpr Part kParts[] = {
    {"Whole", 30.0F, 20.0F, {0, 0, 100, 90}},
    {"Inner", 41.0F, 22.0F, {7, 11, 50, 40}},
    {"BetweenPixels", 40.4F, 21.6F, {7, 11, 50, 40}},
    {"OverTheFramesEdges", 50.0F, 50.0F, {-10, 60, 500, 500}},
    {"OverTheWindowsLowerLeft", -20.0F, -7.0F, {0, 0, 100, 90}},
    {"OverTheWindowsUpperRight", 100.0F, 120.0F, {0, 0, 100, 90}},
    {"PartOfTheWindow", 30.0F, 20.0F, {0, 0, 100, 90}, {50, 40, 33, 27}},
    {"Beside", 300.0F, 20.0F, {0, 0, 100, 90}},
    {"FarAway", 3e38F, -3e38F, {0, 0, 100, 90}},
    {"HugeRectangle", 0.0F, 0.0F, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {INT_MAX, INT_MAX, INT_MAX, INT_MAX}},
    {"Nowhere", std::numeric_limits<float>::quiet_NaN(), 0.0F, {0, 0, 100, 90}},
    {"Reversed", 30.0F, 20.0F, {0, 0, -100, 90}},
};

// Worked out pixel by pixel: no part may be off by one, torn, or written where it does not belong.
TEST_P(BackingStore, PartsGoWhereTheyAreSent) {
    live.Clear(RGB(20, 30, 40));
    Draw(*live.view, 1, 0.0);
    const Picture scene = Look();
    constexpr int frameX = 25;
    constexpr int frameY = 33;
    constexpr int frameWidth = 101;
    constexpr int frameHeight = 90;
    ASSERT_EQ(Save(frameX, frameY, frameWidth, frameHeight), S_OK);
    for (const Part& part : kParts) {
        SCOPED_TRACE(part.name);
        live.Clear(RGB(1, 2, 3));
        Picture wanted = Look();
        const auto [x, y, width, height] = part.rectangle;
        const auto [windowX, windowY, windowWidth, windowHeight] = part.window;
        for (int row = 0; row < kSide; ++row) {
            for (int column = 0; column < kSide; ++column) {
                const double sourceX = column - std::round(static_cast<double>(part.rasterX)) + x;
                const double sourceY = row - std::round(static_cast<double>(part.rasterY)) + y;
                const bool inFrame = sourceX >= 0 && sourceX < frameWidth && sourceY >= 0 && sourceY < frameHeight;
                const bool inRectangle =
                    sourceX >= x && sourceX < 0.0 + x + width && sourceY >= y && sourceY < 0.0 + y + height;
                const bool inWindow = column >= windowX && column < 0.0 + windowX + windowWidth && row >= windowY &&
                                      row < 0.0 + windowY + windowHeight;
                if (inFrame && inRectangle && inWindow) {
                    wanted.pixels[static_cast<std::size_t>(row * kSide + column)] =
                        scene.At(frameX + static_cast<int>(sourceX), frameY + static_cast<int>(sourceY));
                }
            }
        }
        live->RestoreBackingStore(GL_RGBA, 0, part.rasterX, part.rasterY, x, y, width, height, windowX, windowY,
                                  windowWidth, windowHeight, false, false, false);
        EXPECT_EQ(Look().pixels, wanted.pixels);
    }
    EXPECT_EQ(live->GetError(), 0U);
}

/// What OpenGL says of the state that a frame's way back goes through.
std::map<unsigned int, std::array<double, 16>> ReportedState(bool programs) {
    std::vector<unsigned int> names{GL_BLEND,
                                    GL_COLOR_LOGIC_OP,
                                    GL_DEPTH_TEST,
                                    GL_SCISSOR_TEST,
                                    GL_CULL_FACE,
                                    GL_STENCIL_TEST,
                                    GL_VIEWPORT,
                                    GL_BLEND_SRC,
                                    GL_BLEND_DST,
                                    GL_LOGIC_OP_MODE,
                                    GL_READ_BUFFER,
                                    GL_DRAW_BUFFER,
                                    GL_DEPTH_FUNC,
                                    GL_DEPTH_WRITEMASK,
                                    GL_POLYGON_MODE,
                                    GL_TEXTURE_BINDING_2D,
                                    GL_PACK_ROW_LENGTH,
                                    GL_PACK_ALIGNMENT,
                                    GL_UNPACK_ROW_LENGTH,
                                    GL_UNPACK_ALIGNMENT,
                                    GL_UNPACK_SKIP_ROWS,
                                    GL_ACTIVE_TEXTURE};
    if (!programs) {
        names.insert(names.end(), {GL_TEXTURE_2D, GL_PROJECTION_MATRIX, GL_MODELVIEW_MATRIX, GL_MATRIX_MODE,
                                   GL_CURRENT_RASTER_POSITION, GL_CURRENT_COLOR, GL_ZOOM_X, GL_ZOOM_Y});
    }
    std::map<unsigned int, std::array<double, 16>> reported;
    for (const unsigned int name : names) {
        glGetDoublev(name, reported[name].data());
    }
    return reported;
}

TEST_P(BackingStore, StateIsAsBefore) {
    live.Clear();
    Draw(*live.view, 1, 0.0);
    live->Enable(GL_BLEND);
    live->BlendFunc(GL_SRC_ALPHA, GL_ONE);
    live->Enable(GL_COLOR_LOGIC_OP);
    live->LogicOp(GL_XOR);
    live->Enable(GL_SCISSOR_TEST);
    live->Enable(GL_DEPTH_TEST);
    live->Enable(GL_CULL_FACE);
    live->PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    live->SetUpViewport(3, 4, 50, 60);
    live->Color(11, 22, 33, 44);
    live->RasterPosition(5.0, 6.0, 0.0);
    live->MatrixMode(GL_PROJECTION);
    live->Ortho(-1.0, 2.0, -3.0, 4.0, -5.0, 6.0);
    live->MatrixMode(GL_MODELVIEW);
    live->Translate(0.1, 0.2, 0.3);
    live->MatrixMode(GL_PROJECTION);
    live->ReadBuffer(GL_FRONT);
    live->DrawBuffer(GL_FRONT);
    live->PixelStore(GL_PACK_ALIGNMENT, 8);
    live->PixelStore(GL_UNPACK_SKIP_ROWS, 2);
    glScissor(2, 3, 40, 50);
    glCullFace(GL_FRONT_AND_BACK);
    glDepthFunc(GL_GREATER);
    glDepthMask(GL_FALSE);
    unsigned int texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    if (!GetParam()) {
        live->Enable(GL_TEXTURE_2D);
        glPixelZoom(2.0F, 3.0F);
    }
    const GLAttributes cached = live->GetContextRecord(GLContextMain).attributes;
    const glm::dmat4 projection = live->GetMatrix(GL_PROJECTION);
    const glm::dmat4 modelview = live->GetMatrix(GL_MODELVIEW);
    const glm::dvec4 viewport = live->GetViewport();
    const auto reported = ReportedState(GetParam());
    ASSERT_EQ(live->GetError(), 0U);

    const auto expectAsBefore = [&](const char* after) {
        SCOPED_TRACE(after);
        EXPECT_EQ(live->GetContextRecord(GLContextMain).attributes, cached);
        EXPECT_EQ(live->GetMatrix(GL_PROJECTION), projection);
        EXPECT_EQ(live->GetMatrix(GL_MODELVIEW), modelview);
        EXPECT_EQ(live->GetViewport(), viewport);
        EXPECT_EQ(ReportedState(GetParam()), reported);
        EXPECT_EQ(live->GetError(), 0U);
    };
    ASSERT_EQ(live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, kSide, kSide), S_OK);
    expectAsBefore("save");
    const Picture scene = Look();
    live->ReadBuffer(cached.readBuffer);
    for (const bool clear : {false, true}) {
        Restore(clear);
        expectAsBefore(clear ? "restore after a clear" : "restore");
    }
    EXPECT_EQ(Look().pixels, scene.pixels) << "none of it kept the frame from coming back";
    glDeleteTextures(1, &texture);
}

// An old frame on a new window would show the wrong place.
TEST_P(BackingStore, FrameThatFitsNoMoreStaysAway) {
    const auto isLeftOut = [&](const char* why, auto&& restore) {
        SCOPED_TRACE(why);
        live.Clear(RGB(5, 6, 7));
        restore();
        EXPECT_EQ(Look().CountDrawn({5, 6, 7, 255}), 0);
        EXPECT_EQ(live->GetError(), 0U);
    };
    const auto save = [&] {
        live.Clear(RGB(90, 80, 70));
        ASSERT_EQ(Save(), S_OK);
    };
    isLeftOut("nothing saved", [&] { Restore(); });
    save();
    isLeftOut("another format", [&] { Restore(false, true, GL_RGB); });
    isLeftOut("another size", [&] { Restore(false, true, GL_RGBA, kSide * kSide * 4 - 4); });
    Restore(false, true, GL_RGBA, kSide * kSide * 4);
    EXPECT_EQ(live.At(80, 80), (Pixel{90, 80, 70, 255}));
    SetWindowPos(live.window.Window(), nullptr, 0, 0, kSide + 20, kSide, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    isLeftOut("another window size", [&] { Restore(); });
    SetWindowPos(live.window.Window(), nullptr, 0, 0, kSide, kSide, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    Restore();
    EXPECT_EQ(live.At(80, 80), (Pixel{90, 80, 70, 255})) << "the window is what it was";
    live->SetBackgroundColor(RGB(5, 6, 7), false);
    isLeftOut("another format, but cleared", [&] { Restore(true, true, GL_RGB); });
    live->DeleteBackingStore();
    isLeftOut("deleted", [&] { Restore(); });
    save();
    live->AllocateBackingStore(2000, 1500);
    isLeftOut("the store grew", [&] { Restore(); });
    save();
    live->RecreateContext(true, live.window.DeviceContext(), L"again");
    live.DrawInPixels();
    isLeftOut("another context", [&] { Restore(); });
    save();
    Restore();
    EXPECT_EQ(live.At(80, 80), (Pixel{90, 80, 70, 255}));
    live->MakeNull();
    Restore(true);
}

TEST_P(BackingStore, SavingAsksForASizeAndAContext) {
    live.Clear(RGB(90, 80, 70));
    EXPECT_EQ(Save(0, 0, 0, kSide), S_OK);
    EXPECT_EQ(Save(0, 0, kSide, 0), S_OK);
    EXPECT_EQ(Save(0, 0, -1, kSide), E_INVALIDARG);
    EXPECT_EQ(Save(0, 0, kSide, INT_MIN), E_INVALIDARG);
    EXPECT_EQ(live->GetRGBABackingStore(), nullptr);
    EXPECT_EQ(live->SaveBackingStore(live.window.DeviceContext(), GLContextLegacy, GL_FRONT, 0, 0, 5, 5), E_FAIL);
    EXPECT_EQ(live->GetCurrentContextType(), GLContextMain);
    ASSERT_EQ(Save(), S_OK);
    const unsigned char* pixel = live->GetRGBABackingStore();
    EXPECT_EQ((Pixel{pixel[0], pixel[1], pixel[2], 255}), (Pixel{90, 80, 70, 255}));
}

// The labels are what a support engineer reads first.
TEST_P(BackingStore, RestoreTellsItsSteps) {
    live.Clear();
    ASSERT_EQ(Save(), S_OK);
    const auto sink = std::make_shared<TextSink>();
    auto logger = std::make_shared<spdlog::logger>("OrrinLogger", sink);
    logger->set_level(spdlog::level::trace);
    COpenGLView::RegisterLogger(logger);
    Restore(true);
    spdlog::drop("OrrinLogger");
    const std::vector<std::string>& labels = sink->texts;
    const auto count = [&](const char* label) { return std::count(labels.begin(), labels.end(), label); };
    EXPECT_EQ(labels.front(), "RestoreBackingStore");
    EXPECT_EQ(labels.back(), "RestoreBackingStore: END");
    EXPECT_EQ(count("glDrawBuffer: END"), 1);
    EXPECT_EQ(count("Clear: END:  glClear()"), 1);
    EXPECT_EQ(count("glDisable: END"), 6);
    EXPECT_EQ(count("glFlush: END"), 1);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, BackingStore, testing::Bool(),
                         [](const auto& programs) { return programs.param ? "Programs" : "FixedFunctions"; });

using BackingStoreMemory = FreshProcessTest;

TEST_F(BackingStoreMemory, SizesGrowAndNeverShrink) {
    const auto view = std::make_unique<COpenGLView>();
    const struct {
        int width, height;
        unsigned __int64 bytes;
    } steps[] = {{800, 600, 1024ULL * 768 * 4},  {-5, -6, 1024ULL * 768 * 4},   {1024, 768, 1024ULL * 768 * 4},
                 {1030, 768, 1032ULL * 768 * 4}, {100, 100, 1032ULL * 768 * 4}, {100, 1000, 1024ULL * 1000 * 4},
                 {1281, 721, 1024ULL * 1000 * 4}};
    for (const auto& step : steps) {
        SCOPED_TRACE(step.width);
        unsigned char* const before = view->GetRGBABackingStore();
        const bool grows = step.bytes > view->GetRGBABackingStoreSizeInBytes();
        if (!grows) {
            before[17] = 99;
        }
        ASSERT_EQ(view->AllocateBackingStore(step.width, step.height), S_OK);
        EXPECT_EQ(view->GetRGBABackingStoreSizeInBytes(), step.bytes);
        EXPECT_EQ(view->GetRGBABackingStore()[17], grows ? 0 : 99);
        EXPECT_EQ(view->GetRGBABackingStore()[step.bytes - 1], 0);
    }
    EXPECT_EQ(view->AllocateBackingStore(INT_MAX, INT_MAX), E_OUTOFMEMORY);
    EXPECT_EQ(view->GetRGBABackingStore(), nullptr);
    EXPECT_EQ(view->GetRGBABackingStoreSizeInBytes(), 0U);
    EXPECT_EQ(view->AllocateBackingStore(10, 10), S_OK) << "after a failure there is room for what is sensible";
    view->DeleteBackingStore();
    EXPECT_EQ(view->GetRGBABackingStore(), nullptr);
}

// A copy shows the source's pixels; whatever it does with its store, the source keeps them.
TEST_F(BackingStoreMemory, CopiesLeaveTheSourceItsPixels) {
    const auto source = std::make_unique<COpenGLView>();
    ASSERT_EQ(source->AllocateBackingStore(10, 10), S_OK);
    unsigned char* const pixels = source->GetRGBABackingStore();
    pixels[5] = 77;
    {
        const auto copy = std::make_unique<COpenGLView>(*source);
        EXPECT_EQ(copy->GetRGBABackingStore(), pixels);
        ASSERT_EQ(copy->AllocateBackingStore(10, 10), S_OK);
        EXPECT_NE(copy->GetRGBABackingStore(), pixels);
        const auto assigned = std::make_unique<COpenGLView>();
        ASSERT_EQ(assigned->AllocateBackingStore(20, 20), S_OK);
        *assigned = *source;
        assigned->DeleteBackingStore();
        *assigned = *copy;
        ASSERT_EQ(assigned->AllocateBackingStore(3000, 2000), S_OK);
    }
    EXPECT_EQ(source->GetRGBABackingStore(), pixels);
    EXPECT_EQ(pixels[5], 77);
}

} // namespace
