#include "core/AllocationWatch.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<size_t> g_largestAllocation{0};

}  // namespace

namespace {

void* Allocate(std::size_t size) noexcept {
    size_t seen = g_largestAllocation.load(std::memory_order_relaxed);
    while (size > seen && !g_largestAllocation.compare_exchange_weak(seen, size, std::memory_order_relaxed)) {
    }
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

// Every form that pairs with the plain deletes below is replaced, so that no
// block from the library's own operator new reaches free() (the sanitizers
// report such a mismatch).
void* operator new(std::size_t size) {
    if (void* block = Allocate(size)) return block;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    if (void* block = Allocate(size)) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }

namespace TypeframeTest {

void ResetLargestAllocation() { g_largestAllocation = 0; }
size_t GetLargestAllocation() { return g_largestAllocation.load(); }

}  // namespace TypeframeTest
