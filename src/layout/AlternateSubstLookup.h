#pragma once

// GSUB lookup type 3: each covered glyph may be replaced by one of a set of
// alternates. The layout is that of the multiple substitution, with which
// this class shares its code (GlyphSetSubst).

#include <cstdint>
#include <map>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "layout/MultipleSubstLookup.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class AlternateSubstLookup : public LookupSubTable {
public:
    // The glyphs that may replace one covered glyph.
    class AlternateTable : public GlyphSetSubst::GlyphSet {
    public:
        std::vector<uint16_t>& Glyphs() override { return alternateGlyphs; }
        const std::vector<uint16_t>& Glyphs() const override { return alternateGlyphs; }

        std::vector<uint16_t> alternateGlyphs;
    };

    // As MultipleSubstLookup::Load, with alternate sets for sequences.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // format, coverage, the count, one offset per set, whatever the format;
    // `mapping` plays no part.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return 3; }
    Bedrock::Counted<LookupSubTable> Clone() const override {
        return Bedrock::MakeCounted<AlternateSubstLookup>(*this);
    }
    // Compares format, coverage by node, alternateSets.
    bool IsLessThan(const GraphNode& other) const override;
    // Nothing in a substitution holds device tables: nothing to visit.
    void Accept(GraphNodeVisitor&) override {}

    // As MultipleSubstLookup::MakeMapping: each coverage glyph gets its
    // alternates; made once per object.
    bool MakeMapping();

    uint16_t format = 0;
    CoverageTable coverage;
    // In coverage order.
    std::vector<AlternateTable> alternateSets;
    std::map<uint16_t, std::vector<uint16_t>> mapping;
};

}  // namespace Typeframe
