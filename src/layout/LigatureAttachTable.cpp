#include "layout/LigatureAttachTable.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "layout/MarkAttachmentPos.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

bool LigatureAttachTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool LigatureAttachTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    // Components are rows, read flat and then split. Each component's list
    // costs a vector of its own, even with no mark classes and so no bytes.
    uint16_t componentCount = 0;
    std::vector<AnchorTable> anchors;
    const MarkAttachmentPos::RowsRead read = MarkAttachmentPos::LoadAnchorRows(
        source, classCount, sizeof(std::vector<AnchorTable>), componentCount, anchors, budget);
    if (read == MarkAttachmentPos::RowsRead::kNone) return false;
    componentAnchors.assign(componentCount, {});
    auto next = anchors.begin();
    for (std::vector<AnchorTable>& component : componentAnchors) {
        component.assign(std::make_move_iterator(next), std::make_move_iterator(next + classCount));
        next += classCount;
    }
    return read == MarkAttachmentPos::RowsRead::kWhole;
}

unsigned long LigatureAttachTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    const size_t count = std::min<uint64_t>(componentAnchors.size(), MarkAttachmentPos::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(uint64_t(count) * classCount);
    for (uint64_t i = 0; i < uint64_t(count) * classCount; ++i) offsets.emplace_back(out, base, 2, true);
    for (size_t component = 0; component < count; ++component) {
        const std::vector<AnchorTable>& anchors = componentAnchors[component];
        for (size_t mark = 0; mark < classCount && mark < anchors.size(); ++mark) {
            if (anchors[mark].format == 0) continue;
            graph.AddOffset(index, offsets[component * classCount + mark], anchors[mark].Save(graph));
        }
    }
    return index;
}

bool LigatureAttachTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const LigatureAttachTable&>(other);
    if (componentAnchors.size() != that.componentAnchors.size()) {
        return componentAnchors.size() < that.componentAnchors.size();
    }
    return std::lexicographical_compare(
        componentAnchors.begin(), componentAnchors.end(), that.componentAnchors.begin(), that.componentAnchors.end(),
        [](const std::vector<AnchorTable>& a, const std::vector<AnchorTable>& b) {
            return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), MarkAttachmentPos::AnchorLess);
        });
}

void LigatureAttachTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (std::vector<AnchorTable>& component : componentAnchors) {
        for (AnchorTable& anchor : component) {
            if (anchor.format != 0) anchor.Accept(visitor);
        }
    }
}

}  // namespace Typeframe
