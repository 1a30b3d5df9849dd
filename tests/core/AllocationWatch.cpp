#include "core/AllocationWatch.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<size_t> g_largestAllocation{0};

}  // namespace

void* operator new(std::size_t size) {
    size_t seen = g_largestAllocation.load(std::memory_order_relaxed);
    while (size > seen && !g_largestAllocation.compare_exchange_weak(seen, size, std::memory_order_relaxed)) {
    }
    if (void* block = std::malloc(size != 0 ? size : 1)) return block;
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace TypeframeTest {

void ResetLargestAllocation() { g_largestAllocation = 0; }
size_t GetLargestAllocation() { return g_largestAllocation.load(); }

}  // namespace TypeframeTest
