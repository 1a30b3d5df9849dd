#include "layout/Mark2ArrayTable.h"

#include <vector>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

unsigned long Mark2ArrayTable::Save(TableGraph& graph) const {
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
        if (anchors[i].format == 0) continue;
        // Deliberate: the anchor goes inline, so the offset is set here, not
        // by the writer. Its result is ignored: past 0xFFFE the offset stays
        // zero while the anchor's bytes are still appended. The anchor's Save
        // adds a node of its own, which no edge reaches.
        offsets[i].Set(out->Tell());
        anchors[i].Save(graph);
        out->Write(anchors[i].GetBuffer());
    }
    return index;
}

void Mark2ArrayTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (AnchorTable& anchor : anchors) {
        if (anchor.format != 0) anchor.Accept(visitor);
    }
}

}  // namespace Typeframe
