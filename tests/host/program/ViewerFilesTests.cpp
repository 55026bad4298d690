// The viewer and its files: projects, and pictures that are larger than the window.

#include "ViewerProgram.h"

#include "program/ProjectFile.h"

#include <string>
#include <vector>

namespace OrrinViewer {
namespace {

class ViewerFiles : public ViewerProgram, public testing::WithParamInterface<const wchar_t*> {
protected:
    std::vector<std::wstring> WithPipeline(std::vector<std::wstring> arguments) const {
        arguments.insert(arguments.end(), {L"--pipeline", GetParam()});
        return arguments;
    }
    /// Draws in a window of 240 by 160 pixels.
    Frame DrawPicture(std::vector<std::wstring> arguments, const wchar_t* size) const {
        const fs::path path = Folder() / L"picture.png";
        fs::remove(path);
        arguments.insert(arguments.end(), {L"--width", L"240", L"--height", L"160", L"--picture-size", size,
                                           L"--screenshot", path.wstring()});
        const Outcome outcome = Run(WithPipeline(std::move(arguments)));
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        return ReadFrame(path);
    }
    fs::path WriteCloud() const { return Write("cloud.ply", SquareCloud(500'000.0, 4'500'000.0)); }
    /// A road and a parcel that reach over all of that.
    fs::path WriteLand() const {
        return Write("land.geojson", R"({"type": "FeatureCollection", "features": [
            {"type": "Feature", "properties": {}, "geometry": {"type": "Polygon", "coordinates":
                [[[500010, 4500010], [500095, 4500020], [500080, 4500090], [500010, 4500010]]]}},
            {"type": "Feature", "properties": {}, "geometry": {"type": "LineString", "coordinates":
                [[499990, 4500080], [500040, 4500030], [500115, 4500045]]}}]})");
    }
    fs::path WriteParcel() const {
        return Write("parcel.geojson", R"({"type": "Feature", "properties": {"NAME": "The hill above the old village"},
            "geometry": {"type": "Polygon", "coordinates": [[[500005, 4500010], [500095, 4500005], [500090, 4500065],
                [500010, 4500060], [500005, 4500010]]]}})");
    }
};

INSTANTIATE_TEST_SUITE_P(Pipelines, ViewerFiles, testing::Values(L"legacy", L"gl4"), [](const auto& tested) {
    const std::wstring name = tested.param;
    return std::string(name.begin(), name.end());
});

// Where the parts of a picture meet nothing may show it; and what is drawn in pixels grows with the picture.
TEST_P(ViewerFiles, PictureInParts_IsTheFrameOfALargerWindow) {
    const std::vector<std::wstring> scene = {
        WriteCloud().wstring(), WriteLand().wstring(), L"--plain", L"--fill", L"40", L"--no-eye-dome"};
    for (const wchar_t* camera : {L"map", L"3d"}) {
        std::vector<std::wstring> small = scene;
        small.insert(small.end(), {L"--view", camera, L"--point-size", L"4", L"--line-width", L"3", L"--border", L"2"});
        std::vector<std::wstring> large = WithPipeline(scene);
        large.insert(large.end(), {L"--view", camera, L"--point-size", L"8", L"--line-width", L"6", L"--border", L"4"});
        const Frame parts = DrawPicture(small, L"480x320");
        const Frame whole = DrawMap(large, 480, 320);
        ASSERT_EQ(parts.width, 480);
        ASSERT_EQ(parts.height, 320);
        // Corners of smooth lines and points of an odd size may round to either side.
        EXPECT_LT(ShareOfDifferingPixels(parts, whole, 24), 0.001) << testing::PrintToString(camera);
    }
}

// Labels, ticks and the scale bar belong to the picture, not to its parts: however those lie, nothing is cut.
TEST_P(ViewerFiles, PictureIsTheSameHoweverItIsDivided) {
    const std::vector<std::wstring> scene = {WriteParcel().wstring(),          L"--labels", L"NAME", L"--area",
                                             L"500000,4500000,500100,4500070", L"--border", L"2"};
    // There are no roads: their width only has the parts overlap more.
    const auto draw = [&](const wchar_t* casing) {
        std::vector<std::wstring> arguments = scene;
        arguments.insert(arguments.end(), {L"--casing", casing});
        return DrawPicture(arguments, L"340x220");
    };
    const Frame one = draw(L"1");
    ASSERT_EQ(one.height, 220);
    EXPECT_LT(ShareOfDifferingPixels(one, draw(L"28"), 2), 0.0002);
    std::vector<std::wstring> plain = scene;
    plain.insert(plain.end(), {L"--plain"});
    EXPECT_GT(ShareOfDifferingPixels(one, DrawPicture(plain, L"340x220"), 60), 0.01) << "ticks and a scale bar";
}

// On a screen of twice as many pixels an inch everything is twice as large that is given in pixels: the frame is the
// picture of that size on a usual screen, texts and all.
TEST_P(ViewerFiles, FrameOnAFineScreen_IsTheUsualOneEnlarged) {
    const std::vector<std::wstring> scene = {
        WriteCloud().wstring(), WriteParcel().wstring(), L"--labels", L"NAME", L"--border", L"2", L"--view"};
    for (const wchar_t* camera : {L"map", L"3d"}) {
        std::vector<std::wstring> arguments = scene;
        arguments.emplace_back(camera);
        const Frame usual = DrawPicture(arguments, L"480x320");
        arguments.insert(arguments.end(), {L"--pixels-per-inch", L"192"});
        const Frame fine = DrawMap(WithPipeline(arguments), 480, 320);
        EXPECT_LT(ShareOfDifferingPixels(usual, fine, 24), 0.002) << testing::PrintToString(camera);
    }
}

// A project shows what its author saw, whatever its files' order of arrival; one file that is gone is told.
TEST_P(ViewerFiles, ProjectShowsWhatItsOptionsWould) {
    Project project;
    project.view = ProjectView{Camera::Map, Extent{{500'000, 4'500'000, 10}, {500'100, 4'500'100, 10}}, 1.0,
                               std::array{499'990.0, 4'500'010.0, 500'110.0, 4'500'090.0}, std::nullopt};
    ProjectLayer land;
    land.file = WriteLand();
    land.style.fillOpacity = 0.4;
    ProjectLayer cloud;
    cloud.file = WriteCloud();
    cloud.kind = LayerKind::Cloud;
    cloud.style.pointSizePixels = 7.0;
    project.layers = {land, cloud};
    const fs::path file = Folder() / L"village.orrin";
    WriteProjectFile(project, file);

    const Frame frame = Draw(WithPipeline({file.wstring()}));
    const Frame expected = Draw(WithPipeline({cloud.file.wstring(), land.file.wstring(), L"--fill", L"40",
                                              L"--point-size", L"7", L"--area", L"499990,4500010,500110,4500090"}));
    EXPECT_EQ(ShareOfDifferingPixels(frame, expected, 0), 0.0);

    project.layers.push_back({Folder() / L"gone.las", {}, {}, LayerKind::Cloud, {}});
    WriteProjectFile(project, file);
    const Outcome outcome = Run(WithPipeline({file.wstring(), L"--frames", L"1"}));
    EXPECT_NE(outcome.exitCode, 0);
    EXPECT_NE(outcome.errors.find("gone.las"), std::string::npos) << outcome.errors;
    EXPECT_NE(outcome.output.find("5 points, 2 features"), std::string::npos) << outcome.output;
}

// What only the command line could ask for has to come back with the project: a relief made of points, and elevations
// that shade an image of which they are no layer.
TEST_P(ViewerFiles, ProjectKeepsAReliefOfPointsAndAHillshade) {
    const fs::path cloud = WriteCloud();
    const fs::path grid = Write("hill.asc", "ncols 4\nnrows 4\nxllcorner 500000\nyllcorner 4500000\ncellsize 25\n"
                                            "1 2 4 8\n5 9 20 11\n2 40 30 3\n0 7 2 1\n");
    const fs::path file = Folder() / L"hill.orrin";
    const std::vector<std::wstring> height = {L"--exaggeration", L"2"};
    const auto expectSame = [&](const Project& project, std::vector<std::wstring> arguments) {
        WriteProjectFile(project, file);
        const Frame frame = Draw(WithPipeline({file.wstring()}));
        arguments.insert(arguments.end(), height.begin(), height.end());
        const Frame expected = Draw(WithPipeline(arguments));
        EXPECT_EQ(ShareOfDifferingPixels(frame, expected, 0), 0.0);
        return expected;
    };
    Project project;
    project.settings.exaggeration = 2.0;
    project.layers = {{cloud, {}, 50.0, LayerKind::Relief, {}}};
    const Frame relief = expectSame(project, {cloud.wstring(), L"--grid", L"50"});

    project.layers = {{cloud, {}, 50.0, LayerKind::Raster, {}}};
    const Frame flat = expectSame(project, {cloud.wstring(), L"--grid", L"50", L"--flat"});
    EXPECT_GT(ShareOfDifferingPixels(relief, flat, 3), 0.01);
    project.hillshade = ProjectShade{grid, {}, 0.7};
    WriteProjectFile(project, file);
    const Frame shaded = Draw(WithPipeline({file.wstring()}));
    EXPECT_GT(ShareOfDifferingPixels(shaded, flat, 3), 0.05) << "by another file than the layer's";
    project.layers = {{grid, {}, {}, LayerKind::Raster, {}}};
    expectSame(project, {grid.wstring(), L"--flat", L"--hillshade", L"70"});
}

TEST_F(ViewerProgram, FolderStandsForItsFiles) {
    fs::create_directories(Folder() / "data" / "old");
    Write("data/cloud.ply", SquareCloud(500'000.0, 4'500'000.0));
    Write("data/old/cloud.ply", SquareCloud(0.0, 0.0));
    Write("data/notes.txt", "Measured in May.\n");
    Write("data/cloud.orrin", R"({"format": "OrrinViewer project", "layers": [{"file": "cloud.ply"}]})");
    const Outcome outcome = Run({(Folder() / "data").wstring(), L"--frames", L"1"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_TRUE(outcome.output.starts_with("5 points, x 500000.00")) << outcome.output;
    EXPECT_NE(Run({(Folder() / "none").wstring(), L"--frames", L"1"}).exitCode, 0);
}

} // namespace
} // namespace OrrinViewer
