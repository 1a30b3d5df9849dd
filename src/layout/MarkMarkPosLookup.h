#pragma once

// Mark-to-mark attachment (GPOS lookup type 6): each mark in mark1Coverage
// attaches to a preceding mark in mark2Coverage, at the mark2's anchor for
// the mark1's class. The mark2 array holds its anchors inside its own bytes
// (see Mark2ArrayTable).

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/Mark2ArrayTable.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "layout/MarkArrayTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class MarkMarkPosLookup : public LookupSubTable {
public:
    static constexpr uint16_t kType = 6;

    // Reads the header at the buffer's position, then mark1Coverage,
    // mark2Coverage, mark1Array and mark2Array, from offsets counting from
    // there and followed as they stand. mark2Array takes its class count
    // from markClassCount. The format isn't tested. False, with nothing
    // changed, when the 12-byte header doesn't fit; false too when a child
    // isn't read whole, with what was read kept. What one load keeps is
    // bounded by SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // The header with its four offsets, then each child in header order.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return kType; }
    Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<MarkMarkPosLookup>(*this); }
    // Compares format, mark1Coverage, mark2Coverage, markClassCount, mark1Array,
    // mark2Array.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this subtable, then mark1Array and mark2Array.
    void Accept(GraphNodeVisitor& visitor) override;

    uint16_t format = 1;
    CoverageTable mark1Coverage;
    CoverageTable mark2Coverage;
    uint16_t markClassCount = 0;
    MarkArrayTable mark1Array;
    Mark2ArrayTable mark2Array;
};

}  // namespace Typeframe
