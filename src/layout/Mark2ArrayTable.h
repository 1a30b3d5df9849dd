#pragma once

// The attaching marks of a mark-to-mark subtable: for each mark2 glyph, in
// mark2 coverage order, one anchor per mark1 class. Unlike the other anchor
// arrays, the anchors are written inside the array's own buffer: the array is
// one node, and an anchor that two entries share is written twice.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/AnchorTable.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class Mark2ArrayTable : public SubTable, public GraphNodeVisitable {
public:
    explicit Mark2ArrayTable(uint16_t markClassCount = 0) : classCount(markClassCount) {}

    // Reads rowCount and rowCount * classCount offsets at the buffer's
    // position; offsets count from there, and each that isn't 0 is loaded.
    // False, with nothing changed, when the offsets don't fit in the bytes.
    // What one load keeps is bounded by LangSys::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget`, reduced by what this keeps: rows beyond it
    // are left out and anchors beyond it left missing, and the result is
    // then false.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // rowCount, then rowCount * classCount offsets (none when classCount is
    // 0), then each present anchor's bytes, appended in order with its offset
    // set directly. A missing anchor (format 0, or beyond `anchors`) keeps a
    // zero offset. An anchor that starts beyond 0xFFFE is still appended but
    // its offset stays zero: the array has no edges the writer could move.
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
