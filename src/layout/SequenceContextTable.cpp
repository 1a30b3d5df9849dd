#include "layout/SequenceContextTable.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "packing/GraphNodeVisitor.h"

namespace Typeframe {

namespace {

constexpr unsigned long kRecordSize = 4;
// What one glyph of a class definition costs the load budget: a node of the
// map, with its links, as the allocator hands it out.
constexpr uint64_t kClassEntryCost = 48;

// Header sizes by format, the offsets or coverage offsets not counted.
constexpr unsigned long kFormat1HeaderSize = 6;
constexpr unsigned long kFormat2HeaderSize = 8;
constexpr unsigned long kFormat3HeaderSize = 6;

// The bytes of records that loading the coverage (or class definition) at
// `position` walks, whether it keeps them or not; 0 for a format it rejects
// at once.
uint64_t RecordBytes(const BigEndianBuffer& in, uint64_t position, bool isClassDefinition) {
    uint16_t format = 0;
    uint16_t count = 0;
    if (!in.GetU16(position, format) || (format != 1 && format != 2)) return 0;
    // A format 1 class definition has its start glyph before the count.
    in.GetU16(position + (isClassDefinition && format == 1 ? 4 : 2), count);
    return uint64_t(count) * (format == 1 ? 2 : 6);
}

// Loads `table` from `offset` past `start` when the budget holds both the
// records the load walks and `keptCost(table)`, what it keeps; charging the
// walk too bounds the work of many offsets to one child that keeps little
// (ranges with start above end, say). When the budget can't hold a child it
// is emptied, so that every later child of the load stays empty too.
template <class Table, class KeptCost>
void LoadCharged(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t start, uint16_t offset,
                 const Bedrock::NonCounted<OTFont>& font, Table& table, uint64_t& budget, KeptCost keptCost) {
    table = Table();
    table.font = font;
    if (offset == 0 || budget == 0) return;
    const uint64_t position = start + offset;
    const uint64_t walked = RecordBytes(*source, position, std::is_same_v<Table, ClassDefinitionTable>);
    if (walked > budget) {
        budget = 0;
        return;
    }
    budget -= walked;
    source->Seek(position);
    Table loaded;
    loaded.font = font;
    if (!loaded.Load(source)) return;
    const uint64_t kept = keptCost(loaded);
    if (kept > budget) {
        budget = 0;
        return;
    }
    budget -= kept;
    table = std::move(loaded);
}

}  // namespace

namespace SequenceContext {

void ReadLookupRecords(const BigEndianBuffer& in, uint64_t position, uint16_t count,
                       std::vector<SequenceLookupRecord>& records, uint64_t& budget) {
    const uint64_t fit = position > in.GetLength() ? 0 : (in.GetLength() - position) / kRecordSize;
    const uint64_t kept =
        SubTable::KeepWithinBudget(std::min<uint64_t>(count, fit), sizeof(SequenceLookupRecord), budget);
    records.assign(kept, SequenceLookupRecord());
    for (uint64_t i = 0; i < kept; ++i) {
        in.GetU16(position + kRecordSize * i, records[i].sequenceIndex);
        in.GetU16(position + kRecordSize * i + 2, records[i].lookupListIndex);
    }
}

void ReadIds(const BigEndianBuffer& in, uint64_t position, uint64_t count, std::vector<uint16_t>& ids,
             uint64_t& budget) {
    const uint64_t fit = position > in.GetLength() ? 0 : (in.GetLength() - position) / sizeof(uint16_t);
    const uint64_t kept = SubTable::KeepWithinBudget(std::min(count, fit), sizeof(uint16_t), budget);
    ids.assign(kept, 0);
    for (uint64_t i = 0; i < kept; ++i) in.GetU16(position + 2 * i, ids[i]);
}

void WriteLookupRecords(BigEndianBuffer& out, const std::vector<SequenceLookupRecord>& records, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        out.SetU16(records[i].sequenceIndex);
        out.SetU16(records[i].lookupListIndex);
    }
}

void WriteIds(BigEndianBuffer& out, const std::vector<uint16_t>& ids, size_t count) {
    for (size_t i = 0; i < count; ++i) out.SetU16(ids[i]);
}

void LoadChild(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t start, uint16_t offset,
               const Bedrock::NonCounted<OTFont>& font, CoverageTable& table, uint64_t& budget) {
    LoadCharged(source, start, offset, font, table, budget,
                [](const CoverageTable& loaded) { return loaded.glyphs.size() * sizeof(uint16_t); });
}

void LoadChild(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t start, uint16_t offset,
               const Bedrock::NonCounted<OTFont>& font, ClassDefinitionTable& table, uint64_t& budget) {
    LoadCharged(source, start, offset, font, table, budget,
                [](const ClassDefinitionTable& loaded) { return loaded.classes.size() * kClassEntryCost; });
}

}  // namespace SequenceContext

bool SequenceContextTable::SequenceRule::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool SequenceContextTable::SequenceRule::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t glyphCount = 0;
    uint16_t recordCount = 0;
    if (!source->GetU16(start, glyphCount) || !source->GetU16(start + 2, recordCount)) return false;
    // The count includes the first glyph; taking 1 from 0 would announce an
    // endless sequence.
    if (glyphCount == 0) return false;
    const uint64_t glyphs = glyphCount - 1u;
    const uint64_t records = start + 4 + 2 * glyphs;
    // A rule is kept whole or not at all: a shorter sequence would match
    // where the font's doesn't.
    if (!source->IsInBounds(records, kRecordSize * recordCount)) return false;
    if (glyphs * sizeof(uint16_t) + recordCount * sizeof(SequenceLookupRecord) > budget) return false;
    SequenceContext::ReadIds(*source, start + 4, glyphs, inputSequence, budget);
    SequenceContext::ReadLookupRecords(*source, records, recordCount, lookupRecords, budget);
    source->Seek(records + kRecordSize * recordCount);
    isPresent = true;
    return true;
}

unsigned long SequenceContextTable::SequenceRule::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    // The count written is one more than the glyphs held, for the first glyph.
    const size_t glyphs = std::min(inputSequence.size(), kMaxCount - 1);
    const size_t records = std::min(lookupRecords.size(), kMaxCount);
    out.SetU16(static_cast<uint16_t>(glyphs + 1));
    out.SetU16(static_cast<uint16_t>(records));
    SequenceContext::WriteIds(out, inputSequence, glyphs);
    SequenceContext::WriteLookupRecords(out, lookupRecords, records);
    return index;
}

bool SequenceContextTable::SequenceRule::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const SequenceRule&>(other);
    if (isPresent != that.isPresent) return isPresent < that.isPresent;
    if (const int order = ThreeWay(inputSequence, that.inputSequence)) return order < 0;
    return lookupRecords < that.lookupRecords;
}

bool SequenceContextTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool SequenceContextTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
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
    uint16_t first = 0;
    uint16_t second = 0;
    source->GetU16(start + 2, first);
    source->GetU16(start + 4, second);
    ruleSets.clear();
    classRuleSets.clear();
    coverages.clear();
    lookupRecords.clear();
    // Formats 1 and 2 start with the coverage offset; format 2 follows it
    // with the class definition offset. A child the format lacks is emptied.
    SequenceContext::LoadChild(source, start, format == 3 ? 0 : first, font, coverage, budget);
    SequenceContext::LoadChild(source, start, format == 2 ? second : 0, font, classDefinition, budget);

    if (format == 1) {
        // The second field is the rule set count.
        SequenceContext::LoadAtOffsets(source, start, start + kFormat1HeaderSize, second, ruleSets, budget);
    } else if (format == 2) {
        uint16_t count = 0;
        source->GetU16(start + 6, count);
        SequenceContext::LoadAtOffsets(source, start, start + kFormat2HeaderSize, count, classRuleSets, budget);
    } else {
        // The glyph count, the record count; the records follow all the
        // coverage offsets the count announces, kept or not.
        const uint64_t offsets = start + kFormat3HeaderSize;
        source->Seek(offsets);
        const uint64_t kept = KeepWithinBudget(std::min<uint64_t>(first, source->GetRemaining() / sizeof(uint16_t)),
                                               sizeof(CoverageTable), budget);
        SequenceContext::ReadLookupRecords(*source, offsets + 2 * uint64_t(first), second, lookupRecords, budget);
        coverages.resize(kept);
        for (uint64_t i = 0; i < kept; ++i) {
            uint16_t offset = 0;
            source->GetU16(offsets + 2 * i, offset);
            SequenceContext::LoadChild(source, start, offset, font, coverages[i], budget);
        }
    }
    return true;
}

unsigned long SequenceContextTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    if (format == 1 || format == 2) {
        // Each child is saved before its placeholder is made, except the
        // class sets below; the graph comes out the same either way.
        const unsigned long coverageIndex = coverage.Save(graph);
        const TableOffset coverageOffset(out, 0, 2, true);
        graph.AddOffset(index, coverageOffset, coverageIndex);
    }
    if (format == 1) {
        const size_t count = std::min(ruleSets.size(), kMaxCount);
        out->SetU16(static_cast<uint16_t>(count));
        for (size_t i = 0; i < count; ++i) {
            // An absent set keeps a zero offset and doesn't enter the graph.
            const bool present = ruleSets[i].isPresent;
            const unsigned long child = present ? ruleSets[i].Save(graph) : 0;
            const TableOffset offset(out, 0, 2, true);
            if (present) graph.AddOffset(index, offset, child);
        }
        return index;
    }
    if (format == 2) {
        // A class definition the subtable had no offset to (format 0) keeps
        // a zero offset, which reads as every glyph in class 0.
        const bool hasClasses = classDefinition.format != 0;
        const unsigned long classIndex = hasClasses ? classDefinition.Save(graph) : 0;
        const TableOffset classOffset(out, 0, 2, true);
        if (hasClasses) graph.AddOffset(index, classOffset, classIndex);
        const size_t count = std::min(classRuleSets.size(), kMaxCount);
        out->SetU16(static_cast<uint16_t>(count));
        for (size_t i = 0; i < count; ++i) {
            const TableOffset offset(out, 0, 2, true);
            if (classRuleSets[i].isPresent) graph.AddOffset(index, offset, classRuleSets[i].Save(graph));
        }
        return index;
    }
    if (format == 3) {
        const size_t count = std::min(coverages.size(), kMaxCount);
        const size_t records = std::min(lookupRecords.size(), kMaxCount);
        out->SetU16(static_cast<uint16_t>(count));
        out->SetU16(static_cast<uint16_t>(records));
        for (size_t i = 0; i < count; ++i) {
            const TableOffset offset(out, 0, 2, true);
            graph.AddOffset(index, offset, coverages[i].Save(graph));
        }
        SequenceContext::WriteLookupRecords(*out, lookupRecords, records);
        return index;
    }
    // An unknown format has no layout to write: the node holds the format
    // alone, and 0 tells the caller that this subtable is not to be written.
    return 0;
}

bool SequenceContextTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const SequenceContextTable&>(other);
    if (const int order = ThreeWay(format, that.format)) return order < 0;
    if (const int order = ThreeWay<GraphNode>(coverage, that.coverage)) return order < 0;
    if (const int order = ThreeWay(ruleSets, that.ruleSets)) return order < 0;
    if (const int order = ThreeWay<GraphNode>(classDefinition, that.classDefinition)) return order < 0;
    if (const int order = ThreeWay(classRuleSets, that.classRuleSets)) return order < 0;
    if (const int order = ThreeWay(coverages, that.coverages)) return order < 0;
    return lookupRecords < that.lookupRecords;
}

void SequenceContextTable::Accept(GraphNodeVisitor& visitor) { visitor.Visit(*this); }

Utf8String SequenceContextTable::GetGlyphName(unsigned short glyph) const {
    Utf8String name;
    if (font) font->GetGlyphName(glyph, name);
    return name;
}

}  // namespace Typeframe
