#include "files/PointTextFile.h"

#include "FileTestSupport.h"

#include <vector>

namespace OrrinViewer {
namespace {

PointCloud ReadText(const std::filesystem::path& path) {
    return ReadAllPoints(*OpenPointTextFile(path));
}

PointCloud ReadContent(std::string_view content) {
    const TemporaryFile file(".csv", content);
    return ReadText(file.Path());
}

struct TextCase {
    const char* name;
    const char* content;
    std::vector<Rgb> colors;
    std::vector<float> intensities;
    std::vector<std::uint8_t> classes;
};

class PointTextForm : public testing::TestWithParam<TextCase> {};

// All of them are the same two points.
TEST_P(PointTextForm, GivesItsPointsAndWhatItKnowsOfThem) {
    const PointCloud cloud = ReadContent(GetParam().content);
    EXPECT_EQ(cloud.positions, (std::vector<Position>{{500000.25, 4500000.5, 12.5}, {-1, 2e6, -3}}));
    EXPECT_EQ(cloud.colors, GetParam().colors);
    EXPECT_EQ(cloud.intensities, GetParam().intensities);
    EXPECT_EQ(cloud.classes, GetParam().classes);
    EXPECT_EQ(cloud.skippedPoints, 0u);
}

const std::vector<Rgb> kRedAndGrey = {{250, 0, 0}, {7, 7, 7}};

INSTANTIATE_TEST_SUITE_P(
    Forms, PointTextForm,
    testing::Values(
        TextCase{"bare", "500000.25 4500000.5 12.5\n-1 2e6 -3\n", {}, {}, {}},
        TextCase{"alignedWithTabsAndNoLastLineFeed", "  500000.25\t 4500000.5\t 12.5\r\n\r\n -1\t2e6\t-3", {}, {}, {}},
        TextCase{"commas", "500000.25, 4500000.5, 12.5\n-1, 2e6, -3\n", {}, {}, {}},
        TextCase{"decimalCommas", "500000,25;4500000,5;12,5\n-1;2e6;-3,0\n", {}, {}, {}},
        TextCase{"intensity", "500000.25 4500000.5 12.5 90\n-1 2e6 -3 1.5\n", {}, {90, 1.5}, {}},
        TextCase{"colors", "500000.25 4500000.5 12.5 250 0 0\n-1 2e6 -3 7 7 7\n", kRedAndGrey, {}, {}},
        TextCase{"normalsAreNoColors", "500000.25 4500000.5 12.5 0 0 1\n-1 2e6 -3 0.6 -0.8 0\n", {}, {}, {}},
        TextCase{"pts", "2\n500000.25 4500000.5 12.5 -90 250 0 0\n-1 2e6 -3 1 7 7 7\n", kRedAndGrey, {-90, 1}, {}},
        TextCase{
            "namesInAnyOrder",
            "\xEF\xBB\xBF\"Classification\",\"Z\",\"name\",\"X (m)\",\"Y\"\n2,12.5,\"Eve, A.\",500000.25,4500000.5\n"
            "9,-3,,-1,2e6\n",
            {},
            {},
            {2, 9}},
        TextCase{"namesInAComment",
                 "# made by hand\n//X Y Z Rf Gf Bf Scalar_Intensity\n500000.25 4500000.5 12.5 0.98039 0 0 5\n"
                 "-1 2e6 -3 0.0275 0.0275 0.0275 6\n",
                 kRedAndGrey,
                 {5, 6},
                 {}},
        TextCase{
            "wideColors",
            "Easting;Northing;Height;Red;Green;Blue\n500000.25;4500000.5;12.5;64000;0;0\n-1;2e6;-3;1792;1800;2047\n",
            kRedAndGrey,
            {},
            {}},
        TextCase{"words", "id,easting,northing,elev\nfirst,500000.25,4500000.5,12.5\nsecond,-1,2e6,-3\n", {}, {}, {}}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(PointTextFile, WithoutElevations_LiesAtZero) {
    EXPECT_EQ(ReadContent("name,latitude,longitude\nHere,51.5,7.5\n").positions,
              (std::vector<Position>{{7.5, 51.5, 0}}));
}

// A scale bar of metres under degrees is wrong by five digits.
TEST(PointTextFile, UnitsAreDegreesWhereTheColumnsSaySo) {
    const TemporaryFile degrees(".csv", "Long (deg);Lat (deg)\n7,5;51,5\n");
    EXPECT_EQ(OpenPointTextFile(degrees.Path())->GetSystem().units, MapUnits::Degrees);
    const TemporaryFile unknown(".csv", "x;y\n7,5;51,5\n");
    EXPECT_EQ(OpenPointTextFile(unknown.Path())->GetSystem().units, std::nullopt);
}

// A logger writes "nan" where it had no fix, and a table may end in a line of sums.
TEST(PointTextFile, LineWithoutAPlace_IsSkippedAndCounted) {
    const PointCloud cloud = ReadContent("x,y,z\n1,2,3\nnan,2,3\n,,\n4,5\nsum,7,8\n1e999,0,0\n4,5,6\n");
    EXPECT_EQ(cloud.positions, (std::vector<Position>{{1, 2, 3}, {4, 5, 6}}));
    EXPECT_EQ(cloud.skippedPoints, 5u);
}

TEST(PointTextFile, WhatHoldsNoPoints_IsRefused) {
    EXPECT_NE(Complaint(ReadText, "name,age\nEve,30\n", ".csv").find("columns named x and y"), std::string::npos);
    EXPECT_NE(Complaint(ReadText, "x,y,z\n", ".csv").find("neither lines of coordinates"), std::string::npos);
    EXPECT_NE(Complaint(ReadText, "1 2 3\n4 5 6\n" + std::string(100'000, '7'), ".csv").find("line 3"),
              std::string::npos);
}

TEST(PointTextFile, RandomDamage_NeverDoesMoreThanRefuse) {
    std::string content = "x;y;z;red;green;blue;class\n";
    for (int point = 0; point < 20; ++point) {
        content += "500000,25;4500000,5;12,5;250;0;0;2\n";
    }
    CountRefusedMutations(ReadText, content, ".csv");

    std::string bare;
    for (int point = 0; point < 20; ++point) {
        bare += "500000.25 4500000.5 12.5 77 250 0 0\n";
    }
    CountRefusedMutations(ReadText, bare, ".xyz");
}

} // namespace
} // namespace OrrinViewer
