#include "layout/MultipleSubstLookup.h"

#include <algorithm>
#include <utility>

#include "layout/SequenceContextTable.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

// format, coverage offset, set count.
constexpr unsigned long kHeaderSize = 6;

}  // namespace

namespace GlyphSetSubst {

bool GlyphSet::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool GlyphSet::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t count = 0;
    if (!source->GetU16(start, count)) return false;
    std::vector<uint16_t>& glyphs = Glyphs();
    SequenceContext::ReadIds(*source, start + 2, count, glyphs, budget);
    source->Seek(start + 2 + 2 * glyphs.size());
    return glyphs.size() == count;
}

unsigned long GlyphSet::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    const size_t count = std::min(Glyphs().size(), kMaxCount);
    out.SetU16(static_cast<uint16_t>(count));
    SequenceContext::WriteIds(out, Glyphs(), count);
    return index;
}

bool GlyphSet::IsLessThan(const GraphNode& other) const {
    return Glyphs() < static_cast<const GlyphSet&>(other).Glyphs();
}

bool LoadHeader(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t& budget,
                const Bedrock::NonCounted<OTFont>& font, uint64_t setSize, uint16_t& format, CoverageTable& coverage,
                std::vector<uint16_t>& offsets) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint16_t coverageOffset = 0;
    uint16_t count = 0;
    source->GetU16(start, format);
    source->GetU16(start + 2, coverageOffset);
    source->GetU16(start + 4, count);
    // Sets that many offsets share load once per offset, so the budget
    // bounds them as well as the bytes of the offsets.
    source->Seek(start + kHeaderSize);
    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)), setSize, budget);
    offsets.assign(kept, 0);
    for (uint16_t& offset : offsets) source->GetU16(offset);
    SequenceContext::LoadChild(source, start, coverageOffset, font, coverage, budget);
    return true;
}

void Save(TableGraph& graph, unsigned long index, const Bedrock::Counted<BigEndianBuffer>& out, uint16_t format,
          const CoverageTable& coverage, const std::vector<const GlyphSet*>& sets) {
    out->SetU16(format);
    const TableOffset coverageOffset(out, 0, 2, true);
    graph.AddOffset(index, coverageOffset, coverage.Save(graph));
    const size_t count = std::min(sets.size(), SubTable::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) {
        const TableOffset offset(out, 0, 2, true);
        graph.AddOffset(index, offset, sets[i]->Save(graph));
    }
}

}  // namespace GlyphSetSubst

bool MultipleSubstLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool MultipleSubstLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source || !GlyphSetSubst::Load(source, budget, font, format, coverage, sequences)) return false;
    return MakeMapping();
}

unsigned long MultipleSubstLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    GlyphSetSubst::Save(graph, index, buffer, format, coverage, sequences);
    return index;
}

bool MultipleSubstLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const MultipleSubstLookup&>(other);
    return GlyphSetSubst::IsLessThan(format, coverage, sequences, that.format, that.coverage, that.sequences);
}

bool MultipleSubstLookup::MakeMapping() { return GlyphSetSubst::MakeMapping(format, coverage, sequences, mapping); }

}  // namespace Typeframe
