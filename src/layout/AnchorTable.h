#pragma once

// A point a GPOS lookup attaches glyphs at: coordinates, and in format 2 a
// contour point or in format 3 device tables. Format 0 means no anchor: the
// parent's offset was 0, or led to nothing readable.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/DeviceTable.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class AnchorTable : public SubTable, public GraphNodeVisitable {
public:
    // Reads at the buffer's position; device offsets count from there. False,
    // with nothing changed, when the fields of the format don't fit. A format
    // other than 1 to 3 stops after the coordinates. A device that doesn't
    // load stays absent (deltaFormat 0).
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget` (see SubTable::GetLoadBudget): a device whose
    // deltas the budget can't hold stays absent.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // Format 3 writes its devices inside the anchor's own bytes, not as
    // children: see AnchorTable.cpp.
    unsigned long Save(TableGraph& graph) const;
    // Compares format, xCoordinate, yCoordinate, anchorPoint, then the two
    // devices by node.
    bool IsLessThan(const GraphNode& other) const override;
    void Accept(GraphNodeVisitor& visitor) override;

    uint16_t format = 0;
    int16_t xCoordinate = 0;
    int16_t yCoordinate = 0;
    // Format 2 only.
    uint16_t anchorPoint = 0;
    // Format 3 only; a deltaFormat of 0 means no device.
    DeviceTable xDeviceTable;
    DeviceTable yDeviceTable;
};

}  // namespace Typeframe
