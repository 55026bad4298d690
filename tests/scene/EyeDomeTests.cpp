#include "support/Picture.h"

#include <glm/gtc/matrix_transform.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr int kSide = 128;
/// The part of the window that the scene is in.
constexpr std::array<int, 4> kViewport = {17, 9, 90, 101};

/// Where the scene is looked at from, and how it is shaded.
struct ShadedScene {
    const char* name;
    glm::dmat4 projection;
    float strength;
    float radiusPixels;
};

/// Stairs that go away from the eye, and a pole in front of them.
void DrawStairs(COpenGLView& view) {
    std::vector<GLDrawGeometry> records;
    const auto add = [&](double left, double right, double low, double high, double lowZ, double highZ) {
        for (const auto& [x, y, z] : {std::array{left, low, lowZ},
                                      {right, low, lowZ},
                                      {right, high, highZ},
                                      {left, low, lowZ},
                                      {right, high, highZ},
                                      {left, high, highZ}}) {
            GLDrawGeometry record{};
            record.x = static_cast<float>(x);
            record.y = static_cast<float>(y);
            record.z = static_cast<float>(z);
            record.r = 240;
            record.g = 180;
            record.b = 100;
            record.a = 255;
            records.push_back(record);
        }
    };
    for (int step = 0; step < 6; ++step) {
        add(-3.0, 3.0, step - 3.0, step - 2.4, -9.0 - step, -9.0 - step);
        add(-3.0, 3.0, step - 2.4, step - 2.0, -9.0 - step, -10.0 - step);
    }
    add(0.2, 0.7, -4.0, 4.0, -8.0, -8.6);
    EXPECT_EQ(view.DrawGeometry3D(GL_TRIANGLES, GLShaderColorPassThrough, records.data(), records.size(), nullptr, 0),
              S_OK);
}

std::vector<float> DepthsOf(COpenGLView& view) {
    std::vector<float> depths(kSide * kSide);
    view.ReadPixels(0, 0, kSide, kSide, GL_DEPTH_COMPONENT, GL_FLOAT, depths.data());
    return depths;
}

/// The formula of the header, worked out here from the depths that the frame has.
class Shading {
public:
    Shading(const ShadedScene& scene, std::vector<float> depths)
        : m_scene(scene), m_toEye(glm::inverse(scene.projection)), m_depths(std::move(depths)) {}

    double At(int x, int y) const {
        if (!IsInside(x, y) || DepthAt(x, y) == 1.0F) {
            return 1.0;
        }
        const int radius = static_cast<int>(std::lround(m_scene.radiusPixels));
        const double across = std::max({LeadOf(x, y, x - radius, y), LeadOf(x, y, x + radius, y), 0.0});
        const double along = std::max({LeadOf(x, y, x, y - radius), LeadOf(x, y, x, y + radius), 0.0});
        return std::exp(-m_scene.strength * std::hypot(across, along) / m_scene.radiusPixels);
    }

private:
    static bool IsInside(int x, int y) {
        return x >= kViewport[0] && y >= kViewport[1] && x < kViewport[0] + kViewport[2] &&
               y < kViewport[1] + kViewport[3];
    }
    float DepthAt(int x, int y) const { return m_depths[static_cast<std::size_t>(y * kSide + x)]; }
    double DistanceAt(int x, int y) const {
        const glm::dvec4 eye = m_toEye * glm::dvec4(0.0, 0.0, 2.0 * DepthAt(x, y) - 1.0, 1.0);
        return -eye.z / eye.w;
    }
    double LeadOf(int x, int y, int neighbourX, int neighbourY) const {
        neighbourX = std::clamp(neighbourX, kViewport[0], kViewport[0] + kViewport[2] - 1);
        neighbourY = std::clamp(neighbourY, kViewport[1], kViewport[1] + kViewport[3] - 1);
        const double distance = DistanceAt(neighbourX, neighbourY);
        const glm::dvec4 low = m_toEye * (m_scene.projection * glm::dvec4(0.0, 0.0, -distance, 1.0));
        const glm::dvec4 clip = m_scene.projection * glm::dvec4(0.0, 1.0, low.z / low.w, 1.0);
        const double pixelSize = 2.0 / (clip.y / clip.w * kViewport[3]);
        return (DistanceAt(x, y) - distance) / pixelSize;
    }

    const ShadedScene& m_scene;
    glm::dmat4 m_toEye;
    std::vector<float> m_depths;
};

class EyeDome : public FreshProcessTest {
protected:
    std::unique_ptr<COpenGLView> first = ChoosePrograms();
    LiveView live{kSide, kSide};

    void DrawScene(const glm::dmat4& projection) {
        live->SetUpViewport(kViewport[0], kViewport[1], kViewport[2], kViewport[3]);
        live->MatrixMode(GL_PROJECTION);
        live->ReplaceCurrentMatrix(projection);
        live->MatrixMode(GL_MODELVIEW);
        live->Enable(GL_DEPTH_TEST);
        live.Clear(RGB(90, 80, 70));
        DrawStairs(*live.view);
    }
};

class EyeDomeScene : public EyeDome, public testing::WithParamInterface<ShadedScene> {};

TEST_P(EyeDomeScene, ShadesAsTheFormulaSays) {
    const ShadedScene& scene = GetParam();
    DrawScene(scene.projection);
    const Picture plain = TakePicture(*live.view, kSide, kSide);
    const std::vector<float> depths = DepthsOf(*live.view);
    const Shading shading(scene, depths);
    ASSERT_EQ(live->SetUpEyeDomeLighting(true, scene.strength, scene.radiusPixels), S_OK);
    ASSERT_TRUE(live->IsEyeDomeLightingAvailable());
    ASSERT_EQ(live->DrawEyeDomeLighting(), S_OK);
    const Picture shaded = TakePicture(*live.view, kSide, kSide);
    int dark = 0;
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            const Pixel& before = plain.At(x, y);
            const double shade = shading.At(x, y);
            const auto multiply = [shade](unsigned char channel) {
                return static_cast<unsigned char>(std::lround(channel * shade));
            };
            const Pixel expected{multiply(before.r), multiply(before.g), multiply(before.b), 255};
            ASSERT_LE(LargestDifference(shaded.At(x, y), expected), 1)
                << x << ' ' << y << shaded.At(x, y) << expected << before;
            dark += shade < 0.9 ? 1 : 0;
        }
    }
    EXPECT_GT(dark, 300);
    EXPECT_EQ(DepthsOf(*live.view), depths);
    EXPECT_EQ(live->GetError(), 0U);
}

const glm::dmat4 kParallel = glm::ortho(-4.0, 4.0, -4.0, 4.0, 1.0, 20.0);
const glm::dmat4 kPerspective = glm::perspective(0.8, 0.9, 4.0, 40.0);

INSTANTIATE_TEST_SUITE_P(Scenes, EyeDomeScene,
                         testing::Values(ShadedScene{"Parallel", kParallel, 0.2F, 1.0F},
                                         ShadedScene{"ParallelWide", kParallel, 0.3F, 3.6F},
                                         ShadedScene{"Perspective", kPerspective, 0.2F, 1.0F},
                                         ShadedScene{"PerspectiveWide", kPerspective, 0.5F, 2.2F},
                                         ShadedScene{"LargerThanTheViewport", kPerspective, 9.0F, 64.0F}),
                         [](const auto& scene) { return scene.param.name; });

// The stairs of a larger view, then of a smaller one: what the larger one left must not shade the edges.
TEST_F(EyeDome, SmallerViewportIsNotShadedByWhatALargerOneLeft) {
    const ShadedScene scene{"", kPerspective, 0.5F, 3.0F};
    live->SetUpEyeDomeLighting(true, scene.strength, scene.radiusPixels);
    live->Enable(GL_DEPTH_TEST);
    live.Clear();
    std::vector<GLDrawGeometry> nearest(3);
    nearest[1].x = kSide * 2.0F;
    nearest[2].y = kSide * 2.0F;
    live->DrawGeometry3D(GL_TRIANGLES, GLShaderColorPassThrough, nearest.data(), 3, nullptr, 0);
    EXPECT_EQ(live->DrawEyeDomeLighting(), S_OK);
    DrawScene(scene.projection);
    const Picture plain = TakePicture(*live.view, kSide, kSide);
    const Shading shading(scene, DepthsOf(*live.view));
    live->DrawEyeDomeLighting();
    const Picture shaded = TakePicture(*live.view, kSide, kSide);
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            ASSERT_NEAR(shaded.At(x, y).r, plain.At(x, y).r * shading.At(x, y), 1.0) << x << ' ' << y;
        }
    }
}

/// What a host may have set, as OpenGL and as the library tell it.
std::vector<GLint> ReportedState(const COrrinGLCement& gl) {
    std::vector<GLint> state;
    for (const GLenum name :
         {GL_BLEND, GL_DEPTH_TEST, GL_COLOR_LOGIC_OP, GL_CULL_FACE, GL_STENCIL_TEST, GL_SCISSOR_TEST,
          GL_DEPTH_WRITEMASK, GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA,
          GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA, GL_ACTIVE_TEXTURE, GL_CURRENT_PROGRAM, GL_DEPTH_FUNC,
          GL_DRAW_BUFFER, GL_UNPACK_ROW_LENGTH}) {
        gl.glGetIntegerv(name, &state.emplace_back());
    }
    for (const GLenum name : {GL_VIEWPORT, GL_POLYGON_MODE}) {
        GLint values[4] = {};
        gl.glGetIntegerv(name, values);
        state.insert(state.end(), values, values + 4);
    }
    for (const GLenum unit : {GL_TEXTURE1, GL_TEXTURE0}) {
        gl.glActiveTexture(unit);
        gl.glGetIntegerv(GL_TEXTURE_BINDING_2D, &state.emplace_back());
    }
    gl.glActiveTexture(static_cast<GLenum>(state[13]));
    return state;
}

// Whatever a host has set, the frame is shaded alike and the host finds what it had.
TEST_F(EyeDome, HostsStateChangesNothingAndComesBack) {
    const COrrinGLCement& gl = *live->GetContextRecord(GLContextMain).glCement;
    live->SetUpEyeDomeLighting(true, 0.4F, 1.0F);
    DrawScene(kPerspective);
    live->DrawEyeDomeLighting();
    const Picture wanted = TakePicture(*live.view, kSide, kSide);

    DrawScene(kPerspective);
    unsigned int texture = 0;
    gl.glActiveTexture(GL_TEXTURE0);
    gl.glGenTextures(1, &texture);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    gl.glActiveTexture(GL_TEXTURE1);
    live->PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    live->Enable(GL_BLEND);
    gl.glBlendFuncSeparate(GL_ONE, GL_ONE, GL_SRC_ALPHA, GL_DST_ALPHA);
    gl.glBlendEquation(GL_MAX);
    gl.glEnable(GL_CULL_FACE);
    gl.glCullFace(GL_FRONT_AND_BACK);
    live->Enable(GL_COLOR_LOGIC_OP);
    live->LogicOp(GL_INVERT);
    gl.glDepthFunc(GL_NEVER);
    gl.glPixelTransferf(GL_DEPTH_BIAS, 0.3F);
    const GLAttributes attributes = live->GetContextRecord(GLContextMain).attributes;
    const std::vector<GLint> before = ReportedState(gl);
    EXPECT_EQ(live->DrawEyeDomeLighting(), S_OK);
    EXPECT_EQ(ReportedState(gl), before);
    EXPECT_TRUE(live->GetContextRecord(GLContextMain).attributes == attributes);
    gl.glPixelTransferf(GL_DEPTH_BIAS, 0.0F);
    EXPECT_TRUE(TakePicture(*live.view, kSide, kSide).pixels == wanted.pixels);
    gl.glDeleteTextures(1, &texture);
    EXPECT_EQ(live->GetError(), 0U);
}

TEST_F(EyeDome, BadSettingsChangeNothing) {
    ASSERT_EQ(live->SetUpEyeDomeLighting(true, 0.4F, 2.0F), S_OK);
    EXPECT_EQ(live->SetUpEyeDomeLighting(false, -0.1F, 2.0F), E_INVALIDARG);
    EXPECT_EQ(live->SetUpEyeDomeLighting(false, std::nanf(""), 2.0F), E_INVALIDARG);
    EXPECT_EQ(live->SetUpEyeDomeLighting(false, 0.4F, 0.5F), E_INVALIDARG);
    EXPECT_EQ(live->SetUpEyeDomeLighting(false, 0.4F, 64.5F), E_INVALIDARG);
    EXPECT_EQ(live->SetUpEyeDomeLighting(false, 0.4F, std::nanf("")), E_INVALIDARG);
    const EyeDomeSettings& settings = live->GetContextRecord(GLContextMain).eyeDome;
    EXPECT_TRUE(settings.on);
    EXPECT_EQ(settings.strength, 0.4F);
    EXPECT_EQ(settings.radiusPixels, 2.0F);
    live->MakeNull();
    EXPECT_FALSE(live->IsEyeDomeLightingAvailable());
    EXPECT_EQ(live->DrawEyeDomeLighting(), S_OK);
    live->MakeCurrent(GLContextMain);
}

} // namespace
