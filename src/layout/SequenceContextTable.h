#pragma once

// The context subtables that GSUB (lookup type 5) and GPOS (lookup type 7)
// share: where a sequence of glyphs, of glyph classes or of coverages
// matches, apply further lookups at positions in it. All three formats are
// held by this one class; GSUBSequenceContextTable and
// GPOSSequenceContextTable give it its lookup type and its vocabulary.
//
// The rule set template and the helpers in SequenceContext serve the chained
// form (ChainedSequenceContextTable) as well.

#include <algorithm>
#include <compare>
#include <cstdint>
#include <utility>
#include <vector>

#include "base/Counted.h"
#include "base/String.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/ClassDefinitionTable.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"
#include "packing/TableOffset.h"

namespace Typeframe {

// A lookup to apply at one position of a matched sequence.
struct SequenceLookupRecord {
    // Compares sequenceIndex, then lookupListIndex.
    auto operator<=>(const SequenceLookupRecord&) const = default;

    uint16_t sequenceIndex = 0;
    uint16_t lookupListIndex = 0;
};

namespace SequenceContext {

// Reads up to `count` records at `position` in `in`, as many as the bytes
// and `budget` hold, into `records`; the read position doesn't move.
void ReadLookupRecords(const BigEndianBuffer& in, uint64_t position, uint16_t count,
                       std::vector<SequenceLookupRecord>& records, uint64_t& budget);
// Reads up to `count` glyph (or class) ids at `position`, as many as the
// bytes and `budget` hold; the read position doesn't move.
void ReadIds(const BigEndianBuffer& in, uint64_t position, uint64_t count, std::vector<uint16_t>& ids,
             uint64_t& budget);
// Appends the first `count` entries of `records` (or of `ids`) to `out`.
void WriteLookupRecords(BigEndianBuffer& out, const std::vector<SequenceLookupRecord>& records, size_t count);
void WriteIds(BigEndianBuffer& out, const std::vector<uint16_t>& ids, size_t count);

// Replaces `table` by an empty one of `font` and, when `offset` isn't 0,
// loads it from `offset` past `start`. Offsets that many subtables share load
// a copy each, so each load is charged to `budget`, for the records it reads
// and for what it keeps: a child that doesn't load, or that the budget can't
// hold, stays empty, and in the second case the budget is emptied, so that
// every later child of the same load stays empty too and costs no more work.
void LoadChild(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t start, uint16_t offset,
               const Bedrock::NonCounted<OTFont>& font, CoverageTable& table, uint64_t& budget);
void LoadChild(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t start, uint16_t offset,
               const Bedrock::NonCounted<OTFont>& font, ClassDefinitionTable& table, uint64_t& budget);

// Reads `count` offsets at `position`, as many as the bytes and `budget`
// hold, into as many absent entries of `items` (rules or rule sets), and
// loads each entry from its offset past `start`. A zero offset, or an entry
// that doesn't load, leaves the entry absent.
template <class Item>
void LoadAtOffsets(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t start, uint64_t position, uint16_t count,
                   std::vector<Item>& items, uint64_t& budget) {
    source->Seek(position);
    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)), sizeof(Item), budget);
    items.assign(kept, Item(false));
    for (uint64_t i = 0; i < kept; ++i) {
        uint16_t offset = 0;
        source->GetU16(position + 2 * i, offset);
        if (offset == 0) continue;
        source->Seek(start + offset);
        items[i].Load(source, budget);
    }
}

// The rules of one rule set, each reached through an offset from the set's
// start. `Rule` has `isPresent`, Load(source, budget), Save(graph).
template <class Rule>
class RuleSet : public SubTable {
public:
    RuleSet() = default;
    explicit RuleSet(bool present) : isPresent(present) {}

    bool Load(Bedrock::Counted<BigEndianBuffer> source) {
        return SubTable::LoadWithOwnBudget(*this, std::move(source));
    }
    // Reads at the buffer's position. False, with nothing changed, when the
    // count doesn't fit; otherwise keeps the offsets that the bytes and the
    // budget hold, and sets isPresent. A rule at a zero offset, or one that
    // doesn't load, stays absent.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
        if (!source) return false;
        const uint64_t start = source->Tell();
        uint16_t count = 0;
        if (!source->GetU16(count)) return false;
        LoadAtOffsets(source, start, start + 2, count, rules, budget);
        isPresent = true;
        return true;
    }
    // The count and one offset per rule; an absent rule keeps a zero offset
    // and doesn't enter the graph.
    unsigned long Save(TableGraph& graph) const {
        const unsigned long index = graph.AddTable(*this);
        StartSave();
        const Bedrock::Counted<BigEndianBuffer> out = buffer;
        const size_t count = std::min(rules.size(), kMaxCount);
        out->SetU16(static_cast<uint16_t>(count));
        for (size_t i = 0; i < count; ++i) {
            // Deliberately the rule is saved before its placeholder is made;
            // since each node writes a buffer of its own, neither these bytes
            // nor the graph differ from the other order.
            const bool present = rules[i].isPresent;
            const unsigned long child = present ? rules[i].Save(graph) : 0;
            const TableOffset offset(out, 0, 2, true);
            if (present) graph.AddOffset(index, offset, child);
        }
        return index;
    }
    // Compares isPresent, then rules, lexicographically by node.
    bool IsLessThan(const GraphNode& other) const override {
        const auto& that = static_cast<const RuleSet&>(other);
        if (isPresent != that.isPresent) return isPresent < that.isPresent;
        return std::lexicographical_compare(rules.begin(), rules.end(), that.rules.begin(), that.rules.end());
    }

    std::vector<Rule> rules;
    // False for a set the subtable has no offset to (or could not read).
    bool isPresent = false;
};

}  // namespace SequenceContext

class SequenceContextTable : public LookupSubTable {
public:
    // A sequence to match after the first glyph, and what to apply where it
    // matches.
    class SequenceRule : public SubTable {
    public:
        SequenceRule() = default;
        explicit SequenceRule(bool present) : isPresent(present) {}

        bool Load(Bedrock::Counted<BigEndianBuffer> source);
        // Reads at the buffer's position and sets isPresent. False, with
        // nothing changed, when the rule isn't whole in the bytes, when the
        // budget can't hold it, or when its glyph count is 0: the count
        // includes the first glyph, so 0 is bad data.
        bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
        // The glyph count (the sequence plus the first glyph, so at most
        // 65534 entries are written), the record count, the glyphs, the
        // records.
        unsigned long Save(TableGraph& graph) const;
        // Compares isPresent, inputSequence, lookupRecords.
        bool IsLessThan(const GraphNode& other) const override;

        // Without the first glyph, which the coverage gives.
        std::vector<uint16_t> inputSequence;
        std::vector<SequenceLookupRecord> lookupRecords;
        bool isPresent = false;
    };

    // The same over classes: a type of its own, so that it is never taken
    // for a rule of glyphs.
    class ClassSequenceRule : public SequenceRule {
    public:
        using SequenceRule::SequenceRule;
    };

    using SequenceRuleSet = SequenceContext::RuleSet<SequenceRule>;
    using ClassSequenceRuleSet = SequenceContext::RuleSet<ClassSequenceRule>;

    // Reads at the buffer's position; offsets count from there. False for a
    // format other than 1 to 3 (which is kept in `format`), and, with nothing
    // changed, when the header doesn't fit. Otherwise keeps the offsets and
    // records the bytes and the load budget hold; a child that is missing or
    // doesn't load stays empty or absent.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // For a format other than 1 to 3 the node holds only the format, and 0
    // is returned rather than this node's index.
    unsigned long Save(TableGraph& graph) const override;
    // Compares format, coverage by node, ruleSets, classDefinition,
    // classRuleSets, coverages, lookupRecords.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this subtable; nothing in it holds device tables.
    void Accept(GraphNodeVisitor& visitor) override;

    // What the parts of this subtable are called, in GSUB or GPOS.
    virtual Utf8String Context() const = 0;
    virtual Utf8String RuleSetCount() const = 0;
    virtual Utf8String RuleSet() const = 0;
    virtual Utf8String RuleCount() const = 0;
    virtual Utf8String Rule() const = 0;
    virtual Utf8String ClassSetCount() const = 0;
    virtual Utf8String ClassSet() const = 0;
    virtual Utf8String ClassRuleCount() const = 0;
    virtual Utf8String ClassRule() const = 0;
    virtual Utf8String Count() const = 0;
    virtual Utf8String InputSequence() const = 0;
    // How an entry of an input sequence reads: a glyph name.
    virtual Utf8String GetInputSequenceValue(unsigned short value) const = 0;
    virtual Utf8String LookupRecord() const = 0;

    uint16_t format = 0;
    // Formats 1 and 2.
    CoverageTable coverage;
    // Format 1.
    std::vector<SequenceRuleSet> ruleSets;
    // Format 2.
    ClassDefinitionTable classDefinition;
    std::vector<ClassSequenceRuleSet> classRuleSets;
    // Format 3.
    std::vector<CoverageTable> coverages;
    std::vector<SequenceLookupRecord> lookupRecords;

protected:
    // The font's name for `glyph`; empty without a font, or when the font
    // has no name for it.
    Utf8String GetGlyphName(unsigned short glyph) const;
};

}  // namespace Typeframe
