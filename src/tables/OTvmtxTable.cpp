#include "tables/OTvmtxTable.h"

#include <algorithm>

#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTvheaTable.h"

namespace Typeframe {

OTvmtxTable::OTvmtxTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("vmtx")) {}

OTTable* OTvmtxTable::VirtualClone() const { return new OTvmtxTable(*this); }

bool OTvmtxTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    auto font = GetFont();
    auto maxp = font ? font->GetTableT<OTmaxpTable>() : nullptr;
    if (!maxp) return false;
    auto vhea = font->GetTableT<OTvheaTable>();
    if (!vhea) return false;

    // As in 'hmtx': numGlyphs records whatever the table holds, a count
    // above numGlyphs reads only numGlyphs pairs, missing bytes read as zero.
    const unsigned numGlyphs = maxp->numGlyphs;
    const unsigned longCount = std::min<unsigned>(vhea->numOfLongVerMetrics, numGlyphs);
    metrics.assign(numGlyphs, LongVerMetric{});
    BigEndianBuffer& in = *Buffer();
    in.Seek(0);
    for (unsigned i = 0; i < longCount; ++i) {
        in.GetU16(metrics[i].advanceHeight);
        in.GetS16(metrics[i].tsb);
    }
    // The glyphs behind the long metrics share the last long advance, or 0.
    const uint16_t lastAdvance = longCount != 0 ? metrics[longCount - 1].advanceHeight : 0;
    for (unsigned i = longCount; i < numGlyphs; ++i) {
        metrics[i].advanceHeight = lastAdvance;
        in.GetS16(metrics[i].tsb);
    }
    SetIsDirty(false);
    return true;
}

bool OTvmtxTable::Save() {
    if (!IsDirty()) return true;
    auto font = GetFont();
    auto maxp = font ? font->GetTableT<OTmaxpTable>() : nullptr;
    if (!maxp) return false;
    if (metrics.empty() || metrics.size() != maxp->numGlyphs) return false;

    // The trailing run of equal advances, its first member kept long.
    size_t longCount = metrics.size();
    while (longCount > 1 && metrics[longCount - 1].advanceHeight == metrics[longCount - 2].advanceHeight) --longCount;

    auto vhea = font->GetTableT<OTvheaTable>();
    if (!vhea) return false;
    if (vhea->numOfLongVerMetrics != longCount) {
        vhea->numOfLongVerMetrics = static_cast<uint16_t>(longCount);
        vhea->SetIsDirty(true);
    }

    BigEndianBuffer& out = ResetBuffer(longCount * 4 + (metrics.size() - longCount) * 2);
    for (size_t i = 0; i < longCount; ++i) {
        out.SetU16(metrics[i].advanceHeight);
        out.SetS16(metrics[i].tsb);
    }
    for (size_t i = longCount; i < metrics.size(); ++i) out.SetS16(metrics[i].tsb);
    SetIsDirty(false);
    return true;
}

bool OTvmtxTable::GetLongVerMetric(unsigned short glyph, LongVerMetric& metric) const {
    if (glyph >= metrics.size()) return false;
    metric = metrics[glyph];
    return true;
}

bool OTvmtxTable::SetLongVerMetric(unsigned short glyph, const LongVerMetric& metric) {
    if (glyph >= metrics.size()) metrics.resize(size_t(glyph) + 1);
    metrics[glyph] = metric;
    // 'vhea' is left alone: only Save changes it, when the count moves.
    if (!IsDirty()) SetIsDirty(true);
    return true;
}

}  // namespace Typeframe
