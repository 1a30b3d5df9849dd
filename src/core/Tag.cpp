#include "core/Tag.h"

namespace Typeframe {

namespace {

// Printable in the "C" locale, whatever locale the host has set.
bool IsPrintableAscii(unsigned char c) { return c >= 0x20 && c <= 0x7E; }

int HexDigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

Utf8String TagToString(unsigned int tag) {
    static const char kDigits[] = "0123456789abcdef";
    Utf8String text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned char c = static_cast<unsigned char>(tag >> shift);
        if (IsPrintableAscii(c)) {
            text.Append(static_cast<char>(c));
        } else {
            const char escaped[4] = {'\\', 'x', kDigits[c >> 4], kDigits[c & 15]};
            text.Append(escaped, 4);
        }
    }
    return text;
}

unsigned int StringToTag(const Utf8String& text) {
    const int length = text.GetLength();
    unsigned int tag = 0;
    int i = 0;
    for (int shift = 24; shift >= 0; shift -= 8) {
        if (i + 4 <= length && text[i] == '\\' && text[i + 1] == 'x') {
            // Two hex digits; parsing stops at the first non-digit, as strtol does.
            int value = 0;
            for (int k = 2; k < 4; ++k) {
                const int digit = HexDigitValue(text[i + k]);
                if (digit < 0) break;
                value = value * 16 + digit;
            }
            tag += static_cast<unsigned int>(value) << shift;
            i += 4;
        } else {
            // The slots are summed and a text byte counts as signed: a byte of
            // 0x80 or more carries its sign into the slots above it. Kept so
            // that tags read back exactly as they always have.
            const int byte = i < length ? static_cast<signed char>(text[i]) : 0;
            tag += static_cast<unsigned int>(byte) << shift;
            i += 1;
        }
    }
    return tag;
}

}  // namespace Typeframe
