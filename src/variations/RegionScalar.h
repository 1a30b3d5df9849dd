#pragma once

// The one routine for how far a location lies inside a variation region,
// shared by item variation stores (metrics, layout) and tuple variations
// (glyphs, control values). Its users differ only in the number type of the
// ramp's quotient, which is why it is a template on that quotient.

#include "base/FixedPoint.h"

namespace Typeframe {

// The quotients (a - b) / (x - y) that the ramps between a region's edges
// and its peak are made of, in the number types the tables need. Function
// objects rather than functions, so that each use inlines its own.
namespace RegionQuotient {

// Glyph outlines: the 2.14 values as doubles, divided in double.
struct InDoubles {
    double operator()(Fixed2_14 a, Fixed2_14 b, Fixed2_14 x, Fixed2_14 y) const {
        constexpr double kUnit = 6.103515625e-5;  // 2^-14
        return (a.GetRaw() * kUnit - b.GetRaw() * kUnit) / (x.GetRaw() * kUnit - y.GetRaw() * kUnit);
    }
};

// Item variation stores: the differences taken in 2.14 (wrapping at 16 bits
// as the type does), divided in double.
struct Fixed2_14Differences {
    double operator()(Fixed2_14 a, Fixed2_14 b, Fixed2_14 x, Fixed2_14 y) const {
        return (a - b).ToDouble() / (x - y).ToDouble();
    }
};

// Control values: divided in 2.14 and rounded there, so results may differ
// from a division in doubles in the last places. Deliberately so.
struct Fixed2_14Division {
    double operator()(Fixed2_14 a, Fixed2_14 b, Fixed2_14 x, Fixed2_14 y) const {
        return ((a - b) / (x - y)).ToDouble();
    }
};

}  // namespace RegionQuotient

// The factor one axis of a region gives its scalar at coordinate c. An axis
// whose region is malformed, peaks at 0 or spans the default leaves the
// scalar alone (1); outside the region it is 0, at the peak 1, and between
// an edge and the peak the ramp, from the side of the peak where c lies.
template <class Quotient>
double RegionAxisFactor(Fixed2_14 start, Fixed2_14 peak, Fixed2_14 end, Fixed2_14 c, Quotient quotient) {
    const Fixed2_14 zero;
    if (start > peak || peak > end) return 1.0;
    if (peak == zero) return 1.0;
    if (start < zero && end > zero) return 1.0;
    if (c < start || c > end) return 0.0;
    if (c == peak) return 1.0;
    return c < peak ? quotient(c, start, peak, start) : quotient(end, c, end, peak);
}

}  // namespace Typeframe
