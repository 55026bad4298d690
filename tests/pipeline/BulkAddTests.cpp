#include "support/Picture.h"
#include "support/RecordedFixture.h"

#include <GL/glext.h>

#include <functional>
#include <vector>

namespace {

constexpr int kSide = 128;

/// Vertices of primitives that all show: their places and colours differ, and tell one vertex from another.
struct Vertices {
    explicit Vertices(int count) {
        for (int number = 0; number < count; ++number) {
            const int place = number / 6 * 7919 % (120 * 120);
            const int corner = number % 6;
            points.push_back({place % 120 + corner % 3 * 2 + 0.5, place / 120 + corner / 2 * 2 + 0.5, 0.0});
            colors.push_back({static_cast<unsigned char>(number), static_cast<unsigned char>(number >> 8),
                              static_cast<unsigned char>(55 + number % 200), 255});
        }
    }
    std::vector<PointXYZ> points;
    std::vector<GLRGBAColor> colors;
};

class BulkTest : public BothPipelinesTest {
protected:
    void Enable(GLShaderTypes shader = GLShaderLine) {
        View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
    }
    Picture FrameOf(const std::function<void()>& draw) {
        live->Clear();
        Enable();
        draw();
        View().DisableClientState();
        return TakePicture(View(), kSide, kSide);
    }
    void AddSingly(const Vertices& vertices, int first, int count) {
        for (int index = first; index < first + count; ++index) {
            const auto at = static_cast<std::size_t>(index);
            const PointXYZ& point = vertices.points[at];
            const GLRGBAColor& color = vertices.colors[at];
            View().AddIndex3DVertexRGBA(point.x, point.y, point.z, color.r, color.g, color.b, color.a);
        }
    }
    void AddInBulk(const Vertices& vertices, int first, int count) {
        EXPECT_EQ(View().AddVerticesRGBA(vertices.points.data() + first, vertices.colors.data() + first, nullptr,
                                         nullptr, static_cast<std::size_t>(count), 0.0, 0.0, 0.0),
                  S_OK);
    }
    void AddReserved(const Vertices& vertices, int first, int count) {
        while (count > 0) {
            const int piece = std::min(count, 3000);
            GLDrawGeometry* const records = View().ReserveRecords(piece);
            ASSERT_TRUE(records);
            for (int index = 0; index < piece; ++index) {
                const auto at = static_cast<std::size_t>(first + index);
                const PointXYZ& point = vertices.points[at];
                const GLRGBAColor& color = vertices.colors[at];
                records[index] = {static_cast<float>(point.x),
                                  static_cast<float>(point.y),
                                  0.0F,
                                  0.0F,
                                  0.0F,
                                  0.0F,
                                  0.0F,
                                  0.0F,
                                  color.r,
                                  color.g,
                                  color.b,
                                  color.a};
            }
            EXPECT_EQ(View().CommitRecords(piece), S_OK);
            first += piece;
            count -= piece;
        }
    }
    std::size_t Draws() {
        driver.StopJournal();
        return driver.Journal("glDrawArrays").size() + driver.Journal("glDrawElements").size();
    }
};

struct BulkCase {
    const char* name;
    unsigned mode;
    int count;
};

constexpr BulkCase kCases[] = {
    {"Points", GL_POINTS, 70'001},        {"Lines", GL_LINES, 70'000},        {"Triangles", GL_TRIANGLES, 69'999},
    {"LineStrip", GL_LINE_STRIP, 70'000}, {"LineLoop", GL_LINE_LOOP, 70'000}, {"Fan", GL_TRIANGLE_FAN, 500},
};

// The same vertices, in whichever way they are added, in whichever pieces.
TEST_P(BulkTest, VerticesShowAsThoseAddedOneByOne) {
    for (const BulkCase& tested : kCases) {
        const Vertices vertices(tested.count);
        const auto begin = [&] { View().BeginArrays(tested.mode, GLShaderLine); };
        const Picture single = FrameOf([&] {
            // Adds cut separate lines where they must not be cut: the reference has batches that are short enough.
            const int most = tested.mode == GL_LINES ? 30'000 : tested.count;
            for (int first = 0; first < tested.count; first += most) {
                begin();
                AddSingly(vertices, first, std::min(most, tested.count - first));
                View().EndArrays();
            }
        });
        EXPECT_GT(single.CountDrawn({0, 0, 0, 255}), 1'000) << tested.name;
        const Picture bulk = FrameOf([&] {
            begin();
            AddInBulk(vertices, 0, tested.count);
            View().EndArrays();
        });
        EXPECT_TRUE(bulk.pixels == single.pixels) << tested.name << " at once";
        for (const bool shared : {false, true}) {
            const Picture mixed = FrameOf([&] {
                View().SetSharedDraws(shared);
                begin();
                AddSingly(vertices, 0, 4);
                AddInBulk(vertices, 4, 100);
                AddSingly(vertices, 104, 3);
                AddInBulk(vertices, 107, tested.count - 112);
                AddSingly(vertices, tested.count - 5, 5);
                View().EndArrays();
                View().SetSharedDraws(false);
            });
            EXPECT_TRUE(mixed.pixels == single.pixels) << tested.name << " mixed, shared: " << shared;
        }
        if (tested.mode == GL_LINE_STRIP || tested.mode == GL_LINE_LOOP) {
            continue; // cut where they are full, and that is not at a reserved piece
        }
        const Picture reserved = FrameOf([&] {
            begin();
            AddReserved(vertices, 0, tested.count);
            View().EndArrays();
        });
        EXPECT_TRUE(reserved.pixels == single.pixels) << tested.name << " reserved";
    }
}

// A layer of many small features that come as arrays.
TEST_P(BulkTest, SmallBatchesShareDraws) {
    const Vertices vertices(60'000);
    const auto draw = [&](bool bulk) {
        for (int first = 0; first < 60'000; first += 600) {
            View().BeginArrays(GL_TRIANGLES, GLShaderLine);
            if (!bulk) {
                AddSingly(vertices, first, 600);
            } else if (first % 1200 == 0) {
                AddInBulk(vertices, first, 450);
                View().LineWidth(2.0F); // draws the batches before; this one goes on
                AddInBulk(vertices, first + 450, 150);
            } else {
                AddReserved(vertices, first, 300);
                AddSingly(vertices, first + 300, 300);
            }
            View().EndArrays();
        }
    };
    const Picture single = FrameOf([&] { draw(false); });
    driver.StartJournal();
    const Picture shared = FrameOf([&] {
        const SharedDraws scope(View());
        draw(true);
    });
    EXPECT_LE(Draws(), 60U);
    EXPECT_TRUE(shared.pixels == single.pixels);
    const Picture endedWithin = FrameOf([&] {
        View().BeginSharedDraws();
        draw(false);
        View().BeginArrays(GL_TRIANGLES, GLShaderLine);
        AddInBulk(vertices, 0, 300);
        View().EndSharedDraws();
        AddInBulk(vertices, 300, 300);
        View().EndArrays();
    });
    const Picture reference = FrameOf([&] {
        draw(false);
        View().BeginArrays(GL_TRIANGLES, GLShaderLine);
        AddSingly(vertices, 0, 600);
        View().EndArrays();
    });
    EXPECT_TRUE(endedWithin.pixels == reference.pixels);
}

// Places of a national grid, and what is left out.
TEST_P(BulkTest, FieldsAreThoseGiven) {
    const std::vector<PointXYZ> points = {{500'010.5, 4'500'020.25, 7.0}, {500'011.5, 4'500'021.75, 8.0}};
    const std::vector<PointXYZ> normals = {{0.0, 0.6, 0.8}, {1.0, 0.0, 0.0}};
    const std::vector<GLTexCoords> texture = {{0.25, 0.5}, {0.75, 1.0}};
    const std::vector<GLRGBAColor> colors = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    View().SetCurrentColor(10, 20, 30, 40, false);
    View().EnableClientStateInternalBuffers(true, true, true, true, GLShaderLine);
    View().BeginArrays(GL_LINES, GLShaderLine);
    const PointXYZ* p = points.data();
    EXPECT_EQ(View().AddVerticesRGBA(p, colors.data(), normals.data(), texture.data(), 2, 500'000, 4'500'000, 1), S_OK);
    EXPECT_EQ(View().AddVerticesOneColor(p, {9, 9, 9, 9}, normals.data(), nullptr, 2, 500'010, 4'500'020, 0), S_OK);
    EXPECT_EQ(View().AddVerticesCurrentColor(p, 200, nullptr, texture.data(), 2, 500'010, 4'500'020, 0), S_OK);
    EXPECT_EQ(View().AddVerticesRGBA(p, nullptr, nullptr, nullptr, 2, 500'010, 4'500'020, 0), S_OK);
    EXPECT_EQ(View().AddVerticesRGBA(nullptr, nullptr, nullptr, nullptr, 2, 0, 0, 0), E_INVALIDARG);
    EXPECT_EQ(View().AddVerticesRGBA(nullptr, nullptr, nullptr, nullptr, 0, 0, 0, 0), S_OK);
    EXPECT_EQ(View().GetBatchVertexCount(), 8);
    driver.StartJournal();
    View().EndArraysAndDisableClientState();
    driver.StopJournal();
    const auto draws = driver.Journal(GetParam() ? "glDrawArrays" : "glDrawElements");
    ASSERT_EQ(draws.size(), 1U);
    const auto field = [&](const char* fixed, const char* attribute) {
        const DriverArray* array = draws[0].Array(GetParam() ? attribute : fixed);
        return array ? array->values : std::vector<double>{};
    };
    using Values = std::vector<double>;
    EXPECT_EQ(field("vertex", "attribute0"),
              (Values{10.5, 20.25, 6.0, 11.5, 21.75, 7.0, 0.5, 0.25, 7.0, 1.5, 1.75, 8.0,
                      0.5,  0.25,  7.0, 1.5,  1.75,  8.0, 0.5, 0.25, 7.0, 1.5, 1.75, 8.0}));
    const double y = 0.6F;
    const double z = 0.8F;
    EXPECT_EQ(field("normal", "attribute1"),
              (Values{0, y, z, 1, 0, 0, 0, y, z, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(field("texcoord", "attribute2"), (Values{.25, .5, .75, 1, 0, 0, 0, 0, .25, .5, .75, 1, 0, 0, 0, 0}));
    EXPECT_EQ(field("color", "attribute3"),
              (Values{1,  2,  3,  4,   5,  6,  7,  8,   9,   9,   9,   9,   9,   9,   9,   9,
                      10, 20, 30, 200, 10, 20, 30, 200, 255, 255, 255, 255, 255, 255, 255, 255}));
}

// What goes wrong between ReserveRecords and CommitRecords adds nothing, and the batch goes on.
TEST_P(BulkTest, ReservationThatIsMisusedAddsNothing) {
    View().BeginArrays(GL_TRIANGLES, GLShaderLine);
    const auto reserve = [&] { ASSERT_TRUE(View().ReserveRecords(9)); };
    EXPECT_EQ(View().CommitRecords(1), E_INVALIDARG) << "nothing is reserved";
    reserve();
    EXPECT_EQ(View().CommitRecords(10), E_INVALIDARG);
    EXPECT_EQ(View().CommitRecords(9), E_INVALIDARG) << "it is gone";
    reserve();
    EXPECT_EQ(View().CommitRecords(-1), E_INVALIDARG);
    reserve();
    View().AddIndex2DVertexRGBA(1.0, 1.0, 255, 0, 0, 255);
    EXPECT_EQ(View().CommitRecords(9), E_INVALIDARG) << "an add came first";
    reserve();
    View().FlushArrays();
    EXPECT_EQ(View().CommitRecords(9), E_INVALIDARG) << "drawn since";
    reserve();
    View().BeginArrays(GL_TRIANGLES, GLShaderLine);
    EXPECT_EQ(View().CommitRecords(9), E_INVALIDARG) << "another batch";
    reserve();
    EXPECT_EQ(View().CommitRecords(0), S_OK);
    EXPECT_EQ(View().CommitRecords(9), E_INVALIDARG) << "given back";
    EXPECT_EQ(View().GetBatchVertexCount(), 0);
    for (const int count : {0, -5, kBatchCapacity + 1}) {
        EXPECT_FALSE(View().ReserveRecords(count));
    }
    const Vertices vertices(32'000);
    AddInBulk(vertices, 0, 31'999);
    EXPECT_FALSE(View().ReserveRecords(1'000)) << "it would cut the triangle that is begun";
    ASSERT_TRUE(View().ReserveRecords(2));
    EXPECT_EQ(View().CommitRecords(0), S_OK);
    View().BeginArrays(GL_LINE_STRIP, GLShaderLine);
    AddInBulk(vertices, 0, 32'000);
    EXPECT_FALSE(View().ReserveRecords(1'000)) << "it would cut the strip";
    View().DisableClientState();
}

INSTANTIATE_TEST_SUITE_P(Pipelines, BulkTest, testing::Bool(), PipelineName);

class BulkProgramsTest : public ProgramsTest {
protected:
    void Enable() { View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint); }
    long AddPoints(std::size_t count) {
        const std::vector<PointXYZ> points(count, PointXYZ{20.5, 20.5, 0.0});
        return View().AddVerticesOneColor(points.data(), {255, 0, 0, 255}, nullptr, nullptr, count, 0.0, 0.0, 0.0);
    }
};

// A driver without memory: the host is told, and draws as soon as there is some.
TEST_F(BulkProgramsTest, WithoutStorageNothingIsAdded) {
    View().DeleteAttributeBuffers();
    live->Clear();
    driver.FailCall("glMapBufferRange");
    Enable();
    View().BeginArrays(GL_POINTS, GLShaderPoint);
    EXPECT_EQ(AddPoints(70'000), E_OUTOFMEMORY);
    EXPECT_FALSE(View().ReserveRecords(10));
    EXPECT_EQ(View().GetBatchVertexCount(), 0);
    View().AddIndex2DVertexRGBA(20.5, 20.5, 255, 0, 0, 255);
    View().EndArraysAndDisableClientState();
    EXPECT_EQ(live->At(20, 20), kBlack);
    Enable();
    View().BeginArrays(GL_POINTS, GLShaderPoint);
    EXPECT_EQ(AddPoints(3), S_OK);
    View().EndArraysAndDisableClientState();
    EXPECT_EQ(live->At(20, 20), (Pixel{255, 0, 0, 255}));
}

// Records that only the ring has go with it; what the arrays hold in their place is an older batch's.
TEST_F(BulkProgramsTest, BatchWhoseRingIsGoneDrawsNothing) {
    live->Clear();
    Enable();
    for (const bool legacy : {false, true}) {
        View().BeginArrays(GL_POINTS, GLShaderPoint);
        View().AddIndex2DVertexRGBA(40.5, 40.5, 0, 255, 0, 255);
        View().BeginArrays(GL_POINTS, GLShaderPoint);
        EXPECT_EQ(AddPoints(3), S_OK);
        if (legacy) {
            View().MakeCurrent(View().GetContextRecord(GLContextMain).deviceContext,
                               View().GetContextRecord(GLContextMain).renderingContext, GLContextLegacy);
        } else {
            View().DeleteAttributeBuffers();
        }
        View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
        View().AddIndex2DVertexRGBA(60.5, 60.5, 0, 255, 0, 255);
        View().EndArrays();
    }
    EXPECT_EQ(live->CountDrawn(), 0);
    View().MakeCurrent(GLContextMain);
}

// Adds that name a record may come back to it, however many have been added since.
TEST_F(BulkProgramsTest, NamedRecordsMayChangeUntilTheyAreDrawn) {
    live->Clear();
    View().EnableClientStateInternalBuffers(true, true, true, false, GLShaderColorPassThrough);
    View().BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    for (int vertex = 0; vertex < 9'000; ++vertex) {
        View().AddIndex2DVertexRGBA(0.0, 0.0, 255, 0, 0, 255);
    }
    const PointXYZ normal{0.0, 0.0, 1.0};
    const GLRGBColor green{0, 255, 0};
    for (int record = 0; record < 9'000; record += 3) {
        const double x = record / 3 % 120;
        const double y = record / 360 * 4;
        const PointXYZ corners[] = {{x, y, 0.0}, {x + 1.5, y, 0.0}, {x, y + 4.0, 0.0}};
        View().AddIndex3DTriangleVertexNormalRGBA(&corners[0], &corners[1], &corners[2], &normal, &green, &green,
                                                  &green, 255, 0.0, 0.0, 0.0, 1.0, record);
    }
    View().EndArraysAndDisableClientState();
    EXPECT_EQ(live->At(5, 1), (Pixel{0, 255, 0, 255}));
    EXPECT_EQ(live->At(100, 61), (Pixel{0, 255, 0, 255}));
    EXPECT_GT(live->CountDrawn(), 8'000);
}

} // namespace
