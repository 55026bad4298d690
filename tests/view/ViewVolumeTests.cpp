// The view volume on real contexts: what is drawn, where, and what lies under a pixel.

#include "support/Picture.h"

#include <glm/gtc/type_ptr.hpp>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>

namespace {

constexpr int kWidth = 200;
constexpr int kHeight = 150;
constexpr PointXYZ kLow{500'000, 4'500'000, 40};
constexpr PointXYZ kHigh{500'800, 4'500'500, 160};
constexpr double kExaggeration = 2.0;

double GroundAt(double x, double y) {
    const double right = (x - kLow.x) / (kHigh.x - kLow.x);
    const double up = (y - kLow.y) / (kHigh.y - kLow.y);
    return 100.0 + 60.0 * std::sin(5.0 * right) * std::cos(4.0 * up);
}

struct NamedView {
    const char* name;
    std::function<long(COpenGLView&)> apply;
};

std::vector<NamedView> AllViews() {
    std::vector<NamedView> views;
    const char* const names[] = {"top", "bottom", "front", "back", "left", "right"};
    for (int orientation = 0; orientation < 6; ++orientation) {
        views.push_back({names[orientation], [orientation](COpenGLView& view) {
                             return view.SetUpOrthoFromModelExtents(static_cast<GLViewOrientation>(orientation), kLow,
                                                                    kHigh, kExaggeration);
                         }});
    }
    views.push_back({"perspective", [](COpenGLView& view) {
                         return view.SetUpPerspectiveFromModelExtents(kLow, kHigh, 215, 30, 45, kExaggeration);
                     }});
    views.push_back({"scene", [](COpenGLView& view) {
                         return view.SetUpPerspectiveScene({500'100, 4'499'700, 320}, {500'400, 4'500'200, 90},
                                                           {0.2, 0, 1}, 60, kLow, kHigh, kExaggeration);
                     }});
    return views;
}

/// A hilly terrain in colours of its places, with a cloud of points over it.
void DrawScene(const LiveView& live) {
    COpenGLView& view = *live.view;
    constexpr int kCells = 40;
    double offsetX = 0;
    double offsetY = 0;
    view.GetCurrentCoordinateOffset(offsetX, offsetY);
    live.Clear();
    view.ShadeModel(GL_SMOOTH);
    view.Enable(GL_DEPTH_TEST);
    const auto corner = [&](int column, int row) {
        const double x = kLow.x + (kHigh.x - kLow.x) * column / kCells;
        const double y = kLow.y + (kHigh.y - kLow.y) * row / kCells;
        view.AddIndex3DVertexRGBA(x - offsetX, y - offsetY, GroundAt(x, y), static_cast<unsigned char>(column * 6),
                                  static_cast<unsigned char>(row * 6),
                                  static_cast<unsigned char>(120 + (column + row) % 2 * 80), 255);
    };
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
    view.BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    for (int row = 0; row < kCells; ++row) {
        for (int column = 0; column < kCells; ++column) {
            corner(column, row);
            corner(column + 1, row);
            corner(column + 1, row + 1);
            corner(column, row);
            corner(column + 1, row + 1);
            corner(column, row + 1);
        }
    }
    view.EndArraysAndDisableClientState();
    view.PointSize(3.0F);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
    view.BeginArrays(GL_POINTS, GLShaderPoint);
    for (int point = 0; point < 60; ++point) {
        const double share = point / 60.0;
        view.AddIndex3DVertexRGBA(kLow.x + 800 * share - offsetX, kLow.y + 250 + 240 * std::sin(9 * share) - offsetY,
                                  160.0 - 40.0 * share, 255, 255, 255, 255);
    }
    view.EndArraysAndDisableClientState();
}
class ViewVolume : public FreshProcessTest, public testing::WithParamInterface<bool> {
protected:
    ViewVolume() : m_first(GetParam() ? ChoosePrograms() : nullptr), live(kWidth, kHeight) {
        live->ChooseCoordinateOffsets(kLow, kHigh);
    }

    void DrawTerrainAndCloud() const { DrawScene(live); }
    void DrawPoint(const PointXYZ& place, float size = 1.0F) const {
        COpenGLView& view = *live.view;
        double offsetX = 0;
        double offsetY = 0;
        view.GetCurrentCoordinateOffset(offsetX, offsetY);
        view.PointSize(size);
        view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
        view.BeginArrays(GL_POINTS, GLShaderPoint);
        view.AddIndex3DVertexRGBA(place.x - offsetX, place.y - offsetY, place.z, 255, 0, 0, 255);
        view.EndArraysAndDisableClientState();
    }
    PointXY ClientOf(const PointXYZ& place) const {
        PointXY client{-1e9, -1e9};
        live->RealWorld2Client(place.x, place.y, place.z, client.x, client.y);
        return client;
    }
    /// Whether the pixel that a place lies in is red.
    bool IsRedAt(const PointXYZ& place) const {
        const PointXY client = ClientOf(place);
        const Pixel pixel =
            live.At(static_cast<int>(std::floor(client.x)), kHeight - 1 - static_cast<int>(std::floor(client.y)));
        return pixel == Pixel{255, 0, 0, 255};
    }
    ViewExtents Extents() const {
        ViewExtents extents;
        live->GetViewExtents(extents.left, extents.bottom, extents.right, extents.top);
        return extents;
    }

private:
    std::unique_ptr<COpenGLView> m_first;

protected:
    LiveView live;
};

INSTANTIATE_TEST_SUITE_P(Pipelines, ViewVolume, testing::Bool(), PipelineName);

// What a label is placed by, what a click picks and what is drawn are one place, in each orientation.
TEST_P(ViewVolume, PlacesAreDrawnWhereConversionsSayAndPickedThere) {
    for (const NamedView& seen : AllViews()) {
        SCOPED_TRACE(seen.name);
        ASSERT_EQ(seen.apply(*live.view), S_OK);
        for (const PointXYZ& place :
             {PointXYZ{500'123, 4'500'321, 150}, {500'700, 4'500'100, 60}, {500'402.3, 4'500'251.4, 101.7}}) {
            live.Clear();
            live->Enable(GL_DEPTH_TEST);
            DrawPoint(place);
            EXPECT_EQ(live.CountDrawn(), 1);
            EXPECT_TRUE(IsRedAt(place));
            const PointXY client = ClientOf(place);
            const int x = static_cast<int>(std::floor(client.x));
            const int y = static_cast<int>(std::floor(client.y));
            PointXYZ picked;
            for (const auto& [right, down] : {std::pair{0, 0}, {2, 2}, {-3, 0}, {0, 3}}) {
                ASSERT_TRUE(live->Client2RealWorldOnScene(x + right, y + down, picked)) << right << " " << down;
                const double unit = live->GetUnitsPerPixel();
                EXPECT_LT(std::hypot(picked.x - place.x, picked.y - place.y, (picked.z - place.z) * kExaggeration),
                          unit);
            }
            picked = {1, 2, 3};
            EXPECT_FALSE(live->Client2RealWorldOnScene(x + 3, y + 3, picked)) << "farther than 3 pixels";
            EXPECT_EQ(picked.z, 3.0);
        }
        PointXYZ outside;
        EXPECT_FALSE(live->Client2RealWorldOnScene(-50, 10, outside));
        EXPECT_FALSE(live->Client2RealWorldOnScene(10, kHeight + 50, outside));
        EXPECT_FALSE(live->Client2RealWorldOnScene(INT_MIN, INT_MAX, outside));
    }
    EXPECT_EQ(live->GetError(), 0U);
}

TEST_P(ViewVolume, HeightUnderThePixelIsTheTerrains) {
    live->SetUpOrthoFromModelExtents(GLViewOrientationTop, kLow, kHigh, 1.0);
    DrawTerrainAndCloud();
    for (int x = 20; x < kWidth; x += 30) {
        PointXYZ place;
        ASSERT_TRUE(live->Client2RealWorldOnScene(x, kHeight / 2 + 30, place));
        EXPECT_NEAR(place.z, GroundAt(place.x, place.y), 3.0) << "between the corners it is flat";
        EXPECT_NEAR(ClientOf(place).x, x + 0.5, 1e-3);
    }
    // The frame in the backing store answers while something else is in the depth buffer.
    PointXYZ before;
    ASSERT_TRUE(live->Client2RealWorldOnScene(100, 70, before));
    ASSERT_EQ(live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, kWidth, kHeight), S_OK);
    live.Clear();
    PointXYZ after;
    EXPECT_EQ(live->Client2RealWorldOnScene(100, 70, after), GetParam()) << "only a 4.x context keeps depths";
    EXPECT_TRUE(!GetParam() || (after.z == before.z && after.x == before.x));
    live->Pan(5.0, 0.0);
    EXPECT_FALSE(live->Client2RealWorldOnScene(100, 70, after)) << "the kept frame is of another view";
}

TEST_P(ViewVolume, SetUpsTellWhichViewThereIsAndBadInputChangesNothing) {
    EXPECT_FALSE(live->IsPerspectiveSideView());
    double x = 7;
    double y = 8;
    EXPECT_FALSE(live->RealWorld2Client(1, 2, 3, x, y)) << "nothing was set up";
    EXPECT_EQ(live->GetUnitsPerPixel(), 0.0);
    EXPECT_EQ(live->SetViewExtents(0, 0, 1, 1), E_INVALIDARG);
    live->ZoomAbout(2.0, 3, 4);
    live->Pan(2.0, 3);
    live->OrbitBy(2.0, 3);
    EXPECT_FALSE(live->PreviousView());
    for (const NamedView& seen : AllViews()) {
        ASSERT_EQ(seen.apply(*live.view), S_OK) << seen.name;
        const bool perspective = std::string(seen.name) == "perspective" || std::string(seen.name) == "scene";
        EXPECT_EQ(live->IsPerspectiveSideView(), perspective) << seen.name;
        EXPECT_EQ(live->GetCurrentViewOrientation() == GLViewOrientationPerspective, perspective) << seen.name;
        const ViewCamera camera = live->GetContextRecord(GLContextMain).camera;
        const glm::dmat4 projection = live->GetMatrix(GL_PROJECTION);
        const double nan = std::nan("");
        EXPECT_EQ(live->SetUpOrthoFromModelExtents(GLViewOrientationTop, kHigh, kLow, 1.0), E_INVALIDARG);
        EXPECT_EQ(live->SetUpOrthoFromModelExtents(GLViewOrientationProfile, kLow, kHigh, 1.0), E_INVALIDARG);
        EXPECT_EQ(live->SetUpOrthoFromModelExtents(GLViewOrientationPerspective, kLow, kHigh, 1.0), E_INVALIDARG);
        EXPECT_EQ(live->SetUpOrthoFromModelExtents(GLViewOrientationTop, kLow, {nan, 0, 0}, 1.0), E_INVALIDARG);
        EXPECT_EQ(live->SetUpPerspectiveScene(kLow, kLow, {0, 0, 1}, 40, kLow, kHigh, 1.0), E_INVALIDARG);
        EXPECT_EQ(live->SetUpPerspectiveFromModelExtents(kLow, kHigh, 0, 91, 40, 1.0), E_INVALIDARG);
        EXPECT_EQ(live->SetViewExtents(5, 5, 4, 6), E_INVALIDARG);
        EXPECT_EQ(live->ZoomToClientRectangle(5, 5, 5, 90), E_INVALIDARG);
        EXPECT_EQ(live->ZoomToClientRectangle(5, 5, nan, 90), E_INVALIDARG);
        EXPECT_EQ(live->ChooseCoordinateOffsets(kHigh, kLow), E_INVALIDARG);
        live->ZoomAbout(0.0, 5, 5);
        live->ZoomAbout(2.0, nan, 5);
        live->Pan(nan, 5);
        live->OrbitBy(nan, 5);
        live->DollyBy(-1.0);
        EXPECT_EQ(live->GetContextRecord(GLContextMain).camera, camera) << seen.name;
        EXPECT_EQ(live->GetMatrix(GL_PROJECTION), projection) << seen.name;
    }
}

// A host that zooms in on a detail of a national grid; the offsets come out of the matrices again.
TEST_P(ViewVolume, OffsetsChangeNothingThatIsDrawn) {
    const PointXYZ place{500'321.25, 4'500'123.75, 90};
    for (const NamedView& seen : AllViews()) {
        SCOPED_TRACE(seen.name);
        seen.apply(*live.view);
        live->ChooseCoordinateOffsets(kLow, kHigh);
        const PointXY client = ClientOf(place);
        live.Clear();
        DrawPoint(place);
        EXPECT_TRUE(IsRedAt(place));
        live->SetCurrentCoordinateOffsets(499'000, 4'503'000);
        EXPECT_EQ(ClientOf(place).x, client.x);
        live.Clear();
        DrawPoint(place);
        EXPECT_TRUE(IsRedAt(place)) << "the matrices follow";
    }
    EXPECT_EQ(live->ChooseCoordinateOffsets({0, 0, 0}, {1e6, 1e6, 0}), S_FALSE);
    double x = 0;
    double y = 0;
    live->GetCurrentCoordinateOffset(x, y);
    EXPECT_EQ(x, 500'000);
}

TEST_P(ViewVolume, ResizeKeepsMiddleAndScaleAndLeavesOtherMatricesAlone) {
    for (const NamedView& seen : AllViews()) {
        SCOPED_TRACE(seen.name);
        live->SetUpViewport(0, 0, kWidth, kHeight);
        seen.apply(*live.view);
        const double scale = live->GetUnitsPerPixel();
        PointXYZ middle;
        live->Client2RealWorld(kWidth / 2.0, kHeight / 2.0, middle.x, middle.y, middle.z);
        const PointXYZ aside{middle.x + 3.3 * scale, middle.y - 2.3 * scale, middle.z + 1.2 * scale};
        const PointXY before = ClientOf(aside);
        live->SetUpViewport(0, 0, 0, 0); // minimised
        live->SetUpViewport(0, 0, 150, 90);
        EXPECT_EQ(live->GetUnitsPerPixel(), scale);
        // The client area is as high as the window, which this test does not resize: the viewport is its lower part.
        const PointXY after = ClientOf(aside);
        EXPECT_NEAR(after.x - 75, before.x - kWidth / 2.0, 1e-6);
        EXPECT_NEAR(after.y - (kHeight - 45), before.y - kHeight / 2.0, 1e-6);
        live.Clear();
        DrawPoint(middle);
        EXPECT_EQ(live.At(75, 45).r + live.At(74, 45).r + live.At(75, 44).r + live.At(74, 44).r, 255);
        DrawPoint(aside);
        EXPECT_TRUE(IsRedAt(aside)) << "the projection follows";

        live->MatrixMode(GL_PROJECTION);
        live->Ortho(0, 7, 0, 7, -1, 1);
        const glm::dmat4 own = live->GetMatrix(GL_PROJECTION);
        live->SetUpViewport(0, 0, kWidth, kHeight);
        EXPECT_EQ(live->GetMatrix(GL_PROJECTION), own);
        live->LoadViewMatrices();
        EXPECT_NE(live->GetMatrix(GL_PROJECTION), own);
        EXPECT_NEAR(ClientOf(aside).x, before.x, 1e-6);
    }
}

TEST_P(ViewVolume, ZoomsGoToWhatIsUnderTheCursor) {
    for (const NamedView& seen : AllViews()) {
        SCOPED_TRACE(seen.name);
        seen.apply(*live.view);
        DrawTerrainAndCloud();
        PointXYZ place;
        ASSERT_TRUE(live->Client2RealWorldOnScene(90, 80, place));
        const PointXY there = ClientOf(place);
        const double distance = live->GetContextRecord(GLContextMain).camera.DistanceTo({place.x, place.y, place.z});
        // Three notches before the next frame is drawn.
        for (int notch = 0; notch < 3; ++notch) {
            live->ZoomAbout(1.25, there.x, there.y);
        }
        EXPECT_LT(std::hypot(ClientOf(place).x - there.x, ClientOf(place).y - there.y), 1e-3);
        const double distanceAfter =
            live->GetContextRecord(GLContextMain).camera.DistanceTo({place.x, place.y, place.z});
        if (live->IsPerspectiveSideView()) {
            EXPECT_NEAR(distance / distanceAfter, 1.25 * 1.25 * 1.25, 0.01) << "nearer to what is drawn there";
        }
        seen.apply(*live.view);
        DrawTerrainAndCloud();
        const double scale = live->GetUnitsPerPixel();
        ASSERT_EQ(live->ZoomToClientRectangle(110, 95, 70, 65), S_OK);
        EXPECT_NEAR(scale / live->GetUnitsPerPixel(), 5.0, 1e-6);
        if (!live->IsPerspectiveSideView()) {
            seen.apply(*live.view);
            double x = 0;
            double y = 0;
            double z = 0;
            live->Client2RealWorld(70, 65, x, y, z);
            live->ZoomToClientRectangle(110, 95, 70, 65);
            EXPECT_LT(std::hypot(ClientOf({x, y, z}).x, ClientOf({x, y, z}).y), 1e-6);
        }
    }
}

TEST_P(ViewVolume, HistoryGoesBackSixteenViewsAndForwardAgain) {
    live->SetUpOrthoFromModelExtents(GLViewOrientationTop, kLow, kHigh, 1.0);
    EXPECT_FALSE(live->PreviousView()) << "there was none before";
    std::vector<double> scales{live->GetUnitsPerPixel()};
    for (int step = 0; step < 20; ++step) {
        live->ZoomAbout(1.1, 10, 10);
        scales.push_back(live->GetUnitsPerPixel());
    }
    live->Pan(0.0, 0.0);
    for (int step = 19; step >= 4; --step) {
        ASSERT_TRUE(live->PreviousView());
        EXPECT_EQ(live->GetUnitsPerPixel(), scales[static_cast<std::size_t>(step)]);
    }
    EXPECT_FALSE(live->PreviousView());
    EXPECT_EQ(live->GetUnitsPerPixel(), scales[4]);
    ASSERT_TRUE(live->NextView());
    EXPECT_EQ(live->GetUnitsPerPixel(), scales[5]);
    // A drag is one step, and it ends what could be gone forward to.
    live->BeginViewChange();
    live->Pan(5, 5);
    live->Pan(5, 5);
    live->EndViewChange();
    EXPECT_FALSE(live->NextView());
    EXPECT_TRUE(live->PreviousView());
    EXPECT_EQ(live->GetUnitsPerPixel(), scales[5]);
    live->SetUpPerspectiveFromModelExtents(kLow, kHigh, 0, 10, 40, 1.0);
    EXPECT_TRUE(live->PreviousView());
    EXPECT_FALSE(live->IsPerspectiveSideView()) << "set-ups are steps too";
}

// A file that is still read turns out to reach higher than the box that the view was set up for.
TEST_P(ViewVolume, ModelMayGrowBeneathTheView) {
    const PointXYZ flatHigh{kHigh.x, kHigh.y, kLow.z};
    for (const GLViewOrientation orientation : {GLViewOrientationTop, GLViewOrientationFront}) {
        ASSERT_EQ(live->SetUpOrthoFromModelExtents(orientation, kLow, flatHigh, 1.0), S_OK);
        live->ZoomAbout(2.0, 30, 40);
        const double scale = live->GetUnitsPerPixel();
        const auto depthOfHigh = [&] {
            const MatrixSet& matrices = live->GetContextRecord(GLContextMain).math->Matrices();
            double offsetX = 0.0;
            double offsetY = 0.0;
            live->GetCurrentCoordinateOffset(offsetX, offsetY);
            const glm::dvec4 place =
                matrices.projection * matrices.modelview *
                glm::dvec4(kHigh.x - offsetX, 2.0 * kHigh.y - kLow.y - offsetY, kHigh.z + 1e4, 1.0);
            return std::fabs(place.z / place.w);
        };
        EXPECT_GT(depthOfHigh(), 1.0) << "cut off";
        const PointXYZ high{kHigh.x, 2.0 * kHigh.y - kLow.y, kHigh.z + 1e4};
        EXPECT_EQ(live->SetViewModelExtents(kLow, high), S_OK);
        EXPECT_LE(depthOfHigh(), 1.0);
        EXPECT_EQ(live->GetUnitsPerPixel(), scale);
        EXPECT_EQ(live->SetViewModelExtents(high, kLow), E_INVALIDARG);
        ASSERT_TRUE(live->PreviousView()) << "the zoom was the last step";
        EXPECT_NE(live->GetUnitsPerPixel(), scale);
        EXPECT_LE(depthOfHigh(), 1.0) << "the view of before too";
    }
}

TEST_P(ViewVolume, TurnsAboutWhatWasClicked) {
    live->SetUpPerspectiveFromModelExtents(kLow, kHigh, 215, 30, 45, kExaggeration);
    DrawTerrainAndCloud();
    const Picture before = TakePicture(*live.view, kWidth, kHeight);
    PointXYZ clicked;
    ASSERT_TRUE(live->Client2RealWorldOnScene(70, 95, clicked));
    const PointXY there = ClientOf(clicked);
    ASSERT_TRUE(live->SetTargetFromScene(70, 95));
    DrawTerrainAndCloud();
    EXPECT_EQ(Compare(before, TakePicture(*live.view, kWidth, kHeight), 2).otherPixels, 0) << "the picture stays";
    live->OrbitBy(40, -12);
    live->DollyBy(1.5);
    EXPECT_NEAR(ClientOf(clicked).x, there.x, 1e-4);
    EXPECT_NEAR(ClientOf(clicked).y, there.y, 1e-4);
    live.Clear();
    EXPECT_FALSE(live->SetTargetFromScene(70, 95)) << "nothing is drawn";
}

/// The library's frame of a view on one of the pipelines. Where ORRIN_PICTURES names a folder it is also saved there,
/// for people to look at.
Picture DrawOn(bool programs, const NamedView& seen) {
    ForgetFirstView();
    const std::unique_ptr<COpenGLView> first = programs ? ChoosePrograms() : nullptr;
    const LiveView live(kWidth, kHeight);
    live->ChooseCoordinateOffsets(kLow, kHigh);
    EXPECT_EQ(seen.apply(*live.view), S_OK);
    DrawScene(live);
    Picture picture = TakePicture(*live.view, kWidth, kHeight);
    if (const char* folder = std::getenv("ORRIN_PICTURES")) {
        std::vector<unsigned char> rgb;
        for (const Pixel& pixel : picture.pixels) {
            rgb.insert(rgb.end(), {pixel.r, pixel.g, pixel.b});
        }
        const std::string path = std::string(folder) + "/" + seen.name + (programs ? "_programs" : "_fixed") + ".ppm";
        std::ofstream file(path, std::ios::binary);
        file << "P6\n" << kWidth << " " << kHeight << "\n255\n";
        for (int row = kHeight; row-- > 0;) {
            file.write(reinterpret_cast<const char*>(rgb.data()) + static_cast<std::streamoff>(row) * kWidth * 3,
                       kWidth * 3);
        }
    }
    return picture;
}

using ViewVolumePictures = FreshProcessTest;

// Users compare the same data on machines with and without a 4.x driver.
TEST_F(ViewVolumePictures, TerrainAndCloudLookTheSameOnBothPipelinesFromEverywhere) {
    for (const NamedView& seen : AllViews()) {
        SCOPED_TRACE(seen.name);
        const Picture fixed = DrawOn(false, seen);
        const Picture programs = DrawOn(true, seen);
        EXPECT_GT(fixed.CountDrawn(), kWidth * kHeight / 6);
        const PictureDifference difference = Compare(fixed, programs, 2);
        EXPECT_LE(difference.otherPixels, fixed.CountDrawn() / 100);
        EXPECT_EQ(difference.strayPixels, 0);
    }
}

} // namespace
