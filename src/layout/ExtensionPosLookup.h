#pragma once

// A GPOS extension subtable (lookup type 9): a wrapper that holds one
// subtable of another type behind a 32-bit offset, so that the graph writer
// can place the wrapped subtable beyond the reach of 16-bit offsets.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/LookupSubTable.h"
#include "layout/LookupSubTableOwner.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class ExtensionPosLookup : public LookupSubTable {
public:
    static constexpr uint16_t kType = 9;

    // Reads format, extensionLookupType and the 32-bit offset at the
    // buffer's position, makes the wrapped subtable through `owner` and loads
    // it from the offset, counting from there; returns what that load
    // returns. False, with nothing changed, when the 8-byte header doesn't
    // fit. Otherwise subTable is replaced, and stays null (with false) when
    // there is no owner, the owner doesn't know the type, or the type is 9:
    // an extension never wraps an extension, which keeps a chain of them from
    // recursing.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // format, extensionLookupType, a 32-bit offset, then the wrapped subtable
    // and its edge; a null subTable keeps a zero offset with no edge.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return kType; }
    // Copies the wrapped subtable as well.
    Bedrock::Counted<LookupSubTable> Clone() const override;
    // Compares format, extensionLookupType, then subTable by pointer.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this extension, then hands the visitor on to the wrapped
    // subtable, when there is one.
    void Accept(GraphNodeVisitor& visitor) override;

    Bedrock::NonCounted<const LookupSubTableOwner> owner;
    uint16_t format = 1;
    uint16_t extensionLookupType = 0;
    Bedrock::Counted<LookupSubTable> subTable;
};

}  // namespace Typeframe
