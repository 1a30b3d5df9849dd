#include "base/Dispatch.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace Bedrock::Dispatch;

TEST(DispatchTest, VisitsEveryIndexOnce) {
    for (unsigned long count : {0ul, 1ul, 2ul, 3ul, 1000ul, 100003ul}) {
        std::unique_ptr<std::atomic<int>[]> visits(new std::atomic<int>[count + 1]());
        DispatchParallelFor([&](unsigned long i) { visits[i].fetch_add(1); }, count, kPriorityDefault, kPurposeCompute,
                            0);
        for (unsigned long i = 0; i < count; ++i) ASSERT_EQ(visits[i].load(), 1) << "index " << i << " of " << count;
        EXPECT_EQ(visits[count].load(), 0);
    }
}

TEST(DispatchTest, NestedAndConcurrentLoops) {
    // A loop inside a loop's body runs inline rather than wait for the pool.
    std::atomic<long> sum{0};
    DispatchParallelFor(
        [&](unsigned long i) {
            DispatchParallelFor([&](unsigned long j) { sum.fetch_add(static_cast<long>(i * 100 + j)); }, 10,
                                kPriorityDefault, kPurposeCompute, 0);
        },
        50, kPriorityDefault, kPurposeCompute, 0);
    EXPECT_EQ(sum.load(), 10L * (100 * 49 * 50 / 2) + 50L * 45);

    // Loops from several threads at once all complete.
    std::atomic<long> total{0};
    std::vector<std::thread> callers;
    for (int t = 0; t < 4; ++t) {
        callers.emplace_back([&] {
            for (int round = 0; round < 20; ++round)
                DispatchParallelFor([&](unsigned long) { total.fetch_add(1); }, 500, kPriorityDefault, kPurposeCompute,
                                    0);
        });
    }
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(total.load(), 4L * 20 * 500);
}

TEST(DispatchTest, ContainerForm) {
    std::vector<int> values(1000);
    for (int i = 0; i < 1000; ++i) values[i] = i;
    DispatchParallelFor(
        values, [](int& value) { value *= 2; }, kPriorityDefault, kPurposeCompute, 0);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(values[i], 2 * i);

    // One thread at most: everything on the caller's.
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<int> elsewhere{0};
    DispatchParallelFor(
        values, [&](const int&) { elsewhere += std::this_thread::get_id() != caller; }, kPriorityDefault,
        kPurposeCompute, 1);
    EXPECT_EQ(elsewhere.load(), 0);
}

}  // namespace
