#pragma once

// The attachment points of GDEF: for each covered glyph, in coverage order,
// the contour points at which marks attach to it.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/CoverageTable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

// The contour point indices of one glyph.
class AttachPointTable : public SubTable {
public:
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Reads at the buffer's position and sets isPresent. False, with nothing
    // changed, when the count doesn't fit; otherwise keeps the indices that
    // the bytes and `budget` hold (see SubTable::GetLoadBudget), and is false
    // when that is fewer than the count.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // The count and up to 65535 indices.
    unsigned long Save(TableGraph& graph) const;
    // Compares isPresent, pointIndices.
    bool IsLessThan(const GraphNode& other) const override;

    // False for an entry the list has no offset to (or could not read).
    bool isPresent = false;
    std::vector<uint16_t> pointIndices;
};

class AttachmentPointListTable : public SubTable {
public:
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the header doesn't fit. Otherwise loads the
    // coverage (which keeps its font), keeps as many entries as the bytes and
    // `budget` hold, and sets isPresent. An entry at a zero offset, or one
    // that doesn't load, stays absent.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // The coverage offset, the count and one offset per entry (up to 65535);
    // an absent entry keeps a zero offset. A coverage of no known format
    // answers with node 0, as its Save does.
    unsigned long Save(TableGraph& graph) const;
    // Compares isPresent, coverage, attachPoints.
    bool IsLessThan(const GraphNode& other) const override;

    // Whether the list was in the file; only a present list is saved.
    bool isPresent = false;
    CoverageTable coverage;
    std::vector<AttachPointTable> attachPoints;
};

}  // namespace Typeframe
