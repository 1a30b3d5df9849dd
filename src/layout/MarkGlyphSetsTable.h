#pragma once

// The mark glyph sets of GDEF: coverages of marks that a lookup can name
// (by index) to skip every other mark. The coverages sit behind 32-bit
// offsets.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/CoverageTable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class MarkGlyphSetsTable : public SubTable {
public:
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the header doesn't fit. `format` is kept as read,
    // and the layout of format 1 is read whatever it says. Keeps as many
    // coverages as the bytes and `budget` hold; a coverage at a zero offset,
    // one that doesn't load, or one `budget` can't hold stays empty, of
    // format 0.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // `format`, the count and one 32-bit offset per coverage (up to 65535),
    // each an edge to the coverage. Since nothing else points at them with a
    // 16-bit offset, the writer places them behind the rest of the table, and
    // two equal coverages are written once each.
    unsigned long Save(TableGraph& graph) const;
    // Compares font (as a pointer), format, coverages.
    bool IsLessThan(const GraphNode& other) const override;

    Bedrock::NonCounted<OTFont> font;
    // 0 when there are no mark glyph sets: such a table isn't saved.
    uint16_t format = 0;
    std::vector<CoverageTable> coverages;
};

}  // namespace Typeframe
