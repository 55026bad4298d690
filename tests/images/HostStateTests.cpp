#include "support/Picture.h"

#include <array>
#include <map>

namespace {

constexpr int kSide = 96;

/// What a host has set for drawing of its own, all of it behind the library's back: images have to look as without.
class HostState {
public:
    explicit HostState(const COrrinGLCement& functions) : gl(functions) {
        for (const auto& [name, value] : kPixelStore) {
            gl.glPixelStorei(name, value);
        }
        for (const auto& [name, value] : kPixelTransfer) {
            gl.glPixelTransferf(name, value);
        }
        gl.glPixelZoom(2.0F, 3.0F);
        gl.glGenBuffers(2, m_buffers.data());
        for (std::size_t index = 0; index < m_buffers.size(); ++index) {
            gl.glBindBuffer(kBufferTargets[index], m_buffers[index]);
            gl.glBufferData(kBufferTargets[index], 1 << 20, nullptr, GL_STREAM_DRAW);
        }
        gl.glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
        gl.glActiveTexture(GL_TEXTURE1);
        m_program = gl.glCreateProgram();
        const unsigned int shader = gl.glCreateShader(GL_FRAGMENT_SHADER);
        const char* const source = "void main() { gl_FragColor = vec4(1.0, 0.0, 1.0, 1.0); }";
        gl.glShaderSource(shader, 1, &source, nullptr);
        gl.glCompileShader(shader);
        gl.glAttachShader(m_program, shader);
        gl.glDeleteShader(shader);
        gl.glLinkProgram(m_program);
        gl.glUseProgram(m_program);
    }
    ~HostState() {
        for (const auto& [name, value] : kPixelStore) {
            gl.glPixelStorei(name, name == GL_PACK_ALIGNMENT || name == GL_UNPACK_ALIGNMENT ? 4 : 0);
        }
        for (const auto& [name, value] : kPixelTransfer) {
            const bool scales = name == GL_RED_SCALE || name == GL_GREEN_SCALE || name == GL_DEPTH_SCALE;
            gl.glPixelTransferf(name, scales ? 1.0F : 0.0F);
        }
        gl.glPixelZoom(1.0F, 1.0F);
        gl.glDeleteBuffers(2, m_buffers.data());
        gl.glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        gl.glActiveTexture(GL_TEXTURE0);
        gl.glUseProgram(0);
        gl.glDeleteProgram(m_program);
    }

    std::map<unsigned int, std::array<double, 2>> Reported() const {
        std::map<unsigned int, std::array<double, 2>> reported;
        for (const auto& [name, value] : kPixelStore) {
            gl.glGetDoublev(name, reported[name].data());
        }
        for (const auto& [name, value] : kPixelTransfer) {
            gl.glGetDoublev(name, reported[name].data());
        }
        for (const unsigned int name :
             {GL_ZOOM_X, GL_ZOOM_Y, GL_PIXEL_PACK_BUFFER_BINDING, GL_PIXEL_UNPACK_BUFFER_BINDING, GL_POLYGON_MODE,
              GL_ACTIVE_TEXTURE, GL_CURRENT_PROGRAM}) {
            gl.glGetDoublev(name, reported[name].data());
        }
        return reported;
    }

    const COrrinGLCement& gl;

private:
    static constexpr std::pair<unsigned int, int> kPixelStore[] = {
        {GL_UNPACK_ALIGNMENT, 8},  {GL_UNPACK_ROW_LENGTH, 77}, {GL_UNPACK_SKIP_ROWS, 5},   {GL_UNPACK_SKIP_PIXELS, 3},
        {GL_UNPACK_SWAP_BYTES, 1}, {GL_UNPACK_LSB_FIRST, 1},   {GL_UNPACK_SKIP_IMAGES, 2}, {GL_UNPACK_IMAGE_HEIGHT, 9},
        {GL_PACK_ALIGNMENT, 8},    {GL_PACK_ROW_LENGTH, 177},  {GL_PACK_SKIP_ROWS, 6},     {GL_PACK_SKIP_PIXELS, 4},
        {GL_PACK_SWAP_BYTES, 1},   {GL_PACK_SKIP_IMAGES, 3},   {GL_PACK_IMAGE_HEIGHT, 7}};
    static constexpr std::pair<unsigned int, float> kPixelTransfer[] = {{GL_RED_SCALE, 0.5F},   {GL_GREEN_SCALE, 0.25F},
                                                                        {GL_BLUE_BIAS, 0.5F},   {GL_ALPHA_BIAS, -0.5F},
                                                                        {GL_DEPTH_SCALE, 0.5F}, {GL_MAP_COLOR, 1.0F}};
    static constexpr unsigned int kBufferTargets[] = {GL_PIXEL_UNPACK_BUFFER, GL_PIXEL_PACK_BUFFER};

    std::array<unsigned int, 2> m_buffers{};
    unsigned int m_program = 0;
};

/// Both pipelines; the host's code is the same.
class ForeignState : public FreshProcessTest, public testing::WithParamInterface<bool> {
protected:
    ForeignState() : m_first(GetParam() ? ChoosePrograms() : nullptr), live(kSide, kSide) {
        for (std::size_t index = 0; index < pixels.size(); ++index) {
            pixels[index] = static_cast<unsigned char>(40 + index * 7 % 200);
        }
    }
    std::vector<unsigned char> pixels = std::vector<unsigned char>(21 * 20 * 3);

private:
    std::unique_ptr<COpenGLView> m_first;

protected:
    LiveView live;
};

// A host that uploads through pixel buffers, or draws with shaders of its own, leaves such things set.
TEST_P(ForeignState, NeitherChangesImagesNorIsChanged) {
    const COrrinGLCement& functions = *live->GetContextRecord(GLContextMain).glCement;
    const PointXYZ corners[] = {{50, 5, 0}, {90, 5, 0}, {90, 45, 0}, {50, 45, 0}};
    const auto draw = [&](auto&& expectAsBefore) {
        unsigned int texture = 0;
        unsigned int sampler = 0;
        EXPECT_EQ(live->LoadGLImage(GL_TEXTURE0, GL_RGB, 21, 20, 1, GL_NEAREST, pixels.data(), texture, sampler), S_OK);
        functions.glActiveTexture(GL_TEXTURE1); // the upload leaves the first unit active, as it says
        expectAsBefore("upload");
        EXPECT_EQ(live->DrawTexturedQuadrilateral(texture, sampler, corners, nullptr), S_OK);
        expectAsBefore("quadrilateral");
        EXPECT_EQ(live->DrawImage(5, 50, 47, 90, 0, GL_RGB, 21, 20, 1, GL_NEAREST, pixels.data()), S_OK);
        expectAsBefore("image");
        live->DeleteTextureAndSamplerNames(texture, sampler);
    };
    live.Clear(RGB(10, 20, 30));
    draw([](const char*) {});
    const Picture wanted = TakePicture(*live.view, kSide, kSide);

    Picture drawn;
    live.Clear(RGB(10, 20, 30));
    {
        const HostState host(functions);
        functions.glActiveTexture(GL_TEXTURE1);
        const auto reported = host.Reported();
        draw([&](const char* after) { EXPECT_EQ(host.Reported(), reported) << after; });
    }
    drawn = TakePicture(*live.view, kSide, kSide);
    EXPECT_EQ(Compare(wanted, drawn, 0).otherPixels, 0);
    EXPECT_EQ(live->GetError(), 0U);
}

TEST_P(ForeignState, NeitherChangesTheBackingStoreNorIsChanged) {
    const COrrinGLCement& functions = *live->GetContextRecord(GLContextMain).glCement;
    live.Clear(RGB(10, 20, 30));
    live->Enable(GL_DEPTH_TEST);
    EXPECT_EQ(live->DrawImage(5, 50, 47, 90, 0.25, GL_RGB, 21, 20, 1, GL_NEAREST, pixels.data()), S_OK);
    const Picture wanted = TakePicture(*live.view, kSide, kSide);
    std::vector<float> depths(kSide * kSide);
    std::vector<float> depthsBack(kSide * kSide);
    live->ReadPixels(0, 0, kSide, kSide, GL_DEPTH_COMPONENT, GL_FLOAT, depths.data());
    {
        const HostState host(functions);
        const auto reported = host.Reported();
        EXPECT_EQ(live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, kSide, kSide),
                  S_OK);
        EXPECT_EQ(host.Reported(), reported) << "save";
        live.Clear();
        live->RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, kSide, kSide, 0, 0, kSide, kSide, false, true, false);
        EXPECT_EQ(host.Reported(), reported) << "restore";
    }
    EXPECT_EQ(Compare(wanted, TakePicture(*live.view, kSide, kSide), 0).otherPixels, 0);
    if (GetParam()) {
        live->ReadPixels(0, 0, kSide, kSide, GL_DEPTH_COMPONENT, GL_FLOAT, depthsBack.data());
        EXPECT_EQ(depthsBack, depths);
    }
    EXPECT_EQ(live->GetError(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, ForeignState, testing::Bool(),
                         [](const auto& programs) { return programs.param ? "Programs" : "FixedFunctions"; });

} // namespace
