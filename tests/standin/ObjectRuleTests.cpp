#include "StandInFixture.h"

#include <thread>

TEST_P(StrictRule, IsJudged) {
    TestWindow other(32, 32);
    GetParam().breakIt({DeviceContext(), m_context, other, driver});
    const std::vector<std::string> violations = driver.Violations();
    if (!GetParam().violation) {
        EXPECT_EQ(violations, std::vector<std::string>());
        return;
    }
    ASSERT_EQ(violations.size(), 1u) << testing::PrintToString(violations);
    EXPECT_NE(violations[0].find(GetParam().violation), std::string::npos) << violations[0];
}

namespace {

void DeleteElsewhere(const Scene& scene) {
    std::thread([&] { EXPECT_FALSE(wglDeleteContext(scene.context)); }).join();
}

void SelectElsewhere(const Scene& scene) {
    std::thread([&] {
        EXPECT_FALSE(wglMakeCurrent(scene.deviceContext, scene.context));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BUSY));
    }).join();
}

void ShareWithBusyContext(const Scene& scene) {
    const auto create = Find<PFNWGLCREATECONTEXTATTRIBSARBPROC>("wglCreateContextAttribsARB");
    std::thread([&] { EXPECT_EQ(create(scene.deviceContext, scene.context, nullptr), nullptr); }).join();
}

void ShareListsWithBusyContext(const Scene& scene) {
    const HGLRC another = scene.Another();
    std::thread([&] { EXPECT_FALSE(wglShareLists(scene.context, another)); }).join();
    wglDeleteContext(another);
}

/// A format that differs from the one of the scene's window.
void SelectOnOtherFormat(const Scene& scene) {
    const int format = GetPixelFormat(scene.deviceContext) == 1 ? 2 : 1;
    const PIXELFORMATDESCRIPTOR request = FormatRequest();
    ASSERT_TRUE(SetPixelFormat(scene.other.DeviceContext(), format, &request));
    EXPECT_FALSE(wglMakeCurrent(scene.other.DeviceContext(), scene.context));
    EXPECT_EQ(GetLastError(), 2000u);
}

void SelectOnDestroyedWindow(const Scene& scene) {
    ASSERT_TRUE(ChooseFormat(scene.other.DeviceContext()));
    scene.other.Destroy();
    EXPECT_FALSE(wglMakeCurrent(scene.other.DeviceContext(), scene.context));
}

void ChangeFormat(const Scene& scene) {
    const int format = GetPixelFormat(scene.deviceContext);
    const PIXELFORMATDESCRIPTOR request = FormatRequest();
    EXPECT_TRUE(SetPixelFormat(scene.deviceContext, format, &request));
    EXPECT_FALSE(SetPixelFormat(scene.deviceContext, format == 1 ? 2 : 1, &request));
    EXPECT_EQ(GetLastError(), 2000u);
}

void DeleteContextTwice(const Scene& scene) {
    const HGLRC another = scene.Another();
    EXPECT_TRUE(wglDeleteContext(another));
    EXPECT_FALSE(wglDeleteContext(another));
}

void DeleteCurrentAndNull(const Scene& scene) {
    const HGLRC another = scene.Another();
    EXPECT_TRUE(wglMakeCurrent(scene.deviceContext, another));
    EXPECT_TRUE(wglDeleteContext(another));
    EXPECT_EQ(wglGetCurrentContext(), nullptr);
    EXPECT_FALSE(wglDeleteContext(nullptr));
}

void DeleteTextureTwice(const Scene&) {
    GLuint textures[2] = {};
    glGenTextures(1, textures);
    glDeleteTextures(2, textures);
    glDeleteTextures(1, textures);
}

/// Binds a name in a second context after the first one has deleted it.
template <class Bind> auto BindAfterDeletion(const char* make, const char* destroy, const Bind& bind) {
    return [=](const Scene& scene) {
        const HGLRC another = scene.Another();
        wglMakeCurrent(nullptr, nullptr);
        ASSERT_TRUE(wglShareLists(scene.context, another));
        wglMakeCurrent(scene.deviceContext, scene.context);
        GLuint name = 0;
        Find<void(APIENTRY*)(GLsizei, GLuint*)>(make)(1, &name);
        bind(name);
        Find<void(APIENTRY*)(GLsizei, const GLuint*)>(destroy)(1, &name);
        ASSERT_EQ(scene.driver.Violations(), std::vector<std::string>());
        wglMakeCurrent(scene.deviceContext, another);
        bind(name);
        wglDeleteContext(another);
    };
}

void BindDeletedTexture(const Scene& scene) {
    const HGLRC another = scene.Another();
    wglMakeCurrent(nullptr, nullptr);
    ASSERT_TRUE(wglShareLists(scene.context, another));
    wglMakeCurrent(scene.deviceContext, scene.context);
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glDeleteTextures(1, &texture);
    wglMakeCurrent(scene.deviceContext, another);
    glBindTexture(GL_TEXTURE_2D, texture);
    wglDeleteContext(another);
}

void UseDeletedProgram(const Scene&) {
    const GLuint program = Find<PFNGLCREATEPROGRAMPROC>("glCreateProgram")();
    Find<PFNGLDELETEPROGRAMPROC>("glDeleteProgram")(program);
    Find<PFNGLUSEPROGRAMPROC>("glUseProgram")(program);
}

void BindDeletedVertexArray(const Scene&) {
    GLuint vertexArray = 0;
    Find<PFNGLGENVERTEXARRAYSPROC>("glGenVertexArrays")(1, &vertexArray);
    Find<PFNGLDELETEVERTEXARRAYSPROC>("glDeleteVertexArrays")(1, &vertexArray);
    Find<PFNGLBINDVERTEXARRAYPROC>("glBindVertexArray")(vertexArray);
}

/// Display lists are shared, names of an own choice are allowed, and font lists count as made.
void UseSharedLists(const Scene& scene) {
    const HGLRC another = scene.Another();
    wglMakeCurrent(nullptr, nullptr);
    EXPECT_TRUE(wglShareLists(scene.context, another));
    wglMakeCurrent(scene.deviceContext, scene.context);
    const GLuint lists = glGenLists(2);
    glNewList(1000, GL_COMPILE);
    glEndList();
    EXPECT_TRUE(wglUseFontBitmapsA(scene.deviceContext, 'A', 3, 2000));
    EXPECT_EQ(scene.driver.LiveObjects(DriverObject::DisplayList), 6u);
    wglMakeCurrent(scene.deviceContext, another);
    glCallList(lists + 1);
    glDeleteLists(lists, 2);
    glDeleteLists(1000, 1);
    glDeleteLists(2000, 3);
    wglDeleteContext(another);
}

void UseProgramsProperly(const Scene& scene) {
    const GLuint program = Find<PFNGLCREATEPROGRAMPROC>("glCreateProgram")();
    const GLuint shader = Find<PFNGLCREATESHADERPROC>("glCreateShader")(GL_VERTEX_SHADER);
    Find<PFNGLATTACHSHADERPROC>("glAttachShader")(program, shader);
    Find<PFNGLDELETESHADERPROC>("glDeleteShader")(shader);
    Find<PFNGLDETACHSHADERPROC>("glDetachShader")(program, shader);
    Find<PFNGLDELETEPROGRAMPROC>("glDeleteProgram")(program);
    EXPECT_EQ(scene.driver.LiveObjects(), 0u) << scene.driver.LeakReport();
}

void DrawWithDeletedProgram(const Scene&) {
    const GLuint program = Find<PFNGLCREATEPROGRAMPROC>("glCreateProgram")();
    Find<PFNGLLINKPROGRAMPROC>("glLinkProgram")(program);
    Find<PFNGLUSEPROGRAMPROC>("glUseProgram")(program);
    Find<PFNGLDELETEPROGRAMPROC>("glDeleteProgram")(program);
    glDrawArrays(GL_POINTS, 0, 1);
}

void BindAnothersVertexArray(const Scene& scene) {
    GLuint vertexArray = 0;
    Find<PFNGLGENVERTEXARRAYSPROC>("glGenVertexArrays")(1, &vertexArray);
    const HGLRC another = scene.Another();
    wglMakeCurrent(scene.deviceContext, another);
    Find<PFNGLBINDVERTEXARRAYPROC>("glBindVertexArray")(vertexArray);
    wglDeleteContext(another);
}

void WaitForDeletedSync(const Scene&) {
    const GLsync sync = Find<PFNGLFENCESYNCPROC>("glFenceSync")(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    Find<PFNGLDELETESYNCPROC>("glDeleteSync")(sync);
    GLint value = 0;
    Find<PFNGLGETSYNCIVPROC>("glGetSynciv")(sync, GL_SYNC_STATUS, 1, nullptr, &value);
}

void CloseGroupTwice(const Scene&) {
    Find<PFNGLPUSHDEBUGGROUPPROC>("glPushDebugGroup")(GL_DEBUG_SOURCE_APPLICATION, 0, -1, "group");
    Find<PFNGLPOPDEBUGGROUPPROC>("glPopDebugGroup")();
    Find<PFNGLPOPDEBUGGROUPPROC>("glPopDebugGroup")();
}

void PresentInAGroup(const Scene& scene) {
    Find<PFNGLPUSHDEBUGGROUPPROC>("glPushDebugGroup")(GL_DEBUG_SOURCE_APPLICATION, 0, -1, "frame");
    SwapBuffers(scene.deviceContext);
    Find<PFNGLPOPDEBUGGROUPPROC>("glPopDebugGroup")();
}

/// Draws a point from mapped memory and writes the next one there, with or without waiting for the first.
template <bool Waits> void DrawFromMappedMemory(const Scene&) {
    constexpr GLbitfield access = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT | GL_MAP_COHERENT_BIT;
    GLuint buffer = 0;
    Find<PFNGLGENBUFFERSPROC>("glGenBuffers")(1, &buffer);
    Find<PFNGLBINDBUFFERPROC>("glBindBuffer")(GL_ARRAY_BUFFER, buffer);
    Find<PFNGLBUFFERSTORAGEPROC>("glBufferStorage")(GL_ARRAY_BUFFER, 16, nullptr, access);
    auto* const point =
        static_cast<float*>(Find<PFNGLMAPBUFFERRANGEPROC>("glMapBufferRange")(GL_ARRAY_BUFFER, 0, 16, access));
    Find<PFNGLENABLEVERTEXATTRIBARRAYPROC>("glEnableVertexAttribArray")(0);
    Find<PFNGLVERTEXATTRIBPOINTERPROC>("glVertexAttribPointer")(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    for (int draw = 0; draw < 2; ++draw) {
        point[0] = 0.25F * static_cast<float>(draw);
        glDrawArrays(GL_POINTS, 0, 1);
        const GLsync fence = Find<PFNGLFENCESYNCPROC>("glFenceSync")(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
        if (Waits) {
            Find<PFNGLCLIENTWAITSYNCPROC>("glClientWaitSync")(fence, GL_SYNC_FLUSH_COMMANDS_BIT, 1'000'000'000);
        }
        Find<PFNGLDELETESYNCPROC>("glDeleteSync")(fence);
    }
    Find<PFNGLDELETEBUFFERSPROC>("glDeleteBuffers")(1, &buffer);
}

void ForbiddenFixedFunction(const Scene& scene) {
    scene.driver.ForbidFixedFunction(0, true);
    glEnable(GL_DEPTH_TEST);
    glClear(GL_DEPTH_BUFFER_BIT);
    glDrawArrays(GL_TRIANGLES, 0, 0);
    glDrawArrays(GL_QUADS, 0, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Objects, StrictRule,
    testing::Values(
        Rule{"NoContext", [](const Scene&) { wglMakeCurrent(nullptr, nullptr), glFlush(); },
             "without a current context"},
        Rule{"UnknownContext",
             [](const Scene& scene) { wglMakeCurrent(scene.deviceContext, reinterpret_cast<HGLRC>(0x7777)); },
             "never was"},
        Rule{"DeleteContextTwice", DeleteContextTwice, "was deleted"},
        Rule{"DeleteElsewhere", DeleteElsewhere, "current on another thread"},
        Rule{"SelectElsewhere", SelectElsewhere, "current on another thread"},
        Rule{"ShareWithBusyContext", ShareWithBusyContext, "current on another thread"},
        Rule{"ShareListsWithBusyContext", ShareListsWithBusyContext, "current on another thread"},
        Rule{"SelectOnOtherFormat", SelectOnOtherFormat, "on a device context with format"},
        Rule{"SelectOnDestroyedWindow", SelectOnDestroyedWindow, "window is gone"},
        Rule{"ChangeFormat", ChangeFormat, "changes a window's pixel format"},
        Rule{"DeleteTextureTwice", DeleteTextureTwice, "was deleted before"},
        Rule{"BindDeletedTexture", BindDeletedTexture, "glBindTexture uses texture"},
        Rule{"BindDeletedBuffer",
             BindAfterDeletion("glGenBuffers", "glDeleteBuffers",
                               [](GLuint name) { Find<PFNGLBINDBUFFERPROC>("glBindBuffer")(GL_ARRAY_BUFFER, name); }),
             "glBindBuffer uses buffer"},
        Rule{"BindDeletedSampler",
             BindAfterDeletion("glGenSamplers", "glDeleteSamplers",
                               [](GLuint name) { Find<PFNGLBINDSAMPLERPROC>("glBindSampler")(0, name); }),
             "glBindSampler uses sampler"},
        Rule{"BindDeletedVertexArray", BindDeletedVertexArray, "glBindVertexArray uses vertex array"},
        Rule{"UseDeletedProgram", UseDeletedProgram, "glUseProgram uses program"},
        Rule{"DrawWithDeletedProgram", DrawWithDeletedProgram, "draws with program"},
        Rule{"BindAnothersVertexArray", BindAnothersVertexArray, "uses vertex array"},
        Rule{"WaitForDeletedSync", WaitForDeletedSync, "uses sync"},
        Rule{"OverwriteWhatIsDrawn", DrawFromMappedMemory<false>, "before a fence"},
        Rule{"Allowed_WriteBehindTheFence", DrawFromMappedMemory<true>, nullptr},
        Rule{"NameForADeletedBuffer",
             BindAfterDeletion("glGenBuffers", "glDeleteBuffers",
                               [](GLuint name) {
                                   Find<PFNGLOBJECTLABELPROC>("glObjectLabel")(GL_BUFFER, name, -1, "gone");
                               }),
             "glObjectLabel uses buffer"},
        Rule{"GroupClosedTwice", CloseGroupTwice, "closes a group that was never opened"},
        Rule{"GroupOverTheEndOfAFrame", PresentInAGroup, "1 groups of glPushDebugGroup are open"},
        Rule{"ForbiddenFixedFunction", ForbiddenFixedFunction, "glDrawArrays(0x7)"},
        Rule{"Allowed_DeleteCurrentAndNull", DeleteCurrentAndNull, nullptr},
        Rule{"Allowed_UseSharedLists", UseSharedLists, nullptr},
        Rule{"Allowed_UseProgramsProperly", UseProgramsProperly, nullptr}),
    [](const testing::TestParamInfo<Rule>& rule) { return std::string(rule.param.name); });

/// Windows has nowhere to send these calls, and the objects stay or never come to be.
TEST_F(DriverTest, CallsWithoutAContext_AreAllJudged) {
    const GLsync sync = Find<PFNGLFENCESYNCPROC>("glFenceSync")(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    const auto deleteSync = Find<PFNGLDELETESYNCPROC>("glDeleteSync");
    const auto deleteBuffers = Find<PFNGLDELETEBUFFERSPROC>("glDeleteBuffers");
    wglMakeCurrent(nullptr, nullptr);
    GLuint name = 1;
    glGenTextures(1, &name);
    glDeleteTextures(1, &name);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    EXPECT_EQ(glGenLists(2), 0u);
    glDeleteLists(1, 2);
    glCallList(1);
    glClear(GL_COLOR_BUFFER_BIT);
    glViewport(0, 0, 1, 1);
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &name);
    EXPECT_EQ(glGetString(GL_VERSION), nullptr);
    deleteSync(sync);
    deleteBuffers(1, &name);
    EXPECT_FALSE(wglUseFontBitmapsA(DeviceContext(), 'A', 3, 2000));
    std::vector<std::string> expected;
    for (const char* function :
         {"glGenTextures", "glDeleteTextures", "glTexImage2D", "glGenLists", "glDeleteLists", "glCallList", "glClear",
          "glViewport", "glReadPixels", "glGetString", "glDeleteSync", "glDeleteBuffers", "wglUseFontBitmapsA"}) {
        expected.push_back(std::string(function) + " is called without a current context");
    }
    EXPECT_EQ(driver.Violations(), expected);
    wglMakeCurrent(DeviceContext(), m_context);
    deleteSync(sync);
}

} // namespace
