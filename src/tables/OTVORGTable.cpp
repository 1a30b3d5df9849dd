#include "tables/OTVORGTable.h"

#include <vector>

#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/OTmaxpTable.h"

namespace Typeframe {

OTVORGTable::OTVORGTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("VORG")) {}

OTTable* OTVORGTable::VirtualClone() const { return new OTVORGTable(*this); }

bool OTVORGTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    BigEndianBuffer& in = *Buffer();
    in.Seek(0);
    in.GetU16(majorVersion);
    in.GetU16(minorVersion);
    in.GetS16(defaultVertOriginY);
    uint16_t count = 0;
    in.GetU16(count);
    // The count is trusted only as far as whole pairs are there. Of a glyph
    // listed twice the first origin stays.
    vertOriginYMetrics.clear();
    for (unsigned i = 0; i < count && in.GetRemaining() >= 4; ++i) {
        uint16_t glyph = 0;
        int16_t origin = 0;
        in.GetU16(glyph);
        in.GetS16(origin);
        vertOriginYMetrics.emplace(glyph, origin);
    }
    // The buffer keeps just the bytes read: anything behind the pairs (or a
    // cut pair) is dropped even if the table is never changed.
    SetBuffer(in.Read(0, in.Tell()));
    SetIsDirty(false);
    return true;
}

bool OTVORGTable::Save() {
    if (!IsDirty()) return true;
    auto font = GetFont();
    auto maxp = font ? font->GetTableT<OTmaxpTable>() : nullptr;
    if (!maxp) return false;

    // Every glyph's origin; listed glyphs past numGlyphs fall away.
    const unsigned numGlyphs = maxp->numGlyphs;
    std::vector<int16_t> origins(numGlyphs, defaultVertOriginY);
    for (const auto& [glyph, origin] : vertOriginYMetrics) {
        if (glyph < numGlyphs) origins[glyph] = origin;
    }

    // The new default is the most common origin, the lowest of equally
    // common ones. With no glyphs there is nothing to count and the default
    // stays as it is.
    if (numGlyphs != 0) {
        std::map<int16_t, unsigned> counts;
        for (int16_t origin : origins) ++counts[origin];
        unsigned best = 0;
        for (const auto& [origin, count] : counts) {
            if (count > best) {
                best = count;
                defaultVertOriginY = origin;
            }
        }
    }
    vertOriginYMetrics.clear();
    for (unsigned glyph = 0; glyph < numGlyphs; ++glyph) {
        if (origins[glyph] != defaultVertOriginY) {
            vertOriginYMetrics.emplace_hint(vertOriginYMetrics.end(), static_cast<uint16_t>(glyph), origins[glyph]);
        }
    }

    BigEndianBuffer& out = ResetBuffer(8 + 4 * vertOriginYMetrics.size());
    out.SetU16(majorVersion);
    out.SetU16(minorVersion);
    out.SetS16(defaultVertOriginY);
    out.SetU16(static_cast<uint16_t>(vertOriginYMetrics.size()));
    for (const auto& [glyph, origin] : vertOriginYMetrics) {
        out.SetU16(glyph);
        out.SetS16(origin);
    }
    // The dirty flag is deliberately left set: every Save picks the default
    // and writes the table again.
    return true;
}

}  // namespace Typeframe
