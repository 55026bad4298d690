#include "support/Outlines.h"
#include "support/Picture.h"
#include "support/PipelineFixture.h"

#include <filesystem>
#include <fstream>

namespace {

constexpr Pixel kBackground{10, 20, 30, 255};

void DrawTriangleFrom(COpenGLView& view, GLVBO& vbo) {
    view.DrawArrays(GL_TRIANGLES, 3, vbo, nullptr);
    view.EndVBOArraysAndDisableClientState();
}

/// Records that make a white triangle over much of the window.
const std::vector<GLDrawGeometry> kTriangle{{10, 10, 0, 0, 0, 1, 0, 0, 255, 255, 255, 255},
                                            {120, 10, 0, 0, 0, 1, 1, 0, 255, 255, 255, 255},
                                            {10, 120, 0, 0, 0, 1, 0, 1, 255, 255, 255, 255}};

class MissingShaders : public OnPrograms {
protected:
    MissingShaders() {
        m_folder = std::filesystem::temp_directory_path() / L"orrin_no_shaders";
        std::filesystem::create_directories(m_folder);
        SetEnvironmentVariableW(L"CommonProgramFiles", m_folder.c_str());
    }
    ~MissingShaders() override {
        UseBuiltShaders();
        std::filesystem::remove_all(m_folder);
        COpenGLView::m_gFontManager.DeleteFontLibrary();
    }

private:
    std::filesystem::path m_folder;
};

// OpenGL without a program draws white. A user who has lost the files is told once and sees an empty map.
TEST_F(MissingShaders, LeaveTheBackground) {
    {
        LiveView live;
        ASSERT_EQ(live.created, 1);
        EXPECT_EQ(OnlyNotice().text.find(L"Unable to open OpenGL 4.x Shader File: "), 0U);
        EXPECT_TRUE(live->DrawsWithPrograms());
        EXPECT_EQ(live->GetDrawingState(), GLDrawingNoPrograms);
        COpenGLView& view = *live.view;
        live.Clear(RGB(10, 20, 30));
        EXPECT_EQ(view.GetError(), 0U);
        driver.JournalOnly({"glDraw*"});
        driver.StartJournal();
        view.Color(255, 255, 255);
        for (int type = 0; type < kShaderCount; ++type) {
            const auto shader = static_cast<GLShaderTypes>(type);
            view.EnableClientStateInternalBuffers(true, true, true, true, shader);
            view.BeginArrays(GL_TRIANGLES, shader);
            AddSquare(view, {255, 255, 255, 255});
            view.EndArrays();
            view.BeginArrays(GL_TRIANGLES, shader);
            AddSquare(view, {255, 255, 255, 255}, 20.0);
            view.EndArraysAndDisableClientState();
            GLVBO vbo;
            view.InitializeVBO(GL_TRIANGLES, shader, vbo, kTriangle.data(), kTriangle.size());
            DrawTriangleFrom(view, vbo);
            view.DeleteVBO(vbo);
        }
        FillOutline(view, {RingAround(50.0, 50.0, 9, false, [](double) { return 30.0; })}, {255, 255, 255, 255});
        view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        view.DrawFontAtlasText(L"white", 20.0, 20.0, 0.0, false, false);
        view.DrawTeardownFontAtlasText(false, false);
        const std::vector<unsigned char> image(16 * 16 * 4, 255);
        view.DrawImage(10.0, 10.0, 100.0, 100.0, 0.0, GL_RGBA, 16, 16, 4, GL_NEAREST, image.data());
        driver.StopJournal();
        EXPECT_EQ(driver.JournalText(), std::vector<std::string>{});
        EXPECT_EQ(TakePicture(view, 128, 128).CountDrawn(kBackground), 0);
        EXPECT_EQ(view.GetError(), 0U);
        EXPECT_EQ(notices.shown.size(), 1U);
    }
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
}

// A file that somebody has replaced: a compiler would take minutes over it.
TEST_F(MissingShaders, FileBeyondAMegabyteIsRefused) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / L"orrin_no_shaders";
    for (const std::size_t size : {std::size_t{1} << 20, (std::size_t{1} << 20) + 1}) {
        std::ofstream(folder / L"large.vert", std::ios::binary) << std::string(size, ' ');
        char* source = nullptr;
        unsigned long length = 0;
        const long result = LoadShader((folder.wstring() + L"\\").c_str(), L"large.vert", &source, &length);
        EXPECT_EQ(result, length == size ? S_OK : E_INVALIDARG);
        EXPECT_EQ(length, size <= std::size_t{1} << 20 ? size : 0U);
        EXPECT_EQ(source != nullptr, length != 0);
        DeleteShaderSource(&source);
    }
    EXPECT_NE(OnlyNotice().text.find(L"large.vert is larger than 1048576 bytes."), std::wstring::npos);
}

/// A view with a batch that a program is bound for already.
class Bounds : public OnPrograms {
protected:
    Bounds() {
        live.Clear(RGB(10, 20, 30));
        live->EnableClientState(true, false, true, false, GLShaderColorPassThrough);
        driver.JournalOnly({"glDraw*", "glBufferData"});
        driver.StartJournal();
    }
    void ExpectNothingDrawn() {
        EXPECT_EQ(driver.JournalText(), std::vector<std::string>{});
        EXPECT_EQ(TakePicture(*live.view, 128, 128).CountDrawn(kBackground), 0);
        EXPECT_EQ(live->GetError(), 0U);
    }
    /// What is drawn next with a stock program is right.
    void ExpectDrawsOn() {
        driver.StopJournal();
        ExpectDraws(*live.view, kRed);
    }

    LiveView live;
};

class NoShader : public Bounds, public testing::WithParamInterface<int> {};

TEST_P(NoShader, IsRefused) {
    const auto shader = static_cast<GLShaderTypes>(GetParam());
    COpenGLView& view = *live.view;
    ShaderData data;
    GLVBO vbo;
    EXPECT_EQ(view.BindVariablesToShaderProgram(GLContextMain, shader, data), E_INVALIDARG);
    EXPECT_EQ(view.BindVariablesToShaderProgram(GLContextMain, shader, data, vbo, kTriangle.data(), kTriangle.size()),
              E_INVALIDARG);
    EXPECT_EQ(view.BindMatricesToShaderProgram(GLContextMain, shader), E_INVALIDARG);
    view.SetPolygonFillMode(shader);
    const auto drawBatch = [&] {
        view.BeginArrays(GL_TRIANGLES, shader);
        AddSquare(view, {255, 255, 255, 255});
        view.EndArrays();
    };
    drawBatch();
    view.EnableClientState(true, true, true, true, shader);
    drawBatch();
    view.EnableClientStateInternalBuffers(true, true, true, true, shader);
    drawBatch();
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
    drawBatch();
    view.EnableClientStateInternalVertexAndTexture(3, GL_FLOAT, 2, GL_FLOAT, 0, shader);
    drawBatch();
    view.InitializeVBO(GL_TRIANGLES, shader, vbo, kTriangle.data(), kTriangle.size());
    EXPECT_EQ(vbo.vertexBytes, 0U);
    DrawTriangleFrom(view, vbo);
    ExpectNothingDrawn();
    ExpectDrawsOn();
}

INSTANTIATE_TEST_SUITE_P(Numbers, NoShader, testing::Values(-1, 13, 1000), [](const auto& tested) {
    return tested.param < 0 ? std::string("Negative") : "Number" + std::to_string(tested.param);
});

// The program of the batch before must not draw what was meant for another.
TEST_F(Bounds, RefusedProgramDrawsNothingWithTheOneBefore) {
    COpenGLView& view = *live.view;
    GLVBO vbo;
    view.InitializeVBO(GL_TRIANGLES, GLShaderColorPassThrough, vbo, kTriangle.data(), kTriangle.size());
    EXPECT_NE(vbo.vertexBytes, 0U);
    driver.StartJournal();
    view.InitializeVBO(GL_TRIANGLES, static_cast<GLShaderTypes>(13), vbo, kTriangle.data(), kTriangle.size());
    view.DrawArrays(GL_TRIANGLES, 3, vbo, nullptr);
    AddSquare(view, {255, 255, 255, 255});
    view.EndArrays();
    ExpectNothingDrawn();
    view.DeleteVBO(vbo);
    ExpectDrawsOn();
}

// 36 times this is 20 bytes in 64 bits: nothing of that may be uploaded, and 3 vertices drawn from it.
TEST_F(Bounds, CountWhoseSizeWrapsIsRefused) {
    constexpr unsigned __int64 count = 512'409'557'603'043'101;
    static_assert(count * sizeof(GLDrawGeometry) == 20);
    COpenGLView& view = *live.view;
    GLVBO vbo;
    ShaderData own;
    EXPECT_EQ(
        view.BindVariablesToShaderProgram(GLContextMain, GLShaderColorPassThrough, own, vbo, kTriangle.data(), count),
        E_INVALIDARG);
    EXPECT_EQ(view.BindVAOAndVBOBufferData(own, vbo, kTriangle.data(), count), E_INVALIDARG);
    view.InitializeVBO(GL_TRIANGLES, GLShaderColorPassThrough, vbo, kTriangle.data(), count);
    EXPECT_EQ(vbo.vertexBytes, 0U);
    DrawTriangleFrom(view, vbo);
    ExpectNothingDrawn();
    ExpectDrawsOn();
}

TEST_F(Bounds, FullBatchOfLinesIsOneDraw) {
    live->BeginArrays(GL_LINES, GLShaderLine);
    for (int vertex = 0; vertex < 40'000; ++vertex) {
        live->AddIndex2DVertexRGBA(vertex % 128, 5.5, 255, 255, 255, 255);
    }
    live->EndArrays();
    std::vector<std::pair<std::int64_t, std::int64_t>> draws;
    for (const DriverCall& call : driver.Journal("glDrawArrays")) {
        draws.emplace_back(call.Integer(0), call.Integer(2));
    }
    EXPECT_EQ(draws, (std::vector<std::pair<std::int64_t, std::int64_t>>{{GL_LINES, 32'769}, {GL_LINES, 7231}}));
}

using RefusedMemory = OnPrograms;

// A card without memory for vertices leaves a view blank: its host can ask why, and support reads it.
TEST_F(RefusedMemory, HostIsToldUntilThereIsSome) {
    LiveView live;
    COpenGLView& view = *live.view;
    EXPECT_EQ(view.GetDrawingState(), GLDrawingReady);
    const DebugOutput output;
    driver.FailCall("glMapBufferRange", 1, 1'000);
    for (int frame = 0; frame < 3; ++frame) {
        view.SetBackgroundColor(0, true);
        DrawSquare(view, kRed);
        EXPECT_EQ(view.GetDrawingState(), GLDrawingNoVertexStorage);
    }
    EXPECT_EQ(BackBufferAt(view, 4, 4), kBlack);
    EXPECT_EQ(output.Count(L"refuses memory for vertices"), 1) << "once, not once a frame";
    driver.FailCall("glMapBufferRange", 1, 0);
    ExpectDraws(view, kGreen);
    EXPECT_EQ(view.GetDrawingState(), GLDrawingReady);
    view.MakeNull();
    EXPECT_EQ(view.GetDrawingState(), GLDrawingNotCurrent);
    view.MakeCurrent(GLContextMain);
    view.DeleteContext(L"test", GLContextMain);
    EXPECT_EQ(view.GetDrawingState(), GLDrawingNoContext);
}

// Without fences nothing tells when a segment may be written again; the driver judges each write.
TEST_F(RefusedMemory, WithoutFencesNoSegmentIsWrittenOver) {
    LiveView live;
    driver.FailCall("glFenceSync", 1, 1'000);
    for (const bool shared : {false, true}) {
        live->SetSharedDraws(shared);
        live.Clear();
        for (int batch = 0; batch < 12; ++batch) {
            DrawSquare(*live.view, batch < 11 ? kRed : kGreen);
        }
        EXPECT_EQ(live.At(4, 4), kGreen);
    }
}

} // namespace
