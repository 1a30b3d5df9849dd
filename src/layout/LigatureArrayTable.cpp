#include "layout/LigatureArrayTable.h"

#include <algorithm>
#include <utility>

#include "layout/MarkAttachmentPos.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

bool LigatureArrayTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool LigatureArrayTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t count = 0;
    if (!source->GetU16(count)) return false;
    if (source->GetRemaining() / 2 < count) {
        source->Seek(start);
        return false;
    }
    // Every offset may name one attachment: each copy is charged.
    const uint64_t kept = SubTable::KeepWithinBudget(count, sizeof(LigatureAttachTable), budget);
    attachTables.assign(kept, LigatureAttachTable(classCount));
    bool whole = kept == count;
    const uint64_t offsets = start + 2;
    for (uint64_t i = 0; i < kept; ++i) {
        uint16_t offset = 0;
        source->GetU16(offsets + 2 * i, offset);
        if (offset == 0) continue;
        source->Seek(start + offset);
        whole &= attachTables[i].Load(source, budget);
    }
    return whole;
}

unsigned long LigatureArrayTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    const size_t count = std::min<uint64_t>(attachTables.size(), MarkAttachmentPos::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) offsets.emplace_back(out, base, 2, true);
    for (size_t i = 0; i < count; ++i) graph.AddOffset(index, offsets[i], attachTables[i].Save(graph));
    return index;
}

bool LigatureArrayTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const LigatureArrayTable&>(other);
    if (attachTables.size() != that.attachTables.size()) return attachTables.size() < that.attachTables.size();
    return std::lexicographical_compare(
        attachTables.begin(), attachTables.end(), that.attachTables.begin(), that.attachTables.end(),
        [](const LigatureAttachTable& a, const LigatureAttachTable& b) { return a.IsLessThan(b); });
}

void LigatureArrayTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (LigatureAttachTable& attachTable : attachTables) attachTable.Accept(visitor);
}

}  // namespace Typeframe
