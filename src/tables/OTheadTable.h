#pragma once

// The font header ('head'): version, units per em, dates, the font-wide
// bounding box and the loca format. Dates are held in memory as seconds since
// 1970 and stored in the file as seconds since 1904. The bounding box is
// recomputed from the outlines whenever the table is saved dirty.

#include <cstdint>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTheadTable : public OTTable {
public:
    // The four bounding-box values of the table, in font units.
    struct Bounds {
        int16_t xMin = 0;
        int16_t yMin = 0;
        int16_t xMax = 0;
        int16_t yMax = 0;
    };

    // Seconds from 1904-01-01 (the file's epoch) to 1970-01-01.
    static constexpr int64_t kSecondsFrom1904To1970 = 2082844800;
    // Size of the table as this class writes it.
    static constexpr unsigned long kTableSize = 54;

    explicit OTheadTable(Bedrock::NonCounted<OTFont> font);
    OTheadTable(const OTheadTable& other) = default;

    OTTable* VirtualClone() const override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    bool Save() override;
    // The buffer's checksum as if checkSumAdjustment were zero, which is the
    // value the table directory records; it does not change when the file
    // writer stores the adjustment.
    uint32_t GetChecksum() const override;

    // The bounding box that Save would store: the font's outline bounds,
    // rounded; all zero without a font. The fields are not touched.
    Bounds GetBounds() const;

    // Conversions between seconds since 1970 and seconds since 1904. They
    // wrap in 64 bits rather than overflow.
    static long long TimeToSecondsSince1904(long time);
    static long SecondsSince1904ToTime(long long seconds);

    // Narrows an integral double to 16 bits, defined for every input: values
    // within the 64-bit range wrap modulo 2^16 (40000 gives -25536); values
    // beyond it and NaN give 0, which is what the hardware conversion of
    // common targets produces for them.
    static int16_t NarrowToInt16(double value);
    // floor(value + 0.5), then NarrowToInt16.
    static int16_t RoundToInt16(double value);

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    Fixed16_16 fontRevision;
    uint32_t checkSumAdjustment = 0;
    uint32_t magicNumber = 0;
    uint16_t flags = 0;
    uint16_t unitsPerEm = 0;
    int64_t created = 0;   // seconds since 1970
    int64_t modified = 0;  // seconds since 1970
    int16_t xMin = 0;
    int16_t yMin = 0;
    int16_t xMax = 0;
    int16_t yMax = 0;
    uint16_t macStyle = 0;
    uint16_t lowestRecPPEM = 0;
    int16_t fontDirectionHint = 0;
    int16_t indexToLocFormat = 0;
    int16_t glyphDataFormat = 0;
};

}  // namespace Typeframe
