#pragma once

// Four-character tags of tables, features and axes, and their text forms.

#include <cstdint>

#include "base/String.h"

namespace Typeframe {

using Tag = uint32_t;

constexpr Tag MakeTag(char a, char b, char c, char d) {
    return (Tag(uint8_t(a)) << 24) | (Tag(uint8_t(b)) << 16) | (Tag(uint8_t(c)) << 8) | Tag(uint8_t(d));
}
constexpr Tag MakeTag(const char (&text)[5]) { return MakeTag(text[0], text[1], text[2], text[3]); }

// Printable bytes as they are, any other as "\x" and two lowercase hex digits.
Utf8String TagToString(unsigned int tag);
// The inverse of TagToString; a short text is padded with zero bytes.
unsigned int StringToTag(const Utf8String& text);

}  // namespace Typeframe
