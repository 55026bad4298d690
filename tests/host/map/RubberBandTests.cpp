#include "map/RubberBand.h"

#include <gtest/gtest.h>

namespace OrrinViewer {
namespace {

TEST(RubberBand, MeasuredLineStaysUntilTheNextClick_ARectangleDoesNot) {
    RubberBand band;
    band.Begin(RubberBand::Kind::Measure, {500'010, 20, 0});
    band.MoveTo({500'000, 10, 0});
    band.Drop();
    band.MoveTo({7, 7, 0});
    EXPECT_EQ(band.GetKind(), RubberBand::Kind::Measure);
    EXPECT_EQ(band.To(), (Position{500'000, 10, 0}));
    EXPECT_EQ(band.Box().low, (Position{500'000, 10, 0}));
    EXPECT_TRUE(band.IsLargeEnoughToZoom(1.0));
    EXPECT_FALSE(band.IsLargeEnoughToZoom(3.0));
    band.Begin(RubberBand::Kind::Zoom, {0, 0, 0});
    band.MoveTo({9, 9, 0});
    band.Drop();
    EXPECT_EQ(band.GetKind(), RubberBand::Kind::None);
}

} // namespace
} // namespace OrrinViewer
