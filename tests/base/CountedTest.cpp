#include "base/Counted.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "base/String.h"

namespace {

using Bedrock::Counted;
using Bedrock::CountedControlBlockCache;

class Probe : public Bedrock::Countable {
public:
    explicit Probe(std::atomic<int>* destroyed = nullptr) : m_destroyed(destroyed) {}
    ~Probe() override {
        if (m_destroyed) m_destroyed->fetch_add(1);
    }
    int value = 7;

private:
    std::atomic<int>* m_destroyed;
};

class DerivedProbe : public Probe {};

TEST(CountedTest, ReferencesAndConversions) {
    std::atomic<int> destroyed{0};
    {
        Counted<Probe> first(new Probe(&destroyed));
        EXPECT_EQ(first->GetReferenceCount(), 1u);
        Counted<Probe> second = first;
        EXPECT_EQ(first->GetReferenceCount(), 2u);
        Counted<Probe> moved = std::move(second);
        EXPECT_FALSE(second);
        EXPECT_EQ(first->GetReferenceCount(), 2u);
        Counted<const Probe> constant = first;
        EXPECT_EQ(first->GetReferenceCount(), 3u);
        Bedrock::NonCounted<Probe> weak = first;
        EXPECT_EQ(first->GetReferenceCount(), 3u);
        EXPECT_EQ(Counted<Probe>(weak), first);
    }
    EXPECT_EQ(destroyed.load(), 1);

    Counted<Probe> base = Bedrock::MakeCounted<DerivedProbe>();
    EXPECT_TRUE(Bedrock::DynamicCast<DerivedProbe>(base));
    EXPECT_FALSE(Bedrock::DynamicCast<DerivedProbe>(Bedrock::MakeCounted<Probe>()));
}

// Copies and releases of one object and one string from several threads at
// once: the counts must come out exact (and ThreadSanitizer must stay quiet).
TEST(CountedTest, ConcurrentCopiesFromSeveralThreads) {
    std::atomic<int> destroyed{0};
    Counted<Probe> shared(new Probe(&destroyed));
    const Bedrock::Utf8String text("shared between threads");
    constexpr int kThreads = 6;
    constexpr int kRounds = 20000;
    std::atomic<int> sum{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            std::vector<Counted<Probe>> held;
            int local = 0;
            for (int i = 0; i < kRounds; ++i) {
                held.push_back(shared);
                Bedrock::Utf8String copy = text;
                local += copy.GetLength() == text.GetLength() ? held.back()->value : 0;
                if (held.size() == 16) held.clear();
            }
            sum.fetch_add(local);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(sum.load(), kThreads * kRounds * 7);
    EXPECT_EQ(shared->GetReferenceCount(), 1u);
    EXPECT_EQ(destroyed.load(), 0);
    shared.Reset();
    EXPECT_EQ(destroyed.load(), 1);
}

// Objects made on one thread, released on others.
TEST(CountedTest, ObjectsReleasedOnOtherThreads) {
    std::atomic<int> destroyed{0};
    constexpr int kObjects = 200;
    std::vector<Counted<Probe>> objects;
    for (int i = 0; i < kObjects; ++i) objects.push_back(Bedrock::MakeCounted<Probe>(&destroyed));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        std::vector<Counted<Probe>> share(objects.begin() + t * kObjects / 4, objects.begin() + (t + 1) * kObjects / 4);
        threads.emplace_back([mine = std::move(share)]() mutable { mine.clear(); });
    }
    objects.clear();
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(destroyed.load(), kObjects);
}

// The cache holds 32 blocks per thread: of 33 objects released in a row, the
// 33rd block goes back to the allocator, and the thread's exit frees the 32.
TEST(CountedTest, BlockCacheHoldsThirtyTwo) {
    const uint64_t freedBefore = CountedControlBlockCache::GetFreedCount();
    uint64_t allocatedInThread = 0;
    uint64_t freedInThread = 0;
    int cachedAfterRelease = -1;
    uint64_t allocatedOnReuse = 1;
    std::thread worker([&] {
        const uint64_t allocated = CountedControlBlockCache::GetAllocatedCount();
        const uint64_t freed = CountedControlBlockCache::GetFreedCount();
        {
            std::vector<Counted<Probe>> objects;
            for (int i = 0; i < 33; ++i) objects.push_back(Bedrock::MakeCounted<Probe>());
            allocatedInThread = CountedControlBlockCache::GetAllocatedCount() - allocated;
        }
        freedInThread = CountedControlBlockCache::GetFreedCount() - freed;
        cachedAfterRelease = CountedControlBlockCache::GetCachedCount();
        // The cached blocks serve the next objects without the allocator.
        const uint64_t beforeReuse = CountedControlBlockCache::GetAllocatedCount();
        {
            std::vector<Counted<Probe>> objects;
            for (int i = 0; i < 32; ++i) objects.push_back(Bedrock::MakeCounted<Probe>());
        }
        allocatedOnReuse = CountedControlBlockCache::GetAllocatedCount() - beforeReuse;
    });
    worker.join();
    EXPECT_EQ(allocatedInThread, 33u);
    EXPECT_EQ(freedInThread, 1u);
    EXPECT_EQ(cachedAfterRelease, CountedControlBlockCache::kCapacity);
    EXPECT_EQ(allocatedOnReuse, 0u);
    // 1 released past the cache, then 32 at the thread's exit.
    EXPECT_EQ(CountedControlBlockCache::GetFreedCount() - freedBefore, 33u);
}

// A thread whose first contact with the library is a release sets up its
// cache there and then, and frees the block at its exit.
TEST(CountedTest, FirstContactIsARelease) {
    std::atomic<int> destroyed{0};
    Counted<Probe> object(new Probe(&destroyed));
    int cached = -1;
    std::thread worker([&cached, mine = std::move(object)]() mutable {
        mine.Reset();
        cached = CountedControlBlockCache::GetCachedCount();
    });
    worker.join();
    EXPECT_EQ(destroyed.load(), 1);
    EXPECT_EQ(cached, 1);
}

}  // namespace
