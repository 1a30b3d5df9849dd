#include "core/BigEndianBuffer.h"

#include <cstring>

namespace Typeframe {

BigEndianBuffer::BigEndianBuffer(unsigned long length, unsigned long pad)
    : m_length(length), m_pad(pad), m_bytes(length + CalculatePad(length, pad), 0) {}

BigEndianBuffer::BigEndianBuffer(unsigned long position, unsigned long length, unsigned long pad)
    : m_position(position), m_length(length), m_pad(pad), m_bytes(length + CalculatePad(length, pad), 0) {}

BigEndianBuffer::BigEndianBuffer(const unsigned char* bytes, unsigned long length, unsigned long pad)
    : m_length(length), m_pad(pad), m_bytes(length + CalculatePad(length, pad), 0) {
    if (length != 0) std::memcpy(m_bytes.data(), bytes, length);
}

Bedrock::Counted<BigEndianBuffer> BigEndianBuffer::Clone() const {
    return Bedrock::MakeCounted<BigEndianBuffer>(*this);
}

bool BigEndianBuffer::Advance(unsigned long count) {
    if (!IsInBounds(m_position, count)) return false;
    m_position += count;
    return true;
}

bool BigEndianBuffer::Resize(unsigned long length) {
    m_length = length;
    if (m_position > m_length) m_position = m_length;
    m_bytes.resize(length + CalculatePad(length, m_pad));
    m_checksumValid = false;
    return true;
}

bool BigEndianBuffer::Reset(unsigned long length) {
    Resize(length);
    m_position = 0;
    return true;
}

bool BigEndianBuffer::SetPad(unsigned long pad) {
    m_pad = pad;
    m_bytes.resize(m_length + CalculatePad(m_length, m_pad));
    m_checksumValid = false;
    return true;
}

unsigned char* BigEndianBuffer::PrepareWrite(unsigned long offset, unsigned long size) {
    if (!IsInBounds(offset, size)) Resize(offset + size);
    m_checksumValid = false;
    return m_bytes.data() + offset;
}

template <class T, int Size>
bool BigEndianBuffer::GetAt(unsigned long offset, T& value) const {
    if (!IsInBounds(offset, Size)) return false;
    const unsigned char* p = m_bytes.data() + offset;
    uint64_t v = 0;
    for (int i = 0; i < Size; ++i) v = (v << 8) | p[i];
    value = static_cast<T>(v);
    return true;
}

template <class T, int Size>
bool BigEndianBuffer::GetNext(T& value) {
    if (!GetAt<T, Size>(m_position, value)) return false;
    m_position += Size;
    return true;
}

template <class T, int Size>
bool BigEndianBuffer::SetAt(unsigned long offset, T value) {
    unsigned char* p = PrepareWrite(offset, Size);
    uint64_t v = static_cast<uint64_t>(value);
    for (int i = Size - 1; i >= 0; --i) {
        p[i] = static_cast<unsigned char>(v);
        v >>= 8;
    }
    return true;
}

#define TYPEFRAME_BUFFER_ACCESSORS(Name, Type, Size)                                                               \
    bool BigEndianBuffer::Get##Name(unsigned long offset, Type& value) const {                                     \
        return GetAt<Type, Size>(offset, value);                                                                   \
    }                                                                                                              \
    bool BigEndianBuffer::Get##Name(Type& value) { return GetNext<Type, Size>(value); }                            \
    bool BigEndianBuffer::Set##Name(unsigned long offset, Type value) { return SetAt<Type, Size>(offset, value); } \
    bool BigEndianBuffer::Set##Name(Type value) {                                                                  \
        SetAt<Type, Size>(m_position, value);                                                                      \
        m_position += Size;                                                                                        \
        return true;                                                                                               \
    }
TYPEFRAME_BUFFER_ACCESSORS(U8, uint8_t, 1)
TYPEFRAME_BUFFER_ACCESSORS(S8, int8_t, 1)
TYPEFRAME_BUFFER_ACCESSORS(U16, uint16_t, 2)
TYPEFRAME_BUFFER_ACCESSORS(S16, int16_t, 2)
TYPEFRAME_BUFFER_ACCESSORS(U24, uint32_t, 3)
TYPEFRAME_BUFFER_ACCESSORS(U32, uint32_t, 4)
TYPEFRAME_BUFFER_ACCESSORS(S32, int32_t, 4)
TYPEFRAME_BUFFER_ACCESSORS(U64, uint64_t, 8)
TYPEFRAME_BUFFER_ACCESSORS(S64, int64_t, 8)
#undef TYPEFRAME_BUFFER_ACCESSORS

bool BigEndianBuffer::GetFixed16_16(unsigned long offset, Fixed16_16& value) const {
    int32_t raw;
    if (!GetS32(offset, raw)) return false;
    value = Fixed16_16::FromRaw(raw);
    return true;
}

bool BigEndianBuffer::GetFixed2_14(unsigned long offset, Fixed2_14& value) const {
    int16_t raw;
    if (!GetS16(offset, raw)) return false;
    value = Fixed2_14::FromRaw(raw);
    return true;
}

// The sequential fixed-point reads keep a long-standing oddity: they advance
// first and read the value just before the new position. When fewer bytes
// remain than the value needs, the position stays and the bytes just before
// it are read again, with success: at the very end of a buffer the previous
// field comes back instead of a failure. Only a position past the length fails.
bool BigEndianBuffer::GetFixed16_16(Fixed16_16& value) {
    if (m_position > m_length) return false;
    Advance(4);
    if (m_position < 4) return false;  // nothing before the position to read
    return GetFixed16_16(m_position - 4, value);
}

bool BigEndianBuffer::GetFixed2_14(Fixed2_14& value) {
    if (m_position > m_length) return false;
    Advance(2);
    if (m_position < 2) return false;
    return GetFixed2_14(m_position - 2, value);
}

bool BigEndianBuffer::SetFixed16_16(unsigned long offset, const Fixed16_16& value) {
    return SetS32(offset, value.GetRaw());
}
bool BigEndianBuffer::SetFixed16_16(const Fixed16_16& value) { return SetS32(value.GetRaw()); }
bool BigEndianBuffer::SetFixed2_14(unsigned long offset, const Fixed2_14& value) {
    return SetS16(offset, value.GetRaw());
}
bool BigEndianBuffer::SetFixed2_14(const Fixed2_14& value) { return SetS16(value.GetRaw()); }

Bedrock::Counted<BigEndianBuffer> BigEndianBuffer::Read(unsigned long offset, unsigned long length) const {
    if (!IsInBounds(offset, length)) return nullptr;
    return Bedrock::MakeCounted<BigEndianBuffer>(m_bytes.data() + offset, length, m_pad);
}

Bedrock::Counted<BigEndianBuffer> BigEndianBuffer::Read(unsigned long length) {
    auto result = Read(m_position, length);
    if (result) m_position += length;
    return result;
}

bool BigEndianBuffer::Read(unsigned long offset, unsigned long length, void* destination) const {
    if (!IsInBounds(offset, length)) return false;
    if (length != 0) std::memcpy(destination, m_bytes.data() + offset, length);
    return true;
}

bool BigEndianBuffer::Read(unsigned long length, void* destination) {
    if (!Read(m_position, length, destination)) return false;
    m_position += length;
    return true;
}

bool BigEndianBuffer::Write(unsigned long offset, Bedrock::Counted<const BigEndianBuffer> other) {
    if (!other) return true;
    return Write(offset, other->GetLength(), other->GetBuffer());
}

bool BigEndianBuffer::Write(Bedrock::Counted<const BigEndianBuffer> other) {
    if (!other) return true;
    return Write(other->GetLength(), other->GetBuffer());
}

bool BigEndianBuffer::Write(unsigned long offset, unsigned long length, const void* source) {
    unsigned char* p = PrepareWrite(offset, length);
    if (length != 0) std::memmove(p, source, length);
    return true;
}

bool BigEndianBuffer::Write(unsigned long length, const void* source) {
    Write(m_position, length, source);
    m_position += length;
    return true;
}

// On a string that does not fit, the string is already resized to the
// announced length; callers only use it on success.
bool BigEndianBuffer::ReadPascalString(unsigned long offset, Utf8String& text) {
    uint8_t count;
    if (!GetU8(offset, count)) return false;
    text.SetLength(count);
    if (!IsInBounds(offset + 1, count)) return false;
    if (count != 0) std::memcpy(text.GetWritableBuffer(), m_bytes.data() + offset + 1, count);
    // The position moves from wherever it stood, not from the offset.
    m_position += 1 + count;
    return true;
}

bool BigEndianBuffer::ReadPascalString(Utf8String& text) { return ReadPascalString(m_position, text); }

bool BigEndianBuffer::WritePascalString(unsigned long offset, const Utf8String& text) {
    if (text.GetLength() >= 256) return false;
    const unsigned long count = static_cast<unsigned long>(text.GetLength());
    SetU8(offset, static_cast<uint8_t>(count));
    Write(offset + 1, count, text.GetBuffer());
    m_position += 1 + count;
    return true;
}

bool BigEndianBuffer::WritePascalString(const Utf8String& text) { return WritePascalString(m_position, text); }

uint32_t BigEndianBuffer::GetChecksum() const {
    if (!m_checksumValid) {
        m_checksum = CalculateChecksum();
        m_checksumValid = true;
    }
    return m_checksum;
}

uint32_t BigEndianBuffer::CalculateChecksum() const {
    const unsigned char* p = m_bytes.data();
    const unsigned long words = m_length / 4;
    uint32_t sum = 0;
    for (unsigned long i = 0; i < words; ++i, p += 4) {
        sum += (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
    }
    uint32_t last = 0;
    for (unsigned long i = 0, rest = m_length % 4; i < rest; ++i) last |= uint32_t(p[i]) << (24 - 8 * i);
    return sum + last;
}

}  // namespace Typeframe
