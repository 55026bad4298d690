#include "CloudReaders.h"

#include <clouds/CloudIntake.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

using namespace KTR;

constexpr unsigned int kPoints = 8'192;
constexpr unsigned long long kChunkBytes = kPoints * sizeof(PointCloudRecord);

/// A folder of its own, so that what lies in it is the store's.
class StoreTest : public testing::Test {
protected:
    StoreTest() {
        m_folder = std::filesystem::temp_directory_path() / ("clouds" + std::to_string(GetCurrentProcessId()));
        std::filesystem::create_directories(m_folder);
    }
    ~StoreTest() override {
        EXPECT_EQ(CountFiles(), 0) << "the file goes with the store";
        std::filesystem::remove_all(m_folder);
    }
    int CountFiles() const {
        int files = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(m_folder)) {
            ++files;
        }
        return files;
    }
    CString Folder() const { return m_folder.wstring().c_str(); }

private:
    std::filesystem::path m_folder;
};

/// The intensities are `number` and up.
CloudChunk ChunkOf(unsigned int number, unsigned int points = kPoints) {
    CloudChunk chunk;
    chunk.spread = true;
    chunk.box.Include({0.0, 0.0, 0.0});
    chunk.records.resize(points);
    for (unsigned int index = 0; index < points; ++index) {
        chunk.records[index].intensity = static_cast<float>(number * points + index);
    }
    return chunk;
}

/// All records of a chunk, as far as they are in main memory.
std::vector<float> Intensities(ChunkStore& store, const StoredChunk& chunk, unsigned int number) {
    std::vector<float> intensities;
    for (unsigned int piece = 0; piece < chunk.pieces; ++piece) {
        if (const PieceRecords records = store.Find({number, piece})) {
            for (const PointCloudRecord& record : *records) {
                intensities.push_back(record.intensity);
            }
        }
    }
    return intensities;
}

bool HasAll(const std::vector<float>& intensities, unsigned int number) {
    for (unsigned int index = 0; index < kPoints; ++index) {
        if (intensities.size() != kPoints || intensities[index] != static_cast<float>(number * kPoints + index)) {
            return false;
        }
    }
    return true;
}

std::vector<PieceId> PiecesOf(unsigned int chunk) {
    return {{chunk, 0}, {chunk, 1}, {chunk, 2}, {chunk, 3}};
}

TEST(StoredChunks, PiecesAreAllOfAChunkAndGrow) {
    StoredChunk chunk;
    chunk.pieces = kMostPieces;
    for (const unsigned int count : {4'096U, 5'001U, 65'536U}) {
        chunk.count = count;
        EXPECT_EQ(chunk.PieceBegin(0), 0U);
        EXPECT_EQ(chunk.PieceBegin(kMostPieces), count);
        for (unsigned int piece = 1; piece < kMostPieces; ++piece) {
            EXPECT_NEAR(chunk.PieceCount(piece), 3.0 * chunk.PieceBegin(piece), 4.0);
        }
    }
}

TEST_F(StoreTest, CloudThatFitsIntoMemoryMakesNoFile) {
    ChunkStore store({10 * kChunkBytes, 1ULL << 30, Folder()});
    for (unsigned int number = 0; number < 10; ++number) {
        EXPECT_EQ(store.Add(ChunkOf(number)), S_OK);
    }
    EXPECT_EQ(store.GetMemoryBytes(), 10 * kChunkBytes);
    EXPECT_EQ(store.GetFileBytes(), 0U);
    EXPECT_EQ(CountFiles(), 0);
}

TEST_F(StoreTest, MemoryStaysWithinItsLimitAndNoPointIsLost) {
    constexpr unsigned long long kLimit = 4 * kChunkBytes;
    ChunkStore store({kLimit, 1ULL << 30, Folder()});
    for (unsigned int number = 0; number < 40; ++number) {
        ASSERT_EQ(store.Add(ChunkOf(number)), S_OK);
        ASSERT_LE(store.GetMemoryBytes(), kLimit);
    }
    EXPECT_EQ(CountFiles(), 1);
    EXPECT_GE(store.GetFileBytes(), 36 * kChunkBytes);
    std::vector<StoredChunk> chunks;
    store.AppendNew(chunks);
    ASSERT_EQ(chunks.size(), 40U);
    std::vector<ChunkStore::Pieces> pieces;
    store.GetPieces(pieces);
    for (const ChunkStore::Pieces& ofChunk : pieces) {
        EXPECT_EQ(ofChunk.inMemory & 1, 1) << "the overview is what goes last";
    }
    for (unsigned int number = 0; number < 40; ++number) {
        store.Want(this, PiecesOf(number));
        ASSERT_TRUE(Await([&] { return HasAll(Intensities(store, chunks[number], number), number); })) << number;
        ASSERT_LE(store.GetMemoryBytes(), kLimit);
    }
    EXPECT_LE(store.GetFileBytes(), 40 * kChunkBytes) << "nothing is written twice";
    EXPECT_EQ(store.GetResult(), S_OK);
}

// What a view waits for must not be pushed out by what it waits for as well, or neither would ever be drawn.
TEST_F(StoreTest, WantedPiecesStayUntilTheyAreWantedNoMore) {
    ChunkStore store({2 * kChunkBytes, 1ULL << 30, Folder()});
    for (unsigned int number = 0; number < 8; ++number) {
        ASSERT_EQ(store.Add(ChunkOf(number)), S_OK);
    }
    std::vector<StoredChunk> chunks;
    store.AppendNew(chunks);
    std::vector<PieceId> wanted;
    for (unsigned int number = 0; number < 8; ++number) {
        const std::vector<PieceId> more = PiecesOf(number);
        wanted.insert(wanted.end(), more.begin(), more.end());
    }
    for (unsigned int number = 0; number < 8; ++number) {
        store.Want(this, {wanted.begin() + 4 * number, wanted.end()});
        ASSERT_TRUE(Await([&] { return HasAll(Intensities(store, chunks[number], number), number); })) << number;
        EXPECT_TRUE(HasAll(Intensities(store, chunks[number], number), number)) << "and still there";
        ASSERT_LE(store.GetMemoryBytes(), 2 * kChunkBytes);
    }
}

TEST_F(StoreTest, FileThatCannotGrowEndsItAndWhatIsThereStays) {
    struct Case {
        const char* name;
        CString folder;
        unsigned long long fileBytes;
        long result;
    };
    for (const Case& tested : {Case{"full", Folder(), 3 * kChunkBytes, HRESULT_FROM_WIN32(ERROR_DISK_FULL)},
                               Case{"no folder", Folder() + L"\\nowhere", 1ULL << 30, 0}}) {
        ChunkStore store({2 * kChunkBytes, tested.fileBytes, tested.folder});
        unsigned int added = 0;
        while (added < 20 && store.Add(ChunkOf(added)) == S_OK) {
            ++added;
        }
        EXPECT_GE(added, 2U) << tested.name;
        EXPECT_LT(added, 8U) << tested.name;
        EXPECT_LT(store.GetResult(), 0) << tested.name;
        EXPECT_TRUE(tested.result == 0 || tested.result == store.GetResult()) << tested.name;
        std::vector<StoredChunk> chunks;
        store.AppendNew(chunks);
        EXPECT_EQ(chunks.size(), added) << tested.name;
        for (unsigned int number = 0; number < added; ++number) {
            for (const PieceId id : PiecesOf(number)) {
                store.Want(this, {id});
                ASSERT_TRUE(Await([&] { return store.Find(id) != nullptr; })) << tested.name;
                EXPECT_EQ(store.Find(id)->front().intensity,
                          static_cast<float>(number * kPoints + chunks[number].PieceBegin(id.piece)));
            }
        }
    }
}

/// Reads as told.
class ToldReader : public PointCloudReader {
public:
    using Answer = std::function<long(PointCloudPoint* points, std::size_t capacity, std::size_t& count)>;
    explicit ToldReader(Answer answer) : m_answer(std::move(answer)) {}
    unsigned long long GetPointCount() const override { return 1'000'000'000; }
    long Read(PointCloudPoint* points, std::size_t capacity, std::size_t& count) override {
        return m_answer(points, capacity, count);
    }

private:
    Answer m_answer;
};

long GiveMany(PointCloudPoint* points, std::size_t capacity, std::size_t& count) {
    for (count = 0; count < capacity; ++count) {
        points[count].position = {static_cast<double>(count), 1.0, 2.0};
    }
    return S_OK;
}

class IntakeTest : public StoreTest {
protected:
    ChunkStore store{{64 * kChunkBytes, 1ULL << 30, Folder()}};
    ChunkBuilder::Settings settings{.chunkPoints = 1'000, .runPoints = 10'000, .pointsInOrder = 5'000};

    std::size_t CountPoints() const {
        std::vector<StoredChunk> chunks;
        store.AppendNew(chunks);
        std::size_t points = 0;
        for (const StoredChunk& chunk : chunks) {
            points += chunk.count;
        }
        return points;
    }
};

TEST_F(IntakeTest, EndlessReaderIsStoppedInTheMiddle) {
    CloudIntake intake(std::make_unique<ToldReader>(GiveMany), store, settings);
    ASSERT_TRUE(Await([&] { return CountPoints() > 50'000; }));
    EXPECT_TRUE(intake.GetState().reads);
    EXPECT_EQ(intake.GetState().pointCount, 1'000'000'000U);
    EXPECT_EQ(intake.GetState().box.high.z, 2.0);
}

/// Waits for points that never come.
class WaitingReader : public PointCloudReader {
public:
    explicit WaitingReader(std::atomic<bool>& waits) : m_waits(waits) {}
    long Read(PointCloudPoint*, std::size_t, std::size_t&) override {
        m_waits = true;
        while (!m_cancelled) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return E_ABORT;
    }
    void Cancel() override { m_cancelled = true; }

private:
    std::atomic<bool>& m_waits;
    std::atomic<bool> m_cancelled = false;
};

TEST_F(IntakeTest, WaitingReaderIsCancelled) {
    std::atomic<bool> waits = false;
    const CloudIntake intake(std::make_unique<WaitingReader>(waits), store, settings);
    EXPECT_TRUE(Await([&] { return waits.load(); }));
}

TEST_F(IntakeTest, FailureEndsTheReadingAndWhatCameBeforeIsShown) {
    struct Case {
        const char* name;
        long result;
        long expected;
    };
    for (const Case& tested :
         {Case{"fails", E_ACCESSDENIED, E_ACCESSDENIED}, Case{"throws", 1, E_UNEXPECTED},
          Case{"runs out of memory", 2, E_OUTOFMEMORY}, Case{"throws what is no exception", 3, E_UNEXPECTED}}) {
        const std::size_t before = CountPoints();
        std::size_t given = 0;
        const auto answer = [&](PointCloudPoint* points, std::size_t capacity, std::size_t& count) {
            if (given < 25'000) {
                GiveMany(points, std::min<std::size_t>(capacity, 1'000), count);
                given += count;
                return static_cast<long>(S_OK);
            }
            if (tested.result == 1) {
                throw std::runtime_error("a broken file");
            }
            if (tested.result == 2) {
                throw std::bad_alloc();
            }
            if (tested.result == 3) {
                throw 3;
            }
            return tested.result;
        };
        const CloudIntake intake(std::make_unique<ToldReader>(answer), store, settings);
        ASSERT_TRUE(Await([&] { return !intake.GetState().delivers; })) << tested.name;
        EXPECT_EQ(intake.GetState().result, tested.expected) << tested.name;
        EXPECT_FALSE(intake.GetState().reads) << tested.name;
        EXPECT_EQ(CountPoints() - before, 25'000U) << tested.name;
    }
}

/// Throws what is no exception where it is asked for the count, and where it is cancelled.
class ThrowingReader : public PointCloudReader {
public:
    explicit ThrowingReader(bool tellsCount) : m_tellsCount(tellsCount) {}
    unsigned long long GetPointCount() const override { return m_tellsCount ? 1 : throw "no count"; }
    long Read(PointCloudPoint*, std::size_t, std::size_t& count) override {
        count = 0;
        return S_OK;
    }
    void Cancel() override { throw 5; }

private:
    bool m_tellsCount;
};

// Nobody stands above the threads of a layer, nor above its end, who could catch what a host's reader throws.
TEST_F(IntakeTest, WhatAReaderThrowsEndsThere) {
    for (const bool tellsCount : {false, true}) {
        const CloudIntake intake(std::make_unique<ThrowingReader>(tellsCount), store, settings);
        ASSERT_TRUE(Await([&] { return !intake.GetState().delivers; }));
        EXPECT_EQ(intake.GetState().result, tellsCount ? S_OK : E_UNEXPECTED);
    }
}

// Drawn about the origin that the host draws about, a small cloud looks as if the host had drawn it.
TEST_F(IntakeTest, SmallCloudWaitsForTheOriginItIsDrawnAbout) {
    std::vector<PointCloudPoint> points(2'500);
    points.back().position.x = 700.0;
    CloudIntake intake(std::make_unique<ListReader>(points), store, settings);
    ASSERT_TRUE(Await([&] { return !intake.GetState().reads; }));
    EXPECT_TRUE(intake.GetState().delivers);
    EXPECT_EQ(intake.GetState().pointsRead, 2'500U);
    EXPECT_EQ(CountPoints(), 0U);
    intake.OfferOrigin({300.0, 0.0, 0.0});
    intake.OfferOrigin({400.0, 0.0, 0.0});
    ASSERT_TRUE(Await([&] { return !intake.GetState().delivers; }));
    std::vector<StoredChunk> chunks;
    store.AppendNew(chunks);
    ASSERT_EQ(chunks.size(), 3U);
    EXPECT_EQ(chunks[2].origin.x, 300.0);
    EXPECT_EQ(store.Find({2, 0})->back().x, 400.0F);
}

} // namespace
