#pragma once

// The axis variations table ('avar'): for each axis a piecewise linear map
// from normalised coordinates to normalised coordinates. Only the segment
// maps of version 1.0 are read; anything a later version adds behind them is
// left unparsed. The table is never rewritten: its bytes always leave as
// they were loaded.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTavarTable : public OTTable {
public:
    struct AxisValueMapRecord {
        Fixed2_14 fromCoordinate;
        Fixed2_14 toCoordinate;
    };

    explicit OTavarTable(Bedrock::NonCounted<OTFont> font);
    OTavarTable(const OTavarTable& other) = default;

    OTTable* VirtualClone() const override;
    // Appends one map per axis to segmentMaps, which is not emptied first.
    // The order of the pairs is not checked. A map cut short by the end of
    // the table keeps its whole pairs, and no map is read after it.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // Writes nothing, dirty or not: a changed map can't be saved.
    bool Save() override;

    // The value mapped through the axis's segments, in doubles with no
    // rounding to 2.14. An axis without a map, and a value above the last
    // fromCoordinate, give the value back unchanged; where fromCoordinates
    // repeat, the first record wins.
    double NormalizeValue(int axisIndex, double value) const;

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    std::vector<std::vector<AxisValueMapRecord>> segmentMaps;
};

}  // namespace Typeframe
