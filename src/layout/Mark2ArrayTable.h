#pragma once

// The attaching marks of a mark-to-mark subtable: for each mark2 glyph, in
// mark2 coverage order, one anchor per mark1 class. It reads, holds and
// compares like a base array; unlike the other anchor arrays, it writes the
// anchors inside its own buffer: the array is one node, and an anchor that
// two entries share is written twice.

#include <cstdint>

#include "layout/BaseArrayTable.h"

namespace Typeframe {

class Mark2ArrayTable : public BaseArrayTable {
public:
    explicit Mark2ArrayTable(uint16_t markClassCount = 0) : BaseArrayTable(markClassCount) {}

    // rowCount, then rowCount * classCount offsets (none when classCount is
    // 0), then each present anchor's bytes, its offset set to where they
    // start; a missing anchor keeps a zero offset.
    unsigned long Save(TableGraph& graph) const;
    // Visits this array, then each anchor that is present.
    void Accept(GraphNodeVisitor& visitor) override;
};

}  // namespace Typeframe
