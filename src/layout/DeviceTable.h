#pragma once

// Per-size adjustments of a positioning value, in font units for each ppem
// size from startSize to endSize; or, when deltaFormat is 0x8000, a variation
// index (outer index in startSize, inner index in endSize, no deltas).

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class DeviceTable : public SubTable {
public:
    static constexpr uint16_t kVariationIndexFormat = 0x8000;

    // Reads from the buffer's position. False for a format other than 1, 2,
    // 3 or 0x8000 and when the buffer lacks the packed deltas; `deltas` then
    // keeps what it held.
    // Loads the device at `position` of `source` into `device` only when it
    // reads whole and `budget` holds its deltas (taken from it then), so that
    // a bad offset leaves the device absent rather than half read. The
    // header tells how many deltas there are: one the budget can't hold is
    // never decoded.
    static void LoadAt(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t position, DeviceTable& device,
                       uint64_t& budget);
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Chooses the packing afresh from `deltas` (DeviceTable.cpp says how), whatever
    // `deltaFormat` says, except that a variation index stays one.
    unsigned long Save(TableGraph& graph) const;
    // Compares `startSize`, `endSize`, `deltaFormat`, then `deltas` as signed bytes.
    bool IsLessThan(const GraphNode& other) const override;
    // The same order as a three-way result (negative, 0, positive), for the
    // records that hold devices by value and compare them many times over.
    static int Compare(const DeviceTable& a, const DeviceTable& b);

    uint16_t startSize = 0;
    uint16_t endSize = 0;
    uint16_t deltaFormat = 0;
    std::vector<int8_t> deltas;  // one per size from startSize on
};

}  // namespace Typeframe
