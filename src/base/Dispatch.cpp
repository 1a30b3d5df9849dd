#include "base/Dispatch.h"

#include <algorithm>
#include <climits>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace Bedrock::Dispatch {

namespace {

// Set on the pool's threads, and on a caller while it takes part in its own
// loop: a loop started from there runs inline rather than wait on a pool
// that is busy with its caller.
thread_local bool t_insideLoop = false;

// Set when the pool has been destroyed at exit; later loops run inline.
std::atomic<bool> g_poolGone{false};

class Pool {
public:
    Pool() : m_size(std::max(1u, std::thread::hardware_concurrency())) {}

    ~Pool() {
        g_poolGone.store(true);
        {
            std::lock_guard lock(m_mutex);
            m_stop = true;
        }
        m_wake.notify_all();
        for (std::thread& thread : m_threads) thread.join();
    }

    unsigned int GetSize() const { return m_size; }

    // Runs the loop with the caller and up to helpers pool threads. False,
    // having run nothing, when another loop holds the pool.
    bool TryRun(const std::function<void(unsigned long)>& body, unsigned long count, unsigned int helpers) {
        std::unique_lock runLock(m_runMutex, std::try_to_lock);
        if (!runLock) return false;
        {
            std::lock_guard lock(m_mutex);
            if (m_stop) return false;
            while (m_threads.size() + 1 < m_size) m_threads.emplace_back([this] { WorkerLoop(); });
            m_body = &body;
            m_count = count;
            // Several chunks per thread, so that uneven iterations even out.
            m_chunk = std::max(1ul, count / ((helpers + 1ul) * 8ul));
            m_next.store(0);
            m_wanted = helpers;
            m_joined = 0;
            m_open = true;
            ++m_generation;
        }
        m_wake.notify_all();
        Work();
        std::unique_lock lock(m_mutex);
        m_finished.wait(lock, [this] { return m_active == 0; });
        // From here no thread joins this loop any more.
        m_open = false;
        m_body = nullptr;
        return true;
    }

private:
    void Work() {
        for (;;) {
            const unsigned long start = m_next.fetch_add(m_chunk);
            if (start >= m_count) return;
            const unsigned long end = m_count - start > m_chunk ? start + m_chunk : m_count;
            for (unsigned long i = start; i < end; ++i) (*m_body)(i);
        }
    }

    void WorkerLoop() {
        t_insideLoop = true;
        uint64_t seen = 0;
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [&] { return m_stop || m_generation != seen; });
            if (m_stop) return;
            seen = m_generation;
            if (!m_open || m_joined >= m_wanted) continue;
            ++m_joined;
            ++m_active;
            lock.unlock();
            Work();
            lock.lock();
            if (--m_active == 0) m_finished.notify_all();
        }
    }

    const unsigned int m_size;
    std::mutex m_runMutex;  // held by the one loop that owns the pool
    std::mutex m_mutex;     // guards everything below but m_next
    std::condition_variable m_wake;
    std::condition_variable m_finished;
    std::vector<std::thread> m_threads;
    bool m_stop = false;
    uint64_t m_generation = 0;
    bool m_open = false;
    unsigned int m_wanted = 0;
    unsigned int m_joined = 0;
    unsigned int m_active = 0;
    const std::function<void(unsigned long)>* m_body = nullptr;
    unsigned long m_count = 0;
    unsigned long m_chunk = 1;
    std::atomic<unsigned long> m_next{0};
};

Pool& GetPool() {
    // Destroyed at exit, which joins the threads.
    static Pool pool;
    return pool;
}

}  // namespace

void DispatchParallelFor(std::function<void(unsigned long)> body, unsigned long count, DispatchPriority, ThreadPurpose,
                         int maxThreads) {
    if (!body || count == 0) return;
    // Counts near the top of the range stay inline, so that the shared index
    // can never wrap past the end.
    if (count >= 2 && count <= ULONG_MAX / 2 && maxThreads != 1 && !t_insideLoop && !g_poolGone.load()) {
        Pool& pool = GetPool();
        unsigned long threads = pool.GetSize();
        if (maxThreads > 0) threads = std::min(threads, static_cast<unsigned long>(maxThreads));
        threads = std::min(threads, count);
        if (threads > 1) {
            t_insideLoop = true;
            const bool ran = pool.TryRun(body, count, static_cast<unsigned int>(threads - 1));
            t_insideLoop = false;
            if (ran) return;
        }
    }
    for (unsigned long i = 0; i < count; ++i) body(i);
}

}  // namespace Bedrock::Dispatch
