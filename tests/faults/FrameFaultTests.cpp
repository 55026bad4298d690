#include "FailingAllocation.h"
#include "support/Outlines.h"

#include <filesystem>

namespace {

using FrameFaults = FreshProcessTest;

struct PoolFault {
    const char* name;
    std::size_t size;
    int spared;
    int corners;   ///< of the polygon, a disc
    bool sameDisc; ///< what is left is a disc still
};

/// A vertex, and the array of pointers of a pool of one and of two steps.
constexpr std::size_t kVertexBytes = 32;
constexpr std::size_t kPoolBytes = 32'769 * sizeof(void*);

constexpr PoolFault kPoolFaults[] = {{"NoPool", kPoolBytes, 0, 1000, false},
                                     {"NoVertex", kVertexBytes, 0, 1000, false},
                                     {"FewVertices", kVertexBytes, 500, 1000, false},
                                     {"LastVertex", kVertexBytes, 32'768, 1000, true},
                                     {"NoSecondPool", 2 * kPoolBytes, 0, 40'000, false},
                                     {"FewVerticesOfTheSecondStep", kVertexBytes, 32'769 + 1000, 40'000, false}};

// Vertices that there is no memory for are left out; with memory again the next polygon is whole.
TEST_F(FrameFaults, TesselatorWithoutMemoryLeavesVerticesOut) {
    const auto disc = [](int corners) {
        return Outline{RingAround(64.0, 64.0, corners, false, [](double) { return 50.0; })};
    };
    for (const PoolFault& fault : kPoolFaults) {
        SCOPED_TRACE(fault.name);
        LiveView live;
        live.Clear();
        const Outline outline = disc(fault.corners);
        {
            const FailingAllocation failing(fault.size, fault.spared);
            FillOutline(*live.view, outline, {200, 200, 200, 255});
            EXPECT_GE(failing.Failures(), 1);
        }
        const int drawn = live.CountDrawn();
        EXPECT_LE(drawn, 7900);
        EXPECT_EQ(drawn > 7800, fault.sameDisc) << drawn;
        live.Clear();
        FillOutline(*live.view, outline, {200, 200, 200, 255});
        EXPECT_NEAR(live.CountDrawn(), 7854, 40);
    }
}

constexpr std::size_t kSmallestStore = 1024ULL * 768 * 4;

// A frame that cannot be stored: no half a store, and the next attempt works.
TEST_F(FrameFaults, BackingStoreIsThereWholeOrNotAtAll) {
    for (const bool programs : {false, true}) {
        ForgetFirstView();
        const auto first = programs ? ChoosePrograms() : nullptr;
        LiveView live;
        live.Clear(RGB(90, 80, 70));
        const auto save = [&](int width) {
            return live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, width, 128);
        };
        for (const int spared : {0, 1}) {
            live->DeleteBackingStore();
            ASSERT_EQ(save(128), S_OK);
            {
                const FailingAllocation failing(1028ULL * 768 * 4, spared);
                EXPECT_EQ(save(1026), E_OUTOFMEMORY);
                EXPECT_EQ(failing.Failures(), 2 - spared);
            }
            EXPECT_EQ(live->GetRGBABackingStore(), nullptr);
            EXPECT_EQ(live->GetRGBABackingStoreSizeInBytes(), 0U);
            live.Clear();
            live->RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, 128, 128, 0, 0, 128, 128, false, true, false);
            EXPECT_EQ(live.CountDrawn(), 0) << "nothing is stored";
        }
        EXPECT_EQ(save(128), S_OK);
        EXPECT_EQ(live->GetRGBABackingStoreSizeInBytes(), kSmallestStore);
        EXPECT_EQ(live->GetError(), 0U);
    }
}

// A full disk leaves no file that looks like an image; without memory for the padding the headers are all there is.
TEST_F(FrameFaults, BitmapFileOnAFullDisk) {
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "orrin_full_disk.bmp";
    std::string name = path.string();
    std::vector<unsigned char> pixels(5 * 2 * 3, 9);
    const std::pair<int, const wchar_t*> headers[] = {{0, L"Error  Header Write"}, {1, L"Error  Write"}};
    for (const auto& [sparedWrites, message] : headers) {
        DebugOutput debugger;
        g_sparedWrites = sparedWrites;
        EXPECT_FALSE(SaveRGBBufferToBMPFile(name.data(), 5, 2, GL_RGB, pixels.data()));
        g_sparedWrites = -1;
        EXPECT_EQ(debugger.Text(), message);
        EXPECT_FALSE(std::filesystem::exists(path));
    }
    {
        const FailingAllocation failing(6 * 2 * 3);
        EXPECT_TRUE(SaveRGBBufferToBMPFile(name.data(), 5, 2, GL_RGB, pixels.data()));
        EXPECT_EQ(failing.Failures(), 1);
    }
    EXPECT_EQ(std::filesystem::file_size(path), 54U);
    std::filesystem::remove(path);
}

} // namespace
