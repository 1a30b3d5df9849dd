#pragma once

// GSUB lookup type 4: sequences of glyphs replaced by one ligature glyph. The
// first glyph of a sequence is covered; the ligatures that start with it
// form its ligature set.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class LigatureSubstLookup : public LookupSubTable {
public:
    // One ligature: the glyph it makes and the glyphs after the first.
    class LigatureTable : public SubTable {
    public:
        LigatureTable() = default;
        explicit LigatureTable(bool present) : isPresent(present) {}

        bool Load(Bedrock::Counted<BigEndianBuffer> source);
        // Reads at the buffer's position and sets isPresent. False, with
        // nothing changed, when the ligature isn't whole in the bytes, when
        // the budget can't hold it, or when its component count is 0: the
        // count includes the first glyph, so 0 is bad data.
        bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
        // ligatureGlyph, the component count (the glyphs held plus 1, so at
        // most 65534 glyphs are written), the glyphs.
        unsigned long Save(TableGraph& graph) const;
        // Compares ligatureGlyph, then componentGlyphs; isPresent plays no
        // part.
        bool IsLessThan(const GraphNode& other) const override;

        uint16_t ligatureGlyph = 0;
        // Without the first component, which the coverage gives.
        std::vector<uint16_t> componentGlyphs;
        // False for a ligature at a zero offset, or one that didn't load.
        bool isPresent = false;
    };

    // The ligatures that start with one covered glyph.
    class LigatureSet : public SubTable {
    public:
        bool Load(Bedrock::Counted<BigEndianBuffer> source);
        // Reads at the buffer's position; offsets count from there. False,
        // with nothing changed, when the count isn't there. Otherwise keeps
        // the offsets that the bytes and the budget hold; a ligature at a
        // zero offset, or one that doesn't load, is kept absent.
        bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
        // The count and up to 65535 offsets; an absent ligature keeps a zero
        // offset and doesn't enter the graph.
        unsigned long Save(TableGraph& graph) const;
        // Compares ligatures, lexicographically.
        bool IsLessThan(const GraphNode& other) const override;

        std::vector<LigatureTable> ligatures;
    };

    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the header doesn't fit. Otherwise reads the
    // coverage (empty when missing or not loaded) and the ligature sets that
    // the bytes and the load budget hold, whatever the format (a set at a
    // zero offset is empty), and is false for a format other than 1.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // format, coverage, the count, one offset per set, whatever the format.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return 4; }
    Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<LigatureSubstLookup>(*this); }
    // Compares format, coverage by node, ligatureSets.
    bool IsLessThan(const GraphNode& other) const override;
    // Nothing in a substitution holds device tables: nothing to visit.
    void Accept(GraphNodeVisitor&) override {}

    uint16_t format = 0;
    CoverageTable coverage;
    // In coverage order.
    std::vector<LigatureSet> ligatureSets;
};

}  // namespace Typeframe
