#pragma once

// The anchors of one ligature in a mark-to-ligature subtable: for each of
// its components, one anchor per mark class. Each anchor is a node of its
// own. It is a class of its own, rather than nested in LigatureArrayTable, so
// that a visitor can name it; LigatureArrayTable::LigatureAttachTable is the
// same class.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/AnchorTable.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class LigatureAttachTable : public SubTable, public GraphNodeVisitable {
public:
    explicit LigatureAttachTable(uint16_t markClassCount = 0) : classCount(markClassCount) {}

    // Reads the component count and count * classCount offsets at the
    // buffer's position; offsets count from there, and each that isn't 0 is
    // loaded. False, with nothing changed, when the offsets don't fit in the
    // bytes. What one load keeps is bounded by SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget`, reduced by what this keeps: components
    // beyond it are left out and anchors beyond it left missing, and the
    // result is then false.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // The component count, then classCount offsets per component; an anchor
    // that is missing (format 0, or beyond its component's list) keeps a zero
    // offset and gets no edge.
    unsigned long Save(TableGraph& graph) const;
    // Compares the component count, then the components lexicographically,
    // each a list of anchors compared lexicographically.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this table, then each anchor that is present.
    void Accept(GraphNodeVisitor& visitor) override;

    // Set by the owning array from the subtable's markClassCount.
    uint16_t classCount = 0;
    // One list per component, each of classCount anchors; format 0 where the
    // offset was 0.
    std::vector<std::vector<AnchorTable>> componentAnchors;
};

}  // namespace Typeframe
