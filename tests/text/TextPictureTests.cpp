#include "support/CoveragePicture.h"
#include "support/TextFixture.h"
#include "support/TextSink.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

#include <cmath>
#include <functional>
#include <iterator>

namespace {

constexpr int kWidth = 200;
constexpr int kHeight = 96;

/// A view on the 4.x pipeline with the default font, drawing white on black in window pixels.
class TextPictures : public FreshProcessTest {
protected:
    TextPictures() {
        live = std::make_unique<LiveView>(kWidth, kHeight);
        View().InitializeFontManager();
        Begin(*live);
    }
    ~TextPictures() override {
        live.reset();
        COpenGLView::m_gFontManager.DeleteFontLibrary();
    }
    COpenGLView& View() const { return *live->view; }
    static void Begin(const LiveView& view) {
        view.Clear();
        view->Color(255, 255, 255);
    }
    Picture Taken() const { return TakePicture(View(), kWidth, kHeight); }

    std::unique_ptr<COpenGLView> first = ChoosePrograms();
    std::unique_ptr<LiveView> live;
};

/// The picture that the current font's own bytes and measures ask for, without kerning.
Picture ExpectedText(const std::wstring& text, int x, int y) {
    Picture picture{kWidth, kHeight, std::vector<Pixel>(std::size_t{kWidth} * kHeight, kBlack)};
    int textureWidth = 0;
    int textureHeight = 0;
    unsigned char* bytes = nullptr;
    COpenGLView::m_gFontManager.GetCurrentFontTexture(textureWidth, textureHeight, &bytes);
    const FontAtlasGlyphMetrics& font = *COpenGLView::m_gFontManager.GetCurrentFontAtlasMetrics();
    int pen = x;
    for (const wchar_t character : text) {
        const int cell = font.characterMap[static_cast<unsigned short>(character)];
        const FontAtlasGlyph& glyph = font.glyphs[cell];
        const int cellX = cell % font.columns * font.cellWidth;
        const int cellY = cell / font.columns * font.cellHeight;
        const int top = y + static_cast<int>(glyph.descent + glyph.height) - 1;
        for (int row = 0; row < static_cast<int>(glyph.height); ++row) {
            for (int column = 0; column < static_cast<int>(glyph.width); ++column) {
                if (bytes[(cellY + row) * textureWidth + cellX + column] != 0) {
                    const int left = pen + static_cast<int>(glyph.xOffset);
                    picture.pixels[static_cast<std::size_t>((top - row) * kWidth + left + column)] = {255, 255, 255,
                                                                                                      255};
                }
            }
        }
        pen += static_cast<int>(glyph.advance);
    }
    return picture;
}

struct FontCase {
    const char* name;
    const wchar_t* face;
    int points;
    bool bold, italic;
    std::wstring text;
};

class PlainText : public TextPictures, public testing::WithParamInterface<FontCase> {};

// What makes text readable at small sizes: each pixel of the glyph on a pixel of the window, none between two.
TEST_P(PlainText, HasTheAtlasPixelsAtThePlacesThatTheMeasuresName) {
    const FontCase& test = GetParam();
    FontParameters request = FontRequest(test.face, test.points, test.bold, test.italic);
    ASSERT_EQ(View().SetUpNewFont(request), S_OK);
    DrawInPixels(View(), test.text.c_str(), 10.4, 39.5);
    const Picture drawn = Taken();
    EXPECT_GT(drawn.CountDrawn(), 40);
    EXPECT_EQ(CoverageRows(drawn), CoverageRows(ExpectedText(test.text, 10, 40)));
}

INSTANTIATE_TEST_SUITE_P(
    Fonts, PlainText,
    testing::Values(FontCase{"small", L"arial", 7, false, false, L"Hamburg 1:25000"},
                    FontCase{"bold", L"arial", 14, true, false, L"H\u00f6he \u00c5s"},
                    FontCase{"italic", L"arial", 11, false, true, L"dell' isola"},
                    FontCase{"bold_italic", L"arial", 18, true, true, L"R\u00edo"},
                    FontCase{"greek_and_cyrillic", L"arial", 12, false, false, L"\u0391\u03b8 \u0416\u0443\u043a"},
                    FontCase{"large", L"arial", 36, false, false, L"Qg"},
                    FontCase{"not_in_the_font", L"arial", 12, false, false, L"a\u4e2d\u6587\xD83D\xDE00\xDC00z"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(TextPictures, StepsOfAStringAreInTheTrace) {
    const auto sink = std::make_shared<TextSink>();
    const auto logger = std::make_shared<spdlog::logger>("OrrinLogger", sink);
    logger->set_level(spdlog::level::trace);
    COpenGLView::RegisterLogger(logger);
    DrawInPixels(View(), L"a", 10.0, 10.0);
    EXPECT_EQ(View().DrawFontAtlasText(nullptr, 0.0, 0.0, 0.0, false, false), E_INVALIDARG);
    spdlog::drop("OrrinLogger");
    std::vector<std::string> steps;
    std::copy_if(sink->texts.begin(), sink->texts.end(), std::back_inserter(steps), [](const std::string& text) {
        return text.starts_with("DrawFontAtlas") || text.starts_with("DrawTeardown") || text == "glDrawArrays: AFTER:";
    });
    EXPECT_EQ(steps,
              (std::vector<std::string>{"DrawFontAtlasText: Begin", "DrawFontAtlasText: BEFORE BeginArrays",
                                        "DrawFontAtlasText: AFTER  EndArrays", "DrawTeardownFontAtlasText BEGIN:",
                                        "glDrawArrays: AFTER:", "DrawTeardownFontAtlasText",
                                        "DrawTeardownFontAtlasText END:", "DrawFontAtlasText: Begin"}));
}

// Pairs of capitals stand too far apart without it. The second drawing takes the distances from where the first kept
// them.
TEST_F(TextPictures, KernedPairsMoveTogether) {
    FontParameters request = FontRequest(L"arial", 24);
    ASSERT_EQ(View().SetUpNewFont(request), S_OK);
    ASSERT_EQ(COpenGLView::m_gFontManager.DoesCurrentFontHaveKerning(), 1);
    for (int time = 0; time < 2; ++time) {
        live->Clear();
        DrawInPixels(View(), L"AVAV", 10.0, 40.0);
        const Picture apart = ExpectedText(L"AVAV", 10, 40);
        const Picture drawn = Taken();
        const auto rightmost = [](const Picture& picture) {
            int right = 0;
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < kWidth; ++x) {
                    right = picture.At(x, y) == kBlack ? right : std::max(right, x);
                }
            }
            return right;
        };
        FT_Vector kerning{};
        const FT_Face face = COpenGLView::m_gFontManager.GetCurrentFontFace();
        FT_Get_Kerning(face, FT_Get_Char_Index(face, L'A'), FT_Get_Char_Index(face, L'V'), FT_KERNING_DEFAULT,
                       &kerning);
        EXPECT_LT(kerning.x, 0);
        EXPECT_EQ(rightmost(drawn) - rightmost(apart), 3 * (kerning.x >> 6)) << "drawing " << time;
    }
}

/// Rows of a level of the texture that is bound.
std::vector<unsigned char> TexelsOf(int level, int width, int height, int firstRow, int rows) {
    std::vector<unsigned char> all(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(GL_TEXTURE_2D, level, GL_RED, GL_UNSIGNED_BYTE, all.data());
    const auto begin = all.begin() + static_cast<std::ptrdiff_t>(firstRow) * width;
    return {begin, begin + static_cast<std::ptrdiff_t>(rows) * width};
}

// The smaller levels of a large font are made in parts by the library. They must be what the driver makes of the whole,
// or scaled labels would look otherwise with a large font than with a small one.
TEST_F(TextPictures, LevelsOfALargeFontAreTheDriversOwn) {
    FontParameters request = FontRequest(L"DejaVu Sans", 23);
    ASSERT_EQ(View().SetUpNewFont(request), S_OK);
    DrawInPixels(View(), L"A\u0633", 10.0, 30.0);
    const FontAtlasGlyphMetrics& font = *COpenGLView::m_gFontManager.GetCurrentFontAtlasMetrics();
    ASSERT_GT(font.textureBytes, 5'000'000);
    int textureWidth = 0;
    int textureHeight = 0;
    unsigned char* bytes = nullptr;
    COpenGLView::m_gFontManager.GetCurrentFontTexture(textureWidth, textureHeight, &bytes);
    unsigned int whole = 0;
    glGenTextures(1, &whole);
    glBindTexture(GL_TEXTURE_2D, whole);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, textureWidth, textureHeight, 0, GL_RED, GL_UNSIGNED_BYTE, bytes);
    View().GetContextRecord(GLContextMain).glCement->glGenerateMipmap(GL_TEXTURE_2D);
    for (const wchar_t character : {L'A', L'\u0633'}) {
        const int cellTop = font.characterMap[character] / font.columns * font.cellHeight;
        for (int level = 0; level < 3; ++level) {
            const int width = textureWidth >> level;
            const int height = textureHeight >> level;
            const int top = cellTop * height / textureHeight;
            const int rows = std::min(font.cellHeight * height / textureHeight + 1, height - top);
            glBindTexture(GL_TEXTURE_2D, font.textureName);
            const std::vector<unsigned char> texels = TexelsOf(level, width, height, top, rows);
            glBindTexture(GL_TEXTURE_2D, whole);
            const std::vector<unsigned char> wanted = TexelsOf(level, width, height, top, rows);
            int most = 0;
            for (std::size_t texel = 0; texel < texels.size(); ++texel) {
                most = std::max(most, std::abs(texels[texel] - wanted[texel]));
            }
            EXPECT_LE(most, 3) << "level " << level << ", character " << static_cast<int>(character);
            EXPECT_GT(*std::ranges::max_element(wanted), 100);
        }
    }
    glDeleteTextures(1, &whole);
}

using Drawing = std::function<void(COpenGLView&)>;
struct GoldenCase {
    const char* name;
    int step; ///< sixteenths that a pixel may be off; drivers differ where glyphs are filtered
    Drawing draw;
};

void DrawRotated(COpenGLView& view, const wchar_t* text, double x, double y, double scale, double angleDegrees) {
    view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
    EXPECT_EQ(view.DrawFontAtlasScaledRotatedTextString(text, nullptr, false, false, x, y, 0.0, scale, scale, 1.0,
                                                        angleDegrees),
              S_OK);
    view.DrawTeardownFontAtlasText(false, true);
}

class GoldenText : public TextPictures, public testing::WithParamInterface<GoldenCase> {};

TEST_P(GoldenText, LooksAsItDid) {
    GetParam().draw(View());
    ExpectGolden(GetParam().name, CoverageRows(Taken()), GetParam().step);
}

const GoldenCase kGoldenCases[] = {
    {"plain", 0, [](COpenGLView& view) { DrawInPixels(view, L"Agj\u00c4 1:500", 8, 40); }},
    {"underlined", 0,
     [](COpenGLView& view) {
         UseFont(view, 14, true, false);
         DrawInPixels(view, L"Via Appia", 8, 40);
     }},
    {"struck_out", 0,
     [](COpenGLView& view) {
         UseFont(view, 14, false, true);
         DrawInPixels(view, L"Via Appia", 8, 40);
     }},
    {"transparent", 0,
     [](COpenGLView& view) {
         view.DrawSetupTextTransparency(128);
         DrawInPixels(view, L"Dunst", 8, 40);
     }},
    {"rotated_30", 1, [](COpenGLView& view) { DrawRotated(view, L"Rhein 210 m", 20, 10, 1.0, 30.0); }},
    {"rotated_90", 0, [](COpenGLView& view) { DrawRotated(view, L"Rhein", 40, 10, 1.0, 90.0); }},
    {"rotated_200_underlined", 1,
     [](COpenGLView& view) {
         UseFont(view, 14, true, true);
         DrawRotated(view, L"Rhein km 3", 140, 70, 1.0, 200.0);
     }},
    {"scaled_2_5", 1, [](COpenGLView& view) { DrawRotated(view, L"Rg\u00e9", 8, 30, 2.5, 0.0); }},
    {"scaled_0_6_rotated", 1, [](COpenGLView& view) { DrawRotated(view, L"Kirchgasse 17", 20, 70, 0.6, -20.0); }},
    {"frame_centred", 1,
     [](COpenGLView& view) {
         view.DrawSetupText(100, 40, 0, L"Mitte", 1.5, 1.5, 1.0, 15.0, 0.5);
         EXPECT_EQ(view.DrawFontAtlasText(L"Mitte", 0, 0, 0, false, false), S_OK);
         view.DrawTeardownFontAtlasText(false, true);
     }},
};

INSTANTIATE_TEST_SUITE_P(Strings, GoldenText, testing::ValuesIn(kGoldenCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

} // namespace
