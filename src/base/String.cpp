#include "base/String.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <new>

namespace Bedrock {

constinit StockStringBody g_stockStringBody{{{1}, 0, 0}, {0, 0, 0, 0}};

namespace {

StringBody* AllocateBody(uint32_t capacity) {
    void* memory = ::operator new(sizeof(StringBody) + capacity + 1);
    return new (memory) StringBody{{1}, 0, capacity};
}

// Room for a body of the given length: the length with the three low bits
// set, so that bodies come in steps of 8 bytes.
uint32_t CapacityFor(int64_t length) { return static_cast<uint32_t>(std::min<int64_t>(length, INT_MAX)) | 7u; }

}  // namespace

template <class Enc>
StringT<Enc>::StringT(const char* text, int length) : m_body(Stock()) {
    if (!text) return;
    if (length < 0) length = Traits::GetLength(text);
    if (length == 0) return;
    m_body = AllocateBody(CapacityFor(length));
    m_body->length = length;
    Traits::Copy(m_body->GetData(), text, length);
    m_body->GetData()[length] = 0;
}

template <class Enc>
void StringT<Enc>::FreeBody(StringBody* body) noexcept {
    body->~StringBody();
    ::operator delete(body);
}

template <class Enc>
bool StringT<Enc>::PointsInside(const char* text) const noexcept {
    const auto begin = reinterpret_cast<uintptr_t>(m_body->GetData());
    const auto address = reinterpret_cast<uintptr_t>(text);
    return address >= begin && address <= begin + m_body->capacity;
}

template <class Enc>
char* StringT<Enc>::Reallocate(int newLength, uint32_t capacity) {
    StringBody* fresh = AllocateBody(capacity);
    Traits::Copy(fresh->GetData(), GetBuffer(), std::min(GetLength(), newLength));
    fresh->length = newLength;
    fresh->GetData()[newLength] = 0;
    Release(m_body);
    m_body = fresh;
    return fresh->GetData();
}

template <class Enc>
char* StringT<Enc>::Resize(int newLength, bool grow) {
    if (IsUnique() && static_cast<uint32_t>(newLength) <= m_body->capacity) {
        m_body->length = newLength;
        m_body->GetData()[newLength] = 0;
        return m_body->GetData();
    }
    int64_t room = newLength;
    // A string that is being built up grows by half again, so that a run of
    // appends costs linear time rather than a copy every 8 bytes.
    if (grow && newLength > GetLength()) room = std::max<int64_t>(room, GetLength() + GetLength() / 2);
    return Reallocate(newLength, CapacityFor(room));
}

template <class Enc>
char* StringT<Enc>::GetWritableBuffer() {
    if (m_body == Stock()) return Reallocate(0, CapacityFor(0));
    return IsUnique() ? m_body->GetData() : Resize(GetLength(), false);
}

template <class Enc>
void StringT<Enc>::SetLength(int length) {
    const int oldLength = GetLength();
    if (length <= 0) {
        Clear();
        return;
    }
    char* data = Resize(length, false);
    if (length > oldLength) std::memset(data + oldLength, 0, static_cast<size_t>(length - oldLength));
}

template <class Enc>
void StringT<Enc>::Reserve(int capacity) {
    if (capacity <= 0 || (IsUnique() && static_cast<uint32_t>(capacity) <= m_body->capacity)) return;
    Reallocate(GetLength(), CapacityFor(std::max(capacity, GetLength())));
}

template <class Enc>
StringT<Enc>& StringT<Enc>::Append(const StringT& text) {
    return Insert(GetLength(), text.GetBuffer(), text.GetLength());
}

template <class Enc>
StringT<Enc>& StringT<Enc>::Append(const char* text, int length) {
    return Insert(GetLength(), text, length);
}

template <class Enc>
StringT<Enc>& StringT<Enc>::Insert(int index, const char* text, int length) {
    if (!text) return *this;
    if (length < 0) length = Traits::GetLength(text);
    const int oldLength = GetLength();
    if (length == 0 || int64_t(oldLength) + length > INT_MAX) return *this;
    index = std::clamp(index, 0, oldLength);
    // When the text lies in this string's own body, a second reference keeps
    // that body alive and forces the write into a new one.
    StringT keep;
    if (PointsInside(text)) keep = *this;
    char* data = Resize(oldLength + length, true);
    Traits::Copy(data + index + length, data + index, oldLength - index);
    Traits::Copy(data + index, text, length);
    return *this;
}

template <class Enc>
StringT<Enc>& StringT<Enc>::Erase(int index, int count) {
    const int oldLength = GetLength();
    if (index < 0 || index >= oldLength || count == 0) return *this;
    if (count < 0 || count > oldLength - index) count = oldLength - index;
    if (count == oldLength) {
        Clear();
        return *this;
    }
    char* data = GetWritableBuffer();
    Traits::Copy(data + index, data + index + count, oldLength - index - count);
    Resize(oldLength - count, false);
    return *this;
}

template <class Enc>
StringT<Enc>& StringT<Enc>::Trim() {
    const int end = Traits::TrimRight(GetBuffer(), GetLength());
    const int start = Traits::TrimLeft(GetBuffer(), end);
    if (start != 0 || end != GetLength()) *this = Substring(start, end - start);
    return *this;
}

template <class Enc>
StringT<Enc>& StringT<Enc>::TrimLeft() {
    const int start = Traits::TrimLeft(GetBuffer(), GetLength());
    if (start != 0) *this = Substring(start);
    return *this;
}

template <class Enc>
StringT<Enc>& StringT<Enc>::TrimRight() {
    const int end = Traits::TrimRight(GetBuffer(), GetLength());
    if (end != GetLength()) *this = Substring(0, end);
    return *this;
}

template <class Enc>
std::vector<StringT<Enc>> StringT<Enc>::Split(const char* separators) const {
    std::vector<StringT> fields;
    if (IsEmpty()) return fields;
    bool isSeparator[256] = {};
    for (const char* s = separators ? separators : ""; *s; ++s) isSeparator[static_cast<unsigned char>(*s)] = true;
    const char* data = GetBuffer();
    const int length = GetLength();
    int start = 0;
    for (int i = 0; i < length; ++i) {
        if (isSeparator[static_cast<unsigned char>(data[i])]) {
            fields.push_back(Substring(start, i - start));
            start = i + 1;
        }
    }
    fields.push_back(Substring(start));
    return fields;
}

template <class Enc>
int StringT<Enc>::Find(const char* text, int start) const {
    return Traits::Find(GetBuffer(), GetLength(), text ? text : "", Traits::GetLength(text), start);
}

template <class Enc>
int StringT<Enc>::Find(char c, int start) const {
    return Traits::Find(GetBuffer(), GetLength(), c, start);
}

template <class Enc>
StringT<Enc> StringT<Enc>::Substring(int start, int count) const {
    const int length = GetLength();
    start = std::clamp(start, 0, length);
    if (count < 0 || count > length - start) count = length - start;
    if (start == 0 && count == length) return *this;
    return StringT(GetBuffer() + start, count);
}

template class StringT<TEncUtf8>;

}  // namespace Bedrock
