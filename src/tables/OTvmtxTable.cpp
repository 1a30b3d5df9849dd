#include "tables/OTvmtxTable.h"

#include <algorithm>

#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/LongMetrics.h"
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
    LongMetrics::Read(*Buffer(), longCount, numGlyphs, metrics, &LongVerMetric::advanceHeight, &LongVerMetric::tsb);
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
    const size_t longCount = LongMetrics::CountLong(metrics, &LongVerMetric::advanceHeight);

    auto vhea = font->GetTableT<OTvheaTable>();
    if (!vhea) return false;
    if (vhea->numOfLongVerMetrics != longCount) {
        vhea->numOfLongVerMetrics = static_cast<uint16_t>(longCount);
        vhea->SetIsDirty(true);
    }

    BigEndianBuffer& out = ResetBuffer(longCount * 4 + (metrics.size() - longCount) * 2);
    LongMetrics::Write(out, metrics, longCount, &LongVerMetric::advanceHeight, &LongVerMetric::tsb);
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
