#include "base/CharTraits.h"

#include <cstring>
#include <string_view>

namespace Bedrock {

int BaseCharTraits<char>::GetLength(const char* text) { return text ? static_cast<int>(std::strlen(text)) : 0; }

void BaseCharTraits<char>::Copy(char* dest, const char* source, int count) {
    if (count > 0) std::memmove(dest, source, static_cast<size_t>(count));
}

bool BaseCharTraits<char>::IsEqual(const char* a, const char* b) { return std::strcmp(a ? a : "", b ? b : "") == 0; }

bool BaseCharTraits<char>::IsEqual(const char* a, int aLength, const char* b, int bLength) {
    return aLength == bLength && (aLength <= 0 || std::memcmp(a, b, static_cast<size_t>(aLength)) == 0);
}

int BaseCharTraits<char>::Compare(const char* a, int aLength, const char* b, int bLength) {
    const int common = aLength < bLength ? aLength : bLength;
    if (common > 0) {
        // memcmp compares as unsigned char.
        const int result = std::memcmp(a, b, static_cast<size_t>(common));
        if (result != 0) return result;
    }
    return aLength < bLength ? -1 : (aLength > bLength ? 1 : 0);
}

int BaseCharTraits<char>::Find(const char* text, int length, char c, int start) {
    if (start < 0) start = 0;
    if (start >= length) return -1;
    const void* hit = std::memchr(text + start, static_cast<unsigned char>(c), static_cast<size_t>(length - start));
    return hit ? static_cast<int>(static_cast<const char*>(hit) - text) : -1;
}

int BaseCharTraits<char>::Find(const char* text, int length, const char* pattern, int patternLength, int start) {
    if (start < 0) start = 0;
    if (start > length || patternLength < 0) return -1;
    const std::string_view haystack(text, static_cast<size_t>(length));
    const size_t hit =
        haystack.find(std::string_view(pattern, static_cast<size_t>(patternLength)), static_cast<size_t>(start));
    return hit == std::string_view::npos ? -1 : static_cast<int>(hit);
}

int BaseCharTraits<char>::TrimLeft(const char* text, int length) {
    int index = 0;
    while (index < length && IsSpace(text[index])) ++index;
    return index;
}

int BaseCharTraits<char>::TrimRight(const char* text, int length) {
    while (length > 0 && IsSpace(text[length - 1])) --length;
    return length < 0 ? 0 : length;
}

uint32_t BaseCharTraits<char>::GenerateHash(const char* text, int length) {
    uint32_t hash = 2166136261u;
    for (int i = 0; i < length; ++i) {
        hash ^= static_cast<unsigned char>(text[i]);
        hash *= 16777619u;
    }
    return hash;
}

}  // namespace Bedrock
