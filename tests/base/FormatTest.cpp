#include "base/Format.h"

#include <climits>

#include <gtest/gtest.h>

#include "base/IDTag.h"
#include "base/ToString.h"

namespace {

using namespace Bedrock;
using Typeframe::Utf8String;

TEST(FormatTest, PlaceholdersByNumber) {
    EXPECT_EQ(FormatString("%2%1", "a", "b"), "ba");
    EXPECT_EQ(FormatStringT<Utf8String>("%1-%1-%2", Utf8String("x"), 3), "x-x-3");
    // Anything that is not a placeholder of a given argument is copied.
    EXPECT_EQ(FormatString("100% of %1%", 5), "100% of 5%");
    EXPECT_EQ(FormatString("%0 %3 %1", 1), "%0 %3 1");
    EXPECT_EQ(FormatString("%10", "x"), "x0");
    EXPECT_EQ(FormatString("no arguments %1"), "no arguments %1");
    EXPECT_EQ(FormatString(Utf8String("%1 %2"), "copyright", "trademark"), "copyright trademark");

    Utf8String out("head:");
    const FormatHolderT args[] = {FormatHolderT(12), FormatHolderT("ab")};
    EXPECT_EQ(AppendFormatVT(out, "[%2%1]", args, 2), 6);
    EXPECT_EQ(out, "head:[ab12]");
}

TEST(FormatTest, ArgumentTypes) {
    EXPECT_EQ(FormatString("%1 %2 %3", -7, 4000000000u, static_cast<unsigned long>(ULONG_MAX)),
              "-7 4000000000 18446744073709551615");
    EXPECT_EQ(FormatString("%1 %2 %3 %4", static_cast<unsigned char>(200), static_cast<short>(-3),
                           static_cast<unsigned short>(65535), LONG_MIN),
              "200 -3 65535 -9223372036854775808");
    EXPECT_EQ(FormatString("%1|%2", 'c', true), "c|1");
    EXPECT_EQ(FormatString("%1 %2 %3 %4", 0.1, 700.0, -2.5, 1e-7), "0.1 700 -2.5 1e-07");
    EXPECT_EQ(FormatString("[%1][%2][%3]", IDTag(0x676C7966), IDTag(0x63767420), IDTag(0)), "[glyf][cvt ][<>]");
    EXPECT_EQ(ToStringT<Utf8String>(IDTag(0x4F532F32)), "OS/2");

    Utf8String joined("old");
    ConcatString(joined, "left", -1, "right-side", 5);
    EXPECT_EQ(joined, "leftright");
    ConcatString(joined, joined.GetBuffer() + 4, 5, joined.GetBuffer(), 4);
    EXPECT_EQ(joined, "rightleft");
}

TEST(ToStringTest, Integers) {
    EXPECT_EQ(FormatString("cid%1", ToStringTPadded<Utf8String>(37, 5, kPadZeros, kSignMinusOnly, nullptr)),
              "cid00037");
    EXPECT_EQ(FormatString("glyph%1", ToStringBase(37u, 10, 5, kPadZeros, true)), "glyph00037");
    EXPECT_EQ(ToStringTPadded<Utf8String>(123456, 5, kPadZeros), "123456");
    EXPECT_EQ(ToStringTPadded<Utf8String>(-37, 5, kPadZeros), "-0037");
    EXPECT_EQ(ToStringTPadded<Utf8String>(-37, 5, kPadSpaces), "  -37");
    EXPECT_EQ(ToStringTPadded<Utf8String>(37, 5, kPadNone), "37");

    // Bytes for "\x%1": two lowercase digits.
    EXPECT_EQ(FormatString("\\x%1",
                           ToStringTBasePadded<Utf8String>(static_cast<unsigned char>(0x0a), 16, 2, kPadZeros, false)),
              "\\x0a");
    EXPECT_EQ(ToStringTBasePadded<Utf8String>(static_cast<unsigned char>(0xAB), 16, 2, kPadZeros, false), "ab");
    EXPECT_EQ(ToStringBase(0xBEEFu, 16, 0, kPadNone, true), "BEEF");
    EXPECT_EQ(ToStringBase(static_cast<unsigned short>(5), 2), "101");
    EXPECT_EQ(ToStringBase(-255, 16), "-ff");
    EXPECT_EQ(ToStringBase(0, 10), "0");

    EXPECT_EQ(ToStringBaseGroup(0x0102u, 2, 16, kPadZeros, false, CharacterGroupingBinaryBytes()), "00000001 00000010");
    EXPECT_EQ(ToStringBaseGroup(0x80u, 2, 8, kPadZeros, false, CharacterGroupingBinaryBytes()), "10000000");
    const CharacterGrouping thousands;
    EXPECT_EQ(ToStringT<Utf8String>(-1234567, kSignMinusOnly, &thousands), "-1,234,567");

    EXPECT_EQ(ToStringT<Utf8String>(-5), "-5");
    EXPECT_EQ(ToStringT<Utf8String>(5, kSignAlways), "+5");
    EXPECT_EQ(ToStringT<Utf8String>(static_cast<short>(-32768)), "-32768");
    EXPECT_EQ(ToStringT<Utf8String>(static_cast<unsigned char>(255)), "255");
    EXPECT_EQ(ToStringT<Utf8String>(ULONG_MAX), "18446744073709551615");
    EXPECT_EQ(ToStringT<Utf8String>(LLONG_MIN), "-9223372036854775808");
}

TEST(ToStringTest, Doubles) {
    EXPECT_EQ(ToStringT<Utf8String>(700.0, 1, 0, kSignMinusOnly, kTruncateTrailingZeros), "700");
    EXPECT_EQ(ToStringT<Utf8String>(87.5, 2, 0, kSignMinusOnly, kTruncateTrailingZeros), "87.5");
    EXPECT_EQ(ToStringT<Utf8String>(700.0, 2, 0, kSignMinusOnly, kTruncateNone), "700.00");
    EXPECT_EQ(ToStringT<Utf8String>(1.5, 3, 2, kSignMinusOnly, kTruncateTrailingZeros), "1.50");
    EXPECT_EQ(ToStringT<Utf8String>(2.0 / 3.0, 4, 0, kSignMinusOnly, kTruncateTrailingZeros), "0.6667");
    EXPECT_EQ(ToStringT<Utf8String>(-3.25, 2), "-3.25");
    EXPECT_EQ(ToStringT<Utf8String>(3.25, 2, 0, kSignAlways), "+3.25");
    EXPECT_EQ(ToStringT<Utf8String>(0.996, 2), "1.00");
    EXPECT_EQ(ToStringT<Utf8String>(12.0, 0), "12");
    // A value that prints as zero has no sign.
    EXPECT_EQ(ToString(-0.001, 2, 0, kSignMinusOnly, kTruncateTrailingZeros), "0");
    EXPECT_EQ(ToString(-0.0, 1), "0.0");
    EXPECT_EQ(ToString(1e20, 0), "100000000000000000000");
}

}  // namespace
