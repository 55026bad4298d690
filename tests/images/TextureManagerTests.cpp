#include <OrrinDisplay.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace KTR;

namespace {

GLTextureObject Texture(const wchar_t* name, int width, int height, int bytesPerGroup = 4) {
    GLTextureObject texture;
    texture.name = name;
    texture.textureWidth = width;
    texture.textureHeight = height;
    texture.bytesPerGroup = bytesPerGroup;
    return texture;
}

class TextureBookkeeping : public testing::Test {
protected:
    GLTextureObject* Add(const wchar_t* name, unsigned int texture, int width = 2, int height = 3) {
        GLTextureObject* entry = nullptr;
        EXPECT_EQ(cache.AddTexture(Texture(name, width, height), texture, texture + 100, &entry), S_OK);
        return entry;
    }
    POSITION PositionOf(unsigned int texture) const {
        POSITION position = nullptr;
        EXPECT_EQ(cache.FindTextureByID(texture, nullptr, &position), S_OK);
        return position;
    }
    /// Texture names from the head to the tail, "-" for a node without an entry.
    std::string Order() const {
        std::string order;
        for (POSITION position = cache.GetHeadPosition(); position;) {
            const GLTextureObject* entry = cache.GetNext(position);
            order += entry ? std::to_string(entry->texture) : "-";
        }
        return order;
    }
    COpenGLViewTextureManager cache;
};

TEST_F(TextureBookkeeping, EntryIsACopyWithTheNamesGiven) {
    GLTextureObject source = Texture(L"ortho", 20, 30, 3);
    source.imageWidth = 40;
    source.imageHeight = 50;
    source.size = 7;
    source.regionXMin = 1;
    source.regionXMax = 20;
    source.regionYMin = 2;
    source.regionYMax = 31;
    source.components = 3;
    source.partial = true;
    source.texture = 77;
    source.sampler = 78;
    source.scale = 0.5;
    GLTextureObject* entry = nullptr;
    ASSERT_EQ(cache.AddTexture(source, 5, 6, &entry), S_OK);
    EXPECT_EQ(entry->name, L"ortho");
    const int copied[] = {entry->imageWidth, entry->imageHeight,  entry->textureWidth, entry->textureHeight,
                          entry->regionXMin, entry->regionXMax,   entry->regionYMin,   entry->regionYMax,
                          entry->components, entry->bytesPerGroup};
    const int expected[] = {40, 50, 20, 30, 1, 20, 2, 31, 3, 3};
    EXPECT_TRUE(std::equal(std::begin(copied), std::end(copied), std::begin(expected)));
    EXPECT_EQ(entry->size, 3 * 30 * 20) << "reckoned anew, whatever the source says";
    EXPECT_TRUE(entry->partial);
    EXPECT_EQ(entry->texture, 5U);
    EXPECT_EQ(entry->sampler, 6U);
    EXPECT_EQ(entry->scale, 0.5);
    EXPECT_EQ(cache.GetTextureCacheSize(), 1800U);
}

// A name that hosts build from the same parts must not find another layer's texture.
TEST_F(TextureBookkeeping, NamesAreComparedWholeAndTheFirstFromTheHeadCounts) {
    for (const wchar_t* name : {L"layer 1", L"layer 10", L"Layer 1", L"", L"layer 1"}) {
        Add(name, static_cast<unsigned int>(cache.GetCount()) + 1);
    }
    const auto find = [&](const wchar_t* name) {
        GLTextureObject* entry = nullptr;
        return cache.FindTextureByName(name, &entry, nullptr) == S_OK ? entry->texture : 0U;
    };
    EXPECT_EQ(find(L"layer 1"), 1U);
    EXPECT_EQ(find(L"layer 10"), 2U);
    EXPECT_EQ(find(L"Layer 1"), 3U);
    EXPECT_EQ(find(L""), 4U);
    EXPECT_EQ(find(L"layer"), 0U);
    EXPECT_EQ(find(nullptr), 0U);
    EXPECT_EQ(cache.DeleteTexture(L"layer 1"), S_OK);
    EXPECT_EQ(find(L"layer 1"), 5U);
    GLTextureObject* sixth = Add(L"layer 1", 6);
    POSITION position = PositionOf(5);
    GLTextureObject* fifth = cache.GetAt(position);
    EXPECT_EQ(cache.MakeTextureNewest(fifth), S_OK);
    EXPECT_EQ(find(L"layer 1"), 6U) << "the list's order, not that of the additions";
    EXPECT_EQ(Order(), "23465");
    EXPECT_EQ(cache.MakeTextureNewest(sixth), S_OK);
    EXPECT_EQ(find(L"layer 1"), 5U);
    EXPECT_EQ(cache.DeleteTexture(fifth, PositionOf(5)), S_OK);
    EXPECT_EQ(find(L"layer 1"), 6U);
    EXPECT_EQ(cache.DeleteTexture(L"layer 1"), S_OK);
    EXPECT_EQ(cache.DeleteTexture(L"layer 1"), E_INVALIDARG);
}

TEST_F(TextureBookkeeping, EveryWayOutTakesItsBytesAlong) {
    for (unsigned int texture = 1; texture <= 5; ++texture) {
        Add(std::to_wstring(texture).c_str(), texture, static_cast<int>(texture), 10);
    }
    EXPECT_EQ(cache.GetTextureCacheSize(), 600U);
    EXPECT_EQ(cache.DeleteTexture(L"3"), S_OK);
    EXPECT_EQ(cache.DeleteTexture(5U), S_OK);
    EXPECT_EQ(cache.DeleteTexture(5U), E_INVALIDARG);
    EXPECT_EQ(cache.GetTextureCacheSize(), 280U);
    EXPECT_EQ(Order(), "124");
    EXPECT_EQ(cache.DeleteTextureLRU(), S_OK);
    EXPECT_EQ(cache.DeleteTexture(cache.GetAt(PositionOf(2)), PositionOf(2)), S_OK);
    EXPECT_EQ(Order(), "4");
    EXPECT_EQ(cache.DeleteTextureLRU(), S_OK);
    EXPECT_EQ(cache.GetTextureCacheSize(), 0U);
    EXPECT_EQ(cache.DeleteTextureLRU(), E_INVALIDARG);
    GLTextureObject unchanged;
    GLTextureObject* entry = &unchanged;
    EXPECT_EQ(cache.FindTextureLRU(&entry, nullptr), E_INVALIDARG);
    EXPECT_EQ(entry, nullptr);
    Add(L"again", 9);
    EXPECT_EQ(cache.DeleteTextureObjects(), S_OK);
    EXPECT_EQ(cache.GetTextureCacheSize(), 0U);
    EXPECT_EQ(cache.GetCount(), 0);
}

TEST_F(TextureBookkeeping, NodeWithoutAnEntryIsSteppedOver) {
    GLTextureObject* first = Add(L"first", 1);
    GLTextureObject* second = Add(L"second", 2);
    EXPECT_EQ(cache.DeleteTexture(first, nullptr), E_INVALIDARG);
    EXPECT_EQ(cache.GetTextureCacheSize(), 24U) << "the entry is gone";
    EXPECT_EQ(Order(), "-2") << "its node is not";
    GLTextureObject* found = nullptr;
    POSITION position = nullptr;
    EXPECT_EQ(cache.FindTextureByName(L"first", &found, &position), E_INVALIDARG);
    EXPECT_EQ(cache.FindTextureByID(1, &found, &position), E_INVALIDARG);
    EXPECT_EQ(cache.FindTextureLRU(&found, &position), S_OK);
    EXPECT_EQ(found, second);
    EXPECT_EQ(cache.DeleteTextureLRU(), E_INVALIDARG) << "the head held none";
    EXPECT_EQ(Order(), "2");
    EXPECT_EQ(cache.DeleteTextureLRU(), S_OK);
}

TEST_F(TextureBookkeeping, WhatDoesNotBelongTogetherIsLeftAlone) {
    GLTextureObject* first = Add(L"first", 1);
    GLTextureObject* second = Add(L"second", 2);
    GLTextureObject strange = Texture(L"first", 1, 1);
    EXPECT_EQ(cache.DeleteTexture(first, PositionOf(2)), E_INVALIDARG);
    EXPECT_EQ(cache.DeleteTexture(nullptr, PositionOf(2)), E_INVALIDARG);
    EXPECT_EQ(cache.DeleteTexture(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(cache.DeleteTexture(&strange, nullptr), E_INVALIDARG);
    EXPECT_EQ(cache.MakeTextureNewest(&strange), E_INVALIDARG);
    EXPECT_EQ(cache.MakeTextureNewest(nullptr), E_INVALIDARG);
    EXPECT_EQ(Order(), "12");
    EXPECT_EQ(cache.GetTextureCacheSize(), 48U);
    second->name = L"renamed by the host";
    EXPECT_EQ(cache.DeleteTexture(second, nullptr), E_INVALIDARG);
    EXPECT_EQ(Order(), "1-");
}

TEST_F(TextureBookkeeping, SizesAreComputedWide) {
    constexpr int kLargest = std::numeric_limits<int>::max();
    GLTextureObject* entry = nullptr;
    EXPECT_EQ(cache.AddTexture(Texture(L"32768 squared", 32768, 32768), 1, 1, &entry), S_OK);
    EXPECT_EQ(entry->size, kLargest);
    EXPECT_EQ(cache.AddTexture(Texture(L"all", kLargest, kLargest, kLargest), 2, 2, &entry), S_OK);
    EXPECT_EQ(entry->size, kLargest);
    EXPECT_EQ(cache.GetTextureCacheSize(), 2ULL * kLargest);
    EXPECT_EQ(cache.AddTexture(Texture(L"negative", -1, 5), 3, 3, &entry), E_INVALIDARG);
    EXPECT_EQ(entry, nullptr);
    EXPECT_EQ(cache.DeleteTexture(L"all"), S_OK);
    EXPECT_EQ(cache.GetTextureCacheSize(), static_cast<unsigned long long>(kLargest));
}

} // namespace
