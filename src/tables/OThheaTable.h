#pragma once

// The horizontal header ('hhea'): line metrics, caret slope and the number of
// long metrics in 'hmtx'. Four extremes (advanceWidthMax, minLeftSideBearing,
// minRightSideBearing, xMaxExtent) are recomputed from the font whenever the
// table is saved dirty; numberOfHMetrics is kept current by the 'hmtx' table.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OThheaTable : public OTTable {
public:
    explicit OThheaTable(Bedrock::NonCounted<OTFont> font);
    OThheaTable(const OThheaTable& other) = default;

    OTTable* VirtualClone() const override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    bool Save() override;

    // The number of long metrics needed for these advances: the glyph count
    // less the trailing run of advances equal to the last one, the first of
    // that run kept. All equal gives 1; no glyphs gives 0.
    static uint16_t NumberOfHMetricsFor(const std::vector<double>& advances);
    // Caret slope for an italic angle in degrees (negative leans right). An
    // angle within 1e-6 of zero is upright: rise 1, run 0. Otherwise rise
    // 100 and run 100 * tan(-angle), rounded half away from zero.
    static void CaretSlopeFor(double angle, int16_t& rise, int16_t& run);

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    int16_t ascender = 0;
    int16_t descender = 0;
    int16_t lineGap = 0;
    uint16_t advanceWidthMax = 0;
    int16_t minLeftSideBearing = 0;
    int16_t minRightSideBearing = 0;
    int16_t xMaxExtent = 0;
    int16_t caretSlopeRise = 0;
    int16_t caretSlopeRun = 0;
    int16_t caretOffset = 0;
    int16_t reserved1 = 0;
    int16_t reserved2 = 0;
    int16_t reserved3 = 0;
    int16_t reserved4 = 0;
    int16_t metricDataFormat = 0;
    uint16_t numberOfHMetrics = 0;
};

}  // namespace Typeframe
