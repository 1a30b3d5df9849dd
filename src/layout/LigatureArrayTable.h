#pragma once

// The ligatures of a mark-to-ligature subtable: for each ligature glyph, in
// ligature coverage order, a LigatureAttachTable node with its components'
// anchors.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/LigatureAttachTable.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class LigatureArrayTable : public SubTable, public GraphNodeVisitable {
public:
    using LigatureAttachTable = Typeframe::LigatureAttachTable;

    explicit LigatureArrayTable(uint16_t markClassCount = 0) : classCount(markClassCount) {}

    // Reads the count and the offsets at the buffer's position; offsets count
    // from there. Each attachment gets this array's classCount; a zero offset
    // gives an attachment with no components. False, with nothing changed,
    // when the offsets don't fit in the bytes. What one load keeps is bounded
    // by SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget`, reduced by what this keeps: attachments
    // beyond it are left out, and the result is then false, as it is when an
    // attachment isn't read whole.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // The count, one offset per attachment, then each attachment and its edge.
    unsigned long Save(TableGraph& graph) const;
    // Compares the count, then attachTables lexicographically.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this array, then each attachment.
    void Accept(GraphNodeVisitor& visitor) override;

    // Set by the owning subtable from its markClassCount.
    uint16_t classCount = 0;
    std::vector<LigatureAttachTable> attachTables;
};

}  // namespace Typeframe
