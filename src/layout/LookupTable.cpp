#include "layout/LookupTable.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr unsigned long kHeaderSize = 6;

}  // namespace

// Always true, as a lookup's load has always been: what it could not read
// shows as missing entries, and a header that doesn't fit changes nothing.
bool LookupTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return true;
    uint64_t budget = SubTable::GetLoadBudget(*source);
    return Load(std::move(source), budget);
}

bool LookupTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return true;
    const unsigned long start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return true;
    uint16_t count = 0;
    source->GetU16(lookupType);
    source->GetU16(lookupFlag);
    source->GetU16(count);
    const unsigned long offsets = start + kHeaderSize;
    // The field stands after all the offsets the count announces, kept or not;
    // when its bytes are missing it keeps what it held.
    if (lookupFlag & kUseMarkFilteringSet) source->GetU16(offsets + 2 * uint64_t(count), markFilteringSet);

    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)), kSubTableLoadCost, budget);
    subTables.clear();
    subTables.resize(kept);
    for (size_t i = 0; i < subTables.size(); ++i) {
        uint16_t offset = 0;
        source->GetU16(offsets + 2 * i, offset);
        // A zero offset, a missing owner or a type it doesn't know leaves the entry null.
        if (offset == 0 || !owner) continue;
        Bedrock::Counted<LookupSubTable> subTable = owner->MakeSubTable(lookupType, font);
        if (!subTable) continue;
        source->Seek(start + offset);
        // The result is ignored: a subtable that reads badly keeps what it could.
        subTable->Load(source, budget);
        subTables[i] = std::move(subTable);
    }
    return true;
}

unsigned long LookupTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    out->SetU16(lookupType);
    out->SetU16(lookupFlag);
    const size_t count = std::min(subTables.size(), SubTable::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) offsets.emplace_back(out, base, 2, true);
    if (lookupFlag & kUseMarkFilteringSet) out->SetU16(markFilteringSet);
    for (size_t i = 0; i < count; ++i) {
        // A null entry has nothing to save: its offset stays zero and gets no edge.
        if (subTables[i]) graph.AddOffset(index, offsets[i], subTables[i]->Save(graph));
    }
    return index;
}

bool LookupTable::IsLessThan(const GraphNode& other) const {
    const LookupTable& that = static_cast<const LookupTable&>(other);
    if (lookupType != that.lookupType) return lookupType < that.lookupType;
    if (lookupFlag != that.lookupFlag) return lookupFlag < that.lookupFlag;
    // Deliberate: the receiver's markFilteringSet is compared with its own lookupFlag, not with the other's field.
    if (markFilteringSet != lookupFlag) return markFilteringSet < lookupFlag;
    return std::lexicographical_compare(
        subTables.begin(), subTables.end(), that.subTables.begin(), that.subTables.end(),
        [](const Bedrock::Counted<LookupSubTable>& a, const Bedrock::Counted<LookupSubTable>& b) {
            return std::less<const LookupSubTable*>()(a.Get(), b.Get());
        });
}

bool LookupTable::IsLessThanItself() const { return markFilteringSet < lookupFlag; }

void LookupTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (const Bedrock::Counted<LookupSubTable>& subTable : subTables) {
        if (subTable) subTable->Accept(visitor);
    }
}

}  // namespace Typeframe
