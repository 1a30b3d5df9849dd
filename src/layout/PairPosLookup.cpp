#include "layout/PairPosLookup.h"

#include <algorithm>
#include <utility>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr size_t kMaxCount = 0xFFFF;
// The load budget allows 256 bytes of objects per byte read, so that a
// table of 2-byte value records, the densest there is, loads whole.
static_assert(sizeof(ValueRecord) <= 256);
constexpr unsigned long kFormat1HeaderSize = 10;
constexpr unsigned long kFormat2HeaderSize = 16;

// Loads `table` from `offset` past `start` only when the offset is not 0 and
// the child reads whole; otherwise it stays as it was (empty).
template <class Table>
void LoadChild(const Bedrock::Counted<BigEndianBuffer>& source, unsigned long start, uint16_t offset,
               const Bedrock::NonCounted<OTFont>& font, Table& table) {
    table = Table();
    table.font = font;
    if (offset == 0) return;
    source->Seek(start + offset);
    Table loaded;
    loaded.font = font;
    if (loaded.Load(source)) table = std::move(loaded);
}

}  // namespace

bool PairPosLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool PairPosLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    uint16_t readFormat = 0;
    if (!source->GetU16(start, readFormat)) return false;
    if (readFormat != 1 && readFormat != 2) {
        format = readFormat;
        return false;
    }
    if (!source->IsInBounds(start, readFormat == 1 ? kFormat1HeaderSize : kFormat2HeaderSize)) return false;
    format = readFormat;
    uint16_t coverageOffset = 0;
    source->GetU16(start + 2, coverageOffset);
    source->GetU16(start + 4, valueFormat1);
    source->GetU16(start + 6, valueFormat2);

    if (format == 1) {
        uint16_t count = 0;
        source->GetU16(start + 8, count);
        source->Seek(start + kFormat1HeaderSize);
        // Pair sets that many offsets share load once per offset, so the
        // budget bounds them as well as the bytes of the offsets.
        const uint64_t kept = SubTable::KeepWithinBudget(
            std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)), sizeof(PairSetTable), budget);
        std::vector<uint16_t> offsets(kept);
        for (uint16_t& offset : offsets) source->GetU16(offset);
        LoadChild(source, start, coverageOffset, font, coverage);
        pairSets.assign(kept, PairSetTable(font, valueFormat1, valueFormat2));
        for (size_t i = 0; i < kept; ++i) {
            // A pair set at a zero or bad offset stays empty.
            if (offsets[i] == 0) continue;
            source->Seek(start + offsets[i]);
            pairSets[i].Load(source, budget);
        }
        return true;
    }

    uint16_t classDef1Offset = 0;
    uint16_t classDef2Offset = 0;
    uint16_t count1 = 0;
    source->GetU16(start + 8, classDef1Offset);
    source->GetU16(start + 10, classDef2Offset);
    source->GetU16(start + 12, count1);
    source->GetU16(start + 14, class2Count);
    source->Seek(start + kFormat2HeaderSize);
    // Only whole rows are kept, so that the counts written describe the
    // values written. A pair without fields takes no bytes: the budget alone
    // bounds those, since class1Count * class2Count reaches 2^32.
    uint64_t rows = count1;
    if (class2Count != 0) {
        const unsigned long pairSize = ValueRecord::GetSize(valueFormat1) + ValueRecord::GetSize(valueFormat2);
        uint64_t fit = budget / (2 * sizeof(ValueRecord));
        if (pairSize != 0) fit = std::min<uint64_t>(fit, source->GetRemaining() / pairSize);
        rows = std::min<uint64_t>(count1, fit / class2Count);
    }
    class1Count = static_cast<uint16_t>(rows);
    const uint64_t pairs = rows * class2Count;
    budget -= pairs * 2 * sizeof(ValueRecord);
    classValues.clear();
    classValues.reserve(2 * pairs);
    for (uint64_t i = 0; i < pairs; ++i) {
        classValues.emplace_back(valueFormat1, start);
        classValues.back().Load(source, budget);
        classValues.emplace_back(valueFormat2, start);
        classValues.back().Load(source, budget);
    }
    LoadChild(source, start, coverageOffset, font, coverage);
    LoadChild(source, start, classDef1Offset, font, classDef1);
    LoadChild(source, start, classDef2Offset, font, classDef2);
    return true;
}

unsigned long PairPosLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    const TableOffset coverageOffset(out, 0, 2, true);
    out->SetU16(valueFormat1);
    out->SetU16(valueFormat2);
    if (format == 1) {
        const size_t count = std::min(pairSets.size(), kMaxCount);
        out->SetU16(static_cast<uint16_t>(count));
        std::vector<TableOffset> offsets;
        offsets.reserve(count);
        for (size_t i = 0; i < count; ++i) offsets.emplace_back(out, 0, 2, true);
        graph.AddOffset(index, coverageOffset, coverage.Save(graph));
        for (size_t i = 0; i < count; ++i) graph.AddOffset(index, offsets[i], pairSets[i].Save(graph));
        return index;
    }
    if (format == 2) {
        const TableOffset classDef1Offset(out, 0, 2, true);
        const TableOffset classDef2Offset(out, 0, 2, true);
        out->SetU16(class1Count);
        out->SetU16(class2Count);
        for (const ValueRecord& value : classValues) value.Save(out, index, 0, graph);
        graph.AddOffset(index, coverageOffset, coverage.Save(graph));
        graph.AddOffset(index, classDef1Offset, classDef1.Save(graph));
        graph.AddOffset(index, classDef2Offset, classDef2.Save(graph));
        return index;
    }
    // An unknown format has no layout to write: the partial header stays
    // behind and 0 tells the caller that this table is not to be written.
    return 0;
}

bool PairPosLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const PairPosLookup&>(other);
    if (format != that.format) return format < that.format;
    if (coverage < that.coverage) return true;
    if (that.coverage < coverage) return false;
    if (valueFormat1 != that.valueFormat1) return valueFormat1 < that.valueFormat1;
    if (valueFormat2 != that.valueFormat2) return valueFormat2 < that.valueFormat2;
    if (std::lexicographical_compare(pairSets.begin(), pairSets.end(), that.pairSets.begin(), that.pairSets.end()))
        return true;
    if (std::lexicographical_compare(that.pairSets.begin(), that.pairSets.end(), pairSets.begin(), pairSets.end()))
        return false;
    if (classDef1 < that.classDef1) return true;
    if (that.classDef1 < classDef1) return false;
    if (classDef2 < that.classDef2) return true;
    if (that.classDef2 < classDef2) return false;
    if (class1Count != that.class1Count) return class1Count < that.class1Count;
    if (class2Count != that.class2Count) return class2Count < that.class2Count;
    return std::lexicographical_compare(classValues.begin(), classValues.end(), that.classValues.begin(),
                                        that.classValues.end());
}

void PairPosLookup::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (PairSetTable& pairSet : pairSets) pairSet.Accept(visitor);
    for (ValueRecord& value : classValues) value.Accept(visitor);
}

}  // namespace Typeframe
