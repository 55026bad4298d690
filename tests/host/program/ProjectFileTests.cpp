#include "program/ProjectFile.h"

#include "../files/FileTestSupport.h"

#include <fstream>
#include <iterator>

namespace OrrinViewer {
namespace {

std::string Contents(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// All that a project can have, in files beside `file`.
Project MakeProject(const std::filesystem::path& file) {
    Project project;
    project.settings = {"EPSG:25832", MapUnits::UsSurveyFeet, 2.5, 300.0, 20.0, false, "größe \"m\"\n"};
    project.view = ProjectView{Camera::Perspective,
                               Extent{{500'000.25, 4'500'000.1, -3.0}, {500'100.0, 4'500'060.0, 1e-7}},
                               2.5,
                               {},
                               ProjectEye{{1.0, 2.0, 3.5}, {4.0, 5.0, 6.0}, {0.0, 0.6, 0.8}, 35.0}};
    ProjectLayer cloud;
    cloud.file = file.parent_path() / u8"Wolken" / u8"Höhe_高さ.las";
    cloud.kind = LayerKind::Cloud;
    cloud.style.pointSizePixels = 3.0;
    cloud.style.colorMode = ColorMode::Class;
    cloud.style.elevationRamp = {-12.5, {}};
    cloud.style.intensityRamp = {0.0, 4000.0};
    cloud.style.hiddenClasses.set(0).set(7).set(255);
    ProjectLayer roads;
    roads.file = file.parent_path().parent_path() / "land.gpkg";
    roads.part = "roads";
    roads.style.shown = false;
    roads.style.features = {3.0, 5.0, {12.0, 6.0}, 1.5, "star", 14.0};
    roads.style.opacity = 0.25;
    roads.style.color = Rgb{255, 128, 7};
    roads.style.fillOpacity = 0.4;
    ProjectLayer relief;
    relief.file = cloud.file;
    relief.cellSize = 0.25;
    relief.kind = LayerKind::Relief;
    project.layers = {roads, cloud, relief};
    project.hillshade = ProjectShade{cloud.file, 1.5, 0.6};
    return project;
}

// What a person has set up has to come back the next day, to the last digit.
TEST(ProjectFile, WhatIsWrittenIsRead) {
    const TemporaryFile file(".orrin", "");
    const Project project = MakeProject(file.Path());
    WriteProjectFile(project, file.Path());
    const Project read = ReadProjectFile(file.Path());

    EXPECT_TRUE(read.settings == project.settings);
    EXPECT_TRUE(read.hillshade == project.hillshade);
    ASSERT_TRUE(read.view && read.view->eye);
    EXPECT_EQ(read.view->camera, Camera::Perspective);
    EXPECT_EQ(read.view->zExaggeration, 2.5);
    EXPECT_EQ(read.view->box.low, project.view->box.low);
    EXPECT_EQ(read.view->box.high, project.view->box.high);
    EXPECT_EQ(read.view->eye->position, project.view->eye->position);
    EXPECT_EQ(read.view->eye->target, project.view->eye->target);
    EXPECT_EQ(read.view->eye->up, project.view->eye->up);
    EXPECT_EQ(read.view->eye->fieldOfViewDegrees, 35.0);
    ASSERT_EQ(read.layers.size(), 3U);
    for (std::size_t index = 0; index < 3; ++index) {
        EXPECT_TRUE(read.layers[index] == project.layers[index]) << index;
    }
}

// A folder with its project is copied to another machine.
TEST(ProjectFile, FilesAreNamedFromWhereTheProjectLies) {
    const TemporaryFile file(".orrin", "");
    WriteProjectFile(MakeProject(file.Path()), file.Path());
    const std::string text = Contents(file.Path());
    EXPECT_NE(text.find("\"Wolken/H\xC3\xB6he_\xE9\xAB\x98\xE3\x81\x95.las\""), std::string::npos) << text;
    EXPECT_NE(text.find("\"../land.gpkg\""), std::string::npos) << text;

    Project elsewhere = MakeProject(file.Path());
    elsewhere.layers[0].file = "Q:/data/land.gpkg";
    WriteProjectFile(elsewhere, file.Path());
    EXPECT_NE(Contents(file.Path()).find("\"Q:/data/land.gpkg\""), std::string::npos);
    EXPECT_EQ(ReadProjectFile(file.Path()).layers[0].file, std::filesystem::path(L"Q:\\data\\land.gpkg"));
}

std::string DocumentWith(const std::string& members) {
    return R"({"format": "OrrinViewer project", )" + members + "}";
}

struct FaultCase {
    const char* name;
    std::string content;
    const char* complaint;
};

class ProjectFault : public testing::TestWithParam<FaultCase> {};

TEST_P(ProjectFault, IsToldWithItsPlace) {
    EXPECT_EQ(Complaint(ReadProjectFile, GetParam().content, ".orrin"), std::string(": ") + GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, ProjectFault,
    testing::Values(
        FaultCase{"otherFormat", R"({"format": "map", "layers": []})",
                  "the document is no project: \"format\" is not \"OrrinViewer project\""},
        FaultCase{"noFile", DocumentWith(R"("layers": [{"kind": "cloud"}])"), "/layers/0 has no \"file\""},
        FaultCase{"shadeWithoutFile", DocumentWith(R"("hillshade": {"strength": 1})"), "/hillshade has no \"file\""},
        FaultCase{"wordAsNumber", DocumentWith(R"("scene": {"exaggeration": "2"})"),
                  "/scene/exaggeration is not a number"},
        FaultCase{"tooLarge", DocumentWith(R"("layers": [{"file": "a"}, {"file": "b", "style": {"fillOpacity": 3}}])"),
                  "/layers/1/style/fillOpacity is 3, not from 0 to 1"},
        FaultCase{"unknownWord", DocumentWith(R"("view": {"camera": "side"})"),
                  "/view/camera is 'side', which is not known there"},
        FaultCase{"noColor", DocumentWith(R"("layers": [{"style": {"color": "#ff80"}}])"),
                  "/layers/0/style/color is '#ff80', which is no colour such as \"#ff8000\""},
        FaultCase{"boxTurnedOver", DocumentWith(R"("view": {"box": [5, 0, 1, 1]})"),
                  "/view/box is no box: the first corner is the lower one"},
        FaultCase{"farAway", DocumentWith(R"("view": {"eye": {"position": [1e300, 0, 0]}})"),
                  "/view/eye/position has what is no coordinate"},
        FaultCase{"notAList", DocumentWith(R"("layers": {})"), "/layers is not a list"},
        FaultCase{"cutOff", R"({"format": "OrrinViewer project", "layers": [)",
                  "is not valid JSON: line 1, column 46: the document ends before its last value"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(ProjectFile, WhatALaterVersionAdds_IsPassedOver) {
    const TemporaryFile file(".orrin", DocumentWith(R"("version": 7, "bookmarks": [{"x": [1, {}]}], "layers":
        [{"file": "a.las", "style": {"glow": true, "pointSize": null, "fillOpacity": 0.5}}])"));
    const Project project = ReadProjectFile(file.Path());
    ASSERT_EQ(project.layers.size(), 1U);
    EXPECT_EQ(project.layers[0].style.fillOpacity, 0.5);
    EXPECT_FALSE(project.view);
}

TEST(ProjectFile, MutatedCopies_AreReadOrRefused) {
    const TemporaryFile file(".orrin", "");
    WriteProjectFile(MakeProject(file.Path()), file.Path());
    EXPECT_GT(CountRefusedMutations(ReadProjectFile, Contents(file.Path()), ".orrin"), 50);
}

// A person's only copy must outlive a disk that is full, or a folder that is gone.
TEST(ProjectFile, ProjectThatCannotBeWritten_IsTold) {
    EXPECT_THROW(WriteProjectFile({}, std::filesystem::temp_directory_path() / "no such folder" / "a.orrin"),
                 FileError);
}

} // namespace
} // namespace OrrinViewer
