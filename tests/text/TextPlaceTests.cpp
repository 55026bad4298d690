// Where strings stand: at any coordinates, and at the same place on both pipelines.

#include "support/CoveragePicture.h"
#include "support/TextFixture.h"

#include <functional>

namespace {

constexpr int kWidth = 200;
constexpr int kHeight = 96;
constexpr double kEast = 500'000.0;
constexpr double kNorth = 4'500'000.0;

/// What surrounds the drawn pixels, from the lower left.
struct Bounds {
    int left = kWidth, bottom = kHeight, right = -1, top = -1;
};

Bounds BoundsOf(const Picture& picture) {
    Bounds bounds;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            if (picture.At(x, y) != kBlack) {
                bounds = {std::min(bounds.left, x), std::min(bounds.bottom, y), std::max(bounds.right, x),
                          std::max(bounds.top, y)};
            }
        }
    }
    return bounds;
}

/// A view that draws white on black, on either pipeline.
class TextPlaces : public FreshProcessTest {
protected:
    ~TextPlaces() override {
        live.reset();
        COpenGLView::m_gFontManager.DeleteFontLibrary();
    }
    void Open(bool programs) {
        if (programs) {
            first = ChoosePrograms();
        }
        live = std::make_unique<LiveView>(kWidth, kHeight);
        ASSERT_EQ(View().DrawsWithPrograms(), programs);
        if (programs) {
            View().InitializeFontManager();
            return;
        }
        ASSERT_EQ(View().RefreshOutlineFont(live->window.DeviceContext(), outlines, font, 0), S_OK);
        ASSERT_EQ(View().RefreshRasterFont(live->window.DeviceContext(), bitmaps, font, 0), S_OK);
    }
    COpenGLView& View() const { return *live->view; }
    /// (east, north) is the lower left corner: by the projection, or by the modelview matrix as hosts pan.
    void LookAt(double east, double north, bool pan, double zoom) const {
        const double left = pan ? 0.0 : east;
        const double bottom = pan ? 0.0 : north;
        View().MatrixMode(GL_PROJECTION);
        View().Ortho(left, left + kWidth / zoom, bottom, bottom + kHeight / zoom, -1.0, 1.0);
        View().MatrixMode(GL_MODELVIEW);
        View().LoadIdentity();
        if (pan) {
            View().Translate(-east, -north, 0.0);
        }
    }
    Picture Taken() const { return TakePicture(View(), kWidth, kHeight); }
    void Begin() const {
        live->Clear();
        View().Color(255, 255, 255);
    }

    GdiArial font;
    unsigned int outlines = 0;
    unsigned int bitmaps = 0;
    std::unique_ptr<COpenGLView> first;
    std::unique_ptr<LiveView> live;
};

struct Lists {
    unsigned int outlines, bitmaps;
};

struct PlaceCase {
    const char* name;
    bool programs;
    std::function<void(COpenGLView&, const Lists&, double east, double north)> draw;
};

class NationalGrid : public TextPlaces, public testing::WithParamInterface<PlaceCase> {};

// Map labels are placed in metres of a national grid, where neighbouring floats are half a metre apart.
TEST_P(NationalGrid, FrameIsThatOfTheOrigin) {
    const PlaceCase& test = GetParam();
    Open(test.programs);
    for (const double zoom : {1.0, 1.28}) {
        std::vector<std::string> wanted;
        for (const bool pan : {false, true}) {
            for (const auto& [east, north] : {std::pair{0.0, 0.0}, std::pair{kEast, kNorth}}) {
                Begin();
                LookAt(east, north, pan, zoom);
                test.draw(View(), {outlines, bitmaps}, east, north);
                const std::vector<std::string> rows = CoverageRows(Taken());
                if (wanted.empty()) {
                    wanted = rows;
                    EXPECT_GT(Taken().CountDrawn(), 60);
                }
                EXPECT_EQ(rows, wanted) << east << (pan ? " panned" : "") << " at " << zoom;
            }
        }
    }
}

void DrawPlain(COpenGLView& view, const Lists&, double east, double north) {
    view.DrawSetupFontAtlasText(false, true, 0, 0.0, 0.0);
    EXPECT_EQ(view.DrawFontAtlasText(L"Hof", east + 11.0, north + 13.0, 0.25, false, false), S_OK);
    EXPECT_EQ(view.DrawFontAtlasText(L"Rain", east + 90.3, north + 53.7, 0.0, false, false), S_OK);
    view.DrawTeardownFontAtlasText(false, false);
}

void DrawRotated(COpenGLView& view, const Lists&, double east, double north) {
    view.DrawSetupFontAtlasText(false, true, 0, 0.0, 0.0);
    for (const double angle : {30.0, 90.0}) {
        EXPECT_EQ(view.DrawFontAtlasScaledRotatedTextString(L"Bach", nullptr, false, false, east + 20.5 + angle,
                                                            north + 13.25, 0.0, 1.5, 1.5, 1.0, angle),
                  S_OK);
    }
    view.DrawTeardownFontAtlasText(false, false);
}

void DrawOutlined(COpenGLView& view, const Lists& lists, double east, double north) {
    view.DrawOutlineText(lists.outlines, "Egg", east + 30.25, north + 20.5, 0.0, 24.0, 20.0);
}

void DrawInFrame(COpenGLView& view, const Lists& lists, double east, double north) {
    view.DrawSetupText(east + 100.5, north + 40.25, 0.0, L"Mitte", 1.5, 1.5, 1.0, 15.0, 0.5);
    EXPECT_EQ(view.DrawTextString(lists.outlines, L"Mitte", nullptr, false, false, false, 0.0, 0.0, 0.0), S_OK);
    view.DrawTeardownFontAtlasText(false, false);
}

void DrawRaster(COpenGLView& view, const Lists& lists, double east, double north) {
    view.DrawRasterText(lists.bitmaps, "Ufer 12", east + 20.25, north + 33.5, 0.0);
}

INSTANTIATE_TEST_SUITE_P(
    Strings, NationalGrid,
    testing::Values(PlaceCase{"plain", true, DrawPlain}, PlaceCase{"rotated", true, DrawRotated},
                    PlaceCase{"lines", true,
                              [](COpenGLView& view, const Lists& lists, double east, double north) {
                                  UseFont(view, 14, true, true);
                                  DrawPlain(view, lists, east, north);
                                  DrawRotated(view, lists, east, north);
                              }},
                    PlaceCase{"outlines", true, DrawOutlined}, PlaceCase{"outline_lists", false, DrawOutlined},
                    PlaceCase{"frame", true, DrawInFrame}, PlaceCase{"frame_of_lists", false, DrawInFrame},
                    PlaceCase{"rotated_lists", false, DrawRotated}, PlaceCase{"raster", true, DrawRaster},
                    PlaceCase{"raster_lists", false, DrawRaster}),
    [](const auto& tested) { return std::string(tested.param.name); });

class BothPipelines : public TextPlaces, public testing::WithParamInterface<bool> {
protected:
    BothPipelines() {
        Open(GetParam());
        if (View().DrawsWithPrograms()) {
            UseFont(View(), 12); // 16 pixels at 96 dots an inch, as the lists
        }
        Begin();
    }
    void ExpectDrawn(const Bounds& wanted, int step) const {
        const Bounds bounds = BoundsOf(Taken());
        EXPECT_NEAR(bounds.left, wanted.left, step);
        EXPECT_NEAR(bounds.bottom, wanted.bottom, step);
        EXPECT_NEAR(bounds.right, wanted.right, step);
        EXPECT_NEAR(bounds.top, wanted.top, step);
    }
};

// A host marks a place of its model with a text of readable size, whatever the scale of the map.
TEST_P(BothPipelines, RasterTextStandsInPixelsOnTheProjectedPlace) {
    View().MatrixMode(GL_PROJECTION);
    View().Ortho(0.0, kWidth * 0.25, 0.0, kHeight * 0.25, -1.0, 1.0);
    View().DrawRasterText(bitmaps, "HH", 10.0, 5.0, 0.0);
    ExpectDrawn({41, 20, 40 + 21, 20 + 11}, 2);
    EXPECT_EQ(BoundsOf(Taken()).bottom, 20) << "the baseline";
}

TEST_P(BothPipelines, StringAtTheRasterPositionGoesOnWhereTheLastOneEnded) {
    View().DrawRasterText(bitmaps, "HH", 20.0, 30.0, 0.0);
    View().DrawGLText(bitmaps, "HH");
    ExpectDrawn({21, 30, 20 + 43, 41}, 2);
}

TEST_P(BothPipelines, OneCallPlacesScalesAndRotatesAString) {
    View().RasterPosition(5.0, 5.0, 0.0);
    const auto draw = [&](bool atRasterPosition, bool project) {
        Begin();
        EXPECT_EQ(View().DrawFontAtlasScaledRotatedTextString(L"HHH", nullptr, atRasterPosition, project, 60.0, 20.0,
                                                              0.0, 2.0, 1.5, 1.0, 90.0),
                  S_OK);
    };
    // Across the string lies its height of 11.5 pixels, 1.5-fold; along it three letters, doubled: 64 pixels here, 67
    // there.
    draw(false, false);
    ExpectDrawn({60 - 17, 20 + 2, 60, 20 + 66}, 3);
    draw(true, false);
    ExpectDrawn({0, 5 + 2, 5, 5 + 66}, 3);
    View().Translate(30.0, 10.0, 0.0);
    draw(false, true); // the window's (90, 30) is taken for a place of the model
    ExpectDrawn({120 - 17, 40 + 2, 120, kHeight - 1}, 3);
}

TEST_P(BothPipelines, FrameOfTextHonorsScaleAngleAndAlignment) {
    for (const double alignment : {0.0, 0.5, 1.0}) {
        live->Clear();
        const glm::dmat4 modelview = View().GetMatrix(GL_MODELVIEW);
        View().DrawSetupText(100.0, 48.0, 0.0, L"HHH", 1.3, 1.3, 1.0, 90.0, alignment);
        EXPECT_EQ(View().DrawTextString(outlines, L"HHH", nullptr, false, false, false, 0.0, 0.0, 0.0), S_OK);
        View().DrawTeardownFontAtlasText(false, false);
        EXPECT_EQ(View().GetMatrix(GL_MODELVIEW), modelview);
        const int length = 45;
        const int bottom = 48 - static_cast<int>(alignment * length);
        ExpectDrawn({100 - 15, bottom + 1, 100, bottom + length - 1}, 3);
    }
}

INSTANTIATE_TEST_SUITE_P(Pipelines, BothPipelines, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "programs" : "fixed_functions"; });

// A raster position behind the eye has no place in the window.
TEST_F(TextPlaces, RasterTextBehindTheEyeIsNotDrawn) {
    Open(true);
    Begin();
    View().Perspective(60.0, 2.0, 1.0, 100.0);
    View().DrawRasterText(0, "HH", 0.0, 0.0, -10.0);
    EXPECT_GT(live->CountDrawn(), 10);
    live->Clear();
    View().DrawRasterText(0, "HH", 0.0, 0.0, 10.0);
    EXPECT_EQ(live->CountDrawn(), 0);
}

// Lists of outlines are polygons; the host's polygon mode is for its own.
TEST_F(TextPlaces, OutlinesAreFilledWhateverThePolygonModeIs) {
    Open(false);
    const auto draw = [&] {
        Begin();
        View().DrawOutlineText(outlines, "Bo", 20.0, 20.0, 0.0, 60.0, 0.0);
        return CoverageRows(Taken());
    };
    const std::vector<std::string> wanted = draw();
    View().PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    EXPECT_EQ(draw(), wanted);
    EXPECT_EQ(View().GetContextRecord(GLContextMain).attributes.polygonMode, static_cast<unsigned>(GL_LINE));
}

} // namespace
