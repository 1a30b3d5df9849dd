#pragma once

// Copy-on-write byte string. The text is UTF-8 by convention; every
// operation works on bytes. Copying a string takes a reference on its shared
// body; a write to a body that has other users copies it first.

#include <atomic>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/CharTraits.h"

namespace Bedrock {

struct TEncUtf8 {};

// Header of a shared string body; the bytes and a terminating 0 follow it.
struct StringBody {
    std::atomic<int32_t> refCount;
    int32_t length;
    uint32_t capacity;  // bytes of room, not counting the terminating 0

    char* GetData() noexcept { return reinterpret_cast<char*>(this) + sizeof(StringBody); }
    const char* GetData() const noexcept { return reinterpret_cast<const char*>(this) + sizeof(StringBody); }
};

// The one body of every empty string: static, constant-initialised, never
// freed, and its count is never touched.
struct StockStringBody {
    StringBody header;
    char terminator[4];
};
extern constinit StockStringBody g_stockStringBody;

template <class Enc>
class StringT {
    using Traits = BaseCharTraits<char>;

public:
    StringT() noexcept : m_body(Stock()) {}
    // length -1 takes a NUL-terminated text; nullptr gives the empty string.
    StringT(const char* text, int length = -1);
    explicit StringT(std::string_view text) : StringT(text.data(), static_cast<int>(text.size())) {}
    StringT(const StringT& other) noexcept : m_body(other.m_body) { AddReference(m_body); }
    StringT(StringT&& other) noexcept : m_body(std::exchange(other.m_body, Stock())) {}
    ~StringT() { Release(m_body); }

    StringT& operator=(const StringT& other) noexcept {
        StringT(other).Swap(*this);
        return *this;
    }
    StringT& operator=(StringT&& other) noexcept {
        StringT(std::move(other)).Swap(*this);
        return *this;
    }
    StringT& operator=(const char* text) { return *this = StringT(text); }
    void Swap(StringT& other) noexcept { std::swap(m_body, other.m_body); }

    int GetLength() const noexcept { return m_body->length; }
    bool IsEmpty() const noexcept { return m_body->length == 0; }
    int GetCapacity() const noexcept { return static_cast<int>(m_body->capacity); }
    // Always NUL-terminated.
    const char* GetBuffer() const noexcept { return m_body->GetData(); }
    const char* c_str() const noexcept { return m_body->GetData(); }
    char operator[](int index) const noexcept { return m_body->GetData()[index]; }
    std::string_view View() const noexcept { return {GetBuffer(), static_cast<size_t>(GetLength())}; }
    std::string ToStdString() const { return std::string(View()); }

    // The bytes for writing, GetLength() of them plus the terminator; the body
    // is made this string's own first.
    char* GetWritableBuffer();
    // Resizes; bytes past the old length are zero.
    void SetLength(int length);
    // Makes room for at least capacity bytes.
    void Reserve(int capacity);
    void Clear() noexcept { StringT().Swap(*this); }

    // A length of -1 takes a NUL-terminated text. The text may lie inside
    // this string.
    StringT& Append(const StringT& text);
    StringT& Append(const char* text, int length = -1);
    StringT& Append(char c) { return Append(&c, 1); }
    // An index past the end appends; a negative one inserts at the start.
    StringT& Insert(int index, const char* text, int length = -1);
    // A count of -1, or one past the end, erases to the end.
    StringT& Erase(int index, int count = -1);
    // ASCII white space.
    StringT& Trim();
    StringT& TrimLeft();
    StringT& TrimRight();

    // Splits at every byte found in separators. Empty fields are kept, so
    // field n is always the text between separators n-1 and n ("a;;b" gives
    // "a", "", "b"; "a;" gives "a", ""). The empty string gives no field.
    std::vector<StringT> Split(const char* separators) const;
    // Index of the first occurrence at or after start, or -1.
    int Find(const char* text, int start = 0) const;
    int Find(char c, int start = 0) const;
    // Clamped to the string; a count of -1 runs to the end.
    StringT Substring(int start, int count = -1) const;
    uint32_t GenerateHash() const noexcept { return Traits::GenerateHash(GetBuffer(), GetLength()); }

    StringT& operator+=(const StringT& text) { return Append(text); }
    StringT& operator+=(const char* text) { return Append(text); }
    StringT& operator+=(char c) { return Append(c); }

    friend StringT operator+(StringT a, const StringT& b) { return std::move(a.Append(b)); }
    friend StringT operator+(StringT a, const char* b) { return std::move(a.Append(b)); }

    // Byte order, the shorter first when one is a prefix of the other.
    friend bool operator==(const StringT& a, const StringT& b) noexcept {
        return a.m_body == b.m_body || Traits::IsEqual(a.GetBuffer(), a.GetLength(), b.GetBuffer(), b.GetLength());
    }
    friend bool operator==(const StringT& a, const char* b) noexcept {
        return Traits::IsEqual(a.GetBuffer(), a.GetLength(), b, Traits::GetLength(b));
    }
    friend std::strong_ordering operator<=>(const StringT& a, const StringT& b) noexcept {
        return Traits::Compare(a.GetBuffer(), a.GetLength(), b.GetBuffer(), b.GetLength()) <=> 0;
    }
    friend std::strong_ordering operator<=>(const StringT& a, const char* b) noexcept {
        return Traits::Compare(a.GetBuffer(), a.GetLength(), b, Traits::GetLength(b)) <=> 0;
    }

private:
    static StringBody* Stock() noexcept { return &g_stockStringBody.header; }
    static void AddReference(StringBody* body) noexcept {
        if (body != Stock()) body->refCount.fetch_add(1, std::memory_order_seq_cst);
    }
    static void Release(StringBody* body) noexcept {
        if (body != Stock() && body->refCount.fetch_sub(1, std::memory_order_seq_cst) == 1) FreeBody(body);
    }
    static void FreeBody(StringBody* body) noexcept;

    bool IsUnique() const noexcept {
        return m_body != Stock() && m_body->refCount.load(std::memory_order_seq_cst) == 1;
    }
    bool PointsInside(const char* text) const noexcept;
    // Sets the length to newLength on a body of this string's own, keeping the
    // bytes below both lengths; grow asks for room for further appends.
    char* Resize(int newLength, bool grow);
    char* Reallocate(int newLength, uint32_t capacity);

    StringBody* m_body;
};

using Utf8String = StringT<TEncUtf8>;

extern template class StringT<TEncUtf8>;

}  // namespace Bedrock

// The library's code names the string unqualified; this brings Bedrock's one
// declaration into its namespace rather than declaring a second alias.
namespace Typeframe {
using Bedrock::Utf8String;
}  // namespace Typeframe

template <class Enc>
struct std::hash<Bedrock::StringT<Enc>> {
    size_t operator()(const Bedrock::StringT<Enc>& text) const noexcept { return text.GenerateHash(); }
};
