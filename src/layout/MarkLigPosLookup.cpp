#include "layout/MarkLigPosLookup.h"

#include <utility>

#include "layout/MarkAttachmentPos.h"
#include "packing/GraphNodeVisitor.h"

namespace Typeframe {

bool MarkLigPosLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool MarkLigPosLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    return MarkAttachmentPos::Load(source, font, format, markCoverage, ligatureCoverage, markClassCount, markArray,
                                   ligatureArray, budget);
}

unsigned long MarkLigPosLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    MarkAttachmentPos::Save(graph, index, buffer, format, markCoverage, ligatureCoverage, markClassCount, markArray,
                            ligatureArray);
    return index;
}

bool MarkLigPosLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const MarkLigPosLookup&>(other);
    if (format != that.format) return format < that.format;
    if (markCoverage != that.markCoverage) return markCoverage.IsLessThan(that.markCoverage);
    if (ligatureCoverage != that.ligatureCoverage) return ligatureCoverage.IsLessThan(that.ligatureCoverage);
    if (markClassCount != that.markClassCount) return markClassCount < that.markClassCount;
    if (markArray != that.markArray) return markArray.IsLessThan(that.markArray);
    return ligatureArray.IsLessThan(that.ligatureArray);
}

void MarkLigPosLookup::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    markArray.Accept(visitor);
    ligatureArray.Accept(visitor);
}

}  // namespace Typeframe
