#include "layout/AlternateSubstLookup.h"

#include <utility>

namespace Typeframe {

bool AlternateSubstLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool AlternateSubstLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source || !GlyphSetSubst::Load(source, budget, font, format, coverage, alternateSets)) return false;
    return MakeMapping();
}

unsigned long AlternateSubstLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    GlyphSetSubst::Save(graph, index, buffer, format, coverage, alternateSets);
    return index;
}

bool AlternateSubstLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const AlternateSubstLookup&>(other);
    return GlyphSetSubst::IsLessThan(format, coverage, alternateSets, that.format, that.coverage, that.alternateSets);
}

bool AlternateSubstLookup::MakeMapping() {
    return GlyphSetSubst::MakeMapping(format, coverage, alternateSets, mapping);
}

}  // namespace Typeframe
