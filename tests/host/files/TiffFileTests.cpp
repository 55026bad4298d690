#include "files/TiffFile.h"

#include "FileTestSupport.h"
#include "files/TiffOverview.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <vector>

namespace OrrinViewer {
namespace {

enum Compression : std::uint16_t { kPlain = 1, kLzw = 5, kDeflate = 8, kPackBits = 32773 };

/// A stream of codes of 9 bits, the first bit the highest; the table is cleared before it needs longer ones.
std::string PackLzw(const std::string& bytes) {
    std::string packed;
    std::uint32_t pending = 0;
    int count = 0;
    const auto put = [&](std::uint32_t code) {
        pending = pending << 9 | code;
        for (count += 9; count >= 8; count -= 8) {
            packed += static_cast<char>(pending >> (count - 8));
        }
    };
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if (at % 200 == 0) {
            put(256);
        }
        put(static_cast<std::uint8_t>(bytes[at]));
    }
    put(257);
    put(0);
    return packed;
}

/// Blocks that are stored as they are.
std::string PackDeflate(const std::string& bytes) {
    std::string packed = "\x78\x01";
    std::uint32_t a = 1;
    std::uint32_t b = 0;
    for (const char character : bytes) {
        a = (a + static_cast<std::uint8_t>(character)) % 65521;
        b = (b + a) % 65521;
    }
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t size = std::min<std::size_t>(bytes.size() - at, 65535);
        packed += at + size == bytes.size() ? '\1' : '\0';
        packed += FileBytes().Put(static_cast<std::uint16_t>(size)).Put(static_cast<std::uint16_t>(~size)).Content();
        packed += bytes.substr(at, size);
        at += size;
    }
    return packed + FileBytes(true).Put(b << 16 | a).Content();
}

std::string PackBits(const std::string& bytes) {
    std::string packed;
    for (std::size_t at = 0; at < bytes.size(); at += 100) {
        const std::string run = bytes.substr(at, 100);
        packed += static_cast<char>(run.size() - 1);
        packed += run;
    }
    return packed;
}

std::string Pack(const std::string& bytes, Compression compression) {
    switch (compression) {
    case kLzw:
        return PackLzw(bytes);
    case kDeflate:
        return PackDeflate(bytes);
    case kPackBits:
        return PackBits(bytes);
    case kPlain:
        break;
    }
    return bytes;
}

/// One image of a file. The value of a sample is what `sample(column, row, band)` says.
struct Image {
    std::uint32_t width = 7;
    std::uint32_t height = 5;
    std::uint16_t bits = 8;
    std::uint16_t kind = 1; // unsigned, signed, floating
    std::uint16_t samples = 1;
    std::uint16_t photometric = 1;
    bool planar = false;
    std::uint32_t tile = 0; // pixels each way; 0: strips
    std::uint32_t rowsPerStrip = 2;
    Compression compression = kPlain;
    std::uint32_t subfile = 0;
    std::uint32_t leftOut = ~0U; // a tile or strip without bytes
    std::function<double(std::uint32_t, std::uint32_t, std::uint32_t)> sample;
};

/// Writes TIFF files: images behind each other, their tables of tags behind their pixels.
class TiffBytes {
public:
    explicit TiffBytes(bool bigEndian = false) : m_bigEndian(bigEndian), m_file(bigEndian) {
        m_file.PutText(bigEndian ? "MM" : "II").Put<std::uint16_t>(42).Put<std::uint32_t>(0);
    }

    TiffBytes& Numbers(std::uint16_t tag, const std::vector<double>& numbers) {
        FileBytes bytes(m_bigEndian);
        for (const double number : numbers) {
            bytes.Put(number);
        }
        m_tags[tag] = {12, static_cast<std::uint32_t>(numbers.size()), bytes.Content()};
        return *this;
    }
    TiffBytes& Shorts(std::uint16_t tag, const std::vector<std::uint16_t>& numbers) {
        FileBytes bytes(m_bigEndian);
        for (const std::uint16_t number : numbers) {
            bytes.Put(number);
        }
        m_tags[tag] = {3, static_cast<std::uint32_t>(numbers.size()), bytes.Content()};
        return *this;
    }
    TiffBytes& Longs(std::uint16_t tag, const std::vector<std::uint32_t>& numbers) {
        FileBytes bytes(m_bigEndian);
        for (const std::uint32_t number : numbers) {
            bytes.Put(number);
        }
        m_tags[tag] = {4, static_cast<std::uint32_t>(numbers.size()), bytes.Content()};
        return *this;
    }
    TiffBytes& Text(std::uint16_t tag, const std::string& text) {
        m_tags[tag] = {2, static_cast<std::uint32_t>(text.size() + 1), text + '\0'};
        return *this;
    }

    /// Puts pixels and tags; those that were set before belong to this image.
    TiffBytes& Put(const Image& image) {
        Longs(254, {image.subfile}).Longs(256, {image.width}).Longs(257, {image.height});
        Shorts(258, std::vector<std::uint16_t>(image.samples, image.bits)).Shorts(259, {image.compression});
        Shorts(262, {image.photometric}).Shorts(277, {image.samples});
        Shorts(284, {static_cast<std::uint16_t>(image.planar ? 2 : 1)});
        Shorts(339, std::vector<std::uint16_t>(image.samples, image.kind));
        std::vector<std::uint32_t> offsets;
        std::vector<std::uint32_t> sizes;
        const std::uint32_t blockWidth = image.tile != 0 ? image.tile : image.width;
        const std::uint32_t blockHeight = image.tile != 0 ? image.tile : image.rowsPerStrip;
        for (std::uint32_t plane = 0; plane < (image.planar ? image.samples : 1U); ++plane) {
            for (std::uint32_t y = 0; y < image.height; y += blockHeight) {
                for (std::uint32_t x = 0; x < image.width; x += blockWidth) {
                    const bool isLeftOut = offsets.size() == image.leftOut;
                    const std::uint32_t rows = image.tile != 0 ? blockHeight : std::min(blockHeight, image.height - y);
                    const std::string packed =
                        isLeftOut ? "" : Pack(BlockOf(image, plane, x, y, blockWidth, rows), image.compression);
                    offsets.push_back(isLeftOut ? 0 : static_cast<std::uint32_t>(m_file.Content().size()));
                    sizes.push_back(static_cast<std::uint32_t>(packed.size()));
                    m_file.PutText(packed);
                }
            }
        }
        if (image.tile != 0) {
            Longs(322, {image.tile}).Longs(323, {image.tile}).Longs(324, offsets).Longs(325, sizes);
        } else {
            Longs(273, offsets).Longs(278, {image.rowsPerStrip}).Longs(279, sizes);
        }
        PutTags();
        return *this;
    }

    std::string Content() const {
        std::string content = m_file.Content();
        for (const auto& [place, target] : m_links) {
            content.replace(place, 4, FileBytes(m_bigEndian).Put(target).Content());
        }
        return content;
    }

private:
    struct Tag {
        std::uint16_t type;
        std::uint32_t count;
        std::string bytes;
    };

    std::string BlockOf(const Image& image, std::uint32_t plane, std::uint32_t west, std::uint32_t north,
                        std::uint32_t width, std::uint32_t height) const {
        FileBytes bytes(m_bigEndian);
        for (std::uint32_t y = north; y < north + height; ++y) {
            for (std::uint32_t x = west; x < west + width; ++x) {
                for (std::uint32_t band = 0; band < (image.planar ? 1U : image.samples); ++band) {
                    PutSample(bytes, image, image.sample(x, y, image.planar ? plane : band));
                }
            }
        }
        return bytes.Content();
    }

    static void PutSample(FileBytes& bytes, const Image& image, double value) {
        if (image.kind == 3) {
            image.bits == 32 ? bytes.Put(static_cast<float>(value)) : bytes.Put(value);
        } else if (image.bits == 8) {
            bytes.Put(static_cast<std::uint8_t>(static_cast<int>(value)));
        } else if (image.bits == 16) {
            bytes.Put(static_cast<std::uint16_t>(static_cast<int>(value)));
        } else {
            bytes.Put(static_cast<std::uint32_t>(static_cast<std::int64_t>(value)));
        }
    }

    void PutTags() {
        std::map<std::uint16_t, std::uint32_t> places;
        for (const auto& [number, tag] : m_tags) {
            if (tag.bytes.size() > 4) {
                places[number] = static_cast<std::uint32_t>(m_file.Content().size());
                m_file.PutText(tag.bytes);
            }
        }
        m_file.FillTo((m_file.Content().size() + 1) / 2 * 2);
        m_links[m_linkAt] = static_cast<std::uint32_t>(m_file.Content().size());
        m_file.Put(static_cast<std::uint16_t>(m_tags.size()));
        for (const auto& [number, tag] : m_tags) {
            m_file.Put(number).Put(tag.type).Put(tag.count);
            if (tag.bytes.size() > 4) {
                m_file.Put(places[number]);
            } else {
                m_file.PutText(tag.bytes).FillTo((m_file.Content().size() - tag.bytes.size()) + 4);
            }
        }
        m_linkAt = m_file.Content().size();
        m_file.Put<std::uint32_t>(0);
        m_tags.clear();
    }

    bool m_bigEndian;
    FileBytes m_file;
    std::map<std::uint16_t, Tag> m_tags;
    std::map<std::size_t, std::uint32_t> m_links;
    std::size_t m_linkAt = 4;
};

/// Pixels of half a metre, the upper left corner at (500000, 4500000).
TiffBytes& PlaceHere(TiffBytes& tiff) {
    return tiff.Numbers(33550, {0.5, 0.5, 0}).Numbers(33922, {0, 0, 0, 500000, 4500000, 0});
}

std::vector<float> ReadValues(TiffFile& file, const TiffWindow& window) {
    std::vector<float> values(static_cast<std::size_t>(window.width) * static_cast<std::size_t>(window.height));
    file.ReadValues(window, values.data());
    return values;
}

using Color = std::array<int, 4>;

std::vector<Color> ReadColors(TiffFile& file, const TiffWindow& window) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(window.width) * static_cast<std::size_t>(window.height) *
                                    4);
    file.ReadColors(window, bytes.data());
    std::vector<Color> colors;
    for (std::size_t at = 0; at < bytes.size(); at += 4) {
        colors.push_back({bytes[at], bytes[at + 1], bytes[at + 2], bytes[at + 3]});
    }
    return colors;
}

struct FormatCase {
    const char* name;
    std::uint16_t bits, kind;
    std::uint32_t tile;
    Compression compression;
    bool bigEndian;
    double scale; // of the values
};

class TiffValues : public testing::TestWithParam<FormatCase> {};

/// Each value tells its place, and none needs more than seven bits.
double ValueAt(std::uint32_t column, std::uint32_t row) {
    return 5.0 * row + column + 1.0;
}

TEST_P(TiffValues, ArriveAtTheirPlacesAndAsMeans) {
    const FormatCase& format = GetParam();
    Image image;
    image.width = 21;
    image.height = 19;
    image.bits = format.bits;
    image.kind = format.kind;
    image.tile = format.tile;
    image.compression = format.compression;
    image.rowsPerStrip = 3;
    image.photometric = 1;
    image.samples = 2; // the second is not shown
    image.sample = [&](std::uint32_t x, std::uint32_t y, std::uint32_t band) {
        return band == 0 ? ValueAt(x, y) * format.scale : 99.0;
    };
    TiffBytes tiff(format.bigEndian);
    const TemporaryFile path(".tif", PlaceHere(tiff).Put(image).Content());
    TiffFile file(path.Path());
    ASSERT_FALSE(file.HasColors());
    EXPECT_EQ(file.Width(), 21);
    EXPECT_EQ(file.Height(), 19);
    const TiffWindow window{0, 14, 1, 5, 17};
    const std::vector<float> values = ReadValues(file, window);
    for (int row = 0; row < window.height; ++row) {
        for (int column = 0; column < window.width; ++column) {
            EXPECT_FLOAT_EQ(values[static_cast<std::size_t>(row * window.width + column)],
                            static_cast<float>(format.scale * ValueAt(static_cast<std::uint32_t>(column + window.x),
                                                                      static_cast<std::uint32_t>(row + window.y))));
        }
    }
    // Means of 4 by 4 pixels; at the edges of what there is of them.
    const std::vector<float> means = ReadValues(file, {2, 0, 0, 6, 5});
    EXPECT_FLOAT_EQ(means[0], static_cast<float>(format.scale * (5.0 * 1.5 + 1.5 + 1.0)));
    EXPECT_FLOAT_EQ(means[29], static_cast<float>(format.scale * (5.0 * 17.0 + 20.0 + 1.0)));
}

INSTANTIATE_TEST_SUITE_P(Formats, TiffValues,
                         testing::Values(FormatCase{"unsigned16", 16, 1, 0, kPlain, false, 100},
                                         FormatCase{"big16", 16, 1, 16, kPlain, true, 1},
                                         FormatCase{"signed8", 8, 2, 0, kPackBits, false, -1},
                                         FormatCase{"signed16", 16, 2, 16, kLzw, false, -7},
                                         FormatCase{"big32", 32, 2, 0, kPlain, true, -1000},
                                         FormatCase{"unsigned32", 32, 1, 0, kLzw, false, 999},
                                         FormatCase{"float", 32, 3, 16, kDeflate, false, 0.25},
                                         FormatCase{"bigFloat", 32, 3, 0, kDeflate, true, -0.25},
                                         FormatCase{"double", 64, 3, 16, kPlain, true, 1e9}),
                         [](const auto& tested) { return std::string(tested.param.name); });

struct ColorCase {
    const char* name;
    std::uint16_t samples, photometric;
    bool planar;
    std::vector<std::uint16_t> extras;
    Color expected; // of samples 10, 20, 30, ...
};

class TiffColors : public testing::TestWithParam<ColorCase> {};

TEST_P(TiffColors, AreThoseOfTheFile) {
    for (const std::uint32_t tile : {0U, 16U}) {
        Image image;
        image.samples = GetParam().samples;
        image.photometric = GetParam().photometric;
        image.planar = GetParam().planar;
        image.tile = tile;
        image.compression = kLzw;
        image.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t band) {
            return x == 3 && y == 2 ? 10.0 * (band + 1) : 0.0;
        };
        TiffBytes tiff;
        if (!GetParam().extras.empty()) {
            tiff.Shorts(338, GetParam().extras);
        }
        if (GetParam().photometric == 3) {
            std::vector<std::uint16_t> palette(3 * 256);
            palette[10] = 0x1234;
            palette[256 + 10] = 0xFF00;
            palette[512 + 10] = 0x0100;
            tiff.Shorts(320, palette);
        }
        const TemporaryFile path(".tif", PlaceHere(tiff).Put(image).Content());
        TiffFile file(path.Path());
        ASSERT_TRUE(file.HasColors());
        EXPECT_EQ(ReadColors(file, {0, 3, 2, 1, 1}).front(), GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, TiffColors,
                         testing::Values(ColorCase{"grey", 1, 1, false, {}, {10, 10, 10, 255}},
                                         ColorCase{"whiteIsZero", 1, 0, false, {}, {245, 245, 245, 255}},
                                         ColorCase{"palette", 1, 3, false, {}, {0x12, 0xFF, 1, 255}},
                                         ColorCase{"rgb", 3, 2, false, {}, {10, 20, 30, 255}},
                                         ColorCase{"planes", 3, 2, true, {}, {10, 20, 30, 255}},
                                         ColorCase{"opacity", 4, 2, false, {2}, {10, 20, 30, 40}},
                                         ColorCase{"nearInfrared", 4, 2, true, {0}, {10, 20, 30, 255}},
                                         ColorCase{"greyAndOpacity", 2, 1, false, {2}, {10, 10, 10, 20}},
                                         ColorCase{"bandsWithoutMeaning", 5, 1, true, {0, 0, 0, 0}, {10, 20, 30, 255}}),
                         [](const auto& tested) { return std::string(tested.param.name); });

// 12 bits in 16, as sensors have them, would be all but black.
TEST(TiffFile, WideColors_FillTheRange) {
    Image image;
    image.bits = 16;
    image.samples = 3;
    image.photometric = 2;
    image.sample = [](std::uint32_t x, std::uint32_t, std::uint32_t) { return x < 4 ? 100.0 : 4000.0; };
    TiffBytes tiff;
    const TemporaryFile path(".tif", PlaceHere(tiff).Put(image).Content());
    TiffFile file(path.Path());
    EXPECT_EQ(ReadColors(file, {0, 3, 0, 2, 1}), (std::vector<Color>{{0, 0, 0, 255}, {255, 255, 255, 255}}));
}

Image Level(std::uint32_t width, std::uint32_t height, std::uint32_t subfile, double value) {
    Image image;
    image.width = width;
    image.height = height;
    image.bits = 16;
    image.subfile = subfile;
    image.sample = [value](std::uint32_t, std::uint32_t, std::uint32_t) { return value; };
    return image;
}

TEST(TiffFile, OverviewsOfTheFileAreUsed_AndOtherImagesInItAreNot) {
    TiffBytes tiff;
    PlaceHere(tiff).Put(Level(25, 18, 0, 1)).Put(Level(13, 9, 5, 90)).Put(Level(13, 9, 0, 91));
    tiff.Put(Level(12, 9, 1, 2)).Put(Level(9, 9, 1, 92)).Put(Level(4, 3, 1, 8));
    const TemporaryFile path(".tif", tiff.Content());
    TiffFile file(path.Path());
    for (const auto& [level, expected] : {std::pair{0, 1.0F}, {1, 2.0F}, {2, 2.0F}, {3, 8.0F}, {4, 8.0F}, {0, 1.0F}}) {
        EXPECT_EQ(ReadValues(file, {level, 1, 1, 1, 1}).front(), expected) << level;
    }
    for (const double value : file.SampleValues()) {
        ASSERT_EQ(value, 8.0) << "from the smallest";
    }
}

TEST(TiffFile, WhatHasNoData_IsLeftOutOfMeans) {
    Image image;
    image.width = 32;
    image.height = 32;
    image.bits = 16;
    image.kind = 2;
    image.tile = 16;
    image.leftOut = 3;
    image.sample = [](std::uint32_t x, std::uint32_t, std::uint32_t) { return x % 2 == 0 ? 6.0 : -9999.0; };
    TiffBytes tiff;
    const TemporaryFile path(".tif", PlaceHere(tiff).Text(42113, "-9999 ").Put(image).Content());
    TiffFile file(path.Path());
    EXPECT_EQ(ReadValues(file, {1, 0, 0, 1, 1}).front(), 6.0F);
    EXPECT_TRUE(std::isnan(ReadValues(file, {0, 1, 0, 1, 1}).front()));
    EXPECT_TRUE(std::isnan(ReadValues(file, {0, 20, 20, 1, 1}).front())) << "a tile that the file leaves out";
}

// Whoever writes without thinking of readers makes one strip of all. It must neither be held as a whole nor be decoded
// from its beginning for each row.
TEST(TiffFile, OneStripOfManyRows_IsReadInParts) {
    for (const Compression compression : {kPlain, kDeflate}) {
        Image image;
        image.width = 1500;
        image.height = 1000;
        image.bits = 16;
        image.rowsPerStrip = image.height;
        image.compression = compression;
        image.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t) { return x + 7.0 * y; };
        TiffBytes tiff;
        const TemporaryFile path(".tif", PlaceHere(tiff).Put(image).Content());
        TiffFile file(path.Path());
        for (const int row : {999, 0, 400, 998}) {
            EXPECT_EQ(ReadValues(file, {0, 1499, row, 1, 1}).front(), 1499.0F + 7.0F * static_cast<float>(row));
        }
        EXPECT_FLOAT_EQ(ReadValues(file, {10, 0, 0, 2, 1}).front(), 511.5F + 7.0F * 499.5F);
    }
}

// What a person sees of a large image without overviews, all of it, would be read from the whole file again and again.
TEST(TiffOverview, IsWhatTheFileGives_AndOnlyMadeWhereItSaves) {
    Image image;
    image.width = 131;
    image.height = 77;
    image.samples = 3;
    image.photometric = 2;
    image.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t band) { return x + band * (y % 60U); };
    Image values = Level(131, 77, 0, 0);
    values.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t) { return x < 40 ? 7.0 : 3.0 * x + y; };
    for (const Image& each : {image, values}) {
        TiffBytes tiff;
        const TemporaryFile path(".tif", PlaceHere(tiff).Text(42113, "7").Put(each).Content());
        TiffFile file(path.Path());
        EXPECT_FALSE(TiffOverview::FindLevel(file)) << "small";
        TiffOverview overview(path.Path(), 2);
        for (const TiffWindow& window :
             {TiffWindow{2, 0, 0, 33, 20}, TiffWindow{2, 30, 3, 3, 17}, TiffWindow{4, 1, 1, 7, 3}}) {
            const std::size_t count = static_cast<std::size_t>(window.width) * static_cast<std::size_t>(window.height);
            if (file.HasColors()) {
                std::vector<std::uint8_t> bytes(4 * count);
                EXPECT_TRUE(overview.Read(window, true, bytes.data()));
                const std::vector<Color> expected = ReadColors(file, window);
                for (std::size_t at = 0; at < bytes.size(); ++at) {
                    ASSERT_NEAR(bytes[at], expected[at / 4][at % 4], 1) << window.level << " " << at;
                }
            } else {
                std::vector<float> read(count);
                EXPECT_TRUE(overview.Read(window, true, read.data()));
                const std::vector<float> expected = ReadValues(file, window);
                for (std::size_t at = 0; at < count; ++at) {
                    ASSERT_EQ(std::isnan(read[at]), std::isnan(expected[at])) << at;
                    if (window.level == 2 && !std::isnan(read[at])) {
                        ASSERT_EQ(read[at], expected[at]) << at;
                    }
                }
            }
        }
    }
    TiffBytes sparse;
    Image large = Level(30'000, 20'000, 0, 1);
    large.rowsPerStrip = large.height;
    large.leftOut = 0;
    PlaceHere(sparse).Put(large);
    const TemporaryFile withoutOverview(".tif", sparse.Content());
    EXPECT_EQ(TiffOverview::FindLevel(TiffFile(withoutOverview.Path())), 4);
    Image lesser = Level(7'500, 5'000, 1, 1);
    lesser.rowsPerStrip = lesser.height;
    lesser.leftOut = 0;
    TiffBytes both;
    PlaceHere(both).Put(large).Put(lesser);
    const TemporaryFile withOverview(".tif", both.Content());
    EXPECT_EQ(TiffOverview::FindLevel(TiffFile(withOverview.Path())), std::nullopt);
}

TEST(TiffOverview, DamageOnTheWay_IsToldAndEndsTheWaiting) {
    Image image = Level(64, 64, 0, 1);
    image.compression = kDeflate;
    image.rowsPerStrip = 64;
    TiffBytes tiff;
    std::string content = PlaceHere(tiff).Put(image).Content();
    content.replace(8, 40, 40, '\xFF');
    const TemporaryFile path(".tif", content);
    TiffOverview overview(path.Path(), 1);
    std::vector<float> values(16 * 16);
    EXPECT_THROW(overview.Read({1, 0, 16, 16, 16}, true, values.data()), FileError);
}

struct PlaceCase {
    const char* name;
    std::function<void(TiffBytes&)> tags;
    Position corner, columnAndRow; // of pixel 0, 0 and pixel 2, 1
};

class TiffPlace : public testing::TestWithParam<PlaceCase> {};

TEST_P(TiffPlace, IsWhereTheTagsSay) {
    TiffBytes tiff;
    GetParam().tags(tiff);
    const TemporaryFile path(".tif", tiff.Put(Level(7, 5, 0, 1)).Content());
    const SidecarFile world(path.Path(), ".tfw", "2\n0\n0\n-2\n101\n199\n");
    const PixelToMap place = TiffFile(path.Path()).Place();
    EXPECT_EQ(place.At(0, 0), GetParam().corner);
    EXPECT_EQ(place.At(2, 1), GetParam().columnAndRow);
}

INSTANTIATE_TEST_SUITE_P(
    Tags, TiffPlace,
    testing::Values(
        PlaceCase{"scale", [](TiffBytes& tags) { PlaceHere(tags); }, {500000, 4500000, 0}, {500001, 4499999.5, 0}},
        PlaceCase{"tiedInTheMiddle",
                  [](TiffBytes& tags) {
                      tags.Numbers(33550, {10, 20, 0}).Numbers(33922, {2, 1, 0, 1000, 2000, 0});
                  },
                  {980, 2020, 0},
                  {1000, 2000, 0}},
        PlaceCase{"pixelIsPoint",
                  [](TiffBytes& tags) {
                      PlaceHere(tags).Shorts(34735, {1, 1, 0, 2, 1024, 0, 1, 1, 1025, 0, 1, 2});
                  },
                  {499999.75, 4500000.25, 0},
                  {500000.75, 4499999.75, 0}},
        PlaceCase{"rotated",
                  [](TiffBytes& tags) {
                      tags.Numbers(34264, {0, 2, 0, 100, 3, 0, 0, 200, 0, 0, 0, 0, 0, 0, 0, 1});
                  },
                  {100, 200, 0},
                  {102, 206, 0}},
        PlaceCase{"worldFile", [](TiffBytes&) {}, {100, 200, 0}, {104, 198, 0}}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(TiffFile, KeysOfTheCoordinateSystemAreHandedOut) {
    TiffBytes tiff;
    PlaceHere(tiff).Shorts(34735, {1, 1, 0, 1, 3072, 0, 1, 31985}).Text(34737, "here|");
    const TemporaryFile path(".tif", tiff.Put(Level(7, 5, 0, 1)).Content());
    const TiffFile file(path.Path());
    EXPECT_EQ(file.GeoKeys(), (std::vector<std::uint16_t>{1, 1, 0, 1, 3072, 0, 1, 31985}));
    EXPECT_EQ(file.GeoTexts(), "here|");
}

void ReadAll(const std::filesystem::path& path) {
    TiffFile file(path);
    const TiffWindow window{0, 0, 0, std::min(file.Width(), 64), std::min(file.Height(), 64)};
    file.HasColors() ? static_cast<void>(ReadColors(file, window)) : static_cast<void>(ReadValues(file, window));
}

struct TiffDamage {
    const char* name;
    std::function<std::string()> content;
    const char* complaint;
};

class DamagedTiff : public testing::TestWithParam<TiffDamage> {};

TEST_P(DamagedTiff, IsRefusedWithItsReason) {
    const std::string complaint = Complaint(ReadAll, GetParam().content(), ".tif");
    EXPECT_NE(complaint.find(GetParam().complaint), std::string::npos) << complaint;
}

/// A file of an image that is changed first.
std::string Changed(const std::function<void(Image&, TiffBytes&)>& change) {
    Image image = Level(40, 40, 0, 5);
    TiffBytes tiff;
    PlaceHere(tiff);
    change(image, tiff);
    return tiff.Put(image).Content();
}

INSTANTIATE_TEST_SUITE_P(
    Everywhere, DamagedTiff,
    testing::Values(TiffDamage{"noDirectory", [] { return std::string("II*\0\xFF\0\0\0", 8); }, "damaged TIFF"},
                    TiffDamage{"unknownCompression",
                               [] { return Changed([](Image& i, TiffBytes&) { i.compression = Compression{65000}; }); },
                               "compression 65000, which is not read; gdal_translate"},
                    TiffDamage{"fourBits", [] { return Changed([](Image& i, TiffBytes&) { i.bits = 4; }); },
                               "samples with 4 bits"},
                    TiffDamage{"cmyk", [] { return Changed([](Image& i, TiffBytes&) { i.photometric = 5; }); },
                               "colours of kind 5"},
                    TiffDamage{"nowhere", [] { return TiffBytes().Put(Level(7, 5, 0, 1)).Content(); }, "says nowhere"},
                    TiffDamage{"withoutArea",
                               [] { return Changed([](Image&, TiffBytes& tags) {
                                        tags.Numbers(33550, {0, 1, 0});
                                    }); },
                               "without an area"},
                    TiffDamage{"farAway",
                               [] {
                                   return Changed([](Image&, TiffBytes& tags) { tags.Numbers(33550, {1e300, 1, 0}); });
                               },
                               "nowhere"},
                    TiffDamage{"fewerStrips",
                               [] {
                                   return Changed([](Image& i, TiffBytes&) {
                                              i.rowsPerStrip = 1;
                                              i.width = 1;
                                              i.height = 4000;
                                          })
                                       .substr(0, 3000);
                               },
                               "damaged"},
                    TiffDamage{"emptiedStrip",
                               [] {
                                   std::string content =
                                       Changed([](Image& i, TiffBytes&) { i.compression = kDeflate; });
                                   return content.replace(8, 20, 20, '\xFF');
                               },
                               "strip 0 is damaged"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(TiffFile, RandomDamage_NeverDoesMoreThanRefuse) {
    Image image;
    image.samples = 3;
    image.photometric = 2;
    image.tile = 16;
    image.width = 40;
    image.height = 20;
    image.compression = kLzw;
    image.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t band) { return x * 5 + y * band; };
    Image overview = image;
    overview.width = 20;
    overview.height = 10;
    overview.subfile = 1;
    TiffBytes tiff;
    PlaceHere(tiff).Shorts(34735, {1, 1, 0, 1, 1025, 0, 1, 1}).Put(image).Put(overview);
    EXPECT_GT(CountRefusedMutations(ReadAll, tiff.Content(), ".tif"), 0);
}

} // namespace
} // namespace OrrinViewer
