#include "tables/OTheadTable.h"

#include <cmath>

#include "core/OTFont.h"
#include "core/Tag.h"

namespace Typeframe {

namespace {

// Reads a file date and turns it into seconds since 1970. A date before 1970
// is raised to 1970 first, so it loads as 0 and the stored value is lost.
void ReadDate(BigEndianBuffer& buffer, int64_t& field) {
    int64_t seconds;
    if (!buffer.GetS64(seconds)) return;
    if (seconds < OTheadTable::kSecondsFrom1904To1970) seconds = OTheadTable::kSecondsFrom1904To1970;
    field = OTheadTable::SecondsSince1904ToTime(seconds);
}

}  // namespace

OTheadTable::OTheadTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("head")) {}

OTTable* OTheadTable::VirtualClone() const { return new OTheadTable(*this); }

bool OTheadTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    // No length, version or magic number test: a short table keeps the
    // values of the fields it does not reach. A read that does not fit
    // leaves the position where it was, so a smaller field after it may
    // still take the last bytes.
    BigEndianBuffer& in = *Buffer();
    in.Seek(0);
    in.GetU16(majorVersion);
    in.GetU16(minorVersion);
    in.GetFixed16_16(fontRevision);
    in.GetU32(checkSumAdjustment);
    in.GetU32(magicNumber);
    in.GetU16(flags);
    in.GetU16(unitsPerEm);
    ReadDate(in, created);
    ReadDate(in, modified);
    in.GetS16(xMin);
    in.GetS16(yMin);
    in.GetS16(xMax);
    in.GetS16(yMax);
    in.GetU16(macStyle);
    in.GetU16(lowestRecPPEM);
    in.GetS16(fontDirectionHint);
    in.GetS16(indexToLocFormat);
    in.GetS16(glyphDataFormat);
    return true;
}

bool OTheadTable::Save() {
    if (!IsDirty()) return true;
    const Bounds bounds = GetBounds();
    xMin = bounds.xMin;
    yMin = bounds.yMin;
    xMax = bounds.xMax;
    yMax = bounds.yMax;

    BigEndianBuffer& out = ResetBuffer(kTableSize);
    out.SetU16(majorVersion);
    out.SetU16(minorVersion);
    out.SetFixed16_16(fontRevision);
    out.SetU32(checkSumAdjustment);
    out.SetU32(magicNumber);
    out.SetU16(flags);
    out.SetU16(unitsPerEm);
    // modified is written as it stands; refreshing it is the file writer's
    // decision, not this table's.
    out.SetS64(TimeToSecondsSince1904(created));
    out.SetS64(TimeToSecondsSince1904(modified));
    out.SetS16(xMin);
    out.SetS16(yMin);
    out.SetS16(xMax);
    out.SetS16(yMax);
    out.SetU16(macStyle);
    out.SetU16(lowestRecPPEM);
    out.SetS16(fontDirectionHint);
    out.SetS16(indexToLocFormat);
    out.SetS16(glyphDataFormat);
    out.InvalidateChecksum();
    SetIsDirty(false);
    return true;
}

uint32_t OTheadTable::GetChecksum() const { return OTTable::GetChecksum() - checkSumAdjustment; }

OTheadTable::Bounds OTheadTable::GetBounds() const {
    Bounds result;
    auto font = GetFont();
    if (!font) return result;
    const auto rect = font->GetBounds();
    result.xMin = RoundToInt16(rect.left);
    result.yMin = RoundToInt16(rect.bottom);
    result.xMax = RoundToInt16(rect.right);
    result.yMax = RoundToInt16(rect.top);
    return result;
}

long long OTheadTable::TimeToSecondsSince1904(long time) {
    return static_cast<long long>(static_cast<uint64_t>(time) + static_cast<uint64_t>(kSecondsFrom1904To1970));
}

long OTheadTable::SecondsSince1904ToTime(long long seconds) {
    return static_cast<long>(static_cast<uint64_t>(seconds) - static_cast<uint64_t>(kSecondsFrom1904To1970));
}

int16_t OTheadTable::NarrowToInt16(double value) {
    // 2^63: every double strictly inside (-2^63, 2^63) converts to int64.
    constexpr double kLimit = 9223372036854775808.0;
    if (!(value > -kLimit && value < kLimit)) return 0;
    return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint64_t>(static_cast<int64_t>(value))));
}

int16_t OTheadTable::RoundToInt16(double value) { return NarrowToInt16(std::floor(value + 0.5)); }

}  // namespace Typeframe
