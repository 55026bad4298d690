#include "StandInFixture.h"

#include <algorithm>

namespace {

TEST_F(DriverTest, Forwards_PixelComesBackAndNothingIsComplainedAbout) {
    glClearColor(1.0f, 0.0f, 1.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    EXPECT_EQ(Pixel(), (Pixel4{255, 0, 255, 255}));
    EXPECT_TRUE(SwapBuffers(DeviceContext()));
    EXPECT_EQ(driver.Violations(), std::vector<std::string>());
    EXPECT_EQ(driver.CallCount("glClear"), 1u);
    EXPECT_THROW(driver.FailCall("glClaer"), std::invalid_argument);
}

TEST_F(DriverTest, AnswersAsTold_UntilReset) {
    const std::string real = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    driver.SetVersionText("1.4 of the test");
    driver.SetVendorText(nullptr);
    driver.SetIntegerAnswer(GL_MAX_TEXTURE_SIZE, 77);
    driver.SetIntegerAnswer("glGetShaderiv", GL_COMPILE_STATUS, 0);
    driver.HideEntryPoint("glCreateProgram");
    EXPECT_STREQ(reinterpret_cast<const char*>(glGetString(GL_VERSION)), "1.4 of the test");
    EXPECT_EQ(glGetString(GL_VENDOR), nullptr);
    GLint value = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &value);
    EXPECT_EQ(value, 77);
    const GLuint shader = Find<PFNGLCREATESHADERPROC>("glCreateShader")(GL_VERTEX_SHADER);
    Find<PFNGLGETSHADERIVPROC>("glGetShaderiv")(shader, GL_COMPILE_STATUS, &(value = 5));
    EXPECT_EQ(value, 0);
    Find<PFNGLDELETESHADERPROC>("glDeleteShader")(shader);
    EXPECT_EQ(wglGetProcAddress("glCreateProgram"), nullptr);
    EXPECT_EQ(wglGetProcAddress("glClear"), nullptr) << "functions of GL 1.1 are exports only, as on Windows";
    driver.Reset();
    EXPECT_EQ(reinterpret_cast<const char*>(glGetString(GL_VERSION)), real);
    EXPECT_NE(wglGetProcAddress("glCreateProgram"), nullptr);
}

TEST_F(DriverTest, Journal_HasCallsInOrderWithArgumentsAndResults) {
    const auto getUniformLocation = Find<PFNGLGETUNIFORMLOCATIONPROC>("glGetUniformLocation");
    const auto createProgram = Find<PFNGLCREATEPROGRAMPROC>("glCreateProgram");
    driver.SetReturnValue("glCreateProgram", 1, 1, 4242);
    driver.StartJournal();
    createProgram();
    glScissor(-1, 2, 3, 4);
    glColor3f(0.1f, 1.0f, -2.5f);
    glVertex2d(0.1, 500000.25);
    getUniformLocation(0, "view");
    driver.StopJournal();
    glFinish();
    EXPECT_EQ(driver.JournalText(),
              (std::vector<std::string>{"glCreateProgram() = 4242", "glScissor(-1, 2, 3, 4)", "glColor3f(0.1, 1, -2.5)",
                                        "glVertex2d(0.1, 500000.25)", "glGetUniformLocation(0, \"view\") = -1"}));
    EXPECT_EQ(driver.Journal().back().context, driver.ContextNumber(m_context));
    EXPECT_EQ(driver.Journal().back().thread, GetCurrentThreadId());
    driver.JournalOnly({"gl*Matrix", "glFlush"});
    driver.StartJournal();
    glPushMatrix();
    glMatrixMode(GL_MODELVIEW);
    glFlush();
    EXPECT_EQ(driver.JournalText(), (std::vector<std::string>{"glPushMatrix()", "glFlush()"}));
}

TEST_F(DriverTest, Journal_KeepsWhatPointersPointedTo) {
    struct Vertex {
        double position[3];
        unsigned char color[4];
    };
    std::vector<Vertex> vertices = {{{0, 1, 2}, {10, 20, 30, 40}}, {{3, 4, 5}, {50, 60, 70, 80}}};
    std::array<unsigned short, 3> indices = {1, 0, 1};
    std::array<double, 16> matrix = {};
    matrix[14] = 4500000.5;
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glVertexPointer(3, GL_DOUBLE, sizeof(Vertex), vertices[0].position);
    glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(Vertex), vertices[0].color);
    driver.StartJournal();
    glLoadMatrixd(matrix.data());
    glDrawElements(GL_LINE_STRIP, 3, GL_UNSIGNED_SHORT, indices.data());
    vertices[1] = {};
    matrix[14] = 0;
    const std::vector<DriverCall> calls = driver.Journal();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].Array("value")->values.at(14), 4500000.5);
    EXPECT_EQ(calls[1].Array("index")->values, (std::vector<double>{1, 0, 1}));
    EXPECT_EQ(calls[1].Array("vertex")->values, (std::vector<double>{3, 4, 5, 0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(calls[1].Array("color")->values, (std::vector<double>{50, 60, 70, 80, 10, 20, 30, 40, 50, 60, 70, 80}));
    EXPECT_EQ(calls[1].Array("normal"), nullptr);
}

TEST_F(DriverTest, Journal_ReadsVerticesOfBuffers) {
    const auto bindBuffer = Find<PFNGLBINDBUFFERPROC>("glBindBuffer");
    const std::array<float, 6> positions = {1, 2, 3, 4, 5, 6};
    GLuint buffer = 0;
    Find<PFNGLGENBUFFERSPROC>("glGenBuffers")(1, &buffer);
    bindBuffer(GL_ARRAY_BUFFER, buffer);
    Find<PFNGLBUFFERDATAPROC>("glBufferData")(GL_ARRAY_BUFFER, sizeof(positions), positions.data(), GL_STATIC_DRAW);
    Find<PFNGLENABLEVERTEXATTRIBARRAYPROC>("glEnableVertexAttribArray")(0);
    Find<PFNGLVERTEXATTRIBPOINTERPROC>("glVertexAttribPointer")(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    driver.StartJournal();
    glDrawArrays(GL_POINTS, 1, 2);
    EXPECT_EQ(driver.Journal().at(0).Array("attribute0")->values, (std::vector<double>{3, 4, 5, 6}));
    Find<PFNGLDELETEBUFFERSPROC>("glDeleteBuffers")(1, &buffer);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << "looking must not leave errors behind";
}

TEST_F(DriverTest, FailedCallsLeaveTheirError) {
    TestWindow other(32, 32);
    driver.FailCall("wglSetPixelFormat", 1, 1, 2000);
    EXPECT_FALSE(ChooseFormat(other.DeviceContext()));
    EXPECT_EQ(GetLastError(), 2000u);
    EXPECT_TRUE(ChooseFormat(other.DeviceContext()));
    driver.FailCall("wglCreateContext", 1, 1, 1450);
    EXPECT_EQ(wglCreateContext(other.DeviceContext()), nullptr);
    EXPECT_EQ(GetLastError(), 1450u);
    driver.FailCall("wglSwapBuffers", 2, 2, 2000);
    std::vector<BOOL> swaps;
    for (int swap = 0; swap < 4; ++swap) {
        swaps.push_back(SwapBuffers(DeviceContext()));
    }
    EXPECT_EQ(swaps, (std::vector<BOOL>{TRUE, FALSE, FALSE, TRUE}));
    driver.FailCall("glGenTextures");
    GLuint texture = 9;
    glGenTextures(1, &texture);
    EXPECT_EQ(texture, 0u);
    EXPECT_EQ(driver.LiveObjects(), 0u);
    EXPECT_EQ(driver.Violations(), std::vector<std::string>());
}

TEST_F(DriverTest, PixelFormatsAsTold) {
    const auto choose = Find<PFNWGLCHOOSEPIXELFORMATARBPROC>("wglChoosePixelFormatARB");
    const int accelerated[] = {WGL_ACCELERATION_ARB, WGL_FULL_ACCELERATION_ARB, 0};
    const PIXELFORMATDESCRIPTOR request = FormatRequest();
    PIXELFORMATDESCRIPTOR described = {};
    int format = 0;
    UINT found = 7;
    driver.OnlyGenericFormats(true);
    EXPECT_TRUE(choose(DeviceContext(), accelerated, nullptr, 1, &format, &found));
    EXPECT_EQ(found, 0u);
    DescribePixelFormat(DeviceContext(), 1, sizeof(described), &described);
    EXPECT_TRUE(described.dwFlags & PFD_GENERIC_FORMAT);
    driver.NoPixelFormats(true);
    EXPECT_EQ(ChoosePixelFormat(DeviceContext(), &request), 0);
    driver.Reset();
    PIXELFORMATDESCRIPTOR shallow = request;
    shallow.cDepthBits = 8;
    driver.SetFormatList({shallow, request});
    EXPECT_EQ(DescribePixelFormat(DeviceContext(), 1, sizeof(described), &described), 2);
    EXPECT_EQ(described.cDepthBits, 8);
    TestWindow other(32, 32);
    EXPECT_TRUE(ChooseFormat(other.DeviceContext()));
    EXPECT_EQ(GetPixelFormat(other.DeviceContext()), 2);
    const HGLRC context = wglCreateContext(other.DeviceContext());
    EXPECT_TRUE(wglMakeCurrent(other.DeviceContext(), context));
    EXPECT_TRUE(wglDeleteContext(context));
}

TEST_F(DriverTest, PerContextFunctions_CallThroughAnothersIsNoticed) {
    driver.PerContextFunctions(true);
    using Clear = void(APIENTRY*)(GLbitfield);
    const auto first = Find<Clear>("glClear");
    const HGLRC another = wglCreateContext(DeviceContext());
    wglMakeCurrent(DeviceContext(), another);
    const auto second = Find<Clear>("glClear");
    EXPECT_NE(first, second);
    second(GL_COLOR_BUFFER_BIT);
    EXPECT_EQ(driver.Violations(), std::vector<std::string>());
    first(GL_COLOR_BUFFER_BIT);
    EXPECT_EQ(driver.Violations(),
              std::vector<std::string>{"glClear of context " + std::to_string(driver.ContextNumber(m_context)) +
                                       " called while context " + std::to_string(driver.ContextNumber(another)) +
                                       " is current"});
    wglDeleteContext(another);
}

TEST_F(DriverTest, NullDriver_DrawsNothingAndMapsMemory) {
    glClearColor(0.0f, 1.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    driver.NullDriver(true);
    driver.SetIntegerAnswer(GL_MAX_TEXTURE_SIZE, 77);
    GLint size = 0;
    Find<void(APIENTRY*)(GLenum, GLint*)>("glGetIntegerv")(GL_MAX_TEXTURE_SIZE, &size);
    EXPECT_EQ(size, 77) << "questions are still answered";
    Find<void(APIENTRY*)(GLfloat, GLfloat, GLfloat, GLfloat)>("glClearColor")(1.0f, 0.0f, 0.0f, 1.0f);
    Find<void(APIENTRY*)(GLbitfield)>("glClear")(GL_COLOR_BUFFER_BIT);
    const auto map = Find<PFNGLMAPBUFFERRANGEPROC>("glMapBufferRange");
    auto* const bytes = static_cast<unsigned char*>(map(GL_ARRAY_BUFFER, 1 << 20, 1 << 20, GL_MAP_WRITE_BIT));
    ASSERT_NE(bytes, nullptr);
    std::fill(bytes, bytes + (1 << 20), static_cast<unsigned char>(1));
    const GLsync fence = Find<PFNGLFENCESYNCPROC>("glFenceSync")(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    const auto wait = Find<PFNGLCLIENTWAITSYNCPROC>("glClientWaitSync");
    EXPECT_EQ(wait(fence, 0, 0), static_cast<GLenum>(GL_ALREADY_SIGNALED));
    EXPECT_TRUE(SwapBuffers(DeviceContext()));
    driver.NullDriver(false);
    EXPECT_EQ(Pixel(), (Pixel4{0, 255, 0, 255}));
}

TEST_F(DriverTest, Leaks_AreCountedWhileTheyLiveAndAfterTheirContext) {
    const HGLRC another = wglCreateContext(DeviceContext());
    wglMakeCurrent(DeviceContext(), another);
    GLuint textures[3] = {};
    glGenTextures(3, textures);
    glDeleteTextures(1, textures);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Texture), 2u);
    wglDeleteContext(another);
    EXPECT_EQ(driver.LiveObjects(), 0u);
    EXPECT_EQ(driver.AbandonedObjects(DriverObject::Texture), 2u);
    EXPECT_EQ(driver.LeakReport(), "1 context(s), 1 window(s) with a pixel format, 2 abandoned texture(s)");
}

} // namespace

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    if (!StandIn::IsLoaded()) {
        std::fputs("The opengl32.dll of this process is not the stand-in driver.\n", stderr);
        return 1;
    }
    return RUN_ALL_TESTS();
}
