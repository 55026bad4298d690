#include "files/PlyFile.h"

#include "FileTestSupport.h"

#include <sstream>
#include <vector>

namespace OrrinViewer {
namespace {

PointCloud ReadContent(const std::string& content) {
    const TemporaryFile file(".ply", content);
    return ReadPlyFile(file.Path());
}

std::string AsciiPly(const std::string& elements, const std::string& rows) {
    return "ply\nformat ascii 1.0\n" + elements + "end_header\n" + rows;
}

const std::string kXyz = "property double x\nproperty double y\nproperty double z\n";

/// Appends a value as one of the types by its name in the header.
void PutAs(FileBytes& bytes, const std::string& type, int value) {
    if (type == "char" || type == "int8" || type == "uchar" || type == "uint8") {
        bytes.Put(static_cast<std::uint8_t>(value));
    } else if (type == "short" || type == "int16" || type == "ushort" || type == "uint16") {
        bytes.Put(static_cast<std::uint16_t>(value));
    } else if (type == "float" || type == "float32") {
        bytes.Put(static_cast<float>(value));
    } else if (type == "double" || type == "float64") {
        bytes.Put(static_cast<double>(value));
    } else {
        bytes.Put(static_cast<std::int32_t>(value));
    }
}

/// One vertex with lists everywhere: in an element before it, in the vertex itself, and in an element after it. Its
/// coordinates stand out of order and have the given type; they are 3, y and 100.
std::string BuildBinaryPly(bool bigEndian, const std::string& type, int y) {
    FileBytes bytes(bigEndian);
    bytes.PutText(std::string("ply\r\nformat binary_") + (bigEndian ? "big" : "little") + "_endian 1.0\r\n");
    bytes.PutText("comment element vertex 7\r\nobj_info made by a test\r\n");
    bytes.PutText("element strip 2\r\nproperty ushort kind\r\nproperty list ushort short steps\r\n");
    bytes.PutText("element camera 1\r\nproperty double angle\r\n");
    bytes.PutText("element vertex 1\r\nproperty " + type + " z\r\nproperty list uchar double weights\r\n");
    bytes.PutText("property uchar blue\r\nproperty uchar red\r\nproperty " + type + " y\r\nproperty uchar green\r\n");
    bytes.PutText("property " + type + " x\r\nproperty int scalar_Label\r\nproperty float intensity\r\n");
    bytes.PutText("element face 1\r\nproperty list uchar int vertex_indices\r\nend_header\r\n");
    bytes.Put<std::uint16_t>(1).Put<std::uint16_t>(2).Put<std::int16_t>(5).Put<std::int16_t>(6);
    bytes.Put<std::uint16_t>(1).Put<std::uint16_t>(0);
    bytes.Put(0.5);
    PutAs(bytes, type, 100);
    bytes.Put<std::uint8_t>(2).Put(1.0).Put(2.0).Put<std::uint8_t>(30).Put<std::uint8_t>(10);
    PutAs(bytes, type, y);
    bytes.Put<std::uint8_t>(20);
    PutAs(bytes, type, 3);
    bytes.Put<std::int32_t>(7).Put(0.25f);
    bytes.Put<std::uint8_t>(1).Put<std::int32_t>(0);
    return bytes.Content();
}

struct BinaryCase {
    const char* type;
    bool bigEndian;
};

class BinaryPly : public testing::TestWithParam<BinaryCase> {};

TEST_P(BinaryPly, VertexIsFoundAmongListsInAnyOrder) {
    const std::string type = GetParam().type;
    const int y = type[0] == 'u' ? 2 : -2;
    const PointCloud cloud = ReadContent(BuildBinaryPly(GetParam().bigEndian, type, y));
    EXPECT_EQ(cloud.positions, (std::vector<Position>{{3.0, static_cast<double>(y), 100.0}}));
    EXPECT_EQ(cloud.colors, (std::vector<Rgb>{{10, 20, 30}}));
    EXPECT_EQ(cloud.classes, (std::vector<std::uint8_t>{7}));
    EXPECT_EQ(cloud.intensities, (std::vector<float>{0.25f}));
    EXPECT_EQ(cloud.classMeaning, ClassMeaning::Labels);
}

std::vector<BinaryCase> AllBinaryCases() {
    std::vector<BinaryCase> cases;
    for (const char* type : {"char", "int8", "uchar", "uint8", "short", "int16", "ushort", "uint16", "int", "int32",
                             "uint", "uint32", "float", "float32", "double", "float64"}) {
        cases.push_back({type, false});
        cases.push_back({type, true});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(TypesAndOrders, BinaryPly, testing::ValuesIn(AllBinaryCases()), [](const auto& tested) {
    return std::string(tested.param.type) + (tested.param.bigEndian ? "Big" : "Little");
});

// Blank lines, tabs, a plus sign, exponents and a last line without its line feed are all met in the wild.
TEST(PlyFile, AsciiRows_AreReadWithTheirLists) {
    const PointCloud cloud = ReadContent(
        AsciiPly("element edge 1\nproperty list uchar int ends\nelement vertex 3\nproperty list uchar float tags\n" +
                     kXyz + "property float nx\nproperty uchar classification\n",
                 "2 0 1\n\n1 0.5 500000.123456789 +4e6 -1.5e-3 0 2\r\n0\t1 2 3\t0 255\n0 nan 2 3 0 9"));
    EXPECT_EQ(cloud.positions, (std::vector<Position>{{500000.123456789, 4000000.0, -0.0015}, {1.0, 2.0, 3.0}}));
    EXPECT_EQ(cloud.classes, (std::vector<std::uint8_t>{2, 255}));
    EXPECT_EQ(cloud.classMeaning, ClassMeaning::Survey);
    EXPECT_EQ(cloud.skippedPoints, 1u) << "the point without a position";
    EXPECT_FALSE(cloud.HasColors() || cloud.HasIntensities());
}

struct ColorCase {
    const char* name;
    const char* properties;
    const char* row;
    Rgb expected;
};

class PlyColor : public testing::TestWithParam<ColorCase> {};

TEST_P(PlyColor, BecomesEightBits) {
    const PointCloud cloud = ReadContent(
        AsciiPly("element vertex 1\n" + kXyz + GetParam().properties, std::string("1 2 3 ") + GetParam().row + "\n"));
    EXPECT_EQ(cloud.colors, std::vector<Rgb>{GetParam().expected});
}

INSTANTIATE_TEST_SUITE_P(
    Types, PlyColor,
    testing::Values(
        ColorCase{"bytes", "property uchar red\nproperty uchar green\nproperty uchar blue\n", "0 1 255", {0, 1, 255}},
        ColorCase{"shortNames", "property uint8 r\nproperty uint8 g\nproperty uint8 b\n", "9 8 7", {9, 8, 7}},
        ColorCase{
            "wide", "property ushort red\nproperty ushort green\nproperty ushort blue\n", "65535 256 0", {255, 1, 0}},
        ColorCase{"wideButSmall",
                  "property ushort red\nproperty ushort green\nproperty ushort blue\n",
                  "255 9 0",
                  {255, 9, 0}},
        ColorCase{"fractions",
                  "property float red\nproperty float green\nproperty float blue\n",
                  "1.5 0.5 nan",
                  {255, 128, 0}},
        ColorCase{
            "outOfRange", "property int red\nproperty int green\nproperty int blue\n", "-4 300 12", {0, 255, 12}}),
    [](const auto& tested) { return std::string(tested.param.name); });

// Makers mark points that nobody labelled with -1.
TEST(PlyFile, LabelsOutsideAByte_MeanNoClass) {
    const PointCloud cloud = ReadContent(
        AsciiPly("element vertex 4\n" + kXyz + "property int label\n", "0 0 0 -1\n0 0 0 0\n0 0 0 254\n0 0 0 4711\n"));
    EXPECT_EQ(cloud.classes, (std::vector<std::uint8_t>{kNoClass, 0, 254, kNoClass}));
}

struct PlyDamage {
    const char* name;
    std::string content;
    const char* complaint;
};

class DamagedPly : public testing::TestWithParam<PlyDamage> {};

TEST_P(DamagedPly, IsRefusedWithItsReason) {
    const std::string complaint = Complaint(ReadPlyFile, GetParam().content, ".ply");
    EXPECT_NE(complaint.find(GetParam().complaint), std::string::npos) << complaint;
}

const std::string kLittleHeader = "ply\nformat binary_little_endian 1.0\n";

INSTANTIATE_TEST_SUITE_P(
    Everywhere, DamagedPly,
    testing::Values(
        PlyDamage{"magic", "plyx\nformat ascii 1.0\n", "not a PLY file"},
        PlyDamage{"version", "ply\nformat ascii 2.0\nend_header\n", "line 2: unknown PLY version '2.0'"},
        PlyDamage{"encoding", "ply\nformat morse 1.0\nend_header\n", "unknown encoding 'morse'"},
        PlyDamage{"noFormat", "ply\nelement vertex 1\nend_header\n", "without a 'format'"},
        PlyDamage{"noEnd", "ply\nformat ascii 1.0\nelement vertex 1\n", "line 3: the file ends within its header"},
        PlyDamage{"type", AsciiPly("element vertex 1\nproperty quad x\n", ""), "line 4: unknown type 'quad'"},
        PlyDamage{"count", AsciiPly("element vertex -1\n", ""), "'-1' is not a number of elements"},
        PlyDamage{"garbageInHeader", "ply\nformat ascii 1.0\n\x01\x7F\xFF\n", "unknown header line '?"},
        PlyDamage{"looseProperty", AsciiPly("property float x\n", ""), "without an element"},
        PlyDamage{"noVertices", AsciiPly("element face 0\nproperty list uchar int v\n", ""), "no vertices"},
        PlyDamage{"noHeight", AsciiPly("element vertex 0\nproperty float x\nproperty float y\n", ""), "lack x, y or z"},
        PlyDamage{"fractionalCount", AsciiPly("element face 1\nproperty list float int v\n", ""),
                  "cannot be a fraction"},
        PlyDamage{"word", AsciiPly("element vertex 1\n" + kXyz, "1 2 three\n"), "line 8: 'three' is not a number"},
        PlyDamage{"rowTooShort", AsciiPly("element vertex 2\n" + kXyz, "1 2 3\n4 5\n6\n"), "line 9: no value for 'z'"},
        PlyDamage{"rowTooLong", AsciiPly("element vertex 1\n" + kXyz, "1 2 3 4\n"), "line 8: more values"},
        PlyDamage{"rowsMissing", AsciiPly("element vertex 3\n" + kXyz, "10 20 30\n40 50 60\n"), "ends after line 9"},
        PlyDamage{"absurdAsciiCount", AsciiPly("element vertex 999999999999999\n" + kXyz, "1 2 3\n"),
                  "promises 999999999999999 points but holds at most 1"},
        PlyDamage{"absurdBinaryCount",
                  kLittleHeader + "element vertex 18446744073709551615\n" + kXyz + "end_header\n" +
                      std::string(48, 'a'),
                  "promises 18446744073709551615 points but holds 2"},
        PlyDamage{"listLongerThanFile",
                  kLittleHeader + "element face 1\nproperty list int double v\nend_header\n" + "\xFF\xFF\xFF\x7F",
                  "the list 'v'"},
        PlyDamage{"negativeList", kLittleHeader + "element face 1\nproperty list char double v\nend_header\n" + "\xFF",
                  "the list 'v'"},
        PlyDamage{"endlessLine", "ply\n" + std::string(5000, 'c'), "line 2: the line goes on"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(PlyFile, CutAnywhereInItsVertices_IsRefused) {
    const std::string binary = BuildBinaryPly(false, "double", 1);
    const std::size_t faceBytes = 5; // after the vertices, where nothing is missed any more
    for (std::size_t length = 0; length < binary.size() - faceBytes; ++length) {
        EXPECT_NE(Complaint(ReadPlyFile, binary.substr(0, length), ".ply"), "") << "cut to " << length;
    }
    // A text cut within its last number still is a number, so only cuts before that one can be told.
    const std::string ascii = AsciiPly("element vertex 2\n" + kXyz, "1 2 3\n4 5 678\n");
    for (std::size_t length = 0; length < ascii.size() - 4; ++length) {
        EXPECT_NE(Complaint(ReadPlyFile, ascii.substr(0, length), ".ply"), "") << "cut to " << length;
    }
}

TEST(PlyFile, RandomDamage_NeverDoesMoreThanRefuse) {
    EXPECT_GT(CountRefusedMutations(ReadPlyFile, BuildBinaryPly(true, "float", 1), ".ply"), 0);
    const std::string ascii =
        AsciiPly("element vertex 2\n" + kXyz + "property list uchar int v\n", "1 2 3 1 9\n4 5 6 0\n");
    EXPECT_GT(CountRefusedMutations(ReadPlyFile, ascii, ".ply"), 0);
}

// Rows run across the chunks in which a file is read.
TEST(PlyFile, FileOfManyChunks_KeepsEachPoint) {
    constexpr int kCount = 50000;
    FileBytes bytes;
    bytes.PutText(kLittleHeader + "element vertex " + std::to_string(kCount) + "\n" + kXyz + "end_header\n");
    for (int index = 0; index < kCount; ++index) {
        bytes.Put<double>(index).Put<double>(-index).Put<double>(index * 0.5);
    }
    const PointCloud cloud = ReadContent(bytes.Content());
    ASSERT_EQ(cloud.Count(), static_cast<std::size_t>(kCount));
    for (int index = 0; index < kCount; ++index) {
        ASSERT_EQ(cloud.positions[static_cast<std::size_t>(index)],
                  (Position{static_cast<double>(index), static_cast<double>(-index), index * 0.5}));
    }
}

// The "no data" of a float, and what a broken export writes: one of them made a map of 17 GB of ticks.
TEST(PlyFile, VertexBeyondAnyPlace_IsRefusedWithItsNumber) {
    const std::string complaint =
        Complaint(ReadPlyFile,
                  "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\n"
                  "property float z\nend_header\n1 2 3\nnan 1 1\n1 2 -3.4e38\n4 5 6\n",
                  ".ply");
    EXPECT_NE(complaint.find("vertex 3 has the coordinate -3.4e+38, beyond 1e+12"), std::string::npos) << complaint;
}

using Triangles = std::vector<std::array<std::uint32_t, 3>>;

std::optional<Mesh> ReadMesh(const std::string& content) {
    const TemporaryFile file(".ply", content);
    return ReadPlyMesh(file.Path());
}

// A mesh that is shown as its vertices is a handful of dots.
TEST(PlyMesh, FacesArriveFromEveryEncoding) {
    const std::string header = " 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
                               "property uchar red\nproperty uchar green\nproperty uchar blue\n"
                               "element face 2\nproperty list uchar int vertex_indices\nproperty uchar flag\n"
                               "end_header\n";
    const std::string ascii =
        "ply\nformat ascii" + header + "0 0 5 9 8 7\n1 0 5 0 0 0\n1 1 6 0 0 0\n0 1 5 0 0 0\n4 0 1 2 3 1\n3 2 1 0 0\n";
    for (const bool bigEndian : {false, true}) {
        FileBytes binary(bigEndian);
        binary.PutText(std::string("ply\nformat binary_") + (bigEndian ? "big" : "little") + "_endian" + header);
        for (const std::array<float, 3>& place :
             {std::array{0.0F, 0.0F, 5.0F}, {1.0F, 0.0F, 5.0F}, {1.0F, 1.0F, 6.0F}, {0.0F, 1.0F, 5.0F}}) {
            binary.Put(place[0]).Put(place[1]).Put(place[2]).PutText(place[1] + place[0] == 0.0F ? "\x09\x08\x07"
                                                                                                 : "xyz");
        }
        binary.Put<std::uint8_t>(4).Put(0).Put(1).Put(2).Put(3).Put<std::uint8_t>(1);
        binary.Put<std::uint8_t>(3).Put(2).Put(1).Put(0).Put<std::uint8_t>(0);
        for (const std::string& content : {ascii, binary.Content()}) {
            const std::optional<Mesh> mesh = ReadMesh(content);
            ASSERT_TRUE(mesh);
            EXPECT_EQ(mesh->triangles, (Triangles{{0, 1, 2}, {0, 2, 3}, {2, 1, 0}}));
            EXPECT_EQ(mesh->positions.at(2), (Position{1, 1, 6}));
            EXPECT_EQ(mesh->colors.at(0), (Rgb{9, 8, 7}));
            EXPECT_EQ(mesh->extent.high, (Position{1, 1, 6}));
        }
    }
    EXPECT_FALSE(ReadMesh("ply\nformat ascii 1.0\nelement vertex 0\nproperty int x\nproperty int y\n"
                          "property int z\nend_header\n"));
}

TEST(PlyMesh, FacesBeforeTheirVerticesAndWithoutAPlace) {
    const std::string content = "ply\nformat ascii 1.0\nelement face 2\nproperty list int int vertex_index\n"
                                "element vertex 4\nproperty float x\nproperty float y\nproperty float z\nend_header\n"
                                "3 0 1 2\n3 1 2 3\n0 0 1\n1 0 1\n0 1 1\nnan nan nan\n";
    const std::optional<Mesh> mesh = ReadMesh(content);
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->triangles, (Triangles{{0, 1, 2}}));
    EXPECT_EQ(FindNormals(*mesh).at(1), (Position{0, 0, 1}));

    std::string wrong = content;
    wrong.replace(wrong.find("3 1 2 3"), 7, "3 1 2 4");
    EXPECT_NE(Complaint(ReadPlyMesh, wrong, ".ply").find("face 2 names a vertex that there is not"), std::string::npos);
    wrong.replace(wrong.find("3 1 2 4"), 7, "9 1 2 3");
    EXPECT_NE(Complaint(ReadPlyMesh, wrong, ".ply").find("no value"), std::string::npos);
    EXPECT_GT(CountRefusedMutations(ReadPlyMesh, content, ".ply"), 0);
}

} // namespace
} // namespace OrrinViewer
