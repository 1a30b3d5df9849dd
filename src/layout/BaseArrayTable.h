#pragma once

// The bases of a mark-to-base subtable: for each base glyph, in base
// coverage order, one anchor per mark class. Each anchor is a node of its
// own, so equal anchors are written once.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/AnchorTable.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class BaseArrayTable : public SubTable, public GraphNodeVisitable {
public:
    explicit BaseArrayTable(uint16_t markClassCount = 0) : classCount(markClassCount) {}

    // Reads rowCount and rowCount * classCount offsets at the buffer's
    // position; offsets count from there, and each that isn't 0 is loaded.
    // False, with nothing changed, when the offsets don't fit in the bytes.
    // What one load keeps is bounded by SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget`, reduced by what this keeps: rows beyond it
    // are left out and anchors beyond it left missing, and the result is
    // then false.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // rowCount, then rowCount * classCount offsets (none when classCount is
    // 0); an anchor that is missing (format 0, or beyond `anchors`) keeps a
    // zero offset and gets no edge.
    unsigned long Save(TableGraph& graph) const;
    // Compares rowCount, then anchors lexicographically.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this array, then each anchor that is present.
    void Accept(GraphNodeVisitor& visitor) override;

    // Set by the owning subtable from its markClassCount; never read from here.
    uint16_t classCount = 0;
    uint16_t rowCount = 0;
    // Row-major, rowCount * classCount entries; format 0 where the offset was 0.
    std::vector<AnchorTable> anchors;
};

}  // namespace Typeframe
