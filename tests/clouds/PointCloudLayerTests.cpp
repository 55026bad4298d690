#include "CloudReaders.h"
#include "support/Picture.h"
#include "support/RecordedFixture.h"

#include <clouds/PointCloudLayer.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>
#include <stdexcept>

namespace {

constexpr int kSide = 128;

/// A point for each of so many pixels, several for most: in the middle of a pixel, and no two at one depth.
std::vector<PointCloudPoint> ManyPoints(int count) {
    CloudNumbers numbers;
    std::vector<PointCloudPoint> points;
    for (int index = 0; index < count; ++index) {
        PointCloudPoint point;
        point.position = {numbers.Below(kSide) + 0.5, numbers.Below(kSide) + 0.5, 0.9 - 1.8 * index / count};
        point.red = static_cast<unsigned short>(numbers.Below(256) << 8);
        point.green = static_cast<unsigned short>(numbers.Below(256) << 8);
        point.blue = 0xFF00;
        points.push_back(point);
    }
    // Depths in no order.
    for (std::size_t left = points.size(); left > 1; --left) {
        std::swap(points[left - 1].position.z,
                  points[static_cast<std::size_t>(numbers.Below(static_cast<int>(left)))].position.z);
    }
    return points;
}

void DrawAtOnce(COpenGLView& view, const std::vector<PointCloudPoint>& points, float pointSize,
                const PointXYZ& origin = {}) {
    view.PointSize(pointSize);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
    view.BeginArrays(GL_POINTS, GLShaderPoint);
    for (const PointCloudPoint& point : points) {
        const PointXYZ& position = point.position;
        view.AddIndex3DVertexRGBA(position.x - origin.x, position.y - origin.y, position.z - origin.z,
                                  static_cast<unsigned char>(point.red >> 8),
                                  static_cast<unsigned char>(point.green >> 8),
                                  static_cast<unsigned char>(point.blue >> 8), 255);
    }
    view.EndArraysAndDisableClientState();
}

class Clouds : public BothPipelinesTest {
protected:
    Clouds() { View().Enable(GL_DEPTH_TEST); }

    std::unique_ptr<CPointCloudLayer> Open(std::vector<PointCloudPoint> points, const PointCloudLimits& limits) {
        auto layer = std::make_unique<CPointCloudLayer>(std::make_unique<ListReader>(std::move(points)), limits);
        EXPECT_TRUE(Await([&] { return !layer->GetState().reading; }));
        return layer;
    }
    /// Draws and refines until all is there.
    Picture Complete(CPointCloudLayer& layer, const PointCloudDrawing& drawing) {
        PointCloudFrame frame;
        frame.outdated = true;
        unsigned long long drawn = 0;
        const bool isComplete = Await([&] {
            if (frame.outdated) {
                live->Clear();
                drawn = 0;
                frame = layer.Draw(View(), drawing);
            } else {
                frame = layer.Refine(View());
            }
            drawn += frame.drawn;
            EXPECT_EQ(frame.result, S_OK);
            EXPECT_TRUE(drawing.mostPoints == 0 || frame.drawn <= drawing.mostPoints);
            EXPECT_TRUE(frame.outdated || frame.shown == drawn);
            return frame.complete;
        });
        EXPECT_TRUE(isComplete);
        EXPECT_EQ(drawn, frame.inView) << "each point once";
        return TakePicture(View(), kSide, kSide);
    }
    Picture AtOnce(const std::vector<PointCloudPoint>& points, double pointSize, const PointXYZ& origin = {}) {
        live->Clear();
        DrawAtOnce(View(), points, static_cast<float>(pointSize), origin);
        return TakePicture(View(), kSide, kSide);
    }
};

struct Budgets {
    const char* name;
    unsigned long long points;
    double milliseconds;
    unsigned long long cardBytes;
    unsigned long long memoryBytes;
};

// Whatever way the points took, from the card, from memory or through the file, and in however many frames.
TEST_P(Clouds, CompleteFrameIsThatOfAllPointsAtOnce) {
    const std::vector<PointCloudPoint> points = ManyPoints(60'000);
    constexpr unsigned long long kAll = 1ULL << 30;
    for (const Budgets& tested :
         {Budgets{"in one frame", 0, 0.0, kAll, kAll}, Budgets{"in many frames", 7'000, 0.0, kAll, kAll},
          Budgets{"by time", 0, 2.0, kAll, kAll}, Budgets{"without the card", 20'000, 0.0, 0, kAll},
          Budgets{"through the file", 20'000, 0.0, 500'000, 1'000'000},
          Budgets{"through the file only", 0, 0.0, 0, 1'000'000}}) {
        PointCloudLimits limits;
        limits.cardBytes = tested.cardBytes;
        limits.memoryBytes = tested.memoryBytes;
        limits.pointsInOrder = 0;
        limits.chunkPoints = 5'000;
        PointCloudDrawing drawing;
        drawing.mostPoints = tested.points;
        drawing.mostMilliseconds = tested.milliseconds;
        drawing.pointSizePixels = 3.0;
        const auto layer = Open(points, limits);
        const Picture atOnce = AtOnce(points, 3.0);
        EXPECT_TRUE(Complete(*layer, drawing).pixels == atOnce.pixels) << tested.name;
        const PointCloudState state = layer->GetState();
        EXPECT_EQ(state.pointsRead, points.size()) << tested.name;
        EXPECT_LE(state.cardBytes, tested.cardBytes) << tested.name;
        EXPECT_LE(state.memoryBytes, tested.memoryBytes) << tested.name;
        EXPECT_EQ(state.fileBytes > 0, tested.memoryBytes < kAll) << tested.name;
        // Again, from what is kept now.
        EXPECT_TRUE(Complete(*layer, drawing).pixels == atOnce.pixels) << tested.name;
    }
}

TEST_P(Clouds, ViewOfAPartDrawsThatPart) {
    const std::vector<PointCloudPoint> points = ManyPoints(40'000);
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    limits.chunkPoints = 1'000;
    const auto layer = Open(points, limits);
    View().MatrixMode(GL_PROJECTION);
    View().Ortho(32.0, 48.0, 64.0, 80.0, -1.0, 1.0);
    const Picture atOnce = AtOnce(points, 2.0);
    PointCloudDrawing drawing;
    drawing.pointSizePixels = 2.0;
    EXPECT_TRUE(Complete(*layer, drawing).pixels == atOnce.pixels);
    const PointCloudFrame frame = layer->Draw(View(), drawing);
    EXPECT_GE(frame.inView, 40'000U / 64U);
    EXPECT_LE(frame.inView, 40'000U / 4U) << "chunks beside the view are left out";

    View().MatrixMode(GL_PROJECTION);
    View().Perspective(60.0, 1.0, 1.0, 500.0);
    View().MatrixMode(GL_MODELVIEW);
    View().LookAt(20.5, 20.5, 40.0, 60.5, 60.5, 0.0, 0.0, 0.0, 1.0);
    const PictureDifference difference = Compare(AtOnce(points, 1.0), Complete(*layer, {}), 0);
    EXPECT_LE(difference.otherPixels, kSide) << "points that a rounding takes over a pixel's edge";
    EXPECT_LE(difference.strayPixels, 4) << "and what they uncover there";
}

// Of points at one depth the first one shows, as if the host had drawn them; also far from the origin.
TEST_P(Clouds, SmallCloudIsDrawnInTheReadersOrder) {
    CloudNumbers numbers;
    const PointXYZ origin{500'000.0, 4'500'000.0, 0.0};
    std::vector<PointCloudPoint> points;
    for (int index = 0; index < 20'000; ++index) {
        PointCloudPoint point;
        point.position = {origin.x + numbers.Between(0.0, kSide), origin.y + numbers.Between(0.0, kSide), 0.0};
        point.red = static_cast<unsigned short>(numbers.Below(65'536));
        point.blue = 0xFFFF;
        points.push_back(point);
    }
    PointCloudLimits limits;
    limits.chunkPoints = 3'000;
    const auto layer = Open(points, limits);
    PointCloudDrawing drawing;
    drawing.origin = origin;
    drawing.pointSizePixels = 4.0;
    const Picture atOnce = AtOnce(points, 4.0, origin);
    EXPECT_TRUE(Complete(*layer, drawing).pixels == atOnce.pixels);

    // The same by the view's own offsets.
    View().SetCurrentCoordinateOffsets(origin.x, origin.y);
    drawing.origin = {};
    EXPECT_TRUE(Complete(*layer, drawing).pixels == atOnce.pixels);
    View().SetCurrentCoordinateOffsets(0.0, 0.0);
}

TEST_P(Clouds, FirstFrameOfManyPointsShowsAllPartsAlike) {
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    limits.chunkPoints = 10'000;
    const auto layer = Open(ManyPoints(60'000), limits);
    PointCloudDrawing drawing;
    drawing.mostPoints = 4'000;
    drawing.mostPointSizePixels = 1.0;
    ASSERT_TRUE(Await([&] {
        live->Clear();
        return layer->Draw(View(), drawing).inView == 60'000U;
    }));
    const Picture picture = TakePicture(View(), kSide, kSide);
    for (int part = 0; part < 16; ++part) {
        int drawn = 0;
        for (int pixel = 0; pixel < 32 * 32; ++pixel) {
            drawn += picture.At(part % 4 * 32 + pixel % 32, part / 4 * 32 + pixel / 32) != kBlack ? 1 : 0;
        }
        EXPECT_GE(drawn, 160) << part << ": of 226 that lie apart on average";
        EXPECT_LE(drawn, 290) << part;
    }
}

TEST_P(Clouds, PointsAreLargerWhileTheyAreFewAndTheCameraMoves) {
    const std::vector<PointCloudPoint> points = ManyPoints(30'000);
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    limits.chunkPoints = 5'000;
    const auto layer = Open(points, limits);
    PointCloudDrawing drawing;
    drawing.mostPoints = 1'500;
    PointCloudFrame frame;
    double left = 0.0;
    ASSERT_TRUE(Await([&] {
        live->Clear();
        View().MatrixMode(GL_PROJECTION);
        View().Ortho(left -= 0.25, kSide, 0.0, kSide, -1.0, 1.0); // the camera moves
        frame = layer->Draw(View(), drawing);
        return frame.inView == points.size();
    }));
    EXPECT_NEAR(frame.spacingPixels, std::sqrt(kSide * kSide / 1'500.0), 0.3);
    EXPECT_GT(TakePicture(View(), kSide, kSide).CountDrawn(), kSide * kSide / 2);
    EXPECT_FALSE(frame.complete);
    EXPECT_EQ(View().GetContextRecord(GLContextMain).attributes.pointSize, 1.0F);

    // Now it stands still: further points cannot come on top of large ones.
    EXPECT_TRUE(layer->Refine(View()).outdated);
    live->Clear();
    frame = layer->Draw(View(), drawing);
    EXPECT_LE(TakePicture(View(), kSide, kSide).CountDrawn(), 1'500);
    frame = layer->Refine(View());
    EXPECT_FALSE(frame.outdated);
    EXPECT_EQ(frame.shown, 3'000U);
    live->DrawInPixels();
    const Picture atOnce = AtOnce(points, 1.0);
    EXPECT_TRUE(Complete(*layer, drawing).pixels == atOnce.pixels);
}

TEST_P(Clouds, FrameOfAnotherCameraOrColouringIsNotRefined) {
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    limits.chunkPoints = 1'000;
    const auto layer = Open(ManyPoints(20'000), limits);
    PointCloudDrawing drawing;
    drawing.mostPoints = 2'000;
    drawing.mostPointSizePixels = 1.0;
    EXPECT_TRUE(layer->Refine(View()).outdated) << "nothing was begun";
    ASSERT_TRUE(Await([&] { return layer->Draw(View(), drawing).drawn > 0; }));
    EXPECT_FALSE(layer->Refine(View()).outdated);
    View().MatrixMode(GL_MODELVIEW);
    View().Translate(1.0, 0.0, 0.0);
    EXPECT_TRUE(layer->Refine(View()).outdated);
    View().Translate(-1.0, 0.0, 0.0);
    EXPECT_FALSE(layer->Refine(View()).outdated) << "the camera is back";
    View().SetUpViewport(0, 0, 64, 64);
    EXPECT_TRUE(layer->Refine(View()).outdated);
    View().SetUpViewport(0, 0, kSide, kSide);

    layer->SetColoring([](const PointCloudRecord*, std::size_t count, const PointXYZ&, GLRGBAColor* colors) {
        std::fill_n(colors, count, GLRGBAColor{9, 8, 7, 255});
    });
    EXPECT_TRUE(layer->Refine(View()).outdated);
    const Picture picture = Complete(*layer, drawing);
    EXPECT_EQ(static_cast<std::size_t>(picture.CountDrawn()),
              static_cast<std::size_t>(std::count(picture.pixels.begin(), picture.pixels.end(), Pixel{9, 8, 7, 255})));
    layer->SetColoring([](const PointCloudRecord*, std::size_t, const PointXYZ&, GLRGBAColor*) {
        throw std::runtime_error("no colours");
    });
    EXPECT_EQ(layer->Draw(View(), drawing).result, E_UNEXPECTED);
}

// Whether they come from the card, in parts or as a whole, or from memory: neither colours nor depths.
TEST_P(Clouds, PointsOfAlphaZeroAreLeftOut) {
    const std::vector<PointCloudPoint> points = ManyPoints(30'000);
    std::vector<PointCloudPoint> shown;
    std::copy_if(points.begin(), points.end(), std::back_inserter(shown),
                 [](const PointCloudPoint& point) { return point.red < 0x4000; });
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    limits.chunkPoints = 1'000;
    const Picture expected = AtOnce(shown, 3.0);
    const auto depthsOf = [this] {
        std::vector<float> depths(static_cast<std::size_t>(kSide) * kSide);
        View().ReadPixels(0, 0, kSide, kSide, GL_DEPTH_COMPONENT, GL_FLOAT, depths.data());
        return depths;
    };
    const std::vector<float> expectedDepths = depthsOf();
    // Chunks round to their own origins.
    const auto differ = [&] {
        const std::vector<float> depths = depthsOf();
        return !std::equal(depths.begin(), depths.end(), expectedDepths.begin(),
                           [](float one, float other) { return std::abs(one - other) < 1e-5F; });
    };
    for (const unsigned long long cardBytes : {0ULL, 1ULL << 30}) {
        limits.cardBytes = cardBytes;
        const auto layer = Open(points, limits);
        layer->SetColoring(
            [](const PointCloudRecord* records, std::size_t count, const PointXYZ&, GLRGBAColor* colors) {
                std::transform(records, records + count, colors, [](const PointCloudRecord& record) {
                    const auto upper = [](unsigned short channel) { return static_cast<unsigned char>(channel >> 8); };
                    return GLRGBAColor{upper(record.red), upper(record.green), upper(record.blue),
                                       static_cast<unsigned char>(record.red < 0x4000 ? 255 : 0)};
                });
            });
        PointCloudDrawing drawing;
        drawing.pointSizePixels = 3.0;
        for (const unsigned long long budget : {7'000ULL, 0ULL}) {
            drawing.mostPoints = budget;
            EXPECT_TRUE(Complete(*layer, drawing).pixels == expected.pixels) << cardBytes << " " << budget;
            EXPECT_FALSE(differ()) << cardBytes << " " << budget;
        }
        EXPECT_EQ(layer->GetState().cardBytes, cardBytes == 0 ? 0 : shown.size() * 36U);
        layer->SetColoring([](const PointCloudRecord*, std::size_t count, const PointXYZ&, GLRGBAColor* colors) {
            std::fill_n(colors, count, GLRGBAColor{9, 8, 7, 0});
        });
        EXPECT_EQ(Complete(*layer, drawing).CountDrawn(), 0);
    }
}

TEST_P(Clouds, TwoViewsShowTheirOwnParts) {
    const std::vector<PointCloudPoint> points = ManyPoints(20'000);
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    limits.chunkPoints = 2'000;
    PointCloudDrawing drawing;
    drawing.mostPoints = 1'000;
    drawing.mostPointSizePixels = 1.0;
    const auto layer = Open(points, limits);
    LiveView other;
    ASSERT_EQ(other.created, 1);
    other->Enable(GL_DEPTH_TEST);
    other->MatrixMode(GL_PROJECTION);
    other->Ortho(0.0, kSide / 2, 0.0, kSide / 2, -1.0, 1.0);
    other.Clear();
    DrawAtOnce(*other.view, points, 1.0F);
    const Picture ofOther = TakePicture(*other.view, kSide, kSide);
    View().MakeCurrent(GLContextMain);
    const Picture ofFirst = AtOnce(points, 1.0);
    live->Clear();
    other->MakeCurrent(GLContextMain);
    other.Clear();
    layer->Draw(*other.view, drawing);
    View().MakeCurrent(GLContextMain);
    layer->Draw(View(), drawing);
    EXPECT_TRUE(Await([&] {
        other->MakeCurrent(GLContextMain);
        const bool isOtherComplete = layer->Refine(*other.view).complete;
        View().MakeCurrent(GLContextMain);
        return layer->Refine(View()).complete && isOtherComplete;
    }));
    EXPECT_TRUE(TakePicture(View(), kSide, kSide).pixels == ofFirst.pixels);
    other->MakeCurrent(GLContextMain);
    EXPECT_TRUE(TakePicture(*other.view, kSide, kSide).pixels == ofOther.pixels);
    layer->Forget(*other.view);
    EXPECT_TRUE(layer->Refine(*other.view).outdated);
    View().MakeCurrent(GLContextMain);
}

TEST_P(Clouds, WithoutAContextNothingIsDrawnAndNothingLost) {
    const std::vector<PointCloudPoint> points = ManyPoints(10'000);
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    const auto layer = Open(points, limits);
    View().MakeNull();
    EXPECT_EQ(layer->Draw(View(), {}).result, E_FAIL);
    EXPECT_EQ(layer->Refine(View()).result, E_FAIL);
    View().MakeCurrent(GLContextMain);
    const Picture atOnce = AtOnce(points, 1.0);
    EXPECT_TRUE(Complete(*layer, {}).pixels == atOnce.pixels);
}

// While a view moves the same points are drawn again and again, many of them only as a part of their piece.
TEST_P(Clouds, WhatIsDrawnAgainComesFromTheCard) {
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    limits.chunkPoints = 5'000;
    const auto layer = Open(ManyPoints(60'000), limits);
    PointCloudDrawing drawing;
    drawing.mostPoints = 24'000; // up to a fifth of the last pieces
    drawing.mostPointSizePixels = 1.0;
    ASSERT_TRUE(Await([&] { return layer->Draw(View(), drawing).inView == 60'000; }));
    layer->FreeCard();
    EXPECT_EQ(layer->GetState().cardBytes, 0U);
    layer->Draw(View(), drawing);
    const unsigned long long atFirst = layer->GetState().cardBytes;
    EXPECT_GE(atFirst, 12'000U * 36U);
    EXPECT_LE(atFirst, 30'000U * 36U) << "the others follow little by little";
    for (int frame = 0; frame < 40; ++frame) {
        layer->Draw(View(), drawing);
    }
    EXPECT_EQ(layer->GetState().cardBytes, 60'000U * 36U);
}

TEST_P(Clouds, LayerGoesWhileItIsRead) {
    class Endless : public PointCloudReader {
    public:
        long Read(PointCloudPoint* points, std::size_t capacity, std::size_t& count) override {
            for (count = 0; count < capacity; ++count) {
                points[count].position = {0.5 + static_cast<double>(m_next++ % kSide), 10.5, 0.0};
                points[count].red = 0xFFFF;
            }
            return S_OK;
        }

    private:
        unsigned long long m_next = 0;
    };
    PointCloudLimits limits;
    limits.memoryBytes = 4'000'000;
    limits.chunkPoints = 4'096;
    auto layer = std::make_unique<CPointCloudLayer>(std::make_unique<Endless>(), limits);
    PointCloudDrawing drawing;
    drawing.mostPoints = 10'000;
    PointCloudFrame frame;
    ASSERT_TRUE(Await([&] {
        live->Clear();
        frame = layer->Draw(View(), drawing);
        return frame.inView > 200'000;
    }));
    EXPECT_FALSE(frame.complete);
    EXPECT_TRUE(layer->GetState().reading);
    EXPECT_LE(layer->GetState().memoryBytes, limits.memoryBytes);
    EXPECT_EQ(live->At(kSide - 1, 10), (Pixel{255, 0, 0, 255}));
    layer.reset();
}

// A context that is made anew has none of the buffers.
TEST_F(RecordedTest, CloudOutlivesItsContext) {
    driver.SetVersionText(kVersionOfPrograms);
    const std::vector<PointCloudPoint> points = ManyPoints(10'000);
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    CPointCloudLayer layer(std::make_unique<ListReader>(points), limits);
    LiveView live;
    const auto complete = [&] {
        live->Enable(GL_DEPTH_TEST);
        live.Clear();
        PointCloudFrame frame = layer.Draw(*live.view, {});
        EXPECT_TRUE(Await([&] { return (frame = layer.Refine(*live.view)).complete; }));
        EXPECT_EQ(frame.shown, points.size());
        return TakePicture(*live.view, kSide, kSide);
    };
    const Picture before = complete();
    EXPECT_GT(before.CountDrawn(), kSide * kSide / 3);
    live->RecreateContext(true, live.window.DeviceContext(), L"again");
    live.DrawInPixels();
    EXPECT_TRUE(complete().pixels == before.pixels);
}

// A card that is full: points go the way that those of other batches go.
TEST_F(ProgramsTest, CloudDoesWithoutBuffersThatTheCardRefuses) {
    const std::vector<PointCloudPoint> points = ManyPoints(20'000);
    PointCloudLimits limits;
    limits.pointsInOrder = 0;
    limits.chunkPoints = 1'000;
    CPointCloudLayer layer(std::make_unique<ListReader>(points), limits);
    View().Enable(GL_DEPTH_TEST);
    live->Clear();
    DrawAtOnce(View(), points, 1.0F);
    const Picture atOnce = TakePicture(View(), kSide, kSide);
    for (const bool refuses : {true, false}) {
        if (refuses) {
            driver.FailCall("glBufferData", 5);
        } else {
            layer.FreeCard();
        }
        live->Clear();
        PointCloudFrame frame = layer.Draw(View(), {});
        EXPECT_TRUE(Await([&] { return (frame = layer.Refine(View())).complete; }));
        EXPECT_EQ(frame.result, S_OK);
        EXPECT_EQ(frame.shown, points.size());
        EXPECT_TRUE(TakePicture(View(), kSide, kSide).pixels == atOnce.pixels);
        EXPECT_LE(layer.GetState().cardBytes, (refuses ? 4'000U : 20'000U) * 36U);
        EXPECT_EQ(layer.GetState().cardBytes == 20'000U * 36U, !refuses);
    }
}

INSTANTIATE_TEST_SUITE_P(Pipelines, Clouds, testing::Bool(), PipelineName);

} // namespace
