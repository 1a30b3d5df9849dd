#pragma once

// The marks of a mark attachment subtable: for each mark, in mark coverage
// order, its class and its anchor. Each anchor is a node of its own, so equal
// anchors are written once.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/AnchorTable.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class MarkArrayTable : public SubTable, public GraphNodeVisitable {
public:
    struct MarkRecord {
        // markClass, then the anchor's fields.
        bool operator<(const MarkRecord& other) const;

        uint16_t markClass = 0;
        // Format 0 where the record's offset was 0.
        AnchorTable markAnchor;
    };

    // Reads at the buffer's position; anchor offsets count from there. False,
    // with nothing changed, when the count or the records don't fit in the
    // bytes. What one load keeps is bounded by SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget`, reduced by what this keeps: records beyond
    // it are left out and anchors beyond it left missing, and the result is
    // then false.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // A missing anchor (format 0) is written as a zero offset with no edge.
    unsigned long Save(TableGraph& graph) const;
    // Compares markRecords lexicographically.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this array, then each anchor that is present.
    void Accept(GraphNodeVisitor& visitor) override;

    std::vector<MarkRecord> markRecords;
};

}  // namespace Typeframe
