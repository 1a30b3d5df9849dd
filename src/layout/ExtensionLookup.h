#pragma once

// What the GSUB and GPOS extension subtables share: a wrapper that holds one
// subtable of another type behind a 32-bit offset, so that the graph writer
// can place the wrapped subtable beyond the reach of 16-bit offsets. Each
// table's class gives its own lookup type (7 in GSUB, 9 in GPOS).

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/LookupSubTable.h"
#include "layout/LookupSubTableOwner.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class ExtensionLookup : public LookupSubTable {
public:
    // Reads format, extensionLookupType and the 32-bit offset at the
    // buffer's position, makes the wrapped subtable through `owner` and loads
    // it from the offset, counting from there; returns what that load
    // returns. False, with nothing changed, when the 8-byte header doesn't
    // fit. Otherwise subTable is replaced, and stays null (with false) when
    // there is no owner, the owner doesn't know the type, or the type is the
    // extension's own: an extension never wraps an extension, which keeps a
    // chain of them from recursing.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    // The same; the wrapped subtable loads within the budget of the load
    // that reached this extension.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // format, extensionLookupType, a 32-bit offset, then the wrapped subtable
    // and its edge; a null subTable keeps a zero offset with no edge.
    unsigned long Save(TableGraph& graph) const override;
    // Compares format, extensionLookupType, then subTable by pointer: a
    // shallow test, so extensions merge only when they wrap one object.
    bool IsLessThan(const GraphNode& other) const override;

    // Not owned: the table that holds this extension makes its subtables.
    Bedrock::NonCounted<const LookupSubTableOwner> owner;
    uint16_t format = 1;
    uint16_t extensionLookupType = 0;
    Bedrock::Counted<LookupSubTable> subTable;

protected:
    // `copy`, a copy of this extension, made to wrap a copy of subTable.
    Bedrock::Counted<LookupSubTable> WithWrappedCopy(Bedrock::Counted<ExtensionLookup> copy) const;
};

}  // namespace Typeframe
