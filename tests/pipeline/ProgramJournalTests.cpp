#include "support/Loggers.h"
#include "support/RecordedFixture.h"

#include <cmath>
#include <filesystem>
#include <fstream>

namespace {

using Programs = ProgramsTest;

TEST_F(Programs, AreBuiltOnceWithoutAWord) {
    EXPECT_TRUE(View().IsCurrentContextOpenGL4OrLater());
    EXPECT_EQ(driver.LiveObjects(DriverObject::Program), 13U);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Shader), 0U) << "linked programs keep what they need";
    EXPECT_TRUE(notices.shown.empty());
    driver.StartJournal();
    EXPECT_EQ(View().InitializeMasterContextSharedResources(), S_OK);
    driver.StopJournal();
    EXPECT_EQ(driver.LiveObjects(DriverObject::Program), 13U) << "built again, the old ones are gone";
    // No log, no warnings: the sources are clean on this driver.
    for (const DriverCall& call : driver.Journal("glLinkProgram")) {
        int length = 0;
        View().GetError();
        const auto getProgram = reinterpret_cast<void(APIENTRY*)(unsigned, unsigned, int*)>(
            reinterpret_cast<void*>(wglGetProcAddress("glGetProgramiv")));
        getProgram(static_cast<unsigned>(call.arguments[0]), GL_INFO_LOG_LENGTH, &length);
        EXPECT_LE(length, 1);
    }
}

struct SourceFault {
    const char* name;
    const wchar_t* file;
    const char* source; ///< null removes the file
    long result;
    const wchar_t* textPart;
    int programsBuilt;
};

class SourceFaults : public Programs, public testing::WithParamInterface<SourceFault> {
protected:
    SourceFaults() {
        namespace fs = std::filesystem;
        m_common = fs::temp_directory_path() / L"orrin_shader_faults";
        fs::remove_all(m_common);
        CString built;
        GetCommonFolder(built);
        fs::create_directories(m_common);
        fs::copy(fs::path(built.GetString()).parent_path(), m_common / L"Orrin");
        SetEnvironmentVariableW(L"CommonProgramFiles", m_common.c_str());
    }
    ~SourceFaults() override {
        std::filesystem::remove_all(m_common);
        UseBuiltShaders();
    }
    std::filesystem::path m_common;
};

// What a user sees who has lost or edited a file: one box that names it, and a view that goes on without the program.
TEST_P(SourceFaults, AreShownAndLeaveNothingBehind) {
    const SourceFault& fault = GetParam();
    const std::filesystem::path file = m_common / L"Orrin" / fault.file;
    std::filesystem::remove(file);
    if (fault.source) {
        std::ofstream(file) << fault.source;
    }
    EXPECT_EQ(View().InitializeMasterContextSharedResources(), fault.result);
    const NoticeRecord notice = OnlyNotice();
    EXPECT_EQ(notice.caption, L"OpenGL Shader Error");
    EXPECT_NE(notice.text.find(fault.textPart), std::wstring::npos)
        << std::string(notice.text.begin(), notice.text.end());
    EXPECT_NE(notice.text.find(fault.file), std::wstring::npos);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Program), static_cast<unsigned>(fault.programsBuilt));
    EXPECT_EQ(driver.LiveObjects(DriverObject::Shader), 0U);
    live->Clear(RGB(1, 2, 3));
    EXPECT_EQ(live->At(5, 5), (Pixel{1, 2, 3, 255}));
}

INSTANTIATE_TEST_SUITE_P(
    Sources, SourceFaults,
    testing::Values(
        SourceFault{"Missing", L"OrrinPoint.frag", nullptr, E_ACCESSDENIED, L"Unable to open OpenGL 4.x Shader File: ",
                    0},
        SourceFault{"Empty", L"OrrinLine.vert", "", E_INVALIDARG, L"OrrinLine.vert empty.", 2},
        SourceFault{"MissingGeometry", L"OrrinLineStipple.geom", nullptr, E_ACCESSDENIED, L"Unable to open", 4},
        SourceFault{"NoGlsl", L"OrrinText.frag", "this is no program", E_FAIL,
                    L"Failed: Type of Failure: Shader Compilation: .\n\nERROR LOG:\n", 11},
        SourceFault{"NoGlslGeometry", L"OrrinLineStipple.geom", "nor is this", E_FAIL, L"Shader Compilation: .", 4},
        SourceFault{"DoesNotLink", L"OrrinColorPassThrough.vert",
                    "#version 440 core\nvoid elsewhere();\nvoid main() { elsewhere(); gl_Position = vec4(0.0); }\n",
                    E_FAIL, L"Failed: Type of Failure: Program Link: .\n\nERROR LOG:\n", 5}),
    [](const auto& fault) { return fault.param.name; });

// Programs that bring the files along beside them or name a folder of their own; what the system has comes before what
// lies beside the program.
TEST_F(SourceFaults, FilesAreTakenFromTheirPlacesInOrder) {
    namespace fs = std::filesystem;
    CString folder;
    GetExecutablePath(folder);
    const fs::path besideProgram = fs::path(folder.GetString()) / L"common";
    ASSERT_FALSE(fs::exists(besideProgram));
    const auto build = [&] { return View().InitializeMasterContextSharedResources(); };
    fs::rename(m_common / L"Orrin", m_common / L"elsewhere");
    EXPECT_EQ(build(), E_ACCESSDENIED);
    ASSERT_EQ(UseShaderFolder((m_common / L"elsewhere").c_str()), S_OK);
    EXPECT_EQ(build(), S_OK);
    GetShaderFolder(folder);
    EXPECT_EQ(std::wstring(folder), (m_common / L"elsewhere" / L"").wstring());
    ASSERT_EQ(UseShaderFolder(nullptr), S_OK);
    EXPECT_EQ(build(), E_ACCESSDENIED);

    fs::create_directories(besideProgram);
    fs::copy(m_common / L"elsewhere", besideProgram / L"Orrin");
    EXPECT_EQ(build(), S_OK);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Program), 13U);
    fs::create_directories(m_common / L"Orrin");
    EXPECT_EQ(build(), E_ACCESSDENIED) << "an installation that is damaged is told of";
    fs::remove_all(besideProgram);
}

// The host's own message handler throws: the build ends in the library's words, not in the host's abort.
TEST_F(SourceFaults, ExceptionEndsInTheLibrary) {
    std::filesystem::remove(m_common / L"Orrin" / L"OrrinLine.frag");
    std::vector<std::wstring> shown;
    SetMessageBoxHandler(
        [](const wchar_t* text, const wchar_t* caption, unsigned int, void* context) -> int {
            static_cast<std::vector<std::wstring>*>(context)->push_back(std::wstring(caption) + L"|" + text);
            if (std::wstring(caption) == L"OpenGL Shader Error") {
                throw std::runtime_error("handler");
            }
            return IDOK;
        },
        &shown);
    DebugOutput output;
    EXPECT_EQ(View().BuildStockShaders(), E_FAIL);
    ASSERT_EQ(shown.size(), 2U);
    EXPECT_EQ(shown[1], L"ERROR SHADERS|EXCEPTION THROWN BuildStockShaders\nException: handler");
    EXPECT_TRUE(output.Has(L"\n     OpenGL Shader Folder: " + (m_common / L"Orrin").wstring() + L"\\ \n"));
    SetMessageBoxHandler(nullptr, nullptr);
}

TEST_F(Programs, BindingTiesTheRingOnce) {
    driver.StartJournal();
    View().EnableClientState(true, false, true, false, GLShaderPoint);
    driver.StopJournal();
    const auto storage = driver.JournalText("glBufferStorage");
    ASSERT_EQ(storage.size(), 1U);
    EXPECT_EQ(driver.Journal("glBufferStorage")[0].arguments[1], 3'539'052U);
    EXPECT_EQ(driver.Journal("glBufferStorage")[0].arguments[3], 0xC2U);
    EXPECT_EQ(driver.Journal("glMapBufferRange")[0].arguments[3], 0xC2U);
    std::vector<std::string> order;
    for (const DriverCall& call : driver.Journal()) {
        for (const char* step :
             {"glUseProgram", "glUniformMatrix4fv", "glUniform1f", "glGenVertexArrays", "glBindVertexArray",
              "glGenBuffers", "glBindBuffer", "glBufferStorage", "glMapBufferRange"}) {
            if (call.function == step) {
                order.push_back(step);
            }
        }
    }
    EXPECT_EQ(order, (std::vector<std::string>{"glUseProgram", "glUniformMatrix4fv", "glUniform1f", "glGenVertexArrays",
                                               "glBindVertexArray", "glGenBuffers", "glBindBuffer", "glBufferStorage",
                                               "glMapBufferRange"}));
    std::vector<std::vector<std::int64_t>> formats;
    for (const DriverCall& call : driver.Journal("glVertexAttribFormat")) {
        formats.emplace_back();
        for (std::size_t argument = 0; argument < 5; ++argument) {
            formats.back().push_back(call.Integer(argument));
        }
    }
    EXPECT_EQ(formats, (std::vector<std::vector<std::int64_t>>{{0, 3, GL_FLOAT, 0, 0},
                                                               {1, 3, GL_FLOAT, 0, 12},
                                                               {2, 2, GL_FLOAT, 0, 24},
                                                               {3, 4, GL_UNSIGNED_BYTE, 1, 32}}));
    driver.StartJournal();
    View().EnableClientState(true, false, true, false, GLShaderPoint);
    View().EnableClientState(true, false, true, false, GLShaderLine);
    driver.StopJournal();
    EXPECT_EQ(driver.Journal("glGenVertexArrays").size(), 1U) << "for the second program only";
    EXPECT_TRUE(driver.Journal("glGenBuffers").empty());
    EXPECT_TRUE(driver.Journal("glMapBufferRange").empty());
}

// The CPU must not write what the GPU still reads: each segment waits for the fence behind its own last draw.
TEST_F(Programs, RingGoesRoundBehindItsFences) {
    View().EnableClientState(true, false, true, false, GLShaderPoint);
    View().BeginArrays(GL_POINTS, GLShaderPoint);
    driver.JournalOnly({"glDrawArrays", "glFenceSync", "glClientWaitSync", "glDeleteSync"});
    driver.StartJournal();
    driver.SetReturnValue("glClientWaitSync", 1, 2, 0x911B); // GL_TIMEOUT_EXPIRED
    for (int flush = 0; flush < 5; ++flush) {
        for (int vertex = 0; vertex <= flush; ++vertex) {
            View().AddIndex2DVertexRGBA(1, 1, 1, 1, 1, 255);
        }
        View().FlushArrays();
    }
    driver.StopJournal();
    std::vector<std::pair<std::int64_t, std::int64_t>> draws;
    std::string order;
    for (const DriverCall& call : driver.Journal()) {
        if (call.function == "glDrawArrays") {
            draws.emplace_back(call.Integer(1), call.Integer(2));
        }
        order += call.function == "glDrawArrays"   ? 'D'
                 : call.function == "glFenceSync"  ? 'F'
                 : call.function == "glDeleteSync" ? 'x'
                                                   : 'w';
    }
    EXPECT_EQ(draws, (std::vector<std::pair<std::int64_t, std::int64_t>>{
                         {0, 1}, {32'769, 2}, {65'538, 3}, {0, 4}, {32'769, 5}}));
    EXPECT_EQ(order.substr(0, 9), "DFDFDFwww") << "the fourth flush would write where the first one was read";
    View().DisableClientState();
    EXPECT_EQ(driver.LiveObjects(DriverObject::Sync), 0U);
    driver.StartJournal();
    View().BeginArrays(GL_POINTS, GLShaderPoint);
    View().AddIndex2DVertexRGBA(1, 1, 1, 1, 1, 255);
    View().FlushArrays();
    EXPECT_EQ(driver.Journal("glDrawArrays").back().Integer(1), 0);
}

TEST_F(Programs, DriverWithoutMemoryIsToldAndRecovers) {
    driver.FailCall("glMapBufferRange", 1, 2);
    ShaderData own;
    EXPECT_EQ(View().BindVAOAndVBOBufferData(own), E_OUTOFMEMORY);
    View().EnableClientState(true, false, true, false, GLShaderPoint);
    View().BeginArrays(GL_POINTS, GLShaderPoint);
    View().AddIndex2DVertexRGBA(64.5, 64.5, 255, 0, 0, 255);
    View().EndArraysAndDisableClientState();
    live->Clear();
    View().EnableClientState(true, false, true, false, GLShaderPoint);
    View().BeginArrays(GL_POINTS, GLShaderPoint);
    View().AddIndex2DVertexRGBA(64.5, 64.5, 255, 0, 0, 255);
    View().EndArraysAndDisableClientState();
    EXPECT_EQ(live->At(64, 64), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(View().GetError(), 0U);
    glFinish();
}

TEST_F(Programs, CallersGeometryIsUploadedOnce) {
    std::vector<GLDrawGeometry> geometry(3);
    GLVBO vbo;
    driver.JournalOnly({"glBufferData", "glDrawArrays", "glDrawElements", "glBindVertexBuffer"});
    driver.StartJournal();
    View().DrawArrays(GL_POINTS, 3, vbo, nullptr);
    View().InitializeVBO(GL_POINTS, GLShaderPoint, vbo, geometry.data(), geometry.size());
    View().InitializeVBO(GL_POINTS, GLShaderPoint, vbo, geometry.data(), 2);
    View().DrawArrays(GL_POINTS, 3, vbo, nullptr);
    const unsigned int indices[] = {2, 1};
    View().DrawArrays(GL_POINTS, 2, vbo, indices);
    View().EndVBOArraysAndDisableClientState();
    driver.StopJournal();
    ASSERT_EQ(driver.Journal("glBufferData").size(), 1U);
    EXPECT_EQ(driver.Journal("glBufferData")[0].arguments[1], 3U * 36U);
    EXPECT_EQ(driver.JournalText("glDrawArrays"), (std::vector<std::string>{"glDrawArrays(0, 0, 3)"}));
    EXPECT_EQ(driver.Journal("glDrawElements").size(), 1U);
    EXPECT_NE(driver.Journal("glBindVertexBuffer").back().arguments[1], vbo.vertexBuffer) << "back on the view's own";
    View().DeleteVBO(vbo);
    EXPECT_EQ(vbo.vertexBytes, 0U);
}

struct UniformCase {
    const char* name;
    GLShaderTypes type;
    std::vector<std::vector<double>> values; ///< of each glUniform call behind the matrix, in their order
};

class Uniforms : public Programs, public testing::WithParamInterface<UniformCase> {};

TEST_P(Uniforms, ComeFromTheContextsState) {
    View().PointSize(7.0F);
    View().LineStipple(3, 0x00FF);
    View().SetCurrentColor(255, 51, 0, 102, false);
    View().DrawSetupTextureTransparency(51);
    // Only what the program has is set: the journal shows the values, the driver's list of locations which they are.
    driver.JournalOnly({"glUniform*"});
    driver.StartJournal();
    View().EnableClientState(true, true, true, true, GetParam().type);
    driver.StopJournal();
    std::vector<std::vector<double>> values;
    for (const DriverCall& call : driver.Journal()) {
        if (call.function.find("Matrix") != std::string::npos) {
            continue;
        }
        values.emplace_back();
        if (const DriverArray* array = call.Array("value")) {
            values.back() = array->values;
        } else {
            for (std::size_t argument = 1; argument < call.arguments.size(); ++argument) {
                const double value =
                    call.letters[argument] == 'f' ? call.Number(argument) : static_cast<double>(call.Integer(argument));
                values.back().push_back(std::round(value * 1e6) / 1e6);
            }
        }
    }
    EXPECT_EQ(values, GetParam().values);
    EXPECT_EQ(View().GetError(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Types, Uniforms,
    testing::Values(UniformCase{"Point", GLShaderPoint, {{7}}},
                    UniformCase{"PointSmooth", GLShaderPointSmooth, {{7}, {0}}}, UniformCase{"Line", GLShaderLine, {}},
                    UniformCase{"LineStipple", GLShaderLineStipple, {{0xFF}, {16}, {3}, {0, 0, 128, 128}}},
                    UniformCase{"Pass", GLShaderColorPassThrough, {}},
                    UniformCase{"Decal", GLShaderTextureDecal, {{0.2}, {0}}},
                    UniformCase{"Fusion", GLShaderTextureDecalFusion, {{0.2}, {0}}},
                    UniformCase{"Bitmap", GLShaderTextureBitmap, {{0}, {1, 0.2, 0, 0.4}}},
                    UniformCase{"Text", GLShaderText, {{1, 0.2, 0, 0.4}, {0, 0, 0, 0}, {0}}},
                    UniformCase{"BackingStore", GLShaderBackingStore, {{0}, {1}}}),
    [](const auto& test) { return test.param.name; });

// What a core driver does not have must not be sent, unless a host asks for just that.
TEST_F(Programs, NoFixedFunctionIsSent) {
    driver.ForbidFixedFunction(0, true);
    COpenGLView& view = View();
    for (int type = 0; type < kShaderCount; ++type) {
        view.EnableClientStateInternalBuffers(true, true, true, true, static_cast<GLShaderTypes>(type));
        view.BeginArrays(GL_TRIANGLES, static_cast<GLShaderTypes>(type));
        view.EndArraysAndDisableClientState();
    }
    view.PushMatrix(L"");
    view.Rotate(10.0, 0.0, 0.0, 1.0);
    view.PushAttributes(0, L"");
    view.Color(1, 2, 3);
    view.LineStippleOnOff(true);
    view.RasterPosition(1, 2, 3);
    view.DisableLightingState();
    view.DisableLightsAndTextures();
    view.PopAttributesAndMatrices(L"");
    view.LoadCurrentGLState();
}

} // namespace
