#include "layout/ReverseChainSingleSubstTable.h"

#include <algorithm>
#include <utility>

#include "layout/SequenceContextTable.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

// format, coverage offset, backtrack count; the other counts follow the
// offsets.
constexpr unsigned long kHeaderSize = 6;

// A count of coverage offsets and the offsets after it.
struct CoverageRun {
    uint64_t offsets = 0;  // where the offsets start
    uint64_t kept = 0;     // how many of them the bytes and the budget hold
};

// Reads the count at `position`; returns where the next field stands, after
// all the offsets the count announces. A count past the bytes reads as 0.
uint64_t ReadRun(const BigEndianBuffer& in, uint64_t position, CoverageRun& run, uint64_t& budget) {
    uint16_t count = 0;
    in.GetU16(position, count);
    run.offsets = position + 2;
    const uint64_t fit = run.offsets > in.GetLength() ? 0 : (in.GetLength() - run.offsets) / sizeof(uint16_t);
    run.kept = SubTable::KeepWithinBudget(std::min<uint64_t>(count, fit), sizeof(CoverageTable), budget);
    return run.offsets + 2 * uint64_t(count);
}

void LoadRun(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t start, const CoverageRun& run,
             const Bedrock::NonCounted<OTFont>& font, std::vector<CoverageTable>& coverages, uint64_t& budget) {
    coverages.assign(run.kept, CoverageTable());
    for (uint64_t i = 0; i < run.kept; ++i) {
        uint16_t offset = 0;
        source->GetU16(run.offsets + 2 * i, offset);
        SequenceContext::LoadChild(source, start, offset, font, coverages[i], budget);
    }
}

// The count and, for each coverage written, a placeholder, its save and its
// edge.
void SaveRun(TableGraph& graph, unsigned long index, const Bedrock::Counted<BigEndianBuffer>& out,
             const std::vector<CoverageTable>& coverages) {
    const size_t count = std::min(coverages.size(), SubTable::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) {
        const TableOffset offset(out, 0, 2, true);
        graph.AddOffset(index, offset, coverages[i].Save(graph));
    }
}

}  // namespace

bool ReverseChainSingleSubstTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool ReverseChainSingleSubstTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint16_t coverageOffset = 0;
    source->GetU16(start, format);
    source->GetU16(start + 2, coverageOffset);
    // Each field stands after all the offsets that the count before it
    // announces, kept or not.
    CoverageRun backtrack;
    CoverageRun lookAhead;
    uint64_t position = ReadRun(*source, start + 4, backtrack, budget);
    position = ReadRun(*source, position, lookAhead, budget);
    uint16_t glyphCount = 0;
    source->GetU16(position, glyphCount);
    SequenceContext::ReadIds(*source, position + 2, glyphCount, substituteGlyphs, budget);
    SequenceContext::LoadChild(source, start, coverageOffset, font, coverage, budget);
    LoadRun(source, start, backtrack, font, backtrackCoverages, budget);
    LoadRun(source, start, lookAhead, font, lookAheadCoverages, budget);
    return format == 1;
}

unsigned long ReverseChainSingleSubstTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    const TableOffset coverageOffset(out, 0, 2, true);
    graph.AddOffset(index, coverageOffset, coverage.Save(graph));
    SaveRun(graph, index, out, backtrackCoverages);
    SaveRun(graph, index, out, lookAheadCoverages);
    const size_t count = std::min(substituteGlyphs.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    SequenceContext::WriteIds(*out, substituteGlyphs, count);
    return index;
}

bool ReverseChainSingleSubstTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const ReverseChainSingleSubstTable&>(other);
    if (const int order = ThreeWay(format, that.format)) return order < 0;
    if (const int order = ThreeWay<GraphNode>(coverage, that.coverage)) return order < 0;
    if (const int order = ThreeWay(backtrackCoverages, that.backtrackCoverages)) return order < 0;
    if (const int order = ThreeWay(lookAheadCoverages, that.lookAheadCoverages)) return order < 0;
    return substituteGlyphs < that.substituteGlyphs;
}

}  // namespace Typeframe
