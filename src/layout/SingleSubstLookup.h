#pragma once

// GSUB lookup type 1: each covered glyph is replaced by one other, its own id
// plus a delta (format 1) or the glyph listed at its coverage index (format
// 2).

#include <cstdint>
#include <map>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class SingleSubstLookup : public LookupSubTable {
public:
    // Reads at the buffer's position; offsets count from there. False for a
    // format other than 1 or 2 (which is kept in `format`, nothing else
    // read), and, with nothing changed, when the header doesn't fit.
    // Otherwise reads the fields of the format, keeping the format 2 glyphs
    // that the bytes and the load budget hold, and the coverage (empty when
    // it is missing or doesn't load), and returns MakeMapping().
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // Writes the fields as they stand; `mapping` plays no part. For a format
    // other than 1 or 2 the node holds the format and the coverage offset,
    // and 0 is returned rather than this node's index.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return 1; }
    Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<SingleSubstLookup>(*this); }
    // Compares format, coverage by node, deltaGlyphID, substituteGlyphs.
    bool IsLessThan(const GraphNode& other) const override;
    // Nothing in a substitution holds device tables: nothing to visit.
    void Accept(GraphNodeVisitor&) override {}

    // Fills `mapping` from the coverage: each glyph plus deltaGlyphID in 16
    // bits (format 1), or the glyph at its coverage index (format 2, which
    // fails when the counts differ). A glyph listed twice takes its last
    // substitute. False for another format, and whenever `mapping` already
    // holds entries: the mapping is made once per object, so a second call,
    // or a second Load, keeps the first mapping and returns false.
    bool MakeMapping();

    uint16_t format = 0;
    CoverageTable coverage;
    // Format 1; the file's signed delta, kept as its 16 bits.
    uint16_t deltaGlyphID = 0;
    // Format 2, in coverage order.
    std::vector<uint16_t> substituteGlyphs;
    // Input glyph to output glyph, made by MakeMapping; a change to the
    // substitution is made in the fields above, not here.
    std::map<uint16_t, uint16_t> mapping;
};

}  // namespace Typeframe
