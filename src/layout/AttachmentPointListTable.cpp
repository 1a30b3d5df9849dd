#include "layout/AttachmentPointListTable.h"

#include "layout/CoveredOffsetList.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "packing/TableOffset.h"

namespace Typeframe {

bool AttachPointTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
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
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool AttachmentPointListTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source || !CoveredOffsetList::Load(source, coverage, attachPoints, budget)) return false;
    isPresent = true;
    return true;
}

unsigned long AttachmentPointListTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    CoveredOffsetList::Save(buffer, index, graph, coverage, attachPoints);
    return index;
}

bool AttachmentPointListTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const AttachmentPointListTable&>(other);
    return CoveredOffsetList::IsLessThan(isPresent, coverage, attachPoints, that.isPresent, that.coverage,
                                         that.attachPoints);
}

}  // namespace Typeframe
