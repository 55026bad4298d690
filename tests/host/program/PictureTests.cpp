// Pictures larger than a window: their parts, and their files.

#include "files/ImageFile.h"
#include "files/PictureFile.h"
#include "program/PictureParts.h"

#include "../files/FileTestSupport.h"

#include <span>
#include <vector>

namespace OrrinViewer {
namespace {

TEST(PictureParts, CoverThePictureOnceAndFitIntoTheWindow) {
    constexpr int kWindowWidth = 240;
    constexpr int kWindowHeight = 160;
    for (const auto& [width, height, reach] :
         {std::array{480, 320, 16}, {1, 1, 16}, {241, 161, 0}, {2000, 70, 512}, {200, 120, 20}}) {
        const int overlap = FindOverlap(reach, kWindowWidth, kWindowHeight);
        EXPECT_LE(overlap, 40);
        std::vector<int> covered(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        int lastY = 0;
        for (const PicturePart& part : DivideIntoParts({width, height}, kWindowWidth, kWindowHeight, overlap)) {
            EXPECT_LE(part.width + 2 * overlap, kWindowWidth);
            EXPECT_LE(part.height + 2 * overlap, kWindowHeight);
            EXPECT_GE(part.y, lastY) << "rows are written from the upper one on";
            lastY = part.y;
            for (int y = part.y; y < part.y + part.height; ++y) {
                for (int x = part.x; x < part.x + part.width; ++x) {
                    ++covered.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                 static_cast<std::size_t>(x));
                }
            }
        }
        EXPECT_EQ(std::count(covered.begin(), covered.end(), 1), static_cast<std::ptrdiff_t>(covered.size()));
    }
}

TEST(PictureParts, AllOfTheWindowIsOnThePicture) {
    EXPECT_EQ((PictureSize{2400, 1600}).ScaleOf(1200, 800), 2.0);
    EXPECT_EQ((PictureSize{8000, 2000}).ScaleOf(1200, 800), 2.5);
    EXPECT_EQ((PictureSize{600, 9000}).ScaleOf(1200, 800), 0.5);
}

std::vector<std::uint8_t> MakePixels(int width, int height) {
    std::vector<std::uint8_t> rgb;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            rgb.insert(rgb.end(), {static_cast<std::uint8_t>(x * 9), static_cast<std::uint8_t>(y * 17),
                                   static_cast<std::uint8_t>((x * y) % 251)});
        }
    }
    return rgb;
}

void Save(const std::filesystem::path& path, const std::vector<std::uint8_t>& rgb, int width, int height) {
    PictureFile file(path, width, height);
    const auto row = static_cast<std::size_t>(width) * 3;
    for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
        file.PutRow(std::span(rgb).subspan(y * row, row));
    }
    file.Finish();
}

// Another reader has to understand what is written; sizes that no filter divides.
TEST(PictureFile, RowsComeBackFromTheFile) {
    const TemporaryFile png(".png", "something of before");
    const std::vector<std::uint8_t> rgb = MakePixels(301, 77);
    Save(png.Path(), rgb, 301, 77);
    const RasterImage image = ReadImageFile(png.Path());
    ASSERT_EQ(image.width, 301);
    ASSERT_EQ(image.height, 77);
    for (std::size_t pixel = 0; pixel < rgb.size() / 3; ++pixel) {
        ASSERT_EQ(image.rgba[pixel * 4], rgb[pixel * 3]) << pixel;
        ASSERT_EQ(image.rgba[pixel * 4 + 1], rgb[pixel * 3 + 1]) << pixel;
        ASSERT_EQ(image.rgba[pixel * 4 + 2], rgb[pixel * 3 + 2]) << pixel;
    }
    const TemporaryFile jpeg(".JPG", "");
    Save(jpeg.Path(), rgb, 301, 77);
    EXPECT_EQ(ReadImageFile(jpeg.Path()).height, 77);
}

TEST(PictureFile, OneThatIsGivenUp_LeavesWhatWasThere) {
    const TemporaryFile png(".png", "");
    Save(png.Path(), MakePixels(2, 2), 2, 2);
    {
        PictureFile file(png.Path(), 3, 3);
        file.PutRow(MakePixels(3, 1));
    }
    EXPECT_EQ(ReadImageFile(png.Path()).width, 2);
    std::filesystem::path draft = png.Path();
    EXPECT_FALSE(std::filesystem::exists(draft += ".new"));

    EXPECT_THROW(PictureFile(png.Path(), 100'000, 10), FileError);
    EXPECT_THROW(PictureFile("picture.bmp", 10, 10), FileError);
    EXPECT_THROW(PictureFile("no such folder/picture.png", 10, 10), FileError);
    EXPECT_THROW(PictureFile("picture.jpg", 60'000, 60'000), FileError) << "more than a JPEG has room for in memory";
}

} // namespace
} // namespace OrrinViewer
