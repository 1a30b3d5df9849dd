#pragma once

// The glyphs a layout lookup applies to. Both file formats load into one
// plain list, in coverage order (a glyph's coverage index is its position
// there); Save writes the list back in the format the table holds.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class CoverageTable : public SubTable {
public:
    struct RangeRecord {
        uint16_t start = 0;
        uint16_t end = 0;
        uint16_t startCoverageIndex = 0;
    };

    // Reads from the buffer's position. False for a format other than 1 or 2
    // and for data the buffer does not hold; `glyphs` then keeps what it held.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Writes `format` as it stands, never a recomputed one. For a format
    // other than 1 or 2 only the format is written and 0 is returned.
    unsigned long Save(TableGraph& graph) const;
    // Compares `font` (as a pointer), `format`, `glyphs`.
    bool IsLessThan(const GraphNode& other) const override;

    // Copies `glyphs` to `out`.
    void GetGids(std::vector<unsigned short>& out) const;
    // The runs of consecutive ids in `glyphs`, in list order; nothing is
    // sorted, so an unsorted list gives more ranges and keeps its order.
    void MakeRanges(std::vector<RangeRecord>& ranges) const;

    Bedrock::NonCounted<OTFont> font;
    uint16_t format = 0;
    std::vector<uint16_t> glyphs;
};

}  // namespace Typeframe
