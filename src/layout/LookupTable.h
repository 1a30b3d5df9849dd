#pragma once

// One lookup of GSUB or GPOS: its type, flags and subtables. The subtables
// are made by the owning table for the lookup's type and held through the
// LookupSubTable interface; an entry is null where the file gave no offset or
// a type the owner doesn't know.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/LookupSubTable.h"
#include "layout/LookupSubTableOwner.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class LookupTable : public SubTable, public GraphNodeVisitable {
public:
    // The lookup flag bit that says a mark filtering set follows the offsets.
    static constexpr uint16_t kUseMarkFilteringSet = 0x0010;
    // What one subtable entry costs the load budget: the entry and a subtable
    // object of modest size. Lookups that all point at one lookup would
    // otherwise make a copy of every subtable per lookup.
    static constexpr uint64_t kSubTableLoadCost = 256;

    // Reads at the buffer's position; offsets count from there. Always true;
    // nothing changes when the six-byte header doesn't fit. Otherwise keeps
    // the entries the bytes hold, each loaded by a subtable that `owner`
    // makes for `lookupType`, and `markFilteringSet` when the flag asks for it
    // and its bytes are there. What one load keeps is bounded by
    // SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget`, reduced by what this keeps.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // A null entry is written as a zero offset.
    unsigned long Save(TableGraph& graph) const;
    // Compares lookupType, lookupFlag, markFilteringSet against the receiver's
    // own lookupFlag, then subTables by pointer.
    bool IsLessThan(const GraphNode& other) const override;
    // True when markFilteringSet is below lookupFlag: the comparison above
    // then calls the lookup less than itself.
    bool IsLessThanItself() const override;
    // Visits this lookup, then each subtable that is not null.
    void Accept(GraphNodeVisitor& visitor) override;

    // Both point up, at the font and at the table that holds this lookup, so
    // neither is owned: a counted reference would keep the font, and the
    // table, alive for ever.
    Bedrock::NonCounted<OTFont> font;
    Bedrock::NonCounted<const LookupSubTableOwner> owner;
    uint16_t lookupType = 0;
    uint16_t lookupFlag = 0;
    // Read and written only when lookupFlag has kUseMarkFilteringSet.
    uint16_t markFilteringSet = 0;
    // In file order; an entry may be null.
    std::vector<Bedrock::Counted<LookupSubTable>> subTables;
};

}  // namespace Typeframe
