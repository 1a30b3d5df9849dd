#include "tables/OThheaTable.h"

#include <cmath>
#include <numbers>

#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/OTheadTable.h"

namespace Typeframe {

OThheaTable::OThheaTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("hhea")) {}

OTTable* OThheaTable::VirtualClone() const { return new OThheaTable(*this); }

bool OThheaTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    // No length or version test: a short table keeps the values of the
    // fields it does not reach.
    BigEndianBuffer& in = *Buffer();
    in.Seek(0);
    in.GetU16(majorVersion);
    in.GetU16(minorVersion);
    in.GetS16(ascender);
    in.GetS16(descender);
    in.GetS16(lineGap);
    in.GetU16(advanceWidthMax);
    in.GetS16(minLeftSideBearing);
    in.GetS16(minRightSideBearing);
    in.GetS16(xMaxExtent);
    in.GetS16(caretSlopeRise);
    in.GetS16(caretSlopeRun);
    in.GetS16(caretOffset);
    in.GetS16(reserved1);
    in.GetS16(reserved2);
    in.GetS16(reserved3);
    in.GetS16(reserved4);
    in.GetS16(metricDataFormat);
    in.GetU16(numberOfHMetrics);
    SetIsDirty(false);
    return true;
}

bool OThheaTable::Save() {
    if (!IsDirty()) return true;
    // The extremes follow the glyphs; a font without 'hmtx' (or a table
    // without a font) gives 0 for all four. A value out of 16-bit range
    // (the largest double, when there is no 'glyf' to measure) narrows as
    // OTheadTable::NarrowToInt16 defines.
    advanceWidthMax = 0;
    minLeftSideBearing = 0;
    minRightSideBearing = 0;
    xMaxExtent = 0;
    if (auto font = GetFont()) {
        advanceWidthMax = static_cast<uint16_t>(OTheadTable::RoundToInt16(font->GetAdvanceWidthMax()));
        minLeftSideBearing = OTheadTable::RoundToInt16(font->GetMinLeftSideBearing());
        minRightSideBearing = OTheadTable::RoundToInt16(font->GetMinRightSideBearing());
        xMaxExtent = OTheadTable::RoundToInt16(font->GetxMaxExtent());
    }

    BigEndianBuffer& out = ResetBuffer();
    out.SetU16(majorVersion);
    out.SetU16(minorVersion);
    out.SetS16(ascender);
    out.SetS16(descender);
    out.SetS16(lineGap);
    out.SetU16(advanceWidthMax);
    out.SetS16(minLeftSideBearing);
    out.SetS16(minRightSideBearing);
    out.SetS16(xMaxExtent);
    out.SetS16(caretSlopeRise);
    out.SetS16(caretSlopeRun);
    out.SetS16(caretOffset);
    out.SetS16(reserved1);
    out.SetS16(reserved2);
    out.SetS16(reserved3);
    out.SetS16(reserved4);
    out.SetS16(metricDataFormat);
    out.SetU16(numberOfHMetrics);
    SetIsDirty(false);
    return true;
}

uint16_t OThheaTable::NumberOfHMetricsFor(const std::vector<double>& advances) {
    size_t count = advances.size();
    while (count > 1 && advances[count - 1] == advances[count - 2]) --count;
    return static_cast<uint16_t>(count);
}

void OThheaTable::CaretSlopeFor(double angle, int16_t& rise, int16_t& run) {
    if (std::fabs(angle) <= 1e-6) {
        rise = 1;
        run = 0;
        return;
    }
    rise = 100;
    run = OTheadTable::NarrowToInt16(std::round(std::tan(angle * -std::numbers::pi / 180.0) * 100.0));
}

}  // namespace Typeframe
