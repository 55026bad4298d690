#include "support/Loggers.h"
#include "support/Picture.h"
#include "support/RecordedFixture.h"

#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <sstream>

#include <GL/glext.h>

namespace {

/// A view on either pipeline; nothing may be left behind.
class ImageUpload : public RecordedTest {
protected:
    ~ImageUpload() override {
        live.reset();
        EXPECT_EQ(driver.LeakReport(), "");
    }
    void Open(bool programs) {
        live.reset();
        ForgetFirstView();
        driver.SetVersionText(programs ? kVersionOfPrograms : kVersionOfFixedFunctions);
        live = std::make_unique<LiveView>(96, 96);
        EXPECT_EQ((*live)->IsCurrentContextOpenGL4OrLater(), programs);
    }
    COpenGLView& View() const { return *live->view; }
    long Load(unsigned int format, int width, int height, const void* bytes, int rowAlignment = 1) {
        return View().LoadGLImage(GL_TEXTURE0, format, width, height, rowAlignment, GL_LINEAR, bytes, texture, sampler);
    }
    void Delete() { View().DeleteTextureAndSamplerNames(texture, sampler); }
    std::uint32_t Names() const {
        return driver.LiveObjects(DriverObject::Texture) + driver.LiveObjects(DriverObject::Sampler);
    }

    std::unique_ptr<LiveView> live;
    unsigned int texture = 0;
    unsigned int sampler = 0;
    std::vector<unsigned char> pixels = std::vector<unsigned char>(64 * 64 * 4, 128);
};

TEST_F(ImageUpload, SameSizeIsFilledInPlace) {
    for (const bool programs : {false, true}) {
        Open(programs);
        driver.JournalOnly({"glGen*", "glTex*Image2D"});
        driver.StartJournal();
        const std::pair<int, int> sizes[] = {{8, 8}, {8, 8}, {8, 8}, {9, 8}};
        for (int load = 0; load < 4; ++load) {
            EXPECT_EQ(Load(GL_RGBA, sizes[load].first, sizes[load].second, load == 1 ? nullptr : pixels.data()), S_OK);
        }
        EXPECT_EQ(Load(GL_RGB, 9, 8, pixels.data()), S_OK);
        driver.StopJournal();
        std::string order;
        for (const DriverCall& call : driver.Journal()) {
            order += call.function + " ";
        }
        EXPECT_EQ(order, std::string("glGenTextures ") + (programs ? "glGenSamplers " : "") +
                             "glTexImage2D glTexSubImage2D glTexImage2D glTexImage2D ")
            << "null leaves the contents as they are, another size or format is made anew";
        EXPECT_EQ(sampler != 0, programs);
        Delete();
        EXPECT_EQ(Names(), 0U);
    }
}

// A depth image comes back from the texture as the same floats: a stored frame's depths must not drift.
TEST_F(ImageUpload, DepthsKeepTheirValuesOnAnyUnit) {
    Open(true);
    const std::vector<float> depths = {0.0F, 0.1F, 0.123456789F, 0.5F, 0.99999994F, 1.0F};
    EXPECT_EQ(View().LoadGLImage(GL_TEXTURE1, GL_DEPTH_COMPONENT, 3, 2, 4, GL_NEAREST, depths.data(), texture, sampler),
              S_OK);
    GLint unit = 0;
    glGetIntegerv(GL_ACTIVE_TEXTURE, &unit);
    EXPECT_EQ(unit, GL_TEXTURE0);
    GLint bound = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    EXPECT_EQ(bound, 0) << "unit 0 is not touched";
    std::vector<float> kept(6);
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_DEPTH_COMPONENT, GL_FLOAT, kept.data());
    EXPECT_EQ(kept, depths);
    Delete();
}

// Images loaded between a host's own uploads: its settings are not disturbed, and do not disturb.
TEST_F(ImageUpload, PixelStoreIsTheHostsAgain) {
    Open(false);
    const std::pair<GLenum, GLint> hosts[] = {
        {GL_UNPACK_ALIGNMENT, 8}, {GL_UNPACK_ROW_LENGTH, 77}, {GL_UNPACK_SKIP_ROWS, 5}, {GL_UNPACK_SKIP_PIXELS, 3}};
    for (const auto& [name, value] : hosts) {
        View().PixelStore(name, value);
    }
    const unsigned char rows[] = {1, 2, 3, 99, 4, 5, 6, 99};
    EXPECT_EQ(Load(GL_LUMINANCE, 3, 2, rows, 4), S_OK);
    for (const auto& [name, value] : hosts) {
        GLint now = 0;
        glGetIntegerv(name, &now);
        EXPECT_EQ(now, value);
    }
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    std::vector<unsigned char> kept(6);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, kept.data());
    EXPECT_EQ(kept, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
    Delete();
}

struct Refusal {
    const char* name;
    unsigned int unit, format;
    int width, height, rowAlignment;
    unsigned int filter;
    const char* trace; ///< the whole trace
};

class RefusedImages : public ImageUpload, public testing::WithParamInterface<Refusal> {};

TEST_P(RefusedImages, LeaveNothingBehind) {
    Open(true);
    driver.SetIntegerAnswer(GL_MAX_TEXTURE_SIZE, 64);
    std::ostringstream trace;
    const auto sink = std::make_shared<spdlog::sinks::ostream_sink_mt>(trace);
    const auto logger = std::make_shared<spdlog::logger>("OrrinLogger", sink);
    logger->set_level(spdlog::level::trace);
    logger->set_pattern("%v");
    COpenGLView::RegisterLogger(logger);
    const Refusal& image = GetParam();
    EXPECT_EQ(View().LoadGLImage(image.unit, image.format, image.width, image.height, image.rowAlignment, image.filter,
                                 pixels.data(), texture, sampler),
              E_INVALIDARG);
    DropLogger();
    std::string text = trace.str();
    std::erase(text, '\r');
    EXPECT_EQ(text, image.trace);
    EXPECT_EQ(Names(), 0U);
    EXPECT_EQ(texture, 0U);
}

constexpr const char* kTooBig = "Warning: OpenGL texture capability error. Texture too big\n";

INSTANTIATE_TEST_SUITE_P(
    Kinds, RefusedImages,
    testing::Values(Refusal{"NoWidth", GL_TEXTURE0, GL_RGB, 0, 8, 1, GL_LINEAR, ""},
                    Refusal{"NegativeHeight", GL_TEXTURE0, GL_RGB, 8, -8, 1, GL_LINEAR, ""},
                    Refusal{"TooWide", GL_TEXTURE0, GL_RGB, 65, 8, 1, GL_LINEAR, kTooBig},
                    Refusal{"TooHigh", GL_TEXTURE0, GL_RGBA, 1, 2'147'483'647, 1, GL_LINEAR, kTooBig},
                    Refusal{"Alignment", GL_TEXTURE0, GL_RGB, 8, 8, 3, GL_LINEAR, ""},
                    Refusal{"NoAlignment", GL_TEXTURE0, GL_RGB, 8, 8, 0, GL_LINEAR, ""},
                    Refusal{"Format", GL_TEXTURE0, GL_COLOR_INDEX, 8, 8, 1, GL_LINEAR, ""},
                    Refusal{"Filter", GL_TEXTURE0, GL_RGB, 8, 8, 1, GL_LINEAR_MIPMAP_NEAREST, ""},
                    Refusal{"LevelsOfDepths", GL_TEXTURE0, GL_DEPTH_COMPONENT, 8, 8, 1, GL_LINEAR_MIPMAP_LINEAR, ""},
                    Refusal{"Unit", 0, GL_RGB, 8, 8, 1, GL_LINEAR, ""},
                    Refusal{"UnitThatIsNone", GL_TEXTURE0 + 5000, GL_RGB, 8, 8, 1, GL_LINEAR, ""}),
    [](const auto& test) { return test.param.name; });

TEST_F(ImageUpload, DriverWithoutMemoryIsToldAndLeavesNothing) {
    for (const bool programs : {false, true}) {
        Open(programs);
        for (const char* function : {"glGenTextures", "glTexImage2D", "glGenSamplers"}) {
            driver.FailCall(function);
            const bool fails = programs || std::string(function) != "glGenSamplers";
            EXPECT_EQ(Load(GL_RGB, 5, 5, pixels.data()), fails ? E_OUTOFMEMORY : S_OK) << function;
            driver.FailCall(function, 1, 0);
            Delete();
            EXPECT_EQ(Names(), 0U) << function;
        }
        driver.FailCall("glTexImage2D", 2, 1);
        EXPECT_EQ(Load(GL_RGB, 5, 5, pixels.data()), S_OK);
        const unsigned int before = texture;
        EXPECT_EQ(Load(GL_RGB, 6, 5, pixels.data()), E_OUTOFMEMORY);
        EXPECT_EQ(texture, before) << "the host's own texture stays the host's";
        EXPECT_EQ(View().DrawImage(0, 0, 9, 9, 0, GL_RGB, 5, 5, 1, GL_NEAREST, nullptr), E_INVALIDARG);
        Delete();
        View().MakeNull();
        EXPECT_EQ(Load(GL_RGB, 5, 5, pixels.data()), E_FAIL);
        EXPECT_EQ(View().DrawImage(0, 0, 9, 9, 0, GL_RGB, 5, 5, 1, GL_NEAREST, pixels.data()), E_FAIL);
        View().MakeCurrent(GLContextMain);
    }
}

// What a host has set up for its own drawing is there after an image, and core drivers get nothing of fixed functions.
TEST_F(ImageUpload, DrawingLeavesTheStateAsItWas) {
    for (const bool programs : {false, true}) {
        Open(programs);
        if (programs) {
            driver.ForbidFixedFunction(0, true);
        } else {
            View().Enable(GL_LIGHTING);
        }
        View().BlendFunc(GL_ONE, GL_ONE);
        View().PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
        View().DrawSetupSetShaderTexture(0, 0);
        View().MatrixMode(GL_MODELVIEW);
        View().Translate(1.0, 2.0, 0.0);
        View().MatrixMode(GL_PROJECTION);
        const GLAttributes attributes = View().GetContextRecord(GLContextMain).attributes;
        const glm::dmat4 projection = View().GetMatrix(GL_PROJECTION);
        const glm::dmat4 modelview = View().GetMatrix(GL_MODELVIEW);
        live->Clear();
        EXPECT_EQ(View().DrawImage(10, 10, 40, 40, 0, GL_RGB, 5, 5, 1, GL_NEAREST, pixels.data()), S_OK);
        EXPECT_EQ(live->At(30, 30), (Pixel{128, 128, 128, 255})) << "filled and unlit";
        EXPECT_EQ(View().GetContextRecord(GLContextMain).attributes, attributes);
        EXPECT_EQ(View().GetMatrix(GL_PROJECTION), projection);
        EXPECT_EQ(View().GetMatrix(GL_MODELVIEW), modelview);
        EXPECT_EQ(glIsEnabled(GL_BLEND), GL_FALSE);
        GLint values[2] = {};
        glGetIntegerv(GL_BLEND_SRC, values);
        EXPECT_EQ(values[0], GL_ONE);
        glGetIntegerv(GL_POLYGON_MODE, values);
        if (!programs) {
            EXPECT_EQ(values[0], GL_LINE);
            EXPECT_EQ(glIsEnabled(GL_TEXTURE_2D), GL_FALSE);
            EXPECT_EQ(glIsEnabled(GL_LIGHTING), GL_TRUE);
        }
        EXPECT_EQ(Names(), 0U);
        driver.ForbidFixedFunction(0, false);
    }
}

struct TileCase {
    const char* name;
    unsigned int filter;
    bool noData;
    int limit;
    bool oldDriver = false; ///< one that knows sides of powers of two only
};

class Tiles : public ImageUpload, public testing::WithParamInterface<TileCase> {
protected:
    Picture Draw(int limit) {
        if (limit != 0) {
            driver.SetIntegerAnswer(GL_MAX_TEXTURE_SIZE, limit);
        }
        live->Clear(RGB(90, 20, 50));
        View().LoadIdentity();
        View().Translate(18.3, -12.2, 0.0);
        View().Rotate(17.0, 0.0, 0.0, 1.0);
        if (GetParam().noData) {
            View().DrawSetupNoDataColor({0, 0, 0}, {0, 0, 0});
        }
        EXPECT_EQ(View().DrawImage(0, 0, 87.5, 83.5, 0, GL_RGB, 39, 35, 2, GetParam().filter, image.data()), S_OK);
        return TakePicture(View(), 96, 96);
    }
    std::vector<unsigned char> image = [] {
        std::vector<unsigned char> bytes(118 * 35);
        for (std::size_t index = 0; index < bytes.size(); ++index) {
            bytes[index] = index / 9 % 5 == 0 ? 0 : static_cast<unsigned char>(index * 31 % 251);
        }
        return bytes;
    }();
};

TEST_P(Tiles, GiveTheFrameOfOneTexture) {
    for (const bool programs : {false, true}) {
        if (programs && GetParam().oldDriver) {
            continue;
        }
        Open(programs);
        const Picture whole = Draw(0);
        if (GetParam().oldDriver) {
            driver.HideEntryPoint("glCreateShader");
            View().MakeGLCementAndLoad(GLContextMain);
        }
        driver.StartJournal();
        const Picture tiled = Draw(GetParam().limit);
        driver.StopJournal();
        for (const DriverCall& call : driver.Journal("glTexImage2D")) {
            EXPECT_LE(call.Integer(3), GetParam().limit);
            const auto isPower = [](std::int64_t side) { return (side & (side - 1)) == 0; };
            EXPECT_TRUE(!GetParam().oldDriver || (isPower(call.Integer(3)) && isPower(call.Integer(4))));
        }
        EXPECT_GT(driver.Journal("glTexImage2D").size() + driver.Journal("glTexSubImage2D").size(), 3U);
        EXPECT_GT(whole.CountDrawn({90, 20, 50, 255}), 5'000);
        // A texel's border or the image's edge may lie on a pixel's centre and fall to either side, and smoothing
        // rounds the place within a texel. Seams would show in hundreds of pixels.
        const bool nearest = GetParam().filter == GL_NEAREST;
        EXPECT_LE(Compare(whole, tiled, nearest ? 0 : 8).otherPixels, nearest ? 8 : 2) << "programs " << programs;
        driver.Reset();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Limits, Tiles,
    testing::Values(TileCase{"Nearest", GL_NEAREST, false, 16}, TileCase{"Smooth", GL_LINEAR, false, 16},
                    TileCase{"SmoothSmall", GL_LINEAR, false, 4}, TileCase{"SmoothNoData", GL_LINEAR, true, 16},
                    TileCase{"OneOver", GL_LINEAR, false, 34}, TileCase{"OldDriver", GL_LINEAR, true, 16, true}),
    [](const auto& test) { return test.param.name; });

} // namespace
