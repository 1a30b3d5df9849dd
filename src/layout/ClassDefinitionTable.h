#pragma once

// The class of each glyph, for lookups that work on glyph classes. Both file
// formats load into one ordered map; a glyph the map lacks is in class 0.
// Save writes the map back in the format the table holds.

#include <cstdint>
#include <map>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class ClassDefinitionTable : public SubTable {
public:
    struct RangeRecord {
        uint16_t start = 0;
        uint16_t end = 0;
        uint16_t classValue = 0;
    };

    // Reads from the buffer's position. The first class read for a glyph
    // wins, and format 1 keeps its class-0 entries. False for a format other
    // than 1 or 2 and for data the buffer does not hold; `classes` then keeps
    // what it held.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Writes `format` as it stands, never a recomputed one. For a format
    // other than 1 or 2 only the format is written and 0 is returned.
    unsigned long Save(TableGraph& graph) const;
    // Compares `font` (as a pointer), `format`, `classes` in key order.
    bool IsLessThan(const GraphNode& other) const override;

    // The runs of consecutive glyphs with one class, in glyph order.
    void MakeRanges(std::vector<RangeRecord>& ranges) const;

    Bedrock::NonCounted<OTFont> font;
    uint16_t format = 0;
    std::map<uint16_t, uint16_t> classes;  // glyph id -> class
};

}  // namespace Typeframe
