#pragma once

// The vertical metrics ('vmtx'): an advance height and a top side bearing
// for every glyph, expanded and compacted like 'hmtx'. Save brings
// numOfLongVerMetrics in 'vhea' up to date; unlike 'hmtx', marking the
// metrics dirty does not touch 'vhea' (it has nothing to recompute).

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTvmtxTable : public OTTable {
public:
    struct LongVerMetric {
        uint16_t advanceHeight = 0;
        int16_t tsb = 0;

        bool operator==(const LongVerMetric&) const = default;
    };

    explicit OTvmtxTable(Bedrock::NonCounted<OTFont> font);
    OTvmtxTable(const OTvmtxTable& other) = default;

    OTTable* VirtualClone() const override;
    // Needs 'maxp' and 'vhea' in the font; without 'vhea' the metrics are
    // left as they were. Makes numGlyphs records whatever the bytes hold.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // False (and still dirty) without 'maxp' or 'vhea', with no records or
    // with a record count other than numGlyphs.
    bool Save() override;

    // False for an index at or past the end; `metric` is then left alone.
    bool GetLongVerMetric(unsigned short glyph, LongVerMetric& metric) const;
    // Grows the records to hold `glyph` and marks the table dirty. Calls
    // from several threads for different glyphs are safe while no call
    // grows the records and once the table is dirty.
    bool SetLongVerMetric(unsigned short glyph, const LongVerMetric& metric);

    std::vector<LongVerMetric> metrics;
};

}  // namespace Typeframe
