#pragma once

// GSUB lookup type 2: each covered glyph is replaced by a sequence of glyphs.
// The alternate substitution (type 3, AlternateSubstLookup) has the same
// layout with a set of alternates where this has a sequence; what the two
// share is here, in GlyphSetSubst.

#include <algorithm>
#include <cstdint>
#include <map>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

namespace GlyphSetSubst {

// One list of glyphs behind an offset: a count and the glyphs. The derived
// class holds the list under its own name and hands it out through Glyphs().
class GlyphSet : public SubTable {
public:
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Reads at the buffer's position. False, with nothing changed, when the
    // count isn't there; otherwise keeps the glyphs that the bytes and the
    // budget hold, and is false when those are fewer than the count.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // The count and up to 65535 glyphs.
    unsigned long Save(TableGraph& graph) const;
    // Compares the glyph lists.
    bool IsLessThan(const GraphNode& other) const override;

    virtual std::vector<uint16_t>& Glyphs() = 0;
    virtual const std::vector<uint16_t>& Glyphs() const = 0;
};

// Reads the header at the buffer's position: `format`, the coverage (empty
// when missing or not loaded) and the set offsets that the bytes and the
// budget hold, each set charged `setSize`. False, with nothing changed, when
// the header doesn't fit. Any format is read as format 1 is.
bool LoadHeader(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t& budget,
                const Bedrock::NonCounted<OTFont>& font, uint64_t setSize, uint16_t& format, CoverageTable& coverage,
                std::vector<uint16_t>& offsets);
// Writes `format`, the coverage, the count and one offset per set (up to
// 65535) into `out`, the buffer of node `index`, and saves the children.
// Any format is written as format 1 is.
void Save(TableGraph& graph, unsigned long index, const Bedrock::Counted<BigEndianBuffer>& out, uint16_t format,
          const CoverageTable& coverage, const std::vector<const GlyphSet*>& sets);

// The header, then each set from its offset; a set at a zero offset stays
// empty. False only when the header doesn't fit.
template <class Set>
bool Load(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t& budget, const Bedrock::NonCounted<OTFont>& font,
          uint16_t& format, CoverageTable& coverage, std::vector<Set>& sets) {
    const uint64_t start = source->Tell();
    std::vector<uint16_t> offsets;
    if (!LoadHeader(source, budget, font, sizeof(Set), format, coverage, offsets)) return false;
    sets.assign(offsets.size(), Set());
    for (size_t i = 0; i < offsets.size(); ++i) {
        if (offsets[i] == 0) continue;
        source->Seek(start + offsets[i]);
        sets[i].Load(source, budget);
    }
    return true;
}

template <class Set>
void Save(TableGraph& graph, unsigned long index, const Bedrock::Counted<BigEndianBuffer>& out, uint16_t format,
          const CoverageTable& coverage, const std::vector<Set>& sets) {
    std::vector<const GlyphSet*> bases;
    bases.reserve(sets.size());
    for (const Set& set : sets) bases.push_back(&set);
    Save(graph, index, out, format, coverage, bases);
}

// Each coverage glyph mapped to the glyphs of the set at its coverage index.
// False, with `mapping` unchanged, for a format other than 1, when `mapping`
// already holds entries, or when the counts of sets and coverage glyphs
// differ.
template <class Set>
bool MakeMapping(uint16_t format, const CoverageTable& coverage, const std::vector<Set>& sets,
                 std::map<uint16_t, std::vector<uint16_t>>& mapping) {
    // Deliberately made once: a mapping already there stays as it is, even
    // when the fields have changed since.
    if (format != 1 || !mapping.empty() || sets.size() != coverage.glyphs.size()) return false;
    for (size_t i = 0; i < sets.size(); ++i) mapping[coverage.glyphs[i]] = sets[i].Glyphs();
    return true;
}

// Compares format, coverage by node, then the sets.
template <class Set>
bool IsLessThan(uint16_t format, const CoverageTable& coverage, const std::vector<Set>& sets, uint16_t otherFormat,
                const CoverageTable& otherCoverage, const std::vector<Set>& otherSets) {
    if (format != otherFormat) return format < otherFormat;
    if (coverage < otherCoverage) return true;
    if (otherCoverage < coverage) return false;
    return std::lexicographical_compare(sets.begin(), sets.end(), otherSets.begin(), otherSets.end());
}

}  // namespace GlyphSetSubst

class MultipleSubstLookup : public LookupSubTable {
public:
    // The glyphs that replace one covered glyph.
    class SequenceTable : public GlyphSetSubst::GlyphSet {
    public:
        std::vector<uint16_t>& Glyphs() override { return substituteGlyphs; }
        const std::vector<uint16_t>& Glyphs() const override { return substituteGlyphs; }

        std::vector<uint16_t> substituteGlyphs;
    };

    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the header doesn't fit. Otherwise reads the
    // coverage (empty when it is missing or doesn't load) and the sequences
    // that the bytes and the load budget hold, whatever the format (a
    // sequence at a zero offset is empty), and returns MakeMapping(), which
    // is false for a format other than 1.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // format, coverage, the count, one offset per sequence, whatever the
    // format; `mapping` plays no part.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return 2; }
    Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<MultipleSubstLookup>(*this); }
    // Compares format, coverage by node, sequences.
    bool IsLessThan(const GraphNode& other) const override;
    // Nothing in a substitution holds device tables: nothing to visit.
    void Accept(GraphNodeVisitor&) override {}

    // Fills `mapping`: each coverage glyph gets the glyphs of its sequence.
    // False for a format other than 1, when the counts differ, and whenever
    // `mapping` already holds entries (it is made once per object, so a
    // second Load keeps the first mapping). A glyph listed twice takes its
    // last sequence.
    bool MakeMapping();

    uint16_t format = 0;
    CoverageTable coverage;
    // In coverage order.
    std::vector<SequenceTable> sequences;
    std::map<uint16_t, std::vector<uint16_t>> mapping;
};

}  // namespace Typeframe
