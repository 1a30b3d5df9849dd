#include "layout/AttachmentPointListTable.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "packing/TableOffset.h"

namespace Typeframe {

bool AttachPointTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    uint64_t budget = GetLoadBudget(*source);
    return Load(std::move(source), budget);
}

bool AttachPointTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    uint16_t count = 0;
    if (!source->GetU16(count)) return false;
    const uint64_t kept = KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)),
                                           sizeof(uint16_t), budget);
    pointIndices.assign(kept, 0);
    for (uint16_t& point : pointIndices) source->GetU16(point);
    isPresent = true;
    return kept == count;
}

unsigned long AttachPointTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    const size_t count = std::min(pointIndices.size(), kMaxCount);
    out.SetU16(static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) out.SetU16(pointIndices[i]);
    return index;
}

bool AttachPointTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const AttachPointTable&>(other);
    if (isPresent != that.isPresent) return isPresent < that.isPresent;
    return pointIndices < that.pointIndices;
}

bool AttachmentPointListTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    uint64_t budget = GetLoadBudget(*source);
    return Load(std::move(source), budget);
}

bool AttachmentPointListTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t coverageOffset = 0;
    uint16_t count = 0;
    if (!source->GetU16(start, coverageOffset) || !source->GetU16(start + 2, count)) return false;
    source->Seek(start + 4);
    // Entries that many offsets share load once per offset: each copy is
    // charged.
    const uint64_t kept = KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)),
                                           sizeof(AttachPointTable), budget);
    std::vector<uint16_t> offsets(kept);
    for (uint16_t& offset : offsets) source->GetU16(offset);

    if (coverageOffset != 0) {
        source->Seek(start + coverageOffset);
        coverage.Load(source);
    }
    attachPoints.assign(kept, AttachPointTable());
    for (size_t i = 0; i < kept; ++i) {
        if (offsets[i] == 0) continue;
        source->Seek(start + offsets[i]);
        attachPoints[i].Load(source, budget);
    }
    isPresent = true;
    return true;
}

unsigned long AttachmentPointListTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const TableOffset coverageOffset(out, 0, 2, true);
    const size_t count = std::min(attachPoints.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) offsets.emplace_back(out, 0, 2, true);
    graph.AddOffset(index, coverageOffset, coverage.Save(graph));
    for (size_t i = 0; i < count; ++i) {
        if (attachPoints[i].isPresent) graph.AddOffset(index, offsets[i], attachPoints[i].Save(graph));
    }
    return index;
}

bool AttachmentPointListTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const AttachmentPointListTable&>(other);
    if (isPresent != that.isPresent) return isPresent < that.isPresent;
    if (coverage < that.coverage) return true;
    if (that.coverage < coverage) return false;
    return std::lexicographical_compare(
        attachPoints.begin(), attachPoints.end(), that.attachPoints.begin(), that.attachPoints.end(),
        [](const AttachPointTable& a, const AttachPointTable& b) { return a.IsLessThan(b); });
}

}  // namespace Typeframe
