#include "scene/SurfacePieces.h"
#include "support/Picture.h"

#include <glm/gtc/matrix_transform.hpp>

#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

namespace {

constexpr float kHole = std::numeric_limits<float>::quiet_NaN();

GLDrawGeometry RecordAt(double x, double y, double z) {
    GLDrawGeometry record{};
    record.x = static_cast<float>(x);
    record.y = static_cast<float>(y);
    record.z = static_cast<float>(z);
    record.a = 255;
    return record;
}

void ExpectNormal(const GLDrawGeometry& record, double x, double y, double z) {
    EXPECT_NEAR(record.nx, x, 1e-6);
    EXPECT_NEAR(record.ny, y, 1e-6);
    EXPECT_NEAR(record.nz, z, 1e-6);
}

TEST(SurfaceNormals, FaceNormalsFollowTheOrderOfTheCorners) {
    const std::vector<GLDrawGeometry> records = {RecordAt(0, 0, 0), RecordAt(1e-3, 0, 0), RecordAt(0, 1e-3, 0),
                                                 RecordAt(0, 0, 5e6), RecordAt(2, 0, 0)};
    const std::vector<unsigned int> indices = {0, 1, 2, 0, 2, 1, 0, 1, 3, 0, 1, 4, 3, 3};
    PointXYZ normals[4];
    ASSERT_EQ(MakeFaceNormals(records.data(), records.size(), indices.data(), indices.size(), normals), S_OK);
    const double expected[4][3] = {{0, 0, 1}, {0, 0, -1}, {0, -1, 0}, {0, 0, 0}};
    for (int face = 0; face < 4; ++face) {
        EXPECT_NEAR(normals[face].x, expected[face][0], 1e-12) << face;
        EXPECT_NEAR(normals[face].y, expected[face][1], 1e-12) << face;
        EXPECT_NEAR(normals[face].z, expected[face][2], 1e-12) << face;
    }
}

// The corner of a box has the same normal into however many triangles its three sides are cut.
TEST(SurfaceNormals, CutOfASideDoesNotTurnTheNormal) {
    std::vector<GLDrawGeometry> records = {RecordAt(0, 0, 0), RecordAt(1, 0, 0), RecordAt(0, 1, 0),
                                           RecordAt(0, 0, 1), RecordAt(1, 1, 0), RecordAt(9, 9, 9)};
    // The lower side is two triangles at the corner, the others one each; outwards is down and away.
    const std::vector<unsigned int> indices = {0, 2, 4, 0, 4, 1, 0, 1, 3, 0, 3, 2};
    ASSERT_EQ(MakeVertexNormals(records.data(), records.size(), indices.data(), indices.size()), S_OK);
    const double third = -std::sqrt(1.0 / 3.0);
    ExpectNormal(records[0], third, third, third);
    ExpectNormal(records[4], 0, 0, -1);
    ExpectNormal(records[5], 0, 0, 0);
    ASSERT_EQ(MakeVertexNormals(records.data(), 5, nullptr, 0), S_OK);
    ExpectNormal(records[2], 0, 0, 1);
    ExpectNormal(records[3], 0, 0, 0);
}

TEST(SurfaceNormals, BadIndicesWriteNothing) {
    std::vector<GLDrawGeometry> records(3);
    records[1].nx = 7.0F;
    const unsigned int indices[] = {0, 1, 3};
    PointXYZ normal{5.0, 5.0, 5.0};
    EXPECT_EQ(MakeVertexNormals(records.data(), records.size(), indices, 3), E_INVALIDARG);
    EXPECT_EQ(MakeFaceNormals(records.data(), records.size(), indices, 3, &normal), E_INVALIDARG);
    EXPECT_EQ(MakeFaceNormals(records.data(), records.size(), nullptr, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(MakeVertexNormals(nullptr, 3, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(MakeGridNormals(nullptr, 2, 2), E_INVALIDARG);
    EXPECT_EQ(records[1].nx, 7.0F);
    EXPECT_EQ(normal.x, 5.0);
}

/// z = x² + 2y on a grid of 4 × 3 with two holes; rows upwards or downwards.
std::vector<GLDrawGeometry> MakeSlope(bool upwards) {
    std::vector<GLDrawGeometry> grid;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) {
            const double y = upwards ? row : 2 - row;
            const bool hole = (column == 0 && y == 0) || (column == 2 && y == 2);
            grid.push_back(RecordAt(column, y, hole ? kHole : column * column + 2 * y));
        }
    }
    return grid;
}

TEST(SurfaceNormals, GridTakesSlopesFromTheNeighboursThatThereAre) {
    for (const bool upwards : {true, false}) {
        std::vector<GLDrawGeometry> grid = MakeSlope(upwards);
        ASSERT_EQ(MakeGridNormals(grid.data(), 4, 3), S_OK);
        const auto expectSlope = [&](int column, int y, double alongX, double alongY) {
            const double length = std::hypot(alongX, alongY, 1.0);
            const int row = upwards ? y : 2 - y;
            ExpectNormal(grid[static_cast<std::size_t>(row * 4 + column)], -alongX / length, -alongY / length,
                         1.0 / length);
        };
        expectSlope(1, 1, 2.0, 2.0); // both sides: (4 - 0) / 2
        expectSlope(1, 0, 3.0, 2.0); // a hole in the west: (4 - 1) / 1
        expectSlope(3, 2, 0.0, 2.0); // neither west nor east: level along the row
        expectSlope(0, 2, 1.0, 2.0); // a corner
        expectSlope(2, 1, 4.0, 2.0); // a hole in the north
        expectSlope(0, 0, 0.0, 0.0); // the hole itself
    }
    std::vector<GLDrawGeometry> column = {RecordAt(0, 0, 0), RecordAt(0, 1, 1), RecordAt(0, 2, 2)};
    ASSERT_EQ(MakeGridNormals(column.data(), 1, 3), S_OK);
    ExpectNormal(column[1], 0.0, -std::sqrt(0.5), std::sqrt(0.5));
    ASSERT_EQ(MakeGridNormals(column.data(), 1, 1), S_OK);
    ExpectNormal(column[0], 0.0, 0.0, 1.0);
}

TEST(SurfaceNormals, GridTrianglesLeaveHolesAndFaceUpwards) {
    for (const bool upwards : {true, false}) {
        const std::vector<GLDrawGeometry> grid = MakeSlope(upwards);
        // Of six cells two have all corners; one loses a corner to the first hole, two to the second, and one is whole.
        const std::size_t count = MakeGridTriangles(grid.data(), 4, 3, nullptr);
        ASSERT_EQ(count, 3U * (3 * 2 + 3));
        std::vector<unsigned int> indices(count);
        ASSERT_EQ(MakeGridTriangles(grid.data(), 4, 3, indices.data()), count);
        double area = 0.0;
        for (std::size_t first = 0; first < count; first += 3) {
            const auto& a = grid[indices[first]];
            const auto& b = grid[indices[first + 1]];
            const auto& c = grid[indices[first + 2]];
            const double twice = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
            EXPECT_GT(twice, 0.0) << first;
            area += twice / 2.0;
        }
        EXPECT_NEAR(area, 6.0 - 3 * 0.5, 1e-6);
    }
    EXPECT_EQ(MakeGridTriangles(nullptr, 4, 3, nullptr), 0U);
}

/// The primitives of a piece, cut down until each part has fewer than eight.
void Collect(const SurfacePiece& piece, std::vector<std::array<std::size_t, 3>>& primitives) {
    const std::size_t count = PrimitivesOf(piece);
    if (count >= 8) {
        const auto [front, back] = Cut(piece);
        ASSERT_LT(PrimitivesOf(front), count);
        ASSERT_LT(PrimitivesOf(back), count);
        Collect(front, primitives);
        Collect(back, primitives);
        return;
    }
    for (std::size_t primitive = 0; primitive < count; ++primitive) {
        std::array<std::size_t, 3> elements{};
        ElementsOf(piece, primitive, elements.data());
        primitives.push_back(elements);
    }
}

// A cut must neither lose nor repeat nor turn around a primitive.
TEST(SurfacePieces, CutPiecesHaveThePrimitivesOfTheWhole) {
    for (const unsigned int mode :
         {GL_POINTS, GL_LINES, GL_LINE_LOOP, GL_LINE_STRIP, GL_TRIANGLES, GL_TRIANGLE_STRIP, GL_TRIANGLE_FAN}) {
        for (const std::size_t count : {0U, 1U, 2U, 3U, 5U, 20U, 101U, 1000U}) {
            const SurfacePiece whole = WholePiece(mode, count);
            std::vector<std::array<std::size_t, 3>> expected;
            const std::size_t corners = ElementsPerPrimitive(mode);
            const std::size_t step = mode == GL_LINES || mode == GL_TRIANGLES ? corners : 1;
            const std::size_t loopEnd = mode == GL_LINE_LOOP && count > 1 ? 1 : 0;
            for (std::size_t first = 0; first + corners <= count + loopEnd; first += step) {
                std::array<std::size_t, 3> elements{};
                for (std::size_t corner = 0; corner < corners; ++corner) {
                    elements[corner] = (first + corner) % count;
                }
                if (mode == GL_TRIANGLE_STRIP && first % 2 != 0) {
                    std::swap(elements[0], elements[1]);
                } else if (mode == GL_TRIANGLE_FAN) {
                    elements[0] = 0;
                }
                expected.push_back(elements);
            }
            std::vector<std::array<std::size_t, 3>> primitives;
            Collect(whole, primitives);
            EXPECT_EQ(primitives, expected) << mode << ' ' << count;
        }
    }
}

constexpr int kSide = 128;

Picture DrawOn(bool programs, const std::function<void(LiveView&)>& draw) {
    ForgetFirstView();
    const std::unique_ptr<COpenGLView> first = programs ? ChoosePrograms() : nullptr;
    LiveView live(kSide, kSide);
    live.Clear();
    draw(live);
    EXPECT_EQ(live->GetError(), 0U);
    return TakePicture(*live.view, kSide, kSide);
}

GLDrawGeometry PixelRecord(int x, int y, unsigned char red) {
    GLDrawGeometry record = RecordAt(x + 0.5, y + 0.5, 0.0);
    record.r = red;
    record.g = static_cast<unsigned char>(x * 2);
    record.b = static_cast<unsigned char>(y * 2);
    return record;
}

class Surface : public FreshProcessTest, public testing::WithParamInterface<bool> {
protected:
    static bool UsesPrograms() { return GetParam(); }
};

// More records than one draw takes, chosen by indices that jump all over them: every pixel must come from the last
// point that was put there.
TEST_P(Surface, AnyNumberOfRecordsIsDrawnWhateverTheIndices) {
    constexpr std::size_t count = 600'000;
    constexpr std::size_t pixels = kSide * kSide;
    std::vector<GLDrawGeometry> records;
    records.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
        const auto pixel = static_cast<int>(index % pixels);
        records.push_back(PixelRecord(pixel % kSide, pixel / kSide, index + pixels >= count ? 200 : 10));
    }
    std::vector<unsigned int> shuffled(count);
    for (std::size_t index = 0; index < count; ++index) {
        // 7919 has no factor in common with the count; the newest records come last.
        const std::size_t older = count - pixels;
        shuffled[index] = static_cast<unsigned int>(index < older ? index * 7919 % older : index);
    }
    const auto expectAll = [](const Picture& picture, const char* how) {
        for (int y = 0; y < kSide; ++y) {
            for (int x = 0; x < kSide; ++x) {
                ASSERT_EQ(picture.At(x, y),
                          (Pixel{200, static_cast<unsigned char>(x * 2), static_cast<unsigned char>(y * 2), 255}))
                    << how << ' ' << x << ' ' << y;
            }
        }
    };
    expectAll(DrawOn(UsesPrograms(),
                     [&](LiveView& live) {
                         EXPECT_EQ(live->DrawGeometry3D(GL_POINTS, GLShaderPoint, records.data(), count, nullptr, 0),
                                   S_OK);
                     }),
              "in their order");
    expectAll(DrawOn(UsesPrograms(),
                     [&](LiveView& live) {
                         EXPECT_EQ(live->DrawGeometry3D(GL_POINTS, GLShaderPoint, records.data(), count,
                                                        shuffled.data(), count),
                                   S_OK);
                     }),
              "by indices");
}

// A fan, a strip and a loop of more elements than one draw takes, against the same shapes of few elements.
TEST_P(Surface, LongChainsAreDrawnAsShortOnes) {
    const auto circle = [](std::size_t corners, double radius) {
        std::vector<GLDrawGeometry> records;
        for (std::size_t corner = 0; corner < corners; ++corner) {
            const double turn = 6.283185307179586 * static_cast<double>(corner) / static_cast<double>(corners);
            records.push_back(RecordAt(64.0 + radius * std::cos(turn), 64.0 + radius * std::sin(turn), 0.0));
            records.back().g = 255;
        }
        return records;
    };
    const auto draw = [&](std::size_t corners) {
        return DrawOn(UsesPrograms(), [&](LiveView& live) {
            std::vector<GLDrawGeometry> fan = circle(corners, 40.0);
            fan.insert(fan.begin(), RecordAt(64.0, 64.0, 0.0));
            fan.push_back(fan[1]);
            EXPECT_EQ(
                live->DrawGeometry3D(GL_TRIANGLE_FAN, GLShaderColorPassThrough, fan.data(), fan.size(), nullptr, 0),
                S_OK);
            const std::vector<GLDrawGeometry> loop = circle(corners, 60.0);
            EXPECT_EQ(live->DrawGeometry3D(GL_LINE_LOOP, GLShaderLine, loop.data(), loop.size(), nullptr, 0), S_OK);
            std::vector<GLDrawGeometry> strip;
            for (std::size_t corner = 0; corner < corners; ++corner) {
                strip.push_back(RecordAt(8.0 + 100.0 * static_cast<double>(corner) / static_cast<double>(corners),
                                         corner % 2 == 0 ? 2.0 : 10.0, 0.0));
                strip.back().r = 255;
            }
            EXPECT_EQ(live->DrawGeometry3D(GL_TRIANGLE_STRIP, GLShaderColorPassThrough, strip.data(), strip.size(),
                                           nullptr, 0),
                      S_OK);
        });
    };
    const Picture few = draw(720);
    const Picture many = draw(300'000);
    ASSERT_GT(few.CountDrawn(), 5'000);
    const PictureDifference difference = Compare(few, many, 40);
    EXPECT_LE(difference.otherPixels, 200);
    EXPECT_EQ(difference.strayPixels, 0);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, Surface, testing::Bool(), PipelineName);

using Surfaces = FreshProcessTest;

/// A roof whose western side has no normals, the eastern wrong ones on purpose: straight up.
std::vector<GLDrawGeometry> MakeRoof() {
    std::vector<GLDrawGeometry> roof = {RecordAt(10, 10, 0),   RecordAt(60, 10, 40), RecordAt(60, 110, 40),
                                        RecordAt(10, 110, 0),  RecordAt(60, 10, 40), RecordAt(110, 10, 0),
                                        RecordAt(110, 110, 0), RecordAt(60, 110, 40)};
    for (std::size_t corner = 0; corner < roof.size(); ++corner) {
        roof[corner].r = 200;
        roof[corner].g = 100;
        roof[corner].nz = corner < 4 ? 0.0F : 1.0F;
    }
    return roof;
}

// Both pipelines light a surface that nobody set up lighting for, and find normals where there are none.
TEST_F(Surfaces, LitOnesLookAlikeOnBothPipelines) {
    const std::vector<GLDrawGeometry> roof = MakeRoof();
    const unsigned int indices[] = {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7};
    const auto draw = [&](LiveView& live) {
        live->MatrixMode(GL_PROJECTION);
        live->Ortho(0.0, kSide, 0.0, kSide, -100.0, 100.0);
        live->SetSun(270.0, 30.0);
        live->DrawGeometry3D(GL_TRIANGLES, GLShaderShadedColor3Stage, roof.data(), roof.size(), indices, 12);
        EXPECT_EQ(live->IsOpenGLStateEnabled(GL_LIGHTING), 0);
    };
    const Picture fixedFunctions = DrawOn(false, draw);
    const Picture programs = DrawOn(true, draw);
    EXPECT_GT(programs.CountDrawn(), 9'000);
    EXPECT_EQ(Compare(fixedFunctions, programs, 1).otherPixels, 0);
    // Normal (-40, 0, 50), light (-cos 30°, 0, sin 30°): |n · l| = 0.931; the other side has sin 30°.
    const Pixel west = programs.At(30, 60);
    EXPECT_NEAR(west.r, 200 * (0.2 + 0.8 * 0.9315), 1.0);
    EXPECT_NEAR(programs.At(90, 60).g, 100 * (0.2 + 0.8 * 0.5), 1.0);
}

// A texture under the light; the colours of the records do not count.
TEST_F(Surfaces, LitTextureLooksAlikeOnBothPipelines) {
    std::vector<GLDrawGeometry> quad = {RecordAt(10, 10, 0), RecordAt(110, 10, 0), RecordAt(110, 110, 0),
                                        RecordAt(10, 110, 0)};
    const float corners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (std::size_t corner = 0; corner < quad.size(); ++corner) {
        quad[corner].s = corners[corner][0];
        quad[corner].t = corners[corner][1];
        quad[corner].ny = 0.6F;
        quad[corner].nz = 0.8F;
    }
    const auto draw = [&](LiveView& live) {
        std::vector<Pixel> texels(64, Pixel{200, 100, 50, 255});
        texels[9] = {0, 250, 20, 255};
        unsigned int texture = 0;
        unsigned int sampler = 0;
        ASSERT_EQ(live->LoadGLImage(GL_TEXTURE0, GL_RGBA, 8, 8, 1, GL_NEAREST, texels.data(), texture, sampler), S_OK);
        live->DrawSetupSetShaderTexture(texture, sampler);
        EXPECT_EQ(live->DrawGeometry3D(GL_TRIANGLE_FAN, GLShaderShadedTexture, quad.data(), quad.size(), nullptr, 0),
                  S_OK);
        live->DeleteTextureAndSamplerNames(texture, sampler);
    };
    const Picture fixedFunctions = DrawOn(false, draw);
    const Picture programs = DrawOn(true, draw);
    EXPECT_EQ(Compare(fixedFunctions, programs, 1).otherPixels, 0);
    EXPECT_NEAR(programs.At(60, 60).r, 200 * (0.2 + 0.8 * 0.8), 1.0);
    EXPECT_NEAR(programs.At(28, 28).g, 250 * (0.2 + 0.8 * 0.8), 1.0);
}

TEST_P(Surface, WhatCannotBeDrawnIsRefused) {
    const std::unique_ptr<COpenGLView> first = UsesPrograms() ? ChoosePrograms() : nullptr;
    LiveView live;
    live.Clear();
    const std::vector<GLDrawGeometry> records(6, PixelRecord(5, 5, 255));
    const unsigned int beyond[] = {0, 1, 6, 7};
    const auto draw = [&](unsigned int mode, GLShaderTypes shader, const GLDrawGeometry* geometry,
                          const unsigned int* indices, unsigned __int64 count) {
        return live->DrawGeometry3D(mode, shader, geometry, records.size(), indices, count);
    };
    EXPECT_EQ(draw(GL_POINTS, GLShaderPoint, records.data(), beyond, 3), E_INVALIDARG);
    EXPECT_EQ(draw(GL_POINTS, GLShaderPoint, nullptr, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(draw(GL_QUADS, GLShaderColorPassThrough, records.data(), nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(draw(GL_POINTS, GLShaderText, records.data(), nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(draw(GL_POINTS, GLShaderUnknown, records.data(), nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(draw(GL_LINES, GLShaderShadedColor3Stage, records.data(), nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(draw(GL_TRIANGLES, GLShaderLineStipple, records.data(), nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(live.CountDrawn(), 0);
    // The bad index belongs to a triangle that is not whole.
    EXPECT_EQ(draw(GL_TRIANGLES, GLShaderColorPassThrough, records.data(), beyond, 2), S_OK);
    EXPECT_EQ(draw(GL_POINTS, GLShaderPoint, nullptr, beyond, 0), S_OK);
    EXPECT_EQ(live->GetError(), 0U);
    live->MakeNull();
    EXPECT_EQ(draw(GL_POINTS, GLShaderPoint, records.data(), nullptr, 0), E_FAIL);
    live->MakeCurrent(GLContextMain);
}

} // namespace
