#include "support/Picture.h"

#include <cmath>
#include <filesystem>
#include <fstream>

namespace {

constexpr int kSide = 256;
constexpr double kTau = 6.283185307179586;

/// A colour step of 2 in 255: the pipelines round the interpolated colour at different places.
constexpr int kAllowedStep = 2;
/// Share of the drawn pixels that may lie one pixel aside: the programs get one matrix, multiplied in double precision
/// and then rounded, the fixed functions get two that are rounded first. A corner or an edge that falls between two
/// pixel centres to within that rounding may go to either.
constexpr double kAllowedAside = 0.01;

struct Scene {
    const char* name;
    void (*draw)(COpenGLView& view);
    double allowedAside = kAllowedAside;
    int allowedStep = kAllowedStep;
};

/// Numbers that look random and are the same in every run.
class Numbers {
public:
    double Between(double low, double high) {
        m_state = m_state * 1664525U + 1013904223U;
        return low + (high - low) * (m_state >> 8) / 16777216.0;
    }
    unsigned char Channel() { return static_cast<unsigned char>(Between(60.0, 255.0)); }

private:
    std::uint32_t m_state = 7;
};

void Open(COpenGLView& view, unsigned int mode, GLShaderTypes shader) {
    view.EnableClientStateInternalBuffers(true, true, true, false, shader);
    view.BeginArrays(mode, shader);
}

void Scatter(COpenGLView& view, unsigned int mode, GLShaderTypes shader, int count) {
    Numbers numbers;
    Open(view, mode, shader);
    for (int index = 0; index < count; ++index) {
        const double x = numbers.Between(-10.0, kSide + 10.0);
        const double y = numbers.Between(-10.0, kSide + 10.0);
        view.AddIndex2DVertexRGBA(x, y, numbers.Channel(), numbers.Channel(), numbers.Channel(), 255);
    }
    view.EndArraysAndDisableClientState();
}

template <int Size> void DrawPoints(COpenGLView& view) {
    view.PointSize(static_cast<float>(Size));
    Scatter(view, GL_POINTS, GLShaderPoint, 600);
}

template <int Width> void DrawLines(COpenGLView& view) {
    view.LineWidth(static_cast<float>(Width));
    Scatter(view, GL_LINES, GLShaderLine, 120);
}

void DrawContours(COpenGLView& view) {
    view.LineWidth(1.0F);
    Scatter(view, GL_LINE_STRIP, GLShaderLineContour, 100);
}

// Lines along the pixel rows, columns and diagonals, where both pipelines count the pattern's pixels alike.
void DrawStippledLines(COpenGLView& view) {
    view.LineWidth(1.0F);
    view.LineStipple(3, 0x0F35);
    view.LineStippleOnOff(true);
    Open(view, GL_LINES, GLShaderLineStipple);
    for (int index = 0; index < 20; ++index) {
        const double place = 10.5 + index * 12;
        view.AddIndex2DVertexRGBA(4.5, place, 255, 255, 0, 255);
        view.AddIndex2DVertexRGBA(250.5 - index, place, 255, 255, 0, 255);
        view.AddIndex2DVertexRGBA(place, 4.5, 0, 255, 255, 255);
        view.AddIndex2DVertexRGBA(place, 250.5 - index, 0, 255, 255, 255);
    }
    view.EndArraysAndDisableClientState();
    view.LineStippleOnOff(false);
}

void DrawLongLoop(COpenGLView& view) {
    constexpr int count = 70'000;
    view.LineWidth(1.0F);
    Open(view, GL_LINE_LOOP, GLShaderLine);
    for (int index = 0; index < count; ++index) {
        const double angle = kTau * index / count;
        const double radius = 100.0 + 20.0 * std::sin(9.0 * angle);
        view.AddIndex2DVertexRGBA(128.0 + radius * std::cos(angle), 128.0 + radius * std::sin(angle), 255, 255, 255,
                                  255);
    }
    view.EndArraysAndDisableClientState();
}

void DrawTriangles(COpenGLView& view) {
    Scatter(view, GL_TRIANGLES, GLShaderColorPassThrough, 45);
}

// More than one batch, and the ring wraps around: small triangles on a grid.
void DrawManyTriangles(COpenGLView& view) {
    Numbers numbers;
    Open(view, GL_TRIANGLES, GLShaderColorPassThrough);
    for (int repeat = 0; repeat < 4; ++repeat) {
        for (int index = 0; index < 128 * 128; ++index) {
            const double x = (index % 128) * 2.0;
            const double y = index / 128 * 2.0;
            const unsigned char r = numbers.Channel();
            view.AddIndex2DVertexRGBA(x, y, r, 90, 60, 255);
            view.AddIndex2DVertexRGBA(x + 2.0, y, r, 90, 60, 255);
            view.AddIndex2DVertexRGBA(x, y + 2.0, r, 90, 60, 255);
        }
    }
    view.EndArraysAndDisableClientState();
}

void DrawStripAndFan(COpenGLView& view) {
    Open(view, GL_TRIANGLE_STRIP, GLShaderColorPassThrough);
    for (int index = 0; index < 40; ++index) {
        view.AddIndex2DVertexRGBA(5.3 + index * 6.0, index % 2 == 0 ? 20.2 : 90.7,
                                  static_cast<unsigned char>(index * 6), 200, 30, 255);
    }
    view.EndArrays();
    view.BeginArrays(GL_TRIANGLE_FAN, GLShaderColorPassThrough);
    view.AddIndex2DVertexRGBA(128.0, 180.0, 255, 255, 255, 255);
    for (int index = 0; index <= 24; ++index) {
        const double angle = kTau * index / 24;
        view.AddIndex2DVertexRGBA(128.0 + 70.0 * std::cos(angle), 180.0 + 60.0 * std::sin(angle), 20,
                                  static_cast<unsigned char>(index * 10), 250, 255);
    }
    view.EndArraysAndDisableClientState();
}

void DrawWireframe(COpenGLView& view) {
    view.PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    view.LineWidth(1.0F);
    Scatter(view, GL_TRIANGLES, GLShaderColorPassThrough, 30);
    view.PolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

/// Lights of the fixed functions that give what the lit programs do: two that shine against each other, because a
/// program lights both sides, and the ambient part shared between them.
void LightFixedFunctions(COpenGLView& view) {
    if (view.IsCurrentContextOpenGL4OrLater()) {
        return;
    }
    const float none[] = {0.0F, 0.0F, 0.0F, 1.0F};
    const float ambient[] = {0.1F, 0.1F, 0.1F, 1.0F};
    const float diffuse[] = {0.8F, 0.8F, 0.8F, 1.0F};
    const float ahead[] = {0.0F, 0.0F, 1.0F, 0.0F};
    const float behind[] = {0.0F, 0.0F, -1.0F, 0.0F};
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, none);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    for (const unsigned int light : {GL_LIGHT0, GL_LIGHT1}) {
        view.Light(light, GL_AMBIENT, ambient);
        view.Light(light, GL_DIFFUSE, diffuse);
        view.Light(light, GL_SPECULAR, none);
        view.Light(light, GL_POSITION, light == GL_LIGHT0 ? ahead : behind);
        view.Enable(light);
    }
    view.Enable(GL_LIGHTING);
    view.Enable(GL_COLOR_MATERIAL);
    view.Enable(GL_NORMALIZE);
    view.ShadeModel(GL_SMOOTH);
}

// A dome of triangles with a normal at each vertex, half of them turned away from the eye.
void DrawLitTriangles(COpenGLView& view) {
    LightFixedFunctions(view);
    Open(view, GL_TRIANGLES, GLShaderShadedColor3Stage);
    constexpr int slices = 24;
    const auto add = [&](int ring, int slice, double side) {
        const double tilt = kTau / 4 * ring / 6;
        const double turn = kTau * slice / slices;
        const double nx = std::sin(tilt) * std::cos(turn);
        const double ny = std::sin(tilt) * std::sin(turn);
        view.AddIndex3DVertexNormalRGBA(128.0 + 110.0 * nx, 128.0 + 110.0 * ny, 0.0, nx * side, ny * side,
                                        std::cos(tilt) * side, 250, 180, 90, 255);
    };
    for (int ring = 0; ring < 6; ++ring) {
        for (int slice = 0; slice < slices; ++slice) {
            const double side = slice % 2 == 0 ? 1.0 : -1.0;
            for (const auto& [up, along] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}}) {
                add(ring + up, slice + along, side);
            }
        }
    }
    view.EndArraysAndDisableClientState();
    view.DisableLightsAndTextures();
}

/// A chequered picture as a texture, put at every textured draw until the end of its scope.
class Chequers {
public:
    explicit Chequers(COpenGLView& view) : m_view(view) {
        constexpr int texels = 16;
        std::vector<unsigned char> image;
        for (int y = 0; y < texels; ++y) {
            for (int x = 0; x < texels; ++x) {
                image.insert(image.end(), {static_cast<unsigned char>(x * 16), static_cast<unsigned char>(y * 16),
                                           static_cast<unsigned char>((x + y) % 2 * 200 + 40), 255});
            }
        }
        glGenTextures(1, &m_texture);
        glBindTexture(GL_TEXTURE_2D, m_texture);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, texels, texels, 0, GL_RGBA, GL_UNSIGNED_BYTE, image.data());
        view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        view.DrawSetupSetShaderTexture(m_texture, 0);
    }
    ~Chequers() {
        m_view.Disable(GL_TEXTURE_2D);
        m_view.DrawSetupSetShaderTexture(0, 0);
        glDeleteTextures(1, &m_texture);
    }

private:
    COpenGLView& m_view;
    unsigned int m_texture = 0;
};

constexpr std::pair<int, int> kQuadCorners[] = {{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}};

void DrawTexturedQuads(COpenGLView& view) {
    const Chequers chequers(view);
    view.EnableClientStateInternalBuffers(true, false, true, true, GLShaderTextureDecal);
    view.BeginArrays(GL_TRIANGLES, GLShaderTextureDecal);
    for (int quad = 0; quad < 9; ++quad) {
        const double x = 6.0 + quad % 3 * 84;
        const double y = 6.0 + quad / 3 * 84;
        const double size = 30.0 + quad * 5;
        for (const auto& [s, t] : kQuadCorners) {
            view.AddIndex2DVertexCurrentColorTexCoords(x + s * size, y + t * size, s, t, 255);
        }
    }
    view.EndArraysAndDisableClientState();
}

// A picture draped over faces that turn away from the light, one after the other.
void DrawLitTexture(COpenGLView& view) {
    LightFixedFunctions(view);
    {
        const Chequers chequers(view);
        view.EnableClientStateInternalBuffers(true, true, true, true, GLShaderShadedTexture);
        view.TexEnv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
        view.BeginArrays(GL_TRIANGLES, GLShaderShadedTexture);
        for (int face = 0; face < 6; ++face) {
            const double tilt = kTau / 4 * face / 6;
            for (const auto& [s, t] : kQuadCorners) {
                view.AddIndex3DVertexNormalTexCoordRGBA(8.0 + (face + s) * 40.0, 20.0 + t * 200.0, 0.0, std::sin(tilt),
                                                        0.0, std::cos(tilt), s, t, 255, 255, 255, 255);
            }
        }
        view.EndArraysAndDisableClientState();
        view.TexEnv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    }
    view.DisableLightsAndTextures();
}

// A part of the window, a rotated and scaled model, and much of it cut off. The points are small: where a wide one lies
// on the viewport's edge, Mesa cuts it off there with a program and lets it run over without one.
void DrawClippedAndScaled(COpenGLView& view) {
    view.SetUpViewport(40, 30, 170, 190);
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(-40.0, 40.0, -40.0, 40.0, -100.0, 100.0);
    view.MatrixMode(GL_MODELVIEW);
    view.LoadIdentity();
    view.Scale(0.5, 0.75, 1.0);
    view.Rotate(33.0, 0.0, 0.0, 1.0);
    view.Translate(-128.0, -128.0, 0.0);
    view.PointSize(1.0F);
    Scatter(view, GL_POINTS, GLShaderPoint, 300);
    Scatter(view, GL_TRIANGLES, GLShaderColorPassThrough, 12);
    Scatter(view, GL_LINE_STRIP, GLShaderLine, 40);
}

void DrawBlended(COpenGLView& view) {
    view.Enable(GL_BLEND);
    view.BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    Numbers numbers;
    Open(view, GL_TRIANGLES, GLShaderColorPassThrough);
    for (int index = 0; index < 30; ++index) {
        view.AddIndex2DVertexRGBA(numbers.Between(0, kSide), numbers.Between(0, kSide), numbers.Channel(),
                                  numbers.Channel(), numbers.Channel(), 120);
    }
    view.EndArraysAndDisableClientState();
    view.Disable(GL_BLEND);
}

// Both pipelines draw the caller's records: the one from where they are, the other from a copy with the driver.
void DrawCallersGeometry(COpenGLView& view) {
    Numbers numbers;
    std::vector<GLDrawGeometry> geometry(40'000);
    for (GLDrawGeometry& record : geometry) {
        record = {};
        record.x = static_cast<float>(numbers.Between(0, kSide));
        record.y = static_cast<float>(numbers.Between(0, kSide));
        record.r = numbers.Channel();
        record.a = 255;
    }
    GLVBO vbo;
    view.PointSize(1.0F);
    view.EnableClientStateInternalBuffers(true, false, true, false, GLShaderPoint);
    view.InitializeVBO(GL_POINTS, GLShaderPoint, vbo, geometry.data(), geometry.size());
    view.DrawArrays(GL_POINTS, static_cast<int>(geometry.size()), vbo, nullptr);
    view.EndVBOArraysAndDisableClientState();
    view.DeleteVBO(vbo);
}

class Parity : public FreshProcessTest, public testing::WithParamInterface<Scene> {
protected:
    static Picture Draw(const Scene& scene) {
        LiveView live(kSide, kSide);
        EXPECT_EQ(live.created, 1);
        live.Clear();
        if (live->IsCurrentContextLegacyOpenGL11() || !live->IsCurrentContextOpenGL4OrLater()) {
            live->ShadeModel(GL_SMOOTH); // the programs always interpolate
        }
        scene.draw(*live.view);
        EXPECT_EQ(live->GetError(), 0U);
        return TakePicture(*live.view, kSide, kSide);
    }
};

TEST_P(Parity, BothPipelinesGiveThePicture) {
    const Scene& scene = GetParam();
    const Picture fixedFunctions = Draw(scene);
    ForgetFirstView();
    const auto first = ChoosePrograms();
    const Picture programs = Draw(scene);
    EXPECT_TRUE(notices.shown.empty());

    const int drawn = fixedFunctions.CountDrawn();
    ASSERT_GT(drawn, 500);
    const PictureDifference difference = Compare(fixedFunctions, programs, scene.allowedStep);
    EXPECT_LE(difference.otherPixels, drawn * scene.allowedAside) << drawn << " pixels drawn";
    EXPECT_LE(difference.strayPixels, difference.otherPixels / 10);
}

INSTANTIATE_TEST_SUITE_P(Scenes, Parity,
                         testing::Values(Scene{"Points1", DrawPoints<1>}, Scene{"Points3", DrawPoints<3>},
                                         Scene{"Points8", DrawPoints<8>}, Scene{"Lines1", DrawLines<1>},
                                         Scene{"Lines3", DrawLines<3>}, Scene{"Contours", DrawContours},
                                         Scene{"StippledLines", DrawStippledLines}, Scene{"LongLoop", DrawLongLoop},
                                         Scene{"Triangles", DrawTriangles}, Scene{"ManyTriangles", DrawManyTriangles},
                                         Scene{"StripAndFan", DrawStripAndFan}, Scene{"Wireframe", DrawWireframe},
                                         Scene{"LitTriangles", DrawLitTriangles},
                                         Scene{"TexturedQuads", DrawTexturedQuads}, Scene{"LitTexture", DrawLitTexture},
                                         Scene{"ClippedAndScaled", DrawClippedAndScaled}, Scene{"Blended", DrawBlended},
                                         Scene{"CallersGeometry", DrawCallersGeometry}),
                         [](const auto& scene) { return scene.param.name; });

// The programs have round points that fixed functions draw differently on every driver, so they are held to geometry.
using Programs = FreshProcessTest;

TEST_F(Programs, RoundPointsAreDiscs) {
    const auto first = ChoosePrograms();
    LiveView live(kSide, kSide);
    live.Clear();
    live->PointSize(40.0F);
    Open(*live.view, GL_POINTS, GLShaderPointSmooth);
    live->AddIndex2DVertexRGBA(128.0, 128.0, 255, 255, 255, 255);
    live->EndArraysAndDisableClientState();
    const Picture picture = TakePicture(*live.view, kSide, kSide);
    EXPECT_NEAR(picture.CountDrawn(), 3.14159 * 20.0 * 20.0, 30.0);
    EXPECT_NE(picture.At(128, 147), kBlack);
    EXPECT_EQ(picture.At(110, 110), kBlack) << "the corner of the square";
}

// A driver's warnings are the first sign of a source that another driver refuses.
TEST_F(Programs, SourcesCompileWithoutAWord) {
    const auto first = ChoosePrograms();
    const LiveView live;
    const COrrinGLCement& gl = *live->GetContextRecord(GLContextMain).glCement;
    CString folder;
    GetCommonFolder(folder);
    int compiled = 0;
    for (const auto& entry : std::filesystem::directory_iterator(std::wstring(folder))) {
        const std::string kind = entry.path().extension().string();
        const unsigned int shader = gl.glCreateShader(kind == ".vert"   ? GL_VERTEX_SHADER
                                                      : kind == ".geom" ? GL_GEOMETRY_SHADER
                                                                        : GL_FRAGMENT_SHADER);
        std::ifstream file(entry.path());
        const std::string source(std::istreambuf_iterator<char>(file), {});
        const char* text = source.c_str();
        gl.glShaderSource(shader, 1, &text, nullptr);
        gl.glCompileShader(shader);
        GLint success = 0;
        char log[512] = {};
        gl.glGetShaderiv(shader, GL_COMPILE_STATUS, &success);
        gl.glGetShaderInfoLog(shader, sizeof(log), nullptr, log);
        EXPECT_EQ(success, 1) << entry.path();
        EXPECT_STREQ(log, "") << entry.path();
        gl.glDeleteShader(shader);
        ++compiled;
    }
    EXPECT_EQ(compiled, 25);
}

// Hatches and symbols are bitmaps: set texels in the current colour, whatever value "set" has, the others untouched.
TEST_F(Programs, BitmapTakesTheCurrentColorWhereItIsSet) {
    const auto first = ChoosePrograms();
    LiveView live(kSide, kSide);
    live.Clear(RGB(0, 0, 90));
    constexpr int texels = 8;
    constexpr int texelSize = 16;
    unsigned char bitmap[texels * texels] = {};
    for (int texel = 0; texel < texels * texels; texel += 3) {
        bitmap[texel] = texel % 2 == 0 ? 1 : 255;
    }
    unsigned int texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, texels, texels, 0, GL_RED, GL_UNSIGNED_BYTE, bitmap);
    live->TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    live->TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    live->SetCurrentColor(200, 150, 10, 255, false);
    live->DrawSetupSetShaderTexture(texture, 0);
    live->EnableClientState(true, false, true, true, GLShaderTextureBitmap);
    live->BeginArrays(GL_TRIANGLES, GLShaderTextureBitmap);
    for (const auto& [s, t] : kQuadCorners) {
        live->AddIndex2DVertexTexCoords(s * texels * texelSize, t * texels * texelSize, s, t);
    }
    live->EndArraysAndDisableClientState();
    const Picture picture = TakePicture(*live.view, kSide, kSide);
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            const bool inside = x < texels * texelSize && y < texels * texelSize;
            const bool set = inside && bitmap[y / texelSize * texels + x / texelSize] != 0;
            ASSERT_EQ(picture.At(x, y), set ? (Pixel{200, 150, 10, 255}) : (Pixel{0, 0, 90, 255})) << x << ' ' << y;
        }
    }
    glDeleteTextures(1, &texture);
}

// A laser scan as it comes: ten million points, uploaded once and drawn frame after frame.
TEST_F(Programs, TenMillionPointsAreDrawnFromTheCallersBuffer) {
    constexpr int count = 10'000'000;
    const auto first = ChoosePrograms();
    LiveView live(kSide, kSide);
    GLVBO vbo;
    {
        std::vector<GLDrawGeometry> cloud(count);
        for (int index = 0; index < count; ++index) {
            GLDrawGeometry& point = cloud[static_cast<std::size_t>(index)];
            point.x = static_cast<float>(index % kSide) + 0.5F;
            point.y = static_cast<float>(index / kSide % kSide) + 0.5F;
            // The pixel's last point decides, so that one left out shows.
            point.g = index >= count - kSide * kSide ? 255 : 0;
            point.r = 10;
            point.a = 255;
        }
        live->PointSize(1.0F);
        live->InitializeVBO(GL_POINTS, GLShaderPoint, vbo, cloud.data(), cloud.size());
    }
    for (int frame = 0; frame < 3; ++frame) {
        live.Clear();
        live->BeginArrays(GL_POINTS, GLShaderPoint, vbo, nullptr, count);
        live->DrawArrays(GL_POINTS, count, vbo, nullptr);
        const Picture picture = TakePicture(*live.view, kSide, kSide);
        EXPECT_EQ(std::count(picture.pixels.begin(), picture.pixels.end(), (Pixel{10, 255, 0, 255})), kSide * kSide);
    }
    live->EndVBOArraysAndDisableClientState();
    live->DeleteVBO(vbo);
    EXPECT_EQ(live->GetError(), 0U);
}

} // namespace
