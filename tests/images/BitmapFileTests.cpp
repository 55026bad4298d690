#include "support/ViewFixture.h"

#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using Bytes = std::vector<unsigned char>;

class BitmapFile : public testing::Test {
protected:
    ~BitmapFile() override { std::filesystem::remove(m_path); }

    bool Save(int width, int height, int format, Bytes* pixels) {
        return SaveRGBBufferToBMPFile(m_path.string().data(), width, height, format, pixels ? pixels->data() : nullptr);
    }
    Bytes Content() const {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::filesystem::path m_path =
        std::filesystem::temp_directory_path() / ("orrin_bitmap_" + std::to_string(GetCurrentProcessId()) + ".bmp");
    DebugOutput debugger;
};

// Hosts exchange these files with programs that rely on each byte, the odd width rule included.
TEST_F(BitmapFile, RowsArePaddedByTheWidthsRemainder) {
    Bytes pixels;
    for (unsigned char value = 1; value <= 2 * 5 * 3; ++value) {
        pixels.push_back(value);
    }
    ASSERT_TRUE(Save(5, 2, GL_RGB, &pixels));
    const Bytes expected{'B', 'M', 90, 0,  0,  0,  0,  0,  0,    0,    54,   0,    0,  0,               //
                         40,  0,   0,  0,  6,  0,  0,  0,  0xFE, 0xFF, 0xFF, 0xFF, 1,  0,  24, 0,       //
                         0,   0,   0,  0,  36, 0,  0,  0,  96,   0,    0,    0,    96, 0,  0,  0,       //
                         0,   0,   0,  0,  0,  0,  0,  0,                                               //
                         1,   2,   3,  4,  5,  6,  7,  8,  9,    10,   11,   12,   13, 14, 15, 0, 0, 0, //
                         16,  17,  18, 19, 20, 21, 22, 23, 24,   25,   26,   27,   28, 29, 30, 0, 0, 0};
    EXPECT_EQ(Content(), expected);
}

struct Layout {
    int width, height, format;
    unsigned int paddedWidth, imageBytes, bits;
};

TEST_F(BitmapFile, SizesFollowTheWidthAndTheFormat) {
    for (const Layout& layout : {Layout{6, 3, GL_RGB, 8, 72, 24}, Layout{7, 1, GL_RGB, 10, 30, 24},
                                 Layout{8, 2, GL_RGBA, 8, 64, 32}, Layout{4097, 3, GL_BGRA_EXT, 4098, 49176, 32},
                                 Layout{0, 5, GL_RGBA, 0, 0, 32}, Layout{5, 0, GL_RGB, 6, 0, 24}}) {
        SCOPED_TRACE(layout.width);
        Bytes pixels(static_cast<std::size_t>(layout.width) * layout.height * 4 + 1, 200);
        ASSERT_TRUE(Save(layout.width, layout.height, layout.format, &pixels));
        const Bytes content = Content();
        const auto number = [&](std::size_t offset) {
            return content.at(offset) | content.at(offset + 1) << 8 | content.at(offset + 2) << 16 |
                   static_cast<unsigned int>(content.at(offset + 3)) << 24;
        };
        EXPECT_EQ(content.size(), 54U + layout.imageBytes);
        EXPECT_EQ(number(2), 54U + layout.imageBytes);
        EXPECT_EQ(number(18), layout.paddedWidth);
        EXPECT_EQ(static_cast<int>(number(22)), -layout.height);
        EXPECT_EQ(content.at(28), layout.bits);
        EXPECT_EQ(number(34), layout.imageBytes);
        ASSERT_TRUE(Save(layout.width, layout.height, layout.format, nullptr));
        EXPECT_EQ(Content(), Bytes(content.begin(), content.begin() + 54)) << "the headers alone";
    }
    EXPECT_EQ(debugger.Text(), L"");
}

// A size that went wrong must not take an earlier image with it.
TEST_F(BitmapFile, ImpossibleSizesTouchNothing) {
    Bytes pixels(64, 1);
    ASSERT_TRUE(Save(2, 2, GL_RGB, &pixels));
    const Bytes before = Content();
    for (const auto& [width, height] : {std::pair{-1, 2},
                                        {2, -1},
                                        {INT_MIN, INT_MIN},
                                        {INT_MAX, INT_MAX},
                                        {INT_MAX, 0},
                                        {40'000, 40'000},
                                        {2, INT_MAX}}) {
        EXPECT_FALSE(Save(width, height, GL_RGBA, &pixels)) << width << " x " << height;
    }
    EXPECT_FALSE(SaveRGBBufferToBMPFile(nullptr, 2, 2, GL_RGB, pixels.data()));
    EXPECT_EQ(Content(), before);
}

TEST_F(BitmapFile, PathThatCannotBeWrittenIsTold) {
    std::string path = (m_path / "no such folder" / "frame.bmp").string();
    EXPECT_FALSE(SaveRGBBufferToBMPFile(path.data(), 2, 2, GL_RGB, nullptr));
    EXPECT_EQ(debugger.Text(), L"Error Unable to Create File ");
}

} // namespace
