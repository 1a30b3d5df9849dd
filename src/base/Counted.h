#pragma once

// Intrusive shared ownership for every long-lived object of the library.
//
// A Countable carries a pointer to a small control block holding two counts:
// the strong references held by Counted<T>, and the block's own count (the
// object holds one). Control blocks come from a per-thread cache so that
// making the hundreds of thousands of glyphs and tables of a large font does
// not cost one allocation each for the block.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <utility>

namespace Bedrock {

struct CountedControlBlock {
    std::atomic<uint64_t> strongCount{0};
    std::atomic<uint64_t> blockCount{1};
};

// Per-thread free list of control blocks. It needs no lock because it is
// thread-local; a block made on one thread may be returned on another.
class CountedControlBlockCache {
public:
    static constexpr int kCapacity = 32;

    // A block with strong count 0 and block count 1.
    static CountedControlBlock* Acquire();
    // Returns a block whose counts are both spent.
    static void Release(CountedControlBlock* block);

    // Introspection for tests and benchmarks.
    static int GetCachedCount();          // blocks held by the calling thread's cache
    static uint64_t GetAllocatedCount();  // blocks ever taken from the allocator
    static uint64_t GetFreedCount();      // blocks ever given back to the allocator
};

class Countable {
public:
    Countable() : m_block(CountedControlBlockCache::Acquire()) {}
    // Copying an object never copies who refers to it.
    Countable(const Countable&) : m_block(CountedControlBlockCache::Acquire()) {}
    Countable& operator=(const Countable&) { return *this; }
    virtual ~Countable();

    void AddReference() const noexcept { m_block->strongCount.fetch_add(1, std::memory_order_seq_cst); }
    void ReleaseReference() const noexcept {
        if (m_block->strongCount.fetch_sub(1, std::memory_order_seq_cst) == 1) delete this;
    }
    uint64_t GetReferenceCount() const noexcept { return m_block->strongCount.load(); }

private:
    CountedControlBlock* m_block;
};

template <class T>
class NonCounted;

// A strong reference; a null Counted is valid and tests false.
template <class T>
class Counted {
public:
    using element_type = T;

    Counted() noexcept = default;
    Counted(std::nullptr_t) noexcept {}
    // Takes a reference on a bare object, the first one for a new object.
    explicit Counted(T* object) noexcept : m_object(object) {
        if (m_object) m_object->AddReference();
    }
    Counted(const Counted& other) noexcept : m_object(other.m_object) {
        if (m_object) m_object->AddReference();
    }
    Counted(Counted&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    Counted(const Counted<U>& other) noexcept : m_object(other.Get()) {
        if (m_object) m_object->AddReference();
    }
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    Counted(Counted<U>&& other) noexcept : m_object(other.Detach()) {}
    explicit Counted(NonCounted<T> other) noexcept;

    ~Counted() {
        if (m_object) m_object->ReleaseReference();
    }

    Counted& operator=(const Counted& other) noexcept {
        Counted(other).Swap(*this);
        return *this;
    }
    Counted& operator=(Counted&& other) noexcept {
        Counted(std::move(other)).Swap(*this);
        return *this;
    }
    Counted& operator=(std::nullptr_t) noexcept {
        Reset();
        return *this;
    }

    void Reset() noexcept { Counted().Swap(*this); }
    void Swap(Counted& other) noexcept { std::swap(m_object, other.m_object); }
    // Gives up the reference without releasing it.
    T* Detach() noexcept { return std::exchange(m_object, nullptr); }

    T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    template <class U>
    bool operator==(const Counted<U>& other) const noexcept {
        return m_object == other.Get();
    }
    bool operator==(std::nullptr_t) const noexcept { return m_object == nullptr; }

private:
    T* m_object = nullptr;
};

// A plain non-owning pointer, used for upward references (table to font,
// font to file) so that ownership never forms a cycle.
template <class T>
class NonCounted {
public:
    NonCounted() noexcept = default;
    NonCounted(std::nullptr_t) noexcept {}
    NonCounted(T* object) noexcept : m_object(object) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    NonCounted(const Counted<U>& object) noexcept : m_object(object.Get()) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    NonCounted(NonCounted<U> object) noexcept : m_object(object.Get()) {}

    T* Get() const noexcept { return m_object; }
    operator T*() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

private:
    T* m_object = nullptr;
};

template <class T>
Counted<T>::Counted(NonCounted<T> other) noexcept : Counted(other.Get()) {}

template <class T, class... Args>
Counted<T> MakeCounted(Args&&... args) {
    return Counted<T>(new T(std::forward<Args>(args)...));
}

template <class T, class U>
Counted<T> StaticCast(const Counted<U>& from) noexcept {
    return Counted<T>(static_cast<T*>(from.Get()));
}

template <class T, class U>
Counted<T> DynamicCast(const Counted<U>& from) noexcept {
    return Counted<T>(dynamic_cast<T*>(from.Get()));
}

}  // namespace Bedrock

template <class T>
struct std::hash<Bedrock::Counted<T>> {
    size_t operator()(const Bedrock::Counted<T>& value) const noexcept { return std::hash<T*>()(value.Get()); }
};
