#include "support/Loggers.h"
#include "support/Picture.h"
#include "support/RecordedFixture.h"
#include "support/TextFixture.h"
#include "support/TextSink.h"

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

#include <functional>

namespace {

using Lines = std::vector<std::string>;

constexpr Pixel kWhite{255, 255, 255, 255};
constexpr Pixel kRed{255, 0, 0, 255};

/// Views on the 4.x pipeline, whose first has made the default font. Each test ends with nothing left behind.
class Text : public ProgramsTest {
protected:
    Text() { Begin(*live); }
    ~Text() override {
        live.reset();
        other.reset();
        COpenGLView::m_gFontManager.DeleteFontLibrary();
    }
    static std::unique_ptr<LiveView> Open() {
        auto made = std::make_unique<LiveView>();
        Begin(*made);
        return made;
    }
    static void Begin(const LiveView& view) {
        view.Clear();
        view->Color(255, 255, 255);
    }
    void Setup() const { View().DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0); }
    void Teardown() const { View().DrawTeardownFontAtlasText(false, false); }
    void DrawString(const wchar_t* text, double x, double y) const {
        EXPECT_EQ(View().DrawFontAtlasText(text, x, y, 0.0, false, false), S_OK);
    }
    /// The quarter of the window whose lower left corner is (left, bottom), the upper row first.
    std::string Quarter(int left, int bottom) const {
        const Picture picture = TakePicture(View(), 128, 128);
        std::string rows;
        for (int y = bottom + 63; y >= bottom; --y) {
            for (int x = left; x < left + 64; ++x) {
                rows += picture.At(x, y) == kBlack ? '.' : '#';
            }
            rows.erase(rows.find_last_not_of('.') + 1);
            rows += '\n';
        }
        return rows;
    }
    const COrrinGLCement& Functions() const { return *View().GetContextRecord(GLContextMain).glCement; }
    /// Mode and count of each draw.
    std::vector<std::pair<int, int>> Draws() const {
        std::vector<std::pair<int, int>> draws;
        for (const DriverCall& call : driver.Journal("glDrawArrays")) {
            draws.emplace_back(static_cast<int>(call.Integer(0)), static_cast<int>(call.Integer(2)));
        }
        return draws;
    }
    /// What the draws read of one attribute, all together.
    std::vector<double> Drawn(const char* attribute) const {
        std::vector<double> values;
        for (const DriverCall& call : driver.Journal("glDrawArrays")) {
            if (const DriverArray* array = call.Array(attribute)) {
                values.insert(values.end(), array->values.begin(), array->values.end());
            }
        }
        return values;
    }

    std::unique_ptr<LiveView> other;
};

using Draw = std::vector<std::pair<int, int>>;

TEST_F(Text, SetupAndTeardownSetAndRestoreBlendingCrossed) {
    View().BlendFunc(GL_ONE, GL_ZERO);
    const glm::dmat4 modelview = View().GetMatrix(GL_MODELVIEW);
    View().Translate(3.0, 4.0, 0.0);
    const glm::dmat4 moved = View().GetMatrix(GL_MODELVIEW);
    driver.JournalOnly({"glGetIntegerv", "glEnable", "glDisable", "glBlendFunc"});
    driver.StartJournal();
    View().DrawSetupFontAtlasText(true, false, 7, 1.5, 2.5);
    EXPECT_EQ(View().GetMatrix(GL_MODELVIEW), modelview) << "pixels of the window";
    View().DrawTeardownFontAtlasText(false, false);
    EXPECT_EQ(View().GetMatrix(GL_MODELVIEW), moved);
    Lines lines;
    for (const DriverCall& call : driver.Journal()) {
        lines.push_back(call.function + " " + std::to_string(call.arguments[0]) +
                        (call.function == "glBlendFunc" ? " " + std::to_string(call.arguments[1]) : ""));
    }
    EXPECT_EQ(lines, (Lines{"glGetIntegerv 3042", "glGetIntegerv 3040", "glGetIntegerv 3041", "glEnable 3042",
                            "glBlendFunc 770 771", "glBlendFunc 0 1", "glDisable 3042"}));
    unsigned int value = 0;
    double a = 0.0;
    double b = 0.0;
    View().GetFontAtlasTextSetup(value, a, b);
    EXPECT_EQ(value, 7U);
    EXPECT_EQ(a, 1.5);
    EXPECT_EQ(b, 2.5);
}

TEST_F(Text, PixelProjectionIsTakenBack) {
    View().MatrixMode(GL_PROJECTION);
    View().Ortho(-1000.0, 1000.0, -500.0, 500.0, -1.0, 1.0);
    const glm::dmat4 projection = View().GetMatrix(GL_PROJECTION);
    Setup();
    EXPECT_NE(View().GetMatrix(GL_PROJECTION), projection);
    Teardown();
    EXPECT_EQ(View().GetMatrix(GL_PROJECTION), projection) << "what comes next is drawn in the model's coordinates";
    EXPECT_EQ(View().GetContextRecord(GLContextMain).modelviewPushDepth, 0);
}

// Map labels by the thousands: a draw for each would be a fence, a wait and a driver call for each.
TEST_F(Text, TenThousandLabelsTakeAsManyDrawsAsTheyFillBatches) {
    driver.JournalOnly({"glDrawArrays"});
    driver.StartJournal();
    Setup();
    for (int label = 0; label < 10'000; ++label) {
        DrawString(L"Label 12", label % 100, label / 100);
    }
    Teardown();
    const Draw draws = Draws();
    ASSERT_EQ(draws.size(), 15U) << "480,000 vertices";
    int total = 0;
    for (std::size_t draw = 0; draw + 1 < draws.size(); ++draw) {
        EXPECT_EQ(draws[draw].second, kBatchRecords);
        total += draws[draw].second;
    }
    EXPECT_EQ(total + draws.back().second, 480'000);
}

// The batch ends within the 5462nd glyph. Its second triangle must not be lost.
TEST_F(Text, GlyphAcrossTwoBatchesStaysWhole) {
    const std::wstring text(5463, L'H');
    driver.JournalOnly({"glDrawArrays"});
    driver.StartJournal();
    Setup();
    DrawString(text.c_str(), 0.0, 0.0);
    Teardown();
    EXPECT_EQ(Draws(), (Draw{{GL_TRIANGLES, kBatchRecords}, {GL_TRIANGLES, 9}}));
    const std::vector<double> positions = Drawn("attribute0");
    ASSERT_EQ(positions.size(), 5463U * 6 * 3);
    const FontAtlasGlyphMetrics& font = *COpenGLView::m_gFontManager.GetCurrentFontAtlasMetrics();
    const FontAtlasGlyph& glyph = font.glyphs[font.characterMap[L'H']];
    const double left = 5461 * glyph.advance + glyph.xOffset;
    const double right = left + glyph.width;
    const double bottom = glyph.descent;
    const double top = bottom + glyph.height;
    const auto quad = positions.begin() + 5461 * 18;
    EXPECT_EQ(std::vector<double>(quad, quad + 18),
              (std::vector<double>{left, bottom, 0, right, bottom, 0, left, top, 0, //
                                   right, bottom, 0, left, top, 0, right, top, 0}));
}

// A string that waits for others must not come too late for what the host does next.
TEST_F(Text, WaitingStringsAreDrawnBeforeAnythingElse) {
    struct Case {
        const char* name;
        std::function<void(COpenGLView&)> act;
    };
    const Case cases[] = {
        {"blend", [](COpenGLView& view) { view.BlendFunc(GL_ONE, GL_ONE); }},
        {"begin", [](COpenGLView& view) { view.BeginArrays(GL_POINTS, GLShaderPoint); }},
        {"client state", [](COpenGLView& view) { view.DisableClientState(); }},
        {"program", [](COpenGLView& view) { view.EnableClientState(true, false, true, false, GLShaderLine); }},
        {"swap", [](COpenGLView& view) { view.SwapBuffers(); }},
        {"select", [](COpenGLView& view) { view.MakeCurrent(GLContextMain); }},
        {"foreign", [](COpenGLView& view) { view.SaveCurrentAsExitingDCAndGLRC(); }},
        {"empty string", [](COpenGLView& view) { view.DrawFontAtlasText(L"", 0, 0, 0, false, false); }},
        {"font", [](COpenGLView& view) { UseFont(view, 12); }},
    };
    driver.JournalOnly({"glDrawArrays"});
    for (const Case& test : cases) {
        Setup();
        driver.StartJournal();
        DrawString(L"ab", 5.0, 5.0);
        DrawString(L"cd", 5.0, 30.0);
        EXPECT_EQ(Draws(), Draw{}) << test.name;
        test.act(View());
        EXPECT_EQ(Draws(), (Draw{{GL_TRIANGLES, 24}})) << test.name;
        Teardown();
        EXPECT_EQ(Draws(), (Draw{{GL_TRIANGLES, 24}})) << test.name;
    }
}

TEST_F(Text, ColorFontAndMatrixOfEachStringHoldForItAlone) {
    Setup();
    DrawString(L"H", 10.0, 10.0);
    View().SetCurrentColor(255, 0, 0, 255, false);
    DrawString(L"H", 10.0, 50.0);
    UseFont(View(), 30);
    DrawString(L"H", 50.0, 10.0);
    View().PushMatrix(GL_MODELVIEW, L"");
    View().Translate(40.0, 0.0, 0.0);
    DrawString(L"H", 50.0, 10.0);
    View().PopMatrix(GL_MODELVIEW, L"");
    Teardown();
    const Picture picture = TakePicture(View(), 128, 128);
    const auto count = [&](int left, int bottom, int width, int height, const Pixel& color) {
        int found = 0;
        for (int y = bottom; y < bottom + height; ++y) {
            for (int x = left; x < left + width; ++x) {
                found += picture.At(x, y) == color ? 1 : 0;
            }
        }
        return found;
    };
    const int plain = count(0, 0, 40, 40, kWhite);
    EXPECT_GT(plain, 10);
    EXPECT_EQ(count(0, 45, 40, 30, kRed), plain) << "same string, red";
    const int large = count(45, 0, 40, 60, kRed);
    EXPECT_GT(large, 3 * plain) << "larger font";
    EXPECT_EQ(count(88, 0, 40, 60, kRed), large) << "moved by the matrix";
    EXPECT_EQ(picture.CountDrawn(), 2 * plain + 2 * large);
}

struct LineCase {
    const char* name;
    unsigned char underline, strikeout;
    const wchar_t* text;
    int lines;
};

class TextLines : public Text, public testing::WithParamInterface<LineCase> {};

TEST_P(TextLines, SpanTheStringInItsColor) {
    const LineCase& test = GetParam();
    UseFont(View(), 14, test.underline != 0, test.strikeout != 0);
    View().Color(10, 20, 30, 200);
    View().DrawSetupTextTransparency(128);
    Setup();
    driver.JournalOnly({"glDrawArrays", "glLineWidth"});
    driver.StartJournal();
    DrawString(test.text, 20.0, 40.0);
    driver.StopJournal();
    Teardown();
    const FontAtlasGlyphMetrics& font = *COpenGLView::m_gFontManager.GetCurrentFontAtlasMetrics();
    double right = 20.0;
    double lowest = 40.0;
    double highest = 40.0;
    double pen = 20.0;
    for (const wchar_t* character = test.text; *character; ++character) {
        const FontAtlasGlyph& glyph = font.glyphs[font.characterMap[*character]];
        right = pen + glyph.xOffset + glyph.width;
        lowest = std::min(lowest, 40.0 + glyph.descent);
        highest = std::max(highest, 40.0 + glyph.descent + glyph.height);
        pen += glyph.advance;
    }
    std::vector<double> wanted;
    for (const double y : {lowest - 2.0, (lowest + highest) * 0.5}) {
        if (y < lowest ? test.underline : test.strikeout) {
            wanted.insert(wanted.end(), {0.0, y - 40.0, 0.0, right - 20.0, y - 40.0, 0.0});
        }
    }
    const std::vector<DriverCall> draws = driver.Journal("glDrawArrays");
    ASSERT_FALSE(draws.empty());
    EXPECT_EQ(draws.back().Integer(0), GL_LINES);
    EXPECT_EQ(draws.back().Integer(2), 2 * test.lines);
    const DriverArray* positions = draws.back().Array("attribute0");
    const DriverArray* colors = draws.back().Array("attribute3");
    ASSERT_TRUE(positions && colors);
    EXPECT_EQ(positions->values, wanted);
    EXPECT_EQ(std::vector<double>(colors->values.begin(), colors->values.begin() + 4),
              (std::vector<double>{10, 20, 30, 100}));
    EXPECT_EQ(driver.JournalText("glLineWidth"), Lines{"glLineWidth(1)"});
}

INSTANTIATE_TEST_SUITE_P(Fonts, TextLines,
                         testing::Values(LineCase{"underline", 1, 0, L"Page g", 1},
                                         LineCase{"strikeout", 0, 1, L"Page", 1}, LineCase{"both", 1, 1, L"jot", 2},
                                         LineCase{"empty", 1, 0, L"", 1}),
                         [](const auto& tested) { return std::string(tested.param.name); });

// Hosts scale single strings by a matrix of their own and leave it to the string to take it off again.
TEST_F(Text, ScaledStringPopsTheMatrixThatItsHostPushed) {
    Setup();
    const glm::dmat4 plain = View().GetMatrix(GL_MODELVIEW);
    for (const double scale : {2.0, 1.0}) {
        View().PushMatrix(GL_MODELVIEW, L"");
        View().Scale(2.0, 2.0, 1.0);
        View().SetTextScale(scale);
        DrawString(L"H", 4.0, 4.0);
        EXPECT_EQ(View().GetMatrix(GL_MODELVIEW) == plain, scale != 1.0);
    }
    View().PopMatrix(GL_MODELVIEW, L"");
    Teardown();
    EXPECT_EQ(View().GetContextRecord(GLContextMain).modelviewPushDepth, 0);
}

TEST_F(Text, FontIsUploadedOnceForAllViewsAndGoesWithTheLast) {
    driver.JournalOnly({"glTexImage2D"});
    driver.StartJournal();
    View().PixelStore(GL_UNPACK_ALIGNMENT, 8);
    const std::uint32_t texturesBefore = driver.LiveObjects(DriverObject::Texture);
    Setup();
    DrawString(L"H", 4.0, 4.0);
    Teardown();
    other = Open();
    other->view->DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
    EXPECT_EQ(other->view->DrawFontAtlasText(L"H", 4.0, 4.0, 0.0, false, false), S_OK);
    other->view->DrawTeardownFontAtlasText(false, false);
    EXPECT_EQ(driver.Journal("glTexImage2D").size(), 1U);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Texture), texturesBefore + 1);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Sampler), 1U);
    const int drawnByOther = other->CountDrawn();
    View().MakeCurrent(GLContextMain);
    EXPECT_EQ(drawnByOther, live->CountDrawn());
    int alignment = 0;
    View().PixelStore(GL_PACK_ALIGNMENT, 4);
    reinterpret_cast<void(APIENTRY*)(unsigned, int*)>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"opengl32.dll"), "glGetIntegerv")))(GL_UNPACK_ALIGNMENT, &alignment);
    EXPECT_EQ(alignment, 8) << "as the host had it";

    live.reset();
    EXPECT_EQ(driver.LiveObjects(DriverObject::Texture), texturesBefore + 1) << "the other view still draws with it";
    other.reset();
    EXPECT_EQ(driver.LeakReport(), "");
    // The font is still loaded; a view of a later group must not take its old names for good.
    live = Open();
    Setup();
    DrawString(L"H", 4.0, 4.0);
    Teardown();
    EXPECT_GT(live->CountDrawn(), 10);
}

class LargeFont : public Text, public testing::WithParamInterface<bool> {
protected:
    /// Characters of five rows of the font's texture.
    static constexpr const wchar_t* kFromManyRows = L"\u0416\u0633\u2202\u2588";

    LargeFont() {
        FontParameters request = FontRequest(L"DejaVu Sans", 24);
        EXPECT_EQ(View().SetUpNewFont(request), S_OK);
        EXPECT_GT(Font().textureBytes, 5'000'000);
        driver.JournalOnly({"glTexImage2D", "glTexSubImage2D", "glTexStorage2D", "glGenerateMipmap"});
        driver.StartJournal();
    }
    static const FontAtlasGlyphMetrics& Font() { return *COpenGLView::m_gFontManager.GetCurrentFontAtlasMetrics(); }
    /// The part of the font's texture that was uploaded since the journal was asked last, 1 for all of it.
    double Uploaded() {
        double rows = 0.0;
        for (const DriverCall& call : driver.Journal("glTexSubImage2D")) {
            rows += call.Integer(1) == 0 ? static_cast<double>(call.Integer(5)) : 0.0;
        }
        EXPECT_TRUE(driver.Journal("glTexImage2D").empty());
        EXPECT_TRUE(driver.Journal("glGenerateMipmap").empty());
        driver.StartJournal();
        return rows / Font().textureHeight;
    }
    Picture Strings() {
        live->Clear();
        Setup();
        DrawString(L"Ag", 2.0, 8.0);
        DrawString(kFromManyRows, 2.0, 48.0);
        EXPECT_EQ(View().DrawFontAtlasScaledRotatedTextString(kFromManyRows, nullptr, false, false, 40, 80, 0, 0.4, 0.4,
                                                              1, 20),
                  S_OK);
        Teardown();
        return TakePicture(View(), 128, 128);
    }
};

// A frame that shows the first string of a large font must not wait for megabytes that it does not show. What it shows
// has to be there all the same, also where the host has released the font's bytes meanwhile.
TEST_P(LargeFont, IsUploadedByTheRowsThatStringsNeed) {
    Setup();
    DrawString(L"Ag", 2.0, 8.0);
    Teardown();
    EXPECT_EQ(driver.Journal("glTexStorage2D").size(), 1U);
    EXPECT_LT(Uploaded(), 0.15);
    EXPECT_GT(live->CountDrawn(), 100);
    Setup();
    DrawString(L"Agag", 2.0, 8.0);
    Teardown();
    EXPECT_EQ(Uploaded(), 0.0);

    const bool released = GetParam();
    if (released) {
        COpenGLView::m_gFontManager.GetFontAtlas(COpenGLView::m_gFontManager.GetCurrentFontIndex())
            ->ReleaseRawTexture();
    }
    const Picture parts = Strings();
    const double uploaded = Uploaded();
    EXPECT_GT(uploaded, 0.05);
    if (!released) {
        EXPECT_LT(uploaded, 0.6);
    }
    // A host that draws glyphs of its own choice finds all of them.
    View().EnableClientStateInternalVertexAndTexture(2, GL_FLOAT, 2, GL_FLOAT, Font().textureName, GLShaderText);
    View().BeginArrays(GL_TRIANGLES, GLShaderText);
    View().EndArraysAndDisableClientState();
    EXPECT_GE(uploaded + Uploaded(), 0.85);
    EXPECT_EQ(Strings().pixels, parts.pixels);
    EXPECT_EQ(Uploaded(), 0.0);
}

INSTANTIATE_TEST_SUITE_P(Bytes, LargeFont, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "Released" : "Kept"; });

// Ten fonts are loaded and one more comes, through the other view. The texture of the font that this view has bound is
// deleted, its name is used again, and this view's strings must come from the new one.
TEST_F(Text, FontThatGoesWhileAnotherViewHasItBoundIsNotMistakenForItsSuccessor) {
    for (int points = 20; points < 29; ++points) {
        UseFont(View(), points);
    }
    int evicted = 1;
    ASSERT_EQ(COpenGLView::m_gFontManager.SetCurrentFontIndex(evicted), S_OK);
    Setup();
    DrawString(L"H", 4.0, 4.0);
    View().Flush();
    other = Open();
    UseFont(*other->view, 50);
    EXPECT_EQ(other->view->GetCurrentFontIndex(), 9);
    EXPECT_EQ(COpenGLView::m_gFontManager.GetCurrentFontIndex(), 9);
    other->view->DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
    EXPECT_EQ(other->view->DrawFontAtlasText(L"H", 4.0, 4.0, 0.0, false, false), S_OK);
    other->view->DrawTeardownFontAtlasText(false, false);
    const int wanted = other->CountDrawn();
    View().MakeCurrent(GLContextMain);
    live->Clear();
    DrawString(L"H", 4.0, 4.0);
    Teardown();
    EXPECT_EQ(live->CountDrawn(), wanted);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Sampler), 1U) << "the old font's are gone";
}

// A map loads an image between two labels. What binds the texture unit of the strings must not become their font.
TEST_F(Text, WhateverElseUsesTheTextureUnitLeavesStringsTheirFont) {
    struct Case {
        const char* name;
        std::function<void(COpenGLView&, unsigned int texture, unsigned int sampler)> act;
    };
    const std::vector<Pixel> white(64, kWhite);
    const PointXYZ corners[] = {{70, 70, 0}, {72, 70, 0}, {72, 72, 0}, {70, 72, 0}};
    const Case cases[] = {
        {"image loaded",
         [&](COpenGLView& view, unsigned int texture, unsigned int sampler) {
             view.LoadGLImage(GL_TEXTURE0, GL_RGBA, 8, 8, 1, GL_LINEAR, white.data(), texture, sampler);
         }},
        {"image drawn",
         [&](COpenGLView& view, unsigned int, unsigned int) {
             view.DrawImage(70, 70, 78, 78, 0, GL_RGBA, 8, 8, 1, GL_NEAREST, white.data());
         }},
        {"quadrilateral",
         [&](COpenGLView& view, unsigned int texture, unsigned int sampler) {
             view.DrawTexturedQuadrilateral(texture, sampler, corners, nullptr);
         }},
        {"texture of the host's own",
         [](COpenGLView& view, unsigned int texture, unsigned int) {
             view.Flush();
             view.GetContextRecord(GLContextMain).glCement->glBindTexture(GL_TEXTURE_2D, texture);
         }},
        {"font texture of another size",
         [](COpenGLView& view, unsigned int texture, unsigned int) {
             view.EnableClientStateInternalVertexAndTexture(2, GL_FLOAT, 2, GL_FLOAT, texture, GLShaderText);
         }},
    };
    unsigned int texture = 0;
    unsigned int sampler = 0;
    ASSERT_EQ(View().LoadGLImage(GL_TEXTURE0, GL_RGBA, 8, 8, 1, GL_NEAREST, white.data(), texture, sampler), S_OK);
    for (const Case& test : cases) {
        live->Clear();
        Setup();
        DrawString(L"Ab", 4.0, 4.0);
        test.act(View(), texture, sampler);
        DrawString(L"Ab", 4.0, 68.0);
        Teardown();
        EXPECT_EQ(Quarter(0, 64), Quarter(0, 0)) << test.name;
    }
    View().DeleteTextureAndSamplerNames(texture, sampler);
}

// A host that draws with a program of its own between two strings finds neither of them drawn with it.
TEST_F(Text, StringWithoutARunIsDrawnWithTheTextProgram) {
    View().Enable(GL_BLEND);
    View().BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    DrawString(L"Ab", 4.0, 4.0);
    Functions().glUseProgram(0);
    DrawString(L"Ab", 4.0, 68.0);
    EXPECT_EQ(Quarter(0, 64), Quarter(0, 0));
    View().DisableClientState();
}

// A host that makes glyph textures itself hands over their names.
TEST_F(Text, StringsAreDrawnWithTheNamesThatTheFontWasGiven) {
    const FontAtlasGlyphMetrics& font = *COpenGLView::m_gFontManager.GetCurrentFontAtlasMetrics();
    const FontAtlasGlyph& glyph = font.glyphs[font.characterMap[L'H']];
    const int boxPixels = static_cast<int>(glyph.width * glyph.height);
    const std::vector<unsigned char> ink(64, 255);
    for (const bool uploadedBefore : {false, true}) {
        if (uploadedBefore) {
            Setup();
            DrawString(L"H", 4.0, 4.0);
            Teardown();
        }
        unsigned int oldTexture = 0;
        unsigned int oldSampler = 0;
        COpenGLView::m_gFontManager.GetCurrentFontTextureAndSamplerId(oldTexture, oldSampler);
        View().DeleteTextureAndSamplerNames(oldTexture, oldSampler);
        unsigned int texture = 0;
        unsigned int sampler = 0;
        ASSERT_EQ(View().LoadGLImage(GL_TEXTURE0, GL_RED, 8, 8, 1, GL_NEAREST, ink.data(), texture, sampler), S_OK);
        ASSERT_EQ(COpenGLView::m_gFontManager.SetCurrentFontTextureAndSamplerId(texture, sampler), S_OK);
        live->Clear();
        Setup();
        DrawString(L"H", 4.0, 4.0);
        Teardown();
        EXPECT_EQ(live->CountDrawn(), boxPixels) << "a texture full of ink";
        EXPECT_EQ(font.boundTexture, texture);
        View().DeleteTextureAndSamplerNames(texture, sampler);
        COpenGLView::m_gFontManager.SetCurrentFontTextureAndSamplerId(0, 0);
    }
}

// Hosts free the texture bytes once they are uploaded. The next share group needs them once more.
TEST_F(Text, FontWhoseBytesWereReleasedIsBuiltAgainForTheNextContexts) {
    Setup();
    DrawString(L"Ab", 4.0, 4.0);
    Teardown();
    const int wanted = live->CountDrawn();
    CFTGLFontAtlas& atlas = *COpenGLView::m_gFontManager.GetFontAtlas(0);
    for (const bool enableClientState : {true, false}) {
        atlas.ReleaseRawTexture();
        live.reset();
        live = Open();
        View().DrawSetupFontAtlasText(true, enableClientState, 0, 0.0, 0.0);
        DrawString(L"Ab", 4.0, 4.0);
        Teardown();
        EXPECT_EQ(live->CountDrawn(), wanted);
        EXPECT_EQ(atlas.GetRawTexture(), nullptr) << "as the host wanted it";
    }
}

// A string of a large map is drawn wherever the view looks, and shares its draw with all others.
TEST_F(Text, StringsShareADrawWhereverTheyStand) {
    View().MatrixMode(GL_PROJECTION);
    View().Ortho(500'000.0, 500'128.0, 4'500'000.0, 4'500'128.0, -1.0, 1.0);
    driver.JournalOnly({"glDrawArrays"});
    const auto drawsOf = [&](const std::vector<std::pair<double, double>>& places) {
        driver.StartJournal();
        View().DrawSetupFontAtlasText(false, true, 0, 0.0, 0.0);
        for (const auto& [x, y] : places) {
            DrawString(L"H", x, y);
        }
        Teardown();
        return Draws().size();
    };
    EXPECT_EQ(drawsOf({{500'010.0, 4'500'010.0}, {500'100.0, 4'500'010.0}, {0.0, 0.0}, {900'000.0, 5'000'000.0}}), 1U);
    EXPECT_EQ(drawsOf({{0.0, 0.0}, {1.0, 1.0}, {900'000.0, 5'000'000.0}}), 1U) << "nothing of them shows";
    const std::string alone = [&] {
        live->Clear();
        drawsOf({{500'010.0, 4'500'010.0}});
        return Quarter(0, 0);
    }();
    live->Clear();
    EXPECT_EQ(drawsOf({{0.0, 0.0}, {500'010.0, 4'500'010.0}, {500'100.0, 4'500'100.0}, {0.0, 0.0}}), 2U)
        << "one for what came before the first that shows";
    EXPECT_EQ(Quarter(0, 0), alone) << "a float near 4,500,000 is half a pixel off";
}

// What a host draws after a string stands where its matrices say.
TEST_F(Text, PlaceOfAStringIsNotThatOfWhatFollows) {
    UseFont(View(), 12, true);
    driver.JournalOnly({"glDrawArrays"});
    Setup();
    DrawString(L"H", 40.0, 40.0);
    live->Clear();
    View().BeginArrays(GL_LINES, GLShaderLine);
    View().AddIndex2DVertexRGBA(0.0, 10.5, 255, 0, 0, 255);
    View().AddIndex2DVertexRGBA(128.0, 10.5, 255, 0, 0, 255);
    View().EndArrays();
    EXPECT_EQ(live->At(64, 10), kRed);
    Teardown();
}

// A layer that draws its labels calls one that does the same.
TEST_F(Text, SetupWithinASetupGivesTheOuterOneEverythingBack) {
    View().BlendFunc(GL_ONE, GL_ZERO);
    View().MatrixMode(GL_PROJECTION);
    View().Ortho(-1000.0, 1000.0, -500.0, 500.0, -1.0, 1.0);
    View().MatrixMode(GL_MODELVIEW);
    View().Translate(7.0, 0.0, 0.0);
    const auto state = [this] {
        const GLAttributes& attributes = View().GetContextRecord(GLContextMain).attributes;
        return std::tuple{View().GetMatrix(GL_PROJECTION), View().GetMatrix(GL_MODELVIEW), attributes.blendSource,
                          attributes.blendDestination, int{View().IsOpenGLStateEnabled(GL_BLEND)}};
    };
    const auto host = state();
    Setup();
    const auto outer = state();
    DrawString(L"Ab", 4.0, 4.0);
    View().DrawSetupText(60.0, 80.0, 0.0, L"x", 2.0, 2.0, 1.0, 30.0, 0.5);
    DrawString(L"x", 0.0, 0.0);
    Setup();
    Teardown();
    Teardown();
    EXPECT_EQ(state(), outer);
    DrawString(L"Ab", 68.0, 4.0);
    Teardown();
    EXPECT_EQ(Quarter(64, 0), Quarter(0, 0));
    EXPECT_EQ(std::get<0>(state()), std::get<0>(host));
    EXPECT_EQ(std::get<1>(state()), std::get<1>(host));
    EXPECT_EQ(View().GetContextRecord(GLContextMain).attributes.blendSource, static_cast<unsigned>(GL_ZERO))
        << "crossed";
    EXPECT_EQ(std::get<4>(state()), 0);
    EXPECT_EQ(View().GetContextRecord(GLContextMain).modelviewPushDepth, 0);
    driver.JournalOnly({"glBlendFunc", "glDisable"});
    driver.StartJournal();
    Teardown();
    EXPECT_EQ(driver.JournalText(), Lines{}) << "there is nothing to give back";
}

/// Makes every kind of state that says how pixels are read from memory differ from what glyphs want.
void MisreadPixels(const COrrinGLCement& gl, unsigned int& buffer) {
    gl.glPixelStorei(GL_UNPACK_ALIGNMENT, 8);
    gl.glPixelStorei(GL_UNPACK_ROW_LENGTH, 77);
    gl.glPixelStorei(GL_UNPACK_SKIP_ROWS, 3);
    gl.glPixelStorei(GL_UNPACK_SKIP_PIXELS, 5);
    gl.glPixelStorei(GL_UNPACK_LSB_FIRST, GL_TRUE);
    gl.glPixelStorei(GL_UNPACK_SWAP_BYTES, GL_TRUE);
    gl.glGenBuffers(1, &buffer);
    gl.glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer);
    gl.glBufferData(GL_PIXEL_UNPACK_BUFFER, 4096, nullptr, GL_STATIC_DRAW);
}

void ExpectMisreading(const COrrinGLCement& gl, unsigned int buffer) {
    const struct {
        unsigned int name;
        int value;
    } settings[] = {{GL_UNPACK_ALIGNMENT, 8},
                    {GL_UNPACK_ROW_LENGTH, 77},
                    {GL_UNPACK_SKIP_ROWS, 3},
                    {GL_UNPACK_SKIP_PIXELS, 5},
                    {GL_UNPACK_LSB_FIRST, 1},
                    {GL_UNPACK_SWAP_BYTES, 1},
                    {GL_PIXEL_UNPACK_BUFFER_BINDING, static_cast<int>(buffer)}};
    for (const auto& setting : settings) {
        int value = -1;
        gl.glGetIntegerv(setting.name, &value);
        EXPECT_EQ(value, setting.value) << std::hex << setting.name;
    }
    gl.glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    gl.glDeleteBuffers(1, &buffer);
}

TEST_F(Text, HostsPixelStateAndPolygonModeChangeNoGlyph) {
    Setup();
    DrawString(L"Ab", 4.0, 4.0);
    Teardown();
    const std::string wanted = Quarter(0, 0);
    unsigned int texture = 0;
    unsigned int sampler = 0;
    COpenGLView::m_gFontManager.GetCurrentFontTextureAndSamplerId(texture, sampler);
    View().DeleteTextureAndSamplerNames(texture, sampler);
    COpenGLView::m_gFontManager.SetCurrentFontTextureAndSamplerId(0, 0);
    unsigned int buffer = 0;
    MisreadPixels(Functions(), buffer);
    View().PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    live->Clear();
    Setup();
    DrawString(L"Ab", 4.0, 4.0);
    Teardown();
    ExpectMisreading(Functions(), buffer);
    EXPECT_EQ(Quarter(0, 0), wanted);
}

// Lists that a host made for its other context are its to delete wherever it is.
TEST_F(Text, ListsAreDeletedOnEveryContext) {
    for (const bool initialize : {true, false}) {
        unsigned int lists = Functions().glGenLists(256);
        ASSERT_EQ(driver.LiveObjects(DriverObject::DisplayList), 256U);
        if (initialize) {
            View().InitializeDisplayList(lists);
        } else {
            View().DeleteFont(lists);
        }
        EXPECT_EQ(lists, 0U);
        EXPECT_EQ(driver.LiveObjects(DriverObject::DisplayList), 0U);
    }
}

TEST_F(Text, NamesOfAnEvictedFontWaitForAContext) {
    UseFont(View(), 20);
    Setup();
    DrawString(L"H", 4.0, 4.0);
    Teardown();
    for (int points = 21; points < 29; ++points) {
        UseFont(View(), points);
    }
    ASSERT_EQ(driver.LiveObjects(DriverObject::Sampler), 1U);
    View().MakeNull();
    UseFont(View(), 29);
    unsigned int texture = 0;
    unsigned int sampler = 0;
    EXPECT_TRUE(COpenGLView::m_gFontManager.GetTagedForDeletionTextureAndSamplerNames(texture, sampler));
    EXPECT_EQ(driver.LiveObjects(DriverObject::Sampler), 1U);
    View().MakeCurrent(GLContextMain);
    View().DrawFontAtlasEnableClientState();
    EXPECT_EQ(driver.LiveObjects(DriverObject::Sampler), 1U) << "the old font's deleted, the new one's made";
    EXPECT_FALSE(COpenGLView::m_gFontManager.GetTagedForDeletionTextureAndSamplerNames(texture, sampler));
}

TEST_F(Text, FontThatWasNotBuiltGivesWayToTheDefaultOneOrToAMessage) {
    FontParameters missing = FontRequest(L"no such face", 12);
    EXPECT_NE(View().SetUpNewFont(missing), S_OK);
    notices.shown.clear();
    int unbuilt = 1;
    ASSERT_EQ(COpenGLView::m_gFontManager.SetCurrentFontIndex(unbuilt), S_OK);
    EXPECT_EQ(View().DrawFontAtlasText(L"H", 4.0, 4.0, 0.0, false, false), E_INVALIDARG);
    View().DrawFontAtlasEnableClientState();
    EXPECT_EQ(COpenGLView::m_gFontManager.GetCurrentFontIndex(), 0);
    EXPECT_EQ(View().GetCurrentFontIndex(), 0);
    EXPECT_TRUE(notices.shown.empty());

    View().ShutDownOpenGLContexts(live->window.Window());
    COpenGLView::m_gFontManager.DeleteFontLibrary();
    View().MakeCurrent(GLContextMain);
    View().DrawFontAtlasEnableClientState();
    const NoticeRecord notice = OnlyNotice();
    EXPECT_EQ(notice.text, L"Requested Font not found, attempted to use default Arial font.  DEFAULT ARIAL FONT NOT "
                           L"LOADED.  Critical Error.");
    EXPECT_EQ(notice.caption, L"ERROR BAD FONT");
    std::size_t length = 9;
    double width = 9.0;
    double height = 9.0;
    EXPECT_EQ(View().GetTextStringDimensions(L"abc", length, width, height), E_INVALIDARG);
    EXPECT_EQ(length + View().GetTextStringLength(L"abc"), 0U);
    EXPECT_EQ(width + height, 0.0);
}

TEST_F(Text, GdiFontBecomesTheAtlasThatItDescribes) {
    const HFONT font = CreateFontW(-21, 0, 0, 0, FW_BOLD, TRUE, TRUE, FALSE, DEFAULT_CHARSET, 0, 0, 0, 0, L"Arial");
    unsigned int listBase = 5;
    EXPECT_EQ(View().RefreshRasterFont(live->window.DeviceContext(), listBase, font, 0x123456), S_OK);
    DeleteObject(font);
    EXPECT_EQ(listBase, 5U);
    FontParameters loaded;
    ASSERT_EQ(View().GetFontParameters(loaded), S_OK);
    EXPECT_STREQ(loaded.faceName, L"Arial");
    EXPECT_EQ(loaded.pointSize, (21 * 72 + 95) / 96) << "rounded up, at 96 dots an inch";
    EXPECT_EQ(loaded.logicalFont.lfHeight, 21);
    EXPECT_EQ(int{loaded.bold} + int{loaded.italic} + int{loaded.underline}, 3);
    EXPECT_EQ(loaded.strikeout, 0);
    EXPECT_EQ(loaded.textColor, 0x123456U);
    EXPECT_EQ(View().RefreshRasterFont(live->window.DeviceContext(), listBase, nullptr, 0), E_INVALIDARG);
}

// Halos used to be nine strings. They must not cost a draw either.
TEST_F(Text, LabelsWithHalosShareDrawsToo) {
    View().SetTextHalo({255, 0, 0, 255}, 1.5);
    driver.JournalOnly({"glDrawArrays", "glTexSubImage2D", "glTexImage2D"});
    Setup();
    DrawString(L"Label 12", 0.0, 0.0);
    View().Flush();
    driver.StartJournal();
    for (int label = 0; label < 100; ++label) {
        DrawString(L"Label 12", label % 10, label / 10 * 12);
    }
    EXPECT_EQ(Draws(), Draw{});
    Teardown();
    EXPECT_EQ(Draws(), (Draw{{GL_TRIANGLES, 100 * 7 * 2 * 6}})) << "each letter and its halo";
    EXPECT_EQ(driver.Journal().size(), 1U) << "nothing is uploaded again";
}

// Marks on one letter lie over each other; a text may have half a million of them, each with its halo.
TEST_F(Text, MarksOnALetterAreThirtyAtMost) {
    View().SetTextHalo({255, 0, 0, 255}, 1.5);
    View().SetTextShaping(true);
    driver.JournalOnly({"glDrawArrays"});
    Setup();
    driver.StartJournal();
    DrawString((L"x" + std::wstring(500, L'\x0301') + L"y").c_str(), 0.0, 0.0);
    Teardown();
    EXPECT_EQ(Draws(), (Draw{{GL_TRIANGLES, (30 + 2) * 2 * 6}})) << "and both letters";
}

// A host that draws glyphs by itself reads the font's texture, whatever the library's own strings read before.
TEST_F(Text, HostsOwnGlyphsReadTheAtlasAfterAStringWithAHalo) {
    Setup();
    View().SetTextHalo({255, 0, 0, 255}, 1.0);
    DrawString(L"ab", 5.0, 5.0);
    driver.JournalOnly({"glBindTexture"});
    driver.StartJournal();
    View().BeginArrays(GL_TRIANGLES, GLShaderText);
    unsigned int texture = 0;
    unsigned int sampler = 0;
    ASSERT_EQ(COpenGLView::m_gFontManager.GetCurrentFontTextureAndSamplerId(texture, sampler), S_OK);
    EXPECT_EQ(driver.JournalText().back(), "glBindTexture(3553, " + std::to_string(texture) + ")");
    View().EndArrays();
    Teardown();
}

// Ten fonts are kept. The pictures of an eleventh must not pile up on the card.
TEST_F(Text, SheetsOfFontsThatHadToGoAreDeleted) {
    View().SetTextHalo({255, 0, 0, 255}, 1.0);
    for (int points = 8; points < 24; ++points) {
        UseFont(View(), points);
        View().DrawSetupFontAtlasText(true, false, 0, 0.0, 0.0);
        DrawString(L"ab", 5.0, 5.0);
        Teardown();
    }
    EXPECT_LE(driver.LiveObjects(DriverObject::Texture), 11U);
    EXPECT_GE(driver.LiveObjects(DriverObject::Texture), 9U);
    other = Open();
    const std::string wanted = Quarter(0, 0);
    live.swap(other);
    other.reset();
    Begin(*live);
    View().SetTextHalo({255, 0, 0, 255}, 1.0);
    View().DrawSetupFontAtlasText(true, false, 0, 0.0, 0.0);
    DrawString(L"ab", 5.0, 5.0);
    Teardown();
    EXPECT_EQ(Quarter(0, 0), wanted) << "a sheet belongs to all views";
}

// A map with more letters than the largest texture has room for shows them all the same.
TEST_F(Text, FullSheetStartsOver) {
    const InstalledFontFile file(SmallFont(L'Z').File());
    const int maximum = COpenGLView::m_gsOpenGLVersionData.iMaxTextureSize;
    View().SetTextHalo({255, 0, 0, 255}, 8.0);
    const auto draw = [&](const wchar_t* text) {
        live->Clear();
        View().DrawSetupFontAtlasText(true, false, 0, 0.0, 0.0);
        DrawString(text, 10.0, 20.0);
        Teardown();
        return Quarter(0, 0);
    };
    const auto load = [&](int height) {
        FontParameters request = FontRequest(file.Face(), 10);
        request.logicalFont.lfHeight = height;
        EXPECT_EQ(View().SetUpNewFont(request), S_OK);
    };
    load(100);
    const std::string wanted[] = {draw(L"ABC"), draw(L"KLM"), draw(L"XYZ")};
    EXPECT_NE(wanted[0], wanted[1]);
    COpenGLView::m_gsOpenGLVersionData.iMaxTextureSize = 128;
    load(101);
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(draw(L"ABC"), wanted[0]);
        EXPECT_EQ(draw(L"DEFGHIJ").empty(), false);
        EXPECT_EQ(draw(L"KLM"), wanted[1]);
        EXPECT_EQ(draw(L"NOPQRSTUVW").empty(), false);
        EXPECT_EQ(draw(L"XYZ"), wanted[2]);
    }
    COpenGLView::m_gsOpenGLVersionData.iMaxTextureSize = maximum;
    COpenGLView::m_gFontManager.DeleteFontLibrary(); // its file is open
}

/// A view on the fixed-function pipeline.
class ListText : public RecordedTest {
protected:
    ListText() {
        live.Clear();
        live->Color(255, 255, 255);
    }
    GdiArial font;
    LiveView live;
    unsigned int lists = 0;
};

TEST_F(ListText, FontIsMadeAnewInTheSameName) {
    EXPECT_EQ(live->RefreshRasterFont(nullptr, lists, font, 0), E_INVALIDARG);
    EXPECT_EQ(live->RefreshRasterFont(live.window.DeviceContext(), lists, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(lists, 0U);
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(live->RefreshRasterFont(live.window.DeviceContext(), lists, font, 0), S_OK);
        EXPECT_EQ(driver.LiveObjects(DriverObject::DisplayList), 256U);
    }
    live->DeleteFont(lists);
    EXPECT_EQ(lists, 0U);
    EXPECT_EQ(driver.LiveObjects(DriverObject::DisplayList), 0U);
    driver.FailCall("glGenLists");
    EXPECT_EQ(live->RefreshRasterFont(live.window.DeviceContext(), lists, font, 0), E_FAIL);
}

TEST_F(ListText, StringIsCutAndConvertedToBytes) {
    const std::wstring tooLong(300, L'x');
    struct Case {
        const wchar_t* text;
        const char* ansi;
        std::vector<double> length;
    };
    const Case cases[] = {{L"H\u00f6he", nullptr, {4}}, {nullptr, "abc", {3}},  {tooLong.c_str(), nullptr, {254}},
                          {L"", nullptr, {}},           {nullptr, nullptr, {}}, {L"a\u4e2d\xD83D\xDE00", nullptr, {4}}};
    live->InitializeDisplayList(lists);
    driver.JournalOnly({"glCallLists", "glRasterPos3d", "glListBase"});
    for (const Case& test : cases) {
        driver.StartJournal();
        EXPECT_EQ(live->DrawTextString(lists, test.text, test.ansi, true, false, false, 3.0, 4.0, 0.5), S_OK);
        std::vector<double> lengths;
        for (const DriverCall& call : driver.Journal("glCallLists")) {
            lengths.push_back(static_cast<double>(call.Integer(0)));
            EXPECT_EQ(call.Integer(1), GL_UNSIGNED_BYTE);
        }
        EXPECT_EQ(lengths, test.length);
        EXPECT_EQ(driver.JournalText("glRasterPos3d"), Lines{"glRasterPos3d(3, 4, 0.5)"});
    }
    live->DeleteFont(lists);
}

TEST_F(ListText, SetupTurnsOffTextureAndBlendingAndTeardownCrossesTheFactors) {
    live->Enable(GL_TEXTURE_2D);
    live->Enable(GL_BLEND);
    live->BlendFunc(GL_SRC_ALPHA, GL_ONE);
    driver.JournalOnly({"glEnable", "glDisable", "glBlendFunc"});
    driver.StartJournal();
    live->DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
    live->DrawTeardownFontAtlasText(false, true);
    live->DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
    live->DrawTeardownFontAtlasText(false, true);
    EXPECT_EQ(driver.JournalText(), (Lines{"glDisable(3553)", "glDisable(3042)", "glBlendFunc(1, 770)",
                                           "glBlendFunc(770, 1)", "glDisable(3553)", "glDisable(3042)"}));
}

// Without lists there is no font. List base 0 would run whatever lists the host has there.
TEST_F(ListText, ScaledStringWithoutListsDrawsNothing) {
    driver.JournalOnly({"glCallLists"});
    driver.StartJournal();
    EXPECT_EQ(
        live->DrawFontAtlasScaledRotatedTextString(L"AB", nullptr, false, false, 6.0, 2.0, 0.0, 2.0, 2.0, 1.0, 90.0),
        E_INVALIDARG);
    EXPECT_EQ(driver.JournalText(), Lines{});
}

TEST_F(ListText, NewListsAreInTheTrace) {
    const auto sink = std::make_shared<TextSink>();
    const auto logger = std::make_shared<spdlog::logger>("OrrinLogger", sink);
    logger->set_level(spdlog::level::trace);
    COpenGLView::RegisterLogger(logger);
    live->InitializeDisplayList(lists);
    live->DeleteFont(lists);
    spdlog::drop("OrrinLogger");
    EXPECT_EQ(sink->texts, (Lines{"initializeDisplayList(): END", "glDeleteLists: END"}));
}

TEST_F(ListText, HostsPixelStateChangesNoBitmap) {
    const auto draw = [this] {
        EXPECT_EQ(live->RefreshRasterFont(live.window.DeviceContext(), lists, font, 0), S_OK);
        live.Clear();
        live->DrawRasterText(lists, "A b", 20.0, 30.0, 0.0);
        return TakePicture(*live.view, 128, 128).pixels;
    };
    const std::vector<Pixel> wanted = draw();
    const COrrinGLCement& gl = *live->GetContextRecord(GLContextMain).glCement;
    unsigned int buffer = 0;
    MisreadPixels(gl, buffer);
    ASSERT_EQ(live->RefreshRasterFont(live.window.DeviceContext(), lists, font, 0), S_OK);
    ExpectMisreading(gl, buffer);
    live.Clear();
    live->DrawRasterText(lists, "A b", 20.0, 30.0, 0.0);
    EXPECT_EQ(TakePicture(*live.view, 128, 128).pixels, wanted);
    live->DeleteFont(lists);
}

// Bounds of what is drawn, from the lower left.
struct Bounds {
    int left = 128, bottom = 128, right = -1, top = -1;
};

Bounds BoundsOf(const Picture& picture) {
    Bounds bounds;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            if (!(picture.At(x, y) == kBlack)) {
                bounds = {std::min(bounds.left, x), std::min(bounds.bottom, y), std::max(bounds.right, x),
                          std::max(bounds.top, y)};
            }
        }
    }
    return bounds;
}

TEST_F(ListText, BitmapsStandOnTheRasterPosition) {
    ASSERT_EQ(live->RefreshRasterFont(live.window.DeviceContext(), lists, font, 0), S_OK);
    EXPECT_EQ(live->DrawTextString(lists, L"\u00c4  H", nullptr, true, false, false, 20.0, 30.0, 0.0), S_OK);
    const Bounds bounds = BoundsOf(TakePicture(*live.view, 128, 128));
    EXPECT_EQ(bounds.bottom, 30);
    EXPECT_NEAR(bounds.top, 30 + 14, 2) << "the dots above the letter";
    EXPECT_NEAR(bounds.left, 20, 2);
    EXPECT_NEAR(bounds.right, 20 + 22 + 8, 2) << "two letters and two blanks";
    live->DeleteFont(lists);
}

// The quarter turn and the doubled size must hold on the fixed-function pipeline too, for what outlines can do.
TEST_F(ListText, OutlinesAreScaledAndRotatedAboutTheirPlace) {
    ASSERT_EQ(live->RefreshOutlineFont(live.window.DeviceContext(), lists, font, 0), S_OK);
    const glm::dmat4 before = live->GetMatrix(GL_MODELVIEW);
    EXPECT_EQ(
        live->DrawFontAtlasScaledRotatedTextString(L"HHH", nullptr, false, false, 60.0, 20.0, 0.0, 2.0, 2.0, 1.0, 90.0),
        S_OK);
    EXPECT_EQ(live->GetMatrix(GL_MODELVIEW), before);
    const Picture picture = TakePicture(*live.view, 128, 128);
    const Bounds bounds = BoundsOf(picture);
    EXPECT_NEAR(bounds.right, 60, 1) << "the baseline";
    EXPECT_NEAR(bounds.right - bounds.left, 2 * 11.5, 3) << "capitals of a font of 16 pixels, doubled";
    EXPECT_NEAR(bounds.bottom, 20 + 2, 2);
    EXPECT_NEAR(bounds.top - bounds.bottom, 2 * (3 * 11.5 - 2), 6);
    EXPECT_GT(picture.CountDrawn(), 300);
    live->DeleteFont(lists);
}

} // namespace
