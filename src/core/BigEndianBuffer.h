#pragma once

// The one byte container of the library: every table, directory entry and
// header is read from and written to a BigEndianBuffer. Multi-byte values are
// big-endian. Reads never throw and never wrap: a read that does not fit
// returns false and leaves its target alone. Writes grow the buffer.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/String.h"

namespace Typeframe {

class BigEndianBuffer : public Bedrock::Countable {
public:
    BigEndianBuffer() = default;
    BigEndianBuffer(unsigned long length, unsigned long pad);
    BigEndianBuffer(unsigned long position, unsigned long length, unsigned long pad);
    BigEndianBuffer(const unsigned char* bytes, unsigned long length, unsigned long pad);
    BigEndianBuffer(const BigEndianBuffer& other) = default;
    BigEndianBuffer& operator=(const BigEndianBuffer& other) = default;

    Bedrock::Counted<BigEndianBuffer> Clone() const;

    // Size and position.
    unsigned long GetLength() const { return m_length; }
    unsigned long GetPaddedLength() const { return m_length + CalculatePad(m_length, m_pad); }
    unsigned long CalculatePad(unsigned long length, unsigned long pad) const {
        return (pad == 0 || length % pad == 0) ? 0 : pad - length % pad;
    }
    bool IsEmpty() const { return m_length == 0; }
    unsigned long Tell() const { return m_position; }
    unsigned long GetPad() const { return m_pad; }
    void Seek(unsigned long position) { m_position = position; }
    bool Advance(unsigned long count);
    unsigned char* GetBuffer() { return m_bytes.data(); }
    const unsigned char* GetBuffer() const { return m_bytes.data(); }
    // True when `size` bytes at `offset` lie inside the length; cannot wrap.
    bool IsInBounds(unsigned long offset, unsigned long size) const {
        return !(offset > m_length || size > m_length - offset);
    }
    unsigned long GetRemaining() const { return m_position > m_length ? 0 : m_length - m_position; }
    bool Resize(unsigned long length);
    bool Append(unsigned long count) { return Resize(m_length + count); }
    bool Reset(unsigned long length);
    bool SetPad(unsigned long pad);
    void InvalidateChecksum() { m_checksumValid = false; }

    // Typed values: absolute reads/writes at an offset leave the position
    // alone; sequential ones work at the position and move it.
#define TYPEFRAME_BUFFER_ACCESSORS(Name, Type)               \
    bool Get##Name(unsigned long offset, Type& value) const; \
    bool Get##Name(Type& value);                             \
    bool Set##Name(unsigned long offset, Type value);        \
    bool Set##Name(Type value);
    TYPEFRAME_BUFFER_ACCESSORS(U8, uint8_t)
    TYPEFRAME_BUFFER_ACCESSORS(S8, int8_t)
    TYPEFRAME_BUFFER_ACCESSORS(U16, uint16_t)
    TYPEFRAME_BUFFER_ACCESSORS(S16, int16_t)
    TYPEFRAME_BUFFER_ACCESSORS(U24, uint32_t)
    TYPEFRAME_BUFFER_ACCESSORS(U32, uint32_t)
    TYPEFRAME_BUFFER_ACCESSORS(S32, int32_t)
    TYPEFRAME_BUFFER_ACCESSORS(U64, uint64_t)
    TYPEFRAME_BUFFER_ACCESSORS(S64, int64_t)
#undef TYPEFRAME_BUFFER_ACCESSORS

    bool GetFixed16_16(unsigned long offset, Fixed16_16& value) const;
    bool GetFixed16_16(Fixed16_16& value);
    bool SetFixed16_16(unsigned long offset, const Fixed16_16& value);
    bool SetFixed16_16(const Fixed16_16& value);
    bool GetFixed2_14(unsigned long offset, Fixed2_14& value) const;
    bool GetFixed2_14(Fixed2_14& value);
    bool SetFixed2_14(unsigned long offset, const Fixed2_14& value);
    bool SetFixed2_14(const Fixed2_14& value);

    // Blocks.
    Bedrock::Counted<BigEndianBuffer> Read(unsigned long offset, unsigned long length) const;
    Bedrock::Counted<BigEndianBuffer> Read(unsigned long length);
    bool Read(unsigned long offset, unsigned long length, void* destination) const;
    bool Read(unsigned long length, void* destination);
    bool Write(unsigned long offset, Bedrock::Counted<const BigEndianBuffer> other);
    bool Write(Bedrock::Counted<const BigEndianBuffer> other);
    bool Write(unsigned long offset, unsigned long length, const void* source);
    bool Write(unsigned long length, const void* source);

    // Pascal strings: a length byte and that many bytes.
    bool ReadPascalString(unsigned long offset, Utf8String& text);
    bool ReadPascalString(Utf8String& text);
    bool WritePascalString(unsigned long offset, const Utf8String& text);
    bool WritePascalString(const Utf8String& text);

    // The sfnt table checksum of the length (pad bytes never count).
    uint32_t GetChecksum() const;
    uint32_t CalculateChecksum() const;

private:
    // Makes room for `size` bytes at `offset`, growing the length if needed.
    unsigned char* PrepareWrite(unsigned long offset, unsigned long size);
    template <class T, int Size>
    bool GetAt(unsigned long offset, T& value) const;
    template <class T, int Size>
    bool GetNext(T& value);
    template <class T, int Size>
    bool SetAt(unsigned long offset, T value);

    unsigned long m_position = 0;
    unsigned long m_length = 0;
    unsigned long m_pad = 4;
    std::vector<unsigned char> m_bytes;
    mutable bool m_checksumValid = false;
    mutable uint32_t m_checksum = 0;
};

}  // namespace Typeframe
