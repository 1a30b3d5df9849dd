#include "layout/MarkGlyphSetsTable.h"

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr uint64_t kHeaderSize = 4;

// Loads the coverage at `position` into `coverage` when `budget` holds both
// the records the load walks and the glyphs it keeps, and takes them from it.
// Many offsets may name one large coverage, so a load that the budget can't
// hold empties the budget: every later coverage of the table stays empty too
// and costs no more work.
void LoadCoverage(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t position, CoverageTable& coverage,
                  uint64_t& budget) {
    uint16_t format = 0;
    uint16_t count = 0;
    if (!source->GetU16(position, format) || !source->GetU16(position + 2, count)) return;
    const uint64_t walked = uint64_t(count) * (format == 2 ? 6 : 2);
    if (walked > budget) {
        budget = 0;
        return;
    }
    budget -= walked;
    source->Seek(position);
    CoverageTable loaded;
    loaded.font = coverage.font;
    if (!loaded.Load(source)) return;
    const uint64_t kept = loaded.glyphs.size() * sizeof(uint16_t);
    if (kept > budget) {
        budget = 0;
        return;
    }
    budget -= kept;
    coverage = std::move(loaded);
}

}  // namespace

bool MarkGlyphSetsTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool MarkGlyphSetsTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint16_t count = 0;
    source->GetU16(start, format);
    source->GetU16(start + 2, count);
    source->Seek(start + kHeaderSize);
    const uint64_t kept = KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint32_t)),
                                           sizeof(CoverageTable), budget);
    std::vector<uint32_t> offsets(kept);
    for (uint32_t& offset : offsets) source->GetU32(offset);
    coverages.assign(kept, CoverageTable());
    for (size_t i = 0; i < kept; ++i) {
        coverages[i].font = font;
        if (offsets[i] != 0) LoadCoverage(source, start + offsets[i], coverages[i], budget);
    }
    return true;
}

unsigned long MarkGlyphSetsTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    const size_t count = std::min(coverages.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) offsets.emplace_back(out, 0, 4, true);
    for (size_t i = 0; i < count; ++i) graph.AddOffset(index, offsets[i], coverages[i].Save(graph));
    return index;
}

bool MarkGlyphSetsTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const MarkGlyphSetsTable&>(other);
    if (font.Get() != that.font.Get()) return std::less<const OTFont*>()(font.Get(), that.font.Get());
    if (format != that.format) return format < that.format;
    return std::lexicographical_compare(coverages.begin(), coverages.end(), that.coverages.begin(),
                                        that.coverages.end(),
                                        [](const CoverageTable& a, const CoverageTable& b) { return a.IsLessThan(b); });
}

}  // namespace Typeframe
