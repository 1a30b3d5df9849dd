#pragma once

// Raw operations on byte text, under StringT. Lengths and indexes are int,
// as everywhere in the string classes.

#include <cstdint>

namespace Bedrock {

template <class Char>
struct BaseCharTraits;

template <>
struct BaseCharTraits<char> {
    // Length of a NUL-terminated text; 0 for nullptr.
    static int GetLength(const char* text);
    static void Copy(char* dest, const char* source, int count);
    // NUL-terminated texts, byte for byte; nullptr equals "".
    static bool IsEqual(const char* a, const char* b);
    static bool IsEqual(const char* a, int aLength, const char* b, int bLength);
    // Unsigned byte order, the shorter text first when one is a prefix of the
    // other. Negative, zero or positive.
    static int Compare(const char* a, int aLength, const char* b, int bLength);
    // Index of the first occurrence at or after start, or -1.
    static int Find(const char* text, int length, char c, int start);
    static int Find(const char* text, int length, const char* pattern, int patternLength, int start);
    // ASCII white space: space, tab, line feed, vertical tab, form feed, return.
    static bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
    // Index of the first byte that is not white space (length if none).
    static int TrimLeft(const char* text, int length);
    // Length of the text without its trailing white space.
    static int TrimRight(const char* text, int length);
    // 32-bit FNV-1a.
    static uint32_t GenerateHash(const char* text, int length);
};

}  // namespace Bedrock
