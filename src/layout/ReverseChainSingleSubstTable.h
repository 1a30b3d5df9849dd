#pragma once

// GSUB lookup type 8: one glyph replaced by another where coverages before
// and after it match, the text being processed from its end. Each covered
// glyph has its substitute at its coverage index.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class ReverseChainSingleSubstTable : public LookupSubTable {
public:
    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the header doesn't fit. Otherwise reads, whatever
    // the format, the coverage offsets and glyphs that the bytes and the load
    // budget hold and then the coverages (each empty when missing or not
    // loaded), and is false for a format other than 1.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // format, coverage, the backtrack count and offsets, the lookahead count
    // and offsets, the glyph count and glyphs (up to 65535 of each), whatever
    // the format.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return 8; }
    Bedrock::Counted<LookupSubTable> Clone() const override {
        return Bedrock::MakeCounted<ReverseChainSingleSubstTable>(*this);
    }
    // Compares format, coverage, backtrackCoverages, lookAheadCoverages,
    // substituteGlyphs; coverages by node.
    bool IsLessThan(const GraphNode& other) const override;
    // Nothing in a substitution holds device tables: nothing to visit.
    void Accept(GraphNodeVisitor&) override {}

    uint16_t format = 0;
    CoverageTable coverage;
    // The glyphs before the covered one, nearest first.
    std::vector<CoverageTable> backtrackCoverages;
    std::vector<CoverageTable> lookAheadCoverages;
    // In coverage order.
    std::vector<uint16_t> substituteGlyphs;
};

}  // namespace Typeframe
