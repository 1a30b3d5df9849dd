#pragma once

// Small helpers shared by the unit tests: inline bytes written as hex, and
// buffers and fonts built from them.

#include <cctype>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "base/Counted.h"
#include "base/String.h"
#include "core/BigEndianBuffer.h"

namespace Bedrock {
// Shows strings as text in test failures.
inline void PrintTo(const StringT<TEncUtf8>& text, std::ostream* out) { *out << '"' << text.c_str() << '"'; }
}  // namespace Bedrock

namespace TypeframeTest {

// "0001 00ff" -> {0x00, 0x01, 0x00, 0xff}; spaces and line breaks are ignored.
inline std::vector<uint8_t> HexBytes(std::string_view text) {
    std::vector<uint8_t> bytes;
    int high = -1;
    for (char c : text) {
        if (std::isspace(static_cast<unsigned char>(c))) continue;
        const int value = std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : std::tolower(c) - 'a' + 10;
        if (high < 0) {
            high = value;
        } else {
            bytes.push_back(static_cast<uint8_t>(high * 16 + value));
            high = -1;
        }
    }
    return bytes;
}

inline Bedrock::Counted<Typeframe::BigEndianBuffer> HexBuffer(std::string_view text) {
    const auto bytes = HexBytes(text);
    return Bedrock::MakeCounted<Typeframe::BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

inline std::vector<uint8_t> BufferBytes(const Typeframe::BigEndianBuffer& buffer) {
    return std::vector<uint8_t>(buffer.GetBuffer(), buffer.GetBuffer() + buffer.GetLength());
}

// Big-endian builder for font bytes in tests.
class ByteWriter {
public:
    ByteWriter& U8(uint32_t v) { return Put(v, 1); }
    ByteWriter& U16(uint32_t v) { return Put(v, 2); }
    ByteWriter& U32(uint32_t v) { return Put(v, 4); }
    ByteWriter& Tag(const char* t) {
        for (int i = 0; i < 4; ++i) m_bytes.push_back(static_cast<uint8_t>(t[i]));
        return *this;
    }
    ByteWriter& Zeros(size_t n) {
        m_bytes.insert(m_bytes.end(), n, 0);
        return *this;
    }
    ByteWriter& Bytes(const std::vector<uint8_t>& b) {
        m_bytes.insert(m_bytes.end(), b.begin(), b.end());
        return *this;
    }
    size_t Size() const { return m_bytes.size(); }
    const std::vector<uint8_t>& Data() const { return m_bytes; }

private:
    ByteWriter& Put(uint32_t v, int size) {
        for (int i = size - 1; i >= 0; --i) m_bytes.push_back(static_cast<uint8_t>(v >> (8 * i)));
        return *this;
    }
    std::vector<uint8_t> m_bytes;
};

}  // namespace TypeframeTest
