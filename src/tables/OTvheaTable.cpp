#include "tables/OTvheaTable.h"

#include "core/Tag.h"

namespace Typeframe {

OTvheaTable::OTvheaTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("vhea")) {}

OTTable* OTvheaTable::VirtualClone() const { return new OTvheaTable(*this); }

bool OTvheaTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    BigEndianBuffer& in = *Buffer();
    in.Seek(0);
    in.GetU32(version);
    in.GetS16(vertTypoAscender);
    in.GetS16(vertTypoDescender);
    in.GetS16(vertTypoLineGap);
    in.GetS16(advanceHeightMax);
    in.GetS16(minTopSideBearing);
    in.GetS16(minBottomSideBearing);
    in.GetS16(yMaxExtent);
    in.GetS16(caretSlopeRise);
    in.GetS16(caretSlopeRun);
    in.GetS16(caretOffset);
    in.GetS16(reserved1);
    in.GetS16(reserved2);
    in.GetS16(reserved3);
    in.GetS16(reserved4);
    in.GetS16(metricDataFormat);
    in.GetU16(numOfLongVerMetrics);
    // Unlike the other tables, this one keeps only the record it read: bytes
    // behind the 36 are dropped now, so even a clean save loses them. The
    // position counts only the reads that succeeded, so a short table keeps
    // just what it had.
    SetBuffer(in.Read(0, in.Tell()));
    SetIsDirty(false);
    return true;
}

bool OTvheaTable::Save() {
    if (!IsDirty()) return true;
    BigEndianBuffer& out = ResetBuffer();
    out.SetU32(version);
    out.SetS16(vertTypoAscender);
    out.SetS16(vertTypoDescender);
    out.SetS16(vertTypoLineGap);
    out.SetS16(advanceHeightMax);
    out.SetS16(minTopSideBearing);
    out.SetS16(minBottomSideBearing);
    out.SetS16(yMaxExtent);
    out.SetS16(caretSlopeRise);
    out.SetS16(caretSlopeRun);
    out.SetS16(caretOffset);
    out.SetS16(reserved1);
    out.SetS16(reserved2);
    out.SetS16(reserved3);
    out.SetS16(reserved4);
    out.SetS16(metricDataFormat);
    out.SetU16(numOfLongVerMetrics);
    SetIsDirty(false);
    return true;
}

}  // namespace Typeframe
