#pragma once

// Numbers to text. Locale-independent: digits, '-' and '.' only.

#include <concepts>
#include <cstdint>
#include <type_traits>

#include "base/String.h"

namespace Bedrock {

enum PadStyle : int {
    kPadNone = 0,
    kPadZeros = 1,  // zeros between the sign and the digits
    kPadSpaces = 2  // spaces in front of the whole text
};

enum SignStyle : int {
    kSignMinusOnly = 0,  // a minus sign when negative, nothing otherwise
    kSignAlways = 1      // also a plus sign when not negative
};

enum TruncateStyle : int {
    kTruncateNone = 0,
    kTruncateTrailingZeros = 1  // drops trailing zeros of the fraction, then a trailing point
};

// Digits in groups of groupSize counted from the right, with a separator
// between groups.
struct CharacterGrouping {
    int groupSize = 3;
    char separator = ',';
};

// Binary digits by bytes: groups of 8 separated by a space.
const CharacterGrouping* CharacterGroupingBinaryBytes();

// The text of an integer given as magnitude and sign, appended to out. The
// base runs from 2 to 36 (another gives base 10). Width is the least length:
// with zero padding it counts the sign and the digits but not the group
// separators, so zeros are grouped like the other digits; with space padding
// it counts the whole text. Widths are capped at 256.
void AppendInteger(Utf8String& out, uint64_t magnitude, bool negative, unsigned int base, int width, PadStyle pad,
                   SignStyle sign, bool uppercase, const CharacterGrouping* grouping);

// Fixed notation with the given number of decimals (at most 64), rounded to
// nearest. With kTruncateTrailingZeros, trailing zeros go down to
// minDecimals, and a point left at the end goes too: 700.0 with 1 decimal is
// "700", 87.5 is "87.5". A value that prints as zero has no minus sign.
void AppendDouble(Utf8String& out, double value, unsigned int decimals, unsigned int minDecimals, SignStyle sign,
                  TruncateStyle truncate);

// The shortest text that reads back as the same double ("0.1", "700", "1e+20").
void AppendShortestDouble(Utf8String& out, double value);

namespace ToStringDetail {

template <std::integral V>
constexpr bool IsNegative(V value) {
    if constexpr (std::is_signed_v<V>) return value < 0;
    return false;
}

template <std::integral V>
constexpr uint64_t Magnitude(V value) {
    if constexpr (std::is_signed_v<V>) {
        if (value < 0) return uint64_t(0) - static_cast<uint64_t>(value);
    }
    return static_cast<uint64_t>(value);
}

template <std::integral V>
Utf8String Integer(V value, unsigned int base, int width, PadStyle pad, SignStyle sign, bool uppercase,
                   const CharacterGrouping* grouping) {
    Utf8String text;
    AppendInteger(text, Magnitude(value), IsNegative(value), base, width, pad, sign, uppercase, grouping);
    return text;
}

}  // namespace ToStringDetail

// Any integer type; a negative value gets a minus sign before its digits.
template <std::integral V>
Utf8String ToStringBase(V value, unsigned int base, int width = 0, PadStyle pad = kPadNone, bool uppercase = false) {
    return ToStringDetail::Integer(value, base, width, pad, kSignMinusOnly, uppercase, nullptr);
}

template <class S, std::integral V>
S ToStringTBasePadded(V value, unsigned int base, int width, PadStyle pad, bool uppercase = false) {
    return ToStringDetail::Integer(value, base, width, pad, kSignMinusOnly, uppercase, nullptr);
}

template <std::integral V>
Utf8String ToStringBaseGroup(V value, unsigned int base, int width, PadStyle pad, bool uppercase,
                             const CharacterGrouping* grouping) {
    return ToStringDetail::Integer(value, base, width, pad, kSignMinusOnly, uppercase, grouping);
}

template <class S, std::integral V>
S ToStringTPadded(V value, int width, PadStyle pad, SignStyle sign = kSignMinusOnly,
                  const CharacterGrouping* grouping = nullptr) {
    return ToStringDetail::Integer(value, 10, width, pad, sign, false, grouping);
}

// Decimal. Every integer type prints as a number, unsigned char included.
template <class S, std::integral V>
S ToStringT(V value, SignStyle sign = kSignMinusOnly, const CharacterGrouping* grouping = nullptr) {
    return ToStringDetail::Integer(value, 10, 0, kPadNone, sign, false, grouping);
}

Utf8String ToString(double value, unsigned int decimals, unsigned int minDecimals = 0, SignStyle sign = kSignMinusOnly,
                    TruncateStyle truncate = kTruncateNone);

template <class S>
S ToStringT(double value, unsigned int decimals, unsigned int minDecimals = 0, SignStyle sign = kSignMinusOnly,
            TruncateStyle truncate = kTruncateNone) {
    return ToString(value, decimals, minDecimals, sign, truncate);
}

}  // namespace Bedrock
