#include "StandInFixture.h"

#include <string>
#include <vector>

namespace {

void WriteWithoutProgram(const Scene&) {
    Find<PFNGLUNIFORM1IPROC>("glUniform1i")(-1, 5);
}

INSTANTIATE_TEST_SUITE_P(Uniforms, StrictRule,
                         testing::Values(Rule{"WriteWithoutProgram", WriteWithoutProgram,
                                              "glUniform1i is called while no program is in use"}),
                         [](const testing::TestParamInfo<Rule>& rule) { return std::string(rule.param.name); });

/// Two contexts with one program, which paints the window in the color that its uniform has.
class SharedUniform : public DriverTest {
protected:
    void SetUp() override {
        DriverTest::SetUp();
        m_second = wglCreateContext(DeviceContext());
        wglMakeCurrent(nullptr, nullptr);
        ASSERT_TRUE(wglShareLists(m_context, m_second));
        wglMakeCurrent(DeviceContext(), m_context);
        m_program = Find<PFNGLCREATEPROGRAMPROC>("glCreateProgram")();
        const GLuint shader = Find<PFNGLCREATESHADERPROC>("glCreateShader")(GL_FRAGMENT_SHADER);
        const char* const text = "uniform vec4 tint; void main() { gl_FragColor = tint; }";
        Find<PFNGLSHADERSOURCEPROC>("glShaderSource")(shader, 1, &text, nullptr);
        Find<PFNGLCOMPILESHADERPROC>("glCompileShader")(shader);
        Find<PFNGLATTACHSHADERPROC>("glAttachShader")(m_program, shader);
        Find<PFNGLLINKPROGRAMPROC>("glLinkProgram")(m_program);
        m_tint = Find<PFNGLGETUNIFORMLOCATIONPROC>("glGetUniformLocation")(m_program, "tint");
        driver.JudgeDroppedUniforms(true);
        for (const HGLRC context : {m_context, m_second}) {
            Select(context);
            Find<PFNGLUSEPROGRAMPROC>("glUseProgram")(m_program);
            Paint(1.0F);
        }
        ASSERT_EQ(driver.Violations(), std::vector<std::string>());
    }
    void TearDown() override {
        Select(m_context);
        wglDeleteContext(m_second);
        DriverTest::TearDown();
    }
    void Select(HGLRC context) { ASSERT_TRUE(wglMakeCurrent(DeviceContext(), context)); }
    void SetTint(float red) { Find<PFNGLUNIFORM4FPROC>("glUniform4f")(m_tint, red, 0.0F, 0.0F, 1.0F); }
    void Draw() { glRectf(-1.0F, -1.0F, 1.0F, 1.0F); }
    void Paint(float red) {
        SetTint(red);
        Draw();
    }

    HGLRC m_second = nullptr;
    GLuint m_program = 0;
    GLint m_tint = -1;
};

/// NOTE: Mesa 22.3 paints the older value here, 255 instead of 0.
TEST_F(SharedUniform, EqualWriteAfterAnotherContexts_IsJudgedAtTheDraw) {
    Select(m_context);
    Paint(0.0F);
    Select(m_second);
    SetTint(0.0F);
    EXPECT_EQ(driver.Violations(), std::vector<std::string>());
    Draw();
    const std::vector<std::string> violations = driver.Violations();
    ASSERT_EQ(violations.size(), 1u);
    EXPECT_NE(violations[0].find("context " + std::to_string(driver.ContextNumber(m_context)) + " wrote the present"),
              std::string::npos)
        << violations[0];
    Draw();
    EXPECT_EQ(driver.Violations().size(), 1u) << "said once";
}

/// The same write in another shape, by another function.
TEST_F(SharedUniform, EqualWriteOfAVector_IsJudgedToo) {
    const float tint[4] = {0.0F, 0.0F, 0.0F, 1.0F};
    Select(m_context);
    Find<PFNGLPROGRAMUNIFORM4FVPROC>("glProgramUniform4fv")(m_program, m_tint, 1, tint);
    Select(m_second);
    Find<PFNGLUNIFORM4FVPROC>("glUniform4fv")(m_tint, 1, tint);
    Draw();
    EXPECT_EQ(driver.Violations().size(), 1u);
}

TEST_F(SharedUniform, WriteOfAnotherValue_BringsAllUpToDate) {
    Select(m_context);
    Paint(0.0F);
    Select(m_second);
    SetTint(0.5F);
    SetTint(0.0F);
    Draw();
    EXPECT_EQ(Pixel()[0], 0);
    EXPECT_EQ(driver.Violations(), std::vector<std::string>());
}

TEST_F(SharedUniform, DrawWithAnotherProgram_BringsAllUpToDate) {
    Select(m_context);
    Paint(0.0F);
    Select(m_second);
    const auto use = Find<PFNGLUSEPROGRAMPROC>("glUseProgram");
    use(0);
    Draw();
    use(m_program);
    Paint(0.0F);
    EXPECT_EQ(Pixel()[0], 0);
    EXPECT_EQ(driver.Violations(), std::vector<std::string>());
}

TEST_F(SharedUniform, ValueThatCameBack_IsNoFault) {
    Select(m_context);
    Paint(0.0F);
    Paint(1.0F);
    Select(m_second);
    Paint(1.0F);
    EXPECT_EQ(driver.Violations(), std::vector<std::string>());
}

TEST_F(SharedUniform, DroppedWrites_AreJudgedOnRequestOnly) {
    driver.JudgeDroppedUniforms(false);
    Select(m_context);
    Paint(0.0F);
    Select(m_second);
    Paint(0.0F);
    EXPECT_EQ(driver.Violations(), std::vector<std::string>());
}

} // namespace
