#pragma once

// The lookup list of GSUB and GPOS: every lookup of the table, in file order,
// each held by value. The list passes its font and owner to each lookup it
// loads, so that the lookups can make their subtables.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/LookupSubTableOwner.h"
#include "layout/LookupTable.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class LookupList : public SubTable, public GraphNodeVisitable {
public:
    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the two-byte count doesn't fit. Otherwise sets
    // isPresent and keeps the lookups the bytes hold, each loaded from its
    // offset with this list's font and owner. What one load keeps is
    // bounded by SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    unsigned long Save(TableGraph& graph) const;
    // Compares font (as a pointer); lists of different owners are each less
    // than the other; then isPresent and lookups.
    bool IsLessThan(const GraphNode& other) const override;
    // True when one of its lookups is less than itself.
    bool IsLessThanItself() const override;
    // Visits this list, then each lookup.
    void Accept(GraphNodeVisitor& visitor) override;

    Bedrock::NonCounted<OTFont> font;
    Bedrock::NonCounted<const LookupSubTableOwner> owner;
    // Whether the list was in the file.
    bool isPresent = false;
    // In file order, never sorted.
    std::vector<LookupTable> lookups;
};

}  // namespace Typeframe
