#include "support/Picture.h"

#include <glm/geometric.hpp>
#include <glm/gtc/matrix_inverse.hpp>
#include <glm/gtc/matrix_transform.hpp>

#include <array>
#include <cmath>
#include <functional>

namespace {

constexpr int kPatches = 8; ///< along each side of the window
constexpr int kPatchPixels = 16;
constexpr int kSide = kPatches * kPatchPixels;

/// A camera, what a host does to the light, and the light that must come of it.
struct LitScene {
    const char* name;
    std::function<void(COpenGLView&)> set;
    glm::dvec3 towardsLight; ///< in eye coordinates
    glm::dmat4 camera{1.0};
    glm::dvec3 modelScale{1.0};
    double intensity = 4.0;
    double ambient = 0.2;
    glm::dvec3 lightColor{1.0};

    glm::dmat4 Modelview() const { return glm::scale(camera, modelScale); }
};

struct Patch {
    glm::dvec3 normal;
    Pixel color;
};

/// Normals all around, no two patches alike.
Patch PatchAt(int number) {
    const double z = 1.0 - 2.0 * (number + 0.5) / (kPatches * kPatches);
    const double turn = number * 2.399963;
    const double ring = std::sqrt(1.0 - z * z);
    const auto channel = [number](int step) { return static_cast<unsigned char>(number * step % 200 + 56); };
    return {{ring * std::cos(turn), ring * std::sin(turn), z}, {channel(37), channel(59), channel(83), 255}};
}

/// The formula of the header, worked out here.
Pixel Expected(const LitScene& scene, const Patch& patch) {
    const glm::dmat3 normalMatrix = glm::inverseTranspose(glm::dmat3(scene.Modelview()));
    const double facing =
        std::abs(glm::dot(glm::normalize(normalMatrix * patch.normal), glm::normalize(scene.towardsLight)));
    const glm::dvec3 light =
        scene.lightColor * (scene.ambient + (1.0 - scene.ambient) * facing * scene.intensity / 4.0);
    const auto shown = [](unsigned char color, double lit) {
        return static_cast<unsigned char>(std::lround(std::min(color * lit, 255.0)));
    };
    return {shown(patch.color.r, light.r), shown(patch.color.g, light.g), shown(patch.color.b, light.b), 255};
}

/// Patches that face the eye, whichever way the camera looks and whatever their normals say.
void DrawPatches(COpenGLView& view, const LitScene& scene) {
    const glm::dmat4 toModel = glm::inverse(scene.Modelview());
    view.EnableClientStateInternalBuffers(true, true, true, false, GLShaderShadedColor3Stage);
    view.BeginArrays(GL_TRIANGLES, GLShaderShadedColor3Stage);
    for (int number = 0; number < kPatches * kPatches; ++number) {
        const Patch patch = PatchAt(number);
        for (const auto& [right, up] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}}) {
            const glm::dvec4 place = toModel * glm::dvec4((number % kPatches + right) * kPatchPixels,
                                                          (number / kPatches + up) * kPatchPixels, -5.0, 1.0);
            view.AddIndex3DVertexNormalRGBA(place.x, place.y, place.z, patch.normal.x, patch.normal.y, patch.normal.z,
                                            patch.color.r, patch.color.g, patch.color.b, 255);
        }
    }
    view.EndArraysAndDisableClientState();
}

Picture DrawLit(const LitScene& scene) {
    LiveView live(kSide, kSide);
    live.Clear();
    scene.set(*live.view);
    live->SetUpLighting(true);
    // A first frame through another camera: the light must follow to the next.
    live->Rotate(40.0, 1.0, 2.0, 3.0);
    DrawPatches(*live.view, scene);
    live.Clear();
    live->MatrixMode(GL_PROJECTION);
    live->Ortho(0.0, kSide, 0.0, kSide, 0.0, 10.0);
    live->MatrixMode(GL_MODELVIEW);
    live->ReplaceCurrentMatrix(scene.Modelview());
    DrawPatches(*live.view, scene);
    live->SetUpLighting(false);
    EXPECT_EQ(live->GetError(), 0U);
    return TakePicture(*live.view, kSide, kSide);
}

class LitSurface : public FreshProcessTest, public testing::WithParamInterface<LitScene> {};

TEST_P(LitSurface, ShowsTheFormulaOnBothPipelines) {
    const LitScene& scene = GetParam();
    const Picture fixedFunctions = DrawLit(scene);
    ForgetFirstView();
    const auto first = ChoosePrograms();
    const Picture programs = DrawLit(scene);
    for (int number = 0; number < kPatches * kPatches; ++number) {
        const Patch patch = PatchAt(number);
        const int x = number % kPatches * kPatchPixels + kPatchPixels / 2;
        const int y = number / kPatches * kPatchPixels + kPatchPixels / 2;
        const Pixel expected = Expected(scene, patch);
        EXPECT_LE(LargestDifference(fixedFunctions.At(x, y), expected), 1)
            << number << fixedFunctions.At(x, y) << expected;
        EXPECT_LE(LargestDifference(programs.At(x, y), expected), 1) << number << programs.At(x, y) << expected;
        EXPECT_LE(LargestDifference(fixedFunctions.At(x, y), programs.At(x, y)), 1) << number;
    }
}

const double kHalf = std::sqrt(0.5);
/// Looks north from the south, z up: right is east, and the eye's z points south.
const glm::dmat4 kFromSouth = glm::lookAtRH(glm::dvec3(0.0, -20.0, 0.0), glm::dvec3(0.0), glm::dvec3(0.0, 0.0, 1.0));

GLLightParameters ColoredLight() {
    return {{0.0F, -3.0F, 3.0F, 7.0F}, {0.9F, 0.7F, 0.4F, 1.0F}, 7.0F, 0.35F};
}

void SunInTheEast(COpenGLView& view) {
    EXPECT_EQ(view.SetSun(90.0, 45.0), S_OK);
}

INSTANTIATE_TEST_SUITE_P(
    Scenes, LitSurface,
    testing::Values(LitScene{"Untouched", [](COpenGLView&) {}, {0.0, 0.0, 1.0}, kFromSouth},
                    LitScene{"SunFromAbove", SunInTheEast, {kHalf, 0.0, kHalf}},
                    LitScene{"SunFromTheSide", SunInTheEast, {kHalf, kHalf, 0.0}, kFromSouth},
                    LitScene{
                        "SunOverExaggeratedHeights", SunInTheEast, {kHalf, kHalf, 0.0}, kFromSouth, {1.0, 1.0, 4.0}},
                    LitScene{"NorthWestIsFartherRoundTheClock",
                             [](COpenGLView& view) { EXPECT_EQ(view.SetSun(-45.0 - 360.0, 0.0), S_OK); },
                             {-kHalf, kHalf, 0.0}},
                    LitScene{"ColoredAndStrong",
                             [](COpenGLView& view) { EXPECT_EQ(view.SetLightParameters(ColoredLight()), S_OK); },
                             {0.0, kHalf, kHalf},
                             kFromSouth,
                             glm::dvec3(1.0),
                             7.0,
                             0.35,
                             {0.9, 0.7, 0.4}},
                    LitScene{"HeadlightBeforeTheSun",
                             [](COpenGLView& view) {
                                 view.SetHeadlight(true);
                                 SunInTheEast(view);
                             },
                             {0.0, 0.0, 1.0},
                             kFromSouth},
                    LitScene{"SunAfterTheHeadlight",
                             [](COpenGLView& view) {
                                 SunInTheEast(view);
                                 view.SetHeadlight(true);
                                 view.SetHeadlight(false);
                             },
                             {kHalf, kHalf, 0.0},
                             kFromSouth},
                    LitScene{"PositionGivenAsToOpenGL",
                             [](COpenGLView& view) {
                                 SunInTheEast(view);
                                 const float position[] = {1.0F, 0.0F, 0.0F, 0.0F};
                                 view.Light(GL_LIGHT0, GL_POSITION, position);
                             },
                             {1.0, 0.0, 0.0},
                             kFromSouth},
                    LitScene{"PoppedWithTheAttributes",
                             [](COpenGLView& view) {
                                 SunInTheEast(view);
                                 view.PushAttributes(0, L"");
                                 view.SetHeadlight(true);
                                 view.SetSun(0.0, 0.0);
                                 view.PopAttributes(L"");
                             },
                             {kHalf, kHalf, 0.0},
                             kFromSouth}),
    [](const auto& scene) { return scene.param.name; });

using Light = FreshProcessTest;

TEST_F(Light, ImpossibleLightsChangeNothing) {
    COpenGLView view;
    const GLLightParameters light = ColoredLight();
    ASSERT_EQ(view.SetLightParameters(light), S_OK);
    const GLLightParameters kept = view.GetLightParameters();
    const float infinite = std::numeric_limits<float>::infinity();
    const auto refuses = [&](auto spoil) {
        GLLightParameters spoilt = light;
        spoil(spoilt);
        EXPECT_EQ(view.SetLightParameters(spoilt), E_INVALIDARG);
    };
    refuses([](GLLightParameters& spoilt) { spoilt.direction = {0.0F, 0.0F, 0.0F, 1.0F}; });
    refuses([&](GLLightParameters& spoilt) { spoilt.direction[1] = infinite; });
    refuses([&](GLLightParameters& spoilt) { spoilt.color[2] = std::nanf(""); });
    refuses([](GLLightParameters& spoilt) { spoilt.color[0] = -0.1F; });
    refuses([](GLLightParameters& spoilt) { spoilt.intensity = -1.0F; });
    refuses([](GLLightParameters& spoilt) { spoilt.ambientCoefficient = 1.1F; });
    EXPECT_EQ(view.SetSun(0.0, 90.1), E_INVALIDARG);
    EXPECT_EQ(view.SetSun(infinite, 10.0), E_INVALIDARG);
    EXPECT_EQ(view.SetSun(0.0, std::nan("")), E_INVALIDARG);
    EXPECT_EQ(view.GetLightParameters(), kept);
}

// What a dialog reads and sets again must be what it was, whichever way the light was given.
TEST_F(Light, DirectionIsTakenBackToTheModel) {
    COpenGLView view;
    view.MatrixMode(GL_MODELVIEW);
    view.ReplaceCurrentMatrix(glm::scale(kFromSouth, glm::dvec3(1.0, 1.0, 4.0)));
    const GLLightParameters fromTheEye = view.GetLightParameters();
    EXPECT_NEAR(fromTheEye.direction[1], -1.0F, 1e-6F);
    EXPECT_NEAR(fromTheEye.direction[2], 0.0F, 1e-6F);
    SunInTheEast(view);
    const GLLightParameters sun = view.GetLightParameters();
    EXPECT_NEAR(sun.direction[0], kHalf, 1e-6);
    EXPECT_NEAR(sun.direction[2], kHalf, 1e-6);
    EXPECT_EQ(view.SetLightParameters(sun), S_OK);
    EXPECT_EQ(view.GetLightParameters(), sun);
    view.SetHeadlight(true);
    view.InitializeDefaultLights(GLContextMain);
    EXPECT_EQ(view.GetContextRecord(GLContextMain).attributes.light, GLLightParameters{});
    EXPECT_FALSE(view.GetContextRecord(GLContextMain).attributes.headlight);
}

/// Everything of OpenGL's lighting that setting it up touches.
std::vector<float> LightingState() {
    std::vector<float> state;
    const auto add = [&state](auto ask, int count) {
        float values[4] = {};
        ask(values);
        state.insert(state.end(), values, values + count);
    };
    for (const GLenum capability : {GL_LIGHTING, GL_LIGHT0, GL_LIGHT1, GL_COLOR_MATERIAL, GL_NORMALIZE}) {
        state.push_back(glIsEnabled(capability) ? 1.0F : 0.0F);
    }
    for (const GLenum light : {GL_LIGHT0, GL_LIGHT1}) {
        for (const GLenum name : {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_POSITION}) {
            add([&](float* values) { glGetLightfv(light, name, values); }, 4);
        }
        add([&](float* values) { glGetLightfv(light, GL_SPOT_CUTOFF, values); }, 1);
    }
    for (const GLenum face : {GL_FRONT, GL_BACK}) {
        for (const GLenum name : {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION}) {
            add([&](float* values) { glGetMaterialfv(face, name, values); }, 4);
        }
    }
    add([](float* values) { glGetFloatv(GL_LIGHT_MODEL_AMBIENT, values); }, 4);
    for (const GLenum name : {GL_SHADE_MODEL, GL_COLOR_MATERIAL_FACE, GL_COLOR_MATERIAL_PARAMETER, GL_MATRIX_MODE,
                              GL_MODELVIEW_STACK_DEPTH}) {
        add([&](float* values) { glGetFloatv(name, values); }, 1);
    }
    float modelview[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, modelview);
    state.insert(state.end(), modelview, modelview + 16);
    return state;
}

// A host lights its own objects by OpenGL's means, and has a surface drawn in between.
TEST_F(Light, HostsLightingIsAsBeforeWhenTheLibrarysEnds) {
    LiveView live(kSide, kSide);
    live->Rotate(30.0, 1.0, 1.0, 0.0);
    live->MatrixMode(GL_PROJECTION);
    const float odd[] = {0.1F, 0.6F, 0.3F, 0.9F};
    const float cutoff = 30.0F;
    for (const GLenum name : {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_POSITION}) {
        glLightfv(GL_LIGHT1, name, odd);
    }
    glLightfv(GL_LIGHT0, GL_SPOT_CUTOFF, &cutoff);
    for (const GLenum name : {GL_AMBIENT, GL_SPECULAR, GL_EMISSION}) {
        glMaterialfv(GL_BACK, name, odd);
    }
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, odd);
    glColorMaterial(GL_FRONT, GL_EMISSION);
    live->Enable(GL_LIGHT1);
    const std::vector<float> before = LightingState();
    live->SetUpLighting(true);
    live->SetUpLighting(true);
    DrawPatches(*live.view, LitScene{});
    EXPECT_NE(LightingState(), before);
    live->SetUpLighting(false);
    EXPECT_EQ(LightingState(), before);
    EXPECT_EQ(live->IsOpenGLStateEnabled(GL_LIGHT1), 1);
    EXPECT_EQ(live->IsOpenGLStateEnabled(GL_LIGHTING), 0);
    live->SetUpLighting(false);
    EXPECT_EQ(LightingState(), before);
}

} // namespace
