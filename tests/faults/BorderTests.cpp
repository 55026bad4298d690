// Every operation that takes memory, with each of its allocations failing in turn: nothing is thrown at the host, whose
// compiler may know nothing of the library's exceptions, and what is drawn next is right.

#include "FailingAllocation.h"
#include "support/TextFixture.h"

#include <functional>

namespace {

const std::wstring kLongName = L"a name that no string holds in itself, whatever its size is";

/// A row of the table below. It is run again and again, while its first allocation fails, its second and so on.
struct Operation {
    const char* name;
    std::function<void(LiveView& live)> run;
    int step = 1; ///< only each so many-th allocation, of those that take long
};

/// Runs it until no allocation fails any more. How many did.
int FailEach(const Operation& operation, LiveView& live) {
    int failed = 0;
    for (int failing = 0; failing < 20'000; failing += operation.step) {
        g_failures = 0;
        g_asked = 0;
        g_failingNumber = failing;
        bool thrown = false;
        try {
            operation.run(live);
        } catch (...) {
            thrown = true;
        }
        g_failingNumber = -1;
        EXPECT_FALSE(thrown) << "at allocation " << failing;
        if (g_failures == 0) {
            return failed;
        }
        ++failed;
    }
    ADD_FAILURE() << "it never came to its end";
    return failed;
}

const std::vector<PointXYZ> kZigzag{{10, 10, 0}, {60, 100, 0}, {70, 20, 0}, {110, 90, 0}};
const std::vector<std::vector<PointXYZ>> kRings{{{10, 10, 0}, {110, 10, 0}, {20, 110, 0}, {100, 100, 0}},
                                                {{40, 30, 0}, {60, 30, 0}, {50, 50, 0}}};
const FontParameters kFont = FontRequest(L"arial", 9);
FontParameters g_parameters; // its own texts take memory too
const std::vector<unsigned char> kImage(64 * 64 * 4, 77);
const std::vector<float> kValues(64 * 64, 0.5F);
std::vector<GLDrawGeometry> Records() {
    std::vector<GLDrawGeometry> records(3000);
    for (std::size_t index = 0; index < records.size(); ++index) {
        records[index] = {
            static_cast<float>(index % 100), static_cast<float>(index % 37), 0, 0, 0, 0, 0, 0, 255, 255, 255, 255};
    }
    return records;
}
const std::vector<GLDrawGeometry> kRecords = Records();

const GLLineStyle kLine = [] {
    GLLineStyle style;
    style.width = 5.0;
    style.casingWidth = 8.0;
    style.dashes = {6.0, 3.0};
    style.join = GLLineJoinRound;
    return style;
}();
const GLPolygonStyle kPolygon = [] {
    GLPolygonStyle style;
    style.hatch.emplace();
    style.outline.emplace();
    return style;
}();

void DrawOverlay(COpenGLView& view, GLCoveredArea&, void*) {
    view.DrawLineString(kZigzag.data(), static_cast<int>(kZigzag.size()), {});
}

/// What only takes names, paths and texts.
std::vector<Operation> TextOperations() {
    return {
        {"a view",
         [](LiveView&) {
             alignas(COpenGLView) static std::byte place[sizeof(COpenGLView)];
             std::destroy_at(new (place) COpenGLView);
         }},
        {"a context",
         [](LiveView& live) {
             live->RecreateContext(true, live.window.DeviceContext(), kLongName.c_str());
             live->DeleteContext(kLongName.c_str(), GLContextLegacy);
             live->MakeContextCurrent(live.window.DeviceContext(), true, GLContextMain, kLongName.c_str());
         },
         3},
        {"a copy",
         [](LiveView& live) {
             alignas(COpenGLView) static std::byte place[sizeof(COpenGLView)];
             auto* const copy = new (place) COpenGLView(*live.view);
             *copy = *live.view;
             std::destroy_at(copy);
         }},
        {"version",
         [](LiveView& live) {
             const OpenGLVersionData before = COpenGLView::m_gsOpenGLVersionData;
             COpenGLView::SetOpenGLVersion(2, 0);
             COpenGLView::m_gsOpenGLVersionData = before;
             int combined = 20;
             int major = 2;
             int minor = 0;
             GLVideoCardVendor vendor = VendorOther;
             live->GetVendorGLVersion(combined, major, minor, vendor);
             ParseGLVersionText("4.6.0 - a text that no string holds in itself");
             SetEnvironmentVariableW(L"ORRIN_OPENGL_VERSION", L"46");
             GetOpenGL11UserEnvironmentVariable();
             SetEnvironmentVariableW(L"ORRIN_OPENGL_VERSION", nullptr);
             GetOpenGLTextureCacheEnvironmentVariable();
         }},
        {"process",
         [](LiveView&) {
             CString name;
             GetParentProcessName(name);
             IsProcessRunningAsAnExecutableAndNotAService();
         }},
        {"paths",
         [](LiveView&) {
             CString path;
             CStringA narrow;
             GetExecutablePath(path);
             GetExecutablePathASCII(narrow);
             GetCommonFolder(path);
             UseShaderFolder(kLongName.c_str());
             GetShaderFolder(path);
             UseShaderFolder(nullptr);
             GetShaderFolder(path);
         }},
        {"shader file",
         [](LiveView&) {
             CString folder;
             GetCommonFolder(folder);
             for (const wchar_t* file : {L"OrrinLine.vert", L"a file that is not there at all"}) {
                 char* source = nullptr;
                 unsigned long length = 0;
                 LoadShader(folder, file, &source, &length);
                 DeleteShaderSource(&source);
             }
         }},
        {"a program",
         [](LiveView& live) {
             ShaderData data;
             live->BuildShader(L"C:\\a folder that is not there at all\\", kLongName.c_str(), kLongName.c_str(),
                               nullptr, nullptr, nullptr, nullptr, GLShaderLine, GL_LINES, data);
             unsigned int none = 0;
             live->DisplayShaderErrorLogMessage(none, kLongName.c_str(), kLongName.c_str(), true);
         }},
        {"stock programs", [](LiveView& live) { live->BuildStockShaders(); }, 29},
        {"pixel formats",
         [](LiveView& live) {
             const TestWindow window;
             live->SetupAdvancedPixelFormatForOpenGL(window.DeviceContext(), GLContextLegacy, true, 77, true, true,
                                                     true);
         }},
        {"font files",
         [](LiveView&) {
             CString path;
             GetFontSystemPath(kLongName.c_str(), path);
             FontLookUpName(kFont);
             HKEY key = nullptr;
             RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", 0, KEY_READ, &key);
             QueryFontKey(key, kLongName.c_str(), path);
             RegCloseKey(key);
         }},
        {"a font",
         [](LiveView&) {
             alignas(CFTGLFontAtlas) static std::byte place[sizeof(CFTGLFontAtlas)];
             auto* const atlas = new (place) CFTGLFontAtlas;
             atlas->InitializeObject();
             std::destroy_at(atlas);
         }},
        {"the default font",
         [](LiveView& live) {
             COpenGLView::m_gFontManager.DeleteFontLibrary();
             live->InitializeFontManager();
         },
         501},
        {"font parameters", [](LiveView& live) { live->GetFontParameters(g_parameters); }},
        {"differences",
         [](LiveView& live) {
             live->GetContextRecord(GLContextMain).glCement->glLineWidth(7.0F);
             CString report;
             EXPECT_GT(live->ValidateState(&report), 0);
             live->ResetGLState();
         }},
    };
}

/// What draws.
std::vector<Operation> DrawingOperations() {
    return {
        {"frame",
         [](LiveView& live) {
             live->SetBackgroundColor(0, true);
             live->SwapBuffers();
         }},
        {"overlays",
         [](LiveView& live) {
             live->SetBackgroundColor(0, true);
             const int overlay = live->AddOverlay(&DrawOverlay, nullptr, 0);
             live->RedrawOverlays();
             live->RemoveOverlay(overlay);
             live->RedrawOverlays();
         },
         5},
        {"rubber band",
         [](LiveView& live) {
             live->SetBackgroundColor(0, true);
             live->BeginRubberBand(GLRubberBandLineString, 10.0, 10.0);
             live->MoveRubberBand(50.0, 40.0);
             live->AddRubberBandPoint(60.0, 90.0);
             live->EndRubberBand(true);
         },
         7},
        {"lines",
         [](LiveView& live) {
             live->DrawLineString(kZigzag.data(), static_cast<int>(kZigzag.size()), kLine);
             live->DrawOffsetLineString(kZigzag.data(), static_cast<int>(kZigzag.size()), 4.0, kLine);
             std::vector<PointXY> out;
             COpenGLView::OffsetLineString(kZigzag.data(), static_cast<int>(kZigzag.size()), 4.0, GLLineJoinRound, 4.0,
                                           out);
         },
         7},
        {"polygons",
         [](LiveView& live) {
             live->DrawPolygon(kRings, kPolygon);
             live->DrawSymbol(GLSymbolCircle, 50.0, 50.0, 0.0, {});
         },
         7},
        {"profile",
         [](LiveView& live) {
             const PointXY line[] = {{0, 0}, {100, 0}, {100, 50}};
             live->SetUpProfileView(line, 3, 20.0, 0.0, 10.0, 0.0);
             live->AddProfilePoints(kRecords.data(), kRecords.size());
             live->DrawProfilePoints();
             live->DrawProfileGrid({});
             live->SetProfileCursor(50.0, 5.0);
             live->HideProfileCursor();
             live.DrawInPixels();
         },
         11},
        {"links",
         [](LiveView& live) {
             static COpenGLView other;
             live->LinkProfile(other);
             live->UnlinkProfile(other);
         }},
        {"images",
         [](LiveView& live) {
             live->DrawImage(0, 0, 64, 64, 0, GL_RGBA, 64, 64, 4, GL_LINEAR_MIPMAP_LINEAR, kImage.data());
             unsigned int texture = 0;
             unsigned int sampler = 0;
             live->LoadDataRaster(GL_FLOAT, 64, 64, 4, GL_NEAREST, kValues.data(), {}, texture, sampler);
             live->UpdateGLImage(texture, GL_RGBA, 0, 0, 8, 8, 4, kImage.data());
             live->DeleteTextureAndSamplerNames(texture, sampler);
         }},
        {"records",
         [](LiveView& live) {
             live->DrawGeometry3D(GL_TRIANGLES, GLShaderShadedColor3Stage, kRecords.data(), kRecords.size(), nullptr,
                                  0);
         }},
        {"stored frame",
         [](LiveView& live) {
             live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, 128, 128);
             live->RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, 128, 128, 0, 0, 128, 128, false, true, false);
             live->DeleteBackingStore();
         }},
        {"text",
         [](LiveView& live) {
             live->DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
             live->DrawFontAtlasText(kLongName.c_str(), 20.0, 20.0, 0.0, false, false);
             live->DrawTeardownFontAtlasText(false, true);
         }},
    };
}

class Border : public FreshProcessTest, public testing::WithParamInterface<bool> {
protected:
    void FailEachOf(const std::vector<Operation>& operations) {
        try { // the first exception of a thread keeps memory of the runtime's
            throw std::bad_alloc();
        } catch (const std::bad_alloc&) {
        }
        const std::unique_ptr<COpenGLView> first = GetParam() ? ChoosePrograms() : nullptr;
        LiveView live;
        int failed = 0;
        for (const Operation& operation : operations) {
            SCOPED_TRACE(operation.name);
            std::vector<NoticeRecord>().swap(notices.shown);
            failed += FailEach(operation, live);
            live->MakeCurrent(GLContextMain);
            live->ResetGLState();
            live.DrawInPixels();
            live.Clear();
            live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderLine);
            live->BeginArrays(GL_LINES, GLShaderLine);
            live->AddIndex2DVertexRGBA(10, 20.5, 200, 100, 50, 255);
            live->AddIndex2DVertexRGBA(100, 20.5, 200, 100, 50, 255);
            live->EndArraysAndDisableClientState();
            EXPECT_EQ(live.At(50, 20), (Pixel{200, 100, 50, 255}));
            live->GetError();
        }
        EXPECT_GT(failed, 50) << "else nothing was shown";
    }
};

TEST_P(Border, IsNotCrossedByWhatTakesTexts) {
    FailEachOf(TextOperations());
}

TEST_P(Border, IsNotCrossedByWhatDraws) {
    FailEachOf(DrawingOperations());
}

INSTANTIATE_TEST_SUITE_P(Pipelines, Border, testing::Bool(), PipelineName);

} // namespace
