#include "drawing/Draping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace OrrinViewer {
namespace {

/// Four by three cells of 10, centres from (5, 25) on, at heights that grow to the east.
std::shared_ptr<const ReliefShape> MakeShape() {
    auto shape = std::make_shared<ReliefShape>();
    shape->grid.columns = 4;
    shape->grid.rows = 3;
    shape->grid.cellSize = 10.0;
    shape->grid.westX = 5.0;
    shape->grid.northY = 25.0;
    for (int row = 0; row < 3; ++row) {
        shape->grid.elevations.insert(shape->grid.elevations.end(), {0.0, 10.0, 20.0, 30.0});
    }
    shape->triangles = FindTriangles(shape->grid);
    return shape;
}

/// One colour from (west, 0) to (east, 30), a pixel each way.
std::shared_ptr<const Raster> MakeImage(double west, double east, std::uint8_t grey, std::uint8_t opacity = 255) {
    auto raster = std::make_shared<Raster>();
    raster->image = {1, 1, {grey, grey, grey, opacity}};
    raster->pixelToMap = {east - west, 0.0, 0.0, -30.0, west, 30.0};
    return raster;
}

DrapingOrder Order(std::vector<DrapingOrder::Image> images) {
    DrapingOrder order;
    order.images = std::move(images);
    order.reliefs.push_back({7, MakeShape(), {0.0, 30.0}});
    order.mark = L"1";
    return order;
}

DrapingOrder::Image Give(int layer, std::shared_ptr<const Raster> raster) {
    return {layer, 1.0, [raster = std::move(raster)] { return raster; }};
}

/// Of the image on a triangle; -1 where it is bare.
int GreyOn(const ReliefCovers& covers, std::size_t triangle) {
    const ReliefCover* const cover = covers.Of(triangle);
    return cover ? cover->image->image.rgba[0] : -1;
}

// Two images that overlap: of a triangle in both the upper one is seen, of one over an edge neither.
TEST(Draping, EachTriangleShowsTheUppermostImageThatItLiesWithin) {
    const DrapingOrder order = Order({Give(1, MakeImage(0, 17, 50)), Give(2, MakeImage(-4, 30, 90))});
    const DrapingResult result = Drape(order);
    ASSERT_EQ(result.reliefs.size(), 1U);
    EXPECT_EQ(result.reliefs[0].layer, 7);
    const ReliefCovers& covers = result.reliefs[0].covers;
    const ReliefShape& shape = *order.reliefs[0].shape;
    ASSERT_EQ(shape.triangles.size(), 12U);
    for (std::size_t triangle = 0; triangle < shape.triangles.size(); ++triangle) {
        std::size_t east = 0;
        for (const GridCorner& corner : shape.triangles[triangle]) {
            east = std::max(east, corner.column);
        }
        // Centres at 5, 15, 25 and 35.
        EXPECT_EQ(GreyOn(covers, triangle), east == 1 ? 50 : east == 2 ? 90 : -1) << triangle;
    }
    EXPECT_EQ(result.coveredImages, (std::vector<int>{1, 2})) << "the second within a cell's width";
    EXPECT_TRUE(Drape(Order({Give(1, MakeImage(-50, 30, 90))})).coveredImages.empty())
        << "it is seen beside the relief";
    EXPECT_NE(covers.GetCovers()[0]->name, covers.GetCovers()[1]->name);
}

// An image that faded shows the ground through it; that of who gave it is not changed.
TEST(Draping, GroundShowsThroughWhatIsTransparent) {
    const std::shared_ptr<const Raster> image = MakeImage(0, 40, 100);
    DrapingOrder order = Order({{1, 0.0, [image] { return image; }}});
    const DrapingResult result = Drape(order);
    const ReliefCover* const cover = result.reliefs[0].covers.Of(0);
    ASSERT_NE(cover, nullptr);
    const Rgb ground = ColorOfElevation(order.reliefs[0].shape->grid.ElevationAt(20, 15), {0.0, 30.0});
    EXPECT_EQ(cover->image->image.rgba, (std::vector<std::uint8_t>{ground.red, ground.green, ground.blue, 255}));
    EXPECT_EQ(image->image.rgba[3], 255);
    const DrapingResult opaque = Drape(Order({Give(1, image)}));
    EXPECT_EQ(opaque.reliefs[0].covers.Of(0)->image, image) << "not copied";
}

// A file that breaks off takes no other image with it.
TEST(Draping, ImageThatCannotBeReadLiesNowhere) {
    const DrapingResult result = Drape(
        Order({{1, 1.0, []() -> std::shared_ptr<const Raster> { throw std::runtime_error("the file ends too early"); }},
               Give(2, nullptr),
               Give(3, MakeImage(0, 40, 70))}));
    EXPECT_EQ(GreyOn(result.reliefs[0].covers, 0), 70);
    EXPECT_EQ(result.coveredImages, std::vector<int>{3});
}

// The window asks in each frame and must get an answer, however long an image takes.
TEST(Draping, NobodyWaitsForAnImageThatTakesLong) {
    std::promise<void> gate;
    std::promise<std::thread::id> begun;
    Draping draping;
    EXPECT_FALSE(draping.IsAwaited());
    EXPECT_FALSE(draping.Wait()) << "nothing is to come";
    draping.Begin(Order({{1, 1.0, [&, open = gate.get_future().share()] {
                              begun.set_value(std::this_thread::get_id());
                              open.wait();
                              return MakeImage(0, 40, 70);
                          }}}));
    EXPECT_NE(begun.get_future().get(), std::this_thread::get_id());
    // It is stuck in there; whoever waited for it here would never come to open the gate.
    EXPECT_FALSE(draping.Take());
    EXPECT_TRUE(draping.IsAwaited());
    gate.set_value();
    const std::optional<DrapingResult> result = draping.Wait();
    ASSERT_TRUE(result);
    EXPECT_EQ(GreyOn(result->reliefs[0].covers, 0), 70);
    EXPECT_FALSE(draping.IsAwaited());
    EXPECT_FALSE(draping.Take()) << "it has been taken";
}

/// An image that is read until somebody stops it.
DrapingOrder::Image ReadForEver(int layer, std::promise<void>& begun) {
    return {layer, 1.0, [&begun]() -> std::shared_ptr<const Raster> {
                begun.set_value();
                while (true) {
                    ReadingProgress::OfThisThread()->GoOn();
                    std::this_thread::yield();
                }
            }};
}

// Whoever hides an image while it is read would see it all the same, or wait for it in vain.
TEST(Draping, OnlyTheLastOrderCounts) {
    std::promise<void> begun;
    Draping draping;
    draping.Begin(Order({ReadForEver(1, begun)}));
    begun.get_future().wait();
    draping.Begin(Order({Give(2, MakeImage(0, 40, 80))}));
    const std::optional<DrapingResult> result = draping.Wait();
    ASSERT_TRUE(result);
    EXPECT_EQ(result->coveredImages, std::vector<int>{2});
}

// The program is closed while an image is read.
TEST(Draping, EndsInTheMiddleOfAnImage) {
    std::promise<void> begun;
    auto draping = std::make_unique<Draping>();
    draping->Begin(Order({ReadForEver(1, begun)}));
    begun.get_future().wait();
    draping.reset(); // would hang
}

} // namespace
} // namespace OrrinViewer
