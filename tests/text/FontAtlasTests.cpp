#include "support/TextFixture.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <array>
#include <bit>
#include <random>

namespace {

struct GridCase {
    const char* name;
    int characters, cellWidth, cellHeight, maximum;
    long long width, height, bytes;
    bool fits;
};

class Grid : public testing::TestWithParam<GridCase> {};

TEST_P(Grid, CellsLieRowByRow) {
    const GridCase& test = GetParam();
    const FontGrid grid = LayOutFontGrid(test.characters, test.cellWidth, test.cellHeight, test.maximum);
    EXPECT_EQ(grid.textureWidth, test.width);
    EXPECT_EQ(grid.textureHeight, test.height);
    EXPECT_EQ(grid.textureBytes, test.bytes);
    EXPECT_EQ(grid.fits, test.fits);
}

INSTANTIATE_TEST_SUITE_P(Fonts, Grid,
                         testing::Values(GridCase{"exactly_full", 100, 10, 10, 100, 100, 100, 10'000, true},
                                         GridCase{"one_too_many", 101, 10, 10, 100, 100, 110, 11'000, false},
                                         GridCase{"one_row_is_as_wide_as_many", 1, 30, 20, 100, 90, 20, 1800, true},
                                         GridCase{"cell_wider_than_the_texture", 3, 65, 1, 64, 65, 3, 195, false},
                                         GridCase{"beyond_32_bits", 1'114'112, 32'767, 32'767, 32'768, 32'767,
                                                  36'506'107'904, 1'196'195'637'690'368, false},
                                         GridCase{"cell_without_width", 10, 0, 10, 100, 0, 0, 0, false},
                                         GridCase{"cell_without_height", 10, 10, 0, 100, 0, 0, 0, false},
                                         GridCase{"no_characters", 0, 10, 10, 100, 0, 0, 0, false},
                                         GridCase{"negative", 10, -3, -3, 100, 0, 0, 0, false}),
                         [](const auto& tested) { return std::string(tested.param.name); });

constexpr FT_Int32 kDrawnFlags = FT_LOAD_RENDER | FT_LOAD_FORCE_AUTOHINT | FT_LOAD_TARGET_MONO;

/// FreeType as the tests use it, beside the library's own.
class DirectFace {
public:
    DirectFace(const wchar_t* file, int points) : m_bytes(ReadFontFile(file)) {
        FT_Init_FreeType(&m_library);
        FT_New_Memory_Face(m_library, m_bytes.data(), static_cast<FT_Long>(m_bytes.size()), 0, &face);
        const auto dpi = static_cast<FT_UInt>(CFTGLFontManager::m_giDPI);
        FT_Set_Char_Size(face, points * 64, points * 64, dpi, dpi);
    }
    ~DirectFace() {
        FT_Done_Face(face);
        FT_Done_FreeType(m_library);
    }
    DirectFace(const DirectFace&) = delete;
    DirectFace& operator=(const DirectFace&) = delete;

    /// Every character code of the font, ascending.
    std::vector<FT_ULong> Codes() const {
        std::vector<FT_ULong> codes;
        FT_UInt glyph = 0;
        for (FT_ULong code = FT_Get_First_Char(face, &glyph); glyph; code = FT_Get_Next_Char(face, code, &glyph)) {
            codes.push_back(code);
        }
        return codes;
    }
    /// Horizontal kerning of two characters in whole pixels.
    double Kerning(FT_ULong left, FT_ULong right) const {
        FT_Vector offset = {};
        FT_Get_Kerning(face, FT_Get_Char_Index(face, left), FT_Get_Char_Index(face, right), FT_KERNING_DEFAULT,
                       &offset);
        return static_cast<double>(offset.x >> 6);
    }

    FT_Face face = nullptr;

private:
    FontBytes m_bytes;
    FT_Library m_library = nullptr;
};

struct FaceCase {
    const char* name;
    const wchar_t* face;
    const wchar_t* file;
    int points;
    bool bold, italic;
};

class AtlasFace : public FontTest, public testing::WithParamInterface<FaceCase> {};

// A wrong row, bit or offset here is a wrong letter on the map.
TEST_P(AtlasFace, HoldsWhatFreeTypeDraws) {
    const FaceCase& test = GetParam();
    CFTGLFontAtlas atlas;
    FontParameters request = FontRequest(test.face, test.points, test.bold, test.italic);
    ASSERT_EQ(atlas.SetUpNewFont(request), S_OK);
    EXPECT_TRUE(notices.shown.empty());
    EXPECT_EQ(request.pixelHeight, MulDiv(test.points, CFTGLFontManager::m_giLogicalVerticalDPI, 72));
    EXPECT_EQ(atlas.GetFontFilePath().GetString(),
              (FontsFolder().wstring() + L"\\\\" + test.file)); // both separators are kept

    const DirectFace direct(test.file, test.points);
    const FT_GlyphSlot slot = direct.face->glyph;
    const std::vector<FT_ULong> codes = direct.Codes();
    int cellWidth = 0;
    int cellHeight = 0;
    double widths = 0.0;
    double heights = 0.0;
    for (const FT_ULong code : codes) {
        FT_Load_Char(direct.face, code, FT_LOAD_NO_SCALE);
        widths += static_cast<double>(slot->metrics.width) / direct.face->units_per_EM;
        heights += static_cast<double>(slot->metrics.height) / direct.face->units_per_EM;
        for (const FT_Int32 flags : {FT_Int32{FT_LOAD_RENDER}, kDrawnFlags}) {
            FT_Load_Char(direct.face, code, flags);
            cellWidth = std::max(cellWidth, static_cast<int>(slot->bitmap.width));
            cellHeight = std::max(cellHeight, static_cast<int>(slot->bitmap.rows));
        }
    }
    const FontAtlasGlyphMetrics& metrics = *atlas.GetAtlasMetrics();
    const FontParameters& stored = atlas.GetFontParameters();
    ASSERT_EQ(metrics.renderedCharacters, static_cast<int>(codes.size()));
    ASSERT_EQ(metrics.cellWidth, cellWidth);
    ASSERT_EQ(metrics.cellHeight, cellHeight);
    EXPECT_EQ(stored.cellWidth, cellWidth);
    EXPECT_EQ(stored.cellHeight, cellHeight);
    EXPECT_DOUBLE_EQ(metrics.averageWidth, widths / static_cast<double>(codes.size()));
    EXPECT_DOUBLE_EQ(stored.averageHeightEm, heights / static_cast<double>(codes.size()));
    EXPECT_EQ(stored.averageWidthUnits, static_cast<int>(direct.face->units_per_EM * metrics.averageWidth));
    EXPECT_EQ(metrics.glyphCount, direct.face->num_glyphs);
    EXPECT_EQ(metrics.ready, 1);
    EXPECT_EQ(metrics.constant, 128);
    EXPECT_EQ(metrics.boundTexture, 0U);
    ASSERT_EQ(metrics.columns, 16384 / cellWidth);
    ASSERT_EQ(metrics.textureWidth, metrics.columns * cellWidth);
    ASSERT_EQ(metrics.textureHeight, metrics.rows * cellHeight);

    std::vector<unsigned char> expected(static_cast<std::size_t>(metrics.textureBytes));
    for (int cell = 0; cell < metrics.renderedCharacters; ++cell) {
        const FT_ULong code = codes[static_cast<std::size_t>(cell)];
        FT_Load_Char(direct.face, code, kDrawnFlags);
        const FT_Bitmap& bitmap = slot->bitmap;
        const int width = static_cast<int>(bitmap.width);
        const int height = static_cast<int>(bitmap.rows);
        const int x = cell % metrics.columns * cellWidth;
        const int y = cell / metrics.columns * cellHeight;
        for (int row = 0; row < height; ++row) {
            for (int column = 0; column < width; ++column) {
                const int bit = bitmap.buffer[row * bitmap.pitch + column / 8] >> (7 - column % 8) & 1;
                expected[static_cast<std::size_t>(y + row) * static_cast<std::size_t>(metrics.textureWidth) +
                         static_cast<std::size_t>(x + column)] = bit ? 0xFF : 0x00;
            }
        }
        const std::array<double, 11> wanted = {
            static_cast<double>(slot->advance.x >> 6),
            static_cast<double>(width),
            static_cast<double>(height),
            static_cast<double>(slot->bitmap_left),
            static_cast<double>(slot->bitmap_top),
            std::max(0.0, (x - 0.01) / metrics.textureWidth),
            std::min(1.0, (x + width + 0.01) / metrics.textureWidth),
            std::max(0.0, (y - 0.01) / metrics.textureHeight),
            std::min(1.0, (y + height + 0.01) / metrics.textureHeight),
            static_cast<double>(slot->bitmap_left),
            static_cast<double>((slot->metrics.horiBearingY - slot->metrics.height) >> 6)};
        ASSERT_EQ((std::bit_cast<std::array<double, 11>>(metrics.glyphs[cell])), wanted) << "character " << code;
        if (code <= 0xFFFF) {
            ASSERT_EQ(metrics.characterMap[code], cell) << "character " << code;
        }
    }
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), atlas.GetRawTexture()));
    EXPECT_EQ(metrics.characterMap[0xFFFE], 0) << "no character: shows the first cell";
}

INSTANTIATE_TEST_SUITE_P(Installed, AtlasFace,
                         testing::Values(FaceCase{"arial_12", L"arial", L"arial.ttf", 12, false, false},
                                         FaceCase{"capitals_and_blanks", L" ARIAL ", L"arial.ttf", 7, false, false},
                                         FaceCase{"bold", L"arial", L"arialbd.ttf", 9, true, false},
                                         // At 96 dpi some glyphs are drawn taller here than any is measured.
                                         FaceCase{"taller_than_measured", L"arial", L"ariali.ttf", 21, false, true},
                                         FaceCase{"bold_italic_upright_writing", L"@Arial", L"arialbi.ttf", 10, true,
                                                  true},
                                         FaceCase{"dejavu_24", L"DejaVu Sans", L"DejaVuSans.ttf", 24, false, false}),
                         [](const auto& tested) { return std::string(tested.param.name); });

/// An atlas, and a font file of a few characters that it may be built from.
class Atlas : public FontTest {
protected:
    InstalledFontFile file{SmallFont(L'@').File()};
    CFTGLFontAtlas atlas;
};

TEST_F(Atlas, MeasuresAStringInThreeWays) {
    FontParameters request = FontRequest(L"arial", 40);
    ASSERT_EQ(atlas.SetUpNewFont(request), S_OK);
    const DirectFace direct(L"arial.ttf", 40);
    const FontAtlasGlyph* glyphs = atlas.GetAtlasMetrics()->glyphs;
    const auto cellOf = [&](wchar_t character) { return atlas.GetAtlasMetrics()->characterMap[character]; };
    const double mapped = glyphs[cellOf(L'a')].advance + glyphs[cellOf(L'v')].advance;
    const double tallest = std::max(glyphs[cellOf(L'a')].height, glyphs[cellOf(L'v')].height);
    // Cells stand for characters in kerning: those of "av" have the numbers of the letters A and V, which overlap.
    ASSERT_EQ(cellOf(L'a'), L'A');
    ASSERT_EQ(cellOf(L'v'), L'V');
    const double kerning = direct.Kerning(L'A', L'V');
    ASSERT_LT(kerning, -1.0);

    std::size_t length = 0;
    double width = 0.0;
    double height = 0.0;
    EXPECT_EQ(atlas.GetTextStringDimensions(L"av", length, &width, &height), S_OK);
    EXPECT_EQ(length, 2U);
    EXPECT_EQ(width, mapped + kerning);
    EXPECT_EQ(height, tallest);
    EXPECT_EQ(atlas.GetTextStringDimensions(L"av", length, &width, nullptr), S_OK);
    EXPECT_EQ(width, glyphs[L'a'].advance + glyphs[L'v'].advance) << "by the codes themselves";
    EXPECT_EQ(atlas.GetTextStringDimensions(L"av", length, nullptr, &height), S_OK);
    EXPECT_EQ(height, std::max(glyphs[L'a'].height, glyphs[L'v'].height));

    EXPECT_EQ(atlas.GetTextStringDimensions(L"", length, &width, &height), S_OK);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(width, 0.0);
    EXPECT_EQ(height, 0.0);
    EXPECT_EQ(atlas.GetTextStringDimensions(L"a\xFFFFv", length, &width, nullptr), S_OK);
    EXPECT_EQ(width, glyphs[L'a'].advance + glyphs[L'v'].advance) << "a code beyond the cells adds nothing";
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(atlas.GetTextStringDimensions(nullptr, length, &width, &height), E_INVALIDARG);
    EXPECT_EQ(CFTGLFontAtlas().GetTextStringDimensions(L"av", length, &width, &height), E_INVALIDARG);
}

TEST_F(Atlas, LogicalFontDecidesWhetherTheFontIsTheSame) {
    FontParameters request = FontRequest(L"arial", 12);
    ASSERT_EQ(atlas.SetUpNewFont(request), S_OK);
    const FontAtlasGlyphMetrics* built = atlas.GetAtlasMetrics();
    FontParameters same = FontRequest(L"ARIAL", 12);
    same.pointSize = 30;
    same.bold = 1;
    same.textColor = 1;
    EXPECT_EQ(atlas.SetUpNewFont(same), S_OK);
    EXPECT_EQ(atlas.GetAtlasMetrics(), built);
    EXPECT_EQ(atlas.GetFontParameters().pointSize, 12);

    const auto differs = [&](auto member, auto value) {
        FontParameters other = FontRequest(L"arial", 12);
        other.logicalFont.*member = value;
        return !atlas.IsFontRequestSameAsCurrentFont(other);
    };
    EXPECT_TRUE(differs(&LOGFONTW::lfHeight, -12));
    EXPECT_TRUE(differs(&LOGFONTW::lfWeight, FW_BOLD));
    EXPECT_TRUE(differs(&LOGFONTW::lfItalic, BYTE{1}));
    EXPECT_TRUE(differs(&LOGFONTW::lfUnderline, BYTE{1}));
    EXPECT_TRUE(differs(&LOGFONTW::lfStrikeOut, BYTE{1}));
    EXPECT_FALSE(differs(&LOGFONTW::lfWidth, 5));
    EXPECT_FALSE(differs(&LOGFONTW::lfQuality, BYTE{1}));
    EXPECT_FALSE(atlas.IsFontRequestSameAsCurrentFont(FontRequest(L"ariam", 12)));
}

TEST_F(Atlas, FontLargerThanTheCardTellsSo) {
    FontParameters request = FontRequest(L"arial", 12);
    ASSERT_EQ(atlas.SetUpNewFont(request), S_OK);
    const int cellWidth = atlas.GetAtlasMetrics()->cellWidth;
    const int cellHeight = atlas.GetAtlasMetrics()->cellHeight;
    const int characters = atlas.GetAtlasMetrics()->renderedCharacters;
    int columns = 1;
    while (!LayOutFontGrid(characters, cellWidth, cellHeight, columns * cellWidth).fits) {
        ++columns;
    }
    COpenGLView::m_gsOpenGLVersionData.iMaxTextureSize = columns * cellWidth;
    ASSERT_EQ(atlas.BuildFontAtlas(true), S_OK);
    EXPECT_EQ(atlas.GetAtlasMetrics()->textureWidth, columns * cellWidth) << "fits exactly";

    const int tooSmall = (columns - 1) * cellWidth;
    COpenGLView::m_gsOpenGLVersionData.iMaxTextureSize = tooSmall;
    EXPECT_EQ(atlas.BuildFontAtlas(true), E_FAIL);
    EXPECT_EQ(atlas.GetAtlasMetrics(), nullptr);
    EXPECT_EQ(atlas.GetRawTexture(), nullptr);
    ASSERT_EQ(notices.shown.size(), 1U);
    EXPECT_EQ(notices.shown[0].text,
              L"Font: arial contains " + std::to_wstring(characters) + L" characters and requires: " +
                  std::to_wstring(LayOutFontGrid(characters, cellWidth, cellHeight, tooSmall).textureBytes) +
                  L" bytes of memory. \nThis font exceeds the current graphics card texture dimensions of " +
                  std::to_wstring(tooSmall) + L" for display.  Please choose a font with fewer characters.\n");
}

/// A map by which the characters from `first` to `last` all show one glyph.
FontBytes MapToOneGlyph(unsigned first, unsigned last, unsigned glyph) {
    FontBytes map;
    for (const unsigned number : {0U, 1U, 3U, 10U, 0U, 12U, 13U, 0U}) { // one table, format 13
        TrueTypeTables::Append(map, number, 2);
    }
    for (const unsigned number : {28U, 0U, 1U, first, last, glyph}) {
        TrueTypeTables::Append(map, number, 4);
    }
    return map;
}

// A heavy glyph is loaded once, however many characters show it, and each of them has a cell of its own.
TEST_F(Atlas, CharactersOfOneGlyphShowTheSame) {
    TrueTypeTables font = SmallFont(L'Z');
    font.tables["cmap"] = MapToOneGlyph(L'A', L'A' + 2'999, 3 + L'R' - L' ');
    const InstalledFontFile shared(font.File());
    ASSERT_EQ(atlas.InitializeFreeTypeLibrary(FontRequest(shared.Face(), 40)), S_OK);
    const FontAtlasGlyphMetrics& metrics = *atlas.GetAtlasMetrics();
    ASSERT_EQ(metrics.renderedCharacters, 3'000);
    ASSERT_GT(metrics.rows, 1);
    std::vector<unsigned char> texture(static_cast<std::size_t>(metrics.textureBytes));
    ASSERT_EQ(atlas.CopyTextureRows(0, metrics.textureHeight, texture.data()), S_OK);
    const auto pixelOf = [&](int cell, int x, int y) {
        const int row = cell / metrics.columns * metrics.cellHeight + y;
        const int column = cell % metrics.columns * metrics.cellWidth + x;
        return texture[static_cast<std::size_t>(row) * static_cast<std::size_t>(metrics.textureWidth) +
                       static_cast<std::size_t>(column)];
    };
    EXPECT_GT(std::ranges::count(texture, 255), 3'000 * 100);
    for (const int cell : {1, metrics.columns, 2'999}) {
        const FontAtlasGlyph& glyph = metrics.glyphs[cell];
        EXPECT_EQ(metrics.characterMap[L'A' + cell], cell);
        EXPECT_EQ(glyph.advance, metrics.glyphs[0].advance);
        const double left = cell % metrics.columns * metrics.cellWidth;
        const double top = cell / metrics.columns * metrics.cellHeight;
        EXPECT_NEAR(glyph.s0 * metrics.textureWidth, left, 0.02) << cell;
        EXPECT_NEAR(glyph.s1 * metrics.textureWidth, left + glyph.width, 0.02);
        EXPECT_NEAR(glyph.t0 * metrics.textureHeight, top, 0.02);
        EXPECT_NEAR(glyph.t1 * metrics.textureHeight, top + glyph.height, 0.02);
        for (int y = 0; y < metrics.cellHeight; ++y) {
            for (int x = 0; x < metrics.cellWidth; ++x) {
                ASSERT_EQ(pixelOf(cell, x, y), pixelOf(0, x, y)) << cell << ": " << x << ", " << y;
            }
        }
    }
}

// Twelve bytes of a font can say that there are four thousand million characters.
TEST_F(Atlas, FontOfMoreCharactersThanThereAreIsRefused) {
    TrueTypeTables font = SmallFont(L'Z');
    font.tables["cmap"] = MapToOneGlyph(1, 0xFFFF'FFF0, 3); // the blank: endless rows would fit
    const InstalledFontFile endless(font.File());
    EXPECT_EQ(atlas.InitializeFreeTypeLibrary(FontRequest(endless.Face(), 12)), E_FAIL);
    EXPECT_EQ(atlas.GetAtlasMetrics(), nullptr);
}

// FreeType would be at it for ever: each glyph shows the one before it four times, thirty deep.
TEST_F(Atlas, GlyphsMadeOfGlyphsEndSomewhere) {
    constexpr unsigned kFirst = 4; // behind the blank
    constexpr unsigned kLast = kFirst + 30;
    TrueTypeTables font = SmallFont(L'Z');
    FontBytes glyphs;
    FontBytes places = FontBytes(font.tables["loca"].begin(), font.tables["loca"].begin() + 4 * kFirst);
    glyphs.assign(font.tables["glyf"].begin(),
                  font.tables["glyf"].begin() + TrueTypeTables::Number(font.tables["loca"], 4 * kFirst, 4));
    for (unsigned glyph = kFirst; glyph <= kLast; ++glyph) {
        TrueTypeTables::Append(places, static_cast<unsigned>(glyphs.size()), 4);
        for (const unsigned number : {0xFFFFU, 0U, 0U, 0U, 0U}) { // made of others
            TrueTypeTables::Append(glyphs, number, 2);
        }
        for (int part = 0; part < 4; ++part) {
            TrueTypeTables::Append(glyphs, part < 3 ? 0x22 : 0x02, 2); // more follow
            TrueTypeTables::Append(glyphs, glyph - 1, 2);
            TrueTypeTables::Append(glyphs, 0, 2);
        }
        TrueTypeTables::Append(glyphs, 0, 2);
    }
    TrueTypeTables::Append(places, static_cast<unsigned>(glyphs.size()), 4);
    const auto count = [&](const char* table, std::size_t position, unsigned number) {
        font.tables[table].at(position) = static_cast<unsigned char>(number >> 8);
        font.tables[table].at(position + 1) = static_cast<unsigned char>(number);
    };
    count("maxp", 4, kLast + 1);
    count("maxp", 28, 100); // parts
    count("maxp", 30, 100); // depth
    count("hhea", 34, kLast + 1);
    font.tables["hmtx"].resize(4 * (std::size_t{kLast} + 1));
    font.tables["glyf"] = glyphs;
    font.tables["loca"] = places;
    font.tables["cmap"] = MapToOneGlyph(L'A', L'A', kLast);
    const InstalledFontFile deep(font.File());
    EXPECT_EQ(atlas.InitializeFreeTypeLibrary(FontRequest(deep.Face(), 12)), E_OUTOFMEMORY);
    EXPECT_EQ(atlas.GetAtlasMetrics(), nullptr);
}

TEST_F(Atlas, FontThatIsNotInstalledIsRefused) {
    EXPECT_EQ(atlas.InitializeFreeTypeLibrary(FontRequest(L"no such font", 12)), E_INVALIDARG);
    EXPECT_EQ(atlas.GetAtlasMetrics(), nullptr);
    EXPECT_EQ(atlas.GetFontFilePath().GetString(), FontsFolder().wstring() + L"\\");
    EXPECT_EQ(notices.shown.size(), 1U) << "the registry does not know it";
}

TEST_F(Atlas, AnyPointSizeIsAnswered) {
    const struct {
        int points;
        long expected;
    } cases[] = {{0, S_OK}, {-12, S_OK}, {INT_MIN, S_OK} /* all one point */, {INT_MAX, E_FAIL}, {40'000'000, E_FAIL}};
    for (const auto& test : cases) {
        FontParameters request = FontRequest(file.Face(), test.points);
        EXPECT_EQ(atlas.SetUpNewFont(request), test.expected) << test.points;
    }
}

TEST_F(Atlas, GdiFontIsWhatTheRequestSays) {
    const HDC screen = GetDC(nullptr);
    LOGFONTW font = {};
    TEXTMETRICW metrics = {};
    const std::wstring longName(40, L'x');
    EXPECT_EQ(atlas.BuildFontAndGetMetrics(screen, nullptr, 32, 400, 1, 0, 0, 0, font, metrics), E_INVALIDARG);
    EXPECT_EQ(atlas.BuildFontAndGetMetrics(nullptr, L"Arial", 32, 400, 1, 0, 0, 0, font, metrics), E_INVALIDARG);
    EXPECT_EQ(atlas.BuildFontAndGetMetrics(screen, longName.c_str(), 32, 700, 1, 1, 0, 1, font, metrics), S_OK);
    EXPECT_EQ(font.lfFaceName, longName.substr(0, 31));
    EXPECT_EQ(metrics.tmHeight, 32) << "a cell height";
    EXPECT_TRUE(font.lfWeight == 700 && font.lfItalic == 1 && font.lfUnderline == 0 && font.lfStrikeOut == 1);
    ReleaseDC(nullptr, screen);
}

TEST_F(Atlas, GlyphsMayBeShaded) {
    ASSERT_EQ(atlas.InitializeFreeTypeLibrary(FontRequest(L"arial", 12)), S_OK);
    ASSERT_EQ(atlas.BuildFontAtlas(false), S_OK);
    const FontAtlasGlyphMetrics& metrics = *atlas.GetAtlasMetrics();
    const DirectFace direct(L"arial.ttf", 12);
    std::vector<unsigned char> expected(static_cast<std::size_t>(metrics.textureBytes));
    int cell = 0;
    for (const FT_ULong code : direct.Codes()) {
        FT_Load_Char(direct.face, code, FT_LOAD_RENDER | FT_LOAD_FORCE_AUTOHINT);
        const FT_Bitmap& bitmap = direct.face->glyph->bitmap;
        const int corner = cell / metrics.columns * metrics.cellHeight * metrics.textureWidth +
                           cell % metrics.columns * metrics.cellWidth;
        for (int row = 0; row < static_cast<int>(bitmap.rows); ++row) {
            std::copy_n(bitmap.buffer + row * bitmap.pitch, bitmap.width,
                        expected.begin() + corner + row * metrics.textureWidth);
        }
        ++cell;
    }
    EXPECT_TRUE(std::ranges::any_of(expected, [](unsigned char shade) { return shade > 0 && shade < 255; }));
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), atlas.GetRawTexture()));
}

struct RefusedCase {
    const char* name;
    FontBytes (*make)();
    long expected;
};

FontBytes WholeFont() {
    return SmallFont(L'~').File();
}

FontBytes CutAt(std::size_t size) {
    FontBytes bytes = WholeFont();
    bytes.resize(size);
    return bytes;
}

/// The outline of '!' says that it has more contours than its data.
FontBytes BrokenGlyph() {
    TrueTypeTables font = SmallFont(L'~');
    const unsigned glyph = TrueTypeTables::Number(font.tables["loca"], 4 * 4, 4);
    font.tables["glyf"].at(glyph) = 0x7F;
    return font.File();
}

/// One character, the blank.
FontBytes NoInk() {
    return SmallFont(L' ').File();
}

FontBytes Without(const char* table) {
    TrueTypeTables font = SmallFont(L'~');
    font.tables.erase(table);
    return font.File();
}

class RefusedFont : public Atlas, public testing::WithParamInterface<RefusedCase> {};

// A user's broken font must cost its text, not the session.
TEST_P(RefusedFont, GivesItsCodeAndTheManagerKeepsItsFont) {
    CFTGLFontManager manager;
    FontParameters good = FontRequest(L"arial", 12);
    ASSERT_EQ(manager.SetUpNewFont(good), S_OK);
    const FontAtlasGlyphMetrics* before = manager.GetCurrentFontAtlasMetrics();
    file.Write(GetParam().make());
    FontParameters bad = FontRequest(file.Face(), 12);
    EXPECT_EQ(manager.SetUpNewFont(bad), GetParam().expected);
    EXPECT_EQ(manager.GetCurrentFontIndex(), 0);
    EXPECT_EQ(manager.GetCurrentFontAtlasMetrics(), before);
    ASSERT_NE(manager.GetFontAtlas(1), nullptr) << "it keeps its slot";
    EXPECT_EQ(manager.GetFontAtlas(1)->GetAtlasMetrics(), nullptr);
    EXPECT_EQ(manager.GetFontAtlas(1)->GetRawTexture(), nullptr);
    FontParameters next = FontRequest(L"arial", 13);
    EXPECT_EQ(manager.SetUpNewFont(next), S_OK);
    EXPECT_EQ(manager.GetCurrentFontIndex(), 2);
}

INSTANTIATE_TEST_SUITE_P(Files, RefusedFont,
                         testing::Values(RefusedCase{"empty", [] { return FontBytes(); }, kNotAFontFile},
                                         RefusedCase{"text", [] { return FontBytes(500, 'x'); }, kNotAFontFile},
                                         RefusedCase{"cut_in_its_directory", [] { return CutAt(100); }, kNotAFontFile},
                                         RefusedCase{"cut_in_its_outlines", [] { return CutAt(9000); }, kNotAFontFile},
                                         RefusedCase{"a_glyph_that_never_renders", BrokenGlyph, E_FAIL},
                                         RefusedCase{"without_ink", NoInk, E_FAIL},
                                         RefusedCase{"without_characters", [] { return Without("cmap"); }, E_FAIL},
                                         RefusedCase{"without_its_measures", [] { return Without("hhea"); },
                                                     E_INVALIDARG}),
                         [](const auto& tested) { return std::string(tested.param.name); });

// Whatever is in a font file, the process survives it, and the atlas is whole or not there.
TEST_F(Atlas, DamagedFilesNeitherCrashNorHang) {
    constexpr int files = 400;
    std::mt19937 random(20); // the same files each time
    const FontBytes whole = SmallFont(L'@').File();
    const FontParameters request = FontRequest(file.Face(), 12);
    int built = 0;
    for (int number = 0; number < files; ++number) {
        FontBytes bytes = whole;
        for (unsigned change = 0; change < 1 + random() % 8; ++change) {
            // Half of the changes go to the front, where the tables and the character map are.
            const std::size_t range = random() % 2 ? 800 : bytes.size();
            bytes[random() % range] = static_cast<unsigned char>(random());
        }
        if (random() % 8 == 0) {
            bytes.resize(random() % bytes.size());
        }
        atlas.ReleaseFontLibrary();
        file.Write(bytes);
        const long result = atlas.InitializeFreeTypeLibrary(request);
        ASSERT_EQ(atlas.GetAtlasMetrics() != nullptr, result == S_OK) << "file " << number;
        ASSERT_EQ(atlas.GetRawTexture() != nullptr, result == S_OK) << "file " << number;
        built += result == S_OK ? 1 : 0;
    }
    EXPECT_GT(built, files / 20) << "else the changes are too coarse to reach the glyphs";
    EXPECT_LT(built, files);
    atlas.ReleaseFontLibrary();
    file.Write(whole);
    EXPECT_EQ(atlas.InitializeFreeTypeLibrary(request), S_OK);
    EXPECT_EQ(atlas.InitializeFreeTypeLibrary(request), S_OK);
}

} // namespace
