#pragma once

// The chained context subtables that GSUB (lookup type 6) and GPOS (lookup
// type 8) share: a context subtable whose input sequence must also be
// preceded by a backtrack sequence and followed by a lookahead sequence. All
// three formats are held by this one class; GSUBChainedSequenceContextTable
// and GPOSChainedSequenceContextTable give it its lookup type and its
// vocabulary.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/String.h"
#include "core/BigEndianBuffer.h"
#include "layout/ClassDefinitionTable.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "layout/SequenceContextTable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class ChainedSequenceContextTable : public LookupSubTable {
public:
    // The sequences to match before, from and after the first glyph, and
    // what to apply where they match.
    class ChainedSequenceRule : public SubTable {
    public:
        ChainedSequenceRule() = default;
        explicit ChainedSequenceRule(bool present) : isPresent(present) {}

        bool Load(Bedrock::Counted<BigEndianBuffer> source);
        // Reads at the buffer's position and sets isPresent. False, with
        // nothing changed, when the rule isn't whole in the bytes, when the
        // budget can't hold it, or when its input count is 0: the count
        // includes the first glyph, so 0 is bad data.
        bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
        // Each count and its ids, the input count being one more than the
        // input sequence held (so at most 65534 entries are written); then
        // the records.
        unsigned long Save(TableGraph& graph) const;
        // Compares isPresent, backtrackSequence, inputSequence,
        // lookAheadSequence, lookupRecords.
        bool IsLessThan(const GraphNode& other) const override;

        // Nearest glyph first, as in the file.
        std::vector<uint16_t> backtrackSequence;
        // Without the first glyph, which the coverage gives.
        std::vector<uint16_t> inputSequence;
        std::vector<uint16_t> lookAheadSequence;
        std::vector<SequenceLookupRecord> lookupRecords;
        bool isPresent = false;
    };

    // The same over classes: a type of its own, so that it is never taken
    // for a rule of glyphs.
    class ChainedClassSequenceRule : public ChainedSequenceRule {
    public:
        using ChainedSequenceRule::ChainedSequenceRule;
    };

    using ChainedSequenceRuleSet = SequenceContext::RuleSet<ChainedSequenceRule>;
    using ChainedClassSequenceRuleSet = SequenceContext::RuleSet<ChainedClassSequenceRule>;

    // Reads at the buffer's position; offsets count from there. False for a
    // format other than 1 to 3 (which is kept in `format`), and, with nothing
    // changed, when the header doesn't fit. Otherwise keeps the offsets and
    // records the bytes and the load budget hold; a child that is missing or
    // doesn't load stays empty or absent.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // Writes every field, placeholders included, before saving any child;
    // the children then follow in field order. For a format other than 1 to
    // 3 the node holds only the format, and 0 is returned rather than this
    // node's index.
    unsigned long Save(TableGraph& graph) const override;
    // Compares format, coverage, ruleSets, the backtrack, input and lookahead
    // class definitions, classRuleSets, the backtrack, input and lookahead
    // coverages, lookupRecords; children by node.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this subtable; nothing in it holds device tables.
    void Accept(GraphNodeVisitor& visitor) override;

    // What the parts of this subtable are called, in GSUB or GPOS.
    virtual Utf8String ChainContext() const = 0;
    virtual Utf8String ChainRuleSetCount() const = 0;
    virtual Utf8String ChainRuleSet() const = 0;
    virtual Utf8String ChainRuleCount() const = 0;
    virtual Utf8String ChainRule() const = 0;
    virtual Utf8String ChainClassSetCount() const = 0;
    virtual Utf8String ChainClassSet() const = 0;
    virtual Utf8String ChainClassRuleCount() const = 0;
    virtual Utf8String ChainClassRule() const = 0;
    virtual Utf8String Count() const = 0;
    virtual Utf8String LookupRecord() const = 0;

    uint16_t format = 0;
    // Formats 1 and 2.
    CoverageTable coverage;
    // Format 1.
    std::vector<ChainedSequenceRuleSet> ruleSets;
    // Format 2.
    ClassDefinitionTable backtrackClassDefinition;
    ClassDefinitionTable inputClassDefinition;
    ClassDefinitionTable lookAheadClassDefinition;
    std::vector<ChainedClassSequenceRuleSet> classRuleSets;
    // Format 3.
    std::vector<CoverageTable> backtrackCoverages;
    std::vector<CoverageTable> inputCoverages;
    std::vector<CoverageTable> lookAheadCoverages;
    std::vector<SequenceLookupRecord> lookupRecords;
};

}  // namespace Typeframe
