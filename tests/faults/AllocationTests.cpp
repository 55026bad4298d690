// The library's sources linked into this program, where malloc can be made to fail.

#include "FailingAllocation.h"
#include "clouds/PointCloudLayer.h"
#include "images/RasterLayer.h"
#include "support/TextFixture.h"

#include <clouds/PointCloudLayer.h>
#include <images/RasterLayer.h>

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <malloc.h>
#include <new>
#include <optional>

namespace {

int g_live = 0; ///< allocated and not freed
std::size_t g_liveBytes = 0;
std::size_t g_mostBytes = 0; ///< at a time, since the test set it to g_liveBytes

std::size_t g_largest = 0; ///< that was asked for since the test set it to 0

bool Fails(std::size_t size) {
    g_largest = std::max(g_largest, size);
    const bool fails = g_asked++ == g_failingNumber || HasFailingSize(size);
    g_failures += fails ? 1 : 0;
    return fails;
}

void* Counted(void* memory) {
    g_live += memory ? 1 : 0;
    g_liveBytes += memory ? _msize(memory) : 0;
    g_mostBytes = std::max(g_mostBytes, g_liveBytes);
    return memory;
}

/// Runs `operation` again and again, while its first allocation fails, its second, ... until it needs no more of them.
/// `judge` is told what each run gave.
template <typename Operation, typename Judge> void FailEachAllocation(Operation operation, Judge judge) {
    int failing = 0;
    do {
        g_failures = 0;
        g_asked = 0;
        g_failingNumber = failing++;
        const auto result = operation();
        g_failingNumber = -1;
        judge(result, g_failures != 0);
    } while (g_failures != 0 && failing < 1'000);
    EXPECT_GT(failing, 1) << "it allocates";
}

using Allocation = FreshProcessTest;

TEST_F(Allocation, ViewWithoutItsMathTellsSoAndDrawsOn) {
    std::unique_ptr<COpenGLView> view;
    {
        const FailingAllocation failing(sizeof(COpenGLMath));
        view = std::make_unique<COpenGLView>();
        EXPECT_EQ(failing.Failures(), 2);
    }
    ASSERT_EQ(notices.shown.size(), 2U) << "one for each context";
    EXPECT_EQ(notices.shown[0].text, L"Out of Memory. Unable to create new OpenGL Math object.  Fatal Error");
    EXPECT_EQ(view->GetContextRecord(GLContextMain).math, nullptr);
    view->MatrixMode(GL_MODELVIEW);
    view->LoadIdentity();
    view->Translate(1.0, 2.0, 3.0);
    view->SetEyePoint(GLContextMain, {1, 2, 3});
    EXPECT_EQ(view->GetContextRecord(GLContextMain).camera.eye, glm::dvec3(1, 2, 3));
}

// A machine that has no pages left for another window's arrays: what is added must not fall into nothing.
TEST_F(Allocation, ViewsWithoutArraysOfTheirOwnDrawStill) {
    constexpr std::size_t arrays = std::size_t{kBatchArrayRecords} * (sizeof(GLDrawGeometry) + sizeof(unsigned int));
    const FailingAllocation failing(arrays);
    LiveView first;
    LiveView second;
    EXPECT_GE(failing.Failures(), 2);
    for (LiveView* live : {&first, &second, &first}) {
        (*live)->MakeCurrent(GLContextMain);
        live->Clear();
        (*live)->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
        (*live)->BeginArrays(GL_POINTS, GLShaderPoint);
        for (int point = 0; point < 100; ++point) {
            (*live)->AddIndex2DVertexRGBA(point + 0.5, 5.5, 200, 0, 0, 255);
        }
        (*live)->EndArraysAndDisableClientState();
        EXPECT_EQ(live->CountDrawn(), 100);
    }
}

TEST_F(Allocation, ContextWithoutItsFunctionsDrawsNothingAndCrashesNothing) {
    LiveView live;
    ASSERT_EQ(live.created, 1);
    live->DeleteContext(L"again", GLContextMain);
    TestWindow window;
    {
        const FailingAllocation failing(sizeof(COrrinGLCement));
        live->CreateContext(window.DeviceContext(), true, GLContextMain, L"test", 32, AccelerationHardware);
        EXPECT_GE(failing.Failures(), 1);
        EXPECT_EQ(live->MakeGLCementAndLoad(GLContextMain), 0);
    }
    EXPECT_EQ(live->GetContextRecord(GLContextMain).glCement, nullptr);
    live->SetBackgroundColor(RGB(1, 2, 3), true);
    EXPECT_EQ(live->GetError(), 0U);
    EXPECT_EQ(live->MakeGLCementAndLoad(GLContextMain), 1) << "once there is memory, the same context draws";
    live.Clear(RGB(7, 8, 9));
    EXPECT_EQ(live.At(3, 3), (Pixel{7, 8, 9, 255}));
    live->DeleteContext(L"before its window", GLContextMain);
}

TEST_F(Allocation, ViewWithoutATesselatorLivesAndDies) {
    std::unique_ptr<COpenGLView> view;
    {
        const FailingAllocation failing(sizeof(GLTesselator));
        view = std::make_unique<COpenGLView>();
        EXPECT_GE(failing.Failures(), 1);
    }
    EXPECT_EQ(view->GetTesselator(), nullptr);
    TestWindow window;
    view->ShutDownOpenGLContexts(window.Window());
}

// Reading a raster may need more than there is: it tells so, leaves no texture behind, and draws when there is room.
TEST_F(Allocation, RasterLayerTellsAndLeavesNoTextures) {
    LiveView live;
    const GLRasterReader reader = [](const GLRasterWindow& window, void* pixels) {
        std::fill_n(static_cast<float*>(pixels), window.width * window.height, 0.5F);
        return GLRasterReadDone;
    };
    const GLDataStyle style{.stops = {{0.0, {9, 9, 9, 255}}}};
    const auto draw = [&]() -> long {
        try {
            CRasterLayer layer(
                {.width = 300, .height = 300, .pixels = GL_FLOAT, .placement = {.originY = 128.0}, .style = style},
                reader);
            layer.SetReadingTime(1e9);
            const long result = layer.Draw(*live.view);
            live->DeleteDisplayTextureCache();
            return result;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY; // the host's own copies of description and reader
        }
    };
    FailEachAllocation(draw, [&](long result, bool failed) {
        EXPECT_TRUE(result == S_OK || (failed && result == E_OUTOFMEMORY)) << result;
        for (unsigned int name = 1; name < 100; ++name) {
            ASSERT_EQ(glIsTexture(name), GL_FALSE) << name;
        }
    });
    EXPECT_EQ(live.At(40, 40), (Pixel{9, 9, 9, 255}));
}

// A cache that runs out of memory tells so and keeps its bookkeeping right.
TEST_F(Allocation, TextureCacheKeepsItsBooks) {
    LiveView live;
    COpenGLViewTextureManager& cache = COpenGLView::m_gRasterTextureManager;
    GLTextureObject* entry = nullptr;
    const auto request = [&] {
        return live->RequestTextureFromCache(L"a name that no string holds in itself", 8, 8, 1, 4, 8, 8, 0, 0, 7, 7,
                                             1.0, 0, 0, true, true, true, true, true, &entry);
    };
    FailEachAllocation(request, [](bool hit, bool) { EXPECT_FALSE(hit); });
    FailEachAllocation([&] { return live->AddRequestedTexture(5, 0, &entry); },
                       [&](long result, bool failed) {
                           EXPECT_EQ(result, failed ? E_OUTOFMEMORY : S_OK);
                           EXPECT_EQ(entry != nullptr, !failed);
                           EXPECT_EQ(cache.GetTextureCacheSize(), failed ? 0U : 256U);
                           EXPECT_EQ(cache.GetCount(), failed ? 0 : 1);
                       });
    FailEachAllocation([&] { return cache.MakeTextureNewest(entry); },
                       [&](long result, bool failed) { EXPECT_EQ(result, failed ? E_OUTOFMEMORY : S_OK); });
    EXPECT_TRUE(request());
    EXPECT_EQ(cache.DeleteTextureObjects(), S_OK);
    FailEachAllocation([&] { return live->AddSamplerNameToDeleteStack(7), 0; }, [](int, bool) {});
    EXPECT_EQ(COpenGLView::m_gcaSamplersForWindowToDelete.GetSize(), 1);
    COpenGLView::m_gcaSamplersForWindowToDelete.RemoveAll();
}

// What is kept of a map outgrows the memory at any point: it is empty then, and the batch draws on.
TEST_F(Allocation, GeometryThatFindsNoMemoryIsEmpty) {
    LiveView live;
    GLGeometry geometry;
    const auto square = [&](double x) {
        live->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (const auto& [right, up] : {std::pair{0, 0}, {8, 0}, {8, 8}, {0, 0}, {8, 8}, {0, 8}}) {
            live->AddIndex2DVertexRGBA(x + right, up, 200, 100, 50, 255);
        }
        live->EndArrays();
    };
    const auto fill = [&](unsigned int mode) {
        geometry.Clear();
        if (const long result = live->BeginGeometry(geometry); result != S_OK) {
            return result;
        }
        for (int strip = 0; strip < 3; ++strip) {
            live->BeginArrays(mode, GLShaderLine);
            for (int vertex = 0; vertex < 20'000; ++vertex) {
                live->AddIndex2DVertexRGBA(vertex, strip, 200, 100, 50, 255);
            }
            live->EndArrays();
        }
        return live->EndGeometry();
    };
    for (const unsigned int mode : {GL_LINE_LOOP, GL_TRIANGLE_STRIP}) {
        FailEachAllocation([&] { return fill(mode); },
                           [&](long result, bool failed) {
                               // Room that is to be given back may stay.
                               const bool filled = geometry.GetCount() > 0;
                               EXPECT_EQ(result, filled ? S_OK : E_OUTOFMEMORY);
                               EXPECT_TRUE(filled || failed);
                           });
        EXPECT_EQ(geometry.GetCount(), mode == GL_LINE_LOOP ? 60'003 : 179'982);
    }
    FailEachAllocation([&] { return geometry.Clear(), geometry.Reserve(100); },
                       [](long result, bool failed) { EXPECT_EQ(result, failed ? E_OUTOFMEMORY : S_OK); });
    live.Clear();
    live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
    square(20.0);
    live->DisableClientState();
    EXPECT_EQ(live.At(24, 4), (Pixel{200, 100, 50, 255}));
}

/// A diagonal of points.
class DiagonalReader : public PointCloudReader {
public:
    long Read(PointCloudPoint* points, std::size_t capacity, std::size_t& count) override {
        for (count = 0; count < capacity && m_next < 5'000; ++count, ++m_next) {
            points[count].position = {m_next % 128 + 0.5, m_next % 128 + 0.5, 0.0};
            points[count].red = 0xFFFF;
        }
        return S_OK;
    }

private:
    int m_next = 0;
};

TEST_F(Allocation, CloudThatFindsNoMemoryIsDrawnOnceItDoes) {
    LiveView live;
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    limits.chunkPoints = 1'000;
    CPointCloudLayer layer(std::make_unique<DiagonalReader>(), limits);
    const auto draw = [&] {
        layer.Forget(*live.view);
        layer.FreeCard();
        live.Clear();
        return layer.Draw(*live.view, {});
    };
    while (!draw().complete) {
        Sleep(1);
    }
    FailEachAllocation([&] { return draw(); },
                       [&](const PointCloudFrame& frame, bool failed) {
                           EXPECT_TRUE(frame.result == S_OK || (frame.result == E_OUTOFMEMORY && failed));
                           EXPECT_FALSE(live->GetContextRecord(GLContextMain).batchOpen);
                       });
    EXPECT_TRUE(draw().complete);
    EXPECT_EQ(live.CountDrawn(), 128);
    EXPECT_EQ(live->GetError(), 0U);
}

TEST_F(Allocation, ImageThatFindsNoMemoryLeavesNoTexture) {
    LiveView live;
    std::vector<unsigned char> image(static_cast<std::size_t>(64) * 64, 50);
    live->DrawSetupNoDataColor({1, 1, 1}, {2, 2, 2});
    FailEachAllocation(
        [&] { return live->DrawImage(0, 0, 64, 64, 0, GL_LUMINANCE, 64, 64, 1, GL_NEAREST, image.data()); },
        [&](long result, bool failed) { EXPECT_EQ(result, failed ? E_OUTOFMEMORY : S_OK); });
    EXPECT_EQ(live.At(32, 32), (Pixel{50, 50, 50, 255}));
    EXPECT_EQ(live->GetError(), 0U);
}

using FontAllocation = FontTest;

// A build makes hundreds of allocations; a host that runs out of memory at any of them keeps running.
TEST_F(FontAllocation, EachOfABuildFailsInTurn) {
    const InstalledFontFile file(SmallFont(L'0').File());
    const FontParameters request = FontRequest(file.Face(), 12);
    std::vector<unsigned char> whole;
    {
        CFTGLFontAtlas atlas;
        ASSERT_EQ(atlas.InitializeFreeTypeLibrary(request), S_OK);
        whole.assign(atlas.GetRawTexture(), atlas.GetRawTexture() + atlas.GetAtlasMetrics()->textureBytes);
    }
    try { // the first exception of a thread keeps memory of the runtime's
        throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
    }
    const auto forgetNotices = [&] { std::vector<NoticeRecord>().swap(notices.shown); };
    constexpr int limit = 10'000;
    std::vector<long> results;
    results.reserve(limit); // the test's own memory stays as it is
    for (int failing = 0; failing < limit; ++failing) {
        SCOPED_TRACE(failing);
        forgetNotices();
        const int before = g_live;
        {
            CFTGLFontAtlas atlas;
            g_failures = 0;
            g_asked = 0;
            g_failingNumber = failing;
            const long result = atlas.InitializeFreeTypeLibrary(request);
            g_failingNumber = -1;
            if (g_failures == 0) {
                break;
            }
            results.push_back(result);
            ASSERT_EQ(atlas.GetAtlasMetrics() != nullptr, result == S_OK);
            ASSERT_EQ(atlas.GetRawTexture() != nullptr, result == S_OK);
            ASSERT_EQ(atlas.InitializeFreeTypeLibrary(request), S_OK) << "the next build, on what is left";
            ASSERT_TRUE(std::equal(whole.begin(), whole.end(), atlas.GetRawTexture()));
            forgetNotices();
        }
        ASSERT_EQ(g_live, before) << "leaked";
    }
    ASSERT_LT(results.size(), static_cast<std::size_t>(limit)) << "the build never came to its end";
    const auto count = [&](long result) { return std::count(results.begin(), results.end(), result); };
    EXPECT_GE(count(E_FAIL), 1) << "FreeType does not start";
    EXPECT_GE(count(E_INVALIDARG), 1) << "the face does not open";
    EXPECT_GE(count(E_OUTOFMEMORY), 10) << "record, cells, texture and glyphs";
}

// Arial at 5,000 points: to draw its glyphs, 44 MB each, would hold the host for half a minute. They are measured.
TEST_F(FontAllocation, FontTooLargeForTheCardIsRefusedBeforeItIsDrawn) {
    g_largest = 0;
    CFTGLFontAtlas atlas;
    EXPECT_EQ(atlas.InitializeFreeTypeLibrary(FontRequest(L"arial", 5'000)), E_FAIL);
    EXPECT_EQ(atlas.GetAtlasMetrics(), nullptr);
    ASSERT_EQ(notices.shown.size(), 1U);
    EXPECT_NE(notices.shown[0].text.find(L"exceeds the current graphics card texture dimensions"), std::wstring::npos);
    EXPECT_LT(g_largest, std::size_t{4} << 20);
}

// Ten fonts whose textures are as large as the card takes them must not fill the machine's memory as well, neither
// while they are built nor once their strings are drawn. A host that asks for the bytes gets them.
TEST_F(FontAllocation, AtlasKeepsAFractionOfItsTexture) {
    const FontParameters request = FontRequest(L"arial", 60);
    CFTGLFontAtlas atlas;
    const std::size_t before = g_liveBytes;
    g_mostBytes = g_liveBytes;
    ASSERT_EQ(atlas.InitializeFreeTypeLibrary(request), S_OK);
    const FontAtlasGlyphMetrics& metrics = *atlas.GetAtlasMetrics();
    const auto textureBytes = static_cast<std::size_t>(metrics.textureBytes);
    ASSERT_GT(textureBytes, 15'000'000U);
    EXPECT_LT(g_mostBytes - before, textureBytes / 4);
    EXPECT_LT(g_liveBytes - before, textureBytes / 8);

    const int first = metrics.cellHeight / 2; // from one row of cells into the third
    const int count = 2 * metrics.cellHeight;
    const auto width = static_cast<std::size_t>(metrics.textureWidth);
    std::vector<unsigned char> rows(static_cast<std::size_t>(count) * width, 7);
    ASSERT_EQ(atlas.CopyTextureRows(first, count, rows.data()), S_OK);
    EXPECT_LT(g_liveBytes - before - rows.capacity(), textureBytes / 8) << "what was shown is not kept";
    const unsigned char* const whole = atlas.GetRawTexture();
    ASSERT_NE(whole, nullptr);
    EXPECT_EQ(atlas.GetRawTexture(), whole) << "the host may keep the pointer";
    EXPECT_TRUE(std::equal(rows.begin(), rows.end(), whole + static_cast<std::size_t>(first) * width));
    atlas.GetRawTexture()[static_cast<std::size_t>(first) * width] = 99;
    ASSERT_EQ(atlas.CopyTextureRows(first, 1, rows.data()), S_OK);
    EXPECT_EQ(rows[0], 99) << "what a host has changed is uploaded";
    atlas.ReleaseRawTexture();
    EXPECT_EQ(atlas.GetRawTexture(), nullptr);
    EXPECT_EQ(atlas.CopyTextureRows(metrics.textureHeight - 1, 1, rows.data()), S_OK);
    for (const auto& [from, rowCount] : {std::pair{-1, 1}, {0, 0}, {metrics.textureHeight, 1}, {1, INT_MAX}}) {
        EXPECT_EQ(atlas.CopyTextureRows(from, rowCount, rows.data()), E_INVALIDARG) << from;
    }
}

// A host may make an atlas of its own while memory is out: it is one without names then, which builds once there is.
TEST_F(FontAllocation, AtlasIsMadeWithoutMemory) {
    const InstalledFontFile file(SmallFont(L'0').File());
    const FontParameters request = FontRequest(file.Face(), 12);
    FailEachAllocation(
        [] {
            auto made = std::optional<CFTGLFontAtlas>();
            made.emplace();
            return made->GetFontParameters().faceName.GetLength() + made->GetFontParameters().styleName.GetLength();
        },
        [](int named, bool failed) { EXPECT_EQ(named, failed ? 0 : 12); });
    FailEachAllocation(
        [&] {
            CFTGLFontAtlas atlas;
            const bool hasName = !atlas.GetFontParameters().faceName.IsEmpty();
            g_failingNumber = -1;
            EXPECT_EQ(atlas.GetAtlasMetrics(), nullptr);
            EXPECT_EQ(atlas.GetRawTexture(), nullptr);
            EXPECT_EQ(atlas.CopyTextureRows(0, 1, nullptr), E_INVALIDARG);
            EXPECT_EQ(atlas.InitializeFreeTypeLibrary(request), S_OK);
            return hasName;
        },
        [](bool hasName, bool failed) { EXPECT_EQ(hasName, !failed); });
}

TEST_F(FontAllocation, TableWithoutMemoryForAFontKeepsTheSlotFree) {
    CFTGLFontManager manager;
    FontParameters request = FontRequest(L"arial", 12);
    {
        const FailingAllocation failing(sizeof(CFTGLFontAtlas));
        EXPECT_EQ(manager.SetUpNewFont(request), E_OUTOFMEMORY);
    }
    EXPECT_EQ(manager.GetFontAtlas(0), nullptr);
    EXPECT_EQ(manager.SetUpNewFont(request), S_OK);
}

} // namespace

extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __real_realloc(void* memory, std::size_t size);
extern "C" void __real_free(void* memory);

extern "C" void* __wrap_malloc(std::size_t size) {
    return Fails(size) ? nullptr : Counted(__real_malloc(size));
}

extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
    return Fails(count * size) ? nullptr : Counted(__real_calloc(count, size));
}

extern "C" void* __wrap_realloc(void* memory, std::size_t size) {
    if (Fails(size)) {
        return nullptr;
    }
    const std::size_t before = memory ? _msize(memory) : 0;
    void* moved = __real_realloc(memory, size);
    if (memory && moved) {
        --g_live;
        g_liveBytes -= before;
    }
    return Counted(moved);
}

extern "C" void __wrap_free(void* memory) {
    g_live -= memory ? 1 : 0;
    g_liveBytes -= memory ? _msize(memory) : 0;
    __real_free(memory);
}

extern "C" std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file);

extern "C" std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file) {
    return g_sparedWrites >= 0 && g_sparedWrites-- == 0 ? 0 : __real_fwrite(data, size, count, file);
}

extern "C" decltype(&VirtualAlloc) __real___imp_VirtualAlloc;

namespace {

LPVOID WINAPI FailingVirtualAlloc(LPVOID address, SIZE_T size, DWORD type, DWORD protection) {
    if (HasFailingSize(size)) {
        ++g_failures;
        return nullptr;
    }
    return __real___imp_VirtualAlloc(address, size, type, protection);
}

} // namespace

extern "C" {
decltype(&VirtualAlloc) __wrap___imp_VirtualAlloc = FailingVirtualAlloc;
}
