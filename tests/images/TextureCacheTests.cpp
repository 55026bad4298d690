#include "support/RecordedFixture.h"

namespace {

struct Region {
    int xMin = 10, yMin = 20, xMax = 41, yMax = 51;
};

/// A view on the 4.x pipeline with the process's cache, which starts and ends empty.
class TextureRequests : public ProgramsTest {
protected:
    ~TextureRequests() override {
        live.reset();
        EXPECT_EQ(Cache().GetCount(), 0);
        SetEnvironmentVariableW(L"ORRIN_TEXTURE_CACHE", nullptr);
    }
    static COpenGLViewTextureManager& Cache() { return COpenGLView::m_gRasterTextureManager; }

    struct Options {
        bool record = true, deleteOnMismatch = false, makeActive = true;
        int imageWidth = 100, imageHeight = 200;
    };
    bool Request(COpenGLView& view, const wchar_t* name, const Region& region, const Options& options) {
        return view.RequestTextureFromCache(name, options.imageWidth, options.imageHeight, 1, 4, 32, 32, region.xMin,
                                            region.yMin, region.xMax, region.yMax, 2.5, 0, 0, options.record,
                                            options.deleteOnMismatch, options.makeActive, true, false, &found);
    }
    bool Request(const wchar_t* name, const Region& region = {}) { return Request(View(), name, region, Options{}); }

    GLTextureObject* LoadAndAdd(COpenGLView& view) {
        unsigned int texture = 0;
        unsigned int sampler = 0;
        EXPECT_EQ(view.LoadGLImage(GL_TEXTURE0, GL_RGBA, 32, 32, 4, GL_LINEAR, nullptr, texture, sampler), S_OK);
        GLTextureObject* entry = nullptr;
        EXPECT_EQ(view.AddRequestedTexture(texture, sampler, &entry), S_OK);
        return entry;
    }
    std::pair<bool, bool> LoadFlags() const {
        std::pair<bool, bool> flags;
        View().GetLoadNewTextureFlag(flags.first, flags.second);
        return flags;
    }

    GLTextureObject* found = nullptr;
};

using Flags = std::pair<bool, bool>;

TEST_F(TextureRequests, MissIsLoadedOnceAndThenFound) {
    EXPECT_FALSE(Request(L"dem"));
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(LoadFlags(), Flags(true, false)) << "as the host wants them on a miss";
    GLTextureObject* const entry = LoadAndAdd(View());
    EXPECT_EQ(entry->regionXMax, 41);
    EXPECT_EQ(entry->scale, 2.5);
    EXPECT_TRUE(entry->partial);
    EXPECT_EQ(View().MakeRequestedTextureActive(), E_INVALIDARG) << "what was requested had no texture yet";
    EXPECT_EQ(LoadFlags(), Flags(true, true));

    EXPECT_TRUE(Request(L"dem"));
    EXPECT_EQ(found, entry);
    EXPECT_EQ(LoadFlags(), Flags(false, false));
    EXPECT_EQ(View().GetActiveTexture(), entry->texture);
    EXPECT_EQ(View().GetRequestedTexture().sampler, entry->sampler);
    EXPECT_EQ(View().GetActiveSampler(), 0U) << "programs have the sampler from the entry";
    EXPECT_EQ(View().MakeRequestedTextureActive(), S_OK);
    EXPECT_FALSE(Request(nullptr));
    EXPECT_EQ(found, nullptr);
}

struct RegionCase {
    const char* name;
    Region region;
    bool hit;
};

class RequestedRegions : public TextureRequests, public testing::WithParamInterface<RegionCase> {};

TEST_P(RequestedRegions, HitWhereTheTextureHoldsThem) {
    Request(L"dem");
    LoadAndAdd(View());
    EXPECT_EQ(Request(L"dem", GetParam().region), GetParam().hit);
    EXPECT_NE(found, nullptr) << "the entry of this name is told either way";
    EXPECT_EQ(LoadFlags(), Flags(!GetParam().hit, false))
        << "a misfit that is kept leaves the flags of the miss before";
}

INSTANTIATE_TEST_SUITE_P(Edges, RequestedRegions,
                         testing::Values(RegionCase{"Same", {}, true}, RegionCase{"Inside", {11, 21, 40, 50}, true},
                                         RegionCase{"OnePixel", {41, 51, 41, 51}, true},
                                         RegionCase{"LeftOfIt", {9, 20, 41, 51}, false},
                                         RegionCase{"BelowIt", {10, 19, 41, 51}, false},
                                         RegionCase{"RightOfIt", {10, 20, 42, 51}, false},
                                         RegionCase{"AboveIt", {10, 20, 41, 52}, false}),
                         [](const auto& test) { return test.param.name; });

struct MisfitCase {
    const char* name;
    Region region;
    int imageWidth, imageHeight;
    bool record;
};

class Misfits : public TextureRequests, public testing::WithParamInterface<MisfitCase> {};

TEST_P(Misfits, GoWithTheirGLObjectsWhenAsked) {
    const MisfitCase& misfit = GetParam();
    Request(L"dem");
    LoadAndAdd(View());
    Request(L"dem");
    EXPECT_FALSE(
        Request(View(), L"dem", misfit.region, {misfit.record, true, true, misfit.imageWidth, misfit.imageHeight}));
    EXPECT_EQ(found, nullptr) << "not an entry that is gone";
    EXPECT_EQ(Cache().GetTextureCacheSize(), 0U);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Texture), 0U);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Sampler), 0U);
    EXPECT_EQ(View().GetActiveTexture(), 0U) << "nothing draws with a texture that is gone";
    EXPECT_EQ(LoadFlags(), Flags(true, false));
}

INSTANTIATE_TEST_SUITE_P(Kinds, Misfits,
                         testing::Values(MisfitCase{"OneColumnBeyond", {10, 20, 42, 51}, 100, 200, true},
                                         MisfitCase{"ImageGrewWider", {}, 101, 200, true},
                                         MisfitCase{"ImageGrewHigher", {}, 100, 201, true},
                                         MisfitCase{"NotRecorded", {}, 100, 200, false}),
                         [](const auto& test) { return test.param.name; });

TEST_F(TextureRequests, CacheSwitchedOffMissesAndKeepsNothing) {
    live.reset();
    ForgetFirstView();
    SetEnvironmentVariableW(L"ORRIN_TEXTURE_CACHE", L"0");
    live = std::make_unique<LiveView>();
    EXPECT_FALSE(Request(L"dem"));
    GLTextureObject* entry = nullptr;
    EXPECT_EQ(View().AddRequestedTexture(5, 6, &entry), S_OK);
    EXPECT_EQ(entry, nullptr);
    EXPECT_FALSE(Request(L"dem"));
    EXPECT_EQ(Cache().GetCount(), 0);
}

// A day's work: what a host reads in while panning must not pile up on the card.
TEST_F(TextureRequests, FiveThousandTexturesStayWithinTheLimit) {
    constexpr unsigned long long kLimit = 20 * 32 * 32 * 4;
    std::uint32_t most = 0;
    for (int index = 0; index < 5'000; ++index) {
        EXPECT_FALSE(Request(std::to_wstring(index).c_str()));
        GLTextureObject* const entry = LoadAndAdd(View());
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(View().LimitTextureCache(kLimit), S_OK);
        most = std::max(most, driver.LiveObjects(DriverObject::Texture));
    }
    EXPECT_EQ(most, 20U);
    EXPECT_TRUE(Request(L"4999"));
    EXPECT_TRUE(Request(L"4980"));
    EXPECT_FALSE(Request(L"4979"));
    EXPECT_EQ(View().DeleteTextureFromCache(L"4990"), S_OK);
    EXPECT_EQ(View().DeleteTextureFromCache(L"4990"), E_INVALIDARG);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Sampler), 19U);
    View().DeleteDisplayTextureCache();
    EXPECT_EQ(driver.LiveObjects(DriverObject::Texture) + driver.LiveObjects(DriverObject::Sampler), 0U);
    EXPECT_EQ(Cache().GetTextureCacheSize(), 0U);
}

// The textures are the share group's: they stay as long as one of its views draws, and the last one takes them along.
TEST_F(TextureRequests, TexturesOutliveTheMasterAndGoWithTheLast) {
    Request(L"dem");
    const GLTextureObject* const entry = LoadAndAdd(View());
    LiveView second;
    View().ShutDownOpenGLContexts(live->window.Window());
    second->MakeCurrent(GLContextMain);
    EXPECT_TRUE(Request(*second.view, L"dem", {}, Options{}));
    EXPECT_EQ(found, entry);
    unsigned int texture = 0;
    unsigned int sampler = 0;
    unsigned int none = 0;
    EXPECT_EQ(second->LoadGLImage(GL_TEXTURE0, GL_RED, 1, 1, 1, GL_NEAREST, nullptr, texture, sampler), S_OK);
    second->AddSamplerNameToDeleteStack(sampler);
    second->AddSamplerNameToDeleteStack(none);
    second->DeleteTextureAndSamplerNames(texture, none);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Sampler), 2U) << "queued only";
    second->DeleteSamplerNameStack();
    EXPECT_EQ(driver.LiveObjects(DriverObject::Sampler), 1U);
}

// Two windows show one raster; the first one deletes its texture. The second must not draw with a name that is nobody's
// any more, or is given to another image by then.
TEST_F(TextureRequests, EveryViewForgetsATextureThatIsGone) {
    for (const bool evicts : {false, true}) {
        LiveView second;
        View().MakeCurrent(GLContextMain);
        EXPECT_FALSE(Request(L"dem"));
        const GLTextureObject* const entry = LoadAndAdd(View());
        second->MakeCurrent(GLContextMain);
        EXPECT_TRUE(Request(*second.view, L"dem", {}, Options{}));
        second->DrawSetupSetShaderTexture(entry->texture, entry->sampler);
        View().MakeCurrent(GLContextMain);
        if (evicts) {
            EXPECT_EQ(View().LimitTextureCache(0), S_OK);
        } else {
            EXPECT_EQ(View().DeleteTextureFromCache(L"dem"), S_OK);
        }
        unsigned int texture = 0;
        unsigned int sampler = 0;
        EXPECT_EQ(View().LoadGLImage(GL_TEXTURE0, GL_RED, 1, 1, 1, GL_NEAREST, nullptr, texture, sampler), S_OK);
        second->MakeCurrent(GLContextMain);
        EXPECT_EQ(second->GetActiveTexture(), 0U);
        EXPECT_EQ(second->GetRequestedTexture().texture, 0U);
        EXPECT_EQ(second->MakeRequestedTextureActive(), E_INVALIDARG);
        const PointXYZ corners[] = {{0, 0, 0}, {9, 0, 0}, {9, 9, 0}, {0, 9, 0}};
        EXPECT_EQ(second->Draw2DTextureOnQuadrilateral(corners, nullptr), E_INVALIDARG);
        driver.JournalOnly({"glBindTexture"});
        driver.StartJournal();
        second->EnableClientStateInternalBuffers(true, false, true, true, GLShaderTextureDecal);
        second->DisableClientState();
        driver.StopJournal();
        EXPECT_EQ(driver.JournalText(), std::vector<std::string>{"glBindTexture(3553, 0)"});
        second->DeleteTextureAndSamplerNames(texture, sampler);
    }
}

// With plain contexts the same number is another view's own texture: that one stays.
TEST_F(TextureRequests, NameOfAnotherGroupIsNotForgotten) {
    driver.SetVersionText("2.0");
    driver.HideEntryPoint("wglCreateContextAttribsARB");
    live.reset();
    ForgetFirstView();
    live = std::make_unique<LiveView>();
    LiveView second;
    for (COpenGLView* view : {live->view.get(), second.view.get()}) {
        view->MakeCurrent(GLContextMain);
        Request(*view, L"dem", {}, Options{});
        LoadAndAdd(*view);
        EXPECT_TRUE(Request(*view, L"dem", {}, Options{}));
    }
    const unsigned int texture = second->GetActiveTexture();
    EXPECT_EQ(View().GetActiveTexture(), texture);
    View().MakeCurrent(GLContextMain);
    EXPECT_EQ(View().DeleteTextureFromCache(L"dem"), S_OK);
    EXPECT_EQ(View().GetActiveTexture(), 0U);
    EXPECT_EQ(second->GetActiveTexture(), texture);
    second->MakeCurrent(GLContextMain);
    EXPECT_EQ(second->DeleteTextureFromCache(L"dem"), S_OK);
}

// Without programs nothing is deleted before the contexts go. A window opened later must not find the dead names.
TEST_F(TextureRequests, DeadContextsTexturesAreForgotten) {
    driver.SetVersionText("2.0");
    live.reset();
    for (const bool plainContexts : {false, true}) {
        ForgetFirstView();
        if (plainContexts) {
            driver.HideEntryPoint("wglCreateContextAttribsARB");
        }
        live = std::make_unique<LiveView>();
        Request(L"dem");
        LoadAndAdd(View());
        LiveView second;
        EXPECT_EQ(Request(*second.view, L"dem", {}, Options{}), !plainContexts)
            << "a context that shares with none has none of these textures";
        live.reset();
        EXPECT_EQ(Cache().GetCount(), plainContexts ? 0 : 1);
        live = std::make_unique<LiveView>();
    }
    live.reset();
    EXPECT_EQ(Cache().GetCount(), 0);
    EXPECT_EQ(driver.AbandonedObjects(DriverObject::Texture), 2U);
    driver.Reset();
}

} // namespace
