#include "support/TextFixture.h"

namespace {

/// A manager of small fonts, each of its own height.
class FontTable : public FontTest {
protected:
    long Load(int height) {
        FontParameters request = FontRequest(file.Face(), 10);
        request.logicalFont.lfHeight = height;
        return manager.SetUpNewFont(request);
    }
    /// The height that slot's font was asked for with, 0 for an empty slot.
    int HeightIn(int slot) const {
        const CFTGLFontAtlas* atlas = manager.GetFontAtlas(slot);
        return atlas ? static_cast<int>(atlas->GetFontParameters().logicalFont.lfHeight) : 0;
    }

    InstalledFontFile file{SmallFont(L'*').File()};
    CFTGLFontManager manager;
};

TEST_F(FontTable, EleventhFontPushesOutTheSecond) {
    for (int font = 0; font < 10; ++font) {
        ASSERT_EQ(Load(100 + font), S_OK);
        EXPECT_EQ(manager.GetCurrentFontIndex(), font);
        ASSERT_EQ(manager.SetCurrentFontTextureAndSamplerId(10 + static_cast<unsigned>(font), 20), S_OK);
    }
    ASSERT_EQ(Load(103), S_OK);
    EXPECT_EQ(manager.GetCurrentFontIndex(), 3) << "a loaded font is only selected";
    unsigned int texture = 7;
    unsigned int sampler = 7;
    EXPECT_FALSE(manager.GetTagedForDeletionTextureAndSamplerNames(texture, sampler));

    ASSERT_EQ(Load(200), S_OK);
    EXPECT_EQ(manager.GetCurrentFontIndex(), 9);
    EXPECT_TRUE(manager.GetTagedForDeletionTextureAndSamplerNames(texture, sampler));
    EXPECT_EQ(texture, 11U);
    EXPECT_EQ(sampler, 20U);
    ASSERT_EQ(Load(201), S_OK);
    EXPECT_TRUE(manager.GetTagedForDeletionTextureAndSamplerNames(texture, sampler));
    EXPECT_EQ(texture, 12U) << "the pair that nobody collected is gone";
    const int expected[] = {100, 103, 104, 105, 106, 107, 108, 109, 200, 201};
    for (int slot = 0; slot < 10; ++slot) {
        EXPECT_EQ(HeightIn(slot), expected[slot]) << "slot " << slot;
    }
    ASSERT_EQ(manager.GetCurrentFontTextureAndSamplerId(texture, sampler), S_OK);
    EXPECT_EQ(texture, 0U) << "a new font has no texture yet";
    manager.ClearTaggedForDeletionTextureAndSamplerNames();
    EXPECT_FALSE(manager.GetTagedForDeletionTextureAndSamplerNames(texture, sampler));
    manager.TagForDeletionTextureAndSamplerNames(0, 5);
    EXPECT_TRUE(manager.GetTagedForDeletionTextureAndSamplerNames(texture, sampler)) << "a sampler alone";
}

TEST_F(FontTable, OnlyALoadedFontBecomesCurrent) {
    ASSERT_EQ(Load(100), S_OK);
    ASSERT_EQ(Load(101), S_OK);
    for (const int refused : {2, 9, 10, -1, INT_MIN, INT_MAX}) {
        int index = refused;
        EXPECT_EQ(manager.SetCurrentFontIndex(index), E_INVALIDARG);
        EXPECT_EQ(index, 1) << refused;
    }
    int index = 0;
    EXPECT_EQ(manager.SetCurrentFontIndex(index), S_OK);
    EXPECT_EQ(manager.GetCurrentFontAtlasParameters()->logicalFont.lfHeight, 100);
}

// Text that is laid out before a font is there, or after its font failed, has usable sizes.
TEST_F(FontTable, AnswersWithoutAFont) {
    FontParameters parameters;
    double width = 0.0;
    double height = 0.0;
    std::size_t length = 0;
    EXPECT_EQ(manager.GetFontAverageWidthPixels(), 26);
    EXPECT_EQ(manager.GetFontAverageHeightPixels(), 13);
    EXPECT_EQ(manager.GetFontAverageWidthNotionalUnits(), 0.5);
    EXPECT_EQ(manager.GetFontParameters(parameters), E_INVALIDARG);
    EXPECT_EQ(manager.GetTextStringDimensions(L"a", length, &width, &height), E_INVALIDARG);
    EXPECT_EQ(manager.GetCurrentFontFace(), nullptr);

    file.Write(FontBytes(100, 'x'));
    EXPECT_EQ(Load(100), kNotAFontFile);
    EXPECT_EQ(Load(100), S_OK) << "asked for again, the font in the slot counts, built or not";
    int pixels = 0;
    unsigned int name = 0;
    unsigned char* bytes = nullptr;
    manager.GetCurrentFontNotionalMetrics(width, height);
    EXPECT_EQ(width, 0.5);
    EXPECT_EQ(manager.GetFontAverageWidthPixels(), 0) << "the request's, which has none";
    EXPECT_EQ(manager.DoesCurrentFontHaveKerning(), 0);
    EXPECT_EQ(manager.GetCurrentFontTexture(pixels, pixels, &bytes), E_INVALIDARG);
    EXPECT_EQ(manager.GetCurrentFontTextureAndSamplerId(name, name), E_INVALIDARG);
    EXPECT_EQ(manager.SetCurrentFontTextureAndSamplerId(1, 2), E_INVALIDARG);
    EXPECT_EQ(manager.GetTextStringDimensions(L"a", length, &width, &height), E_INVALIDARG);
}

TEST_F(FontTable, KerningIsTheFaces) {
    ASSERT_EQ(Load(100), S_OK);
    EXPECT_EQ(manager.DoesCurrentFontHaveKerning(), 1);
    manager.DeleteFontLibrary();
    TrueTypeTables flat = SmallFont(L'*');
    flat.tables.erase("kern");
    file.Write(flat.File());
    ASSERT_EQ(Load(100), S_OK);
    EXPECT_EQ(manager.DoesCurrentFontHaveKerning(), 0);
}

TEST_F(FontTest, DefaultFontIsLoadedWhereProgramsDraw) {
    CFTGLFontManager& manager = COpenGLView::m_gFontManager;
    manager.DeleteFontLibrary();
    const auto view = std::make_unique<COpenGLView>();
    EXPECT_EQ(view->InitializeFontManager(), S_OK);
    EXPECT_EQ(manager.GetFontAtlas(0), nullptr) << "the fixed-function pipeline draws with GDI's fonts";
    COpenGLView::SetOpenGLVersion(4, 4);
    ASSERT_EQ(view->InitializeFontManager(), S_OK);
    ASSERT_NE(manager.GetCurrentFontAtlasMetrics(), nullptr);
    FontParameters parameters;
    ASSERT_EQ(manager.GetFontParameters(parameters), S_OK);
    EXPECT_STREQ(parameters.faceName.GetString(), L"arial");
    EXPECT_EQ(parameters.pointSize, 12);
    EXPECT_EQ(parameters.weight, 1);
    EXPECT_EQ(parameters.textColor, 0xFF00FFFFU);
    EXPECT_EQ(parameters.characterFormat.cbSize, 92U);
    EXPECT_EQ(parameters.characterFormat.dwMask, 0xF800003FU);
    EXPECT_EQ(parameters.characterFormat.crTextColor, 0xFF00FFFFU);
    EXPECT_STREQ(parameters.characterFormat.szFaceName, L"arial");
    EXPECT_EQ(view->InitializeFontManager(), S_OK);
    EXPECT_EQ(manager.GetFontAtlas(1), nullptr) << "it is there already";
    manager.InitializeObject();
    EXPECT_NE(manager.GetCurrentFontAtlasMetrics(), nullptr);
    EXPECT_TRUE(notices.shown.empty());
    manager.DeleteFontLibrary();
}

TEST_F(FontTest, PointSizeOfCellAndCharacterHeights) {
    const HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSY);
    LOGFONTW font = {};
    TEXTMETRICW metrics = {};
    metrics.tmInternalLeading = dpi / 8;
    font.lfHeight = -dpi;
    EXPECT_EQ(CFTGLFontManager::GetPointSizeInLogicalUnits(screen, font, metrics), 72);
    font.lfHeight = dpi + dpi / 8;
    EXPECT_EQ(CFTGLFontManager::GetPointSizeInLogicalUnits(screen, font, metrics), 72) << "less the leading";
    font.lfHeight = -dpi / 2;
    EXPECT_EQ(CFTGLFontManager::GetPointSizeFromLogFont(screen, font), 36);
    ReleaseDC(nullptr, screen);
}

} // namespace
