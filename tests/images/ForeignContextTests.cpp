#include "support/FontFile.h"
#include "support/RecordedFixture.h"

namespace {

/// How a process draws, and who has the thread's context while the first view is asked to work.
struct Situation {
    const char* name;
    bool programs;
    bool plainContexts; ///< they share with none
    enum class Current { Nobody, OtherView, FailedSelection } current;
};

/// Two windows; the first view's record says that its context is current, and the driver says otherwise.
class ForeignContexts : public RecordedTest, public testing::WithParamInterface<Situation> {
protected:
    ForeignContexts() {
        driver.SetVersionText(GetParam().programs ? "4.6.0 NVIDIA 551.23" : "2.0");
        if (GetParam().plainContexts) {
            driver.HideEntryPoint("wglCreateContextAttribsARB");
        }
        live = std::make_unique<LiveView>();
        other = std::make_unique<LiveView>();
        View().MakeCurrent(GLContextMain);
    }
    ~ForeignContexts() override {
        View().MakeCurrent(GLContextMain);
        View().DeleteDisplayTextureCache();
        View().DeleteSamplerNameStack();
        live.reset();
        if (other) {
            (*other)->MakeCurrent(GLContextMain);
            (*other)->DeleteTextureAndSamplerNames(otherTexture, otherSampler);
            other.reset();
        }
        EXPECT_EQ(driver.LeakReport(), "");
        EXPECT_EQ(driver.AbandonedObjects(DriverObject::Texture), 0U);
        EXPECT_EQ(driver.AbandonedObjects(DriverObject::Sampler), 0U);
    }
    COpenGLView& View() const { return *live->view; }
    static COpenGLViewTextureManager& Cache() { return COpenGLView::m_gRasterTextureManager; }

    void Load(COpenGLView& view, unsigned int& texture, unsigned int& sampler) const {
        EXPECT_EQ(view.LoadGLImage(GL_TEXTURE0, GL_RGB, 4, 4, 1, GL_NEAREST, pixels.data(), texture, sampler), S_OK);
    }
    void AddToCache(const wchar_t* name) {
        GLTextureObject* entry = nullptr;
        EXPECT_FALSE(Request(name, 0));
        unsigned int texture = 0;
        unsigned int sampler = 0;
        Load(View(), texture, sampler);
        EXPECT_EQ(View().AddRequestedTexture(texture, sampler, &entry), S_OK);
    }
    bool Request(const wchar_t* name, int xMin) {
        GLTextureObject* entry = nullptr;
        return View().RequestTextureFromCache(name, 4, 4, 1, 3, 4, 4, xMin, 0, 3, 3, 1.0, 0, 0, true, true, true, true,
                                              true, &entry);
    }
    /// Takes the context from under the first view.
    void LoseContext() {
        switch (GetParam().current) {
        case Situation::Current::Nobody:
            (*other)->MakeCurrent(GLContextMain);
            (*other)->DeleteTextureAndSamplerNames(otherTexture, otherSampler);
            other.reset();
            break;
        case Situation::Current::OtherView:
            (*other)->MakeCurrent(GLContextMain);
            break;
        case Situation::Current::FailedSelection:
            View().MakeNull();
            driver.FailCall("wglMakeCurrent");
            EXPECT_EQ(View().MakeCurrent(GLContextMain), 0);
            break;
        }
        EXPECT_TRUE(View().IsMyContextCurrent(GLContextMain)) << "the record believes so";
    }
    std::uint32_t Names() const {
        return driver.LiveObjects(DriverObject::Texture) + driver.LiveObjects(DriverObject::Sampler);
    }

    std::unique_ptr<LiveView> live;
    std::unique_ptr<LiveView> other;
    unsigned int otherTexture = 0;
    unsigned int otherSampler = 0;
    std::vector<unsigned char> pixels = std::vector<unsigned char>(4 * 4 * 3, 200);
};

// Whatever is asked of a view whose context is not current: OpenGL gets no call (where there is none current each is a
// violation too), nobody's objects go, and no name is lost.
TEST_P(ForeignContexts, GetNoCallsAndKeepTheirObjects) {
    unsigned int texture = 0;
    unsigned int sampler = 0;
    unsigned int queued = 0;
    unsigned int queuedSampler = 0;
    Load(View(), texture, sampler);
    Load(View(), queued, queuedSampler);
    AddToCache(L"kept");
    AddToCache(L"misfit");
    ASSERT_EQ(View().SaveBackingStore(live->window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, 9, 9), S_OK);
    (*other)->MakeCurrent(GLContextMain);
    Load(*other->view, otherTexture, otherSampler);
    View().MakeCurrent(GLContextMain);
    LoseContext();
    const std::uint32_t names = Names();
    const PointXYZ corners[] = {{0, 0, 0}, {9, 0, 0}, {9, 9, 0}, {0, 9, 0}};

    const std::uint64_t calls = driver.GLCallCount();
    unsigned int loaded = 0;
    unsigned int loadedSampler = 0;
    EXPECT_EQ(View().LoadGLImage(GL_TEXTURE0, GL_RGB, 4, 4, 1, GL_NEAREST, pixels.data(), loaded, loadedSampler),
              E_FAIL);
    EXPECT_EQ(View().LoadRasterImage(GL_RGB, 4, 4, 1, GL_NEAREST, pixels.data(), loaded, loadedSampler), E_FAIL);
    EXPECT_EQ(View().DrawImage(0, 0, 9, 9, 0, GL_RGB, 4, 4, 1, GL_NEAREST, pixels.data()), E_FAIL);
    EXPECT_EQ(View().DrawTexturedQuadrilateral(texture, sampler, corners, nullptr), E_FAIL);
    EXPECT_EQ(View().LimitTextureCache(0), E_FAIL);
    EXPECT_EQ(View().DeleteTextureFromCache(L"kept"), E_INVALIDARG);
    EXPECT_EQ(Cache().GetCount(), 2) << "what cannot be deleted now stays";
    EXPECT_FALSE(Request(L"misfit", -1));
    EXPECT_EQ(Cache().GetCount(), 1);
    unsigned int textureName = texture;
    unsigned int samplerName = sampler;
    View().DeleteTextureAndSamplerNames(textureName, samplerName);
    EXPECT_EQ(textureName, texture);
    EXPECT_EQ(samplerName, sampler);
    View().AddSamplerNameToDeleteStack(queuedSampler);
    View().DeleteSamplerNameStack();
    View().RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, 9, 9, 0, 0, 9, 9, true, true, false);
    View().DeleteDisplayTextureCache();
    View().DeleteBackingStore();
    EXPECT_EQ(Cache().GetCount(), 0);
    EXPECT_EQ(driver.GLCallCount(), calls);
    EXPECT_EQ(Names(), names);

    ASSERT_EQ(View().MakeCurrent(GLContextMain), 1);
    View().DeleteTextureAndSamplerNames(texture, sampler);
    sampler = 0;
    View().DeleteTextureAndSamplerNames(queued, sampler);
    View().DeleteSamplerNameStack();
    // Left are those of the backing store, which go with the context, and the other window's.
    const std::uint32_t left = GetParam().programs ? 4U : 0U;
    EXPECT_EQ(Names(), left + (otherTexture != 0 ? 1U : 0U) + (otherSampler != 0 ? 1U : 0U));
}

// The font that gives way to an eleventh one has a texture: it is deleted when a context is there again.
TEST_P(ForeignContexts, KeepTheNamesOfAFontThatHasToGo) {
    if (!GetParam().programs) {
        return; // fonts have no textures there
    }
    const auto use = [this](int points) {
        FontParameters request = FontRequest(L"arial", points);
        EXPECT_EQ(View().SetUpNewFont(request), S_OK);
    };
    use(20);
    View().DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
    EXPECT_EQ(View().DrawFontAtlasText(L"H", 4.0, 4.0, 0.0, false, false), S_OK);
    View().DrawTeardownFontAtlasText(false, false);
    for (int points = 21; points < 29; ++points) {
        use(points);
    }
    ASSERT_EQ(Names(), 2U);
    LoseContext();
    const std::uint64_t calls = driver.GLCallCount();
    use(29);
    EXPECT_EQ(driver.GLCallCount(), calls);
    EXPECT_EQ(Names(), 2U);
    View().MakeCurrent(GLContextMain);
    use(20);
    EXPECT_EQ(Names(), 0U);
}

using Current = Situation::Current;

INSTANTIATE_TEST_SUITE_P(Situations, ForeignContexts,
                         testing::Values(Situation{"ProgramsNobody", true, false, Current::Nobody},
                                         Situation{"ProgramsOtherView", true, false, Current::OtherView},
                                         Situation{"ProgramsFailedSelection", true, false, Current::FailedSelection},
                                         Situation{"FixedFunctionsNobody", false, false, Current::Nobody},
                                         Situation{"FixedFunctionsOtherView", false, false, Current::OtherView},
                                         Situation{"PlainContextsOtherView", false, true, Current::OtherView},
                                         Situation{"PlainContextsFailedSelection", false, true,
                                                   Current::FailedSelection}),
                         [](const auto& test) { return test.param.name; });

} // namespace
