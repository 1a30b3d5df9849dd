#include "layout/PairSetTable.h"

#include <algorithm>
#include <utility>

#include "packing/GraphNodeVisitor.h"

namespace Typeframe {

namespace {

constexpr size_t kMaxCount = 0xFFFF;

}  // namespace

int PairSetTable::PairValueRecord::Compare(const PairValueRecord& a, const PairValueRecord& b) {
    if (a.secondGlyph != b.secondGlyph) return a.secondGlyph < b.secondGlyph ? -1 : 1;
    if (const int order = ValueRecord::Compare(a.value1, b.value1)) return order;
    return ValueRecord::Compare(a.value2, b.value2);
}

bool PairSetTable::PairValueRecord::operator<(const PairValueRecord& other) const { return Compare(*this, other) < 0; }

PairSetTable::PairSetTable(Bedrock::NonCounted<OTFont> setFont, ValueRecord::ValueRecordFlags format1,
                           ValueRecord::ValueRecordFlags format2)
    : font(std::move(setFont)), valueFormat1(format1), valueFormat2(format2) {}

bool PairSetTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool PairSetTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    uint16_t count = 0;
    if (!source->GetU16(count)) return false;
    // Every record holds at least its second glyph, so the bytes bound the count.
    const unsigned long recordSize = 2 + ValueRecord::GetSize(valueFormat1) + ValueRecord::GetSize(valueFormat2);
    const uint64_t kept = SubTable::KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / recordSize),
                                                     sizeof(PairValueRecord), budget);
    records.clear();
    records.resize(kept);
    // Filled in place: a large pair set holds tens of thousands of records.
    for (PairValueRecord& record : records) {
        source->GetU16(record.secondGlyph);
        record.value1.valueFormat = valueFormat1;
        record.value1.base = start;
        record.value1.Load(source, budget);
        record.value2.valueFormat = valueFormat2;
        record.value2.base = start;
        record.value2.Load(source, budget);
    }
    return true;
}

unsigned long PairSetTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const size_t count = std::min(records.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) {
        out->SetU16(records[i].secondGlyph);
        records[i].value1.Save(out, index, 0, graph);
        records[i].value2.Save(out, index, 0, graph);
    }
    return index;
}

bool PairSetTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const PairSetTable&>(other);
    // Lexicographic, each pair of records compared once.
    const size_t common = std::min(records.size(), that.records.size());
    for (size_t i = 0; i < common; ++i) {
        if (const int order = PairValueRecord::Compare(records[i], that.records[i])) return order < 0;
    }
    return records.size() < that.records.size();
}

void PairSetTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (PairValueRecord& record : records) {
        record.value1.Accept(visitor);
        record.value2.Accept(visitor);
    }
}

}  // namespace Typeframe
