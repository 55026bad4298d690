#include "FileTestSupport.h"
#include "files/ImageFile.h"
#include "files/OpenFile.h"
#include "files/WorldFile.h"

#include <optional>
#include <random>
#include <thread>

namespace OrrinViewer {
namespace {

/// Red and green above, blue and white below.
const std::vector<std::uint8_t> kFourPixels = {250, 0, 0, 0, 250, 0, 0, 0, 250, 255, 255, 255};

std::string FourPixelPng() {
    return EncodePng(2, 2, kFourPixels);
}

constexpr std::string_view kHalfMetrePixels = "0.5\r\n0\r\n0\r\n-0.5\r\n 500000.25 \r\n+4500000.75\r\n";

// A raster that is half a pixel off, upside down or mirrored makes every outline over it look wrong.
TEST(RasterFile, ImageLiesWhereItsWorldFileSays) {
    const TemporaryFile image(".png", FourPixelPng());
    const SidecarFile world(image.Path(), ".pgw", kHalfMetrePixels);
    const Raster raster = OpenRaster(image.Path());
    EXPECT_EQ(raster.image.rgba,
              (std::vector<std::uint8_t>{250, 0, 0, 255, 0, 250, 0, 255, 0, 0, 250, 255, 255, 255, 255, 255}));
    const Extent extent = raster.FindExtent();
    EXPECT_EQ(extent.low, (Position{500'000, 4'500'000, 0}));
    EXPECT_EQ(extent.high, (Position{500'001, 4'500'001, 0}));
    EXPECT_EQ(raster.Corners()[0], (Position{500'000, 4'500'001, 0})) << "the first row is the northern one";
}

TEST(RasterFile, WorldFileIsFoundUnderEveryUsualExtension) {
    const TemporaryFile jpeg(".jpeg", "\xFF\xD8\xFF");
    for (const char* ending : {".jgw", ".jpegw", ".wld"}) {
        const SidecarFile world(jpeg.Path(), ending, kHalfMetrePixels);
        EXPECT_EQ(FindWorldFile(jpeg.Path()).extension(), ending);
    }
    EXPECT_THROW(FindWorldFile(jpeg.Path()), FileError);
}

TEST(RasterFile, RotatedImage_KeepsItsRotation) {
    const TemporaryFile world(".wld", "0\n1\n1\n0\n10.5\n20.5\n"); // columns go north, rows east
    const PixelToMap pixelToMap = ReadWorldFile(world.Path());
    EXPECT_EQ(pixelToMap.At(0, 0), (Position{10, 20, 0}));
    EXPECT_EQ(pixelToMap.At(3, 0), (Position{10, 23, 0}));
    EXPECT_EQ(pixelToMap.At(0, 2), (Position{12, 20, 0}));
}

struct BadRaster {
    const char* name;
    std::string image;
    const char* world;
    const char* complaint;
};

class BadRasterFile : public testing::TestWithParam<BadRaster> {};

TEST_P(BadRasterFile, IsRefusedWithItsReason) {
    const TemporaryFile image(".png", GetParam().image);
    const SidecarFile world(image.Path(), ".pgw", GetParam().world);
    try {
        OpenRaster(image.Path());
        FAIL() << "it was accepted";
    } catch (const FileError& error) {
        EXPECT_NE(std::string(error.what()).find(GetParam().complaint), std::string::npos) << error.what();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Files, BadRasterFile,
    testing::Values(BadRaster{"cutShort", FourPixelPng().substr(0, 50), "1\n0\n0\n-1\n0\n0\n", "damaged"},
                    BadRaster{"wordInWorldFile", FourPixelPng(), "1\n0\nnorth\n-1\n0\n0\n", "line 3"},
                    BadRaster{"worldFileCutShort", FourPixelPng(), "1\n0\n0\n-1\n0\n", "sixth"},
                    BadRaster{"flatPixels", FourPixelPng(), "1\n1\n1\n1\n0\n0\n", "area"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(RasterFile, RandomDamage_NeverDoesMoreThanRefuse) {
    const auto expectRefusals = [](const char* ending, int mostPixelsPerByte) {
        std::vector<std::uint8_t> pixels(std::size_t{3} * 24 * 24);
        for (std::size_t index = 0; index < pixels.size(); ++index) {
            pixels[index] = static_cast<std::uint8_t>(index * index % 7);
        }
        const std::string content = EncodeImage(ending, 24, 24, pixels);
        const std::int64_t mostPixels = mostPixelsPerByte * static_cast<std::int64_t>(content.size());
        EXPECT_GT(CountRefusedMutations(ReadImageFile, content, ending, 4 * mostPixels), 0) << ending;
    };
    expectRefusals("a.png", 8 * 1'032);
    expectRefusals("a.jpg", 512);
}

TEST(RasterFile, ImageThatPromisesMoreThanItHolds_IsRefused) {
    std::string png = FourPixelPng();
    png.replace(16, 8, FileBytes(true).Put(20'000).Put(15'000).Content());
    EXPECT_NE(Complaint(ReadImageFile, png, ".png").find("promises 20000 by 15000 pixels"), std::string::npos);
    png = FourPixelPng();
    png.replace(33, 4, FileBytes(true).Put(0x7FFF'FF00).Content()); // the length of the compressed pixels
    EXPECT_NE(Complaint(ReadImageFile, png, ".png").find("longer than the file"), std::string::npos);
}

TEST(RasterFile, RandomDamageOfItsPlace_NeverDoesMoreThanRefuse) {
    std::optional<SidecarFile> beside;
    const auto read = [&](const std::filesystem::path& damaged) {
        if (!beside) {
            beside.emplace(damaged, ".png", FourPixelPng());
        }
        std::filesystem::path path = damaged;
        OpenRaster(path.replace_extension(".png"));
    };
    EXPECT_GT(CountRefusedMutations(read, "0.5\n0\n0\n-0.5\n500000.25\n4500000.75\n", ".pgw"), 0);
}

// A table of a JPEG image says how many codes it has, and the image library believes it: up to 4080 of them, with room
// for 256.
TEST(RasterFile, JpegWithTooManyCodes_IsRefused) {
    FileBytes jpeg(true);
    jpeg.PutText("\xFF\xD8\xFF\xC4").Put<std::uint16_t>(2 + 17 + 16 * 255).Put<std::uint8_t>(0);
    for (int length = 0; length < 16; ++length) {
        jpeg.Put<std::uint8_t>(255);
    }
    const std::string content = jpeg.FillTo(jpeg.Content().size() + std::size_t{16} * 255).Content();
    EXPECT_NE(Complaint(ReadImageFile, content, ".jpg").find("table of codes"), std::string::npos);
    EXPECT_NE(Complaint(ReadImageFile, "\xFF" + content, ".jpg").find("table of codes"), std::string::npos)
        << "with a byte of filling before it";
}

// Of a stored block with a wrong length the image library says nothing but that it fails.
TEST(RasterFile, DamageWithoutAReason_IsRefused) {
    std::vector<std::uint8_t> pixels(std::size_t{3} * 40 * 30);
    std::mt19937 random(7);
    for (std::uint8_t& channel : pixels) {
        channel = static_cast<std::uint8_t>(random() % 60);
    }
    std::string png = EncodePng(40, 30, pixels);
    png[43] = '\0'; // the first block of the compressed data
    // The library keeps its last reason for each thread.
    std::string complaint;
    std::thread([&] { complaint = Complaint(ReadImageFile, png, ".png"); }).join();
    EXPECT_NE(complaint.find("is a damaged image"), std::string::npos) << complaint;
}

} // namespace
} // namespace OrrinViewer
