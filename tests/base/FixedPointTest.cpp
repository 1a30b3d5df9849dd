#include "base/FixedPoint.h"

#include <gtest/gtest.h>

namespace {

using Typeframe::Fixed16_16;
using Typeframe::Fixed2_14;

TEST(FixedPointTest, FromDoubleRoundsHalfAwayFromZero) {
    EXPECT_EQ(Fixed2_14(1.0).GetRaw(), 16384);
    EXPECT_EQ(Fixed2_14(-1.0).GetRaw(), -16384);
    EXPECT_EQ(Fixed2_14(0.5).GetRaw(), 8192);
    // 32768 does not fit: it is cut to the storage width without notice.
    EXPECT_EQ(Fixed2_14(2.0).GetRaw(), -32768);
    EXPECT_EQ(Fixed16_16(-0.5 / 65536).GetRaw(), -1);
    EXPECT_EQ(Fixed16_16(0.5 / 65536).GetRaw(), 1);
    EXPECT_EQ(Fixed16_16(0.49 / 65536).GetRaw(), 0);
    EXPECT_DOUBLE_EQ(Fixed2_14::FromRaw(-8192).ToDouble(), -0.5);
    EXPECT_DOUBLE_EQ(Fixed16_16::FromRaw(1).ToDouble(), 1.52587890625e-5);
}

TEST(FixedPointTest, ArithmeticWrapsAndDivisionRounds) {
    EXPECT_EQ((Fixed2_14(1.5) + Fixed2_14(1.0)).GetRaw(), Fixed2_14(-1.5).GetRaw());
    EXPECT_LT(Fixed2_14(-0.25), Fixed2_14(0.25));
    // 1/3 = 5461.33 raw: down; 2/3 = 10922.67 raw: up, and the same away
    // from zero for a negative quotient.
    EXPECT_EQ((Fixed2_14(0.5) / Fixed2_14(1.5)).GetRaw(), 5461);
    EXPECT_EQ((Fixed2_14(1.0) / Fixed2_14(1.5)).GetRaw(), 10923);
    EXPECT_EQ((Fixed2_14(-1.0) / Fixed2_14(1.5)).GetRaw(), -10923);
    EXPECT_EQ((Fixed16_16(2.0) / Fixed16_16(3.0)).GetRaw(), 43691);
    EXPECT_EQ((Fixed16_16(-2.0) / Fixed16_16(3.0)).GetRaw(), -43691);
    EXPECT_EQ((Fixed2_14(0.5) / Fixed2_14(0.25)).GetRaw(), Fixed2_14(2.0).GetRaw());
    EXPECT_EQ((Fixed2_14::FromRaw(1) / Fixed2_14::FromRaw(2)).GetRaw(), 8192);
}

}  // namespace
