#pragma once

// Signed fixed-point numbers as stored in font files. Conversions from double
// round half away from zero; arithmetic wraps in the storage width without
// notice, as the file formats do.

#include <cmath>
#include <cstdint>
#include <limits>

namespace Bedrock {

template <class Storage, class Intermediate, int FractionBits>
class FixedPoint {
public:
    using StorageType = Storage;
    static constexpr Intermediate kOne = Intermediate(1) << FractionBits;

    constexpr FixedPoint() = default;
    // From a double: half goes away from zero; the result is cut to the
    // storage width (2.0 as a 2.14 number becomes -2.0).
    explicit FixedPoint(double value) : m_raw(static_cast<Storage>(ToIntermediate(value))) {}

    static constexpr FixedPoint FromRaw(Storage raw) {
        FixedPoint f;
        f.m_raw = raw;
        return f;
    }

    constexpr Storage GetRaw() const { return m_raw; }
    constexpr void SetRaw(Storage raw) { m_raw = raw; }
    constexpr double ToDouble() const { return static_cast<double>(m_raw) / static_cast<double>(kOne); }
    explicit constexpr operator double() const { return ToDouble(); }

    constexpr auto operator<=>(const FixedPoint&) const = default;

    constexpr FixedPoint operator+(FixedPoint other) const {
        return FromRaw(static_cast<Storage>(static_cast<Intermediate>(m_raw) + other.m_raw));
    }
    constexpr FixedPoint operator-(FixedPoint other) const {
        return FromRaw(static_cast<Storage>(static_cast<Intermediate>(m_raw) - other.m_raw));
    }
    constexpr FixedPoint operator-() const { return FromRaw(static_cast<Storage>(-static_cast<Intermediate>(m_raw))); }
    FixedPoint& operator+=(FixedPoint other) { return *this = *this + other; }
    FixedPoint& operator-=(FixedPoint other) { return *this = *this - other; }

    // Truncating division carried one bit further, whose last bit then rounds.
    // The divisor must not be zero.
    constexpr FixedPoint operator/(FixedPoint other) const {
        const Intermediate w = (static_cast<Intermediate>(m_raw) * kOne * 2) / other.m_raw;
        return FromRaw(static_cast<Storage>(w / 2 + w % 2));
    }
    FixedPoint& operator/=(FixedPoint other) { return *this = *this / other; }

private:
    static Intermediate ToIntermediate(double value) {
        double scaled = value * static_cast<double>(kOne);
        scaled = scaled >= 0 ? scaled + 0.5 : scaled - 0.5;
        // Out-of-range or NaN input from a hostile font must not reach an
        // undefined conversion; in-range values are untouched.
        constexpr double kLimit = 9.2e18;
        if (!(scaled > -kLimit && scaled < kLimit)) return 0;
        return static_cast<Intermediate>(static_cast<int64_t>(scaled));
    }

    Storage m_raw = 0;
};

}  // namespace Bedrock

namespace Typeframe {
using Fixed2_14 = Bedrock::FixedPoint<int16_t, int32_t, 14>;
using Fixed16_16 = Bedrock::FixedPoint<int32_t, int64_t, 16>;
}  // namespace Typeframe
