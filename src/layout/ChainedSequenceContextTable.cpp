#include "layout/ChainedSequenceContextTable.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr unsigned long kRecordSize = 4;
// Header sizes by format, without the offsets; format 3 with all four counts
// 0.
constexpr unsigned long kFormat1HeaderSize = 6;
constexpr unsigned long kFormat2HeaderSize = 12;
constexpr unsigned long kFormat3HeaderSize = 10;

// A count of format 3 and the coverage offsets after it.
struct CoverageRun {
    uint64_t offsets = 0;  // where the offsets start
    uint64_t kept = 0;     // how many of them the bytes and the budget hold
};

// Reads the run at `position`; returns where the next field stands, after
// all the offsets the count announces. A count past the bytes reads as 0.
uint64_t ReadRun(const BigEndianBuffer& in, uint64_t position, CoverageRun& run, uint64_t& budget) {
    uint16_t count = 0;
    in.GetU16(position, count);
    run.offsets = position + 2;
    const uint64_t fit = run.offsets > in.GetLength() ? 0 : (in.GetLength() - run.offsets) / sizeof(uint16_t);
    run.kept = SubTable::KeepWithinBudget(std::min<uint64_t>(count, fit), sizeof(CoverageTable), budget);
    return run.offsets + 2 * uint64_t(count);
}

void LoadRun(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t start, const CoverageRun& run,
             const Bedrock::NonCounted<OTFont>& font, std::vector<CoverageTable>& coverages, uint64_t& budget) {
    coverages.resize(run.kept);
    for (uint64_t i = 0; i < run.kept; ++i) {
        uint16_t offset = 0;
        source->GetU16(run.offsets + 2 * i, offset);
        SequenceContext::LoadChild(source, start, offset, font, coverages[i], budget);
    }
}

void SaveRun(TableGraph& graph, unsigned long index, const std::vector<TableOffset>& offsets,
             const std::vector<CoverageTable>& coverages) {
    for (size_t i = 0; i < offsets.size(); ++i) graph.AddOffset(index, offsets[i], coverages[i].Save(graph));
}

// The count of `children` and one placeholder for each that is written.
template <class Child>
std::vector<TableOffset> WriteOffsets(const Bedrock::Counted<BigEndianBuffer>& out,
                                      const std::vector<Child>& children) {
    const size_t count = std::min(children.size(), SubTable::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) offsets.emplace_back(out, 0, 2, true);
    return offsets;
}

// An absent set keeps its zero offset and doesn't enter the graph.
template <class Set>
void SaveSets(TableGraph& graph, unsigned long index, const std::vector<TableOffset>& offsets,
              const std::vector<Set>& sets) {
    for (size_t i = 0; i < offsets.size(); ++i) {
        if (sets[i].isPresent) graph.AddOffset(index, offsets[i], sets[i].Save(graph));
    }
}

}  // namespace

bool ChainedSequenceContextTable::ChainedSequenceRule::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool ChainedSequenceContextTable::ChainedSequenceRule::Load(Bedrock::Counted<BigEndianBuffer> source,
                                                            uint64_t& budget) {
    if (!source) return false;
    // Each count stands after the ids of the one before, so the rule is
    // measured count by count before anything is kept.
    uint16_t backtrackCount = 0;
    uint16_t inputCount = 0;
    uint16_t lookAheadCount = 0;
    uint16_t recordCount = 0;
    const uint64_t backtrack = source->Tell() + 2;
    if (!source->GetU16(backtrack - 2, backtrackCount)) return false;
    const uint64_t input = backtrack + 2 * uint64_t(backtrackCount) + 2;
    if (!source->GetU16(input - 2, inputCount)) return false;
    // The count includes the first glyph; taking 1 from 0 would announce an
    // endless sequence.
    if (inputCount == 0) return false;
    const uint64_t lookAhead = input + 2 * (inputCount - 1u) + 2;
    if (!source->GetU16(lookAhead - 2, lookAheadCount)) return false;
    const uint64_t records = lookAhead + 2 * uint64_t(lookAheadCount) + 2;
    if (!source->GetU16(records - 2, recordCount)) return false;
    // A rule is kept whole or not at all: a shorter sequence would match
    // where the font's doesn't.
    if (!source->IsInBounds(records, kRecordSize * recordCount)) return false;
    const uint64_t ids = backtrackCount + (inputCount - 1u) + lookAheadCount;
    if (ids * sizeof(uint16_t) + recordCount * sizeof(SequenceLookupRecord) > budget) return false;
    SequenceContext::ReadIds(*source, backtrack, backtrackCount, backtrackSequence, budget);
    SequenceContext::ReadIds(*source, input, inputCount - 1u, inputSequence, budget);
    SequenceContext::ReadIds(*source, lookAhead, lookAheadCount, lookAheadSequence, budget);
    SequenceContext::ReadLookupRecords(*source, records, recordCount, lookupRecords, budget);
    source->Seek(records + kRecordSize * recordCount);
    isPresent = true;
    return true;
}

unsigned long ChainedSequenceContextTable::ChainedSequenceRule::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    const size_t backtrack = std::min(backtrackSequence.size(), kMaxCount);
    out.SetU16(static_cast<uint16_t>(backtrack));
    SequenceContext::WriteIds(out, backtrackSequence, backtrack);
    // The count written is one more than the glyphs held, for the first glyph.
    const size_t input = std::min(inputSequence.size(), kMaxCount - 1);
    out.SetU16(static_cast<uint16_t>(input + 1));
    SequenceContext::WriteIds(out, inputSequence, input);
    const size_t lookAhead = std::min(lookAheadSequence.size(), kMaxCount);
    out.SetU16(static_cast<uint16_t>(lookAhead));
    SequenceContext::WriteIds(out, lookAheadSequence, lookAhead);
    const size_t records = std::min(lookupRecords.size(), kMaxCount);
    out.SetU16(static_cast<uint16_t>(records));
    SequenceContext::WriteLookupRecords(out, lookupRecords, records);
    return index;
}

bool ChainedSequenceContextTable::ChainedSequenceRule::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const ChainedSequenceRule&>(other);
    if (isPresent != that.isPresent) return isPresent < that.isPresent;
    if (const int order = ThreeWay(backtrackSequence, that.backtrackSequence)) return order < 0;
    if (const int order = ThreeWay(inputSequence, that.inputSequence)) return order < 0;
    if (const int order = ThreeWay(lookAheadSequence, that.lookAheadSequence)) return order < 0;
    return lookupRecords < that.lookupRecords;
}

bool ChainedSequenceContextTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool ChainedSequenceContextTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t readFormat = 0;
    if (!source->GetU16(start, readFormat)) return false;
    if (readFormat < 1 || readFormat > 3) {
        format = readFormat;
        return false;
    }
    const unsigned long headerSize =
        readFormat == 1 ? kFormat1HeaderSize : (readFormat == 2 ? kFormat2HeaderSize : kFormat3HeaderSize);
    if (!source->IsInBounds(start, headerSize)) return false;

    format = readFormat;
    ruleSets.clear();
    classRuleSets.clear();
    backtrackCoverages.clear();
    inputCoverages.clear();
    lookAheadCoverages.clear();
    lookupRecords.clear();
    // Formats 1 and 2 start with the coverage offset, and format 2 follows
    // it with the three class definition offsets. A child the format lacks
    // is emptied.
    uint16_t offsets[4] = {};
    const int childCount = format == 1 ? 1 : (format == 2 ? 4 : 0);
    for (int i = 0; i < childCount; ++i) source->GetU16(start + 2 + 2 * i, offsets[i]);
    SequenceContext::LoadChild(source, start, offsets[0], font, coverage, budget);
    SequenceContext::LoadChild(source, start, offsets[1], font, backtrackClassDefinition, budget);
    SequenceContext::LoadChild(source, start, offsets[2], font, inputClassDefinition, budget);
    SequenceContext::LoadChild(source, start, offsets[3], font, lookAheadClassDefinition, budget);

    if (format == 1 || format == 2) {
        // The set count stands just before the set offsets.
        const uint64_t sets = start + (format == 1 ? kFormat1HeaderSize : kFormat2HeaderSize);
        uint16_t count = 0;
        source->GetU16(sets - 2, count);
        if (format == 1) {
            SequenceContext::LoadAtOffsets(source, start, sets, count, ruleSets, budget);
        } else {
            SequenceContext::LoadAtOffsets(source, start, sets, count, classRuleSets, budget);
        }
        return true;
    }

    // Three runs of coverage offsets, then the records; each stands after all
    // that the count before it announces, kept or not.
    CoverageRun backtrack;
    CoverageRun input;
    CoverageRun lookAhead;
    uint64_t position = ReadRun(*source, start + 2, backtrack, budget);
    position = ReadRun(*source, position, input, budget);
    position = ReadRun(*source, position, lookAhead, budget);
    uint16_t recordCount = 0;
    source->GetU16(position, recordCount);
    SequenceContext::ReadLookupRecords(*source, position + 2, recordCount, lookupRecords, budget);
    LoadRun(source, start, backtrack, font, backtrackCoverages, budget);
    LoadRun(source, start, input, font, inputCoverages, budget);
    LoadRun(source, start, lookAhead, font, lookAheadCoverages, budget);
    return true;
}

unsigned long ChainedSequenceContextTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    // Deliberately every field is written, placeholders included, before any
    // child is saved, so the children and the edges follow the field order.
    if (format == 1) {
        const TableOffset coverageOffset(out, 0, 2, true);
        const std::vector<TableOffset> setOffsets = WriteOffsets(out, ruleSets);
        graph.AddOffset(index, coverageOffset, coverage.Save(graph));
        SaveSets(graph, index, setOffsets, ruleSets);
        return index;
    }
    if (format == 2) {
        const ClassDefinitionTable* const definitions[] = {&backtrackClassDefinition, &inputClassDefinition,
                                                           &lookAheadClassDefinition};
        const TableOffset coverageOffset(out, 0, 2, true);
        std::vector<TableOffset> definitionOffsets;
        definitionOffsets.reserve(std::size(definitions));
        for (size_t i = 0; i < std::size(definitions); ++i) definitionOffsets.emplace_back(out, 0, 2, true);
        const std::vector<TableOffset> setOffsets = WriteOffsets(out, classRuleSets);
        graph.AddOffset(index, coverageOffset, coverage.Save(graph));
        // A class definition the subtable had no offset to (format 0; fonts
        // often leave out an empty backtrack or lookahead) keeps a zero
        // offset, which reads as every glyph in class 0.
        for (size_t i = 0; i < std::size(definitions); ++i) {
            if (definitions[i]->format == 0) continue;
            graph.AddOffset(index, definitionOffsets[i], definitions[i]->Save(graph));
        }
        SaveSets(graph, index, setOffsets, classRuleSets);
        return index;
    }
    if (format == 3) {
        const std::vector<TableOffset> backtrack = WriteOffsets(out, backtrackCoverages);
        const std::vector<TableOffset> input = WriteOffsets(out, inputCoverages);
        const std::vector<TableOffset> lookAhead = WriteOffsets(out, lookAheadCoverages);
        const size_t records = std::min(lookupRecords.size(), kMaxCount);
        out->SetU16(static_cast<uint16_t>(records));
        SequenceContext::WriteLookupRecords(*out, lookupRecords, records);
        SaveRun(graph, index, backtrack, backtrackCoverages);
        SaveRun(graph, index, input, inputCoverages);
        SaveRun(graph, index, lookAhead, lookAheadCoverages);
        return index;
    }
    // An unknown format has no layout to write: the node holds the format
    // alone, and 0 tells the caller that this subtable is not to be written.
    return 0;
}

bool ChainedSequenceContextTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const ChainedSequenceContextTable&>(other);
    if (const int order = ThreeWay(format, that.format)) return order < 0;
    if (const int order = ThreeWay<GraphNode>(coverage, that.coverage)) return order < 0;
    if (const int order = ThreeWay(ruleSets, that.ruleSets)) return order < 0;
    if (const int order = ThreeWay<GraphNode>(backtrackClassDefinition, that.backtrackClassDefinition))
        return order < 0;
    if (const int order = ThreeWay<GraphNode>(inputClassDefinition, that.inputClassDefinition)) return order < 0;
    if (const int order = ThreeWay<GraphNode>(lookAheadClassDefinition, that.lookAheadClassDefinition))
        return order < 0;
    if (const int order = ThreeWay(classRuleSets, that.classRuleSets)) return order < 0;
    if (const int order = ThreeWay(backtrackCoverages, that.backtrackCoverages)) return order < 0;
    if (const int order = ThreeWay(inputCoverages, that.inputCoverages)) return order < 0;
    if (const int order = ThreeWay(lookAheadCoverages, that.lookAheadCoverages)) return order < 0;
    return lookupRecords < that.lookupRecords;
}

void ChainedSequenceContextTable::Accept(GraphNodeVisitor& visitor) { visitor.Visit(*this); }

}  // namespace Typeframe
