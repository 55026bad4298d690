// The library's sources linked into this program, where malloc can be made to fail.

#include "support/ViewFixture.h"

#include <cstddef>

namespace {

std::size_t g_failingSize = 0;
int g_allocationsLeft = -1; ///< until the one that fails; negative: none does
int g_failures = 0;

/// Fails every allocation of one size while it lives.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t size) {
        g_failures = 0;
        g_failingSize = size;
    }
    ~FailingAllocation() { g_failingSize = 0; }
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    int Failures() const { return g_failures; }
};

/// Runs `operation` again and again, while its first allocation fails, its second, ... until it needs no more of them.
/// `judge` is told what each run gave.
template <typename Operation, typename Judge> void FailEachAllocation(Operation operation, Judge judge) {
    int runs = 0;
    do {
        g_failures = 0;
        g_allocationsLeft = runs++;
        const auto result = operation();
        g_allocationsLeft = -1;
        judge(result, g_failures != 0);
    } while (g_failures != 0 && runs < 1'000);
    EXPECT_GT(runs, 1) << "it allocates";
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
    EXPECT_EQ(view->GetContextRecord(GLContextMain).eye, glm::dvec3(1, 2, 3));
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

// A cache that runs out of memory tells so and keeps its books right.
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

} // namespace

extern "C" void* __real_malloc(std::size_t size);

extern "C" void* __wrap_malloc(std::size_t size) {
    const bool isTheOne = g_allocationsLeft >= 0 && g_allocationsLeft-- == 0;
    if (isTheOne || (size != 0 && size == g_failingSize)) {
        ++g_failures;
        return nullptr;
    }
    return __real_malloc(size);
}
