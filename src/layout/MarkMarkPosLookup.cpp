#include "layout/MarkMarkPosLookup.h"

#include <utility>

#include "layout/MarkAttachmentPos.h"
#include "packing/GraphNodeVisitor.h"

namespace Typeframe {

bool MarkMarkPosLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool MarkMarkPosLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    return MarkAttachmentPos::Load(source, font, format, mark1Coverage, mark2Coverage, markClassCount, mark1Array,
                                   mark2Array, budget);
}

unsigned long MarkMarkPosLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    MarkAttachmentPos::Save(graph, index, buffer, format, mark1Coverage, mark2Coverage, markClassCount, mark1Array,
                            mark2Array);
    return index;
}

bool MarkMarkPosLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const MarkMarkPosLookup&>(other);
    if (format != that.format) return format < that.format;
    if (mark1Coverage != that.mark1Coverage) return mark1Coverage.IsLessThan(that.mark1Coverage);
    if (mark2Coverage != that.mark2Coverage) return mark2Coverage.IsLessThan(that.mark2Coverage);
    if (markClassCount != that.markClassCount) return markClassCount < that.markClassCount;
    if (mark1Array != that.mark1Array) return mark1Array.IsLessThan(that.mark1Array);
    return mark2Array.IsLessThan(that.mark2Array);
}

void MarkMarkPosLookup::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    mark1Array.Accept(visitor);
    mark2Array.Accept(visitor);
}

}  // namespace Typeframe
