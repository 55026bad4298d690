#include "support/Picture.h"
#include "support/PipelineFixture.h"

#include <numeric>

namespace {

constexpr std::size_t kManyRecords = 600'000;

std::vector<GLDrawGeometry> MakeRecords(std::size_t count) {
    std::vector<GLDrawGeometry> records(count);
    for (std::size_t index = 0; index < count; ++index) {
        records[index].x = static_cast<float>(index % 128);
        records[index].y = static_cast<float>(index / 128 % 128);
        records[index].nz = 1.0F;
        records[index].a = 255;
    }
    return records;
}

class SceneCalls : public BothPipelinesTest {
protected:
    static bool UsesPrograms() { return GetParam(); }
    std::vector<std::int64_t> CountsOf(const char* function, std::size_t argument) {
        std::vector<std::int64_t> counts;
        for (const DriverCall& call : driver.Journal(function)) {
            counts.push_back(call.Integer(argument));
        }
        return counts;
    }
    void Record(const std::vector<std::string>& patterns) {
        driver.JournalOnly(patterns);
        driver.StartJournal();
    }
};
INSTANTIATE_TEST_SUITE_P(Pipelines, SceneCalls, testing::Bool(), PipelineName);

// Programs get what one draw takes; fixed functions read all from where the host has it.
TEST_P(SceneCalls, RecordsThatExceedADrawAreCutIntoEqualParts) {
    const std::vector<GLDrawGeometry> records = MakeRecords(kManyRecords);
    const auto draw = [&] {
        EXPECT_EQ(View().DrawGeometry3D(GL_POINTS, GLShaderPoint, records.data(), records.size(), nullptr, 0), S_OK);
    };
    draw();
    Record({"glDrawArrays", "glGenBuffers", "glFenceSync", "glClientWaitSync"});
    draw();
    driver.StopJournal();
    const std::int64_t all = kManyRecords;
    EXPECT_EQ(CountsOf("glDrawArrays", 2),
              UsesPrograms() ? std::vector<std::int64_t>(4, all / 4) : std::vector<std::int64_t>{all});
    EXPECT_EQ(driver.Journal().size(), UsesPrograms() ? 4U : 1U) << "buffers stay, and nothing is waited for";
}

TEST_P(SceneCalls, IndicesOfAFewRecordsAreOneDrawOfThose) {
    const std::vector<GLDrawGeometry> records = MakeRecords(kManyRecords);
    const std::vector<unsigned int> indices = {500'000, 500'002, 500'001, 500'001, 500'002, 500'700};
    Record({"glDrawElements", "glDrawArrays"});
    EXPECT_EQ(View().DrawGeometry3D(GL_TRIANGLES, GLShaderColorPassThrough, records.data(), records.size(),
                                    indices.data(), indices.size()),
              S_OK);
    driver.StopJournal();
    ASSERT_EQ(driver.Journal().size(), 1U);
    const DriverCall call = driver.Journal().front();
    EXPECT_EQ(call.function, "glDrawElements");
    const DriverArray* const index = call.Array("index");
    ASSERT_NE(index, nullptr);
    const double low = UsesPrograms() ? 500'000 : 0;
    EXPECT_EQ(index->values, (std::vector<double>{500'000 - low, 500'002 - low, 500'001 - low, 500'001 - low,
                                                  500'002 - low, 500'700 - low}));
    const DriverArray* const places = call.Array(UsesPrograms() ? "attribute0" : "vertex");
    ASSERT_NE(places, nullptr);
    ASSERT_GE(places->values.size(), 3U);
    EXPECT_EQ(places->values[0], 500'000 % 128);
}

// Only triangles that lack normals are put together for fixed functions; the others are read from where they are.
TEST_P(SceneCalls, TrianglesWithoutNormalsDoNotSpoilTheOthers) {
    std::vector<GLDrawGeometry> records = MakeRecords(90'000);
    records[7].nz = 0.0F;
    Record({"glDraw*"});
    EXPECT_EQ(
        View().DrawGeometry3D(GL_TRIANGLES, GLShaderShadedColor3Stage, records.data(), records.size(), nullptr, 0),
        S_OK);
    driver.StopJournal();
    const std::vector<std::int64_t> counts = CountsOf("glDrawArrays", 2);
    EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), std::int64_t{0}), 90'000);
    EXPECT_EQ(counts.size(), UsesPrograms() ? 1U : 5U);
}

/// A host's own arrays and program, for drawing between the library's.
TEST_P(SceneCalls, HostsArraysProgramAndColorStayAsTheyWere) {
    const COrrinGLCement& gl = *View().GetContextRecord(GLContextMain).glCement;
    const float triangle[] = {0.0F, 0.0F, 9.0F, 0.0F, 0.0F, 9.0F};
    const std::vector<GLDrawGeometry> records = MakeRecords(9);
    const auto state = [&] {
        std::vector<std::int64_t> values;
        if (!UsesPrograms()) {
            for (const GLenum array :
                 {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_COLOR_ARRAY, GL_TEXTURE_COORD_ARRAY, GL_TEXTURE_2D}) {
                values.push_back(gl.glIsEnabled(array));
            }
            void* pointer = nullptr;
            glGetPointerv(GL_VERTEX_ARRAY_POINTER, &pointer);
            values.push_back(static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(pointer)));
            float color[4] = {};
            gl.glGetFloatv(GL_CURRENT_COLOR, color);
            values.push_back(std::lround(color[0] * 255.0F));
            GLint mode = 0;
            gl.glGetTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, &mode);
            values.push_back(mode);
        }
        GLint program = 0;
        gl.glGetIntegerv(GL_CURRENT_PROGRAM, &program);
        values.push_back(program);
        return values;
    };
    const unsigned int program = gl.glCreateProgram();
    gl.glLinkProgram(program);
    gl.glUseProgram(program);
    if (!UsesPrograms()) {
        View().Color(77, 0, 0);
        gl.glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_ADD);
        gl.glEnableClientState(GL_VERTEX_ARRAY);
        gl.glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        gl.glTexCoordPointer(2, GL_FLOAT, 0, triangle);
        gl.glVertexPointer(2, GL_FLOAT, 0, triangle);
    }
    const std::vector<std::int64_t> before = state();
    for (const GLShaderTypes shader : {GLShaderColorPassThrough, GLShaderShadedColor3Stage, GLShaderShadedTexture}) {
        EXPECT_EQ(View().DrawGeometry3D(GL_TRIANGLES, shader, records.data(), records.size(), nullptr, 0), S_OK);
        EXPECT_EQ(state(), before) << shader;
    }
    gl.glUseProgram(0);
    gl.glDeleteProgram(program);
    if (!UsesPrograms()) {
        gl.glDisableClientState(GL_VERTEX_ARRAY);
        gl.glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    }
    EXPECT_EQ(View().GetError(), 0U);
}

// The next batch is drawn by the library's program again, and what waited before comes first.
TEST_P(SceneCalls, BatchesBeforeAndBehindAreDrawnInTheirOrder) {
    std::vector<GLDrawGeometry> square(4);
    for (std::size_t corner = 0; corner < 4; ++corner) {
        square[corner] = {corner % 3 == 0 ? 0.0F : 8.0F,
                          corner < 2 ? 0.0F : 8.0F,
                          0.0F,
                          0.0F,
                          0.0F,
                          1.0F,
                          0.0F,
                          0.0F,
                          0,
                          255,
                          0,
                          255};
    }
    const SharedDraws shared(View());
    live->Clear();
    DrawSquare(View(), kRed);
    View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
    View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    AddSquare(View(), kRed);
    AddSquare(View(), kRed, 16.0);
    View().EndArrays();
    View().DrawGeometry3D(GL_TRIANGLE_FAN, GLShaderColorPassThrough, square.data(), 4, nullptr, 0);
    EXPECT_EQ(live->At(4, 4), kGreen);
    EXPECT_EQ(live->At(20, 4), kRed);
    DrawSquare(View(), kBlue, 16.0);
    View().Flush();
    EXPECT_EQ(live->At(20, 4), kBlue);
}

TEST_P(SceneCalls, DriverWithoutMemoryIsToldOf) {
    const std::vector<GLDrawGeometry> records = MakeRecords(9);
    const unsigned int indices[] = {0, 1, 2};
    if (!UsesPrograms()) {
        return;
    }
    for (const std::uint32_t nth : {1U, 2U}) {
        driver.FailCall("glMapBufferRange", nth);
        EXPECT_EQ(View().DrawGeometry3D(GL_TRIANGLES, GLShaderColorPassThrough, records.data(), 9, indices, 3),
                  E_OUTOFMEMORY);
        EXPECT_EQ(View().DrawGeometry3D(GL_TRIANGLES, GLShaderColorPassThrough, records.data(), 9, indices, 3), S_OK);
    }
    ExpectDraws(View(), kRed);
}

// Lights are told only what has changed: nothing for the second layer of a frame, all of it for the next camera.
TEST_P(SceneCalls, LightIsSentWhereItHasChanged) {
    const auto drawLayer = [&] {
        View().EnableClientStateInternalBuffers(true, true, true, false, GLShaderShadedColor3Stage);
        View().BeginArrays(GL_TRIANGLES, GLShaderShadedColor3Stage);
        View().EndArraysAndDisableClientState();
    };
    const auto callsOf = [&](const auto& act) {
        Record({"glLightfv"});
        act();
        drawLayer();
        driver.StopJournal();
        return driver.Journal().size();
    };
    const std::size_t whole = UsesPrograms() ? 0 : 10;
    View().SetSun(20.0, 30.0);
    View().SetUpLighting(true);
    EXPECT_EQ(callsOf([] {}), whole);
    EXPECT_EQ(callsOf([] {}), 0U);
    EXPECT_EQ(callsOf([&] { View().Rotate(30.0, 1.0, 0.0, 0.0); }), whole);
    EXPECT_EQ(callsOf([&] { View().Translate(3.0, 0.0, 0.0); }), 0U);
    const float color[] = {0.5F, 0.5F, 0.5F, 1.0F};
    EXPECT_EQ(callsOf([&] { View().Light(GL_LIGHT1, GL_AMBIENT, color); }), whole + 1) << "taken back";
    View().SetUpLighting(false);
    EXPECT_EQ(callsOf([&] { View().SetHeadlight(true); }), 0U);
}

// Off, it costs a host nothing; with fixed functions it says that it does nothing.
TEST_P(SceneCalls, EyeDomeLightingIsSilentWhereItDoesNothing) {
    driver.StartJournal();
    EXPECT_EQ(View().DrawEyeDomeLighting(), S_OK);
    if (!UsesPrograms()) {
        EXPECT_EQ(View().SetUpEyeDomeLighting(true, 1.0F, 1.0F), S_OK);
        EXPECT_EQ(View().DrawEyeDomeLighting(), S_OK);
    }
    driver.StopJournal();
    EXPECT_EQ(driver.JournalText(), std::vector<std::string>{});
    EXPECT_EQ(View().IsEyeDomeLightingAvailable(), UsesPrograms());
}

class EyeDomeCalls : public ProgramsTest {
protected:
    EyeDomeCalls() { View().SetUpEyeDomeLighting(true, 1.0F, 1.0F); }
};

TEST_F(EyeDomeCalls, RefusedProgramIsSaidAndNotTriedAgain) {
    driver.SetIntegerAnswer("glGetProgramiv", GL_LINK_STATUS, 0);
    EXPECT_EQ(View().DrawEyeDomeLighting(), E_FAIL);
    EXPECT_FALSE(View().IsEyeDomeLightingAvailable());
    driver.StartJournal();
    EXPECT_EQ(View().DrawEyeDomeLighting(), S_OK);
    driver.StopJournal();
    EXPECT_EQ(driver.JournalText(), std::vector<std::string>{});
    EXPECT_TRUE(notices.shown.empty());
    ExpectDraws(View(), kRed);
}

TEST_F(EyeDomeCalls, LaterFramesMakeNothingNew) {
    EXPECT_EQ(View().DrawEyeDomeLighting(), S_OK);
    driver.JournalOnly({"glGen*", "glCreate*", "glTex*", "glLinkProgram", "glCopyTexSubImage2D", "glDrawArrays"});
    driver.StartJournal();
    EXPECT_EQ(View().DrawEyeDomeLighting(), S_OK);
    driver.StopJournal();
    EXPECT_EQ(driver.Journal().size(), 2U) << "one copy and one pass";
    ExpectDraws(View(), kRed);
}

// The window was closed before the view, as programs do: the others of the share group delete what the view had.
TEST_F(OnPrograms, SceneObjectsOfAClosedWindowAreDeletedByTheOthers) {
    const std::vector<GLDrawGeometry> records = MakeRecords(9);
    const unsigned int indices[] = {0, 1, 2};
    {
        LiveView other;
        {
            LiveView live;
            live->SetUpEyeDomeLighting(true, 1.0F, 1.0F);
            live->DrawGeometry3D(GL_TRIANGLES, GLShaderColorPassThrough, records.data(), 9, indices, 3);
            EXPECT_EQ(live->DrawEyeDomeLighting(), S_OK);
            live.window.Destroy();
        }
        other->MakeCurrent(GLContextMain);
        ExpectDraws(*other.view, kRed);
        // The ring of the other view alone.
        EXPECT_EQ(driver.LiveObjects(DriverObject::Buffer), 1U);
        EXPECT_EQ(driver.LiveObjects(DriverObject::Texture), 0U);
        EXPECT_EQ(driver.LiveObjects(DriverObject::Program), 13U);
    }
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
}

} // namespace
