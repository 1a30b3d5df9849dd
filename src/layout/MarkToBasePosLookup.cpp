#include "layout/MarkToBasePosLookup.h"

#include <utility>

#include "layout/MarkAttachmentPos.h"
#include "packing/GraphNodeVisitor.h"

namespace Typeframe {

bool MarkToBasePosLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool MarkToBasePosLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    return MarkAttachmentPos::Load(source, font, format, markCoverage, baseCoverage, markClassCount, markArray,
                                   baseArray, budget);
}

unsigned long MarkToBasePosLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    MarkAttachmentPos::Save(graph, index, buffer, format, markCoverage, baseCoverage, markClassCount, markArray,
                            baseArray);
    return index;
}

bool MarkToBasePosLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const MarkToBasePosLookup&>(other);
    if (format != that.format) return format < that.format;
    if (markCoverage != that.markCoverage) return markCoverage.IsLessThan(that.markCoverage);
    if (baseCoverage != that.baseCoverage) return baseCoverage.IsLessThan(that.baseCoverage);
    if (markClassCount != that.markClassCount) return markClassCount < that.markClassCount;
    if (markArray != that.markArray) return markArray.IsLessThan(that.markArray);
    return baseArray.IsLessThan(that.baseArray);
}

void MarkToBasePosLookup::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    markArray.Accept(visitor);
    baseArray.Accept(visitor);
}

}  // namespace Typeframe
