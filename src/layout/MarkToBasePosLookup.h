#pragma once

// Mark-to-base attachment (GPOS lookup type 4): each mark in markCoverage
// attaches to a preceding base in baseCoverage, at the base's anchor for the
// mark's class. The base array's anchors are graph nodes, shared when equal.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/BaseArrayTable.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "layout/MarkArrayTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class MarkToBasePosLookup : public LookupSubTable {
public:
    static constexpr uint16_t kType = 4;

    // Reads the header at the buffer's position, then markCoverage,
    // baseCoverage, markArray and baseArray, from offsets counting from
    // there and followed as they stand. baseArray takes its class count
    // from markClassCount. The format isn't tested. False, with nothing
    // changed, when the 12-byte header doesn't fit; false too when a child
    // isn't read whole, with what was read kept. What one load keeps is
    // bounded by SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // The header with its four offsets, then each child in header order.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return kType; }
    Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<MarkToBasePosLookup>(*this); }
    // Compares format, markCoverage, baseCoverage, markClassCount, markArray,
    // baseArray.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this subtable, then markArray and baseArray.
    void Accept(GraphNodeVisitor& visitor) override;

    uint16_t format = 1;
    CoverageTable markCoverage;
    CoverageTable baseCoverage;
    uint16_t markClassCount = 0;
    MarkArrayTable markArray;
    BaseArrayTable baseArray;
};

}  // namespace Typeframe
