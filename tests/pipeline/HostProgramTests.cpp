#include "support/Outlines.h"
#include "support/PipelineFixture.h"

#include <filesystem>
#include <fstream>

namespace {

/// A program of the host's own, which shows red as blue, in place of the one that fills.
class HostPrograms : public OnPrograms {
protected:
    HostPrograms() {
        namespace fs = std::filesystem;
        m_folder = fs::temp_directory_path() / L"orrin_host_program";
        fs::create_directories(m_folder);
        CString stock;
        GetCommonFolder(stock);
        fs::copy_file(fs::path(stock.GetString()) / L"OrrinColorPassThrough.vert", m_folder / L"Own.vert",
                      fs::copy_options::overwrite_existing);
        std::ofstream(m_folder / L"Own.frag") << "#version 440 core\n"
                                                 "in vec4 color;\n"
                                                 "layout(location = 0) out vec4 fragmentColor;\n"
                                                 "void main() { fragmentColor = color.bgra; }\n";
    }
    ~HostPrograms() override { std::filesystem::remove_all(m_folder); }

    void Build(COpenGLView& view) {
        const std::wstring folder = m_folder.wstring() + L"\\";
        ASSERT_EQ(view.BuildShader(folder.c_str(), L"Own.vert", L"Own.frag", nullptr, nullptr, nullptr, nullptr,
                                   GLShaderColorPassThrough, GL_TRIANGLES, own),
                  S_OK);
    }
    void Bind(COpenGLView& view) {
        EXPECT_EQ(view.BindVariablesToShaderProgram(GLContextMain, GLShaderColorPassThrough, own), S_OK);
    }
    void DrawOwnSquare(LiveView& live) {
        live->MakeCurrent(GLContextMain);
        live.Clear();
        Bind(*live.view);
        live->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        AddSquare(*live.view, kRed);
        live->EndArrays();
    }

    ShaderData own;

private:
    std::filesystem::path m_folder;
};

TEST_F(HostPrograms, StayBoundForBatchesAndPolygonsOfTheirType) {
    {
        LiveView live;
        Build(*live.view);
        live.Clear();
        Bind(*live.view);
        driver.JournalOnly({"glUseProgram", "glDrawArrays"});
        driver.StartJournal();
        for (const double x : {0.0, 20.0}) {
            live->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
            AddSquare(*live.view, kRed, x);
            live->EndArrays();
        }
        AddOutline(*live->GetTesselator(), {RingAround(50.0, 50.0, 9, false, [](double) { return 10.0; })},
                   {255, 0, 0, 255});
        driver.StopJournal();
        EXPECT_TRUE(driver.Journal("glUseProgram").empty());
        EXPECT_EQ(driver.Journal("glDrawArrays").size(), 3U);
        for (const auto& [x, y] : {std::pair{4, 4}, {24, 4}, {50, 50}}) {
            EXPECT_EQ(live.At(x, y), kBlue) << x;
        }

        GLVBO vbo;
        const std::vector<GLDrawGeometry> corners{{80, 80, 0, 0, 0, 0, 0, 0, 255, 0, 0, 255},
                                                  {120, 80, 0, 0, 0, 0, 0, 0, 255, 0, 0, 255},
                                                  {80, 120, 0, 0, 0, 0, 0, 0, 255, 0, 0, 255}};
        EXPECT_EQ(live->BindVariablesToShaderProgram(GLContextMain, GLShaderColorPassThrough, own, vbo, corners.data(),
                                                     corners.size()),
                  S_OK);
        live->DrawArrays(GL_TRIANGLES, 3, vbo, nullptr);
        EXPECT_EQ(live.At(85, 85), kBlue);
        live->DeleteVBO(vbo);

        // It stays until the client state is disabled; then the stock program has its place again.
        live->DisableClientState();
        ExpectDraws(*live.view, kRed);
        live->DeleteShaderProgram(own.program);
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

// Programs are shared between contexts, vertex arrays are not: each context has its own, which goes with it.
TEST_F(HostPrograms, TwoViewsDrawWithTheSameProgram) {
    driver.JudgeDroppedUniforms(true);
    {
        LiveView first;
        Build(*first.view);
        auto second = std::make_unique<LiveView>();
        for (int turn = 0; turn < 3; ++turn) {
            for (LiveView* live : {&first, second.get()}) {
                (*live)->MakeCurrent(GLContextMain);
                (*live)->LoadIdentity();
                (*live)->Translate(20.0 * turn, 0.0, 0.0);
                DrawOwnSquare(*live);
                EXPECT_EQ(live->At(20 * turn + 4, 4), kBlue);
                EXPECT_EQ(live->CountDrawn(), 64) << turn;
            }
        }
        EXPECT_EQ(driver.LiveObjects(DriverObject::VertexArray), 2U);
        second.reset();
        EXPECT_EQ(driver.LiveObjects(DriverObject::VertexArray), 1U);
        DrawOwnSquare(first);
        EXPECT_EQ(first.At(44, 4), kBlue);
        first->DeleteAttributeBuffers();
        EXPECT_EQ(driver.LiveObjects(DriverObject::VertexArray), 0U);
        DrawOwnSquare(first);
        EXPECT_EQ(first.At(44, 4), kBlue);
        first->DeleteShaderProgram(own.program);
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

} // namespace
