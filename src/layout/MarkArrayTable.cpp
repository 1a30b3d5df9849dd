#include "layout/MarkArrayTable.h"

#include <algorithm>
#include <utility>

#include "layout/MarkAttachmentPos.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr unsigned long kRecordSize = 4;

}  // namespace

bool MarkArrayTable::MarkRecord::operator<(const MarkRecord& other) const {
    if (markClass != other.markClass) return markClass < other.markClass;
    return markAnchor.IsLessThan(other.markAnchor);
}

bool MarkArrayTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool MarkArrayTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t count = 0;
    if (!source->GetU16(count)) return false;
    if (source->GetRemaining() / kRecordSize < count) {
        source->Seek(start);
        return false;
    }
    const uint64_t records = start + 2;
    // Each record is 4 bytes in the file and a whole anchor in memory: the
    // budget bounds how many a load that reads one array many times can keep.
    const uint64_t kept = SubTable::KeepWithinBudget(count, sizeof(MarkRecord), budget);
    markRecords.assign(kept, MarkRecord());
    bool whole = kept == count;
    for (uint64_t i = 0; i < kept; ++i) {
        uint16_t offset = 0;
        source->GetU16(records + kRecordSize * i, markRecords[i].markClass);
        source->GetU16(records + kRecordSize * i + 2, offset);
        whole &= MarkAttachmentPos::LoadAnchor(source, start, offset, markRecords[i].markAnchor, budget);
    }
    return whole;
}

unsigned long MarkArrayTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    const size_t count = std::min<uint64_t>(markRecords.size(), MarkAttachmentPos::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        out->SetU16(markRecords[i].markClass);
        offsets.emplace_back(out, base, 2, true);
    }
    for (size_t i = 0; i < count; ++i) {
        const AnchorTable& anchor = markRecords[i].markAnchor;
        if (anchor.format != 0) graph.AddOffset(index, offsets[i], anchor.Save(graph));
    }
    return index;
}

bool MarkArrayTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const MarkArrayTable&>(other);
    return markRecords < that.markRecords;
}

void MarkArrayTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (MarkRecord& record : markRecords) {
        if (record.markAnchor.format != 0) record.markAnchor.Accept(visitor);
    }
}

}  // namespace Typeframe
