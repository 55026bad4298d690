#include "support/RecordedFixture.h"

namespace {

class StoredFrames : public ProgramsTest {
protected:
    StoredFrames() { driver.ForbidFixedFunction(0, true); }
    long Save(int width = 100, int height = 90) {
        return live->view->SaveBackingStore(live->window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, width, height);
    }
    void Restore() {
        live->view->RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, 100, 90, 0, 0, 128, 128, false, true, false);
    }
    unsigned int Names() const {
        return driver.LiveObjects(DriverObject::Texture) * 10 + driver.LiveObjects(DriverObject::Sampler);
    }
};

// A frame is stored and put back all day long: its two textures are made once, and go.
TEST_F(StoredFrames, TexturesAreMadeOnceAndDeleted) {
    EXPECT_EQ(Save(), S_OK);
    EXPECT_EQ(Names(), 22U);
    EXPECT_EQ(Save(128, 128), S_OK);
    driver.StartJournal();
    Restore();
    driver.StopJournal();
    EXPECT_EQ(driver.Journal("glDrawArrays").size(), 1U);
    EXPECT_EQ(driver.CallCount("glGenTextures"), 2U);
    EXPECT_EQ(Names(), 22U);
    live->view->DeleteBackingStore();
    EXPECT_EQ(Names(), 0U);
    EXPECT_EQ(Save(), S_OK);
    live->view->MakeNull();
    live->view->DeleteBackingStore();
    EXPECT_EQ(Names(), 22U) << "nothing can be deleted without a context";
    live->view->MakeCurrent(GLContextMain);
    driver.StartJournal();
    Restore();
    EXPECT_TRUE(driver.Journal("glDrawArrays").empty()) << "the frame is gone all the same";
    EXPECT_EQ(Save(), S_OK);
    EXPECT_EQ(Names(), 22U);
}

// Whichever way the context goes, the textures go with it (the fixture looks for what is left).
TEST_F(StoredFrames, ContextTakesTheTexturesAlong) {
    EXPECT_EQ(Save(), S_OK);
    live->view->RecreateContext(true, live->window.DeviceContext(), L"again");
    EXPECT_EQ(Names(), 0U);
    driver.StartJournal();
    Restore();
    EXPECT_TRUE(driver.Journal("glDrawArrays").empty());
    EXPECT_EQ(Save(), S_OK);
    live->view->DeleteContext(L"without shut-down", GLContextMain);
    EXPECT_EQ(Names(), 0U);
}

// What is bound when a frame is saved or put back may have been deleted through another window. Bound again by its name
// it would be an error, or a new texture that nobody deletes.
TEST_F(StoredFrames, NamesDeletedElsewhereAreNotBoundAgain) {
    LiveView other;
    live->view->MakeCurrent(GLContextMain);
    EXPECT_EQ(Save(), S_OK);
    std::uint32_t textures[2] = {};
    std::uint32_t samplers[2] = {};
    for (const unsigned int unit : {0U, 1U}) {
        EXPECT_EQ(live->view->LoadGLImage(GL_TEXTURE0 + unit, GL_RED, 1, 1, 1, GL_NEAREST, nullptr, textures[unit],
                                          samplers[unit]),
                  S_OK);
    }
    const unsigned int lastingTexture = textures[1];
    const unsigned int lastingSampler = samplers[1];
    other->MakeCurrent(GLContextMain);
    unsigned int none = 0;
    other->DeleteTextureAndSamplerNames(textures[0], none);
    other->DeleteTextureAndSamplerNames(none, samplers[0]);
    live->view->MakeCurrent(GLContextMain);
    driver.JournalOnly({"glBindTexture", "glBindSampler", "glActiveTexture"});
    for (const bool saves : {false, true}) {
        driver.StartJournal();
        saves ? static_cast<void>(Save()) : Restore();
        driver.StopJournal();
        std::vector<std::string> last = driver.JournalText();
        ASSERT_GE(last.size(), 6U);
        last.erase(last.begin(), last.end() - 6);
        EXPECT_EQ(last, (std::vector<std::string>{
                            "glActiveTexture(33985)", "glBindTexture(3553, " + std::to_string(lastingTexture) + ")",
                            "glBindSampler(1, " + std::to_string(lastingSampler) + ")", "glActiveTexture(33984)",
                            "glBindTexture(3553, 0)", "glBindSampler(0, 0)"}));
        EXPECT_EQ(live->view->GetError(), 0U);
    }
    EXPECT_EQ(Names(), 33U);
    live->view->DeleteTextureAndSamplerNames(textures[1], samplers[1]);
}

struct DriverFault {
    const char* name;
    const char* function;
    std::uint32_t nth;
    long result;
};

class StoredFrameFaults : public StoredFrames, public testing::WithParamInterface<DriverFault> {};

// A driver that runs out of something stores no half a frame: nothing is put back, and the next save works.
TEST_P(StoredFrameFaults, LeaveNoFrameAndNoNames) {
    driver.FailCall(GetParam().function, GetParam().nth);
    EXPECT_EQ(Save(), GetParam().result);
    driver.StartJournal();
    Restore();
    EXPECT_TRUE(driver.Journal("glDrawArrays").empty());
    driver.StopJournal();
    live->view->MakeCurrent(GLContextMain);
    EXPECT_EQ(Save(), S_OK);
    driver.StartJournal();
    Restore();
    EXPECT_EQ(driver.Journal("glDrawArrays").size(), 1U);
    EXPECT_EQ(Names(), 22U);
}

INSTANTIATE_TEST_SUITE_P(Faults, StoredFrameFaults,
                         testing::Values(DriverFault{"NoColorTexture", "glGenTextures", 1, E_OUTOFMEMORY},
                                         DriverFault{"NoDepthTexture", "glGenTextures", 2, E_OUTOFMEMORY},
                                         DriverFault{"NoSampler", "glGenSamplers", 1, E_OUTOFMEMORY},
                                         DriverFault{"NoRoomForColors", "glTexImage2D", 1, E_OUTOFMEMORY},
                                         DriverFault{"NoRoomForDepths", "glTexImage2D", 2, E_OUTOFMEMORY},
                                         DriverFault{"NotCurrent", "wglMakeCurrent", 1, E_FAIL}),
                         [](const auto& fault) { return fault.param.name; });

} // namespace
