// Halos, shaped strings and strings along lines, seen on both pipelines.

#include "support/CoveragePicture.h"
#include "support/TextFixture.h"

#include <cmath>
#include <functional>
#include <set>

namespace {

constexpr int kWidth = 240;
constexpr int kHeight = 96;
constexpr Pixel kWhite{255, 255, 255, 255};
constexpr GLRGBAColor kRed{255, 0, 0, 255};

/// A view that draws white on black. With fixed functions it has lists and, where a test asks for it, a font as well.
class MapText : public FreshProcessTest, public testing::WithParamInterface<bool> {
protected:
    MapText() {
        if (GetParam()) {
            first = ChoosePrograms();
        }
        live = std::make_unique<LiveView>(kWidth, kHeight);
        if (GetParam()) {
            View().InitializeFontManager();
        } else {
            EXPECT_EQ(View().RefreshRasterFont(live->window.DeviceContext(), bitmaps, font, 0), S_OK);
            View().GetError(); // NOTE: Mesa says that it is out of memory for the system's lists, and makes them
        }
        Begin();
    }
    ~MapText() override {
        live.reset();
        COpenGLView::m_gFontManager.DeleteFontLibrary();
    }
    COpenGLView& View() const { return *live->view; }
    void Begin() const {
        live->Clear();
        View().Color(255, 255, 255);
    }
    void LoadFont(const wchar_t* face, int points) const {
        FontParameters request = FontRequest(face, points);
        ASSERT_EQ(View().SetUpNewFont(request), S_OK);
    }
    Picture Taken() const { return TakePicture(View(), kWidth, kHeight); }
    /// What `draw` shows on a new frame.
    Picture Drawn(const std::function<void()>& draw) const {
        Begin();
        draw();
        return Taken();
    }
    /// In pixels of the window, from the current font.
    Picture DrawnText(const wchar_t* text, double x, double y) const {
        return Drawn([&] { DrawInPixels(View(), text, x, y); });
    }
    double WidthOf(const wchar_t* text) const {
        std::size_t length = 0;
        double width = 0.0;
        double height = 0.0;
        EXPECT_EQ(View().GetTextStringDimensions(text, length, width, height), S_OK);
        return width;
    }

    GdiArial font;
    unsigned int bitmaps = 0;
    std::unique_ptr<COpenGLView> first;
    std::unique_ptr<LiveView> live;
};

INSTANTIATE_TEST_SUITE_P(Pipelines, MapText, testing::Bool(), PipelineName);

/// The 4.x pipeline has no lists.
class ListText : public MapText {};

INSTANTIATE_TEST_SUITE_P(Pipelines, ListText, testing::Values(false), PipelineName);

/// The least distance from a pixel to the ink of a picture, up to 3.
double DistanceToInk(const Picture& picture, int x, int y) {
    double least = 3.0;
    for (int row = std::max(y - 3, 0); row <= std::min(y + 3, kHeight - 1); ++row) {
        for (int column = std::max(x - 3, 0); column <= std::min(x + 3, kWidth - 1); ++column) {
            if (picture.At(column, row) != kBlack) {
                least = std::min(least, std::hypot(row - y, column - x));
            }
        }
    }
    return least;
}

/// Letters as without a halo, pixels within its width red, those that it reaches in part somewhere between, all others
/// as they were.
void ExpectHalo(const Picture& plain, const Picture& haloed, double width) {
    int wrong = 0;
    int red = 0;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const Pixel& pixel = haloed.At(x, y);
            const double distance = DistanceToInk(plain, x, y);
            if (distance == 0.0) {
                wrong += pixel == kWhite ? 0 : 1;
            } else if (distance <= width) {
                wrong += pixel == Pixel{255, 0, 0, 255} ? 0 : 1;
                ++red;
            } else if (distance >= width + 1.0) {
                wrong += pixel == kBlack ? 0 : 1;
            } else {
                wrong += pixel.g == 0 && pixel.b == 0 ? 0 : 1;
            }
        }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(red, 100);
}

// A label must be readable on any ground, and its letters as sharp as without a halo.
TEST_P(MapText, HaloSurroundsLettersAndLeavesThemAsTheyAre) {
    const auto draw = [&] {
        if (GetParam()) {
            DrawInPixels(View(), L"Hafen Tjg 1:500", 12.0, 40.0);
        } else {
            View().DrawRasterText(bitmaps, "Hafen Tjg 1:500", 12.0, 40.0, 0.0);
            View().DrawGLText(bitmaps, " B");
        }
    };
    const Picture plain = Drawn(draw);
    for (const double width : {1.0, 2.0}) {
        View().SetTextHalo(kRed, width);
        ExpectHalo(plain, Drawn(draw), width);
    }
    View().SetTextHalo(kRed, 0.0);
    EXPECT_EQ(CoverageRows(Drawn(draw)), CoverageRows(plain));
}

// The same from a loaded font, which fixed functions draw strings from that lists cannot: the pictures are equal.
TEST_P(MapText, StringsOfALoadedFontLookAlikeOnBothPipelines) {
    LoadFont(L"arial", 14);
    View().SetTextHalo(kRed, 1.5);
    const Picture haloed = DrawnText(L"Via Appia", 20.0, 40.0);
    View().SetTextShaping(true);
    const Picture rotated = Drawn([&] {
        View().DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        EXPECT_EQ(View().DrawFontAtlasScaledRotatedTextString(L"Via Appia", nullptr, false, false, 60.0, 10.0, 0.0,
                                                              1.25, 1.25, 1.0, 30.0),
                  S_OK);
        View().DrawTeardownFontAtlasText(false, false);
    });
    View().SetTextShaping(false);
    UseFont(View(), 14, true, true);
    const Picture underlined = DrawnText(L"Via Appia", 20.0, 40.0);
    ExpectGolden("halo_underlined", CoverageRows(underlined), 0);
    ExpectGolden("halo", CoverageRows(haloed), 0);
    ExpectGolden("halo_rotated", CoverageRows(rotated), 1);
    EXPECT_EQ(View().GetError(), 0U);
}

// Halos and letters of a string have one depth; GL_LESS must not hide the letters.
TEST_P(MapText, LettersShowOverTheirHalosWhereDepthsAreTested) {
    LoadFont(L"arial", 14);
    View().SetTextHalo(kRed, 1.0);
    const auto letters = [](const Picture& picture) {
        std::vector<std::size_t> places;
        for (std::size_t index = 0; index < picture.pixels.size(); ++index) {
            if (picture.pixels[index] == kWhite) {
                places.push_back(index);
            }
        }
        return places;
    };
    const std::vector<std::size_t> wanted = letters(DrawnText(L"Via Appia", 20.0, 40.0));
    Begin();
    View().Clear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    View().Enable(GL_DEPTH_TEST);
    View().BeginSharedDraws();
    DrawInPixels(View(), L"Via Appia", 20.0, 40.0);
    View().EndSharedDraws();
    View().Disable(GL_DEPTH_TEST);
    EXPECT_EQ(letters(Taken()), wanted);
    EXPECT_GT(wanted.size(), 100U);
}

TEST_P(ListText, HaloOfOutlinesIsAsWideInPixels) {
    unsigned int outlines = 0;
    ASSERT_EQ(View().RefreshOutlineFont(live->window.DeviceContext(), outlines, font, 0), S_OK);
    const auto draw = [&] { View().DrawOutlineText(outlines, "Ei", 40.0, 20.0, 0.0, 60.0, 10.0); };
    const Picture plain = Drawn(draw);
    View().SetTextHalo(kRed, 3.0);
    const Picture haloed = Drawn(draw);
    int lost = 0;
    int beyond = 0;
    int red = 0;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const bool ink = plain.At(x, y) != kBlack;
            lost += ink && haloed.At(x, y) != plain.At(x, y) ? 1 : 0;
            const bool isRed = haloed.At(x, y) == Pixel{255, 0, 0, 255};
            red += isRed ? 1 : 0;
            beyond += isRed && DistanceToInk(plain, x, y) > 4.5 ? 1 : 0;
        }
    }
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(beyond, 0);
    EXPECT_GT(red, 400);
}

struct ShapedCase {
    const char* name;
    std::wstring text;
    std::wstring glyphs; ///< characters that have the joined forms by themselves, from the left
};

class ShapedText : public MapText {};

// The font has the joined forms of Arabic twice: as glyphs that shaping finds, and as characters that programs used
// before there was shaping. Both must look alike.
TEST_P(ShapedText, ArabicLettersJoinFromRightToLeft) {
    LoadFont(L"DejaVu Sans", 20);
    const ShapedCase cases[] = {
        {"beh beh", L"\u0628\u0628", L"\uFE90\uFE91"},
        {"salam", L"\u0633\u0644\u0627\u0645", L"\uFEE1\uFEFC\uFEB3"},
        {"name and number", L"\u0628\u0628 12", L"12 \uFE90\uFE91"},
        {"in latin", L"A \u0628\u0628 B", L"A \uFE90\uFE91 B"},
        {"hebrew", L"\u05D0\u05D1\u05D2", L"\u05D2\u05D1\u05D0"},
    };
    for (const ShapedCase& test : cases) {
        View().SetTextShaping(true);
        const Picture shaped = DrawnText(test.text.c_str(), 20.0, 40.0);
        const double width = WidthOf(test.text.c_str());
        View().SetTextShaping(false);
        // A halo of no alpha is none; one that cannot be seen has fixed functions draw from the font, unshaped.
        View().SetTextHalo({0, 0, 0, 1}, 0.25);
        const Picture forms = DrawnText(test.glyphs.c_str(), 20.0, 40.0);
        View().SetTextHalo({}, 0.0);
        EXPECT_GT(shaped.CountDrawn(), 60) << test.name;
        EXPECT_EQ(CoverageRows(shaped), CoverageRows(forms)) << test.name;
        EXPECT_GT(width, 10.0) << test.name;
    }
}

// Kerning of modern fonts is in GPOS, where the unshaped string does not look for it.
TEST_P(ShapedText, PairsAreKernedAndMeasuredSo) {
    LoadFont(L"DejaVu Sans", 24);
    View().SetTextShaping(true);
    const double together = WidthOf(L"AVAVAV");
    const double apart = 3.0 * (WidthOf(L"A") + WidthOf(L"V"));
    EXPECT_LT(together, apart - 5.0);
    const Picture picture = DrawnText(L"AVAVAV", 10.0, 40.0);
    int right = 0;
    for (int x = 0; x < kWidth; ++x) {
        for (int y = 0; y < kHeight; ++y) {
            right = picture.At(x, y) != kBlack ? x : right;
        }
    }
    EXPECT_NEAR(right + 1, 10.0 + together, 3.0);
}

// Latin without pairs to kern looks as it always did.
TEST_P(ShapedText, PlainLatinStaysAsItIs) {
    LoadFont(L"arial", 12);
    View().SetTextHalo({0, 0, 0, 1}, 0.25);
    const Picture plain = DrawnText(L"Hamburg 1:25000", 10.0, 40.0);
    View().SetTextHalo({}, 0.0);
    View().SetTextShaping(true);
    EXPECT_EQ(CoverageRows(DrawnText(L"Hamburg 1:25000", 10.0, 40.0)), CoverageRows(plain));
}

INSTANTIATE_TEST_SUITE_P(Pipelines, ShapedText, testing::Bool(), PipelineName);

// On a fixed-function context lists cannot join letters; the current font stands in for them at the raster position.
TEST_P(MapText, ShapedStringGoesOnAtTheRasterPosition) {
    LoadFont(L"DejaVu Sans", 20);
    View().SetTextShaping(true);
    const Picture whole = Drawn([&] {
        View().DrawSetupFontAtlasText(false, true, 0, 0.0, 0.0);
        View().RasterPosition(20.0, 40.0, 0.0);
        View().DrawTextString(bitmaps, L"Hafen", nullptr, !GetParam(), false, false, 20.0, 40.0, 0.0);
        View().DrawTeardownFontAtlasText(false, false);
    });
    const Picture parts = Drawn([&] {
        View().DrawRasterText(bitmaps, "Ha", 20.0, 40.0, 0.0);
        View().DrawGLText(bitmaps, "fen");
    });
    EXPECT_GT(whole.CountDrawn(), 100);
    if (!GetParam()) {
        EXPECT_EQ(CoverageRows(parts), CoverageRows(whole));
    }
}

// The frame of a string scales, turns and centres it, shaped or not.
TEST_P(MapText, ShapedStringStandsInItsFrame) {
    LoadFont(L"arial", 14);
    View().SetTextShaping(true);
    const Picture framed = Drawn([&] {
        View().DrawSetupText(100.0, 40.0, 0.0, L"Mitte", 1.5, 1.5, 1.0, 15.0, 0.5);
        EXPECT_EQ(View().DrawTextString(bitmaps, L"Mitte", nullptr, false, false, false, 0.0, 0.0, 0.0), S_OK);
        View().DrawTeardownFontAtlasText(false, true);
    });
    ExpectGolden("frame_shaped", CoverageRows(framed), 1);
}

class LineLabels : public MapText {
protected:
    Picture DrawnAlong(const std::vector<PointXYZ>& line, const GLLineTextStyle& style, long wanted = S_OK) const {
        return Drawn([&] {
            View().DrawSetupFontAtlasText(false, true, 0, 0.0, 0.0);
            View().SetCurrentColor(255, 255, 255, 255, false);
            EXPECT_EQ(View().DrawTextAlongLine(L"Rhein", line.data(), static_cast<int>(line.size()), style), wanted);
            View().DrawTeardownFontAtlasText(false, false);
        });
    }
};

INSTANTIATE_TEST_SUITE_P(Pipelines, LineLabels, testing::Bool(), PipelineName);

class ListLabels : public LineLabels {};

INSTANTIATE_TEST_SUITE_P(Pipelines, ListLabels, testing::Values(false), PipelineName);

TEST_P(LineLabels, LettersTurnWithTheLineOnBothPipelinesAlike) {
    LoadFont(L"arial", 18);
    std::vector<PointXYZ> arc;
    for (int step = 0; step <= 40; ++step) {
        const double angle = 3.14159265358979 * (1.0 - step / 40.0);
        arc.push_back({120.0 + 60.0 * std::cos(angle), 5.0 + 60.0 * std::sin(angle), 0.0});
    }
    View().SetTextHalo(kRed, 2.0);
    const Picture label = DrawnAlong(arc, {});
    ExpectGolden("along_arc", CoverageRows(label), 1);
    std::vector<PointXYZ> backwards(arc.rbegin(), arc.rend());
    EXPECT_EQ(CoverageRows(DrawnAlong(backwards, {})), CoverageRows(label)) << "upright, whichever way it runs";
    EXPECT_EQ(View().GetError(), 0U);
    std::set<int> reds;
    for (const Pixel& pixel : label.pixels) {
        reds.insert(pixel.r - pixel.g);
    }
    EXPECT_GT(reds.size(), 10U) << "letters between the pixels have smooth edges";
}

TEST_P(LineLabels, NothingIsDrawnWhereTheLineIsTooShort) {
    LoadFont(L"arial", 18);
    EXPECT_EQ(DrawnAlong({{10, 20, 0}, {40, 20, 0}}, {}, S_FALSE).CountDrawn(), 0);
    const double nowhere = std::nan("");
    EXPECT_EQ(
        DrawnAlong({{10, 20, 0}, {50, 20, 0}, {nowhere, 20, 0}, {60, 20, 0}, {100, 20, 0}}, {}, S_FALSE).CountDrawn(),
        0)
        << "two pieces that are too short";
    EXPECT_GT(DrawnAlong({{10, 20, 0}, {nowhere, 20, 0}, {60, 20, 0}, {200, 20, 0}}, {}).CountDrawn(), 50);
    EXPECT_EQ(View().DrawTextAlongLine(nullptr, nullptr, 0, {}), E_INVALIDARG);
}

TEST_P(LineLabels, RepeatedLabelsAreEvenlyDistributed) {
    LoadFont(L"arial", 12);
    GLLineTextStyle style;
    style.placement = GLLineTextRepeat;
    style.repeatDistance = 70.0;
    style.offset = 4.0;
    const Picture three = DrawnAlong({{0, 40, 0}, {240, 40, 0}}, style);
    for (int x = 0; x < 80; ++x) {
        for (int y = 0; y < kHeight; ++y) {
            // Where a letter is half covered drivers round differently from place to place.
            ASSERT_LE(LargestDifference(three.At(x, y), three.At(x + 80, y)), 1) << x << ", " << y;
            ASSERT_LE(LargestDifference(three.At(x, y), three.At(x + 160, y)), 1) << x << ", " << y;
            ASSERT_TRUE(three.At(x, y) == kBlack || y >= 43) << "above the line";
        }
    }
    EXPECT_GT(three.CountDrawn(), 100);
}

// In metres of a national grid, by matrices or by the coordinate offsets, the picture is that of the origin.
TEST_P(LineLabels, NationalGridDrawsWhatTheOriginDoes) {
    LoadFont(L"arial", 14);
    const std::vector<PointXYZ> line = {{20, 10, 0}, {100, 30, 0}, {220, 80, 0}};
    const std::vector<std::string> wanted = CoverageRows(DrawnAlong(line, {}));
    constexpr double east = 500'000.0;
    constexpr double north = 4'500'000.0;
    std::vector<PointXYZ> distant = line;
    for (PointXYZ& place : distant) {
        place.x += east;
        place.y += north;
    }
    View().SetCurrentCoordinateOffsets(east, north);
    EXPECT_EQ(CoverageRows(DrawnAlong(distant, {})), wanted);
    View().SetCurrentCoordinateOffsets(0.0, 0.0);
    View().Translate(-east, -north, 0.0);
    EXPECT_EQ(CoverageRows(DrawnAlong(distant, {})), wanted);
}

TEST_P(ListLabels, OutlinesDrawThemWithoutAFont) {
    const std::vector<PointXYZ> line = {{20, 10, 0}, {120, 40, 0}, {220, 50, 0}};
    EXPECT_EQ(DrawnAlong(line, {}, E_INVALIDARG).CountDrawn(), 0) << "bitmaps cannot be turned";
    unsigned int outlines = 0;
    ASSERT_EQ(View().RefreshOutlineFont(live->window.DeviceContext(), outlines, font, 0), S_OK);
    const int letters = DrawnAlong(line, {}).CountDrawn();
    EXPECT_GT(letters, 100);
    View().SetTextHalo(kRed, 2.0);
    EXPECT_GT(DrawnAlong(line, {}).CountDrawn(), 2 * letters);
}

// A host lays labels out by what they measure, on either pipeline.
TEST_P(ListText, StringsAreMeasuredAsTheyAreDrawn) {
    const Picture picture = Drawn([&] { View().DrawRasterText(bitmaps, "HamburgH", 0.0, 30.0, 0.0); });
    int left = kWidth;
    int right = 0;
    int lowest = kHeight;
    int highest = 0;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            if (picture.At(x, y) != kBlack) {
                left = std::min(left, x);
                right = std::max(right, x);
                lowest = std::min(lowest, y);
                highest = std::max(highest, y);
            }
        }
    }
    std::size_t length = 0;
    double width = 0.0;
    double height = 0.0;
    ASSERT_EQ(View().GetTextStringDimensions(L"HamburgH", length, width, height), S_OK);
    EXPECT_EQ(length, 8U);
    EXPECT_EQ(View().GetTextStringLength(L"HamburgH"), 8U);
    EXPECT_NEAR(width, right + 1 + left, 1.0) << "an H has as much room on either side";
    EXPECT_LE(height, highest - lowest + 1);
    EXPECT_GE(height, (highest - lowest) * 0.7) << "the b, without the depth of the g";
    EXPECT_EQ(View().GetTextStringDimensions(nullptr, length, width, height), E_INVALIDARG);
    View().DeleteFont(bitmaps);
    EXPECT_EQ(View().GetTextStringDimensions(L"H", length, width, height), E_INVALIDARG) << "nothing to draw it with";
    EXPECT_EQ(length + View().GetTextStringLength(L"H"), 0U);
}

/// Arial's characters under the numbers that Windows' symbol fonts give them.
FontBytes SymbolFont() {
    TrueTypeTables file = SmallFont(L'~');
    FontBytes map;
    for (const unsigned number : {0U, 1U, 3U, 0U, 0U, 12U, 4U, 32U, 0U, 4U, 0U, 0U, 0U}) {
        TrueTypeTables::Append(map, number, 2);
    }
    const unsigned delta = (3U - 0xF020U) & 0xFFFF;
    for (const unsigned number : {0xF07EU, 0xFFFFU, 0U, 0xF020U, 0xFFFFU, delta, 1U, 0U, 0U}) {
        TrueTypeTables::Append(map, number, 2);
    }
    file.tables["cmap"] = map;
    return file.File();
}

TEST_P(MapText, SymbolFontsShowTheirCharactersByEitherNumber) {
    const InstalledFontFile file(SymbolFont());
    LoadFont(L"arial", 16);
    View().SetTextHalo(kRed, 1.0);
    const Picture letters = DrawnText(L"Berg", 10.0, 40.0);
    LoadFont(file.Face(), 16);
    const Picture symbols = DrawnText(L"Berg", 10.0, 40.0);
    // FreeType hints letters that it knows as such a little otherwise.
    EXPECT_LE(Compare(symbols, letters, 200).strayPixels, letters.CountDrawn() / 8);
    const std::vector<std::string> wanted = CoverageRows(symbols);
    EXPECT_EQ(CoverageRows(DrawnText(L"\uF042\uF065\uF072\uF067", 10.0, 40.0)), wanted);
    View().SetTextShaping(true);
    EXPECT_EQ(CoverageRows(DrawnText(L"Berg", 10.0, 40.0)), wanted);
    if (GetParam()) {
        View().SetTextShaping(false);
        View().SetTextHalo({}, 0.0);
        EXPECT_GT(DrawnText(L"\uF042\uF065", 10.0, 40.0).CountDrawn(), 50) << "from the atlas";
    }
    COpenGLView::m_gFontManager.DeleteFontLibrary(); // its file is open
}

} // namespace
