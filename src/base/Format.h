#pragma once

// "%1" formatting: "%1" to "%9" stand for the arguments by number, in any
// order and as often as wanted. There are no other directives; widths and
// bases are prepared with the ToString family first.

#include <cstdint>

#include "base/IDTag.h"
#include "base/String.h"

namespace Bedrock {

// One formatting argument, by type. It refers to a string argument without
// copying it, so it lives no longer than the call it is made for.
class FormatHolderT {
public:
    FormatHolderT(const Utf8String& value) noexcept : m_kind(Kind::kString) { m_value.string = &value; }
    FormatHolderT(const char* value) noexcept : m_kind(Kind::kText) { m_value.text = value; }
    // A char is a character; every other integer type, unsigned char
    // included, prints as a decimal number.
    FormatHolderT(char value) noexcept : m_kind(Kind::kChar) { m_value.character = value; }
    FormatHolderT(signed char value) noexcept : FormatHolderT(static_cast<long long>(value)) {}
    FormatHolderT(unsigned char value) noexcept : FormatHolderT(static_cast<unsigned long long>(value)) {}
    FormatHolderT(short value) noexcept : FormatHolderT(static_cast<long long>(value)) {}
    FormatHolderT(unsigned short value) noexcept : FormatHolderT(static_cast<unsigned long long>(value)) {}
    FormatHolderT(int value) noexcept : FormatHolderT(static_cast<long long>(value)) {}
    FormatHolderT(unsigned int value) noexcept : FormatHolderT(static_cast<unsigned long long>(value)) {}
    FormatHolderT(long value) noexcept : FormatHolderT(static_cast<long long>(value)) {}
    FormatHolderT(unsigned long value) noexcept : FormatHolderT(static_cast<unsigned long long>(value)) {}
    FormatHolderT(long long value) noexcept : m_kind(Kind::kSigned) { m_value.signedValue = value; }
    FormatHolderT(unsigned long long value) noexcept : m_kind(Kind::kUnsigned) { m_value.unsignedValue = value; }
    // The shortest decimal text that reads back as the same value.
    FormatHolderT(double value) noexcept : m_kind(Kind::kDouble) { m_value.doubleValue = value; }
    FormatHolderT(IDTag value) noexcept : m_kind(Kind::kTag) { m_value.tag = value.tag; }

    void AppendTo(Utf8String& out) const;

private:
    enum class Kind : uint8_t { kString, kText, kChar, kSigned, kUnsigned, kDouble, kTag };
    Kind m_kind;
    union {
        const Utf8String* string;
        const char* text;
        char character;
        long long signedValue;
        unsigned long long unsignedValue;
        double doubleValue;
        uint32_t tag;
    } m_value;
};

// Appends the format to out with each "%n" (n from 1 to count, at most 9)
// replaced by the text of args[n-1]. Anything else is copied as it is: a
// lone "%", "%0", and "%n" past count. "%10" is argument 1 followed by "0".
// The format must not lie inside out. Returns the number of bytes appended.
int AppendFormatVT(Utf8String& out, const char* format, const FormatHolderT* args, int count);

template <class... Args>
Utf8String FormatString(const char* format, const Args&... args) {
    Utf8String out;
    if constexpr (sizeof...(Args) == 0) {
        AppendFormatVT(out, format, nullptr, 0);
    } else {
        const FormatHolderT holders[] = {FormatHolderT(args)...};
        AppendFormatVT(out, format, holders, static_cast<int>(sizeof...(Args)));
    }
    return out;
}

template <class... Args>
Utf8String FormatString(const Utf8String& format, const Args&... args) {
    return FormatString(format.GetBuffer(), args...);
}

template <class S, class... Args>
S FormatStringT(const char* format, const Args&... args) {
    return FormatString(format, args...);
}

template <class S, class... Args>
S FormatStringT(const Utf8String& format, const Args&... args) {
    return FormatString(format.GetBuffer(), args...);
}

// Sets out to the two parts joined; a length of -1 takes a NUL-terminated
// part. Either part may lie inside out.
void ConcatString(Utf8String& out, const char* first, int firstLength, const char* second, int secondLength);

}  // namespace Bedrock
