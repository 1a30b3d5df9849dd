#pragma once

// The positioning values of one glyph inside a GPOS subtable: placement and
// advance adjustments and their device tables. A value record is not a node
// of its own: it lies inline in its parent's bytes, and its device tables
// become children of the parent's node.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/DeviceTable.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class ValueRecord : public SubTable, public GraphNodeVisitable {
public:
    // The value format: which fields a record holds, in this order. Bits
    // above kYAdvanceDevice have no fields and are only kept.
    using ValueRecordFlags = uint16_t;
    static constexpr ValueRecordFlags kXPlacement = 0x0001;
    static constexpr ValueRecordFlags kYPlacement = 0x0002;
    static constexpr ValueRecordFlags kXAdvance = 0x0004;
    static constexpr ValueRecordFlags kYAdvance = 0x0008;
    static constexpr ValueRecordFlags kXPlacementDevice = 0x0010;
    static constexpr ValueRecordFlags kYPlacementDevice = 0x0020;
    static constexpr ValueRecordFlags kXAdvanceDevice = 0x0040;
    static constexpr ValueRecordFlags kYAdvanceDevice = 0x0080;

    ValueRecord() = default;
    // `recordBase` is where the parent subtable starts in the load buffer.
    ValueRecord(ValueRecordFlags flags, unsigned long recordBase);

    // The bytes a record of `flags` takes in its parent: 2 per field, 0 for
    // a format without fields.
    static unsigned long GetSize(ValueRecordFlags flags);

    // Reads the fields of `valueFormat` at the buffer's position and leaves
    // the position just after them, where the next record starts, whether or
    // not the bytes were there. Each device offset that is not 0 is followed
    // from `base`; a device that doesn't load stays absent (deltaFormat 0).
    // Always true.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget` (see SubTable::GetLoadBudget): a device whose
    // deltas the budget can't hold stays absent.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // Writes the fields at the end of `target`, the buffer of node `node`,
    // with device offsets counted from `recordBase`. Each device offset is
    // made and its device saved at once, so a device flag whose device has
    // deltaFormat 0 stays a zero offset. Always true.
    bool Save(Bedrock::Counted<BigEndianBuffer> target, unsigned long node, unsigned long recordBase,
              TableGraph& graph) const;
    // Compares valueFormat, the four values, then the four devices by node;
    // `base` is not compared.
    bool IsLessThan(const GraphNode& other) const override;
    // The same order as a three-way result (negative, 0, positive): pair
    // sets compare thousands of records, each once rather than both ways.
    static int Compare(const ValueRecord& a, const ValueRecord& b);
    // Visits this record; its devices are fields the visitor reaches here.
    void Accept(GraphNodeVisitor& visitor) override;

    uint64_t base = 0;
    ValueRecordFlags valueFormat = 0;
    int16_t xPlacement = 0;
    int16_t yPlacement = 0;
    int16_t xAdvance = 0;
    int16_t yAdvance = 0;
    // A deltaFormat of 0 means no device.
    DeviceTable xPlaDevice;
    DeviceTable yPlaDevice;
    DeviceTable xAdvDevice;
    DeviceTable yAdvDevice;
};

}  // namespace Typeframe
