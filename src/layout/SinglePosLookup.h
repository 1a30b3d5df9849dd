#pragma once

// GPOS lookup type 1: one adjustment for every covered glyph (format 1) or
// one per glyph in coverage order (format 2).

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "layout/ValueRecord.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class SinglePosLookup : public LookupSubTable {
public:
    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the header doesn't fit. Format 2 keeps the
    // records the bytes hold; any other format reads one record, as format
    // 1 does. A coverage that doesn't load stays empty.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // Format 2 writes a count and every record, up to 65535; any other
    // format writes exactly one record, a zero one when `values` is empty.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return 1; }
    Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<SinglePosLookup>(*this); }
    // Compares format, coverage by node, valueFormat, values.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this lookup, then each value record.
    void Accept(GraphNodeVisitor& visitor) override;

    uint16_t format = 0;
    CoverageTable coverage;
    ValueRecord::ValueRecordFlags valueFormat = 0;
    // One entry in format 1.
    std::vector<ValueRecord> values;
};

}  // namespace Typeframe
