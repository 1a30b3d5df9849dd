#include "layout/BaseArrayTable.h"

#include <algorithm>
#include <utility>

#include "layout/MarkAttachmentPos.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

bool BaseArrayTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool BaseArrayTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    return MarkAttachmentPos::LoadAnchorRows(source, classCount, 0, rowCount, anchors, budget) ==
           MarkAttachmentPos::RowsRead::kWhole;
}

unsigned long BaseArrayTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    out->SetU16(rowCount);
    const uint64_t count = uint64_t(rowCount) * classCount;
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (uint64_t i = 0; i < count; ++i) offsets.emplace_back(out, base, 2, true);
    for (uint64_t i = 0; i < count && i < anchors.size(); ++i) {
        if (anchors[i].format != 0) graph.AddOffset(index, offsets[i], anchors[i].Save(graph));
    }
    return index;
}

bool BaseArrayTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const BaseArrayTable&>(other);
    if (rowCount != that.rowCount) return rowCount < that.rowCount;
    return std::lexicographical_compare(anchors.begin(), anchors.end(), that.anchors.begin(), that.anchors.end(),
                                        MarkAttachmentPos::AnchorLess);
}

void BaseArrayTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (AnchorTable& anchor : anchors) {
        if (anchor.format != 0) anchor.Accept(visitor);
    }
}

}  // namespace Typeframe
