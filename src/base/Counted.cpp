#include "base/Counted.h"

#include <new>

namespace Bedrock {

namespace {

std::atomic<uint64_t> g_allocated{0};
std::atomic<uint64_t> g_freed{0};

// Trivially destructible, so it stays usable even after the thread-exit
// flush below has run (another thread_local may release a block later).
struct BlockCache {
    CountedControlBlock* blocks[CountedControlBlockCache::kCapacity];
    int count;
    bool live;  // the thread-exit flush is registered
    bool dead;  // the thread is exiting: blocks go straight to the allocator
};

thread_local BlockCache t_cache{};

void FreeBlock(CountedControlBlock* block) {
    ::operator delete(block);
    g_freed.fetch_add(1, std::memory_order_relaxed);
}

struct BlockCacheFlush {
    ~BlockCacheFlush() {
        while (t_cache.count > 0) FreeBlock(t_cache.blocks[--t_cache.count]);
        t_cache.dead = true;
    }
};

// Sets the cache up on the first use in each thread, including a thread
// whose first contact is the release of a block made elsewhere.
BlockCache& ThreadCache() {
    if (!t_cache.live) {
        t_cache.live = true;
        thread_local BlockCacheFlush flush;
        (void)flush;
    }
    return t_cache;
}

}  // namespace

CountedControlBlock* CountedControlBlockCache::Acquire() {
    BlockCache& cache = ThreadCache();
    void* memory;
    if (cache.count > 0 && !cache.dead) {
        memory = cache.blocks[--cache.count];
    } else {
        memory = ::operator new(sizeof(CountedControlBlock));
        g_allocated.fetch_add(1, std::memory_order_relaxed);
    }
    return new (memory) CountedControlBlock();
}

void CountedControlBlockCache::Release(CountedControlBlock* block) {
    block->~CountedControlBlock();
    BlockCache& cache = ThreadCache();
    if (cache.count < kCapacity && !cache.dead) {
        cache.blocks[cache.count++] = block;
    } else {
        FreeBlock(block);
    }
}

int CountedControlBlockCache::GetCachedCount() { return ThreadCache().count; }
uint64_t CountedControlBlockCache::GetAllocatedCount() { return g_allocated.load(); }
uint64_t CountedControlBlockCache::GetFreedCount() { return g_freed.load(); }

Countable::~Countable() {
    if (m_block->blockCount.fetch_sub(1, std::memory_order_seq_cst) == 1) CountedControlBlockCache::Release(m_block);
}

}  // namespace Bedrock
