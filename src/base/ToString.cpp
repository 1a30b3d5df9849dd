#include "base/ToString.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace Bedrock {

const CharacterGrouping* CharacterGroupingBinaryBytes() {
    static constexpr CharacterGrouping kBinaryBytes{8, ' '};
    return &kBinaryBytes;
}

void AppendInteger(Utf8String& out, uint64_t magnitude, bool negative, unsigned int base, int width, PadStyle pad,
                   SignStyle sign, bool uppercase, const CharacterGrouping* grouping) {
    constexpr int kMaxWidth = 256;
    if (base < 2 || base > 36) base = 10;
    width = std::clamp(width, 0, kMaxWidth);
    const char* digitSet = uppercase ? "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ" : "0123456789abcdefghijklmnopqrstuvwxyz";
    const char signChar = negative ? '-' : (sign == kSignAlways ? '+' : 0);

    // Digits from the least significant on.
    char digits[kMaxWidth + 64];
    int digitCount = 0;
    do {
        digits[digitCount++] = digitSet[magnitude % base];
        magnitude /= base;
    } while (magnitude != 0);
    if (pad == kPadZeros) {
        const int wanted = width - (signChar ? 1 : 0);
        while (digitCount < wanted) digits[digitCount++] = '0';
    }

    const int groupSize = grouping && grouping->groupSize > 0 ? grouping->groupSize : 0;
    const int separators = groupSize ? (digitCount - 1) / groupSize : 0;
    const int textLength = digitCount + separators + (signChar ? 1 : 0);
    const int spaces = pad == kPadSpaces && width > textLength ? width - textLength : 0;

    char text[2 * (kMaxWidth + 64) + 1];
    int length = 0;
    for (int i = 0; i < spaces; ++i) text[length++] = ' ';
    if (signChar) text[length++] = signChar;
    for (int i = digitCount - 1; i >= 0; --i) {
        text[length++] = digits[i];
        if (groupSize && i > 0 && i % groupSize == 0) text[length++] = grouping->separator;
    }
    out.Append(text, length);
}

void AppendDouble(Utf8String& out, double value, unsigned int decimals, unsigned int minDecimals, SignStyle sign,
                  TruncateStyle truncate) {
    constexpr unsigned int kMaxDecimals = 64;
    decimals = std::min(std::max(decimals, minDecimals), kMaxDecimals);
    // 309 integer digits at most, a sign, a point and the decimals.
    char buffer[400];
    const auto result =
        std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::fixed, static_cast<int>(decimals));
    if (result.ec != std::errc()) return;
    std::string_view text(buffer, static_cast<size_t>(result.ptr - buffer));
    bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);

    const size_t point = text.find('.');
    if (truncate == kTruncateTrailingZeros && point != std::string_view::npos) {
        size_t keep = text.size();
        while (keep > point + 1 + minDecimals && text[keep - 1] == '0') --keep;
        if (keep == point + 1) keep = point;
        text = text.substr(0, keep);
    }
    if (negative && text.find_first_not_of("0.") == std::string_view::npos) negative = false;

    if (negative) {
        out.Append('-');
    } else if (sign == kSignAlways && !std::isnan(value)) {
        out.Append('+');
    }
    out.Append(text.data(), static_cast<int>(text.size()));
}

void AppendShortestDouble(Utf8String& out, double value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    if (result.ec == std::errc()) out.Append(buffer, static_cast<int>(result.ptr - buffer));
}

Utf8String ToString(double value, unsigned int decimals, unsigned int minDecimals, SignStyle sign,
                    TruncateStyle truncate) {
    Utf8String text;
    AppendDouble(text, value, decimals, minDecimals, sign, truncate);
    return text;
}

}  // namespace Bedrock
