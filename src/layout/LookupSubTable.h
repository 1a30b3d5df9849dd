#pragma once

// The base of every GSUB and GPOS lookup subtable. A lookup holds its
// subtables through this interface and saves them through it, so that the
// lookup needs to know nothing of the subtable formats; the table that owns
// the lookups (a LookupSubTableOwner) makes the right class for each type.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class GraphNodeVisitor;

class LookupSubTable : public Bedrock::Countable, public SubTable, public GraphNodeVisitable {
public:
    ~LookupSubTable() override;

    void Accept(GraphNodeVisitor& visitor) override = 0;
    // Reads at the buffer's position; offsets count from there.
    virtual bool Load(Bedrock::Counted<BigEndianBuffer> source) = 0;
    // The same within `budget`, the bytes of objects that the rest of one
    // load may still keep, reduced by what this keeps: a lookup list whose
    // many offsets lead to one large subtable then keeps it in proportion
    // to the bytes, not once per offset. The base ignores the budget.
    virtual bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // Returns the subtable's node index.
    virtual unsigned long Save(TableGraph& graph) const = 0;
    // The lookup type this subtable belongs to.
    virtual uint16_t GetType() const = 0;
    bool IsLessThan(const GraphNode& other) const override = 0;
    // A copy that shares nothing that a change to either could reach: a
    // wrapped subtable is copied too. A table's copy is made of these.
    virtual Bedrock::Counted<LookupSubTable> Clone() const = 0;

    // Not owned: the font holds the table that holds this subtable.
    Bedrock::NonCounted<OTFont> font;
};

}  // namespace Typeframe
