#pragma once

// Mark-to-ligature attachment (GPOS lookup type 5): each mark in markCoverage
// attaches to one component of a preceding ligature in ligatureCoverage, at
// that component's anchor for the mark's class. The anchors are graph nodes
// under one LigatureAttachTable node per ligature.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/LigatureArrayTable.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "layout/MarkArrayTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class MarkLigPosLookup : public LookupSubTable {
public:
    static constexpr uint16_t kType = 5;

    // Reads the header at the buffer's position, then markCoverage,
    // ligatureCoverage, markArray and ligatureArray, from offsets counting from
    // there and followed as they stand. ligatureArray takes its class count
    // from markClassCount. The format isn't tested. False, with nothing
    // changed, when the 12-byte header doesn't fit; false too when a child
    // isn't read whole, with what was read kept. What one load keeps is
    // bounded by SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // The header with its four offsets, then each child in header order.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return kType; }
    Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<MarkLigPosLookup>(*this); }
    // Compares format, markCoverage, ligatureCoverage, markClassCount, markArray,
    // ligatureArray.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this subtable, then markArray and ligatureArray.
    void Accept(GraphNodeVisitor& visitor) override;

    uint16_t format = 1;
    CoverageTable markCoverage;
    CoverageTable ligatureCoverage;
    uint16_t markClassCount = 0;
    MarkArrayTable markArray;
    LigatureArrayTable ligatureArray;
};

}  // namespace Typeframe
