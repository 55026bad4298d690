#include "support/Picture.h"

#include <cmath>
#include <limits>

namespace {

constexpr int kWide = 240;
constexpr int kHigh = 120;
constexpr double kNotGiven = std::numeric_limits<double>::quiet_NaN();
constexpr double kEast = 500000.0;
constexpr double kNorth = 4500000.0;
// A right angle: 60 to the east, then 40 to the north.
constexpr PointXY kLine[] = {{kEast, kNorth}, {kEast + 60.0, kNorth}, {kEast + 60.0, kNorth + 40.0}};

class ProfileViews : public FreshProcessTest, public testing::WithParamInterface<bool> {
protected:
    ProfileViews() : m_first(GetParam() ? ChoosePrograms() : nullptr), profile(kWide, kHigh) {
        profile->SetCurrentCoordinateOffsets(kEast, kNorth);
    }
    static GLDrawGeometry Record(double x, double y, double z, unsigned char green) {
        GLDrawGeometry record{};
        record.x = static_cast<float>(x);
        record.y = static_cast<float>(y);
        record.z = static_cast<float>(z);
        record.g = green;
        record.a = 255;
        return record;
    }
    Pixel PixelAtPlace(double x, double y, double z) const {
        double clientX = -1.0;
        double clientY = -1.0;
        EXPECT_TRUE(profile->RealWorld2Client(x, y, z, clientX, clientY));
        return profile.At(static_cast<int>(clientX), kHigh - 1 - static_cast<int>(clientY));
    }
    static void ShowMap(LiveView& map) {
        map->MakeCurrent(GLContextMain);
        map->SetUpViewport(0, 0, kWide, kHigh);
        EXPECT_EQ(map->SetUpOrthoFromModelExtents(GLViewOrientationTop, {kEast - 10.0, kNorth - 10.0, 0.0},
                                                  {kEast + 70.0, kNorth + 50.0, 20.0}, 1.0),
                  S_OK);
        map.Clear();
        map->SwapBuffers();
    }

private:
    std::unique_ptr<COpenGLView> m_first;

protected:
    LiveView profile;
};

TEST_P(ProfileViews, PointsAreUnrolledWhereTheConversionsSay) {
    ASSERT_EQ(profile->SetUpProfileView(kLine, 3, 5.0, 0.0, 20.0, 2.0), S_OK);
    EXPECT_EQ(profile->GetCurrentViewOrientation(), GLViewOrientationProfile);
    EXPECT_EQ(profile->GetProfileLength(), 100.0);
    const GLDrawGeometry records[] = {
        Record(10.0, 2.0, 5.0, 50),    Record(30.0, 6.0, 5.0, 60),   // outside of the band
        Record(58.0, 30.0, 15.0, 100), Record(30.0, 0.0, 25.0, 110), // too high
        Record(45.0, -4.0, 0.5, 200),
    };
    profile.Clear();
    profile->PointSize(3.0F);
    EXPECT_EQ(profile->DrawProfilePoints(records, 5), S_OK);
    EXPECT_EQ(profile->GetProfilePointCount(), 3U);
    EXPECT_EQ(PixelAtPlace(kEast + 10.0, kNorth + 2.0, 5.0), (Pixel{0, 50, 0, 255}));
    EXPECT_EQ(PixelAtPlace(kEast + 58.0, kNorth + 30.0, 15.0), (Pixel{0, 100, 0, 255}));
    EXPECT_EQ(PixelAtPlace(kEast + 45.0, kNorth - 4.0, 0.5), (Pixel{0, 200, 0, 255}));
    EXPECT_EQ(profile.CountDrawn(), 27) << "three points of nine pixels";
    const Picture first = TakePicture(*profile.view, kWide, kHigh);
    profile.Clear();
    EXPECT_EQ(profile->DrawProfilePoints(), S_OK) << "they are kept";
    EXPECT_EQ(TakePicture(*profile.view, kWide, kHigh).pixels, first.pixels);

    double clientX = 0.0;
    double clientY = 0.0;
    EXPECT_TRUE(profile->RealWorld2Client(kEast + 58.0, kNorth + 30.0, 15.0, clientX, clientY));
    EXPECT_EQ(profile->PickProfilePoint(clientX + 2.0, clientY - 2.0, 4.0), 2) << "of all that were handed over";
    EXPECT_EQ(profile->PickProfilePoint(clientX + 20.0, clientY, 4.0), -1);
    EXPECT_FALSE(profile->RealWorld2Client(kEast + 30.0, kNorth + 6.0, 5.0, clientX, clientY));
    EXPECT_EQ(profile->GetError(), 0U);
}

TEST_P(ProfileViews, ConversionsGiveTrueCoordinates) {
    ASSERT_EQ(profile->SetUpProfileView(kLine, 3, 5.0, 0.0, 20.0, 0.0), S_OK);
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double clientX = 0.0;
    double clientY = 0.0;
    for (double station = 1.0; station < 100.0; station += 7.0) {
        ASSERT_TRUE(profile->Profile2RealWorld(station, x, y));
        ASSERT_TRUE(profile->RealWorld2Client(x, y, 12.0, clientX, clientY));
        PointXYZ world;
        double backX = 0.0;
        double backY = 0.0;
        ASSERT_TRUE(profile->Client2RealWorld(clientX, clientY, backX, backY, z));
        EXPECT_NEAR(backX, x, 1e-6);
        EXPECT_NEAR(backY, y, 1e-6);
        EXPECT_NEAR(z, 12.0, 1e-6);
        PointXYZ direction;
        ASSERT_TRUE(profile->GetPickRay(clientX, clientY, world, direction));
        EXPECT_NEAR(station < 60.0 ? direction.y : -direction.x, 1.0, 1e-12) << "across the line";
        double found = 0.0;
        double offset = 0.0;
        ASSERT_TRUE(profile->RealWorld2Profile(x, y, found, offset));
        EXPECT_NEAR(found, station, 1e-6);
        EXPECT_NEAR(offset, 0.0, 1e-6);
    }
    const PointXYZ places[] = {{kEast + 5.0, kNorth, 1.0}, {kEast + 5.0, kNorth + 50.0, 1.0}};
    double stations[2] = {-1.0, -1.0};
    double offsets[2] = {-1.0, -1.0};
    bool inside[2] = {};
    EXPECT_EQ(profile->RealWorld2Profile(places, 2, stations, offsets, inside), 1U);
    EXPECT_EQ(stations[0], 5.0);
    EXPECT_EQ(stations[1], -1.0);
    EXPECT_TRUE(inside[0] && !inside[1]);
}

// Without a range of heights the points give it, and they fill the window.
TEST_P(ProfileViews, HeightsComeFromThePoints) {
    ASSERT_EQ(profile->SetUpProfileView(kLine, 3, 5.0, kNotGiven, kNotGiven, 0.0), S_OK);
    EXPECT_EQ(profile->AddProfilePoint(kEast + 1.0, kNorth, 406.0, 0, 9, 0, 255), S_OK);
    EXPECT_EQ(profile->AddProfilePoint(kEast + 99.0, kNorth, 900.0, 0, 9, 0, 255), S_OK) << "not on the line";
    EXPECT_EQ(profile->AddProfilePoint(kEast + 60.0, kNorth + 39.0, 426.0, 0, 9, 0, 255), S_OK);
    double clientX = 0.0;
    double clientY = 0.0;
    ASSERT_TRUE(profile->RealWorld2Client(kEast, kNorth, 406.0, clientX, clientY));
    EXPECT_NEAR(clientX, 0.0, 4.0);
    EXPECT_NEAR(clientY, kHigh, 4.0);
    ASSERT_TRUE(profile->RealWorld2Client(kEast + 60.0, kNorth + 40.0, 426.0, clientX, clientY));
    EXPECT_NEAR(clientX, kWide, 4.0);
    EXPECT_NEAR(clientY, 0.0, 4.0);
    profile.Clear();
    GLProfileGridStyle style;
    style.unit = L"m";
    EXPECT_EQ(profile->DrawProfileGrid(style), S_OK);
    EXPECT_GT(profile.CountDrawn(), 500) << "lines and their numbers";
    EXPECT_EQ(profile->GetError(), 0U);
}

// A line has thousands of corners to a pixel. Each would be a line over the ones before, dark and slow.
TEST_P(ProfileViews, CornersOfOnePixelAreOneLine) {
    GLProfileGridStyle style;
    style.cornerColor = {200, 200, 0, 100};
    const auto gridOf = [&](const std::vector<PointXY>& line) {
        profile->SetUpProfileView(line.data(), static_cast<int>(line.size()), 5.0, 0.0, 20.0, 1.0);
        profile.Clear();
        EXPECT_EQ(profile->DrawProfileGrid(style), S_OK);
        return TakePicture(*profile.view, kWide, kHigh);
    };
    const PointXY end{kEast + 60.0, kNorth};
    const PointXY middle{kEast + 30.2, kNorth};
    std::vector<PointXY> line{kLine[0], middle, end};
    const Picture single = gridOf(line);
    line.insert(line.begin() + 2, 500, middle);
    for (std::size_t corner = 2; corner < 502; ++corner) {
        line[corner].x += 1e-6 * static_cast<double>(corner);
    }
    EXPECT_EQ(gridOf(line).pixels, single.pixels);
}

// The cursor is drawn over both frames and leaves them as they were, whichever view goes first.
TEST_P(ProfileViews, CursorRunsInTheProfileAndInItsMap) {
    ASSERT_EQ(profile->SetUpProfileView(kLine, 3, 5.0, 0.0, 20.0, 0.0), S_OK);
    EXPECT_EQ(profile->SetProfileCursor(30.0, 10.0), S_FALSE) << "no frame yet";
    profile->HideProfileCursor();
    auto map = std::make_unique<LiveView>(kWide, kHigh);
    ShowMap(*map);
    const Picture emptyMap = TakePicture(*map->view, kWide, kHigh);
    profile->MakeCurrent(GLContextMain);
    profile.Clear(RGB(10, 20, 30));
    profile->SwapBuffers();
    const Picture emptyProfile = TakePicture(*profile.view, kWide, kHigh);
    EXPECT_EQ(profile->LinkProfile(*profile.view), E_INVALIDARG);
    EXPECT_EQ(profile->LinkProfile(*map->view), S_OK);
    EXPECT_EQ(profile->SetProfileCursor(100.1, 10.0), E_INVALIDARG);
    EXPECT_EQ(profile->SetProfileCursor(30.0, 10.0), S_OK);
    EXPECT_EQ(profile->SetProfileCursor(70.0, 10.0), S_OK);
    EXPECT_TRUE(profile->IsMyContextCurrent(GLContextMain));
    const Picture cursor = TakePicture(*profile.view, kWide, kHigh);
    double clientX = 0.0;
    double clientY = 0.0;
    ASSERT_TRUE(profile->RealWorld2Client(kEast + 60.0, kNorth + 10.0, 10.0, clientX, clientY));
    const auto column = static_cast<int>(clientX);
    EXPECT_GT(LargestDifference(cursor.At(column, 5), emptyProfile.At(column, 5)), 100);
    EXPECT_EQ(cursor.At(column + 30, 5), emptyProfile.At(column + 30, 5));
    const auto mapPixel = [&](double x, double y) {
        (*map)->MakeCurrent(GLContextMain);
        EXPECT_TRUE((*map)->RealWorld2Client(x, y, 10.0, clientX, clientY));
        return map->At(static_cast<int>(clientX), kHigh - 1 - static_cast<int>(clientY));
    };
    EXPECT_GT(mapPixel(kEast + 60.0, kNorth + 10.0).r, 200) << "the place on the line";
    EXPECT_GT(mapPixel(kEast + 20.0, kNorth + 2.0).r, 20) << "the band";
    EXPECT_EQ(mapPixel(kEast + 20.0, kNorth + 30.0), kBlack);
    EXPECT_EQ(profile->HideProfileCursor(), S_OK);
    profile->MakeCurrent(GLContextMain);
    EXPECT_EQ(TakePicture(*profile.view, kWide, kHigh).pixels, emptyProfile.pixels);
    profile->UnlinkProfile(*map->view);
    EXPECT_EQ((*map)->RedrawOverlays(), S_OK);
    EXPECT_EQ(TakePicture(*map->view, kWide, kHigh).pixels, emptyMap.pixels);

    EXPECT_EQ(profile->LinkProfile(*map->view), S_OK);
    map.reset();
    profile->MakeCurrent(GLContextMain);
    EXPECT_EQ(profile->SetProfileCursor(20.0, 10.0), S_OK) << "its map is gone";
    LiveView other(kWide, kHigh);
    ShowMap(other);
    {
        LiveView second(kWide, kHigh);
        EXPECT_EQ(second->SetUpProfileView(kLine, 3, 5.0, 0.0, 20.0, 0.0), S_OK);
        EXPECT_EQ(second->LinkProfile(*other.view), S_OK);
    }
    EXPECT_EQ(other->RedrawOverlays(), S_OK) << "the profile is gone";
    EXPECT_EQ(other->GetError(), 0U);
}

TEST_P(ProfileViews, WhatIsNoProfileIsRefused) {
    double value = -1.0;
    EXPECT_EQ(profile->DrawProfilePoints(), S_FALSE);
    EXPECT_EQ(profile->DrawProfileGrid({}), S_FALSE);
    EXPECT_EQ(profile->SetProfileCursor(1.0, 1.0), S_FALSE);
    EXPECT_FALSE(profile->GetProfileCursor(value, value));
    EXPECT_FALSE(profile->Profile2RealWorld(1.0, value, value));
    EXPECT_EQ(profile->SetUpProfileView(kLine, 1, 5.0, 0.0, 1.0, 1.0), E_INVALIDARG);
    EXPECT_EQ(profile->SetUpProfileView(kLine, 3, 0.0, 0.0, 1.0, 1.0), E_INVALIDARG);
    EXPECT_EQ(profile->SetUpProfileView(kLine, 3, 5.0, 0.0, 1.0, -1.0), E_INVALIDARG);
    EXPECT_EQ(profile->SetUpProfileView(kLine, 3, 5.0, -HUGE_VAL, 1.0, 1.0), E_INVALIDARG);
    EXPECT_EQ(profile->GetCurrentViewOrientation(), GLViewOrientationTop);
    ASSERT_EQ(profile->SetUpProfileView(kLine, 3, 5.0, 0.0, 1.0, 1.0), S_OK);
    EXPECT_EQ(profile->AddProfilePoints(nullptr, 3), E_INVALIDARG);
    EXPECT_EQ(profile->AddProfilePoint(kEast + 1.0, kNorth, std::nan(""), 0, 0, 0, 255), S_OK);
    EXPECT_EQ(profile->GetProfilePointCount(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, ProfileViews, testing::Bool(), PipelineName);

} // namespace
