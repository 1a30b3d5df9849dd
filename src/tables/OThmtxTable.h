#pragma once

// The horizontal metrics ('hmtx'): an advance width and a left side bearing
// for every glyph. In memory every glyph has its full record; the file's
// trailing run of equal advances is expanded on Load and compacted again on
// Save, which also brings numberOfHMetrics in 'hhea' up to date.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OThmtxTable : public OTTable {
public:
    struct LongHorMetric {
        uint16_t advanceWidth = 0;
        int16_t lsb = 0;

        bool operator==(const LongHorMetric&) const = default;
    };

    explicit OThmtxTable(Bedrock::NonCounted<OTFont> font);
    OThmtxTable(const OThmtxTable& other) = default;

    OTTable* VirtualClone() const override;
    // Needs 'maxp' and 'hhea' in the font; without 'hhea' the metrics are
    // left as they were. Makes numGlyphs records whatever the bytes hold.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // False (and still dirty) without 'maxp' or 'hhea', with no records or
    // with a record count other than numGlyphs.
    bool Save() override;
    // Marking the metrics dirty marks 'hhea' dirty too, so that its extremes
    // are recomputed.
    void SetIsDirty(bool dirty) override;

    // False for an index at or past the end; `metric` is then left alone.
    bool GetLongHorMetric(unsigned short glyph, LongHorMetric& metric) const;
    // Grows the records to hold `glyph` and marks the table dirty. Calls
    // from several threads for different glyphs are safe while no call
    // grows the records and once the table and 'hhea' are dirty: the flags
    // are only written when they are not set already.
    bool SetLongHorMetric(unsigned short glyph, const LongHorMetric& metric);
    // Every advance, in glyph order. Always true.
    bool GetAdvanceWidths(std::vector<unsigned short>& widths) const;
    // Over all records; 0 when there are none.
    unsigned short GetAdvanceWidthMin() const;
    unsigned short GetAdvanceWidthMax() const;
    short GetMinLeftSideBearing() const;
    // Always 0: the right side bearing needs the outlines, see
    // OTFont::GetMinRightSideBearing.
    short GetMinRightSideBearing() const { return 0; }

    std::vector<LongHorMetric> metrics;
};

}  // namespace Typeframe
