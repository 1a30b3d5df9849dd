#pragma once

namespace Typeframe {

// Helpers for the binary-search fields of sfnt headers.
class Util {
public:
    // Largest power of two not above n; 0 for 0.
    static unsigned short MaxPower2LE(unsigned short n);
    // Floor of the base-2 logarithm; 0 for 0 and 1.
    static unsigned short Log2(unsigned short n);
};

}  // namespace Typeframe
