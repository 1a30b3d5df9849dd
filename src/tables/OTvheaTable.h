#pragma once

// The vertical header ('vhea'): vertical line metrics, caret slope and the
// number of long metrics in 'vmtx'. Every field is written back as held;
// nothing is recomputed.

#include <cstdint>

#include "base/Counted.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTvheaTable : public OTTable {
public:
    // Size of the record this class reads and writes.
    static constexpr unsigned long kTableSize = 36;

    explicit OTvheaTable(Bedrock::NonCounted<OTFont> font);
    OTvheaTable(const OTvheaTable& other) = default;

    OTTable* VirtualClone() const override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    bool Save() override;

    uint32_t version = 0;  // 16.16 version number as its raw word
    int16_t vertTypoAscender = 0;
    int16_t vertTypoDescender = 0;
    int16_t vertTypoLineGap = 0;
    int16_t advanceHeightMax = 0;  // signed here, unlike advanceWidthMax in 'hhea'
    int16_t minTopSideBearing = 0;
    int16_t minBottomSideBearing = 0;
    int16_t yMaxExtent = 0;
    int16_t caretSlopeRise = 0;
    int16_t caretSlopeRun = 0;
    int16_t caretOffset = 0;
    int16_t reserved1 = 0;
    int16_t reserved2 = 0;
    int16_t reserved3 = 0;
    int16_t reserved4 = 0;
    int16_t metricDataFormat = 0;
    uint16_t numOfLongVerMetrics = 0;
};

}  // namespace Typeframe
