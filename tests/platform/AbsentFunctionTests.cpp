#include "support/Outlines.h"
#include "support/PipelineFixture.h"

#include <pipeline/KeptGeometry.h>

#include <algorithm>
#include <set>

namespace {

using AbsentFunctions = OnPrograms;

/// Something of all that a host may draw.
void DrawOfEverything(COpenGLView& view, HDC deviceContext) {
    view.SetBackgroundColor(0, true);
    DrawSquare(view, kRed);
    const std::vector<unsigned char> image(16 * 16 * 4, 255);
    view.DrawImage(10.0, 10.0, 20.0, 20.0, 0.0, GL_RGBA, 16, 16, 4, GL_LINEAR_MIPMAP_LINEAR, image.data());
    FillOutline(view, {RingAround(50.0, 50.0, 9, false, [](double) { return 30.0; })}, {255, 255, 255, 255});
    const PointXYZ line[] = {{10, 60, 0}, {50, 70, 0}, {90, 60, 0}};
    GLLineStyle style;
    style.width = 3.0;
    view.DrawLineString(line, 3, style);
    view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
    view.DrawFontAtlasText(L"text", 20.0, 20.0, 0.0, false, false);
    view.DrawTeardownFontAtlasText(false, false);
    const std::vector<GLDrawGeometry> triangle{{10, 10, 0, 0, 0, 1, 0, 0, 255, 255, 255, 255},
                                               {20, 10, 0, 0, 0, 1, 1, 0, 255, 255, 255, 255},
                                               {10, 20, 0, 0, 0, 1, 0, 1, 255, 255, 255, 255}};
    view.DrawGeometry3D(GL_TRIANGLES, GLShaderShadedColor3Stage, triangle.data(), triangle.size(), nullptr, 0);
    GLGeometry geometry;
    view.BeginGeometry(geometry);
    view.BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    AddSquare(view, kGreen, 100.0);
    view.EndArrays();
    view.EndGeometry();
    view.EnableClientState(true, false, true, false, GLShaderColorPassThrough);
    view.DrawGeometry(geometry);
    view.DisableClientState();
    view.SetUpEyeDomeLighting(true, 1.0F, 1.0F);
    view.DrawEyeDomeLighting();
    view.SaveBackingStore(deviceContext, GLContextMain, GL_BACK, 0, 0, 64, 64);
    view.RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, 64, 64, 0, 0, 128, 128, false, true, false);
    view.BeginRubberBand(GLRubberBandRectangle, 5.0, 5.0);
    view.MoveRubberBand(30.0, 30.0);
    view.EndRubberBand(false);
}

/// The functions beyond OpenGL 1.1 that the library calls while it draws all that with programs.
std::set<std::string> FunctionsOfPrograms(const StandIn& driver) {
    const HMODULE module = GetModuleHandleW(L"opengl32.dll");
    std::set<std::string> functions;
    for (const DriverCall& call : driver.Journal()) {
        if (call.function.starts_with("gl") && !GetProcAddress(module, call.function.c_str())) {
            functions.insert(call.function);
        }
    }
    return functions;
}

// A driver that claims a version and lacks one of its functions: a host is not to go down with it.
TEST_F(AbsentFunctions, ContextDrawsWithFixedFunctionsAndTellsWhatIsMissing) {
    std::set<std::string> functions;
    {
        LiveView live;
        driver.StartJournal();
        ASSERT_EQ(live->InitializeMasterContextSharedResources(), S_OK);
        DrawOfEverything(*live.view, live.window.DeviceContext());
        driver.StopJournal();
        functions = FunctionsOfPrograms(driver);
        driver.StartJournal(); // empties it
        driver.StopJournal();
    }
    ASSERT_GT(functions.size(), 39U);
    // What the library asks for first: it does without.
    for (const char* optional : {"glGenerateMipmap", "glBindFramebuffer", "glGetProgramResourceLocation",
                                 "glGetInteger64i_v", "glMultiDrawArrays", "glClientActiveTexture"}) {
        functions.erase(optional);
    }
    for (const std::string& function : functions) {
        SCOPED_TRACE(function);
        driver.HideEntryPoint(function);
        DebugOutput output;
        {
            LiveView live;
            ASSERT_EQ(live.created, 1);
            EXPECT_FALSE(live->DrawsWithPrograms());
            EXPECT_TRUE(live->IsCurrentContextOpenGL4OrLater()) << "the process is as it was";
            EXPECT_EQ(live->GetDrawingState(), GLDrawingReady);
            ExpectDraws(*live.view, kGreen);
        }
        EXPECT_EQ(output.Count(std::wstring(L"this context draws with fixed functions, because the driver lacks ") +
                               std::wstring(function.begin(), function.end()) + L".\n"),
                  1);
        driver.HideEntryPoint(function, false);
    }
    LiveView live;
    EXPECT_TRUE(live->DrawsWithPrograms());
    ExpectDraws(*live.view, kBlue);
}

// Whichever it is, nothing of what a host may call goes through a null pointer.
TEST_F(AbsentFunctions, AllOperationsDoWithoutPrograms) {
    for (const char* function : {"glUseProgram", "glIsProgram", "glBindBuffer", "glActiveTexture", "glFenceSync"}) {
        SCOPED_TRACE(function);
        driver.HideEntryPoint(function);
        LiveView live;
        DrawOfEverything(*live.view, live.window.DeviceContext());
        ShaderData data;
        GLVBO vbo;
        GLsync fence = nullptr;
        live->LockGPUBuffer(fence);
        live->WaitForGPUBuffer(fence);
        live->BindUniform1f(data, "PointSize", 1.0F);
        live->EnableVertexAttribArray(VertexAttribPosition, data);
        live->DisableVertexAttribArray(VertexAttribPosition, data);
        live->DeleteAttributeBuffers();
        live->DeleteVBO(vbo);
        live->ResetGLState();
        ExpectDraws(*live.view, kGreen);
        driver.HideEntryPoint(function, false);
    }
}

} // namespace
