#include "tables/OThmtxTable.h"

#include <algorithm>

#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/LongMetrics.h"
#include "tables/OThheaTable.h"
#include "tables/OTmaxpTable.h"

namespace Typeframe {

OThmtxTable::OThmtxTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("hmtx")) {}

OTTable* OThmtxTable::VirtualClone() const { return new OThmtxTable(*this); }

bool OThmtxTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    auto font = GetFont();
    auto maxp = font ? font->GetTableT<OTmaxpTable>() : nullptr;
    if (!maxp) return false;
    auto hhea = font->GetTableT<OThheaTable>();
    if (!hhea) return false;

    // One record per glyph, at most 65535 of four bytes, whatever the table
    // holds. A numberOfHMetrics above numGlyphs is not an error: only
    // numGlyphs pairs are read and the rest of the table is ignored. Bytes
    // missing at the end read as zero.
    const unsigned numGlyphs = maxp->numGlyphs;
    const unsigned longCount = std::min<unsigned>(hhea->numberOfHMetrics, numGlyphs);
    LongMetrics::Read(*Buffer(), longCount, numGlyphs, metrics, &LongHorMetric::advanceWidth, &LongHorMetric::lsb);
    SetIsDirty(false);
    return true;
}

bool OThmtxTable::Save() {
    if (!IsDirty()) return true;
    auto font = GetFont();
    auto maxp = font ? font->GetTableT<OTmaxpTable>() : nullptr;
    if (!maxp) return false;
    if (metrics.empty() || metrics.size() != maxp->numGlyphs) return false;

    // The trailing run of advances equal to the last one is stored as
    // bearings only; its first member stays a long metric.
    const size_t longCount = LongMetrics::CountLong(metrics, &LongHorMetric::advanceWidth);

    auto hhea = font->GetTableT<OThheaTable>();
    if (!hhea) return false;
    if (hhea->numberOfHMetrics != longCount) {
        hhea->numberOfHMetrics = static_cast<uint16_t>(longCount);
        hhea->SetIsDirty(true);
    }

    BigEndianBuffer& out = ResetBuffer(longCount * 4 + (metrics.size() - longCount) * 2);
    LongMetrics::Write(out, metrics, longCount, &LongHorMetric::advanceWidth, &LongHorMetric::lsb);
    SetIsDirty(false);
    return true;
}

void OThmtxTable::SetIsDirty(bool dirty) {
    if (dirty) {
        if (auto font = GetFont()) {
            if (auto hhea = font->GetTableT<OThheaTable>()) hhea->SetIsDirty(true);
        }
    }
    OTTable::SetIsDirty(dirty);
}

bool OThmtxTable::GetLongHorMetric(unsigned short glyph, LongHorMetric& metric) const {
    if (glyph >= metrics.size()) return false;
    metric = metrics[glyph];
    return true;
}

bool OThmtxTable::SetLongHorMetric(unsigned short glyph, const LongHorMetric& metric) {
    if (glyph >= metrics.size()) metrics.resize(size_t(glyph) + 1);
    metrics[glyph] = metric;
    // Only write the flags when they would change, so that concurrent calls
    // for different glyphs of an already dirty table just read them.
    bool hheaDirty = true;
    if (auto font = GetFont()) {
        if (auto hhea = font->GetTableT<OThheaTable>()) hheaDirty = hhea->IsDirty();
    }
    if (!IsDirty() || !hheaDirty) SetIsDirty(true);
    return true;
}

bool OThmtxTable::GetAdvanceWidths(std::vector<unsigned short>& widths) const {
    widths.resize(metrics.size());
    std::transform(metrics.begin(), metrics.end(), widths.begin(),
                   [](const LongHorMetric& metric) { return metric.advanceWidth; });
    return true;
}

unsigned short OThmtxTable::GetAdvanceWidthMin() const {
    if (metrics.empty()) return 0;
    return std::min_element(metrics.begin(), metrics.end(),
                            [](const auto& a, const auto& b) { return a.advanceWidth < b.advanceWidth; })
        ->advanceWidth;
}

unsigned short OThmtxTable::GetAdvanceWidthMax() const {
    if (metrics.empty()) return 0;
    return std::max_element(metrics.begin(), metrics.end(),
                            [](const auto& a, const auto& b) { return a.advanceWidth < b.advanceWidth; })
        ->advanceWidth;
}

short OThmtxTable::GetMinLeftSideBearing() const {
    if (metrics.empty()) return 0;
    return std::min_element(metrics.begin(), metrics.end(), [](const auto& a, const auto& b) { return a.lsb < b.lsb; })
        ->lsb;
}

}  // namespace Typeframe
